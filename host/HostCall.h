#pragma once

#include "host/HostState.h"
#include "host/Selectors.h"

#include <cstring>

/// Record of one host call, on the caller's stack: zero-filled, of the kind that the selector
/// and the host's version ask for.
///
///     HostCall call(Select("WindowProcess"));
///     call->handle = window;
///     call.Send();
///     return call->param1;
class HostCall {
  public:
    /// The engine call on hosts that take it, if the service has one, else the classic call.
    explicit HostCall(Selector selector) : HostCall(selector, gHost.HasEngine()) {}
    /// The same for a caller that decides by itself when the engine call is wanted.
    HostCall(Selector selector, bool wantsEngine)
        : HostCall(wantsEngine && selector.engine != 0 ? selector.engine : selector.classic,
                   wantsEngine && selector.engine != 0) {}

    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

    /// The fields that both records share.
    CallFields* operator->() { return fields; }
    /// What only the engine record has; null in a classic call.
    EngineFields* EngineOnly() { return engineCall ? &engine : nullptr; }
    /// The Pascal string that ends the value area, at most 141 (engine: 91) characters.
    unsigned char* ValueText() { return engineCall ? engine.valueText : classic.valueText; }

    /// Calls the host; answers what the call-back returns. The host's result code is in `error`:
    /// -50 when there is no such call, as when the host has no engine call-back for it.
    long Send();

    /// The next call goes to another service, with the record as it now is.
    void GoOnWith(Selector next) { number = engineCall ? next.engine : next.classic; }

  protected:
    HostCall(short itsNumber, bool toEngine) : number(itsNumber), engineCall(toEngine) {
        if (toEngine) {
            std::memset(static_cast<void*>(&engine), 0, sizeof engine);
            fields = &engine;
        } else {
            std::memset(static_cast<void*>(&classic), 0, sizeof classic);
            fields = &classic;
        }
    }

    union {
        ParameterBlock classic;
        FDEngineBlock engine;
    };

  private:
    CallFields* fields;
    short number;
    bool engineCall;
};

/// A call that has the classic record on every host, although there may be an engine call.
class ClassicCall : public HostCall {
  public:
    explicit ClassicCall(ClassicSelector selector) : HostCall(selector.number, false) {}

    ParameterBlock* operator->() { return &classic; }
};

/// A call that has the engine record; only for hosts from 11.0 on.
class EngineCall : public HostCall {
  public:
    explicit EngineCall(EngineSelector selector) : HostCall(selector.number, true) {}

    FDEngineBlock* operator->() { return &engine; }
};
