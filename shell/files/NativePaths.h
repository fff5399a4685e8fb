#pragma once

#include "platform/Types.h"

#include <cstddef>
#include <string_view>

// Native Windows paths: zero-terminated strings in the system's ANSI code page.

/// Longest path that is worked on, in characters; a buffer for it has one byte more.
inline constexpr long LongestPath = 1040;

/// A path that is put together piece by piece; empty at first.
struct NativePath {
    char bytes[LongestPath + 1] = {};
    long length = 0; ///< without the terminator

    /// Adds a `text` to the path. False, with nothing added, when it would be too long;
    /// that is the system's last error then.
    bool Add(std::string_view text);
    /// Makes `text` the path; false, with an empty one, when it is too long.
    bool SetTo(std::string_view text) {
        CutTo(0);
        return Add(text);
    }
    /// Cuts the path to `newLength` characters, at most as many as it has.
    void CutTo(long newLength) {
        length = newLength;
        bytes[length] = '\0';
    }
    /// The path's characters, without the terminator.
    std::string_view View() const { return {bytes, static_cast<std::size_t>(length)}; }
    /// Whether there is a backslash at the end.
    bool EndsWithBackslash() const { return length > 0 && bytes[length - 1] == '\\'; }
    /// Adds one unless it is there; false when the path would be too long.
    bool AddBackslash() { return EndsWithBackslash() || Add("\\"); }
    /// Takes the backslash at the end away, if there is one.
    void DropBackslash() { CutTo(length - (EndsWithBackslash() ? 1 : 0)); }
};

/// The system's last error as a result code: 0, -43 not found, -54 access denied or in use, -35 no
/// such drive, -34 disk full, -48 exists already, -36 anything else.
OSErr GetLastOSErr();

/// Replaces every `from` in the text by `to`. Null is ignored.
void strrep(char* text, char from, char to);

/// Long form of an existing path, "/" turned into "\". Answers its length, the terminator not
/// counted; when `out` is null or its `size` is less than length + 1 bytes, length + 1, and `out`
/// is left alone; 0 for a path that is null, missing or longer than 1,040 characters in either form
/// (see the system's last error). A relative path stays one. Not re-entrant.
unsigned long ShortToLongPathName(const char* path, char* out, unsigned long size);
/// The same of `path` into `out`, of `size` bytes, by the system's own function where it has one.
unsigned long GetLongPathNameCompat(const char* path, char* out, unsigned long size);
/// @family Long and short (8.3) form, `longForm` and `shortForm`, of an existing path. False, with
/// an empty path, when it cannot be had: see GetLastOSErr().
bool GetLongForm(const char* path, NativePath* longForm);
bool GetShortForm(const char* path, NativePath* shortForm);

/// Whether something has this path, and all of these bits among its attributes.
bool HasAttributes(const char* path, unsigned long bits);
/// Whether this is the path of an existing folder.
bool IsFolderPath(const char* path);

/// Long path of the system's temporary folder, with its backslash; empty, and 0, when the system
/// names none.
OSErr FindTempFolder(NativePath* path);
