// Keeps the handle of a variable's text beyond the call. It is the host's own: when the variable
// gets another value the handle is gone, and the plug-in asks about a block of somebody else.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
Handle text; // the host's: what the variable held when it was read

void Read() {
    ValueBlock value{};
    ParameterBlock record{};
    PutString(record.name, "vText");
    record.handle = reinterpret_cast<Handle>(&value);
    const OSErr error = CallHost(Select("GetVariable"), record);
    text = error == 0 && value.type == ValueType::Text ? value.text.text : nullptr;
}

void OnEvent(long, void*, void**) {
    text = nullptr;
}

void Length(CXParam*, CXResult* result) {
    if (!isBroken || text == nullptr) {
        Read();
    }
    result->SetLong(text != nullptr ? GetHandleSize(text) : 0);
}

constexpr CommandEntry Commands[] = {{"Length of vText", "() -> long", Length}};
} // namespace

const Plugin plugin = Describe("KeptVariable", Commands, OnEvent);
