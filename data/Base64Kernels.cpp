#include "data/Base64Kernels.h"

#include "platform/Compiler.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <immintrin.h>

// The library runs on any processor with SSE2. Each function that uses more says so in its target
// attribute, and is only reached where the processor and the system have it.

namespace {

using Byte = unsigned char;

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

/// The two characters of every 12 bits, the first in the low byte.
constexpr auto characterPairs = [] {
    std::array<std::uint16_t, 4096> pairs{};
    for (unsigned bits = 0; bits < pairs.size(); ++bits) {
        const unsigned pair = static_cast<Byte>(alphabet[bits >> 6]) |
                              static_cast<unsigned>(static_cast<Byte>(alphabet[bits & 63])) << 8;
        pairs[bits] = static_cast<std::uint16_t>(pair);
    }
    return pairs;
}();

constexpr std::uint32_t thirdIsPadding = 1U << 24;
constexpr std::uint32_t fourthIsPadding = 1U << 25;

/// What each character contributes at each of the four positions of its group: bits of the three
/// bytes, the first byte lowest, and above them the marks for padding.
constexpr auto contributions = [] {
    std::array<Byte, 256> values{};
    values.fill(0xFF);
    for (Byte value = 0; value < 64; ++value) {
        values[static_cast<Byte>(alphabet[value])] = value;
    }
    values['='] = 64;
    std::array<std::array<std::uint32_t, 256>, 4> result{};
    for (unsigned character = 0; character < 256; ++character) {
        const std::uint32_t value = values[character];
        result[0][character] = value << 2 & 0xFF;
        result[1][character] = (value & 0x30) >> 4 | (value << 4 & 0xFF) << 8;
        result[2][character] = (value & 0x3C) >> 2 << 8 | (value << 6 & 0xFF) << 16;
        result[3][character] = (value & 0x3F) << 16;
    }
    result[2]['='] |= thirdIsPadding;
    result[3]['='] |= fourthIsPadding;
    return result;
}();

/// The 4 characters for 3 bytes; reads a fourth.
void EncodeGroup(Byte* dst, const Byte* src) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, src, 4);
    bits = SwapBytes(bits);
    std::memcpy(dst, &characterPairs[bits >> 20], 2);
    std::memcpy(dst + 2, &characterPairs[bits >> 8 & 0xFFF], 2);
}

void EncodeScalar(Byte* dst, const Byte* src, unsigned long len) {
    for (; len > 12; len -= 12, src += 12, dst += 16) {
        EncodeGroup(dst, src);
        EncodeGroup(dst + 4, src + 3);
        EncodeGroup(dst + 8, src + 6);
        EncodeGroup(dst + 12, src + 9);
    }
    for (; len > 3; len -= 3, src += 3, dst += 4) {
        EncodeGroup(dst, src);
    }
    if (len == 0) {
        return;
    }
    const unsigned bits = src[0] << 16 | (len > 1 ? src[1] << 8 : 0) | (len > 2 ? src[2] : 0);
    std::memcpy(dst, &characterPairs[bits >> 12], 2);
    std::memcpy(dst + 2, &characterPairs[bits & 0xFFF], 2);
    std::memset(dst + 1 + len, '=', 3 - len);
}

unsigned long DecodeScalar(Byte* dst, const Byte* src, unsigned long len) {
    unsigned long count = len / 4 * 3;
    for (; len > 0; len -= 4, src += 4, dst += 3) {
        const std::uint32_t bytes = contributions[0][src[0]] | contributions[1][src[1]] |
                                    contributions[2][src[2]] | contributions[3][src[3]];
        std::memcpy(dst, &bytes, 2);
        dst[2] = static_cast<Byte>(bytes >> 16);
        // Deliberate: padding is taken off in every group, not in the last one only.
        if (bytes & fourthIsPadding) {
            count -= bytes & thirdIsPadding ? 2 : 1;
        }
    }
    return count;
}

// Tables of both vector kernels, for shuffles: each byte of a vector picks one of 16 bytes by its
// low 4 bits, or 0 when its top bit is set. In the 256-bit kernel each half picks from its own 16.
using Table = std::array<signed char, 16>;

/// The bytes b0 b1 b2 of each group become b1 b0 b2 b1, the words b0b1 and b1b2: of the first 12
/// bytes of 16, and of the last 12.
alignas(16) constexpr Table spreadFirst{1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};
alignas(16) constexpr Table spreadLast{5, 4, 6, 5, 8, 7, 9, 8, 11, 10, 12, 11, 14, 13, 15, 14};

