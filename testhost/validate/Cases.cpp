#include "testhost/validate/Cases.h"

#include "testhost/validate/Values.h"

#include <algorithm>

Lines Versions(const Workbench& bench) {
    if (bench.strictness < 3) {
        return {"11.3"};
    }
    if (bench.strictness < 6) {
        return {"6.8", "11.3", "12.1"};
    }
    return {"6.0", "6.8", "8.0", "8.1", "10.1", "11.0", "11.3", "12.0", "12.1", "12.3"};
}

Lines TypicalVersions(const Workbench& bench) {
    return bench.strictness < 4 ? Lines{"11.3"} : Lines{"6.8", "11.3"};
}

std::vector<const DescribedCommand*> CallableCommands(Workbench& bench) {
    std::vector<const DescribedCommand*> commands;
    if (!bench.table) {
        bench.Note(
            "the plug-in does not say which commands it has (FourDPlugInfo): none is called");
        return commands;
    }
    size_t undeclared = 0;
    for (const DescribedCommand& command : bench.table->commands) {
        if (!command.usage) {
            ++undeclared;
        } else if (!command.usage->isArea) {
            commands.push_back(&command);
        }
    }
    if (undeclared > 0) {
        bench.Note(std::to_string(undeclared) + " of " +
                   std::to_string(bench.table->commands.size()) +
                   " commands declare no usage and are not called");
    }
    return commands;
}

bool GoesWell(Workbench& bench, const Case& played) {
    const Outcome outcome = bench.Probe(played);
    return outcome.problems.empty();
}

std::vector<const DescribedCommand*> AreaCommands(const Workbench& bench) {
    std::vector<const DescribedCommand*> commands;
    if (bench.table) {
        for (const DescribedCommand& command : bench.table->commands) {
            if (command.usage && command.usage->isArea) {
                commands.push_back(&command);
            }
        }
    }
    return commands;
}

Lines operator+(Lines first, const Lines& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

Lines Session(const Lines& lines) {
    return VariableStatements() + Lines{"start"} + lines + Lines{"stop"};
}

std::vector<KnownCall> KnownCalls(Workbench& bench, const DescribedCommand& command,
                                  const std::string& version) {
    Lines calls = {OrdinaryCall(command)};
    if (!command.usage->parameters.empty()) {
        for (int count = 0; count < bench.strictness / 2; ++count) {
            calls.push_back(AnyCall(command, bench.random));
        }
    }
    const Outcome outcome = bench.Probe({.version = version, .lines = Session(calls)});
    std::vector<KnownCall> known;
    const size_t first = Session({}).size() - 1;
    for (size_t number = 0; number < calls.size(); ++number) {
        if (const auto found = outcome.facts.find(first + number); found != outcome.facts.end()) {
            known.push_back({calls[number], found->second});
        }
    }
    return known;
}
