#include "testhost/toolbox/memory/Heap.h"

#include "platform/ResultCodes.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace {

// A master pointer is used again only after this many others, so that stale handles are noticed.
constexpr std::size_t restingHandles = 4096;
constexpr std::size_t rememberedPointers = 4096; // that were disposed of, at least
// A larger block that shrinks stays where it is until a quarter of its room is to spare; a small
// one moves: stale pointers to it show without strict memory, too.
constexpr Size largestTight = 4096;

// What one call moves at most, see MayMove().
constexpr long mostMovedOfFew = 8;
constexpr long mostMovedOfMany = 4;
constexpr long mostLookedAt = 32; // locked blocks are skipped, but not for ever
constexpr Size largestSmall = 4096;
constexpr Size largeBytesOfEach = 8 * 1024;
constexpr long fewEnough = 256; // blocks to move with each call, where that is what they are for
constexpr std::size_t smallTurn = 0;
constexpr std::size_t largeTurn = 1;

bool IsLarge(const Heap::HandleEntry& entry) {
    return entry.block.Length() > largestSmall;
}

bool StaysInPlace(const Block& block, Size newCapacity) {
    if (newCapacity >= block.Capacity()) {
        return newCapacity <= block.Room();
    }
    return newCapacity > largestTight && newCapacity > block.Room() / 4 * 3;
}

const char* Possessive(Owner owner) {
    return owner == Owner::Host ? "the host's" : "the toolbox's";
}

} // namespace

Block Heap::NewBlock(long long size) {
    MayMove();
    return FailsNow() ? Block() : Block::Make(size);
}

// Handles

OSErr Heap::NewHandle(const Call& call, long long size, Handle* handle) {
    *handle = nullptr;
    Block block = NewBlock(size);
    if (!block) {
        return ResultCode::MemoryFull;
    }
    HandleEntry* const entry = FreshEntry();
    if (!entry) {
        return ResultCode::MemoryFull;
    }
    *handle = entry->handle;
    **handle = block.Bytes();
    entry->block = std::move(block);
    entry->owner = call.owner;
    entry->place = here;
    entry->serial = ++serial;
    ++liveHandles[static_cast<std::size_t>(call.owner)];
    handleOrder.PutFirst(*entry, callNumber);
    return ResultCode::NoError;
}

Heap::HandleEntry* Heap::FreshEntry() {
    if (resting.size() <= restingHandles) {
        return handles.Add();
    }
    HandleEntry* const oldest = resting.front();
    resting.pop_front();
    return oldest;
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
    LeaveBytes(std::move(entry->block), true, entry->place);
    handleOrder.Remove(*entry);
    --liveHandles[static_cast<std::size_t>(entry->owner)];
    Rest(*entry);
    entry->place = here;
    return ResultCode::NoError;
}

void Heap::Rest(HandleEntry& entry) {
    const Handle handle = entry.handle;
    std::destroy_at(&entry);
    std::construct_at(&entry)->handle = handle; // half the time of an assignment
    *handle = nullptr;                          // whoever follows a stale handle faults at once
    resting.push_back(&entry);
}

void Heap::LeaveBytes(Block&& block, bool isReleased, const Place& made) {
    quarantine.Take({std::move(block), isReleased, made, here});
}

OSErr Heap::Refusal(const Call& call, Handle handle, const HandleEntry* entry) {
    if (!handle) {
        return ResultCode::NullHandle;
    }
    const void* address = handle;
    if (!entry) {
        problems.Add("%s: %p is not a handle", call.name, address);
        return ResultCode::BlockFreed;
    }
    if (entry->owner == Owner::None) {
        problems.Add("%s: handle %p was already disposed%s", call.name, address,
                     entry->place.Under().c_str());
        return ResultCode::BlockFreed;
    }
    if (entry->owner != call.owner && !mixingAllowed && !entry->isShared) {
        problems.Add("%s: handle %p is %s, not %s", call.name, address, Possessive(entry->owner),
                     Possessive(call.owner));
        return ResultCode::BadZone;
    }
    return ResultCode::NoError;
}

void Heap::Repair(const char* callName, HandleEntry& entry) {
    const Subject subject{callName, "handle", entry.handle, &entry.place};
    if (*entry.handle != entry.block.Bytes()) {
        problems.Add("%s: the master pointer of handle %p was overwritten", callName,
                     subject.address);
        *entry.handle = entry.block.Bytes();
    }
    entry.block.CheckGuards(subject, problems);
}

