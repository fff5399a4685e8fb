#include "host/Call.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "shell/base/Strings.h"

// Values as text: selector 47, a classic call on every host. The record says
//
//     field      type of the value (ValueType): real, date, boolean, long, time or string
//     value      the value in the slot of its kind: reals in `real`, dates in `date`, longs and
//                times in `number`, booleans in `small`, strings in the Pascal string that ends
//                the value area
//     name       display format of reals, longs, booleans and strings
//     param1     number of the display format of dates and times
//
// and the formatted text comes back in the Pascal string that ends the value area.

namespace {

/// `dateFormat` is the number of a date's or time's format.
struct FormatCall : HostCall {
    FormatCall(unsigned char type, const unsigned char* format, long dateFormat = 0)
        : HostCall(Select("FormatValue")) {
        (*this)->field = type;
        (*this)->param1 = dateFormat;
        if (format != nullptr) {
            PutName(format);
        }
    }
};

OSErr SwapReal(Selector selector, REAL_U* real) {
    if (real == nullptr) {
        return ResultCode::BadParameter;
    }
    HostCall call(selector);
    call->value.real = *real;
    return call.SendThen(real, [&] { *real = call->value.real; });
}

} // namespace

OSErr FourD::Long2String(long value, unsigned char* format, unsigned char* out) {
    FormatCall call(ValueType::Long, format);
    call->value.number = value;
    return call.SendForText(out);
}

OSErr FourD::REAL2String(REAL_U value, unsigned char* format, unsigned char* out) {
    FormatCall call(ValueType::Real, format);
    call->value.real = value;
    return call.SendForText(out);
}

OSErr FourD::Double2String(double value, unsigned char* format, unsigned char* out) {
    return REAL2String({value, {}}, format, out);
}

OSErr FourD::Boolean2String(unsigned char value, unsigned char* format, unsigned char* out) {
    FormatCall call(ValueType::Boolean, format);
    call->value.small = value;
    return call.SendForText(out);
}

OSErr FourD::String2String(unsigned char* text, unsigned char* format, unsigned char* out) {
    if (text != nullptr && out != nullptr && text[0] >= sizeof(ParameterBlock::valueText)) {
        // The record cannot hold it, and cutting it would lose characters: it stays as it is.
        _CopyPStr(text, out);
        return ResultCode::NoError;
    }
    return FormatCall(ValueType::String, format).PutText(text).SendForText(out);
}

OSErr FourD::Date2String(DateBlock* date, long format, unsigned char* out) {
    FormatCall call(ValueType::Date, nullptr, format);
    if (date != nullptr) {
        call->value.date = *date;
    }
    return call.Require(date).SendForText(out);
}

OSErr FourD::Time2String(long seconds, long format, unsigned char* out) {
    FormatCall call(ValueType::Time, nullptr, format);
    call->value.number = seconds;
    return call.SendForText(out);
}

OSErr FourD::SwapReal64To80(REAL_U* real) {
    return SwapReal(Select("SwapReal64To80"), real);
}

OSErr FourD::SwapReal80To64(REAL_U* real) {
    return SwapReal(Select("SwapReal80To64"), real);
}
