#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/Toolbox.h"

#include <cstring>
#include <string_view>

#include <windows.h>

namespace {

/// Word of the host's globals that holds the address of the window-list variable.
constexpr int WindowListWord = 11;

constexpr short ExternalKind = 5;
constexpr short RegularKind = 8;
constexpr short ModalKind = 9;
constexpr short FloatingKind = 14;

constexpr std::string_view DebuggerTitle = "Debugger";

/// First window from `window` backwards for which `matches` holds.
template <typename Matches>
GrafPort* FirstWindow(GrafPort* window, Matches matches) {
    while (window != nullptr && !matches(window)) {
        window = FourD::GetNextMacWindow(window);
    }
    return window;
}

unsigned char HasKind(GrafPort* window, short kind) {
    return FourD::WindowKind(window) == kind ? 1 : 0;
}

bool IsVisible(const GrafPort* window) {
    return window->visible != 0;
}

/// Window that a call answers in `handle`.
GrafPort* AnsweredWindow(Selector selector) {
    HostCall call(selector);
    call.Send();
    return reinterpret_cast<GrafPort*>(Handle{call->handle});
}

unsigned char AskFlag(Selector selector, GrafPort* window) {
    HostCall call(selector);
    call->handle = reinterpret_cast<Handle>(window);
    call.Send();
    return call->flag1;
}

OSErr SendFlag(Selector selector, GrafPort* window, unsigned char on) {
    HostCall call(selector);
    call->handle = reinterpret_cast<Handle>(window);
    call->flag1 = on;
    call.Send();
    return call->error;
}

unsigned short ColorPart(unsigned long part) {
    return static_cast<unsigned short>((part & 0xFF) * 0x101);
}

} // namespace

// --- The list -----------------------------------------------------------------------------------

GrafPort* FourD::LMGetWindowList() {
    if (gHost.macGlobals == nullptr) {
        return nullptr;
    }
    const auto* list = static_cast<GrafPort**>(gHost.macGlobals[WindowListWord]);
    return list != nullptr ? *list : nullptr;
}

GrafPort* FourD::GetFrontmostWindow() {
    return LMGetWindowList();
}

GrafPort* FourD::GetNextMacWindow(GrafPort* window) {
    return window != nullptr ? window->nextWindow : nullptr;
}

unsigned char FourD::IsWindow(GrafPort* window) {
    const auto* const found =
        FirstWindow(LMGetWindowList(), [=](const GrafPort* other) { return other == window; });
    return found != nullptr ? 1 : 0;
}

GrafPort* FourD::GetFrontmostNonFloatingWindow() {
    return FirstWindow(LMGetWindowList(), [](GrafPort* window) {
        return IsFloatingWindow(window) == 0 && IsVisible(window);
    });
}

GrafPort* FourD::GetFrontmostNonFloatingWindowOfProcess(long process) {
    return FirstWindow(LMGetWindowList(), [=](GrafPort* window) {
        return IsFloatingWindow(window) == 0 && GetWindowProcess(window) == process;
    });
}

GrafPort* FourD::GetFrontmostWindowOfProcess(long process) {
    return FirstWindow(LMGetWindowList(),
                       [=](GrafPort* window) { return GetWindowProcess(window) == process; });
}

GrafPort* FourD::Get4DServerMainWindow() {
    constexpr long MainProcess = 1;
    if (Is4DServer() == 0) {
        return nullptr;
    }
    return FirstWindow(LMGetWindowList(), [](GrafPort* window) {
        return IsRegularWindow(window) != 0 && GetWindowProcess(window) == MainProcess;
    });
}

// --- One window ---------------------------------------------------------------------------------

short FourD::WindowKind(GrafPort* window) {
    return window != nullptr ? window->windowKind : short{0};
}

unsigned char FourD::IsRegularWindow(GrafPort* window) {
    return HasKind(window, RegularKind);
}

unsigned char FourD::IsModalDialog(GrafPort* window) {
    return HasKind(window, ModalKind);
}

unsigned char FourD::IsExternalWindow(GrafPort* window) {
    return HasKind(window, ExternalKind);
}

