// The folders in which a plug-in keeps files.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/Entry.h"
#include "shell/FileSpecs.h"
#include "shell/FourDPlug.h"
#include "shell/LongPaths.h"
#include "shell/SafeOutput.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include <windows.h>

namespace {

constexpr const char* MakersName = "Tarnwell";
constexpr const char* LogsName = "Vorlogs";

/// Whether `path` is a folder: 0, -43 when it does not exist, -120 when it is something else.
OSErr CheckFolder(const char* path) {
    const DWORD attributes = *path != '\0' ? GetFileAttributesA(path) : INVALID_FILE_ATTRIBUTES;
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return ResultCode::FileNotFound;
    }
    return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? ResultCode::NoError
                                                        : ResultCode::NotAFolder;
}

/// Joins folder and name with one backslash; -37 when the path would not be one that Windows takes.
OSErr JoinPath(const char* folder, const char* name, char (&path)[MAX_PATH]) {
    const std::size_t length = std::strlen(folder);
    const bool ends = length > 0 && folder[length - 1] == '\\';
    const int written = std::snprintf(path, sizeof path, ends ? "%s%s" : "%s\\%s", folder, name);
    return written > 0 && written < MAX_PATH ? ResultCode::NoError : ResultCode::BadName;
}

/// Joins and checks in one go.
OSErr FindFolder(const char* folder, const char* name, char (&path)[MAX_PATH]) {
    const OSErr error = JoinPath(folder, name, path);
    return error == ResultCode::NoError ? CheckFolder(path) : error;
}

/// Stores a folder's path with its trailing backslash; -37 when that would need more than MAX_PATH
/// bytes.
OSErr GiveFolderPath(const char* path, char* out) {
    if (std::strlen(path) + 2 > MAX_PATH) {
        return ResultCode::BadName;
    }
    _CopyCStr(path, out);
    _CatCStr("\\", out);
    return ResultCode::NoError;
}

bool IsEmpty(const FSSpec& spec) {
    return spec.vRefNum == 0 && spec.parID == 0 && spec.name[0] == 0;
}

/// Specification of a name in the folder whose inside `folder` specifies.
OSErr MakeInside(const FSSpec& folder, const char* name, FSSpec* spec) {
    Str63 pascalName;
    _CopyC2PStrN(name, pascalName, 63);
    return FSMakeFSSpec(folder.vRefNum, folder.parID, pascalName, spec);
}

/// Stores the specification of the logs folder in `folder`; 0 when it is one, -120 when the name
/// is something else's.
OSErr FindLogs(const FSSpec& folder, FSSpec* logs) {
    Str63 name;
    _CopyC2PStr(LogsName, name);
    const OSErr error = MakeFSSpecInFolder(&folder, name, logs);
    if (error != ResultCode::NoError) {
        return error;
    }
    unsigned char isFolder = 0;
    IsFolder(logs, &isFolder);
    return isFolder != 0 ? ResultCode::NoError : ResultCode::NotAFolder;
}

/// Native path of a specification that need not exist, cut to `size` - 1 characters. -43 is none.
OSErr GivePath(const FSSpec& spec, char* out, long size) {
    if (out == nullptr || size < 1) {
        return ResultCode::BadParameter;
    }
    out[0] = '\0';
    if (IsEmpty(spec)) { // it would stand for the current folder
        return ResultCode::FileNotFound;
    }
    char path[LongestPath + 1] = {};
    long length = LongestPath;
    const OSErr error = FileSpecToNativePath(&spec, path, &length);
    if (path[0] == '\0') {
        length = 0; // the folder around it has gone meanwhile
    }
    if (error == ResultCode::NoError || error == ResultCode::FileNotFound) {
        const long given = std::clamp(length, 0L, std::min(size - 1, LongestPath));
        std::copy_n(path, given, out);
        out[given] = '\0';
    }
    return error == ResultCode::FileNotFound ? ResultCode::NoError : error;
}

} // namespace

OSErr FourDPlug::GetPluginParentFolderSpec(FSSpec* spec) {
    return NativePathToFileSpec(LibraryFolder(), static_cast<long>(std::strlen(LibraryFolder())),
                                spec);
}

OSErr FourDPlug::GetTarnwellFolderPathWin(char* out) {
    out[0] = '\0';
    OSErr error = CheckFolder(gHost.prefsFolderPath);
    char path[MAX_PATH];
    if (error == ResultCode::NoError) {
        error = FindFolder(gHost.prefsFolderPath, MakersName, path);
    }
    if (error == ResultCode::NoError) {
        _CopyCStr(path, out);
    }
    return error;
}

OSErr FourDPlug::GetTarnwellFolderSpec(FSSpec* out, unsigned char create) {
    ZeroFileSpec(out);
    if (IsEmpty(gHost.prefsFolder)) {
        return ResultCode::FileNotFound;
    }
    FSSpec folder = gHost.prefsFolder;
    OSErr error = GoInsideFolder(&folder);
    if (error != ResultCode::NoError) {
        return error;
    }
    FSSpec makers;
    error = MakeInside(folder, MakersName, &makers);
    if (error == ResultCode::FileNotFound && create != 0) {
        char path[LongestPath + 1];
        GivePath(makers, path, sizeof path);
        if (path[0] == '\0') {
            return ResultCode::FileNotFound;
        }
        error = CreateDirectoryA(path, nullptr) != 0 ? ResultCode::NoError : ResultCode::BadName;
    }
    if (error == ResultCode::NoError) {
        error = GoInsideFolder(&makers);
    }
    if (error == ResultCode::NoError) {
        *out = makers;
    }
    return error;
}

