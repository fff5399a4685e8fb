#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <vector>

/// A session that a check plays: what the host is, and the statements, one on a line.
struct Case {
    std::string version = "11.3";
    std::string role = "single";
    std::vector<std::string> lines = {};
};

/// Something that went wrong in a session.
struct Problem {
    std::string statement; ///< in which it showed; empty: before the first or after the last one
    std::string sentence;
    std::vector<std::string> calls = {}; ///< of a crash: the plug-in's, innermost first
};

/// What a plug-in did in a statement of a session.
struct Facts {
    std::vector<std::string> hostCalls; ///< names of its first calls into the host
    size_t allocations = 0;             ///< of the toolbox, in the plug-in's outermost entry
    std::string result;                 ///< of a command: "long 7"; empty without one
};

/// What came of a session.
struct Outcome {
    enum class End {
        Finished,
        Crashed,  ///< its process is gone
        TimedOut, ///< its process was ended
    };
    size_t session = 0; ///< its number in the check, from 1; 0: the plug-in was only loaded
    End end = End::Finished;
    std::vector<Problem> problems = {};
    std::map<size_t, Facts> facts = {}; ///< by the number of the line in the case, from 0
};
