#include "shell/LongPaths.h"

#include "platform/ResultCodes.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string_view>

#include <windows.h>

namespace {

// What ShortToLongPathName works in; the host calls one function at a time.
char givenPath[LongestPath + 1];
char longPath[LongestPath + 1];

using LongPathFunction = DWORD(WINAPI*)(LPCSTR, LPSTR, DWORD);

bool BeginsWithDrive(const char* path) {
    return std::isalpha(static_cast<unsigned char>(path[0])) != 0 && path[1] == ':';
}

/// Length of "\\server\share\"; 0 when the path does not begin so.
std::size_t NetworkRootLength(const char* path) {
    const char* const server = path + 2;
    const char* const share = std::strchr(server, '\\');
    if (share == nullptr || share == server) {
        return 0;
    }
    const char* const end = std::strchr(share + 1, '\\');
    return end != nullptr ? static_cast<std::size_t>(end + 1 - path) : 0;
}

/// Length of the root, which stays as written; 0 for paths that stay so as a whole.
std::size_t RootLength(const char* path) {
    if (BeginsWithDrive(path)) {
        return path[2] == '\\' && path[3] != '\0' ? 3 : 0;
    }
    if (path[0] != '\\') {
        return 0;
    }
    return path[1] == '\\' ? NetworkRootLength(path) : 1;
}

/// Puts `text` at `position` of a buffer of LongestPath + 1 bytes and terminates it. Answers where
/// it ends; 0, with nothing written, when it does not fit.
std::size_t Put(std::string_view text, char* buffer, std::size_t position) {
    if (position + text.size() > LongestPath) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return 0;
    }
    std::copy(text.begin(), text.end(), buffer + position);
    buffer[position + text.size()] = '\0';
    return position + text.size();
}

/// Looking for "." or ".." would find the folder under its own name.
bool HasLongForm(std::string_view component) {
    return !component.empty() && component != "." && component != "..";
}

/// Makes `longPath` of `givenPath`, of which `rootLength` characters are the root. Answers its
/// length; 0 when it is too long.
std::size_t BuildLongPath(std::size_t rootLength) {
    std::string_view rest = givenPath;
    std::size_t length = Put(rest.substr(0, rootLength), longPath, 0);
    rest.remove_prefix(rootLength);
    while (length != 0 && !rest.empty()) {
        const std::string_view component = rest.substr(0, rest.find('\\'));
        const std::size_t start = length;
        length = Put(component, longPath, start);
        if (length != 0 && HasLongForm(component)) {
            WIN32_FIND_DATAA found;
            const HANDLE search = FindFirstFileA(longPath, &found);
            if (search == INVALID_HANDLE_VALUE) {
                return length;
            }
            FindClose(search);
            length = Put(found.cFileName, longPath, start);
        }
        rest.remove_prefix(component.size());
        if (length != 0 && !rest.empty()) {
            length = Put("\\", longPath, length);
            rest.remove_prefix(1);
        }
    }
    return length;
}

// --- Emptying a folder ----------------------------------------------------------------------

bool IsOnlyDotsAndSpaces(std::string_view name) {
    return name.find_first_not_of(". ") == std::string_view::npos;
}

/// The name by which an entry can be reached. One that the ANSI code page lacks comes with question
/// marks, or with a backslash or dots that would lead elsewhere: then the short one; null without.
const char* NameOf(const WIN32_FIND_DATAA& entry) {
    for (const char* const name : {entry.cFileName, entry.cAlternateFileName}) {
        if (std::strpbrk(name, "\\/:*?") == nullptr && !IsOnlyDotsAndSpaces(name)) {
            return name;
        }
    }
    return nullptr;
}

bool EmptyFolder(char* path, std::size_t length);

/// Deletes what is at `path`, a buffer as for Put, with all that is in it. Failures are ignored.
/// What it is, is asked of the path: two names may be one in the ANSI code page, and the entry that
/// was listed a folder beside a link.
void DeleteEntry(char* path, std::size_t length) {
    const DWORD attributes = GetFileAttributesA(path);
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return;
    }
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
        DeleteFileA(path);
    } else if ((attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        DeleteFolderLink(path);
    } else {
        EmptyFolder(path, length);
        path[length] = '\0';
        RemoveDirectoryA(path);
    }
}

