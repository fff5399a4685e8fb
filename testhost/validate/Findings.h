#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// Something that a check found wrong with a plug-in.
struct Finding {
    std::string version;   ///< of the host, "11.3"
    std::string role;      ///< of the host: "single", "client" or "server"
    std::string statement; ///< of the script, in which it showed, or the last before its end
    std::string sentence;  ///< what is wrong
    std::vector<std::string> calls; ///< of a crash: the plug-in's, innermost first
    std::string script;             ///< the session that shows it, reduced to what is needed
    size_t times = 1;               ///< how often the check came upon the like
    std::string file = {};          ///< where the session was written; empty when it could not be
    bool isReproduced = false;      ///< `testhost run` with that session went wrong, too
};

/// What came of one check of one plug-in.
struct CheckResult {
    std::string plugin = {}; ///< file name
    std::string check = {};
    std::vector<Finding> findings = {};
    size_t findingsNotKept = 0;
    std::vector<std::string> notes = {}; ///< what it left out, and why
    std::string skipped = {};            ///< why it did not run at all; empty when it did
    std::string error = {}; ///< why it could not be carried out, which is not the plug-in's
    size_t sessions = 0;    ///< that it played
    double seconds = 0;

    bool HasRun() const { return skipped.empty() && error.empty(); }
    bool Held() const { return HasRun() && findings.empty(); }
};
