#include "shell/base/TextServices.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <cctype>
#include <cstdarg>
#include <cstring>
#include <limits>

namespace {

constexpr char CarriageReturn = 13;
constexpr char LineFeed = 10;

/// Holds the longest text that callers format, a long path among words. What does not fit is cut,
/// and only the first 255 characters are used.
char formatted[4096];

/// Writes the code's characters as `write` has them, and answers how many characters that makes.
template <typename Write>
long ForEachCharacter(OSType code, char* out, Write write) {
    long length = 0;
    for (int shift = 24; shift >= 0; shift -= 8) {
        length += write(static_cast<unsigned char>(code >> shift), out + length);
    }
    out[length] = '\0';
    return length;
}

long WriteCharacter(unsigned char character, char* out) {
    *out = static_cast<char>(character);
    return 1;
}

long WriteForDisplay(unsigned char character, char* out) {
    if (character >= 32 && character <= 126) {
        return WriteCharacter(character, out);
    }
    return FormatText(out, 5, "\\x%02X", character);
}

/// Moves `length` bytes, which may include zeros, into a Pascal string.
void StorePascal(const char* bytes, long length, unsigned char* out) {
    out[0] = static_cast<unsigned char>(length);
    std::memcpy(out + 1, bytes, static_cast<std::size_t>(length));
}

int Upper(int character) {
    return std::toupper(character);
}

int Lower(int character) {
    return std::tolower(character);
}

/// Changes the case of `length` bytes.
void ChangeCase(unsigned char* bytes, std::size_t length, int (*change)(int)) {
    std::transform(bytes, bytes + length, bytes, [change](unsigned char byte) {
        return static_cast<unsigned char>(change(byte));
    });
}

void ChangeCase(char* text, int (*change)(int)) {
    if (text != nullptr) {
        ChangeCase(reinterpret_cast<unsigned char*>(text), std::strlen(text), change);
    }
}

void ChangeCase(unsigned char* text, int (*change)(int)) {
    if (text != nullptr) {
        ChangeCase(text + 1, text[0], change);
    }
}

/// The kind of line ending at `at`, 0 when there is none. A CRLF takes two bytes.
long LineEndingAt(const char* at, const char* end) {
    if (*at == LineFeed) {
        return LineEnding::LF;
    }
    if (*at != CarriageReturn) {
        return 0;
    }
    return at + 1 < end && at[1] == LineFeed ? LineEnding::CRLF : LineEnding::CR;
}

bool IsOneByteKind(long kind) {
    return kind == LineEnding::CR || kind == LineEnding::LF;
}

/// Copies the text with every line ending replaced; answers how many bytes that makes.
long CopyWithEndings(const char* from, const char* end, char* to, long kind) {
    char* const start = to;
    while (from < end) {
        const long present = LineEndingAt(from, end);
        if (present == 0) {
            *to++ = *from++;
            continue;
        }
        if (kind == LineEnding::CR || kind == LineEnding::CRLF) {
            *to++ = CarriageReturn;
        }
        if (kind == LineEnding::LF || kind == LineEnding::CRLF) {
            *to++ = LineFeed;
        }
        from += present == LineEnding::CRLF ? 2 : 1;
    }
    return static_cast<long>(to - start);
}

/// Bytes that the rebuilt text is given per line ending.
long RoomPerEnding(long kind) {
    if (kind == LineEnding::CRLF) {
        return 2;
    }
    return IsOneByteKind(kind) ? 1 : 0;
}

unsigned long MaskOf(unsigned long number) {
    return 1UL << (31 - number % 32);
}

} // namespace

void _OSTypeToString(OSType code, unsigned char* out) {
    char text[5];
    StorePascal(text, code != 0 ? ForEachCharacter(code, text, WriteCharacter) : 0, out);
}

void _OSTypeToCString(OSType code, char* out) {
    out[0] = '\0';
    if (code != 0) {
        ForEachCharacter(code, out, WriteCharacter);
    }
}

OSErr _OSType2CStr(OSType code, char* out) {
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    ForEachCharacter(code, out, WriteCharacter);
    return ResultCode::NoError;
}

void _OSTypeToDisplayString(OSType code, unsigned char* out) {
    char text[17];
    _OSTypeToDisplayCString(code, text);
    _CopyC2PStr(text, out);
}

void _OSTypeToDisplayCString(OSType code, char* out) {
    out[0] = '\0';
    if (code != 0) {
        ForEachCharacter(code, out, WriteForDisplay);
    }
}

