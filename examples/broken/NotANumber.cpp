// Finds a row in a table by a real between 0 and 1, and asks whether it is below 0 or above 1. What
// is not a number is neither, and becomes the smallest of all row numbers.

#include "examples/broken/Plugin.h"

namespace {
constexpr char Marks[][7] = {"none", "low", "middle", "high", "all"};

void Mark(CXParam* parameters, CXResult* result) {
    const double share = parameters[0].As<double>();
    const bool isOutside = isBroken ? share < 0 || share > 1 : !(share >= 0 && share <= 1);
    PutString(&result->As<unsigned char>(), isOutside ? "?" : Marks[static_cast<int>(share * 4)]);
}

constexpr CommandEntry Commands[] = {{"Mark", "(real) -> string", Mark}};
} // namespace

const Plugin plugin = Describe("NotANumber", Commands);
