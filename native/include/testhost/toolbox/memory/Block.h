#pragma once

#include "platform/Types.h"
#include "testhost/toolbox/memory/Place.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sanitizer/asan_interface.h>
#include <utility>

// Stands for the header of the same name in the native build: each block is an allocation of its
// own, given back when it is released or moves, so that the sanitizer sees each byte too many and
// each use too late. It tells of them and ends the program; there are no guard bytes to compare.

class Problems;

struct Subject {
    const char* callName;
    const char* kind;
    const void* address;
    const Place* made;
};

/// The bytes of one handle or pointer.
class Block {
  public:
    /// More is refused, as what fuzzers ask for must not take the machine's memory.
    static constexpr long long maxSize = 64 * 1024 * 1024;
    /// Unlocked blocks move with each call that takes memory, whether or not memory is strict; of
    /// very many only when it is, and then as in the real one.
    static constexpr bool alwaysMoves = true;

    Block() = default;
    static Block Make(long long size) {
        return size < 0 || size > maxSize ? Block() : Block(static_cast<Size>(size));
    }
    /// There is never room to spare.
    Block Copy(Size size, Size) const {
        Block block(size);
        if (block) {
            std::memcpy(block.Bytes(), Bytes(), static_cast<std::size_t>(std::min(size, length)));
        }
        return block;
    }

    explicit operator bool() const { return storage != nullptr; }
    char* Bytes() const { return storage.get(); }
    Size Length() const { return length; }
    Size Capacity() const { return capacity; }
    static Size CapacityFor(Size size) { return (size + 15) & ~15; }
    Size Room() const { return capacity; }
    void SetLength(Size size) {
        ASAN_UNPOISON_MEMORY_REGION(Bytes(), size);
        if (size > length) {
            std::memset(Bytes() + length, newByte, static_cast<std::size_t>(size - length));
        }
        length = size;
        ASAN_POISON_MEMORY_REGION(Bytes() + length, allocated - length);
    }
    void SetLengthAndCapacity(Size size) { SetLength(size); }

    void CheckGuards(const Subject&, Problems&) {}
    bool AreGuardsIntact() const { return true; }

  private:
    static constexpr unsigned char newByte = 0xCC;

    struct Free {
        void operator()(char* bytes) const { std::free(bytes); }
    };

    /// Between length and capacity no byte may be touched.
    explicit Block(Size size)
        : allocated(std::max(CapacityFor(size), Size{1})),
          storage(static_cast<char*>(std::malloc(static_cast<std::size_t>(allocated)))),
          capacity(CapacityFor(size)) {
        if (storage) {
            SetLength(size);
        }
    }

    Size allocated = 0; ///< one byte of an empty block, too
    std::unique_ptr<char[], Free> storage;
    Size length = 0;
    Size capacity = 0;
};

struct FormerBlock {
    Block block;
    bool isReleased;
    Place made;
    Place left;
};

/// The sanitizer keeps what was released.
class Quarantine {
  public:
    explicit Quarantine(Problems&) {}

    void Take(FormerBlock&& former) { const FormerBlock released = std::move(former); }
    void CheckRecent(const char*) {}
    void CheckAll(const char*) {}
    void Clear() {}
};
