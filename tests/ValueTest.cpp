// Typed values: every reader and every storing function on every type code, texts as the host
// formats them, and what is freed.

#include "host/Value.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

constexpr long Refused = -1999;
constexpr long LowestLong = std::numeric_limits<long>::min();
constexpr int LastType = 40;

/// A block that is filled with a pattern but for its type.
ValueBlock BlockOf(int type) {
    ValueBlock block;
    std::memset(static_cast<void*>(&block), 0xA5, sizeof block);
    block.type = static_cast<unsigned char>(type);
    return block;
}

template <typename Contents>
ValueBlock With(int type, Contents contents) {
    ValueBlock block = BlockOf(type);
    std::memcpy(static_cast<void*>(&block.real), &contents, sizeof contents);
    return block;
}

ValueBlock String(std::string_view text, int capacity = 255) {
    StringBlock record = {static_cast<short>(capacity), {}};
    std::copy_n(PascalString(text).bytes, sizeof record.string, record.string);
    return With(ValueType::String, record);
}

/// A text that the block owns; its record may tell another length than the handle's.
ValueBlock Text(std::string_view text, int length = -1) {
    const auto size = static_cast<short>(text.size());
    TextBlock record = {length < 0 ? size : static_cast<short>(length), NewHandle(size)};
    text.copy(*record.text, text.size());
    return With(ValueType::Text, record);
}

/// The bytes of a text, which is then freed.
std::string TakeText(TextBlock& text) {
    std::string bytes = text.text == nullptr ? "" : OwnedHandle::BytesOf(text.text);
    ValueBlock block = BlockOf(ValueType::Text);
    block.text = std::exchange(text, {});
    FreeValueBlock(&block);
    return bytes;
}

template <typename Record>
std::string Bytes(const Record& record) {
    std::string bytes(sizeof record, '\0');
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

class ValueTest : public DualHostTest {
  protected:
    ValueTest() { Start(); }
    TestPlug plug;
    Str255 out = {3, 'o', 'l', 'd'};
};

INSTANTIATE_TEST_SUITE_P(Hosts, ValueTest, ClassicAndEngine, HostName);

TEST_P(ValueTest, EveryTypeIsReadAsEveryKind) {
    struct Row {
        ValueBlock block;
        long number;
        int truth;
        double real;
        long error = 0;
    };
    std::vector<Row> rows = {
        {With(ValueType::Real, double{0.5}), 0, 0, 0.5},
        {With(ValueType::Real, double{-1.7}), -1, 1, -1.7},
        {With(ValueType::Real, double{1e20}), LowestLong, 1, 1e20},
        {Text("12abc"), 12, 1, 12},
        {Text("-37.5e1 m"), -37, 1, -375},
        {Text("nan"), 0, 1, 0},
        {Text(""), 0, 0, 0},
        {Text(std::string(250, '0') + "1234567"), 12345, 1, 12345}, // the first 255 bytes count
        {Text("77", 900), 77, 1, 77},
        {Text("77", 1), 7, 1, 7},
        {With(ValueType::Date, DateBlock{21, 11, 2026}), 0, 1, 0},
        {With(ValueType::Date, DateBlock{21, 0, 2026}), 0, 0, 0},
        {With(ValueType::Boolean, 7L), 7, 7, 7},
        {With(ValueType::Long, -9L), -9, 1, -9},
        {With(ValueType::Long, 0L), 0, 0, 0},
        {With(ValueType::Time, 3600L), 3600, 1, 3600},
        {String("42.5 nd"), 42, 1, 42.5},
        {String(""), 0, 0, 0},
    };
    for (int type = 0; type <= LastType; ++type) {
        if (std::ranges::find(rows, type, [](auto& row) { return row.block.type; }) == rows.end()) {
            rows.push_back({BlockOf(type), 0, 0, 0, Refused});
        }
    }
    for (Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "type " << int{row.block.type} << ": " << row.real);
        long number = 0x5A5A;
        unsigned char truth = 0x5A;
        double native = 0.25;
        REAL_U real = {0.25, {1, 2}};
        DateBlock date = {1, 2, 3};
        EXPECT_EQ(Value2Long(&row.block, &number), row.error);
        EXPECT_EQ(number, row.number);
        EXPECT_EQ(Value2Boolean(&row.block, &truth), row.error);
        EXPECT_EQ(truth, row.truth);
        EXPECT_EQ(Value2NativeReal(&row.block, &native), row.error);
        EXPECT_EQ(native, row.real);
        EXPECT_EQ(Value2REAL(&row.block, &real), row.error);
        EXPECT_EQ(double{real.value}, row.real);
        EXPECT_EQ(real.unused[1], row.block.type == ValueType::Real ? 0xA5 : 0);
        EXPECT_EQ(Value2Date(&row.block, &date), row.error);
        const DateBlock readDate = row.block.type == ValueType::Date ? row.block.date : DateBlock{};
        EXPECT_EQ(Bytes(date), Bytes(readDate));
        if (row.error != 0 && row.block.type != ValueType::UnicodeText) {
            TextBlock text = {};
            EXPECT_EQ(Value2String(&row.block, out, nullptr), Refused);
            EXPECT_EQ(Value2Text(&row.block, &text, nullptr), Refused);
            EXPECT_EQ(out[0] + text.length, 0);
        }
        if (row.block.type == ValueType::Text) {
            FreeValueBlock(&row.block);
        }
    }
}

