#include "testhost/app/Player.h"

Player::Player(Session& playedSession, std::ostream& output, bool quietly)
    : session(playedSession), host(playedSession.host), out(output), quiet(quietly) {
    host.log.onAdded = [this](const LoggedCall& call) { Print(call); };
    host.onProblem = [this](const std::string& problem) {
        out << "PROBLEM " << place << ": " << problem << std::endl;
    };
}

Player::~Player() {
    host.log.onAdded = nullptr;
    host.onProblem = nullptr;
}

void Player::Print(const LoggedCall& call) {
    if (quiet) {
        return;
    }
    // Flushed line by line, so that a crash shows what led to it.
    std::string indent(static_cast<size_t>(call.depth) * 2, ' ');
    out << indent << (call.IsIntoPlugin() ? "→ " : "← ") << call.Describe() << std::endl;
}

void Player::Note(const std::string& text) {
    if (!quiet) {
        out << "  " << text << std::endl;
    }
}

void Player::Echo(const std::string& text) {
    out << text << std::endl;
}

void Player::Expect(bool expectationHeld, const std::string& expected, const std::string& got) {
    if (expectationHeld) {
        ++held;
        return;
    }
    ++failed;
    out << "FAILED " << place << ": expected " << expected << ", got " << got << std::endl;
}

void Player::Fail(const std::string& reason) {
    ++failed;
    out << "FAILED " << place << ": " << reason << std::endl;
}

size_t Player::OpenProblems() const {
    return host.problems.size() - acceptedProblems;
}

void Player::AcceptProblems() {
    acceptedProblems = host.problems.size();
}

bool Player::Play(const Script& script) {
    for (const Statement& statement : script.statements) {
        place = script.name + ":" + std::to_string(statement.line);
        try {
            statement.Play(*this);
        } catch (const ScriptError& error) {
            Fail(error.what());
        }
    }
    place = script.name + ":end";
    if (session.IsStarted()) {
        Note("(the script did not stop the plug-in)");
        session.Stop();
    }
    arguments.reset();
    session.ReportLeaks();
    out << host.log.PluginCallCount() << " calls into the plug-in, " << host.log.HostCallCount()
        << " calls into the host, " << held << " expectations held, " << failed << " failed, "
        << OpenProblems() << " problems" << std::endl;
    return failed == 0 && OpenProblems() == 0;
}
