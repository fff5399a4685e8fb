// Starts a process that never asks whether it is to end. The host waits for it when the database is
// closed, and in the end takes the stack away from under it.

#include "examples/broken/Plugin.h"

namespace {
long turns;

bool IsToEnd() {
    ParameterBlock record{};
    CallHost(Select("IsProcessDying"), record);
    return record.flag1 != 0;
}

HOST_CALL void Work() {
    while (isBroken || !IsToEnd()) {
        ++turns;
        Yield();
    }
}

void StartWork(CXParam*, CXResult* result) {
    ParameterBlock record{};
    PutString(record.valueText, "Work");
    record.param3 = 65536; // bytes of stack
    record.handle = reinterpret_cast<Handle>(&Work);
    result->SetLong(CallHost(Select("NewProcess"), record));
}

constexpr CommandEntry Commands[] = {{"Start work", "() -> long error", StartWork}};
} // namespace

const Plugin plugin = Describe("EndlessProcess", Commands);
