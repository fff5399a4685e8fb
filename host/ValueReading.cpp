// Reading a value's number, truth or date. Each switch names the types that it takes.

#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "shell/base/Strings.h"

#include <cstdlib>

namespace {

/// The first 255 bytes of a text or string block, terminated.
struct LeadingText {
    explicit LeadingText(ValueBlock* block) {
        Str255 string;
        if (block->type == ValueType::Text) {
            TextToString(&block->text, string, nullptr);
        } else {
            _CopyPStr(block->string.string, string);
        }
        _CopyP2CStr(string, characters);
    }
    char characters[256];
};

} // namespace

long Value2Long(ValueBlock* block, long* out) {
    *out = 0;
    switch (block->type) {
    case ValueType::Real:
        *out = REALToLong(block->real);
        return ResultCode::NoError;
    case ValueType::Text:
    case ValueType::String:
        *out = std::atol(LeadingText(block).characters);
        return ResultCode::NoError;
    case ValueType::Boolean:
        *out = block->boolean;
        return ResultCode::NoError;
    case ValueType::Long:
    case ValueType::Time:
        *out = block->number;
        return ResultCode::NoError;
    case ValueType::Date: // is no number
        return ResultCode::NoError;
    default:
        return ResultCode::UnsupportedConversion;
    }
}

long Value2NativeReal(ValueBlock* block, double* out) {
    *out = 0;
    switch (block->type) {
    case ValueType::Real:
        *out = block->real.value;
        return ResultCode::NoError;
    case ValueType::Text:
    case ValueType::String:
        *out = std::atof(LeadingText(block).characters);
        return ResultCode::NoError;
    default: { // what else has a number has a whole one
        long number = 0;
        const long error = Value2Long(block, &number);
        *out = static_cast<double>(number);
        return error;
    }
    }
}

long Value2REAL(ValueBlock* block, REAL_U* out) {
    *out = {};
    if (block->type == ValueType::Real) {
        *out = block->real;
        return ResultCode::NoError;
    }
    double value = 0;
    const long error = Value2NativeReal(block, &value);
    out->value = value;
    return error;
}

long Value2Boolean(ValueBlock* block, unsigned char* out) {
    const DateBlock& date = block->date;
    switch (block->type) {
    case ValueType::Boolean:
        *out = block->boolean;
        return ResultCode::NoError;
    case ValueType::Text:
        *out = block->text.length != 0 ? 1 : 0;
        return ResultCode::NoError;
    case ValueType::String:
        *out = block->string.string[0] != 0 ? 1 : 0;
        return ResultCode::NoError;
    case ValueType::Date:
        *out = date.day != 0 && date.month != 0 && date.year != 0 ? 1 : 0;
        return ResultCode::NoError;
    default: { // what else has a truth has a number
        long number = 0;
        const long error = Value2Long(block, &number);
        *out = number != 0 ? 1 : 0;
        return error;
    }
    }
}

long Value2Date(ValueBlock* block, DateBlock* out) {
    *out = {};
    if (block->type == ValueType::Date) {
        *out = block->date;
        return ResultCode::NoError;
    }
    unsigned char truth = 0; // what has a truth has a date, if only the empty one
    return Value2Boolean(block, &truth);
}
