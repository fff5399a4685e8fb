#pragma once

#include "platform/Types.h"

#include <deque>
#include <memory>

class Problems;

/// What a problem is about: the call that found it, and the block as a person would name it.
struct Subject {
    const char* callName;
    const char* kind;
    const void* address;
};

/// The bytes of one handle or pointer, with guard bytes before and behind them.
class Block {
  public:
    /// More is refused, so that sums of sizes never overflow.
    static constexpr long long maxSize = 0x3FFFFFFF;

    /// An empty object, without bytes.
    Block() = default;
    /// A block of `size` bytes of no particular value; an empty object when memory is full or the
    /// size is out of range.
    static Block Make(long long size);

    explicit operator bool() const { return storage != nullptr; }
    char* Bytes() const { return storage.get() + guardSize; }
    Size Length() const { return length; }
    Size Capacity() const { return capacity; }
    /// Room that a block of `size` bytes gets: the next multiple of 16.
    static Size CapacityFor(Size size) { return (size + 15) & ~15; }
    /// Changes the length in place; `size` is at most the capacity.
    void SetLength(Size size);

    /// Reports guard bytes that were overwritten, then restores them.
    void CheckGuards(const Subject& subject, Problems& problems);

    /// Overwrites all bytes with 0xE5.
    void Poison();
    /// Reports bytes that changed since Poison().
    void CheckPoison(const Subject& subject, Problems& problems);

  private:
    static constexpr Size guardSize = 16;

    void FillGuards();

    std::unique_ptr<char[]> storage; ///< guard, `capacity` bytes, guard
    Size length = 0;
    Size capacity = 0;
};

/// Released blocks, kept for a while to see whether someone still writes there. Holds at most
/// 4 MB and 2000 blocks; the oldest leave first.
class Quarantine {
  public:
    explicit Quarantine(Problems& problemList) : problems(problemList) {}

    /// Poisons the block and keeps it.
    void Take(Block block);
    void CheckAll();
    /// Whether the address was the start of one of the blocks held.
    bool Holds(const char* bytes) const;
    void Clear();

  private:
    void DropOldest();
    void Check(Block& block);

    Problems& problems;
    std::deque<Block> blocks;
    Size total = 0;
};
