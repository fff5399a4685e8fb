#include "testhost/session/Player.h"

#include "testhost/model/UnderWay.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <array>
#include <functional>
#include <new>
#include <numeric>
#include <utility>

namespace {
// The total of what `count` says of each host.
template <typename Count>
size_t Total(const Stage& stage, Count count) {
    return std::accumulate(stage.players.begin(), stage.players.end(), size_t{0},
                           [&](size_t sum, const Player* player) { return sum + count(*player); });
}
} // namespace

Player::Player(Session& playedSession, Transcript transcript, Progress* progress)
    : ownStage(new Stage{.transcript = std::move(transcript)}),
      stage(*ownStage),
      session(playedSession),
      host(playedSession.host) {
    stage.current = this;
    if (progress != nullptr) {
        stage.progress = progress;
        stage.before = progress->account;
    }
    stage.transcript.callsNotShown = &stage.progress->callsNotPrinted;
    EntryUnderWay::onChanged = [now = stage.progress](const EntryUnderWay* entry) {
        Progress::Copy(now->underWay, entry != nullptr ? entry->name : "");
    };
    Watch();
}

Player::Player(Session& playedSession, Stage& sharedStage, std::string hostName)
    : stage(sharedStage),
      session(playedSession),
      host(playedSession.host),
      name(std::move(hostName)),
      heading(name + ": ") {
    Watch();
}

Player::~Player() {
    if (ownStage != nullptr) {
        EntryUnderWay::onChanged = nullptr;
    }
    host.scriptPlace = nullptr;
    host.log.onAdded = nullptr;
    host.log.onEntryEnded = nullptr;
    host.boxes.onShown = nullptr;
    host.dialogs.onNote = nullptr;
    host.dialogs.onFailure = nullptr;
    host.onProblem = nullptr;
    host.onDebugText = nullptr;
}

void Player::Watch() {
    stage.players.push_back(this);
    printer.emplace(stage.transcript, stage.progress->callsNotPrinted, heading);
    host.scriptPlace = &stage.place;
    host.log.onAdded = [this](const LoggedCall& call) {
        KeepAccount();
        printer->Print(call);
    };
    host.log.onEntryEnded = [this](long process, int depth) { printer->EndEntry(process, depth); };
    host.boxes.onShown = [this](const HostBox& box) {
        NoteEvent(std::string(box.kind == HostBox::Kind::Alert ? "alert" : "confirm") + ": " +
                  Quoted(box.text));
    };
    host.dialogs.onNote = [this](const std::string& text) { NoteEvent(text); };
    host.dialogs.onFailure = [this](const UserAction& action, const std::string& reason) {
        At(action.place, [&] { Fail(reason); });
    };
    host.onDebugText = [this](const std::string& text) { NoteEvent("debugger: " + Quoted(text)); };
    host.onProblem = [this](const std::string& problem) {
        if (stage.isSettingUp) {
            return;
        }
        KeepAccount();
        TellFinding(heading + problem);
        stage.transcript.Problem(stage.place, heading + problem);
    };
}

void Player::Note(const std::string& text) {
    stage.transcript.Note(heading + "  " + text);
}

void Player::NoteEvent(const std::string& text, std::string_view kind) {
    const size_t blanks = std::min(text.find_first_not_of(' '), text.size());
    const Likeness likeness{.heading = &heading,
                            .depth = 1 + static_cast<int>(blanks / 2),
                            .process = 0,
                            .isCall = false,
                            .text = std::hash<std::string_view>()(kind.empty() ? text : kind)};
    const std::string line = heading + "  " + text;
    if (stage.transcript.Wants(Transcript::Sink::Screen) && !stage.transcript.Folds(likeness)) {
        stage.transcript.Line(Transcript::Sink::Screen, LineKind::Plain, line);
    }
    stage.transcript.Line(Transcript::Sink::File, LineKind::Plain, line);
}

void Player::Echo(const std::string& text) {
    stage.transcript.Say(LineKind::Plain, text);
}

void Player::Expect(bool expectationHeld, const std::string& expected, const std::string& got) {
    if (expectationHeld) {
        ++stage.progress->account.held;
        return;
    }
    Fail("expected " + expected + ", got " + got);
}

void Player::Fail(const std::string& reason) {
    if (stage.isSettingUp) {
        return;
    }
    ++stage.progress->account.failed;
    TellFinding(heading + reason);
    stage.transcript.Say(LineKind::Wrong, "FAILED " + stage.place + ": " + heading + reason);
}

void Player::TellFinding(const std::string& sentence) const {
    if (stage.onFinding) {
        stage.onFinding(stage.place, sentence);
    }
}

void Player::At(const std::string& place, const std::function<void()>& act) {
    const std::string now = std::exchange(stage.place, place);
    act();
    stage.place = now;
}

// What the script says of the user has to be reached: a dialog that never opens would make its
// expectations pass.
void Player::FailUnusedActions() {
    for (const UserAction& action : std::exchange(host.dialogs.actions, {})) {
        At(action.place, [this] { Fail("no dialog asked the user for this"); });
    }
}

size_t Player::OpenProblems() const {
    return host.ProblemCount() - acceptedProblems;
}

