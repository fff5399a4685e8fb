// Resource files of the stand-in toolbox: forks that are whole and forks that are not, the order of
// search, and the handles of resources.

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/resources/Fork.h"
#include "testhost/values/Encodings.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>
#include <random>

#include <windows.h>

namespace {

using namespace ResultCode;
using std::string;
using std::string_view;
using namespace std::string_literals;
using namespace std::string_view_literals;
using testing::HasSubstr;

constexpr OSType StringList = 0x53545223; // STR#
constexpr OSType Data = 0x44617461;       // Data

class ResourceFilesTest : public testing::TestWithParam<bool> {
  protected:
    ResourceFilesTest() {
        ToolboxReset();
        ToolboxSetStrict(GetParam() ? 1 : 0);
    }
    ~ResourceFilesTest() override {
        ToolboxCheckAll();
        EXPECT_EQ(ToolboxProblemCount(), 0);
        EXPECT_EQ(ToolboxLiveHandles(), 0);
        ToolboxReset();
    }

    OSErr OpenBytes(string_view bytes, short* refNum) {
        const std::wstring path = FromAnsi(scratch.Path() + "fork.rsrc");
        MakeFile(path, bytes);
        return ToolboxOpenResFile(path.c_str(), refNum);
    }
    short Open(string_view bytes) {
        short refNum = 0;
        EXPECT_EQ(OpenBytes(bytes, &refNum), NoError);
        return refNum;
    }

    static void ExpectProblem(const char* words) {
        char text[300] = "";
        EXPECT_EQ(ToolboxProblemCount(), 1) << words;
        ToolboxProblem(0, text, sizeof text);
        EXPECT_THAT(text, HasSubstr(words));
        ToolboxClearProblems();
    }

