#include "testhost/replay/Folders.h"

#include "host/boundary/Calls.h"
#include "host/boundary/Selectors.h"
#include "testhost/model/ScratchFolder.h"
#include "testhost/values/Encodings.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <system_error>
#include <utility>

#include <windows.h>

using namespace Recording;

namespace {
constexpr size_t longestPath = 260;

bool NamesFolder(const RecordedEvent& event) {
    constexpr SelectorPair services[] = {Select("StructureFolderPath"), Select("HostFolderPath"),
                                         Select("PrefsFolderPath")};
    return event.chunk == Chunk::CallEnds &&
           std::ranges::any_of(services, [&](const SelectorPair& service) {
               return event.head.selector ==
                      (event.way == Way::Engine ? service.engine : service.classic);
           });
}

bool IsPath(const std::string& text) {
    return text.size() > 3 && text.size() < longestPath && IsAnsiLetter(text[0]) &&
           text[1] == ':' && text[2] == '\\';
}

// The path in the answer, in the ANSI code page: in the name of a classic record, or behind one of
// its addresses. Empty when there is none.
std::string PathIn(const RecordedEvent& event) {
    if (event.way == Way::Classic) {
        const auto& fields = *reinterpret_cast<const ParameterBlock*>(event.contents.root.data());
        if (std::string name = FetchPascal(fields.name); IsPath(name)) {
            return name;
        }
    }
    for (const RecordedItem& item : event.contents.items) {
        const size_t step = item.head.form == Form::Units ? sizeof(wchar_t) : 1;
        std::string text;
        for (size_t place = 0; place + step <= item.bytes.size() && item.bytes[place] != 0;
             place += step) {
            text += static_cast<char>(item.bytes[place]);
        }
        if (IsPath(text)) {
            return text;
        }
    }
    return {};
}

bool IsFolder(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_directory(FromAnsi(path), error);
}

// The shortest beginning of the path that is no folder here and has at least so many characters.
std::string MissingPart(const std::string& folder, size_t least) {
    for (size_t end = folder.find('\\', 3); end != std::string::npos;
         end = folder.find('\\', end + 1)) {
        if (end >= least && !IsFolder(folder.substr(0, end))) {
            return folder.substr(0, end);
        }
    }
    return {};
}

std::vector<std::string> Names(std::string_view path) {
    std::vector<std::string> names(1);
    for (const char character : path) {
        if (character == '\\') {
            names.emplace_back();
        } else {
            names.back() += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
        }
    }
    return names;
}

// Whether the one path may be the other's short form, by its names: "TEST~1" for "testhost-7".
bool MayBeShortForm(std::string_view path, std::string_view whole) {
    const std::vector<std::string> names = Names(path);
    const std::vector<std::string> wholeNames = Names(whole);
    return std::ranges::equal(names, wholeNames, [](const auto& name, const auto& wholeName) {
        const size_t tilde = name.find('~');
        return name == wholeName || (tilde != std::string::npos && tilde != 0 &&
                                     wholeName.starts_with(name.substr(0, tilde)));
    });
}

// What in these bytes looks like the short form of a folder's path; empty when nothing does.
std::string ShortFormIn(std::string_view bytes, const std::string& folder) {
    for (size_t tilde = bytes.find('~'); tilde != std::string_view::npos;
         tilde = bytes.find('~', tilde + 1)) {
        const size_t colon = bytes.rfind(":\\", tilde);
        if (colon == std::string_view::npos || colon == 0) {
            continue;
        }
        size_t end = colon - 1;
        for (auto left = std::ranges::count(folder, '\\') + 1;
             left > 0 && end != std::string_view::npos; --left) {
            end = bytes.find('\\', end + 1);
        }
        const std::string_view path = bytes.substr(colon - 1, end - (colon - 1));
        if (path.size() < longestPath && MayBeShortForm(path, folder)) {
            return std::string(path);
        }
    }
    return {};
}

std::string FindShortForm(const RecordingFile& file, const std::string& folder) {
    for (const RecordedEvent& event : file.events) {
        for (const RecordedItem& item : event.contents.items) {
            std::string found = ShortFormIn(
                {reinterpret_cast<const char*>(item.bytes.data()), item.bytes.size()}, folder);
            if (!found.empty()) {
                return found;
            }
        }
    }
    return {};
}

std::string ShortForm(const std::string& path) {
    wchar_t text[longestPath];
    const DWORD length = GetShortPathNameW(FromAnsi(path).c_str(), text, longestPath);
    return length < longestPath ? Ansi(std::wstring(text, length)) : std::string();
}

void ReplaceIn(std::vector<unsigned char>& bytes, const std::string& from, const std::string& to,
               size_t step) {
    const auto widened = [step](const std::string& text) {
        std::vector<unsigned char> wide(text.size() * step);
        for (size_t place = 0; place < text.size(); ++place) {
            wide[place * step] = static_cast<unsigned char>(text[place]);
        }
        return wide;
    };
    const std::vector<unsigned char> old = widened(from);
    const std::vector<unsigned char> fresh = widened(to);
    for (auto found = std::search(bytes.begin(), bytes.end(), old.begin(), old.end());
         found != bytes.end(); found = std::search(found, bytes.end(), old.begin(), old.end())) {
        found = std::ranges::copy(fresh, found).out;
    }
}

void ReplaceText(RecordingFile& file, const std::string& from, const std::string& to) {
    for (RecordedEvent& event : file.events) {
        for (const size_t step : {size_t{1}, sizeof(wchar_t)}) {
            ReplaceIn(event.contents.root, from, to, step);
            for (RecordedItem& item : event.contents.items) {
                ReplaceIn(item.bytes, from, to, step);
            }
        }
    }
}
} // namespace

