#pragma once

#include "testhost/crossings/Log.h"
#include "testhost/session/Transcript.h"

#include <array>
#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <utility>

/// Prints what crosses the boundary as lines of a transcript: the screen gets the first calls of
/// each entry into the plug-in, the others are counted.
class CrossingPrinter {
  public:
    /// Each line is headed with `heading`. `callsNotPrinted` is kept up to date with those of
    /// entries that are under way.
    CrossingPrinter(Transcript& itsTranscript, size_t& itsCallsNotPrinted, std::string itsHeading)
        : transcript(itsTranscript),
          callsNotPrinted(itsCallsNotPrinted),
          heading(std::move(itsHeading)) {}

    /// What `beneath` says of the crossing goes wherever its line goes.
    void Print(const LoggedCall& call, std::span<const std::string> beneath = {});
    /// An entry is over: says what was not printed of it.
    void EndEntry(long process, int depth);

  private:
    /// What was printed of the calls that an entry into the plug-in makes, and what was not.
    struct PrintedEntry {
        size_t calls = 0;
        std::map<std::string, size_t> unprinted; ///< by name
    };

    /// Whether the screen shows it; counts it when not.
    bool Shows(const LoggedCall& call);

    Transcript& transcript;
    size_t& callsNotPrinted;
    const std::string heading;
    std::map<std::pair<long, int>, PrintedEntry> entries; ///< under way, by process and depth
    std::array<long, 2> lastProcess = {1, 1}; ///< of the last crossing that each sink has got
};
