// Codes, formatting, case, byte sizes, line endings and bits.

#include "shell/base/TextServices.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <random>

namespace {

using namespace std::string_literals;

TEST(TextServicesTest, CodesBecomeTextsAndBack) {
    struct Row {
        OSType code;
        std::string plain;
        std::string display;
    };
    for (const Row& row :
         {Row{0x54455854, "TEXT", "TEXT"}, Row{0, "", ""}, Row{0x61620963, "ab\tc", R"(ab\x09c)"},
          Row{0x00000001, "\0\0\0\1"s, R"(\x00\x00\x00\x01)"},
          Row{0xFF7F7E20, "\xFF\x7F~ ", R"(\xFF\x7F~ )"}}) {
        PascalString counted("");
        _OSTypeToString(row.code, counted);
        EXPECT_EQ(counted.Text(), row.plain);
        if (row.code != 0) {
            EXPECT_EQ(_StringToOSType(counted), row.code);
        }
        _OSTypeToDisplayString(row.code, counted);
        EXPECT_EQ(counted.Text(), row.display);
        char text[17];
        _OSTypeToCString(row.code, text);
        EXPECT_STREQ(text, row.plain.c_str());
        _OSTypeToDisplayCString(row.code, text);
        EXPECT_EQ(text, row.display);
        EXPECT_EQ(_OSType2CStr(row.code, text), 0);
        EXPECT_EQ(std::string(text, 5), (row.code != 0 ? row.plain : "\0\0\0\0"s) + '\0');
    }
    EXPECT_EQ(_OSType2CStr(1, nullptr), ResultCode::BadParameter);
    EXPECT_EQ(_StringToOSType(PascalString("abc")), 0UL);
    EXPECT_EQ(_CStringToOSType("abc"), 0UL);
    EXPECT_EQ(_CStringToOSType("TEXTs"), 0x54455854UL);
}

TEST(TextServicesTest, FormatsWithinBounds) {
    PascalString out("");
    EXPECT_EQ(_FormatPWithCStr(out, "%s-%d", "a", 7), 3);
    EXPECT_EQ(out.Text(), "a-7");
    EXPECT_EQ(_FormatPWithPStr(out, PascalString("%05ld!"), 42L), 6);
    EXPECT_EQ(out.Text(), "00042!");
    for (const std::size_t length : {255U, 256U, 300U, 4095U, 4096U, 100000U}) {
        EXPECT_EQ(_FormatPWithCStr(out, "%s", std::string(length, 'x').c_str()), 255);
        EXPECT_EQ(out.Text(), std::string(255, 'x'));
    }
}

TEST(TextServicesTest, ChangesCase) {
    char text[] = "MiXed 1\xE9";
    _UpperCStr(text);
    EXPECT_STREQ(text, "MIXED 1\xE9");
    _LowerCStr(text);
    EXPECT_STREQ(text, "mixed 1\xE9");
    PascalString counted("MiXed");
    _UpperPStr(counted);
    EXPECT_EQ(counted.Text(), "MIXED");
    _LowerPStr(counted);
    EXPECT_EQ(counted.Text(), "mixed");
    _UpperCStr(nullptr);
    _LowerPStr(nullptr);
}

TEST(TextServicesTest, ShowsByteSizes) {
    for (const auto& [bytes, shown] : {std::pair{0UL, "0l B"},
                                       {512UL, "512l B"},
                                       {1023UL, "1023l B"},
                                       {1024UL, "1 KB"},
                                       {1280UL, "1.3 KB"},
                                       {1536UL, "1.5 KB"},
                                       {10240UL, "10 KB"},
                                       {1048575UL, "1024 KB"},
                                       {1048576UL, "1 MB"},
                                       {2097152UL, "2 MB"},
                                       {104857600UL, "100 MB"},
                                       {4294967295UL, "4096 MB"}}) {
        char text[20];
        EXPECT_EQ(_GetByteSizeString(text, bytes), static_cast<long>(std::strlen(shown)));
        EXPECT_STREQ(text, shown);
    }
    for (const auto& [before, after] : {std::pair{"2.50", "2.5"},
                                        {"2.0", "2"},
                                        {"100", "1"},
                                        {"0.", "0"},
                                        {"0.0", "0"},
                                        {"", ""},
                                        {"x", "x"}}) {
        char text[8];
        std::strcpy(text, before);
        _TrimDoubleString(text);
        EXPECT_STREQ(text, after);
    }
}

class LineEndingTest : public MemoryTest {};

INSTANTIATE_TEST_SUITE_P(Memory, LineEndingTest, OrdinaryAndStrict, MemoryName);

TEST_P(LineEndingTest, AreFoundAndConverted) {
    struct Row {
        std::string text;
        long kinds;
        long count;
        std::string converted[4]; ///< to CR, CRLF, LF, and to a kind that does not exist
    };
    for (const Row& row : {
             Row{"", 0, 0, {"", "", "", ""}},
             Row{"plain", 0, 0, {"plain", "plain", "plain", "plain"}},
             Row{"a\rb\r", 1, 2, {"a\rb\r", "a\r\nb\r\n", "a\nb\n", "ab"}},
             Row{"a\r\nb\r\n", 2, 2, {"a\rb\r", "a\r\nb\r\n", "a\nb\n", "ab"}},
             Row{"\n\na", 4, 2, {"\r\ra", "\r\n\r\na", "\n\na", "a"}},
             Row{"a\r\nb\n", 6, 2, {"a\rb\r", "a\r\nb\r\n", "a\nb\n", "ab"}},
             Row{"\n\r", 5, 2, {"\r\r", "\r\n\r\n", "\n\n", ""}},
             Row{"\r\r\n\n", 7, 3, {"\r\r\r", "\r\n\r\n\r\n", "\n\n\n", ""}},
         }) {
        for (const long kind : {1L, 2L, 4L, 0L}) {
            const OwnedHandle handle(row.text);
            const char* const place = *handle.handle;
            long count = -1;
            EXPECT_EQ(_GetHandleLineEndings(handle, &count), row.kinds);
            EXPECT_EQ(count, row.count);
            EXPECT_EQ(_SetHandleLineEndings(handle, kind), 0);
            const int column = kind == 4 ? 2 : kind == 0 ? 3 : static_cast<int>(kind) - 1;
            EXPECT_EQ(handle.Bytes(), row.converted[column]) << kind << " " << row.text;
            if (row.kinds == 0 || row.kinds == kind) {
                EXPECT_EQ(*handle.handle, place) << "no call that takes memory";
            }
        }
    }
    long count = -1;
    EXPECT_EQ(_GetHandleLineEndings(nullptr, &count), 0);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(_GetHandleLineEndings(OwnedHandle("\r"), nullptr), 1);
    EXPECT_EQ(_SetHandleLineEndings(nullptr, 1), ResultCode::BadParameter);
}

/// The text with every line ending, byte by byte, replaced; tells what there was.
std::string ConvertEndings(const std::string& text, const std::string& ending, long* kinds,
                           long* count) {
    std::string converted;
    *kinds = *count = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\r' && text[at] != '\n') {
            converted += text[at];
            continue;
        }
        const bool isPair = text.compare(at, 2, "\r\n") == 0;
        *kinds |= isPair ? LineEnding::CRLF : text[at] == '\r' ? LineEnding::CR : LineEnding::LF;
        *count += 1;
        converted += ending;
        at += isPair ? 1 : 0;
    }
    return converted;
}

