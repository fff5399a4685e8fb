#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/plugins/Session.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include <windows.h>

namespace {

using namespace ResultCode;
using std::string;

/// A Pascal string; a zero follows it.
std::array<unsigned char, 257> Pascal(const string& text) {
    std::array<unsigned char, 257> bytes{static_cast<unsigned char>(text.size())};
    std::copy(text.begin(), text.end(), &bytes[1]);
    return bytes;
}

string Name(const FSSpec& spec) {
    return {reinterpret_cast<const char*>(spec.name + 1), spec.name[0]};
}

/// A folder with a file of ten bytes. At the end of every test no file is open and the toolbox
/// found nothing wrong.
class ToolboxFilesTest : public testing::Test {
  protected:
    ToolboxFilesTest()
        : folder(std::filesystem::temp_directory_path() /
                 ("ToolboxFiles" + std::to_string(GetCurrentProcessId()))) {
        ToolboxReset();
        std::filesystem::create_directories(folder / "Sub");
        std::ofstream(folder / "a.txt") << "0123456789";
        spec = Spec("a.txt");
    }
    ~ToolboxFilesTest() override {
        EXPECT_EQ(ToolboxOpenFiles(), 0);
        EXPECT_EQ(ToolboxCheckAll() + ToolboxProblemCount(), 0);
        ToolboxReset();
        std::filesystem::remove_all(folder);
    }
    /// By full path; the file need not be there.
    FSSpec Spec(const string& name) const {
        FSSpec found{};
        const OSErr error = FSMakeFSSpec(0, 0, Pascal((folder / name).string()).data(), &found);
        EXPECT_TRUE(error == NoError || error == FileNotFound) << name << ": " << error;
        return found;
    }
    short Open(char permission = FilePermission::ReadWrite) const {
        short file = 0;
        EXPECT_EQ(FSpOpenDF(&spec, permission, &file), NoError);
        return file;
    }
    static void ExpectMarkAndEnd(short file, long mark, long end) {
        long foundMark = -1, foundEnd = -1;
        EXPECT_EQ(GetFPos(file, &foundMark), NoError);
        EXPECT_EQ(GetEOF(file, &foundEnd), NoError);
        EXPECT_EQ(foundMark, mark);
        EXPECT_EQ(foundEnd, end);
    }