/// What to add to a value for its character: capital letters, small ones, ten digits, '+', '/'.
alignas(16) constexpr Table toCharacter{'A',      'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                        '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                        '+' - 62, '/' - 63, 0,        0};

/// A character is outside the alphabet when the tables, by its high and low 4 bits, share a bit:
/// 1 for a row 2 without '+' or '/', 2 row 3 without a digit, 4 row 4 or 6 without a letter, 8 row
/// 5 or 7 without a letter, 16 any other row.
alignas(16) constexpr Table strangeByHigh{16, 16, 1, 2, 4, 8, 4, 8, 16, 16, 16, 16, 16, 16, 16, 16};
alignas(16) constexpr Table strangeByLow{21, 17, 17, 17, 17, 17, 17, 17,
                                         17, 17, 19, 26, 27, 27, 27, 26};

/// What to add to a character for its value, by its high 4 bits; '/' takes the entry before '+'.
alignas(16) constexpr Table toValue{0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a',
                                    0, 0,        0,        0,        0,    0,    0,        0};

/// The three bytes of each 32-bit word, highest first, moved together.
alignas(16) constexpr Table packGroups{2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1};

__m128i Load(const void* source) {
    return _mm_loadu_si128(static_cast<const __m128i*>(source));
}
void Store(void* target, __m128i bytes) {
    _mm_storeu_si128(static_cast<__m128i*>(target), bytes);
}

/// The 16 characters for the 12 bytes that `spread` picks.
NIMBO_PROCESSOR("ssse3") __m128i Encode12(__m128i bytes, const Table& spread) {
    const __m128i words = _mm_shuffle_epi8(bytes, Load(&spread));
    // Multiplications shift each word its own way: values 0 and 2 down, 1 and 3 up.
    const __m128i even = _mm_mulhi_epu16(_mm_and_si128(words, _mm_set1_epi32(0x0FC0FC00)),
                                         _mm_set1_epi32(0x04000040));
    const __m128i odd = _mm_mullo_epi16(_mm_and_si128(words, _mm_set1_epi32(0x003F03F0)),
                                        _mm_set1_epi32(0x01000010));
    const __m128i values = _mm_or_si128(even, odd);
    // Entry of `toCharacter`: 0 for letters, 1 to 12 behind them, and 1 more (the comparison gives
    // -1) for all but capital letters.
    const __m128i entries = _mm_sub_epi8(_mm_subs_epu8(values, _mm_set1_epi8(51)),
                                         _mm_cmpgt_epi8(values, _mm_set1_epi8(25)));
    return _mm_add_epi8(values, _mm_shuffle_epi8(Load(&toCharacter), entries));
}

NIMBO_PROCESSOR("ssse3") void EncodeSsse3(Byte* dst, const Byte* src, unsigned long len) {
    // 24 bytes at a time: two loads of 16 that share 8 reach no further.
    for (; len >= 24; len -= 24, src += 24, dst += 32) {
        Store(dst, Encode12(Load(src), spreadFirst));
        Store(dst + 16, Encode12(Load(src + 8), spreadLast));
    }
    EncodeScalar(dst, src, len);
}

NIMBO_PROCESSOR("ssse3") unsigned long DecodeSsse3(Byte* dst, const Byte* src, unsigned long len) {
    unsigned long count = 0;
    for (; len >= 16; len -= 16, src += 16, dst += 12) {
        const __m128i characters = Load(src);
        // '/' is 0x2F, and a shuffle ignores the 0x20: one constant compares and masks.
        const __m128i slash = _mm_set1_epi8('/');
        const __m128i high = _mm_and_si128(_mm_srli_epi32(characters, 4), slash);
        const __m128i low = _mm_and_si128(characters, slash);
        const __m128i strange = _mm_and_si128(_mm_shuffle_epi8(Load(&strangeByHigh), high),
                                              _mm_shuffle_epi8(Load(&strangeByLow), low));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(strange, _mm_setzero_si128())) != 0xFFFF) {
            count += DecodeScalar(dst, src, 16);
            continue;
        }
        // The comparison gives -1 for '/', hence its entry before that of '+'.
        const __m128i entries = _mm_add_epi8(_mm_cmpeq_epi8(characters, slash), high);
        const __m128i values = _mm_add_epi8(characters, _mm_shuffle_epi8(Load(&toValue), entries));
        // Joins values to pairs of 12 bits (64 * d0 + d1), then pairs to groups of 24 bits.
        const __m128i pairs = _mm_maddubs_epi16(values, _mm_set1_epi16(0x0140));
        const __m128i groups = _mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000));
        const __m128i bytes = _mm_shuffle_epi8(groups, Load(&packGroups));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst), bytes);
        const int last = _mm_cvtsi128_si32(_mm_srli_si128(bytes, 8));
        std::memcpy(dst + 8, &last, 4);
        count += 12;
    }
    return count + DecodeScalar(dst, src, len);
}

