#include "platform/ResultCodes.h"
#include "testhost/services/DisplayFormats.h"
#include "testhost/services/Service.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {
static_assert(sizeof(long double) >= 10 && sizeof(REAL_U) == 10, "the processor's 80-bit real");

std::string PascalText(std::span<const unsigned char> string) {
    const size_t length = std::min<size_t>(string[0], string.size() - 1);
    return {reinterpret_cast<const char*>(&string[1]), length};
}

// The text of a value whose type is in `field`, nothing for an unknown type or format number. The
// format is in `name`, for dates and times its number in param1.
std::optional<std::string> Format(ServiceCall& call) {
    const CallFields& fields = call.fields;
    const std::string format = PascalText(fields.name);
    switch (fields.field) {
    case ValueType::Real:
        return FormatNumber(fields.value.real.value, format);
    case ValueType::Long:
        return FormatNumber(static_cast<double>(fields.value.number), format);
    case ValueType::Boolean:
        return FormatBoolean(fields.value.small != 0, format);
    case ValueType::String:
        return FormatString(PascalText(call.valueText), format);
    case ValueType::Date:
        return FormatDate(fields.value.date, fields.param1);
    case ValueType::Time:
        return FormatTime(fields.value.number, fields.param1);
    default:
        call.host.Report("selector 47 (FormatValue): there is no text of a value of type " +
                         std::to_string(fields.field) + ".");
        return std::nullopt;
    }
}

void FormatValue(ServiceCall& call) {
    const std::optional<std::string> text = Format(call);
    if (text) {
        StorePascal(call.valueText, *text);
    }
    call.fields.error = text ? ResultCode::NoError : ResultCode::BadParameter;
}

// The 64-bit real in the first 8 bytes of the slot, the 80-bit one in all 10.
void Widen(ServiceCall& call) {
    const long double wide = call.fields.value.real.value;
    std::memcpy(&call.fields.value.real, &wide, sizeof(REAL_U));
}

void Narrow(ServiceCall& call) {
    long double wide = 0;
    std::memcpy(&wide, &call.fields.value.real, sizeof(REAL_U));
    call.fields.value.real = {static_cast<double>(wide), {}};
}
} // namespace

std::span<const Service> FormatServices() {
    static constexpr Service services[] = {
        {Select("FormatValue"),
         RecordField::Field | RecordField::Name | RecordField::Param1 | RecordField::ValueReal |
             RecordField::ValueDate | RecordField::ValueNumber | RecordField::ValueSmall |
             RecordField::ValueText,
         FormatValue},
        {Select("SwapReal64To80"), RecordField::ValueReal, Widen},
        {Select("SwapReal80To64"), RecordField::ValueReal, Narrow},
    };
    return services;
}
