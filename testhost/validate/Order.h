#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// What the process of a check is told to do. Paths are absolute, in UTF-8.
struct Order {
    std::string plugin;
    std::string resources;          ///< empty: those beside the plug-in
    std::vector<std::string> setUp; ///< statements that each session begins with
    std::string check;              ///< its name
    int strictness = 5;             ///< 1 to 10
    unsigned long seed = 1;
    std::string journal; ///< file: what came of each session, a line each, see Workbench
    std::string result;  ///< file that gets the CheckResult
};
