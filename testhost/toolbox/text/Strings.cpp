#include "platform/Toolbox.h"
#include "testhost/toolbox/text/MacRoman.h"

#include <algorithm>

namespace {

/// Converts each byte, which may stand where it goes.
long Convert(const void* source, void* destination, long length,
             unsigned char (*convert)(unsigned char)) {
    if (!source || !destination || length < 0) {
        return 0;
    }
    const auto* from = static_cast<const unsigned char*>(source);
    std::transform(from, from + length, static_cast<unsigned char*>(destination), convert);
    return length;
}

} // namespace

unsigned char EqualString(const unsigned char* a, const unsigned char* b,
                          unsigned char caseSensitive, unsigned char diacriticalSensitive) {
    const auto fold = [=](unsigned char character) {
        const unsigned char kept =
            diacriticalSensitive ? character : MacRoman::WithoutMark(character);
        return caseSensitive ? kept : MacRoman::ToUpper(kept);
    };
    return a[0] == b[0] && std::equal(a + 1, a + 1 + a[0], b + 1,
                                      [&](auto x, auto y) { return fold(x) == fold(y); });
}

short IUEqualString(const unsigned char* a, const unsigned char* b) {
    return EqualString(a, b, false, false) ? 0 : 1;
}

void StringToNum(const unsigned char* text, long* number) {
    const unsigned char* position = text + 1;
    const unsigned char* end = position + text[0];
    const bool negative = position != end && *position == '-';
    if (position != end && (*position == '-' || *position == '+')) {
        ++position;
    }
    // Deliberate, as documented: no character is refused, each counts by its low four bits, and
    // too large a number wraps.
    unsigned long value = 0;
    for (; position != end; ++position) {
        value = value * 10 + (*position & 0x0F);
    }
    *number = static_cast<long>(negative ? 0 - value : value);
}

long ASI_MacToAnsiBuf(const void* source, void* destination, long length, long) {
    return Convert(source, destination, length, MacRoman::ToWindows);
}

long ASI_AnsiToMacBuf(const void* source, void* destination, long length) {
    return Convert(source, destination, length, MacRoman::FromWindows);
}
