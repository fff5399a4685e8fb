#include "platform/Toolbox.h"

#include "platform/ResultCodes.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <array>
#include <bit>
#include <climits>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

#include <windows.h>

namespace {

using namespace ResultCode;
using std::string;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

std::vector<string> TakeProblems() {
    std::vector<string> problems;
    char text[400];
    for (long i = 0; ToolboxProblem(i, text, sizeof text) >= 0; ++i) {
        problems.emplace_back(text);
    }
    ToolboxClearProblems();
    return problems;
}

/// A test that ends with a problem it did not take has failed.
class ToolboxTest : public testing::Test {
  protected:
    ToolboxTest() { ToolboxReset(); }
    ~ToolboxTest() override {
        ToolboxCheckAll();
        EXPECT_THAT(TakeProblems(), ElementsAre());
        ToolboxReset();
    }
};

Handle HandleWith(const string& bytes) {
    Handle handle = nullptr;
    EXPECT_EQ(PtrToHand(bytes.data(), &handle, static_cast<long>(bytes.size())), NoError);
    return handle;
}

string Contents(Handle handle) {
    return string(*handle, static_cast<std::size_t>(GetHandleSize(handle)));
}

TEST_F(ToolboxTest, StrictMemoryMovesUnlockedBlocksOnly) {
    const Handle loose = HandleWith("loose"), fixed = HandleWith("fixed"), none = NewHandle(0);
    const Handle hostHandle = ToolboxNewHostHandle(1);
    const Ptr pointer = NewPtrClear(4);
    HLock(fixed);
    struct {
        const char* name;
        void (*call)(Handle);
        bool moves;
    } const calls[] = {
        {"NewHandle", [](Handle) { DisposeHandle(NewHandle(8)); }, true},
        {"NewPtr", [](Handle) { DisposePtr(NewPtr(8)); }, true},
        {"SetHandleSize", [](Handle other) { SetHandleSize(other, 0); }, true},
        {"HandAndHand", [](Handle other) { HandAndHand(other, other); }, true},
        {"host", [](Handle) { ToolboxDisposeHostHandle(ToolboxNewHostHandle(9)); }, true},
        {"HLock", [](Handle other) { HLock(other), HUnlock(other), GetHandleSize(other); }, false},
    };
    for (const bool strict : {true, false}) {
        ToolboxSetStrict(strict);
        for (const auto& row : calls) {
            const char *before = *loose, *hostBefore = *hostHandle, *fixedBefore = *fixed;
            row.call(none);
            const bool moved = strict && row.moves;
            EXPECT_EQ(*loose != before, moved) << row.name;
            EXPECT_EQ(*hostHandle != hostBefore, moved) << row.name;
            EXPECT_EQ(string(before, 5), moved ? "\xE5\xE5\xE5\xE5\xE5" : "loose") << row.name;
            EXPECT_EQ(*fixed, fixedBefore) << row.name;
            EXPECT_EQ(Contents(loose) + Contents(fixed), "loosefixed") << row.name;
        }
    }
    EXPECT_EQ(GetPtrSize(pointer), 4);
}

// However many blocks there are, and however large.
TEST_F(ToolboxTest, StrictMemoryMovesAFewBlocksWithEachCall) {
    std::vector<Handle> handles(500);
    for (Handle& handle : handles) {
        handle = NewHandle(&handle == &handles[250] ? 100'000 : 20);
    }
    std::vector<char*> before;
    const auto look = [&] {
        before.clear();
        for (const Handle handle : handles) {
            before.push_back(*handle);
        }
    };
    std::vector<bool> moved(handles.size());
    ToolboxSetStrict(1);
    for (int call = 0; call < 150; ++call) {
        GetHandleSize(handles[7]);
        look();
        DisposeHandle(NewHandle(1));
        long count = 0;
        for (std::size_t i = 0; i < handles.size(); ++i) {
            count += *handles[i] != before[i];
            moved[i] = moved[i] || *handles[i] != before[i];
        }
        EXPECT_NE(*handles[7], before[7]);
        EXPECT_LE(count, 9);
    }
    EXPECT_THAT(moved, testing::Each(true));
    look();
    ToolboxMoveMemory();
    for (std::size_t i = 0; i < handles.size(); ++i) {
        EXPECT_NE(*handles[i], before[i]);
    }
}

TEST_F(ToolboxTest, ProblemsNameThePlacesOfBlocks) {
    ToolboxSetPlace("line 1");
    const Handle handle = HandleWith("0123456789");
    const Ptr pointer = NewPtr(3);
    ToolboxSetPlace("line 2");
    char* const stale = *handle;
    ToolboxMoveMemory();
    DisposePtr(pointer);
    ToolboxSetPlace("line 3");
    EXPECT_EQ(ToolboxCheckUsed(), 0);
    stale[9] = (*handle)[10] = 'x';
    DisposePtr(pointer);
    EXPECT_EQ(ToolboxCheckUsed(), 0); // neither was used in this call
    ToolboxSetStrict(1);
    EXPECT_EQ(ToolboxCheckUsed(), 1);
    ToolboxSetPlace(nullptr);
    EXPECT_EQ(ToolboxCheckAll(), 1);
    EXPECT_THAT(
        TakeProblems(),
        ElementsAre(HasSubstr("already disposed, under line 2"),
                    testing::AllOf(HasSubstr("at the end of line 3: bytes of former block"),
                                   HasSubstr("written after it had moved, under line 2 (size 10, "
                                             "first at offset 9; made under line 1)")),
                    HasSubstr("(size 10, first at offset 10; made under line 1)")));
    for (int i = 0; i < 1005; ++i) {
        DisposePtr(pointer);
    }
    EXPECT_EQ(TakeProblems().back(),
              "there are more than 1000 problems: the further ones are not told");
}

DWORD WINAPI CallFromThread(void* failures) {
    Handle handle = nullptr;
    auto& count = *static_cast<int*>(failures);
    count += NewHandle(1) != nullptr;
    count += NewHandle(1) != nullptr;
    count += PtrToHand("x", &handle, 1) != BadParameter || handle != nullptr;
    return 0;
}

TEST_F(ToolboxTest, CallsFromOtherThreadsAreRefused) {
    ToolboxSetThread();
    int failures = 0;
    HANDLE thread = CreateThread(nullptr, 0, CallFromThread, &failures, 0, nullptr);
    ASSERT_EQ(WaitForSingleObject(thread, 10'000), WAIT_OBJECT_0);
    CloseHandle(thread);
    EXPECT_EQ(failures, 0);
    EXPECT_EQ(ToolboxLiveHandles(), 0);
    EXPECT_EQ(ToolboxCheckUsed(), 2);
    EXPECT_THAT(TakeProblems(),
                ElementsAre(testing::StartsWith("NewHandle was called 2 times from another thread"),
                            testing::StartsWith("PtrToHand was called from another thread")));
}

TEST_F(ToolboxTest, WritesOutsideABlockAreFound) {
    const Handle handle = HandleWith("0123456789");
    const Ptr pointer = NewPtr(16);
    (*handle)[10] = 'x';
    EXPECT_EQ(GetHandleSize(handle), 10);
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("size 10, first at offset 10")));
    pointer[-1] = 'x';
    pointer[17] = 'x';
    EXPECT_EQ(ToolboxCheckAll(), 2);
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("before the start of pointer"),
                                            HasSubstr("size 16, first at offset 17")));
    char* const stale = *handle;
    SetHandleSize(handle, 100);
    stale[3] = 'x';
    EXPECT_EQ(ToolboxCheckAll(), 1);
    DisposePtr(pointer);
    pointer[0] = 'x';
    EXPECT_EQ(ToolboxCheckAll(), 1);
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("first at offset 3"), HasSubstr("offset 0")));
    *handle = stale;
    EXPECT_EQ(GetHandleSize(handle), 100);
    EXPECT_NE(*handle, stale);
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("master pointer")));
}

