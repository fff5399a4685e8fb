// What the host does between a plug-in and the user: printer, tips, picture editor.

#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"
#include "shell/Strings.h"

namespace {

OSErr SendForError(Selector selector) {
    HostCall call(selector);
    call.Send();
    return call->error;
}

unsigned char SendForFlag(Selector selector) {
    HostCall call(selector);
    call.Send();
    return call->param1 != 0 ? 1 : 0;
}

} // namespace

OSErr FourD::AcquirePrinter() {
    return SendForError(Select("AcquirePrinter"));
}

OSErr FourD::ReleasePrinter() {
    return SendForError(Select("ReleasePrinter"));
}

unsigned char FourD::IsPrinterBusy() {
    return SendForFlag(Select("IsPrinterBusy"));
}

OSErr FourD::GetPrintInfo(char*** record) {
    HostCall call(Select("PrintInfo"));
    call.Send();
    *record = call->error == ResultCode::NoError ? call->handle : nullptr;
    return call->error;
}

unsigned char FourD::TipsEnabled() {
    return SendForFlag(Select("TipsEnabled"));
}

OSErr FourD::SetTipsEnabled(unsigned char on) {
    HostCall call(Select("SetTipsEnabled"));
    call->param1 = on;
    call.Send();
    return call->error;
}

OSErr FourD::CreateTip(const unsigned char* text) {
    HostCall call(Select("CreateTip"));
    _CopyPStr(text, call->name);
    call.Send();
    return call->error;
}

unsigned char FourD::EditPict(char*** picture) {
    HostCall call(Select("EditPicture"));
    call->handle = *picture;
    call.Send();
    if (call->error != ResultCode::NoError || call->param1 == 0) {
        return 0;
    }
    *picture = call->handle;
    return 1;
}
