#include "testhost/watch/Child.h"

#include "testhost/plugins/Faults.h"
#include "testhost/watch/Modules.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>

#include <windows.h>

namespace {
constexpr DWORD killedCode = 1;
constexpr DWORD longestKill = 10'000; // milliseconds until a process that was killed is gone

std::atomic<bool> interrupted = false;
std::atomic<void*> childJob = nullptr; // of the child that runs

BOOL WINAPI OnInterrupt(DWORD) {
    interrupted = true;
    if (void* const job = childJob) {
        TerminateJobObject(job, killedCode);
    }
    return TRUE;
}

// Whatever is in the job is killed with it, also when this process is killed.
class Job {
  public:
    Job() : job(CreateJobObjectW(nullptr, nullptr)) {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
        SetConsoleCtrlHandler(OnInterrupt, TRUE);
        childJob = job;
    }
    ~Job() {
        childJob = nullptr;
        SetConsoleCtrlHandler(OnInterrupt, FALSE);
        CloseHandle(job);
    }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    void Add(HANDLE process) const { AssignProcessToJobObject(job, process); }
    void Kill() const { TerminateJobObject(job, killedCode); }

  private:
    void* job;
};

class Watch {
  public:
    Watch(const ChildStart& childStart, const Progress& childProgress)
        : start(childStart),
          progress(childProgress),
          child(Start(childStart)),
          modules(child.hProcess, childStart.plugin) {
        job.Add(child.hProcess);
        ResumeThread(child.hThread);
    }
    ~Watch() {
        CloseHandle(child.hThread);
        CloseHandle(child.hProcess);
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    ChildEnd Run() {
        while (!exited) {
            DEBUG_EVENT event;
            if (WaitForDebugEvent(&event, NextWait()) != 0) {
                const DWORD answer = Handle(event);
                ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
            } else if (killed) {
                break; // it hangs in its own end; the job takes it along
            } else if (IsLate()) {
                TimeOut();
            }
        }
        return Result();
    }

  private:
    static PROCESS_INFORMATION Start(const ChildStart& start) {
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = start.input != nullptr ? start.input : GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = GetStdHandle(STD_OUTPUT_HANDLE);
        startup.hStdError = GetStdHandle(STD_ERROR_HANDLE);
        std::wstring commandLine = start.commandLine; // it may be written to
        PROCESS_INFORMATION information{};
        // The system's heap of programs that are debugged is slow, and not what the plug-in has.
        SetEnvironmentVariableW(L"_NO_DEBUG_HEAP", L"1");
        if (CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                           DEBUG_ONLY_THIS_PROCESS | CREATE_SUSPENDED, nullptr, nullptr, &startup,
                           &information) == 0) {
            throw std::runtime_error("testhost: the session's process cannot be started (error " +
                                     std::to_string(GetLastError()) +
                                     "); --in-process does without");
        }
        return information;
    }

    // A script and a plug-in's files are read in no limited time, and in what is done nobody waits.
    bool HasLimit() const {
        return start.timeout > 0 && progress.phase != Progress::Phase::Preparing;
    }
    DWORD Spent() const { return GetTickCount() - progress.began; }
    bool IsLate() const { return HasLimit() && Spent() >= start.timeout; }

    DWORD NextWait() const {
        constexpr DWORD most = 100; // the statement under way may end meanwhile
        if (killed) {
            return longestKill;
        }
        return HasLimit()
                   ? std::clamp<DWORD>(start.timeout - std::min(Spent(), start.timeout), 1, most)
                   : most;
    }

