#include "shell/FileSpecs.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/LongPaths.h"
#include "shell/PathBlock.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <limits>

#include <windows.h>

namespace {

constexpr long LongestName = sizeof(Str63) - 1;
constexpr long LongestString = sizeof(Str255) - 1;
constexpr long ConversionRoom = 64;       // bytes by which a converted text may be longer
constexpr OSType FolderType = 0x666F6C64; // 'fold'

/// The name of a specification, cut to what a specification holds.
void CopyName(const FSSpec* spec, unsigned char* name) {
    const long length = std::min<long>(spec->name[0], LongestName);
    name[0] = static_cast<unsigned char>(length);
    std::copy_n(spec->name + 1, length, name + 1);
}

/// Stores a converted text, cut to what a Pascal string holds.
void StoreString(const char* text, long length, unsigned char* string) {
    const long stored = std::clamp(length, 0L, LongestString);
    string[0] = static_cast<unsigned char>(stored);
    std::copy_n(text, stored, string + 1);
}

/// Converts a Pascal string to the ANSI code page in place.
void ToAnsi(Str255 string) {
    char text[LongestString + ConversionRoom];
    const long length = ASI_MacToAnsiBuf(string + 1, text, string[0], 1);
    StoreString(text, length, string);
}

/// Converts `length` characters of at most 255 to the host's character set.
void ToMacintosh(const char* text, long length, Str255 string) {
    char converted[LongestString + ConversionRoom];
    const long convertedLength = ASI_AnsiToMacBuf(text, converted, length);
    StoreString(converted, convertedLength, string);
}

/// Asks the catalogue about a name (host's character set) in the folder of a specification.
OSErr AskCatalogue(const FSSpec* spec, unsigned char* name, CInfoPBRec* entry) {
    *entry = {};
    entry->hFileInfo.ioNamePtr = name;
    entry->hFileInfo.ioVRefNum = spec->vRefNum;
    entry->hFileInfo.ioDirID = spec->parID;
    return PBGetCatInfoSync(entry);
}

OSErr AskCatalogue(const FSSpec* spec, CInfoPBRec* entry) {
    Str255 name;
    CopyName(spec, name);
    return AskCatalogue(spec, name, entry);
}

/// The same for a specification whose name is in the ANSI code page.
OSErr AskCatalogueAnsi(const FSSpec* spec, CInfoPBRec* entry) {
    Str255 name;
    CopyName(spec, name);
    Str255 hostName;
    ToMacintosh(reinterpret_cast<const char*>(name + 1), name[0], hostName);
    return AskCatalogue(spec, hostName, entry);
}

bool IsFolderEntry(const CInfoPBRec& entry) {
    return (entry.hFileInfo.ioFlAttrib & FileAttribute::Folder) != 0;
}

/// Makes the folder of a catalogue entry the inside that a specification specifies.
OSErr GoInside(OSErr error, const CInfoPBRec& entry, FSSpec* spec) {
    if (error != ResultCode::NoError) {
        return error;
    }
    if (!IsFolderEntry(entry)) {
        return ResultCode::NotAFolder; // the number of a file is no folder's
    }
    spec->parID = entry.dirInfo.ioDrDirID;
    spec->name[0] = 0;
    return ResultCode::NoError;
}

/// Specification of a path in the ANSI code page; -50 when it has 256 characters and more.
OSErr MakeSpecOfPath(const char* path, long length, FSSpec* spec) {
    if (length > LongestString) {
        return ResultCode::BadParameter;
    }
    Str255 string;
    ToMacintosh(path, length, string);
    return FSMakeFSSpec(0, 0, string, spec);
}

bool IsDriveAlone(const char* path) {
    return std::isalpha(static_cast<unsigned char>(path[0])) != 0 &&
           std::strcmp(path + 1, ":") == 0;
}

/// 0 when something has this path, -43 when not, or why that cannot be told.
OSErr AskPresence(const char* path) {
    char shortPath[MAX_PATH + 1];
    return GetShortPathNameA(path, shortPath, sizeof shortPath) != 0 ? OSErr{ResultCode::NoError}
                                                                     : GetLastOSErr();
}

bool IsFoundOrMissing(OSErr error) {
    return error == ResultCode::NoError || error == ResultCode::FileNotFound;
}

/// Long path of an existing item; a folder's with its backslash. Answers 0 when it cannot be had.
long GetItemPath(const char* given, char* path) {
    const long length = GetLongForm(given, path);
    return length > 0 && IsFolderPath(path) ? AddBackslash(path, length) : length;
}

/// Long path of a name in a folder. Answers 0 when that of the folder cannot be had.
long GetMissingItemPath(const char* folder, const unsigned char* name, char* path) {
    long length = GetLongForm(folder, path);
    if (length < 1) {
        return 0;
    }
    length = AddBackslash(path, length);
    _CopyP2CStr(name, path + length);
    return length + name[0];
}

/// Gives as many characters of a path as the caller has room for, and its length.
void GivePath(const char* path, long pathLength, char* out, long* length) {
    long count = pathLength;
    if (length != nullptr) {
        // Deliberate: a length below 1 is no limit; callers who know the length pass it so.
        count = *length >= 1 ? std::min(*length, pathLength) : pathLength;
        *length = pathLength;
    }
    if (out != nullptr && count >= 1) {
        std::copy_n(path, count, out); // deliberately no terminator: callers set their own
    }
}

} // namespace

