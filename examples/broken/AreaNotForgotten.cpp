// Frees an area with its event 17 and leaves its address in the long that the host keeps for it.
// The host may send one more event, or makes the next area with the same long.

#include "examples/broken/Plugin.h"
#include "host/boundary/AreaEvents.h"
#include "platform/Toolbox.h"

namespace {
void HandleArea(CXParam* parameters, CXResult*) {
    EventRecord& event = parameters[0].As<EventRecord>();
    Ptr& clicks = parameters[3].As<Ptr>(); // how many; null where there is no area
    if (event.what == AreaEvent::Create || event.what == AreaEvent::CreateWithBlock) {
        if (clicks == nullptr) {
            clicks = NewPtr(4);
        }
    } else if (clicks != nullptr && event.what == AreaEvent::Delete) {
        DisposePtr(clicks);
        if (!isBroken) {
            clicks = nullptr;
        }
    } else if (clicks != nullptr && event.what == AreaEvent::MouseDown) {
        ++*clicks;
    }
}

constexpr CommandEntry Commands[] = {{"Area", "area that counts clicks", HandleArea}};
} // namespace

const Plugin plugin = Describe("AreaNotForgotten", Commands);
