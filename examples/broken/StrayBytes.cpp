// Fills in the fields that a call takes and leaves the rest of the record as the stack had it. A
// host may look at any of it, and a later one will: all bytes have to be zero.

#include "examples/broken/Plugin.h"

#include <cstring>

namespace {
void NameOfProcess(CXParam* parameters, CXResult* result) {
    ParameterBlock record; // as the stack had it
    if (isBroken) {
        std::memset(&record, 0x5A, sizeof record); // so that what is there is the same in each run
        record.error = 0;
    } else {
        std::memset(&record, 0, sizeof record);
    }
    record.param1 = parameters[0].As<long>();
    CallHost(Select("ProcessInfo"), record);
    result->SetLong(record.param2);
}

constexpr CommandEntry Commands[] = {{"Process state", "(long) -> long", NameOfProcess}};
} // namespace

const Plugin plugin = Describe("StrayBytes", Commands);
