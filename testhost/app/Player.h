#pragma once

#include "testhost/app/Script.h"
#include "testhost/engine/Session.h"

#include <memory>
#include <ostream>
#include <string>

/// Plays a script against a session and keeps the account: prints every crossing of the boundary
/// and every problem, and counts the expectations that held and failed.
class Player {
  public:
    /// A quiet player prints expectations that failed, problems and what `echo` says.
    Player(Session& playedSession, std::ostream& output, bool quietly);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// Plays the whole script, stops the plug-in if the script did not, and prints a summary.
    /// Answers whether every expectation held and no problem is left over.
    bool Play(const Script& script);

    /// Counts an expectation, and says so when it failed.
    void Expect(bool held, const std::string& expected, const std::string& got);
    /// A statement that cannot be played as things stand: counts as a failed expectation.
    void Fail(const std::string& reason);
    /// A line of the transcript, beneath the crossing it belongs to.
    void Note(const std::string& text);
    void Echo(const std::string& text);

    /// Problems that were reported and are not yet accounted for by `expect problems`.
    size_t OpenProblems() const;
    void AcceptProblems();

    /// Where the script stands: "name:line". For a report about a crash.
    const std::string& Place() const { return place; }

    Session& session;
    Host& host;
    std::unique_ptr<Arguments> arguments; ///< of the last command called; null before one
    TypedValue result;                    ///< of the last command called
    std::string libraryFolder; ///< of the plug-in's DLL, with a backslash; what ${library} says
    std::string scriptFolder;  ///< of the script, as its name was given, with the separator

  private:
    void Print(const LoggedCall& call);
    void TellSkipped();

    std::ostream& out;
    bool quiet;
    std::string place;
    size_t held = 0;
    size_t failed = 0;
    size_t acceptedProblems = 0;

    // Of the calls into the host that follow one into the plug-in, the first are printed.
    static constexpr long maxCallsPrinted = 40;
    long callsPrinted = 0;
    long lastProcess = 0; ///< the one that the last line was about
    long callsSkipped = 0;
};
