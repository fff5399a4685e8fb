#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"

#include <utility>

// Platform handles, which are the toolbox's. Host handles (host/Handles.h) are made and kept by the
// host; the two are never to be mixed.

extern "C" {
/// Non-zero when the lock bit of `handle` is set.
HOST_CALL int IsHandleLocked(Handle handle);
/// Resizes `*handle` to `size` bytes, or makes it when it is null. Answers MemError(); after a
/// failed allocation `*handle` is still null.
HOST_CALL OSErr ResizeOrNewHandle(Handle* handle, unsigned long size);
/// Makes `*copy` (resized, or made when null) hold the bytes of `source`; a null source leaves it
/// empty. Answers MemError().
HOST_CALL OSErr CopyHandle(Handle source, Handle* copy);
}

/// @family A platform `handle` that may be null: disposes of it, and its bytes, 0 for null.
void DisposeIfThere(Handle handle);
Size SizeIfThere(Handle handle);

/// Keeps a platform handle locked while it lives, and then puts back the lock state that the
/// handle came with, whatever happened in between. Null is allowed.
class SHandleLocker {
  public:
    /// Locks `handle`, which stays the caller's.
    explicit SHandleLocker(char** handle);
    ~SHandleLocker();
    SHandleLocker(const SHandleLocker&) = delete;
    SHandleLocker& operator=(const SHandleLocker&) = delete;

  private:
    Handle fHandle = nullptr;
    unsigned char fWasLocked = 0;
};

/// A platform handle that is disposed of at the end of the scope, unless it was given away.
class TemporaryHandle {
  public:
    TemporaryHandle() = default;
    /// Takes over `owned`, which may be null.
    explicit TemporaryHandle(Handle owned) : handle(owned) {}
    /// A copy of `size` bytes; null when memory is full.
    TemporaryHandle(const void* bytes, long size);
    ~TemporaryHandle();
    TemporaryHandle(const TemporaryHandle&) = delete;
    TemporaryHandle& operator=(const TemporaryHandle&) = delete;

    /// The handle, which goes with the scope; null when there is none.
    Handle Get() const { return handle; }
    /// Where a call stores the handle that then goes with the scope.
    Handle* Address() { return &handle; }
    /// The handle, which is the caller's from now on.
    Handle GiveAway() { return std::exchange(handle, nullptr); }

  private:
    Handle handle = nullptr;
};

/// Makes a resource file current while it lives, and then the former one again.
class SResFileSetter {
  public:
    /// Makes the file of the reference number `resFile` current.
    explicit SResFileSetter(short resFile);
    ~SResFileSetter();
    SResFileSetter(const SResFileSetter&) = delete;
    SResFileSetter& operator=(const SResFileSetter&) = delete;

  private:
    short fSavedResFile;
    short fResFile;
};
