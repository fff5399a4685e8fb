#include "testhost/statements/Table.h"
#include "testhost/validate/Cases.h"
#include "testhost/validate/Checks.h"
#include "testhost/validate/Values.h"

#include <algorithm>

namespace {
std::string Number(long number) {
    return std::to_string(number);
}

// Processes that like may run for ever.
constexpr const char* letThemRun = "run ticks 2000";

// `call 3 -> long` becomes `background call 3 -> long 7`, unless no script can say the result.
std::string Expecting(const std::string& call, const std::string& result) {
    const std::string plain = "background " + call;
    const std::string expecting = plain.substr(0, plain.rfind(" -> ")) + " -> " + result;
    const bool canBeSaid = !result.empty() && ParseScript(expecting, "").errors.empty();
    return canBeSaid ? expecting : plain;
}

// Two processes run a command with different arguments, and each gets what it would get alone.
void CheckTwoAtOnce(Workbench& bench, const DescribedCommand& command) {
    const Lines calls = {OrdinaryCall(command), AnyCall(command, bench.random)};
    const Outcome alone = bench.Probe({.lines = Session(calls)});
    const size_t first = Session({}).size() - 1;
    Lines together;
    Lines inTurn; // the other one first
    for (size_t number = 0; number < calls.size(); ++number) {
        const auto facts = alone.facts.find(first + number);
        const std::string result = facts != alone.facts.end() ? facts->second.result : "";
        together.push_back(Expecting(calls[number], result));
        inTurn = Lines{together.back(), letThemRun} + inTurn;
    }
    // Of a command that answers something else each time, or in each process, nothing is expected.
    if (!GoesWell(bench, {.lines = Session(inTurn)})) {
        std::ranges::transform(calls, together.begin(),
                               [](const std::string& call) { return Expecting(call, ""); });
    }
    bench.Try({.lines = Session(together + Lines{letThemRun})});
}

// Any numbers, each of which may or may not be that of a process.
Lines AnyProcesses(Workbench& bench) {
    Lines lines;
    int started = 0;
    for (int count = 0; count < 30; ++count) {
        const std::string name = "\"P" + Number(static_cast<long>(bench.random() % 5)) + "\"";
        switch (bench.random() % 6) {
        case 0:
        case 1:
            lines.push_back("process start \"P" + Number(started++ % 5) + "\"");
            break;
        case 2:
            lines.push_back("selector -4 " + Number(static_cast<long>(bench.random() % 20)));
            break;
        case 3:
            lines.push_back("selector -3 " + Number(static_cast<long>(bench.random() % 20)));
            break;
        case 4:
            lines.push_back("selector -4 " + Number(static_cast<long>(bench.random())));
            break;
        default:
            if (started > 0) {
                lines.push_back("process start " + name);
                lines.push_back("process end " + name);
            }
            break;
        }
    }
    return lines;
}

constexpr const char* roles[] = {"single", "client", "server"};

// A call of the server's by any of three clients, each of whom may be connected or not.
struct Request {
    std::string word;
    std::string name;  ///< identifier and kind
    std::string bytes; ///< of a write
    std::string client;

