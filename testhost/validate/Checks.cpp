#include "testhost/validate/Checks.h"

#include "testhost/session/TextFile.h"
#include "testhost/validate/Json.h"
#include "testhost/validate/Workbench.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <fstream>
#include <stdexcept>

namespace {
constexpr Check checks[] = {
    {"library", "The file is what the host loads; it loads and unloads again and again.", 1,
     CheckLibrary},
    {"lifecycle",
     "Starts and stops on hosts of all generations and roles, also out of order and without what "
     "hosts may lack; nothing is kept from one start to the next.",
     1, CheckLifecycle},
    {"records",
     "Call records hold nothing but what a call takes, and each host is asked only what it has.", 2,
     CheckRecords},
    {"commands",
     "Commands hold out against random and extreme arguments of their kinds, and do the same each "
     "time.",
     2, CheckCommands},
    {"memory", "Memory that moves and allocations that fail in turn; what commands leave over.", 3,
     CheckMemory},
    {"host-errors", "Every call of a command into the host fails in its turn.", 4, CheckHostErrors},
    {"processes", "Processes start and end in any order; a command runs in two at once.", 4,
     CheckProcesses},
    {"server", "A server and two clients in any order; requests that no client sends.", 4,
     CheckServer},
    {"dialogs", "Every dialog is validated, cancelled, and left when its process has to end.", 4,
     CheckDialogs},
    {"areas", "Areas get every event in any order, and are deleted within their own events.", 4,
     CheckAreas},
    {"processor", "Registers, flags and floating-point modes are kept, on any stack.", 3,
     CheckProcessor},
};

void Make(const Check& check, Workbench& bench) {
    if (bench.strictness < check.strictness) {
        return bench.Skip("made from strictness " + std::to_string(check.strictness) + " on");
    }
    if (!bench.Introduce() && check.run != CheckLibrary) {
        return bench.Skip("the plug-in cannot be loaded, see library");
    }
    check.run(bench);
    const CheckResult& result = bench.result;
    if (result.skipped.empty() && result.sessions == 0 && result.findings.empty()) {
        bench.Skip(result.notes.empty() ? "there is nothing to play" : result.notes.front());
    }
}
} // namespace

std::span<const Check> Checks() {
    return checks;
}

void Perform(const std::filesystem::path& orderFile, Progress& progress) {
    const std::string text = ReadText(orderFile, "the order");
    const Order order = nlohmann::json::parse(text).get<Order>();
    const auto* const check = std::ranges::find(checks, order.check, &Check::name);
    if (check == std::end(checks)) {
        throw std::runtime_error("there is no check " + order.check);
    }
    Workbench bench(order, progress);
    try {
        Make(*check, bench);
    } catch (const std::exception& error) {
        bench.result.error = error.what();
    }
    std::ofstream file(std::filesystem::path(FromUtf8(order.result)), std::ios::binary);
    file << LineOf(bench.result);
    if (!file.flush()) {
        throw std::runtime_error("the check's result cannot be written");
    }
}
