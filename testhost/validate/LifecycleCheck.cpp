#include "testhost/validate/Cases.h"
#include "testhost/validate/Checks.h"
#include "testhost/validate/Values.h"

namespace {
Lines Repeated(const Lines& lines, int times) {
    Lines all;
    for (int count = 0; count < times; ++count) {
        all = std::move(all) + lines;
    }
    return all;
}

// Whatever order the host keeps to, or does not.
const std::vector<Lines>& Orders() {
    static const std::vector<Lines> orders = {
        {"start", "force start", "stop"},
        {"start", "force start -200", "stop -220"},
        {"start", "force start", "stop", "force stop"},
        {"force stop", "start", "stop"},
        {"force stop -220", "start", "stop"},
        {"start", "stop", "force stop", "start", "stop"},
        {"start -200", "stop"},
        {"start", "stop -220"},
        {"set globals off", "start", "stop"},
        {"set structure off", "start", "stop"},
        {"window clear", "start", "stop"},
        {"start", "window clear", "stop"},
        {"start", "selector 0", "selector -5", "selector -100", "selector -203", "selector -204",
         "selector -208", "selector -999", "selector -2147483648", "selector 32767",
         "selector 2147483647", "stop"},
        {"selector -999", "selector 32767", "start", "stop", "selector -999", "selector 32767"},
        {"selector -3 1", "selector -4 1", "start", "stop", "selector -4 1"},
    };
    return orders;
}

void CheckOutside(Workbench& bench, const DescribedCommand& command) {
    const std::string call = "force " + OrdinaryCall(command);
    bench.Try({.lines = {call, "start", "stop", call}});
}

// A plug-in that was stopped and started again does what it did the first time. Where one that was
// loaded anew in between does something else, too, it is the host that has changed.
void CheckSecondStart(Workbench& bench, const DescribedCommand& command) {
    const Lines call = VariableStatements() + Lines{"start", OrdinaryCall(command)};
    const Lines first = call + Lines{"remember \"first\"", "stop"};
    const Lines again = call + Lines{"expect same \"first\"", "stop"};
    if (GoesWell(bench, {.lines = first + Lines{"reload"} + again})) {
        bench.Try({.lines = first + again});
    }
}
} // namespace

void CheckLifecycle(Workbench& bench) {
    for (const std::string& version : Versions(bench)) {
        for (const char* const role : {"single", "client", "server"}) {
            bench.Try({version, role, {"start", "stop", "start -200", "stop -220"}});
        }
    }
    for (const std::string& version : TypicalVersions(bench)) {
        for (const Lines& order : Orders()) {
            if (!bench.IsFull()) {
                bench.Try({.version = version, .lines = order});
            }
        }
    }
    if (bench.strictness >= 4) {
        bench.Try({.lines = Repeated({"start", "stop"}, 100)});
    }
    for (const DescribedCommand* const command : CallableCommands(bench)) {
        if (!bench.IsFull()) {
            CheckOutside(bench, *command);
        }
        if (!bench.IsFull() && bench.strictness >= 5) {
            CheckSecondStart(bench, *command);
        }
    }
}
