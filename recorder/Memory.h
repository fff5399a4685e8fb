#pragma once

#include "platform/Types.h"

#include <cstddef>
#include <cstdint>
#include <optional>

/// What of this process's memory can be read. It asks the system once for neighbours, so that it
/// holds for a moment only: make a new one for each event.
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
    Range stack; ///< of the running thread, as far as it is in use; empty when that is not known
    Range last;  ///< found last
};

/// The stack that the running thread is on, where the system says it begins.
std::uint32_t StackBase();

/// Asks the toolbox that the process has how many bytes a handle has. Nothing when there is none,
/// or where the question could change what the plug-in sees of the last error.
std::optional<std::uint32_t> PlatformHandleSize(std::uint32_t handle);
