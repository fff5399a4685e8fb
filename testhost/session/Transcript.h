#pragma once

#include "testhost/session/Folding.h"

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <ostream>
#include <string>
#include <string_view>

/// What people look for in a transcript; a screen with colours shows each in its own way.
enum class LineKind {
    Plain,
    Entry, ///< into the plug-in
    Call,  ///< into the host; its fields are faint
    Rest,  ///< what is only counted
    Wrong, ///< an expectation that failed, a problem, a crash; or an account with one
    Good,  ///< an account without
};

/// A line with the escape sequences of a terminal.
std::string Colored(LineKind kind, const std::string& line);
/// A text in which control characters are escaped, but for tabs and the ends of lines: nothing
/// that a plug-in says reaches a terminal as a command.
std::string Visible(std::string_view text);

/// Most bytes that calls and notes take in a transcript's file.
inline constexpr unsigned long long mostTranscriptBytes = 64ULL * 1024 * 1024;
/// A file for a transcript, emptied unless it is gone on with. Throws ScriptError when it cannot be
/// written.
std::ofstream OpenTranscript(const std::filesystem::path& path, bool goesOn);
/// What is said when its disk got full.
std::string NotWritten(const std::filesystem::path& path);

/// Where a transcript goes besides the screen, and how it looks there.
struct TranscriptSettings {
    std::filesystem::path file = {}; ///< gets the whole of it; empty: none does
    bool quiet = false;              ///< the screen shows problems, failures and `echo` only
    bool hasColors = false;          ///< on the screen
};

/// Tells on the screen, and behind what the file has, how a session came to its end that cannot
/// tell it itself any more. `callsNotShown`: that its screen has only counted.
void TellEnd(const TranscriptSettings& settings, size_t callsNotShown, const std::string& text);

/// What is told while a script is played: to the screen, on which what repeats itself is folded,
/// and to a file that has all of it.
class Transcript {
  public:
    enum class Sink { Screen, File };

    Transcript(std::ostream& itsScreen, bool quietly) : screen(itsScreen), quiet(quietly) {}

    /// Whether lines of what happens between host and plug-in go there.
    bool Wants(Sink sink) const;
    /// Counts a line that the screen would get; true when it need not be made, as it is folded.
    bool Folds(const Likeness& likeness);
    /// A line of what happens between host and plug-in: on the screen the first thousand of a
    /// statement.
    void Line(Sink sink, LineKind kind, const std::string& text);
    /// The same for both.
    void Line(LineKind kind, const std::string& text);
    /// What a statement has to say of itself: neither folded nor counted.
    void Note(const std::string& text);
    /// What is always told. Answers whether the screen got it.
    bool Say(LineKind kind, const std::string& text);
    /// A misbehaviour of the plug-in: the first ten of each of the first hundred sentences. The
    /// file has all while there is room.
    void Problem(const std::string& place, const std::string& sentence);
    /// Whatever comes is not folded with what was.
    void Break();
    /// The statement, at this place, is over.
    void EndStatement(const std::string& place);

    /// Whether all that was to go into the file, if any, is in it.
    bool IsWritten() const { return file == nullptr || file->good(); }

    bool hasColors = false;
    bool isSilent = false;            ///< nothing is said but what is always told
    size_t* callsNotShown = nullptr;  ///< kept up to date with those of a run; may be null
    std::ostream* file = nullptr;     ///< gets the whole transcript; may be null
    unsigned long long fileBytes = 0; ///< that it has

  private:
    /// What was folded is counted in a line.
    void EndRun();
    bool HasRoom() const { return fileBytes < mostTranscriptBytes; }
    void ToScreen(LineKind kind, const std::string& text);
    void ToFile(const std::string& text);

    std::ostream& screen;
    const bool quiet;
    Folding folding;
    size_t lines = 0;
    std::map<std::string, size_t> problems; ///< how often each sentence came
    size_t otherProblems = 0;
};
