// Host strings, UTF-16 and the Macintosh character set; and what the stand-in host notices when a
// plug-in mistreats a host string.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "tests/Fixture.h"

#include <cstring>
#include <gmock/gmock.h>
#include <limits>

#include <windows.h>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using Units = std::vector<unsigned short>;
using std::string;

/// "Grüße €" in the ANSI code page, and as UTF-16.
const string Greeting = "Gr\xFC\xDF"
                        "e \x80";
const Units GreetingUnits = {'G', 'r', 0xFC, 0xDF, 'e', ' ', 0x20AC};

bool IsZero(const FDStringBlock& block) {
    const FDStringBlock zero{};
    return std::memcmp(&block, &zero, sizeof zero) == 0;
}

Units Terminated(Units units) {
    units.push_back(0);
    return units;
}

/// A buffer whose '#' behind the `size` bytes of the caller show what a call wrote.
struct Bytes {
    explicit Bytes(std::size_t size) : all(size + 16, '#'), own(size) {}
    char* C() { return all.data(); }
    unsigned char* P() { return reinterpret_cast<unsigned char*>(all.data()); }
    bool GuardsHold() const { return all.find_first_not_of('#', own) == string::npos; }

    string all;
    std::size_t own;
};

class HostStringsTest : public HostTest {
  protected:
    HostStringsTest() : HostTest({.version = 0x1130}) {
        Start();
        host.log.Clear();
    }

    TestPlug plug;
};

class CharacterSetTest : public DualHostTest {
  protected:
    CharacterSetTest() { Start(); }
    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, CharacterSetTest, ClassicAndEngine, HostName);

TEST_F(HostStringsTest, AreSetFromTextAndReadBack) {
    const string twoParts("one\0two", 7);
    const string big(100000, '\xE9');
    struct {
        const char* text;
        long length; ///< -2: through CopyCStringToFDString
        string expected;
    } const cases[] = {
        {"", -2, ""},
        {Greeting.c_str(), -2, Greeting},
        {big.c_str(), -2, big},
        {Greeting.c_str(), 4, Greeting.substr(0, 4)},
        {twoParts.data(), 7, "one"}, // the host takes text up to its terminator
        {"text", 0, ""},
        {Greeting.c_str(), -1, Greeting}, // up to the terminator, which is not sent twice
        {"", -1, ""},
        {"text", -3, ""},
        {"text", std::numeric_limits<long>::min(), ""},
    };
    FDStringBlock block{}; // unallocated at first, then one string with ever new contents
    for (const auto& row : cases) {
        EXPECT_EQ(row.length == -2
                      ? FourD::CopyCStringToFDString(row.text, &block)
                      : FourD::CopyStringBufferToFDString(row.text, row.length, &block),
                  0);
        EXPECT_EQ(host.strings.Live(), 1);
        EXPECT_EQ(host.strings.Text(block), row.expected);
        Bytes back(row.expected.size() + 1);
        EXPECT_EQ(FourD::CopyFDStringToCString(&block, back.C(), static_cast<long>(back.own)), 0);
        EXPECT_EQ(back.C(), row.expected);
        EXPECT_TRUE(back.GuardsHold());
    }
    EXPECT_EQ(FourD::CopyStringBufferToFDString(Greeting.data(), 7, &block), 0);
    EXPECT_EQ(host.strings.Units(block), GreetingUnits);
    EXPECT_EQ(FourD::DisposeFDStringBlock(&block), 0);
    EXPECT_TRUE(IsZero(block));
    EXPECT_EQ(host.strings.Live(), 0);
}