    std::string Line() const {
        return "request " + word + (name.empty() ? "" : " " + name) + bytes + client;
    }
};

Request AnyRequest(Workbench& bench) {
    static const Lines kinds = {"-1", "-2", "0", "1", "2", "3", "99", "-3", "32767", "-32768"};
    static const Lines ids = {"0", "1", "2", "3", "-1", "0x80000001", "2147483647", "12345"};
    static const Lines words = {"connect", "disconnect", "read",  "read",
                                "cleanup", "write",      "write", "write"};
    Request request{.word = words[bench.random() % words.size()],
                    .name = {},
                    .bytes = {},
                    .client = " from " + Number(1 + static_cast<long>(bench.random() % 3))};
    if (request.word.find("connect") == std::string::npos) {
        request.name =
            ids[bench.random() % ids.size()] + " " + kinds[bench.random() % kinds.size()];
    }
    if (request.word == "write") {
        request.bytes = bench.random() % 4 == 0 ? " null" : " " + AnyBytes(bench.random);
    }
    return request;
}

// Any requests in any order. In the end the host is done with each call, as it always says.
Lines AnyRequests(Workbench& bench) {
    Lines requests;
    Lines cleanUps;
    for (int count = 0; count < 30; ++count) {
        Request request = AnyRequest(bench);
        requests.push_back(request.Line());
        if (request.word == "write" || request.word == "read") {
            request.word = "cleanup";
            request.bytes.clear();
            cleanUps.push_back(request.Line());
        }
    }
    return std::move(requests) + cleanUps;
}

// What clients say of themselves, in every length, with lengths in it that are right and wrong.
Lines Identifications(const Workbench& bench) {
    Lines lines;
    const int step = bench.strictness >= 8 ? 1 : 17;
    for (int size = 0; size <= 330; size += step) {
        for (const char* const length : {"\\x05", "\\xFF", "\\x7F"}) {
            std::string bytes;
            for (int at = 0; at < size; ++at) {
                bytes += at % 32 == 0 ? length : "x";
            }
            lines.push_back("request write 0 -2 \"" + bytes + "\" from 1");
        }
    }
    return lines;
}

Lines Network(const std::string& version) {
    const std::string with = " version " + version;
    return {"host \"server\" role server" + with,
            "start",
            "host \"anna\" role client" + with,
            "connect \"anna\"",
            "start",
            "host \"ben\" role client" + with,
            "connect \"ben\"",
            "start"};
}

// What becomes of a client's next request, if it makes one.
std::string AnyNetworkFault(Workbench& bench) {
    // None is lost: a server would rightly keep an answer that is never fetched.
    static const Lines faults = {"cut 0", "cut 1", "cut 3", "cut 20", "delay 5"};
    const size_t number = bench.random() % (faults.size() + 2);
    return "network " + (number < faults.size()
                             ? faults[number]
                             : "corrupt " + std::to_string(bench.random() % 1000));
}

// Whom a plug-in lets in is its own business.
Lines WithRefusals(Workbench& bench, Lines network) {
    for (const Problem& problem : bench.Probe({.lines = network}).problems) {
        if (problem.sentence.find("to be let in") != std::string::npos) {
            std::ranges::replace(network, problem.statement, problem.statement + " refused");
        }
    }
    return network;
}

void CheckClients(Workbench& bench, const std::string& version,
                  const std::vector<const DescribedCommand*>& commands) {
    constexpr size_t atOnce = 6;
    const Lines network = WithRefusals(bench, Network(version));
    // A client goes when its calls are done: who goes amid one leaves an answer to the server, too.
    const Lines end =
        network == Network(version)
            ? Lines{letThemRun, "disconnect \"anna\"", letThemRun, "connect \"anna\"", letThemRun}
            : Lines{letThemRun};
    for (size_t from = 0; from < std::max<size_t>(commands.size(), 1) && !bench.IsFull();
         from += atOnce) {
        Lines lines = network;
        for (size_t place = from; place < std::min(from + atOnce, commands.size()); ++place) {
            lines = std::move(lines) +
                    Lines{"on \"anna\"", "background " + OrdinaryCall(*commands[place]),
                          "on \"ben\"", "background " + AnyCall(*commands[place], bench.random)};
            if (bench.random() % 3 == 0) {
                lines.push_back("run ticks 1");
            } else if (bench.strictness >= 5 && bench.random() % 2 == 0) {
                lines.push_back(AnyNetworkFault(bench));
            }
        }
        bench.Try({.lines = std::move(lines) + end});
    }
}
} // namespace

void CheckProcesses(Workbench& bench) {
    for (const char* const role : roles) {
        bench.Try(
            {.role = role,
             .lines = {"start", "process start \"A\"", "process start \"B\"", "process end \"A\"",
                       "process start \"C\"", "process end \"C\"", "process end \"B\"", "stop"}});
        bench.Try({.role = role,
                   .lines = {"start", "selector -4 77", "selector -3 77", "selector -3 77",
                             "selector -4 77", "selector -4 77", "selector -4 0", "selector -4 -1",
                             "selector -3 2147483647", "stop"}});
        for (int count = 0; count < bench.strictness; ++count) {
            bench.Try(
                {.role = role, .lines = Lines{"start"} + AnyProcesses(bench) + Lines{"stop"}});
        }
    }
    for (const DescribedCommand* const command : CallableCommands(bench)) {
        if (!bench.IsFull()) {
            CheckTwoAtOnce(bench, *command);
        }
    }
}

void CheckServer(Workbench& bench) {
    const auto commands = CallableCommands(bench);
    for (const std::string& version : TypicalVersions(bench) + Lines{"12.2"}) {
        CheckClients(bench, version, commands);
        const Lines start = {"start", "request connect from 1"};
        bench.Try({version, "server", start + Identifications(bench) + Lines{"stop"}});
        bench.Try(
            {version,
             "server",
             {"start", "request cleanup 1 1", "request cleanup 0 -1 from 2", "request read 7 7",
              "request cleanup 7 7", "request disconnect from 9", "stop"}});
        for (int count = 0; count < 2 * bench.strictness && !bench.IsFull(); ++count) {
            bench.Try({version, "server", start + AnyRequests(bench) + Lines{"stop"}});
        }
    }
}
