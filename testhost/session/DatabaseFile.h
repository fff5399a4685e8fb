#pragma once

#include "testhost/database/Tables.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

/// A database read from a text file. docs/stand-in-host.md tells how such a file is written.
struct DatabaseFile {
    Database database;
    std::vector<std::string> errors; ///< "name:line: message"; a file with errors is not used
};

/// Reads a whole text; `name` is for messages.
DatabaseFile ParseDatabase(std::string_view text, const std::string& name);
/// Reads the file at `path`. Throws ScriptError when it is missing or cannot be read.
DatabaseFile ReadDatabaseFile(const std::filesystem::path& path);