void ZeroFileSpec(FSSpec* spec) {
    spec->vRefNum = 0;
    spec->parID = 0;
    spec->name[0] = 0;
}

OSErr NativePathToFileSpec(const char* path, long length, FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(spec);
    if (path == nullptr || length < 1) {
        return ResultCode::BadParameter;
    }
    if (length == std::numeric_limits<long>::max()) {
        return ResultCode::MemoryFull;
    }
    const PathBlock given(length + 1);
    if (!given) {
        return ResultCode::MemoryFull;
    }
    std::copy_n(path, length, given.Bytes());
    char shortPath[MAX_PATH + 2]; // the terminator, and the backslash behind a drive
    const unsigned long shortLength = GetShortPathNameA(given.Bytes(), shortPath, MAX_PATH + 1);
    if (shortLength == 0) {
        const OSErr error = GetLastOSErr();
        return error == ResultCode::FileNotFound ? MakeSpecOfPath(given.Bytes(), length, spec)
                                                 : error;
    }
    if (shortLength > LongestString) {
        return ResultCode::BadParameter;
    }
    auto usedLength = static_cast<long>(shortLength);
    if (IsDriveAlone(shortPath)) {
        usedLength = AddBackslash(shortPath, usedLength);
    }
    return MakeSpecOfPath(shortPath, usedLength, spec);
}

OSErr FileSpecToNativePath(const FSSpec* spec, char* out, long* length) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    const PathBlock given(LongestPath + 1);
    const PathBlock path(LongestPath + 1 + static_cast<long>(sizeof(Str255)) + 1);
    if (!given || !path) {
        return ResultCode::MemoryFull;
    }
    Str255 name;
    CopyName(spec, name);
    ToAnsi(name);
    ASI_HFSpec(spec->parID, spec->vRefNum, name, given.Bytes());
    if (given.Bytes()[0] == '\0') {
        return ResultCode::VolumeNotFound;
    }
    OSErr error = AskPresence(given.Bytes());
    long pathLength = 0;
    if (error == ResultCode::NoError) {
        pathLength = GetItemPath(given.Bytes(), path.Bytes());
        if (pathLength < 1) {
            return GetLastOSErr();
        }
    } else if (error == ResultCode::FileNotFound) {
        constexpr unsigned char NoName[] = {0};
        given.Bytes()[0] = '\0';
        error = ASI_HFSpec(spec->parID, spec->vRefNum, NoName, given.Bytes());
        if (!IsFolderPath(given.Bytes())) {
            return error; // deliberate, even when it is 0: callers find the path empty then
        }
        pathLength = GetMissingItemPath(given.Bytes(), name, path.Bytes());
        if (pathLength < 1) {
            return ResultCode::NotAFolder;
        }
    } else {
        return error;
    }
    GivePath(path.Bytes(), pathLength, out, length);
    return error;
}

