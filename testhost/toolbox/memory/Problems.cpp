#include "testhost/toolbox/memory/Problems.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {
constexpr std::size_t mostProblems = 1000; // a loop that does wrong must not fill the memory
}

void Problems::Add(const char* format, ...) {
    if (sentences.size() >= mostProblems) {
        if (sentences.size() == mostProblems) {
            Keep("there are more than " + std::to_string(mostProblems) +
                 " problems: the further ones are not told");
        }
        return;
    }
    char sentence[500];
    va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    std::vsnprintf(sentence, sizeof sentence, format, arguments);
    va_end(arguments);
    Keep(sentence);
}

void Problems::Keep(std::string sentence) {
    sentences.push_back(std::move(sentence));
    if (onAdded) {
        onAdded();
    }
}

const std::string* Problems::At(long index) const {
    return index >= 0 && index < Count() ? &sentences[static_cast<std::size_t>(index)] : nullptr;
}
