// Lets an exception leave the plug-in. The host is built with another compiler, or in another
// language, and knows nothing of it: the program ends.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <string>

namespace {
void ToNumber(CXParam* parameters, CXResult* result) {
    const auto* string = &parameters[0].As<unsigned char>();
    const std::string digits(reinterpret_cast<const char*>(string + 1), string[0]);
    if (isBroken) {
        return result->SetLong(std::stol(digits));
    }
    try {
        result->SetLong(std::stol(digits));
    } catch (const std::exception&) { // no number, or too large a one
        result->SetLong(0);
    }
}

constexpr CommandEntry Commands[] = {{"To number", "(string) -> long", ToNumber}};
} // namespace

const Plugin plugin = Describe("Exception", Commands);
