#include "testhost/toolbox/memory/Heap.h"

#include "platform/ResultCodes.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

// A master pointer is used again only after this many others, so that stale handles are noticed.
constexpr std::size_t restingHandles = 4096;

const char* Possessive(Owner owner) {
    return owner == Owner::Host ? "the host's" : "the toolbox's";
}

} // namespace

Heap& TheHeap() {
    static Heap heap;
    return heap;
}

// Handles

OSErr Heap::NewHandle(const Call& call, long long size, Handle* handle) {
    *handle = nullptr;
    MayMove();
    if (FailsNow()) {
        return ResultCode::MemoryFull;
    }
    Block block = Block::Make(size);
    if (!block) {
        return ResultCode::MemoryFull;
    }
    *handle = FreshMasterPointer();
    **handle = block.Bytes();
    handles[*handle] = {std::move(block), call.owner, 0, false, false};
    return ResultCode::NoError;
}

Handle Heap::FreshMasterPointer() {
    if (freeHandles.size() > restingHandles) {
        const Handle oldest = freeHandles.front();
        freeHandles.pop_front();
        return oldest;
    }
    return &masterPointers.emplace_back(nullptr);
}

OSErr Heap::DisposeHandle(const Call& call, Handle handle) {
    HandleEntry* entry = nullptr;
    if (const OSErr error = FindHandle(call, handle, &entry)) {
        return error;
    }
    if (entry->isResource) {
        problems.Add("%s: handle %p is a resource's, for ReleaseResource", call.name,
                     static_cast<const void*>(handle));
        return ResultCode::BadZone;
    }
    quarantine.Take(std::move(entry->block));
    *entry = {};
    *handle = nullptr; // whoever follows a stale handle faults at once
    freeHandles.push_back(handle);
    return ResultCode::NoError;
}

OSErr Heap::FindHandle(const Call& call, Handle handle, HandleEntry** entry) {
    if (!handle) {
        return ResultCode::NullHandle;
    }
    const auto found = handles.find(handle);
    const void* address = handle;
    if (found == handles.end()) {
        problems.Add("%s: %p is not a handle", call.name, address);
        return ResultCode::BlockFreed;
    }
    const Owner owner = found->second.owner;
    if (owner == Owner::None) {
        problems.Add("%s: handle %p was already disposed", call.name, address);
        return ResultCode::BlockFreed;
    }
    if (owner != call.owner && !mixingAllowed && !found->second.isShared) {
        problems.Add("%s: handle %p is %s, not %s", call.name, address, Possessive(owner),
                     Possessive(call.owner));
        return ResultCode::BadZone;
    }
    *entry = &found->second;
    CheckHandle(call.name, handle, found->second);
    return ResultCode::NoError;
}

void Heap::CheckHandle(const char* callName, Handle handle, HandleEntry& entry) {
    const Subject subject{callName, "handle", handle};
    if (*handle != entry.block.Bytes()) {
        problems.Add("%s: the master pointer of handle %p was overwritten", callName,
                     subject.address);
        *handle = entry.block.Bytes();
    }
    entry.block.CheckGuards(subject, problems);
}

OSErr Heap::SetHandleSize(const Call& call, Handle handle, long long size) {
    HandleEntry* entry = nullptr;
    if (const OSErr error = FindHandle(call, handle, &entry)) {
        return error;
    }
    MayMove();
    if (size < 0 || size > Block::maxSize || (size > entry->block.Length() && FailsNow())) {
        return ResultCode::MemoryFull;
    }
    const Size newSize = static_cast<Size>(size);
    if (entry->state & locked) {
        if (newSize > entry->block.Capacity()) {
            return ResultCode::MemoryFull;
        }
        entry->block.SetLength(newSize);
        return ResultCode::NoError;
    }
    if (Block::CapacityFor(newSize) != entry->block.Capacity()) {
        return Relocate(handle, *entry, newSize);
    }
    entry->block.SetLength(newSize);
    return ResultCode::NoError;
}

