#include "testhost/toolbox/memory/Block.h"

#include "platform/Compiler.h"
#include "testhost/toolbox/memory/Problems.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <deque>
#include <intrin.h>
#include <new>
#include <vector>

namespace {

constexpr unsigned char newByte = 0xCC;
constexpr unsigned char releasedByte = 0xE5;

constexpr Size mostQuarantined = 4 * 1024 * 1024;
constexpr std::size_t mostQuarantinedBlocks = 2000;

/// Does without a call for the few bytes of a small block: strict memory moves many of them. The
/// system's memset would do with many, but writes words of 4 bytes.
void Fill(char* bytes, Size count, unsigned char value) {
    constexpr Size few = 64;
    if (count > few) {
        ClearDirectionFlag(); // a plug-in may have left the flag set
        __stosb(reinterpret_cast<unsigned char*>(bytes), value, static_cast<std::size_t>(count));
        return;
    }
    const std::uint64_t word = value * 0x0101010101010101U;
    for (; count >= Size{sizeof word}; bytes += sizeof word, count -= Size{sizeof word}) {
        std::memcpy(bytes, &word, sizeof word);
    }
    for (; count > 0; --count) {
        *bytes++ = static_cast<char>(value);
    }
}

/// As SixteenEqual(), of four times as many together.
__m128i SixtyFourEqual(const char* bytes, unsigned char value) {
    return _mm_and_si128(
        _mm_and_si128(SixteenEqual(bytes, value), SixteenEqual(bytes + 16, value)),
        _mm_and_si128(SixteenEqual(bytes + 32, value), SixteenEqual(bytes + 48, value)));
}

/// Index of the first byte that is not `value`, or `count`.
Size FirstOther(const char* bytes, Size count, unsigned char value) {
    constexpr Size step = 16;
    Size index = 0;
    while (index + 4 * step <= count && AreAllOnes(SixtyFourEqual(bytes + index, value))) {
        index += 4 * step;
    }
    while (index + step <= count && AreAllOnes(SixteenEqual(bytes + index, value))) {
        index += step;
    }
    if (count >= step && index + step > count &&
        AreAllOnes(SixteenEqual(bytes + count - step, value))) {
        return count;
    }
    while (index < count && static_cast<unsigned char>(bytes[index]) == value) {
        ++index;
    }
    return index;
}

/// Storage of blocks that were released, for the next ones. With strict memory each call moves
/// several small blocks; and of a large one the system hands out every page anew, which takes many
/// times as long as filling it.
class SpareStorage {
  public:
    /// Null when there is no memory.
    char* Take(Size room) {
        if (room >= smallestLarge) {
            return TakeLarge(LargeSize(room));
        }
        if (std::vector<char*>* kept = Kept(room); kept && !kept->empty()) {
            char* bytes = kept->back();
            kept->pop_back();
            return bytes;
        }
        return Fresh(room);
    }

    void Keep(char* bytes, Size room) {
        if (room >= smallestLarge) {
            KeepLarge({bytes, LargeSize(room)});
            return;
        }
        std::vector<char*>* kept = Kept(room);
        if (!kept || kept->size() >= mostOfOneSize) {
            delete[] bytes;
            return;
        }
        if (kept->capacity() == 0) {
            kept->reserve(mostOfOneSize);
        }
        kept->push_back(bytes);
    }

  private:
    static constexpr std::size_t mostOfOneSize = 64;
    static constexpr Size step = 16;
    static constexpr Size smallestLarge = 128 * 1024;    // where the system's heap asks for pages
    static constexpr Size largeStep = 16 * 1024;         // so that nearly the same size will do
    static constexpr Size largestKept = 8 * 1024 * 1024; // of all large ones together

    struct LargeBytes {
        char* bytes;
        Size size;
    };

    static char* Fresh(Size size) {
        return new (std::nothrow) char[static_cast<std::size_t>(size)];
    }

    static Size LargeSize(Size room) { return (room + largeStep - 1) / largeStep * largeStep; }

    char* TakeLarge(Size size) {
        const auto fits = std::ranges::find(large, size, &LargeBytes::size);
        if (fits == large.end()) {
            return Fresh(size);
        }
        char* const bytes = fits->bytes;
        largeSize -= size;
        large.erase(fits);
        return bytes;
    }

    /// The oldest make room for it.
    void KeepLarge(LargeBytes released) {
        if (released.size > largestKept) {
            delete[] released.bytes;
            return;
        }
        large.push_back(released);
        largeSize += released.size;
        while (largeSize > largestKept) {
            delete[] large.front().bytes;
            largeSize -= large.front().size;
            large.pop_front();
        }
    }

    /// Small ones of this room; null when it is larger.
    std::vector<char*>* Kept(Size room) {
        const auto place = static_cast<std::size_t>(room / step);
        return place < bySize.size() ? &bySize[place] : nullptr;
    }

