// Gives a string back to the host and changes it then. Such strings are the host's: where it stood
// there is something else now.

#include "examples/broken/Plugin.h"

namespace {
void SetAgain(CXParam*, CXResult* result) {
    static const unsigned short text[] = {'t', 'e', 'x', 't', 0};
    if (HostVersion() < 0x1100) {
        return; // no such strings
    }
    FDEngineBlock record{};
    record.handle = reinterpret_cast<Handle>(const_cast<unsigned short*>(text));
    if (CallHost(Select("CreateFDString"), record) != 0) {
        return;
    }
    FDEngineBlock disposal{};
    disposal.string = record.string;
    if (isBroken) {
        CallHost(Select("DisposeFDString"), disposal);
    }
    result->SetLong(CallHost(Select("SetFDString"), record)); // the text once more
    if (!isBroken) {
        disposal.string = record.string;
        CallHost(Select("DisposeFDString"), disposal);
    }
}

constexpr CommandEntry Commands[] = {{"Set again", "() -> long", SetAgain}};
} // namespace

const Plugin plugin = Describe("StringAfterDisposal", Commands);
