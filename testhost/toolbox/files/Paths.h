#pragma once

#include "platform/Types.h"

#include <string>
#include <string_view>

// Absolute Windows paths, and the names that stand in them. They begin with a drive, and end
// without a backslash, except for a drive's root.

/// "C:\", the shortest path.
inline constexpr std::size_t rootLength = 3;
/// Characters of a name in a specification.
inline constexpr std::size_t longestName = 63;

/// Whether a path is a drive's root.
bool IsRoot(const std::string& path);
/// A path taken apart; a root has the name "C:" and no folder.
struct PathParts {
    std::string folder;
    std::string name;
};
PathParts Split(const std::string& path);
/// The path of something in a folder.
std::string Join(const std::string& folder, std::string_view name);
/// The path with the long form of every part that is there.
std::string LongForm(const std::string& path);
/// Paths of the same file or folder have the same key: they may differ in case, and in the form.
std::string FileKey(const std::string& path);
/// Whether a path is that of `place` or of something in it. Both are in the long form.
bool IsAtOrIn(std::string_view path, std::string_view place);

/// Whether a file or folder can have this name.
bool IsName(std::string_view name);
/// The text in capitals.
std::string UpperCase(std::string_view text);
/// A name or path converted from the Macintosh character set, and back.
std::string ToWindows(std::string_view name);
std::string FromWindows(std::string_view name);
/// Stores a name as a Pascal string of 64 bytes in the Macintosh character set; -37 when it is too
/// long.
OSErr StoreName(std::string_view name, unsigned char* target);
/// The characters of a Pascal string; none for null.
std::string_view Characters(const unsigned char* text);
