#include "platform/ResultCodes.h"
#include "testhost/services/Service.h"
#include "testhost/toolbox/Control.h"

namespace {
/// The window of the record that came in `handle`; null, and an error, when there is none.
HostWindow* TheWindow(ServiceCall& call) {
    HostWindow* const window = call.host.windows.Find(call.fields.handle);
    if (window == nullptr) {
        call.fields.error = ResultCode::BadParameter;
    }
    return window;
}

void WindowProcess(ServiceCall& call) {
    if (const HostWindow* const window = TheWindow(call)) {
        call.fields.param1 = window->process;
    }
}

void SetWindowProcess(ServiceCall& call) {
    HostWindow* const window = TheWindow(call);
    if (window == nullptr || call.host.FindProcess(call.fields.param1) == nullptr) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    window->process = call.fields.param1;
}

void NativeWindow(ServiceCall& call) {
    if (call.fields.handle == nullptr) {
        return;
    }
    if (const HostWindow* const window = TheWindow(call)) {
        call.fields.param1 = window->nativeWindow;
    }
}

void FloatingWindow(ServiceCall& call) {
    for (size_t place = 0; place < call.host.windows.Count(); ++place) {
        HostWindow& window = call.host.windows.At(place);
        if (window.port.windowKind == WindowKind::Floating) {
            call.fields.handle = reinterpret_cast<Handle>(&window.port);
            return;
        }
    }
}

// An area's window is known by its record.
void SetExternalWindowTitle(ServiceCall& call) {
    const HostWindow* const window =
        call.host.windows.Find(reinterpret_cast<const void*>(call.fields.param1));
    if (window == nullptr || window->port.windowKind != WindowKind::External) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    ToolboxSetWindowTitle(&window->port, call.fields.name);
}

void MethodEditorText(ServiceCall& call) {
    const HostWindow* const window = TheWindow(call);
    if (window == nullptr || window->text == nullptr) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    call.fields.param1 = reinterpret_cast<long>(window->text);
}

void MethodEditorLine(ServiceCall& call) {
    if (const HostWindow* const window = TheWindow(call)) {
        call.fields.error = window->currentLine; // no error: its place
    }
}

void CurrentTextEdit(ServiceCall& call) {
    if (const HostWindow* const window = call.host.windows.Find(call.host.focusedWindow)) {
        call.fields.param1 = reinterpret_cast<long>(window->text);
    }
}

void FocusedWindow(ServiceCall& call) {
    if (HostWindow* const window = call.host.windows.Find(call.host.focusedWindow)) {
        call.fields.handle = reinterpret_cast<Handle>(&window->port);
    }
}

void IsWindowFocused(ServiceCall& call) {
    if (const HostWindow* const window = TheWindow(call)) {
        call.fields.flag1 = &window->port == call.host.focusedWindow ? 1 : 0;
    }
}

void IsWindowFocusable(ServiceCall& call) {
    if (const HostWindow* const window = TheWindow(call)) {
        call.fields.flag1 = window->focusable ? 1 : 0;
    }
}

void TakeFocus(Host& host, const HostWindow& window) {
    if (host.focusedWindow == &window.port) {
        host.focusedWindow = nullptr;
    }
}

void SetWindowFocused(ServiceCall& call) {
    const HostWindow* const window = TheWindow(call);
    if (window == nullptr) {
        return;
    }
    if (call.fields.flag1 == 0) {
        TakeFocus(call.host, *window);
    } else if (window->focusable) {
        call.host.focusedWindow = &window->port;
    } else {
        call.fields.error = ResultCode::BadParameter;
    }
}

void SetWindowFocusable(ServiceCall& call) {
    HostWindow* const window = TheWindow(call);
    if (window == nullptr) {
        return;
    }
    window->focusable = call.fields.flag1 != 0;
    if (!window->focusable) {
        TakeFocus(call.host, *window);
    }
}

constexpr RecordField::Set flagged = RecordField::Handle | RecordField::Flag1;
} // namespace

std::span<const Service> WindowServices() {
    static constexpr Service services[] = {
        {Select("NativeWindow"), RecordField::Handle, NativeWindow},
        {Select("WindowProcess"), RecordField::Handle, WindowProcess},
        {Select("SetWindowProcess"), RecordField::Handle | RecordField::Param1, SetWindowProcess},
        {Select("UpdateDrawingContext"), RecordField::None,
         [](ServiceCall& call) { call.fields.param1 = call.host.updateContext; }},
        {Select("FloatingWindow"), RecordField::None, FloatingWindow},
        {Select("SetExternalWindowTitle"), RecordField::Param1 | RecordField::Name,
         SetExternalWindowTitle},
        {Select("MethodEditorText"), RecordField::Handle, MethodEditorText},
        {Select("MethodEditorLine"), RecordField::Handle, MethodEditorLine},
        {Select("CurrentTextEdit"), RecordField::None, CurrentTextEdit},
        {Select("FocusedWindow"), RecordField::None, FocusedWindow},
        {Select("IsWindowFocused"), RecordField::Handle, IsWindowFocused},
        {Select("IsWindowFocusable"), RecordField::Handle, IsWindowFocusable},
        {Select("SetWindowFocused"), flagged, SetWindowFocused},
        {Select("SetWindowFocusable"), flagged, SetWindowFocusable},
    };
    return services;
}
