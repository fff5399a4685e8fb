#include "shell/base/TextServices.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstdarg>
#include <cstring>
#include <emmintrin.h>
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

bool IsEnding(char byte) {
    return byte == CarriageReturn || byte == LineFeed;
}

bool IsOneByteKind(long kind) {
    return kind == LineEnding::CR || kind == LineEnding::LF;
}

constexpr long BlockSize = 16;

__m128i LoadBlock(const char* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
}

void StoreBlock(char* to, __m128i block) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), block);
}

/// 0xFF where a byte of the block is `character`, else 0.
__m128i Matches(__m128i block, char character) {
    return _mm_cmpeq_epi8(block, _mm_set1_epi8(character));
}

/// One bit for each byte of what Matches() answers, the first byte's lowest.
unsigned MaskOfMatches(__m128i matches) {
    return static_cast<unsigned>(_mm_movemask_epi8(matches));
}

/// How often a line ending's bytes occur, alone and as a pair.
struct EndingCounts {
    long returns = 0;
    long feeds = 0;
    long pairs = 0; ///< whose two bytes count above, too
};

long SumOfBytes(__m128i bytes) {
    const __m128i halves = _mm_sad_epu8(bytes, _mm_setzero_si128());
    return _mm_cvtsi128_si32(halves) + _mm_extract_epi16(halves, 4);
}

EndingCounts CountEndings(const char* at, const char* end) {
    constexpr long BlocksToOverflow = 255;
    EndingCounts counts;
    // Pairs are found by a second look, one byte further on.
    while (end - at > BlockSize) {
        __m128i returns = _mm_setzero_si128();
        __m128i feeds = _mm_setzero_si128();
        __m128i pairs = _mm_setzero_si128();
        const char* const stop =
            at + std::min((end - at - 1) / BlockSize, BlocksToOverflow) * BlockSize;
        for (; at < stop; at += BlockSize) {
            const __m128i block = LoadBlock(at);
            const __m128i isReturn = Matches(block, CarriageReturn);
            const __m128i precedesFeed = Matches(LoadBlock(at + 1), LineFeed);
            returns = _mm_sub_epi8(returns, isReturn); // a match is -1
            feeds = _mm_sub_epi8(feeds, Matches(block, LineFeed));
            pairs = _mm_sub_epi8(pairs, _mm_and_si128(isReturn, precedesFeed));
        }
        counts.returns += SumOfBytes(returns);
        counts.feeds += SumOfBytes(feeds);
        counts.pairs += SumOfBytes(pairs);
    }
    for (; at < end; ++at) {
        counts.returns += *at == CarriageReturn ? 1 : 0;
        counts.feeds += *at == LineFeed ? 1 : 0;
        counts.pairs += *at == CarriageReturn && at + 1 < end && at[1] == LineFeed ? 1 : 0;
    }
    return counts;
}

/// What is written for a line ending.
struct Ending {
    char bytes[2];
    long size; ///< of these bytes, how many
};

Ending EndingOf(long kind) {
    switch (kind) {
    case LineEnding::CR:
        return {{CarriageReturn}, 1};
    case LineEnding::CRLF:
        return {{CarriageReturn, LineFeed}, 2};
    case LineEnding::LF:
        return {{LineFeed}, 1};
    default:
        return {{}, 0};
    }
}

/// Copies the text with every line ending replaced; answers how many bytes that makes. There is
/// room for `room` bytes, all of which may be written.
long CopyWithEndings(const char* from, const char* end, char* to, long room, const Ending& ending) {
    char* const start = to;
    const char* const roomEnd = to + room;
    // A block is looked at with the byte behind it, and makes two blocks at most. What lies between
    // line endings is written as a whole block, which the next piece overwrites where it ends.
    for (; end - from >= 2 * BlockSize && roomEnd - to >= 3 * BlockSize; from += BlockSize) {
        const __m128i block = LoadBlock(from);
        const __m128i isReturn = Matches(block, CarriageReturn);
        StoreBlock(to, block);
        unsigned endings = MaskOfMatches(_mm_or_si128(isReturn, Matches(block, LineFeed)));
        if (endings == 0) {
            to += BlockSize;
            continue;
        }
        const unsigned pairs =
            MaskOfMatches(_mm_and_si128(isReturn, Matches(LoadBlock(from + 1), LineFeed)));
        long done = 0;
        for (; endings != 0; endings &= endings - 1) {
            const int at = std::countr_zero(endings);
            to += at - done;
            std::memcpy(to, ending.bytes, sizeof ending.bytes);
            to += (pairs >> at & 1) != 0 ? 0 : ending.size; // a pair is written at its second byte
            done = at + 1;
            StoreBlock(to, LoadBlock(from + done));
        }
        to += BlockSize - done;
    }
    for (; from < end; ++from) {
        if (!IsEnding(*from)) {
            *to++ = *from;
        } else if (*from != CarriageReturn || end - from == 1 || from[1] != LineFeed) {
            to = std::copy_n(ending.bytes, ending.size, to);
        }
    }
    return static_cast<long>(to - start);
}

void ReplaceBytes(char* at, char* end, char from, char to) {
    for (; end - at >= BlockSize; at += BlockSize) {
        const __m128i block = LoadBlock(at);
        const __m128i found = Matches(block, from);
        StoreBlock(at, _mm_or_si128(_mm_andnot_si128(found, block),
                                    _mm_and_si128(found, _mm_set1_epi8(to))));
    }
    std::replace(at, end, from, to);
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
    const EndingCounts counts =
        text != nullptr ? CountEndings(*text, *text + GetHandleSize(text)) : EndingCounts{};
    if (count != nullptr) {
        *count = counts.returns + counts.feeds - counts.pairs;
    }
    long kinds = 0;
    if (counts.returns > counts.pairs) {
        kinds |= LineEnding::CR;
    }
    if (counts.pairs > 0) {
        kinds |= LineEnding::CRLF;
    }
    if (counts.feeds > counts.pairs) {
        kinds |= LineEnding::LF;
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
    const Ending ending = EndingOf(kind);
    if (IsOneByteKind(present) && IsOneByteKind(kind)) {
        ReplaceBytes(*text, *text + size, EndingOf(present).bytes[0], ending.bytes[0]);
        return ResultCode::NoError;
    }
    const long long room = size + static_cast<long long>(count) * ending.size;
    Handle const rebuilt =
        room <= std::numeric_limits<long>::max() ? NewHandle(static_cast<long>(room)) : nullptr;
    if (rebuilt == nullptr) {
        return ResultCode::NoError; // deliberately silent: callers go on with the text as it is
    }
    const long length =
        CopyWithEndings(*text, *text + size, *rebuilt, static_cast<long>(room), ending);
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
