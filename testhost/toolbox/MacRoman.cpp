#include "testhost/toolbox/MacRoman.h"

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

} // namespace

unsigned char MacRoman::ToUpper(unsigned char character) {
    return folding.upper[character];
}

unsigned char MacRoman::WithoutMark(unsigned char character) {
    return folding.plain[character];
}
