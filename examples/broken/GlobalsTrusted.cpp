// Takes for granted that the host hands out its record of globals. Not every host does: where there
// is none the plug-in crashes while it is started, and the database does not open.

#include "examples/broken/Plugin.h"

namespace {
void OnEvent(long selector, void*, void**) {
    if (selector != HostEvent::Start) {
        return;
    }
    ParameterBlock record{};
    CallHost(Select("MacGlobals"), record);
    if (isBroken || record.handle != nullptr) {
        static_cast<void>(*static_cast<char* volatile*>(record.handle));
    }
}

constexpr CommandEntry Commands[] = {{"Nothing", "()", [](CXParam*, CXResult*) {}}};
} // namespace

const Plugin plugin = Describe("GlobalsTrusted", Commands, OnEvent);
