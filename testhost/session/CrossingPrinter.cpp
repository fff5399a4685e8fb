#include "testhost/session/CrossingPrinter.h"

#include <algorithm>
#include <functional>
#include <vector>

namespace {
constexpr size_t mostCallsPrinted = 40; // of an entry into the plug-in
constexpr size_t mostNamesPrinted = 5;  // of the others

std::string Indent(int depth) {
    return std::string(static_cast<size_t>(depth) * 2, ' ');
}

// A stack of which nobody knows whose it is has a negative number.
std::string ProcessText(long process) {
    return process > 0 ? "process " + std::to_string(process) : "stack " + std::to_string(-process);
}
} // namespace

// Of many calls that are alike most need not even be described.
void CrossingPrinter::Print(const LoggedCall& call, std::span<const std::string> beneath) {
    using Sink = Transcript::Sink;
    const bool isShown = transcript.Wants(Sink::Screen) && Shows(call);
    const bool isKept = transcript.Wants(Sink::File);
    if (!isShown && !isKept) {
        return;
    }
    const bool isEntry = call.IsIntoPlugin();
    const std::string text =
        heading + Indent(call.depth) + (isEntry ? "→ " : "← ") + call.Describe();
    for (const Sink sink : {Sink::Screen, Sink::File}) {
        if (sink == Sink::Screen ? !isShown : !isKept) {
            continue;
        }
        long& last = lastProcess[static_cast<size_t>(sink)];
        if (!isEntry && call.process != last) {
            transcript.Line(sink, LineKind::Plain,
                            heading + "  (" + ProcessText(call.process) + ")");
        }
        last = call.process;
        transcript.Line(sink, isEntry ? LineKind::Entry : LineKind::Call, text);
        for (const std::string& line : beneath) {
            transcript.Line(sink, LineKind::Plain, heading + Indent(call.depth + 2) + line);
        }
    }
}

bool CrossingPrinter::Shows(const LoggedCall& call) {
    if (call.IsIntoPlugin()) {
        transcript.Break();
        entries[{call.process, call.depth}] = {};
        return true;
    }
    if (transcript.Folds(
            {.heading = &heading,
             .depth = call.depth,
             .process = call.process,
             .isCall = true,
             .isEngine = call.IsEngine(),
             .selector = call.selector,
             .error = call.Answered().error,
             .text = call.remark.empty() ? 0 : std::hash<std::string>()(call.remark)})) {
        return false;
    }
    PrintedEntry& entry = entries[{call.process, call.depth - 1}];
    if (++entry.calls <= mostCallsPrinted) {
        return true;
    }
    ++entry.unprinted[call.name];
    ++callsNotPrinted;
    return false;
}

void CrossingPrinter::EndEntry(long process, int depth) {
    transcript.Break();
    const PrintedEntry entry = std::exchange(entries[{process, depth}], {});
    entries.erase({process, depth});
    if (entry.unprinted.empty()) {
        return;
    }
    callsNotPrinted -= entry.calls - mostCallsPrinted;
    std::vector<std::pair<std::string, size_t>> names(entry.unprinted.begin(),
                                                      entry.unprinted.end());
    std::ranges::stable_sort(names, std::greater(), &std::pair<std::string, size_t>::second);
    std::string list;
    for (size_t place = 0; place < std::min(names.size(), mostNamesPrinted); ++place) {
        list += (place == 0 ? "" : ", ") + std::to_string(names[place].second) + " " +
                names[place].first;
    }
    transcript.Line(Transcript::Sink::Screen, LineKind::Rest,
                    heading + Indent(depth + 1) + "← … " +
                        std::to_string(entry.calls - mostCallsPrinted) + " more calls: " + list +
                        (names.size() > mostNamesPrinted ? ", …" : ""));
}
