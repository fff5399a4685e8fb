#include "testhost/model/Scheduler.h"

#include "platform/Compiler.h"
#include "testhost/model/Host.h"
#include "testhost/model/PluginEntry.h"
#include "testhost/model/UnderWay.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <windows.h>

namespace {
constexpr long smallestStack = 32 * 1024;
constexpr long largestStack = 64 * 1024 * 1024;
constexpr long roomForTheHost = 256 * 1024; // what its services take of a process's stack

// The program's own stack, which is the main task's in every scheduler.
void* ThreadFiber() {
    static void* const fiber = ConvertThreadToFiber(nullptr);
    return fiber;
}

// What is current in one host while a task runs.
struct CurrentIn {
    Host* host;
    long process;
    int depth;
    TouchedVariables* touched;
};
} // namespace

struct Scheduler::Task {
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() {
        if (body) { // the main task's stack is the program's own
            DeleteFiber(fiber);
        }
    }

    bool Is(const Host& itsHost, long itsNumber) const {
        return body && host == &itsHost && process == itsNumber;
    }

    Scheduler* scheduler = nullptr;
    Host* host = nullptr; ///< whose process it is; none in the main task, nor has that a number
    long process = 0;
    void* fiber = nullptr;
    std::function<void()> body; ///< empty in the main task
    long stackSize = 0;         ///< bytes that the process may use
    const char* stackTop = nullptr;
    Wait wait;
    bool waitsForMain = false;
    Host* currentHost = nullptr;
    const EntryUnderWay* underWay = nullptr;
    PluginFrame* pluginFrame = nullptr;
    std::vector<CurrentIn> current;
};

Scheduler::Scheduler() : running(tasks.emplace_back(std::make_unique<Task>()).get()) {}

Scheduler::~Scheduler() = default;

void Scheduler::Join(Host& host) {
    hosts.push_back(&host);
}

void Scheduler::Leave(Host& host) {
    std::erase_if(tasks, [&](const auto& task) { return task->host == &host; });
    std::erase(hosts, &host);
}

HOST_ENTRY void Scheduler::Body(void* task) {
    auto& self = *static_cast<Task*>(task);
    self.stackTop = CurrentFrame();
    self.scheduler->ended.reset();
    self.body();
    self.scheduler->EndRunning();
}

bool Scheduler::Start(Host& host, long process, long stackSize, std::function<void()> body) {
    if (stackSize > largestStack) {
        return false;
    }
    Task& main = *tasks.front();
    main.fiber = ThreadFiber();
    auto task = std::make_unique<Task>();
    task->scheduler = this;
    task->stackSize = std::max(stackSize, smallestStack);
    task->fiber = CreateFiberEx(
        smallestStack, static_cast<SIZE_T>(task->stackSize + roomForTheHost), 0, Body, task.get());
    if (main.fiber == nullptr || task->fiber == nullptr) {
        return false;
    }
    task->body = std::move(body);
    task->host = &host;
    task->process = process;
    task->wait = {.host = &host, .process = process};
    task->currentHost = &host;
    for (Host* other : hosts) {
        task->current.push_back({other, other == &host ? process : 1, 0, nullptr});
    }
    tasks.push_back(std::move(task));
    return true;
}

bool Scheduler::Runs(const Host& host, long process) const {
    return std::ranges::any_of(tasks, [&](const auto& task) { return task->Is(host, process); });
}

bool Scheduler::IsRunning(const Host& host, long process) const {
    return running->Is(host, process);
}

void Scheduler::Drop(const Host& host, long process) {
    std::erase_if(
        tasks, [&](const auto& task) { return task.get() != running && task->Is(host, process); });
}

std::optional<long> Scheduler::StackLeft() const {
    if (!InOwnProcess()) {
        return std::nullopt;
    }
    const auto used = running->stackTop - CurrentFrame();
    return std::max(0L, running->stackSize - static_cast<long>(used));
}

size_t Scheduler::RunningPlace() const {
    return static_cast<size_t>(
        std::ranges::find(tasks, running, [](const auto& task) { return task.get(); }) -
        tasks.begin());
}

bool Scheduler::CanRun(const Task& task) const {
    if (task.waitsForMain) {
        return false;
    }
    if (task.wait.done != nullptr) {
        return now >= task.wait.deadline || (*task.wait.done)();
    }
    const HostProcess* process = task.wait.host->FindProcess(task.wait.process);
    return process == nullptr || process->CanRun(now);
}

bool Scheduler::IsIdle(const Task& task) const {
    if (task.wait.done != nullptr) {
        return false;
    }
    const HostProcess* process = task.wait.host->FindProcess(task.wait.process);
    return process != nullptr && !process->CanRun(now) &&
           (process->isFrozen || (process->awaitedEvents != 0 && process->waitedInVain));
}

bool Scheduler::IsAtRest() const {
    return std::ranges::all_of(tasks,
                               [&](const auto& task) { return !task->body || IsIdle(*task); });
}

void Scheduler::GiveWay(Host& host) {
    GiveWay(Wait{.host = &host, .process = host.currentProcess});
}