TEST_P(ValueTest, EveryTypeTakesWhatFitsAndNothingElse) {
    using Store = std::function<long(ValueBlock*)>;
    // In blocks of every type: nothing changes but for `change`, which answers whether it fits.
    const auto inEveryType = [](const char* name, const Store& store,
                                const std::function<bool(ValueBlock&)>& change) {
        for (int type = 0; type <= LastType; ++type) {
            SCOPED_TRACE(testing::Message() << name << " into type " << type);
            ValueBlock block = BlockOf(type);
            ValueBlock expected = block;
            const bool fits = change(expected);
            EXPECT_EQ(store(&block), fits ? 0 : Refused);
            EXPECT_EQ(Bytes(block), Bytes(expected));
        }
    };
    const auto number = [&](const char* name, REAL_U real, int truth, long whole,
                            const Store& store) {
        inEveryType(name, store, [=](ValueBlock& block) {
            switch (block.type) {
            case ValueType::Real:
                block.real = real;
                return true;
            case ValueType::Boolean:
                block.boolean = static_cast<unsigned char>(truth);
                return true;
            case ValueType::Long:
            case ValueType::Time:
                block.number = whole;
                return true;
            default:
                return false;
            }
        });
    };
    const REAL_U extended = {-2.9, {1, 2}};
    ValueBlock real = With(ValueType::Real, double{-2.9});
    ValueBlock boolean = With(ValueType::Boolean, 5L);
    ValueBlock whole = With(ValueType::Long, 70000L);
    number("REAL", extended, 1, -2, [=](auto* to) { return REAL2ValueBlock(extended, to); });
    number("0.5", {0.5, {0xA5, 0xA5}}, 0, 0,
           [](auto* to) { return NativeReal2ValueBlock(.5, to); });
    number("1e10", {1e10, {0xA5, 0xA5}}, 1, LowestLong,
           [](auto* to) { return NativeReal2ValueBlock(1e10, to); });
    number("Long", {-256, {}}, 1, -256, [](auto* to) { return Long2ValueBlock(-256, to); });
    number("Boolean", {200, {}}, 200, 200, [](auto* to) { return Boolean2ValueBlock(200, to); });
    number("Time", {3600, {}}, 1, 3600, [](auto* to) { return Time2ValueBlock(3600, to); });
    number("a real", real.real, 1, -2, [&](auto* to) { return CoerseValueBlock(&real, to); });
    number("a boolean", {5, {}}, 5, 5, [&](auto* to) { return CoerseValueBlock(&boolean, to); });
    number("a long", {70000, {}}, 1, 70000, [&](auto* to) { return CoerseValueBlock(&whole, to); });
    const auto takesText = [](const ValueBlock& to) {
        return to.type == ValueType::Text || to.type == ValueType::String;
    };
    inEveryType(
        "Date", [](auto* to) { return Date2ValueBlock(nullptr, to); },
        [](auto& to) { return to.type == ValueType::Date; });
    inEveryType(
        "String", [](auto* to) { return String2ValueBlock(nullptr, to); }, takesText);
    inEveryType(
        "Text", [&](auto* to) { return takesText(*to) ? 0 : Text2ValueBlock(nullptr, to); },
        takesText);
    for (int type = 0; type <= LastType; ++type) {
        if (type != ValueType::Real && type != ValueType::Boolean && type != ValueType::Long) {
            ValueBlock from = BlockOf(type);
            ValueBlock to = whole;
            const bool ignored = type == ValueType::Text || type == ValueType::Date ||
                                 type == ValueType::Time || type == ValueType::String;
            EXPECT_EQ(CoerseValueBlock(&from, &to), ignored ? 0 : Refused) << type;
            EXPECT_EQ(Bytes(to), Bytes(whole));
        }
    }
}

