// File specifications from and to native paths, the toolbox's own full paths, and paths in text
// blocks.

#include "shell/files/SpecPaths.h"

#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "platform/ResultCodes.h"
#include "shell/base/Strings.h"
#include "shell/files/FileSpecs.h"

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <limits>

#include <windows.h>

namespace {

/// Stores a converted text, cut to what a Pascal string holds.
template <typename Conversion>
void Convert(std::string_view text, Conversion conversion, unsigned char* string) {
    char converted[LongestString + ConversionRoom];
    const long length = conversion(text.data(), converted, static_cast<long>(text.size()));
    string[0] = static_cast<unsigned char>(std::clamp(length, 0L, LongestString));
    std::copy_n(converted, string[0], string + 1);
}

/// How many characters stand in front of the last name of a path; a backslash at the end of it does
/// not count as one.
std::size_t FolderLength(std::string_view path) {
    return path.empty() ? 0 : path.substr(0, path.size() - 1).find_last_of('\\') + 1;
}

/// FSMakeFSSpec of a path as it stands. When nothing is found so, and the path has characters
/// beyond ASCII, again with its first characters, as many as each of `ansiLengths`, converted from
/// the ANSI code page. The best result counts, among like ones the first: there, then missing in a
/// folder that is there.
OSErr MakeSpec(short volume, long directory, const unsigned char* path,
               std::initializer_list<std::size_t> ansiLengths, FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    FSSpec found{};
    OSErr error = FSMakeFSSpec(volume, directory, path, &found);
    const std::string_view text = path != nullptr ? CharactersOf(path) : std::string_view();
    const bool isAscii = std::all_of(text.begin(), text.end(), [](char character) {
        return static_cast<unsigned char>(character) < 0x80;
    });
    for (const std::size_t ansiLength : ansiLengths) {
        if (error == ResultCode::NoError || isAscii) {
            break;
        }
        Str255 converted;
        ToMacintosh(text.substr(0, ansiLength), converted);
        const std::size_t added =
            std::min(text.size() - ansiLength, sizeof(Str255) - 1 - converted[0]);
        std::copy_n(text.begin() + ansiLength, added, converted + 1 + converted[0]);
        converted[0] = static_cast<unsigned char>(converted[0] + added);
        FSSpec again{};
        const OSErr result = FSMakeFSSpec(volume, directory, converted, &again);
        if (result == ResultCode::NoError ||
            (result == ResultCode::FileNotFound && error != ResultCode::FileNotFound)) {
            error = result;
            found = again;
        }
    }
    *spec = found; // only now: the path may be the name in it
    return error;
}

/// How many characters of a text are there: the length in one that came from outside may be more
/// than its handle holds. 0 for null.
long LengthOf(const CTextBlock* text) {
    Handle const handle = text != nullptr ? text->GetHandle() : nullptr;
    return handle != nullptr ? std::min<long>(text->GetLength(), GetHandleSize(handle)) : 0;
}

} // namespace

void ToAnsi(std::string_view text, Str255 string) {
    const auto toAnsi = [](const char* from, char* to, long length) {
        return ASI_MacToAnsiBuf(from, to, length, 1);
    };
    Convert(text, toAnsi, string);
}

void ToMacintosh(std::string_view text, Str255 string) {
    Convert(text, ASI_AnsiToMacBuf, string);
}

OSErr MakeSpecOfAnsi(std::string_view path, FSSpec* spec) {
    if (path.size() > LongestString) {
        return ResultCode::BadParameter;
    }
    Str255 string;
    ToMacintosh(path, string);
    return FSMakeFSSpec(0, 0, string, spec);
}

