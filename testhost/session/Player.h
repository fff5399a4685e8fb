#pragma once

#include "testhost/model/Network.h"
#include "testhost/plugins/RecorderInPlace.h"
#include "testhost/plugins/Session.h"
#include "testhost/session/Area.h"
#include "testhost/session/CrossingPrinter.h"
#include "testhost/session/Progress.h"
#include "testhost/session/Script.h"
#include "testhost/session/Transcript.h"

#include <array>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Player;

/// What a command did: what it called the host for, and its result and parameters afterwards, as
/// scripts write them.
struct CommandOutcome {
    CallLog::Names calls;
    std::string result;
    std::vector<std::string> parameters = {};
    std::string place = {}; ///< where it was remembered
};

/// What the players of one script, one for each host, have in common.
struct Stage {
    Transcript transcript;
    std::string place = {};            ///< where the script stands: "name:line"
    std::wstring scriptFolder = {};    ///< of the script, as its name was given, with the separator
    std::filesystem::path plugin = {}; ///< the plug-in's DLL, and
    std::filesystem::path resources =
        {};                              ///< its resource file: further hosts have copies; or empty
    RecorderInPlace recorder = {};       ///< in the place of the plug-in, and of each copy
    std::filesystem::path pictures = {}; ///< folder for pictures of windows; empty: none are made
    Progress ownProgress = {};
    Progress* progress = &ownProgress;  ///< kept up to date with every crossing
    Account before = progress->account; ///< of processes that played what comes before
    bool toldTable = false;             ///< what is wrong with the plug-in's table of commands
    bool isSettingUp = false; ///< what is played was played before, by a process that crashed
    Network network = {};
    std::map<std::string, CommandOutcome> remembered = {}; ///< by the names that `remember` gave
    std::vector<Player*> players = {};                     ///< the script's own host first
    /// Runs for each problem and each failed expectation, with its place; may be empty.
    std::function<void(const std::string& place, const std::string& sentence)> onFinding = {};
    std::function<void(Player&)> onPlayed = {}; ///< runs after each statement; may be empty
    Player* current = nullptr;                  ///< whom the statements concern
    /// Unloads the plug-in's library, loads it again so often, and answers its entry points then;
    /// empty where it is no library. What stays of it is for TakeUnloadFaults.
    std::function<EntryPoints(long rounds)> reload = {};
    std::vector<std::shared_ptr<void>> further =
        {}; ///< all hosts but the first, with their players
};

/// Plays a script against a session and keeps the account: prints every crossing of the boundary
/// and every problem, and counts the expectations that held and failed.
class Player {
  public:
    /// How far it is stands in `progress`, if any, where it goes on.
    Player(Session& playedSession, Transcript transcript, Progress* progress = nullptr);
    /// A further host of the same script; what is printed of it is headed with its name.
    Player(Session& playedSession, Stage& sharedStage, std::string hostName);
    ~Player();
    Player(const Player&) = delete;
    Player& operator=(const Player&) = delete;

    /// PlayAll, then Finish.
    bool Play(const Script& script);
    /// Plays the whole script and stops the plug-in if the script did not; the further hosts are
    /// gone then.
    void PlayAll(const Script& script);
    /// Prints the account. Answers whether every expectation held and no problem is left over.
    bool Finish();

    /// Counts an expectation, and says so when it failed.
    void Expect(bool held, const std::string& expected, const std::string& got);
    /// A statement that cannot be played as things stand: counts as a failed expectation.
    void Fail(const std::string& reason);
    void FailNotStarted() { Fail("the plug-in is not started"); }
    /// A line of the transcript, beneath the crossing it belongs to.
    void Note(const std::string& text);
    /// The same for what the plug-in may make happen again and again: on the screen what is of one
    /// kind folds. A kind that is empty has only what is the same.
    void NoteEvent(const std::string& text, std::string_view kind = {});
    void Echo(const std::string& text);

    /// Problems that were reported and are not yet accounted for by `expect problems`.
    size_t OpenProblems() const;
    void AcceptProblems();

    /// Does something that another line of the script asked for: what it says has that place.
    void At(const std::string& place, const std::function<void()>& act);

  private:
    std::unique_ptr<Stage> ownStage; ///< the first player's

  public:
    Stage& stage;
    Session& session;
    Host& host;
    const std::string name;                  ///< of a further host; empty for the script's own
    std::unique_ptr<Arguments> arguments;    ///< of the last command called; null before one
    TypedValue result;                       ///< of the last command called
    std::optional<CommandOutcome> outcome;   ///< of the last command called
    std::map<std::string, PlayedArea> areas; ///< those that the script sent events, by their names
    /// What reads answered that `request cleanup` has not cleaned up, by call and kind.
    std::map<std::pair<long, short>, std::vector<Request::Answer>> answers;
    std::filesystem::path libraryFolder; ///< of the plug-in's DLL, with a backslash: ${library}

  private:
    void Watch();
    void PlayStatement(const Script& script, size_t number);
    size_t SetUpAgain(const Script& script);
    void KeepAccount();
    void TellFinding(const std::string& sentence) const;
    void Stop();
    void StopAll();
    void LetFurtherHostsGo();
    void FailUnusedActions();

    std::string heading; ///< of each line; empty for the script's own host
    size_t acceptedProblems = 0;
    std::optional<CrossingPrinter> printer;
};
