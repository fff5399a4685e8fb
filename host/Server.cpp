#include "host/Call.h"
#include "host/FourD.h"

OSErr FourD::ReadOnServer(unsigned long id, short kind, char*** answer) {
    return HostCall(Select("ReadOnServer"))
        .PutNumbers(static_cast<long>(id), kind)
        .SendForHandle(answer);
}

OSErr FourD::WriteOnServer(unsigned long id, short kind, char** data) {
    HostCall call(Select("WriteOnServer"));
    call->handle = data;
    return call.PutNumbers(static_cast<long>(id), kind).SendForError();
}
