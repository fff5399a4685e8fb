#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

class Host;

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

/// Characters of a name in the language.
constexpr size_t longestLanguageName = 31;

/// Names as they are compared: in lower case, accents kept.
std::string FoldCase(std::string_view name);

/// A method of the database; its number is its place, from 1.
struct HostMethod {
    std::string name;
    std::string source; ///< lines separated by carriage returns
};

/// The names that a host's language is made of. Command names may be changed, as those of a host in
/// another tongue are: a plug-in has to ask for them.
class Language {
  public:
    Language();

    /// Name of a command; empty when there is none of this number.
    std::string_view CommandName(long number) const;
    /// Renames a command. False when there is none of this number, or the name is no name: a
    /// letter, then at most 30 letters, digits, spaces, underscores and apostrophes.
    bool RenameCommand(long number, std::string name);
    /// By number.
    const std::map<long, std::string>& CommandNames() const { return commandNames; }

    /// Defines a method, or gives the one of this name another source. Answers its number.
    long DefineMethod(const std::string& name, std::string source);
    /// Number of the method of this name; 0 when there is none.
    long FindMethod(std::string_view name) const;
    /// Null when there is none of this number.
    const HostMethod* Method(long number) const;

    /// The number by which pointers know the variable of this name, from 1.
    long VariableNumber(const std::string& name);

    /// What users enter when plug-ins have them edit a formula, in turn; nothing means that they
    /// cancel, which they also do when no entry is left.
    std::deque<std::optional<std::string>> formulaEntries;
    /// Why the last text or tokens failed, for a person to read.
    std::string lastFailure;

  private:
    std::map<long, std::string> commandNames;
    std::vector<HostMethod> methods;
    std::vector<std::string> pointedTo; ///< folded names, with the interprocess mark
};

/// A box that the host showed.
struct HostBox {
    enum class Kind { Alert, Confirm };

    Kind kind;
    std::string text;
    long answer;  ///< 1 when the user pressed OK
    size_t entry; ///< how often the plug-in had been entered by then
};

/// The boxes that the host shows, and what users answer to them.
class Boxes {
  public:
    explicit Boxes(const Host& boxesHost) : host(boxesHost) {}
    Boxes(const Boxes&) = delete;
    Boxes& operator=(const Boxes&) = delete;

    /// Shows a box and answers what the user pressed.
    long Show(HostBox::Kind kind, std::string text);

    std::vector<HostBox> shown; ///< oldest first; callers may clear it
    /// Answers to the next confirmation boxes; OK when none is left.
    std::deque<long> confirmAnswers;
    /// Runs for every box that is shown; may be empty.
    std::function<void(const HostBox&)> onShown;

  private:
    const Host& host;
};
