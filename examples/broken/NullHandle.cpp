// Looks into a handle without asking whether it is one. A picture variable that nobody has set
// comes as null.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

namespace {
void FirstByte(CXParam* parameters, CXResult* result) {
    const Handle bytes = parameters[0].As<Handle>();
    if (!isBroken && (bytes == nullptr || GetHandleSize(bytes) == 0)) {
        return;
    }
    result->SetLong((*bytes)[0]);
}

constexpr CommandEntry Commands[] = {{"First byte", "(handle) -> long", FirstByte}};
} // namespace

const Plugin plugin = Describe("NullHandle", Commands);
