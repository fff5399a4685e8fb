#pragma once

#include "testhost/model/Network.h"
#include "testhost/plugins/Session.h"
#include "testhost/session/Area.h"
#include "testhost/session/Script.h"

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

class Player;

/// What the players of one script, one for each host, have in common.
struct Stage {
    std::ostream& out;
    bool quiet;
    std::string place = {};            ///< where the script stands: "name:line"
    std::wstring scriptFolder = {};    ///< of the script, as its name was given, with the separator
    std::filesystem::path plugin = {}; ///< the plug-in's DLL, and
    std::filesystem::path resources =
        {};                              ///< its resource file: further hosts have copies; or empty
    std::filesystem::path pictures = {}; ///< folder for pictures of windows; empty: none are made
    size_t held = 0;
    size_t failed = 0;
    Network network = {};
    std::vector<Player*> players = {}; ///< the script's own host first
    Player* current = nullptr;         ///< whom the statements concern
    std::vector<std::shared_ptr<void>> further =
        {}; ///< all hosts but the first, with their players
};

/// Plays a script against a session and keeps the account: prints every crossing of the boundary
/// and every problem, and counts the expectations that held and failed.
class Player {
  public:
    /// A quiet player prints expectations that failed, problems and what `echo` says.
    Player(Session& playedSession, std::ostream& output, bool quietly);
    /// A further host of the same script; what is printed of it is headed with its name.
    Player(Session& playedSession, Stage& sharedStage, std::string hostName);
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
    void FailNotStarted() { Fail("the plug-in is not started"); }
    /// A line of the transcript, beneath the crossing it belongs to.
    void Note(const std::string& text);
    void Echo(const std::string& text);

    /// Problems that were reported and are not yet accounted for by `expect problems`.
    size_t OpenProblems() const;
    void AcceptProblems();

    /// Does something that another line of the script asked for: what it says has that place.
    void At(const std::string& place, const std::function<void()>& act);

    /// Where the script stands: "name:line". For a report about a crash.
    const std::string& Place() const { return stage.place; }

  private:
    std::unique_ptr<Stage> ownStage; ///< the first player's

  public:
    Stage& stage;
    Session& session;
    Host& host;
    const std::string name;                  ///< of a further host; empty for the script's own
    std::unique_ptr<Arguments> arguments;    ///< of the last command called; null before one
    TypedValue result;                       ///< of the last command called
    std::map<std::string, PlayedArea> areas; ///< those that the script sent events, by their names
    std::filesystem::path libraryFolder;     ///< of the plug-in's DLL, with a backslash: ${library}

  private:
    void Watch();
    void Print(const LoggedCall& call);
    void Stop();
    void StopAll();
    void FailUnusedActions();

    std::string heading; ///< of each line; empty for the script's own host
    size_t acceptedProblems = 0;
    long lastProcess = 1; ///< in which the last crossing that was printed happened
};
