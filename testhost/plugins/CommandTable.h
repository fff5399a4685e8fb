#pragma once

#include "host/boundary/PlugInfo.h"
#include "platform/Compiler.h"
#include "testhost/plugins/Usage.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// A library's export FourDPlugInfo, which answers its static description.
using PlugInfoEntry = const PlugInfo*(NIMBO_STDCALL*)();

/// A command as its plug-in describes it. Names and usages are in the ANSI code page.
struct DescribedCommand {
    long number = 0;
    std::string name = {};           ///< may be empty
    std::string usageText = {};      ///< may be empty
    std::optional<Usage> usage = {}; ///< nothing: the plug-in declares none, or a wrong one

    /// The usage as it is printed.
    std::string ShownUsage() const;
    /// `3 ("Checksum")`; without a name the number alone.
    std::string Title() const;
};

/// The commands that a plug-in says it has.
struct CommandTable {
    std::vector<DescribedCommand> commands; ///< command 1 first
    /// What is wrong with the description and the table, as sentences.
    std::vector<std::string> problems;

    /// Asks the library, and looks at nothing that cannot be read. What the plug-in's own function
    /// does is not guarded: it may crash.
    static CommandTable Read(PlugInfoEntry describe);
    /// The command of this number or name, the first one of several; null when there is none.
    const DescribedCommand* Find(long number) const;
    const DescribedCommand* Find(std::string_view name) const;
};
