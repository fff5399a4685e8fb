#include "testhost/validate/Cases.h"
#include "testhost/validate/Checks.h"
#include "testhost/validate/Values.h"

#include <algorithm>
#include <array>
#include <string_view>

// The checks that call each command by itself.

namespace {
constexpr int strict = 10;

Lines AnyCalls(Workbench& bench, const DescribedCommand& command) {
    Lines calls;
    for (int count = 0; count < 2 * bench.strictness; ++count) {
        calls.push_back(AnyCall(command, bench.random));
    }
    return calls;
}

// Some faults need two numbers at an edge: the smallest one divided by -1.
Lines EdgePairs(const Workbench& bench, const DescribedCommand& command) {
    return bench.strictness >= 7 ? EdgePairCalls(command) : Lines();
}

// The same session, played once more, makes the same calls of the host.
void CheckSameAgain(Workbench& bench, const Lines& calls) {
    const Case session{.lines = Session(calls)};
    Outcome first = bench.Probe(session);
    Outcome second = bench.Probe(session);
    const size_t before = Session({}).size() - 1; // lines
    Lines begin = VariableStatements() + Lines{"start"};
    for (size_t number = 0; number < calls.size(); ++number) {
        begin.push_back(calls[number]);
        const size_t line = before + number;
        if (first.facts[line].hostCalls != second.facts[line].hostCalls) {
            bench.Find("The same session, played once more, made other calls of the host.",
                       {.lines = begin + Lines{"remember \"first\"", "stop", "reload"} + begin +
                                 Lines{"expect same \"first\"", "stop"}});
            return;
        }
    }
}

// A variable that is set anew between two calls takes its handles with it.
Lines WithVariablesSetBetween(const Lines& calls) {
    Lines lines;
    for (const std::string& call : calls) {
        lines = std::move(lines) + VariableStatements() + Lines{call};
    }
    return lines;
}

// Calls that give something back, or away: a host that does not take it leaves the plug-in nothing
// to do. (One that answers an error may keep an area's handler all the same.)
constexpr std::array<std::string_view, 8> givingBack = {"DisposeFDString",
                                                        "DisposePicture",
                                                        "DialogClose",
                                                        "ReleasePrinter",
                                                        "HandleOperation",
                                                        "DialogSwitchTo4DContext",
                                                        "DialogSwitchToDlogContext",
                                                        "DialogSetAreaHandler"};

bool GivesBack(std::string_view hostCall) {
    return std::ranges::find(givingBack, hostCall) != givingBack.end() ||
           hostCall.find("Dispose") != std::string_view::npos ||
           hostCall.find("Close") != std::string_view::npos;
}

// The result codes that a call can have.
std::vector<int> ResultCodes(const Workbench& bench, std::string_view hostCall) {
    std::vector<int> codes = {-108};
    if (bench.strictness < 7) {
        return codes;
    }
    const auto has = [&](std::string_view part) {
        return hostCall.find(part) != std::string_view::npos;
    };
    if (has("Record") || has("Field") || has("File") || has("Selection")) {
        codes.insert(codes.end(), {-9, -10, -11, -12, -13, -14, -15});
    } else if (has("Exec") || has("Token") || has("Method") || has("Formula")) {
        codes.insert(codes.end(), {-9901, -9902, -9903, -9904, -9905, -9906, -9907, -9908});
    } else if (has("Server")) {
        codes.insert(codes.end(), {-10002, -10003});
    } else if (has("Path") || has("Folder")) {
        codes.insert(codes.end(), {-43, -120});
    } else if (has("Printer")) {
        codes.insert(codes.end(), {-20, -21});
    }
    if (bench.strictness >= strict) {
        codes.insert(codes.end(), {-1, -2, -50, 1, 32767, -32768});
    }
    return codes;
}

// What makes each of the calls fail, in turn, that a statement makes.
Lines FailuresInTurn(const Workbench& bench, const Facts& facts) {
    Lines failures;
    const size_t most = bench.strictness >= strict ? 30 : 10;
    for (size_t number = 0; number < std::min(facts.hostCalls.size(), most); ++number) {
        if (!GivesBack(facts.hostCalls[number])) {
            for (const int code : ResultCodes(bench, facts.hostCalls[number])) {
                failures.push_back("fail call " + std::to_string(number + 1) + " " +
                                   std::to_string(code));
            }
        }
    }
    return failures;
}

void FailCallsInTurn(Workbench& bench, const std::string& version, const KnownCall& known) {
    Lines lines;
    for (const std::string& failing : FailuresInTurn(bench, known.facts)) {
        lines = std::move(lines) + Lines{failing, known.line};
    }
    if (!lines.empty()) {
        bench.Try({.version = version, .lines = Session(lines)});
    }
}

void FailAllocationsInTurn(Workbench& bench, const KnownCall& known) {
    Lines lines = {"set strict on"};
    const size_t most = bench.strictness >= strict ? 60 : 12;
    for (size_t number = 1; number <= std::min(known.facts.allocations, most); ++number) {
        lines.push_back("fail memory " + std::to_string(number));
        lines.push_back(known.line);
    }
    if (lines.size() > 1) {
        bench.Try({.lines = Session(lines)});
    }
}

template <typename Act>
void ForEachCommand(Workbench& bench, Act act) {
    for (const DescribedCommand* const command : CallableCommands(bench)) {
        if (bench.IsFull()) {
            bench.Note("the commands from " + command->Title() +
                       " on were left out: enough was found");
            return;
        }
        act(*command);
    }
}

// Each command twice. Many share a session, which is much faster; when one of them ends it, each
// has one of its own.
void TryTogether(Workbench& bench, const std::string& version, const std::string& option) {
    const auto attempt = [&](const Lines& calls) {
        return bench.Try({.version = version, .lines = Lines{option} + Session(calls)}).end;
    };
    constexpr size_t atOnce = 16; // calls
    std::vector<Lines> sessions(1);
    ForEachCommand(bench, [&](const DescribedCommand& command) {
        if (sessions.back().size() >= atOnce) {
            sessions.emplace_back();
        }
        sessions.back().insert(sessions.back().end(), 2, OrdinaryCall(command));
    });
    for (const Lines& calls : sessions) {
        if (bench.IsFull() || calls.empty() || attempt(calls) == Outcome::End::Finished) {
            continue;
        }
        for (size_t place = 0; place < calls.size() && !bench.IsFull(); place += 2) {
            attempt({calls[place], calls[place + 1]});
        }
    }
}

} // namespace

