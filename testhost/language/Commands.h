#pragma once

#include "testhost/language/Evaluator.h"

#include <span>

struct LanguageCommand;

/// A command with its arguments, which are evaluated as the command takes them.
struct CommandCall {
    Evaluator& evaluator;
    const LanguageCommand& command;
    const std::vector<Expression>& arguments;

    Host& TheHost() const { return evaluator.host; }
    /// Argument `place`, from 0, as a value of a kind; the table that it has to be.
    TypedValue Value(size_t place, ValueKind kind) const;
    long Long(size_t place) const { return Value(place, ValueKind::Long).numbers.at(0); }
    std::string Text(size_t place) const { return Value(place, ValueKind::Text).texts.at(0); }
    short Table(size_t place) const;
};

/// A command of the language.
struct LanguageCommand {
    short number;
    const char* name; ///< the one that the host has at first
    size_t fewest;    ///< arguments
    size_t most;
    TypedValue (*run)(const CommandCall& call);
    ValueKind declares = ValueKind::None; ///< of the variables that it declares
};

/// All of them, by number.
std::span<const LanguageCommand> LanguageCommands();
/// Null when there is none.
const LanguageCommand* FindLanguageCommand(long number);
