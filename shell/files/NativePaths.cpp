#include "shell/files/NativePaths.h"

#include "platform/ResultCodes.h"

#include <algorithm>
#include <cstring>

#include <windows.h>

namespace {

// What ShortToLongPathName works in; the host calls one function at a time.
NativePath givenPath;
NativePath longPath;

/// Length of the root, which stays as written: "C:\", "\" or "\\server\share\". 0 for paths that
/// stay so as a whole.
std::size_t RootLength(std::string_view path) {
    if (path.find(':') == 1) {
        return path.size() > 3 && path[2] == '\\' ? 3 : 0;
    }
    if (!path.starts_with("\\\\")) {
        return path.starts_with('\\') ? 1 : 0;
    }
    const std::size_t share = path.find('\\', 2);
    const bool hasServer = share > 2 && share < path.size();
    return hasServer ? path.find('\\', share + 1) + 1 : 0; // 0, too, when none is found
}

/// Makes `longPath` of `givenPath`, of which `rootLength` characters are the root. False when it is
/// too long.
bool BuildLongPath(std::size_t rootLength) {
    std::string_view rest = givenPath.bytes;
    bool fits = longPath.SetTo(rest.substr(0, rootLength));
    rest.remove_prefix(rootLength);
    while (fits && !rest.empty()) {
        const std::string_view component = rest.substr(0, rest.find('\\'));
        const long start = longPath.length;
        fits = longPath.Add(component);
        // Looking for "." or ".." would find the folder under its own name.
        if (fits && component.find_first_not_of('.') < component.size()) {
            WIN32_FIND_DATAA found;
            const HANDLE search = FindFirstFileA(longPath.bytes, &found);
            if (search == INVALID_HANDLE_VALUE) {
                return true;
            }
            FindClose(search);
            longPath.CutTo(start);
            fits = longPath.Add(found.cFileName);
        }
        rest.remove_prefix(component.size());
        fits = fits && longPath.Add(rest.substr(0, 1)); // a backslash, except at the end
        rest.remove_prefix(rest.empty() ? 0 : 1);
    }
    return fits;
}

/// Has a function of the system make another form of a path. Answers as GetLongForm.
template <typename Function>
bool GetForm(Function function, const char* path, NativePath* form) {
    const unsigned long length = function(path, form->bytes, sizeof form->bytes);
    if (length > LongestPath) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
    }
    form->CutTo(length <= LongestPath ? static_cast<long>(length) : 0);
    return form->length > 0;
}

} // namespace

bool NativePath::Add(std::string_view text) {
    const auto added = static_cast<long>(text.size());
    if (length + added > LongestPath) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return false;
    }
    std::copy(text.begin(), text.end(), bytes + length);
    CutTo(length + added);
    return true;
}

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
    if (!HasAttributes(path, 0) || !givenPath.SetTo(path)) {
        return 0;
    }
    strrep(givenPath.bytes, '/', '\\');
    const std::size_t rootLength = RootLength(givenPath.bytes);
    if (rootLength == 0) {
        longPath = givenPath;
    } else if (!BuildLongPath(rootLength)) {
        return 0;
    }
    const auto length = static_cast<unsigned long>(longPath.length);
    if (out == nullptr || length >= size) {
        return length + 1;
    }
    std::copy_n(longPath.bytes, length + 1, out);
    return length;
}

unsigned long GetLongPathNameCompat(const char* path, char* out, unsigned long size) {
    static const auto SystemFunction = reinterpret_cast<decltype(&GetLongPathNameA)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "GetLongPathNameA")));
    return SystemFunction != nullptr ? SystemFunction(path, out, size)
                                     : ShortToLongPathName(path, out, size);
}

bool GetLongForm(const char* path, NativePath* longForm) {
    return GetForm(GetLongPathNameCompat, path, longForm);
}

bool GetShortForm(const char* path, NativePath* shortForm) {
    return GetForm(GetShortPathNameA, path, shortForm);
}

bool HasAttributes(const char* path, unsigned long bits) {
    const DWORD attributes = GetFileAttributesA(path);
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & bits) == bits;
}

bool IsFolderPath(const char* path) {
    NativePath shortForm;
    return path != nullptr && *path != '\0' && GetShortForm(path, &shortForm) &&
           HasAttributes(path, FILE_ATTRIBUTE_DIRECTORY);
}

OSErr FindTempFolder(NativePath* path) {
    char given[263];
    path->CutTo(0);
    const unsigned long length = GetTempPathA(sizeof given, given);
    if (length == 0 || length >= sizeof given) {
        return ResultCode::NoError;
    }
    if (!GetLongForm(given, path)) {
        if (const OSErr error = GetLastOSErr()) {
            return error;
        }
        path->SetTo(given); // no error, no long form: as it is
    }
    path->AddBackslash();
    return ResultCode::NoError;
}
