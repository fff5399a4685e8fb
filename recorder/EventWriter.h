#pragma once

#include "recorder/HandleSizes.h"
#include "recorder/Memory.h"
#include "recording/Places.h"

#include <cstdint>
#include <span>
#include <string_view>

/// A beginning or an end of a crossing.
struct Event {
    Recording::Chunk chunk = Recording::Chunk::EntryBegins;
    std::uint32_t number = 0;
    std::uint64_t microseconds = 0;
    const void* stack = nullptr;    ///< where the recorder's own frame of the crossing lies
    const void* function = nullptr; ///< of the plug-in, where there is no selector
    long returned = 0;
    Recording::Crossing crossing{};
};

/// Room in which a chunk is put together: taken once, so that an event takes no memory.
class ChunkBuffer {
  public:
    ChunkBuffer();
    ~ChunkBuffer();
    ChunkBuffer(const ChunkBuffer&) = delete;
    ChunkBuffer& operator=(const ChunkBuffer&) = delete;

    bool IsThere() const { return bytes != nullptr; }
    unsigned char* At(std::size_t place) const { return bytes + place; }
    std::size_t Left() const { return capacity - used; }
    std::span<const unsigned char> Used() const { return {bytes, used}; }

    void Clear() { used = 0; }
    /// Appends so many bytes, copied from `source`; there has to be room.
    unsigned char* Append(const void* source, std::size_t size);

  private:
    static constexpr std::size_t capacity = 4 * 1024 * 1024;

    unsigned char* bytes;
    std::size_t used = 0;
};

/// Puts an event's chunk together: the root, and copies of all that it leads to, as far as that can
/// be read, has room and keeps the limits.
class EventWriter final : Recording::Visitor {
  public:
    EventWriter(ChunkBuffer& itsBuffer, const HandleSizes& itsHostHandles,
                std::uint32_t bytesOfItem)
        : buffer(itsBuffer), hostHandles(itsHostHandles), itemLimit(bytesOfItem) {}

    /// The chunk is then in the buffer. What it tells of the surroundings is taken down.
    void Put(Event event, Recording::Surroundings& surroundings);

  private:
    Found Visit(const Recording::Place& place, std::uint32_t address) override;
    void LearnHost(const Recording::Crossing& crossing, Recording::Surroundings& surroundings);
    std::uint32_t SizeThere(const Recording::Place& place, std::uint32_t address,
                            std::uint32_t begin);

    ChunkBuffer& buffer;
    const HandleSizes& hostHandles;
    std::uint32_t itemLimit;
    ReadableMemory memory;
    std::uint16_t items = 0;
    std::span<const unsigned char> init; ///< the init record, when the event has one
};
