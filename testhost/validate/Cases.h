#pragma once

#include "testhost/validate/Workbench.h"

#include <string>
#include <vector>

// What checks have in common.

using Lines = std::vector<std::string>;

/// Whether a session goes well. Its problems become no findings.
bool GoesWell(Workbench& bench, const Case& played);

/// The hosts' generations, all of them or, with little strictness, the newest or three.
Lines Versions(const Workbench& bench);
/// A classic host and one with the engine, or with little strictness the latter alone.
Lines TypicalVersions(const Workbench& bench);

/// The commands that can be called as their usages say. Notes what stands in the way of others.
std::vector<const DescribedCommand*> CallableCommands(Workbench& bench);
/// The commands that events of areas go to.
std::vector<const DescribedCommand*> AreaCommands(const Workbench& bench);

/// Variables, a start, these lines, a stop.
Lines Session(const Lines& lines);
Lines operator+(Lines first, const Lines& second);

/// A call of a command, and what it did when it was tried.
struct KnownCall {
    std::string line;
    Facts facts;
};
/// Ordinary calls of a command and, with more strictness, some others, as they go on such a host.
std::vector<KnownCall> KnownCalls(Workbench& bench, const DescribedCommand& command,
                                  const std::string& version = Case().version);
