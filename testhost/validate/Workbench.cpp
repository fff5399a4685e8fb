#include "testhost/validate/Workbench.h"

#include "testhost/model/ToolboxFailures.h"
#include "testhost/plugins/Library.h"
#include "testhost/session/Player.h"
#include "testhost/session/PlayScript.h"
#include "testhost/session/TextFile.h"
#include "testhost/statements/Table.h"
#include "testhost/toolbox/Control.h"
#include "testhost/validate/Json.h"
#include "testhost/validate/Signature.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <stdexcept>

namespace {
constexpr size_t mostFindings = 12;  // kept
constexpr size_t mostNotKept = 50;   // counted besides
constexpr size_t mostEnds = 12;      // crashes and time-outs, each of which takes a process
constexpr size_t mostTimeOuts = 3;   // each of which takes its time
constexpr size_t mostHostCalls = 60; // of a statement, that a check hears of

constexpr const char* scriptName = "session";

// What is said when a failure that a check asked for did not happen, or a dialog did not open: the
// plug-in's way was another one this time, which is no fault of it.
bool IsUnused(const std::string& sentence) {
    return sentence.find(" was to fail") != std::string::npos ||
           sentence.find("than the network was told about") != std::string::npos ||
           sentence == "no dialog asked the user for this";
}

// Number of the line that a place ("session:12") names, from 1; 0 for the end, and for none.
size_t LineOfPlace(const std::string& place) {
    const size_t colon = place.find_last_of(':');
    size_t line = 0;
    for (size_t at = colon + 1; colon != std::string::npos && at < place.size(); ++at) {
        if (place[at] < '0' || place[at] > '9') {
            return 0;
        }
        line = line * 10 + static_cast<size_t>(place[at] - '0');
    }
    return line;
}

// What a plug-in wrote into it would meet the next session. The process has a folder of its own.
void EmptyCurrentFolder() {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(".", error)) {
        std::filesystem::remove_all(entry.path(), error);
    }
}

// The lines in front of a case's own.
std::vector<std::string> Heading(const Case& played, const std::vector<std::string>& setUp) {
    std::vector<std::string> heading;
    if (played.version != Case().version) {
        heading.push_back("set version " + played.version);
    }
    if (played.role != Case().role) {
        heading.push_back("set role " + played.role);
    }
    heading.insert(heading.end(), setUp.begin(), setUp.end());
    return heading;
}

// What a place of a played case is: its statement, and the number of its own line.
struct CasePlace {
    std::string statement;
    std::optional<size_t> number;
};

CasePlace Locate(const std::string& place, const Case& played,
                 const std::vector<std::string>& setUp) {
    const std::vector<std::string> heading = Heading(played, setUp);
    const size_t line = LineOfPlace(place);
    if (line == 0 || line > heading.size() + played.lines.size()) {
        return {};
    }
    if (line <= heading.size()) {
        return {heading[line - 1], std::nullopt};
    }
    const size_t number = line - heading.size() - 1;
    return {played.lines[number], number};
}

// What shows at the end comes of the last thing that was done with the plug-in.
std::string LastDeed(const Case& played) {
    const auto last = std::ranges::find_if(
        played.lines.rbegin(), played.lines.rend(),
        [](const std::string& line) { return !line.starts_with("stop") && line != "run"; });
    return last != played.lines.rend() ? *last : "";
}

// Names of the last so many calls into the host; of many the first ones.
std::vector<std::string> LastHostCalls(const CallLog& log, size_t count) {
    std::vector<std::string> names;
    for (auto call = log.Calls().rbegin(); call != log.Calls().rend() && names.size() < count;
         ++call) {
        if (!call->IsIntoPlugin()) {
            names.push_back(call->name);
        }
    }
    std::ranges::reverse(names);
    names.resize(std::min(names.size(), mostHostCalls));
    return names;
}
} // namespace

std::string ScriptOf(const Case& played, const std::vector<std::string>& setUp) {
    std::string text;
    for (const std::string& line : Heading(played, setUp)) {
        text += line + "\n";
    }
    for (const std::string& line : played.lines) {
        text += line + "\n";
    }
    return text;
}

Workbench::Workbench(const Order& itsOrder, Progress& itsProgress)
    : order(itsOrder), strictness(itsOrder.strictness), progress(itsProgress) {
    std::seed_seq seed(order.check.begin(), order.check.end());
    std::vector<unsigned> numbers(1);
    seed.generate(numbers.begin(), numbers.end());
    random.seed(static_cast<unsigned>(order.seed) ^ numbers[0]);
    result.check = order.check;
    std::ifstream file(std::filesystem::path(FromUtf8(order.journal)), std::ios::binary);
    for (std::string line; std::getline(file, line);) {
        journal.push_back(nlohmann::json::parse(line).get<Outcome>());
    }
}

