#pragma once

#include "platform/ResultCodes.h"
#include "testhost/toolbox/memory/Block.h"
#include "testhost/toolbox/memory/HandleTable.h"
#include "testhost/toolbox/memory/Place.h"
#include "testhost/toolbox/memory/Problems.h"
#include "testhost/toolbox/memory/UseOrder.h"

#include <array>
#include <deque>
#include <string>
#include <unordered_map>

enum class Owner : unsigned char { None, Toolbox, Host };

/// The call that is being served: begins every sentence about it, and says whose handles it may
/// work on.
struct Call {
    const char* name;
    Owner owner = Owner::Toolbox;
};

/// All handles and pointers. Results are those of MemError(): -108 memory full, -109 null, -111
/// not (or no longer) a block of ours, -113 a handle of the other owner.
class Heap {
  public:
    /// Bits of a handle's state.
    static constexpr unsigned char locked = 0x80;
    static constexpr unsigned char purgeable = 0x40;
    static constexpr unsigned char resource = 0x20;

    struct HandleEntry {
        Block block;
        Handle handle = nullptr;
        Owner owner = Owner::None; ///< None when disposed
        unsigned char state = 0;
        bool isResource = false; ///< the resource files' own: only they dispose of it
        bool isShared = false;   ///< either side may work on it
        Place place;             ///< where it was made; of a disposed one, where that was done
        unsigned long serial = 0;
        unsigned long usedIn = 0;
        unsigned long movedIn = 0; ///< the round in which it moved last
        HandleEntry* newer = nullptr;
        HandleEntry* older = nullptr;
    };

    struct PointerEntry {
        Block block;
        Place place; ///< where it was made
        unsigned long serial = 0;
        unsigned long usedIn = 0;
        PointerEntry* newer = nullptr;
        PointerEntry* older = nullptr;
    };

    OSErr NewHandle(const Call& call, long long size, Handle* handle);
    OSErr DisposeHandle(const Call& call, Handle handle);
    /// The live handle's entry; its guard bytes are checked. Valid until the next call. Left as it
    /// is after an error.
    OSErr FindHandle(const Call& call, Handle handle, HandleEntry** entry) {
        HandleEntry* const found = handles.Find(handle);
        if (!found || found->owner != call.owner) {
            if (const OSErr error = Refusal(call, handle, found)) {
                return error;
            }
        }
        *entry = found;
        NoteUse(handleOrder, *found);
        CheckHandle(call.name, *found);
        return ResultCode::NoError;
    }
    OSErr SetHandleSize(const Call& call, Handle handle, long long size);
    Owner OwnerOf(Handle handle) const;
    bool WasHandle(Handle handle) const { return handles.Find(handle) != nullptr; }

    OSErr NewPointer(long long size, Ptr* pointer);
    OSErr DisposePointer(const Call& call, Ptr pointer);
    OSErr FindPointer(const Call& call, Ptr pointer, PointerEntry** entry);
    OSErr SetPointerSize(const Call& call, Ptr pointer, long long size);

    long LiveHandles(Owner owner) const { return liveHandles[static_cast<std::size_t>(owner)]; }
    long LivePointers() const { return static_cast<long>(pointers.size()); }
    /// The live blocks, those of the last call into the plug-in first; with strict memory the one
    /// used last.
    const HandleEntry* NewestHandle() const { return handleOrder.Newest(); }
    const PointerEntry* NewestPointer() const { return pointerOrder.Newest(); }

    /// What every call that may move memory does first: strict memory moves unlocked blocks with
    /// bytes in them, and poisons their old places. Calls cost the same however many blocks there
    /// are: up to 16 all move; of more, the 4 that were used last and the next 4 in turn. Larger
    /// ones than 4 KB share 16 KB for each call: one that is larger still moves at once, and those
    /// after it wait for as many calls as it has used up, in turn.
    void MayMove();
    /// Moves all of them.
    void MoveAll();
    /// Checks the blocks that were used since the last such check, and those that left their bytes
    /// since; with strict memory all that lately left theirs.
    void CheckUsed();
    /// Checks every block, live or lately released.
    void CheckAll();
    void Reset();

    bool strict = false;
    bool mixingAllowed = false;
    long allocations = 0;     ///< and growths, those that failed among them
    long failCountdown = 0;   ///< this allocation or growth from now fails; 0 none
    OSErr lastResult = 0;     ///< what MemError() answers
    Place here;               ///< where what is done now is done
    unsigned long serial = 0; ///< of the block made, or file opened, last
    Problems problems;

  private:
    /// An empty object when there is no memory, or is to be none.
    Block NewBlock(long long size);
    /// One that no handle has, or none has had for long; null when memory is full.
    HandleEntry* FreshEntry();
    /// Makes the entry that of a handle that was disposed of, which rests for a while.
    void Rest(HandleEntry& entry);
    /// Why a handle, of this entry if any, is refused; no error when it is not.
    OSErr Refusal(const Call& call, Handle handle, const HandleEntry* entry);
    /// Which block was used later within a call into the plug-in matters to strict memory alone.
    template <typename Entry>
    void NoteUse(UseOrder<Entry>& order, Entry& entry) {
        if (strict || entry.usedIn != callNumber) {
            order.PutFirst(entry, callNumber);
        }
    }
    /// Begins sentences about what a check finds that nobody's call brought to light.
    std::string Finder() const {
        return here ? std::string("at the end of ") + here.Text() : std::string("Check");
    }
    /// Moves a block unless it is locked, empty, was moved in this round, or is a large one and no
    /// bytes are free, which it takes. True when it moved.
    bool MoveInTurn(HandleEntry& entry, Size& freeBytes);
    void LeaveBytes(Block&& block, bool isReleased, const Place& made);
    /// Counts an allocation or growth down; true when it has to fail.
    bool FailsNow();
    void CheckHandle(const char* callName, HandleEntry& entry) {
        if (*entry.handle != entry.block.Bytes() || !entry.block.AreGuardsIntact()) {
            Repair(callName, entry);
        }
    }
    /// Reports what is wrong, and puts it right.
    void Repair(const char* callName, HandleEntry& entry);
    void CheckPointer(const char* callName, PointerEntry& entry);
    /// Checks the live blocks used in this call into the plug-in or since.
    void CheckLive(const char* finder, unsigned long usedSince);
    OSErr Relocate(HandleEntry& entry, Size size, Size spare);
    const Place* FormerPointer(Ptr pointer) const;
    void KeepFormerPointer(Ptr pointer);

    HandleTable<HandleEntry> handles;
    std::deque<HandleEntry*> resting; ///< those of disposed handles, oldest first
    UseOrder<HandleEntry> handleOrder;
    long liveHandles[3] = {}; ///< by owner
    std::unordered_map<Ptr, PointerEntry> pointers;
    UseOrder<PointerEntry> pointerOrder;
    /// Where pointers were disposed of, those of late and those before them: memory for a while.
    std::unordered_map<Ptr, Place> formerPointers, olderFormerPointers;
    unsigned long callNumber = 1; ///< of the call into the plug-in, as far as CheckUsed() tells
    unsigned long moveRound = 0;
    /// Bytes of large blocks, lately used and in turn, that may move; negative when too many did.
    std::array<Size, 2> largeBytes{};
    Quarantine quarantine{problems};
};

/// The one heap of the process.
inline Heap& TheHeap() {
    static Heap heap;
    return heap;
}
