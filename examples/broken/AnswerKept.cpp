// Makes each answer of the server's copy in memory of its own and leaves it there when the host
// asks to clean up. The server runs for months.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <cstring>

namespace {
Ptr answer;

void Forget() {
    if (answer != nullptr && !isBroken) {
        DisposePtr(answer);
    }
    answer = nullptr;
}

void OnEvent(long selector, void* params, void** result) {
    if (selector == HostEvent::ServerRead) {
        Forget();
        answer = NewPtr(5);
        if (answer != nullptr) {
            std::memcpy(answer, "hello", 5);
        }
        *result = answer;
        static_cast<ServerRequest*>(params)->size = answer != nullptr ? 5 : 0;
    } else if (selector == HostEvent::ServerCleanUp || selector == HostEvent::Stop) {
        Forget();
    }
}

void Ask(CXParam*, CXResult* result) {
    ParameterBlock record{};
    record.param1 = -0x7FFFFFFF; // the highest bit: an answer is expected
    record.param2 = 1;
    if (CallHost(Select("ReadOnServer"), record) == 0 && record.handle != nullptr) {
        result->SetLong(GetHandleSize(record.handle));
        DisposeHandle(record.handle);
    }
}

constexpr CommandEntry Commands[] = {{"Ask", "() -> long size", Ask}};
} // namespace

const Plugin plugin = Describe("AnswerKept", Commands, OnEvent);