    DWORD Handle(const DEBUG_EVENT& event) {
        switch (event.dwDebugEventCode) {
        case CREATE_PROCESS_DEBUG_EVENT:
            modules.Add(event.u.CreateProcessInfo.lpBaseOfImage, event.u.CreateProcessInfo.hFile);
            CloseHandle(event.u.CreateProcessInfo.hFile);
            threads[event.dwThreadId] = event.u.CreateProcessInfo.hThread;
            break;
        case CREATE_THREAD_DEBUG_EVENT:
            threads[event.dwThreadId] = event.u.CreateThread.hThread;
            break;
        case EXIT_THREAD_DEBUG_EVENT:
            threads.erase(event.dwThreadId);
            break;
        case LOAD_DLL_DEBUG_EVENT:
            modules.Add(event.u.LoadDll.lpBaseOfDll, event.u.LoadDll.hFile);
            CloseHandle(event.u.LoadDll.hFile);
            break;
        case UNLOAD_DLL_DEBUG_EVENT:
            modules.Remove(event.u.UnloadDll.lpBaseOfDll);
            break;
        case EXIT_PROCESS_DEBUG_EVENT:
            exited = true;
            end.exitCode = event.u.ExitProcess.dwExitCode;
            break;
        case EXCEPTION_DEBUG_EVENT:
            return HandleException(event);
        default: // what is told to a debugger goes on to the process itself, which shows it
            return DBG_EXCEPTION_NOT_HANDLED;
        }
        return DBG_CONTINUE;
    }

    DWORD HandleException(const DEBUG_EVENT& event) {
        const EXCEPTION_RECORD& fault = event.u.Exception.ExceptionRecord;
        if (fault.ExceptionCode == EXCEPTION_BREAKPOINT &&
            progress.phase == Progress::Phase::Preparing) {
            return DBG_CONTINUE; // the system's own, once the program is loaded
        }
        // The loader keeps to itself what happens when libraries are unloaded with the process.
        const bool isLast =
            event.u.Exception.dwFirstChance == 0 ||
            (progress.phase == Progress::Phase::Done && IsFault(fault.ExceptionCode));
        if (isLast && !killed) {
            Crash(fault, event.dwThreadId);
        }
        return DBG_EXCEPTION_NOT_HANDLED;
    }

    void Crash(const EXCEPTION_RECORD& fault, DWORD thread) {
        end.kind = ChildEnd::Kind::Crashed;
        const auto address = reinterpret_cast<unsigned long>(fault.ExceptionAddress);
        end.what = DescribeFault(fault, modules.Text(address));
        if (thread != child.dwThreadId) {
            end.what += ", in a thread of its own";
        }
        if (progress.phase == Progress::Phase::Done) {
            end.what += ", when the program ended";
        }
        const auto found = threads.find(thread);
        if (found != threads.end()) {
            const bool overflowed = fault.ExceptionCode == EXCEPTION_STACK_OVERFLOW;
            end.calls = modules.PluginCalls(found->second, overflowed);
        }
        Kill();
    }

    void TimeOut() {
        end.kind = ChildEnd::Kind::TimedOut;
        SuspendThread(child.hThread);
        CONTEXT context{};
        context.ContextFlags = CONTEXT_CONTROL;
        GetThreadContext(child.hThread, &context);
        end.calls = modules.PluginCalls(child.hThread);
        end.what = "not done after " + std::to_string(start.timeout / 1000) +
                   " s; the plug-in was at " + modules.Text(context.Eip);
        Kill();
        ResumeThread(child.hThread);
    }

    void Kill() {
        killed = true;
        job.Kill();
        TerminateProcess(child.hProcess, killedCode);
    }

    ChildEnd Result() {
        if (interrupted) {
            end.kind = ChildEnd::Kind::Interrupted;
        } else if (end.kind == ChildEnd::Kind::Finished &&
                   (progress.phase != Progress::Phase::Done ||
                    end.exitCode != static_cast<DWORD>(progress.exitCode))) {
            end.kind = ChildEnd::Kind::Ended;
            constexpr DWORD afterAbort = 3;
            end.what = "the plug-in ended the program, with exit code " +
                       std::to_string(end.exitCode) +
                       (end.exitCode == afterAbort ? " as abort does" : "");
        }
        return end;
    }

    const ChildStart& start;
    const Progress& progress;
    const Job job;
    const PROCESS_INFORMATION child;
    Modules modules;
    std::map<DWORD, HANDLE> threads;
    bool killed = false;
    bool exited = false;
    ChildEnd end;
};
} // namespace

ChildEnd RunChild(const ChildStart& start, const Progress& progress) {
    return Watch(start, progress).Run();
}
