#include "recorder/Settings.h"

#include "recording/Format.h"

#include <algorithm>

#include <windows.h>

namespace {
constexpr const wchar_t* section = L"recorder";
constexpr std::uint32_t mostItemBytes = 1024 * 1024;
constexpr std::uint32_t megabyte = 1024 * 1024;

std::wstring ReadText(const std::wstring& file, const wchar_t* key) {
    wchar_t text[1024];
    return {text, GetPrivateProfileStringW(section, key, L"", text, std::size(text), file.c_str())};
}

// What is no number is read as 0.
std::uint32_t ReadNumber(const std::wstring& file, const wchar_t* key, std::uint32_t usual,
                         std::uint32_t most) {
    const auto number = static_cast<int>(
        GetPrivateProfileIntW(section, key, static_cast<int>(usual), file.c_str()));
    return number <= 0 ? usual : std::min(static_cast<std::uint32_t>(number), most);
}

// A path that is no whole one begins in the folder, which ends with a backslash.
std::wstring In(const std::wstring& folder, const std::wstring& path) {
    const bool isWhole = path.starts_with(L'\\') || path.find(L':') == 1;
    return isWhole ? path : folder + path;
}
} // namespace

Settings ReadSettings(const std::wstring& recorderFile) {
    const std::size_t afterFolder = recorderFile.find_last_of(L"\\/") + 1;
    const std::wstring own = recorderFile.substr(0, afterFolder);
    const std::wstring name =
        recorderFile.substr(afterFolder, recorderFile.rfind(L'.') - afterFolder);
    const std::wstring file = own + name + L".recorder.ini";
    const std::wstring plugin = ReadText(file, L"plugin");
    std::wstring folder = In(own, ReadText(file, L"folder"));
    if (!folder.ends_with(L'\\')) {
        folder += L'\\';
    }
    return {.plugin = In(own, plugin.empty() ? name + L".recorded.dll" : plugin),
            .folder = folder,
            .name = name,
            .itemLimit = ReadNumber(file, L"item", Recording::ItemLimit, mostItemBytes),
            .sizeLimit = std::uint64_t{ReadNumber(file, L"file", 200, 2000)} * megabyte};
}
