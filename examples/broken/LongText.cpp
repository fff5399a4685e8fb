// Has room for the 255 characters of a string and is handed a text: what does not fit goes over the
// stack, and over the address that the command returns to.

#include "examples/broken/Plugin.h"

#include <algorithm>
#include <cstring>

namespace {
void CountBlanks(CXParam* parameters, CXResult* result) {
    const TextBlock& text = parameters[0].As<TextBlock>();
    size_t length = text.text == nullptr ? 0 : static_cast<size_t>(text.length);
    if (!isBroken) {
        length = std::min<size_t>(length, 255);
    }
    char characters[255];
    if (length > 0) {
        std::memcpy(characters, *text.text, length);
    }
    result->SetLong(static_cast<long>(std::count(characters, characters + length, ' ')));
}

constexpr CommandEntry Commands[] = {{"Count blanks", "(text) -> long", CountBlanks}};
} // namespace

const Plugin plugin = Describe("LongText", Commands);
