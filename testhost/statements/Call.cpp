#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/statements/Parsers.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace {
// Most parameters of a command; hosts have fewer.
constexpr size_t mostParameters = 255;

struct CommandCall {
    std::string name; // in the plug-in's table; empty: the command has a number
    long command;
    std::vector<TypedValue> parameters;
    TypedValue result; // what it has to be, or only its kind
    bool checksResult; // false: any value of the kind will do
};

// Says what became of a call, and whether it is what it had to be.
void ReportCall(Player& player, const CommandCall& call, const Arguments& arguments,
                const TypedValue& result) {
    if (result.kind != ValueKind::None) {
        player.Note("result: " + Describe(result));
    }
    for (size_t number = 1; number <= call.parameters.size(); ++number) {
        TypedValue now = arguments.At(number);
        if (now != call.parameters[number - 1]) {
            player.Note("parameter " + std::to_string(number) + ": " + Describe(now));
        }
    }
    if (call.checksResult) {
        player.Expect(result == call.result, Describe(call.result), Describe(result));
    } else if (call.result.kind == ValueKind::None && result.kind != ValueKind::None) {
        player.Fail("the command has a result; say of which kind with ->, and in its usage");
    }
}

CommandOutcome OutcomeOf(Player& player) {
    CommandOutcome outcome{.calls = player.host.log.TakeNames(), .result = Describe(player.result)};
    for (size_t number = 1; number <= player.arguments->Count(); ++number) {
        outcome.parameters.push_back(Describe(player.arguments->At(number)));
    }
    return outcome;
}

bool HasCompiledPointers(const Player& player) {
    return player.host.options.callerCompiled || player.host.options.hostCompiled;
}

// The number of the call's command; 0 when the call has failed because there is none.
long FindCommand(Player& player, const CommandCall& call) {
    if (call.name.empty()) {
        return call.command;
    }
    const CommandTable* table = player.session.Commands();
    if (table == nullptr) {
        player.Fail("the plug-in hands out no command table (FourDPlugInfo): call by number");
        return 0;
    }
    const DescribedCommand* described = table->Find(call.name);
    if (described == nullptr) {
        player.Fail("no command has the name " + Quoted(call.name));
        return 0;
    }
    return described->number;
}

// Whether an argument is what the usage says of its parameter.
bool IsAsDeclared(const TypedValue& argument, const Usage::Parameter& parameter) {
    const bool leadsElsewhere = parameter.target != ValueKind::None && !argument.inner.empty() &&
                                argument.inner.front().kind != parameter.target;
    return argument.kind == parameter.kind && !leadsElsewhere;
}

// Whether a call is as the command's usage says, or there is none; else the call fails.
bool FollowsUsage(Player& player, const CommandCall& call, long command) {
    const CommandTable* table = player.session.Commands();
    const DescribedCommand* described = table != nullptr ? table->Find(command) : nullptr;
    if (described == nullptr || !described->usage ||
        (call.result.kind == described->usage->result &&
         std::ranges::equal(call.parameters, described->usage->parameters, IsAsDeclared))) {
        return true;
    }
    player.Fail("call " + std::to_string(command) +
                (described->name.empty() ? "" : " " + Quoted(described->name)) + ": the usage is " +
                described->ShownUsage());
    return false;
}

// Whether the host keeps to the order in which it starts, calls and stops a plug-in.
enum class Order { Kept, Forced };

void PlayCall(Player& player, const CommandCall& call, Order order) {
    if (order == Order::Kept && !player.session.IsStarted()) {
        return player.FailNotStarted();
    }
    const long command = FindCommand(player, call);
    if (command == 0 || !FollowsUsage(player, call, command)) {
        return;
    }
    player.arguments = std::make_unique<Arguments>(call.parameters, HasCompiledPointers(player));
    player.host.log.BeginNames(player.host.currentProcess);
    player.result = player.session.Call(command, *player.arguments, call.result.kind);
    player.outcome = OutcomeOf(player);
    ReportCall(player, call, *player.arguments, player.result);
}

