// The session scripts of the stand-in host: how they are read, and how they are played.

#include "host/boundary/Selectors.h"
#include "platform/Toolbox.h"
#include "testhost/plugins/PortableExecutable.h"
#include "testhost/session/Player.h"
#include "testhost/session/Values.h"
#include "testhost/statements/Table.h"
#include "testhost/values/Encodings.h"
#include "tests/Fixture.h"

#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <iterator>
#include <sstream>

#include <windows.h>

namespace {

using testing::HasSubstr;

PackInitBlock init;
long* kept[2];

// Size of a handle, which is disposed of.
long TakenSize(Handle handle) {
    const long size = handle != nullptr ? GetHandleSize(handle) : 0;
    if (handle != nullptr) {
        DisposeHandle(handle);
    }
    return size;
}

// A plug-in in one function. It behaves badly where its commands say so.
HOST_ENTRY void FakePlugin(long selector, void* params, void*, void* result) {
    void** parameters = static_cast<void**>(params);
    auto* cell = static_cast<long*>(result);
    ParameterBlock block{};
    Handle handle = nullptr;
    char* bytes = nullptr;
    switch (selector) {
    case -1: // starts properly
        init = *static_cast<PackInitBlock*>(params);
        static_cast<PackInitBlock*>(params)->acceptedVersion = init.hostVersion;
        break;
    case 1: // (long) -> long: adds 1, also in place
        *cell = ++*static_cast<long*>(parameters[0]);
        break;
    case 2: // (process) -> long: its state, asked with a stray byte
        block.param1 = *static_cast<long*>(parameters[0]);
        block.param2 = 0x12;
        init.classicCallBack(Select("ProcessInfo").classic, &block);
        *cell = block.param2;
        break;
    case 3: // (short): writes behind its parameter
        static_cast<short*>(parameters[0])[1] = 0;
        break;
    case 4: // (pointer to a long, in a compiled database): adds 1
        ++**reinterpret_cast<long**>(static_cast<ValueBlock*>(parameters[0])->pointer);
        break;
    case 5: // a call that no host has
        init.classicCallBack(12345, &block);
        break;
    case 6: // () -> long: name of the structure file, asked the classic way
        init.classicCallBack(Select("ProgramInfo").classic, &block);
        *cell = block.name[0];
        break;
    case 7: // (string): writes a file of this path
        std::ofstream(PascalString::TextOf(static_cast<unsigned char*>(parameters[0]))) << "made";
        break;
    case 8: // (event of an area): counts in the host's record, and writes behind that of a drag
        if (auto* event = static_cast<EventRecord*>(parameters[0]); event->message != 0) {
            auto* record = reinterpret_cast<unsigned char*>(event->message);
            record = event->what == 43 ? *reinterpret_cast<unsigned char**>(record) : record;
            event->modifiers = ++record[event->what == 80 ? 256 : 255];
        }
        break;
    case 10: // (long): so many calls with a stray byte
        for (long count = *static_cast<long*>(parameters[0]); count > 0; --count) {
            block = {};
            block.param2 = 0x12;
            init.classicCallBack(Select("ProcessInfo").classic, &block);
        }
        break;
    case 11: // () -> long: sums up what the user draws, a colour, a context and a resource
        init.classicCallBack(Select("SystemColors").classic, &block);
        *cell = reinterpret_cast<SysColors4D*>(block.handle)->colors[2].red;
        block = {};
        init.classicCallBack(Select("UpdateDrawingContext").classic, &block);
        *cell += block.param1;
        block = {};
        init.classicCallBack(Select("EditPicture").classic, &block);
        *cell += block.param1 != 0 ? TakenSize(block.handle) : 0;
        block = {};
        block.param1 = StructureResources::structureFile;
        block.param2 = 0x44617461; // Data
        block.param3 = 5;
        init.classicCallBack(Select("GetRes").classic, &block);
        *cell += TakenSize(block.handle);
        break;
    case 12: // (): a handle is disposed of twice and then written to, two more are left over
        PtrToHand("gone", &handle, 4);
        bytes = *handle;
        DisposeHandle(handle);
        DisposeHandle(handle);
        bytes[2] = 'x';
        PtrToHand("left", &handle, 4);
        PtrToHand("left", &handle, 4);
        break;
    case 13: // (long) -> long: keeps where both are
        kept[0] = static_cast<long*>(parameters[0]);
        kept[1] = cell;
        break;
    case 14: // (long): writes to the parameter, or the result, that was kept
        ++*kept[*static_cast<long*>(parameters[0])];
        break;
    case 15: // () -> long: how many of two handles it gets
        for (int count = 0; count < 2; ++count) {
            handle = NewHandle(4);
            *cell += handle != nullptr ? 1 : 0;
            DisposeHandle(handle);
        }
        break;
    case 16: // (event of an area): leaves something in the area's place
        *static_cast<long*>(parameters[3]) = 7;
        break;
    case 17: // (long) -> long: the free stack, when there are so many bytes
        block.param1 = *static_cast<long*>(parameters[0]);
        init.classicCallBack(Select("CheckFreeStack").classic, &block);
        *cell = block.error != 0 ? block.error : block.param2;
        break;
    case 18: // () -> long: what a host without engine answers there
        *cell = init.engineCallBack(Select("CurrentProcess").engine, nullptr);
        break;
    case 19: // () -> long: a call without a record
        *cell = init.classicCallBack(Select("CurrentProcess").classic, nullptr);
        break;
    case -201: // lets everybody in
    case 31000:
        *cell = 1;
        break;
    case -205: // answers what is nowhere
        static_cast<char*>(params)[6] = 4;
        std::memset(static_cast<char*>(params) + 7, 0, 3);
        *cell = 8;
        break;
    default:
        break;
    }
}

// What it says of its first commands; not all of it is right.
HOST_ENTRY const PlugInfo* FakeInfo() {
    static constexpr CommandEntry commands[] = {
        {"Add", "(&long) -> long", nullptr},
        {"State", "(long process) -> long", nullptr},
        {"Overrun", "(short", nullptr},
        {"Add to target", "(pointer)", nullptr},
    };
    static constexpr PlugInfo info = {.reserved = 0,
                                      .recordVersion = 1,
                                      .recordSize = sizeof info,
                                      .productName = "Fake",
                                      .creator = 0,
                                      .version = 0,
                                      .resourceID = 0,
                                      .resourceFile = 0,
                                      .spare = 0,
                                      .commandCount = std::size(commands),
                                      .commands = commands};
    return &info;
}

const std::filesystem::path toolboxFile = [] {
    wchar_t path[MAX_PATH];
    GetModuleFileNameW(GetModuleHandleW(L"ASINTPPC.dll"), path, std::size(path));
    return std::filesystem::path(path);
}();

struct Played {
    bool good;
    std::string output;
    std::string whole; ///< as its file has it
};

// How many lines of a text begin like this.
long Lines(const std::string& text, const std::string& begin) {
    std::istringstream lines(text);
    long count = 0;
    for (std::string line; std::getline(lines, line);) {
        count += line.starts_with(begin) ? 1 : 0;
    }
    return count;
}

Played Play(const std::string& text,
            const std::filesystem::path& libraryFolder = toolboxFile.parent_path() / "",
            PlugInfoEntry describe = nullptr) {
    Script script = ParseScript(text, "script");
    EXPECT_EQ(script.errors, std::vector<std::string>{});
    Host host;
    Session session(host, {FakePlugin, nullptr, describe});
    std::ostringstream out;
    Player player(session, {out, false});
    std::ostringstream whole;
    player.stage.transcript.file = &whole;
    player.libraryFolder = libraryFolder;
    bool good = player.Play(script);
    return {good, out.str(), whole.str()};
}

TEST(TesthostScriptTest, EveryWrongLineIsToldAtOnceWithItsNumber) {
    std::string many;
    for (int count = 0; count < 256; ++count) {
        many += " long 1";
    }
    std::string deep;
    for (int count = 0; count < 30; ++count) {
        deep += " pointer";
    }
    struct Row {
        std::string line;
        const char* error;
    };
    const Row rows[] = {
        {"begin", "unknown statement 'begin'"},
        {"\"start\"", "expected a statement, found \"start\""},
        {"start -2", "-1 or -200"},
        {"start -1 now", "expected the end of the line, found 'now'"},
        {"call", "expected a command's number or name, found the end of the line"},
        {"call 0", "a command's number is 1 or more"},
        {"background call \"\" long 1", "a command's name is not empty"},
        {"call 3" + many, "at most 255 parameters"},
        {"call 3" + deep, "point to pointers too often"},
        {"call 3 lang 7", "unknown kind 'lang'"},
        {"call 3 short 32768", "a short from -32768 to 32767, found '32768'"},
        {"call 3 long 4294967296", "expected a long"},
        {"call 3 long 7x", "expected a long, found '7x'"},
        {"call 3 date 2026-11", "no date"},
        {"call 3 date 2026-13-45", "no calendar has the date 2026-13-45"},
        {"call 3 text to", "a text in quotation marks, found 'to'"},
        {"call 3 text \"to", "does not end"},
        {R"(call 3 text "\q")", "unknown escape"},
        {R"(call 3 text "\x4")", "two hexadecimal digits"},
        {"call 3 rect 1 2 3", "expected right"},
        {"call 3 value rect 1 2 3 4", "a value cannot be of the kind rect"},
        {"call 3 none", "a parameter cannot"},
        {"call 3 time 7", "stands in a value only"},
        {"call 3 -> rect", "cannot have a result of the kind rect"},
        {"expect call Nobody", "the host has no call 'Nobody'"},
        {"expect sent CurrentProcess param9 1", "no field 'param9'"},
        {"expect sent CurrentProcess name 1", "text in quotation marks"},
        {"expect something", "one of 'param', 'result'"},
        {"process end 0", "from 1"},
        {"set compiled maybe", "'on' or 'off'"},
        {"set colour red 1 2 3", "background, white, grey and black"},
        {"set colour grey 1 2 65536", "blue from 0 to 65535"},
        {"answer picture", "the picture's bytes or 'cancel'"},
        {R"(structure resource "STR" 1 "x")", "a type has four characters"},
        {"window add kind 8", "'process'"},
        {"call 1 array array array", "no such arrays themselves"},
        {"call 1 unicode \"a\"", "in variables only"},
        {"set variable \"\" long 1", "no variable has the name"},
        {R"(set picture "a" "PICT")", "its data in quotation marks"},
        {"fail Nobody -1", "the host has no call 'Nobody'"},
        {"fail ProgramInfo 32768", "the result code from -32768 to 32767"},
        {"expect variable \"a\" rect 1 2 3 4", "cannot be of the kind rect"},
        {"set chosen \"\" 1", "no variable has the name"},
        {"expect chosen \"a\" 32768", "an element from -32768 to 32767"},
        {"set version 5.0", "a version is 6.0 to 12.x"},
        {"set role king", "single, client or server"},
        {"fail memory 0", "counted from 1, from 1"},
        {"force", "one of 'start', 'stop', 'call'"},
        {"request read 1", "expected the kind"},
        {"reload 0", "how often from 1"},
        {"call 1 text repeat 32001 \"x\"", "at most 32000 bytes"},
        {"call 1 picture repeat 9000000 \"x\" picture repeat 9000000 \"y\"", "more than 16 MB"},
        {"call 1 array picture repeat 20000000 \"x\"", "more than 16 MB"},
        {"call 1 array string 4 \"four\"", "a slot of 4 bytes"},
        {R"(echo "${nothing}")", "unknown variable '${nothing}'"},
        {R"(echo "${temp")", "does not end"},
        {"expect no file", "the file's path in quotation marks"},
        {"expect no folder \"x\"", "one of 'call', 'file'"},
        {"stop -3", "stopped with -2 or -220"},
        {"answer confirm maybe", "expected 'ok' or 'cancel'"},
        {R"(host "a b" role client)", "1 to 31 letters"},
        {R"(host "a" role king)", "'server' or 'client'"},
        {"network lose", "expected 'pass', 'delay'"},
        {"call 1 array lang 1", "unknown kind 'array lang'"},
        {"call 1 text repeat 9000000 \"xy\"", "more than 16 MB"},
        {"structure resource \"Data\" 1 \"" + std::string(256, 'n') + "\" \"\"",
         "at most 255 bytes"},
        {"area \"" + std::string(256, 'n') + "\" delete", "the name is too long"},
        {"area \"A\" draw", "stand create, event or delete"},
        {"area \"A\" create title \"T\"", "expected 'command' and the number"},
        {"area \"A\" create command 1 colour", "expected command, title, rect"},
        {"area \"A\" event nonsense", "no event of an area is called 'nonsense'"},
        {"area \"A\" event 602", "event 602 has an init block"},
        {"area \"A\" event menus message 5", "the message of event 43 is the address"},
        {"area \"A\" event 1 size 3", "behind an event stand message"},
        {"user area \"A\" event 1 rect 1 2 3 4", "the form says where"},
        {"expect area \"A\" colour", "message, time, modifiers or draws"},
        {"user sees \"a\" red", "behind an object stand value, title"},
        {"user sees red", "expected an object's name, validated"},
    };
    std::string text;
    for (const Row& row : rows) {
        text += "# good\n" + row.line + "\r\n";
    }
    Script script = ParseScript(text, "file");
    ASSERT_EQ(script.errors.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_THAT(script.errors[i], HasSubstr("file:" + std::to_string(2 * i + 2) + ": "));
        EXPECT_THAT(script.errors[i], HasSubstr(rows[i].error));
    }
}

TEST(TesthostScriptTest, ValuesSurviveTheHostsStorage) {
    const char* const values[] = {
        "short -32768",
        "long -2147483648",
        "boolean true",
        "boolean 7",
        "real 0.1",
        "extended -2.5e+300",
        R"(string "a\"\\\n\r\t\x00\xFF")",
        R"(text "")",
        R"(text "to be # or not")",
        "date 2026-11-21",
        "date 0000-00-00",
        "rect 10 20 110 -220",
        "event 1 -2 3 4 -5 65535",
        R"(picture "\x01\x02")",
        "picture null",
        "handle null",
        "array long",
        "array long 1 -2 3",
        R"(array text "one" "" "three")",
        "array integer -1 2",
        "array real 1.5 -2",
        "array boolean true false 7",
        "array date 2026-11-21",
        R"(array picture "\x01" null)",
        R"(array string 8 "ab" "")",
        "array array long / 1 2 / 3",
        "value real 1.5",
        R"(value text "abc")",
        R"(value string "abc")",
        "value date 1999-12-31",
        "value boolean false",
        "value long 7",
        "value time 3600",
        R"(value blob "\x00\x01")",
        "value undefined",
        "value pointer long 5",
        R"(pointer text "target")",
        "pointer value long 5",
        "pointer null",
    };
    for (const char* text : values) {
        Words words(text);
        TypedValue value = TakeValue(words);
        words.ExpectEnd();
        EXPECT_EQ(Describe(value), text);
        for (bool compiled : {false, true}) {
            Arguments arguments({value}, compiled);
            EXPECT_EQ(arguments.At(1), value) << (compiled ? "compiled" : "interpreted");
            EXPECT_EQ(arguments.StorageAt(1).GuardProblem(), std::nullopt) << text;
        }
    }
    // Rows of no array's type, which only a plug-in can leave.
    EXPECT_EQ(Describe(ArrayValue(ValueKind::ArrayOfArrays, {})), "array array none");
    for (const char* text : {"real nan", "extended -inf"}) {
        Words words(text);
        const TypedValue value = TakeValue(words);
        EXPECT_EQ(Arguments({value}).At(1), value) << text;
    }
    Words repeated("string repeat 3 \"ab\"");
    EXPECT_EQ(TakeValue(repeated), StringValue("ababab"));
    Words hexadecimal("long 0xFFFFFFFE");
    EXPECT_EQ(TakeValue(hexadecimal), LongValue(-2));
}

TEST(TesthostScriptTest, ScriptWhoseExpectationsHold) {
    Played played = Play("start\n"
                         "process start \"Mine\"\n"
                         "call 1 long 41 -> long 42\n"
                         "expect param 1 long 42\n"
                         "expect no call ProcessInfo\n"
                         "call 6 -> long\n"
                         "expect call ProgramInfo times 1\n"
                         "expect answered ProgramInfo name \"Demo.4DB\"\n"
                         "set compiled on\n"
                         "call 4 pointer long 7\n"
                         "expect param 1 pointer long 8\n"
                         "process end \"Mine\"\n"
                         "call 2 long 4 -> long -1\n"
                         "expect sent ProcessInfo param1 4\n"
                         "expect problems 1 # the stray byte\n"
                         "stop\n");
    EXPECT_TRUE(played.good) << played.output;
    EXPECT_THAT(played.output, HasSubstr("  ← ProcessInfo (94, classic)  param1 = 4, param2 = 18"
                                         "  → param2 = -1, valueText = \"Mine\""));
    EXPECT_THAT(played.output, HasSubstr("9 expectations held, 0 failed, 0 problems"));
}

TEST(TesthostScriptTest, WhatFailsIsSaidAndPlayGoesOn) {
    struct Row {
        const char* lines;
        const char* said;
    };
    const Row rows[] = {
        {"call 1 long 1 -> long 3", "FAILED script:2: expected long 3, got long 2"},
        {"call 1 long 1", "say of which kind"},
        {"call 9 -> long 1", "expected long 1, got long 0"},
        {"call 9\nexpect param 1 long 1", "has no parameter 1"},
        {"call 1 long 1 -> long\nexpect param 1 long 1", "expected long 1, got long 2"},
        {"call 9\nexpect call CurrentProcess", "a call of CurrentProcess, got 0"},
        {"call 6 -> long\nexpect no call ProgramInfo", "no call of ProgramInfo, got 1"},
        {"call 2 long 1 -> long\nexpect sent ProcessInfo uniText \"\"", "no such field"},
        {"call 2 long 1 -> long 0", "selector 94 (ProcessInfo): stray byte 0x12 at offset 276"
                                    " (param2)"},
        {"call 3 short 1", "parameter 1 was written behind its 2 bytes"},
        {"call 5", "Selector 12345 is no classic call"},
        {"process end 9", "the host has no process 9"},
        {"call 12", "was already disposed, under script:2, command 12()"},
        {"call 12",
         "PROBLEM script:2: Toolbox: at the end of script:2, command 12(): bytes of former"},
        {"call 12",
         "PROBLEM script:end: 2 handles of 4 bytes (6C 65 66 74 \"left\") that were made "
         "under script:2, command 12() are still alive."},
        {"call 13 long 1 -> long\ncall 14 long 0",
         "PROBLEM script:3: The storage of parameter 1 of command 13(long 1) (script:2) was "
         "written after the command was over."},
        {"call 13 long 1 -> long\ncall 9\ncall 14 long 1", "of the result of command 13(long 1)"},
        {"call \"Add\" long 1 -> long", "hands out no command table"},
        {"start", "already started"},
        {"expect problems 1", "expected 1 problems, got 0"},
        {"fail ProgramInfo -1", "ProgramInfo was to fail with -1, but the plug-in did not call it"},
        {"set version 7.0", "before the plug-in starts"},
        {"selector 31000", "wrote a result for the selector 31000"},
        {"request connect", "the host is no server"},
        {"fail memory 3\ncall 15 -> long 2", "Allocation 3 was to fail, but only 2 came."},
        {"fail file 1\nfail file 2", "has not come yet"},
        {"fail call 2 -1\ncall 6 -> long 0",
         "Call 2 into the host was to fail with -1, but only 1"},
        {"reload", "the plug-in is started"},
        {"stop\nreload", "the plug-in is no library"},
        {"expect same \"a\"", "nothing is remembered as \"a\""},
        {"remember \"a\"", "no command was called"},
        {"call 1 long 1 -> long\nremember \"a\"\ncall 1 long 2 -> long\nexpect same \"a\"",
         "expected the same result as at script:3: long 2, got long 3"},
        {"call 6 -> long\nremember \"a\"\ncall 15 -> long\nexpect same \"a\"",
         "as at script:3: call 1 was ProgramInfo, got none"},
        {R"(expect file "${scratch}none")", "none: a file, got nothing there"},
        {R"(expect file "${prefs}" "")", R"(a file with "", got a folder)"},
        {R"(expect file "${structure}Demo.4DB" "x")", R"(a file with "x", got a file with "")"},
        {R"(expect file "${data}" holding "x")", R"(a file holding "x", got a folder)"},
        {R"(expect file "${structure}Demo.4DB" holding "x")", R"(holding "x", got a file with "")"},
        {R"(expect folder "${structure}Demo.4DB")", "a folder, got a file"},
        {R"(expect no file "${data}")", "nothing there, got a folder"},
        {"stop\nprocess start \"P\"", "not started"},
        {"stop\nprocess end 1", "not started"},
        {"stop\narea \"A\" create command 9\narea \"A\" event 1", "not started"},
        {"process start \"P\"\nprocess end \"P\"\nevent process 4 1 5", "process 4 has ended"},
        {"on \"nobody\"", "there is no host \"nobody\""},
        {R"(host "a" role client)", "no file of the plug-in that could be copied"},
        {"set role client", "a host has its role before the plug-in starts"},
        {"expect chosen \"none\" 1", "\"none\" is no array"},
        {"set variable \"n\" array long 1 2\nset chosen \"n\" 2\nexpect chosen \"n\" 1",
         "expected element 1 of \"n\", got element 2"},
        {"expect sent CurrentProcess param1 1", "no such call"},
        {"call 1 long 1 -> long\nexpect result long 5", "expected long 5, got long 2"},
        {"call 9 long 1\nremember \"a\"\ncall 9 long 2\nexpect same \"a\"",
         "the same parameter 1 as at script:3: long 1, got long 2"},
        {"call 19 -> long -50", "Selector 91 came without a record."},
        {"user cancel", "FAILED script:2: no dialog asked the user for this"},
        {"expect dialog page 1", "there was no dialog"},
        {"area \"A\" event 1", "no form of the host has an area \"A\""},
        {"user area \"A\" event 1\nexpect area \"A\" time 1", "has been sent an event"},
        {"area \"A\" create command 9\narea \"A\" create command 9", "already is an area \"A\""},
        {"area \"A\" create command 9\nwindow clear\narea \"A\" event 1",
         "the window of the area \"A\" is closed"},
        {"area \"A\" create command 16\narea \"A\" delete",
         "and the plug-in left 7 in what the host"},
    };
    for (const Row& row : rows) {
        Played played = Play("start\n" + std::string(row.lines) + "\necho \"went on\"\n");
        EXPECT_FALSE(played.good) << row.lines;
        EXPECT_THAT(played.output, HasSubstr(row.said));
        EXPECT_THAT(played.output, HasSubstr("went on\n"));
    }
    const std::string longest(255, 'x'); // with the variable's text it becomes too long
    EXPECT_THAT(Play("start\ncall 7 string \"${temp}" + longest + "\"\n").output,
                HasSubstr("at most 255 bytes"));
    EXPECT_THAT(Play("call 1 long 1").output, HasSubstr("not started"));
    EXPECT_THAT(Play("set version 6.8\nstart\ncall 18 -> long -10500").output,
                HasSubstr("The engine call-back was called (selector -91) on a host without"));
    EXPECT_THAT(Play("start").output, HasSubstr("→ stop (-2)")); // also when the script does not
    ToolboxReset();                                              // what command 10 left over
}

TEST(TesthostScriptTest, CallsAreHeldAgainstThePluginsTable) {
    const auto playDescribed = [](const std::string& lines) {
        return Play("start\n" + lines, toolboxFile.parent_path() / "", FakeInfo);
    };
    Played played = playDescribed("expect problems 1 # a usage\n"
                                  "stop\n"
                                  "start\n"
                                  "set compiled on\n"
                                  "call \"Add\" long 41 -> long 42\n"
                                  "call 1 long 1 -> long\n"
                                  "background call \"Add\" long 1 -> long 2\n"
                                  "run\n"
                                  "call \"Add to target\" pointer long 7\n"
                                  "expect param 1 pointer long 8\n"
                                  "call 9 text \"beyond the table\"\n");
    EXPECT_TRUE(played.good) << played.output;
    EXPECT_THAT(played.output, HasSubstr("PROBLEM script:1: Command 3 (\"Overrun\"): its usage "
                                         "\"(short\": expected ';' or ')' at the end."));
    for (const char* line : {"call 1 long 1", "call 1 -> long", "call \"Add\" short 1 -> long 2",
                             "call 1 long 1 long 2 -> long", "call 1 long 1 -> none",
                             "background call \"Add\" long 1\nrun"}) {
        played = playDescribed("expect problems 1\n" + std::string(line));
        EXPECT_THAT(played.output,
                    HasSubstr("FAILED script:3: call 1 \"Add\": the usage is (&long) -> long\n"));
        EXPECT_THAT(played.output, HasSubstr("2 calls into the plug-in")); // none of them this
    }
    EXPECT_THAT(playDescribed("call \"add\" long 1 -> long").output,
                HasSubstr("no command has the name \"add\""));
}

TEST(TesthostScriptTest, FailuresAndPicturesOfAHost) {
    Played played = Play(R"(
        start
        fail ProgramInfo -1
        fail ProgramInfo -2
        call 6 -> long 0
        expect answered ProgramInfo error -1
        call 6 -> long 0
        call 6 -> long 8
        set picture "Logo" "public.jpeg; JPG" "bytes" "PICT" "more"
        expect variable "Logo" picture "bytes"
    )");
    EXPECT_TRUE(played.good) << played.output;
}

TEST(TesthostScriptTest, HostsOutOfTheirOrder) {
    Played played = Play(R"(
        set version 7.0
        set role server
        set structure off
        force call 1 long 1 -> long 2
        start
        force start
        fail call 2 -7
        call 6 -> long 0
        remember "name"
        call 6 -> long 0
        fail memory 2
        call 15 -> long 1
        request connect from 5
        request read 1 5 from 5
        expect problems 1
        request disconnect from 5
        selector -999
        selector -4 77
        stop
        force stop
        start
        call 6 -> long 0
        expect same "name"
    )");
    EXPECT_TRUE(played.good) << played.output;
    EXPECT_THAT(played.output, HasSubstr("only 0 bytes are at its address"));
    EXPECT_THAT(played.output, HasSubstr("→ process 4 ends (-4)"));
    EXPECT_EQ(init.hostVersion, 0x0700);
}

TEST(TesthostScriptTest, WhatTheSystemAnswers) {
    Played played = Play(R"(
        start
        call 11 -> long 0x4040
        set colour grey 10000 0 0
        set update-context 200
        structure resource "Data" 5 "Name" "ab"
        answer picture cancel
        answer picture "abc"
        set free-stack 5000
        call 17 long 5000 -> long 5000
        call 17 long 5001 -> long -108
        call 11 -> long 10202
        call 11 -> long 10205
    )");
    EXPECT_TRUE(played.good) << played.output;
    EXPECT_THAT(
        Play("structure resource \"Data\" 5 \"\"\nstructure resource \"Data\" 5 \"\"").output,
        HasSubstr("FAILED script:2: the structure has a resource"));
}

TEST(TesthostScriptTest, OfARunawayCommandMostIsCounted) {
    Played played = Play("\xEF\xBB\xBFstart\n"
                         "call 6 -> long\n"
                         "call 10 long 20000\n"
                         "expect call ProcessInfo times 20000\n"
                         "expect sent ProcessInfo param2 18\n"
                         "expect answered ProgramInfo name \"Demo.4DB\"\n"
                         "expect problems 20000\n");
    EXPECT_TRUE(played.good) << played.output;
    EXPECT_LT(played.output.size(), 20000U);
    EXPECT_THAT(played.output, HasSubstr("\n  ← … 19988 more calls like it\n"));
    EXPECT_THAT(played.output, HasSubstr("PROBLEM script:3: … 19990 more like it: selector"));
    EXPECT_EQ(Lines(played.whole, "  ← ProcessInfo"), 20000);
    EXPECT_EQ(Lines(played.whole, "PROBLEM script:3: selector"), 20000);
    const Played empty = Play("# nothing\n");
    EXPECT_FALSE(empty.good);
    EXPECT_THAT(empty.output, HasSubstr("nothing was played"));
}

TEST(TesthostScriptTest, EventsOfAreasThatComeWithARecord) {
    Played played = Play(R"(
        start
        area "A" create command 8 title "Form" rect 5 5 50 100
        area "A" event menus
        expect area "A" modifiers 1
        area "A" event drop
        expect area "A" modifiers 1
        area "A" event show-properties
        expect area "A" modifiers 1
        area "A" event dispose-properties
        expect area "A" modifiers 2
        expect area "A" message 0
        expect problems 0
        area "A" event drag
        expect problems 1
        area "A" delete
        area "A" create command 6
        area "A" delete within 84
        expect call ProgramInfo times 2 # since the event within
    )");
    EXPECT_TRUE(played.good) << played.output;
}

TEST(TesthostScriptTest, FilesOfASession) {
    Played played = Play(R"(
        start
        call 7 string "${scratch}made.txt"
        expect param 1 string "${scratch}made.txt"
        expect file "${scratch}made.txt"
        expect file "${scratch}made.txt" "made"
        expect file "${scratch}made.txt" holding "ad"
        expect no file "${scratch}other.txt"
        expect file "${structure}Demo.4DB" ""
        expect folder "${prefs}"
        expect folder "${data}"
        expect folder "${temp}"
        show "${scratch}made.txt"
        expect file "${library}ASINTPPC.dll"
        echo "\x24{scratch}, $, $x and ${library}"
    )");
    EXPECT_TRUE(played.good) << played.output;
    EXPECT_THAT(played.output, HasSubstr("10 expectations held"));
    EXPECT_THAT(played.output, HasSubstr("\n${scratch}, $, $x and " +
                                         Shown(toolboxFile.parent_path() / "") + "\n"));
}

const std::wstring japan = L"\x65E5\x672C"; // which the ANSI code page cannot hold

TEST(TesthostScriptTest, EncodingsOfTextsAndPaths) {
    struct Row {
        const char* bytes;
        const wchar_t* text;
    };
    const Row rows[] = {{"", L""},
                        {"abc", L"abc"},
                        {"\xC3\xA9", L"\xE9"},
                        {"\xE9", L"\xE9"},
                        {"\xC3\xA9 \xE9", L"\xC3\xA9 \xE9"}, // not UTF-8 as a whole
                        {"\xE6\x97\xA5\xE6\x9C\xAC", japan.c_str()},
                        {"\xF0\x9F\x98\x80", L"\xD83D\xDE00"}};
    for (const Row& row : rows) {
        EXPECT_EQ(FromEither(row.bytes), row.text) << row.bytes;
        EXPECT_EQ(FromUtf8(Utf8(row.text)), row.text);
    }
    EXPECT_EQ(Ansi(L"C:\\a \xE9"), "C:\\a \xE9");
    for (const std::wstring& lacking :
         {japan, std::wstring(L"\x101")}) { // Windows takes an a for it
        try {
            ADD_FAILURE() << Ansi(L"C:\\" + lacking);
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr("C:\\" + Utf8(lacking) + " cannot be written"));
        }
    }
    wchar_t former[MAX_PATH];
    GetEnvironmentVariableW(L"TMP", former, std::size(former));
    SetEnvironmentVariableW(L"TMP", (L"C:\\" + japan).c_str());
    EXPECT_THROW(TemporaryFolder(), std::runtime_error);
    SetEnvironmentVariableW(L"TMP", former);
}

