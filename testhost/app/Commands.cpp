#include "testhost/app/Commands.h"

#include "testhost/plugins/Library.h"
#include "testhost/session/Transcript.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <iomanip>
#include <string>

int ListCommands(const std::filesystem::path& plugin, std::ostream& out) {
    const PluginLibrary library(plugin);
    const PlugInfoEntry describe = library.Entries().describe;
    if (describe == nullptr) {
        out << Shown(plugin.filename()) << " hands out no command table (FourDPlugInfo)\n";
        return 2;
    }
    const CommandTable table = CommandTable::Read(describe);
    size_t widest = 0;
    for (const DescribedCommand& command : table.commands) {
        widest = std::max(widest, Quoted(command.name).size());
    }
    const auto digits = static_cast<int>(std::to_string(table.commands.size()).size());
    for (const DescribedCommand& command : table.commands) {
        out << std::setw(digits) << command.number << "  ";
        if (command.usageText.empty()) {
            out << Quoted(command.name) << "\n";
            continue;
        }
        out << std::left << std::setw(static_cast<int>(widest)) << Quoted(command.name)
            << std::right << "  " << Visible(command.ShownUsage()) << "\n";
    }
    for (const std::string& problem : table.problems) {
        out << "PROBLEM " << Visible(problem) << "\n";
    }
    return table.problems.empty() ? 0 : 1;
}
