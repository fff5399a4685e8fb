#include "shell/files/CopyAndDelete.h"

#include "platform/ResultCodes.h"
#include "shell/files/FileSpecs.h"

#include <cstring>

#include <windows.h>

namespace {

constexpr long DriveRootLength = 3; // "C:\"

/// Opens a file or folder, and no more than the link where it is one.
HANDLE OpenLink(const char* path, DWORD access, DWORD flags) {
    return CreateFileA(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       nullptr, OPEN_EXISTING,
                       FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr);
}

/// The name by which an entry can be reached. One that the ANSI code page lacks comes with question
/// marks, or with a backslash or dots that would lead elsewhere: then the short one; null without.
const char* NameOf(const WIN32_FIND_DATAA& entry) {
    for (const char* const name : {entry.cFileName, entry.cAlternateFileName}) {
        if (std::strpbrk(name, "\\/:*?") == nullptr && name[std::strspn(name, ". ")] != '\0') {
            return name;
        }
    }
    return nullptr;
}

bool EmptyFolder(NativePath& folder);

/// Deletes a folder with all that is in it, or a link to a folder.
bool DeleteFolder(NativePath& path) {
    return IsFolderLink(path.bytes) ? DeleteFolderLink(path.bytes)
                                    : EmptyFolder(path) && RemoveDirectoryA(path.bytes) != 0;
}

/// Deletes what is in the folder of this path, which has no backslash at the end; what cannot be
/// deleted stays. What an entry is, is asked of its path: two names may be one in the ANSI code
/// page, and the entry that was listed a folder beside a link.
bool EmptyFolder(NativePath& folder) {
    const long length = folder.length;
    WIN32_FIND_DATAA entry;
    const HANDLE listing =
        folder.Add("\\*.*") ? FindFirstFileA(folder.bytes, &entry) : INVALID_HANDLE_VALUE;
    folder.CutTo(length);
    if (listing == INVALID_HANDLE_VALUE) {
        return false;
    }
    do {
        const char* const name = NameOf(entry);
        if (name == nullptr || !folder.AddBackslash() || !folder.Add(name)) {
            // It cannot be reached, and stays.
        } else if (HasAttributes(folder.bytes, FILE_ATTRIBUTE_DIRECTORY)) {
            DeleteFolder(folder);
        } else {
            DeleteFileA(folder.bytes);
        }
        folder.CutTo(length);
    } while (FindNextFileA(listing, &entry) != 0);
    FindClose(listing);
    return true;
}

} // namespace

bool IsFolderLink(const char* path) {
    constexpr DWORD LinkBits = FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT;
    if (path == nullptr || !HasAttributes(path, LinkBits)) {
        return false;
    }
    WIN32_FIND_DATAA entry{};
    const HANDLE search = FindFirstFileA(path, &entry);
    if (search != INVALID_HANDLE_VALUE) {
        FindClose(search);
    }
    // The mark of what stands for another name. Where the system tells of none (Wine), and when it
    // cannot be had, the folder is taken for a link, which keeps what is in it.
    const DWORD tag = entry.dwReserved0;
    return tag == 0 || IsReparseTagNameSurrogate(tag);
}

bool DeleteFolderLink(const char* path) {
    const HANDLE link = OpenLink(path, FILE_READ_ATTRIBUTES, 0);
    if (link == INVALID_HANDLE_VALUE) {
        return false;
    }
    BY_HANDLE_FILE_INFORMATION opened;
    HANDLE deleted = INVALID_HANDLE_VALUE;
    if (GetFileInformationByHandle(link, &opened) != 0 &&
        (opened.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
        deleted = OpenLink(path, DELETE, FILE_FLAG_DELETE_ON_CLOSE);
    } else {
        SetLastError(ERROR_ACCESS_DENIED); // some systems follow it: what was opened is no link
    }
    if (deleted != INVALID_HANDLE_VALUE) {
        CloseHandle(deleted);
    }
    CloseHandle(link);
    return deleted != INVALID_HANDLE_VALUE;
}

bool EmptyDirectory(const char* path) {
    // An empty path would list the root of the current drive.
    if (path == nullptr || path[0] == '\0') {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return false;
    }
    const std::string_view given = path;
    NativePath folder;
    return folder.SetTo(given.substr(0, given.find_last_not_of("\\/") + 1)) && EmptyFolder(folder);
}

OSErr CopyFileSpec(const FSSpec* from, const FSSpec* to, bool overwrite) {
    NativePath fromPath;
    NativePath toPath;
    if (const OSErr error = ReadNativePath(from, &fromPath)) {
        return error;
    }
    if (const OSErr error = ReadNativePath(to, &toPath)) {
        return error;
    }
    const BOOL copied = CopyFileA(fromPath.bytes, toPath.bytes, overwrite ? FALSE : TRUE);
    return copied != 0 ? OSErr{ResultCode::NoError} : GetLastOSErr();
}

OSErr DeleteDirSpec(const FSSpec* folder) {
    if (folder == nullptr || IsEmptyFileSpec(*folder)) {
        return ResultCode::BadParameter; // an empty one would stand for the current folder
    }
    NativePath path;
    if (const OSErr error = ReadNativePath(folder, &path)) {
        return error;
    }
    if (path.length == 0) {
        return ResultCode::FileNotFound; // what it was in has gone, too
    }
    if (path.length <= DriveRootLength) {
        return ResultCode::NoPermission; // a drive's root cannot be deleted, so it is not emptied
    }
    path.DropBackslash();
    return DeleteFolder(path) ? OSErr{ResultCode::NoError} : GetLastOSErr();
}
