#pragma once

#include "testhost/validate/Findings.h"

#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

/// What is validated, and how.
struct Validation {
    std::vector<std::filesystem::path> plugins; ///< that exist
    std::vector<std::string> checks;            ///< names
    std::vector<std::string> setUp;             ///< statements that each session begins with
    std::filesystem::path resources;            ///< empty: those beside each plug-in
    std::filesystem::path sessions;             ///< folder for those that reproduce findings
    int strictness = 5;                         ///< 1 to 10
    unsigned long seed = 1;                     ///< of what is random
    unsigned long timeout = 10;                 ///< seconds that a statement may take; 0: for ever
    unsigned jobs = 1;                          ///< checks that run at a time
    /// Runs with each result, in the order of plug-ins and checks, as soon as it is there.
    std::function<void(const CheckResult&)> onResult;
    /// Runs every now and then with one line about what is under way; may be empty.
    std::function<void(const std::string&)> onProgress;
};

/// Runs each check of each plug-in in a process of its own, and writes the sessions of what was
/// found. One that cannot be written is noted with the result. After Ctrl-C the results of
/// checks that were not done say so.
void Validate(const Validation& validation);
