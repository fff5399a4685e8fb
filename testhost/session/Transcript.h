#pragma once

#include <cstddef>
#include <map>
#include <ostream>
#include <string>

/// What is printed while a script is played. Of a statement that makes the plug-in run away much
/// is only counted, and said in a line when the statement is over.
class Transcript {
  public:
    /// A quiet one prints problems only; whether it is may change meanwhile.
    Transcript(std::ostream& output, const bool& quietly) : out(output), quiet(quietly) {}

    /// A line of what happens between host and plug-in: the first thousand of a statement.
    void Line(const std::string& text);
    /// A misbehaviour of the plug-in: the first ten of each of the first hundred sentences.
    void Problem(const std::string& place, const std::string& sentence);
    /// The statement, at this place, is over.
    void EndStatement(const std::string& place);

  private:
    std::ostream& out;
    const bool& quiet;
    size_t lines = 0;
    std::map<std::string, size_t> problems; ///< how often each sentence came
    size_t otherProblems = 0;
};
