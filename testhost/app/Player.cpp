#include "testhost/app/Player.h"

Player::Player(Session& playedSession, std::ostream& output, bool quietly)
    : session(playedSession), host(playedSession.host), out(output), quiet(quietly) {
    host.log.onAdded = [this](const LoggedCall& call) { Print(call); };
    host.boxes.onShown = [this](const HostBox& box) {
        Note(std::string(box.kind == HostBox::Kind::Alert ? "alert" : "confirm") + ": " +
             Quoted(box.text));
    };
    host.onProblem = [this](const std::string& problem) {
        out << "PROBLEM " << place << ": " << problem << std::endl;
    };
}

Player::~Player() {
    host.log.onAdded = nullptr;
    host.boxes.onShown = nullptr;
    host.onProblem = nullptr;
}

void Player::Print(const LoggedCall& call) {
    if (quiet) {
        return;
    }
    if (call.IsIntoPlugin()) {
        TellSkipped();
        callsPrinted = 0;
    } else if (++callsPrinted > maxCallsPrinted) {
        ++callsSkipped;
        return;
    }
    // Flushed line by line, so that a crash shows what led to it.
    std::string indent(static_cast<size_t>(call.depth) * 2, ' ');
    if (!call.IsIntoPlugin() && call.process != lastProcess) {
        out << "  (process " << call.process << ")" << std::endl;
    }
    lastProcess = call.process;
    out << indent << (call.IsIntoPlugin() ? "→ " : "← ") << call.Describe() << std::endl;
}

void Player::TellSkipped() {
    if (callsSkipped > 0) {
        out << "  … and " << callsSkipped << " more calls" << std::endl;
        callsSkipped = 0;
    }
}

void Player::Note(const std::string& text) {
    if (!quiet) {
        TellSkipped();
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
    scriptFolder = script.name.substr(0, script.name.find_last_of("/\\") + 1);
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
