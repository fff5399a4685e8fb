#pragma once

#include "platform/Types.h"

// Native Windows paths: zero-terminated strings in the system's ANSI code page.

/// Longest path that is worked on, in characters; a buffer for it has one byte more.
inline constexpr long LongestPath = 1040;

/// The system's last error as a result code: 0, -43 not found, -54 access denied or in use, -35 no
/// such drive, -34 disk full, -48 exists already, -36 anything else.
OSErr GetLastOSErr();

/// Replaces every `from` in the text by `to`. Null is ignored.
void strrep(char* text, char from, char to);

/// Long form of an existing path, "/" turned into "\". Answers its length, the terminator not
/// counted; when `out` is null or has fewer than length + 1 bytes, length + 1, and `out` is left
/// alone; 0 for a path that is null, missing or longer than 1,040 characters in either form (see
/// the system's last error). Relative paths come back as they are. Not re-entrant.
unsigned long ShortToLongPathName(const char* path, char* out, unsigned long size);
/// The same by the system's own function where it has one.
unsigned long GetLongPathNameCompat(const char* path, char* out, unsigned long size);

/// Whether this is the path of an existing folder.
bool IsFolderPath(const char* path);

/// Whether this is the path of a link (symbolic or junction) to a folder, without a backslash at
/// the end.
bool IsFolderLink(const char* path);
/// Deletes such a link and never what it leads to. False, with the system's last error, when it is
/// still there; that is so where the system can only follow it (Wine).
bool DeleteFolderLink(const char* path);

/// Deletes everything inside the folder with all that is in its folders. What cannot be deleted,
/// or has a path of more than 1,040 characters, stays without an error. Links to folders are
/// deleted, not followed. Answers whether the folder could be listed.
bool EmptyDirectory(const char* path);
