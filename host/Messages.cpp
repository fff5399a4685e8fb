// The host's boxes, and its comparison of strings.

#include "data/Handles.h"
#include "host/Formulas.h"
#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

/// Puts a Pascal message where the call takes it: its address, or UTF-16 on newer hosts.
void SetMessage(HostCall& call, const unsigned char* message) {
    if (EngineFields* const engine = call.EngineOnly()) {
        FourD::CopyPStrToUniChars(message, engine->uniName);
    } else {
        call->param1 = reinterpret_cast<long>(message);
    }
}

/// Formats a Pascal message of at most 255 characters.
void FormatMessage255(unsigned char* message, const char* format, std::va_list arguments) {
    char text[512] = "";
    std::vsnprintf(text, sizeof text, format, arguments);
    _CopyC2PStr(text, message);
}

} // namespace

OSErr FourD::Alert(unsigned char* message) {
    // Deliberate: the number that SequenceNumber uses, too.
    constexpr short AlertCommand = 244;
    constexpr OSErr NoCommandName = -1;
    constexpr int LongestName = 127;
    Str255 name;
    GetCommandName(AlertCommand, name);
    if (name[0] == 0) {
        return NoCommandName;
    }
    char statement[sizeof(Str255)];
    std::snprintf(statement, sizeof statement, "%.*s(\"%.*s\")",
                  std::min<int>(name[0], LongestName), reinterpret_cast<const char*>(name + 1),
                  message[0], reinterpret_cast<const char*>(message + 1));
    Str255 text;
    _CopyC2PStr(statement, text);
    // Deliberate: the text keeps its length byte and loses its last character.
    const TemporaryHandle source(text, text[0]);
    if (source.Get() == nullptr) {
        return ResultCode::MemoryFull;
    }
    TemporaryHandle tokens;
    const OSErr error = TokenizeProc(source.Get(), tokens.Address());
    return error == ResultCode::NoError ? ExecTokenizedProc(tokens.Get()) : error;
}

long FourD::AlertV6(unsigned char* message) {
    HostCall call(Select("Alert"));
    SetMessage(call, message);
    return call.Send();
}

long FourD::AlertV6(const char* format, ...) {
    Str255 message;
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    FormatMessage255(message, format, arguments);
    va_end(arguments);
    return AlertV6(message);
}

long FourD::AlertV6(short listID, short index, ...) {
    char format[sizeof(Str255)];
    GetPluginIndCString(format, listID, index);
    Str255 message;
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    // The parameter is a short by the published signature; the compiler takes it as it was passed.
    va_start(arguments, index); // NOLINT(clang-diagnostic-varargs)
    FormatMessage255(message, format, arguments);
    va_end(arguments);
    return AlertV6(message);
}

unsigned char FourD::Confirm(unsigned char* message) {
    HostCall call(Select("Confirm"));
    SetMessage(call, message);
    call.Send();
    return call->param2 == 1 ? 1 : 0;
}

unsigned char FourD::Confirm(const char* format, ...) {
    Str255 message;
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    FormatMessage255(message, format, arguments);
    va_end(arguments);
    return Confirm(message);
}

long FourD::DoAbout() {
    HostCall call(Select("DoAbout"));
    return call.Send();
}

unsigned char FourD::StringsEqual(unsigned char* a, unsigned char* b) {
    constexpr int Longest = sizeof(ParameterBlock::valueText) - 1;
    HostCall call(Select("StringsEqual"));
    unsigned char* const first = call.ValueText();
    first[0] = static_cast<unsigned char>(std::min<int>(a[0], Longest));
    std::copy_n(a + 1, first[0], first + 1);
    _CopyPStr(b, call->name);
    call.Send();
    return call->flag1;
}
