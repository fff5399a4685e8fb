#pragma once

#include "platform/CallingConvention.h"
#include "platform/Types.h"

#include <utility>

// Handles of two kinds, never to be mixed: platform handles are the toolbox's, host handles are
// made and kept by the host and are the ones that may be given to it.

extern "C" {

// --- Platform handles -----------------------------------------------------------------------

/// Non-zero when the handle's lock bit is set.
HOST_CALL int IsHandleLocked(Handle handle);
/// Resizes `*handle` to `size` bytes, or makes it when it is null. Answers MemError(); after a
/// failed allocation `*handle` is still null.
HOST_CALL OSErr ResizeOrNewHandle(Handle* handle, unsigned long size);
/// Makes `*copy` (resized, or made when null) hold the bytes of `source`; a null source leaves it
/// empty. Answers MemError().
HOST_CALL OSErr CopyHandle(Handle source, Handle* copy);

// --- Host handles ---------------------------------------------------------------------------
// Hosts from 11.0 on; on older ones every allocation fails with -108. Each call but
// FourDMemError and FourDBlockMove leaves its result in FourDMemError(): 0, -108 when the host
// has no memory, -109 for a null handle. A bad argument (-50) is only answered.

/// New host handle of `size` bytes; null on failure.
HOST_CALL Handle FourDNewHandle(long size);
/// The same, filled with zeros.
HOST_CALL Handle FourDNewHandleClear(long size);
HOST_CALL void FourDDisposeHandle(Handle handle);
/// Result of the last call; asking does not reset it.
HOST_CALL OSErr FourDMemError();
/// Bytes in a host handle; 0 for null.
HOST_CALL long FourDGetHandleSize(Handle handle);
HOST_CALL void FourDSetHandleSize(Handle handle, long size);
HOST_CALL void FourDHLock(Handle handle);
HOST_CALL void FourDHUnlock(Handle handle);
/// Moves `count` bytes; the ranges may overlap. A count below 1 moves nothing.
HOST_CALL void FourDBlockMove(const void* source, void* target, long count);
/// Appends the bytes of `source` to `target`. Answers 0, -50 for a null handle, or -108.
HOST_CALL OSErr FourDHandAndHand(Handle source, Handle target);
/// Appends `length` bytes. Answers 0, -50 for null or a negative length, or -108.
HOST_CALL OSErr FourDPtrAndHand(const void* bytes, Handle target, long length);
/// Makes `*out` a new host handle with a copy of `length` bytes; a length of 0 gives an empty
/// one. Answers 0, -50 for null or a negative length, or -108 (`*out` is then null).
HOST_CALL OSErr FourDPtrToHand(const void* bytes, Handle* out, long length);
}

// A platform handle that may be null: disposes of it, and its bytes, 0 for null.
void DisposeIfThere(Handle handle);
Size SizeIfThere(Handle handle);

/// Result of the last host-handle call.
extern OSErr gFourDLastMemErr;

/// Keeps a platform handle locked while it lives, and then puts back the lock state that the
/// handle came with, whatever happened in between. Null is allowed.
class SHandleLocker {
  public:
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
    explicit TemporaryHandle(Handle owned) : handle(owned) {}
    /// A copy of some bytes; null when memory is full.
    TemporaryHandle(const void* bytes, long size);
    ~TemporaryHandle();
    TemporaryHandle(const TemporaryHandle&) = delete;
    TemporaryHandle& operator=(const TemporaryHandle&) = delete;

    Handle Get() const { return handle; }
    /// Where a call stores the handle that then goes with the scope.
    Handle* Address() { return &handle; }
    Handle GiveAway() { return std::exchange(handle, nullptr); }

  private:
    Handle handle = nullptr;
};

/// Makes a resource file current while it lives, and then the former one again.
class SResFileSetter {
  public:
    explicit SResFileSetter(short resFile);
    ~SResFileSetter();
    SResFileSetter(const SResFileSetter&) = delete;
    SResFileSetter& operator=(const SResFileSetter&) = delete;

  private:
    short fSavedResFile;
    short fResFile;
};
