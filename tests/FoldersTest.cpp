// Version texts, and the plug-in's folders in a host's real ones.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/files/FileSpecs.h"
#include "shell/files/TemporaryFiles.h"
#include "testhost/model/ScratchFolder.h"
#include "tests/Fixture.h"

#include <filesystem>
#include <fstream>

#include <windows.h>

namespace {

namespace fs = std::filesystem;

TEST(VersionsTest, AreWrittenForPeople) {
    for (const auto& [version, text] : {std::pair{0x01108000UL, "1.1"},
                                        {0x01234012UL, "1.2.3a18"},
                                        {0x02006003UL, "2.0b3"},
                                        {0x10002001UL, "10.0d1"},
                                        {0x99FF20FFUL, "99.15.15d255"},
                                        {0x01008000UL, "1.0"},
                                        {0x01020000UL, "1.0.2"}}) {
        PascalString written("");
        FourDPlug::GetVersionString(version, written);
        EXPECT_EQ(written.Text(), text);
    }
    TestPlug plug;
    plug.info->version = 0x01108000;
    char text[256];
    plug.GetProductFullNameC(text);
    EXPECT_STREQ(text, "Test v.1.1");
    plug.Get4DStyleVersionC(text);
    EXPECT_STREQ(text, "F0000110");
    plug.GetProductVersionCString(text);
    EXPECT_STREQ(text, "1.1");
    plug.info->version = 0x02006003;
    PascalString name("");
    plug.GetProductVersionString(name);
    EXPECT_EQ(name.Text(), "2.0b3");
    plug.zGetProductName(name);
    EXPECT_EQ(name.Text(), "Test");
}

class UnknownFoldersTest : public DualHostTest {
  protected:
    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, UnknownFoldersTest, ClassicAndEngine, HostName);

TEST_P(UnknownFoldersTest, AreNotTheCurrentFolder) {
    host.FailNext("StructureFolderPath", ResultCode::FileNotFound);
    host.FailNext(host.HasEngine() ? "HostFolderPath" : "PrefsFolderPath", ResultCode::BadName);
    Start();
    FSSpec spec;
    EXPECT_STREQ(gHost.structureFolderPath, "");
    EXPECT_STREQ(gHost.prefsFolderPath, "");
    EXPECT_EQ(FourD::GetStructFile(&spec), ResultCode::FileNotFound);
    EXPECT_EQ(FourDPlug::GetTarnwellFolderSpec(&spec, 1), ResultCode::FileNotFound);
    EXPECT_EQ(host.strings.Live(), 0);
}

std::string PathOf(const FSSpec& spec) {
    char path[LongestPath + 1];
    long length = LongestPath;
    const OSErr error = FileSpecToNativePath(&spec, path, &length);
    return error == 0 ? std::string(path, static_cast<std::size_t>(length))
                      : "error " + std::to_string(error);
}

/// Without the trailing backslash, in one case: how two paths are compared.
std::string Plain(std::string path) {
    if (path.ends_with('\\')) {
        path.pop_back();
    }
    CharLowerA(path.data());
    return path;
}

/// A host with its folders.
class FoldersTest : public HostTest, public testing::WithParamInterface<unsigned short> {
  protected:
    explicit FoldersTest(Role role = Role::SingleUser)
        : HostTest({.version = GetParam(), .role = role}) {
        Start();
        EXPECT_EQ(host.strings.Live(), 0); // those in which the paths came
    }

