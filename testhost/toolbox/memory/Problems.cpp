#include "testhost/toolbox/memory/Problems.h"

#include <cstdarg>
#include <cstdio>

namespace {
constexpr std::size_t mostProblems = 1000; // a loop that does wrong must not fill the memory
}

void Problems::Add(const char* format, ...) {
    if (sentences.size() >= mostProblems) {
        if (sentences.size() == mostProblems) {
            sentences.emplace_back("there are more than " + std::to_string(mostProblems) +
                                   " problems: the further ones are not told");
        }
        return;
    }
    char sentence[500];
    va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    std::vsnprintf(sentence, sizeof sentence, format, arguments);
    va_end(arguments);
    sentences.emplace_back(sentence);
}

const std::string* Problems::At(long index) const {
    return index >= 0 && index < Count() ? &sentences[static_cast<std::size_t>(index)] : nullptr;
}
