#pragma once

#include <type_traits>

/// What the host called the plug-in for, as it is told to whoever debugs it.
struct HostEntry {
    const char* kind;           ///< "command", "selector"
    long number = 0;            ///< 0: none
    const char* name = nullptr; ///< of the command or object, zero-terminated; null: none
};

/// Says on the debugger's console, in one line, `what` went wrong in an `entry` of this library,
/// and where: "[plug-in problem] Tour.dll, command 3 (Count words): what".
void TellDebugger(const HostEntry& entry, const char* what) noexcept;

/// The same of what is being caught in an `entry`: apart, as every call from the host has a
/// barrier.
void TellOfException(const HostEntry& entry) noexcept;

/// Runs `body` and keeps everything it throws on this side: nothing thrown may cross into the
/// host, which has no way to be told. Every call from the host goes through here once; what a
/// handler wrote before it threw stands. `describe` answers the HostEntry, and is called only then.
template <typename Describe, typename Body>
requires std::is_invocable_r_v<HostEntry, Describe>
inline void KeepExceptionsInside(const Describe& describe, const Body& body) noexcept {
    try {
        body();
    } catch (...) {
        TellOfException(describe());
    }
}

/// The same with a `body`, where the `entry` is known beforehand.
template <typename Body>
void KeepExceptionsInside(const HostEntry& entry, const Body& body) noexcept {
    KeepExceptionsInside([&] { return entry; }, body);
}
