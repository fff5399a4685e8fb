#include "testhost/toolbox/memory/ForeignCalls.h"

#include "testhost/toolbox/memory/Problems.h"

#include <string>

#include <windows.h>

// What the stubs look at, and where they go when the thread is another.
extern "C" {
DWORD hostThread = 0;
long RefuseForeignCall(GuardedCall& call);
}

namespace {
std::atomic<bool> anyRefused;
}

long RefuseForeignCall(GuardedCall& call) {
    ++call.refused;
    anyRefused = true;
    return call.refusal;
}

void SetHostThread() {
    hostThread = GetCurrentThreadId();
}

void TakeForeignCalls(Problems& problems) {
    if (!anyRefused.exchange(false)) {
        return;
    }
    for (GuardedCall* call = guardedCalls; call->name; ++call) {
        if (const long count = call->refused.exchange(0)) {
            problems.Add("%s was called%s from another thread than the one that the host calls the "
                         "plug-in in",
                         call->name,
                         count > 1 ? (" " + std::to_string(count) + " times").c_str() : "");
        }
    }
}
