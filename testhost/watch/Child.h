#pragma once

#include "testhost/session/Progress.h"

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
};

/// What a process is started with.
struct ChildStart {
    std::wstring commandLine;
    void* input = nullptr; ///< its standard input; null: that of this process
    std::filesystem::path plugin;
    unsigned long timeout = 0; ///< milliseconds for a statement; 0: for ever
};

/// Runs this program once more, as a process that inherits the handles that can be, and watches it
/// to its end. With it go all processes that it started. Throws std::runtime_error when it cannot
/// be started.
ChildEnd RunChild(const ChildStart& start, const Progress& progress);