bool Scheduler::RunUntil(const std::function<bool()>& done, Ticks atMost) {
    if (done()) {
        return true;
    }
    const std::function<bool()> asked = done;
    GiveWay(Wait{.done = &asked, .deadline = now + atMost});
    return done();
}

void Scheduler::GiveWay(Wait wait) {
    if (!InOwnProcess() && wait.done == nullptr) {
        CheckPatience(*wait.host);
    }
    Task& self = *running;
    // What main does on another's behalf may give way in the middle of its own wait.
    const Wait former = std::exchange(self.wait, wait);
    Task& next = NextAfter(RunningPlace());
    if (&next != &self) {
        SwitchTo(next);
    }
    self.wait = former;
}

// The next task that can run, in the order of turns from this place on; time passes until one can.
Scheduler::Task& Scheduler::NextAfter(size_t place) {
    for (;;) {
        for (size_t step = 1; step <= tasks.size(); ++step) {
            const size_t next = (place + step) % tasks.size();
            if (next == 0) {
                ++now;
            }
            if (CanRun(*tasks[next])) {
                return *tasks[next];
            }
        }
        PassTime();
    }
}

// Nobody can run: jumps to the moment when the first one can.
void Scheduler::PassTime() {
    std::optional<Ticks> first;
    for (const auto& task : tasks) {
        std::optional<Ticks> wakes;
        if (task->wait.done != nullptr) {
            wakes = task->wait.deadline;
        } else if (const HostProcess* process = task->wait.host->FindProcess(task->wait.process);
                   process != nullptr && !process->isFrozen && process->wakeAt > now) {
            wakes = process->wakeAt;
        }
        if (wakes && !task->waitsForMain) {
            first = std::min(first.value_or(*wakes), *wakes);
        }
    }
    if (first) {
        now = *first;
        return;
    }
    const Wait& main = tasks.front()->wait;
    main.host->Report("Process " + std::to_string(main.process) +
                      " is frozen, and no process is left that could unfreeze it.");
    main.host->FindProcess(main.process)->isFrozen = false;
}

void Scheduler::BeginEntry() {
    mainTurns = 0;
}

void Scheduler::CheckPatience(Host& host) {
    ++mainTurns;
    if (mainTurns != patience && mainTurns != 2 * patience) {
        return;
    }
    const std::string process = "Process " + std::to_string(host.currentProcess);
    if (mainTurns == 2 * patience) {
        host.Report(process + " did not end although it was asked to. The run ends here.");
        RaiseException(stuckException, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
    host.Report(process + " gave way " + std::to_string(patience) +
                " times in one call into the plug-in. All processes are asked to end.");
    if (HostProcess* self = host.FindProcess(host.currentProcess)) {
        self->isDying = true;
    }
    for (const auto& task : tasks) {
        Host* itsHost = task->host;
        HostProcess* asked = itsHost != nullptr ? itsHost->FindProcess(task->process) : nullptr;
        if (asked != nullptr) {
            asked->isDying = true;
        }
    }
}

void Scheduler::EndRunning() {
    const size_t place = RunningPlace();
    ended = std::move(tasks[place]);
    tasks.erase(tasks.begin() + static_cast<long>(place));
    SwitchTo(NextAfter(place - 1));
    std::abort(); // nobody switches to an ended task
}

bool Scheduler::HandOver(const Host& host, long process) {
    const auto found = std::ranges::find_if(tasks, [&](const auto& task) {
        return process == 0 ? !task->body : task->Is(host, process);
    });
    if (found == tasks.end()) {
        return false;
    }
    if (found->get() != running) {
        SwitchTo(**found);
    }
    return true;
}

void Scheduler::RunOnMain(const std::function<void()>& work) {
    if (!InOwnProcess()) {
        return work();
    }
    Task& self = *running;
    self.waitsForMain = true;
    mainWork = {.caller = &self, .work = &work};
    SwitchTo(*tasks.front());
}

void Scheduler::SwitchTo(Task& next) {
    Task& self = *running;
    KeepCurrent(self);
    running = &next;
    RestoreCurrent(next);
    SwitchToFiber(next.fiber);

    ended.reset();
    while (mainWork) { // only main is ever switched to with work waiting
        const MainWork job = *std::exchange(mainWork, std::nullopt);
        (*job.work)();
        job.caller->waitsForMain = false;
        SwitchTo(*job.caller);
    }
}

void Scheduler::KeepCurrent(Task& task) const {
    task.currentHost = Host::Current();
    task.underWay = EntryUnderWay::Innermost();
    task.pluginFrame = innermostPluginFrame;
    task.current.clear();
    for (Host* host : hosts) {
        task.current.push_back(
            {host, host->currentProcess, host->log.depth, host->variables.touched});
    }
}

void Scheduler::RestoreCurrent(const Task& task) const {
    Host::SetCurrent(task.currentHost);
    EntryUnderWay::SetInnermost(task.underWay);
    innermostPluginFrame = task.pluginFrame;
    for (const CurrentIn& kept : task.current) {
        if (std::ranges::find(hosts, kept.host) != hosts.end()) {
            kept.host->currentProcess = kept.process;
            kept.host->log.depth = kept.depth;
            kept.host->variables.touched = kept.touched;
        }
    }
}
