#include "host/Call.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"

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
    call.PutWindow(window).Send();
    return call->flag1;
}

OSErr SendFlag(Selector selector, GrafPort* window, unsigned char on) {
    HostCall call(selector);
    call->flag1 = on;
    return call.PutWindow(window).SendForError();
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
    return HostCall(Select("WindowProcess")).PutWindow(window).SendForNumber();
}

unsigned long FourD::MacPortToHWND(GrafPort* window) {
    return static_cast<unsigned long>(
        HostCall(Select("NativeWindow")).PutAddress(window).SendForNumber());
}

unsigned long FourD::GetUpdateHDC() {
    return static_cast<unsigned long>(HostCall(Select("UpdateDrawingContext")).SendForNumber());
}

GrafPort* FourD::FloatingWindow() {
    return AnsweredWindow(Select("FloatingWindow"));
}

Region** FourD::GetWindowContentRegion(GrafPort* window) {
    return window != nullptr ? window->contRgn : nullptr;
}

OSErr FourD::SetExWindowTitle(long areaRef, unsigned char* title) {
    return HostCall(Select("SetExternalWindowTitle"))
        .PutNumbers(areaRef)
        .PutName(title)
        .SendForError();
}

void FourD::LMGetHiliteColor(RGBColor* color) {
    if (color == nullptr) {
        return;
    }
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
    return text.starts_with(DebuggerTitle) ? 1 : 0;
}

unsigned char FourD::HasDebuggerWindowOpen() {
    const auto* const found = FirstWindow(GetFrontmostNonFloatingWindow(), [](GrafPort* window) {
        return IsVisible(window) && IsDebuggerWindow(window) != 0;
    });
    return found != nullptr ? 1 : 0;
}

OSErr FourD::GetProcEditTEHandle(GrafPort* window, TEHandle* te) {
    HostCall call(Select("MethodEditorText"));
    return call.PutWindow(window).SendThen(te, TEHandle{},
                                           [&] { *te = reinterpret_cast<TEHandle>(call->param1); });
}

TEHandle FourD::GetProcEditTE(GrafPort* window) {
    return reinterpret_cast<TEHandle>(
        HostCall(Select("MethodEditorText")).PutWindow(window).SendForNumber());
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
    // The line comes in place of a result code.
    return HostCall(Select("MethodEditorLine")).PutWindow(window).SendForError();
}

TEHandle FourD::GetCurrentTE() {
    return reinterpret_cast<TEHandle>(HostCall(Select("CurrentTextEdit")).SendForNumber());
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
    return reinterpret_cast<FourDDialog*>(HostCall(Select("DialogFromWindow"))
                                              .PutNumbers(0, reinterpret_cast<long>(window))
                                              .SendForNumber());
}

GrafPort* FourD::GetWindowFromFourDDialog(FourDDialog* dialog) {
    HostCall call(Select("WindowFromDialog"));
    call.PutNumbers(reinterpret_cast<long>(dialog)).Send();
    return reinterpret_cast<GrafPort*>(call->param2);
}
