#pragma once

#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

  private:
    std::map<long, std::string> commandNames;
    std::vector<HostMethod> methods;
    std::map<std::string, long> methodNumbers; ///< by folded name
    std::vector<std::string> pointedTo;        ///< folded names, with the interprocess mark
};
