#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <optional>
#include <string>
#include <string_view>

#include <windows.h>

// Text in code page 1252, in UTF-8 and in Windows' wide characters.

namespace {
// The characters from 0x80 to 0x9F; 0: none, which stands for itself.
constexpr char16_t upperCharacters[] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
constexpr std::size_t firstUpper = 0x80;
constexpr char32_t unknown = 0xFFFD;

char16_t WideOf(unsigned char character) {
    const std::size_t place = character - firstUpper;
    const bool isMapped = place < std::size(upperCharacters) && upperCharacters[place] != 0;
    return isMapped ? upperCharacters[place] : character;
}

std::optional<char> AnsiOf(char16_t unit) {
    for (std::size_t place = 0; unit > 0xFF && place < std::size(upperCharacters); ++place) {
        if (upperCharacters[place] == unit) {
            return static_cast<char>(place + firstUpper);
        }
    }
    return unit <= 0xFF && WideOf(static_cast<unsigned char>(unit)) == unit
               ? std::optional(static_cast<char>(unit))
               : std::nullopt;
}

// One character and the bytes it takes; what is no UTF-8 is unknown, byte by byte.
char32_t TakeUtf8(std::string_view& text) {
    const auto byteAt = [&](std::size_t place) { return static_cast<unsigned char>(text[place]); };
    const unsigned char first = byteAt(0);
    const std::size_t length = first < 0x80             ? 1
                               : (first & 0xE0) == 0xC0 ? 2
                               : (first & 0xF0) == 0xE0 ? 3
                               : (first & 0xF8) == 0xF0 ? 4
                                                        : 0;
    char32_t character = length == 1 ? first : first & (0x7F >> length);
    bool isGood = length > 0 && length <= text.size();
    for (std::size_t place = 1; isGood && place < length; ++place) {
        isGood = (byteAt(place) & 0xC0) == 0x80;
        character = character << 6 | (byteAt(place) & 0x3F);
    }
    constexpr char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    isGood = isGood && character >= smallest[length] && character <= 0x10FFFF &&
             (character < 0xD800 || character > 0xDFFF);
    text.remove_prefix(isGood ? length : 1);
    return isGood ? character : unknown;
}

void AppendUtf16(std::u16string& out, char32_t character) {
    if (character >= 0x10000) {
        out += static_cast<char16_t>(0xD7C0 + (character >> 10));
        out += static_cast<char16_t>(0xDC00 | (character & 0x3FF));
    } else {
        out += static_cast<char16_t>(character);
    }
}

char32_t TakeUtf16(std::u16string_view& text) {
    const char16_t first = text[0];
    const bool isPair =
        first >= 0xD800 && first < 0xDC00 && text.size() > 1 && (text[1] & 0xFC00) == 0xDC00;
    const char32_t pair =
        isPair ? 0x10000 + ((first & 0x3FFU) << 10 | (text[1] & 0x3FFU)) : char32_t{unknown};
    text.remove_prefix(isPair ? 2 : 1);
    return isPair || (first & 0xF800) == 0xD800 ? pair : first;
}

void AppendUtf8(std::string& out, char32_t character) {
    if (character < 0x80) {
        out += static_cast<char>(character);
        return;
    }
    const int further = character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    out += static_cast<char>((0xF80 >> further) | (character >> (6 * further)));
    for (int step = further - 1; step >= 0; --step) {
        out += static_cast<char>(0x80 | ((character >> (6 * step)) & 0x3F));
    }
}

// As Windows does: with no room the size is told, with too little nothing is promised.
template <typename Text, typename Character>
int PutOut(const Text& text, Character* out, int room) {
    const int length = static_cast<int>(text.size());
    if (room == 0) {
        return length;
    }
    std::memcpy(out, text.data(), sizeof(Character) * static_cast<size_t>(std::min(length, room)));
    if (length > room) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    return length;
}

template <typename Character>
std::basic_string_view<Character> Given(const Character* text, int length) {
    std::size_t count = static_cast<std::size_t>(length);
    for (count = length < 0 ? 0 : count; length < 0 && text[count] != 0;) {
        ++count;
    }
    return {text, count + (length < 0 ? 1 : 0)}; // with the zero, where that tells the length
}

constexpr unsigned char UpperCaseOf(unsigned char character) {
    const bool isLetter = (character >= 'a' && character <= 'z') ||
                          (character >= 0xE0 && character <= 0xFE && character != 0xF7);
    switch (character) {
    case 0x9A:
    case 0x9C:
    case 0x9E:
        return character - 0x10;
    case 0xFF:
        return 0x9F;
    default:
        return isLetter ? character - 0x20 : character;
    }
}

unsigned char LowerCaseOf(unsigned char character) {
    static constexpr auto lowerCase = [] {
        std::array<unsigned char, 256> table{};
        for (unsigned each = 0; each < table.size(); ++each) {
            const auto upper = UpperCaseOf(static_cast<unsigned char>(each));
            table[upper] = static_cast<unsigned char>(each);
        }
        return table;
    }();
    const unsigned char lower = lowerCase[character];
    return lower != 0 ? lower : character;
}
} // namespace

