#include "testhost/values/Encodings.h"

#include <windows.h>

namespace {
std::wstring Widen(std::string_view text, unsigned codePage) {
    std::wstring wide(text.size(), L'\0'); // never more units than bytes
    const int count = MultiByteToWideChar(codePage, 0, text.data(), static_cast<int>(text.size()),
                                          wide.data(), static_cast<int>(wide.size()));
    wide.resize(static_cast<size_t>(count));
    return wide;
}

std::string Narrow(std::wstring_view wide, unsigned codePage) {
    std::string text(wide.size() * 3, '\0'); // never more bytes for a unit
    const int count =
        WideCharToMultiByte(codePage, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                            static_cast<int>(text.size()), nullptr, nullptr);
    text.resize(static_cast<size_t>(count));
    return text;
}

WORD TypeOf(char character) {
    WORD type = 0;
    GetStringTypeA(LOCALE_USER_DEFAULT, CT_CTYPE1, &character, 1, &type);
    return type;
}
} // namespace

bool IsAnsiLetter(char character) {
    return (TypeOf(character) & C1_ALPHA) != 0;
}

bool IsAnsiDigit(char character) {
    return (TypeOf(character) & C1_DIGIT) != 0;
}

std::wstring FromAnsi(std::string_view text) {
    return Widen(text, CP_ACP);
}

std::wstring FromUtf8(std::string_view text) {
    return Widen(text, CP_UTF8);
}

std::wstring FromEither(std::string_view text) {
    const std::wstring wide = FromUtf8(text);
    return Utf8(wide) == text ? wide : FromAnsi(text);
}

std::string Utf8(std::wstring_view text) {
    return Narrow(text, CP_UTF8);
}

std::string NearestAnsi(std::wstring_view text) {
    return Narrow(text, CP_ACP);
}
