// Apart from the rest of Encodings.h: with paths comes much of the standard library, which the
// recorder does without.

#include "testhost/values/Encodings.h"

#include <stdexcept>

#include <windows.h>

std::string Shown(const std::filesystem::path& path) {
    return Utf8(path.wstring());
}

std::string Ansi(std::wstring_view path) {
    std::string text = NearestAnsi(path);
    if (FromAnsi(text) != path) {
        throw std::runtime_error(Shown(path) + " cannot be written in the code page " +
                                 std::to_string(GetACP()) +
                                 ", in which hosts and plug-ins tell each other paths");
    }
    return text;
}
