#include "shell/files/TemporaryFiles.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "shell/files/FileSpecs.h"
#include "shell/files/SpecPaths.h"

#include <algorithm>

namespace {

constexpr long LastAttempt = 100000;

/// Stores a candidate for a free name; false when it would have no characters or more than 255.
bool MakeCandidate(const char* base, const char* extension, long attempt, unsigned char* name) {
    char text[LongestString + 1];
    const char* const dot = *extension != '\0' ? "." : "";
    const int length = attempt == 0
                           ? FormatText(text, sizeof text, "%s%s%s", base, dot, extension)
                           : FormatText(text, sizeof text, "%s.%lX%s%s", base,
                                        static_cast<unsigned long>(attempt), dot, extension);
    if (length < 1 || length > LongestString) {
        return false;
    }
    _CopyC2PStr(text, name);
    return true;
}

constexpr long LongestShortName = 12; // "LONGNA~1.TXT"

/// Looks for a free name in the folder that `inside` is the inside of.
OSErr FindFreeName(const FSSpec& inside, const char* base, const char* extension, FSSpec* out) {
    Str255 name;
    NativePath path;
    if (!MakeCandidate(base, extension, 0, name)) {
        return ResultCode::BadParameter;
    }
    if (const OSErr error = ReadFolderPath(&inside, &path)) {
        return error;
    }
    const long folderLength = path.length;
    NativePath shortFolder;
    for (long attempt = 0; attempt <= LastAttempt; ++attempt) {
        path.CutTo(folderLength);
        if (attempt == 1) {
            GetShortForm(path.bytes, &shortFolder);
        }
        if (!MakeCandidate(base, extension, attempt, name) || !AddName(name, &path)) {
            break;
        }
        // The first name gets a specification even when it is taken, which tells whether names of
        // its kind can have one. That the next ones are taken is told by their paths, far quicker,
        // if the short forms, of which their specifications would be made, are short enough.
        const long shortLength = shortFolder.length + std::max<long>(name[0], LongestShortName);
        if (attempt > 0 && shortLength <= LongestString && HasAttributes(path.bytes, 0)) {
            continue;
        }
        FSSpec candidate;
        const OSErr error = NativePathToFileSpec(path.bytes, path.length, &candidate);
        if (error == ResultCode::FileNotFound) {
            *out = candidate;
        }
        if (error != ResultCode::NoError) {
            return error; // deliberate: -43 says that the name is free, and callers take it for 0
        }
    }
    return ResultCode::BadParameter;
}

} // namespace

OSErr GetTempFolderSpec(FSSpec* spec) {
    NativePath path;
    const OSErr error = FindTempFolder(&path);
    if (error != ResultCode::NoError) {
        ZeroFileSpec(spec);
    }
    // Deliberate when there is none: callers tell by the specification as it was.
    return path.length > 0 ? NativePathToFileSpec(path.bytes, path.length, spec) : error;
}

OSErr GetTempFileSpecInFolder(FSSpec* out, const FSSpec* folder, const char* base,
                              const char* extension) {
    FSSpec inside = folder != nullptr ? *folder : FSSpec{}; // `out` may be the same
    ZeroFileSpec(out);
    if (out == nullptr || folder == nullptr || base == nullptr || extension == nullptr) {
        return ResultCode::BadParameter;
    }
    Str63 folderName;
    GetFileSpecName(&inside, folderName);
    OSErr error = FSMakeFSSpec(inside.vRefNum, inside.parID, folderName, &inside);
    if (error == ResultCode::NoError && inside.name[0] != 0) {
        error = GoInsideFolder(&inside);
    }
    return error == ResultCode::NoError ? FindFreeName(inside, base, extension, out) : error;
}

OSErr GetTempFileSpec(FSSpec* out, const char* base, const char* extension) {
    ZeroFileSpec(out);
    FSSpec folder{};
    const OSErr error = GetTempFolderSpec(&folder);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (IsEmptyFileSpec(folder)) { // the system named none; the current folder is not meant
        return ResultCode::NotAFolder;
    }
    return GetTempFileSpecInFolder(out, &folder, base, extension);
}

OSErr CreateSafeOutputFileSpec(const FSSpec* target, FSSpec* temporary) {
    char name[sizeof(Str63)];
    GetFileSpecNameC(target, name);
    FSSpec parent{};
    const OSErr error = GetParentFolderSpec(target, &parent);
    ZeroFileSpec(temporary);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (IsEmptyFileSpec(parent)) {
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