TEST_F(HostStringsTest, AFailingHostChangesNothing) {
    FDStringBlock block = host.strings.Create("kept");
    const FDStringBlock before = block;
    const unsigned short text[] = {'n', 'e', 'w', 0};
    const std::function<OSErr()> changes[] = {
        [&] { return FourD::CreateFDString(&block); },
        [&] { return FourD::SetFDString(&block, text); },
        [&] { return FourD::CopyCStringToFDString("new", &block); },
        [&] { return FourD::CopyCStringToFDString("", &block); },
    };
    host.FailNext("CreateFDString", ResultCode::MemoryFull);
    for (const auto& change : changes) {
        EXPECT_EQ(change(), ResultCode::MemoryFull);
        EXPECT_EQ(std::memcmp(&block, &before, sizeof block), 0);
        host.FailNext("SetFDString", ResultCode::MemoryFull);
    }
    EXPECT_EQ(FourD::SetFDString(&block, text), ResultCode::MemoryFull);
    EXPECT_EQ(host.strings.Text(block), "kept");
    // Zeroed although the host says no: the string is lost, and the host's to release.
    host.FailNext("DisposeFDString", -1);
    EXPECT_EQ(FourD::DisposeFDStringBlock(&block), -1);
    EXPECT_TRUE(IsZero(block));
    FDStringBlock lost = before;
    EXPECT_EQ(host.strings.Live(), 1);
    EXPECT_EQ(host.strings.Dispose(lost), 0);
    EXPECT_EQ(FourD::CreateFDString(&block), 0);
    EXPECT_EQ(long{block.length}, 0);
    EXPECT_TRUE(host.strings.IsLive(block));
    FourD::DisposeFDStringBlock(&block);
}

TEST_F(HostStringsTest, WithoutMemoryTheHostIsNotAsked) {
    constexpr SIZE_T textSize = 16 << 20; // as UTF-16 it takes two of the pieces below
    auto* const text =
        static_cast<char*>(VirtualAlloc(nullptr, textSize, MEM_COMMIT, PAGE_READWRITE));
    ASSERT_NE(text, nullptr);
    std::vector<void*> taken(1024);
    for (void*& piece : taken) { // all the room for such pieces that the process has
        piece = VirtualAlloc(nullptr, textSize, MEM_RESERVE, PAGE_NOACCESS);
    }
    FDStringBlock block{};
    const OSErr error = FourD::CopyStringBufferToFDString(text, textSize, &block);
    for (void* piece : taken) {
        VirtualFree(piece, 0, MEM_RELEASE);
    }
    VirtualFree(text, 0, MEM_RELEASE);
    EXPECT_EQ(error, ResultCode::MemoryFull);
    EXPECT_TRUE(IsZero(block));
    EXPECT_TRUE(host.log.Calls().empty());
}

TEST_F(HostStringsTest, NullArgumentsReachNobody) {
    FDStringBlock block{};
    char bytes[256];
    unsigned short units[256];
    const long results[] = {
        FourD::CreateFDString(nullptr),
        FourD::SetFDString(&block, nullptr),
        FourD::DisposeFDStringBlock(nullptr),
        FourD::CopyStringBufferToFDString(nullptr, 3, &block),
        FourD::CopyCStringToFDString("", nullptr),
        FourD::CopyFDStringToCString(nullptr, bytes, 256),
        FourD::CopyFDStringToCString(&block, bytes, 0),
        FourD::CopyFDStringToPStr(&block, nullptr),
        FourD::CopyCharsBuffToUniChars("a", -1, units),
        FourD::CopyCharsToUniChars("a", nullptr),
        FourD::CopyPStrToUniChars(nullptr, units),
        FourD::CopyUniCharsToChars(nullptr, bytes),
        FourD::CopyUniCharsToPStr(units, nullptr),
        FourD::MacToAnsiCString(nullptr, bytes),
        FourD::AnsiToMacPString(nullptr, nullptr),
    };
    EXPECT_THAT(results, testing::Each(ResultCode::BadParameter));
    EXPECT_TRUE(host.log.Calls().empty());
}