OSErr XFileSpecToNativePath(const FSSpec* spec, char* out, long* length) {
    return FileSpecToNativePath(spec, out, length);
}

void GetFileSpecName(const FSSpec* spec, unsigned char* name) {
    if (name == nullptr) {
        return;
    }
    name[0] = 0;
    if (spec != nullptr) {
        CopyName(spec, name);
    }
}

void GetFileSpecNameC(const FSSpec* spec, char* name) {
    if (name == nullptr) {
        return;
    }
    Str63 string;
    GetFileSpecName(spec, string);
    _CopyP2CStr(string, name);
}

OSErr IsFolder(const FSSpec* spec, unsigned char* isFolder) {
    if (isFolder == nullptr) {
        return ResultCode::BadParameter;
    }
    *isFolder = 0;
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    CInfoPBRec entry;
    const OSErr error = AskCatalogue(spec, &entry);
    *isFolder = error == ResultCode::NoError && IsFolderEntry(entry) ? 1 : 0;
    return error;
}

bool IsFolderSpec(const FSSpec* spec) {
    CInfoPBRec entry;
    return spec != nullptr && AskCatalogueAnsi(spec, &entry) == ResultCode::NoError &&
           IsFolderEntry(entry);
}

OSErr GetFileSpecInfo(FSSpec* spec, FInfo* info) {
    if (spec == nullptr || info == nullptr) {
        return ResultCode::BadParameter;
    }
    unsigned char isFolder = 0;
    IsFolder(spec, &isFolder);
    if (isFolder == 0) {
        return FSpGetFInfo(spec, info);
    }
    *info = {};
    info->fdType = FolderType;
    return ResultCode::NoError;
}

OSErr GoInsideFolder(FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    CInfoPBRec entry;
    const OSErr error = AskCatalogue(spec, &entry);
    return GoInside(error, entry, spec);
}

OSErr GoInsideFolderSpec(FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    CInfoPBRec entry;
    const OSErr error = AskCatalogueAnsi(spec, &entry);
    return GoInside(error, entry, spec);
}

OSErr GetParentFolderSpec(const FSSpec* spec, FSSpec* parent) {
    if (parent == nullptr) {
        return ResultCode::BadParameter;
    }
    long length = 0;
    OSErr error = FileSpecToNativePath(spec, nullptr, &length);
    if (!IsFoundOrMissing(error)) {
        ZeroFileSpec(parent);
        return error;
    }
    const PathBlock path(length + 1);
    if (!path) {
        return error; // deliberate, mostly 0: callers tolerate a parent that is as it was
    }
    error = CopyNativePath(spec, path.Bytes(), &length);
    if (!IsFoundOrMissing(error)) {
        ZeroFileSpec(parent);
        return error;
    }
    char* const bytes = path.Bytes();
    if (length > 0 && bytes[length - 1] == '\\') {
        bytes[--length] = '\0';
    }
    if (const char* const separator = std::strrchr(bytes, '\\')) {
        length = static_cast<long>(separator - bytes);
    }
    return NativePathToFileSpec(bytes, length, parent);
}

OSErr MakeFSSpecInFolder(const FSSpec* folder, const unsigned char* name, FSSpec* out) {
    if (folder == nullptr || out == nullptr) {
        return ResultCode::BadParameter;
    }
    const FSSpec inFolder = *folder; // `out` may be the same, or hold the name
    Str255 ansiName{};
    if (name != nullptr) {
        _CopyPStr(name, ansiName);
    }
    ZeroFileSpec(out);
    if (ansiName[0] == 0) {
        return ResultCode::BadParameter;
    }
    PathBlock path;
    long length = 0;
    if (const OSErr error = ReadNativePath(&inFolder, sizeof(Str255), &path, &length)) {
        return error;
    }
    if (!IsFolderPath(path.Bytes())) { // an empty path is none either
        return ResultCode::NotAFolder;
    }
    length = AddBackslash(path.Bytes(), length);
    ToAnsi(ansiName);
    _CopyP2CStr(ansiName, path.Bytes() + length);
    return NativePathToFileSpec(path.Bytes(), length + ansiName[0], out);
}
