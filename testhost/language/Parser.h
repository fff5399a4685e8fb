#pragma once

#include "testhost/language/Tokens.h"
#include "testhost/values/TypedValue.h"

enum class VariableScope { Process, Interprocess, Local };

/// A part of a statement. Operators have no precedence: they apply from left to right, as the host
/// does it.
struct Expression {
    enum class Kind {
        Constant,  ///< `constant`
        Variable,  ///< `scope` and `name`; without a scope also a method without arguments
        Call,      ///< the method `name` with `operands`
        Command,   ///< the command `number` with `operands`
        Table,     ///< `number`
        Field,     ///< `number` and `field`
        Negation,  ///< of the one operand
        Operation, ///< `operations[n]` stands between `operands[n]` and `operands[n + 1]`
    };

    Kind kind = Kind::Constant;
    TypedValue constant = {};
    VariableScope scope = VariableScope::Process;
    std::string name = {};
    short number = 0;
    short field = 0;
    std::vector<Expression> operands = {};
    std::vector<Operator> operations = {};
};

/// One line: an expression, whose value goes into `target`, a variable or a field, when there is
/// one.
struct LanguageStatement {
    std::vector<Expression> target; ///< one, or none
    Expression value;
};

/// The statements of these tokens, empty lines left out. Throws LanguageFailure for a syntax error,
/// and when parentheses nest too deep.
std::vector<LanguageStatement> ParseStatements(const std::vector<Token>& tokens);
/// The one expression that these tokens are.
Expression ParseExpression(const std::vector<Token>& tokens);
