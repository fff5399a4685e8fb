#include "shell/SafeOutput.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/FileSpecs.h"
#include "shell/LongPaths.h"
#include "shell/PathBlock.h"
#include "shell/Strings.h"

#include <cstdio>
#include <cstring>

#include <windows.h>

namespace {

constexpr long LastAttempt = 100000;
constexpr long DriveRootLength = 3; // "C:\"
constexpr int LongestString = sizeof(Str255) - 1;

bool IsEmptySpec(const FSSpec& spec) {
    return spec.vRefNum == 0 && spec.parID == 0 && spec.name[0] == 0;
}

/// Stores a candidate for a free name; false when it would have more than 255 characters.
bool MakeCandidate(const char* base, const char* extension, long attempt, unsigned char* name) {
    char text[LongestString + 1];
    const bool hasExtension = *extension != '\0';
    const auto number = static_cast<unsigned long>(attempt);
    int length = 0;
    if (attempt == 0) {
        length = std::snprintf(text, sizeof text, hasExtension ? "%s.%s" : "%s", base, extension);
    } else {
        length = std::snprintf(text, sizeof text, hasExtension ? "%s.%lX.%s" : "%s.%lX", base,
                               number, extension);
    }
    if (length < 0 || length > LongestString) {
        return false;
    }
    _CopyC2PStr(text, name);
    return true;
}

} // namespace

OSErr GetTempFolderSpec(FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    constexpr unsigned long LongestTempPath = 262;
    const PathBlock given(LongestTempPath + 1);
    const PathBlock path(LongestPath + 2);
    if (!given || !path) {
        ZeroFileSpec(spec);
        return ResultCode::MemoryFull;
    }
    const unsigned long givenLength = GetTempPathA(LongestTempPath, given.Bytes());
    if (givenLength == 0 || givenLength > LongestTempPath) {
        return ResultCode::NoError; // deliberate: callers tell by the specification as it was
    }
    ZeroFileSpec(spec);
    long length = GetLongForm(given.Bytes(), path.Bytes());
    if (length < 1) {
        if (const OSErr error = GetLastOSErr()) {
            return error;
        }
        _CopyCStr(given.Bytes(), path.Bytes()); // no error, no long form: as it is
        length = static_cast<long>(givenLength);
    }
    return NativePathToFileSpec(path.Bytes(), AddBackslash(path.Bytes(), length), spec);
}

OSErr GetTempFileSpecInFolder(FSSpec* out, const FSSpec* folder, const char* base,
                              const char* extension) {
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    FSSpec inside{};
    if (folder != nullptr) {
        inside = *folder; // `out` may be the same
    }
    ZeroFileSpec(out);
    if (folder == nullptr || base == nullptr || extension == nullptr) {
        return ResultCode::BadParameter;
    }
    Str63 folderName;
    GetFileSpecName(&inside, folderName);
    OSErr error = FSMakeFSSpec(inside.vRefNum, inside.parID, folderName, &inside);
    if (error == ResultCode::NoError && inside.name[0] != 0) {
        error = GoInsideFolder(&inside);
    }
    for (long attempt = 0; error == ResultCode::NoError; ++attempt) {
        Str255 name;
        if (attempt > LastAttempt || !MakeCandidate(base, extension, attempt, name)) {
            return ResultCode::BadParameter;
        }
        FSSpec candidate;
        error = MakeFSSpecInFolder(&inside, name, &candidate);
        if (error == ResultCode::FileNotFound) {
            *out = candidate;
        }
    }
    return error; // deliberate: -43 says that the name is free, and callers take it for 0
}

OSErr GetTempFileSpec(FSSpec* out, const char* base, const char* extension) {
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(out);
    FSSpec folder{};
    const OSErr error = GetTempFolderSpec(&folder);
    return error == ResultCode::NoError ? GetTempFileSpecInFolder(out, &folder, base, extension)
                                        : error;
}

OSErr CopyFileSpec(const FSSpec* from, const FSSpec* to, bool overwrite) {
    PathBlock fromPath;
    PathBlock toPath;
    long length = 0;
    if (const OSErr error = ReadNativePath(from, 0, &fromPath, &length)) {
        return error;
    }
    if (const OSErr error = ReadNativePath(to, 0, &toPath, &length)) {
        return error;
    }
    const bool copied = CopyFileA(fromPath.Bytes(), toPath.Bytes(), overwrite ? FALSE : TRUE) != 0;
    return copied ? OSErr{ResultCode::NoError} : GetLastOSErr();
}

OSErr DeleteDirSpec(const FSSpec* folder) {
    if (folder == nullptr || IsEmptySpec(*folder)) {
        return ResultCode::BadParameter; // an empty one would stand for the current folder
    }
    PathBlock path;
    long length = 0;
    if (const OSErr error = ReadNativePath(folder, 0, &path, &length)) {
        return error;
    }
    if (length <= DriveRootLength) {
        return ResultCode::NoPermission; // a drive's root cannot be deleted, so it is not emptied
    }
    char* const bytes = path.Bytes();
    if (bytes[length - 1] == '\\') {
        bytes[length - 1] = '\0';
    }
    const bool deleted = IsFolderLink(bytes)
                             ? DeleteFolderLink(bytes)
                             : EmptyDirectory(bytes) && RemoveDirectoryA(bytes) != 0;
    return deleted ? OSErr{ResultCode::NoError} : GetLastOSErr();
}

OSErr CreateSafeOutputFileSpec(const FSSpec* target, FSSpec* temporary) {
    if (target == nullptr || temporary == nullptr) {
        return ResultCode::BadParameter;
    }
    char name[sizeof(Str63)];
    GetFileSpecNameC(target, name);
    FSSpec parent{};
    const OSErr error = GetParentFolderSpec(target, &parent);
    ZeroFileSpec(temporary);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (IsEmptySpec(parent)) {
        return ResultCode::MemoryFull; // it was passed over; the current folder is not meant
    }
    return GetTempFileSpecInFolder(temporary, &parent, name, "");
}

OSErr CleanupSafeOutputFileSpec(short error, const FSSpec* target, const FSSpec* temporary) {
    if (temporary == nullptr) {
        return ResultCode::BadParameter;
    }
    if (error != ResultCode::NoError) {
        FSpDelete(temporary); // the target itself when there was none before
        return error;
    }
    if (target == nullptr) {
        return ResultCode::BadParameter;
    }
    Str63 targetName;
    Str63 temporaryName;
    GetFileSpecName(target, targetName);
    GetFileSpecName(temporary, temporaryName);
    if (EqualString(targetName, temporaryName, 0, 1) != 0) {
        return error;
    }
    FInfo info;
    if (FSpGetFInfo(temporary, &info) == ResultCode::FileNotFound) {
        return ResultCode::FileNotFound; // never written: the old target is all there is
    }
    const OSErr deleted = FSpDelete(target);
    if (deleted != ResultCode::NoError && deleted != ResultCode::FileNotFound) {
        FSpDelete(temporary);
        return deleted;
    }
    FSpRename(temporary, targetName); // deliberately not reported: the new file is there, whole
    return error;
}
