#include "host/Call.h"

#include "host/FourD.h"
#include "shell/base/Strings.h"

#include <algorithm>

HostState gHost;

namespace {

/// Copies a Pascal string, cut to what the classic record has for one.
void CopyCut(const unsigned char* text, unsigned char* out) {
    constexpr unsigned char Longest = sizeof(ParameterBlock::valueText) - 1;
    out[0] = std::min(text[0], Longest);
    std::memmove(out + 1, text + 1, out[0]);
}

} // namespace

long FourD::CallFourD(short selector, ParameterBlock& block) {
    return gHost.classicCallBack(selector, &block);
}

long FourD::CallFourD11(short selector, FDEngineBlock& block) {
    return gHost.engineCallBack(selector, &block);
}

long HostCall::Send() {
    // Before the host has started the plug-in there is no call-back.
    const bool hasCallBack =
        engineCall ? gHost.engineCallBack != nullptr : gHost.classicCallBack != nullptr;
    if (number == 0 || !hasCallBack) {
        fields->error = ResultCode::BadParameter;
        return ResultCode::BadParameter;
    }
    return engineCall ? FourD::CallFourD11(number, engine) : FourD::CallFourD(number, classic);
}

OSErr HostCall::SendForError() {
    Send();
    return fields->error;
}

long HostCall::SendForNumber() {
    Send();
    return fields->param1;
}

OSErr HostCall::SendForHandle(Handle* answer) {
    return SendThen(answer, Handle{}, [&] { *answer = fields->handle; });
}

OSErr HostCall::SendForName(unsigned char* name) {
    constexpr unsigned char NoName = 0;
    return SendThen(name, NoName, [&] { _CopyPStr(fields->name, name); });
}

OSErr HostCall::SendForText(unsigned char* text) {
    constexpr unsigned char NoText = 0;
    return SendThen(text, NoText, [&] { TakeText(text); });
}

HostCall& HostCall::PutNumbers(long param1, long param2) {
    fields->param1 = param1;
    fields->param2 = param2;
    return *this;
}

HostCall& HostCall::PutAddressOrNull(const void* address) {
    fields->handle = static_cast<Handle>(const_cast<void*>(address)); // one type for all
    return *this;
}

HostCall& HostCall::Require(const void* argument) {
    if (argument == nullptr) {
        number = 0;
    }
    return *this;
}

HostCall& HostCall::PutName(const unsigned char* name) {
    if (name != nullptr) {
        _CopyPStr(name, fields->name);
    }
    return Require(name);
}

HostCall& HostCall::PutText(const unsigned char* text) {
    if (engineCall) {
        FourD::CopyPStrToUniChars(text, engine.uniText);
    } else if (text != nullptr) {
        CopyCut(text, classic.valueText);
    }
    return Require(text);
}

void HostCall::TakeText(unsigned char* text) {
    if (engineCall) {
        engine.uniText[std::size(engine.uniText) - 1] = 0;
        FourD::CopyUniCharsToPStr(engine.uniText, text);
    } else {
        CopyCut(classic.valueText, text);
    }
}
