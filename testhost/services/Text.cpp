#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/services/Service.h"

#include <cstring>

namespace {
// Zero-terminated UTF-16 text; its address is in `handle`.
bool TakeText(ServiceCall& call, std::span<const unsigned short>& text) {
    const auto* units = reinterpret_cast<const unsigned short*>(call.fields.handle);
    if (units == nullptr) {
        call.host.Report("A host string was to be set without the address of a text.");
        call.fields.error = ResultCode::BadParameter;
        return false;
    }
    size_t count = 0;
    while (units[count] != 0) {
        ++count;
    }
    text = {units, count};
    return true;
}

void CreateString(ServiceCall& call) {
    std::span<const unsigned short> text;
    if (TakeText(call, text)) {
        call.engine->string = call.host.strings.Create(text);
    }
}

void SetString(ServiceCall& call) {
    std::span<const unsigned short> text;
    if (TakeText(call, text)) {
        call.fields.error = call.host.strings.Set(call.engine->string, text);
    }
}

void DisposeString(ServiceCall& call) {
    call.fields.error = call.host.strings.Dispose(call.engine->string, Owner::Plugin);
}

// Converts a text between the Macintosh' and Windows' character sets: the direction in param1, the
// addresses of the text and of a buffer for as many bytes in param3 and param4.
void ConvertCharacters(ServiceCall& call) {
    constexpr long macToAnsi = 2;
    constexpr long ansiToMac = 3;
    constexpr long option = 4;
    const CallFields& fields = call.fields;
    const auto* source = reinterpret_cast<const char*>(fields.param3);
    auto* target = reinterpret_cast<char*>(fields.param4);
    if ((fields.param1 != macToAnsi && fields.param1 != ansiToMac) || fields.param2 != option ||
        source == nullptr || target == nullptr) {
        call.host.Report("selector -424 (ConvertCharacters): param1 and param2 hold no conversion "
                         "that the host knows, or a text is missing.");
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    const auto size = static_cast<long>(std::strlen(source)) + 1;
    if (fields.param1 == macToAnsi) {
        ASI_MacToAnsiBuf(source, target, size, 1);
    } else {
        ASI_AnsiToMacBuf(source, target, size);
    }
}
} // namespace

std::span<const Service> TextServices() {
    static constexpr Service services[] = {
        {Select("CreateFDString"), RecordField::Handle, CreateString},
        {Select("SetFDString"), RecordField::Handle | RecordField::HostString, SetString},
        {Select("DisposeFDString"), RecordField::HostString, DisposeString},
        {Select("ConvertCharacters"),
         RecordField::Param1 | RecordField::Param2 | RecordField::Param3 | RecordField::Param4,
         ConvertCharacters},
    };
    return services;
}
