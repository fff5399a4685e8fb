#include "shell/base/Strings.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t longestPString = 255;

// Bytes are moved before the length byte is written: it may lie within the source.
void SetPStr(const void* characters, std::size_t length, unsigned char* dst) {
    std::memmove(dst + 1, characters, length);
    dst[0] = static_cast<unsigned char>(length);
}

void AppendToPStr(const void* characters, std::size_t length, unsigned char* dst) {
    const std::size_t before = dst[0];
    const std::size_t added = std::min(length, longestPString - before);
    std::memmove(dst + 1 + before, characters, added);
    dst[0] = static_cast<unsigned char>(before + added);
}

} // namespace

void _CopyPStr(const unsigned char* src, unsigned char* dst) {
    SetPStr(src + 1, src[0], dst);
}

void _CatPStr(const unsigned char* src, unsigned char* dst) {
    AppendToPStr(src + 1, src[0], dst);
}

int _ComparePStrings(const unsigned char* a, const unsigned char* b) {
    const int order = std::memcmp(a + 1, b + 1, std::min(a[0], b[0]));
    const int difference = order != 0 ? order : a[0] - b[0];
    return (difference > 0) - (difference < 0);
}

bool _PStringsEqual(const unsigned char* a, const unsigned char* b) {
    return _ComparePStrings(a, b) == 0;
}

void _CopyCStr(const char* src, char* dst) {
    std::memmove(dst, src, std::strlen(src) + 1);
}

void _CopyCStrN(const char* src, char* dst, long size) {
    const auto limit = static_cast<std::size_t>(std::max(size, 0L));
    const std::size_t count = std::min(std::strlen(src) + 1, limit);
    std::memmove(dst, src, count);
    // Deliberately one byte beyond those copied, dst[size] at the latest: callers size their
    // buffers for `size` characters and a terminator.
    dst[count] = 0;
}

void _CatCStr(const char* src, char* dst) {
    _CopyCStr(src, dst + std::strlen(dst));
}

void _CopyC2PStr(const char* src, unsigned char* dst) {
    SetPStr(src, std::min(std::strlen(src), longestPString), dst);
}

void _CatC2PStr(const char* src, unsigned char* dst) {
    AppendToPStr(src, std::strlen(src), dst);
}

void _CopyC2PStrN(const char* src, unsigned char* dst, short max) {
    const std::size_t limit = std::min<std::size_t>(std::max<short>(max, 0), longestPString);
    SetPStr(src, std::min(std::strlen(src), limit), dst);
}

void _CopyP2CStr(const unsigned char* src, char* dst) {
    const std::size_t length = src[0]; // read first: in place, the move overwrites it
    std::memmove(dst, src + 1, length);
    dst[length] = 0;
}

void _CatP2CStr(const unsigned char* src, char* dst) {
    _CopyP2CStr(src, dst + std::strlen(dst));
}

void _CharToHex(unsigned char value, char* out) {
    static constexpr char digits[] = "0123456789ABCDEF";
    out[0] = digits[value >> 4];
    out[1] = digits[value & 15];
    out[2] = 0;
}

void _ShortToHex(unsigned short value, char* out) {
    _CharToHex(static_cast<unsigned char>(value >> 8), out);
    _CharToHex(static_cast<unsigned char>(value), out + 2);
}

void _LongToHex(unsigned long value, char* out) {
    _ShortToHex(static_cast<unsigned short>(value >> 16), out);
    _ShortToHex(static_cast<unsigned short>(value), out + 4);
}

unsigned char HexToNibble(const unsigned char* digit) {
    const unsigned char character = *digit;
    const auto from = [character](char first, int value) {
        return static_cast<unsigned char>(character - first + value);
    };
    if (character >= '0' && character <= '9') {
        return from('0', 0);
    }
    if (character >= 'a' && character <= 'f') {
        return from('a', 10);
    }
    if (character >= 'A' && character <= 'F') {
        return from('A', 10);
    }
    return 0;
}

unsigned char _HexToChar(const unsigned char* text) {
    return static_cast<unsigned char>(HexToNibble(text) << 4 | HexToNibble(text + 1));
}

unsigned short _HexToShort(const unsigned char* text) {
    return static_cast<unsigned short>(_HexToChar(text) << 8 | _HexToChar(text + 2));
}

unsigned long _HexToLong(const unsigned char* text) {
    return static_cast<unsigned long>(_HexToShort(text)) << 16 | _HexToShort(text + 4);
}