// What is wrong with the plug-in's table. Once: further hosts have copies of the same library, and
// before a crash it was told, too.
void TellTableProblems(Player& player) {
    const CommandTable* table = player.session.Commands();
    if (std::exchange(player.stage.toldTable, true) || player.stage.progress->resumeFrom > 0 ||
        table == nullptr) {
        return;
    }
    for (const std::string& problem : table->problems) {
        player.host.Report(problem);
    }
}

// The same in a process of its own: the script goes on, and the processes run when it lets them.
void PlayInBackground(Player& player, const CommandCall& call) {
    if (!player.session.IsStarted()) {
        return player.FailNotStarted();
    }
    const long command = FindCommand(player, call);
    if (command == 0 || !FollowsUsage(player, call, command)) {
        return;
    }
    constexpr long stackSize = 256 * 1024;
    const std::string place = player.stage.place;
    const std::string name = "Command " + std::to_string(command);
    const long number = player.host.StartProcess(name, stackSize, [&player, call, command, place] {
        Arguments arguments(call.parameters, HasCompiledPointers(player));
        const TypedValue result = player.session.Call(command, arguments, call.result.kind);
        player.At(place, [&] {
            player.Note("command " + std::to_string(command) + " of process " +
                        std::to_string(player.host.currentProcess) + " is done");
            ReportCall(player, call, arguments, result);
        });
    });
    if (number == 0) {
        player.Fail("there is no memory for the process");
    }
}

// The command's name or its number.
void TakeCommand(Words& words, CommandCall& call) {
    if (words.IsString()) {
        call.name = words.TakeString("a command's name");
        if (call.name.empty()) {
            throw ScriptError("a command's name is not empty");
        }
        return;
    }
    call.command = words.TakeNumber("a command's number or name", -0x8000, 0x7FFF);
    if (call.command < 1) {
        throw ScriptError("a command's number is 1 or more, not " + std::to_string(call.command));
    }
}

CommandCall TakeCall(Words& words) {
    CommandCall call{};
    TakeCommand(words, call);
    bool hasResult = words.TakeIf("->");
    while (!hasResult && !words.AtEnd()) {
        if (call.parameters.size() == mostParameters) {
            throw ScriptError("a command has at most " + std::to_string(mostParameters) +
                              " parameters");
        }
        call.parameters.push_back(TakeValue(words));
        if (!Arguments::Accepts(call.parameters.back().kind)) {
            throw ScriptError("a parameter cannot be of the kind " +
                              std::string(KindName(call.parameters.back().kind)));
        }
        hasResult = words.TakeIf("->");
    }
    if (hasResult) {
        call.result.kind = TakeKind(words);
        if (!ResultCell::Accepts(call.result.kind)) {
            throw ScriptError("a command cannot have a result of the kind " +
                              std::string(KindName(call.result.kind)));
        }
        call.checksResult = call.result.kind == ValueKind::None || !words.AtEnd();
        if (call.checksResult) {
            call.result = TakeValueOf(call.result.kind, words);
        }
    }
    return call;
}

// The selectors with which a host starts and stops a plug-in, the usual one first.
Action TakeStart(Words& words, Order order) {
    long selector = words.IsNumber() ? words.TakeNumber("-1 or -200") : -1;
    if (selector != -1 && selector != -200) {
        throw ScriptError("a plug-in is started with -1 or -200");
    }
    return [selector, order](Player& player) {
        if (order == Order::Kept && player.session.IsStarted()) {
            return player.Fail("the plug-in is already started");
        }
        TellTableProblems(player);
        player.session.Start(selector);
    };
}

Action TakeStop(Words& words, Order order) {
    long selector = words.IsNumber() ? words.TakeNumber("-2 or -220") : -2;
    if (selector != -2 && selector != -220) {
        throw ScriptError("a plug-in is stopped with -2 or -220");
    }
    return [selector, order](Player& player) {
        if (order == Order::Kept && !player.session.IsStarted()) {
            return player.FailNotStarted();
        }
        player.session.Stop(selector);
    };
}

