// Takes the blanks off the end of a text and does not stop at its beginning: an empty text, or one
// of blanks only, is written to before its first byte.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <cstring>

namespace {
void Trim(CXParam* parameters, CXResult* result) {
    const TextBlock& text = parameters[0].As<TextBlock>();
    const Handle copy = NewHandle(text.length + 1);
    if (copy == nullptr) {
        return;
    }
    if (text.length > 0) {
        std::memcpy(*copy, *text.text, static_cast<size_t>(text.length));
    }
    char* last = *copy + text.length - 1;
    while ((isBroken && last == *copy - 1) || (last >= *copy && *last == ' ')) {
        *last-- = '\0';
    }
    result->SetLong(static_cast<long>(last - *copy) + 1);
    DisposeHandle(copy);
}

constexpr CommandEntry Commands[] = {{"Trimmed length", "(text) -> long", Trim}};
} // namespace

const Plugin plugin = Describe("Underrun", Commands);
