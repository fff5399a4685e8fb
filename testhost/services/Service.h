#pragma once

#include "host/boundary/Selectors.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/model/Host.h"

#include <span>
#include <string>
#include <string_view>

/// What a call answers that this host does not implement.
inline constexpr short notImplemented = -2;

/// One call into the host while it is being served.
struct ServiceCall {
    Host& host;
    CallFields& fields;
    EngineFields* engine; ///< null in a classic call
    std::span<unsigned char> valueText;
    std::string remark = {}; ///< for the transcript: why it came to nothing, say

    bool IsEngine() const { return engine != nullptr; }
    /// Answers a text: classic in the value area, engine in uniText; cut to what fits.
    void AnswerText(std::string_view text);
};

/// One service of the host. `inputs` are the fields that the plug-in may fill before the call:
/// any other byte that is not zero is reported.
struct Service {
    SelectorPair selector;
    RecordField::Set inputs = RecordField::None;
    void (*serve)(ServiceCall& call) = nullptr;
    RecordField::Set engineInputs = RecordField::None;  ///< further inputs of an engine call
    RecordField::Set classicInputs = RecordField::None; ///< further inputs of a classic call
    void (*receive)(ServiceCall& call) = nullptr;       ///< runs first, also when the call fails
};

/// The services of one source file.
using ServiceTable = std::span<const Service>();
ServiceTable AreaServices, DatabaseServices, DialogServices, EnvironmentServices, FormatServices,
    LanguageServices, MemoryServices, PictureServices, ProcessServices, ResourceServices,
    ServerServices, TextServices, UserServices, VariableServices, WindowServices;

/// What the host answers about its printer.
namespace PrinterError {
inline constexpr short Busy = -20;    ///< another process holds it
inline constexpr short NotHeld = -21; ///< the calling process does not hold it
} // namespace PrinterError

/// Copies ANSI text as UTF-16 with a terminator, cut to what fits.
void StoreUtf16(std::span<unsigned short> target, std::string_view text);
