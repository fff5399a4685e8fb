#include "testhost/watch/Child.h"

#include "testhost/plugins/Faults.h"
#include "testhost/watch/Modules.h"

#include <algorithm>
#include <atomic>
#include <iostream>
#include <map>
#include <mutex>
#include <stdexcept>

#include <windows.h>

namespace {
constexpr DWORD killedCode = 1;
constexpr DWORD longestKill = 10'000; // milliseconds until a process that was killed is gone

std::atomic<bool> interrupted = false;

BOOL WINAPI OnInterrupt(DWORD) {
    interrupted = true; // whoever waits for the child looks
    return TRUE;
}

// Whatever is in the job is killed with it, also when this process is killed.
class Job {
  public:
    Job() : job(CreateJobObjectW(nullptr, nullptr)) {
        JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
        limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
        SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    }
    ~Job() { CloseHandle(job); }
    Job(const Job&) = delete;
    Job& operator=(const Job&) = delete;

    /// A system whose jobs cannot lie in one another refuses what is in one already.
    void Add(HANDLE process) const {
        if (AssignProcessToJobObject(job, process) == 0) {
            std::cerr << "testhost: programs that the plug-in starts will not end with it\n";
        }
    }
    void Kill() const { TerminateJobObject(job, killedCode); }

  private:
    void* job;
};

class Watch {
  public:
    Watch(const ChildStart& childStart, const SharedProgress& childProgress)
        : start(childStart),
          progress(*childProgress),
          child(Start(childStart, childProgress.Handle())),
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
            if (interrupted && !killed) {
                Kill();
            }
            if (WaitForDebugEvent(&event, NextWait()) != 0) {
                const DWORD answer = Handle(event);
                ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
            } else if (killed) {
                break; // it hangs in its own end; the job takes it along
            } else if (HasLimit() && Spent() >= start.timeout) {
                TimeOut();
            }
        }
        return Result();
    }

  private:
    static std::wstring Program() {
        std::wstring path(1024, L'\0');
        path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
        return path;
    }

    static PROCESS_INFORMATION Start(const ChildStart& start, const std::wstring& progressHandle) {
        // What it inherits is this process's for a moment.
        static std::mutex starting;
        const std::lock_guard lock(starting);
        const auto set = [](const wchar_t* name, const std::wstring& value) {
            SetEnvironmentVariableW(name, value.c_str());
        };
        set(SharedProgress::variable, progressHandle);
        set(L"TEMP", start.temporaryFolder.wstring());
        set(L"TMP", start.temporaryFolder.wstring());
        STARTUPINFOW startup{};
        startup.cb = sizeof startup;
        startup.dwFlags = STARTF_USESTDHANDLES;
        startup.hStdInput = start.input != nullptr ? start.input : GetStdHandle(STD_INPUT_HANDLE);
        startup.hStdOutput = start.isSilent ? Nowhere() : GetStdHandle(STD_OUTPUT_HANDLE);
        startup.hStdError = start.isSilent ? Nowhere() : GetStdHandle(STD_ERROR_HANDLE);
        std::wstring commandLine = start.commandLine; // it may be written to
        PROCESS_INFORMATION information{};
        // The system's heap of programs that are debugged is slow, and not what the plug-in has.
        SetEnvironmentVariableW(L"_NO_DEBUG_HEAP", L"1");
        const std::wstring program = Program();
        const auto create = [&](DWORD flags) {
            return CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
                                  flags | DEBUG_ONLY_THIS_PROCESS | CREATE_SUSPENDED, nullptr,
                                  start.folder.empty() ? nullptr : start.folder.c_str(), &startup,
                                  &information) != 0;
        };
        // Out of the job that this process may be in, where that is allowed.
        if (!create(CREATE_BREAKAWAY_FROM_JOB) && !create(0)) {
            throw std::runtime_error("testhost: the session's process cannot be started (error " +
                                     std::to_string(GetLastError()) +
                                     "); --in-process does without");
        }
        return information;
    }

    // Where what is written disappears; open for as long as this process lives.
    static HANDLE Nowhere() {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        static HANDLE const nowhere = CreateFileW(L"NUL", GENERIC_WRITE, FILE_SHARE_WRITE,
                                                  &inherited, OPEN_EXISTING, 0, nullptr);
        return nowhere;
    }

    // A script and a plug-in's files are read in no limited time.
    bool HasLimit() const {
        return start.timeout > 0 && progress.phase != Progress::Phase::Preparing &&
               !progress.isWriting;
    }

    // Milliseconds since the statement began.
    DWORD Spent() const {
        const DWORD began = progress.began; // before the clock is read: the next one may begin now
        return static_cast<DWORD>(std::max(0L, static_cast<long>(GetTickCount() - began)));
    }

    DWORD NextWait() const {
        constexpr DWORD most = 100; // the statement under way may end meanwhile
        const DWORD spent = std::min(Spent(), start.timeout);
        return killed ? longestKill
                      : std::clamp<DWORD>(HasLimit() ? start.timeout - spent : most, 1, most);
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
        const auto address = reinterpret_cast<unsigned long>(fault.ExceptionAddress);
        const bool isLast = event.u.Exception.dwFirstChance == 0 ||
                            (progress.phase == Progress::Phase::Done &&
                             IsFault(fault.ExceptionCode) && modules.IsInPlugin(address));
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
            // Before it is loaded it cannot have been the plug-in.
            end.what =
                std::string(progress.phase == Progress::Phase::Preparing ? "the session's process"
                                                                         : "the plug-in") +
                " ended the program, with exit code " + std::to_string(end.exitCode) +
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

std::string ChildEnd::Describe(const std::string& place) const {
    const char* const word = kind == Kind::TimedOut      ? "TIMED OUT"
                             : kind == Kind::Interrupted ? "INTERRUPTED"
                                                         : "CRASHED";
    return word + (place.empty() ? "" : " " + place) + (what.empty() ? "" : ": " + what);
}

ChildEnd RunChild(const ChildStart& start, const SharedProgress& progress) {
    SetConsoleCtrlHandler(OnInterrupt, TRUE); // for good: after the last child little is left to do
    return Watch(start, progress).Run();
}

std::string UnderWayText(const Progress& progress) {
    switch (progress.phase) {
    case Progress::Phase::Preparing:
        return "before the script";
    case Progress::Phase::Loading:
        return "while the plug-in was loaded";
    case Progress::Phase::Unloading:
    case Progress::Phase::Done:
        return "after the script, when the plug-in was unloaded";
    default:
        break;
    }
    const std::string_view entry = Progress::Read(progress.underWay);
    return entry.empty() ? "" : "in " + std::string(entry);
}
