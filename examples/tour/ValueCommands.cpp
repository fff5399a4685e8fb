#include "data/Array.h"
#include "examples/tour/Tour.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

#include <utility>

namespace {

void Describe(const ValueBlock& value, char* text, std::size_t size) {
    switch (value.type) {
    case ValueType::Real:
        FormatText(text, size, "real %g", value.real.value);
        break;
    case ValueType::Text:
        FormatText(text, size, "text of %d bytes", value.text.length);
        break;
    case ValueType::Date:
        FormatText(text, size, "date %04d-%02d-%02d", value.date.year, value.date.month,
                   value.date.day);
        break;
    case ValueType::Boolean:
        FormatText(text, size, "boolean %s", value.boolean != 0 ? "true" : "false");
        break;
    case ValueType::Long:
        FormatText(text, size, "long %ld", value.number);
        break;
    case ValueType::Time:
        FormatText(text, size, "time %02ld:%02ld:%02ld", value.number / 3600,
                   value.number / 60 % 60, value.number % 60);
        break;
    case ValueType::String:
        FormatText(text, size, "string of %d characters", value.string.string[0]);
        break;
    default:
        FormatText(text, size, "value of kind %d", value.type);
        break;
    }
}

} // namespace

namespace Tour {

void DescribeValue(CXParam* params, CXResult* result) {
    ValueBlock value;
    params[0].GetVarRec(value);
    char text[80];
    Describe(value, text, sizeof text);
    Str255 description;
    _CopyC2PStr(text, description);
    result->SetString(description);
}

void SumLongs(CXParam* params, CXResult* result) {
    const CArray& array = *params[0].GetArrayPtr();
    unsigned long sum = 0; // wraps around, as the host's longs do
    const std::span<const long> elements = array.Elements<long>();
    for (size_t index = 1; index < elements.size(); ++index) { // 0 is no element of the developer's
        sum += static_cast<unsigned long>(elements[index]);
    }
    result->SetLong(static_cast<long>(sum));
}

void SwapLongs(CXParam* params, CXResult* result) {
    auto* const first = static_cast<long*>(params[0].GetPointerPtr());
    auto* const second = static_cast<long*>(params[1].GetPointerPtr());
    const bool both = first != nullptr && second != nullptr;
    if (both) {
        std::swap(*first, *second);
    }
    result->SetBoolean(both ? 1 : 0);
}

} // namespace Tour
