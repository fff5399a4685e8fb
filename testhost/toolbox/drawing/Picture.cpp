#include "platform/Toolbox.h"
#include "testhost/toolbox/memory/Heap.h"

namespace {

/// The picture that is being recorded. Nothing is drawn here, so it only needs its two ends.
Picture** recorded = nullptr;

constexpr unsigned char version[] = {0x11, 0x01};
constexpr unsigned char end = 0xFF;

} // namespace

Picture** OpenPicture(const Rect* frame) {
    if (recorded != nullptr) {
        TheHeap().problems.Add("OpenPicture: a picture is being recorded");
        return nullptr;
    }
    Picture picture = {};
    picture.picFrame = frame != nullptr ? *frame : Rect{};
    Handle handle = nullptr;
    if (PtrToHand(&picture, &handle, sizeof picture) != 0) {
        return nullptr;
    }
    PtrAndHand(version, handle, sizeof version);
    recorded = reinterpret_cast<Picture**>(handle);
    return recorded;
}

void ClosePicture() {
    if (recorded == nullptr) {
        TheHeap().problems.Add("ClosePicture: no picture is being recorded");
        return;
    }
    auto* const handle = reinterpret_cast<Handle>(recorded);
    PtrAndHand(&end, handle, sizeof end);
    (*recorded)->picSize = static_cast<short>(GetHandleSize(handle));
    recorded = nullptr;
}
