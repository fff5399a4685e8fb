#include "recorder/Settings.h"

#include "recording/Format.h"

#include <algorithm>
#include <filesystem>

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
} // namespace

Settings ReadSettings(const std::wstring& recorderFile) {
    const std::filesystem::path recorder = recorderFile;
    const std::filesystem::path folder = recorder.parent_path();
    const std::wstring name = recorder.stem().wstring();
    const std::wstring file = folder / (name + L".recorder.ini");
    const std::wstring plugin = ReadText(file, L"plugin");
    return {.plugin = folder / (plugin.empty() ? name + L".recorded.dll" : plugin),
            .folder = folder / ReadText(file, L"folder") / L"",
            .name = name,
            .itemLimit = ReadNumber(file, L"item", Recording::ItemLimit, mostItemBytes),
            .sizeLimit = std::uint64_t{ReadNumber(file, L"file", 200, 2000)} * megabyte};
}
