#include "testhost/toolbox/files/FileSystem.h"

#include "platform/ResultCodes.h"
#include "testhost/toolbox/files/Paths.h"

#include <algorithm>
#include <iterator>

#include <windows.h>

namespace {

constexpr long firstIdentifier = 16;              // the smaller ones are the system's own
constexpr std::size_t longestPath = MAX_PATH - 1; // what the calls with narrow characters take

/// Whether a path begins with a drive: "C:", whatever follows.
bool BeginsWithDrive(std::string_view path) {
    return path.size() >= 2 && path[1] == ':' &&
           ((path[0] >= 'A' && path[0] <= 'Z') || (path[0] >= 'a' && path[0] <= 'z'));
}

char UpperLetter(char letter) {
    return static_cast<char>(letter & ~0x20);
}

/// The path of a drive's root; -35 without such a drive.
OSErr RootPath(char letter, std::string* path) {
    const char drive = UpperLetter(letter);
    // One name is looked up; GetLogicalDrives goes through all that the system has.
    const char name[] = {drive, ':', '\0'};
    char device[MAX_PATH];
    if (QueryDosDeviceA(name, device, sizeof device) == 0 &&
        GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
        return ResultCode::VolumeNotFound;
    }
    *path = {drive, ':', '\\'};
    return ResultCode::NoError;
}

short VolumeOf(const std::string& path) {
    return static_cast<short>('A' - 1 - path[0]);
}

/// The current folder's path. -35 when it is on no drive.
OSErr CurrentFolder(std::string* path) {
    char buffer[MAX_PATH];
    const DWORD length = GetCurrentDirectoryA(sizeof buffer, buffer);
    if (length == 0 || length >= sizeof buffer || !BeginsWithDrive(buffer)) {
        return ResultCode::VolumeNotFound;
    }
    path->assign(buffer, length);
    path->front() = UpperLetter(path->front());
    return ResultCode::NoError;
}

OSErr RootOfVolume(short volume, std::string* path) {
    if (volume == 0) {
        if (const OSErr error = CurrentFolder(path)) {
            return error;
        }
        path->resize(rootLength);
        return ResultCode::NoError;
    }
    if (volume > -1 || volume < -26) {
        return ResultCode::VolumeNotFound;
    }
    return RootPath(static_cast<char>('A' - 1 - volume), path);
}

/// Adds one part of a path to it.
OSErr Step(std::string_view part, std::string* path) {
    if (part == ".") {
        return ResultCode::NoError;
    }
    if (part == "..") {
        *path = IsRoot(*path) ? *path : Split(*path).folder;
        return ResultCode::NoError;
    }
    if (!IsName(part)) {
        return ResultCode::BadName;
    }
    *path = Join(*path, part);
    return path->size() <= longestPath ? ResultCode::NoError : ResultCode::BadName;
}

bool IsFolder(const std::string& path) {
    const DWORD attributes = GetFileAttributesA(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY);
}

/// -43 when nothing is there.
OSErr Presence(const std::string& path) {
    if (GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
        return ResultCode::NoError;
    }
    return FileResult(GetLastError());
}

} // namespace

FileSystem& TheFileSystem() {
    static FileSystem fileSystem;
    return fileSystem;
}

OSErr FileSystem::FolderPath(short volume, long folder, std::string* path) const {
    if (volume == 0 && folder == 0) {
        return CurrentFolder(path);
    }
    if (const OSErr error = RootOfVolume(volume, path)) {
        return error;
    }
    if (folder == 0 || folder == root) {
        return ResultCode::NoError;
    }
    const long index = folder - firstIdentifier;
    if (folder < firstIdentifier || index >= static_cast<long>(folders.size())) {
        return ResultCode::NotAFolder;
    }
    const std::string& found = folders[static_cast<std::size_t>(index)];
    if (found.empty() || VolumeOf(found) != VolumeOf(*path)) {
        return ResultCode::NotAFolder;
    }
    *path = found;
    return ResultCode::NoError;
}

OSErr FileSystem::PathOf(short volume, long folder, std::string_view name,
                         std::string* path) const {
    return WindowsPathOf(volume, folder, ToWindows(name), path);
}