OSErr Heap::Relocate(Handle handle, HandleEntry& entry, long long size) {
    Block block = Block::Make(size);
    if (!block) {
        return ResultCode::MemoryFull;
    }
    std::memcpy(block.Bytes(), entry.block.Bytes(),
                static_cast<std::size_t>(std::min(block.Length(), entry.block.Length())));
    quarantine.Take(std::exchange(entry.block, std::move(block)));
    *handle = entry.block.Bytes();
    return ResultCode::NoError;
}

Owner Heap::OwnerOf(Handle handle) const {
    const auto found = handles.find(handle);
    return found == handles.end() ? Owner::None : found->second.owner;
}

// Pointers

OSErr Heap::NewPointer(long long size, Ptr* pointer) {
    *pointer = nullptr;
    MayMove();
    if (FailsNow()) {
        return ResultCode::MemoryFull;
    }
    Block block = Block::Make(size);
    if (!block) {
        return ResultCode::MemoryFull;
    }
    *pointer = block.Bytes();
    pointers[*pointer] = std::move(block);
    return ResultCode::NoError;
}

OSErr Heap::DisposePointer(const Call& call, Ptr pointer) {
    Block* block = nullptr;
    if (const OSErr error = FindPointer(call, pointer, &block)) {
        return error;
    }
    quarantine.Take(std::move(*block));
    pointers.erase(pointer);
    return ResultCode::NoError;
}

OSErr Heap::FindPointer(const Call& call, Ptr pointer, Block** block) {
    if (!pointer) {
        return ResultCode::NullHandle;
    }
    const auto found = pointers.find(pointer);
    const Subject subject{call.name, "pointer", pointer};
    if (found == pointers.end()) {
        problems.Add(quarantine.Holds(pointer) ? "%s: pointer %p was already disposed"
                                               : "%s: %p is not a pointer's block",
                     call.name, subject.address);
        return ResultCode::BlockFreed;
    }
    *block = &found->second;
    (*block)->CheckGuards(subject, problems);
    return ResultCode::NoError;
}

OSErr Heap::SetPointerSize(const Call& call, Ptr pointer, long long size) {
    Block* block = nullptr;
    if (const OSErr error = FindPointer(call, pointer, &block)) {
        return error;
    }
    MayMove();
    if (size < 0 || size > block->Capacity() || (size > block->Length() && FailsNow())) {
        return ResultCode::MemoryFull;
    }
    block->SetLength(static_cast<Size>(size));
    return ResultCode::NoError;
}

// All blocks

long Heap::LiveHandles(Owner owner) const {
    return static_cast<long>(
        std::count_if(handles.begin(), handles.end(),
                      [owner](const auto& item) { return item.second.owner == owner; }));
}

void Heap::MayMove() {
    if (strict) {
        MoveAll();
    }
}

void Heap::MoveAll() {
    for (auto& [handle, entry] : handles) {
        if (entry.owner == Owner::None || (entry.state & locked) || entry.block.Length() == 0) {
            continue;
        }
        CheckHandle("Moving memory", handle, entry);
        Relocate(handle, entry, entry.block.Length()); // without memory it stays where it is
    }
}

bool Heap::FailsNow() {
    return failCountdown > 0 && --failCountdown == 0;
}

void Heap::CheckAll() {
    for (auto& [handle, entry] : handles) {
        if (entry.owner != Owner::None) {
            CheckHandle("Check", handle, entry);
        }
    }
    for (auto& [pointer, block] : pointers) {
        block.CheckGuards({"Check", "pointer", pointer}, problems);
    }
    quarantine.CheckAll();
}

void Heap::Reset() {
    for (auto& [handle, entry] : handles) {
        if (entry.owner != Owner::None) {
            entry = {};
            *handle = nullptr;
            freeHandles.push_back(handle);
        }
    }
    pointers.clear();
    quarantine.Clear();
    problems.Clear();
    strict = mixingAllowed = false;
    failCountdown = 0;
    lastResult = 0;
}
