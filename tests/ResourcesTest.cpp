// The plug-in's resources and strings, and the resources of the structure.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>

using testing::Contains;
using testing::HasSubstr;

namespace {

constexpr short PluginFile = 77;
constexpr short OtherFile = 78;
constexpr OSType ListType = 0x53545223; // 'STR#'
constexpr OSType MapType = 0x4D617020;
constexpr OSType IconType = 0x49636F6E; // 'Icon'

void AddResource(short file, OSType type, short id, const char* name, std::string_view bytes) {
    const auto size = static_cast<long>(bytes.size());
    ASSERT_EQ(ToolboxAddResource(file, type, id, name, bytes.data(), size), 0);
}

void AddStrings(short file, short id, const std::vector<std::string>& items) {
    std::string bytes = {'\0', static_cast<char>(items.size())};
    for (const std::string& item : items) {
        bytes += static_cast<char>(item.size()) + item;
    }
    AddResource(file, ListType, id, "", bytes);
}

/// A plug-in with a resource file of its own while another one, opened later, is current.
class ResourcesTest : public HostTest {
  protected:
    ResourcesTest() : HostTest({.pluginResFile = PluginFile}) {
        Start();
        ToolboxAddResFile(OtherFile);
        UseResFile(OtherFile);
    }
    ~ResourcesTest() override {
        EXPECT_EQ(CurResFile(), OtherFile); // whatever was read
        ToolboxRemoveResFile(OtherFile);
    }
    TestPlug plug;
};

TEST_F(ResourcesTest, ReadsThePluginsOwnFile) {
    AddResource(PluginFile, IconType, 5, "Name", "mine");
    AddResource(OtherFile, IconType, 5, "Name", "theirs");
    AddStrings(PluginFile, 5, {"mine"});
    AddStrings(OtherFile, 5, {"theirs", "second"});
    const Handle resource = FourD::GetPluginResource(IconType, 5);
    EXPECT_EQ(OwnedHandle::BytesOf(resource), "mine");
    EXPECT_EQ(FourD::GetPluginResourceByName(IconType, PascalString("Name")), resource);
    ReleaseResource(resource);
    EXPECT_EQ(FourD::GetPluginResource(IconType, 6), nullptr);
    for (const auto& [index, item] : {std::pair{1, "mine"}, {0, ""}, {2, ""}}) {
        char text[256] = "before";
        FourD::GetPluginIndCString(text, 5, static_cast<short>(index));
        EXPECT_STREQ(text, item);
    }
}

TEST_F(ResourcesTest, FindsMappedNumbersInMapsOfAnyLength) {
    // 'Icon' 1 to number 500, 'Icon' -2 to -600, and 'Icon' 1 again, to 501.
    const std::string entries("nocI\x01\x00\xF4\x01nocI\xFE\xFF\xA8\xFDnocI\x01\x00\xF5\x01", 24);
    for (const auto& [count, bytes, first, second] : {std::tuple{3, 24, 500, -600},
                                                      {1, 24, 500, 0},
                                                      {0x7FFF, 16, 500, -600},
                                                      {2, 15, 500, 0},
                                                      {-1, 24, 0, 0},
                                                      {1, 7, 0, 0},
                                                      {1, -1, 0, 0}}) {
        std::string map = {static_cast<char>(count), static_cast<char>(count >> 8)};
        map.append(entries).resize(static_cast<size_t>(2 + bytes));
        AddResource(PluginFile, MapType, host.options.pluginResID, "", map);
        EXPECT_EQ(FourD::GetResNum(MapType, IconType, 1), first) << count << ", " << bytes;
        EXPECT_EQ(FourD::GetResNum(MapType, IconType, -2), second) << count << ", " << bytes;
        EXPECT_EQ(FourD::GetResNum(MapType, ListType, 1), 0);
    }
    EXPECT_EQ(FourD::GetResNum(IconType, IconType, 1), 0); // no such map
}

TEST_F(ResourcesTest, FormatsWithAnItem) {
    AddStrings(PluginFile, 3, {"%d of %s", "%s"});
    PascalString out("before");
    FourD::GetPluginSprIndString(out, 3, 1, 7, "nine");
    EXPECT_EQ(out.Text(), "7 of nine");
    for (const size_t length : {255U, 256U, 511U, 512U, 5000U}) {
        FourD::GetPluginSprIndString(out, 3, 2, std::string(length, 'x').c_str());
        EXPECT_EQ(out.Text(), std::string(255, 'x')) << length;
    }
}

TEST_F(ResourcesTest, ReplacesReferences) {
    AddStrings(PluginFile, 3, {"one", "two", "three", "four", "five", "six", "seven"});
    host.variables.Set(host.currentProcess, "index", LongValue(5));
    host.variables.Set(host.currentProcess, "list", LongValue(0x10003)); // the low 16 bits count
    host.variables.Set(HostVariables::interprocess, "index", LongValue(6));
    // Names of missing variables, as long as fit.
    const std::string longNames = ":" + std::string(125, 'x').append(",").append(128, 'y') + "=";
    for (const std::string row :
         {":3,7=seven", ":003,2=two", ":3,index=five", ":list,<>index=six", ":3,\xD7index=six",
          ":65539,65537=one", ":3,8=", ":4,1=", ":3,missing=", ":3=:3", ":,7=:,7", ":3,=:3,",
          "3,7=3,7", longNames.c_str()}) {
        PascalString text(row.substr(0, row.find('=')));
        FourD::EvalPluginStringWithResRefs(text);
        EXPECT_EQ(text.Text(), row.substr(row.find('=') + 1)) << row;
    }
}

class StructureResourcesTest : public DualHostTest {
  protected:
    StructureResourcesTest() { Start(); }

