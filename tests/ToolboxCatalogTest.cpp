// The toolbox's catalogue: characters of names, entries of files and folders, deleting, renaming.

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/model/ScratchFolder.h"
#include "testhost/toolbox/Control.h"
#include "tests/Fixture.h"

#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <set>

#include <windows.h>

namespace {

using namespace ResultCode;
using std::string;

constexpr OSType someCreator = 0x43524541, someType = 0x54595045, otherType = 0x454C5345;

TEST(MacRomanTest, EveryCharacterBecomesOneOfItsOwn) {
    string all;
    for (int code = 0; code < 256; ++code) {
        all += static_cast<char>(code);
    }
    string windows(256, '\0');
    EXPECT_EQ(ASI_MacToAnsiBuf(all.data(), windows.data(), 256, 1), 256);
    EXPECT_EQ(windows.substr(0, 128), all.substr(0, 128));
    EXPECT_EQ(std::set<char>(windows.begin(), windows.end()).size(), 256u);
    EXPECT_EQ(ASI_AnsiToMacBuf(windows.data(), windows.data(), 256), 256); // where it stands
    EXPECT_EQ(windows, all);
    EXPECT_EQ(ASI_MacToAnsiBuf(all.data(), windows.data(), 0, 1), 0);
    EXPECT_EQ(ASI_MacToAnsiBuf(all.data(), windows.data(), -1, 1), 0);
    EXPECT_EQ(ASI_AnsiToMacBuf(nullptr, windows.data(), 1), 0);
    EXPECT_EQ(ASI_AnsiToMacBuf(all.data(), nullptr, 1), 0);
}

TEST(MacRomanTest, CharactersThatBothSetsHave) {
    // Ä é ü † ° • ® © ™ Ø ¥ ª ø ¿ ƒ … (no-break space) Œ — “ ’ ÷ ÿ Ÿ € ‹ ‡ ‚ ‰ Â ˆ ˜ ¯ ¸
    string mac = "\x80\x8E\x9F\xA0\xA1\xA5\xA8\xA9\xAA\xAF\xB4\xBB\xBF\xC0\xC4\xC9\xCA\xCE\xD1\xD2"
                 "\xD5\xD6\xD8\xD9\xDB\xDC\xE0\xE2\xE4\xE5\xF6\xF7\xF8\xFC";
    ASI_MacToAnsiBuf(mac.data(), mac.data(), static_cast<long>(mac.size()), 1);
    EXPECT_EQ(mac,
              "\xC4\xE9\xFC\x86\xB0\x95\xAE\xA9\x99\xD8\xA5\xAA\xF8\xBF\x83\x85\xA0\x8C\x97\x93"
              "\x92\xF7\xFF\x9F\x80\x8B\x87\x82\x89\xC2\x88\x98\xAF\xB8");
    // What the other set lacks, the first and the last such codes: ≠ ˇ, and Ž.
    string lacking = "\xAD\xFF";
    ASI_MacToAnsiBuf(lacking.data(), lacking.data(), 2, 1);
    EXPECT_EQ(lacking, "\x81\xFE");
}

/// A folder with the file a.txt of ten bytes, the locked file b, and the folder Sub with c in it.
class CatalogTest : public testing::Test {
  protected:
    CatalogTest() : path(scratch.Path()) {
        ToolboxReset();
        scratch.Inside("Sub");
        std::ofstream(path + "a.txt") << "0123456789";
        std::ofstream(path + "b") << "";
        std::ofstream(path + R"(Sub\c)") << "";
        SetFileAttributesA((path + "b").c_str(), FILE_ATTRIBUTE_READONLY);
    }
    ~CatalogTest() override {
        EXPECT_EQ(ToolboxCheckAll() + ToolboxProblemCount() + ToolboxOpenFiles(), 0);
        ToolboxReset();
    }
    FSSpec Spec(const string& item) const {
        FSSpec spec{};
        FSMakeFSSpec(0, 0, PascalString(path + item), &spec);
        return spec;
    }
    bool IsThere(const string& item) const {
        return GetFileAttributesA((path + item).c_str()) != INVALID_FILE_ATTRIBUTES;
    }
    /// Asks for an entry in the folder that a specification is in; `name` receives it.
    OSErr Ask(short index, const string& asked, long folder = 0) {
        const FSSpec spec = Spec("a.txt");
        entry = {};
        std::memcpy(name, PascalString(asked).bytes, sizeof name);
        entry.hFileInfo.ioNamePtr = name;
        entry.hFileInfo.ioVRefNum = spec.vRefNum;
        entry.hFileInfo.ioDirID = folder != 0 ? folder : spec.parID;
        entry.hFileInfo.ioFDirIndex = index;
        entry.hFileInfo.ioResult = 99;
        const OSErr error = PBGetCatInfoSync(&entry);
        EXPECT_EQ(OSErr{entry.hFileInfo.ioResult}, error);
        return error;
    }
    string Name() const { return PascalString::TextOf(name); }
    bool IsFolder() const { return (entry.hFileInfo.ioFlAttrib & FileAttribute::Folder) != 0; }

