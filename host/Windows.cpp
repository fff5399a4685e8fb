#include "host/FourD.h"
#include "host/HostCall.h"

namespace {

/// Word of the host's globals that holds the address of the window-list variable.
constexpr int WindowListWord = 11;
constexpr short FloatingKind = 14;

} // namespace

GrafPort* FourD::LMGetWindowList() {
    if (gHost.macGlobals == nullptr) {
        return nullptr;
    }
    const auto* list = static_cast<GrafPort**>(gHost.macGlobals[WindowListWord]);
    return list != nullptr ? *list : nullptr;
}

GrafPort* FourD::GetNextMacWindow(GrafPort* window) {
    return window != nullptr ? window->nextWindow : nullptr;
}

short FourD::WindowKind(GrafPort* window) {
    return window != nullptr ? window->windowKind : short{0};
}

unsigned char FourD::IsFloatingWindow(GrafPort* window) {
    return WindowKind(window) == FloatingKind ? 1 : 0;
}

long FourD::GetWindowProcess(GrafPort* window) {
    HostCall call(Select("WindowProcess"));
    call->handle = reinterpret_cast<Handle>(window);
    call.Send();
    return call->param1;
}

unsigned long FourD::MacPortToHWND(GrafPort* window) {
    if (window == nullptr) {
        return 0;
    }
    HostCall call(Select("NativeWindow"));
    call->handle = reinterpret_cast<Handle>(window);
    call.Send();
    return static_cast<unsigned long>(call->param1);
}

GrafPort* FourD::GetFrontmostNonFloatingWindowOfProcess(long process) {
    for (GrafPort* window = LMGetWindowList(); window != nullptr;
         window = GetNextMacWindow(window)) {
        if (IsFloatingWindow(window) == 0 && GetWindowProcess(window) == process) {
            return window;
        }
    }
    return nullptr;
}