TEST_P(LineEndingTest, OfTextsOfAnyLength) {
    std::mt19937 random{1};
    // The longest have more line endings of a kind than a byte counts.
    for (std::size_t size = 0; size < 9000; size += size < 80 ? 1 : 1500) {
        for (const std::string& letters :
             {"\r"s, "\n"s, "\r\n"s, "aaaa\r"s, "a\n"s, "aaaaaaaa\r\n"s}) {
            std::string text(size, 'b');
            std::size_t at = 0;
            for (char& letter : text) {
                letter = letters[size % 2 == 0 ? random() % letters.size() : at++ % letters.size()];
            }
            for (const auto& [kind, ending] :
                 {std::pair{1L, "\r"s}, {2, "\r\n"}, {4, "\n"}, {0, ""}}) {
                long kinds = 0;
                long endings = 0;
                const std::string expected = ConvertEndings(text, ending, &kinds, &endings);
                const OwnedHandle handle(text);
                long count = -1;
                ASSERT_EQ(_GetHandleLineEndings(handle, &count), kinds) << size << letters;
                ASSERT_EQ(count, endings);
                ASSERT_EQ(_SetHandleLineEndings(handle, kind), 0);
                ASSERT_EQ(handle.Bytes(), expected) << kind;
            }
        }
    }
}

TEST(TextServicesTest, BitsCountFromTheTop) {
    unsigned long words[3] = {};
    for (const auto& [bit, word, mask] : {std::tuple{0UL, 0, 0x80000000UL},
                                          {31UL, 0, 1UL},
                                          {33UL, 1, 0x40000000UL},
                                          {95UL, 2, 1UL}}) {
        _LongBitSet(words, bit);
        EXPECT_EQ(words[word], mask);
        EXPECT_TRUE(_LongBitTst(words, bit));
        _LongBitClear(words, bit);
        EXPECT_EQ(words[word], 0UL);
        _LongBitChange(words, bit);
        EXPECT_TRUE(_LongBitTst(words, bit));
        _LongBitChange(words, bit);
        EXPECT_FALSE(_LongBitTst(words, bit));
    }
}

} // namespace