    ScratchFolder scratch;
    string path;
    CInfoPBRec entry{};
    Str255 name{};
};

TEST_F(CatalogTest, NamesAreInTheMacintoshSet) {
    const FSSpec spec = Spec("Caf\x8E \xA5.txt"); // é, bullet
    EXPECT_EQ(FSpCreate(&spec, someCreator, someType, 0), NoError);
    EXPECT_TRUE(IsThere("Caf\xE9 \x95.txt"));
    char native[1040];
    EXPECT_EQ(ASI_HFSpec(spec.parID, spec.vRefNum, spec.name, native), NoError);
    EXPECT_EQ(native, path + "Caf\x8E \xA5.txt"); // the name as it is
    EXPECT_EQ(Ask(4, ""), NoError);
    EXPECT_EQ(Name(), "Sub");
    EXPECT_EQ(Ask(3, ""), NoError);
    EXPECT_EQ(Name(), "Caf\x8E \xA5.txt");
    EXPECT_EQ(OSType{entry.hFileInfo.ioFlFndrInfo.fdType}, someType);
}

TEST_F(CatalogTest, NativePaths) {
    const FSSpec spec = Spec("x");
    struct {
        long directory;
        short volume;
        string name;
        OSErr error;
        string path;
    } const cases[] = {
        {spec.parID, spec.vRefNum, "x", NoError, path + "x"},
        {spec.parID, spec.vRefNum, "", NoError, path.substr(0, path.size() - 1)},
        {2, spec.vRefNum, "", NoError, path.substr(0, 3)},
        {1, spec.vRefNum, path.substr(0, 2), NoError, path.substr(0, 3)},
        {99999, spec.vRefNum, "x", NotAFolder, ""},
        {spec.parID, 5, "x", VolumeNotFound, ""},
        {spec.parID, spec.vRefNum, "a?", BadName, ""},
        {spec.parID, spec.vRefNum, string(255, 'n'), BadName, ""},
    };
    for (const auto& row : cases) {
        char native[1040] = "?";
        EXPECT_EQ(ASI_HFSpec(row.directory, row.volume, PascalString(row.name), native), row.error);
        EXPECT_EQ(native, row.path);
    }
    EXPECT_EQ(ASI_HFSpec(2, spec.vRefNum, nullptr, nullptr), BadParameter);
}

TEST_F(CatalogTest, Entries) {
    EXPECT_EQ(Ask(0, "A.TXT"), NoError);
    EXPECT_FALSE(IsFolder());
    EXPECT_EQ(long{entry.hFileInfo.ioFlLgLen}, 10);
    EXPECT_EQ(long{entry.hFileInfo.ioFlParID}, long{Spec("a.txt").parID});
    EXPECT_EQ(Name(), "A.TXT"); // asked by name, it stays
    SYSTEMTIME now{};
    FILETIME ticks{};
    GetLocalTime(&now);
    SystemTimeToFileTime(&now, &ticks);
    const double seconds = (ticks.dwHighDateTime * 4294967296.0 + ticks.dwLowDateTime) / 1e7;
    EXPECT_NEAR(entry.hFileInfo.ioFlMdDat + 9561628800.0, seconds, 60); // 1601 to 1904

    const string listed[] = {"a.txt", "b", "Sub"};
    for (short index = 1; index <= 3; ++index) {
        EXPECT_EQ(Ask(index, "ignored"), NoError);
        EXPECT_EQ(Name(), listed[index - 1]);
        EXPECT_EQ(IsFolder(), index == 3);
        EXPECT_EQ((entry.hFileInfo.ioFlAttrib & FileAttribute::Locked) != 0, index == 2);
    }
    const long sub = entry.dirInfo.ioDrDirID;
    EXPECT_EQ(sub, long{Spec(R"(Sub\c)").parID});
    EXPECT_EQ(entry.dirInfo.ioDrNmFls, 1);
    EXPECT_EQ(Ask(4, ""), FileNotFound);
    EXPECT_EQ(Ask(1, "", sub), NoError);
    EXPECT_EQ(Name(), "c");
    for (const short index : {short{-1}, short{0}}) { // of the folder itself
        EXPECT_EQ(Ask(index, "", sub), NoError);
        EXPECT_EQ(Name(), index < 0 ? "Sub" : "");
        EXPECT_EQ(long{entry.dirInfo.ioDrDirID}, sub);
        EXPECT_EQ(long{entry.dirInfo.ioDrParID}, long{Spec("a.txt").parID});
    }
    EXPECT_EQ(Ask(-1, "", 2), NoError);
    EXPECT_EQ(Name(), path.substr(0, 2));
    EXPECT_EQ(long{entry.dirInfo.ioDrParID}, 1);
    EXPECT_EQ(Ask(0, "none"), FileNotFound);
    EXPECT_EQ(Ask(0, R"(none\none)"), NotAFolder);
    EXPECT_EQ(Ask(1, "", 99999), NotAFolder);
    EXPECT_EQ(PBGetCatInfoSync(nullptr), BadParameter);
    ToolboxFailFile(2); // the first is the test's own specification
    EXPECT_EQ(Ask(0, "b"), InputOutput);
}

TEST_F(CatalogTest, FinderInformation) {
    const FSSpec file = Spec("new"), folder = Spec("Sub"), none = Spec("none"), locked = Spec("b");
    FInfo info{};
    EXPECT_EQ(FSpCreate(&file, someCreator, someType, 0), NoError);
    EXPECT_EQ(FSpGetFInfo(&file, &info), NoError);
    EXPECT_EQ(OSType{info.fdType}, someType);
    EXPECT_EQ(OSType{info.fdCreator}, someCreator);
    info.fdType = otherType;
    EXPECT_EQ(FSpSetFInfo(&file, &info), NoError);
    EXPECT_EQ(FSpSetFInfo(&locked, &info), FileLocked);
    for (const FSSpec* refused : {&folder, &none}) {
        EXPECT_EQ(FSpGetFInfo(refused, &info), FileNotFound);
        EXPECT_EQ(FSpSetFInfo(refused, &info), FileNotFound);
    }
    EXPECT_EQ(FSpRename(&file, PascalString("renamed, and long.text")), NoError);
    char shortForm[MAX_PATH] = "";
    GetShortPathNameA((path + "renamed, and long.text").c_str(), shortForm, sizeof shortForm);
    FSSpec renamed{}; // by its short name, it is the same file
    EXPECT_EQ(FSMakeFSSpec(0, 0, PascalString(shortForm), &renamed), NoError);
    EXPECT_EQ(long{renamed.parID}, long{file.parID});
    EXPECT_EQ(FSpGetFInfo(&renamed, &info), NoError);
    EXPECT_EQ(OSType{info.fdType}, otherType);
    EXPECT_EQ(FSpDelete(&renamed), NoError);
    std::ofstream(path + "renamed, and long.text") << "";
    EXPECT_EQ(FSpGetFInfo(&renamed, &info), NoError);
    EXPECT_EQ(OSType{info.fdType}, 0u);
}

TEST_F(CatalogTest, DeletingAndRenaming) {
    const FSSpec open = Spec("open"), folder = Spec("Sub"), inside = Spec(R"(Sub\c)");
    short file = 0;
    EXPECT_EQ(FSpCreate(&open, 0, 0, 0), NoError);
    EXPECT_EQ(FSpOpenDF(&open, FilePermission::Read, &file), NoError);
    struct {
        const char* name;
        const char* newName;
        OSErr renamed, deleted;
    } const refused[] = {
        {"none", "x", FileNotFound, FileNotFound}, {"b", "x", FileLocked, FileLocked},
        {"open", "x", FileBusy, FileBusy},         {"a.txt", "B", DuplicateName, NoError},
        {"Sub", "a?", BadName, FileBusy},          {"Sub", "", BadName, FileBusy},
    };
    for (const auto& row : refused) {
        const FSSpec spec = Spec(row.name);
        EXPECT_EQ(FSpRename(&spec, PascalString(row.newName)), row.renamed) << row.name;
        EXPECT_EQ(FSpDelete(&spec), row.deleted) << row.name;
        EXPECT_EQ(IsThere(row.name), row.deleted != NoError && row.deleted != FileNotFound);
    }
    EXPECT_EQ(FSClose(file), NoError);

    EXPECT_EQ(FSpRename(&folder, PascalString("SUB")), NoError); // in case only
    EXPECT_EQ(FSpRename(&folder, PascalString("Renamed")), NoError);
    EXPECT_FALSE(IsThere("Sub"));
    short again = 0; // what is in it keeps its specification
    EXPECT_EQ(FSpOpenDF(&inside, FilePermission::Read, &again), NoError);
    const FSSpec renamed = Spec("Renamed");
    EXPECT_EQ(FSpRename(&renamed, PascalString("x")), FileBusy);
    EXPECT_EQ(FSClose(again), NoError);
    EXPECT_EQ(FSpDelete(&inside), NoError);
    EXPECT_EQ(FSpDelete(&renamed), NoError);
    EXPECT_FALSE(IsThere("Renamed"));

    long identifier = -1;
    EXPECT_EQ(FSpDirCreate(&folder, 0, &identifier), NoError);
    EXPECT_EQ(identifier, long{Spec(R"(Sub\c)").parID});
    EXPECT_EQ(FSpDirCreate(&folder, 0, &identifier), DuplicateName);
    EXPECT_EQ(identifier, 0);
    EXPECT_EQ(FSpDirCreate(&folder, 0, nullptr), BadParameter);
    ToolboxFailFile(1);
    EXPECT_EQ(FSpDelete(&open), InputOutput);
    ToolboxFailFile(1);
    EXPECT_EQ(FSpRename(&open, PascalString("x")), InputOutput);
    EXPECT_TRUE(IsThere("open"));
}

} // namespace
