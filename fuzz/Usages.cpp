// Usages, tables of commands with any contents, and values as scripts write them: what is shown
// and read again is the same.

#include "fuzz/Harness.h"
#include "testhost/plugins/Arguments.h"
#include "testhost/plugins/CommandTable.h"
#include "testhost/session/Values.h"

#include <algorithm>

namespace {
std::string Written(const Usage& usage) {
    std::string text = "(";
    for (const Usage::Parameter& parameter : usage.parameters) {
        text += text.size() > 1 ? ";" : "";
        text += parameter.changes ? "&" : "";
        text += KindName(parameter.kind);
        text += parameter.target != ValueKind::None ? " " : "";
        text += parameter.target != ValueKind::None ? KindName(parameter.target) : "";
        text += " " + parameter.words;
    }
    return text + ")->" + std::string(KindName(usage.result));
}

void RequireSame(const Usage& one, const Usage& other) {
    const auto isSame = [](const Usage::Parameter& left, const Usage::Parameter& right) {
        return left.kind == right.kind && left.changes == right.changes &&
               left.words == right.words && left.target == right.target;
    };
    Require(one.result == other.result &&
                std::ranges::equal(one.parameters, other.parameters, isSame),
            "written anew it is another usage");
}

void FuzzUsage(const std::string& text) {
    std::optional<Usage> usage;
    try {
        usage = Usage::Parse(text);
    } catch (const UsageError& error) {
        return Require(error.what()[0] != '\0', "an error is not told");
    }
    if (usage) {
        RequireSame(*usage, Usage::Parse(Written(*usage)).value());
    }
}

const PlugInfo* described = nullptr;
HOST_ENTRY const PlugInfo* Describe() {
    return described;
}

// A table whose texts lie at the very end of what can be read, or nowhere.
void FuzzTable(Input& input) {
    std::vector<std::unique_ptr<char[]>> texts;
    const auto take = [&]() -> const char* {
        const unsigned kind = input.Choice(8);
        if (kind < 2) {
            return reinterpret_cast<const char*>(kind == 0 ? 0 : input.Number());
        }
        const std::string text = input.Text(kind == 2 ? 1100 : 40);
        const std::size_t size = text.size() + (kind == 3 ? 0 : 1); // without its end, or with it
        texts.push_back(std::make_unique<char[]>(size));
        std::copy_n(text.c_str(), size, texts.back().get());
        return texts.back().get();
    };
    PlugInfo info{};
    const unsigned count = input.Choice(20);
    const auto commands = std::make_unique<CommandEntry[]>(count);
    for (unsigned place = 0; place < count; ++place) {
        const char* const name = take();
        const char* const usage = take();
        commands[place] = {name, usage, reinterpret_cast<CommandHandler>(input.Number())};
    }
    info.recordVersion = input.Choice(16) == 0 ? 2 : 1;
    info.recordSize = input.Choice(16) == 0 ? input.Number() : long{sizeof info};
    info.commandCount = static_cast<unsigned short>(count + (input.Choice(16) == 0 ? 1000 : 0));
    info.commands =
        input.Choice(16) == 0 ? reinterpret_cast<CommandEntry*>(input.Number()) : commands.get();
    described = input.Choice(16) == 0 ? reinterpret_cast<PlugInfo*>(input.Number()) : &info;
    const CommandTable table = CommandTable::Read(Describe);
    for (const DescribedCommand& command : table.commands) {
        Require(table.Find(command.number) == &command, "a command is not found");
        Require(command.name.empty() || table.Find(command.name)->number <= command.number,
                "the first command of a name is not found");
        Require(!command.usage || !command.ShownUsage().empty(), "a usage is not shown");
    }
    Require(std::ranges::none_of(table.problems, &std::string::empty), "a problem is not told");
    Require(table.Find(static_cast<long>(table.commands.size()) + 1) == nullptr,
            "there is one command more");
}

template <typename Take>
void FuzzValue(const std::string& text, Take take) {
    try {
        Words words(text);
        const TypedValue value = take(words);
        const std::string shown = Describe(value);
        Words again(shown);
        Require(take(again) == value && again.AtEnd(), "shown and read again it is another value");
        if (!IsUnicode(value) && Arguments::Accepts(value.kind)) {
            const Arguments arguments({value}, text.size() % 2 == 0);
            Require(Describe(arguments.At(1)) == shown, "as an argument it is another value");
        }
    } catch (const ScriptError& error) {
        Require(error.what()[0] != '\0', "an error is not told");
    }
}
} // namespace

void Fuzz(Input& input) {
    switch (input.ConsumeIntegral<unsigned char>() % 4) { // behind the text, which begins the input
    case 0:
        return FuzzUsage(input.ConsumeRemainingBytesAsString());
    case 1:
        return FuzzTable(input);
    case 2:
        return FuzzValue(input.ConsumeRemainingBytesAsString(), TakeValue);
    default:
        return FuzzValue(input.ConsumeRemainingBytesAsString(), TakeVariableValue);
    }
}
