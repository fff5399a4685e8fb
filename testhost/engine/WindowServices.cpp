#include "platform/ResultCodes.h"
#include "testhost/engine/Services.h"

namespace {
void WindowProcess(ServiceCall& call) {
    const HostWindow* window = call.host.windows.Find(call.fields.handle);
    if (window == nullptr) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    call.fields.param1 = window->process;
}

void SetWindowProcess(ServiceCall& call) {
    HostWindow* window = call.host.windows.Find(call.fields.handle);
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
    const HostWindow* window = call.host.windows.Find(call.fields.handle);
    if (window == nullptr) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    call.fields.param1 = window->nativeWindow;
}

constexpr Service services[] = {
    {Select("NativeWindow"), RecordField::Handle, NativeWindow},
    {Select("WindowProcess"), RecordField::Handle, WindowProcess},
    {Select("SetWindowProcess"), RecordField::Handle | RecordField::Param1, SetWindowProcess},
};
} // namespace

std::span<const Service> WindowServices() {
    return services;
}