OSErr Heap::SetHandleSize(const Call& call, Handle handle, long long size) {
    HandleEntry* entry = nullptr;
    if (const OSErr error = FindHandle(call, handle, &entry)) {
        return error;
    }
    MayMove();
    Block& block = entry->block;
    if (size < 0 || size > Block::maxSize || (size > block.Length() && FailsNow())) {
        return ResultCode::MemoryFull;
    }
    const Size newSize = static_cast<Size>(size);
    const Size newCapacity = Block::CapacityFor(newSize);
    if (entry->state & locked) {
        if (newSize > block.Capacity()) {
            return ResultCode::MemoryFull;
        }
        block.SetLength(newSize);
        return ResultCode::NoError;
    }
    if (StaysInPlace(block, newCapacity)) {
        block.SetLengthAndCapacity(newSize);
        return ResultCode::NoError;
    }
    // With a quarter more than it grows to, growing step by step does not take longer and longer.
    return Relocate(*entry, newSize, newSize > block.Length() ? newSize / 4 : 0);
}

OSErr Heap::Relocate(HandleEntry& entry, Size size, Size spare) {
    Block block = entry.block.Copy(size, spare);
    if (!block && spare > 0) {
        block = entry.block.Copy(size, 0);
    }
    if (!block) {
        return ResultCode::MemoryFull;
    }
    LeaveBytes(std::exchange(entry.block, std::move(block)), false, entry.place);
    *entry.handle = entry.block.Bytes();
    return ResultCode::NoError;
}

Owner Heap::OwnerOf(Handle handle) const {
    const HandleEntry* const found = handles.Find(handle);
    return found ? found->owner : Owner::None;
}

// Pointers

OSErr Heap::NewPointer(long long size, Ptr* pointer) {
    *pointer = nullptr;
    Block block = NewBlock(size);
    if (!block) {
        return ResultCode::MemoryFull;
    }
    *pointer = block.Bytes();
    PointerEntry& entry = pointers[*pointer];
    entry.block = std::move(block);
    entry.place = here;
    entry.serial = ++serial;
    pointerOrder.PutFirst(entry, callNumber);
    return ResultCode::NoError;
}

OSErr Heap::DisposePointer(const Call& call, Ptr pointer) {
    PointerEntry* entry = nullptr;
    if (const OSErr error = FindPointer(call, pointer, &entry)) {
        return error;
    }
    LeaveBytes(std::move(entry->block), true, entry->place);
    pointerOrder.Remove(*entry);
    pointers.erase(pointer);
    KeepFormerPointer(pointer);
    return ResultCode::NoError;
}

void Heap::KeepFormerPointer(Ptr pointer) {
    if (formerPointers.size() >= rememberedPointers) {
        olderFormerPointers = std::exchange(formerPointers, {});
    }
    formerPointers[pointer] = here;
}

const Place* Heap::FormerPointer(Ptr pointer) const {
    for (const auto* former : {&formerPointers, &olderFormerPointers}) {
        if (const auto found = former->find(pointer); found != former->end()) {
            return &found->second;
        }
    }
    return nullptr;
}

OSErr Heap::FindPointer(const Call& call, Ptr pointer, PointerEntry** entry) {
    if (!pointer) {
        return ResultCode::NullHandle;
    }
    const auto found = pointers.find(pointer);
    if (found == pointers.end()) {
        const void* address = pointer;
        if (const Place* disposed = FormerPointer(pointer)) {
            problems.Add("%s: pointer %p was already disposed%s", call.name, address,
                         disposed->Under().c_str());
        } else {
            problems.Add("%s: %p is not a pointer's block", call.name, address);
        }
        return ResultCode::BlockFreed;
    }
    *entry = &found->second;
    NoteUse(pointerOrder, **entry);
    CheckPointer(call.name, **entry);
    return ResultCode::NoError;
}

void Heap::CheckPointer(const char* callName, PointerEntry& entry) {
    entry.block.CheckGuards({callName, "pointer", entry.block.Bytes(), &entry.place}, problems);
}

