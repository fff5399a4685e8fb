#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

class Player;

/// What a statement does.
using Action = std::function<void(Player&)>;

/// One line of a script.
struct Statement {
    size_t line;      ///< from 1
    std::string text; ///< of the line, without blanks around it
    bool starts;      ///< starts the plug-in
    bool setsUp;      ///< says what the host is, and is played anew for a host that is made anew
    /// Throws ScriptError when the script's variables make the line a wrong one.
    Action play;
};

/// A script, checked as a whole before anything of it is played.
struct Script {
    std::string name; ///< as it appears in messages
    std::vector<Statement> statements;
    std::vector<std::string> errors; ///< "name:line: message"; a script with errors is not played
};
