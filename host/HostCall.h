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
    explicit HostCall(SelectorPair selector)
        : HostCall(selector, selector.engine != 0 && (selector.classic == 0 || gHost.HasEngine())) {
    }

    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

    /// A call that stays classic on every host, although the selector has an engine number.
    static HostCall Classic(SelectorPair selector) { return {selector, false}; }
    /// A call with the engine record; only for hosts from 11.0 on.
    static HostCall Engine(SelectorPair selector) { return {selector, true}; }

    /// The fields that both records share.
    CallFields* operator->() { return fields; }
    /// What only the engine record has; null in a classic call.
    EngineFields* EngineOnly() { return engineCall ? &engine : nullptr; }
    /// The Pascal string that ends the value area, at most 141 (engine: 91) characters.
    unsigned char* ValueText() { return engineCall ? engine.valueText : classic.valueText; }

    /// Calls the host; answers what the call-back returns. The host's result code is in `error`:
    /// -50 when the service needs the engine call-back and the host has none.
    long Send();

    /// The next call goes to another selector, with the record as it now is.
    void GoOnWith(SelectorPair next) { number = engineCall ? next.engine : next.classic; }

  private:
    HostCall(SelectorPair selector, bool toEngine)
        : number(toEngine ? selector.engine : selector.classic), engineCall(toEngine) {
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
    CallFields* fields;
    short number;
    bool engineCall;
};
