// Prepares its answer in a buffer that all processes share, and gives way before it hands it out:
// the second process that calls meanwhile gets its answer, and so does the first.

#include "examples/broken/Plugin.h"

#include <cstring>

namespace {
Str255 shared;

void Greet(CXParam* parameters, CXResult* result) {
    Str255 own;
    unsigned char* greeting = isBroken ? shared : own;
    const auto* name = &parameters[0].As<unsigned char>();
    std::memcpy(greeting, name, name[0] + size_t{1});
    Yield();
    std::memcpy(&result->As<unsigned char>(), greeting, greeting[0] + size_t{1});
}

constexpr CommandEntry Commands[] = {{"Greet", "(string) -> string", Greet}};
} // namespace

const Plugin plugin = Describe("SharedBuffer", Commands);
