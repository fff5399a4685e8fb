#pragma once

#include "testhost/recordings/File.h"

#include <cstddef>
#include <map>
#include <vector>

/// Which crossings of a recording are under way on each stack, as its events are gone through one
/// after the other. Processes of the host have stacks of their own, whose crossings go on side by
/// side; on one stack they lie within each other.
class StackWalk {
  public:
    /// A crossing that has begun.
    struct Open {
        std::uint32_t number;
        std::uint32_t depth; ///< how far the stack was in use: what lies below was left
        size_t event;        ///< that begins it
    };

    /// Takes the next event, the `place`-th from 0. What it shows to have been left without an end
    /// (its process was killed, an exception went through it) is over.
    void Take(const RecordedEvent& event, size_t place);
    /// Those that are under way on the stack of an event, the outermost first.
    const std::vector<Open>& On(const RecordedEvent& event) { return stacks[event.head.stackBase]; }

  private:
    std::map<std::uint32_t, std::vector<Open>> stacks; ///< by their bases
};