// The same at twice the width. What the steps do is said above. At the end the upper halves of the
// registers are emptied: else every SSE instruction of the process would be several times slower
// from then on. The compiler sees to that in some functions only.

/// A table in both halves.
NIMBO_PROCESSOR("avx2") __m256i Twice(const Table& table) {
    return _mm256_broadcastsi128_si256(Load(&table));
}

NIMBO_PROCESSOR("avx2") void EncodeAvx2(Byte* dst, const Byte* src, unsigned long len) {
    const __m256i spread = _mm256_setr_m128i(Load(&spreadLast), Load(&spreadFirst));
    const Byte* const start = src;
    for (; len >= 24; len -= 24, src += 24, dst += 32) {
        // One load, with 4 bytes more on either side, is quicker than two of 16. At the start and
        // at the end of the bytes it would reach too far.
        const __m256i bytes =
            src != start && len >= 28
                ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src - 4))
                : _mm256_setr_m128i(_mm_slli_si128(Load(src), 4), _mm_srli_si128(Load(src + 8), 4));
        const __m256i words = _mm256_shuffle_epi8(bytes, spread);
        const __m256i even = _mm256_mulhi_epu16(
            _mm256_and_si256(words, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
        const __m256i odd = _mm256_mullo_epi16(
            _mm256_and_si256(words, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
        const __m256i values = _mm256_or_si256(even, odd);
        const __m256i entries = _mm256_sub_epi8(_mm256_subs_epu8(values, _mm256_set1_epi8(51)),
                                                _mm256_cmpgt_epi8(values, _mm256_set1_epi8(25)));
        const __m256i offsets = _mm256_shuffle_epi8(Twice(toCharacter), entries);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst), _mm256_add_epi8(values, offsets));
    }
    _mm256_zeroupper();
    if (len > 0) { // spares short texts a call
        EncodeScalar(dst, src, len);
    }
}

NIMBO_PROCESSOR("avx2") unsigned long DecodeAvx2(Byte* dst, const Byte* src, unsigned long len) {
    unsigned long count = 0;
    for (; len >= 32; len -= 32, src += 32, dst += 24) {
        const __m256i characters = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
        const __m256i slash = _mm256_set1_epi8('/');
        const __m256i high = _mm256_and_si256(_mm256_srli_epi32(characters, 4), slash);
        const __m256i low = _mm256_and_si256(characters, slash);
        if (!_mm256_testz_si256(_mm256_shuffle_epi8(Twice(strangeByHigh), high),
                                _mm256_shuffle_epi8(Twice(strangeByLow), low))) {
            count += DecodeScalar(dst, src, 32);
            continue;
        }
        const __m256i entries = _mm256_add_epi8(_mm256_cmpeq_epi8(characters, slash), high);
        const __m256i values =
            _mm256_add_epi8(characters, _mm256_shuffle_epi8(Twice(toValue), entries));
        const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi16(0x0140));
        const __m256i groups = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        const __m256i halves = _mm256_shuffle_epi8(groups, Twice(packGroups));
        // Closes the gap between the 12 bytes of each half.
        const __m256i bytes =
            _mm256_permutevar8x32_epi32(halves, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        Store(dst, _mm256_castsi256_si128(bytes));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(dst + 16), _mm256_extracti128_si256(bytes, 1));
        count += 24;
    }
    _mm256_zeroupper();
    return count + DecodeSsse3(dst, src, len);
}

constexpr std::array<Base64Kernel, 3> kernels{{
    {"scalar", EncodeScalar, DecodeScalar},
    {"SSSE3", EncodeSsse3, DecodeSsse3},
    {"AVX2", EncodeAvx2, DecodeAvx2},
}};

} // namespace

std::span<const Base64Kernel> Base64Kernels() {
    if (!ProcessorHasSsse3()) {
        return std::span(kernels).first(1);
    }
    return std::span(kernels).first(ProcessorHasAvx2() ? 3 : 2);
}
