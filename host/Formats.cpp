#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"
#include "shell/Strings.h"

#include <algorithm>

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

constexpr long MaxValueText = sizeof(ParameterBlock::valueText) - 1;

/// Sends a call that holds its value; the text goes into `out`, which is empty on error.
OSErr Send(HostCall& call, unsigned char type, unsigned char* out) {
    call->field = type;
    call.Send();
    out[0] = 0;
    if (call->error == ResultCode::NoError) {
        unsigned char* const text = call.ValueText();
        text[0] = static_cast<unsigned char>(std::min<long>(text[0], MaxValueText));
        _CopyPStr(text, out);
    }
    return call->error;
}

OSErr SendWithFormat(HostCall& call, unsigned char type, const unsigned char* format,
                     unsigned char* out) {
    if (format != nullptr) {
        _CopyPStr(format, call->name);
    }
    return Send(call, type, out);
}

OSErr SwapReal(Selector selector, REAL_U* real) {
    HostCall call(selector);
    call->value.real = *real;
    call.Send();
    if (call->error == ResultCode::NoError) {
        *real = call->value.real;
    }
    return call->error;
}

} // namespace

OSErr FourD::Long2String(long value, unsigned char* format, unsigned char* out) {
    HostCall call(Select("FormatValue"));
    call->value.number = value;
    return SendWithFormat(call, ValueType::Long, format, out);
}

OSErr FourD::REAL2String(REAL_U value, unsigned char* format, unsigned char* out) {
    HostCall call(Select("FormatValue"));
    call->value.real = value;
    return SendWithFormat(call, ValueType::Real, format, out);
}

OSErr FourD::Double2String(double value, unsigned char* format, unsigned char* out) {
    return REAL2String({value, {}}, format, out);
}

OSErr FourD::Boolean2String(unsigned char value, unsigned char* format, unsigned char* out) {
    HostCall call(Select("FormatValue"));
    call->value.small = value;
    return SendWithFormat(call, ValueType::Boolean, format, out);
}

OSErr FourD::String2String(unsigned char* text, unsigned char* format, unsigned char* out) {
    if (text[0] > MaxValueText) {
        // The record cannot hold it, and cutting it would lose characters: it stays as it is.
        _CopyPStr(text, out);
        return ResultCode::NoError;
    }
    HostCall call(Select("FormatValue"));
    _CopyPStr(text, call.ValueText());
    return SendWithFormat(call, ValueType::String, format, out);
}

OSErr FourD::Date2String(DateBlock* date, long format, unsigned char* out) {
    HostCall call(Select("FormatValue"));
    call->value.date = *date;
    call->param1 = format;
    return Send(call, ValueType::Date, out);
}

OSErr FourD::Time2String(long seconds, long format, unsigned char* out) {
    HostCall call(Select("FormatValue"));
    call->value.number = seconds;
    call->param1 = format;
    return Send(call, ValueType::Time, out);
}

OSErr FourD::SwapReal64To80(REAL_U* real) {
    return SwapReal(Select("SwapReal64To80"), real);
}

OSErr FourD::SwapReal80To64(REAL_U* real) {
    return SwapReal(Select("SwapReal80To64"), real);
}
