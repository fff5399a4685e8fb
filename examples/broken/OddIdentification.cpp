// Believes the length that a client's message gives, and copies so many bytes into a field of 31
// characters. Messages come from outside: a damaged one, or a client that means harm, overruns it.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr short identification = -2;
Ptr owner; // of the client that came last: 32 bytes

void Forget() {
    if (owner != nullptr) {
        DisposePtr(owner);
    }
    owner = nullptr;
}

void Identify(const char* message, long size) {
    Forget();
    owner = NewPtr(32);
    if (size < 1 || owner == nullptr) {
        return;
    }
    long length = std::min<long>(static_cast<unsigned char>(message[0]), size - 1);
    if (!isBroken) {
        length = std::min(length, 31L);
    }
    std::memcpy(owner, message, static_cast<size_t>(length) + 1);
}

void SendOwner() {
    Handle message = nullptr;
    ParameterBlock record{};
    if (PtrToHand("\x04Jane", &message, 5) == 0) {
        record.param2 = identification;
        record.handle = message;
        CallHost(Select("WriteOnServer"), record); // where there is no server nobody minds
        DisposeHandle(message);
    }
}

void OnEvent(long selector, void* params, void** result) {
    if (selector == HostEvent::Start) {
        SendOwner();
    } else if (selector == HostEvent::Stop) {
        Forget();
    } else if (selector == HostEvent::ServerWrite && *result != nullptr) {
        const auto& request = *static_cast<ServerRequest*>(params);
        if (request.call == 0 && request.kind == identification) {
            Identify(static_cast<const char*>(*result), request.size);
        }
    } else if (selector == HostEvent::ServerRead) {
        *result = nullptr;
        static_cast<ServerRequest*>(params)->size = 0;
    }
}

constexpr CommandEntry Commands[] = {{"Nothing", "()", [](CXParam*, CXResult*) {}}};
} // namespace

const Plugin plugin = Describe("OddIdentification", Commands, OnEvent);
