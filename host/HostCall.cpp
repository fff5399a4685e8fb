#include "host/HostCall.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"

HostState gHost;

long FourD::CallFourD(short selector, ParameterBlock& block) {
    return gHost.classicCallBack(selector, &block);
}

long FourD::CallFourD11(short selector, FDEngineBlock& block) {
    return gHost.engineCallBack(selector, &block);
}

long HostCall::Send() {
    if (number == 0 || (engineCall && gHost.engineCallBack == nullptr)) {
        fields->error = ResultCode::BadParameter;
        return 0;
    }
    return engineCall ? FourD::CallFourD11(number, engine) : FourD::CallFourD(number, classic);
}
