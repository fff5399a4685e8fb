#include "testhost/engine/Services.h"

#include <algorithm>

namespace {
void ProcessInfo(ServiceCall& call) {
    const HostProcess* process = call.host.FindProcess(call.fields.param1);
    if (process == nullptr) {
        call.fields.param2 = ProcessState::Ended;
        return;
    }
    call.fields.param2 = process->state;
    call.AnswerText(process->name);
}

void ProcessCounts(ServiceCall& call) {
    const std::vector<HostProcess>& all = call.host.processes;
    call.fields.param1 = static_cast<long>(all.size());
    call.fields.param2 = static_cast<long>(
        std::ranges::count_if(all, [](const HostProcess& process) { return process.state >= 0; }));
}

void IsProcessDying(ServiceCall& call) {
    const HostProcess* process = call.host.FindProcess(call.host.currentProcess);
    call.fields.flag1 = process != nullptr && process->isDying ? 1 : 0;
}

void Yield(ServiceCall& call) {
    if (call.host.onYield) {
        call.host.onYield();
    }
}

constexpr Service services[] = {
    {Select("CurrentProcess"), RecordField::None,
     [](ServiceCall& call) { call.fields.param1 = call.host.currentProcess; }},
    {Select("ProcessInfo"), RecordField::Param1, ProcessInfo},
    {Select("ProcessCounts"), RecordField::None, ProcessCounts},
    {Select("IsProcessDying"), RecordField::None, IsProcessDying},
    {Select("YieldToOthers"), RecordField::None, Yield},
    {Select("YieldAbsolute"), RecordField::None, Yield},
};
} // namespace

std::span<const Service> ProcessServices() {
    return services;
}
