// Numbers go on where they were when the plug-in was stopped: no start sets them back. Whoever
// opens a second database gets other answers than after a fresh start of the host.

#include "examples/broken/Plugin.h"

namespace {
long lastNumber = 0;

void OnEvent(long selector, void*, void**) {
    if (!isBroken && selector == HostEvent::Start) {
        lastNumber = 0;
    }
}

void NextNumber(CXParam*, CXResult* result) {
    result->SetLong(++lastNumber);
}

constexpr CommandEntry Commands[] = {{"Next number", "() -> long", NextNumber}};
} // namespace

const Plugin plugin = Describe("StateKept", Commands, OnEvent);
