#include "recorder/Heading.h"

#include "testhost/values/Encodings.h"

#include <cstdio>
#include <cstring>

#include <windows.h>

namespace {
constexpr const char* explanation =
    "This file was written by a recorder that stands in the place of a plug-in, between it and "
    "its\r\n"
    "host. It holds every call between the two, with all that was handed over: the texts, "
    "records\r\n"
    "and pictures of whoever worked with the database, names and passwords among them where a\r\n"
    "plug-in gets to see these. Give it only to somebody whom you would give the database.\r\n"
    "\"testhost show\" and this file's name print it.\r\n"
    "\r\n";

SYSTEMTIME Now() {
    SYSTEMTIME now{};
    GetLocalTime(&now);
    return now;
}

// "2026-11-23 06-31-05", with another sign between the digits of the time.
std::string TimeText(const SYSTEMTIME& time, char sign) {
    char text[32];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u%c%02u%c%02u", time.wYear, time.wMonth,
                  time.wDay, time.wHour, sign, time.wMinute, sign, time.wSecond);
    return text;
}

bool CreateIn(const std::wstring& folder, const std::wstring& name, std::uint64_t limit,
              OutputFile& file) {
    constexpr int mostOfOneSecond = 99;
    for (int number = 1; number <= mostOfOneSecond; ++number) {
        char behind[8] = "";
        if (number > 1) {
            std::snprintf(behind, sizeof behind, " %02d", number);
        }
        const std::wstring path =
            folder + name + FromUtf8(std::string(behind) + Recording::Extension);
        if (file.Create(path, limit)) {
            return true;
        }
        if (GetLastError() != ERROR_FILE_EXISTS) {
            return false;
        }
    }
    return false;
}

// The file version in a library's version information; empty when there is none.
std::string VersionOf(HMODULE module) {
    HRSRC const found = FindResourceA(module, MAKEINTRESOURCEA(VS_VERSION_INFO), RT_VERSION);
    HGLOBAL const loaded = found != nullptr ? LoadResource(module, found) : nullptr;
    const auto* const bytes = static_cast<const char*>(LockResource(loaded));
    constexpr std::size_t place = 40; // behind the block's head and its name
    VS_FIXEDFILEINFO info{};
    if (bytes == nullptr || SizeofResource(module, found) < place + sizeof info) {
        return {};
    }
    std::memcpy(&info, bytes + place, sizeof info);
    if (info.dwSignature != VS_FFI_SIGNATURE) {
        return {};
    }
    char text[32];
    std::snprintf(text, sizeof text, "%u.%u.%u.%u", HIWORD(info.dwFileVersionMS),
                  LOWORD(info.dwFileVersionMS), HIWORD(info.dwFileVersionLS),
                  LOWORD(info.dwFileVersionLS));
    return text;
}
// Where the process keeps temporary files, in the long form.
std::wstring TemporaryPath() {
    wchar_t given[MAX_PATH + 1] = L"";
    GetTempPathW(std::size(given), given);
    wchar_t whole[MAX_PATH + 1] = L"";
    const DWORD length = GetLongPathNameW(given, whole, std::size(whole));
    return length > 0 && length < std::size(whole) ? whole : given;
}
} // namespace

std::wstring PathOf(void* module) {
    wchar_t path[1024] = L"";
    GetModuleFileNameW(static_cast<HMODULE>(module), path, std::size(path) - 1);
    wchar_t whole[1024]; // it may have been loaded by its short name
    const DWORD length = GetLongPathNameW(path, whole, std::size(whole));
    return length > 0 && length < std::size(whole) ? whole : path;
}

bool CreateRecording(const Settings& settings, OutputFile& file) {
    const std::wstring name = settings.name + L" " + FromUtf8(TimeText(Now(), '-'));
    if (CreateIn(settings.folder, name, settings.sizeLimit, file)) {
        return true;
    }
    const std::wstring other = TemporaryPath();
    if (!CreateIn(other, name, settings.sizeLimit, file)) {
        return false;
    }
    TellDebugger("no file can be made in " + Utf8(settings.folder) + ", the recording is in " +
                 Utf8(other) + ".");
    return true;
}

void WriteHeading(const Settings& settings, void* recorder, void* plugin, OutputFile& file) {
    std::string text = std::string(Recording::FirstLine) + explanation;
    const auto add = [&](const char* name, const std::string& value) {
        text += std::string(name) + ": " + value + "\r\n";
    };
    add("Plug-in", Utf8(settings.plugin));
    if (plugin != nullptr) {
        add("Plug-in version", VersionOf(static_cast<HMODULE>(plugin)));
    }
    add("Host", Utf8(PathOf(nullptr)));
    add("Temporary folder", Utf8(TemporaryPath()));
    add("Begun", TimeText(Now(), ':'));
    add("Item limit", std::to_string(settings.itemLimit));
    add("Recorder", VersionOf(static_cast<HMODULE>(recorder)));
    add("Code page", std::to_string(GetACP()));
    text += static_cast<char>(Recording::EndOfText);
    file.Write(text.data(), text.size());
}

void WriteCommands(const CommandTable& commands, OutputFile& file) {
    for (const DescribedCommand& command : commands.commands) {
        const Recording::CommandHead head{
            .number = command.number,
            .nameSize = static_cast<std::uint16_t>(command.name.size()),
            .usageSize = static_cast<std::uint16_t>(command.usageText.size())};
        std::string bytes(sizeof head, '\0');
        std::memcpy(bytes.data(), &head, sizeof head);
        file.WriteText(Recording::Chunk::Command, bytes + command.name + command.usageText);
    }
}