    TestPlug plug;
};

class ClientFoldersTest : public FoldersTest {
  protected:
    ClientFoldersTest() : FoldersTest(Role::Client) {}
};

INSTANTIATE_TEST_SUITE_P(Hosts, FoldersTest, ClassicAndEngine, HostName);
INSTANTIATE_TEST_SUITE_P(Hosts, ClientFoldersTest, ClassicAndEngine, HostName);

TEST_P(FoldersTest, TheStructureAndPreferencesAreKeptFromTheStart) {
    EXPECT_EQ(gHost.structureFolderPath, host.StructureFolder());
    EXPECT_EQ(gHost.structureFilePath, host.StructureFolder() + host.options.structureName);
    EXPECT_EQ(gHost.prefsFolderPath, host.PrefsFolder());
    FSSpec spec;
    EXPECT_EQ(FourD::GetStructFile(&spec), 0);
    EXPECT_EQ(Plain(PathOf(spec)), Plain(gHost.structureFilePath));
    EXPECT_EQ(FourD::GetStructFolder(&spec), 0);
    EXPECT_EQ(Plain(PathOf(spec)), Plain(gHost.structureFolderPath));
    EXPECT_EQ(Plain(PathOf(gHost.prefsFolder)), Plain(host.PrefsFolder()));
}

TEST_P(FoldersTest, OneOfTheHostsFoldersIsAskedForByItsKind) {
    const std::string third = host.PrefsFolder() + "Folder 3\\";
    struct {
        long kind;
        unsigned char create;
        short error;
        std::string path;
    } const cases[] = {{0, 0, 0, host.PrefsFolder()},
                       {3, 0, ResultCode::FileNotFound, "as before"},
                       {3, 1, 0, third},
                       {3, 0, 0, third},
                       {99, 1, ResultCode::BadParameter, "as before"}};
    for (const auto& row : cases) {
        char path[261] = "as before";
        PascalString pascalPath("as before");
        EXPECT_EQ(FourD::Get4DFolderPath(path, row.kind, row.create), row.error) << row.kind;
        EXPECT_EQ(FourD::Get4DFolderPath(pascalPath.bytes, row.kind, row.create), row.error);
        EXPECT_EQ(path, row.path);
        EXPECT_EQ(pascalPath.Text(), row.path);
        const CallFields& sent = host.log.Last("HostFolderPath")->Sent();
        EXPECT_EQ(long{sent.param1}, row.kind);
        EXPECT_EQ(long{sent.param2}, row.create);
        EXPECT_EQ(long{sent.param3}, 0x47344446); // "FD4G"
        EXPECT_EQ(host.strings.Live(), 0);
    }
    host.FailNext("HostFolderPath", -1);
    char untouched[] = "as before";
    EXPECT_EQ(FourD::Get4DFolderPath(untouched, 0, 0), -1);
    EXPECT_STREQ(untouched, "as before");
}

TEST(LongFoldersTest, APathThatDoesNotFitIsEmpty) {
    TestPlug plug;
    for (const auto& [length, fits] : {std::pair{259U, true}, {260U, false}}) {
        // The host adds a backslash.
        const std::string folder = "C:\\" + std::string(length - 3, 'x');
        Host host({.version = 0x1130, .structureFolder = folder, .prefsFolder = folder});
        Session session(host, EntryPoints{FourDPack, FourDPackex});
        session.Start();
        EXPECT_EQ(gHost.structureFolderPath, fits ? folder + "\\" : "");
        EXPECT_EQ(gHost.prefsFolderPath, fits ? folder + "\\" : "");
        // Behind a path of full length there is no room for the file's name.
        EXPECT_EQ(gHost.structureFilePath, fits ? folder + "\\" : host.options.structureName);
        EXPECT_EQ(gHost.structureFile.name[0], 0);
        session.Stop();
        session.ReportLeaks();
        EXPECT_EQ(host.problems, std::vector<std::string>{});
    }
}

TEST(AccentedFoldersTest, AreKeptAndUsedLikeOthers) {
    TestPlug plug;
    for (const bool isClassic : {true, false}) {
        for (const std::string name : {"Base.4DB", "\xC9t\xE9.4DB"}) {
            ScratchFolder scratch;
            const std::string structure = scratch.Inside("\xC9t\xE9");
            const std::string prefs = scratch.Inside("\xC9t\xE9\\Pr\xE9");
            std::ofstream(structure + name) << "";
            fs::create_directory(structure + "Vorlogs");
            Host host({.version = static_cast<unsigned short>(isClassic ? 0x0680 : 0x1130),
                       .structureName = name,
                       .structureFolder = structure,
                       .prefsFolder = prefs});
            Session session(host, EntryPoints{FourDPack, FourDPackex});
            session.Start();
            const Host::Scope inside(host);
            FSSpec spec;
            EXPECT_EQ(FourD::GetStructFile(&spec), 0);
            EXPECT_EQ(PathOf(spec), structure + name);
            EXPECT_EQ(FourD::GetStructFolder(&spec), 0);
            EXPECT_EQ(PathOf(spec), structure);
            EXPECT_EQ(PathOf(gHost.structureFolder), structure);
            EXPECT_EQ(PathOf(gHost.prefsFolder), prefs);
            EXPECT_EQ(FourDPlug::GetTarnwellFolderSpec(&spec, 1), 0);
            EXPECT_EQ(PathOf(spec), prefs + "Tarnwell\\");
            EXPECT_EQ(FourDPlug::GetLogsFolderSpec(&spec), 0);
            EXPECT_EQ(PathOf(spec), structure + "Vorlogs\\");
            session.Stop();
            session.ReportLeaks();
            EXPECT_EQ(host.problems, std::vector<std::string>{});
        }
    }
}

TEST_P(ClientFoldersTest, KnowNoStructure) {
    FSSpec spec;
    EXPECT_EQ(FourD::GetStructFile(&spec), ResultCode::FileNotFound);
    EXPECT_EQ(spec.name[0], 0);
    EXPECT_EQ(FourD::GetStructFolder(&spec), ResultCode::FileNotFound);
    char path[MAX_PATH] = "untouched";
    EXPECT_EQ(FourDPlug::GetLogsFolderPathWin(path), 0);
    EXPECT_STREQ(path, "untouched");
    // The specification's search leaves the structure out and goes on to the makers' folder.
    EXPECT_EQ(FourDPlug::GetLogsFolderSpec(&spec), ResultCode::FileNotFound);
    fs::create_directories(host.PrefsFolder() + "Tarnwell\\Vorlogs");
    EXPECT_EQ(FourDPlug::GetLogsFolderSpec(&spec), 0);
    EXPECT_EQ(Plain(PathOf(spec)), Plain(host.PrefsFolder() + "Tarnwell\\Vorlogs"));
}

TEST_P(FoldersTest, TheMakersFolderIsMadeOnRequest) {
    const std::string makers = host.PrefsFolder() + "Tarnwell";
    char path[MAX_PATH];
    FSSpec spec;
    EXPECT_EQ(FourDPlug::GetTarnwellFolderPathWin(path), ResultCode::FileNotFound);
    EXPECT_STREQ(path, "");
    EXPECT_EQ(FourDPlug::GetTarnwellFolderSpec(&spec, 0), ResultCode::FileNotFound);
    EXPECT_FALSE(fs::exists(makers));
    EXPECT_EQ(FourDPlug::GetTarnwellFolderSpec(&spec, 1), 0);
    EXPECT_TRUE(fs::is_directory(makers));
    EXPECT_EQ(Plain(PathOf(spec)), Plain(makers));
    EXPECT_EQ(spec.name[0], 0); // its inside
    EXPECT_EQ(FourDPlug::GetTarnwellFolderPathWin(path), 0);
    EXPECT_EQ(path, makers);

    fs::remove(makers);
    std::ofstream(makers) << "a file in its place";
    EXPECT_EQ(FourDPlug::GetTarnwellFolderPathWin(path), ResultCode::NotAFolder);
    fs::remove_all(host.PrefsFolder());
    EXPECT_EQ(FourDPlug::GetTarnwellFolderPathWin(path), ResultCode::FileNotFound);
}

TEST_P(FoldersTest, LogsAreLookedForInOrder) {
    char path[MAX_PATH];
    FSSpec spec;
    EXPECT_EQ(FourDPlug::GetLogsFolderPathWin(path), ResultCode::FileNotFound);
    EXPECT_EQ(FourDPlug::GetLogsFolderSpec(&spec), ResultCode::FileNotFound);
    const std::string makers = host.PrefsFolder() + "Tarnwell\\";
    fs::create_directories(makers);
    std::ofstream(makers + "Vorlogs") << "no folder";
    EXPECT_EQ(FourDPlug::GetLogsFolderPathWin(path), ResultCode::NotAFolder);
    EXPECT_EQ(FourDPlug::GetLogsFolderSpec(&spec), ResultCode::NotAFolder);
    fs::remove(makers + "Vorlogs");
    for (const std::string& folder : {makers, host.StructureFolder()}) {
        fs::create_directory(folder + "Vorlogs");
        EXPECT_EQ(FourDPlug::GetLogsFolderPathWin(path), 0);
        EXPECT_EQ(path, folder + "Vorlogs\\");
        EXPECT_EQ(FourDPlug::GetLogsFolderSpec(&spec), 0);
        EXPECT_EQ(Plain(PathOf(spec)), Plain(folder + "Vorlogs"));
    }
    char cut[8];
    EXPECT_EQ(FourDPlug::GetLogsFolderPath(cut, sizeof cut), 0);
    EXPECT_EQ(Plain(cut), Plain((host.StructureFolder() + "Vorlogs").substr(0, 7)));
    EXPECT_EQ(FourDPlug::GetLogsFolderPath(cut, 0), ResultCode::BadParameter);
}

TEST_P(FoldersTest, TheTemporaryFolderIsTheSessionsOwnAndGoesWithIt) {
    char path[MAX_PATH];
    EXPECT_EQ(plug.GetTempFolderPath(path, sizeof path, 0), 0); // named, but not made
    const std::string folder = path;
    EXPECT_EQ(plug.GetTempFileSpec(nullptr, "draft", "txt"), ResultCode::BadParameter);
    EXPECT_EQ(plug.GetTempFilePath(path, 0, "draft", "txt"), ResultCode::BadParameter);
    EXPECT_EQ(plug.GetTempFolderPath(nullptr, sizeof path, 1), ResultCode::BadParameter);
    EXPECT_EQ(plug.GetTarnwellFolderPathWin(nullptr), ResultCode::BadParameter);
    EXPECT_EQ(plug.GetTarnwellFolderSpec(nullptr, 1), ResultCode::BadParameter);
    EXPECT_EQ(plug.GetLogsFolderPathWin(nullptr), ResultCode::BadParameter);
    EXPECT_EQ(plug.GetLogsFolderSpec(nullptr), ResultCode::BadParameter);
    EXPECT_FALSE(fs::exists(folder));
    char name[32];
    std::snprintf(name, sizeof name, "Test_%08lX", FourD::MacPortToHWND(gHost.startupWindow));
    EXPECT_EQ(fs::path(Plain(folder)).filename().string(), Plain(name));
    // Another host's folder, with a window of its own.
    const std::string others = folder.substr(0, folder.find("Test_")) + "Test_0BADCAFE";
    fs::create_directory(others);

    FSSpec spec;
    EXPECT_EQ(plug.GetTempFileSpec(&spec, "draft", "txt"), ResultCode::FileNotFound);
    EXPECT_TRUE(fs::is_directory(folder));
    EXPECT_EQ(plug.GetTempFilePath(path, sizeof path, "draft", "txt"), 0);
    EXPECT_EQ(fs::path(path).filename(), "draft.txt");
    std::ofstream(path) << "taken";
    EXPECT_EQ(plug.GetTempFilePath(path, sizeof path, "draft", "txt"), 0);
    EXPECT_EQ(fs::path(path).filename(), "draft.1.txt");
    fs::create_directories(fs::path(folder) / "deeper" / "still");
    // The window may go before the folder, whose name stays.
    host.windows.Remove(gHost.startupWindow);
    EXPECT_EQ(plug.GetTempFolderPath(path, sizeof path, 1), 0);
    EXPECT_EQ(Plain(path), Plain(folder));
    session.Stop();
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_TRUE(fs::exists(others));
    fs::remove(others);

    host.windows.AddInFront(1, WindowKind::Regular);
    Start();
    EXPECT_EQ(plug.GetTempFolderPath(path, sizeof path, 0), 0);
    EXPECT_NE(Plain(path), Plain(folder));
}

} // namespace
