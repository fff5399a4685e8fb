// Uses a new handle without asking whether there is one. On the day when there is no memory the
// host crashes, instead of a command that answers an error.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
constexpr long memoryFull = -108;

void Sum(CXParam* parameters, CXResult* result) {
    const Handle table = NewHandleClear(1024);
    if (!isBroken && table == nullptr) {
        return result->SetLong(memoryFull);
    }
    (*table)[0] = static_cast<char>(parameters[0].As<long>());
    result->SetLong((*table)[0] + (*table)[1]);
    DisposeHandle(table);
}

constexpr CommandEntry Commands[] = {{"Sum", "(long) -> long", Sum}};
} // namespace

const Plugin plugin = Describe("UncheckedMemory", Commands);
