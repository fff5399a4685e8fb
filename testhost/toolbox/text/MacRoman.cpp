#include "testhost/toolbox/text/MacRoman.h"

#include <array>

namespace {

struct Letter {
    unsigned char lower;
    unsigned char upper;
    char plain; ///< lower-case letter without the mark; 0 for letters that have none
};

// The letters above ASCII that come in two cases.
constexpr Letter letters[] = {
    {0x87, 0xE7, 'a'}, {0x88, 0xCB, 'a'}, {0x89, 0xE5, 'a'}, {0x8A, 0x80, 'a'}, // á à â ä
    {0x8B, 0xCC, 'a'}, {0x8C, 0x81, 'a'}, {0x8D, 0x82, 'c'}, {0x8E, 0x83, 'e'}, // ã å ç é
    {0x8F, 0xE9, 'e'}, {0x90, 0xE6, 'e'}, {0x91, 0xE8, 'e'}, {0x92, 0xEA, 'i'}, // è ê ë í
    {0x93, 0xED, 'i'}, {0x94, 0xEB, 'i'}, {0x95, 0xEC, 'i'}, {0x96, 0x84, 'n'}, // ì î ï ñ
    {0x97, 0xEE, 'o'}, {0x98, 0xF1, 'o'}, {0x99, 0xEF, 'o'}, {0x9A, 0x85, 'o'}, // ó ò ô ö
    {0x9B, 0xCD, 'o'}, {0x9C, 0xF2, 'u'}, {0x9D, 0xF4, 'u'}, {0x9E, 0xF3, 'u'}, // õ ú ù û
    {0x9F, 0x86, 'u'}, {0xBE, 0xAE, 0},   {0xBF, 0xAF, 'o'}, {0xCF, 0xCE, 0},   // ü æ ø œ
    {0xD8, 0xD9, 'y'},                                                          // ÿ
};

struct Folding {
    std::array<unsigned char, 256> upper{};
    std::array<unsigned char, 256> plain{};

    constexpr Folding() {
        for (std::size_t i = 0; i < 256; ++i) {
            const bool small = i >= 'a' && i <= 'z';
            upper[i] = static_cast<unsigned char>(small ? i - 'a' + 'A' : i);
            plain[i] = static_cast<unsigned char>(i);
        }
        for (const Letter& letter : letters) {
            upper[letter.lower] = letter.upper;
            if (letter.plain) {
                plain[letter.lower] = static_cast<unsigned char>(letter.plain);
                plain[letter.upper] = static_cast<unsigned char>(letter.plain - 'a' + 'A');
            }
        }
    }
};

constexpr Folding folding;

// Windows' codes of the characters from 0x80 on; 0 for those that it lacks. 0xDB is the euro, as
// it has been since Mac OS 8.5.
constexpr unsigned char windowsCodes[128] = {
    0xC4, 0xC5, 0xC7, 0xC9, 0xD1, 0xD6, 0xDC, 0xE1, 0xE0, 0xE2, 0xE4, 0xE3, 0xE5, 0xE7, 0xE9, 0xE8,
    0xEA, 0xEB, 0xED, 0xEC, 0xEE, 0xEF, 0xF1, 0xF3, 0xF2, 0xF4, 0xF6, 0xF5, 0xFA, 0xF9, 0xFB, 0xFC,
    0x86, 0xB0, 0xA2, 0xA3, 0xA7, 0x95, 0xB6, 0xDF, 0xAE, 0xA9, 0x99, 0xB4, 0xA8, 0,    0xC6, 0xD8,
    0,    0xB1, 0,    0,    0xA5, 0xB5, 0,    0,    0,    0,    0,    0xAA, 0xBA, 0,    0xE6, 0xF8,
    0xBF, 0xA1, 0xAC, 0,    0x83, 0,    0,    0xAB, 0xBB, 0x85, 0xA0, 0xC0, 0xC3, 0xD5, 0x8C, 0x9C,
    0x96, 0x97, 0x93, 0x94, 0x91, 0x92, 0xF7, 0,    0xFF, 0x9F, 0,    0x80, 0x8B, 0x9B, 0,    0,
    0x87, 0xB7, 0x82, 0x84, 0x89, 0xC2, 0xCA, 0xC1, 0xCB, 0xC8, 0xCD, 0xCE, 0xCF, 0xCC, 0xD3, 0xD4,
    0,    0xD2, 0xDA, 0xDB, 0xD9, 0,    0x88, 0x98, 0xAF, 0,    0,    0,    0xB8, 0,    0,    0,
};

struct Conversion {
    std::array<unsigned char, 256> toWindows{};
    std::array<unsigned char, 256> fromWindows{};

    constexpr Conversion() {
        for (std::size_t i = 0; i < 256; ++i) {
            const auto same = static_cast<unsigned char>(i);
            Pair(same, i < 128 ? same : windowsCodes[i - 128]);
        }
        std::size_t unassigned = 128; // code of Windows, as far as they are looked through
        for (std::size_t i = 128; i < 256; ++i) {
            if (toWindows[i] == 0) {
                while (fromWindows[unassigned] != 0) {
                    ++unassigned;
                }
                Pair(static_cast<unsigned char>(i), static_cast<unsigned char>(unassigned));
            }
        }
    }

  private:
    constexpr void Pair(unsigned char mac, unsigned char windows) {
        toWindows[mac] = windows;
        if (windows != 0) {
            fromWindows[windows] = mac;
        }
    }
};

constexpr Conversion conversion;

} // namespace

unsigned char MacRoman::ToUpper(unsigned char character) {
    return folding.upper[character];
}

unsigned char MacRoman::WithoutMark(unsigned char character) {
    return folding.plain[character];
}

unsigned char MacRoman::ToWindows(unsigned char character) {
    return conversion.toWindows[character];
}

unsigned char MacRoman::FromWindows(unsigned char character) {
    return conversion.fromWindows[character];
}
