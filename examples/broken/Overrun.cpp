// Makes a handle as long as a text and writes a zero behind its end. The byte belongs to the next
// block; what breaks is something else, and later.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <cstring>

namespace {
void Measure(CXParam* parameters, CXResult* result) {
    const TextBlock& text = parameters[0].As<TextBlock>();
    const Handle copy = NewHandle(isBroken ? text.length : text.length + 1);
    if (copy == nullptr) {
        return;
    }
    if (text.length > 0) {
        std::memcpy(*copy, *text.text, static_cast<size_t>(text.length));
    }
    (*copy)[text.length] = '\0';
    result->SetLong(static_cast<long>(std::strlen(*copy)));
    DisposeHandle(copy);
}

constexpr CommandEntry Commands[] = {{"Measure", "(text) -> long", Measure}};
} // namespace

const Plugin plugin = Describe("Overrun", Commands);
