#include "testhost/plugins/RecorderInPlace.h"

#include "testhost/values/Encodings.h"

#include <fstream>
#include <stdexcept>
#include <string>

namespace {
// A byte-order mark in front tells the system that these are no characters of its code page.
bool WriteWide(const std::filesystem::path& path, const std::wstring& text) {
    const std::wstring whole = L'\xFEFF' + text;
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(whole.data()),
               static_cast<std::streamsize>(whole.size() * sizeof(wchar_t)));
    file.close();
    return static_cast<bool>(file);
}
} // namespace

std::filesystem::path RecorderInPlace::For(const std::filesystem::path& plugin) const {
    if (recorder.empty()) {
        return {};
    }
    const std::wstring name = prefix + plugin.stem().wstring();
    std::filesystem::path copy = folder / (name + L".dll");
    const std::wstring whole = std::filesystem::absolute(plugin).make_preferred().wstring();
    std::error_code error;
    std::filesystem::remove(copy, error); // of a process before this one
    if (!std::filesystem::copy_file(recorder, copy, error) ||
        !WriteWide(folder / (name + L".recorder.ini"),
                   L"[recorder]\r\nplugin=" + whole + L"\r\n")) {
        throw std::runtime_error("testhost: the recorder cannot be copied to " + Shown(copy));
    }
    return copy;
}