// The path looks in the structure folder and then in the makers' folder, the specification in the
// library folder before them. Deliberate: each has its own callers, who keep their logs there.

OSErr FourDPlug::GetLogsFolderPathWin(char* out) {
    if (FourD::Is4DClient() != 0) {
        return ResultCode::NoError;
    }
    char path[MAX_PATH];
    if (gHost.structureFolderPath[0] != '\0' &&
        FindFolder(gHost.structureFolderPath, LogsName, path) == ResultCode::NoError) {
        return GiveFolderPath(path, out);
    }
    char makers[MAX_PATH];
    OSErr error = GetTarnwellFolderPathWin(makers);
    if (error == ResultCode::NoError) {
        error = FindFolder(makers, LogsName, path);
    }
    return error == ResultCode::NoError ? GiveFolderPath(path, out) : error;
}

OSErr FourDPlug::GetLogsFolderSpec(FSSpec* out) {
    ZeroFileSpec(out);
    FSSpec logs;
    FSSpec folder;
    if (GetPluginParentFolderSpec(&folder) == ResultCode::NoError &&
        FindLogs(folder, &logs) == ResultCode::NoError) {
        *out = logs;
        return ResultCode::NoError;
    }
    if (FourD::Is4DClient() == 0 && !IsEmpty(gHost.structureFolder) &&
        FindLogs(gHost.structureFolder, &logs) == ResultCode::NoError) {
        *out = logs;
        return ResultCode::NoError;
    }
    OSErr error = GetTarnwellFolderSpec(&folder, 0);
    if (error == ResultCode::NoError) {
        error = FindLogs(folder, &logs);
    }
    if (error == ResultCode::NoError) {
        *out = logs;
    }
    return error;
}

OSErr FourDPlug::GetLogsFolderPath(char* out, long size) {
    FSSpec logs;
    const OSErr error = GetLogsFolderSpec(&logs);
    return error == ResultCode::NoError ? GivePath(logs, out, size) : error;
}

OSErr FourDPlug::GetTempFolderSpec(FSSpec* out, unsigned char create) {
    ZeroFileSpec(out);
    char systemFolder[263] = {};
    if (GetTempPathA(sizeof systemFolder, systemFolder) == 0 || systemFolder[0] == '\0') {
        return ResultCode::NoError;
    }
    char folder[LongestPath + 1];
    const unsigned long length = GetLongPathNameCompat(systemFolder, folder, sizeof folder);
    if (length == 0) {
        return GetLastOSErr();
    }
    if (length >= sizeof folder) {
        return ResultCode::BadName;
    }
    // The window's handle gives each running host a folder of its own.
    const bool ends = folder[length - 1] == '\\';
    const int added =
        std::snprintf(folder + length, sizeof folder - length, "%s%s_%08lX", ends ? "" : "\\",
                      info->productName, FourD::MacPortToHWND(gHost.startupWindow));
    if (added < 0 || static_cast<unsigned long>(added) >= sizeof folder - length) {
        return ResultCode::BadName;
    }
    OSErr error = NativePathToFileSpec(folder, static_cast<long>(length) + added, out);
    if (error == ResultCode::FileNotFound && create != 0) {
        error = CreateDirectoryA(folder, nullptr) != 0 ? ResultCode::NoError : GetLastOSErr();
    }
    return error;
}

OSErr FourDPlug::GetTempFolderPath(char* out, long size, unsigned char create) {
    FSSpec folder;
    const OSErr error = GetTempFolderSpec(&folder, create);
    if (error != ResultCode::NoError && error != ResultCode::FileNotFound) {
        return error;
    }
    return GivePath(folder, out, size);
}

OSErr FourDPlug::GetTempFileSpec(FSSpec* out, const char* base, const char* extension) {
    ZeroFileSpec(out);
    FSSpec folder;
    const OSErr error = GetTempFolderSpec(&folder, 1);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (IsEmpty(folder)) { // -43 would say that a free name has been found
        return ResultCode::NotAFolder;
    }
    return GetTempFileSpecInFolder(out, &folder, base, extension);
}

OSErr FourDPlug::GetTempFilePath(char* out, long size, const char* base, const char* extension) {
    FSSpec file;
    const OSErr error = GetTempFileSpec(&file, base, extension);
    if (error != ResultCode::NoError && error != ResultCode::FileNotFound) {
        return error;
    }
    return GivePath(file, out, size);
}

/// Deletes the temporary folder with its contents; one that was never made is not looked for twice.
void FourDPlug::DeleteTempFolder() {
    FSSpec folder;
    if (GetTempFolderSpec(&folder, 0) == ResultCode::NoError && !IsEmpty(folder)) {
        DeleteDirSpec(&folder);
    }
}

void FourDPlug::InitDebugLog(long) {}

void FourDPlug::DeinitDebugLog() {}