void CheckRecords(Workbench& bench) {
    for (const std::string& version : Versions(bench)) {
        for (const char* const compiled : {"off", "on"}) {
            TryTogether(bench, version, std::string("set compiled ") + compiled);
            if (bench.strictness < 8) {
                break;
            }
        }
        bench.Try({.version = version, .lines = {"start", "process start \"P\"", "stop"}});
    }
}

void CheckCommands(Workbench& bench) {
    bench.Try({.lines = {"start", "stop"}}); // which tells what is wrong with the table of them
    ForEachCommand(bench, [&](const DescribedCommand& command) {
        for (const std::string& version : TypicalVersions(bench)) {
            bench.Try({.version = version,
                       .lines = Session(Lines{OrdinaryCall(command)} + EdgeCalls(command) +
                                        EdgePairs(bench, command) + AnyCalls(bench, command))});
        }
        const bool isStrict = bench.strictness >= 7 && !command.usage->parameters.empty();
        if (bench.strictness >= 5) {
            CheckSameAgain(bench, isStrict
                                      ? Lines{OrdinaryCall(command), AnyCall(command, bench.random)}
                                      : Lines{OrdinaryCall(command)});
        }
        if (isStrict) {
            bench.Try({.lines = Lines{"set compiled on"} + Session(AnyCalls(bench, command))});
        }
    });
    // All of them in any order, amid variables that come and go.
    Lines calls;
    ForEachCommand(bench, [&](const DescribedCommand& command) {
        calls.push_back(AnyCall(command, bench.random));
        calls.push_back(OrdinaryCall(command));
    });
    for (int count = 0; count < bench.strictness / 2 && !calls.empty() && !bench.IsFull();
         ++count) {
        for (size_t place = calls.size() - 1; place > 0; --place) {
            std::swap(calls[place], calls[bench.random() % (place + 1)]);
        }
        bench.Try({.lines = Session(calls)});
    }
}

void CheckMemory(Workbench& bench) {
    ForEachCommand(bench, [&](const DescribedCommand& command) {
        const Lines calls = {OrdinaryCall(command), OrdinaryCall(command),
                             AnyCall(command, bench.random), AnyCall(command, bench.random)};
        bench.Try({.lines = Lines{"set strict on"} + Session(WithVariablesSetBetween(calls))});
        const Lines more = bench.strictness >= 8 ? AnyCalls(bench, command) : Lines();
        bench.Try({.lines = Lines{"set strict on"} + Session(calls + EdgeCalls(command) + more)});
        if (bench.strictness >= 5) {
            for (const KnownCall& known : KnownCalls(bench, command)) {
                FailAllocationsInTurn(bench, known);
            }
        }
    });
    bench.Try({.lines = {"set strict on", "start", "stop", "start", "stop"}});
    for (int number = 1; number <= 3 * bench.strictness && bench.strictness >= 6; ++number) {
        bench.Try({.lines = {"fail memory " + std::to_string(number), "start", "stop"}});
    }
}

void CheckHostErrors(Workbench& bench) {
    ForEachCommand(bench, [&](const DescribedCommand& command) {
        for (const std::string& version :
             bench.strictness >= 8 ? Lines{"11.3", "6.8"} : Lines{"11.3"}) {
            for (const KnownCall& known : KnownCalls(bench, command, version)) {
                FailCallsInTurn(bench, version, known);
            }
        }
    });
    for (const std::string& version : TypicalVersions(bench)) {
        const Outcome start = bench.Probe({.version = version, .lines = {"start", "stop"}});
        for (const auto& [number, facts] : start.facts) {
            for (const std::string& failing : FailuresInTurn(bench, facts)) {
                Lines lines = {"start", "stop"};
                lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(number), failing);
                bench.Try({.version = version, .lines = lines});
            }
        }
    }
}

void CheckProcessor(Workbench& bench) {
    // Three times each, and each time the stack lies elsewhere.
    for (const std::string& version : TypicalVersions(bench)) {
        bench.Try({.version = version,
                   .lines = {"start", "stop", "start -200", "stop -220", "start",
                             "process start \"P\"", "process end \"P\"", "stop"}});
        ForEachCommand(bench, [&](const DescribedCommand& command) {
            const std::string call = OrdinaryCall(command);
            bench.Try({.version = version,
                       .lines = Session({call, call, call, AnyCall(command, bench.random)})});
        });
    }
}
