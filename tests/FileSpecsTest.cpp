// File specifications, paths and safe output over real files.

#include "shell/files/FileSpecs.h"

#include "data/blocks/TextBlock.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/files/CopyAndDelete.h"
#include "shell/files/TemporaryFiles.h"
#include "testhost/model/ScratchFolder.h"
#include "tests/Fixture.h"

#include <cstring>
#include <filesystem>
#include <fstream>

#include <windows.h>

namespace {

using namespace ResultCode;
using std::string;

string PathOf(const FSSpec& spec) {
    char path[LongestPath];
    long length = LongestPath;
    const OSErr error = FileSpecToNativePath(&spec, path, &length);
    return error ? std::to_string(error) : string(path, static_cast<std::size_t>(length));
}

string ShortForm(const string& path) {
    char form[MAX_PATH] = "";
    GetShortPathNameA(path.c_str(), form, sizeof form);
    return form;
}

string LongForm(const string& path, decltype(&ShortToLongPathName) function) {
    char form[LongestPath + 1] = "";
    const unsigned long length = function(path.c_str(), form, sizeof form);
    EXPECT_EQ(length, std::strlen(form)) << path;
    return form;
}

string Content(const string& path) {
    string content = "none";
    std::ifstream file(path);
    std::getline(file, content);
    return content;
}

bool Exists(const string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// A scratch folder with folders and files, in strict memory. `root` ends with a backslash.
class FileSpecsTest : public HostTest {
  protected:
    FileSpecsTest() : root(scratch.Path()) {
        ToolboxSetStrict(1);
        scratch.Inside("A long folder");
        scratch.Inside("caf\xE9");
        scratch.Inside("\xC9t\xE9");
        for (const char* const name : {"plain.txt", "A long folder\\A long file.text", "\xE9.txt",
                                       "\xC9t\xE9\\plain.txt", "\xC9t\xE9\\\xE9.txt"}) {
            File(name, "old");
        }
    }
    ~FileSpecsTest() override {
        EXPECT_EQ(ToolboxLivePointers(), 0);
        ToolboxSetStrict(0);
    }

    void File(const string& name, const string& content) { std::ofstream(root + name) << content; }
    FSSpec Spec(const string& name) {
        const string path = root + name;
        FSSpec spec{};
        EXPECT_EQ(NativePathToFileSpec(path.data(), static_cast<long>(path.size()), &spec),
                  Exists(path) ? NoError : FileNotFound);
        return spec;
    }
    /// With the name as it stands, in the toolbox's characters; Spec gives existing ones in short.
    FSSpec NamedSpec(const string& name) {
        FSSpec spec = Spec("missing");
        FSMakeFSSpec(spec.vRefNum, spec.parID, PascalString(name), &spec);
        return spec;
    }

    ScratchFolder scratch;
    const string root;
};

TEST_F(FileSpecsTest, LongFormAgreesWithTheSystem) {
    const string file = root + "A long folder\\A long file.text";
    const string brief = ShortForm(file);
    ASSERT_NE(brief, file);
    string slashes = brief;
    strrep(slashes.data(), '\\', '/');
    EXPECT_EQ(LongForm(slashes, ShortToLongPathName), file);
    for (const string& path :
         {brief, file, ShortForm(root), ShortForm(root) + "..\\.\\", string("C:\\"), string("C:"),
          string("\\"), string("."), string("C:\\missing"), string(), string(1041, 'x')}) {
        EXPECT_EQ(LongForm(path, ShortToLongPathName), LongForm(path, GetLongPathNameCompat));
    }
    for (auto* const function : {ShortToLongPathName, GetLongPathNameCompat}) {
        char out[] = "untouched";
        EXPECT_EQ(function(brief.c_str(), out, 9), file.size() + 1);
        EXPECT_EQ(function(brief.c_str(), nullptr, 0), file.size() + 1);
        EXPECT_EQ(function(nullptr, out, 9), 0u);
        EXPECT_STREQ(out, "untouched");
    }
}

TEST_F(FileSpecsTest, PathsSurviveTheRoundTrip) {
    CTextBlock text;
    FSSpec again{};
    for (const string name :
         {"", "plain.txt", "\xE9.txt", "A long folder\\", "A long folder\\A long file.text",
          "missing", "caf\xE9\\", "caf\xE9\\\xE9", "A long folder\\missing.txt"}) {
        const FSSpec spec = Spec(name);
        EXPECT_EQ(PathOf(spec), root + name);
        EXPECT_EQ(FileSpecToCTextBlock(&spec, &text), NoError);
        const OwnedHandle characters(string(*text.GetHandle(), std::size_t(text.GetLength())));
        text.SetLength(0);
        EXPECT_EQ(XFileSpecToCTextBlock(&spec, &text), NoError);
        EXPECT_EQ(OwnedHandle::BytesOf(text.GetHandle()), characters.Bytes());
        EXPECT_EQ(CTextBlockToFileSpec(&text, &again), Exists(root + name) ? 0 : -43);
        EXPECT_EQ(std::memcmp(&spec, &again, 7u + spec.name[0]), 0) << name;
    }
    // Also when the toolbox's own names and paths are used.
    for (const string name : {"plain.txt", "A long folder", "caf\x8E", "\x8E.txt", "\x83t\x8E",
                              "\x83t\x8E\\plain.txt", "\x83t\x8E\\\x8E.txt"}) {
        const FSSpec spec = NamedSpec(name);
        EXPECT_EQ(FSSpecToCTextBlock(&spec, &text), NoError);
        EXPECT_EQ(CTextBlockToFSSpec(&text, &again), NoError);
        EXPECT_EQ(std::memcmp(&spec, &again, 7u + spec.name[0]), 0) << name;
        // The same path in a handle: a new one, and one that is there.
        OwnedHandle path("");
        for (Handle given : {Handle{nullptr}, path.handle}) {
            short length = 0;
            ASSERT_EQ(P_FSpGetFullPath(&spec, &length, &given), NoError);
            EXPECT_EQ(length, text.GetLength());
            EXPECT_EQ(OwnedHandle::BytesOf(given), OwnedHandle::BytesOf(text.GetHandle()));
            if (given != path.handle) {
                DisposeHandle(given);
            }
        }
    }
    text.SetLength(0);
    EXPECT_EQ(PathOf(NamedSpec("caf\x8E")), root + "caf\xE9\\");
    FSSpec drive{};
    EXPECT_EQ(NativePathToFileSpec("C:", 2, &drive), NoError);
    EXPECT_EQ(PathOf(drive), "C:\\");
}

TEST_F(FileSpecsTest, FullPathsAreTakenInEitherCharacterSet) {
    const auto macintosh = [](string text) {
        ASI_AnsiToMacBuf(text.data(), text.data(), static_cast<long>(text.size()));
        return text;
    };
    const string folder = root + "\xC9t\xE9\\";
    for (const string name : {"plain.txt", "\xE9.txt", "missing.txt", "\xE0.txt", ""}) {
        // The last one is what the toolbox makes of a specification.
        for (const string& path : {folder + name, macintosh(folder + name),
                                   folder + (Exists(folder + name) ? macintosh(name) : name)}) {
            FSSpec spec{};
            EXPECT_EQ(ASI_FSMakeFSSpec(0, 0, PascalString(path), &spec),
                      Exists(folder + name) ? NoError : FileNotFound);
            EXPECT_EQ(PathOf(spec), folder + name);
        }
    }
    // The letter \x8E of the toolbox is another one in the ANSI code page, where it has a file,
    // too.
    File("\xC9t\xE9\\\x8E.txt", "");
    FSSpec spec{};
    EXPECT_EQ(ASI_FSMakeFSSpec(0, 0, PascalString(macintosh(folder + "\xE9.txt")), &spec), NoError);
    EXPECT_EQ(PathOf(spec), folder + "\xE9.txt");
    // Where the sets agree, nothing is asked twice.
    ToolboxFailFile(2);
    EXPECT_EQ(ASI_FSMakeFSSpec(0, 0, PascalString("C:\\missing"), &spec), FileNotFound);
    EXPECT_EQ(ToolboxFailFile(0), 1);
}

TEST_F(FileSpecsTest, ErrorsOfTheSystemHaveCodesOfTheToolbox) {
    const std::pair<unsigned long, OSErr> rows[] = {
        {0, 0},    {2, -43},  {3, -43}, {5, -54}, {32, -54},  {15, -35},
        {39, -34}, {80, -48}, {1, -36}, {4, -36}, {112, -36}, {0x10005, -36}};
    for (const auto& [system, code] : rows) {
        SetLastError(system);
        EXPECT_EQ(GetLastOSErr(), code) << system;
    }
}

TEST_F(FileSpecsTest, PathsAreGivenAsFarAsThereIsRoom) {
    const auto full = static_cast<long>(root.size());
    for (const long given : {0L, 5L, full - 1, full, full + 1}) {
        string out(root.size() + 20, '#');
        long length = given;
        const FSSpec spec = Spec("");
        EXPECT_EQ(XFileSpecToNativePath(&spec, out.data(), &length), NoError);
        EXPECT_EQ(length, full);
        EXPECT_EQ(out, root.substr(0, out.find('#')) + string(out.size() - out.find('#'), '#'));
        EXPECT_EQ(out.find('#'), given > 0 ? std::min(given, full) : full);
    }
}

TEST_F(FileSpecsTest, WhatIsTooLongOrMissingIsRefused) {
    for (const long length : {-1, 0, 255, 256, 260, 261, 1024, 1040, 1041, 40000}) {
        string path = "C:\\";
        while (static_cast<long>(path.size()) < length) {
            path += path.size() % 50 == 0 ? '\\' : 'x';
        }
        FSSpec spec = {-3, 2, "\1x"};
        const OSErr error = NativePathToFileSpec(path.data(), length, &spec);
        EXPECT_EQ(error, length == 255 ? NotAFolder : length > 260 ? InputOutput : BadParameter);
        EXPECT_TRUE(spec.parID == 0 && spec.name[0] == 0) << length;
    }
    FSSpec spec = Spec("");
    EXPECT_EQ(P_FSpLocationFromFullPath(256, string(256, 'x').data(), &spec), VolumeNotFound);
    for (const std::size_t length : {0u, 63u, 64u, 255u}) {
        const FSSpec folder = Spec("");
        const string name(length, 'n');
        const OSErr error = MakeFSSpecInFolder(&folder, PascalString(name), &spec);
        EXPECT_EQ(error == FileNotFound, length == 63) << length;
        EXPECT_EQ(spec.name[0], length == 63 ? 63 : 0);
        EXPECT_EQ(GetTempFileSpecInFolder(&spec, &folder, name.c_str(), ""), error);
    }
    EXPECT_EQ(GetTempFileSpec(&spec, string(256, 'n').c_str(), ""), BadParameter);
    FSSpec hostile = Spec("");
    hostile.name[0] = 255;
    char name[66] = {};
    GetFileSpecNameC(&hostile, name);
    EXPECT_LE(std::strlen(name), 63u);

    CTextBlock text;
    for (const OSErr error : {NativePathToFileSpec(nullptr, 3, &spec),
                              FileSpecToNativePath(nullptr, nullptr, nullptr),
                              CTextBlockToFileSpec(&text, &spec),
                              FileSpecToCTextBlock(&spec, nullptr),
                              IsFolder(&spec, nullptr),
                              GoInsideFolder(nullptr),
                              GetParentFolderSpec(nullptr, &spec),
                              MakeFSSpecInFolder(&spec, nullptr, &spec),
                              ASI_FSSpecToPath(nullptr, name),
                              FSSpecToCTextBlock(nullptr, &text),
                              GetTempFileSpec(&spec, nullptr, ""),
                              CopyFileSpec(nullptr, &spec, true),
                              DeleteDirSpec(nullptr),
                              CreateSafeOutputFileSpec(nullptr, &spec),
                              CleanupSafeOutputFileSpec(0, &spec, nullptr),
                              ASI_FSMakeFSSpec(0, 0, PascalString("C:"), nullptr),
                              P_FSpLocationFromFullPath(1, nullptr, &spec),
                              P_FSpGetFullPath(&spec, nullptr, nullptr),
                              CTextBlockToFSSpec(&text, nullptr),
                              FSSpecToCTextBlock(&spec, nullptr),
                              GetFileSpecInfo(nullptr, nullptr)}) {
        EXPECT_EQ(error, BadParameter);
    }
    EXPECT_EQ(CTextBlockToFSSpec(&text, &spec), VolumeNotFound);
    EXPECT_FALSE(IsFolderPath("") || IsFolderPath(nullptr) || IsFolderSpec(nullptr) ||
                 EmptyDirectory("") || EmptyDirectory(nullptr));
}

TEST_F(FileSpecsTest, FoldersAreEnteredAndLeft) {
    const FSSpec folder = Spec("A long folder");
    const FSSpec file = Spec("A long folder\\A long file.text");
    const FSSpec missing = Spec("A long folder\\missing");
    EXPECT_TRUE(IsFolderSpec(&folder));
    EXPECT_FALSE(IsFolderSpec(&file) || IsFolderSpec(&missing));
    // Only one of the two takes a name as the toolbox has it.
    FSSpec accented = NamedSpec("caf\x8E");
    EXPECT_EQ(GoInsideFolderSpec(&accented), FileNotFound);
    EXPECT_EQ(GoInsideFolder(&accented), NoError);
    EXPECT_EQ(accented.name[0], 0);
    EXPECT_EQ(PathOf(accented), root + "caf\xE9\\");
    accented = file;
    EXPECT_EQ(GoInsideFolder(&accented), NotAFolder);
    EXPECT_EQ(PathOf(accented), PathOf(file));

    FSSpec made{};
    for (const auto& [child, parentPath] : {std::pair{file, PathOf(folder)},
                                            {missing, PathOf(folder)},
                                            {folder, root},
                                            {FSSpec{-3, 2, "\0"}, string("C:\\")}}) {
        EXPECT_EQ(GetParentFolderSpec(&child, &made), NoError);
        EXPECT_EQ(PathOf(made), parentPath);
    }
    made = folder; // the result may replace the folder
    EXPECT_EQ(MakeFSSpecInFolder(&made, PascalString("A long file.text"), &made), NoError);
    EXPECT_EQ(PathOf(made), PathOf(file));
    EXPECT_EQ(MakeFSSpecInFolder(&file, PascalString("x"), &made), NotAFolder);
    made = folder;
    FInfo info{};
    EXPECT_EQ(GetFileSpecInfo(&made, &info), NoError);
    EXPECT_EQ(OSType{info.fdType}, 0x666F6C64u);
}

TEST_F(FileSpecsTest, FreeNamesAreCountedInHexadecimal) {
    const FSSpec folder = Spec("");
    for (const auto& [base, extension, taken, expected] : {std::tuple{"out", "txt", 0, "out.txt"},
                                                           {"out", "txt", 2, "out.2.txt"},
                                                           {"out", "", 1, "out.1"},
                                                           {"many", "", 10, "many.A"},
                                                           {"many", "x", 17, "many.11.x"}}) {
        FSSpec found{};
        for (int i = 0; i <= taken; ++i) {
            EXPECT_EQ(GetTempFileSpecInFolder(&found, &folder, base, extension), FileNotFound);
            if (i < taken) {
                FSpCreate(&found, 0, 0, 0);
            }
        }
        EXPECT_EQ(PathOf(found), root + expected);
    }
    char former[MAX_PATH];
    GetEnvironmentVariableA("TMP", former, sizeof former);
    for (const auto& [value, result, path] :
         {std::tuple{string(former), NoError, TemporaryFolder()},
          {"C:\\" + string(300, 'x'), NoError, root}}) {
        SetEnvironmentVariableA("TMP", value.c_str());
        FSSpec spec = folder;
        EXPECT_EQ(GetTempFolderSpec(&spec), result);
        EXPECT_EQ(PathOf(spec), path);
    }
    SetEnvironmentVariableA("TMP", former);
}

TEST_F(FileSpecsTest, FreeNamesAreThoseThatHaveNoSpecificationYet) {
    // One candidate after the other, each by its specification.
    const auto firstFree = [](const FSSpec& folder, const string& base, const string& extension,
                              FSSpec* found) {
        for (int i = 0;; ++i) {
            char number[8] = "";
            std::snprintf(number, sizeof number, i > 0 ? ".%X" : "", static_cast<unsigned>(i));
            const string name = base + number + (extension.empty() ? "" : "." + extension);
            const OSErr error = MakeFSSpecInFolder(&folder, PascalString(name), found);
            if (error != NoError) {
                return error;
            }
        }
    };
    const string longName(62, 'n');
    // Those of "b" are many, in letters of either case, with names between them that are no
    // candidates.
    for (const string name : {"a",      "a.1.txt",   "a.3.txt", longName.c_str(),
                              "b",      "b.1",       "b.2",     "B.3",
                              "b.4",    "b.5",       "b.6",     "b.7",
                              "b.8",    "b.9",       "b.a",     "b.B",
                              "b.0C",   "b.100000C", "b.C.x",   "b.D",
                              "b.txt",  "b.1.TXT",   "b.2.txt", "b.3.x.txt",
                              "b.4.txt"}) {
        File(name, "");
        File("A long folder\\" + name, "");
    }
    FSSpec entered = Spec("A long folder");
    EXPECT_EQ(GoInsideFolder(&entered), NoError);
    for (const string base :
         {"a", "b", "a.", "CON", "\x8E", "a?", "..\\plain", "", longName.c_str()}) {
        for (const string extension : {"", "txt"}) {
            for (const FSSpec& folder : {Spec(""), entered}) {
                FSSpec expected{};
                FSSpec found{};
                const OSErr error = firstFree(folder, base, extension, &expected);
                EXPECT_EQ(GetTempFileSpecInFolder(&found, &folder, base.c_str(), extension.c_str()),
                          error)
                    << base << " " << extension;
                EXPECT_EQ(PathOf(found), PathOf(error == FileNotFound ? expected : FSSpec{}));
            }
        }
    }
    FSSpec file = Spec("plain.txt");
    EXPECT_EQ(GetTempFileSpecInFolder(&file, &file, "a", ""), NotAFolder);
}

TEST_F(FileSpecsTest, CopiesAndDeletesStayWhereTheyBelong) {
    File("new.txt", "new");
    const FSSpec from = Spec("new.txt");
    const FSSpec to = Spec("plain.txt");
    const FSSpec missing = Spec("missing.txt");
    EXPECT_EQ(CopyFileSpec(&from, &to, false), DuplicateName);
    EXPECT_EQ(CopyFileSpec(&missing, &to, true), FileNotFound);
    EXPECT_EQ(Content(root + "plain.txt"), "old");
    EXPECT_EQ(CopyFileSpec(&from, &to, true), NoError);
    EXPECT_EQ(Content(root + "plain.txt"), "new");

    scratch.Inside("A long folder\\Sub");
    File("A long folder\\Sub\\inner.txt", "");
    // In the ANSI code page this name leads out of the folder.
    const std::filesystem::path folderPath(root + "A long folder");
    std::ofstream(folderPath / L"\xFF0E\xFF0E\xFF3Cplain.txt") << "disguised";
    const FSSpec folder = Spec("A long folder");
    EXPECT_EQ(DeleteDirSpec(&folder), NoError);
    EXPECT_EQ(DeleteDirSpec(&folder), FileNotFound);
    EXPECT_NE(DeleteDirSpec(&to), NoError);
    scratch.Inside("outer");
    scratch.Inside("outer\\inner");
    const FSSpec inner = Spec("outer\\inner");
    EXPECT_EQ(std::filesystem::remove_all(root + "outer"), 2u);
    EXPECT_EQ(DeleteDirSpec(&inner), FileNotFound);
    // An empty specification stands for the current folder elsewhere.
    const std::filesystem::path former = std::filesystem::current_path();
    std::filesystem::current_path(root);
    const FSSpec empty{};
    EXPECT_EQ(DeleteDirSpec(&empty), BadParameter);
    std::filesystem::current_path(former);
    EXPECT_EQ(Content(root + "plain.txt"), "new");

    // Folders that go deeper than a path can: what is out of reach stays.
    std::wstring deep = L"\\\\?\\" + std::filesystem::path(scratch.Inside("d")).wstring();
    std::vector<std::wstring> folders;
    for (; deep.size() < 1300; deep += L"\\" + std::wstring(100, L'd')) {
        ASSERT_NE(CreateDirectoryW((deep += L"d").c_str(), nullptr), 0);
        folders.push_back(deep);
    }
    EXPECT_TRUE(EmptyDirectory((root + "d").c_str()));
    for (; !folders.empty(); folders.pop_back()) {
        EXPECT_NE(RemoveDirectoryW(folders.back().c_str()), 0);
    }
}

/// Runs a Unix command in a folder until `link` is there, or gone: Wine has no call for links, and
/// cannot wait for the command itself. Does nothing elsewhere.
void RunUnix(const string& command, const string& folder, const string& link, bool there) {
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process{};
    string line = "sh -c \"" + command + "\"";
    if (CreateProcessA("Z:\\bin\\sh", line.data(), nullptr, nullptr, FALSE, 0, nullptr,
                       folder.c_str(), &startup, &process) == 0) {
        return;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    for (int wait = 0; wait < 500 && IsFolderLink(link.c_str()) != there; ++wait) {
        Sleep(10);
    }
}

// Not to be seen under Wine: that a link goes when it is deleted, and that a folder with a mark of
// another kind, as synchronised folders have, is emptied; there no folder but a link has one.
TEST_F(FileSpecsTest, LinksAreNotFollowed) {
    scratch.Inside("Folder");
    for (const string name : {"A long folder", "caf\xE9"}) { // one with a file in it, one without
        const string link = root + "Folder\\link";
        CreateSymbolicLinkA(link.c_str(), (root + name).c_str(), SYMBOLIC_LINK_FLAG_DIRECTORY);
        if (!IsFolderLink(link.c_str())) {
            const string target = name == "A long folder" ? "'../A long folder'" : "../caf*";
            RunUnix("ln -s " + target + " link", root + "Folder", link, true);
        }
        if (!IsFolderLink(link.c_str())) {
            GTEST_SKIP() << "no links can be made here";
        }
        // A plain folder that the ANSI code page gives the link's name: "link" in full-width
        // letters.
        const std::wstring twin =
            std::wstring(root.begin(), root.end()) + L"Folder\\\xFF4C\xFF49\xFF4E\xFF4B";
        EXPECT_TRUE(CreateDirectoryW(twin.c_str(), nullptr));
        const FSSpec linkSpec = NamedSpec("Folder\\link");
        EXPECT_TRUE(EmptyDirectory((root + "Folder").c_str()));
        DeleteDirSpec(&linkSpec);
        RemoveDirectoryW(twin.c_str());
        EXPECT_EQ(Content(root + "A long folder\\A long file.text"), "old");
        EXPECT_TRUE(Exists(root + "caf\xE9"));
        if (Exists(link)) { // where the system only ever follows links, they have to stay
            RunUnix("rm link", root + "Folder", link, false);
        }
        EXPECT_FALSE(Exists(link));
    }
}

TEST_F(FileSpecsTest, SafeOutputLosesNothing) {
    const struct {
        const char* name;
        short writeError;
        bool locked;
        long failingCall;
        OSErr result;
        const char* target;
        const char* temporary;
    } cases[] = {
        {"new", 0, false, 0, 0, "new", "new"},
        {"failed write", -34, false, 0, -34, "none", "none"},
        {"old", 0, false, 0, 0, "new", "none"},
        {"old, failed write", -34, false, 0, -34, "old", "none"},
        {"old, held by another", 0, true, 0, -47, "old", "none"},
        {"old, not to be deleted", 0, false, 2, -36, "old", "none"},
        {"old, the other not to be renamed", 0, false, 3, 0, "none", "new"},
    };
    for (const auto& row : cases) {
        const string path = root + row.name;
        const bool exists = string(row.name).starts_with("old");
        if (exists) {
            File(row.name, "old");
        }
        const FSSpec target = NamedSpec(row.name);
        FSSpec temporary{};
        EXPECT_EQ(CreateSafeOutputFileSpec(&target, &temporary), FileNotFound);
        const string temporaryPath = PathOf(temporary);
        EXPECT_EQ(temporaryPath, path + (exists ? ".1" : ""));
        std::ofstream(temporaryPath) << "new";
        void* const lock = row.locked ? CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr,
                                                    OPEN_EXISTING, 0, nullptr)
                                      : INVALID_HANDLE_VALUE;
        ToolboxFailFile(row.failingCall);
        EXPECT_EQ(CleanupSafeOutputFileSpec(row.writeError, &target, &temporary), row.result);
        EXPECT_EQ(ToolboxFailFile(0), 0);
        CloseHandle(lock);
        EXPECT_EQ(Content(path), row.target) << row.name;
        EXPECT_EQ(Content(temporaryPath), row.temporary) << row.name;
    }
    File("kept", "old");
    const FSSpec target = NamedSpec("kept");
    FSSpec neverWritten{};
    EXPECT_EQ(CreateSafeOutputFileSpec(&target, &neverWritten), FileNotFound);
    EXPECT_EQ(CleanupSafeOutputFileSpec(0, &target, &neverWritten), FileNotFound);
    EXPECT_EQ(Content(root + "kept"), "old");
}

TEST_F(FileSpecsTest, LackOfMemoryLeavesNothingBehind) {
    const FSSpec file = Spec("plain.txt");
    const FSSpec folder = Spec("");
    CTextBlock path(root.c_str());
    CTextBlock text;
    const struct {
        std::function<OSErr(FSSpec*)> run;
        int lenient = 0; ///< failures that are passed over
    } operations[] = {{[&](FSSpec* out) { return GetParentFolderSpec(&file, out); }, 1},
                      {[&](FSSpec* out) { return NativePathToFileSpec("C:\\", 3, out); }},
                      {[&](FSSpec*) { return FileSpecToNativePath(&file, nullptr, nullptr); }},
                      {[&](FSSpec* out) { return MakeFSSpecInFolder(&folder, file.name, out); }},
                      {[&](FSSpec* out) { return GetTempFolderSpec(out); }},
                      {[&](FSSpec* out) { return CTextBlockToFileSpec(&path, out); }},
                      {[&](FSSpec*) { return FileSpecToCTextBlock(&file, &text); }},
                      {[&](FSSpec*) { return FSSpecToCTextBlock(&file, &text); }},
                      {[&](FSSpec*) { return CopyFileSpec(&file, &folder, false); }},
                      {[&](FSSpec* out) { return CreateSafeOutputFileSpec(&file, out); }}};
    for (const auto& operation : operations) {
        const long alive = ToolboxLiveHandles() + ToolboxLivePointers();
        int lenient = 0;
        int attempt = 0;
        for (bool failed = true; failed; text.SetLength(0)) {
            FSSpec out = {-3, 99, "\1x"};
            ToolboxFailAllocation(++attempt);
            const OSErr result = operation.run(&out);
            failed = ToolboxFailAllocation(0) == 0;
            EXPECT_TRUE(failed ? result == MemoryFull || result == NoError : result != MemoryFull);
            EXPECT_TRUE(result == NoError || result == FileNotFound || text.GetLength() == 0);
            lenient += failed && result == NoError && long{out.parID} == 99 ? 1 : 0;
        }
        EXPECT_EQ(lenient, operation.lenient);
        EXPECT_GT(attempt, 1) << "needs no memory";
        EXPECT_EQ(ToolboxLiveHandles() + ToolboxLivePointers(), alive);
    }
    path.SetLength(0);
}

} // namespace