TEST_P(ValueTest, TextsGoIntoTextsAndStringsAsFarAsTheyFit) {
    ValueBlock text = Text(std::string(300, 'x'));
    for (const auto& [capacity, stored] :
         {std::pair(80, 80), {0, 0}, {-1, 0}, {255, 255}, {32000, 255}}) {
        ValueBlock string = String("old", capacity);
        EXPECT_EQ(Text2ValueBlock(&text.text, &string), 0);
        EXPECT_EQ(string.string.string[0], stored);
    }
    ValueBlock copy = Text("old");
    ToolboxFailAllocation(1);
    EXPECT_EQ(Text2ValueBlock(&text.text, &copy), ResultCode::MemoryFull);
    EXPECT_EQ(copy.text.length, 0);
    EXPECT_EQ(Text2ValueBlock(&text.text, &copy), 0);
    EXPECT_EQ(TakeText(copy.text), TakeText(text.text));

    // Strings into texts: an empty one leaves an empty handle, no memory the old length.
    TextBlock made = {};
    ToolboxFailAllocation(1);
    StringToText(PascalString("abc"), &made, nullptr);
    EXPECT_EQ(short{made.length}, 0);
    StringToText(PascalString(""), &made, nullptr);
    EXPECT_TRUE(made.text != nullptr && made.length == 0);
    StringToText(PascalString("555"), &made, PascalString("(@)"));
    ToolboxFailAllocation(1);
    StringToText(PascalString(std::string(200, 'y')), &made, nullptr);
    EXPECT_EQ(short{made.length}, 5);
    // A record that lies about its handle.
    for (const auto& [length, read] : {std::pair(1000, "(555)"), {2, "(5"}, {0, ""}, {-1, ""}}) {
        made.length = static_cast<short>(length);
        TextToString(&made, out, nullptr);
        EXPECT_EQ(PascalString::TextOf(out), read);
    }
    TakeText(made);
}