ReplacedFolders::ReplacedFolders(RecordingFile& file) {
    if (const auto temporary = file.head.find("Temporary folder"); temporary != file.head.end()) {
        ReplaceTemporary(file, NearestAnsi(FromUtf8(temporary->second)));
    }
    for (const RecordedEvent& event : file.events) {
        const std::string folder = NamesFolder(event) ? PathIn(event) : std::string();
        if (!folder.empty() && !IsFolder(folder)) {
            Replace(file, folder, TemporaryFolder());
        }
    }
}

ReplacedFolders::~ReplacedFolders() {
    std::error_code error;
    for (const std::string& folder : made) {
        std::filesystem::remove_all(FromAnsi(folder), error);
    }
}

// What the plug-in makes of its own accord goes where it went when it was recorded, or there where
// that folder has been replaced.
void ReplacedFolders::ReplaceTemporary(RecordingFile& file, const std::string& recorded) {
    std::wstring folder = FromAnsi(recorded);
    if (!IsFolder(recorded)) {
        // A session's own folder is deep: one beside it has the room for a name.
        const std::string own = TemporaryFolder();
        folder =
            FromAnsi(Replace(file, recorded, own.substr(0, own.rfind('\\', own.size() - 2) + 1)));
    }
    if (!folder.empty()) {
        SetEnvironmentVariableW(L"TMP", folder.c_str());
        SetEnvironmentVariableW(L"TEMP", folder.c_str());
    }
}

// Makes a folder in `start`, which ends with a backslash. Answers what stands for the recorded one;
// nothing when that cannot be.
std::string ReplacedFolders::Replace(RecordingFile& file, const std::string& folder,
                                     const std::string& start) {
    std::error_code error;
    const auto stands = std::ranges::find_if(
        made, [&](const std::string& each) { return folder.starts_with(each + "\\"); });
    if (stands != made.end()) {
        std::filesystem::create_directories(FromAnsi(folder), error);
        return folder;
    }
    constexpr size_t shortestName = 4;
    const std::string missing = MissingPart(folder, start.size() + shortestName);
    if (missing.empty()) {
        std::string note = "The folder " + folder +
                           " is not here, and its path is too short for another one to "
                           "take its place.";
        if (std::ranges::find(notes, note) == notes.end()) { // it may be asked for again
            notes.push_back(std::move(note));
        }
        return {};
    }
    std::string name = std::to_string(made.size() + 1) + std::to_string(GetCurrentProcessId());
    name.resize(missing.size() - start.size(), '0');
    const std::string here = start + name;
    std::string whole = here + folder.substr(missing.size());
    std::filesystem::create_directories(FromAnsi(whole), error);
    if (!IsFolder(here)) {
        notes.push_back("The folder " + here + " could not be made.");
        return {};
    }
    made.push_back(here);
    notes.push_back("In place of " + missing + ", which is not here, stands " + here + ".");
    // Both forms have to be looked for before the one is replaced.
    const std::string shortMissing = FindShortForm(file, missing);
    const std::string shortHere = ShortForm(here);
    ReplaceText(file, missing, here);
    if (!shortMissing.empty() && shortMissing.size() == shortHere.size()) {
        ReplaceText(file, shortMissing, shortHere);
    }
    return whole;
}
