#include "host/FourD.h"
#include "host/HostCall.h"

long FourD::CurrentProcess() {
    HostCall call(Select("CurrentProcess"));
    call.Send();
    return call->param1;
}

long FourD::ExecuteOnMainThreadV11(void (*proc)(void*), void* arg) {
    HostCall call(Select("ExecuteOnMainThread"));
    call.EngineOnly()->mainThreadProc = proc;
    call.EngineOnly()->mainThreadArg = arg;
    return call.Send();
}
