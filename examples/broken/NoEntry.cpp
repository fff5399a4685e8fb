// The library exports no FourDPack: its list of exported names (NoEntry.def) leaves it out. The
// host finds no plug-in in it, and says nothing: the commands are simply not there.

#include "examples/broken/Plugin.h"

namespace {
void Double(CXParam* parameters, CXResult* result) {
    result->SetLong(static_cast<long>(parameters[0].As<unsigned long>() * 2));
}

constexpr CommandEntry Commands[] = {{"Double", "(long) -> long", Double}};
} // namespace

const Plugin plugin = Describe("NoEntry", Commands);
