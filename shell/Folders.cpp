// The folders in which a plug-in keeps files.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "shell/Entry.h"
#include "shell/files/CopyAndDelete.h"
#include "shell/files/FileSpecs.h"
#include "shell/files/NativePaths.h"
#include "shell/files/TemporaryFiles.h"
#include "shell/FourDPlug.h"

#include <cstring>

#include <windows.h>

namespace {

constexpr const char* MakersName = "Tarnwell";
constexpr const char* LogsName = "Vorlogs";

/// Whether `path` is a folder: 0, -43 when it does not exist, -120 when it is something else.
OSErr CheckFolder(const char* path) {
    if (!HasAttributes(path, 0)) {
        return ResultCode::FileNotFound;
    }
    return IsFolderPath(path) ? ResultCode::NoError : ResultCode::NotAFolder;
}

/// Finds a folder by its name in another one; as CheckFolder for both, or -37 when the path would
/// not be one that Windows takes.
OSErr FindFolder(const char* in, const char* name, NativePath* path) {
    if (const OSErr error = CheckFolder(in)) {
        return error;
    }
    const bool joined =
        path->SetTo(in) && path->AddBackslash() && path->Add(name) && path->length < MAX_PATH;
    return joined ? CheckFolder(path->bytes) : OSErr{ResultCode::BadName};
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

/// Native path of the specification that `make`, an OSErr(FSSpec*), stores, which need not exist,
/// cut to `size` - 1 characters. -50 without room for it; any other error of `make` than that
/// nothing is there; -43 for an empty specification.
template <typename Make>
OSErr GivePath(char* out, long size, Make make) {
    if (out == nullptr || size < 1) {
        return ResultCode::BadParameter;
    }
    FSSpec spec;
    OSErr error = make(&spec);
    if (error != ResultCode::NoError && error != ResultCode::FileNotFound) {
        return error;
    }
    *out = '\0';
    if (IsEmptyFileSpec(spec)) { // it would stand for the current folder
        return ResultCode::FileNotFound;
    }
    NativePath path;
    error = ReadNativePath(&spec, &path);
    _CopyCStrN(path.bytes, out, size - 1); // empty when the folder around it has gone meanwhile
    return error == ResultCode::FileNotFound ? ResultCode::NoError : error;
}

} // namespace

OSErr FourDPlug::GetPluginParentFolderSpec(FSSpec* spec) {
    return NativePathToFileSpec(LibraryFolder(), static_cast<long>(std::strlen(LibraryFolder())),
                                spec);
}

OSErr FourDPlug::GetTarnwellFolderPathWin(char* out) {
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    out[0] = '\0';
    NativePath path;
    const OSErr error = FindFolder(gHost.prefsFolderPath, MakersName, &path);
    if (error == ResultCode::NoError) {
        _CopyCStr(path.bytes, out);
    }
    return error;
}

OSErr FourDPlug::GetTarnwellFolderSpec(FSSpec* out, unsigned char create) {
    ZeroFileSpec(out);
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    if (IsEmptyFileSpec(gHost.prefsFolder)) {
        return ResultCode::FileNotFound;
    }
    FSSpec folder = gHost.prefsFolder;
    if (const OSErr error = GoInsideFolder(&folder)) {
        return error;
    }
    Str63 name;
    _CopyC2PStr(MakersName, name);
    OSErr error = FSMakeFSSpec(folder.vRefNum, folder.parID, name, out);
    if (error == ResultCode::FileNotFound && create != 0) {
        NativePath path;
        ReadNativePath(out, &path);
        if (path.length > 0) {
            error = CreateDirectoryA(path.bytes, nullptr) != 0 ? ResultCode::NoError
                                                               : ResultCode::BadName;
        }
    }
    if (error == ResultCode::NoError) {
        error = GoInsideFolder(out);
    }
    if (error != ResultCode::NoError) {
        ZeroFileSpec(out);
    }
    return error;
}

// The path looks in the structure folder and then in the makers' folder, the specification in the
// library folder before them. Deliberate: each has its own callers, who keep their logs there.

OSErr FourDPlug::GetLogsFolderPathWin(char* out) {
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    if (FourD::Is4DClient() != 0) {
        return ResultCode::NoError;
    }
    NativePath path;
    OSErr error = FindFolder(gHost.structureFolderPath, LogsName, &path);
    if (error != ResultCode::NoError) {
        char makers[MAX_PATH];
        error = GetTarnwellFolderPathWin(makers);
        if (error == ResultCode::NoError) {
            error = FindFolder(makers, LogsName, &path);
        }
    }
    if (error != ResultCode::NoError) {
        return error;
    }
    if (!path.AddBackslash() || path.length >= MAX_PATH) {
        return ResultCode::BadName;
    }
    _CopyCStr(path.bytes, out);
    return ResultCode::NoError;
}

OSErr FourDPlug::GetLogsFolderSpec(FSSpec* out) {
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    FSSpec folder;
    OSErr error = GetPluginParentFolderSpec(&folder);
    if (error == ResultCode::NoError) {
        error = FindLogs(folder, out);
    }
    if (error != ResultCode::NoError && FourD::Is4DClient() == 0 &&
        !IsEmptyFileSpec(gHost.structureFolder)) {
        error = FindLogs(gHost.structureFolder, out);
    }
    if (error != ResultCode::NoError) {
        error = GetTarnwellFolderSpec(&folder, 0);
        if (error == ResultCode::NoError) {
            error = FindLogs(folder, out);
        }
    }
    if (error != ResultCode::NoError) {
        ZeroFileSpec(out);
    }
    return error;
}

OSErr FourDPlug::GetLogsFolderPath(char* out, long size) {
    return GivePath(out, size, GetLogsFolderSpec);
}

OSErr FourDPlug::GetTempFolderSpec(FSSpec* out, unsigned char create) {
    ZeroFileSpec(out);
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    NativePath folder;
    OSErr error = FindTempFolder(&folder);
    if (error != ResultCode::NoError || folder.length == 0) {
        return error;
    }
    // The window's handle gives each running host a folder of its own. It is asked for once: when
    // the folder is to be deleted, the window may have gone.
    if (!tempFolderWindow) {
        tempFolderWindow = FourD::MacPortToHWND(gHost.startupWindow);
    }
    char window[9];
    _LongToHex(*tempFolderWindow, window);
    if (!folder.Add(info->productName) || !folder.Add("_") || !folder.Add(window)) {
        return ResultCode::BadName;
    }
    error = NativePathToFileSpec(folder.bytes, folder.length, out);
    if (error == ResultCode::FileNotFound && create != 0) {
        error = CreateDirectoryA(folder.bytes, nullptr) != 0 ? ResultCode::NoError : GetLastOSErr();
    }
    return error;
}

OSErr FourDPlug::GetTempFolderPath(char* out, long size, unsigned char create) {
    return GivePath(out, size,
                    [=, this](FSSpec* folder) { return GetTempFolderSpec(folder, create); });
}

OSErr FourDPlug::GetTempFileSpec(FSSpec* out, const char* base, const char* extension) {
    ZeroFileSpec(out);
    if (out == nullptr || base == nullptr || extension == nullptr) {
        return ResultCode::BadParameter; // before there is a folder
    }
    FSSpec folder;
    const OSErr error = GetTempFolderSpec(&folder, 1);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (IsEmptyFileSpec(folder)) { // -43 would say that a free name has been found
        return ResultCode::NotAFolder;
    }
    return GetTempFileSpecInFolder(out, &folder, base, extension);
}

OSErr FourDPlug::GetTempFilePath(char* out, long size, const char* base, const char* extension) {
    return GivePath(out, size,
                    [=, this](FSSpec* file) { return GetTempFileSpec(file, base, extension); });
}

/// Deletes the temporary folder with its contents, if it is there.
void FourDPlug::DeleteTempFolder() {
    FSSpec folder;
    if (GetTempFolderSpec(&folder, 0) == ResultCode::NoError && !IsEmptyFileSpec(folder)) {
        DeleteDirSpec(&folder);
    }
    tempFolderWindow.reset();
}

void FourDPlug::InitDebugLog(long) {}

void FourDPlug::DeinitDebugLog() {}
