// What the host does between a plug-in and the user: about box, tips, picture editor, printer,
// and the comparison of texts as the user sees them.

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/services/Service.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstring>

namespace {
std::string_view PascalText(std::span<const unsigned char> text) {
    const size_t length = std::min<size_t>(text[0], text.size() - 1);
    return {reinterpret_cast<const char*>(&text[1]), length};
}

void StringsEqual(ServiceCall& call) {
    call.fields.flag1 = SameText(PascalText(call.valueText), PascalText(call.fields.name)) ? 1 : 0;
}

void CreateTip(ServiceCall& call) {
    constexpr size_t mostKept = 1000;
    if (call.host.tipsEnabled && call.host.tips.size() < mostKept) {
        call.host.tips.emplace_back(PascalText(call.fields.name));
    }
}

// The picture in `handle`, null for an empty one, is changed in place or made; param1 answers
// whether the user accepted it.
void EditPicture(ServiceCall& call) {
    std::deque<std::optional<std::string>>& edits = call.host.pictureEdits;
    if (edits.empty()) {
        return;
    }
    const std::optional<std::string> edited = std::move(edits.front());
    edits.pop_front();
    if (!edited) {
        return;
    }
    if (call.fields.handle == nullptr) {
        call.fields.handle = NewHandleWith(*edited);
    } else {
        SetHandleSize(call.fields.handle, static_cast<Size>(edited->size()));
        if (MemError() == ResultCode::NoError && !edited->empty()) {
            std::memcpy(*call.fields.handle, edited->data(), edited->size());
        }
    }
    call.fields.error = MemError();
    call.fields.param1 = call.fields.error == ResultCode::NoError ? 1 : 0;
}

// The process that holds the printer; 0 when it is free, as it is when that process has ended.
long PrinterHolder(Host& host) {
    const HostProcess* process = host.FindProcess(host.printerProcess);
    if (process == nullptr || process->state < 0) {
        host.printerProcess = 0;
    }
    return host.printerProcess;
}

void AcquirePrinter(ServiceCall& call) {
    const long holder = PrinterHolder(call.host);
    if (holder != 0 && holder != call.host.currentProcess) {
        call.fields.error = PrinterError::Busy;
        return;
    }
    call.host.printerProcess = call.host.currentProcess;
}

void ReleasePrinter(ServiceCall& call) {
    if (PrinterHolder(call.host) != call.host.currentProcess) {
        call.fields.error = PrinterError::NotHeld;
        return;
    }
    call.host.printerProcess = 0;
}

// Busy for everyone but the process that holds it.
void IsPrinterBusy(ServiceCall& call) {
    const long holder = PrinterHolder(call.host);
    call.fields.param1 = holder != 0 && holder != call.host.currentProcess ? 1 : 0;
}

// A print record of 120 bytes, which becomes the plug-in's: its version, 0, vertical and
// horizontal resolution in dots per inch, the page's and the paper's rectangle in dots. The rest
// is the printer's own.
void PrintInfo(ServiceCall& call) {
    constexpr size_t recordSize = 120;
    constexpr short record[] = {3, 0, 300, 300, 0, 0, 3308, 2280, -100, -100, 3408, 2380};
    std::string bytes(reinterpret_cast<const char*>(record), sizeof record);
    bytes.resize(recordSize);
    call.fields.handle = NewHandleWith(bytes);
    call.fields.error =
        call.fields.handle != nullptr ? ResultCode::NoError : ResultCode::MemoryFull;
}
} // namespace

std::span<const Service> UserServices() {
    static constexpr Service services[] = {
        {Select("DoAbout"), RecordField::None, [](ServiceCall& call) { ++call.host.aboutShown; }},
        {Select("StringsEqual"), RecordField::ValueText | RecordField::Name, StringsEqual},
        {Select("TipsEnabled"), RecordField::None,
         [](ServiceCall& call) { call.fields.param1 = call.host.tipsEnabled ? 1 : 0; }},
        {Select("SetTipsEnabled"), RecordField::Param1,
         [](ServiceCall& call) { call.host.tipsEnabled = call.fields.param1 != 0; }},
        {Select("CreateTip"), RecordField::Name, CreateTip},
        {Select("EditPicture"), RecordField::Handle, EditPicture},
        {Select("AcquirePrinter"), RecordField::None, AcquirePrinter},
        {Select("ReleasePrinter"), RecordField::None, ReleasePrinter},
        {Select("IsPrinterBusy"), RecordField::None, IsPrinterBusy},
        {Select("PrintInfo"), RecordField::None, PrintInfo},
    };
    return services;
}
