// Strings and texts: made of each other, and of a value.

#include "data/blocks/TextBlock.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <span>

#include <windows.h>

namespace {

unsigned char noFormat[] = {0};

// The names of the host's display formats, number 1 first.
constexpr const char* dateFormats[] = {
    "Short",
    "Abbreviated",
    "Long",
    "mm/dd/yyyy",
    "Month Date, Year",
    "Abbr: Month Date, Year",
    "mm/dd/yyyy Forced",
};
constexpr const char* timeFormats[] = {
    "HH:MM:SS", "HH:MM", "Hour Min Sec", "Hour Min", "HH:MM AM/PM",
};

bool IsGiven(const unsigned char* format) {
    return format != nullptr && format[0] != 0;
}

/// The number of a display format that is given by digit or name; 0 for no or another one.
long FormatNumber(const unsigned char* format, std::span<const char* const> names) {
    if (!IsGiven(format)) {
        return 0;
    }
    const auto count = static_cast<long>(names.size());
    const long digit = format[1] - '0';
    if (format[0] == 1 && digit >= 1 && digit <= count) {
        return digit;
    }
    const auto found = std::ranges::find_if(
        names, [format](const char* name) { return IUEqualStringPC(format, name) != 0; });
    return found != names.end() ? found - names.begin() + 1 : 0;
}

/// Bytes of memory, null when there are none to be had; released at the end of the scope.
using Buffer = std::unique_ptr<char[]>;

Buffer NewBuffer(std::size_t size) {
    return Buffer(new (std::nothrow) char[size]);
}

/// Zero-terminated text in the system ANSI code page; null when there is none, or no memory.
Buffer AnsiText(const FDStringBlock& string) {
    if (string.length < 1 || string.units == nullptr) {
        return nullptr;
    }
    const auto* units = reinterpret_cast<const wchar_t*>(string.units);
    const auto convert = [&](char* target, int room) {
        return WideCharToMultiByte(CP_ACP, 0, units, string.length, target, room, nullptr, nullptr);
    };
    const int size = convert(nullptr, 0);
    if (size < 1) {
        return nullptr;
    }
    Buffer text = NewBuffer(static_cast<std::size_t>(size) + 1);
    if (text != nullptr) {
        text[static_cast<std::size_t>(std::max(convert(text.get(), size), 0))] = '\0';
    }
    return text;
}

/// A text block laid out as the host's record.
CTextBlock& Operations(TextBlock* text) {
    return reinterpret_cast<CTextBlock&>(*text);
}

/// Without memory the text is empty, which is no error: a record must not claim bytes that it
/// lacks.
template <typename Set>
void SetOrEmpty(TextBlock* text, Set set) {
    if (set(Operations(text)) != ResultCode::NoError) {
        Operations(text).SetLength(0);
    }
}

/// UTF-16 as a Pascal string; it stays empty when it cannot be had, which is no error.
void UnicodeToString(const FDStringBlock& string, unsigned char* out) {
    const Buffer text = AnsiText(string);
    if (text == nullptr) {
        return;
    }
    Str255 ansi;
    _CopyC2PStr(text.get(), ansi);
    if (FourD::AnsiToMacPString(ansi, out) != ResultCode::NoError) {
        out[0] = 0;
    }
}

/// The same into an empty text.
void UnicodeToText(const FDStringBlock& string, TextBlock* text) {
    const Buffer ansi = AnsiText(string);
    if (ansi == nullptr) {
        return;
    }
    const Buffer characters = NewBuffer(std::strlen(ansi.get()) + 1);
    if (characters == nullptr) {
        return;
    }
    characters[0] = '\0';
    if (FourD::AnsiToMacCString(ansi.get(), characters.get()) != ResultCode::NoError) {
        return;
    }
    // Measured here, because SetTo measures in 16 bits.
    const std::size_t length = std::strlen(characters.get());
    const auto taken = static_cast<short>(std::min<std::size_t>(length, CTextBlock::MaxLength));
    SetOrEmpty(text, [&](CTextBlock& target) { return target.SetTo(characters.get(), taken); });
}

/// Copies a string, formatted by the host when there is a format.
long FormatString(unsigned char* string, unsigned char* format, unsigned char* out) {
    if (IsGiven(format)) {
        return FourD::String2String(string, format, out);
    }
    _CopyPStr(string, out);
    return ResultCode::NoError;
}

} // namespace

unsigned char IUEqualStringPC(const unsigned char* string, const char* name) {
    Str255 other;
    _CopyC2PStr(name, other);
    return EqualString(string, other, 0, 0);
}

void TextToString(TextBlock* text, unsigned char* out, unsigned char* format) {
    out[0] = 0;
    if (text->length < 1 || text->text == nullptr) {
        return;
    }
    Str255 string;
    Operations(text).CopyTo(string);
    FormatString(string, format, out);
}

void StringToText(unsigned char* in, TextBlock* text, unsigned char* format) {
    Str255 string;
    FormatString(in, format, string);
    const short length = string[0];
    if (text->text == nullptr) {
        text->text = NewHandle(length);
    } else {
        SetHandleSize(text->text, length);
    }
    if (MemError() == ResultCode::NoError) {
        BlockMove(string + 1, *text->text, length);
        text->length = length;
    }
}

long Value2String(ValueBlock* block, unsigned char* out, unsigned char* format) {
    out[0] = 0;
    unsigned char* const hostFormat = format != nullptr ? format : noFormat;
    switch (block->type) {
    case ValueType::String:
        return FormatString(block->string.string, format, out);
    case ValueType::UnicodeText:
        UnicodeToString(block->unicode, out);
        return ResultCode::NoError;
    case ValueType::Text:
        TextToString(&block->text, out, format);
        return ResultCode::NoError;
    case ValueType::Real:
        return FourD::REAL2String(block->real, hostFormat, out);
    case ValueType::Date:
        return FourD::Date2String(&block->date, FormatNumber(format, dateFormats), out);
    case ValueType::Boolean:
        return FourD::Boolean2String(block->boolean, hostFormat, out);
    case ValueType::Long:
        return FourD::Long2String(block->number, hostFormat, out);
    case ValueType::Time:
        return FourD::Time2String(block->number, FormatNumber(format, timeFormats), out);
    default:
        return ResultCode::UnsupportedConversion;
    }
}

long Value2Text(ValueBlock* block, TextBlock* text, unsigned char* format) {
    Operations(text).SetTo("");
    switch (block->type) {
    case ValueType::String:
        StringToText(block->string.string, text, format);
        return ResultCode::NoError;
    case ValueType::UnicodeText:
        UnicodeToText(block->unicode, text);
        return ResultCode::NoError;
    case ValueType::Text:
        SetOrEmpty(text, [&](CTextBlock& target) { return target.SetTo(block->text.text); });
        return ResultCode::NoError;
    default:
        break;
    }
    Str255 string;
    const long error = Value2String(block, string, format);
    if (error == ResultCode::NoError) {
        StringToText(string, text, nullptr);
    }
    return error;
}
