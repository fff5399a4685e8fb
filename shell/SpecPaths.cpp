// File specifications from and to the toolbox's own full paths, and to paths in text blocks.

#include "data/Handles.h"
#include "data/TextBlock.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/FileSpecs.h"
#include "shell/LongPaths.h"
#include "shell/PathBlock.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr long ConversionRoom = 64; // bytes by which a converted text may be longer
constexpr short LongestString = sizeof(Str255) - 1;

/// How many characters of a text are there: the length in one that came from outside may be more
/// than its handle holds. 0 for null.
long LengthOf(const CTextBlock* text) {
    Handle const handle = text != nullptr ? text->GetHandle() : nullptr;
    return handle != nullptr ? std::min<long>(text->GetLength(), GetHandleSize(handle)) : 0;
}

} // namespace

OSErr CTextBlockToFileSpec(CTextBlock* text, FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(spec);
    const long length = LengthOf(text);
    if (length < 1) {
        return ResultCode::BadParameter;
    }
    const PathBlock path(length + ConversionRoom);
    if (!path) {
        return ResultCode::MemoryFull;
    }
    const SHandleLocker locker(text->GetHandle());
    const long pathLength = ASI_MacToAnsiBuf(*text->GetHandle(), path.Bytes(), length, 1);
    return NativePathToFileSpec(path.Bytes(), pathLength, spec);
}

OSErr FileSpecToCTextBlock(const FSSpec* spec, CTextBlock* text) {
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    PathBlock path;
    long length = 0;
    if (const OSErr error = ReadNativePath(spec, 0, &path, &length)) {
        return error;
    }
    const auto error = static_cast<OSErr>(text->SetLength(static_cast<short>(length)));
    if (error == ResultCode::NoError && length > 0) {
        const SHandleLocker locker(text->GetHandle());
        ASI_AnsiToMacBuf(path.Bytes(), *text->GetHandle(), length);
    }
    return error;
}

OSErr XFileSpecToCTextBlock(const FSSpec* spec, CTextBlock* text) {
    return FileSpecToCTextBlock(spec, text);
}

OSErr ASI_FSMakeFSSpec(short volume, long directory, const unsigned char* name, FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    FSSpec given{};
    const OSErr error = FSMakeFSSpec(volume, directory, name, &given);
    *spec = given; // only now: the name may be the one in it
    if (error != ResultCode::NoError) {
        return error;
    }
    ZeroFileSpec(spec);
    char path[LongestPath + 1] = {};
    if (const OSErr pathError = ASI_HFSpec(given.parID, given.vRefNum, given.name, path)) {
        return pathError;
    }
    Str255 string;
    _CopyC2PStr(path, string); // deliberately cut to 255 characters: the toolbox takes no more
    return FSMakeFSSpec(0, 0, string, spec);
}

OSErr ASI_FSSpecToPath(const FSSpec* spec, char* path) {
    if (path == nullptr) {
        return ResultCode::BadParameter;
    }
    path[0] = '\0';
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    Str63 name;
    GetFileSpecName(spec, name);
    if (const OSErr error = ASI_HFSpec(spec->parID, spec->vRefNum, name, path)) {
        return error;
    }
    const auto length = static_cast<long>(std::strlen(path));
    unsigned char isFolder = 0;
    IsFolder(spec, &isFolder);
    if (isFolder != 0 && length > 0 && length < LongestPath) { // as far as the buffer reaches
        AddBackslash(path, length);
    }
    return ResultCode::NoError;
}

OSErr P_FSpLocationFromFullPath(short length, const void* path, FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(spec);
    if (length > LongestString) {
        return ResultCode::VolumeNotFound;
    }
    if (path == nullptr || length < 0) {
        return ResultCode::BadParameter;
    }
    Str255 string;
    string[0] = static_cast<unsigned char>(length);
    std::copy_n(static_cast<const unsigned char*>(path), length, string + 1);
    return ASI_FSMakeFSSpec(0, 0, string, spec);
}

OSErr P_FSpGetFullPath(const FSSpec* spec, short* length, Handle* path) {
    if (length == nullptr) {
        return ResultCode::BadParameter;
    }
    *length = 0;
    if (path == nullptr) {
        return ResultCode::BadParameter;
    }
    char bytes[LongestPath + 1];
    OSErr error = ASI_FSSpecToPath(spec, bytes);
    if (error != ResultCode::NoError) {
        return error;
    }
    const std::size_t pathLength = std::strlen(bytes);
    error = ResizeOrNewHandle(path, static_cast<unsigned long>(pathLength));
    if (error != ResultCode::NoError) {
        return error;
    }
    std::copy_n(bytes, pathLength, **path);
    *length = static_cast<short>(pathLength);
    return ResultCode::NoError;
}

OSErr CTextBlockToFSSpec(CTextBlock* text, FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(spec);
    const long length = LengthOf(text);
    if (length < 1) {
        return ResultCode::VolumeNotFound;
    }
    const SHandleLocker locker(text->GetHandle());
    return P_FSpLocationFromFullPath(static_cast<short>(length), *text->GetHandle(), spec);
}

OSErr FSSpecToCTextBlock(const FSSpec* spec, CTextBlock* text) {
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    text->SetLength(0);
    short length = 0;
    Handle path = nullptr;
    OSErr error = P_FSpGetFullPath(spec, &length, &path);
    if (error == ResultCode::NoError) {
        error = static_cast<OSErr>(text->SetTo(path));
    }
    if (error != ResultCode::NoError) {
        text->SetLength(0);
    }
    if (path != nullptr) {
        DisposeHandle(path);
    }
    return error;
}
