#pragma once

#include "platform/CallingConvention.h"
#include "platform/Types.h"

// The calls imported from the toolbox library that the host ships (ASINTPPC.dll), by the
// names in ASINTPPC.def. Result codes are signed 16-bit; memory calls leave theirs in
// MemError().
extern "C" {

// Memory: relocatable blocks. Sizes are bytes; a failed call answers null.
TOOLBOX_CALL Handle NewHandle(Size size);
TOOLBOX_CALL Handle NewHandleClear(Size size);
TOOLBOX_CALL void DisposeHandle(Handle handle);
TOOLBOX_CALL Size GetHandleSize(Handle handle);
TOOLBOX_CALL void SetHandleSize(Handle handle, Size size);
TOOLBOX_CALL void HLock(Handle handle);
TOOLBOX_CALL void HUnlock(Handle handle);
/// Bit 7 (0x80) locked, bit 6 (0x40) purgeable, bit 5 (0x20) resource.
TOOLBOX_CALL char HGetState(Handle handle);
TOOLBOX_CALL void HSetState(Handle handle, char state);
TOOLBOX_CALL void HPurge(Handle handle);
TOOLBOX_CALL void HNoPurge(Handle handle);
/// Replaces the handle by one to a copy of its bytes; the original stays alive.
TOOLBOX_CALL OSErr HandToHand(Handle* handle);
/// New handle to a copy of `size` bytes; null in `handle` on failure.
TOOLBOX_CALL OSErr PtrToHand(const void* source, Handle* handle, long size);
/// Appends `size` bytes to the target.
TOOLBOX_CALL OSErr PtrAndHand(const void* source, Handle target, long size);
/// Appends the bytes of `source` to the target.
TOOLBOX_CALL OSErr HandAndHand(Handle source, Handle target);
/// Result code of the last memory call.
TOOLBOX_CALL OSErr MemError();
TOOLBOX_CALL void BlockMove(const void* source, void* target, Size count);

// Memory: blocks that never move.
TOOLBOX_CALL Ptr NewPtr(Size size);
TOOLBOX_CALL Ptr NewPtrClear(Size size);
TOOLBOX_CALL void DisposePtr(Ptr block);
TOOLBOX_CALL Size GetPtrSize(Ptr block);
TOOLBOX_CALL void SetPtrSize(Ptr block, Size size);

// Resource files: reference number of the current one.
TOOLBOX_CALL short CurResFile();
TOOLBOX_CALL void UseResFile(short resFile);
TOOLBOX_CALL OSErr ResError();

// Text. Strings are Pascal strings.
TOOLBOX_CALL unsigned char EqualString(const unsigned char* a, const unsigned char* b,
                                       unsigned char caseSensitive,
                                       unsigned char diacriticalSensitive);
/// International comparison that ignores case and marks: 0 when equal, else 1.
TOOLBOX_CALL short IUEqualString(const unsigned char* a, const unsigned char* b);
TOOLBOX_CALL void StringToNum(const unsigned char* text, long* number);

// Dates. Seconds count from midnight, 1 January 1904.
TOOLBOX_CALL void LongDateToSeconds(const LongDateRec* date, long long* seconds);
TOOLBOX_CALL void LongSecondsToDate(const long long* seconds, LongDateRec* date);
}
