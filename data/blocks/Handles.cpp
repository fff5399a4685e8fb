#include "data/blocks/Handles.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

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
