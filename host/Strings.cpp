// The host's strings, and text between UTF-16, the ANSI code page and the Macintosh character set.

#include "shell/base/Strings.h"

#include "host/Call.h"
#include "host/FourD.h"

#include <memory>
#include <new>

#include <windows.h>

namespace {

static_assert(sizeof(wchar_t) == sizeof(unsigned short));

constexpr unsigned AnsiCodePage = 0;

/// Converts to at most `room` units, or counts the units needed when `out` is null; 0 when there is
/// nothing to convert or it does not fit. Windows would take a negative length for "up to the
/// terminator".
long ToUnits(const char* text, long length, unsigned short* out, long room) {
    if (length < 1) {
        return 0;
    }
    return MultiByteToWideChar(AnsiCodePage, 0, text, length, reinterpret_cast<wchar_t*>(out),
                               room);
}

/// The same from units to bytes.
long ToBytes(const unsigned short* units, long length, char* out, long room) {
    if (length < 1) {
        return 0;
    }
    return WideCharToMultiByte(AnsiCodePage, 0, reinterpret_cast<const wchar_t*>(units), length,
                               out, room, nullptr, nullptr);
}

long CountUnits(const unsigned short* text, long most) {
    long count = 0;
    while (count < most && text[count] != 0) {
        ++count;
    }
    return count;
}

OSErr ConvertCharacters(long direction, const void* source, void* target) {
    constexpr long Option = 4; // the only one that the host is ever sent
    if (source == nullptr || target == nullptr) {
        return ResultCode::BadParameter;
    }
    HostCall call(Select("ConvertCharacters"));
    call->param1 = direction;
    call->param2 = Option;
    call->param3 = reinterpret_cast<long>(source);
    call->param4 = reinterpret_cast<long>(target);
    return call.SendForError();
}

} // namespace

OSErr FourD::CreateFDString(FDStringBlock* string) {
    const unsigned short empty = 0;
    EngineCall call(Select("CreateFDString"));
    return call.PutAddress(&empty).SendThen(string, [&] { *string = call->string; });
}

OSErr FourD::SetFDString(FDStringBlock* string, const unsigned short* text) {
    if (string == nullptr) {
        return ResultCode::BadParameter;
    }
    EngineCall call(Select("SetFDString"));
    call->string = *string;
    return call.PutAddress(text).SendThen(string, [&] { *string = call->string; });
}

long FourD::DisposeFDStringBlock(FDStringBlock* string) {
    if (string == nullptr) {
        return ResultCode::BadParameter;
    }
    EngineCall call(Select("DisposeFDString"));
    call->string = *string;
    const long answer = call.Send();
    *string = {};
    return answer;
}

OSErr FourD::CopyStringBufferToFDString(const char* text, long length, FDStringBlock* string) {
    if (text == nullptr || string == nullptr) {
        return ResultCode::BadParameter;
    }
    if (length == -1) {
        length = static_cast<long>(std::strlen(text)); // Windows would count the terminator, too
    }
    const long count = ToUnits(text, length, nullptr, 0);
    if (count < 1) {
        const unsigned short empty = 0;
        return SetFDString(string, &empty);
    }
    // Not the toolbox's memory: taking that could move the text away.
    const std::unique_ptr<unsigned short[]> units(
        new (std::nothrow) unsigned short[static_cast<std::size_t>(count) + 1]());
    if (units == nullptr) {
        return ResultCode::MemoryFull;
    }
    units[static_cast<std::size_t>(ToUnits(text, length, units.get(), count + 1))] = 0;
    return SetFDString(string, units.get());
}

OSErr FourD::CopyCStringToFDString(const char* text, FDStringBlock* string) {
    return CopyStringBufferToFDString(text, -1, string);
}

OSErr FourD::CopyFDStringToCString(FDStringBlock* string, char* out, long size) {
    if (string == nullptr || out == nullptr || size < 1) {
        return ResultCode::BadParameter;
    }
    const bool fits = size > 1 && string->units != nullptr; // room for 0 bytes would only count
    const long written = fits ? ToBytes(string->units, string->length, out, size - 1) : 0;
    out[written] = '\0'; // a text that does not fit may have left its beginning
    return string->length == 0 || written > 0 ? ResultCode::NoError : ResultCode::BadParameter;
}

OSErr FourD::CopyFDStringToPStr(FDStringBlock* string, unsigned char* out) {
    if (out == nullptr) {
        return ResultCode::BadParameter;
    }
    char text[256] = "";
    const OSErr error = CopyFDStringToCString(string, text, sizeof text);
    _CopyC2PStr(text, out);
    return error;
}

OSErr FourD::CopyCharsBuffToUniChars(const char* text, long length, unsigned short* out) {
    if (text == nullptr || out == nullptr || length < 0) {
        return ResultCode::BadParameter;
    }
    const long count = ToUnits(text, length, nullptr, 0);
    out[count < 1 ? 0 : ToUnits(text, length, out, count + 1)] = 0;
    return ResultCode::NoError;
}

OSErr FourD::CopyCharsToUniChars(const char* text, unsigned short* out) {
    const auto length = text != nullptr ? static_cast<long>(std::strlen(text)) : 0;
    return CopyCharsBuffToUniChars(text, length, out);
}

OSErr FourD::CopyPStrToUniChars(const unsigned char* text, unsigned short* out) {
    if (text == nullptr) {
        return ResultCode::BadParameter;
    }
    return CopyCharsBuffToUniChars(reinterpret_cast<const char*>(text + 1), text[0], out);
}

OSErr FourD::CopyUniCharsToChars(const unsigned short* text, char* out) {
    if (text == nullptr || out == nullptr) {
        return ResultCode::BadParameter;
    }
    const long length = CountUnits(text, LONG_MAX);
    const long needed = ToBytes(text, length, nullptr, 0);
    if (length > 0 && needed < 1) {
        return ResultCode::BadParameter;
    }
    out[ToBytes(text, length, out, needed)] = '\0';
    return ResultCode::NoError;
}

OSErr FourD::CopyUniCharsToPStr(const unsigned short* text, unsigned char* out) {
    if (text == nullptr || out == nullptr) {
        return ResultCode::BadParameter;
    }
    // A Pascal string's 255 characters come out of at most as many pairs of units, each unit of
    // which makes three bytes at most.
    constexpr long MostUnits = 2 * 256;
    char bytes[3 * MostUnits + 1];
    const long length = CountUnits(text, MostUnits);
    const long written = ToBytes(text, length, bytes, sizeof bytes - 1);
    bytes[written] = '\0';
    _CopyC2PStr(bytes, out);
    return length == 0 || written > 0 ? ResultCode::NoError : ResultCode::BadParameter;
}

OSErr FourD::MacToAnsiCString(const char* src, char* dst) {
    return ConvertCharacters(2, src, dst);
}

OSErr FourD::AnsiToMacCString(const char* src, char* dst) {
    return ConvertCharacters(3, src, dst);
}

OSErr FourD::AnsiToMacPString(const unsigned char* src, unsigned char* dst) {
    if (src == nullptr || dst == nullptr) {
        return ResultCode::BadParameter;
    }
    char ansi[256];
    char mac[256] = "";
    _CopyP2CStr(src, ansi);
    const OSErr error = AnsiToMacCString(ansi, mac);
    _CopyC2PStr(mac, dst);
    return error;
}
