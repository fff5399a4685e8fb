#pragma once

#include "host/boundary/Calls.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/model/Host.h"
#include "testhost/recordings/File.h"
#include "testhost/recordings/Stock.h"

#include <cstdint>
#include <span>
#include <string>

/// A call's record of either kind, out of its bytes.
class CallRecord {
  public:
    /// Bytes that are too few are zero, those that are too many left out.
    CallRecord(Recording::Way way, std::span<const unsigned char> bytes);

    bool IsEngine() const { return isEngine; }
    CallFields& Fields() { return isEngine ? static_cast<CallFields&>(engine) : classic; }
    const CallFields& Fields() const {
        return isEngine ? static_cast<const CallFields&>(engine) : classic;
    }
    /// Null in a classic call.
    const EngineFields* Engine() const { return isEngine ? &engine : nullptr; }
    std::span<const unsigned char> ValueText() const {
        return isEngine ? std::span<const unsigned char>(engine.valueText) : classic.valueText;
    }
    std::span<const unsigned char> Bytes() const;

    /// `name` as a Pascal string; the name of a dialog's operation, which in an engine call is
    /// UTF-16 and in a classic one ends with a zero; and a text, likewise.
    std::string Name() const;
    std::string DialogName() const;
    std::string Text() const;

    /// Has the stand-in host serve the call; answers what the call-back returned.
    long Send(long selector);

  private:
    bool isEngine;
    alignas(4) ParameterBlock classic{}; // as plug-ins have them
    alignas(4) FDEngineBlock engine{};
};

/// A call of the recording while the stand-in host is asked it.
struct AskedCall {
    Host& host;
    Stock& stock;
    const Recording::Surroundings& surroundings;
    const RecordingFile& file;
    const RecordedEvent& begin;
    const RecordedEvent* end; ///< null: it was never answered
    CallRecord asked;         ///< as the stand-in is asked it: with addresses of this process
    CallRecord sent;          ///< the same as it was recorded
    CallRecord answer;        ///< of the host that was recorded; zeros without one

    /// In which process; in place of it, whose variables names mean there.
    long Process() const { return host.currentProcess; }
    long Variables() const { return host.dialogs.VariablesOf(host.currentProcess); }
    /// The dialog that the call is about; null when there is none (any more).
    Dialog* TheDialog() const { return host.dialogs.Find(asked.Fields().param1); }
    /// Bytes that an address in the record led to in the answer: `offset` is that in the fields
    /// that both records share. Empty when there are none.
    std::string AnsweredBytes(size_t offset) const;
    /// The same for a value block, put together in this process. False when there is none.
    bool AnsweredValue(size_t offset, ValueBlock& value) const;
    /// Has the host string that the stand-in answered hold what the recorded one did.
    void TakeOverString();
    /// The same when the stand-in may have answered none: then it has one from now on. For an
    /// answer of which nothing is judged.
    void MeetString();

  private:
    const RecordedItem* AnsweredUnits() const;
    void MakeHostsOwn(const RecordedItem& item, ValueBlock& value) const;
    void MakeElements(const RecordedItem& item, Handle elements) const;
    /// The units of the recorded string stand in `text`; null for an empty one.
    void MakeString(const RecordedItem* text, const FDStringBlock& recorded,
                    FDStringBlock& string) const;
};