TEST_P(ValueTest, TheHostFormats) {
    struct Row {
        ValueBlock block;
        const char* format;
        long sentNumber; ///< below 0: the format is sent as it is
        std::string text;
    };
    const ValueBlock date = With(ValueType::Date, DateBlock{21, 11, 2026});
    const ValueBlock time = With(ValueType::Time, 47109L);
    const Row rows[] = {
        {With(ValueType::Long, 1234567L), "#,##0 km", -1, "1,234,567 km"},
        {With(ValueType::Real, double{2.5}), "", -1, "2.5"},
        {With(ValueType::Boolean, 2L), "Yes;No", -1, "Yes"},
        {String("5551234"), "###-####", -1, "555-1234"},
        {date, "Abbreviated", 2, "Sat, Nov 21, 2026"},
        {date, "2", 2, "Sat, Nov 21, 2026"},
        {date, "abbreviated", 2, "Sat, Nov 21, 2026"},
        {date, "mm/dd/yyyy Forced", 7, "11/21/2026"},
        {date, "Fancy", 0, "11/21/26"},
        {date, "8", 0, "11/21/26"},
        {date, "", 0, "11/21/26"},
        {time, "HH:MM AM/PM", 5, "1:05 PM"},
        {time, "4", 4, "13 hours 5 minutes"},
        {time, "6", 0, "13:05:09"},
    };
    TextBlock text = {};
    for (Row row : rows) {
        SCOPED_TRACE(testing::Message() << int{row.block.type} << " with " << row.format);
        PascalString format(row.format);
        EXPECT_EQ(Value2String(&row.block, out, format), 0);
        EXPECT_EQ(PascalString::TextOf(out), row.text);
        const LoggedCall* const call = host.log.Last("FormatValue");
        ASSERT_NE(call, nullptr);
        EXPECT_EQ(call->selector, 47);
        EXPECT_EQ(short{call->Sent().field}, row.block.type);
        EXPECT_EQ(long{call->Sent().param1}, std::max(row.sentNumber, 0L));
        EXPECT_EQ(PascalString::TextOf(call->Sent().name), row.sentNumber < 0 ? row.format : "");
        EXPECT_EQ(Value2Text(&row.block, &text, format), 0);
        EXPECT_EQ(TakeText(text), row.text);
    }

    // A text is formatted as a string only.
    ValueBlock block = Text("5551234");
    EXPECT_EQ(Value2String(&block, out, PascalString("###-####")), 0);
    EXPECT_EQ(PascalString::TextOf(out), "555-1234");
    EXPECT_EQ(Value2Text(&block, &text, PascalString("###-####")), 0);
    EXPECT_EQ(TakeText(text), TakeText(block.text));
    // A host error leaves nothing; what is too long for the call is neither lost nor formatted.
    EXPECT_EQ(FourD::Time2String(1, 99, out), ResultCode::BadParameter);
    EXPECT_EQ(out[0], 0);
    for (const size_t length : {141U, 142U}) {
        const std::string given(length, 'a');
        EXPECT_EQ(FourD::String2String(PascalString(given), PascalString("@"), out), 0);
        EXPECT_EQ(PascalString::TextOf(out), given);
    }
    EXPECT_EQ(FourD::Double2String(-0.5, PascalString("0.0;minus 0.0"), out), 0);
    EXPECT_EQ(PascalString::TextOf(out), "minus 0.5");

    REAL_U real = {1.0, {}};
    EXPECT_EQ(FourD::SwapReal64To80(&real), 0);
    EXPECT_EQ(Bytes(real), std::string("\0\0\0\0\0\0\0\x80\xFF\x3F", 10));
    EXPECT_EQ(FourD::SwapReal80To64(&real), 0);
    EXPECT_EQ(double{real.value}, 1.0);
}

TEST_P(ValueTest, FreesWhatABlockOwnsAndNothingElse) {
    std::vector<ValueBlock> blocks = {Text("text"), Text(""), BlockOf(ValueType::Blob),
                                      BlockOf(ValueType::Picture), BlockOf(ValueType::UnicodeText)};
    blocks[2].blob = {4, NewHandle(4)};
    if (host.HasEngine()) {
        blocks[3].picture = host.pictures.Add({}, Owner::Plugin);
        blocks[4].unicode = host.strings.Create("text");
    } else {
        blocks[3].blob = {4, NewHandle(4)};
        blocks.pop_back();
    }
    for (ValueBlock& block : blocks) {
        EXPECT_EQ(FreeValueBlock(&block), 0);
        EXPECT_EQ(FreeValueBlock(&block), 0); // owns nothing any more
    }
    EXPECT_EQ(ToolboxLiveHandles() + host.pictures.Live() + host.strings.Live(), 0);
    for (int type = 0; type <= LastType; ++type) {
        if (type != 2 && type != 10 && type != 30 && type != 33) {
            ValueBlock block = BlockOf(type);
            FreeValueBlock(&block);
            EXPECT_EQ(Bytes(block), Bytes(BlockOf(type)));
        }
    }
    FreeValueBlock(nullptr);
}

