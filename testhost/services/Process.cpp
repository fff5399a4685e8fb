#include "platform/ResultCodes.h"
#include "testhost/model/PluginEntry.h"
#include "testhost/services/Service.h"

#include <algorithm>

namespace {
// The living process that param1 names; without one the call ends in an error.
HostProcess* NamedProcess(ServiceCall& call) {
    HostProcess* process = call.host.FindProcess(call.fields.param1);
    if (process == nullptr || !process->Lives()) {
        call.fields.error = ResultCode::BadParameter;
        return nullptr;
    }
    return process;
}

void Refuse(ServiceCall& call, const std::string& problem) {
    call.host.Report(problem);
    call.fields.error = ResultCode::BadParameter;
}

// The calling process gives way; what it did last was not waiting for an event.
void GiveWay(Host& host) {
    if (HostProcess* process = host.FindProcess(host.currentProcess)) {
        process->waitedInVain = false;
    }
    host.scheduler->GiveWay(host);
}

std::string SentName(const ServiceCall& call) {
    if (call.IsEngine()) {
        return AnsiText(call.engine->uniText);
    }
    const auto length = std::min<size_t>(call.valueText[0], call.valueText.size() - 1);
    return {reinterpret_cast<const char*>(&call.valueText[1]), length};
}

// The body of a process that a plug-in started. Its function takes nothing, so that all four words
// are left on the stack.
void RunFunction(Host& host, PluginEntry function) {
    void* const rubbish = reinterpret_cast<void*>(0xA5A5A5A5);
    void* const words[4] = {rubbish, rubbish, rubbish, rubbish};
    const std::string process = "process " + std::to_string(host.currentProcess);
    const long left =
        CallPlugin(host, function, words, 0, process + " runs", "The function of " + process);
    if (left != sizeof words) {
        host.Report("The function of " + process +
                    " took arguments off the stack that it does not have.");
    }
}

void NewProcess(ServiceCall& call) {
    auto function = reinterpret_cast<PluginEntry>(call.fields.handle);
    if (function == nullptr) {
        return Refuse(call, "NewProcess came without a function.");
    }
    Host& host = call.host;
    call.fields.param1 = host.StartProcess(SentName(call), call.fields.param3,
                                           [&host, function] { RunFunction(host, function); });
    if (call.fields.param1 == 0) {
        call.fields.error = ResultCode::MemoryFull;
    }
}

void KillProcess(ServiceCall& call) {
    HostProcess* process = call.host.FindProcess(call.host.currentProcess);
    if (process == nullptr || !process->isUser) {
        return Refuse(call, "KillProcess was called in one of the host's own processes.");
    }
    process->isKilled = true;
}

void ProcessInfo(ServiceCall& call) {
    const HostProcess* process = call.host.FindProcess(call.fields.param1);
    if (process == nullptr) {
        call.fields.param2 = ProcessState::Ended;
        return;
    }
    call.fields.param2 = process->StateAt(call.host.scheduler->Now());
    call.AnswerText(process->name);
}

void ProcessCounts(ServiceCall& call) {
    const std::vector<HostProcess>& all = call.host.processes;
    call.fields.param1 = static_cast<long>(all.size());
    call.fields.param2 = static_cast<long>(std::ranges::count_if(all, &HostProcess::Lives));
}

void BringProcessToFront(ServiceCall& call) {
    if (NamedProcess(call) != nullptr) {
        call.host.frontProcess = call.fields.param1;
        call.host.windows.BringToFront(call.fields.param1);
    }
}

// 0 ticks wake the process.
void PutProcessToSleep(ServiceCall& call) {
    const long ticks = call.fields.param2;
    HostProcess* process = NamedProcess(call);
    if (process == nullptr || ticks < 0) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    process->wakeAt = ticks == 0 ? 0 : call.host.scheduler->Now() + static_cast<Ticks>(ticks);
    if (ticks != 0 && call.fields.param1 == call.host.currentProcess) {
        GiveWay(call.host);
    }
}

void FreezeProcess(ServiceCall& call) {
    HostProcess* process = NamedProcess(call);
    if (process == nullptr) {
        return;
    }
    process->isFrozen = true;
    if (call.fields.param1 == call.host.currentProcess) {
        GiveWay(call.host);
    }
}

void UnfreezeProcess(ServiceCall& call) {
    if (HostProcess* process = NamedProcess(call)) {
        process->isFrozen = false;
    }
}

// Waits for an event of the calling process, but no longer than so many ticks.
void AwaitEvent(Host& host, unsigned short mask, long ticks) {
    HostProcess* process = host.FindProcess(host.currentProcess);
    process->awaitedEvents = mask;
    process->wakeAt = host.scheduler->Now() + static_cast<Ticks>(std::max(ticks, 0L));
    host.scheduler->GiveWay(host);
    process = host.FindProcess(host.currentProcess); // the table may have grown
    process->awaitedEvents = 0;
    process->wakeAt = 0;
}

// The next event that the mask lets through. Without one the others run for param2 ticks, unless
// one comes before, and then the record holds a null event.
void NextEvent(ServiceCall& call) {
    constexpr long rubbish = 0x5AA500; // only the low byte of the answer counts
    Host& host = call.host;
    auto* event = reinterpret_cast<EventRecord*>(call.fields.handle);
    const auto mask = static_cast<unsigned short>(call.fields.param1);
    const HostProcess* process = host.FindProcess(host.currentProcess);
    if (event == nullptr || process == nullptr) {
        return Refuse(call, "NextEvent came without an event record.");
    }
    if (!process->HasEvent(mask)) {
        AwaitEvent(host, mask, call.fields.param2);
    }
    HostProcess& caller = *host.FindProcess(host.currentProcess);
    const std::optional<EventRecord> next = caller.TakeEvent(mask);
    caller.waitedInVain = !next;
    EventRecord none{};
    none.when = static_cast<unsigned long>(host.scheduler->Now());
    *event = next.value_or(none);
    call.fields.param4 = rubbish | (next ? 1 : 0);
}

void PostProcessEvent(ServiceCall& call) {
    const auto* event = reinterpret_cast<const EventRecord*>(call.fields.handle);
    if (event == nullptr) {
        return Refuse(call, "PostProcessEvent came without an event record.");
    }
    if (!call.host.PostEvent(call.fields.param1, *event)) {
        call.fields.error = ResultCode::BadParameter;
    }
}

void IsProcessDying(ServiceCall& call) {
    const HostProcess* process = call.host.FindProcess(call.host.currentProcess);
    call.fields.flag1 = process != nullptr && process->isDying ? 1 : 0;
}

void Yield(ServiceCall& call) {
    if (call.host.onYield) {
        call.host.onYield();
    }
    GiveWay(call.host);
}

void CheckFreeStack(ServiceCall& call) {
    const long left = call.host.scheduler->StackLeft().value_or(call.host.options.freeStack);
    if (call.fields.param1 > left) {
        call.fields.error = ResultCode::MemoryFull;
        return;
    }
    call.fields.param2 = left;
}

// The main thread's process is the first one.
void ExecuteOnMainThread(ServiceCall& call) {
    if (call.engine->mainThreadProc == nullptr) {
        return Refuse(call, "selector -663 (ExecuteOnMainThread) came without a function.");
    }
    call.host.scheduler->RunOnMain([&] {
        const Host::Scope scope(call.host);
        const Host::InProcess inside(call.host, 1);
        void* const words[] = {call.engine->mainThreadArg};
        CallPluginProcedure(call.host, reinterpret_cast<const void*>(call.engine->mainThreadProc),
                            words, "The function on the main thread");
    });
}
} // namespace