int MultiByteToWideChar(UINT page, DWORD flags, const char* text, int length, wchar_t* out,
                        int room) {
    std::u16string wide;
    for (std::string_view rest = Given(text, length); !rest.empty();) {
        if (page != CP_UTF8) {
            wide += WideOf(static_cast<unsigned char>(rest[0]));
            rest.remove_prefix(1);
            continue;
        }
        const std::size_t before = rest.size();
        const char32_t character = TakeUtf8(rest);
        if (character == unknown && before - rest.size() == 1 && (flags & MB_ERR_INVALID_CHARS)) {
            SetLastError(ERROR_NO_UNICODE_TRANSLATION);
            return 0;
        }
        AppendUtf16(wide, character);
    }
    return PutOut(wide, out, room);
}

int WideCharToMultiByte(UINT page, DWORD, const wchar_t* text, int length, char* out, int room,
                        const char* standIn, BOOL* usedIt) {
    std::string narrow;
    const auto units = Given(text, length);
    std::u16string_view rest{reinterpret_cast<const char16_t*>(units.data()), units.size()};
    while (!rest.empty()) {
        if (page == CP_UTF8) {
            AppendUtf8(narrow, TakeUtf16(rest));
            continue;
        }
        const std::optional<char> character = AnsiOf(rest[0]);
        if (!character && usedIt != nullptr) {
            *usedIt = TRUE;
        }
        narrow += character.value_or(standIn != nullptr ? *standIn : '?');
        rest.remove_prefix(1);
    }
    return PutOut(narrow, out, room);
}

int LCMapStringA(DWORD, DWORD flags, const char* text, int length, char* out, int room) {
    std::string mapped(Given(text, length));
    std::ranges::transform(mapped, mapped.begin(), [&](char character) {
        const auto byte = static_cast<unsigned char>(character);
        return static_cast<char>((flags & LCMAP_UPPERCASE) != 0 ? UpperCaseOf(byte)
                                                                : LowerCaseOf(byte));
    });
    return PutOut(mapped, out, room);
}

int CompareStringA(DWORD, DWORD flags, const char* first, int firstLength, const char* second,
                   int secondLength) {
    std::string one(Given(first, firstLength));
    std::string other(Given(second, secondLength));
    for (std::string* text : {&one, &other}) {
        if ((flags & NORM_IGNORECASE) != 0) {
            LCMapStringA(0, LCMAP_UPPERCASE, text->data(), static_cast<int>(text->size()),
                         text->data(), static_cast<int>(text->size()));
        }
    }
    return one < other ? CSTR_LESS_THAN : one == other ? CSTR_EQUAL : CSTR_GREATER_THAN;
}

BOOL GetStringTypeA(DWORD, DWORD, const char* text, int length, WORD* types) {
    for (const char character : Given(text, length)) {
        const auto byte = static_cast<unsigned char>(character);
        const bool isLetter = UpperCaseOf(byte) != byte || LowerCaseOf(byte) != byte ||
                              byte == 0xDF || byte == 0xAA || byte == 0xBA || byte == 0x83;
        *types++ = static_cast<WORD>((isLetter ? C1_ALPHA : 0) |
                                     (byte >= '0' && byte <= '9' ? C1_DIGIT : 0));
    }
    return TRUE;
}

