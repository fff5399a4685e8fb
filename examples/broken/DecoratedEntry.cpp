// FourDPack is exported as _FourDPack@16 only (DecoratedEntry.def): what a compiler makes of a
// function that removes its arguments when no list of names says otherwise. The host asks for the
// plain name.

#include "examples/broken/Plugin.h"

namespace {
void Double(CXParam* parameters, CXResult* result) {
    result->SetLong(static_cast<long>(parameters[0].As<unsigned long>() * 2));
}

constexpr CommandEntry Commands[] = {{"Double", "(long) -> long", Double}};
} // namespace

const Plugin plugin = Describe("DecoratedEntry", Commands);