void Workbench::Append(const Outcome& outcome) const {
    std::ofstream file(std::filesystem::path(FromUtf8(order.journal)),
                       std::ios::binary | std::ios::app);
    file << LineOf(outcome) << "\n";
    if (!file.flush()) {
        throw std::runtime_error("the journal of the check cannot be written");
    }
}

void Workbench::Load() {
    progress.Enter(Progress::Phase::Loading);
    const PluginLibrary library(FromUtf8(order.plugin));
    if (library.Entries().describe != nullptr) {
        table = CommandTable::Read(library.Entries().describe);
    }
}

bool Workbench::Introduce() {
    Outcome outcome;
    try {
        if (journal.empty()) {
            Load();
            Append(outcome);
        } else {
            outcome = TakeFromJournal();
            if (outcome.problems.empty()) { // it was introduced to another process
                Load();
            }
        }
    } catch (const PluginLoadError& error) {
        outcome.problems.push_back({.statement = {}, .sentence = error.what()});
        Append(outcome);
    }
    progress.Enter(Progress::Phase::Preparing);
    return outcome.problems.empty();
}

// The outcome of the next session. What took a process along when the session was over already has
// a line of its own, and belongs to it.
Outcome Workbench::TakeFromJournal() {
    Outcome outcome = std::move(journal.front());
    journal.pop_front();
    while (!journal.empty() && journal.front().session == outcome.session) {
        outcome.end = journal.front().end;
        std::ranges::move(journal.front().problems, std::back_inserter(outcome.problems));
        journal.pop_front();
    }
    return outcome;
}

Outcome Workbench::Play(const Case& played) {
    ++result.sessions;
    progress.sessions = result.sessions;
    Outcome outcome;
    if (!journal.empty()) {
        outcome = TakeFromJournal();
    } else {
        outcome = PlayNow(played);
        outcome.session = result.sessions;
        Append(outcome);
        // Whatever takes the process along from here on is what plug-ins left of it.
        progress.Begin(0, "", "");
        progress.Enter(Progress::Phase::Unloading);
    }
    ends += outcome.end != Outcome::End::Finished ? 1 : 0;
    timeOuts += outcome.end == Outcome::End::TimedOut ? 1 : 0;
    std::erase_if(outcome.problems,
                  [](const Problem& problem) { return IsUnused(problem.sentence); });
    return outcome;
}

Outcome Workbench::PlayNow(const Case& played) {
    const Script script = ParseScript(ScriptOf(played, order.setUp), scriptName);
    if (!script.errors.empty()) {
        throw std::runtime_error("its session is wrong: " + script.errors.front());
    }
    Outcome outcome;
    const auto locate = [&](const std::string& place) {
        return Locate(place, played, order.setUp);
    };
    PlaySettings settings{.plugin = FromUtf8(order.plugin),
                          .resources = FromUtf8(order.resources),
                          .transcript = {.quiet = true}};
    settings.onFinding = [&](const std::string& place, const std::string& sentence) {
        outcome.problems.push_back({.statement = locate(place).statement, .sentence = sentence});
    };
    settings.onReady = [&](Stage& stage) {
        stage.onPlayed = [&, callsBefore = size_t{0}](Player& player) mutable {
            const size_t calls = player.host.log.HostCallCount() - callsBefore;
            callsBefore += calls;
            if (const auto number = locate(stage.place).number) {
                Facts& facts = outcome.facts[*number];
                facts.hostCalls = LastHostCalls(player.host.log, calls);
                facts.allocations = static_cast<size_t>(ToolboxFailures::TakeAllocations());
                facts.result = player.outcome ? player.outcome->result : "";
            }
        };
    };
    ToolboxReset();
    EmptyCurrentFolder();
    progress.account = {};
    progress.resumeFrom = 0;
    std::ostringstream transcript; // nobody reads it
    try {
        PlayScript(script, {}, settings, transcript, progress);
    } catch (const std::runtime_error& error) { // it cannot be loaded, or its resources are wrong
        outcome.problems.push_back({.statement = {}, .sentence = error.what()});
    }
    return outcome;
}

Outcome Workbench::Probe(const Case& played) {
    if (IsFull()) {
        Note("enough was found: what comes after it was left out");
        return {};
    }
    return Play(played);
}

Outcome Workbench::Try(const Case& played) {
    Outcome outcome = Probe(played);
    for (const Problem& problem : outcome.problems) {
        Keep(played, outcome.end, problem);
    }
    return outcome;
}

