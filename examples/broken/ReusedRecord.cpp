// Uses one record for two calls: what the host has answered to the first goes along with the
// second, in fields that this takes for nothing, or for something else.

#include "examples/broken/Plugin.h"

namespace {
void GiveWay(CXParam*, CXResult* result) {
    ParameterBlock record{};
    CallHost(Select("CurrentProcess"), record);
    result->SetLong(record.param1);
    if (!isBroken) {
        record = {};
    }
    CallHost(Select("YieldToOthers"), record);
}

constexpr CommandEntry Commands[] = {{"Give way", "() -> long process", GiveWay}};
} // namespace

const Plugin plugin = Describe("ReusedRecord", Commands);
