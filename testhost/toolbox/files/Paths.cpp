#include "testhost/toolbox/files/Paths.h"

#include "platform/ResultCodes.h"
#include "testhost/toolbox/text/MacRoman.h"

#include <algorithm>
#include <iterator>

#include <windows.h>

namespace {

std::string Convert(std::string_view text, unsigned char (*convert)(unsigned char)) {
    std::string converted(text);
    std::transform(text.begin(), text.end(), converted.begin(), [=](char character) {
        return static_cast<char>(convert(static_cast<unsigned char>(character)));
    });
    return converted;
}

/// Windows opens a device for these names, in every folder and with every extension.
bool IsDevice(std::string_view name) {
    constexpr std::string_view devices[] = {"CON", "PRN", "AUX", "NUL", "CONIN$", "CONOUT$"};
    std::string stem = UpperCase(name.substr(0, name.find('.')));
    stem.erase(stem.find_last_not_of(' ') + 1);
    const bool numbered = stem.size() == 4 &&
                          (stem.starts_with("COM") || stem.starts_with("LPT")) && stem[3] >= '0' &&
                          stem[3] <= '9';
    return numbered || std::find(std::begin(devices), std::end(devices), stem) != std::end(devices);
}

} // namespace

bool IsRoot(const std::string& path) {
    return path.size() == rootLength;
}

PathParts Split(const std::string& path) {
    if (IsRoot(path)) {
        return {"", path.substr(0, 2)};
    }
    const std::size_t separator = path.rfind('\\');
    return {path.substr(0, std::max(separator, rootLength)), path.substr(separator + 1)};
}

std::string Join(const std::string& folder, std::string_view name) {
    return folder + (IsRoot(folder) ? "" : "\\") + std::string(name);
}

std::string LongForm(const std::string& path) {
    char buffer[MAX_PATH];
    const DWORD length = GetLongPathNameA(path.c_str(), buffer, sizeof buffer);
    if (length > 0 && length < sizeof buffer) {
        return {buffer, length};
    }
    if (IsRoot(path)) {
        return path;
    }
    const PathParts parts = Split(path);
    return Join(LongForm(parts.folder), parts.name);
}

std::string FileKey(const std::string& path) {
    return UpperCase(LongForm(path));
}

bool IsAtOrIn(std::string_view path, std::string_view place) {
    return UpperCase(path.substr(0, place.size())) == UpperCase(place) &&
           (path.size() == place.size() || path[place.size()] == '\\');
}

std::string UpperCase(std::string_view text) {
    std::string upper(text);
    LCMapStringA(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, text.data(), static_cast<int>(text.size()),
                 upper.data(), static_cast<int>(upper.size()));
    return upper;
}

bool IsName(std::string_view name) {
    constexpr std::string_view forbidden = "<>:\"/\\|?*";
    const bool characters = std::all_of(name.begin(), name.end(), [&](char character) {
        return static_cast<unsigned char>(character) >= ' ' &&
               forbidden.find(character) == std::string_view::npos;
    });
    // Windows drops points and spaces at the end: it would be another name.
    return !name.empty() && characters && name.back() != '.' && name.back() != ' ' &&
           !IsDevice(name);
}

std::string ToWindows(std::string_view name) {
    return Convert(name, MacRoman::ToWindows);
}

std::string FromWindows(std::string_view name) {
    return Convert(name, MacRoman::FromWindows);
}

OSErr StoreName(std::string_view name, unsigned char* target) {
    if (name.size() > longestName) {
        return ResultCode::BadName;
    }
    const std::string converted = FromWindows(name);
    target[0] = static_cast<unsigned char>(converted.size());
    std::copy(converted.begin(), converted.end(), target + 1);
    return ResultCode::NoError;
}

std::string_view Characters(const unsigned char* text) {
    return text ? std::string_view(reinterpret_cast<const char*>(text + 1), text[0])
                : std::string_view();
}
