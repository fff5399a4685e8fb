#include "testhost/session/Transcript.h"

namespace {
constexpr size_t mostLines = 1000;
constexpr size_t mostSentences = 100;
constexpr size_t mostOfSentence = 10;
} // namespace

// Flushed line by line, so that a crash shows what led to it.
void Transcript::Line(const std::string& text) {
    if (!quiet && ++lines <= mostLines) {
        out << text << std::endl;
    }
}

void Transcript::Problem(const std::string& place, const std::string& sentence) {
    if (problems.size() == mostSentences && !problems.contains(sentence)) {
        ++otherProblems;
    } else if (++problems[sentence] <= mostOfSentence) {
        out << "PROBLEM " << place << ": " << sentence << std::endl;
    }
}

void Transcript::EndStatement(const std::string& place) {
    if (lines > mostLines) {
        out << "  ... and " << lines - mostLines << " more lines" << std::endl;
    }
    for (const auto& [sentence, count] : problems) {
        if (count > mostOfSentence) {
            out << "PROBLEM " << place << ": ... and " << count - mostOfSentence
                << " more like it: " << sentence << std::endl;
        }
    }
    if (otherProblems > 0) {
        out << "PROBLEM " << place << ": ... and " << otherProblems << " others" << std::endl;
    }
    lines = 0;
    problems.clear();
    otherProblems = 0;
}
