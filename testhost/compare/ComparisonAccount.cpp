#include "testhost/compare/Compare.h"

namespace {
void PrintCounts(const ComparisonAccount::Counts& counts, const char* what, std::ostream& out) {
    for (const auto& [reason, services] : counts) {
        out << what << reason << ":";
        const char* separator = " ";
        for (const auto& [service, count] : services) {
            out << separator << service << " " << count;
            separator = ", ";
        }
        out << "\n";
    }
}
} // namespace

void Print(const ComparisonAccount& account, std::ostream& out) {
    out << "Compared with the stand-in as " << account.host << "\n";
    for (const FoldedDifference& each : account.differences) {
        out << "DIFFERENCE " << each.service << ", " << each.field << ": recorded " << each.recorded
            << ", the stand-in " << each.here << "\n  "
            << (each.count > 1 ? std::to_string(each.count) + " times, first in " : "in ")
            << each.place << "\n";
    }
    for (const auto& [problem, count] : account.problems) {
        out << "PROBLEM of the plug-in, not of the stand-in: " << problem
            << (count > 1 ? " (" + std::to_string(count) + " times)" : "") << "\n";
    }
    PrintCounts(account.adoptions, "adopted ", out);
    PrintCounts(account.notJudged, "not judged ", out);
    out << account.calls << " answers compared: " << account.alike << " alike, of which "
        << account.adopted << " in what was adopted; " << account.unjudged << " not judged, "
        << account.different << " different";
    if (account.unanswered != 0) {
        out << "; " << account.unanswered << " calls never answered";
    }
    out << "\n";
}
