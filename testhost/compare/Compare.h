#pragma once

#include "testhost/recordings/File.h"

#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>
#include <vector>

// The stand-in host is asked the calls of a recording, and its answers are held against those that
// were recorded: where they differ the stand-in is wrong. There is no plug-in.
//
// A call is served where it begins, because what it does is done before anything that happens
// within it: a dialog's filter finds what the user has done, a process that gives way is known to
// wait. Only the end of a dialog is served where it ends, since its areas and its variables are
// there as long as their handlers run. A call that was never answered is served, and not judged.

/// Where the answers of a service differ in a field, once or more often.
struct FoldedDifference {
    std::string service; ///< with its number: "GetVariable (-19)"
    std::string field;
    std::string recorded; ///< what the field held the first time
    std::string here;
    std::string place; ///< where that was
    size_t count = 0;
};

/// What came of a comparison.
struct ComparisonAccount {
    using Counts = std::map<std::string, std::map<std::string, size_t>>;

    std::string host;     ///< in words
    size_t calls = 0;     ///< that were answered in the recording
    size_t alike = 0;     ///< of these, with what was adopted
    size_t adopted = 0;   ///< of those alike: whose content is the recording's own
    size_t unjudged = 0;  ///< neither alike nor different: see notJudged
    size_t different = 0; ///< calls with a difference
    size_t unanswered = 0;
    Counts adoptions;                          ///< by the kind of fact, and service
    Counts notJudged;                          ///< the same, or by the reason
    std::vector<FoldedDifference> differences; ///< in the order in which they showed
    std::map<std::string, size_t> problems;    ///< that the stand-in would report of the plug-in

    bool IsGood() const { return different == 0 && alike != 0; }
};

struct CompareSettings {
    /// The plug-in's resource file; empty: the one beside the plug-in that was recorded, if it is
    /// there.
    std::filesystem::path resources;
    /// Is told every adoption as a line; may be empty.
    std::function<void(const std::string&)> onAdoption;
};

/// Throws RecordingError when nothing in the recording can be compared, or the resource file that
/// the settings name is none.
ComparisonAccount Compare(const RecordingFile& file, const CompareSettings& settings);
/// For people: the differences, then the sums.
void Print(const ComparisonAccount& account, std::ostream& out);