/// Deletes what is in the folder at `path`, which has `length` characters and no backslash at the
/// end.
bool EmptyFolder(char* path, std::size_t length) {
    if (Put("\\*.*", path, length) == 0) {
        return false;
    }
    WIN32_FIND_DATAA entry;
    const HANDLE listing = FindFirstFileA(path, &entry);
    if (listing == INVALID_HANDLE_VALUE) {
        return false;
    }
    do {
        const char* const name = NameOf(entry);
        const std::size_t start = Put("\\", path, length);
        const std::size_t end = name != nullptr && start != 0 ? Put(name, path, start) : 0;
        if (end != 0) {
            DeleteEntry(path, end);
        }
    } while (FindNextFileA(listing, &entry) != 0);
    FindClose(listing);
    return true;
}

} // namespace

OSErr GetLastOSErr() {
    switch (GetLastError()) {
    case ERROR_SUCCESS:
        return ResultCode::NoError;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
        return ResultCode::FileNotFound;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
        return ResultCode::NoPermission;
    case ERROR_INVALID_DRIVE:
        return ResultCode::VolumeNotFound;
    case ERROR_HANDLE_DISK_FULL:
        return ResultCode::DiskFull;
    case ERROR_FILE_EXISTS:
        return ResultCode::DuplicateName;
    default:
        return ResultCode::InputOutput;
    }
}

void strrep(char* text, char from, char to) {
    if (text != nullptr) {
        std::replace(text, text + std::strlen(text), from, to);
    }
}

unsigned long ShortToLongPathName(const char* path, char* out, unsigned long size) {
    if (path == nullptr) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return 0;
    }
    if (GetFileAttributesA(path) == INVALID_FILE_ATTRIBUTES || Put(path, givenPath, 0) == 0) {
        return 0;
    }
    strrep(givenPath, '/', '\\');
    const std::size_t rootLength = RootLength(givenPath);
    const auto length = static_cast<unsigned long>(rootLength != 0 ? BuildLongPath(rootLength)
                                                                   : Put(givenPath, longPath, 0));
    if (length == 0) {
        return 0;
    }
    if (out == nullptr || length >= size) {
        return length + 1;
    }
    std::copy_n(longPath, length + 1, out);
    return length;
}

unsigned long GetLongPathNameCompat(const char* path, char* out, unsigned long size) {
    static const auto SystemFunction = reinterpret_cast<LongPathFunction>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "GetLongPathNameA")));
    return SystemFunction != nullptr ? SystemFunction(path, out, size)
                                     : ShortToLongPathName(path, out, size);
}

bool IsFolderPath(const char* path) {
    char shortPath[MAX_PATH + 1];
    if (path == nullptr || path[0] == '\0' ||
        GetShortPathNameA(path, shortPath, sizeof shortPath) == 0) {
        return false;
    }
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool IsFolderLink(const char* path) {
    constexpr DWORD LinkBits = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    const DWORD attributes = path != nullptr ? GetFileAttributesA(path) : INVALID_FILE_ATTRIBUTES;
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & LinkBits) == LinkBits;
}

bool DeleteFolderLink(const char* path) {
    const HANDLE link = CreateFileA(
        path, DELETE | FILE_READ_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
        nullptr, OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (link == INVALID_HANDLE_VALUE) {
        return false;
    }
    // Some systems follow it nevertheless: then what was opened is no link.
    BY_HANDLE_FILE_INFORMATION opened;
    bool deleted = GetFileInformationByHandle(link, &opened) != 0 &&
                   (opened.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (deleted) {
        FILE_DISPOSITION_INFO disposition{TRUE};
        deleted = SetFileInformationByHandle(link, FileDispositionInfo, &disposition,
                                             sizeof disposition) != 0;
    } else {
        SetLastError(ERROR_ACCESS_DENIED);
    }
    const DWORD error = GetLastError();
    CloseHandle(link);
    SetLastError(error);
    return deleted;
}

bool EmptyDirectory(const char* path) {
    // An empty path would list the root of the current drive.
    if (path == nullptr || path[0] == '\0') {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return false;
    }
    char folder[LongestPath + 1];
    std::size_t length = Put(path, folder, 0);
    if (length == 0) {
        return false;
    }
    while (length > 0 && (folder[length - 1] == '\\' || folder[length - 1] == '/')) {
        --length;
    }
    return EmptyFolder(folder, length);
}
