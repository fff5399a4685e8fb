#pragma once

#include "platform/Compiler.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

class Host;

/// Exception of the system with which a session ends whose plug-in never stops giving way.
constexpr unsigned long stuckException = 0xE0AB0128;

/// Time in the host: ticks of 1/60 s since it was made. It passes only as the scheduler says, so
/// that every run is alike.
using Ticks = unsigned long long;

/// Runs the processes of one or several hosts in turn, one at a time: whoever plays the session
/// (the main task), and each process that has a body, on a stack of its own. A task runs until it
/// gives way. Whatever is current (host, process, depth of the log, call into a plug-in) is kept
/// for each task.
///
/// Tasks have their turn in the order in which they were started. A tick passes with every round;
/// when all of them sleep or wait, time jumps to the moment when the first goes on.
class Scheduler {
  public:
    Scheduler();
    ~Scheduler();
    Scheduler(const Scheduler&) = delete;
    Scheduler& operator=(const Scheduler&) = delete;

    Ticks Now() const { return now; }

    /// A host that runs here says so, and takes its leave, with all its processes, at its end.
    void Join(Host& host);
    void Leave(Host& host);

    /// Has a process run `body`, from its first turn on, on a stack of so many bytes (at least
    /// 32 KB; the host's own code has further room). False when there is no memory for it.
    bool Start(Host& host, long process, long stackSize, std::function<void()> body);
    /// Whether the process runs here on a stack of its own.
    bool Runs(const Host& host, long process) const;
    /// Drops a process with its stack, wherever it stands. Not the running one.
    void Drop(const Host& host, long process);
    /// Whether the process that runs has a stack of its own: not the session's.
    bool InOwnProcess() const { return running != tasks.front().get(); }
    /// Whether this process runs at this moment, on a stack of its own.
    bool IsRunning(const Host& host, long process) const;
    /// Bytes of its own stack that the running process has left; nothing in the session's.
    std::optional<long> StackLeft() const;

    /// The host's current process gives way. Comes back when it has its next turn and is neither
    /// frozen nor asleep nor waiting for an event.
    void GiveWay(Host& host);
    /// Ends the running process, which has a stack of its own.
    [[noreturn]] void EndRunning();
    /// This process goes on where it stands, whatever it waits for, and the running task stands
    /// still until it is its turn in the same way; 0 is the main task. For whoever knows the order
    /// of turns. False when there is no such process with a stack of its own.
    bool HandOver(const Host& host, long process);
    /// Runs `work` on the main task's stack, on top of whatever stands there.
    void RunOnMain(const std::function<void()>& work);

    /// The session lets the processes run until `done` holds (asked at each of its turns), but no
    /// longer than so many ticks. Answers whether it held.
    bool RunUntil(const std::function<bool()>& done, Ticks atMost);
    /// Whether nothing will happen any more by itself: each process is frozen, or waits once more
    /// for an event after it has waited in vain.
    bool IsAtRest() const;
    /// The session enters a plug-in: its turns are counted anew.
    void BeginEntry();

    /// So often may the session give way within one call into a plug-in, and so many ticks may
    /// processes take to come to rest. Beyond it the plug-in is taken to hang: its processes are
    /// asked to end, and if it then gives way as often once more the program ends.
    long patience = 100000;

  private:
    struct Task;

    /// What a task was doing when it gave way.
    struct Wait {
        Host* host = nullptr;
        long process = 0;
        const std::function<bool()>* done = nullptr; ///< only in RunUntil
        Ticks deadline = 0;
    };
    struct MainWork {
        Task* caller;
        const std::function<void()>* work;
    };

    static NIMBO_STDCALL void Body(void* task);
    size_t RunningPlace() const;
    bool CanRun(const Task& task) const;
    bool IsIdle(const Task& task) const;
    void GiveWay(Wait wait);
    Task& NextAfter(size_t place);
    void PassTime();
    void CheckPatience(Host& host);
    void SwitchTo(Task& next);
    void KeepCurrent(Task& task) const;
    void RestoreCurrent(const Task& task) const;

    std::vector<Host*> hosts;
    std::vector<std::unique_ptr<Task>> tasks; ///< the session's first
    std::unique_ptr<Task> ended;              ///< whose stack goes once it is left
    Task* running;
    std::optional<MainWork> mainWork;
    Ticks now = 0;
    long mainTurns = 0;
};
