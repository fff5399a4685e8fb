#include "host/Handles.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"

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
