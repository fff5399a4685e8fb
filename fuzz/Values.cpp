// Typed values: every kind of record read as, and filled from, every kind of value.

#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "fuzz/Harness.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace {
constexpr long unsupported = ResultCode::UnsupportedConversion;
constexpr unsigned char types[] = {
    ValueType::Real, ValueType::Text,        ValueType::Date,    ValueType::Boolean,
    ValueType::Long, ValueType::Time,        ValueType::Picture, ValueType::String,
    ValueType::Blob, ValueType::UnicodeText,
};

/// Any bytes, but for addresses: these are of blocks that are there, or null.
ValueBlock Any(Input& input) {
    ValueBlock value;
    input.Fill(value);
    if (input.ConsumeBool()) {
        value.type = input.PickValueInArray(types);
    }
    Handle const handle = input.ConsumeBool() ? HandleOf(input.Text(300)) : nullptr;
    switch (value.type) {
    case ValueType::Text:
        value.text.text = handle;
        return value;
    case ValueType::Blob:
        value.blob.data = handle;
        return value;
    case ValueType::UnicodeText: {
        std::string units = input.Text(600);
        units.resize(units.size() / 2 * 2);
        units.append(2, '\0');
        value.unicode = {};
        if (input.ConsumeBool()) {
            FourD::CreateFDString(&value.unicode);
            FourD::SetFDString(&value.unicode,
                               reinterpret_cast<const unsigned short*>(units.data()));
        }
        break;
    }
    case ValueType::Picture:
        value.picture = nullptr;
        break;
    default:
        break;
    }
    DisposeIfThere(handle);
    return value;
}

/// What a value is worth as a number, and so on.
struct Worth {
    bool isKnown = true;
    long whole = 0;
    double real = 0;
    unsigned char truth = 0;
    DateBlock date = {};
    std::string text = {}; ///< of texts and strings
};

long Truncated(double real) {
    const double whole = std::trunc(real);
    return whole >= LONG_MIN && whole <= LONG_MAX ? static_cast<long>(whole) : LONG_MIN;
}

unsigned char Truth(long number) {
    return number != 0 ? 1 : 0;
}

Worth WorthOfText(const std::string& text, bool truth) {
    const std::string digits = text.substr(0, 255);
    return {.whole = std::atol(digits.c_str()),
            .real = std::atof(digits.c_str()),
            .truth = static_cast<unsigned char>(truth ? 1 : 0),
            .text = text};
}

Worth WorthOf(const ValueBlock& value) {
    switch (value.type) {
    case ValueType::Real: {
        const long whole = Truncated(value.real.value);
        return {.whole = whole, .real = value.real.value, .truth = Truth(whole)};
    }
    case ValueType::Text: {
        const std::string bytes = BytesOf(value.text.text);
        const long length = std::max<long>(value.text.length, 0);
        return WorthOfText(bytes.substr(0, static_cast<std::size_t>(length)),
                           value.text.length != 0);
    }
    case ValueType::String:
        return WorthOfText(PascalText(value.string.string), value.string.string[0] != 0);
    case ValueType::Date: {
        const DateBlock& date = value.date;
        return {.truth = Truth(date.day != 0 && date.month != 0 && date.year != 0), .date = date};
    }
    case ValueType::Boolean:
        return {.whole = value.boolean,
                .real = static_cast<double>(value.boolean),
                .truth = value.boolean};
    case ValueType::Long:
    case ValueType::Time:
        return {.whole = value.number,
                .real = static_cast<double>(value.number),
                .truth = Truth(value.number)};
    default:
        return {.isKnown = false};
    }
}

template <typename Record>
bool AreEqual(const Record& one, const Record& other) {
    return std::memcmp(&one, &other, sizeof one) == 0;
}

void CheckNumbers(ValueBlock value) {
    const Worth worth = WorthOf(value);
    const long expected = worth.isKnown ? ResultCode::NoError : unsupported;
    long number = 1;
    unsigned char truth = 1;
    double real = 1;
    REAL_U record = {1, {1, 1}};
    DateBlock date = {1, 1, 1};
    Require(Value2Long(&value, &number) == expected && number == worth.whole, "another number");
    Require(Value2Boolean(&value, &truth) == expected && truth == worth.truth, "another truth");
    Require(Value2NativeReal(&value, &real) == expected && AreEqual(real, worth.real),
            "another real");
    Require(Value2REAL(&value, &record) == expected && AreEqual(record.value, worth.real),
            "another real record");
    Require(Value2Date(&value, &date) == expected && AreEqual(date, worth.date), "another date");
}

