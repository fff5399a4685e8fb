// The table of commands that a plug-in hands out, which may be wrong in every way, and what it says
// that each command takes.

#include "testhost/plugins/CommandTable.h"

#include "tests/Fixture.h"

#include <cstring>
#include <gmock/gmock.h>
#include <memory>

#include <windows.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

// A usage as it was understood.
std::string Understood(std::string_view text) {
    try {
        const auto usage = Usage::Parse(text);
        if (!usage) {
            return "nothing";
        }
        std::string understood;
        for (const Usage::Parameter& parameter : usage->parameters) {
            understood += std::string(parameter.changes ? "&" : "") +
                          std::string(KindName(parameter.kind)) + "/" + parameter.words + ";";
        }
        return understood + std::string(KindName(usage->result)) + (usage->isArea ? " area" : "");
    } catch (const UsageError& error) {
        return error.what();
    }
}

TEST(CommandTableTest, Usages) {
    const char* const rows[][2] = {
        {"", "nothing"},
        {" \t", "nothing"},
        {"()", "none"},
        {"(text) -> long", "text/;long"},
        {" ( & text;&array  long  all of them ; string CR, LF or CRLF )->boolean done (or not)",
         "&text/;&array long/all of them;string/CR, LF or CRLF;boolean"},
        {"(string [Table]Field) -> none", "string/[Table]Field;none"},
        {"area of a form", "&event/event;&rect/rectangle;string/name;&long/kept;none area"},
        {"(lnog)", "expected a kind at 'lnog' (character 2)"},
        {"(text; )", "expected a kind at ')' (character 8)"},
        {"(array)", "expected a kind at 'array' (character 2)"},
        {"(", "expected a kind at the end"},
        {"(text -> long", "expected ';' or ')' at '>' (character 8)"},
        {"(text & long)", "expected ';' or ')' at '&' (character 7)"},
        {"(text) long", "expected '->' or the end at 'long' (character 8)"},
        {"text -> long", "expected '(' or 'area' at 'text' (character 1)"},
        {"(&time)", "expected a kind that a parameter can have at 'time' (character 3)"},
        {"() -> rect", "expected a kind that a result can have at 'rect' (character 7)"},
        {"(\n)", "character 2 is a control character"},
    };
    for (const auto& [text, understood] : rows) {
        EXPECT_EQ(Understood(text), understood) << text;
    }
}

const PlugInfo* described;

std::vector<std::string> ProblemsOf(const PlugInfo* info) {
    described = info;
    const PlugInfoEntry describe = []() NIMBO_STDCALL { return described; };
    return CommandTable::Read(describe).problems;
}

PlugInfo WithCommands(const CommandEntry* commands, unsigned short count) {
    PlugInfo info{};
    info.recordVersion = 1;
    info.recordSize = sizeof(PlugInfo);
    info.commandCount = count;
    info.commands = commands;
    return info;
}

TEST(CommandTableTest, NothingOfAWrongTableIsTrusted) {
    constexpr size_t pageSize = 4096;
    const auto release = [](char* page) { VirtualFree(page, 0, MEM_RELEASE); };
    // A page with nothing that can be read behind it.
    const std::unique_ptr<char, decltype(release)> page(static_cast<char*>(
        VirtualAlloc(VirtualAlloc(nullptr, 2 * pageSize, MEM_RESERVE, PAGE_NOACCESS), pageSize,
                     MEM_COMMIT, PAGE_READWRITE)));
    ASSERT_NE(page, nullptr);
    char* const end = page.get() + pageSize;
    const auto* const nowhere = reinterpret_cast<const char*>(16);
    std::memcpy(end - 4, "name", 4);
    const std::string longName(256, 'n');
    const CommandHandler handler = [](CXParam*, CXResult*) {};
    const CommandEntry commands[] = {
        {"Good", "(text) -> long", handler},
        {"Wrong", "(lnog)", handler},
        {"Good", nullptr, nullptr},
        {nullptr, "", handler},
        {"", "()", handler},
        {nowhere, nowhere, handler},
        {end - 4, longName.c_str(), handler},
        {longName.c_str(), "", reinterpret_cast<CommandHandler>(0x20)},
    };
    const PlugInfo info = WithCommands(commands, std::size(commands));
    EXPECT_THAT(
        ProblemsOf(&info),
        ElementsAre("Command 2 (\"Wrong\"): its usage \"(lnog)\": expected a kind at 'lnog' "
                    "(character 2).",
                    "Command 3 (\"Good\"): command 1 has the same name.",
                    "Command 4: its name is null.", "Command 5: its name is empty.",
                    "Command 6: its name lies at 0x00000010, where nothing can be read.",
                    "Command 6: its usage lies at 0x00000010, where nothing can be read.",
                    "Command 7 (\"name\"): its name has no end before what cannot be read.",
                    HasSubstr("expected '(' or 'area'"),
                    "Command 8: its name has no end within 255 bytes.",
                    "Command 8: its handler lies at 0x00000020, where nothing can be read."));

    auto* const last = reinterpret_cast<CommandEntry*>(end) - 1;
    *last = commands[0];
    PlugInfo old = info;
    old.recordSize = 28;
    const std::pair<PlugInfo, const char*> rows[] = {
        {WithCommands(last, 0xFFFF), "the entry of command 2 lies at 0x"},
        {WithCommands(nullptr, 3), "it has 3 commands and no table of them"},
        {WithCommands(reinterpret_cast<CommandEntry*>(0xFFFFFFF8), 3), "the entry of command 1"},
        {old, "its recordVersion is 1 and its recordSize 28, not 1 and 32"},
    };
    for (const auto& [wrong, problem] : rows) {
        EXPECT_THAT(ProblemsOf(&wrong), ElementsAre(HasSubstr(problem)));
    }
    EXPECT_THAT(ProblemsOf(nullptr), ElementsAre(HasSubstr("it is null")));
    EXPECT_THAT(ProblemsOf(reinterpret_cast<const PlugInfo*>(end - 8)),
                ElementsAre(HasSubstr("where nothing can be read")));
    const std::vector<CommandEntry> nameless(1000, CommandEntry{});
    const PlugInfo many = WithCommands(nameless.data(), 1000);
    EXPECT_EQ(ProblemsOf(&many).size(), 101U);
}

} // namespace
