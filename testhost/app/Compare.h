#pragma once

#include <string>

/// What the command line says of a comparison; files in UTF-8.
struct CompareOptions {
    std::string recording;
    std::string resources; ///< empty: those beside the plug-in that was recorded
    bool verbose = false;
};

namespace CLI {
class App;
}

void AddCompareOptions(CLI::App& compare, CompareOptions& options);
/// Compares and prints. Answers the exit code.
int RunCompare(const CompareOptions& options);
