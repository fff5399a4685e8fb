// The stand-in host's own folders, and what it says about them and about its windows.

#include "host/boundary/Selectors.h"
#include "platform/ResultCodes.h"
#include "testhost/services/Dispatch.h"
#include "tests/Fixture.h"

#include <filesystem>
#include <fstream>
#include <set>

#include <windows.h>

namespace {

namespace fs = std::filesystem;

short Send(const SelectorPair& selector, ParameterBlock& block) {
    return static_cast<short>(ClassicHostCall(selector.classic, &block));
}

TEST(HostFoldersTest, GoWithTheHost) {
    std::string gone;
    {
        Host host, other({.structureName = "X.4DB", .dataFolder = R"(C:\Data)"});
        EXPECT_NE(host.ScratchPath(), other.ScratchPath());
        EXPECT_EQ(other.DataFolder(), R"(C:\Data\)");
        EXPECT_TRUE(fs::exists(other.StructureFolder() + "X.4DB"));
        gone = host.ScratchPath();
        fs::create_directories(host.PrefsFolder() + R"(Deep\Deeper)");
        const std::string locked = host.DataFolder() + "locked";
        std::ofstream(locked) << "";
        SetFileAttributesA(locked.c_str(), FILE_ATTRIBUTE_READONLY);
        std::ofstream(fs::path(gone) / L"\x65E5\x672C") << ""; // beyond the ANSI code page
        EXPECT_TRUE(fs::exists(gone));
    }
    EXPECT_FALSE(fs::exists(gone));
}

TEST(HostFoldersTest, PreferencesFolder) {
    constexpr long marker = 0x50415448;
    Host host;
    Host::Scope inside(host);
    const std::string folder = host.PrefsFolder();
    const auto length = static_cast<long>(folder.size());
    struct {
        long marker, size;
        short error;
        size_t problems;
    } const cases[] = {{marker, 261, 0, 0},
                       {marker, length + 1, 0, 0},
                       {marker, length, ResultCode::BadParameter, 0},
                       {marker, -1, ResultCode::BadParameter, 1},
                       {marker + 1, 261, ResultCode::BadParameter, 1}};
    for (const auto& row : cases) {
        std::string buffer(300, '#');
        ParameterBlock block{};
        block.param2 = row.marker;
        block.param3 = reinterpret_cast<long>(buffer.data());
        block.param4 = row.size;
        EXPECT_EQ(Send(Select("PrefsFolderPath"), block), row.error) << row.size;
        EXPECT_EQ(long{block.param4}, row.error == 0 ? length : 0);
        EXPECT_EQ(buffer.substr(0, buffer.find('#')), row.error == 0 ? folder : "");
        EXPECT_EQ(std::exchange(host.problems, {}).size(), row.problems);
    }
}

TEST(HostFoldersTest, MayHaveAccents) {
    ScratchFolder scratch;
    const std::string prefs = scratch.Inside("caf\xE9");
    Host host({.structureName = "\xC9t\xE9.4DB", .prefsFolder = prefs});
    Host::Scope inside(host);
    ParameterBlock block{};
    block.param1 = 3;
    block.param2 = 1; // makes it
    block.param3 = 0x47344446;
    EXPECT_EQ(Send(Select("HostFolderPath"), block), ResultCode::NoError);
    EXPECT_EQ(PascalString::TextOf(block.name), prefs + "Folder 3\\");
    for (const std::string& made : {prefs + "Folder 3", host.StructureFolder() + "\xC9t\xE9.4DB"}) {
        EXPECT_NE(GetFileAttributesA(made.c_str()), INVALID_FILE_ATTRIBUTES) << made;
    }
}

TEST(HostFoldersTest, StructureFolder) {
    for (const Role role : {Role::SingleUser, Role::Server, Role::Client}) {
        Host host({.role = role});
        Host::Scope inside(host);
        ParameterBlock block{};
        const bool isClient = role == Role::Client;
        EXPECT_EQ(Send(Select("StructureFolderPath"), block),
                  isClient ? ResultCode::FileNotFound : ResultCode::NoError);
        EXPECT_EQ(PascalString::TextOf(block.name), isClient ? "" : host.StructureFolder());
    }
}

TEST(HostFoldersTest, NativeWindows) {
    Host host, other;
    Host::Scope inside(host);
    std::set<long> found;
    for (Host* owner : {&host, &host, &other}) {
        for (size_t place = 0; place < owner->windows.Count(); ++place) {
            ParameterBlock block{};
            block.handle = reinterpret_cast<Handle>(&owner->windows.At(place).port);
            EXPECT_EQ(Send(Select("NativeWindow"), block),
                      owner == &host ? ResultCode::NoError : ResultCode::BadParameter);
            found.insert(block.param1);
        }
    }
    EXPECT_EQ(found.size(), 3u); // two windows, and 0 for those that the host does not know
    ParameterBlock none{};
    EXPECT_EQ(Send(Select("NativeWindow"), none), ResultCode::NoError);
    EXPECT_EQ(long{none.param1}, 0);
    EXPECT_EQ(host.problems, std::vector<std::string>{});
}

} // namespace
