#include "testhost/session/Folding.h"

bool Folding::Folds(const Likeness& line) {
    constexpr size_t timesShown = 3;
    size_t repeats = 0; // the group that the line goes on with
    for (size_t size = longestGroup; size > 0; --size) {
        size_t& count = repeated[size - 1];
        const bool isLike = seen >= size && last[(seen - size) % longestGroup] == line;
        count = isLike ? count + 1 : 0;
        repeats = count > (timesShown - 1) * size ? size : repeats;
    }
    last[seen++ % longestGroup] = line;
    if (repeats == 0) {
        return false;
    }
    if (folded++ == 0) {
        first = line;
        group = repeats;
    }
    calls += line.isCall ? 1 : 0;
    return true;
}

std::string Folding::Take() {
    if (folded == 0) {
        return "";
    }
    constexpr const char* like[] = {"it", "these two", "these three"};
    const char* const what = calls < folded ? "line" : "call";
    std::string text = *first.heading + std::string(static_cast<size_t>(first.depth) * 2, ' ') +
                       (first.isCall ? "← … " : "… ") + std::to_string(folded) + " more " + what +
                       (folded == 1 ? "" : "s") + " like " + like[group - 1];
    folded = 0;
    calls = 0;
    return text;
}
