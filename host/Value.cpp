// Typed values: small conversions, filling a block and freeing one.

#include "host/Value.h"

#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <limits>

namespace {

/// The whole part of a real. What does not fit gives what the processor's own conversion gives,
/// whose C++ form would be undefined.
template <typename Integer>
Integer Truncated(double value) {
    using Limits = std::numeric_limits<Integer>;
    const bool fits = value > Limits::min() - 1.0 && value < Limits::max() + 1.0;
    return fits ? static_cast<Integer>(value) : Limits::min();
}

/// Stores a number in the form that the block's type takes.
long StoreNumber(const REAL_U& real, long whole, unsigned char truth, ValueBlock* block) {
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
        return ResultCode::UnsupportedConversion;
    }
}

unsigned char Truth(long whole) {
    return whole != 0 ? 1 : 0;
}

} // namespace

long REALToLong(REAL_U value) {
    return Truncated<long>(value.value);
}

REAL_U LongToREAL(long value) {
    return {static_cast<double>(value), {}};
}

short REALToShort(REAL_U value) {
    return Truncated<short>(value.value);
}

REAL_U ShortToREAL(short value) {
    return LongToREAL(value);
}

long Date4D2LongDateTime(DateBlock* date, long long* seconds) {
    LongDateRec record = {};
    record.year = date->year;
    record.month = date->month;
    record.day = date->day;
    LongDateToSeconds(&record, seconds);
    return ResultCode::NoError;
}

long LongDateTime2Date4D(long long seconds, DateBlock* date) {
    LongDateRec record = {};
    LongSecondsToDate(&seconds, &record);
    *date = {record.day, record.month, record.year};
    return ResultCode::NoError;
}

ValueBlock EmptyValueBlock(short type) {
    ValueBlock value{};
    value.type = static_cast<unsigned char>(type);
    if (type == ValueType::String) {
        value.string.capacity = 255;
    }
    return value;
}

long REAL2ValueBlock(REAL_U value, ValueBlock* block) {
    const long whole = REALToLong(value);
    return StoreNumber(value, whole, Truth(whole), block);
}

long NativeReal2ValueBlock(double value, ValueBlock* block) {
    REAL_U real = {value, {}};
    if (block->type == ValueType::Real) {
        std::copy_n(block->real.unused, sizeof real.unused, real.unused);
    }
    return REAL2ValueBlock(real, block);
}

long Long2ValueBlock(long value, ValueBlock* block) {
    return StoreNumber(LongToREAL(value), value, Truth(value), block);
}

long Boolean2ValueBlock(unsigned char value, ValueBlock* block) {
    return StoreNumber(LongToREAL(value), value, value, block);
}

long Time2ValueBlock(long seconds, ValueBlock* block) {
    return Long2ValueBlock(seconds, block);
}

long Date2ValueBlock(DateBlock*, ValueBlock* block) {
    // Deliberate, here and for strings: callers only test whether the type fits.
    return block->type == ValueType::Date ? ResultCode::NoError : ResultCode::UnsupportedConversion;
}

long String2ValueBlock(StringBlock*, ValueBlock* block) {
    const bool fits = block->type == ValueType::Text || block->type == ValueType::String;
    return fits ? ResultCode::NoError : ResultCode::UnsupportedConversion;
}

long Text2ValueBlock(TextBlock* text, ValueBlock* block) {
    if (block->type == ValueType::Text) {
        // The handle's size counts, not the record's length: text handles are exactly sized.
        auto& target = reinterpret_cast<CTextBlock&>(block->text);
        const long error = target.SetTo(text->text);
        if (error != ResultCode::NoError) {
            target.SetLength(0); // a record must not claim bytes that it lacks
        }
        return error;
    }
    if (block->type != ValueType::String) {
        return ResultCode::UnsupportedConversion;
    }
    Str255 string;
    TextToString(text, string, nullptr);
    const long length = std::clamp<long>(block->string.capacity, 0, string[0]);
    string[0] = static_cast<unsigned char>(length);
    _CopyPStr(string, block->string.string);
    return ResultCode::NoError;
}

long CoerseValueBlock(ValueBlock* from, ValueBlock* to) {
    switch (from->type) {
    case ValueType::Real:
        return REAL2ValueBlock(from->real, to);
    case ValueType::Boolean:
        return Boolean2ValueBlock(from->boolean, to);
    case ValueType::Long:
        return Long2ValueBlock(from->number, to);
    case ValueType::Text:
    case ValueType::Date:
    case ValueType::Time: // deliberate: a time is not carried over
    case ValueType::String:
        return ResultCode::NoError;
    default:
        return ResultCode::UnsupportedConversion;
    }
}

long FreeValueBlock(ValueBlock* block) {
    if (block == nullptr) {
        return ResultCode::NoError;
    }
    switch (block->type) {
    case ValueType::Text:
        DisposeIfThere(block->text.text);
        block->text = {};
        break;
    case ValueType::Picture:
        if (gHost.HasEngine()) {
            if (block->picture != nullptr) {
                FourD::DisposePictureV11(block->picture);
            }
            block->picture = nullptr;
            break;
        }
        [[fallthrough]]; // on older hosts a picture is laid out as a BLOB
    case ValueType::Blob:
        DisposeIfThere(block->blob.data);
        block->blob = {};
        break;
    case ValueType::UnicodeText:
        if (block->unicode.units != nullptr) {
            FourD::DisposeFDStringBlock(&block->unicode);
        }
        block->unicode = {};
        break;
    default:
        break;
    }
    return ResultCode::NoError;
}
