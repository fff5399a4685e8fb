#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/statements/Parsers.h"

#include <memory>
#include <utility>

namespace {
// Most parameters of a command; hosts have fewer.
constexpr size_t mostParameters = 255;

struct CommandCall {
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
        player.Fail("the command has a result; say of which kind with ->");
    }
}

bool HasCompiledPointers(const Player& player) {
    return player.host.options.callerCompiled || player.host.options.hostCompiled;
}

void PlayCall(Player& player, const CommandCall& call) {
    if (!player.session.IsStarted()) {
        return player.FailNotStarted();
    }
    player.arguments = std::make_unique<Arguments>(call.parameters, HasCompiledPointers(player));
    player.result = player.session.Call(call.command, *player.arguments, call.result.kind);
    ReportCall(player, call, *player.arguments, player.result);
}

// The same in a process of its own: the script goes on, and the processes run when it lets them.
void PlayInBackground(Player& player, const CommandCall& call) {
    if (!player.session.IsStarted()) {
        return player.FailNotStarted();
    }
    constexpr long stackSize = 256 * 1024;
    const std::string place = player.stage.place;
    const std::string name = "Command " + std::to_string(call.command);
    const long number = player.host.StartProcess(name, stackSize, [&player, call, place] {
        Arguments arguments(call.parameters, HasCompiledPointers(player));
        const TypedValue result = player.session.Call(call.command, arguments, call.result.kind);
        player.At(place, [&] {
            player.Note("command " + std::to_string(call.command) + " of process " +
                        std::to_string(player.host.currentProcess) + " is done");
            ReportCall(player, call, arguments, result);
        });
    });
    if (number == 0) {
        player.Fail("there is no memory for the process");
    }
}

long TakeCommandNumber(Words& words) {
    const long number = words.TakeNumber("a command number", -0x8000, 0x7FFF);
    if (number < 1) {
        throw ScriptError("a command's number is 1 or more, not " + std::to_string(number));
    }
    return number;
}

CommandCall TakeCall(Words& words) {
    CommandCall call{
        .command = TakeCommandNumber(words), .parameters = {}, .result = {}, .checksResult = false};
    bool hasResult = words.TakeIf("->");
    while (!hasResult && !words.AtEnd()) {
        if (call.parameters.size() == mostParameters) {
            throw ScriptError("a command has at most " + std::to_string(mostParameters) +
                              " parameters");
        }
        call.parameters.push_back(TakeValue(words));
        if (call.parameters.back().kind == ValueKind::None) {
            throw ScriptError("a parameter cannot be of the kind none");
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

} // namespace

// The selectors with which a host starts and stops a plug-in, the usual one first.
Action ParseStart(Words& words) {
    long selector = words.IsNumber() ? words.TakeNumber("-1 or -200") : -1;
    if (selector != -1 && selector != -200) {
        throw ScriptError("a plug-in is started with -1 or -200");
    }
    return [selector](Player& player) {
        if (player.session.IsStarted()) {
            return player.Fail("the plug-in is already started");
        }
        player.session.Start(selector);
    };
}

Action ParseStop(Words& words) {
    long selector = words.IsNumber() ? words.TakeNumber("-2 or -220") : -2;
    if (selector != -2 && selector != -220) {
        throw ScriptError("a plug-in is stopped with -2 or -220");
    }
    return [selector](Player& player) {
        if (!player.session.IsStarted()) {
            return player.FailNotStarted();
        }
        player.session.Stop(selector);
    };
}

Action ParseCall(Words& words) {
    return [call = TakeCall(words)](Player& player) { PlayCall(player, call); };
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
