#pragma once

#include "shell/FourDPlug.h"

/// What a command call cannot do without, written by hand: one switch, three virtual calls and one
/// indexed function pointer. In a source of its own, so that the calls stay calls.
class ChainByHand {
  public:
    ChainByHand(const CommandEntry* table, long count) : commands(table), commandCount(count) {}
    virtual ~ChainByHand() = default;
    virtual bool NeedsPreparation(long command, CXParam* params, CXResult* result);
    virtual bool CanCall(long command, CXParam* params, CXResult* result);
    virtual void Handle(long command, CXParam* params, CXResult* result);

    const CommandEntry* commands;
    long commandCount;
    bool prepared = false;
};

extern ChainByHand* gChainByHand;

void NIMBO_STDCALL CallByHand(long selector, void* params, void* data, void* result);
