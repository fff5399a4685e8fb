// Does not look at the result code of a call: what the host did not answer is null, and the plug-in
// reads it all the same.

#include "examples/broken/Plugin.h"

namespace {
void FirstUnit(CXParam*, CXResult* result) {
    static const unsigned short text[] = {'t', 'e', 'x', 't', 0};
    if (HostVersion() < 0x1100) {
        return; // no such strings
    }
    FDEngineBlock record{};
    record.handle = reinterpret_cast<Handle>(const_cast<unsigned short*>(text));
    const OSErr error = CallHost(Select("CreateFDString"), record);
    if (!isBroken && error != 0) {
        return result->SetLong(error);
    }
    result->SetLong(record.string.units[0]);
    FDEngineBlock disposal{};
    disposal.string = record.string;
    CallHost(Select("DisposeFDString"), disposal);
}

constexpr CommandEntry Commands[] = {{"First unit", "() -> long", FirstUnit}};
} // namespace

const Plugin plugin = Describe("IgnoredError", Commands);
