#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"

namespace {

void Address(HostCall& call, unsigned long id, short kind) {
    call->param1 = static_cast<long>(id);
    call->param2 = kind;
}

} // namespace

OSErr FourD::ReadOnServer(unsigned long id, short kind, char*** answer) {
    HostCall call(Select("ReadOnServer"));
    Address(call, id, kind);
    call.Send();
    *answer = call->error == ResultCode::NoError ? call->handle : nullptr;
    return call->error;
}

OSErr FourD::WriteOnServer(unsigned long id, short kind, char** data) {
    HostCall call(Select("WriteOnServer"));
    Address(call, id, kind);
    call->handle = data;
    call.Send();
    return call->error;
}