void CheckTexts(Input& input, ValueBlock value) {
    const Worth worth = WorthOf(value);
    const bool isText = value.type == ValueType::Text;
    const bool isString = value.type == ValueType::String;
    Pascal format(input.Text(20));
    unsigned char* const given =
        input.ConsumeBool() ? static_cast<unsigned char*>(format) : nullptr;
    const bool isFormatted = given != nullptr && given[0] != 0;
    Str255 string = {1, 'x'};
    const long error = Value2String(&value, string, given);
    Require(error != 0 || isFormatted || !(isText || isString) ||
                PascalText(string) == worth.text.substr(0, 255),
            "another string");
    TextBlock text = {0, input.ConsumeBool() ? HandleOf("before") : nullptr};
    const bool mayFail = input.FailAnAllocation();
    Require(Value2Text(&value, &text, given) == error, "another error of a text");
    ToolboxFailAllocation(0);
    const std::string bytes = BytesOf(text.text);
    Require(text.length <= static_cast<long>(bytes.size()), "a text without its bytes");
    if (isText) { // the handle's size counts, not the record's length
        Require(bytes == BytesOf(value.text.text) || (mayFail && bytes.empty()), "another text");
    } else if (error == 0 && value.type != ValueType::UnicodeText) {
        Require(bytes == PascalText(string) || (mayFail && text.length == 0),
                "the text is not the string");
    }
    DisposeIfThere(text.text);
}

/// The block after a number has been stored in it, or -1999.
long Store(const REAL_U& real, long whole, unsigned char truth, ValueBlock* block) {
    switch (block->type) {
    case ValueType::Real:
        block->real = real;
        return ResultCode::NoError;
    case ValueType::Boolean:
        block->boolean = truth;
        return ResultCode::NoError;
    case ValueType::Long:
    case ValueType::Time:
        block->number = whole;
        return ResultCode::NoError;
    default:
        return unsupported;
    }
}

void CheckFilling(Input& input, ValueBlock block, ValueBlock from) {
    const ValueBlock before = block;
    const long number = input.Number();
    REAL_U real;
    input.Fill(real);
    const long whole = Truncated(real.value);
    const auto check = [&](long error, REAL_U asReal, long asWhole, unsigned char asTruth) {
        ValueBlock expected = before;
        Require(error == Store(asReal, asWhole, asTruth, &expected), "another error");
        Require(AreEqual(block, expected), "another value is stored");
        block = before;
    };
    REAL_U native = {real.value, {before.real.unused[0], before.real.unused[1]}};
    const auto byte = static_cast<unsigned char>(number);
    const REAL_U numberAsReal = {static_cast<double>(number), {}};
    check(REAL2ValueBlock(real, &block), real, whole, Truth(whole));
    check(NativeReal2ValueBlock(real.value, &block), native, whole, Truth(whole));
    check(Long2ValueBlock(number, &block), numberAsReal, number, Truth(number));
    check(Time2ValueBlock(number, &block), numberAsReal, number, Truth(number));
    check(Boolean2ValueBlock(byte, &block), {static_cast<double>(byte), {}}, byte, byte);

    const Worth worth = WorthOf(from);
    const bool isNumber = from.type == ValueType::Real || from.type == ValueType::Boolean ||
                          from.type == ValueType::Long;
    const long error = CoerseValueBlock(&from, &block);
    if (isNumber) {
        const REAL_U asReal = from.type == ValueType::Real ? from.real : REAL_U{worth.real, {}};
        check(error, asReal, worth.whole, worth.truth);
    } else {
        Require(error == (worth.isKnown ? ResultCode::NoError : unsupported), "another error");
        Require(AreEqual(block, before), "something is stored");
    }
    if (from.type == ValueType::Text) {
        block = EmptyValueBlock(ValueType::String);
        block.string.capacity = static_cast<short>(number);
        const long room = std::clamp<long>(block.string.capacity, 0, 255);
        Require(Text2ValueBlock(&from.text, &block) == 0, "a text is refused");
        Require(PascalText(block.string.string) ==
                    worth.text.substr(0, static_cast<std::size_t>(room)),
                "another string is stored");
    }
}
} // namespace

void Fuzz(Input& input) {
    FuzzHost host;
    for (int i = 0; i < 20 && !input.IsOver(); ++i) {
        ValueBlock value = Any(input);
        ValueBlock other = Any(input);
        CheckNumbers(value);
        CheckTexts(input, value);
        CheckFilling(input, value, other);
        FreeValueBlock(&value);
        FreeValueBlock(&other);
    }
}
