#include "shell/files/TemporaryFiles.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "shell/files/FileSpecs.h"
#include "shell/files/SpecPaths.h"

#include <algorithm>
#include <bitset>
#include <memory>
#include <new>
#include <string_view>

#include <windows.h>

namespace {

constexpr long LastAttempt = 100000;

/// Stores a candidate for a free name, with this number unless that is empty; false when it would
/// have no characters or more than 255.
bool MakeCandidate(const char* base, const char* number, const char* extension,
                   unsigned char* name) {
    char text[LongestString + 1];
    const int length = FormatText(text, sizeof text, "%s%s%s%s%s", base, *number != '\0' ? "." : "",
                                  number, *extension != '\0' ? "." : "", extension);
    if (length < 1 || length > LongestString) {
        return false;
    }
    _CopyC2PStr(text, name);
    return true;
}

/// The numbers that a listing of the folder shows as taken: those of names that are candidates
/// letter for letter. Of the others it says nothing, as the file system has names in other letters
/// and short names, too, and is the one to ask.
class TakenNumbers {
  public:
    /// Lists what is there by this path, which has "*" for the number.
    void List(const char* pattern) {
        wchar_t path[MAX_PATH]; // wide, as different letters may become one in the code page
        if (MultiByteToWideChar(CP_ACP, 0, pattern, -1, path, MAX_PATH) == 0) {
            return;
        }
        std::wstring_view before = path;
        before.remove_prefix(before.find_last_of(L"\\/") + 1);
        const std::size_t star = before.find(L'*');
        if (star == std::wstring_view::npos) { // it stands in the name of a folder
            return;
        }
        // No substr: what it throws brings 90 KB of the standard library along.
        std::wstring_view after = before;
        after.remove_prefix(star + 1);
        before.remove_suffix(before.size() - star);
        WIN32_FIND_DATAW found;
        const HANDLE search = FindFirstFileW(path, &found);
        if (search == INVALID_HANDLE_VALUE) {
            return;
        }
        do {
            std::wstring_view name = found.cFileName;
            if (name.size() > before.size() + after.size() && name.starts_with(before) &&
                name.ends_with(after)) {
                name.remove_prefix(before.size());
                name.remove_suffix(after.size());
                Note(name);
            }
        } while (FindNextFileW(search, &found) != 0);
        FindClose(search);
    }
    bool Has(long number) const { return numbers[static_cast<std::size_t>(number)]; }

  private:
    void Note(std::wstring_view digits) {
        constexpr std::wstring_view Digits = L"0123456789ABCDEF";
        std::size_t number = 0;
        for (const wchar_t letter : digits) {
            const std::size_t digit = Digits.find(letter);
            number = number * Digits.size() + digit;
            // That of a candidate does not begin with a zero.
            if (digit == std::wstring_view::npos || number == 0 || number > LastAttempt) {
                return;
            }
        }
        numbers[number] = true;
    }

    std::bitset<LastAttempt + 1> numbers;
};

constexpr long LongestShortName = 12; // "LONGNA~1.TXT"
constexpr long LongestNumber = 5;     // that of the last attempt

struct Folder {
    NativePath path;
    NativePath shortForm; ///< from the second candidate on

    /// Whether what is there under a name this long has a short form that is short enough: its
    /// specification is made of that.
    bool CanHaveSpec(long nameLength) const {
        return shortForm.length + std::max(nameLength, LongestShortName) <= LongestString;
    }
};

/// Lists the candidates that are there, if all could have a path and a specification.
void ListTaken(const Folder& folder, const char* base, const char* extension, TakenNumbers* taken) {
    NativePath pattern = folder.path;
    Str255 name;
    if (taken != nullptr && MakeCandidate(base, "*", extension, name) && AddName(name, &pattern) &&
        folder.CanHaveSpec(name[0] + LongestNumber) && pattern.length + LongestNumber < MAX_PATH) {
        taken->List(pattern.bytes);
    }
}

/// Looks for a free name in a folder.
OSErr FindFreeName(const FSSpec& spec, const char* base, const char* extension, FSSpec* out) {
    Str255 name;
    if (!MakeCandidate(base, "", extension, name)) {
        return ResultCode::BadParameter;
    }
    Folder folder;
    if (const OSErr error = ReadFolderPath(&spec, &folder.path)) {
        return error;
    }
    // The first name takes the long way, which tells whether names of its kind can have a
    // specification at all. For the next ones there are quicker answers.
    NativePath path = folder.path;
    OSErr error = AddName(name, &path) ? NativePathToFileSpec(path.bytes, path.length, out)
                                       : OSErr{ResultCode::BadParameter};
    std::unique_ptr<TakenNumbers> taken; // from the second taken name on; much for a host's stack
    for (long attempt = 1; error == ResultCode::NoError && attempt <= LastAttempt; ++attempt) {
        if (taken != nullptr && taken->Has(attempt)) {
            continue;
        }
        char number[16];
        FormatText(number, sizeof number, "%lX", static_cast<unsigned long>(attempt));
        path = folder.path;
        if (!MakeCandidate(base, number, extension, name) || !AddName(name, &path)) {
            break;
        }
        if (MakeSpecOfAnsi(path.View(), out) == ResultCode::FileNotFound) {
            return ResultCode::FileNotFound;
        }
        if (attempt == 1) { // a second taken name is often one of many
            GetShortForm(folder.path.bytes, &folder.shortForm);
            taken.reset(new (std::nothrow) TakenNumbers);
            ListTaken(folder, base, extension, taken.get());
        }
        if (!folder.CanHaveSpec(name[0]) || !HasAttributes(path.bytes, 0)) {
            error = NativePathToFileSpec(path.bytes, path.length, out);
        }
    }
    // Deliberate: -43 says that the name is free, and callers take it for 0.
    if (error != ResultCode::FileNotFound) {
        ZeroFileSpec(out);
    }
    return error != ResultCode::NoError ? error : OSErr{ResultCode::BadParameter};
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
    FSSpec found = folder != nullptr ? *folder : FSSpec{}; // `out` may be the same
    ZeroFileSpec(out);
    if (out == nullptr || folder == nullptr || base == nullptr || extension == nullptr) {
        return ResultCode::BadParameter;
    }
    Str63 folderName;
    GetFileSpecName(&found, folderName);
    const OSErr error = FSMakeFSSpec(found.vRefNum, found.parID, folderName, &found);
    // Not gone inside: its path is the same, and the catalogue would count what is in it.
    return error == ResultCode::NoError ? FindFreeName(found, base, extension, out) : error;
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
