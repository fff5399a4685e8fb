#include "testhost/screen/Windows.h"

#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"

#include <cstring>
#include <utility>

#include <windows.h>

namespace {
// Different in every window of every running host, as with Windows itself.
long FreshNativeWindow() {
    static unsigned long count = 0;
    return static_cast<long>(GetCurrentProcessId() << 16 | (++count & 0xFFFF));
}
} // namespace

HostWindow& WindowList::AddInFront(long process, short kind, bool visible) {
    HostWindow& window = windows.emplace_front();
    // Plug-ins read few fields only: the rest holds rubbish, so that reading more shows.
    std::memset(&window.port, 0xA5, sizeof window.port);
    window.port.windowKind = kind;
    window.port.visible = visible ? 1 : 0;
    window.process = process;
    window.nativeWindow = FreshNativeWindow();
    window.focusable = kind != WindowKind::Floating;
    window.content = {sizeof(Region), {40, 8, 480, 640}};
    window.contentMaster = &window.content;
    window.port.contRgn = &window.contentMaster;
    ToolboxForgetPort(&window.port); // of a window that was here before
    window.port.nextWindow = head;
    head = &window.port;
    return window;
}

void WindowList::Remove(const GrafPort* port) {
    if (HostWindow* const window = Find(port)) {
        TEDispose(window->text);
    }
    windows.remove_if([port](const HostWindow& window) { return &window.port == port; });
    Chain();
}

void WindowList::BringToFront(long process) {
    std::list<HostWindow> others;
    for (auto window = windows.begin(); window != windows.end();) {
        const auto next = std::next(window);
        if (window->process != process) {
            others.splice(others.end(), windows, window);
        }
        window = next;
    }
    windows.splice(windows.end(), others);
    Chain();
}

void WindowList::Clear() {
    DisposeMethodTexts();
    windows.clear();
    Chain();
}

void WindowList::SetMethodText(HostWindow& window, std::string_view text) {
    TEDispose(std::exchange(window.text, nullptr));
    auto* const record = reinterpret_cast<TEHandle>(NewHandleClear(sizeof(TERec)));
    Handle characters = nullptr;
    PtrToHand(text.data(), &characters, static_cast<long>(text.size()));
    (*record)->teLength = static_cast<short>(text.size());
    (*record)->hText = characters;
    window.text = record;
}

void WindowList::DisposeMethodTexts() {
    for (HostWindow& window : windows) {
        TEDispose(std::exchange(window.text, nullptr));
    }
}

HostWindow* WindowList::Find(const void* port) {
    for (HostWindow& window : windows) {
        if (&window.port == port) {
            return &window;
        }
    }
    return nullptr;
}

void WindowList::Chain() {
    head = windows.empty() ? nullptr : &windows.front().port;
    HostWindow* inFront = nullptr;
    for (HostWindow& window : windows) {
        window.port.nextWindow = nullptr;
        if (inFront != nullptr) {
            inFront->port.nextWindow = &window.port;
        }
        inFront = &window;
    }
}
