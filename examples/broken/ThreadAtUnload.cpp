// A thread of the plug-in still runs when the library goes: soon the code that it runs is not there
// any more, and the host crashes in nobody's name.

#include "examples/broken/Plugin.h"

#include <windows.h>

namespace {
HANDLE thread;
HANDLE mayEnd;
volatile long seconds;

DWORD WINAPI Count(void*) {
    while (WaitForSingleObject(mayEnd, 10) == WAIT_TIMEOUT) {
        seconds = seconds + 1;
    }
    return 0;
}

void OnEvent(long selector, void*, void**) {
    if (selector == HostEvent::Start) {
        mayEnd = CreateEventA(nullptr, TRUE, FALSE, nullptr);
        thread = CreateThread(nullptr, 0, Count, nullptr, 0, nullptr);
    } else if (selector == HostEvent::Stop && !isBroken) {
        SetEvent(mayEnd);
        WaitForSingleObject(thread, INFINITE);
        CloseHandle(thread);
        CloseHandle(mayEnd);
    }
}

constexpr CommandEntry Commands[] = {{"Nothing", "()", [](CXParam*, CXResult*) {}}};
} // namespace

const Plugin plugin = Describe("ThreadAtUnload", Commands, OnEvent);
