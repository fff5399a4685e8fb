// What the host does between a plug-in and the user: printer, tips, picture editor.

#include "host/Call.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"

OSErr FourD::AcquirePrinter() {
    return HostCall(Select("AcquirePrinter")).SendForError();
}

OSErr FourD::ReleasePrinter() {
    return HostCall(Select("ReleasePrinter")).SendForError();
}

unsigned char FourD::IsPrinterBusy() {
    return HostCall(Select("IsPrinterBusy")).SendForNumber() != 0 ? 1 : 0;
}

OSErr FourD::GetPrintInfo(char*** record) {
    return HostCall(Select("PrintInfo")).SendForHandle(record);
}

unsigned char FourD::TipsEnabled() {
    return HostCall(Select("TipsEnabled")).SendForNumber() != 0 ? 1 : 0;
}

OSErr FourD::SetTipsEnabled(unsigned char on) {
    return HostCall(Select("SetTipsEnabled")).PutNumbers(on).SendForError();
}

OSErr FourD::CreateTip(const unsigned char* text) {
    return HostCall(Select("CreateTip")).PutName(text).SendForError();
}

unsigned char FourD::EditPict(char*** picture) {
    if (picture == nullptr) {
        return 0;
    }
    HostCall call(Select("EditPicture"));
    call->handle = *picture;
    if (call.SendForError() != ResultCode::NoError || call->param1 == 0) {
        return 0;
    }
    *picture = call->handle;
    return 1;
}