// The storage of large blocks goes round: a block there begins as any other, whatever its size.
TEST_F(ToolboxTest, LargeBlocksInStorageThatWasUsedAreNew) {
    std::set<const char*> places;
    constexpr int blocks = 60;
    for (Size size = 200'000; size < 200'000 + blocks; ++size) {
        const Handle handle = NewHandle(size);
        places.insert(*handle);
        ASSERT_EQ(std::count(*handle, *handle + size, '\xCC'), size);
        std::memset(*handle, 'x', static_cast<std::size_t>(size));
        EXPECT_EQ(ToolboxCheckAll(), 0);
        (*handle)[size] = 'x';
        char* const stale = *handle;
        DisposeHandle(handle);
        EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("first at offset 20")));
        ASSERT_EQ(std::count(stale, stale + size, '\xE5'), size);
        stale[size - 1] = 'x';
        EXPECT_EQ(ToolboxCheckAll(), 1);
        EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("was released")));
    }
    EXPECT_LT(places.size(), std::size_t{blocks} / 2);
}

// Whether it grew or shrank where it was or elsewhere: the guards stand where it ends.
TEST_F(ToolboxTest, WritesOutsideABlockThatWasResizedAreFound) {
    constexpr Size sizes[] = {0,    1,     16,    17,    19,    200,   210,  240,  250,  3000,
                              3001, 5000,  5004,  5023,  6100,  6090,  5600, 5000, 4600, 4000,
                              10,   20000, 24999, 25000, 24000, 19000, 7,    0,    5};
    for (const bool strict : {false, true}) {
        ToolboxSetStrict(strict);
        const Handle handle = NewHandle(0);
        string expected;
        for (const Size size : sizes) {
            SetHandleSize(handle, size);
            ASSERT_EQ(GetHandleSize(handle), size);
            const auto known = std::min(expected.size(), static_cast<std::size_t>(size));
            EXPECT_EQ(Contents(handle).substr(0, known), expected.substr(0, known)) << size;
            EXPECT_EQ(Contents(handle).substr(known),
                      string(static_cast<std::size_t>(size) - known, '\xCC'));
            for (const Size offset : {Size{-16}, Size{-1}, size, size + 1, size + 15}) {
                (*handle)[offset] = 'x';
                HGetState(handle);
                const string sentence = offset < 0
                                            ? "bytes before the start"
                                            : "size " + std::to_string(size) +
                                                  ", first at offset " + std::to_string(offset);
                EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr(sentence))) << size;
            }
            expected.assign(static_cast<std::size_t>(size), static_cast<char>('a' + size % 26));
            std::memcpy(*handle, expected.data(), expected.size());
        }
        DisposeHandle(handle);
    }
}

