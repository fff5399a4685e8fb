// The host's boxes, and its comparison of strings.

#include "host/Call.h"
#include "host/Formulas.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "shell/base/TextServices.h"

#include <cstdarg>

namespace {

/// Puts a Pascal message where the call takes it: its address, or UTF-16 on newer hosts.
HostCall& PutMessage(HostCall& call, const unsigned char* message) {
    if (EngineFields* const engine = call.EngineOnly()) {
        FourD::CopyPStrToUniChars(message, engine->uniName);
    } else {
        call->param1 = reinterpret_cast<long>(message);
    }
    return call.Require(message);
}

/// Formats a message of at most 255 characters in `message`; null when there is no format.
unsigned char* FormatMessage255(Str255& message, const char* format, std::va_list arguments) {
    if (format == nullptr) {
        return nullptr;
    }
    _FormatPWithCStrV(message, format, arguments);
    return message;
}

} // namespace

OSErr FourD::Alert(unsigned char* message) {
    // Deliberate: the number that SequenceNumber uses, too.
    constexpr short AlertCommand = 244;
    if (message == nullptr) {
        return ResultCode::BadParameter;
    }
    char name[256];
    if (const OSErr error = NameOfCommand(AlertCommand, name); error != ResultCode::NoError) {
        return error;
    }
    char statement[256];
    FormatText(statement, sizeof statement, "%s(\"%.*s\")", name, message[0],
               reinterpret_cast<const char*>(message + 1));
    Str255 text;
    _CopyC2PStr(statement, text);
    // Deliberate: the text keeps its length byte and loses its last character.
    return WithTokens(text, text[0], ExecTokenizedProc);
}

long FourD::AlertV6(unsigned char* message) {
    HostCall call(Select("Alert"));
    return PutMessage(call, message).Send();
}

long FourD::AlertV6(const char* format, ...) {
    Str255 message;
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    unsigned char* const text = FormatMessage255(message, format, arguments);
    va_end(arguments);
    return AlertV6(text);
}

long FourD::AlertV6(short listID, short index, ...) {
    char format[sizeof(Str255)];
    GetPluginIndCString(format, listID, index);
    Str255 message;
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    // The parameter is a short by the published signature; the compiler takes it as it was passed.
    va_start(arguments, index); // NOLINT(clang-diagnostic-varargs)
    unsigned char* const text = FormatMessage255(message, format, arguments);
    va_end(arguments);
    return AlertV6(text);
}

unsigned char FourD::Confirm(unsigned char* message) {
    HostCall call(Select("Confirm"));
    PutMessage(call, message).Send();
    return call->param2 == 1 ? 1 : 0;
}

unsigned char FourD::Confirm(const char* format, ...) {
    Str255 message;
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    unsigned char* const text = FormatMessage255(message, format, arguments);
    va_end(arguments);
    return Confirm(text);
}

long FourD::DoAbout() {
    return HostCall(Select("DoAbout")).Send();
}

unsigned char FourD::StringsEqual(unsigned char* a, unsigned char* b) {
    HostCall call(Select("StringsEqual"));
    call.PutText(a).PutName(b).Send();
    return call->flag1;
}
