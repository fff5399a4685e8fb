// The server's copy takes for granted that each clean-up belongs to a call that it has taken, and
// to none that is cleaned up already. The host cleans up what it has asked about, too, without a
// call.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
struct Pending {
    long call;
    Handle answer;
};
Pending* pending; // one at a time

void Forget() {
    DisposeHandle(pending->answer);
    DisposePtr(reinterpret_cast<Ptr>(pending));
    pending = nullptr;
}

void Take(const ServerRequest& request, const void* data) {
    Handle answer = nullptr; // the same bytes
    if (pending != nullptr) {
        Forget();
    }
    if (PtrToHand(data, &answer, request.size) == 0) {
        pending = reinterpret_cast<Pending*>(NewPtr(sizeof *pending));
    }
    if (pending != nullptr) {
        *pending = {request.call, answer};
    } else if (answer != nullptr) {
        DisposeHandle(answer);
    }
}

void OnEvent(long selector, void* params, void** result) {
    auto* request = static_cast<ServerRequest*>(params);
    if (selector == HostEvent::ServerWrite && *result != nullptr) {
        Take(*request, *result);
    } else if (selector == HostEvent::ServerRead) {
        const bool isKnown = pending != nullptr && pending->call == request->call;
        *result = isKnown ? *pending->answer : nullptr;
        request->size = isKnown ? GetHandleSize(pending->answer) : 0;
    } else if (selector == HostEvent::ServerCleanUp) {
        if (isBroken || (pending != nullptr && pending->call == request->call)) {
            Forget();
        }
    } else if (selector == HostEvent::Stop && pending != nullptr) {
        Forget();
    }
}

constexpr CommandEntry Commands[] = {{"Nothing", "()", [](CXParam*, CXResult*) {}}};
} // namespace

const Plugin plugin = Describe("CleanUpUnread", Commands, OnEvent);