OSErr Heap::SetPointerSize(const Call& call, Ptr pointer, long long size) {
    PointerEntry* entry = nullptr;
    if (const OSErr error = FindPointer(call, pointer, &entry)) {
        return error;
    }
    MayMove();
    Block& block = entry->block;
    if (size < 0 || size > block.Capacity() || (size > block.Length() && FailsNow())) {
        return ResultCode::MemoryFull;
    }
    block.SetLength(static_cast<Size>(size));
    return ResultCode::NoError;
}

// All blocks

void Heap::MayMove() {
    if (Block::alwaysMoves && LiveHandles(Owner::Toolbox) + LiveHandles(Owner::Host) < fewEnough) {
        return MoveAll();
    }
    if (!strict) {
        return;
    }
    ++moveRound;
    const long live = LiveHandles(Owner::Toolbox) + LiveHandles(Owner::Host);
    const long looks = std::min(mostLookedAt, live);
    const long most = live <= 2 * mostMovedOfFew ? mostMovedOfFew : mostMovedOfMany;
    for (Size& free : largeBytes) {
        free = std::min(free + largeBytesOfEach, largeBytesOfEach);
    }
    HandleEntry* recent = handleOrder.Newest();
    long moved = 0;
    for (long look = 0; look < looks && moved < most && recent; ++look) {
        moved += MoveInTurn(*recent, largeBytes[0]);
        recent = recent->older;
    }
    moved = 0;
    for (long look = 0; look < looks && moved < most; ++look) {
        HandleEntry* entry = handleOrder.Next(smallTurn);
        moved += entry && !IsLarge(*entry) && MoveInTurn(*entry, largeBytes[1]);
    }
    for (long look = 0; look < looks && largeBytes[1] > 0; ++look) {
        HandleEntry* entry = handleOrder.Next(largeTurn);
        if (entry && IsLarge(*entry)) {
            MoveInTurn(*entry, largeBytes[1]);
        }
    }
}

bool Heap::MoveInTurn(HandleEntry& entry, Size& freeBytes) {
    const Size length = entry.block.Length();
    if (entry.movedIn == moveRound || (entry.state & locked) || length == 0) {
        return false;
    }
    if (IsLarge(entry)) {
        if (freeBytes <= 0) {
            return false;
        }
        freeBytes -= length;
    }
    entry.movedIn = moveRound;
    CheckHandle("Moving memory", entry);
    // Without memory it stays where it is.
    return Relocate(entry, length, entry.block.Room() - entry.block.Capacity()) ==
           ResultCode::NoError;
}

void Heap::MoveAll() {
    ++moveRound;
    for (HandleEntry* entry = handleOrder.Newest(); entry; entry = entry->older) {
        Size enough = Block::maxSize;
        MoveInTurn(*entry, enough);
    }
}

bool Heap::FailsNow() {
    ++allocations;
    return failCountdown > 0 && --failCountdown == 0;
}

void Heap::CheckUsed() {
    const std::string finder = Finder();
    CheckLive(finder.c_str(), callNumber);
    ++callNumber;
    if (strict) {
        quarantine.CheckAll(finder.c_str());
    } else {
        quarantine.CheckRecent(finder.c_str());
    }
}

void Heap::CheckAll() {
    const std::string finder = Finder();
    CheckLive(finder.c_str(), 0);
    quarantine.CheckAll(finder.c_str());
}

void Heap::CheckLive(const char* finder, unsigned long usedSince) {
    for (HandleEntry* entry = handleOrder.Newest(); entry && entry->usedIn >= usedSince;
         entry = entry->older) {
        CheckHandle(finder, *entry);
    }
    for (PointerEntry* entry = pointerOrder.Newest(); entry && entry->usedIn >= usedSince;
         entry = entry->older) {
        CheckPointer(finder, *entry);
    }
}

void Heap::Reset() {
    for (HandleEntry* entry = handleOrder.Newest(); entry;) {
        Rest(*std::exchange(entry, entry->older));
    }
    handleOrder.Clear();
    std::ranges::fill(liveHandles, 0);
    pointers.clear();
    pointerOrder.Clear();
    formerPointers.clear();
    olderFormerPointers.clear();
    quarantine.Clear();
    problems.Clear();
    strict = mixingAllowed = false;
    failCountdown = 0;
    allocations = 0;
    lastResult = 0;
}