OSErr NativePathToFileSpec(const char* path, long length, FSSpec* spec) {
    ZeroFileSpec(spec);
    if (spec == nullptr || path == nullptr || length < 1) {
        return ResultCode::BadParameter;
    }
    if (length == std::numeric_limits<long>::max()) {
        return ResultCode::MemoryFull;
    }
    const PathBlock given(NewPtrClear(length + 1));
    if (given == nullptr) {
        return ResultCode::MemoryFull;
    }
    std::copy_n(path, length, given.get());
    NativePath shortForm;
    if (!GetShortForm(given.get(), &shortForm)) {
        const OSErr error = GetLastOSErr();
        return error == ResultCode::FileNotFound
                   ? MakeSpecOfAnsi({given.get(), static_cast<std::size_t>(length)}, spec)
                   : error;
    }
    if (shortForm.length == 2 && shortForm.bytes[1] == ':') {
        shortForm.AddBackslash(); // a drive alone: its root
    }
    return MakeSpecOfAnsi(shortForm.bytes, spec);
}

OSErr ReadNativePath(const FSSpec* spec, NativePath* path) {
    path->CutTo(0);
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    const PathBlock given(NewPtrClear(LongestPath + 1));
    if (given == nullptr) {
        return ResultCode::MemoryFull;
    }
    Str255 name;
    GetFileSpecName(spec, name);
    ToAnsi(CharactersOf(name), name);
    ASI_HFSpec(spec->parID, spec->vRefNum, name, given.get());
    if (*given == '\0') {
        return ResultCode::VolumeNotFound;
    }
    NativePath shortForm;
    if (GetShortForm(given.get(), &shortForm)) {
        if (!GetLongForm(given.get(), path)) {
            return GetLastOSErr();
        }
        if (HasAttributes(path->bytes, FILE_ATTRIBUTE_DIRECTORY)) {
            path->AddBackslash();
        }
        return ResultCode::NoError;
    }
    if (const OSErr error = GetLastOSErr(); error != ResultCode::FileNotFound) {
        return error;
    }
    constexpr unsigned char NoName[] = {0};
    *given = '\0';
    const OSErr error = ASI_HFSpec(spec->parID, spec->vRefNum, NoName, given.get());
    if (!IsFolderPath(given.get())) {
        return error; // deliberate, even when it is 0: callers find the path empty then
    }
    const bool isLong = GetLongForm(given.get(), path) && path->AddBackslash();
    if (!isLong || !path->Add(CharactersOf(name))) {
        path->CutTo(0);
        return ResultCode::NotAFolder;
    }
    return error;
}

OSErr FileSpecToNativePath(const FSSpec* spec, char* out, long* length) {
    NativePath path;
    const OSErr error = ReadNativePath(spec, &path);
    if (path.length == 0) {
        return error;
    }
    long count = path.length;
    if (length != nullptr) {
        // Deliberate: a length below 1 is no limit; callers who know the length pass it so.
        count = *length >= 1 ? std::min(*length, count) : count;
        *length = path.length;
    }
    if (out != nullptr) {
        std::copy_n(path.bytes, count, out); // deliberately no terminator: callers set their own
    }
    return error;
}

OSErr XFileSpecToNativePath(const FSSpec* spec, char* out, long* length) {
    return FileSpecToNativePath(spec, out, length);
}

OSErr ReadFolderPath(const FSSpec* folder, NativePath* path) {
    if (const OSErr error = ReadNativePath(folder, path)) {
        return error;
    }
    if (!HasAttributes(path->bytes, FILE_ATTRIBUTE_DIRECTORY)) { // an empty path has none
        return ResultCode::NotAFolder;
    }
    path->AddBackslash();
    return ResultCode::NoError;
}

bool AddName(const unsigned char* name, NativePath* folder) {
    Str255 ansiName;
    ToAnsi(CharactersOf(name), ansiName);
    return folder->Add(CharactersOf(ansiName));
}

OSErr CTextBlockToFileSpec(CTextBlock* text, FSSpec* spec) {
    ZeroFileSpec(spec);
    const long length = LengthOf(text);
    if (spec == nullptr || length < 1) {
        return ResultCode::BadParameter;
    }
    const PathBlock path(NewPtrClear(length + ConversionRoom));
    if (path == nullptr) {
        return ResultCode::MemoryFull;
    }
    const SHandleLocker locker(text->GetHandle());
    const long pathLength = ASI_MacToAnsiBuf(*text->GetHandle(), path.get(), length, 1);
    return NativePathToFileSpec(path.get(), pathLength, spec);
}

