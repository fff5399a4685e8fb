#include "data/Handles.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <cstring>
#include <limits>

OSErr gFourDLastMemErr;

namespace {

/// Begins a host-handle call: the error is that of a null handle, or none.
bool HasHandle(Handle handle) {
    gFourDLastMemErr = handle != nullptr ? ResultCode::NoError : ResultCode::NullHandle;
    return handle != nullptr;
}

bool AreBytes(const void* bytes, long length) {
    return length == 0 || (length > 0 && bytes != nullptr);
}

/// Makes room for `added` bytes at the end and stores where they begin.
OSErr Grow(Handle handle, long added, long* end) {
    *end = FourDGetHandleSize(handle);
    if (added > std::numeric_limits<long>::max() - *end) {
        gFourDLastMemErr = ResultCode::MemoryFull;
    } else {
        FourDSetHandleSize(handle, *end + added);
    }
    return FourDMemError();
}

} // namespace

extern "C" {

HOST_CALL int IsHandleLocked(Handle handle) {
    return HGetState(handle) & ~0x7F;
}

HOST_CALL OSErr ResizeOrNewHandle(Handle* handle, unsigned long size) {
    if (*handle == nullptr) {
        *handle = NewHandle(static_cast<Size>(size));
    } else {
        SetHandleSize(*handle, static_cast<Size>(size));
    }
    return MemError();
}

HOST_CALL OSErr CopyHandle(Handle source, Handle* copy) {
    const Size size = SizeIfThere(source);
    const OSErr error = ResizeOrNewHandle(copy, static_cast<unsigned long>(size));
    if (error == ResultCode::NoError && source != nullptr && *copy != nullptr) {
        BlockMove(*source, **copy, size);
    }
    return error;
}

HOST_CALL Handle FourDNewHandle(long size) {
    Handle const handle = FourD::NewHandleV11(size);
    gFourDLastMemErr = handle != nullptr ? ResultCode::NoError : ResultCode::MemoryFull;
    return handle;
}

HOST_CALL Handle FourDNewHandleClear(long size) {
    Handle const handle = FourDNewHandle(size);
    if (handle != nullptr && size > 0) {
        std::memset(*handle, 0, static_cast<std::size_t>(size));
    }
    return handle;
}

HOST_CALL void FourDDisposeHandle(Handle handle) {
    if (HasHandle(handle)) {
        FourD::DisposeHandleV11(handle);
    }
}

HOST_CALL OSErr FourDMemError() {
    return gFourDLastMemErr;
}

HOST_CALL long FourDGetHandleSize(Handle handle) {
    return HasHandle(handle) ? FourD::GetHandleSizeV11(handle) : 0;
}

HOST_CALL void FourDSetHandleSize(Handle handle, long size) {
    if (HasHandle(handle) && FourD::SetHandleSizeV11(handle, size) == 0) {
        gFourDLastMemErr = ResultCode::MemoryFull;
    }
}

HOST_CALL void FourDHLock(Handle handle) {
    if (HasHandle(handle)) {
        FourD::LockHandleV11(handle);
    }
}

HOST_CALL void FourDHUnlock(Handle handle) {
    if (HasHandle(handle)) {
        FourD::UnlockHandleV11(handle);
    }
}

HOST_CALL void FourDBlockMove(const void* source, void* target, long count) {
    if (count > 0) {
        std::memmove(target, source, static_cast<std::size_t>(count));
    }
}

HOST_CALL OSErr FourDHandAndHand(Handle source, Handle target) {
    gFourDLastMemErr = ResultCode::NoError;
    if (source == nullptr || target == nullptr) {
        return ResultCode::BadParameter;
    }
    const long added = FourDGetHandleSize(source);
    long end = 0;
    const OSErr error = Grow(target, added, &end);
    if (error == ResultCode::NoError) {
        FourDBlockMove(*source, *target + end, added);
    }
    return error;
}

HOST_CALL OSErr FourDPtrAndHand(const void* bytes, Handle target, long length) {
    gFourDLastMemErr = ResultCode::NoError;
    if (target == nullptr || !AreBytes(bytes, length)) {
        return ResultCode::BadParameter;
    }
    long end = 0;
    const OSErr error = Grow(target, length, &end);
    if (error == ResultCode::NoError) {
        FourDBlockMove(bytes, *target + end, length);
    }
    return error;
}

HOST_CALL OSErr FourDPtrToHand(const void* bytes, Handle* out, long length) {
    gFourDLastMemErr = ResultCode::NoError;
    if (out == nullptr || !AreBytes(bytes, length)) {
        return ResultCode::BadParameter;
    }
    *out = FourDNewHandle(length);
    if (*out != nullptr) {
        FourDBlockMove(bytes, **out, length);
    }
    return FourDMemError();
}
}

void DisposeIfThere(Handle handle) {
    if (handle != nullptr) {
        DisposeHandle(handle);
    }
}

Size SizeIfThere(Handle handle) {
    return handle != nullptr ? GetHandleSize(handle) : 0;
}

SHandleLocker::SHandleLocker(char** handle) {
    if (handle == nullptr) {
        return;
    }
    fHandle = handle;
    fWasLocked = IsHandleLocked(handle) != 0 ? 1 : 0;
    if (fWasLocked == 0) {
        HLock(handle);
    }
}

SHandleLocker::~SHandleLocker() {
    if (fHandle == nullptr) {
        return;
    }
    const bool locked = IsHandleLocked(fHandle) != 0;
    if (fWasLocked != 0 && !locked) {
        HLock(fHandle);
    } else if (fWasLocked == 0 && locked) {
        HUnlock(fHandle);
    }
}

TemporaryHandle::TemporaryHandle(const void* bytes, long size) {
    PtrToHand(bytes, &handle, size);
}

TemporaryHandle::~TemporaryHandle() {
    DisposeIfThere(handle);
}

SResFileSetter::SResFileSetter(short resFile) : fSavedResFile(CurResFile()), fResFile(resFile) {
    if (fSavedResFile != fResFile) {
        UseResFile(fResFile);
    }
}

SResFileSetter::~SResFileSetter() {
    if (fSavedResFile != fResFile) {
        UseResFile(fSavedResFile);
    }
}
