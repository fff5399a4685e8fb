#pragma once

#include "testhost/recordings/File.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>
#include <vector>

/// The process of whose start, of whose end the host tells the plug-in; nothing in other events.
std::optional<long> ProcessThatStarts(const RecordedEvent& event);
std::optional<long> ProcessThatEnds(const RecordedEvent& event);

/// By its thread and its base.
using StackKey = std::pair<std::uint32_t, std::uint32_t>;
/// The stack on which an event happens.
StackKey StackOf(const RecordedEvent& event);

/// Follows a recording's crossings on the stacks on which they happen: what is under way there, and
/// in which process of the host. Processes have stacks of their own, whose crossings go on side by
/// side; on one stack they lie within each other.
///
/// The numbers of processes are the recorded host's: it tells one when the plug-in asks for it, and
/// when a process starts or ends. Each counts for the whole entry, also for what came before the
/// answer in it.
class RecordedStacks {
  public:
    /// A crossing under way.
    struct Open {
        const RecordedEvent* event = nullptr; ///< that begins it
        int depth = 0;                        ///< entries into the plug-in around it
    };
    using OnLeft = std::function<void(const Open&)>;

    /// Looks up the numbers. The recording is to live as long as this, and its events are to stay
    /// where they are.
    explicit RecordedStacks(const RecordingFile& file);

    /// Takes the next event. A beginning is under way from then on; for an end that is over. What
    /// was left meanwhile without an end (its process was killed, an exception went through it)
    /// goes first, and is shown to `onLeft`. Answers the crossing that begins or ends.
    Open Follow(
        const RecordedEvent& event, const OnLeft& onLeft = [](const Open&) {});
    /// Shows all that is still under way.
    void Leave(const OnLeft& onLeft);

    /// What is under way on the stack of an event, the outermost first.
    const std::vector<Open>& On(const RecordedEvent& event) const;
    /// The process in which the event's stack is: as the host has told, or less than 0, another
    /// number for each, on a stack of which it has told nothing so far. That of the first event is
    /// process 1 until then.
    long Process(const RecordedEvent& event) const;
    /// Whether it is from the answer of this crossing that a number is known.
    bool IsNumberToldBy(std::uint32_t crossing) const { return telling.contains(crossing); }

  private:
    struct Stack {
        long process = 0;
        std::vector<Open> open; ///< outermost first
    };

    void NoteAnswer(const RecordedEvent& event);
    std::optional<long> NumberOf(const RecordedEvent& begin) const;

    std::map<StackKey, Stack> stacks;
    std::map<const RecordedEvent*, long> answered; ///< by the beginnings around the answers
    std::set<std::uint32_t> telling;               ///< crossings
};