TEST_F(HostStringsTest, NothingIsWrittenBehindTheCallersBuffer) {
    const string longest(255, 'x');
    struct {
        string text;
        std::size_t size;
        short error;
    } const cases[] = {{Greeting, 8, 0},
                       {Greeting, 7, ResultCode::BadParameter},
                       {Greeting, 2, ResultCode::BadParameter},
                       {Greeting, 1, ResultCode::BadParameter},
                       {"", 1, 0}};
    for (const auto& row : cases) {
        FDStringBlock block = host.strings.Create(row.text);
        Bytes out(row.size);
        EXPECT_EQ(FourD::CopyFDStringToCString(&block, out.C(), static_cast<long>(row.size)),
                  row.error)
            << row.size;
        EXPECT_EQ(string(out.C()), row.error == 0 ? row.text : "") << row.size;
        EXPECT_TRUE(out.GuardsHold()) << row.size;
        FourD::DisposeFDStringBlock(&block);
    }
    for (const string& text : {longest, longest + "x", string()}) {
        FDStringBlock block = host.strings.Create(text);
        Bytes out(256);
        const bool fits = text.size() < 256;
        EXPECT_EQ(FourD::CopyFDStringToPStr(&block, out.P()),
                  fits ? ResultCode::NoError : ResultCode::BadParameter);
        EXPECT_EQ(PascalString::TextOf(out.P()), fits ? text : "");
        EXPECT_TRUE(out.GuardsHold());
        FourD::DisposeFDStringBlock(&block);
    }
}

TEST_F(HostStringsTest, LyingBlocksAreNotRead) {
    unsigned short units[] = {'a', 'b', 0};
    for (const FDStringBlock& lie :
         {FDStringBlock{-1, units, {}}, FDStringBlock{std::numeric_limits<long>::min(), units, {}},
          FDStringBlock{2, nullptr, {}}}) {
        FDStringBlock block = lie;
        Bytes out(16);
        EXPECT_EQ(FourD::CopyFDStringToCString(&block, out.C(), 16), ResultCode::BadParameter);
        EXPECT_STREQ(out.C(), "");
    }
}

TEST_F(HostStringsTest, TextBecomesUtf16) {
    struct {
        string text;
        Units expected;
    } const cases[] = {{Greeting, GreetingUnits}, {"", {}}, {string(255, 'x'), Units(255, 'x')}};
    for (const auto& row : cases) {
        const auto length = static_cast<long>(row.text.size());
        const std::function<OSErr(unsigned short*)> conversions[] = {
            [&](unsigned short* out) {
                return FourD::CopyCharsBuffToUniChars(row.text.data(), length, out);
            },
            [&](unsigned short* out) { return FourD::CopyCharsToUniChars(row.text.c_str(), out); },
            [&](unsigned short* out) {
                return FourD::CopyPStrToUniChars(PascalString(row.text), out);
            },
        };
        for (const auto& convert : conversions) {
            Units out(300, 0x2323);
            EXPECT_EQ(convert(out.data()), 0);
            Units expected = Terminated(row.expected);
            expected.resize(300, 0x2323);
            EXPECT_EQ(out, expected);
        }
    }
}

TEST_F(HostStringsTest, Utf16BecomesText) {
    const Units tooLong(2000, 0x20AC);
    struct {
        Units units;
        string expected;
    } const cases[] = {
        {GreetingUnits, Greeting}, {{}, ""}, {tooLong, string(2000, '\x80')}, {{0x4E2D}, "?"}};
    for (const auto& row : cases) {
        const Units units = Terminated(row.units);
        Bytes text(row.expected.size() + 1);
        Bytes counted(256);
        EXPECT_EQ(FourD::CopyUniCharsToChars(units.data(), text.C()), 0);
        EXPECT_EQ(text.C(), row.expected);
        EXPECT_EQ(FourD::CopyUniCharsToPStr(units.data(), counted.P()), 0);
        EXPECT_EQ(PascalString::TextOf(counted.P()), row.expected.substr(0, 255));
        EXPECT_TRUE(text.GuardsHold() && counted.GuardsHold());
    }
}