    std::array<std::vector<char*>, 48> bySize;
    std::deque<LargeBytes> large; ///< oldest first
    Size largeSize = 0;
};

SpareStorage& TheSpareStorage() {
    static auto* const storage = new SpareStorage; // outlives all blocks
    return *storage;
}

} // namespace

void Block::Recycler::operator()(char* bytes) const {
    TheSpareStorage().Keep(bytes, room);
}

Block Block::WithRoom(Size size, Size room) {
    Block block;
    const Size all = room + overhead;
    block.storage = {TheSpareStorage().Take(all), Recycler{all}};
    if (block) {
        block.capacity = CapacityFor(size);
        block.length = size;
        block.FillGuards();
    }
    return block;
}

Block Block::Make(long long size) {
    if (size < 0 || size > maxSize) {
        return {};
    }
    Block block = WithRoom(static_cast<Size>(size), CapacityFor(static_cast<Size>(size)));
    if (block) {
        Fill(block.Bytes(), block.length, newByte);
    }
    return block;
}

Block Block::Copy(Size size, Size spare) const {
    Block block = WithRoom(size, CapacityFor(size + spare));
    if (block) {
        const Size kept = std::min(size, length);
        std::memcpy(block.Bytes(), Bytes(), static_cast<std::size_t>(kept));
        Fill(block.Bytes() + kept, size - kept, newByte);
    }
    return block;
}

void Block::FillGuards() {
    Fill(storage.get(), guardSize, guardByte);
    Fill(Bytes() + length, capacity - length + guardSize, guardByte);
}

void Block::SetLength(Size size) {
    if (size > length) {
        Fill(Bytes() + length, size - length, newByte);
    } else {
        Fill(Bytes() + size, length - size, guardByte);
    }
    length = size;
}

void Block::SetLengthAndCapacity(Size size) {
    const Size guarded = capacity + guardSize;
    capacity = CapacityFor(size);
    const Size unguarded = capacity + guardSize - std::max(guarded, size);
    if (unguarded > 0) {
        Fill(Bytes() + std::max(guarded, size), unguarded, guardByte);
    }
    SetLength(size);
}

void Block::CheckGuards(const Subject& subject, Problems& problems) {
    if (AreGuardsIntact()) {
        return;
    }
    const bool damagedBefore = FirstOther(storage.get(), guardSize, guardByte) != guardSize;
    const Size room = capacity - length + guardSize;
    const Size behind = FirstOther(Bytes() + length, room, guardByte);
    const std::string made =
        subject.made->Text() ? std::string("; made under ") + subject.made->Text() : std::string();
    if (damagedBefore) {
        problems.Add("%s: bytes before the start of %s %p were overwritten (size %ld%s)",
                     subject.callName, subject.kind, subject.address, length, made.c_str());
    }
    if (behind != room) {
        problems.Add("%s: bytes behind the end of %s %p were overwritten (size %ld, first at "
                     "offset %ld%s)",
                     subject.callName, subject.kind, subject.address, length, length + behind,
                     made.c_str());
    }
    FillGuards();
}

void Block::Poison() {
    Fill(Bytes(), length, releasedByte);
}

Size Block::TakeChanged() {
    const Size changed = FirstOther(Bytes(), length, releasedByte);
    if (changed != length) {
        Poison();
    }
    return changed;
}

void Quarantine::Take(FormerBlock&& former) {
    if (!former.block) {
        return;
    }
    former.block.Poison();
    total += former.block.Capacity();
    blocks.push_back(std::move(former));
    ++recent;
    while (blocks.size() > 1 &&
           (total > mostQuarantined || blocks.size() > mostQuarantinedBlocks)) {
        DropOldest();
    }
}

void Quarantine::CheckRecent(const char* finder) {
    for (; recent > 0; --recent) {
        Check(blocks[blocks.size() - recent], finder);
    }
}

void Quarantine::CheckAll(const char* finder) {
    for (FormerBlock& former : blocks) {
        Check(former, finder);
    }
    recent = 0;
}

void Quarantine::Clear() {
    blocks.clear();
    recent = 0;
    total = 0;
}

void Quarantine::DropOldest() {
    Check(blocks.front(), "Check");
    total -= blocks.front().block.Capacity();
    blocks.pop_front();
    recent = std::min(recent, blocks.size());
}

void Quarantine::Check(FormerBlock& former, const char* finder) {
    Block& block = former.block;
    const void* address = block.Bytes();
    block.CheckGuards({finder, "former block", address, &former.made}, problems);
    const Size changed = block.TakeChanged();
    if (changed == block.Length()) {
        return;
    }
    problems.Add("%s: bytes of former block %p were written after it %s%s (size %ld, first at "
                 "offset %ld%s%s)",
                 finder, address, former.isReleased ? "was released" : "had moved",
                 former.left.Under().c_str(), block.Length(), changed,
                 former.made ? "; made under " : "", former.made ? former.made.Text() : "");
}