UINT GetACP() {
    return 1252;
}

extern "C" {
// Knows numbers, not their names.
double atof(const char* text) {
    const char* const number = text + std::strspn(text, " \t\n\v\f\r");
    const char first = number[std::strspn(number, "+-")];
    return (first >= '0' && first <= '9') || first == '.' ? std::strtod(text, nullptr) : 0;
}

// The C library's own of these take four bytes for a character.

std::size_t wcslen(const wchar_t* text) {
    std::size_t length = 0;
    while (text[length] != 0) {
        ++length;
    }
    return length;
}

wchar_t* wmemcpy(wchar_t* to, const wchar_t* from, std::size_t count) {
    return static_cast<wchar_t*>(std::memcpy(to, from, count * sizeof(wchar_t)));
}

wchar_t* wmemmove(wchar_t* to, const wchar_t* from, std::size_t count) {
    return static_cast<wchar_t*>(std::memmove(to, from, count * sizeof(wchar_t)));
}

wchar_t* wmemset(wchar_t* to, wchar_t character, std::size_t count) {
    return std::fill_n(to, count, character), to;
}

int wmemcmp(const wchar_t* one, const wchar_t* other, std::size_t count) {
    const auto [first, second] = std::mismatch(one, one + count, other);
    return first == one + count ? 0 : *first < *second ? -1 : 1;
}

wchar_t* wmemchr(const wchar_t* text, wchar_t character, std::size_t count) {
    auto* const found = const_cast<wchar_t*>(std::find(text, text + count, character)); // as in C
    return found == text + count ? nullptr : found;
}

// For std::to_wstring() of numbers: the format has no more than ASCII.
int vswprintf(wchar_t* out, std::size_t room, const wchar_t* format, std::va_list arguments) {
    char narrowFormat[32] = {};
    char text[64];
    for (std::size_t place = 0; format[place] != 0 && place + 1 < sizeof narrowFormat; ++place) {
        narrowFormat[place] = static_cast<char>(format[place]);
    }
    const int length = std::vsnprintf(text, sizeof text, narrowFormat, arguments);
    if (length < 0 || static_cast<std::size_t>(length) >= std::min(room, sizeof text)) {
        return -1;
    }
    std::copy_n(text, length + 1, out);
    return length;
}
}

// And so do the conversions of its paths, which are not asked for more than whole texts.

template <typename From, typename To, typename Convert>
std::codecvt_base::result ConvertAll(const From* from, const From* fromEnd, const From*& fromNext,
                                     To* to, To* toEnd, To*& toNext, Convert convert) {
    const int length = static_cast<int>(fromEnd - from);
    const int converted = length == 0 ? 0 : convert(length, static_cast<int>(toEnd - to));
    const bool fits = converted > 0 || length == 0;
    fromNext = fits ? fromEnd : from;
    toNext = to + converted;
    return fits ? std::codecvt_base::ok : std::codecvt_base::partial;
}

std::codecvt_base::result std::codecvt<wchar_t, char, std::mbstate_t>::do_out(
    std::mbstate_t&, const wchar_t* from, const wchar_t* fromEnd, const wchar_t*& fromNext,
    char* to, char* toEnd, char*& toNext) const {
    return ConvertAll(from, fromEnd, fromNext, to, toEnd, toNext, [&](int length, int room) {
        return room == 0
                   ? 0
                   : WideCharToMultiByte(CP_UTF8, 0, from, length, to, room, nullptr, nullptr);
    });
}

std::codecvt_base::result std::codecvt<wchar_t, char, std::mbstate_t>::do_in(
    std::mbstate_t&, const char* from, const char* fromEnd, const char*& fromNext, wchar_t* to,
    wchar_t* toEnd, wchar_t*& toNext) const {
    return ConvertAll(from, fromEnd, fromNext, to, toEnd, toNext, [&](int length, int room) {
        return room == 0 ? 0 : MultiByteToWideChar(CP_UTF8, 0, from, length, to, room);
    });
}
