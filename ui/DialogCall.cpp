#include "ui/DialogCall.h"

#include "host/FourD.h"
#include "shell/base/Strings.h"

#include <cstring>

namespace {

constexpr long LongestDialogName = 255;
/// Bytes that 255 units may become in any code page, with a terminator.
constexpr size_t WidestText = 1024;

} // namespace

DialogCall::DialogCall(Selector operation, FourDDialog* dialog) : HostCall(operation) {
    PutNumbers(reinterpret_cast<long>(dialog));
}

DialogCall::DialogCall(Selector operation, FourDDialog* dialog, const char* name, bool wantsEngine)
    : HostCall(operation, wantsEngine) {
    PutNumbers(reinterpret_cast<long>(dialog));
    SetName(name);
}

void DialogCall::SetName(const char* name) {
    if (name == nullptr) {
        name = "";
    }
    if (EngineFields* const engineFields = EngineOnly()) {
        const auto length = static_cast<long>(strnlen(name, LongestDialogName));
        FourD::CopyCharsBuffToUniChars(name, length, engineFields->uniName);
        return;
    }
    _CopyCStrN(name, reinterpret_cast<char*>((*this)->name), LongestDialogName);
}

void DialogCall::SetString(const unsigned char* string) {
    if (string != nullptr) {
        PutText(string);
    }
}

void DialogCall::SetReal(double real) {
    REAL_U value = {real, {}};
    if (EngineOnly() == nullptr) {
        FourD::SwapReal64To80(&value);
    }
    (*this)->value.real = value;
}

const CallFields& DialogCall::Answer() {
    Send();
    return *operator->();
}

FourDDialog* DialogCall::Dialog() {
    return reinterpret_cast<FourDDialog*>((*this)->param1);
}

void DialogCall::GetName(char* name) {
    if (name == nullptr) {
        return;
    }
    if (EngineFields* const engineFields = EngineOnly()) {
        char text[WidestText] = "";
        engineFields->uniName[LongestDialogName] = 0; // the host may have left no terminator
        FourD::CopyUniCharsToChars(engineFields->uniName, text);
        _CopyCStrN(text, name, LongestDialogName);
        return;
    }
    (*this)->name[LongestDialogName] = 0;
    _CopyCStrN(reinterpret_cast<const char*>((*this)->name), name, LongestDialogName);
}

void DialogCall::GetString(unsigned char* string) {
    if (string != nullptr) {
        TakeText(string);
    }
}

double DialogCall::GetReal() {
    REAL_U value = (*this)->value.real;
    if (EngineOnly() == nullptr) {
        FourD::SwapReal80To64(&value);
    }
    return value.value;
}
