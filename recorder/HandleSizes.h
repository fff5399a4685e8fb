#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

/// The sizes of host handles as the calls about them told. As many as there is room for: a later
/// one takes the place of an earlier one.
class HandleSizes {
  public:
    void Set(std::uint32_t handle, std::uint32_t size) { EntryOf(handle) = {handle, size}; }
    void Forget(std::uint32_t handle) {
        if (Entry& entry = EntryOf(handle); entry.handle == handle) {
            entry = {};
        }
    }
    std::optional<std::uint32_t> Of(std::uint32_t handle) const {
        const Entry& entry = entries[PlaceOf(handle)];
        return entry.handle == handle ? std::optional(entry.size) : std::nullopt;
    }

  private:
    struct Entry {
        std::uint32_t handle = 0;
        std::uint32_t size = 0;
    };
    static constexpr std::size_t count = 16 * 1024;

    /// Handles lie one behind the other, four bytes each.
    static std::size_t PlaceOf(std::uint32_t handle) { return handle / 4 % count; }
    Entry& EntryOf(std::uint32_t handle) { return entries[PlaceOf(handle)]; }

    std::array<Entry, count> entries{};
};
