// Pascal and zero-terminated strings, digits, cases and sizes, against strings. All blocks are as
// large as they must be, and no larger.

#include "shell/base/Strings.h"

#include "fuzz/Harness.h"
#include "shell/base/TextServices.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {
constexpr std::size_t longest = 255;

/// A zero-terminated string in a block with `room` bytes more.
class Characters {
  public:
    explicit Characters(const std::string& text, std::size_t room = 0)
        : bytes(text.begin(), text.end()) {
        bytes.resize(text.size() + 1 + room);
        bytes.shrink_to_fit();
    }
    operator char*() { return bytes.data(); } // NOLINT(google-explicit-constructor)
    std::string Text() const { return bytes.data(); }
    unsigned char* Unsigned() { return reinterpret_cast<unsigned char*>(bytes.data()); }

  private:
    std::vector<char> bytes;
};

void RequireText(const std::string& text, const std::string& expected) {
    Require(text == expected, "another text");
}

void CheckPascal(const std::string& one, const std::string& other) {
    Pascal first(one);
    Pascal second(other);
    const std::string a = PascalText(first);
    const std::string b = PascalText(second);
    const int order = _ComparePStrings(first, second);
    Require(order == (a > b) - (a < b), "another order"); // char_traits compares unsigned bytes
    Require(_PStringsEqual(first, second) == (a == b), "another equality");

    Pascal joined(b + std::string(longest, ' '));
    _CopyPStr(second, joined);
    RequireText(PascalText(joined), b);
    _CatPStr(first, joined);
    RequireText(PascalText(joined), (b + a).substr(0, longest));
    _CatPStr(joined, joined);
    const std::string twice = (b + a).substr(0, longest);
    RequireText(PascalText(joined), (twice + twice).substr(0, longest));

    Characters characters("", a.size() + b.size());
    _CopyP2CStr(first, characters);
    RequireText(characters.Text(), a.c_str());
    if (a.find('\0') == std::string::npos) {
        _CatP2CStr(second, characters);
        RequireText(characters.Text(), (a + b).c_str());
    }
    Characters inPlace(Pascal(a).Whole());
    _CopyP2CStr(inPlace.Unsigned(), inPlace);
    RequireText(inPlace.Text(), a.c_str());
}

void CheckCharacters(std::string a, std::string b, long size) {
    a = a.c_str(); // up to its end
    b = b.c_str();
    Characters first(a);
    Characters joined(b, a.size());
    _CatCStr(first, joined);
    RequireText(joined.Text(), b + a);
    Characters copy("", a.size());
    _CopyCStr(first, copy);
    RequireText(copy.Text(), a);
    const auto most = static_cast<std::size_t>(std::clamp(size, 0L, 1000L));
    Characters cut("", most);
    _CopyCStrN(first, cut, std::min(size, 1000L));
    RequireText(cut.Text(), a.substr(0, most));

    Pascal pascal(std::string(longest, ' '));
    _CopyC2PStrN(first, pascal, static_cast<short>(size));
    const auto shortSize = std::clamp<long>(static_cast<short>(size), 0, longest);
    RequireText(PascalText(pascal), a.substr(0, static_cast<std::size_t>(shortSize)));
    _CopyC2PStr(first, pascal);
    RequireText(PascalText(pascal), a.substr(0, longest));
    _CatC2PStr(joined, pascal);
    RequireText(PascalText(pascal), (a + b + a).substr(0, longest));
    Characters inPlace(a);
    _CopyC2PStr(inPlace, inPlace.Unsigned());
    RequireText(PascalText(inPlace.Unsigned()), a.substr(0, longest));
}

void CheckDigits(unsigned long number, const std::string& any) {
    char digits[9];
    char expected[9];
    std::snprintf(expected, sizeof expected, "%08lX", number);
    _LongToHex(number, digits);
    RequireText(digits, expected);
    std::vector<unsigned char> text(any.begin(), any.end());
    text.resize(8);
    unsigned long value = 0;
    for (const unsigned char digit : text) {
        constexpr std::string_view known = "0123456789ABCDEF";
        const std::size_t found = known.find(static_cast<char>(std::toupper(digit)));
        value = value << 4 | (found != std::string_view::npos ? found : 0);
    }
    Require(_HexToLong(text.data()) == value, "another number");
}

void CheckCase(const std::string& text) {
    std::string upper = text;
    std::transform(text.begin(), text.end(), upper.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::toupper(byte)); });
    Pascal string(text);
    _UpperPStr(string);
    RequireText(PascalText(string), upper.substr(0, longest));
    Characters characters(text);
    _LowerCStr(characters);
    _UpperCStr(characters);
    RequireText(characters.Text(), upper.c_str());
}

void CheckSize(unsigned long bytes) {
    char text[20];
    const long length = _GetByteSizeString(text, bytes);
    Require(length == static_cast<long>(std::strlen(text)), "another length");
    const bool isSmall = bytes < 0x400;
    const bool isLarge = bytes >= 0x100000;
    char* unit = nullptr;
    const double shown = std::strtod(text, &unit);
    RequireText(unit, isSmall ? "l B" : isLarge ? " MB" : " KB");
    const double value = isSmall ? bytes : bytes / (isLarge ? 1048576.0 : 1024.0);
    Require(std::fabs(shown - value) < 0.0501, "another number");
    Require(isSmall || (unit[-1] != '.' && std::string(text, unit).find(".0") == std::string::npos),
            "it is not trimmed");
}

} // namespace

void Fuzz(Input& input) {
    switch (input.Choice(6)) {
    case 0: {
        const std::string one = input.Text(300);
        return CheckPascal(one, input.Text(300));
    }
    case 1: {
        const std::string one = input.Text(300);
        const std::string other = input.Text(300);
        return CheckCharacters(one, other, input.Number());
    }
    case 2: {
        const auto number = static_cast<unsigned long>(input.Number());
        return CheckDigits(number, input.Text(8));
    }
    case 3:
        return CheckCase(input.Text(300));
    case 4:
        return CheckSize(static_cast<unsigned long>(input.Number()));
    default: {
        const std::string text = input.Text(6000).c_str();
        Str255 string;
        Require(_FormatPWithCStr(string, "<%s>", text.c_str()) == string[0], "another count");
        return RequireText(PascalText(string), ('<' + text + '>').substr(0, longest));
    }
    }
}
