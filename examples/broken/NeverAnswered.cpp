// The server's copy answers the one kind of question that it knows, and a client asks until it gets
// an answer. A client of a newer release asks another kind, and waits for ever.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
constexpr long call = -0x7FFFFFFF; // the highest bit: an answer is expected
constexpr short greeting = 1;
constexpr long noAnswer = -1;

void OnEvent(long selector, void* params, void** result) {
    static char hello[] = "hello";
    if (selector == HostEvent::ServerRead) {
        auto* request = static_cast<ServerRequest*>(params);
        const bool isKnown = !isBroken || request->kind == greeting;
        *result = isKnown ? hello : nullptr;
        request->size = isKnown ? 5 : 0;
    }
}

void Ask(CXParam* parameters, CXResult* result) {
    for (;;) {
        ParameterBlock record{};
        record.param1 = call;
        record.param2 = parameters[0].As<short>();
        if (const OSErr error = CallHost(Select("ReadOnServer"), record); error != 0) {
            return result->SetLong(error);
        }
        if (record.handle != nullptr) {
            result->SetLong(GetHandleSize(record.handle));
            return DisposeHandle(record.handle);
        }
        if (!isBroken) {
            return result->SetLong(noAnswer);
        }
        Yield();
    }
}

constexpr CommandEntry Commands[] = {{"Ask", "(short kind) -> long size", Ask}};
} // namespace

const Plugin plugin = Describe("NeverAnswered", Commands, OnEvent);
