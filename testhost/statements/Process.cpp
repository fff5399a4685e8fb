#include "testhost/session/Player.h"
#include "testhost/statements/Parsers.h"

#include <utility>

// Statements about the host's processes and their windows.

namespace {
// A process as scripts name it, found only when the script is played.
struct ProcessName {
    long number;
    std::string name;

    long Find(Host& host) const {
        return name.empty() ? (host.FindProcess(number) != nullptr ? number : 0)
                            : host.FindProcess(name);
    }
    std::string Text() const {
        return name.empty() ? "process " + std::to_string(number)
                            : "living process " + Quoted(name);
    }
};

ProcessName TakeProcess(Words& words) {
    if (words.IsString()) {
        return {0, words.TakeString("a process name")};
    }
    return {words.TakeNumber("a process number or name", 1), {}};
}

// Runs `act` with the process's number, or fails when the host has no such process.
template <typename Act>
Action WithProcess(ProcessName process, Act act) {
    return [process = std::move(process), act](Player& player) {
        long number = process.Find(player.host);
        if (number == 0) {
            return player.Fail("the host has no " + process.Text());
        }
        act(player, number);
    };
}
} // namespace

Action ParseProcessStart(Words& words) {
    return [name = words.TakeString("the process's name")](Player& player) {
        if (!player.session.IsStarted()) {
            return player.FailNotStarted();
        }
        player.session.ProcessStart(name);
    };
}

Action ParseProcessEnd(Words& words) {
    return WithProcess(TakeProcess(words), [](Player& player, long number) {
        if (!player.session.IsStarted()) {
            return player.FailNotStarted();
        }
        player.session.ProcessEnd(number);
    });
}

Action ParseProcessDying(Words& words) {
    return WithProcess(TakeProcess(words), [](Player& player, long number) {
        player.host.FindProcess(number)->isDying = true;
    });
}

Action ParseCurrentProcess(Words& words) {
    return WithProcess(TakeProcess(words), [](Player& player, long number) {
        if (player.host.scheduler->Runs(player.host, number)) {
            return player.Fail("process " + std::to_string(number) +
                               " runs a function of the plug-in");
        }
        player.host.currentProcess = number;
    });
}

Action ParseRun(Words& words) {
    if (words.TakeIf("ticks")) {
        return [ticks = words.TakeNumber("a number of ticks", 0)](Player& player) {
            player.host.scheduler->RunUntil([] { return false; }, static_cast<Ticks>(ticks));
        };
    }
    return [](Player& player) {
        Scheduler& scheduler = *player.host.scheduler;
        const auto patience = static_cast<Ticks>(scheduler.patience);
        if (!scheduler.RunUntil([&] { return scheduler.IsAtRest(); }, patience)) {
            player.Fail("the processes have not come to rest within " + std::to_string(patience) +
                        " ticks");
        }
    };
}

Action ParseEvent(Words& words) {
    words.Take("process");
    ProcessName process = TakeProcess(words);
    EventRecord event{};
    event.what = static_cast<unsigned short>(words.TakeNumber("what happened", 0, 15));
    event.message = static_cast<unsigned long>(words.TakeNumber("the event's message"));
    const bool isWhole = !words.AtEnd();
    if (isWhole) {
        event.when = static_cast<unsigned long>(words.TakeNumber("the time in ticks"));
        event.where.v = static_cast<short>(words.TakeNumber("v", -0x8000, 0x7FFF));
        event.where.h = static_cast<short>(words.TakeNumber("h", -0x8000, 0x7FFF));
        event.modifiers = static_cast<unsigned short>(words.TakeNumber("the modifiers", 0, 0xFFFF));
    }
    return WithProcess(std::move(process), [event, isWhole](Player& player, long number) {
        EventRecord posted = event;
        if (!isWhole) {
            posted.when = static_cast<unsigned long>(player.host.scheduler->Now());
        }
        if (!player.host.PostEvent(number, posted)) {
            player.Fail("process " + std::to_string(number) + " has ended");
        }
    });
}

Action ParseWindowAdd(Words& words) {
    words.Take("process");
    ProcessName process = TakeProcess(words);
    words.Take("kind");
    auto kind = static_cast<short>(words.TakeNumber("the window's kind", -0x8000, 0x7FFF));
    bool visible = !words.TakeIf("invisible");
    return WithProcess(std::move(process), [kind, visible](Player& player, long number) {
        player.host.windows.AddInFront(number, kind, visible);
    });
}

Action ParseWindowClear(Words&) {
    return [](Player& player) { player.host.windows.Clear(); };
}
