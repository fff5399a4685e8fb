#include "host/Selectors.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/pictures/WindowPicture.h"
#include "testhost/session/Player.h"
#include "testhost/session/Script.h"
#include "testhost/session/Values.h"
#include "testhost/session/Variables.h"
#include "testhost/statements/Area.h"
#include "testhost/statements/Call.h"
#include "testhost/statements/Database.h"
#include "testhost/statements/Dialog.h"
#include "testhost/statements/File.h"
#include "testhost/statements/Language.h"
#include "testhost/statements/Network.h"
#include "testhost/statements/Variable.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <span>

namespace {
using Action = std::function<void(Player&)>;

// One of the words that may follow a statement's first word, and how the rest is read.
struct Choice {
    std::string_view name;
    std::string_view usage;
    std::string_view help;
    Action (*parse)(Words& words);
};

Action ParseChoice(std::span<const Choice> choices, Words& words) {
    std::string names;
    for (const Choice& choice : choices) {
        if (words.TakeIf(choice.name)) {
            return choice.parse(words);
        }
        names += (names.empty() ? "'" : ", '") + std::string(choice.name) + "'";
    }
    words.TakeWord("one of " + names);
    throw ScriptError("expected one of " + names);
}

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

constexpr Choice processChoices[] = {
    {"start", R"("Name")", "a process starts, and the plug-in is told", ParseProcessStart},
    {"end", R"(N|"Name")", "a process ends, and the plug-in is told", ParseProcessEnd},
    {"dying", R"(N|"Name")", "a process is asked to end", ParseProcessDying},
};

template <bool HostOptions::*Option>
Action ParseOption(Words& words) {
    return [on = words.TakeOnOff()](Player& player) { player.host.options.*Option = on; };
}

template <long HostOptions::*Option>
Action ParseOption(Words& words) {
    return [number = words.TakeNumber("a number")](Player& player) {
        player.host.options.*Option = number;
    };
}

template <std::string HostOptions::*Option>
Action ParseSetText(Words& words) {
    return
        [text = words.TakeString("a text")](Player& player) { player.host.options.*Option = text; };
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

constexpr Choice settings[] = {
    {"compiled", "on|off", "the calling database runs compiled",
     ParseOption<&HostOptions::callerCompiled>},
    {"host-compiled", "on|off", "the host database runs compiled",
     ParseOption<&HostOptions::hostCompiled>},
    {"messages", "on|off", "progress messages are shown", ParseOption<&HostOptions::messages>},
    {"reals64", "on|off", "reals are 64-bit", ParseOption<&HostOptions::reals64>},
    {"globals", "on|off", "the host has a globals record", ParseOption<&HostOptions::hasGlobals>},
    {"platform", "N", "the platform interface", ParseOption<&HostOptions::platformInterface>},
    {"free-stack", "N", "bytes of free stack", ParseOption<&HostOptions::freeStack>},
    {"process", R"(N|"Name")", "the process in which the plug-in is called", ParseCurrentProcess},
    {"variable", R"("Name" KIND VALUE)", "a variable of that process; \"<>Name\" one of all",
     ParseSetVariable},
    {"chosen", R"("Name" N)", "the current element of an array variable; 0 for none",
     ParseSetChosen},
    {"picture", R"("Name" ["INFORMATION" "DATA"]...)",
     "a picture variable with these representations", ParseSetPicture},
    {"command", R"(N "Name")", "a command of the host's language goes by this name",
     ParseSetCommand},
    {"user", R"("Name")", "the current user", ParseSetText<&HostOptions::currentUser>},
    {"machine", R"("Name")", "the name of the machine", ParseSetText<&HostOptions::machine>},
    {"owner", R"("Name")", "the name of its owner", ParseSetText<&HostOptions::machineOwner>},
};

Action ParseWindowAdd(Words& words) {
    if (!words.TakeIf("process")) {
        throw ScriptError("expected 'process' and a number or name");
    }
    ProcessName process = TakeProcess(words);
    if (!words.TakeIf("kind")) {
        throw ScriptError("expected 'kind' and a number");
    }
    auto kind = static_cast<short>(words.TakeNumber("the window's kind", -0x8000, 0x7FFF));
    bool visible = !words.TakeIf("invisible");
    return WithProcess(std::move(process), [kind, visible](Player& player, long number) {
        player.host.windows.AddInFront(number, kind, visible);
    });
}

Action ParseWindowClear(Words&) {
    return [](Player& player) { player.host.windows.Clear(); };
}

constexpr Choice answerChoices[] = {
    {"confirm", "ok|cancel", "presses this in the next confirmation box (else OK)",
     ParseAnswerConfirm},
    {"formula", R"("text"|cancel)", "enters this when a formula is edited (else cancels)",
     ParseAnswerFormula},
};

constexpr Choice windowChoices[] = {
    {"add", R"(process N|"Name" kind K [invisible])", "a window opens in front of all others",
     ParseWindowAdd},
    {"clear", "", "every window closes", ParseWindowClear},
};

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
    if (!words.TakeIf("process")) {
        throw ScriptError("expected 'process' and a number or name");
    }
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

Action ParseEcho(Words& words) {
    return [text = Utf8(words.TakeWideString("a text"))](Player& player) { player.Echo(text); };
}

// The name of a call into the host, as the transcript shows it.
std::string TakeCallName(Words& words) {
    std::string name = words.TakeWord("the name of a host call");
    if (std::ranges::none_of(SelectorTable,
                             [&](const SelectorPair& pair) { return pair.name == name; })) {
        throw ScriptError("the host has no call '" + name + "'");
    }
    return name;
}

Action ParseExpectCall(Words& words) {
    std::string name = TakeCallName(words);
    bool counted = words.TakeIf("times");
    auto times = counted ? static_cast<size_t>(words.TakeNumber("a count", 0)) : 0;
    return [name, counted, times](Player& player) {
        size_t calls = player.host.log.Named(name, true).size();
        player.Expect(counted ? calls == times : calls > 0,
                      counted ? std::to_string(times) + " calls of " + name : "a call of " + name,
                      std::to_string(calls));
    };
}

Action ParseExpectNoCall(Words& words) {
    return [name = TakeCallName(words)](Player& player) {
        size_t calls = player.host.log.Named(name, true).size();
        player.Expect(calls == 0, "no call of " + name, std::to_string(calls));
    };
}

// The text that a field with the expected contents would show.
std::string TakeFieldText(const RecordFieldInfo& field, Words& words) {
    switch (field.type) {
    case RecordFieldInfo::Type::PascalString:
    case RecordFieldInfo::Type::Utf16:
        return Quoted(words.TakeString("the field's text"));
    case RecordFieldInfo::Type::Real:
        return Describe(RealValue(words.TakeReal("the field's number")));
    case RecordFieldInfo::Type::Date:
        return Describe(TakeDate(words));
    default:
        return field.NumberText(words.TakeNumber("the field's number"));
    }
}

// `sent` looks at a record as the plug-in sent it, otherwise as the host answered it.
Action ParseExpectField(Words& words, bool sent) {
    std::string name = TakeCallName(words);
    std::string fieldName = words.TakeWord("the name of a field");
    const RecordFieldInfo* field = FindRecordField(fieldName);
    if (field == nullptr) {
        throw ScriptError("call records have no field '" + fieldName + "'");
    }
    return [name, sent, field, expected = TakeFieldText(*field, words)](Player& player) {
        std::string what = name + " " + std::string(field->name) + " = " + expected;
        const LoggedCall* call = player.host.log.Last(name);
        if (call == nullptr) {
            return player.Expect(false, what, "no such call");
        }
        if (field->Size(call->IsEngine()) == 0) {
            return player.Expect(false, what, "a classic call, which has no such field");
        }
        std::string got = call->FieldText(*field, sent ? call->before : call->after);
        player.Expect(got == expected, what, got);
    };
}

Action ParseExpectProblems(Words& words) {
    return [count = static_cast<size_t>(words.TakeNumber("a count", 0))](Player& player) {
        player.Expect(player.OpenProblems() == count, std::to_string(count) + " problems",
                      std::to_string(player.OpenProblems()));
        player.AcceptProblems();
    };
}

constexpr Choice absences[] = {
    {"call", "NAME", "the host was not called so", ParseExpectNoCall},
    {"file", R"("PATH")", "nothing is at this path", ParseExpectNoFile},
};

Action ParseExpectNo(Words& words) {
    return ParseChoice(absences, words);
}

Action ParseExpectSent(Words& words) {
    return ParseExpectField(words, true);
}

Action ParseExpectAnswered(Words& words) {
    return ParseExpectField(words, false);
}

constexpr Choice expectations[] = {
    {"param", "N KIND VALUE", "parameter N of the last command, as it is now",
     ParseExpectParameter},
    {"result", "KIND VALUE", "the result of the last command", ParseExpectResult},
    {"variable", R"("Name" KIND VALUE)", "a variable; undefined when nobody set it",
     ParseExpectVariable},
    {"chosen", R"("Name" N)", "the current element of an array variable", ParseExpectChosen},
    {"call", "NAME [times N]", "the host was called so since the plug-in was last entered",
     ParseExpectCall},
    {"no", R"(call NAME|file "PATH")", "it was not called so; nothing is at this path",
     ParseExpectNo},
    {"sent", "NAME FIELD VALUE", "a field of the last such call, as the plug-in sent it",
     ParseExpectSent},
    {"answered", "NAME FIELD VALUE", "the same, as the host answered it", ParseExpectAnswered},
    {"file", R"("PATH" ["CONTENTS"])", "a file is at this path, with these bytes", ParseExpectFile},
    {"folder", R"("PATH")", "a folder is there", ParseExpectFolder},
    {"field", R"("Table" RECORD "Field" KIND VALUE)", "a saved record's value",
     ParseExpectFieldValue},
    {"records", R"("Table" N)", "so many records are in the table", ParseExpectRecords},
    {"selection", R"("Table" N...)", "numbers of the records selected in the current process",
     ParseExpectSelection},
    {"record", R"("Table" N|none)", "number of its current record", ParseExpectRecord},
    {"alert", R"("text")", "the host has shown this alert since the plug-in was last entered",
     ParseExpectAlert},
    {"confirm", R"("text")", "this confirmation box", ParseExpectConfirm},
    {"dialog", "STATE", "the last dialog, after its last turn or when it closed",
     ParseExpectDialog},
    {"area", R"("Name" ANSWER)", "what an area made of its last event", ParseExpectArea},
    {"problems", "N", "so many since the last such line; they count no more", ParseExpectProblems},
};

constexpr Choice userChoices[] = {
    {"type", R"("object" "text")", "into a field", ParseUserType},
    {"click", R"("object")", "a button, a check box or anything else", ParseUserClick},
    {"choose", R"("list" ROW)", "a row of a list, from 1; 0 for none", ParseUserChoose},
    {"check", R"("box" on|off|mixed)", "a check box", ParseUserCheck},
    {"page", "N", "goes to a page", ParseUserPage},
    {"drag", R"("object" "object")", "from the one to the other", ParseUserDrag},
    {"validate", "", "presses Return", ParseUserValidate},
    {"cancel", "", "presses Escape, as for want of actions", ParseUserCancel},
    {"area", R"("object" event EVENT)", "is no turn: an area of the dialog gets an event",
     ParseUserArea},
    {"sees", "STATE", "is no turn: an expectation of what is there before the next one",
     ParseUserSees},
    {"picture", R"("name")", "is no turn either: a picture of what is there, as below",
     ParseUserPicture},
};

// Only explained here: the area's name stands in front of these words.
constexpr Choice areaChoices[] = {
    {"create",
     "command N [title \"...\"] [rect T L B R] [table N] [page N] [droppable] [list] [printing]",
     "its events go to this command", nullptr},
    {"event", "EVENT", "an event, whose answer the transcript shows", nullptr},
    {"delete", "", "its last event", nullptr},
};

Action ParseUser(Words& words) {
    return ParseChoice(userChoices, words);
}

Action ParseAnswer(Words& words) {
    return ParseChoice(answerChoices, words);
}

Action ParseProcess(Words& words) {
    return ParseChoice(processChoices, words);
}

Action ParseSet(Words& words) {
    return ParseChoice(settings, words);
}

Action ParseWindow(Words& words) {
    return ParseChoice(windowChoices, words);
}

Action ParseExpect(Words& words) {
    return ParseChoice(expectations, words);
}

Action ParseFail(Words& words) {
    std::string name = TakeCallName(words);
    const long code = words.TakeNumber("the result code", -0x8000, 0x7FFF);
    return [name, code](Player& player) { player.host.FailNext(name, static_cast<short>(code)); };
}

struct StatementRow {
    StatementKind kind;
    std::span<const Choice> choices; ///< explained beneath it
};

const StatementRow statements[] = {
    {{"start", "[-1|-200]", "initialises the plug-in", ParseStart}, {}},
    {{"stop", "[-2|-220]", "de-initialises it", ParseStop}, {}},
    {{"call", "N [KIND VALUE]... [-> KIND [VALUE]]",
      "calls command N; -> long takes any long for a result", ParseCall},
     {}},
    {{"background", "call ...", "the same in a process of its own, which `run` lets run",
      ParseBackground},
     {}},
    {{"database", "\"FILE\"", "gives the host the tables of a file beside the script",
      ParseDatabaseStatement},
     {}},
    {{"method", R"("Name" "SOURCE")", "the database has a method; \\r ends its lines", ParseMethod},
     {}},
    {{"answer", "...", "what the user does next", ParseAnswer}, answerChoices},
    {{"user", "...", "what the user does in the next turn of a dialog", ParseUser}, userChoices},
    {{"area", "\"Name\" ...", "an area in a form of the host", ParseArea}, areaChoices},
    {{"process", "...", "starts and ends processes of the host", ParseProcess}, processChoices},
    {{"event", "process N|\"Name\" WHAT MESSAGE [WHEN V H MODIFIERS]",
      "puts an event into a process's queue; it happens now unless WHEN says otherwise",
      ParseEvent},
     {}},
    {{"run", "[ticks N]",
      "lets the processes run until they have come to rest, or for N ticks (1/60 s)", ParseRun},
     {}},
    {{"host", "\"Name\" role server|client [version V]",
      "a further host with a copy of the plug-in; what follows concerns it", ParseHostStatement},
     {}},
    {{"on", "\"Name\"", "what follows concerns this host", ParseOn}, {}},
    {{"connect", "\"Name\" [refused]", "a client comes to the server, which lets it in or not",
      ParseConnect},
     {}},
    {{"disconnect", "\"Name\"", "a client leaves the server", ParseDisconnect}, {}},
    {{"network", "pass|delay TICKS|drop CODE|cut BYTES|corrupt SEED",
      "what happens to the next request of a client; said several times, to those after it",
      ParseNetwork},
     {}},
    {{"window", "...", "opens and closes windows of the host", ParseWindow}, windowChoices},
    {{"set", "...", "changes the host", ParseSet}, settings},
    {{"fail", "NAME CODE", "the next such call into the host only answers this result code",
      ParseFail},
     {}},
    {{"expect", "...", "states what has to be so", ParseExpect}, expectations},
    {{"picture", "\"name\"", "saves the frontmost window as name.png where --pictures says",
      ParsePicture},
     {}},
    {{"echo", "\"text\"", "prints the text", ParseEcho}, {}},
    {{"show", "\"PATH\"", "prints a text file", ParseShow}, {}},
};

struct KindHelp {
    std::string_view usage;
    std::string_view help;
};

constexpr KindHelp kindHelp[] = {
    {"short N, long N", "16 and 32 bits; decimal, or hexadecimal with 0x"},
    {"boolean true|false|N", "one byte"},
    {"real X, extended X", "64-bit, and the host's 10 bytes"},
    {R"(string "...")", "Pascal string of at most 255 bytes"},
    {R"(text "...")", "text block of at most 32000 bytes"},
    {"date YYYY-MM-DD", "0000-00-00 is the empty date"},
    {"rect TOP LEFT BOTTOM RIGHT", "16 bits each"},
    {"event WHAT MESSAGE WHEN V H MODIFIERS", "toolbox event; WHEN in ticks"},
    {R"(picture "..."|null, handle "..."|null)", "handle with these bytes"},
    {R"(array long N..., array text "..."...)", "whole arrays, elements 1 and on; so are"},
    {"", "real, integer, boolean, date and picture arrays"},
    {R"(array string SIZE "..."...)", "the strings lie in slots of so many bytes"},
    {"array array KIND / ELEMENT... / ...", "rows of arrays of this kind"},
    {"value KIND VALUE", "the host's tagged value of any kind above but short, extended,"},
    {"", "rect, event, picture, handle and arrays; besides these:"},
    {R"(  time SECONDS, blob "..."|null, undefined)", ""},
    {"pointer KIND VALUE|null", "laid out as the host's compiled flags say"},
    {R"(unicode "...", array unicode "..."...)", "UTF-8; only in variables, from 11.0 on"},
    {"none", "only as a result: the command must leave the result alone"},
};

void PrintLine(std::ostream& out, size_t indent, std::string text, std::string_view help) {
    constexpr size_t column = 50;
    text.insert(0, indent, ' ');
    if (!help.empty()) {
        text.resize(std::max(text.size() + 2, column), ' ');
    }
    out << text << help << "\n";
}
} // namespace

const StatementKind* FindStatementKind(std::string_view name) {
    for (const StatementRow& row : statements) {
        if (row.kind.name == name) {
            return &row.kind;
        }
    }
    return nullptr;
}

void PrintLanguageHelp(std::ostream& out) {
    out << "A script has one statement on a line; # begins a comment. Strings stand in quotation\n"
           "marks and know the escapes "
        << R"(\" \\ \n \r \t \xNN)"
        << ". Variables in them stand for folders, with a\nbackslash at the end; a dollar sign "
           "that "
           "is none is \\x24:\n"
        << DescribeVariables() << "\nStatements:\n";
    for (const StatementRow& row : statements) {
        std::string name(row.kind.name);
        PrintLine(out, 2, name + " " + std::string(row.kind.usage), row.kind.help);
        for (const Choice& choice : row.choices) {
            PrintLine(out, 4,
                      name + " " + std::string(choice.name) + " " + std::string(choice.usage),
                      choice.help);
        }
    }
    out << "\nKinds and values:\n";
    for (const KindHelp& kind : kindHelp) {
        PrintLine(out, 2, std::string(kind.usage), kind.help);
    }
    out << "\nNAME is the name of a host call and FIELD a field of its record, both as the\n"
           "transcript shows them. A field's value is a number or a string.\n"
           "STATE of a dialog: validated, cancelled, page N, title \"...\"; or an object's name "
           "and\n"
           "value KIND VALUE, title \"...\", rows \"...\"..., chosen ROW, enabled, disabled, "
           "visible,\n"
           "invisible, editable or locked.\n"
           "EVENT of an area: a code, or one of\n"
        << DescribeAreaWords()
        << ";\nbehind it message N, at V H, time N, modifiers N, rect TOP LEFT BOTTOM RIGHT. The\n"
           "message of drag, drop, menus, show-properties and dispose-properties is the address\n"
           "of a record of the host; 602 is sent by create.\n"
           "ANSWER: message N, time N, modifiers N, draws \"...\" (as the transcript says), draws "
           "nothing.\n";
}
