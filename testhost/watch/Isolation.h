#pragma once

#include "testhost/session/Transcript.h"

#include <filesystem>

/// A session that is played in a process of its own.
struct IsolatedSession {
    std::filesystem::path plugin;
    bool readsInput = false;    ///< the script is the standard input
    unsigned long timeout = 30; ///< seconds for a statement; 0: for ever
    bool keepsGoing = false;    ///< after a crash goes on at the next `start`, in another process
    TranscriptSettings transcript = {};
};

/// Runs this program once more, with the same command line, and tells how it came to its end unless
/// that was its own. Answers the exit code. Throws std::runtime_error when there is no process to
/// be had.
int PlayIsolated(const IsolatedSession& session);
