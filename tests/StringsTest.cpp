#include "shell/base/Strings.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace {

using std::string;

/// A buffer that starts with some bytes; the '#' behind them show what a call wrote.
struct Buffer {
    string bytes;

    explicit Buffer(string start = "") : bytes(std::move(start)) { bytes.resize(600, '#'); }
    char* C(long offset = 0) { return bytes.data() + offset; }
    unsigned char* P(long offset = 0) { return reinterpret_cast<unsigned char*>(C(offset)); }
    string Start(std::size_t count) const { return bytes.substr(0, count); }
};

string Pascal(const string& text) {
    return static_cast<char>(text.size()) + text;
}
string Zero(const string& text) {
    return text + '\0';
}

/// The buffer starts with `expected`, and nothing was written behind it.
void ExpectWritten(const Buffer& buffer, const string& expected) {
    EXPECT_EQ(buffer.Start(expected.size() + 1), expected + '#');
}

TEST(Strings, PascalStringsEndAt255Characters) {
    const string source = "0123456789";
    for (const std::size_t length : {0, 3, 245, 246, 250, 255}) {
        const string start(length, 'x'), joined = (start + source).substr(0, 255);
        Buffer counted(Pascal(start)), zero(Pascal(start)), back(Zero("ab"));
        _CatPStr(Buffer(Pascal(source)).P(), counted.P());
        _CatC2PStr(source.c_str(), zero.P());
        _CatP2CStr(counted.P(), back.C());
        ExpectWritten(counted, Pascal(joined));
        ExpectWritten(zero, Pascal(joined));
        ExpectWritten(back, Zero("ab" + joined));
    }
    for (const long max : {-32768, -1, 0, 3, 255, 256, 32767}) {
        for (const long length : {0, 2, 255, 256, 300}) {
            const string text(static_cast<std::size_t>(length), 'x');
            Buffer whole, bounded;
            _CopyC2PStr(text.c_str(), whole.P());
            _CopyC2PStrN(text.c_str(), bounded.P(), static_cast<short>(max));
            const auto limit = static_cast<std::size_t>(std::clamp(max, 0L, 255L));
            ExpectWritten(whole, Pascal(text.substr(0, 255)));
            ExpectWritten(bounded, Pascal(text.substr(0, limit)));
        }
    }
}

TEST(Strings, BoundedCopyWritesOneZeroBeyondWhatItCopies) {
    const struct {
        long size;
        string written;
    } cases[] = {{3, Zero("hel")},          {5, Zero("hello")}, {6, Zero(Zero("hello"))},
                 {10, Zero(Zero("hello"))}, {0, Zero("")},      {-1, Zero("")}};
    for (const auto& test : cases) {
        Buffer buffer;
        _CopyCStrN("hello", buffer.C(), test.size);
        ExpectWritten(buffer, test.written);
    }
}

TEST(Strings, SourceAndDestinationMayOverlap) {
    const string text = "overlapping", zero = Zero(text), counted = Pascal(text);
    const struct {
        const char* name;
        string start;
        void (*run)(Buffer&);
        string result;
    } cases[] = {
        {"C to Pascal", zero, [](Buffer& b) { _CopyC2PStr(b.C(), b.P()); }, counted},
        {"Pascal to C", counted, [](Buffer& b) { _CopyP2CStr(b.P(), b.C()); }, zero},
        {"C up", zero, [](Buffer& b) { _CopyCStr(b.C(), b.C(1)); }, "o" + zero},
        {"bounded up", zero, [](Buffer& b) { _CopyCStrN(b.C(), b.C(1), 7); },
         "o" + Zero("overlap")},
        {"Pascal up", counted, [](Buffer& b) { _CopyPStr(b.P(), b.P(1)); }, counted[0] + counted},
        {"C onto itself", zero, [](Buffer& b) { _CatCStr(b.C(), b.C()); }, Zero(text + text)},
        {"Pascal onto itself", Pascal(string(200, 'x')), [](Buffer& b) { _CatPStr(b.P(), b.P()); },
         Pascal(string(255, 'x'))},
    };
    for (const auto& test : cases) {
        Buffer buffer(test.start);
        test.run(buffer);
        EXPECT_EQ(buffer.Start(test.result.size()), test.result) << test.name;
    }
}

TEST(Strings, ComparesUnsignedBytesThenLengths) {
    const string ascending[] = {"",   "ABC", "a",   Zero("a") + "a",  Zero("a") + "b",
                                "ab", "abc", "abd", string(255, 'b'), "\x80"};
    for (const auto& a : ascending) {
        for (const auto& b : ascending) {
            const int order = (&a > &b) - (&a < &b);
            EXPECT_EQ(_ComparePStrings(Buffer(Pascal(a)).P(), Buffer(Pascal(b)).P()), order)
                << a << " with " << b;
            EXPECT_EQ(_PStringsEqual(Buffer(Pascal(a)).P(), Buffer(Pascal(b)).P()), order == 0);
        }
    }
}

TEST(Strings, WritesAndReadsHexadecimalDigits) {
    Buffer two, four, eight;
    _CharToHex(0x3F, two.C());
    _ShortToHex(0x0AF9, four.C());
    _LongToHex(0xFEDC0123, eight.C());
    ExpectWritten(two, Zero("3F"));
    ExpectWritten(four, Zero("0AF9"));
    ExpectWritten(eight, Zero("FEDC0123"));
    EXPECT_EQ(_HexToLong(eight.P()), 0xFEDC0123U);
    EXPECT_EQ(_HexToLong(Buffer("0000ff1A").P()), 0xFF1AU);
    EXPECT_EQ(_HexToLong(Buffer("gFaG/1:@").P()), 0x0FA00100U);
}

} // namespace
