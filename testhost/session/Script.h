#pragma once

#include "testhost/session/Words.h"

#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

class Player;

/// One line of a script. What its variables stand for is known only when it is played, so it is
/// read again then.
struct Statement {
    size_t line; ///< from 1
    std::string text;

    /// Throws ScriptError when the variables make the line a wrong one: too long a string.
    void Play(Player& player) const;
};

/// A script, checked as a whole before anything of it is played.
struct Script {
    std::string name; ///< as it appears in messages
    std::vector<Statement> statements;
    std::vector<std::string> errors; ///< "name:line: message"; a script with errors is not played
};

/// Reads a whole script.
Script ParseScript(std::string_view text, std::string name);

/// One kind of statement: its first word, how it is written, what it does, and how the rest of
/// its line becomes an action. To add a statement is to add a row.
struct StatementKind {
    std::string_view name;
    std::string_view usage;
    std::string_view help;
    std::function<void(Player&)> (*parse)(Words& words);
};

/// The kind of statement with this first word; null when there is none.
const StatementKind* FindStatementKind(std::string_view name);
/// Explains every statement and every kind of value.
void PrintLanguageHelp(std::ostream& out);
