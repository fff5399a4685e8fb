#pragma once

#include "platform/Types.h"
#include "testhost/toolbox/memory/Place.h"

#include <deque>
#include <emmintrin.h>
#include <memory>

class Problems;

/// What a problem is about: the call that found it, and the block as a person would name it.
struct Subject {
    const char* callName;
    const char* kind;
    const void* address;
    const Place* made; ///< where the block was made
};

/// Sixteen bytes, each of them all ones where that of `bytes` has this value.
inline __m128i SixteenEqual(const char* bytes, unsigned char value) {
    return _mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes)),
                          _mm_set1_epi8(static_cast<char>(value)));
}
inline bool AreAllOnes(__m128i bytes) {
    return _mm_movemask_epi8(bytes) == 0xFFFF;
}

/// The bytes of one handle or pointer, with guard bytes before and behind them.
class Block {
  public:
    /// More is refused, so that sums of sizes never overflow.
    static constexpr long long maxSize = 0x3FFFFFFF;
    /// Moving is for strict memory.
    static constexpr bool alwaysMoves = false;

    /// An empty object, without bytes.
    Block() = default;
    /// A block of `size` bytes of no particular value; an empty object when memory is full or the
    /// size is out of range.
    static Block Make(long long size);
    /// A block of `size` bytes that begins with this one's, as far as there are so many, and has
    /// room for `spare` bytes more; an empty object as above.
    Block Copy(Size size, Size spare) const;

    explicit operator bool() const { return storage != nullptr; }
    char* Bytes() const { return storage.get() + guardSize; }
    Size Length() const { return length; }
    Size Capacity() const { return capacity; }
    /// The capacity of a block of `size` bytes: the next multiple of 16.
    static Size CapacityFor(Size size) { return (size + 15) & ~15; }
    /// Bytes that would fit if the capacity were changed: it, and what was to spare.
    Size Room() const { return storage.get_deleter().room - overhead; }
    /// Changes the length in place; `size` is at most the capacity.
    void SetLength(Size size);
    /// Changes the capacity, too; `size` is at most the room.
    void SetLengthAndCapacity(Size size);

    /// Reports guard bytes that were overwritten, then restores them.
    void CheckGuards(const Subject& subject, Problems& problems);
    /// Whether there are none. Everything from the end on as far as the second guard goes counts.
    bool AreGuardsIntact() const {
        const char* const last = Bytes() + capacity;
        __m128i equal =
            _mm_and_si128(SixteenEqual(storage.get(), guardByte), SixteenEqual(last, guardByte));
        for (const char* guard = Bytes() + length; guard < last; guard += guardSize) {
            equal = _mm_and_si128(equal, SixteenEqual(guard, guardByte));
        }
        return AreAllOnes(equal);
    }

    /// Overwrites all bytes with 0xE5.
    void Poison();
    /// Index of the first byte that changed since Poison(), after which all are as it left them;
    /// the length when there is none.
    Size TakeChanged();

  private:
    static constexpr unsigned char guardByte = 0xA5;
    static constexpr Size guardSize = 16;
    /// Behind the second guard, and never looked at: where a string of any length that was written
    /// into a small block ends, rather than in what this library itself works with.
    static constexpr Size moatSize = 256;
    static constexpr Size overhead = 2 * guardSize + moatSize;

    struct Recycler {
        Size room; ///< bytes, with guards and moat
        void operator()(char* bytes) const;
    };

    static Block WithRoom(Size size, Size room);
    void FillGuards();

    std::unique_ptr<char[], Recycler>
        storage; ///< guard, `capacity` bytes, guard, what is to spare, moat
    Size length = 0;
    Size capacity = 0;
};

/// Bytes that a handle or pointer has left: it was released, or they moved.
struct FormerBlock {
    Block block;
    bool isReleased; ///< else it moved
    Place made;
    Place left; ///< where it was released or moved
};

/// Former blocks, kept for a while to see whether someone still writes there. Holds at most 4 MB
/// and 2000 blocks, or one that is larger; the oldest leave first. All are checked as they leave.
class Quarantine {
  public:
    explicit Quarantine(Problems& problemList) : problems(problemList) {}

    /// Poisons the block and keeps it.
    void Take(FormerBlock&& former);
    /// Checks those that came since the last check. `finder` begins each sentence.
    void CheckRecent(const char* finder);
    void CheckAll(const char* finder);
    void Clear();

  private:
    void DropOldest();
    void Check(FormerBlock& former, const char* finder);

    Problems& problems;
    std::deque<FormerBlock> blocks;
    std::size_t recent = 0; ///< how many of the last ones were never checked
    Size total = 0;
};
