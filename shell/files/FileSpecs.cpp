#include "shell/files/FileSpecs.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "shell/files/SpecPaths.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr long LongestName = sizeof(Str63) - 1;
constexpr OSType FolderType = 0x666F6C64; // 'fold'

enum class NameIn { Macintosh, Ansi };

/// Asks the catalogue about a specification whose name is in this character set.
OSErr AskCatalogue(const FSSpec* spec, NameIn set, CInfoPBRec* entry) {
    *entry = {};
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    Str255 name;
    GetFileSpecName(spec, name);
    if (set == NameIn::Ansi) {
        ToMacintosh(CharactersOf(name), name);
    }
    entry->hFileInfo.ioNamePtr = name;
    entry->hFileInfo.ioVRefNum = spec->vRefNum;
    entry->hFileInfo.ioDirID = spec->parID;
    return PBGetCatInfoSync(entry);
}

bool IsFolderEntry(const CInfoPBRec& entry) {
    return (entry.hFileInfo.ioFlAttrib & FileAttribute::Folder) != 0;
}

OSErr GoInside(FSSpec* spec, NameIn set) {
    CInfoPBRec entry;
    if (const OSErr error = AskCatalogue(spec, set, &entry)) {
        return error;
    }
    if (!IsFolderEntry(entry)) {
        return ResultCode::NotAFolder; // the number of a file is no folder's
    }
    spec->parID = entry.dirInfo.ioDrDirID;
    spec->name[0] = 0;
    return ResultCode::NoError;
}

} // namespace

void ZeroFileSpec(FSSpec* spec) {
    if (spec != nullptr) {
        spec->vRefNum = 0;
        spec->parID = 0;
        spec->name[0] = 0;
    }
}

bool IsEmptyFileSpec(const FSSpec& spec) {
    return spec.vRefNum == 0 && spec.parID == 0 && spec.name[0] == 0;
}

void GetFileSpecName(const FSSpec* spec, unsigned char* name) {
    if (name == nullptr) {
        return;
    }
    const long length = spec != nullptr ? std::min<long>(spec->name[0], LongestName) : 0;
    name[0] = static_cast<unsigned char>(length);
    if (length > 0) {
        std::copy_n(spec->name + 1, length, name + 1);
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
    CInfoPBRec entry;
    const OSErr error = AskCatalogue(spec, NameIn::Macintosh, &entry);
    *isFolder = error == ResultCode::NoError && IsFolderEntry(entry) ? 1 : 0;
    return error;
}

bool IsFolderSpec(const FSSpec* spec) {
    CInfoPBRec entry;
    return AskCatalogue(spec, NameIn::Ansi, &entry) == ResultCode::NoError && IsFolderEntry(entry);
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
    return GoInside(spec, NameIn::Macintosh);
}

OSErr GoInsideFolderSpec(FSSpec* spec) {
    return GoInside(spec, NameIn::Ansi);
}

OSErr GetParentFolderSpec(const FSSpec* spec, FSSpec* parent) {
    NativePath path;
    const OSErr error = ReadNativePath(spec, &path);
    if (error != ResultCode::NoError && error != ResultCode::FileNotFound) {
        ZeroFileSpec(parent);
        return error;
    }
    const PathBlock block(NewPtrClear(path.length + 1));
    if (block == nullptr) {
        return error; // deliberate, mostly 0: callers tolerate a parent that is as it was
    }
    path.DropBackslash();
    std::copy_n(path.bytes, path.length, block.get());
    const char* const separator = std::strrchr(block.get(), '\\');
    return NativePathToFileSpec(
        block.get(), separator != nullptr ? separator - block.get() : path.length, parent);
}

OSErr MakeFSSpecInFolder(const FSSpec* folder, const unsigned char* name, FSSpec* out) {
    // Copies: `out` may be the folder, or hold the name.
    const FSSpec inFolder = folder != nullptr ? *folder : FSSpec{};
    Str255 nameInFolder{};
    if (name != nullptr) {
        _CopyPStr(name, nameInFolder);
    }
    ZeroFileSpec(out);
    if (folder == nullptr || out == nullptr || nameInFolder[0] == 0) {
        return ResultCode::BadParameter;
    }
    NativePath path;
    if (const OSErr error = ReadFolderPath(&inFolder, &path)) {
        return error;
    }
    return AddName(nameInFolder, &path) ? NativePathToFileSpec(path.bytes, path.length, out)
                                        : OSErr{ResultCode::BadParameter};
}