TEST(TesthostScriptTest, PathsMayHaveAccents) {
    Played played = Play("start\n"
                         "call 7 string \"${scratch}caf\\xE9\"\n"
                         "expect param 1 string \"${scratch}caf\\xE9\"\n"
                         "expect file \"${scratch}caf\\xE9\" \"made\"\n"
                         "expect file \"${scratch}caf\xC3\xA9\" \"made\"\n"
                         "expect no file \"${scratch}caf\xC3\xA8\"\n"
                         "echo \"\xC3\xA9 ${library} \\xE9\"\n",
                         japan);
    EXPECT_TRUE(played.good) << played.output;
    EXPECT_THAT(played.output, HasSubstr("\n\xC3\xA9 " + Utf8(japan) + " \xC3\xA9\n"));
    const std::pair<const char*, std::string> failures[] = {
        {"call 7 string \"${library}x\"", Utf8(japan) + " cannot be written in the code page"},
        {"expect file \"caf\xC3\xA9\"", "caf\xC3\xA9: a file, got nothing there"},
        {"show \"caf\\xE9\"", "caf\xC3\xA9 cannot be read"},
        {"database \"caf\\xE9\"", "the database caf\xC3\xA9 is missing"},
    };
    for (const auto& [line, said] : failures) {
        EXPECT_THAT(Play("start\n" + std::string(line), japan).output, HasSubstr(said));
    }
}