void Player::AcceptProblems() {
    acceptedProblems = host.ProblemCount();
    KeepAccount();
}

void Player::Stop() {
    FailUnusedActions();
    if (session.IsStarted()) {
        Note("(the script did not stop the plug-in)");
        session.Stop();
    }
    arguments.reset();
}

// The clients leave before the server does.
void Player::StopAll() {
    for (Player* player : stage.players) {
        if (&player->host != stage.network.Server()) {
            player->Stop();
        }
    }
    stage.network.DisconnectAll();
    for (Player* player : stage.players) {
        player->Stop();
    }
    if (const size_t unused = stage.network.TakeUnusedFaults(); unused > 0) {
        host.Report(std::to_string(unused) +
                    " requests fewer than the network was told about have travelled.");
    }
    // All hosts share one toolbox, and what their variables hold lies in it.
    for (Player* player : stage.players) {
        if (player != this) {
            player->session.ReportHostLeaks();
        }
    }
    session.ReportLeaks();
}

void Player::KeepAccount() {
    Account& account = stage.progress->account;
    const auto total = [this](auto count) { return Total(stage, count); };
    account.pluginCalls = stage.before.pluginCalls + total([](const Player& player) {
                              return player.host.log.PluginCallCount();
                          });
    account.hostCalls = stage.before.hostCalls +
                        total([](const Player& player) { return player.host.log.HostCallCount(); });
    account.problems =
        stage.before.problems + total([](const Player& player) { return player.OpenProblems(); });
}

void Player::PlayStatement(const Script& script, size_t number) {
    const Statement& statement = script.statements[number];
    stage.place = script.name + ":" + std::to_string(statement.line);
    stage.progress->Begin(number, stage.place, statement.text);
    try {
        statement.play(*stage.current);
    } catch (const std::runtime_error& error) {
        stage.current->Fail(error.what());
    } catch (const std::bad_alloc&) {
        stage.current->Fail("there is no memory left");
    }
    if (stage.onPlayed) {
        stage.onPlayed(*stage.current);
    }
    stage.transcript.EndStatement(stage.place);
}

// After a crash: sets the host up once more, without a word, as it was before the next `start`, and
// answers the number of that statement. What stands before it is played by nobody.
size_t Player::SetUpAgain(const Script& script) {
    const size_t from = stage.progress->resumeFrom;
    size_t next = from;
    while (next < script.statements.size() && !script.statements[next].starts) {
        ++next;
    }
    stage.progress->account.notPlayed += next - from;
    if (next == script.statements.size()) {
        return next;
    }
    stage.isSettingUp = stage.transcript.isSilent = true;
    for (size_t number = 0; number < next; ++number) {
        if (script.statements[number].setsUp) {
            PlayStatement(script, number);
        }
        stage.current->session.wasStarted |= script.statements[number].starts;
    }
    stage.isSettingUp = stage.transcript.isSilent = false;
    for (Player* player : stage.players) {
        player->AcceptProblems(); // they were told the first time
    }
    return next;
}

bool Player::Play(const Script& script) {
    PlayAll(script);
    return Finish();
}

void Player::PlayAll(const Script& script) {
    Progress& progress = *stage.progress;
    auto memoryForTheEnd = std::make_unique<std::array<char, 1 << 20>>();
    stage.scriptFolder = FromUtf8(script.name.substr(0, script.name.find_last_of("/\\") + 1));
    progress.statements = script.statements.size();
    progress.Enter(Progress::Phase::Playing);
    const size_t first = progress.resumeFrom == 0 ? 0 : SetUpAgain(script);
    for (size_t number = first; number < script.statements.size(); ++number) {
        PlayStatement(script, number);
    }
    stage.place = script.name + ":end";
    progress.Begin(script.statements.size(), stage.place, "");
    progress.Enter(Progress::Phase::Stopping);
    try {
        StopAll();
    } catch (const std::bad_alloc&) { // the plug-in has left over all that there is
        memoryForTheEnd.reset();
        Fail("there is no memory left to tell what is left over");
    }
    KeepAccount();
    const Account& account = progress.account;
    if (account.pluginCalls == 0 && account.held + account.failed == 0) {
        Fail("nothing was played: the plug-in was never called, and nothing expected");
    }
    LetFurtherHostsGo();
}

// Their libraries are unloaded with them; their counts stay.
void Player::LetFurtherHostsGo() {
    for (const Player* player : stage.players) {
        if (player != this) {
            stage.before.pluginCalls += player->host.log.PluginCallCount();
            stage.before.hostCalls += player->host.log.HostCallCount();
            stage.before.problems += player->OpenProblems();
        }
    }
    stage.transcript.Break(); // what it has to say yet may be headed with a name of theirs
    stage.current = this;
    stage.players = {this};
    stage.further.clear();
}

bool Player::Finish() {
    stage.transcript.EndStatement(stage.place);
    Progress& progress = *stage.progress;
    progress.hasAccount = true;
    const bool isGood = progress.account.IsGood();
    progress.toldAccount = stage.transcript.Say(isGood ? LineKind::Good : LineKind::Wrong,
                                                progress.account.Describe());
    return isGood;
}
