#pragma once

#include <stdexcept>
#include <string>

/// What the host answers when a text, tokens or what they ask for is wrong. What a command asks of
/// the database or of the variables has the error of those.
namespace LanguageError {
enum : short {
    SyntaxError = -9901,     ///< not of the language
    UnknownName = -9902,     ///< no command, method, table or field of this name or number
    TypeMismatch = -9903,    ///< a value of the wrong type, or none at all
    WrongArguments = -9904,  ///< too few or too many
    DivisionByZero = -9905,  ///
    MalformedTokens = -9906, ///< not tokens, or in the other byte order
    TooDeep = -9907,         ///< parentheses or methods within one another beyond the limit
    TooLong = -9908,         ///< more is to be executed than an evaluation may take
};
}

/// Ends the execution of a statement, or the reading of a text, with one of these codes.
class LanguageFailure : public std::runtime_error {
  public:
    LanguageFailure(short errorCode, const std::string& reason)
        : std::runtime_error(reason), code(errorCode) {}
    short code;
};

[[noreturn]] inline void FailSyntax(const std::string& reason) {
    throw LanguageFailure(LanguageError::SyntaxError, reason);
}
/// `what`: "command 12", "method Total".
[[noreturn]] inline void FailUnknown(const std::string& what) {
    throw LanguageFailure(LanguageError::UnknownName, "there is no " + what);
}
[[noreturn]] inline void FailMismatch(const std::string& reason) {
    throw LanguageFailure(LanguageError::TypeMismatch, reason);
}
