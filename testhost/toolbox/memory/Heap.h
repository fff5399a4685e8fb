#pragma once

#include "testhost/toolbox/memory/Block.h"
#include "testhost/toolbox/memory/Problems.h"

#include <deque>
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
        Owner owner = Owner::None; ///< None when disposed
        unsigned char state = 0;
        bool isResource = false; ///< the resource files' own: only they dispose of it
        bool isShared = false;   ///< either side may work on it
    };

    OSErr NewHandle(const Call& call, long long size, Handle* handle);
    OSErr DisposeHandle(const Call& call, Handle handle);
    /// The live handle's entry; its guard bytes are checked. Valid until the next call.
    OSErr FindHandle(const Call& call, Handle handle, HandleEntry** entry);
    OSErr SetHandleSize(const Call& call, Handle handle, long long size);
    Owner OwnerOf(Handle handle) const;
    bool WasHandle(Handle handle) const { return handles.contains(handle); }

    OSErr NewPointer(long long size, Ptr* pointer);
    OSErr DisposePointer(const Call& call, Ptr pointer);
    OSErr FindPointer(const Call& call, Ptr pointer, Block** block);
    OSErr SetPointerSize(const Call& call, Ptr pointer, long long size);

    long LiveHandles(Owner owner) const;
    long LivePointers() const { return static_cast<long>(pointers.size()); }

    /// What every call that may move memory does first.
    void MayMove();
    /// Moves every unlocked block with bytes in it; the old places are poisoned.
    void MoveAll();
    /// Checks every block, live or lately released.
    void CheckAll();
    void Reset();

    bool strict = false;
    bool mixingAllowed = false;
    long failCountdown = 0; ///< this allocation or growth from now fails; 0 none
    OSErr lastResult = 0;   ///< what MemError() answers
    Problems problems;

  private:
    Handle FreshMasterPointer();
    /// Counts an allocation or growth down; true when it has to fail.
    bool FailsNow();
    void CheckHandle(const char* callName, Handle handle, HandleEntry& entry);
    OSErr Relocate(Handle handle, HandleEntry& entry, long long size);

    // Master pointers are never given back to the system, so that a stale handle can be looked at.
    std::deque<char*> masterPointers;
    std::unordered_map<Handle, HandleEntry> handles; ///< by master pointer, disposed ones too
    std::deque<Handle> freeHandles;                  ///< oldest first
    std::unordered_map<Ptr, Block> pointers;
    Quarantine quarantine{problems};
};

/// The one heap of the process.
Heap& TheHeap();
