#pragma once

#include "platform/Types.h"
#include "testhost/model/Scheduler.h"

#include <deque>
#include <optional>
#include <string>

/// What ProcessInfo answers of a process.
namespace ProcessState {
inline constexpr long Ended = -1; ///< every negative state means that the process is gone
inline constexpr long Executing = 0;
inline constexpr long Asleep = 1;
inline constexpr long AwaitingEvent = 2;
inline constexpr long Frozen = 5;
} // namespace ProcessState

/// One of the host's processes. Its number is its place in Host::processes, from 1; a process
/// that has ended stays there.
struct HostProcess {
    std::string name; ///< system ANSI code page
    long state = ProcessState::Executing;
    bool isUser = true;    ///< false for the host's own processes
    bool isDying = false;  ///< asked to end: what IsProcessDying answers in it
    bool isEnding = false; ///< the plug-ins are being told of its end
    bool isKilled = false; ///< has ended itself: it goes as soon as the host can let it go
    bool isFrozen = false;
    bool isVisible = true;               ///< its windows are shown
    Ticks wakeAt = 0;                    ///< until then it sleeps, or waits for an event
    unsigned short awaitedEvents = 0;    ///< mask of the events it waits for; 0 when for none
    bool waitedInVain = false;           ///< its last wait for an event brought none
    std::deque<EventRecord> events = {}; ///< oldest first

    bool Lives() const { return state >= 0; }
    /// Whether nothing keeps it from its next turn.
    bool CanRun(Ticks now) const;
    /// The state for others to see.
    long StateAt(Ticks now) const;
    bool HasEvent(unsigned short mask) const;
    /// Takes the oldest event that the mask lets through.
    std::optional<EventRecord> TakeEvent(unsigned short mask);
};
