#pragma once

#include "testhost/recordings/File.h"

#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

/// Follows a recording's crossings on the stacks on which they happen: what is under way there, and
/// in which process of the host.
class RecordedStacks {
  public:
    /// A crossing under way, by its first event.
    struct Open {
        const RecordedEvent* event = nullptr;
        long process = 0; ///< that it tells of, see Process; 0: none
        int depth = 0;    ///< entries into the plug-in around it
    };

    /// Takes notice of an event. A beginning is under way from then on; for an end that is over.
    /// What was left meanwhile without an end goes first, and is shown to `onLeft`. Answers the
    /// crossing that begins or ends.
    Open Follow(const RecordedEvent& event, const std::function<void(const Open&)>& onLeft);
    /// The process in which the event's stack is: as the host has told, or less than 0 for a stack
    /// of which it has told nothing. The stack of the first event is that of process 1 until then.
    long Process(const RecordedEvent& event) const;
    /// Shows all that is still under way.
    void Leave(const std::function<void(const Open&)>& onLeft);

  private:
    struct Stack {
        long process = 0;
        std::vector<Open> open; ///< outermost first
    };
    using Key = std::pair<std::uint32_t, std::uint32_t>; ///< thread and base

    static Key KeyOf(const RecordedEvent& event) {
        return {event.head.thread, event.head.stackBase};
    }
    static void LearnProcess(Stack& stack, const RecordedEvent& event);

    std::map<Key, Stack> stacks;
};
