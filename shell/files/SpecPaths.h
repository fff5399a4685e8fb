#pragma once

#include "platform/Toolbox.h"
#include "platform/Types.h"
#include "shell/files/NativePaths.h"

#include <memory>
#include <string_view>

// What the functions that make specifications of paths and paths of specifications share.

inline constexpr long LongestString = sizeof(Str255) - 1;
inline constexpr long ConversionRoom = 64; ///< bytes by which a converted text may be longer

struct PointerDisposer {
    void operator()(char* bytes) const { DisposePtr(bytes); }
};

/// A block of the toolbox from NewPtrClear, given back at the end of the scope; null when the
/// memory cannot be had.
using PathBlock = std::unique_ptr<char, PointerDisposer>;

/// The characters of a Pascal string.
inline std::string_view CharactersOf(const unsigned char* string) {
    return {reinterpret_cast<const char*>(string + 1), string[0]};
}

/// Convert a text of up to 255 characters to the ANSI code page and to the host's character set,
/// cut to 255 characters. It may be the one in `string`.
void ToAnsi(std::string_view text, Str255 string);
void ToMacintosh(std::string_view text, Str255 string);

/// Specification of a path in the ANSI code page, as it stands; -50 when it has 256 characters and
/// more. NativePathToFileSpec of a path where nothing is comes to the same, more slowly.
OSErr MakeSpecOfAnsi(std::string_view path, FSSpec* spec);
/// Native path of an existing folder with its backslash; -120 when it is something else.
OSErr ReadFolderPath(const FSSpec* folder, NativePath* path);
/// Adds a name (Pascal string, host's character set) to a folder's path; false when it is too long.
bool AddName(const unsigned char* name, NativePath* folder);