    static std::string Taken(OSErr error, Handle handle) {
        if (error != 0) {
            EXPECT_EQ(handle, nullptr);
            return "error " + std::to_string(error);
        }
        std::string bytes = OwnedHandle::BytesOf(handle);
        DisposeHandle(handle);
        return bytes;
    }
    static std::string Resource(long file, short id) {
        Handle handle = nullptr;
        const OSErr error = FourD::Get4DRes(file, IconType, id, &handle);
        return Taken(error, handle);
    }
    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, StructureResourcesTest, ClassicAndEngine, HostName);

TEST_P(StructureResourcesTest, KeepsWhatWasPutIntoAFile) {
    const OwnedHandle icon("icon");
    const OwnedHandle other("other");
    long file = 0;
    EXPECT_EQ(FourD::Create4DResFile(PascalString("C:\\Icons.rsrc"), &file), 0);
    EXPECT_EQ(FourD::Add4DRes(file, IconType, 130, PascalString("Arrow"), icon), 0);
    EXPECT_EQ(FourD::Add4DRes(file, ListType, -5, nullptr, icon), 0);
    EXPECT_EQ(FourD::Add4DRes(file, IconType, 128, nullptr, icon), 0);
    EXPECT_EQ(FourD::Add4DRes(file, IconType, 128, nullptr, icon), ResultCode::DuplicateName);
    long before = 0;
    EXPECT_EQ(FourD::Get4DResTimestamp(file, IconType, 130, &before), 0);
    EXPECT_EQ(FourD::Set4DRes(file, IconType, 130, other), 0);
    EXPECT_EQ(FourD::Set4DResName(file, IconType, 130, PascalString("Bow")), 0);
    session.ReportLeaks();
    EXPECT_THAT(TakeProblems(), Contains(HasSubstr("\"C:\\Icons.rsrc\""))); // still open
    EXPECT_EQ(FourD::Close4DResFile(file), 0);

    EXPECT_EQ(FourD::Open4DResFile(PascalString("c:\\icons.RSRC"), &file), 0);
    EXPECT_EQ(Resource(file, 130), "other");
    PascalString name("");
    EXPECT_EQ(FourD::Get4DResName(file, IconType, 130, name), 0);
    EXPECT_EQ(name.Text(), "Bow");
    long after = 0;
    EXPECT_EQ(FourD::Get4DResTimestamp(file, IconType, 130, &after), 0);
    EXPECT_GT(after, before);
    long types = 0;
    EXPECT_EQ(FourD::Count4DResTypes(file, &types), 0);
    EXPECT_EQ(types, 2);
    unsigned long type = 0;
    EXPECT_EQ(FourD::GetIndResType(file, 2, &type), 0);
    EXPECT_EQ(type, ListType);
    long icons = 0;
    EXPECT_EQ(FourD::Count4DRes(file, IconType, &icons), 0);
    EXPECT_EQ(icons, 2);
    short id = 0;
    EXPECT_EQ(FourD::GetInd4DResID(file, ListType, 1, &id), 0);
    EXPECT_EQ(id, -5);
    EXPECT_EQ(FourD::GetUnique4DResID(file, IconType, &id), 0);
    EXPECT_EQ(id, 129);
    Handle list = nullptr;
    OSErr error = FourD::Get4DResTypeList(file, &list);
    EXPECT_EQ(Taken(error, list), "nocI#RTS");
    error = FourD::Get4DResIDList(file, IconType, &list);
    EXPECT_EQ(Taken(error, list), std::string("\x82\0\x80\0", 4));
    EXPECT_EQ(FourD::Del4DRes(file, IconType, 130), 0);
    EXPECT_EQ(FourD::Update4DResFile(file), 0);
    EXPECT_EQ(Resource(file, 130), "error -192");
    EXPECT_EQ(FourD::Get4DResName(file, IconType, 130, name), ResultCode::ResourceNotFound);
    EXPECT_EQ(name.Text(), "");
    EXPECT_EQ(FourD::GetInd4DResID(file, ListType, 2, &id), ResultCode::ResourceNotFound);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(FourD::Close4DResFile(file), 0);
    EXPECT_EQ(FourD::Count4DRes(file, IconType, &icons), ResultCode::ResourceFileNotFound);
    EXPECT_EQ(icons, 0); // not the file's number, which stood there
    EXPECT_EQ(FourD::Open4DResFile(PascalString("C:\\Missing"), &file), ResultCode::FileNotFound);
}

TEST_P(StructureResourcesTest, TheStructuresFileIsAlwaysOpen) {
    const OwnedHandle icon("icon");
    long file = 0;
    EXPECT_EQ(FourD::GetStruct4DResFileRef(&file), 0);
    EXPECT_EQ(FourD::Add4DRes(file, IconType, 130, PascalString("Arrow"), icon), 0);
    ResourceFileContents* structure =
        host.structureResources.File(StructureResources::structureFile);
    EXPECT_NE(structure->Find(IconType, 130), nullptr);
    EXPECT_EQ(Resource(file, 130), "icon");
    const size_t calls = host.log.HostCallCount();
    EXPECT_EQ(FourD::Lock4DRes(file, IconType, 130), 0);
    EXPECT_EQ(FourD::Unlock4DRes(99, IconType, 1), 0); // of no file: nobody is asked
    EXPECT_EQ(host.log.HostCallCount(), calls);
    host.FailNext("StructResFileRef", -1234);
    EXPECT_EQ(FourD::GetStruct4DResFileRef(&file), -1234);
    EXPECT_EQ(file, 0);
}

} // namespace
