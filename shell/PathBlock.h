#pragma once

#include "platform/Toolbox.h"
#include "platform/Types.h"

// Working memory for native paths: what the functions on files and paths share.

/// A block of the toolbox for a path, cleared, and given back at the end of the scope.
class PathBlock {
  public:
    PathBlock() = default;
    explicit PathBlock(long size) { Allocate(size); }
    ~PathBlock() {
        if (bytes != nullptr) {
            DisposePtr(bytes);
        }
    }
    PathBlock(const PathBlock&) = delete;
    PathBlock& operator=(const PathBlock&) = delete;

    /// Once, for a block that has no memory yet; false when it cannot be had.
    bool Allocate(long size) {
        bytes = NewPtrClear(size);
        return bytes != nullptr;
    }
    explicit operator bool() const { return bytes != nullptr; }
    /// Null without memory.
    char* Bytes() const { return bytes; }

  private:
    Ptr bytes = nullptr;
};

/// Long form of an existing path; `out` holds LongestPath + 1 bytes. Answers its length; 0 when it
/// cannot be had, see GetLastOSErr().
long GetLongForm(const char* path, char* out);

/// Adds a backslash to a path that does not end with one. Answers the length that it has then.
long AddBackslash(char* path, long length);

/// Gets the native path of a specification with a terminator. `length` says how many characters
/// `path` holds beside it, and receives how many there are.
OSErr CopyNativePath(const FSSpec* spec, char* path, long* length);
/// Gets it into a block of its own with room for `extra` more characters: -108 without memory, and
/// the codes of FileSpecToNativePath.
OSErr ReadNativePath(const FSSpec* spec, long extra, PathBlock* path, long* length);