// Else each step would copy everything that was there before.
TEST_F(ToolboxTest, OnlyStrictMemoryMovesABlockWithEachStep) {
    for (const bool strict : {false, true}) {
        ToolboxSetStrict(strict);
        const Handle handle = NewHandle(16);
        const auto movesTo = [&](Size last, Size step) {
            int moves = 0;
            for (Size size = GetHandleSize(handle); size != last;) {
                const char* const before = *handle;
                size += step;
                SetHandleSize(handle, size);
                moves += *handle != before;
            }
            return moves;
        };
        EXPECT_EQ(movesTo(17, 1), 1); // the first time even then: a pointer into it is stale
        const int growing = movesTo(50'017, 50);
        const int shrinking = movesTo(5'017, -50);
        if (strict) {
            EXPECT_GT(std::min(growing, shrinking), 300); // not each: large ones wait
        } else {
            EXPECT_LT(std::max(growing, shrinking), 40);
        }
    }
}

TEST_F(ToolboxTest, ManyHandlesAreToldApart) {
    std::vector<Handle> handles;
    for (Size size = 0; size < 10'000; ++size) {
        handles.push_back(NewHandle(size % 100));
    }
    for (Size size = 0; size < 10'000; ++size) {
        ASSERT_EQ(GetHandleSize(handles[static_cast<std::size_t>(size)]), size % 100);
    }
    EXPECT_EQ(ToolboxLiveHandles(), 10'000);
    for (const Handle handle : handles) {
        DisposeHandle(handle);
    }
    EXPECT_EQ(ToolboxLiveHandles(), 0);
    EXPECT_TRUE(ToolboxWasHandle(handles[0]) && ToolboxWasHandle(handles.back()));
    EXPECT_EQ(ToolboxHandleOwner(handles.back()), 0);
}

TEST_F(ToolboxTest, EveryCallRefusesWhatIsNotALiveHandle) {
    char* impostor = nullptr;
    const Handle disposed = HandleWith("gone"), hostHandle = ToolboxNewHostHandle(3);
    const Handle between = reinterpret_cast<Handle>(reinterpret_cast<char*>(hostHandle) + 2);
    DisposeHandle(disposed);
    struct {
        Handle handle;
        OSErr error;
        const char* sentence;
    } const victims[] = {
        {disposed, BlockFreed, "was already disposed"},
        {&impostor, BlockFreed, "is not a handle"},
        {between, BlockFreed, "is not a handle"},
        {hostHandle, BadZone, "is the host's, not the toolbox's"},
        {nullptr, NullHandle, nullptr},
    };
    struct {
        const char* name;
        void (*call)(Handle);
    } const calls[] = {
        {"DisposeHandle", DisposeHandle},
        {"GetHandleSize", [](Handle handle) { EXPECT_EQ(GetHandleSize(handle), 0); }},
        {"SetHandleSize", [](Handle handle) { SetHandleSize(handle, 1); }},
        {"HLock", HLock},
        {"HGetState", [](Handle handle) { EXPECT_EQ(HGetState(handle), 0); }},
        {"HandToHand",
         [](Handle handle) {
             Handle copy = handle;
             EXPECT_NE(HandToHand(&copy), NoError);
             EXPECT_EQ(copy, handle);
         }},
        {"PtrAndHand", [](Handle handle) { PtrAndHand("x", handle, 1); }},
    };
    for (const auto& victim : victims) {
        for (const auto& row : calls) {
            row.call(victim.handle);
            EXPECT_EQ(MemError(), victim.error) << row.name;
            const std::vector<string> problems = TakeProblems();
            ASSERT_EQ(problems.size(), victim.sentence ? 1U : 0U) << row.name;
            if (victim.sentence) {
                EXPECT_EQ(problems[0].find(string(row.name) + ": "), 0U);
                EXPECT_THAT(problems[0], HasSubstr(victim.sentence));
            }
        }
    }
    const Ptr pointer = NewPtr(5);
    DisposePtr(pointer);
    DisposePtr(pointer);
    EXPECT_EQ(MemError(), BlockFreed);
    DisposePtr(reinterpret_cast<Ptr>(&impostor));
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("already"), HasSubstr("is not a pointer")));
    EXPECT_EQ(ToolboxLivePointers(), 0);

    ToolboxAllowMixedHandles(true);
    EXPECT_EQ(GetHandleSize(hostHandle), 3);
    EXPECT_EQ(ToolboxLiveHostHandles(), 1);
    DisposeHandle(hostHandle);
    EXPECT_EQ(ToolboxLiveHostHandles(), 0);
}

TEST_F(ToolboxTest, DisposedHandlesAreNotMistakenForNewOnes) {
    const Handle stale = NewHandle(1);
    DisposeHandle(stale);
    for (int i = 0; i < 1000; ++i) {
        const Handle handle = NewHandle(1);
        EXPECT_NE(handle, stale);
        DisposeHandle(handle);
    }
}

TEST_F(ToolboxTest, SizesAndLocks) {
    struct {
        Size from, to;
        bool locked;
        OSErr error;
    } const cases[] = {
        {10, 16, true, NoError},          {10, 17, true, MemoryFull},
        {16, 0, true, NoError},           {0, 1, true, MemoryFull},
        {10, 5000, false, NoError},       {5000, 0, false, NoError},
        {10, -1, false, MemoryFull},      {10, LONG_MAX, false, MemoryFull},
        {10, LONG_MIN, true, MemoryFull},
    };
    for (const bool strict : {false, true}) {
        ToolboxSetStrict(strict);
        for (const auto& row : cases) {
            const Handle handle = HandleWith(string(static_cast<std::size_t>(row.from), 'b'));
            const char* before = *handle;
            HSetState(handle, static_cast<char>(row.locked ? 0x80 : 0));
            SetHandleSize(handle, row.to);
            EXPECT_EQ(MemError(), row.error) << row.from << " to " << row.to;
            const Size size = row.error ? row.from : row.to;
            EXPECT_EQ(GetHandleSize(handle), size);
            const auto kept = static_cast<std::size_t>(std::min(row.from, size));
            EXPECT_EQ(Contents(handle).substr(0, kept), string(kept, 'b'));
            EXPECT_TRUE(*handle == before || !row.locked);
            DisposeHandle(handle);
        }
    }
    for (const Size size : {-1L, LONG_MAX, LONG_MIN}) {
        EXPECT_EQ(NewHandle(size), nullptr);
        EXPECT_EQ(MemError(), MemoryFull);
        EXPECT_EQ(NewPtrClear(size), nullptr);
        EXPECT_EQ(MemError(), MemoryFull);
        const Handle handle = NewHandle(3);
        EXPECT_EQ(PtrAndHand("x", handle, size), MemoryFull);
        DisposeHandle(handle);
    }
    const Handle handle = HandleWith("x");
    HSetState(handle, '\xFF');
    EXPECT_EQ(HGetState(handle), '\xE0');
    HUnlock(handle), HNoPurge(handle);
    EXPECT_EQ(HGetState(handle), '\x20');
    EXPECT_EQ(ToolboxLiveHandles(), 1);
}

TEST_F(ToolboxTest, PointersAreResizedInPlace) {
    for (const bool strict : {false, true}) {
        ToolboxSetStrict(strict);
        const Ptr block = NewPtr(10);
        for (const auto& [to, error] : {std::pair{5L, NoError},
                                        {10L, NoError},
                                        {-1L, MemoryFull},
                                        {100000L, MemoryFull},
                                        {0L, NoError}}) {
            const Size before = GetPtrSize(block);
            SetPtrSize(block, to);
            EXPECT_EQ(MemError(), error) << to;
            EXPECT_EQ(GetPtrSize(block), error ? before : to);
        }
        DisposePtr(block);
    }
    SetPtrSize(nullptr, 1);
    EXPECT_EQ(MemError(), ResultCode::NullHandle);
    char foreign[4];
    SetPtrSize(foreign, 1);
    EXPECT_THAT(TakeProblems(), ElementsAre(StartsWith("SetPtrSize: ")));
}

TEST_F(ToolboxTest, ChosenAllocationFailsOnce) {
    const Handle handle = HandleWith("abc");
    ToolboxFailAllocation(3);
    DisposePtr(NewPtr(1));
    SetHandleSize(handle, 2); // shrinking needs no memory
    SetHandleSize(handle, 3);
    EXPECT_EQ(PtrAndHand("xy", handle, 2), MemoryFull);
    EXPECT_EQ(GetHandleSize(handle), 3);
    EXPECT_EQ(PtrAndHand("xy", handle, 2), NoError);
    ToolboxFailAllocation(1);
    EXPECT_EQ(ToolboxNewHostHandle(1), nullptr);
    ToolboxFailAllocation(1);
    ToolboxFailAllocation(0);
    EXPECT_NE(NewHandle(1), nullptr);
}

TEST_F(ToolboxTest, CopiesAndJoins) {
    for (const bool strict : {false, true}) {
        ToolboxSetStrict(strict);
        const Handle first = HandleWith("abc");
        Handle copy = first;
        EXPECT_EQ(HandToHand(&copy), NoError);
        EXPECT_NE(copy, first);
        EXPECT_EQ(HandAndHand(first, copy), NoError);
        EXPECT_EQ(HandAndHand(copy, copy), NoError);
        EXPECT_EQ(PtrAndHand("de", copy, 2), NoError);
        EXPECT_EQ(Contents(copy), "abcabcabcabcde");
        BlockMove(*copy, *copy + 2, 12); // overlapping both ways
        EXPECT_EQ(Contents(copy), "ababcabcabcabc");
        BlockMove(*copy + 2, *copy, 12);
        EXPECT_EQ(Contents(copy), "abcabcabcabcbc");
        const Handle clear = NewHandleClear(3);
        EXPECT_EQ(Contents(clear), string(3, '\0'));
    }
    Handle handle = nullptr;
    EXPECT_EQ(PtrToHand(nullptr, &handle, 5), BadParameter);
    EXPECT_EQ(PtrAndHand(nullptr, HandleWith("x"), 5), BadParameter);
    EXPECT_EQ(HandAndHand(handle, HandleWith("x")), ResultCode::NullHandle);
    BlockMove(nullptr, &handle, 4);
    EXPECT_THAT(TakeProblems(), ElementsAre("BlockMove: 4 bytes from address 0"));
}

TEST_F(ToolboxTest, FontsAreNumberedAsTheyAreMet) {
    for (const auto& [name, number] : {std::pair{"\6Monaco", 4},
                                       {"\0", 0},
                                       {"\5First", 256},
                                       {"\6Second", 257},
                                       {"\5FIRST", 256}}) {
        short font = -1;
        GetFNum(reinterpret_cast<const unsigned char*>(name), &font);
        EXPECT_EQ(font, number) << name;
    }
    ClosePicture();
    EXPECT_THAT(TakeProblems(), ElementsAre("ClosePicture: no picture is being recorded"));
}

TEST_F(ToolboxTest, ResourceFilesMustBeKnown) {
    const short system = CurResFile();
    ToolboxAddResFile(7);
    ToolboxAddResFile(9);
    struct {
        short use;
        OSErr error;
        short current;
    } const cases[] = {
        {7, NoError, 7}, {8, ResourceFileNotFound, 7}, {0, NoError, system}, {9, NoError, 9}};
    for (const auto& row : cases) {
        UseResFile(row.use);
        EXPECT_EQ(ResError(), row.error) << row.use;
        EXPECT_EQ(CurResFile(), row.current) << row.use;
        EXPECT_EQ(ResError(), NoError);
    }
    ToolboxRemoveResFile(9);
    EXPECT_EQ(CurResFile(), 7);
}

const unsigned char* Bytes(const string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

string Pascal(const string& text) {
    return static_cast<char>(text.size()) + text;
}

TEST(ToolboxText, StringsCompareAsTheFlagsSay) {
    // The accented letters from á to ü in the order of their lower-case codes.
    const string allLower = "\x87\x88\x89\x8A\x8B\x8C\x8D\x8E\x8F\x90\x91\x92\x93\x94\x95"
                            "\x96\x97\x98\x99\x9A\x9B\x9C\x9D\x9E\x9F";
    const string allUpper = "\xE7\xCB\xE5\x80\xCC\x81\x82\x83\xE9\xE6\xE8\xEA\xED\xEB\xEC"
                            "\x84\xEE\xF1\xEF\x85\xCD\xF2\xF4\xF3\x86";
    struct {
        string a, b;
        // Equal with: case and marks, case only, marks only, neither observed.
        bool both, caseOnly, marksOnly, neither;
    } const cases[] = {
        {"", "", true, true, true, true},
        {"Nimbo", "Nimbo", true, true, true, true},
        {"Nimbo", "nIMBO", false, false, true, true},
        {"Nimbo", "Nimb", false, false, false, false},
        {"\x8E", "e", false, true, false, true},              // é e
        {"\x83t\x8E", "\x8ET\x83", false, false, true, true}, // Été éTÉ
        {"\x83", "e", false, false, false, true},             // É e
        {"\xCF\xBE", "\xCE\xAE", false, false, true, true},   // œæ ŒÆ
        {"\xBE", "ae", false, false, false, false},           // æ is one letter
        {"\xAF", "o", false, false, false, true},             // Ø o
        {"\xD9", "\xD8", false, false, true, true},           // Ÿ ÿ
        {allLower, allUpper, false, false, true, true},
        {allLower, "aaaaaaceeeeiiiinooooouuuu", false, true, false, true},
        {allUpper, "AAAAAACEEEEIIIINOOOOOUUUU", false, true, false, true},
        {"[", "{", false, false, false, false},     // beside the letters
        {"\xA7", "ss", false, false, false, false}, // ß
        {string("a\0b", 3), string("a\0c", 3), false, false, false, false},
    };
    for (const auto& row : cases) {
        const string a = Pascal(row.a), b = Pascal(row.b);
        const testing::ScopedTrace trace(__FILE__, __LINE__, testing::PrintToString(row.a));
        EXPECT_EQ(EqualString(Bytes(a), Bytes(b), 1, 1), row.both);
        EXPECT_EQ(EqualString(Bytes(a), Bytes(b), 1, 0), row.caseOnly);
        EXPECT_EQ(EqualString(Bytes(a), Bytes(b), 0, 1), row.marksOnly);
        EXPECT_EQ(EqualString(Bytes(b), Bytes(a), 0, 0), row.neither);
        EXPECT_EQ(IUEqualString(Bytes(a), Bytes(b)), row.neither ? 0 : 1);
    }
}

TEST(ToolboxText, StringToNumReadsDigits) {
    const struct {
        string text;
        long number;
    } cases[] = {
        {"", 0},           {"-", 0},
        {"+17", 17},       {"-00012", -12},
        {"CARE", 3125},    {"2147483647", LONG_MAX},
        {"4294967296", 0}, {"-2147483648", LONG_MIN},
    };
    for (const auto& row : cases) {
        long number = 99;
        StringToNum(Bytes(Pascal(row.text)), &number);
        EXPECT_EQ(number, row.number) << row.text;
    }
}

/// The fields of a date record in their order, `era` first; the last ones may be left out.
using DateFields = std::array<short, 14>;

long long Seconds(const DateFields& fields) {
    const auto date = std::bit_cast<LongDateRec>(fields);
    long long seconds = 0;
    LongDateToSeconds(&date, &seconds);
    return seconds;
}

DateFields DateOf(long long seconds) {
    LongDateRec date;
    std::memset(&date, 0x55, sizeof date);
    LongSecondsToDate(&seconds, &date);
    return std::bit_cast<DateFields>(date);
}

TEST(ToolboxDates, KnownDates) {
    constexpr long long day = 86400;
    const struct {
        DateFields given; // era, year, month, day, hour, minute, second
        long long seconds;
        DateFields normal; // and day of week, day of year, week of year, pm
    } cases[] = {
        {{0, 1904, 1, 1}, 0, {0, 1904, 1, 1, 0, 0, 0, 6, 1, 1, 0}},
        {{0, 1970, 1, 1}, 24107 * day, {0, 1970, 1, 1, 0, 0, 0, 5, 1, 1, 0}},
        {{0, 1903, 12, 31, 23, 59, 59}, -1, {0, 1903, 12, 31, 23, 59, 59, 5, 365, 53, 1}},
        {{0, 2000, 2, 29, 12}, 35123 * day + day / 2, {0, 2000, 2, 29, 12, 0, 0, 3, 60, 9, 1}},
        {{0, 1903, 13, 1}, 0, {0, 1904, 1, 1, 0, 0, 0, 6, 1, 1, 0}},
        {{0, 1905, -10, 0}, 30 * day, {0, 1904, 1, 31, 0, 0, 0, 1, 31, 5, 0}},
        {{0, 1904, 1, 7}, 6 * day, {0, 1904, 1, 7, 0, 0, 0, 5, 7, 1, 0}},
        {{0, 1904, 1, 2, -24, 1, -60}, 0, {0, 1904, 1, 1, 0, 0, 0, 6, 1, 1, 0}},
        {{0, 1, 1, 0}, -695056 * day, {-1, 1, 12, 31, 0, 0, 0, 1, 366, 53, 0}},
        {{-1, 1, 12, 31}, -695056 * day, {-1, 1, 12, 31, 0, 0, 0, 1, 366, 53, 0}},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(Seconds(row.given), row.seconds);
        EXPECT_EQ(DateOf(row.seconds), row.normal);
    }
}

TEST(ToolboxDates, RoundTripOverAllYears) {
    // Steps of 97 days and a quarter of an hour, so that all days, months and times come by.
    constexpr long long step = 97 * 86400 + 907;
    for (long long seconds = Seconds({-1, 32767, 1, 1}); seconds < Seconds({0, 32767, 12, 31});
         seconds += step) {
        const DateFields date = DateOf(seconds);
        ASSERT_EQ(Seconds(date), seconds);
        ASSERT_TRUE(date[2] >= 1 && date[2] <= 12 && date[3] >= 1 && date[3] <= 31);
    }
}

TEST(ToolboxDates, BeyondWhatTheRecordHolds) {
    const DateFields first{-1, 32767, 1, 1}, last{0, 32767, 12, 31, 23, 59, 59};
    EXPECT_EQ(Seconds(DateOf(LLONG_MIN)), Seconds(first));
    EXPECT_EQ(Seconds(DateOf(LLONG_MAX)), Seconds(last));
    // All fields at once: what lies within the record's years is exact, the rest is cut.
    for (const auto& [value, year] : {std::pair{SHRT_MAX, 32767}, {SHRT_MIN, 29944}}) {
        DateFields fields;
        fields.fill(static_cast<short>(value));
        EXPECT_EQ(DateOf(Seconds(fields))[1], year);
    }
}

} // namespace
