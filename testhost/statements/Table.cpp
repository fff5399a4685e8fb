#include "testhost/statements/Table.h"

#include "testhost/session/Player.h"
#include "testhost/session/TextFile.h"
#include "testhost/session/Variables.h"
#include "testhost/session/WordTable.h"
#include "testhost/statements/Parsers.h"

#include <algorithm>
#include <span>

namespace {
using Row = WordRow<Parser>;

constexpr Row processChoices[] = {
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

constexpr Row settings[] = {
    {"version", "V", "before the plug-in starts: the host's version, as --version says it",
     ParseSetVersion},
    {"role", "single|client|server", "before the plug-in starts: the same as --role", ParseSetRole},
    {"strict", "on|off", "unlocked handles move with every memory call, as with --strict",
     ParseSetStrict},
    {"structure", "on|off", "a database is open; else the host names no structure, folder or file",
     ParseOption<&HostOptions::hasStructure>},
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
    {"colour", "background|white|grey|black RED GREEN BLUE",
     "one of the system's colours; 16 bits each", ParseSetColour},
    {"update-context", "N", "the drawing context of the update under way", ParseSetUpdateContext},
};

constexpr Row forced[] = {
    {"start", "[-1|-200]", "also what is started", ParseForceStart},
    {"stop", "[-2|-220]", "also what is not", ParseForceStop},
    {"call", "N [KIND VALUE]... [-> KIND [VALUE]]", "also before the start and after the stop",
     ParseForceCall},
};

constexpr Row failures[] = {
    {"call", "N CODE", "the same of the N-th call from now, whichever it is", ParseFailCall},
    {"memory", "N", "the plug-in's N-th allocation from now fails", ParseFailMemory},
    {"file", "N", "its N-th file call of the toolbox from now fails", ParseFailFile},
};

constexpr Row requests[] = {
    {"connect", "[from COOKIE]", "a client asks to be let in (-201), and gets a process",
     ParseRequestConnect},
    {"disconnect", "[from COOKIE]", "it goes (-202), and its process ends", ParseRequestDisconnect},
    {"write", R"(ID KIND "BYTES"|null [from COOKIE])", "its data (-206)", ParseRequestWrite},
    {"read", "ID KIND [from COOKIE]", "asks for data (-205), which are printed", ParseRequestRead},
    {"cleanup", "ID KIND [from COOKIE]", "is done with what the last such read answered (-207)",
     ParseRequestCleanup},
};

constexpr Row answerChoices[] = {
    {"confirm", "ok|cancel", "presses this in the next confirmation box (else OK)",
     ParseAnswerConfirm},
    {"formula", R"("text"|cancel)", "enters this when a formula is edited (else cancels)",
     ParseAnswerFormula},
    {"picture", R"("DATA"|cancel)", "draws this when a picture is edited (else cancels)",
     ParseAnswerPicture},
};

constexpr Row windowChoices[] = {
    {"add", R"(process N|"Name" kind K [invisible])", "a window opens in front of all others",
     ParseWindowAdd},
    {"clear", "", "every window closes", ParseWindowClear},
};

constexpr Row absences[] = {
    {"call", "NAME", "the host was not called so", ParseExpectNoCall},
    {"file", R"("PATH")", "nothing is at this path", ParseExpectNoFile},
};

constexpr Row expectations[] = {
    {"param", "N KIND VALUE", "parameter N of the last command, as it is now",
     ParseExpectParameter},
    {"result", "KIND VALUE", "the result of the last command", ParseExpectResult},
    {"variable", R"("Name" KIND VALUE)", "a variable; undefined when nobody set it",
     ParseExpectVariable},
    {"chosen", R"("Name" N)", "the current element of an array variable", ParseExpectChosen},
    {"call", "NAME [times N]", "the host was called so since the plug-in was last entered",
     ParseExpectCall},
    {"no", "", "", nullptr, absences},
    {"sent", "NAME FIELD VALUE", "a field of the last such call, as the plug-in sent it",
     ParseExpectSent},
    {"answered", "NAME FIELD VALUE", "the same, as the host answered it", ParseExpectAnswered},
    {"file", R"("PATH" ["CONTENTS" | holding "TEXT"])",
     "a file is at this path, with just these bytes, or this text in it", ParseExpectFile},
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
    {"same", R"("NAME")", "the last command did what was remembered so: calls, result, parameters",
     ParseExpectSame},
    {"problems", "N", "so many since the last such line; they count no more", ParseExpectProblems},
};

constexpr Row userChoices[] = {
    {"type", R"("object" "text")", "into a field", ParseUserType},
    {"click", R"("object")", "a button, a check box or anything else", ParseUserClick},
    {"choose", R"("list" ROW)", "a row of a list, from 1; 0 for none", ParseUserChoose},
    {"check", R"("box" on|off|mixed)", "a check box", ParseUserCheck},
    {"page", "N", "goes to a page", ParseUserPage},
    {"drag", R"("object" "object")", "from the one to the other", ParseUserDrag},
    {"validate", "", "presses Return", ParseUserValidate},
    {"cancel", "", "presses Escape, as for want of actions", ParseUserCancel},
    {"dying", "", "is a turn in which nothing happens but that the process is asked to end",
     ParseUserDying},
    {"area", R"("object" event EVENT)", "is no turn: an area of the dialog gets an event",
     ParseUserArea},
    {"sees", "STATE", "is no turn: an expectation of what is there before the next one",
     ParseUserSees},
    {"picture", R"("name")", "is no turn either: a picture of what is there, as below",
     ParseUserPicture},
};

// Only explained here: ParseArea takes the area's name and what follows it.
constexpr Row areaChoices[] = {
    {R"("Name" create)",
     "command N [title \"...\"] [rect T L B R] [table N] [page N] [droppable] [list] [printing]",
     "its events go to this command", nullptr},
    {R"("Name" event)", "EVENT", "an event, whose answer the transcript shows", nullptr},
    {R"("Name" delete)", "", "its last event", nullptr},
    {R"("Name" delete within)", "EVENT", "the same amid this event, at the plug-in's first call",
     nullptr},
};

constexpr Row statements[] = {
    {"start", "[-1|-200]", "initialises the plug-in", ParseStart},
    {"stop", "[-2|-220]", "de-initialises it", ParseStop},
    {"call", R"(N|"Name" [KIND VALUE]... [-> KIND [VALUE]])",
     "calls a command; -> long takes any long for a result", ParseCall},
    {"force", "...", "the host does it out of its order", nullptr, forced},
    {"selector", "N [NUMBER]", "enters FourDPack with any selector, known or not", ParseSelector},
    {"request", "...", "a server's plug-in gets a request, from whomever", nullptr, requests},
    {"reload", "[N]", "while the plug-in is not started: its DLL is unloaded and loaded anew",
     ParseReload},
    {"remember", R"("NAME")", "what the last command did, for `expect same`", ParseRemember},
    {"background", "call ...", "the same in a process of its own, which `run` lets run",
     ParseBackground},
    {"database", "\"FILE\"", "gives the host the tables of a file beside the script",
     ParseDatabaseStatement},
    {"structure", R"(resource "TYPE" ID ["NAME"] "BYTES")",
     "the structure has this resource from the start", ParseStructureResource},
    {"method", R"("Name" "SOURCE")", "the database has a method; \\r ends its lines", ParseMethod},
    {"answer", "...", "what the user does next", nullptr, answerChoices},
    {"user", "...", "what the user does in the next turn of a dialog", nullptr, userChoices},
    {"area", "\"Name\" ...", "an area in a form of the host", ParseArea, areaChoices},
    {"process", "...", "starts and ends processes of the host", nullptr, processChoices},
    {"event", "process N|\"Name\" WHAT MESSAGE [WHEN V H MODIFIERS]",
     "puts an event into a process's queue; it happens now unless WHEN says otherwise", ParseEvent},
    {"run", "[ticks N]",
     "lets the processes run until they have come to rest, or for N ticks (1/60 s)", ParseRun},
    {"host", "\"Name\" role server|client [version V]",
     "a further host with a copy of the plug-in; what follows concerns it", ParseHostStatement},
    {"on", "\"Name\"", "what follows concerns this host", ParseOn},
    {"connect", "\"Name\" [refused]", "a client comes to the server, which lets it in or not",
     ParseConnect},
    {"disconnect", "\"Name\"", "a client leaves the server", ParseDisconnect},
    {"network", "pass|delay TICKS|drop CODE|cut BYTES|corrupt SEED",
     "what happens to the next request of a client; said several times, to those after it",
     ParseNetwork},
    {"window", "...", "opens and closes windows of the host", nullptr, windowChoices},
    {"set", "...", "changes the host", nullptr, settings},
    {"fail", "NAME CODE", "the next such call into the host only answers this result code",
     ParseFail, failures},
    {"expect", "...", "states what has to be so", nullptr, expectations},
    {"picture", "\"name\"", "saves the frontmost window as name.png where --pictures says",
     ParsePicture},
    {"echo", "\"text\"", "prints the text", ParseEcho},
    {"show", "\"PATH\"", "prints a text file", ParseShow},
};

struct KindHelp {
    std::string_view usage;
    std::string_view help;
};

constexpr KindHelp kindHelp[] = {
    {"short N, long N", "16 and 32 bits; decimal, or hexadecimal with 0x"},
    {"boolean true|false|N", "one byte"},
    {"real X, extended X", "64-bit, and the host's 10 bytes; also nan, inf and -inf"},
    {R"(string "...")", "Pascal string of at most 255 bytes"},
    {R"(text "..."|null)", "text block of at most 32000 bytes; null is the empty one"},
    {R"(KIND repeat N "...")", "N times these bytes: of strings, texts, handles and the like"},
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

// What the words behind a row do.
Action Parse(const Row& row, Words& words) {
    if (const auto* choice = TakeRow<Row>(row.choices, words)) {
        return Parse(*choice, words);
    }
    if (row.read != nullptr) {
        return row.read(words);
    }
    std::string names;
    for (const Row& choice : row.choices) {
        names += (names.empty() ? "'" : ", '") + std::string(choice.word) + "'";
    }
    words.TakeWord("one of " + names);
    throw ScriptError("expected one of " + names);
}

// The action of a line; nothing for an empty one.
Action ParseLine(Words words) {
    if (words.AtEnd()) {
        return {};
    }
    const auto* row = TakeRow<Row>(statements, words);
    if (row == nullptr) {
        throw ScriptError("unknown statement '" + words.TakeWord("a statement") + "'");
    }
    Action action = Parse(*row, words);
    words.ExpectEnd();
    return action;
}

// What a line's variables stand for is known only when it is played, so it is read again then.
Action PlayLine(std::string line) {
    return [line = std::move(line)](Player& player) {
        Words words(line, [&](std::string_view name) { return FindVariable(name).value(player); });
        ParseLine(std::move(words))(player);
    };
}

// Statements that say what the host is, by their first words.
constexpr std::string_view setUps[] = {"database", "host", "method",    "on",
                                       "process",  "set",  "structure", "window"};

Statement MakeStatement(size_t line, std::string_view content) {
    constexpr std::string_view blanks = " \t\r";
    content.remove_prefix(std::min(content.find_first_not_of(blanks), content.size()));
    content = content.substr(0, content.find_last_not_of(blanks) + 1);
    const std::string_view word = content.substr(0, content.find_first_of(blanks));
    return {.line = line,
            .text = std::string(content),
            .starts = word == "start",
            .setsUp = std::ranges::find(setUps, word) != std::end(setUps),
            .play = PlayLine(std::string(content))};
}
} // namespace

Script ParseScript(std::string_view text, std::string name) {
    Script script{.name = std::move(name), .statements = {}, .errors = {}};
    LineReader lines(text, script.name);
    lines.ForEach([&](std::string_view content, size_t line) {
        // Checked as if they stood for nothing: what they stand for may be too long only later.
        Words words(content, [](std::string_view variable) {
            FindVariable(variable);
            return std::wstring();
        });
        if (ParseLine(std::move(words))) {
            script.statements.push_back(MakeStatement(line, content));
        }
    });
    script.errors = std::move(lines.errors);
    return script;
}

void PrintLanguageHelp(std::ostream& out) {
    out << "A script has one statement on a line; # begins a comment. Strings stand in quotation\n"
           "marks and know the escapes "
        << R"(\" \\ \n \r \t \xNN)"
        << ". Variables in them stand for folders, with a\nbackslash at the end; a dollar sign "
           "that "
           "is none is \\x24:\n"
        << DescribeVariables() << "\nStatements:\n";
    PrintRows<Row>(out, 2, statements);
    out << "\nKinds and values:\n";
    for (const KindHelp& kind : kindHelp) {
        PrintHelpLine(out, 2, std::string(kind.usage), kind.help);
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