OSErr FileSystem::WindowsPathOf(short volume, long folder, std::string_view name,
                                std::string* path) const {
    std::string_view rest = name;
    if (rest.starts_with("\\\\")) {
        return ResultCode::VolumeNotFound; // folders shared over the network are no volumes here
    }
    const bool isFull = BeginsWithDrive(rest);
    if (isFull && rest.size() >= rootLength && rest[2] != '\\') {
        return ResultCode::BadName;
    }
    if (const OSErr error = isFull ? RootPath(rest[0], path) : FolderPath(volume, folder, path)) {
        return error;
    }
    rest.remove_prefix(isFull ? std::min(rest.size(), rootLength) : 0);
    while (!rest.empty()) { // a backslash at the end says nothing
        const std::size_t length = std::min(rest.find('\\'), rest.size());
        if (const OSErr error = Step(rest.substr(0, length), path)) {
            return error;
        }
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    return ResultCode::NoError;
}

OSErr FileSystem::PathOf(const FSSpec& spec, std::string* path) const {
    if (spec.name[0] > longestName) {
        return ResultCode::BadName;
    }
    const std::string name = ToWindows(Characters(spec.name));
    if (spec.parID == rootParent) {
        if (const OSErr error = RootOfVolume(spec.vRefNum, path)) {
            return error;
        }
        return UpperCase(name) == path->substr(0, 2) ? ResultCode::NoError
                                                     : ResultCode::FileNotFound;
    }
    if (!IsName(name)) {
        return ResultCode::BadName;
    }
    const OSErr error = FolderPath(spec.vRefNum, spec.parID, path);
    return error ? error : Step(name, path);
}

OSErr FileSystem::SpecOf(const std::string& path, FSSpec* spec) {
    *spec = {};
    const PathParts parts = Split(path);
    FSSpec found{};
    if (const OSErr error = StoreName(parts.name, found.name)) {
        return error;
    }
    if (!IsRoot(path) && !IsFolder(parts.folder)) {
        return ResultCode::NotAFolder;
    }
    const OSErr error = Presence(path);
    if (error && error != ResultCode::FileNotFound) {
        return error;
    }
    found.vRefNum = VolumeOf(path);
    found.parID = ParentOf(path);
    *spec = found;
    return error;
}

long FileSystem::IdentifierOf(const std::string& path) {
    if (IsRoot(path)) {
        return root;
    }
    // One that is known as it stands is in its long form, which takes the system long to find.
    if (const auto known = numbers.find(UpperCase(path)); known != numbers.end()) {
        return known->second;
    }
    const std::string longPath = LongForm(path);
    const long next = firstIdentifier + static_cast<long>(folders.size());
    const auto [place, isNew] = numbers.try_emplace(UpperCase(longPath), next);
    if (isNew) {
        folders.push_back(longPath);
    }
    return place->second;
}

long FileSystem::ParentOf(const std::string& path) {
    return IsRoot(path) ? rootParent : IdentifierOf(Split(path).folder);
}

void FileSystem::Renamed(const std::string& from, const std::string& to) {
    numbers.clear();
    for (std::size_t i = 0; i < folders.size(); ++i) {
        std::string& path = folders[i];
        if (IsAtOrIn(path, from)) {
            path.replace(0, from.size(), to);
        } else if (IsAtOrIn(path, to)) {
            path.clear(); // of a folder that had this name before and is gone
        }
        if (!path.empty()) {
            numbers[UpperCase(path)] = firstIdentifier + static_cast<long>(i);
        }
    }
}

OSErr FileResult(unsigned long windowsError) {
    constexpr struct {
        unsigned long windowsError;
        OSErr result;
    } results[] = {
        {ERROR_FILE_NOT_FOUND, ResultCode::FileNotFound},
        {ERROR_PATH_NOT_FOUND, ResultCode::NotAFolder},
        {ERROR_DIRECTORY, ResultCode::NotAFolder},
        {ERROR_INVALID_DRIVE, ResultCode::VolumeNotFound},
        {ERROR_NOT_READY, ResultCode::VolumeNotFound},
        {ERROR_TOO_MANY_OPEN_FILES, ResultCode::TooManyFiles},
        {ERROR_ACCESS_DENIED, ResultCode::NoPermission},
        {ERROR_WRITE_PROTECT, ResultCode::DiskLocked},
        {ERROR_SHARING_VIOLATION, ResultCode::FileBusy}, // another program has it
        {ERROR_DIR_NOT_EMPTY, ResultCode::FileBusy},
        {ERROR_LOCK_VIOLATION, ResultCode::FileLocked}, // these bytes, by another program
        {ERROR_FILE_EXISTS, ResultCode::DuplicateName},
        {ERROR_ALREADY_EXISTS, ResultCode::DuplicateName},
        {ERROR_INVALID_NAME, ResultCode::BadName},
        {ERROR_BAD_PATHNAME, ResultCode::BadName},
        {ERROR_FILENAME_EXCED_RANGE, ResultCode::BadName},
        {ERROR_DISK_FULL, ResultCode::DiskFull},
        {ERROR_HANDLE_DISK_FULL, ResultCode::DiskFull},
        {ERROR_NOACCESS, ResultCode::BadParameter}, // the caller's buffer cannot be touched
        {ERROR_INVALID_USER_BUFFER, ResultCode::BadParameter},
    };
    const auto* found = std::find_if(std::begin(results), std::end(results), [&](const auto& row) {
        return row.windowsError == windowsError;
    });
    return found == std::end(results) ? ResultCode::InputOutput : found->result;
}
