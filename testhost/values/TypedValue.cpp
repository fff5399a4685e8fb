#include "testhost/values/TypedValue.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace {
constexpr std::string_view arrayWord = "array ";

std::string RealText(double number) {
    char text[64];
    char* end = std::to_chars(text, text + sizeof text, number).ptr;
    return {text, end};
}

std::string Words(const std::vector<long>& numbers) {
    std::string text;
    for (long number : numbers) {
        text += " " + std::to_string(number);
    }
    return text;
}

std::string DateText(const std::vector<long>& date) {
    char text[48];
    std::snprintf(text, sizeof text, " %04ld-%02ld-%02ld", date.at(2), date.at(1), date.at(0));
    return text;
}

std::string BooleanText(long byte) {
    return byte == 0 ? " false" : byte == 1 ? " true" : " " + std::to_string(byte);
}

TypedValue WithNumbers(ValueKind kind, std::vector<long> numbers) {
    return {.kind = kind, .numbers = std::move(numbers)};
}

TypedValue WithText(ValueKind kind, std::string_view text) {
    return {.kind = kind, .texts = {std::string(text)}};
}

std::string ContentsText(const TypedValue& value);

std::string ElementsText(const TypedValue& array) {
    std::string text;
    for (const TypedValue& element : Elements(array)) {
        text += ContentsText(element);
    }
    return text;
}

// "long / 1 2 / 3": the rows' kind, then the rows. A plug-in may have left one that is no array's.
std::string RowsText(const TypedValue& array) {
    std::string_view name = KindName(static_cast<ValueKind>(array.numbers.at(0)));
    if (name.starts_with(arrayWord)) {
        name.remove_prefix(arrayWord.size());
    }
    std::string text = " " + std::string(name);
    for (const TypedValue& row : array.inner) {
        text += " /" + ContentsText(row);
    }
    return text;
}

// What stands behind the kind's name.
std::string ContentsText(const TypedValue& value) {
    switch (value.kind) {
    case ValueKind::None:
        return {};
    case ValueKind::Boolean:
        return BooleanText(value.numbers.at(0));
    case ValueKind::Date:
        return DateText(value.numbers);
    case ValueKind::Short:
    case ValueKind::Long:
    case ValueKind::Time:
    case ValueKind::Rect:
    case ValueKind::Event:
    case ValueKind::Undefined:
        return Words(value.numbers);
    case ValueKind::Real:
    case ValueKind::Extended:
        return " " + RealText(value.real);
    case ValueKind::String:
    case ValueKind::Text:
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
    case ValueKind::Blob:
    case ValueKind::UnicodeText:
        return value.texts.empty() ? " null" : " " + Quoted(value.texts[0]);
    case ValueKind::Value:
    case ValueKind::Pointer:
        return value.inner.empty() ? " null" : " " + Describe(value.inner[0]);
    case ValueKind::ArrayOfArrays:
        return RowsText(value);
    case ValueKind::StringArray:
        return Words(value.numbers) + ElementsText(value);
    default: // the other arrays
        return ElementsText(value);
    }
}
} // namespace

bool TypedValue::operator==(const TypedValue& other) const {
    const bool sameReal = real == other.real || (std::isnan(real) && std::isnan(other.real));
    return sameReal && kind == other.kind && numbers == other.numbers && texts == other.texts &&
           inner == other.inner;
}

TypedValue NoValue() {
    return {};
}
TypedValue ShortValue(short number) {
    return WithNumbers(ValueKind::Short, {number});
}
TypedValue LongValue(long number) {
    return WithNumbers(ValueKind::Long, {number});
}
TypedValue BooleanValue(bool yes) {
    return WithNumbers(ValueKind::Boolean, {yes ? 1 : 0});
}
TypedValue RealValue(double number) {
    return {.kind = ValueKind::Real, .real = number};
}
TypedValue ExtendedValue(double number) {
    return {.kind = ValueKind::Extended, .real = number};
}
TypedValue StringValue(std::string_view text) {
    return WithText(ValueKind::String, text);
}
TypedValue TextValue(std::string_view text) {
    return WithText(ValueKind::Text, text);
}
TypedValue DateValue(short year, short month, short day) {
    return WithNumbers(ValueKind::Date, {day, month, year});
}
TypedValue RectValue(short top, short left, short bottom, short right) {
    return WithNumbers(ValueKind::Rect, {top, left, bottom, right});
}
TypedValue PictureValue(std::string_view bytes) {
    return WithText(ValueKind::Picture, bytes);
}
TypedValue HandleValue(std::string_view bytes) {
    return WithText(ValueKind::HandleBytes, bytes);
}
TypedValue NullValue(ValueKind kind) {
    return {.kind = kind};
}
TypedValue LongArrayValue(std::vector<long> elements) {
    return WithNumbers(ValueKind::LongArray, std::move(elements));
}
TypedValue TextArrayValue(std::vector<std::string> elements) {
    return {.kind = ValueKind::TextArray, .texts = std::move(elements)};
}
TypedValue UnicodeValue(std::string_view utf8) {
    return WithText(ValueKind::UnicodeText, utf8);
}

TypedValue ArrayValue(ValueKind kind, std::vector<TypedValue> elements, long detail) {
    TypedValue array{.kind = kind};
    if (kind == ValueKind::LongArray) {
        for (const TypedValue& element : elements) {
            array.numbers.push_back(element.numbers.at(0));
        }
    } else if (kind == ValueKind::TextArray) {
        for (TypedValue& element : elements) {
            array.texts.push_back(std::move(element.texts.at(0)));
        }
    } else {
        array.inner = std::move(elements);
    }
    if (kind == ValueKind::StringArray || kind == ValueKind::ArrayOfArrays) {
        array.numbers = {detail};
    }
    return array;
}

std::vector<TypedValue> Elements(const TypedValue& array) {
    std::vector<TypedValue> elements;
    if (array.kind == ValueKind::LongArray) {
        for (long number : array.numbers) {
            elements.push_back(LongValue(number));
        }
        return elements;
    }
    if (array.kind == ValueKind::TextArray) {
        for (const std::string& text : array.texts) {
            elements.push_back(TextValue(text));
        }
        return elements;
    }
    return array.inner;
}

TypedValue EmptyValue(ValueKind kind) {
    switch (kind) {
    case ValueKind::Short:
    case ValueKind::Long:
    case ValueKind::Boolean:
    case ValueKind::Time:
        return WithNumbers(kind, {0});
    case ValueKind::Date:
        return DateValue(0, 0, 0);
    case ValueKind::String:
    case ValueKind::Text:
    case ValueKind::UnicodeText:
        return WithText(kind, "");
    case ValueKind::StringArray:
        return ArrayValue(kind, {}, 256);
    case ValueKind::ArrayOfArrays:
        return ArrayValue(kind, {}, static_cast<long>(ValueKind::LongArray));
    default:
        return {.kind = kind};
    }
}

TypedValue Tagged(TypedValue inner) {
    return {.kind = ValueKind::Value, .inner = {std::move(inner)}};
}
TypedValue PointerTo(TypedValue target) {
    return {.kind = ValueKind::Pointer, .inner = {std::move(target)}};
}

std::string Describe(const TypedValue& value) {
    return std::string(KindName(value.kind)) + ContentsText(value);
}

std::ostream& operator<<(std::ostream& out, const TypedValue& value) {
    return out << Describe(value);
}