    std::filesystem::path folder;
    FSSpec spec{}; ///< of the file
};

TEST_F(ToolboxFilesTest, ReplaceTex) {
    const string large(5000, 'x');
    struct {
        string text, search, replacement;
        long count;
        string result;
    } const cases[] = {
        {"a-b-c", "-", "+", 2, "a+b+c"},
        {"a-b-c", "-", "<->", 2, "a<->b<->c"},
        {"--a----", "--", "", 3, "a"},
        {"aaaaa", "aa", "aaa", 2, "aaaaaaa"}, // what was put in is not searched
        {"Ab", "ab", "x", 0, "Ab"},
        {"ab", "abc", "x", 0, "ab"},
        {"ab", "", "x", 0, "ab"},
        {string("a\0b\xFF\0", 5), string("\0", 1), "..", 2, "a..b\xFF.."},
        {"axax", "x", large, 2, "a" + large + "a" + large},
        {large, "x", "yy", 5000, string(10000, 'y')},
    };
    const auto handleWith = [](const string& bytes) {
        Handle handle = nullptr;
        PtrToHand(bytes.data(), &handle, static_cast<long>(bytes.size()));
        return handle;
    };
    const auto contents = [](Handle handle) {
        return string(*handle, static_cast<std::size_t>(GetHandleSize(handle)));
    };
    const auto dash = Pascal("-"), letter = Pascal("b");
    for (const bool strict : {false, true}) {
        ToolboxSetStrict(strict);
        for (const auto& row : cases) {
            const Handle text = handleWith(row.text), replacement = handleWith(row.replacement);
            EXPECT_EQ(ReplaceTex(text, replacement, Pascal(row.search).data()), row.count);
            EXPECT_EQ(contents(text), row.result) << row.text << " " << row.search;
            EXPECT_EQ(contents(replacement), row.replacement);
        }
        const Handle text = handleWith("a-b-"), longer = handleWith("0123456789abcdef");
        EXPECT_EQ(ReplaceTex(text, text, dash.data()), 2);
        EXPECT_EQ(contents(text), "aa-b-ba-b-");
        EXPECT_EQ(ReplaceTex(text, nullptr, dash.data()), 4);
        ToolboxFailAllocation(1);
        EXPECT_EQ(ReplaceTex(text, longer, letter.data()), MemoryFull);
        HLock(text); // and then there is no room to grow
        EXPECT_EQ(ReplaceTex(text, longer, letter.data()), MemoryFull);
        EXPECT_EQ(MemError(), MemoryFull);
        EXPECT_EQ(contents(text), "aabbab");
        EXPECT_EQ(ReplaceTex(nullptr, longer, letter.data()), NullHandle);
        EXPECT_EQ(ReplaceTex(text, longer, nullptr), BadParameter);
        DisposeHandle(longer);
        EXPECT_EQ(ReplaceTex(text, longer, letter.data()), BlockFreed);
        EXPECT_EQ(ToolboxProblemCount(), 1);
        ToolboxClearProblems();
    }
}

TEST_F(ToolboxFilesTest, Specifications) {
    string free = "A:\\x";
    while (GetLogicalDrives() >> (free[0] - 'A') & 1) {
        ++free[0];
    }
    const string here = folder.string(), leaf = folder.filename().string();
    const string drive = here.substr(0, 2);
    struct {
        string name;
        OSErr error;
        string found; ///< name in the specification
    } const cases[] = {
        {"a.txt", NoError, "a.txt"},
        {here + "\\A.TXT", NoError, "A.TXT"},
        {R"(Sub\..\.\a.txt)", NoError, "a.txt"},
        {"", NoError, leaf},
        {here + "\\", NoError, leaf},
        {drive, NoError, drive},
        {string(63, 'n'), FileNotFound, string(63, 'n')},
        {"m\x9Fll", FileNotFound, "m\x9Fll"},
    };
    for (const auto& row : cases) {
        FSSpec first{}, again{};
        EXPECT_EQ(FSMakeFSSpec(spec.vRefNum, spec.parID, Pascal(row.name).data(), &first),
                  row.error);
        EXPECT_EQ(Name(first), row.found);
        EXPECT_EQ(FSMakeFSSpec(spec.vRefNum, first.parID, first.name, &again), row.error)
            << row.name;
        EXPECT_EQ(std::memcmp(&again, &first, sizeof first), 0) << row.name;
    }
    EXPECT_EQ(long{Spec("A.txt").parID}, long{spec.parID});
    EXPECT_NE(long{Spec("Sub\\x").parID}, long{spec.parID});
    struct {
        OSErr error;
        std::vector<string> names;
    } const refused[] = {
        {NotAFolder, {"No\\a.txt", "a.txt\\b"}},
        {VolumeNotFound, {free, R"(\\server\share)"}},
        {BadName, {"C:x", "Vol:dir:a.txt", "\\a.txt", "Sub\\\\a", "Sub/a", "a?", "a."}},
        {BadName, {string("a\0b", 3), "Sub\\nul .txt", "com1", string(64, 'n'), string(255, 'n')}},
        {BadName, {string(250, 'n') + "\\a"}}, // the path gets too long for Windows
    };
    const auto expectRefusal = [](short drives, long place, const unsigned char* name,
                                  OSErr error) {
        FSSpec filled{1, 1, {1}};
        EXPECT_EQ(FSMakeFSSpec(drives, place, name, &filled), error) << (name ? name + 1 : name);
        EXPECT_TRUE(filled.vRefNum == 0 && filled.parID == 0 && filled.name[0] == 0);
    };
    for (const auto& row : refused) {
        for (const string& name : row.names) {
            expectRefusal(spec.vRefNum, spec.parID, Pascal(name).data(), row.error);
        }
    }
    for (const short none : {short{5}, short{-27}, short{-32768}}) {
        expectRefusal(none, 2, nullptr, VolumeNotFound);
    }
    for (const long none : {-1L, 1L, 3L, 99999L, 0x7FFFFFFFL}) {
        expectRefusal(spec.vRefNum, none, nullptr, NotAFolder);
    }
    FSSpec root{};
    EXPECT_EQ(FSMakeFSSpec(spec.vRefNum, 2, nullptr, &root), NoError);
    EXPECT_EQ(long{root.parID}, 1);
    EXPECT_EQ(FSMakeFSSpec(0, 0, nullptr, nullptr), BadParameter);
}

TEST_F(ToolboxFilesTest, SpecificationsThatDoNotOpen) {
    FSSpec unknown = Spec("x"), longName = unknown, path = unknown, noName = unknown, drive{};
    EXPECT_EQ(FSMakeFSSpec(spec.vRefNum, 0, nullptr, &drive), NoError);
    unknown.parID = 77777;
    longName.name[0] = 255;
    std::memcpy(path.name, "\x05.\\a.t", 6);
    noName.name[0] = 0;
    std::filesystem::create_directory(folder / "Gone");
    const FSSpec gone = Spec("Gone\\x");
    std::filesystem::remove(folder / "Gone");
    struct {
        FSSpec spec;
        OSErr open, create;
    } const cases[] = {{Spec("x"), FileNotFound, NoError},
                       {Spec("x"), NoError, DuplicateName},
                       {Spec("Sub"), FileNotFound, DuplicateName},
                       {drive, FileNotFound, DuplicateName},
                       {unknown, NotAFolder, NotAFolder},
                       {gone, NotAFolder, NotAFolder},
                       {longName, BadName, BadName},
                       {path, BadName, BadName},
                       {noName, BadName, BadName},
                       {{9, 2, {1, 'x'}}, VolumeNotFound, VolumeNotFound}};
    for (const auto& row : cases) {
        short file = -1;
        EXPECT_EQ(FSpOpenDF(&row.spec, FilePermission::Current, &file), row.open) << Name(row.spec);
        EXPECT_EQ(row.open ? file : FSClose(file), 0);
        EXPECT_EQ(FSpCreate(&row.spec, 0, 0, 0), row.create) << Name(row.spec);
    }
}

TEST_F(ToolboxFilesTest, MarkAndEnd) {
    using namespace FilePosition;
    const short file = Open();
    struct {
        short mode;
        long offset;
        OSErr error;
        long mark;
    } const moves[] = {{FromStart, 4, NoError, 4},      {AtMark, 99, NoError, 4},
                       {FromMark, -3, NoError, 1},      {FromMark, -2, BadPosition, 1},
                       {FromStart, -1, BadPosition, 1}, {FromEnd, -2, NoError, 8},
                       {FromMark, 2, NoError, 10},      {FromMark, 0x7FFFFFFF, EndOfData, 10},
                       {FromStart, 0, NoError, 0},      {FromEnd, 1, EndOfData, 10},
                       {4, 0, BadParameter, 10},        {-1, 0, BadParameter, 10},
                       {FromStart, 7, NoError, 7}};
    for (const auto& row : moves) {
        EXPECT_EQ(SetFPos(file, row.mode, row.offset), row.error) << row.mode << " " << row.offset;
        ExpectMarkAndEnd(file, row.mark, 10);
    }
    const auto read = [file](long wanted, OSErr error) {
        string bytes(static_cast<std::size_t>(wanted) + 1, '#');
        EXPECT_EQ(FSRead(file, &wanted, bytes.data()), error);
        return bytes.substr(0, static_cast<std::size_t>(wanted) + 1);
    };
    EXPECT_EQ(read(2, NoError), "78#");
    EXPECT_EQ(read(5, EndOfData), "9#");
    EXPECT_EQ(read(5, EndOfData), "#");
    EXPECT_EQ(read(0, NoError), "#");
    EXPECT_EQ(SetEOF(file, 20), NoError);
    ExpectMarkAndEnd(file, 10, 20);
    EXPECT_EQ(SetEOF(file, 4), NoError);
    ExpectMarkAndEnd(file, 4, 4);
    long count = 2;
    EXPECT_EQ(FSWrite(file, &count, "xy"), NoError);
    ExpectMarkAndEnd(file, 6, 6);
    EXPECT_EQ(SetFPos(file, FromStart, 0), NoError);
    EXPECT_EQ(read(6, NoError), "0123xy#"); // up to the very end is not beyond it
    EXPECT_EQ(FSClose(file), NoError);
}

TEST_F(ToolboxFilesTest, WhoMayOpenAndWrite) {
    constexpr OSErr writes = NoError, reads = NoWritePermission;
    struct {
        char first, second;
        bool locked;
        OSErr error;  ///< of the second opening
        OSErr writes; ///< of writing through it
    } const cases[] = {{1, 3, false, NoError, writes},   {3, 1, false, NoError, reads},
                       {3, 2, false, OpenForWriting, 0}, {3, 4, false, OpenForWriting, 0},
                       {4, 3, false, OpenForWriting, 0}, {4, 4, false, NoError, writes},
                       {3, 0, false, NoError, reads},    {0, 3, false, OpenForWriting, 0},
                       {1, 0, false, NoError, writes},   {1, 3, true, NoPermission, 0},
                       {1, 1, true, NoError, reads},     {1, 0, true, NoError, FileLocked},
                       {1, 5, false, BadParameter, 0},   {1, -1, false, BadParameter, 0}};
    const FSSpec same = Spec("A.TXT");
    const string path = (folder / "a.txt").string();
    for (const auto& row : cases) {
        const string what = std::to_string(row.first) + ", then " + std::to_string(row.second);
        SetFileAttributesA(path.c_str(),
                           row.locked ? FILE_ATTRIBUTE_READONLY : FILE_ATTRIBUTE_NORMAL);
        const short first = Open(row.first);
        short second = -1;
        EXPECT_EQ(FSpOpenDF(&same, row.second, &second), row.error) << what;
        if (!row.error) {
            long count = 1;
            EXPECT_EQ(FSWrite(second, &count, "x"), row.writes) << what;
            EXPECT_EQ(count, row.writes ? 0 : 1) << what;
            EXPECT_EQ(SetEOF(second, 10), row.writes) << what;
            EXPECT_EQ(FSClose(second), NoError);
        }
        EXPECT_EQ(FSClose(first), NoError);
        SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
    }
    void* const elsewhere =
        CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    short file = -1;
    EXPECT_EQ(FSpOpenDF(&spec, FilePermission::Current, &file), FileBusy);
    EXPECT_EQ(file, 0);
    CloseHandle(elsewhere);
}

long number = 0;
char byte = 'w';

/// Every call on an open file, each with arguments that it accepts.
const struct {
    const char* name;
    OSErr (*call)(short file);
} fileCalls[] = {
    {"FSRead", [](short file) { return FSRead(file, &(number = 1), &byte); }},
    {"FSWrite", [](short file) { return FSWrite(file, &(number = 1), &byte); }},
    {"SetEOF", [](short file) { return SetEOF(file, 9); }},
    {"GetEOF", [](short file) { return GetEOF(file, &number); }},
    {"SetFPos", [](short file) { return SetFPos(file, FilePosition::FromMark, 1); }},
    {"GetFPos", [](short file) { return GetFPos(file, &number); }},
    {"FSClose", FSClose},
};

TEST_F(ToolboxFilesTest, NumbersOfNoOpenFile) {
    const short closed = Open();
    EXPECT_EQ(FSClose(closed), NoError);
    for (const short none : {short{0}, short{-32768}, short{32767}, closed}) {
        for (const auto& row : fileCalls) {
            EXPECT_EQ(row.call(none), BadFileNumber) << row.name << " " << none;
        }
    }
    char sentence[100];
    EXPECT_EQ(ToolboxProblemCount(), 1);
    ToolboxProblem(0, sentence, sizeof sentence);
    EXPECT_EQ(sentence, "FSClose: file " + std::to_string(closed) + " was already closed");
    ToolboxClearProblems();

    short file = 0;
    OSErr error = NoError;
    while (!error && ToolboxOpenFiles() < 1000) {
        EXPECT_NE(file, closed);
        error = FSpOpenDF(&spec, FilePermission::Read, &file);
    }
    EXPECT_EQ(error, TooManyFiles);
    EXPECT_EQ(ToolboxOpenFiles(), 348);
    ToolboxReset();
}

TEST_F(ToolboxFilesTest, WrongArguments) {
    const short file = Open();
    long negative[] = {-1, -1}, ones[] = {1, 1}, none = 0;
    const OSErr results[] = {FSRead(file, nullptr, &byte),
                             FSRead(file, &ones[0], nullptr),
                             FSRead(file, &negative[0], &byte),
                             FSWrite(file, nullptr, &byte),
                             FSWrite(file, &ones[1], nullptr),
                             FSWrite(file, &negative[1], &byte),
                             SetEOF(file, -1),
                             GetEOF(file, nullptr),
                             GetFPos(file, nullptr),
                             FSpCreate(nullptr, 0, 0, 0),
                             FSpOpenDF(&spec, FilePermission::Read, nullptr)};
    for (const OSErr& result : results) {
        EXPECT_EQ(result, BadParameter) << "result " << &result - results;
    }
    EXPECT_EQ(negative[0], 0);
    EXPECT_EQ(FSRead(file, &none, nullptr), NoError);
    EXPECT_EQ(FSWrite(file, &none, nullptr), NoError);
    ExpectMarkAndEnd(file, 0, 10);
    EXPECT_EQ(FSClose(file), NoError);
}

TEST_F(ToolboxFilesTest, ChosenFileCallFailsOnce) {
    const FSSpec created = Spec("created");
    const short file = Open();
    FSSpec made = spec;
    short none = -1;
    ToolboxFailFile(2);
    EXPECT_EQ(FSMakeFSSpec(spec.vRefNum, spec.parID, spec.name, &made), NoError);
    EXPECT_EQ(FSClose(0), BadFileNumber); // refused, and so not counted
    EXPECT_EQ(FSMakeFSSpec(spec.vRefNum, spec.parID, spec.name, &made), InputOutput);
    EXPECT_EQ(long{made.parID}, 0);
    EXPECT_EQ(ToolboxFailFile(1), 0);
    EXPECT_EQ(FSpCreate(&created, 0, 0, 0), InputOutput);
    EXPECT_FALSE(std::filesystem::exists(folder / "created"));
    ToolboxFailFile(1);
    EXPECT_EQ(FSpOpenDF(&spec, FilePermission::Read, &none), InputOutput);
    EXPECT_EQ(none, 0);
    for (const auto& row : fileCalls) {
        ExpectMarkAndEnd(file, 0, 10);
        ToolboxFailFile(1);
        EXPECT_EQ(row.call(file), InputOutput) << row.name;
    }
    EXPECT_EQ(ToolboxOpenFiles(), 0); // closed nevertheless
    ToolboxFailFile(7);
    EXPECT_EQ(ToolboxFailFile(0), 7);
}

TEST_F(ToolboxFilesTest, SessionReportsFilesLeftOpen) {
    const short before = Open(FilePermission::Read);
    Host host;
    Session session(host, {});
    const short leaked = Open();
    session.ReportLeaks();
    ASSERT_EQ(host.problems.size(), 1U);
    EXPECT_EQ(host.problems[0].substr(0, 8), "1 file \"");
    EXPECT_NE(host.problems[0].find(" that was opened since the session began is still open."),
              string::npos);
    EXPECT_EQ(FSClose(leaked), NoError);
    EXPECT_EQ(FSClose(before), NoError);
}

} // namespace
