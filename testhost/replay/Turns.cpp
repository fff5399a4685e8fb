#include "testhost/model/UnderWay.h"
#include "testhost/recordings/Show.h"
#include "testhost/replay/RecordedHost.h"

#include <algorithm>
#include <utility>

using namespace Recording;

namespace {
constexpr long stackSize = 1024 * 1024; // bytes, of every process
} // namespace

RecordedHost* RecordedHost::current = nullptr;

RecordedHost::RecordedHost(const RecordingFile& itsFile, const ReplaySettings& itsSettings,
                           Session& itsSession, EntryPoints itsEntries, Transcript& itsTranscript,
                           Progress& itsProgress)
    : file(itsFile),
      settings(itsSettings),
      session(itsSession),
      host(itsSession.host),
      entries(itsEntries),
      transcript(itsTranscript),
      progress(itsProgress),
      printer(itsTranscript, itsProgress.callsNotPrinted, ""),
      skipped(itsFile.events.size()) {
    current = this;
    progress.account.isReplay = true;
    stock.isForPlugin = true;
    transcript.callsNotShown = &progress.callsNotPrinted;
    EntryUnderWay::onChanged = [this](const EntryUnderWay* entry) {
        Progress::Copy(progress.underWay, entry != nullptr ? entry->name : "");
    };
    host.scriptPlace = &place;
    host.log.onAdded = [this](const LoggedCall& call) { printer.Print(call); };
    host.log.onEntryEnded = [this](long process, int depth) { printer.EndEntry(process, depth); };
    host.onDebugText = [this](const std::string& text) {
        transcript.Note("  debugger: " + Quoted(text));
    };
    host.onProblem = [this](const std::string& problem) {
        progress.account.problems = host.ProblemCount();
        transcript.Problem(place, problem);
    };
}

RecordedHost::~RecordedHost() {
    host.onProblem = nullptr;
    host.onDebugText = nullptr;
    host.log.onEntryEnded = nullptr;
    host.log.onAdded = nullptr;
    host.scriptPlace = nullptr;
    EntryUnderWay::onChanged = nullptr;
    current = nullptr;
}

// The next event that is to be played; null when there is none any more.
const RecordedEvent* RecordedHost::Next() {
    while (nextChange < file.changes.size() && file.changes[nextChange].first <= next) {
        const RecordedEvent& change = file.changes[nextChange++].second;
        stock.Rebuild(file.CrossingOf(change), surroundings, change.contents);
    }
    while (next < file.events.size() && skipped[next]) {
        stacks.Follow(file.events[next]);
        ++next;
        ++notPlayed;
    }
    return next < file.events.size() && !isOver ? &file.events[next] : nullptr;
}

// What begins on a stack where everything that is under way stands below it belongs to another
// process: that of the former is gone.
bool RecordedHost::Belongs(const Task& task, const RecordedEvent& event) {
    return task.stack == StackOf(event) && !(event.Begins() && !task.open.empty() &&
                                             task.open.front()->head.stack <= event.head.stack);
}

// The task on whose stack it happens; null when there is no room for another one.
RecordedHost::Task* RecordedHost::TaskOf(const RecordedEvent& event) {
    const auto found =
        std::ranges::find(tasks, StackOf(event), [](const auto& task) { return task->stack; });
    if (found != tasks.end()) {
        if (Belongs(**found, event)) {
            return found->get();
        }
        host.scheduler->Drop(host, (*found)->number);
        tasks.erase(found);
    }
    auto task = std::make_unique<Task>();
    task->number = ++lastNumber;
    task->stack = StackOf(event);
    if (!host.scheduler->Start(host, task->number, stackSize,
                               [this, own = task.get()] { Run(*own); })) {
        return nullptr;
    }
    tasks.push_back(std::move(task));
    return tasks.back().get();
}

void RecordedHost::Play() {
    CompareCommands();
    while (const RecordedEvent* event = Next()) {
        running = TaskOf(*event);
        if (running == nullptr) {
            host.Report(
                "There is no memory for the stack of another process. The replay ends here.");
            isOver = true;
            return;
        }
        host.scheduler->HandOver(host, running->number);
    }
    SayNotes();
    if (!isOver) {
        SayWhereItEnds();
    }
}

void RecordedHost::SayNotes() {
    for (; nextNote < file.notes.size() && file.notes[nextNote].first <= next; ++nextNote) {
        transcript.Note("  note: " + file.notes[nextNote].second);
    }
}

// A recording that ends in the middle was not played whole: the plug-in is still under way. When it
// was stopped, what is still under way in other processes was left there: they were killed.
void RecordedHost::SayWhereItEnds() {
    if (playedEntries + playedCalls == 0) {
        transcript.Say(LineKind::Wrong, "Nothing of the recording was played.");
    }
    for (const auto& task : tasks) {
        if (!task->open.empty() && lastStop && !IsStop(*task->open.front())) {
            host.scheduler->Drop(host, task->number);
        } else if (!task->open.empty()) {
            isOver = true;
            transcript.Say(LineKind::Wrong, "The recording ends within " +
                                                CrossingName(file, *task->open.back()) + ".");
        }
    }
}

void RecordedHost::Run(Task& task) {
    for (;;) {
        const RecordedEvent& event = Turn(task);
        if (event.chunk == Chunk::EntryBegins) {
            PlayEntry(task, event);
        } else { // of something that was skipped
            PassOver(event);
        }
    }
}

// Waits until it is the task's turn.
const RecordedEvent& RecordedHost::Turn(Task& task) {
    for (;;) {
        const RecordedEvent* event = Next();
        if (event != nullptr && Belongs(task, *event)) {
            running = &task;
            return *event;
        }
        host.scheduler->HandOver(host, 0);
    }
}

// The event, which is the next one, happens.
void RecordedHost::Take(const RecordedEvent& event) {
    SayNotes();
    ++next;
    stacks.Follow(event);
    host.currentProcess = stacks.Process(event);
    place = settings.name + ": crossing " + std::to_string(event.head.number);
    progress.statement = next;
    if (event.chunk == Chunk::EntryBegins) {
        progress.Begin(next, place, EntryName(file, event));
    } else {
        Progress::Copy(progress.place, place);
        progress.Enter(progress.phase); // it has so much time until the next one
    }
}

void RecordedHost::PassOver(const RecordedEvent& event) {
    Take(event);
    ++notPlayed;
}

// The replay is over before the recording is.
void RecordedHost::Stop() {
    isOver = true;
    Stand();
}

void RecordedHost::Stand() {
    while (true) { // nobody comes back to it
        host.scheduler->HandOver(host, 0);
    }
}
