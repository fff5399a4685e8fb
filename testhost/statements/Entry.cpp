#include "testhost/plugins/Library.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Parsers.h"
#include "testhost/values/LeftOvers.h"

#include <algorithm>
#include <array>
#include <cstdio>

// Statements with which the host enters the plug-in as it is told to, whatever has been before.

namespace {
// Those with which hosts enter plug-ins. Any other number is a command's, or unknown.
constexpr std::array<long, 11> hostSelectors = {-1,   -2,   -3,   -4,   -200, -220,
                                                -201, -202, -205, -206, -207};

// Of clients that no `connect` has made.
constexpr long strangersCookie = 0x50000001;

void EnterWithAny(Player& player, long selector, std::optional<long> number) {
    constexpr unsigned long untouched = 0xDEADBEEF;
    const bool isKnown = std::ranges::find(hostSelectors, selector) != hostSelectors.end();
    // With some of the known ones the host gives the plug-in an address in the cell.
    std::array<unsigned long, 3> cells = {untouched, isKnown ? 0 : untouched, untouched};
    const std::array<unsigned long, 3> before = cells;
    std::string what = selector >= 0 ? "selector " + std::to_string(selector) : "selector";
    what += number ? " with " + std::to_string(*number) : "";
    player.host.complaintsAreProblems = isKnown; // that there is no such command, say
    player.session.Enter(selector, reinterpret_cast<void*>(number.value_or(0)), nullptr, &cells[1],
                         what);
    player.host.complaintsAreProblems = true;
    if (cells[0] != untouched || cells[2] != untouched) {
        player.host.Report("The plug-in wrote beside the result of the selector " +
                           std::to_string(selector) + ".");
    }
    if (!isKnown && cells[1] != before[1]) {
        player.host.Report("The plug-in wrote a result for the selector " +
                           std::to_string(selector) + ", which it cannot know.");
    }
}

std::string ClientName(long cookie) {
    char text[24];
    std::snprintf(text, sizeof text, "Client 0x%lX", static_cast<unsigned long>(cookie));
    return text;
}

// `from COOKIE` at the end of a request.
long TakeCookie(Words& words) {
    return words.TakeIf("from") ? words.TakeNumber("the client's cookie") : strangersCookie;
}

// Runs `act` in the process that serves this client, if there is one.
Action AsServer(long cookie, std::function<void(Player&)> act) {
    return [cookie, act = std::move(act)](Player& player) {
        if (!player.session.IsStarted()) {
            return player.FailNotStarted();
        }
        Host& host = player.host;
        if (host.options.role != Role::Server) {
            return player.Fail("the host is no server");
        }
        const long process = host.FindProcess(ClientName(cookie));
        const Host::InProcess inside(host, process != 0 ? process : host.currentProcess);
        act(player);
    };
}

struct RequestName {
    long id;
    short kind;
};

RequestName TakeRequestName(Words& words) {
    const long id = words.TakeNumber("the call's identifier");
    return {id, static_cast<short>(words.TakeNumber("the kind", -0x8000, 0x7FFF))};
}

void Connect(Player& player, long cookie) {
    Host& host = player.host;
    const long process = host.AddProcess({.name = ClientName(cookie)});
    const bool letIn =
        Request::SendConnect(player.session, static_cast<unsigned long>(cookie), process);
    player.Note(letIn ? "the client is let in" : "the client is refused");
    if (letIn) {
        host.TellPlugins(-3, process);
    } else {
        host.FindProcess(process)->state = ProcessState::Ended;
    }
}

// Every host tells of it, also those whose clients' requests end with their process alone.
void Disconnect(Player& player, long cookie) {
    Host& host = player.host;
    const long process = host.FindProcess(ClientName(cookie));
    Request::SendDisconnect(player.session, static_cast<unsigned long>(cookie), process);
    if (process != 0) {
        host.EndProcess(process);
    }
}

void Reload(Player& player, long rounds) {
    if (player.session.IsStarted()) {
        return player.Fail("the plug-in is started");
    }
    if (!player.stage.reload || player.stage.players.size() > 1) {
        return player.Fail(player.stage.reload ? "there are further hosts"
                                               : "the plug-in is no library");
    }
    Host& host = player.host;
    host.EndOwnProcesses();
    player.arguments.reset();
    player.answers.clear();
    player.session.ReportLeaksSoFar();
    player.session.SetEntries({}); // it may not come back
    player.session.SetEntries(player.stage.reload(rounds));
    for (const std::string& fault : PluginLibrary::TakeUnloadFaults()) {
        host.Report(fault);
    }
    host.HearAsides();
}
} // namespace

Action ParseReload(Words& words) {
    constexpr long mostRounds = 10000;
    const long rounds = words.AtEnd() ? 1 : words.TakeNumber("how often", 1, mostRounds);
    return [rounds](Player& player) { Reload(player, rounds); };
}

Action ParseSelector(Words& words) {
    const long selector = words.TakeNumber("a selector");
    std::optional<long> number;
    if (!words.AtEnd()) {
        number = words.TakeNumber("the number that goes with it");
    }
    return [selector, number](Player& player) { EnterWithAny(player, selector, number); };
}

Action ParseRequestWrite(Words& words) {
    const RequestName name = TakeRequestName(words);
    std::optional<std::string> bytes;
    if (!words.TakeIf("null")) {
        bytes = words.TakeString("the data's bytes or 'null'");
    }
    const long cookie = TakeCookie(words);
    return AsServer(cookie, [name, bytes, cookie](Player& player) {
        Request::SendWrite(player.session, name.id, name.kind, static_cast<unsigned long>(cookie),
                           bytes ? &*bytes : nullptr);
    });
}

Action ParseRequestRead(Words& words) {
    const RequestName name = TakeRequestName(words);
    const long cookie = TakeCookie(words);
    return AsServer(cookie, [name, cookie](Player& player) {
        const Request::Answer answer = Request::SendRead(player.session, name.id, name.kind,
                                                         static_cast<unsigned long>(cookie));
        player.Note("answered: " +
                    (answer.word != 0 ? LeftOvers::Bytes(answer.bytes) : std::string("nothing")));
        if (answer.word != 0) {
            player.answers[{name.id, name.kind}].push_back(answer);
        }
    });
}

Action ParseRequestCleanup(Words& words) {
    const RequestName name = TakeRequestName(words);
    const long cookie = TakeCookie(words);
    return AsServer(cookie, [name, cookie](Player& player) {
        std::vector<Request::Answer>& answers = player.answers[{name.id, name.kind}];
        Request::Answer answer; // without a read: none
        if (!answers.empty()) {
            answer = std::move(answers.back());
            answers.pop_back();
        }
        Request::SendCleanup(player.session, name.id, name.kind, static_cast<unsigned long>(cookie),
                             answer);
    });
}

Action ParseRequestConnect(Words& words) {
    const long cookie = TakeCookie(words);
    return AsServer(cookie, [cookie](Player& player) { Connect(player, cookie); });
}

Action ParseRequestDisconnect(Words& words) {
    const long cookie = TakeCookie(words);
    return AsServer(cookie, [cookie](Player& player) { Disconnect(player, cookie); });
}
