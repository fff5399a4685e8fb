#include "testhost/model/UnderWay.h"
#include "testhost/recordings/Show.h"
#include "testhost/replay/RecordedHost.h"

#include <algorithm>

using namespace Recording;

namespace {
constexpr size_t mostDifferences = 100; // told
constexpr size_t mostLookedAt = 100000; // events, to find where it goes on

std::string Counted(size_t count, const char* one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}
// The same kinds: the words beside them are for people.
bool TakesTheSame(const DescribedCommand& one, const DescribedCommand& other) {
    if (!one.usage || !other.usage) {
        return one.usageText == other.usageText;
    }
    const auto isSame = [](const Usage::Parameter& mine, const Usage::Parameter& theirs) {
        return mine.kind == theirs.kind && mine.changes == theirs.changes &&
               mine.target == theirs.target;
    };
    return one.usage->result == other.usage->result && one.usage->isArea == other.usage->isArea &&
           std::ranges::equal(one.usage->parameters, other.usage->parameters, isSame);
}

std::string Described(const DescribedCommand& command) {
    return Quoted(command.name) + " " + command.ShownUsage();
}
} // namespace

// Takes what crosses here, and compares it with what crossed in the recording's event.
CrossingContents RecordedHost::TakeAndCompare(const RecordedEvent& event,
                                              const Crossing& crossing) {
    CrossingContents here = TakeContents(crossing, surroundings);
    handles.Keep(here);
    const std::vector<Difference> found =
        FindDifferences(crossing, event.contents, here, stock.book);
    for (const Difference& difference : found) {
        Tell(event, difference);
    }
    if (!found.empty()) {
        StopUnlessToGoOn();
    }
    return here;
}

void RecordedHost::Differ(const RecordedEvent& event, const std::string& recorded,
                          const std::string& here) {
    Tell(event, {"", recorded, here});
    StopUnlessToGoOn();
}

void RecordedHost::StopUnlessToGoOn() {
    if (!settings.goesOn) {
        Stop();
    }
}

// Whether a difference is to be told, too.
bool RecordedHost::Count() {
    ++progress.account.failed;
    return ++differences <= mostDifferences;
}

// A command that takes something else than it did cannot be called as it was. Commands that have
// been added are nobody's concern here, nor are those of a plug-in that describes none.
void RecordedHost::CompareCommands() {
    progress.Begin(0, settings.name, "the plug-in's description");
    const CommandTable* const table = session.Commands();
    if (table == nullptr) {
        return;
    }
    for (const auto& [number, command] : file.commands) {
        const DescribedCommand recorded{number, command.name, command.usageText, command.usage};
        const DescribedCommand* const here = table->Find(number);
        const bool isLike = here != nullptr && TakesTheSame(recorded, *here);
        if (!isLike) {
            unlike.insert(number);
        }
        if ((!isLike || recorded.name != here->name) && Count()) {
            transcript.Say(LineKind::Wrong, "DIFFERENCE " + settings.name + ": command " +
                                                std::to_string(number) + ": recorded " +
                                                Described(recorded) + ", here " +
                                                (here != nullptr ? Described(*here) : "none"));
        }
    }
    isOver = differences != 0 && !settings.goesOn;
}

void RecordedHost::Tell(const RecordedEvent& event, const Difference& difference) {
    if (!Count()) {
        return;
    }
    transcript.Say(LineKind::Wrong, "DIFFERENCE " + settings.name + ": crossing " +
                                        std::to_string(event.head.number) + ", " +
                                        (event.Begins() ? "" : "the end of ") +
                                        CrossingName(file, event) +
                                        (difference.field.empty() ? "" : ": " + difference.field));
    const EntryUnderWay* entry = EntryUnderWay::Innermost();
    if (!event.IsIntoPlugin() && entry != nullptr) {
        transcript.Say(LineKind::Plain, "  in " + entry->name);
    }
    transcript.Say(LineKind::Plain, "  recorded: " + difference.recorded);
    transcript.Say(LineKind::Plain, "  here:     " + difference.here);
}

// Looks for a call in what is left of the innermost entry, and skips what comes before it.
bool RecordedHost::SkipToCall(const Task& task, const Crossing& crossing) {
    const size_t end = file.crossings.at(task.open.back()->head.number).end;
    const size_t last =
        std::min({end != 0 ? end : file.events.size(), next + mostLookedAt, file.events.size()});
    size_t depth = 0;
    for (size_t number = next; number < last; ++number) {
        const RecordedEvent& event = file.events[number];
        if (!Belongs(task, event) || skipped[number]) {
            continue;
        }
        if (depth == 0 && event.chunk == Chunk::CallBegins && event.way == crossing.way &&
            event.head.selector == crossing.selector) {
            Skip(task, number);
            return true;
        }
        depth = event.Begins() ? depth + 1 : depth - std::min<size_t>(depth, 1);
    }
    return false;
}

// Skips what is left of an entry but its end.
void RecordedHost::SkipToEnd(const Task& task, const RecordedEvent& begin) {
    const size_t end = file.crossings.at(begin.head.number).end;
    if (end != 0) {
        Skip(task, end);
    }
}

// Marks the task's events before this one as not to be played.
void RecordedHost::Skip(const Task& task, size_t until) {
    for (size_t number = next; number < until; ++number) {
        skipped[number] = skipped[number] || Belongs(task, file.events[number]);
    }
}

bool RecordedHost::Finish() {
    transcript.EndStatement(place);
    if (differences > mostDifferences) {
        transcript.Say(LineKind::Wrong,
                       "… " + Counted(differences - mostDifferences, "more difference"));
    }
    const size_t problems = host.ProblemCount();
    progress.account.problems = problems;
    std::string text = Counted(playedEntries, "call") + " into the plug-in and " +
                       Counted(playedCalls, "call") + " into the host played, " +
                       Counted(differences, "difference") + ", " + Counted(problems, "problem");
    const size_t left = file.events.size() - next;
    if (left != 0) {
        text += "; the last " + Counted(left, "event") + " not played";
    }
    if (notPlayed != 0) {
        text += "; " + Counted(notPlayed, "event") + " passed over";
    }
    if (!file.complaint.empty()) {
        transcript.Say(LineKind::Wrong, "The recording is not whole: " + file.complaint);
    }
    const bool isGood = playedEntries + playedCalls != 0 && differences == 0 && problems == 0 &&
                        !isOver && file.complaint.empty();
    progress.hasAccount = true;
    progress.toldAccount = transcript.Say(isGood ? LineKind::Good : LineKind::Wrong, text);
    return isGood;
}