std::span<const Service> ProcessServices() {
    static constexpr Service services[] = {
        {Select("NewProcess"), RecordField::Handle | RecordField::Param3, NewProcess,
         RecordField::UniText, RecordField::ValueText},
        {Select("KillProcess"), RecordField::None, KillProcess},
        {Select("CurrentProcess"), RecordField::None,
         [](ServiceCall& call) { call.fields.param1 = call.host.currentProcess; }},
        {Select("ProcessInfo"), RecordField::Param1, ProcessInfo},
        {Select("ProcessCounts"), RecordField::None, ProcessCounts},
        {Select("BringProcessToFront"), RecordField::Param1, BringProcessToFront},
        {Select("PutProcessToSleep"), RecordField::Param1 | RecordField::Param2, PutProcessToSleep},
        {Select("FreezeProcess"), RecordField::Param1, FreezeProcess},
        {Select("UnfreezeProcess"), RecordField::Param1, UnfreezeProcess},
        {Select("NextEvent"), RecordField::Param1 | RecordField::Param2 | RecordField::Handle,
         NextEvent},
        {Select("PostProcessEvent"), RecordField::Param1 | RecordField::Handle, PostProcessEvent},
        {Select("IsProcessDying"), RecordField::None, IsProcessDying},
        {Select("YieldToOthers"), RecordField::None, Yield},
        {Select("YieldAbsolute"), RecordField::None, Yield},
        {Select("CheckFreeStack"), RecordField::Param1, CheckFreeStack},
        {Select("ExecuteOnMainThread"), RecordField::MainThreadProc | RecordField::MainThreadArg,
         ExecuteOnMainThread},
    };
    return services;
}
