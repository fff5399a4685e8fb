#pragma once

#include "platform/Types.h"

// Copying files; deleting folders with what is in them, and links to folders. Result codes are
// those of shell/files/FileSpecs.h.

/// Whether this is the path of a link (symbolic or junction) to a folder, without a backslash at
/// the end. Folders that carry a mark of another kind, as synchronised ones do, are none.
bool IsFolderLink(const char* path);
/// Deletes such a link, `path`, and never what it leads to. False, with the system's last error,
/// when it is still there; that is so where the system can only follow it (Wine).
bool DeleteFolderLink(const char* path);

/// Deletes everything inside the folder `path` with all that is in its folders. What cannot be
/// deleted, or has a path of more than 1,040 characters, stays without an error. Links to folders
/// are deleted, not followed. Answers whether the folder could be listed.
bool EmptyDirectory(const char* path);

/// Copies the file `from`. An existing one at `to` is replaced when `overwrite` is set, else -48.
OSErr CopyFileSpec(const FSSpec* from, const FSSpec* to, bool overwrite);
/// Deletes a `folder` with its contents, as EmptyDirectory does; of a link to a folder the link
/// only. -43 when it is not there, nor perhaps what it was in; -50 for an empty specification, -54
/// for a drive's root, with nothing deleted.
OSErr DeleteDirSpec(const FSSpec* folder);