TEST(TesthostScriptTest, HostVersions) {
    struct Row {
        const char* text;
        int version; // -1: refused
    };
    const Row rows[] = {{"6.0", 0x600},     {"6.8", 0x680}, {"11.3", 0x1130}, {"12.1.2", 0x1212},
                        {"12.9.9", 0x1299}, {"5.9", -1},    {"13.0", -1},     {"11", -1},
                        {"11.", -1},        {"11.10", -1},  {"11.3.", -1},    {"x", -1},
                        {"11.3 ", -1},      {"011.3", -1},  {"", -1}};
    for (const Row& row : rows) {
        auto version = ParseHostVersion(row.text);
        EXPECT_EQ(version ? *version : -1, row.version) << row.text;
        if (version) {
            EXPECT_EQ(HostVersionText(*version), row.text);
        }
    }
}

TEST(TesthostScriptTest, ExecutableFilesAreReadWithinTheirBytes) {
    std::ifstream file(toolboxFile, std::ios::binary);
    std::ostringstream contents;
    contents << file.rdbuf();
    const std::string text = contents.str();
    const std::vector<unsigned char> bytes(text.begin(), text.end());

    auto whole = PortableExecutable::Parse(bytes);
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->machine, 0x014C);
    EXPECT_TRUE(whole->isLibrary);
    EXPECT_GT(whole->imports.size(), 10u);
    EXPECT_FALSE(PortableExecutable::Parse(std::span(bytes).first(100)));
    // Cut anywhere, and with every header byte damaged: it ends, and reads nothing outside.
    for (size_t length = 0; length < bytes.size(); length += 997) {
        std::vector<unsigned char> cut = bytes;
        cut.resize(length);
        PortableExecutable::Parse(cut);
    }
    for (size_t place = 0; place < 1024; ++place) {
        std::vector<unsigned char> damaged = bytes;
        damaged[place] ^= 0xFF;
        PortableExecutable::Parse(damaged);
    }
}

} // namespace
