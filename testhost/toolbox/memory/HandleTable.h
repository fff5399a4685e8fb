#pragma once

#include "platform/Types.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>

/// Master pointers, and an entry for each, which is found from the handle alone in the same few
/// steps however many there are. Entries have a member `handle`, which says whose they are. None is
/// ever given back to the system, so that a stale handle can be looked at.
template <typename Entry>
class HandleTable {
  public:
    HandleTable() {
        if (!chunks) {
            std::abort();
        }
    }

    /// The entry of a handle that was ever added; null for any other address, which is not touched.
    Entry* Find(Handle handle) const {
        const auto address = reinterpret_cast<std::uintptr_t>(handle);
        Chunk* const chunk = chunks[address / chunkSize];
        if (!chunk) {
            return nullptr;
        }
        Entry& entry = chunk->entries[address % chunkSize / sizeof(char*)];
        return entry.handle == handle ? &entry : nullptr;
    }

    /// Makes one more handle, its master pointer null; null when memory is full.
    Entry* Add() {
        if (!newest || newest->used == masterPointersOfOne) {
            auto* const chunk = new (std::nothrow) Chunk;
            if (!chunk) {
                return nullptr;
            }
            newest = chunk;
            chunks[reinterpret_cast<std::uintptr_t>(chunk) / chunkSize] = chunk;
        }
        Entry& entry = newest->entries[newest->used];
        entry.handle = &newest->masterPointers[newest->used++];
        return &entry;
    }

  private:
    static constexpr std::size_t chunkSize = 8 * 1024; ///< bytes of master pointers
    static constexpr std::size_t masterPointersOfOne = chunkSize / sizeof(char*);

    struct Chunk {
        alignas(chunkSize) std::array<char*, masterPointersOfOne> masterPointers{};
        std::array<Entry, masterPointersOfOne> entries{};
        std::size_t used = 0;
    };

    static constexpr std::size_t chunkCount = (1ULL << 32) / chunkSize;

    /// By the upper bits of the addresses of their master pointers: all that 32 bits can tell. It
    /// is asked for as cleared memory, which the system gives page by page where it is used, and
    /// stays.
    // NOLINTNEXTLINE(cppcoreguidelines-no-malloc): `new` would touch each page to clear it
    Chunk** const chunks = static_cast<Chunk**>(std::calloc(chunkCount, sizeof(void*)));

    Chunk* newest = nullptr;
};
