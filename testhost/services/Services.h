#pragma once

#include "host/boundary/Selectors.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/model/Host.h"

#include <span>
#include <string_view>

/// What a call answers that this host does not implement.
inline constexpr short notImplemented = -2;

/// One call into the host while it is being served.
struct ServiceCall {
    Host& host;
    CallFields& fields;
    EngineFields* engine; ///< null in a classic call
    std::span<unsigned char> valueText;

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

std::span<const Service> AreaServices();
std::span<const Service> DatabaseServices();
std::span<const Service> DialogServices();
std::span<const Service> EnvironmentServices();
std::span<const Service> FormatServices();
std::span<const Service> LanguageServices();
std::span<const Service> MemoryServices();
std::span<const Service> PictureServices();
std::span<const Service> ProcessServices();
std::span<const Service> ServerServices();
std::span<const Service> TextServices();
std::span<const Service> UserServices();
std::span<const Service> ResourceServices();
std::span<const Service> VariableServices();
std::span<const Service> WindowServices();

/// What the host answers about its printer.
namespace PrinterError {
inline constexpr short Busy = -20;    ///< another process holds it
inline constexpr short NotHeld = -21; ///< the calling process does not hold it
} // namespace PrinterError

/// Copies ANSI text as UTF-16 with a terminator, cut to what fits.
void StoreUtf16(std::span<unsigned short> target, std::string_view text);

/// The host's two call-backs. They serve Host::Current().
HOST_CALL long ClassicHostCall(long selector, ParameterBlock* block);
HOST_CALL long EngineHostCall(long selector, FDEngineBlock* block);
/// What a host before 11.0 has in place of the engine call-back: reports that it was called.
HOST_CALL long MissingEngineCall(long selector, FDEngineBlock* block);
