#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"

// Host handles: made and kept by the host, and the ones that may be given to it. Never to be mixed
// with platform handles (data/blocks/Handles.h).
//
// Hosts from 11.0 on; on older ones every allocation fails with -108. Each call but
// FourDMemError and FourDBlockMove leaves its result in FourDMemError(): 0, -108 when the host
// has no memory, -109 for a null handle. A bad argument (-50) is only answered.

extern "C" {
/// New host handle of `size` bytes; null on failure.
HOST_CALL Handle FourDNewHandle(long size);
/// The same `size`, filled with zeros.
HOST_CALL Handle FourDNewHandleClear(long size);
/// Releases a host handle.
HOST_CALL void FourDDisposeHandle(Handle handle);
/// Result of the last call; asking does not reset it.
HOST_CALL OSErr FourDMemError();
/// Bytes in a host handle; 0 for null.
HOST_CALL long FourDGetHandleSize(Handle handle);
/// Resizes a host handle to `size` bytes. Memory may move, unless `handle` is locked.
HOST_CALL void FourDSetHandleSize(Handle handle, long size);
/// @family Locks a host handle, so that its bytes stay where they are, and unlocks it.
HOST_CALL void FourDHLock(Handle handle);
HOST_CALL void FourDHUnlock(Handle handle);
/// Moves `count` bytes from `source` to `target`; they may overlap. A count below 1 moves nothing.
HOST_CALL void FourDBlockMove(const void* source, void* target, long count);
/// Appends the bytes of `source` to `target`. Answers 0, -50 for a null handle, or -108.
HOST_CALL OSErr FourDHandAndHand(Handle source, Handle target);
/// Appends `length` `bytes` to `target`. Answers 0, -50 for null or a negative length, or -108.
HOST_CALL OSErr FourDPtrAndHand(const void* bytes, Handle target, long length);
/// Makes `*out` a new host handle with a copy of `length` bytes; a length of 0 gives an empty
/// one. Answers 0, -50 for null or a negative length, or -108 (`*out` is then null).
HOST_CALL OSErr FourDPtrToHand(const void* bytes, Handle* out, long length);
}

/// Result of the last host-handle call.
extern OSErr gFourDLastMemErr;
