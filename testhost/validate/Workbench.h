#pragma once

#include "testhost/plugins/CommandTable.h"
#include "testhost/session/Progress.h"
#include "testhost/validate/Findings.h"
#include "testhost/validate/Order.h"
#include "testhost/validate/Outcome.h"

#include <deque>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

/// Where a check plays its sessions, in a process of the check's own, and gathers what they find.
///
/// Every session's outcome goes into a journal. When one brings the process down, whoever watches
/// adds that outcome, and the check begins anew in another process: what the journal holds is not
/// played again. A check must therefore do the same each time; it may only depend on the order, on
/// outcomes, and on `random`.
class Workbench {
  public:
    /// Reads the journal, if there is one yet. Throws std::runtime_error when it cannot be read.
    Workbench(const Order& itsOrder, Progress& itsProgress);

    const Order& order;
    const int strictness;
    std::mt19937 random;

    /// Loads the plug-in once and asks for its commands. False when it cannot be loaded.
    bool Introduce();
    /// What the plug-in says of its commands, after Introduce; nothing when it says nothing.
    std::optional<CommandTable> table;

    /// Plays a session and keeps as findings what goes wrong in it.
    Outcome Try(const Case& played);
    /// Plays it to see what the plug-in does; problems are left to the check.
    Outcome Probe(const Case& played);
    /// Keeps a finding that no session of its own was played for.
    void Find(const std::string& sentence, const Case& shownBy);
    /// Says what the check leaves out, and why.
    void Note(const std::string& sentence);
    /// The check has nothing to do for this plug-in.
    void Skip(const std::string& reason) { result.skipped = reason; }
    /// So much was found, or so often did the plug-in go down, that nobody needs more.
    bool IsFull() const;

    CheckResult result;

  private:
    void Load();
    Outcome Play(const Case& played);
    Outcome PlayNow(const Case& played);
    Outcome TakeFromJournal();
    void Append(const Outcome& outcome) const;
    void Keep(const Case& played, Outcome::End end, const Problem& problem);
    Case Reduce(Case played, const std::string& signature, int budget, Problem& shown);
    bool Shows(const Case& played, const std::string& signature, Problem& shown);

    Progress& progress;
    std::deque<Outcome> journal;         ///< what was played by processes before this one
    std::map<std::string, size_t> known; ///< finding's place in the result, by its signature
    size_t ends = 0;                     ///< crashes and time-outs
    size_t timeOuts = 0;
};

/// The text of a session: what the host is, what every session of the order begins with, and the
/// case's own lines.
std::string ScriptOf(const Case& played, const std::vector<std::string>& setUp);
