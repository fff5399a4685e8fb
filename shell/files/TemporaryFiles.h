#pragma once

#include "platform/Types.h"

// Temporary files, and files that are replaced only when the new one is whole. Result codes are
// those of shell/files/FileSpecs.h.

// --- Temporary files ------------------------------------------------------------------------

/// The system's temporary folder. When the system names none: 0, and `spec` is left as it was.
OSErr GetTempFolderSpec(FSSpec* spec);
/// A free name in a folder, `out`: base.extension, then base.1.extension and so on, the number in
/// hexadecimal; without an extension base, then base.1. Success is -43, there being no such file
/// yet (with an empty specification there is no such folder); -50 when 100,001 names are taken or
/// the name would have more than 255 characters. Base and extension are in the host's character
/// set. Nothing is created.
OSErr GetTempFileSpecInFolder(FSSpec* out, const FSSpec* folder, const char* base,
                              const char* extension);
/// The same in the system's temporary folder, `out` of `base` and `extension`.
OSErr GetTempFileSpec(FSSpec* out, const char* base, const char* extension);

// --- Safe output ----------------------------------------------------------------------------
// Write to `temporary`, then clean up with the code of the writing: after a failure the old target
// is still there, after success the whole new one.

/// A free name beside the target: the target's own when it does not exist. 0 or -43 is success.
OSErr CreateSafeOutputFileSpec(const FSSpec* target, FSSpec* temporary);
/// Replaces the target by the temporary file when `error` is 0, else deletes the temporary file.
/// Answers `error`, or why the target could not be deleted (the temporary file is deleted then), or
/// -43 when there is no temporary file; the target is left alone then.
/// When the rename fails, which is not reported, the new file stays under its temporary name.
OSErr CleanupSafeOutputFileSpec(short error, const FSSpec* target, const FSSpec* temporary);