OSErr FileSpecToCTextBlock(const FSSpec* spec, CTextBlock* text) {
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    NativePath path;
    if (const OSErr error = ReadNativePath(spec, &path)) {
        return error;
    }
    const auto error = static_cast<OSErr>(text->SetLength(static_cast<short>(path.length)));
    if (error != ResultCode::NoError) {
        text->SetLength(0); // it has the length already, but not the bytes
    } else if (path.length > 0) {
        const SHandleLocker locker(text->GetHandle());
        ASI_AnsiToMacBuf(path.bytes, *text->GetHandle(), path.length);
    }
    return error;
}

OSErr XFileSpecToCTextBlock(const FSSpec* spec, CTextBlock* text) {
    return FileSpecToCTextBlock(spec, text);
}

OSErr MakeSpecOfPath(short volume, long directory, const unsigned char* path, FSSpec* spec) {
    const std::string_view text = path != nullptr ? CharactersOf(path) : std::string_view();
    return MakeSpec(volume, directory, path, {text.size(), FolderLength(text)}, spec);
}

OSErr ASI_FSMakeFSSpec(short volume, long directory, const unsigned char* name, FSSpec* spec) {
    if (const OSErr error = MakeSpecOfPath(volume, directory, name, spec)) {
        return error;
    }
    const FSSpec given = *spec;
    ZeroFileSpec(spec);
    char path[LongestPath + 1] = {};
    if (const OSErr error = ASI_HFSpec(given.parID, given.vRefNum, given.name, path)) {
        return error;
    }
    Str255 string;
    _CopyC2PStr(path, string); // deliberately cut to 255 characters: the toolbox takes no more
    // The toolbox gives the folders in the ANSI code page, and the name as it stood.
    return MakeSpec(0, 0, string, {FolderLength(CharactersOf(string))}, spec);
}

OSErr ASI_FSSpecToPath(const FSSpec* spec, char* path) {
    if (path != nullptr) {
        *path = '\0';
    }
    if (path == nullptr || spec == nullptr) {
        return ResultCode::BadParameter;
    }
    Str63 name;
    GetFileSpecName(spec, name);
    if (const OSErr error = ASI_HFSpec(spec->parID, spec->vRefNum, name, path)) {
        return error;
    }
    const std::string_view text = path;
    unsigned char isFolder = 0;
    IsFolder(spec, &isFolder);
    if (isFolder != 0 && !text.empty() && text.back() != '\\' && text.size() < LongestPath) {
        _CatCStr("\\", path); // as far as the buffer reaches
    }
    return ResultCode::NoError;
}

OSErr P_FSpLocationFromFullPath(short length, const void* path, FSSpec* spec) {
    ZeroFileSpec(spec);
    if (spec == nullptr || path == nullptr || length < 0) {
        return ResultCode::BadParameter;
    }
    if (length > LongestString) {
        return ResultCode::VolumeNotFound;
    }
    Str255 string;
    string[0] = static_cast<unsigned char>(length);
    std::copy_n(static_cast<const unsigned char*>(path), length, string + 1);
    return ASI_FSMakeFSSpec(0, 0, string, spec);
}

OSErr P_FSpGetFullPath(const FSSpec* spec, short* length, Handle* path) {
    if (length != nullptr) {
        *length = 0;
    }
    if (length == nullptr || path == nullptr) {
        return ResultCode::BadParameter;
    }
    char bytes[LongestPath + 1];
    if (const OSErr error = ASI_FSSpecToPath(spec, bytes)) {
        return error;
    }
    const std::size_t pathLength = std::strlen(bytes);
    if (const OSErr error = ResizeOrNewHandle(path, static_cast<unsigned long>(pathLength))) {
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
    char path[LongestPath + 1];
    OSErr error = ASI_FSSpecToPath(spec, path);
    if (error == ResultCode::NoError) {
        error = static_cast<OSErr>(text->SetTo(path));
    }
    if (error != ResultCode::NoError) {
        text->SetLength(0);
    }
    return error;
}
