#include "testhost/session/Player.h"

#include "testhost/values/Encodings.h"

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

Player::Player(Session& playedSession, std::ostream& output, bool quietly)
    : ownStage(new Stage{.out = output, .quiet = quietly}),
      stage(*ownStage),
      session(playedSession),
      host(playedSession.host) {
    stage.current = this;
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
    host.log.onAdded = nullptr;
    host.boxes.onShown = nullptr;
    host.dialogs.onNote = nullptr;
    host.dialogs.onFailure = nullptr;
    host.onProblem = nullptr;
}

void Player::Watch() {
    stage.players.push_back(this);
    host.log.onAdded = [this](const LoggedCall& call) { Print(call); };
    host.boxes.onShown = [this](const HostBox& box) {
        Note(std::string(box.kind == HostBox::Kind::Alert ? "alert" : "confirm") + ": " +
             Quoted(box.text));
    };
    host.dialogs.onNote = [this](const std::string& text) { Note(text); };
    host.dialogs.onFailure = [this](const UserAction& action, const std::string& reason) {
        At(action.place, [&] { Fail(reason); });
    };
    host.onProblem = [this](const std::string& problem) {
        stage.out << "PROBLEM " << stage.place << ": " << heading << problem << std::endl;
    };
}

void Player::Print(const LoggedCall& call) {
    if (stage.quiet) {
        return;
    }
    // Flushed line by line, so that a crash shows what led to it.
    std::string indent(static_cast<size_t>(call.depth) * 2, ' ');
    if (!call.IsIntoPlugin() && call.process != lastProcess) {
        stage.out << heading << "  (process " << call.process << ")" << std::endl;
    }
    lastProcess = call.process;
    stage.out << heading << indent << (call.IsIntoPlugin() ? "→ " : "← ") << call.Describe()
              << std::endl;
}

void Player::Note(const std::string& text) {
    if (!stage.quiet) {
        stage.out << heading << "  " << text << std::endl;
    }
}

void Player::Echo(const std::string& text) {
    stage.out << text << std::endl;
}

void Player::Expect(bool expectationHeld, const std::string& expected, const std::string& got) {
    if (expectationHeld) {
        ++stage.held;
        return;
    }
    Fail("expected " + expected + ", got " + got);
}

void Player::Fail(const std::string& reason) {
    ++stage.failed;
    stage.out << "FAILED " << stage.place << ": " << heading << reason << std::endl;
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
    return host.problems.size() - acceptedProblems;
}

void Player::AcceptProblems() {
    acceptedProblems = host.problems.size();
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

bool Player::Play(const Script& script) {
    stage.scriptFolder = FromUtf8(script.name.substr(0, script.name.find_last_of("/\\") + 1));
    for (const Statement& statement : script.statements) {
        stage.place = script.name + ":" + std::to_string(statement.line);
        try {
            statement.play(*stage.current);
        } catch (const std::runtime_error& error) {
            stage.current->Fail(error.what());
        }
    }
    stage.place = script.name + ":end";
    StopAll();
    const size_t problems =
        Total(stage, [](const Player& player) { return player.OpenProblems(); });
    stage.out << Total(stage,
                       [](const Player& player) { return player.host.log.PluginCallCount(); })
              << " calls into the plug-in, "
              << Total(stage, [](const Player& player) { return player.host.log.HostCallCount(); })
              << " calls into the host, " << stage.held << " expectations held, " << stage.failed
              << " failed, " << problems << " problems" << std::endl;
    return stage.failed == 0 && problems == 0;
}
