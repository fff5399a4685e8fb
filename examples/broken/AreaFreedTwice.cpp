// What a selected area keeps for its undo is freed when the area goes (17), and freed again with
// the next event that ends a selection: the one place does not tell the other.

#include "examples/broken/Plugin.h"
#include "host/boundary/AreaEvents.h"
#include "platform/Toolbox.h"

namespace {
Ptr undo; // of the area that is selected

void ForgetUndo() {
    if (undo != nullptr) {
        DisposePtr(undo);
    }
    undo = nullptr;
}

void HandleArea(CXParam* parameters, CXResult*) {
    switch (parameters[0].As<EventRecord>().what) {
    case AreaEvent::Select:
        ForgetUndo();
        undo = NewPtr(16);
        break;
    case AreaEvent::Deselect:
        ForgetUndo();
        break;
    case AreaEvent::Delete:
        if (isBroken && undo != nullptr) {
            DisposePtr(undo);
        } else {
            ForgetUndo();
        }
        break;
    default:
        break;
    }
}

void OnEvent(long selector, void*, void**) {
    if (selector == HostEvent::Stop) {
        ForgetUndo();
    }
}

constexpr CommandEntry Commands[] = {{"Area", "area with an undo", HandleArea}};
} // namespace

const Plugin plugin = Describe("AreaFreedTwice", Commands, OnEvent);
