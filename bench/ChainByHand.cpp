#include "bench/ChainByHand.h"

bool ChainByHand::NeedsPreparation(long, CXParam*, CXResult*) {
    return false;
}

bool ChainByHand::CanCall(long, CXParam*, CXResult*) {
    return true;
}

void ChainByHand::Handle(long command, CXParam* params, CXResult* result) {
    if (!prepared && NeedsPreparation(command, params, result)) {
        prepared = true;
    }
    if (CanCall(command, params, result)) {
        commands[command - 1].handler(params, result);
    }
}

void NIMBO_STDCALL CallByHand(long selector, void* params, void*, void* result) {
    switch (selector) {
    case -1:
    case -2:
    case -3:
    case -4:
        break;
    default:
        if (selector > 0 && selector <= gChainByHand->commandCount) {
            gChainByHand->Handle(selector, static_cast<CXParam*>(params),
                                 static_cast<CXResult*>(result));
        }
    }
}
