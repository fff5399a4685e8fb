#include "testhost/toolbox/memory/Block.h"

#include "testhost/toolbox/memory/Problems.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

constexpr int guardByte = 0xA5;
constexpr int newByte = 0xCC;
constexpr int releasedByte = 0xE5;

constexpr Size mostQuarantined = 4 * 1024 * 1024;
constexpr std::size_t mostQuarantinedBlocks = 2000;

/// Index of the first byte that is not `value`, or `count`.
Size FirstOther(const char* bytes, Size count, int value) {
    return static_cast<Size>(
        std::find_if(bytes, bytes + count,
                     [value](char byte) { return static_cast<unsigned char>(byte) != value; }) -
        bytes);
}

} // namespace

Block Block::Make(long long size) {
    Block block;
    if (size < 0 || size > maxSize) {
        return block;
    }
    const Size room = CapacityFor(static_cast<Size>(size));
    block.storage.reset(new (std::nothrow) char[static_cast<std::size_t>(room + 2 * guardSize)]);
    if (!block) {
        return block;
    }
    block.capacity = room;
    block.length = static_cast<Size>(size);
    std::memset(block.Bytes(), newByte, static_cast<std::size_t>(size));
    block.FillGuards();
    return block;
}

void Block::FillGuards() {
    std::memset(storage.get(), guardByte, guardSize);
    std::memset(Bytes() + length, guardByte,
                static_cast<std::size_t>(capacity - length + guardSize));
}

void Block::SetLength(Size size) {
    if (size > length) {
        std::memset(Bytes() + length, newByte, static_cast<std::size_t>(size - length));
    }
    length = size;
    FillGuards();
}

void Block::CheckGuards(const Subject& subject, Problems& problems) {
    const bool damagedBefore = FirstOther(storage.get(), guardSize, guardByte) != guardSize;
    const Size room = capacity - length + guardSize;
    const Size behind = FirstOther(Bytes() + length, room, guardByte);
    if (damagedBefore) {
        problems.Add("%s: bytes before the start of %s %p were overwritten", subject.callName,
                     subject.kind, subject.address);
    }
    if (behind != room) {
        problems.Add("%s: bytes behind the end of %s %p were overwritten (size %ld, first at "
                     "offset %ld)",
                     subject.callName, subject.kind, subject.address, length, length + behind);
    }
    if (damagedBefore || behind != room) {
        FillGuards();
    }
}

void Block::Poison() {
    std::memset(Bytes(), releasedByte, static_cast<std::size_t>(length));
}

void Block::CheckPoison(const Subject& subject, Problems& problems) {
    const Size changed = FirstOther(Bytes(), length, releasedByte);
    if (changed == length) {
        return;
    }
    problems.Add("%s: bytes of %s %p were written after it was released or moved (size %ld, first "
                 "at offset %ld)",
                 subject.callName, subject.kind, subject.address, length, changed);
    Poison();
}

void Quarantine::Take(Block block) {
    if (!block) {
        return;
    }
    block.Poison();
    total += block.Capacity();
    blocks.push_back(std::move(block));
    while (total > mostQuarantined || blocks.size() > mostQuarantinedBlocks) {
        DropOldest();
    }
}

void Quarantine::CheckAll() {
    for (Block& block : blocks) {
        Check(block);
    }
}

bool Quarantine::Holds(const char* bytes) const {
    return std::any_of(blocks.begin(), blocks.end(),
                       [bytes](const Block& block) { return block.Bytes() == bytes; });
}

void Quarantine::Clear() {
    blocks.clear();
    total = 0;
}

void Quarantine::DropOldest() {
    Check(blocks.front());
    total -= blocks.front().Capacity();
    blocks.pop_front();
}

void Quarantine::Check(Block& block) {
    const Subject subject{"Check", "former block", block.Bytes()};
    block.CheckGuards(subject, problems);
    block.CheckPoison(subject, problems);
}
