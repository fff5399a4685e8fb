#include "testhost/app/Record.h"

#include "recording/Format.h"
#include "testhost/app/ExitCodes.h"
#include "testhost/model/ScratchFolder.h"
#include "testhost/session/Words.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <windows.h>

namespace {
constexpr const wchar_t* folderVariable = L"NIMBO_RECORDINGS";

std::filesystem::path RecorderFile() {
    wchar_t path[1024];
    const std::wstring program(path, GetModuleFileNameW(nullptr, path, std::size(path)));
    return std::filesystem::path(program).replace_filename(L"Recorder.dll");
}

// Before anything is played; what is there stays until there is something to take its place.
void CheckCanBeWritten(const std::filesystem::path& recording) {
    std::error_code error;
    const bool wasThere = std::filesystem::exists(recording, error);
    if (!std::ofstream(recording, std::ios::binary | std::ios::app)) {
        throw ScriptError("the recording " + Shown(recording) + " cannot be written");
    }
    if (!wasThere) {
        std::filesystem::remove(recording, error);
    }
}

// "-anna" for "recorder of Tour-anna 2026-11-23 06-31-05", when the plug-in is Tour.
std::wstring HostOf(const std::filesystem::path& made, const std::filesystem::path& plugin) {
    const size_t before = std::size(RecorderInPlace::prefix) - 1 + plugin.stem().wstring().size();
    const std::wstring rest = made.stem().wstring().substr(before);
    return rest.substr(0, rest.find(L' '));
}

// In the order in which they were made: their names tell the time.
std::vector<std::filesystem::path> RecordingsIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> recordings;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() == Recording::Extension) {
            recordings.push_back(entry.path());
        }
    }
    std::ranges::sort(recordings, {}, [](const auto& path) { return path.stem().wstring(); });
    return recordings;
}

// Answers whether all could be put there.
bool PutInPlace(const std::vector<std::filesystem::path>& made, const std::filesystem::path& plugin,
                const std::filesystem::path& recording, std::ostream& out) {
    std::map<std::wstring, int> counts;
    bool areThere = true;
    for (const std::filesystem::path& each : made) {
        const std::wstring host = HostOf(each, plugin);
        const int count = ++counts[host];
        std::filesystem::path place = recording;
        place.replace_filename(recording.stem().wstring() + host +
                               (count > 1 ? L" " + std::to_wstring(count) : L"") +
                               recording.extension().wstring());
        const bool isThere = MoveFileExW(each.c_str(), place.c_str(),
                                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_COPY_ALLOWED) != 0;
        areThere = areThere && isThere;
        out << (isThere ? "Recorded: " : "The recording could not be written: ") << Shown(place)
            << "\n";
    }
    return areThere;
}
} // namespace

int Record(const std::filesystem::path& plugin, const std::filesystem::path& recording,
           const std::function<int()>& play, std::ostream& out) {
    if (!std::filesystem::exists(RecorderFile())) {
        throw ScriptError(Shown(RecorderFile()) + " is missing");
    }
    CheckCanBeWritten(recording);
    ScratchFolder scratch;
    const std::wstring folder = FromAnsi(scratch.Path());
    SetEnvironmentVariableW(folderVariable, folder.c_str());
    const int code = play();
    if (code == ExitCode::wrongUse) {
        return code;
    }
    const std::vector<std::filesystem::path> made = RecordingsIn(folder);
    if (made.empty()) {
        out << "Nothing was recorded.\n";
    }
    const bool isThere = PutInPlace(made, plugin, recording, out) && !made.empty();
    return isThere ? code : std::max(code, ExitCode::somethingFailed);
}

RecorderInPlace RecorderToPlayWith() {
    wchar_t folder[1024];
    const DWORD length = GetEnvironmentVariableW(folderVariable, folder, std::size(folder));
    if (length == 0 || length >= std::size(folder)) {
        return {};
    }
    return {RecorderFile(), std::wstring(folder, length)};
}
