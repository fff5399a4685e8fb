// Declares a text as its result and writes a handle into the cell, over the address where the host
// expects the text: the host reads what has never been written, and nobody disposes of the handle.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
void Hello(CXParam*, CXResult* result) {
    Handle text = nullptr;
    if (PtrToHand("Hello", &text, 5) != 0) {
        return;
    }
    if (isBroken) {
        result->SetLong(reinterpret_cast<long>(text));
    } else {
        result->As<TextBlock>() = {5, text};
    }
}

constexpr CommandEntry Commands[] = {{"Hello", "() -> text", Hello}};
} // namespace

const Plugin plugin = Describe("OverwrittenCell", Commands);
