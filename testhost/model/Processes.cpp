// How processes of a host begin and end, and what keeps them from running.

#include "testhost/model/Host.h"
#include "testhost/model/HostedPlugin.h"

#include <algorithm>
#include <utility>

namespace {
constexpr Ticks timeToEnd = 600; // for processes that are asked to end with the session

bool Lets(unsigned short mask, const EventRecord& event) {
    return event.what < 16 && (mask >> event.what & 1) != 0;
}

auto FindEvent(auto& events, unsigned short mask) {
    return std::ranges::find_if(events,
                                [=](const EventRecord& event) { return Lets(mask, event); });
}
} // namespace

bool HostProcess::CanRun(Ticks now) const {
    if (isFrozen) {
        return false;
    }
    return wakeAt <= now || (awaitedEvents != 0 && (isDying || HasEvent(awaitedEvents)));
}

long HostProcess::StateAt(Ticks now) const {
    if (!Lives() || CanRun(now)) {
        return state;
    }
    if (isFrozen) {
        return ProcessState::Frozen;
    }
    return awaitedEvents != 0 ? ProcessState::AwaitingEvent : ProcessState::Asleep;
}

bool HostProcess::HasEvent(unsigned short mask) const {
    return FindEvent(events, mask) != events.end();
}

std::optional<EventRecord> HostProcess::TakeEvent(unsigned short mask) {
    auto found = FindEvent(events, mask);
    if (found == events.end()) {
        return std::nullopt;
    }
    const EventRecord event = *found;
    events.erase(found);
    return event;
}

long Host::StartProcess(std::string name, long stackSize, std::function<void()> body) {
    const long number = AddProcess({.name = std::move(name)});
    const bool started =
        scheduler->Start(*this, number, stackSize, [this, number, body = std::move(body)] {
            TellPlugins(-3, number);
            body();
            EndProcess(number);
        });
    if (!started) {
        processes.pop_back();
        return 0;
    }
    return number;
}

void Host::EndProcess(long number) {
    const bool ownEnd = scheduler->IsRunning(*this, number);
    if (!ownEnd) {
        scheduler->Drop(*this, number);
    }
    log.depth = ownEnd ? 0 : log.depth; // wherever it stands, it comes no further
    HostProcess* process = FindProcess(number);
    if (process == nullptr || !std::exchange(process->isEnding, true)) {
        TellPlugins(-4, number);
        process = FindProcess(number); // the table may have grown
    }
    if (process != nullptr) {
        process->state = ProcessState::Ended;
    }
    variables.RemoveProcess(number);
    if (ownEnd) {
        scheduler->EndRunning();
    }
}

void Host::EndKilledProcess() {
    HostProcess* process = FindProcess(currentProcess);
    if (process == nullptr || !process->isKilled) {
        return;
    }
    process->isKilled = false;
    EndProcess(currentProcess);
    currentProcess = 1;
}

void Host::EndOwnProcesses() {
    const auto runs = [this](long number) { return scheduler->Runs(*this, number); };
    const auto firstRunning = [&] {
        long number = 1;
        while (FindProcess(number) != nullptr && !runs(number)) {
            ++number;
        }
        return number;
    };
    for (long number = firstRunning(); HostProcess* process = FindProcess(number); ++number) {
        if (runs(number)) {
            process->isDying = true;
            process->isFrozen = false;
            process->wakeAt = 0;
        }
    }
    scheduler->RunUntil([&] { return FindProcess(firstRunning()) == nullptr; }, timeToEnd);
    for (long number = firstRunning(); HostProcess* process = FindProcess(number); ++number) {
        if (runs(number)) {
            Report("Process " + std::to_string(number) + " (\"" + process->name +
                   "\") did not end although it was asked to.");
            scheduler->Drop(*this, number);
            FindProcess(number)->state = ProcessState::Ended;
        }
    }
}

bool Host::PostEvent(long number, const EventRecord& event) {
    HostProcess* process = FindProcess(number);
    if (process == nullptr || !process->Lives()) {
        return false;
    }
    process->events.push_back(event);
    return true;
}

void Host::TellPlugins(long selector, long number) {
    const InProcess inside(*this, number);
    const std::vector<HostedPlugin*> told = plugins;
    for (HostedPlugin* plugin : told) {
        if (plugin->IsStarted()) {
            plugin->Enter(selector, reinterpret_cast<void*>(number), nullptr, nullptr,
                          "process " + std::to_string(number) +
                              (selector == -3 ? " starts" : " ends"));
        }
    }
}
