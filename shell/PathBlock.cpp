#include "shell/PathBlock.h"

#include "platform/ResultCodes.h"
#include "shell/FileSpecs.h"
#include "shell/LongPaths.h"

#include <algorithm>

#include <windows.h>

long GetLongForm(const char* path, char* out) {
    const unsigned long length = GetLongPathNameCompat(path, out, LongestPath + 1);
    if (length > LongestPath) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return 0;
    }
    return static_cast<long>(length);
}

long AddBackslash(char* path, long length) {
    if (length > 0 && path[length - 1] == '\\') {
        return length;
    }
    path[length] = '\\';
    path[length + 1] = '\0';
    return length + 1;
}

OSErr CopyNativePath(const FSSpec* spec, char* path, long* length) {
    const long room = *length;
    // A length of 0 would ask for the whole path, however long it is by now.
    const OSErr error =
        room > 0 ? FileSpecToNativePath(spec, path, length) : OSErr{ResultCode::NoError};
    *length = std::clamp(*length, 0L, room);
    path[*length] = '\0';
    return error;
}

OSErr ReadNativePath(const FSSpec* spec, long extra, PathBlock* path, long* length) {
    *length = 0;
    const OSErr error = FileSpecToNativePath(spec, nullptr, length);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (!path->Allocate(*length + extra + 1)) {
        return ResultCode::MemoryFull;
    }
    return CopyNativePath(spec, path->Bytes(), length);
}
