#pragma once

#include "testhost/watch/SharedProgress.h"

#include <filesystem>
#include <string>
#include <vector>

/// How a process that was watched came to its end.
struct ChildEnd {
    enum class Kind {
        Finished,    ///< as it had announced
        Crashed,     ///< by an exception that nobody handled
        TimedOut,    ///< and was ended
        Ended,       ///< by somebody who called exit or the like
        Interrupted, ///< by the user
    };
    Kind kind = Kind::Finished;
    unsigned long exitCode = 0;
    std::string what;               ///< what happened, and where
    std::vector<std::string> calls; ///< the plug-in's, innermost first

    /// "CRASHED in command 3(): Plug.dll+0x1234 read 0x00000000", with that place.
    std::string Describe(const std::string& place) const;
};

/// What a process is started with.
struct ChildStart {
    std::wstring commandLine;
    std::filesystem::path temporaryFolder; ///< whatever is left there goes with it
    std::filesystem::path folder = {};     ///< current; empty: that of this process
    void* input = nullptr;                 ///< its standard input; null: that of this process
    bool isSilent = false;                 ///< nobody reads what it prints
    std::filesystem::path plugin;
    unsigned long timeout = 0; ///< milliseconds for a statement; 0: for ever
};

/// Runs this program once more, as a process that inherits the handles that can be, and watches it
/// to its end. With it go all processes that it started. Throws std::runtime_error when it cannot
/// be started. Several threads may do so at a time.
ChildEnd RunChild(const ChildStart& start, const SharedProgress& progress);

/// What it was about: "in command 3()", "while the plug-in was loaded"; empty within a script and
/// outside the plug-in.
std::string UnderWayText(const Progress& progress);
