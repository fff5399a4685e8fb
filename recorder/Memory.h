#pragma once

#include "platform/Types.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

/// What of this process's memory can be read. It remembers what the system has told of regions, so
/// that it holds for a moment only: make a new one for each event.
class ReadableMemory {
  public:
    ReadableMemory();
    /// How many of so many bytes can be read from an address on.
    std::size_t From(std::uint32_t address, std::size_t size);

  private:
    struct Range {
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
    };
    /// At first the running thread's stack, as far as it is in use, when that is known; then the
    /// regions that were found last.
    std::array<Range, 8> ranges{};
    std::size_t oldest = 1; ///< of these
};

/// The stack that the running thread is on, where the system says it begins.
std::uint32_t StackBase();

/// Asks the toolbox that the process has how many bytes a handle has. Nothing when there is none,
/// or where the question could change what the plug-in sees of the last error.
std::optional<std::uint32_t> PlatformHandleSize(std::uint32_t handle);
