#pragma once

#include <string>
#include <vector>

namespace CLI {
class App;
}

/// What the command line says to `testhost validate`; files in UTF-8.
struct ValidateOptions {
    std::vector<std::string> plugins;
    std::vector<std::string> only;
    std::vector<std::string> skip;
    std::string setUp;     ///< a script; empty: none
    std::string resources; ///< empty: those beside each plug-in
    std::string database;  ///< empty: none
    std::string sessions = "findings";
    std::string json;  ///< empty: no such report
    std::string junit; ///< the same
    int strictness = 5;
    long seed = -1;             ///< -1: a new one
    unsigned long timeout = 10; ///< seconds
    unsigned jobs = 0;          ///< 0: two for each processor, as they wait a lot
    bool list = false;
};

void AddValidateOptions(CLI::App& validate, ValidateOptions& options);
/// Validates the plug-ins, and prints what came of it. Answers the exit code.
int RunValidate(const ValidateOptions& options);
