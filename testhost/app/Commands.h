#pragma once

#include <filesystem>
#include <ostream>

/// Prints what the plug-in says of its commands: number, name and usage of each, and then what is
/// wrong with that. Answers the exit code: 0 when nothing is, 1 when something is, 2 when the
/// plug-in hands out no table. Throws PluginLoadError when it cannot be loaded.
int ListCommands(const std::filesystem::path& plugin, std::ostream& out);