TEST_P(ValueTest, Utf16ComesInTheMacintoshSet) {
    if (!host.HasEngine()) {
        GTEST_SKIP() << "hosts before 11.0 have no UTF-16";
    }
    for (const std::string& text : {std::string("\xFC\xDF"), std::string(40000, '\xFC'), {}}) {
        ValueBlock block = BlockOf(ValueType::UnicodeText);
        block.unicode = text.empty() ? FDStringBlock{} : host.strings.Create(text);
        std::string mac = text;
        ASI_AnsiToMacBuf(text.data(), mac.data(), static_cast<long>(text.size()));
        TextBlock copy = {};
        EXPECT_EQ(Value2String(&block, out, nullptr), 0);
        EXPECT_EQ(PascalString::TextOf(out), mac.substr(0, 255));
        EXPECT_EQ(Value2Text(&block, &copy, nullptr), 0);
        EXPECT_EQ(TakeText(copy), mac.substr(0, 32000));
        FreeValueBlock(&block);
    }
}

TEST_P(ValueTest, Utf16ThatCannotBeConvertedIsEmpty) {
    unsigned short units[] = {'a', 'b'};
    const auto fail = [&](const FDStringBlock& string) {
        if (string.length > 0 && string.units != nullptr) {
            host.FailNext("ConvertCharacters", -1234);
        }
    };
    for (const FDStringBlock& string :
         {FDStringBlock{2, units, {}}, {2, nullptr, {}}, {0, units, {}}, {-1, units, {}}}) {
        ValueBlock block = BlockOf(ValueType::UnicodeText);
        block.unicode = string;
        fail(string);
        EXPECT_EQ(Value2String(&block, out, nullptr), 0);
        EXPECT_EQ(std::exchange(out[0], 3), 0);
        TextBlock text = {};
        StringToText(PascalString("old"), &text, nullptr);
        fail(string);
        EXPECT_EQ(Value2Text(&block, &text, nullptr), 0);
        EXPECT_TRUE(text.length == 0 && text.text == nullptr);
    }
}

TEST(NumberConversionTest, OutOfRangeIsTheLowestValue) {
    constexpr short Lowest = -32768;
    for (const auto& [real, whole, narrow] : {std::tuple(-1.9, -1L, short{-1}),
                                              {32767.9, 32767L, short{32767}},
                                              {32768.0, 32768L, Lowest},
                                              {-32769.0, -32769L, Lowest},
                                              {2147483647.9, 2147483647L, Lowest},
                                              {2147483648.0, LowestLong, Lowest},
                                              {-2147483648.9, LowestLong, Lowest},
                                              {std::nan(""), LowestLong, Lowest},
                                              {HUGE_VAL, LowestLong, Lowest}}) {
        EXPECT_EQ(REALToLong({real, {}}), whole) << real;
        EXPECT_EQ(REALToShort({real, {}}), narrow) << real;
    }
    EXPECT_EQ(double{ShortToREAL(-7).value} + double{LongToREAL(70000).value}, 69993.0);
    // A date is its midnight; the time of day is dropped on the way back.
    DateBlock date = {2, 1, 1904};
    long long seconds = 0;
    Date4D2LongDateTime(&date, &seconds);
    EXPECT_EQ(seconds, 86400);
    LongDateTime2Date4D(seconds + 86399, &date);
    EXPECT_TRUE(date.day == 2 && date.month == 1 && date.year == 1904);
}

} // namespace
