#pragma once

#include "testhost/session/Progress.h"
#include "testhost/validate/Order.h"

#include <filesystem>
#include <span>

class Workbench;

/// A check that the validator makes.
struct Check {
    const char* name;
    const char* help; ///< a sentence
    int strictness;   ///< from which on it is made
    void (*run)(Workbench& bench);
};

/// All checks, in the order in which they are made and told.
std::span<const Check> Checks();

/// Makes a check in this process, as the order in a file says, and writes its result into a file.
/// Throws std::runtime_error when that cannot be done.
void Perform(const std::filesystem::path& order, Progress& progress);

// The checks.
void CheckLibrary(Workbench& bench);
void CheckLifecycle(Workbench& bench);
void CheckRecords(Workbench& bench);
void CheckCommands(Workbench& bench);
void CheckMemory(Workbench& bench);
void CheckHostErrors(Workbench& bench);
void CheckProcesses(Workbench& bench);
void CheckServer(Workbench& bench);
void CheckDialogs(Workbench& bench);
void CheckAreas(Workbench& bench);
void CheckProcessor(Workbench& bench);