    ScratchFolder scratch;
};

INSTANTIATE_TEST_SUITE_P(, ResourceFilesTest, OrdinaryAndStrict, MemoryName);

string GoodFork() {
    return *WriteResourceFork({{StringList, 1, "Words", "\0\3\3one\0\5three"sv},
                               {Data, 1, "", "first"sv},
                               {Data, -5, "Caf\x8E", ""sv},
                               {Data, 3, "Third", "the third"sv}});
}

size_t MapOf(const string& fork) {
    return static_cast<unsigned char>(fork[6]) * 256u + static_cast<unsigned char>(fork[7]);
}

string Text(Handle resource) {
    return resource ? OwnedHandle::BytesOf(resource) : "none";
}

string ListString(short list, short index) {
    PascalString found("not touched");
    GetIndString(found, list, index);
    return found.Text();
}

TEST_P(ResourceFilesTest, AResourceHasOneHandleUntilItIsReleased) {
    const short file = Open(GoodFork());
    EXPECT_EQ(CurResFile(), 0);
    EXPECT_EQ(GetResource(Data, 3), nullptr); // the current file is the system's
    EXPECT_EQ(ResError(), ResourceNotFound);
    UseResFile(file);

    const Handle third = GetResource(Data, 3);
    EXPECT_EQ(Text(third), "the third");
    EXPECT_EQ(HGetState(third), 0x20);
    SetHandleSize(third, 3);
    EXPECT_EQ(GetNamedResource(Data, PascalString("tHIRD")), third);
    EXPECT_EQ(GetResource(Data, 3), third);
    EXPECT_EQ(ToolboxLiveHandles(), 1);
    ReleaseResource(third);
    EXPECT_EQ(ResError(), NoError);
    EXPECT_EQ(ToolboxLiveHandles(), 0);
    const Handle again = GetResource(Data, 3);
    EXPECT_EQ(Text(again), "the third"); // read afresh
    const Handle none = GetResource(Data, -5);
    EXPECT_EQ(Text(none), "");

    EXPECT_EQ(GetNamedResource(Data, PascalString("CAF\x83")), none);
    for (const char* name : {"cafe", "", "Words", "thirds"}) {
        EXPECT_EQ(GetNamedResource(Data, PascalString(name)), nullptr) << name;
        EXPECT_EQ(ResError(), ResourceNotFound) << name;
    }
    EXPECT_EQ(ToolboxCloseResFile(file), NoError);
    EXPECT_EQ(ToolboxLiveHandles(), 0); // the two that were left, too
    EXPECT_EQ(CurResFile(), 0);
    EXPECT_EQ(ToolboxCloseResFile(file), ResourceFileNotFound);
}

TEST_P(ResourceFilesTest, TheSearchGoesFromTheCurrentFileBack) {
    const short first = Open(*WriteResourceFork({{Data, 1, "", "1st"sv}, {Data, 2, "", "1st"sv}}));
    ToolboxAddResFile(7);
    const short last = Open(*WriteResourceFork({{Data, 1, "", "last"sv}}));
    for (short id = 1; id <= 4; ++id) {
        EXPECT_EQ(ToolboxAddResource(0, Data, id, "own", "system", 6), NoError);
    }
    ToolboxAddResource(7, Data, 3, nullptr, "added", 5);
    ToolboxAddResource(7, Data, 2, nullptr, nullptr, 0);
    EXPECT_EQ(ToolboxAddResource(8, Data, 3, nullptr, "x", 1), ResourceFileNotFound);
    EXPECT_EQ(ToolboxAddResource(7, Data, 3, nullptr, "x", -1), BadParameter);

    struct {
        short current;
        const char* found[4]; // Data 1 to 4
    } const cases[] = {{last, {"last", "", "added", "system"}},
                       {7, {"1st", "", "added", "system"}},
                       {first, {"1st", "1st", "system", "system"}},
                       {0, {"system", "system", "system", "system"}}};
    for (const auto& row : cases) {
        UseResFile(row.current);
        for (short id = 1; id <= 4; ++id) {
            const Handle resource = GetResource(Data, id);
            EXPECT_EQ(Text(resource), row.found[id - 1]) << row.current << ": " << id;
            ReleaseResource(resource);
        }
    }
    const Handle former = GetResource(Data, 4);
    ToolboxAddResource(0, Data, 4, nullptr, "new", 3);
    EXPECT_EQ(Text(GetResource(Data, 4)), "system");
    ReleaseResource(former);
    EXPECT_EQ(Text(GetResource(Data, 4)), "new");
    EXPECT_EQ(ToolboxCloseResFile(0), NoError);
    EXPECT_EQ(GetResource(Data, 4), nullptr);
}

TEST_P(ResourceFilesTest, StringsOfLists) {
    const string good = "\0\3\3one\0\5three"s;
    const struct {
        string list;
        short index;
        const char* found;
    } cases[] = {
        {good, 1, "one"},
        {good, 3, "three"},
        {good, 4, ""},
        {good, 0, ""},
        {good, -1, ""},
        {"\0\1\3one\3two"s, 2, ""}, // more strings than the count says
        {"\0\3\3one\5thr"s, 2, ""}, // cut within a string
        {"\0\3\3one\0"s, 3, ""},    // cut between two
        {"\0"s, 1, ""},
    };
    for (const auto& row : cases) {
        ToolboxAddResource(0, StringList, 9, nullptr, row.list.data(),
                           static_cast<long>(row.list.size()));
        EXPECT_EQ(ListString(9, row.index), row.found) << row.index;
        EXPECT_EQ(ResError(), NoError);
        EXPECT_EQ(ToolboxLiveHandles(), 0);
    }
    EXPECT_EQ(ListString(10, 1), "");
    EXPECT_EQ(ResError(), ResourceNotFound);

    ToolboxAddResource(0, StringList, 9, nullptr, "\0\1\1a", 4);
    const Handle list = GetResource(StringList, 9);
    (*list)[3] = 'b'; // the loaded list is the one that counts
    EXPECT_EQ(ListString(9, 1), "b");
    EXPECT_EQ(GetResource(StringList, 9), list);
    ReleaseResource(list);
    ToolboxFailAllocation(1);
    EXPECT_EQ(ListString(9, 1), "");
    EXPECT_EQ(ResError(), MemoryFull);
    EXPECT_EQ(ListString(9, 1), "a");
}

TEST_P(ResourceFilesTest, OnlyResourcesAreReleasedAndOnlyReleased) {
    ToolboxAddResource(0, Data, 1, nullptr, "x", 1);
    const Handle resource = GetResource(Data, 1), other = NewHandle(4);
    DisposeHandle(resource);
    EXPECT_EQ(MemError(), BadZone);
    ExpectProblem("ReleaseResource");
    EXPECT_EQ(Text(resource), "x");

    HSetState(resource, 0); // the library knows nevertheless
    ReleaseResource(resource);
    EXPECT_EQ(ResError(), NoError);
    ReleaseResource(resource);
    EXPECT_EQ(ResError(), ResourceNotFound);
    ExpectProblem("already disposed");
    ReleaseResource(other);
    EXPECT_EQ(ResError(), ResourceNotFound);
    ExpectProblem("is not a resource's");
    ReleaseResource(nullptr);
    EXPECT_EQ(ResError(), ResourceNotFound);
    DisposeHandle(other);
    ToolboxFailAllocation(1);
    EXPECT_EQ(GetResource(Data, 1), nullptr);
    EXPECT_EQ(ResError(), MemoryFull);
}

TEST_P(ResourceFilesTest, MalformedForksAreRefused) {
    const string good = GoodFork();
    const size_t types = MapOf(good) + 28; // a count, 'Data' with 3 references, 'STR#' with 1
    const struct {
        const char* name;
        size_t place;
        string bytes;
    } damages[] = {
        {"data offset", 0, "\x7F"s},
        {"map offset", 4, "\xFF"s},
        {"data length", 8, "\xFF"s},
        {"map length", 12, "\xFF"s},
        {"no room for the map's own header", 12, "\0\0\0\x1B"s},
        {"type list", types - 4, "\xFF\xFF"s},
        {"name list", types - 2, "\xFF\xFF"s},
        {"type count", types, "\xFE"s},
        {"reference count", types + 6, "\x10"s},
        {"reference list", types + 8, "\xFF"s},
        {"name offset", types + 18 + 12 + 2, "\0\x50"s},
        {"name length", good.size() - 6, "\6"s},
    };
    short refNum = 0;
    for (const auto& damage : damages) {
        string bad = good;
        bad.replace(damage.place, damage.bytes.size(), damage.bytes);
        refNum = 77;
        EXPECT_EQ(OpenBytes(bad, &refNum), malformedMap) << damage.name;
        EXPECT_EQ(refNum, 0);
    }
    // Few bytes must not stand for many resources: two lists of the same 12 references.
    std::vector<ForkResource> many{{StringList, 1, "", ""sv}};
    for (short id = 1; id <= 12; ++id) {
        many.push_back({Data, id, "", ""sv});
    }
    string shared = *WriteResourceFork(many);
    shared.replace(MapOf(shared) + 28 + 14, 4, "\0\x0B\0\x12"s);
    EXPECT_EQ(OpenBytes(shared, &refNum), malformedMap);

    for (const size_t length : {0u, 15u, 16u, 255u}) {
        EXPECT_EQ(OpenBytes(good.substr(0, length), &refNum),
                  length < 16 ? EndOfData : malformedMap);
    }
    const std::wstring folder = FromAnsi(scratch.Path());
    EXPECT_EQ(ToolboxOpenResFile((folder + L"missing").c_str(), &refNum), FileNotFound);
    EXPECT_EQ(ToolboxOpenResFile(folder.c_str(), &refNum), InputOutput);

    // A length of data that leads outside concerns that resource alone.
    string cut = good;
    cut.replace(256, 4, "\0\1\0\0"s); // Data 1 comes first
    UseResFile(Open(cut));
    EXPECT_EQ(GetResource(Data, 1), nullptr);
    EXPECT_EQ(ResError(), malformedMap);
    EXPECT_EQ(Text(GetResource(Data, 3)), "the third");
    EXPECT_EQ(ToolboxCloseResFile(CurResFile()), NoError);
}

/// A copy of the bytes, right before memory that cannot be read.
string_view BeforeAGuard(const string& bytes) {
    constexpr size_t room = 8192;
    static char* const guard = [] {
        void* pages = VirtualAlloc(nullptr, 2 * room, MEM_RESERVE, PAGE_NOACCESS);
        return static_cast<char*>(VirtualAlloc(pages, room, MEM_COMMIT, PAGE_READWRITE)) + room;
    }();
    std::copy(bytes.begin(), bytes.end(), guard - bytes.size());
    return {guard - bytes.size(), bytes.size()};
}

/// A few bytes of the header, the data or the map changed; now and then cut.
string Mutated(string fork, std::mt19937& random) {
    const auto below = [&](size_t limit) { return random() % limit; };
    for (size_t count = 1 + below(4); count > 0; --count) {
        const size_t chosen = below(16 + fork.size() - 256);
        const char values[] = {'\0', '\1', '\x7F', '\xFF', static_cast<char>(random())};
        fork[chosen < 16 ? chosen : 240 + chosen] = values[below(sizeof values)];
    }
    fork.resize(fork.size() - (below(5) == 0 ? below(fork.size()) : 0));
    return fork;
}

TEST_P(ResourceFilesTest, NoForkMakesTheLibraryReadOutside) {
    std::mt19937 random(20261121);
    int opened = 0;
    for (int round = 0; round < 3000; ++round) {
        const string bad = Mutated(GoodFork(), random);
        std::vector<ForkResource> resources;
        opened += ReadResourceFork(BeforeAGuard(bad), &resources) == NoError;
        for (const ForkResource& resource : resources) {
            const string copy(resource.name); // whatever is outside faults
            const string found(StringInList(resource.data.value_or(""sv), 3));
            EXPECT_LT(copy.size() + found.size(), 511u);
        }
        short refNum = 0;
        if (round % 30 == 0 && OpenBytes(bad, &refNum) == NoError) {
            UseResFile(refNum);
            GetResource(Data, 3);
            GetNamedResource(Data, PascalString("third"));
            ListString(1, 3);
            EXPECT_EQ(ToolboxCloseResFile(refNum), NoError);
        }
    }
    EXPECT_TRUE(opened > 300 && opened < 2700) << opened;
}

} // namespace
