// Disposes of a handle and keeps it: the next call disposes of it once more, by when it may be
// somebody else's.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
Handle copy;

void Forget() {
    if (copy != nullptr) {
        DisposeHandle(copy);
        if (!isBroken) {
            copy = nullptr;
        }
    }
}

void OnEvent(long selector, void*, void**) {
    if (selector == HostEvent::Stop) {
        Forget();
    }
}

// Keeps a copy of the text; an empty one only forgets the last.
void Keep(CXParam* parameters, CXResult* result) {
    Forget();
    const TextBlock& text = parameters[0].As<TextBlock>();
    if (text.length > 0) {
        copy = text.text;
        copy = HandToHand(&copy) == 0 ? copy : nullptr;
    }
    result->SetLong(text.length);
}

constexpr CommandEntry Commands[] = {{"Keep", "(text) -> long", Keep}};
} // namespace

const Plugin plugin = Describe("DoubleDisposal", Commands, OnEvent);