TEST_P(CharacterSetTest, ConvertsThereAndBackThroughTheClassicCall) {
    string all;
    for (int code = 1; code < 256; ++code) {
        all += static_cast<char>(code);
    }
    Bytes mac(256);
    Bytes ansi(256);
    EXPECT_EQ(FourD::AnsiToMacCString(all.c_str(), mac.C()), 0);
    const LoggedCall* call = host.log.Last("ConvertCharacters");
    ASSERT_NE(call, nullptr);
    EXPECT_FALSE(call->IsEngine());
    EXPECT_EQ(long{call->Sent().param1}, 3);
    EXPECT_EQ(long{call->Sent().param2}, 4);
    EXPECT_EQ(FourD::MacToAnsiCString(mac.C(), ansi.C()), 0);
    EXPECT_EQ(long{host.log.Last("ConvertCharacters")->Sent().param1}, 2);
    EXPECT_EQ(ansi.C(), all);
    EXPECT_NE(mac.C(), all);
    EXPECT_TRUE(mac.GuardsHold() && ansi.GuardsHold());

    Bytes counted(256);
    EXPECT_EQ(FourD::AnsiToMacPString(PascalString(all), counted.P()), 0);
    EXPECT_EQ(PascalString::TextOf(counted.P()), mac.C());
    EXPECT_TRUE(counted.GuardsHold());
    EXPECT_EQ(FourD::AnsiToMacPString(PascalString("Gr\xFC\xDF"), counted.P()), 0);
    EXPECT_EQ(PascalString::TextOf(counted.P()), "Gr\x9F\xA7");
    host.FailNext("ConvertCharacters", -1);
    EXPECT_EQ(FourD::AnsiToMacPString(PascalString("x"), counted.P()), -1);
    EXPECT_EQ(PascalString::TextOf(counted.P()), "");
}

TEST_F(HostStringsTest, TheHostNoticesMistreatedStrings) {
    FDStringBlock one = host.strings.Create("one");
    const FDStringBlock copy = one;
    FDStringBlock mine = host.strings.Create("the host's", Owner::Host);
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"not as the host filled it",
         [&] {
             FDStringBlock changed = one;
             ++changed.length;
             FourD::DisposeFDStringBlock(&changed);
         }},
        {"not as the host filled it",
         [&] {
             FourD::CopyCStringToFDString("two", &one);
             FDStringBlock stale = copy;
             EXPECT_EQ(FourD::CopyCStringToFDString("three", &stale), ResultCode::BadParameter);
         }},
        {"wrote into",
         [&] {
             one.units[0] = 'T';
             FourD::CopyCStringToFDString("three", &one);
         }},
        {"A host string came to the host that was already disposed of.",
         [&] {
             FDStringBlock again = one;
             FourD::DisposeFDStringBlock(&one);
             FourD::DisposeFDStringBlock(&again);
         }},
        {"belongs to the host",
         [&] {
             FDStringBlock block = mine;
             FourD::DisposeFDStringBlock(&block);
         }},
        {"1 host string of 4 units (\"lost\") that was taken since the session began is",
         [&] {
             FDStringBlock lost = host.strings.Create("lost");
             session.ReportLeaks();
             host.strings.Dispose(lost);
         }},
        {"that was released",
         [&] {
             FDStringBlock block = host.strings.Create("released");
             unsigned short* const units = block.units;
             FourD::DisposeFDStringBlock(&block);
             units[0] = 'x';
             host.strings.Check();
         }},
    };
    EXPECT_EQ(host.strings.Live(), 1);
    for (const auto& [problem, provoke] : cases) {
        provoke();
        EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr(problem)));
    }
    EXPECT_EQ(host.strings.Live(), 0);
    // Handed over, a string is no longer the plug-in's to release.
    FDStringBlock adopted = host.strings.Create("kept in a variable");
    host.strings.SetOwner(adopted, Owner::Host);
    EXPECT_EQ(host.strings.LiveOfHost(), 2);
    host.strings.Dispose(adopted);
    host.strings.Dispose(mine);
}

} // namespace