unsigned char FourD::IsFloatingWindow(GrafPort* window) {
    return HasKind(window, FloatingKind);
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

unsigned long FourD::GetUpdateHDC() {
    HostCall call(Select("UpdateDrawingContext"));
    call.Send();
    return static_cast<unsigned long>(call->param1);
}

GrafPort* FourD::FloatingWindow() {
    return AnsweredWindow(Select("FloatingWindow"));
}

Region** FourD::GetWindowContentRegion(GrafPort* window) {
    return window != nullptr ? window->contRgn : nullptr;
}

OSErr FourD::SetExWindowTitle(long areaRef, unsigned char* title) {
    HostCall call(Select("SetExternalWindowTitle"));
    call->param1 = areaRef;
    std::memcpy(call->name, title, 1U + title[0]);
    call.Send();
    return call->error;
}

void FourD::LMGetHiliteColor(RGBColor* color) {
    const unsigned long highlight = GetSysColor(COLOR_HIGHLIGHT); // 0x00BBGGRR
    *color = {ColorPart(highlight), ColorPart(highlight >> 8), ColorPart(highlight >> 16)};
}

// --- The debugger and the method editor ---------------------------------------------------------

unsigned char FourD::IsDebuggerWindow(GrafPort* window) {
    if (window == nullptr) {
        return 0;
    }
    Str255 title = {};
    GetWTitle(window, title);
    const std::string_view text(reinterpret_cast<const char*>(title + 1), title[0]);
    return text.substr(0, DebuggerTitle.size()) == DebuggerTitle ? 1 : 0;
}

unsigned char FourD::HasDebuggerWindowOpen() {
    const auto* const found = FirstWindow(GetFrontmostNonFloatingWindow(), [](GrafPort* window) {
        return IsVisible(window) && IsDebuggerWindow(window) != 0;
    });
    return found != nullptr ? 1 : 0;
}

OSErr FourD::GetProcEditTEHandle(GrafPort* window, TEHandle* te) {
    HostCall call(Select("MethodEditorText"));
    call->handle = reinterpret_cast<Handle>(window);
    call.Send();
    *te = call->error == 0 ? reinterpret_cast<TEHandle>(call->param1) : nullptr;
    return call->error;
}

TEHandle FourD::GetProcEditTE(GrafPort* window) {
    HostCall call(Select("MethodEditorText"));
    call->handle = reinterpret_cast<Handle>(window);
    call.Send();
    return reinterpret_cast<TEHandle>(call->param1);
}

unsigned char FourD::IsProcEditWindow(GrafPort* window) {
    TEHandle te = nullptr;
    return GetProcEditTEHandle(window, &te) == 0 && te != nullptr ? 1 : 0;
}

GrafPort* FourD::GetFrontmostProcEditWindow() {
    GrafPort* const window = GetFrontmostNonFloatingWindow();
    return IsProcEditWindow(window) != 0 ? window : nullptr;
}

short FourD::CalcProcEditLine(GrafPort* window) {
    HostCall call(Select("MethodEditorLine"));
    call->handle = reinterpret_cast<Handle>(window);
    call.Send();
    return call->error; // the host's place for the line
}

TEHandle FourD::GetCurrentTE() {
    HostCall call(Select("CurrentTextEdit"));
    call.Send();
    return reinterpret_cast<TEHandle>(call->param1);
}

// --- Keyboard focus -----------------------------------------------------------------------------

GrafPort* FourD::GetFocusedWindow() {
    return AnsweredWindow(Select("FocusedWindow"));
}

unsigned char FourD::IsWindowFocused(GrafPort* window) {
    return AskFlag(Select("IsWindowFocused"), window);
}

unsigned char FourD::IsWindowFocusable(GrafPort* window) {
    return AskFlag(Select("IsWindowFocusable"), window);
}

OSErr FourD::SetWindowFocused(GrafPort* window, unsigned char on) {
    return SendFlag(Select("SetWindowFocused"), window, on);
}

OSErr FourD::SetWindowFocusable(GrafPort* window, unsigned char on) {
    return SendFlag(Select("SetWindowFocusable"), window, on);
}

// --- Dialogs ------------------------------------------------------------------------------------

FourDDialog* FourD::GetFourDDialogFromWindow(GrafPort* window) {
    HostCall call(Select("DialogFromWindow"));
    call->param2 = reinterpret_cast<long>(window);
    call.Send();
    return reinterpret_cast<FourDDialog*>(call->param1);
}

GrafPort* FourD::GetWindowFromFourDDialog(FourDDialog* dialog) {
    HostCall call(Select("WindowFromDialog"));
    call->param1 = reinterpret_cast<long>(dialog);
    call.Send();
    return reinterpret_cast<GrafPort*>(call->param2);
}
