#pragma once

#include "host/boundary/Selectors.h"
#include "host/State.h"
#include "platform/ResultCodes.h"

#include <cstring>

/// Record of one host call, on the caller's stack: zero-filled, of the kind that the selector
/// and the host's version ask for.
///
///     HostCall call(Select("NextEvent"));
///     call.PutNumbers(mask, 3).PutAddress(event).Send();
///     return call->param4;
class HostCall {
  public:
    /// The service `selector`: the engine call on hosts that take it, if there is one, else the
    /// classic call.
    explicit HostCall(Selector selector) : HostCall(selector, gHost.HasEngine()) {}
    /// The same `selector` for a caller that decides by itself whether the engine call is wanted
    /// (`wantsEngine`).
    HostCall(Selector selector, bool wantsEngine)
        : HostCall(wantsEngine && selector.engine != 0 ? selector.engine : selector.classic,
                   wantsEngine && selector.engine != 0) {}

    HostCall(const HostCall&) = delete;
    HostCall& operator=(const HostCall&) = delete;

    /// The fields that both records share.
    CallFields* operator->() { return fields; }
    /// What only the engine record has; null in a classic call.
    EngineFields* EngineOnly() { return engineCall ? &engine : nullptr; }

    /// Stores `param1` and `param2`.
    HostCall& PutNumbers(long param1, long param2 = 0);
    /// `window` in `handle`; null for none.
    HostCall& PutWindow(GrafPort* window) { return PutAddressOrNull(window); }
    /// `address` in `handle`, null too.
    HostCall& PutAddressOrNull(const void* address);

    // What a service cannot do without: nothing is sent where it is null.

    /// Sends nothing where `argument` is null.
    HostCall& Require(const void* argument);
    /// Pascal string in `name`.
    HostCall& PutName(const unsigned char* name);
    /// Pascal string where a call's `text` goes: the one that ends the value area, cut to 141
    /// characters, or uniText.
    HostCall& PutText(const unsigned char* text);
    /// `address` in `handle`.
    HostCall& PutAddress(const void* address) { return PutAddressOrNull(address).Require(address); }

    /// Calls the host; answers what the call-back returns. The host's result code is in `error`.
    /// Both are -50 when nothing is sent, as when the host has no engine call-back for it.
    long Send();
    /// The same, answered by the result code.
    OSErr SendForError();
    /// The same, answered by param1.
    long SendForNumber();

    /// The same, answered by the result code; without an error `take` then stores the answer. Where
    /// there is no `place` for it nothing is sent, and the result is -50.
    template <typename Take>
    OSErr SendThen(const void* place, Take take) {
        if (place == nullptr) {
            return ResultCode::BadParameter;
        }
        const OSErr error = SendForError();
        if (error == ResultCode::NoError) {
            take();
        }
        return error;
    }

    /// The same with a `place` and `take`; on error the answer is `failed`.
    template <typename Answer, typename Take>
    OSErr SendThen(Answer* place, Answer failed, Take take) {
        if (place != nullptr) {
            *place = failed;
        }
        return SendThen(place, take);
    }

    // With SendThen: param1; `handle`, on error null; `name` and TakeText, 256 bytes, on error
    // empty.

    /// Sends, and stores param1 as `answer`; `failed` on error.
    template <typename Number>
    OSErr SendForNumber(Number* answer, Number failed = 0) {
        return SendThen(answer, failed, [&] { *answer = static_cast<Number>(fields->param1); });
    }
    /// @family Send, and store `handle`, `name` or the call's text as `answer`, `name` or `text`.
    OSErr SendForHandle(Handle* answer);
    OSErr SendForName(unsigned char* name);
    OSErr SendForText(unsigned char* text);

    /// Into `text`, 256 bytes, what the host left where PutText puts it, whatever length it claims.
    void TakeText(unsigned char* text);

    /// The `next` call goes to another service, with the record as it now is but for the result.
    void GoOnWith(Selector next) {
        number = engineCall ? next.engine : next.classic;
        fields->error = ResultCode::NoError;
    }

  protected:
    /// A call with this number (`itsNumber`), zero-filled; `toEngine` with the engine record.
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
    /// The service `selector`.
    explicit ClassicCall(ClassicSelector selector) : HostCall(selector.number, false) {}

    /// The classic record.
    ParameterBlock* operator->() { return &classic; }
};

/// A call that has the engine record; only for hosts from 11.0 on.
class EngineCall : public HostCall {
  public:
    /// The service `selector`.
    explicit EngineCall(EngineSelector selector) : HostCall(selector.number, true) {}

    /// The engine record.
    FDEngineBlock* operator->() { return &engine; }
};
