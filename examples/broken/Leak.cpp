// Each call leaves a handle behind. In a loop over a table's records the host runs out of memory.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <algorithm>

namespace {
// Counts the words of a copy in capitals.
void CountLetters(CXParam* parameters, CXResult* result) {
    const TextBlock& text = parameters[0].As<TextBlock>();
    Handle copy = text.text;
    if (text.length == 0 || HandToHand(&copy) != 0) {
        return;
    }
    result->SetLong(static_cast<long>(std::count(*copy, *copy + text.length, 'e')));
    if (!isBroken) {
        DisposeHandle(copy);
    }
}

constexpr CommandEntry Commands[] = {{"Count e", "(text) -> long", CountLetters}};
} // namespace

const Plugin plugin = Describe("Leak", Commands);