Action TakeCallStatement(Words& words, Order order) {
    return [call = TakeCall(words), order](Player& player) { PlayCall(player, call, order); };
}

// What a command did otherwise than before.
struct Difference {
    std::string what;
    std::string before;
    std::string now;
};

std::optional<Difference> FirstDifference(const CallLog::Names& before, const CallLog::Names& now) {
    const auto [former, latter] = std::ranges::mismatch(before.first, now.first);
    if (former != before.first.end() || latter != now.first.end()) {
        const std::string number = std::to_string(former - before.first.begin() + 1);
        return Difference{
            "calls", "call " + number + " was " + (former != before.first.end() ? *former : "none"),
            latter != now.first.end() ? *latter : "none"};
    }
    if (before.count != now.count) {
        return Difference{"calls", std::to_string(before.count), std::to_string(now.count)};
    }
    return std::nullopt;
}

std::optional<Difference> FirstDifference(const CommandOutcome& before, const CommandOutcome& now) {
    if (auto difference = FirstDifference(before.calls, now.calls)) {
        return difference;
    }
    if (before.result != now.result) {
        return Difference{"result", before.result, now.result};
    }
    const auto [former, latter] = std::ranges::mismatch(before.parameters, now.parameters);
    if (former == before.parameters.end() && latter == now.parameters.end()) {
        return std::nullopt;
    }
    const std::string number = std::to_string(former - before.parameters.begin() + 1);
    return Difference{"parameter " + number, former != before.parameters.end() ? *former : "none",
                      latter != now.parameters.end() ? *latter : "none"};
}
} // namespace

Action ParseStart(Words& words) {
    return TakeStart(words, Order::Kept);
}

Action ParseForceStart(Words& words) {
    return TakeStart(words, Order::Forced);
}

Action ParseStop(Words& words) {
    return TakeStop(words, Order::Kept);
}

Action ParseForceStop(Words& words) {
    return TakeStop(words, Order::Forced);
}

Action ParseCall(Words& words) {
    return TakeCallStatement(words, Order::Kept);
}

Action ParseForceCall(Words& words) {
    return TakeCallStatement(words, Order::Forced);
}

Action ParseBackground(Words& words) {
    words.Take("call");
    return [call = TakeCall(words)](Player& player) { PlayInBackground(player, call); };
}

Action ParseExpectParameter(Words& words) {
    auto number = static_cast<size_t>(words.TakeNumber("a parameter's number", 1, mostParameters));
    return [number, expected = TakeValue(words)](Player& player) {
        if (player.arguments == nullptr || number > player.arguments->Count()) {
            return player.Fail("the last command called has no parameter " +
                               std::to_string(number));
        }
        TypedValue got = player.arguments->At(number);
        player.Expect(got == expected, Describe(expected), Describe(got));
    };
}

Action ParseExpectResult(Words& words) {
    return [expected = TakeValue(words)](Player& player) {
        player.Expect(player.result == expected, Describe(expected), Describe(player.result));
    };
}

Action ParseRemember(Words& words) {
    return [name = words.TakeString("a name for what the last command did")](Player& player) {
        if (!player.outcome) {
            return player.Fail("no command was called");
        }
        CommandOutcome& kept = player.stage.remembered[name] = *player.outcome;
        kept.place = player.stage.place;
    };
}

Action ParseExpectSame(Words& words) {
    return [name = words.TakeString("a name that was remembered")](Player& player) {
        const auto found = player.stage.remembered.find(name);
        if (found == player.stage.remembered.end()) {
            return player.Fail("nothing is remembered as " + Quoted(name));
        }
        if (!player.outcome) {
            return player.Fail("no command was called");
        }
        const Difference difference =
            FirstDifference(found->second, *player.outcome).value_or(Difference{});
        player.Expect(difference.what.empty(),
                      "the same " + difference.what + " as at " + found->second.place + ": " +
                          difference.before,
                      difference.now);
    };
}