OSType _StringToOSType(const unsigned char* text) {
    if (text[0] < 4) {
        return 0;
    }
    OSType code = 0;
    for (int i = 1; i <= 4; ++i) {
        code = code << 8 | text[i];
    }
    return code;
}

OSType _CStringToOSType(const char* text) {
    Str255 string;
    _CopyC2PStrN(text, string, 4);
    return _StringToOSType(string);
}

long _FormatPWithCStrV(unsigned char* out, const char* format, std::va_list arguments) {
    formatted[0] = '\0';
    FormatTextV(formatted, sizeof formatted, format, arguments);
    _CopyC2PStr(formatted, out);
    return out[0];
}

long _FormatPWithCStr(unsigned char* out, const char* format, ...) {
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    const long length = _FormatPWithCStrV(out, format, arguments);
    va_end(arguments);
    return length;
}

long _FormatPWithPStr(unsigned char* out, const unsigned char* format, ...) {
    char text[256];
    _CopyP2CStr(format, text);
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    const long length = _FormatPWithCStrV(out, text, arguments);
    va_end(arguments);
    return length;
}

void _UpperCStr(char* text) {
    ChangeCase(text, Upper);
}

void _LowerCStr(char* text) {
    ChangeCase(text, Lower);
}

void _UpperPStr(unsigned char* text) {
    ChangeCase(text, Upper);
}

void _LowerPStr(unsigned char* text) {
    ChangeCase(text, Lower);
}

long _GetByteSizeString(char* out, unsigned long bytes) {
    constexpr float OverMegabyte = 9.536743e-7F; // one over 1,048,576
    constexpr double OverKilobyte = 0.0009765625;
    if (bytes < 0x400) {
        // Deliberate: the letter l behind the number is what has always been shown.
        return FormatText(out, 20, "%ul B", static_cast<unsigned>(bytes));
    }
    const bool large = bytes >= 0x100000;
    char number[16];
    FormatText(number, sizeof number, "%.1f",
               bytes * (large ? double{OverMegabyte} : OverKilobyte));
    _TrimDoubleString(number);
    return FormatText(out, 20, large ? "%s MB" : "%s KB", number);
}

void _TrimDoubleString(char* text) {
    std::size_t length = std::strlen(text);
    for (const char trimmed : {'0', '.'}) {
        while (length > 0 && text[length - 1] == trimmed) {
            text[--length] = '\0';
        }
    }
}

long _GetHandleLineEndings(Handle text, long* count) {
    long kinds = 0;
    long endings = 0;
    if (text != nullptr) {
        const char* const end = *text + GetHandleSize(text);
        for (const char* at = *text; at < end; ++at) {
            const long kind = LineEndingAt(at, end);
            kinds |= kind;
            endings += kind != 0 ? 1 : 0;
            at += kind == LineEnding::CRLF ? 1 : 0;
        }
    }
    if (count != nullptr) {
        *count = endings;
    }
    return kinds;
}

long _SetHandleLineEndings(Handle text, long kind) {
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    long count = 0;
    const long present = _GetHandleLineEndings(text, &count);
    if (present == 0 || present == kind) {
        return ResultCode::NoError;
    }
    const long size = GetHandleSize(text);
    if (IsOneByteKind(present) && IsOneByteKind(kind)) {
        const char target = kind == LineEnding::CR ? CarriageReturn : LineFeed;
        std::replace_if(
            *text, *text + size,
            [](char byte) { return byte == CarriageReturn || byte == LineFeed; }, target);
        return ResultCode::NoError;
    }
    const long long room = size + static_cast<long long>(count) * RoomPerEnding(kind);
    Handle const rebuilt =
        room <= std::numeric_limits<long>::max() ? NewHandle(static_cast<long>(room)) : nullptr;
    if (rebuilt == nullptr) {
        return ResultCode::NoError; // deliberately silent: callers go on with the text as it is
    }
    const long length = CopyWithEndings(*text, *text + size, *rebuilt, kind);
    SetHandleSize(text, length);
    const long error = MemError();
    if (error == ResultCode::NoError) {
        BlockMove(*rebuilt, *text, length);
    }
    DisposeHandle(rebuilt);
    return error;
}

bool _LongBitTst(const unsigned long* bits, unsigned long number) {
    return (bits[number / 32] & MaskOf(number)) != 0;
}

void _LongBitSet(unsigned long* bits, unsigned long number) {
    bits[number / 32] |= MaskOf(number);
}

void _LongBitClear(unsigned long* bits, unsigned long number) {
    bits[number / 32] &= ~MaskOf(number);
}

void _LongBitChange(unsigned long* bits, unsigned long number) {
    bits[number / 32] ^= MaskOf(number);
}
