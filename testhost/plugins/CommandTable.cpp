#include "testhost/plugins/CommandTable.h"

#include "testhost/values/Encodings.h"
#include "testhost/values/ReadableBytes.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <utility>

namespace {
constexpr size_t longestName = 255;
constexpr size_t longestUsage = 1000;
constexpr size_t mostProblems = 100; // of a table; then the rest of it is not read
constexpr const char* description = "The plug-in's description (FourDPlugInfo): ";

// Whether all of these bytes can be read; they are copied then. (On some systems ReadProcessMemory
// passes over the protection of pages.)
bool Peek(const void* source, void* target, size_t size) {
    if (ReadableBytes(source, size) < size) {
        return false;
    }
    std::memcpy(target, source, size);
    return true;
}

std::string Unreadable(const void* address) {
    char text[64];
    std::snprintf(text, sizeof text, "lies at 0x%08lX, where nothing can be read",
                  static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(address)));
    return text;
}

// What is wrong with a text, as a phrase about "its name"; nothing when `text` is the whole of it.
// Behind its end there may be nothing.
std::string PeekText(const char* source, size_t longest, std::string& text) {
    const std::string_view part(source, ReadableBytes(source, longest + 1));
    const size_t end = part.find('\0');
    if (end == std::string_view::npos && part.size() > longest) {
        return "has no end within " + std::to_string(longest) + " bytes";
    }
    text = part.substr(0, end);
    if (end != std::string_view::npos) {
        return {};
    }
    return part.empty() ? Unreadable(source) : "has no end before what cannot be read";
}

class TableReader {
  public:
    explicit TableReader(CommandTable& itsTable) : table(itsTable) {}

    void Read(const PlugInfo* address) {
        PlugInfo info{};
        if (address == nullptr) {
            return Complain("it is null.");
        }
        if (!Peek(address, &info, sizeof info)) {
            return Complain("it " + Unreadable(address) + ".");
        }
        if (info.recordVersion != 1 || info.recordSize != sizeof info) {
            return Complain("its recordVersion is " + std::to_string(info.recordVersion) +
                            " and its recordSize " + std::to_string(info.recordSize) +
                            ", not 1 and " + std::to_string(sizeof info) + ".");
        }
        if (info.commands == nullptr && info.commandCount > 0) {
            return Complain("it has " + std::to_string(info.commandCount) +
                            " commands and no table of them.");
        }
        for (long number = 1; number <= info.commandCount; ++number) {
            if (table.problems.size() >= mostProblems) {
                return Complain("from command " + std::to_string(number) +
                                " on the table was not read, so much is wrong before.");
            }
            // The address may be any: no pointer may be added to.
            const auto entry = reinterpret_cast<std::uintptr_t>(info.commands) +
                               static_cast<std::uintptr_t>(number - 1) * sizeof(CommandEntry);
            if (!ReadCommand(number, reinterpret_cast<const CommandEntry*>(entry))) {
                return;
            }
        }
    }

  private:
    bool ReadCommand(long number, const CommandEntry* address) {
        DescribedCommand command{.number = number};
        CommandEntry entry{};
        if (!Peek(address, &entry, sizeof entry)) {
            Complain("the entry of command " + std::to_string(number) + " " + Unreadable(address) +
                     ".");
            return false;
        }
        ReadName(entry.name, command);
        ReadUsage(entry.usage, command);
        char code = 0;
        if (const auto* handler = reinterpret_cast<const void*>(entry.handler);
            handler != nullptr && !Peek(handler, &code, 1)) {
            Complain(command, "its handler " + Unreadable(handler) + ".");
        }
        table.commands.push_back(std::move(command));
        return true;
    }

    void ReadName(const char* name, DescribedCommand& command) {
        const std::string fault =
            name == nullptr ? "is null" : PeekText(name, longestName, command.name);
        if (!fault.empty()) {
            return Complain(command, "its name " + fault + ".");
        }
        if (command.name.empty()) {
            return Complain(command, "its name is empty.");
        }
        const auto [other, isNew] = numbers.emplace(command.name, command.number);
        if (!isNew) {
            Complain(command, "command " + std::to_string(other->second) + " has the same name.");
        }
    }

    void ReadUsage(const char* usage, DescribedCommand& command) {
        const std::string fault =
            usage == nullptr ? "" : PeekText(usage, longestUsage, command.usageText);
        if (!fault.empty()) {
            return Complain(command, "its usage " + fault + ".");
        }
        try {
            command.usage = Usage::Parse(command.usageText);
        } catch (const UsageError& error) {
            Complain(command, "its usage " + Quoted(command.usageText) + ": " + error.what() + ".");
        }
    }

    void Complain(const std::string& fault) { table.problems.push_back(description + fault); }
    void Complain(const DescribedCommand& command, const std::string& fault) {
        table.problems.push_back("Command " + command.Title() + ": " + fault);
    }

    CommandTable& table;
    std::map<std::string, long> numbers; ///< of the names so far
};
} // namespace

std::string DescribedCommand::ShownUsage() const {
    return usage ? Utf8(FromAnsi(usageText)) : Quoted(usageText); // a wrong one may hold anything
}

std::string DescribedCommand::Title() const {
    return std::to_string(number) + (name.empty() ? "" : " (" + Quoted(name) + ")");
}

CommandTable CommandTable::Read(PlugInfoEntry describe) {
    CommandTable table;
    TableReader(table).Read(describe());
    return table;
}

const DescribedCommand* CommandTable::Find(long number) const {
    const auto place = static_cast<size_t>(number - 1);
    return place < commands.size() ? &commands[place] : nullptr;
}

const DescribedCommand* CommandTable::Find(std::string_view name) const {
    const auto found = std::ranges::find(commands, name, &DescribedCommand::name);
    return found != commands.end() ? &*found : nullptr;
}
