#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/memory/Heap.h"

#include <algorithm>
#include <cstring>

// The toolbox's memory calls. Each leaves its result code in MemError().

namespace {

/// Notes the result code; true when it is an error.
bool Failed(OSErr error) {
    TheHeap().lastResult = error;
    return error != ResultCode::NoError;
}

Handle MakeHandle(const Call& call, Size size) {
    Handle handle = nullptr;
    Failed(TheHeap().NewHandle(call, size, &handle));
    return handle;
}

Ptr MakePointer(Size size) {
    Ptr pointer = nullptr;
    Failed(TheHeap().NewPointer(size, &pointer));
    return pointer;
}

/// Null, with the reason in MemError(), when the handle is not alive.
Heap::HandleEntry* Find(const Call& call, Handle handle) {
    Heap& heap = TheHeap();
    Heap::HandleEntry* entry = nullptr;
    heap.lastResult = heap.FindHandle(call, handle, &entry);
    return entry;
}

Size SizeOf(const Call& call, Handle handle) {
    const Heap::HandleEntry* entry = Find(call, handle);
    return entry ? entry->block.Length() : 0;
}

void ChangeState(const Call& call, Handle handle, unsigned char clear, unsigned char set) {
    if (Heap::HandleEntry* entry = Find(call, handle)) {
        entry->state = static_cast<unsigned char>((entry->state & ~clear) | set);
    }
}

void Copy(void* target, const void* source, Size count) {
    if (count > 0) {
        std::memmove(target, source, static_cast<std::size_t>(count));
    }
}

} // namespace

OSErr MemError() {
    return TheHeap().lastResult;
}

Handle NewHandle(Size size) {
    return MakeHandle({"NewHandle"}, size);
}

Handle NewHandleClear(Size size) {
    const Handle handle = MakeHandle({"NewHandleClear"}, size);
    if (handle) {
        std::fill_n(*handle, size, '\0');
    }
    return handle;
}

void DisposeHandle(Handle handle) {
    Failed(TheHeap().DisposeHandle({"DisposeHandle"}, handle));
}

Size GetHandleSize(Handle handle) {
    return SizeOf({"GetHandleSize"}, handle);
}

void SetHandleSize(Handle handle, Size size) {
    Failed(TheHeap().SetHandleSize({"SetHandleSize"}, handle, size));
}

void HLock(Handle handle) {
    ChangeState({"HLock"}, handle, 0, Heap::locked);
}

void HUnlock(Handle handle) {
    ChangeState({"HUnlock"}, handle, Heap::locked, 0);
}

void HPurge(Handle handle) {
    ChangeState({"HPurge"}, handle, 0, Heap::purgeable);
}

void HNoPurge(Handle handle) {
    ChangeState({"HNoPurge"}, handle, Heap::purgeable, 0);
}

char HGetState(Handle handle) {
    const Heap::HandleEntry* entry = Find({"HGetState"}, handle);
    return entry ? static_cast<char>(entry->state) : '\0';
}

void HSetState(Handle handle, char state) {
    constexpr unsigned char all = Heap::locked | Heap::purgeable | Heap::resource;
    ChangeState({"HSetState"}, handle, all, static_cast<unsigned char>(state) & all);
}

OSErr HandToHand(Handle* handle) {
    const Call call{"HandToHand"};
    const Handle original = handle ? *handle : nullptr;
    const Heap::HandleEntry* entry = Find(call, original);
    if (!entry) {
        return MemError();
    }
    const Size size = entry->block.Length();
    if (const Handle copy = MakeHandle(call, size)) {
        Copy(*copy, *original, size); // the original's bytes may have moved just now
        *handle = copy;
    }
    return MemError();
}

OSErr PtrToHand(const void* source, Handle* handle, long size) {
    if (!handle || (!source && size > 0)) {
        Failed(ResultCode::BadParameter);
        return MemError();
    }
    const Handle copy = MakeHandle({"PtrToHand"}, size);
    if (copy) {
        Copy(*copy, source, size);
    }
    *handle = copy;
    return MemError();
}

OSErr PtrAndHand(const void* source, Handle target, long size) {
    if (!source && size > 0) {
        Failed(ResultCode::BadParameter);
        return MemError();
    }
    const Call call{"PtrAndHand"};
    const Heap::HandleEntry* entry = Find(call, target);
    if (!entry) {
        return MemError();
    }
    const long oldSize = entry->block.Length();
    const long long newSize = size < 0 ? -1 : 0LL + oldSize + size; // a negative size is refused
    if (!Failed(TheHeap().SetHandleSize(call, target, newSize))) {
        Copy(*target + oldSize, source, size);
    }
    return MemError();
}

OSErr HandAndHand(Handle source, Handle target) {
    const Call call{"HandAndHand"};
    if (!Find(call, source) || !Find(call, target)) {
        return MemError();
    }
    const Size added = SizeOf(call, source);
    const Size oldSize = SizeOf(call, target);
    if (!Failed(TheHeap().SetHandleSize(call, target, 0LL + oldSize + added))) {
        Copy(*target + oldSize, *source, added);
    }
    return MemError();
}

void BlockMove(const void* source, void* target, Size count) {
    if (count > 0 && (!source || !target)) {
        TheHeap().problems.Add("BlockMove: %ld bytes %s address 0", count, source ? "to" : "from");
        Failed(ResultCode::BadParameter);
        return;
    }
    Copy(target, source, count);
    Failed(ResultCode::NoError);
}

Ptr NewPtr(Size size) {
    return MakePointer(size);
}

void DisposePtr(Ptr block) {
    Failed(TheHeap().DisposePointer({"DisposePtr"}, block));
}

Size GetPtrSize(Ptr block) {
    Heap::PointerEntry* found = nullptr;
    return Failed(TheHeap().FindPointer({"GetPtrSize"}, block, &found)) ? 0 : found->block.Length();
}

void SetPtrSize(Ptr block, Size size) {
    Failed(TheHeap().SetPointerSize({"SetPtrSize"}, block, size));
}