void Workbench::Find(const std::string& sentence, const Case& shownBy) {
    const auto [place, isNew] = known.emplace(SignatureOf(sentence), result.findings.size());
    if (!isNew) {
        ++result.findings[place->second].times;
        return;
    }
    result.findings.push_back({.version = shownBy.version,
                               .role = shownBy.role,
                               .statement = LastDeed(shownBy),
                               .sentence = sentence,
                               .calls = {},
                               .script = ScriptOf(shownBy, order.setUp)});
}

void Workbench::Note(const std::string& sentence) {
    if (std::ranges::find(result.notes, sentence) == result.notes.end()) {
        result.notes.push_back(sentence);
    }
}

bool Workbench::IsFull() const {
    return result.findingsNotKept >= mostNotKept || ends >= mostEnds || timeOuts >= mostTimeOuts;
}

void Workbench::Keep(const Case& played, Outcome::End end, const Problem& problem) {
    const std::string signature = SignatureOf(problem.sentence);
    if (const auto found = known.find(signature); found != known.end()) {
        ++result.findings[found->second].times;
        ends += end != Outcome::End::Finished ? 2 : 0; // what goes down again and again tells less
        return;
    }
    if (result.findings.size() >= mostFindings) {
        ++result.findingsNotKept;
        return;
    }
    known[signature] = result.findings.size();
    result.findings.push_back({.version = played.version,
                               .role = played.role,
                               .statement = problem.statement,
                               .sentence = problem.sentence,
                               .calls = problem.calls,
                               .script = {}});
    // A session that ends its process takes another one to play again, one that hangs its time.
    const int budget = end == Outcome::End::Finished ? 150 : end == Outcome::End::Crashed ? 30 : 2;
    Problem shown = problem;
    const Case reduced = Reduce(played, signature, budget, shown);
    Finding& finding = result.findings[known[signature]];
    finding.version = reduced.version;
    finding.role = reduced.role;
    finding.statement = shown.statement.empty() ? LastDeed(reduced) : shown.statement;
    finding.sentence = shown.sentence;
    finding.calls = shown.calls;
    finding.script = ScriptOf(reduced, order.setUp);
}

// Whether the session shows the problem of this signature, too.
bool Workbench::Shows(const Case& played, const std::string& signature, Problem& shown) {
    const size_t formerEnds = ends;
    const size_t formerTimeOuts = timeOuts;
    const Outcome outcome = Play(played);
    ends = formerEnds;
    timeOuts = formerTimeOuts;
    const auto found = std::ranges::find_if(outcome.problems, [&](const Problem& problem) {
        return SignatureOf(problem.sentence) == signature;
    });
    if (found == outcome.problems.end()) {
        return false;
    }
    shown = *found;
    return true;
}

// Leaves out what the problem shows without: halves of the session, quarters, and so on, down to
// single lines, playing at most `budget` sessions.
Case Workbench::Reduce(Case played, const std::string& signature, int budget, Problem& shown) {
    const auto accept = [&](const Case& candidate) {
        if (budget-- <= 0 || !Shows(candidate, signature, shown)) {
            return false;
        }
        played = candidate;
        return true;
    };
    // What stands behind a crash was not played at all.
    const auto last = std::ranges::find(played.lines, shown.statement);
    if (Case candidate = played; last != played.lines.end()) {
        candidate.lines.resize(static_cast<size_t>(last - played.lines.begin()) + 1);
        accept(candidate);
    }
    // Most faults need no more than the statement in which they show.
    if (played.lines.size() > 2) {
        Case candidate = played;
        candidate.lines = {"start", played.lines.back()};
        accept(candidate);
    }
    if (Case candidate = played; played.version != Case().version) {
        candidate.version = Case().version;
        accept(candidate);
    }
    if (Case candidate = played; played.role != Case().role) {
        candidate.role = Case().role;
        accept(candidate);
    }
    for (size_t size = (played.lines.size() + 1) / 2; size > 0 && budget > 0;
         size = size == 1 ? 0 : (size + 1) / 2) {
        for (size_t from = 0; from < played.lines.size() && budget > 0;) {
            Case candidate = played;
            const auto begin = candidate.lines.begin() + static_cast<std::ptrdiff_t>(from);
            const size_t count = std::min(size, candidate.lines.size() - from);
            candidate.lines.erase(begin, begin + static_cast<std::ptrdiff_t>(count));
            if (candidate.lines.empty() || !accept(candidate)) {
                from += count;
            }
        }
    }
    return played;
}
