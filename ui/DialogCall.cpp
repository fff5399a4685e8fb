#include "ui/DialogCall.h"

#include "host/FourD.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr long LongestName = 255;
/// What the classic record's value area holds.
constexpr size_t LongestClassicString = sizeof(ParameterBlock::valueText) - 1;
/// Bytes that 255 units may become in any code page, with a terminator.
constexpr size_t WidestText = 1024;

/// 8-bit text of the record's UTF-16, whether the host has terminated it or not.
void CopyUnits(unsigned short (&units)[256], char (&text)[WidestText]) {
    units[255] = 0;
    text[0] = '\0';
    FourD::CopyUniCharsToChars(units, text);
}

/// Copies a Pascal string, cut to what the classic record holds.
void CopyClassicString(const unsigned char* string, unsigned char* target) {
    target[0] = static_cast<unsigned char>(std::min<size_t>(string[0], LongestClassicString));
    std::memcpy(target + 1, string + 1, target[0]);
}

} // namespace

DialogCall::DialogCall(Selector operation, FourDDialog* dialog) : HostCall(operation) {
    (*this)->param1 = reinterpret_cast<long>(dialog);
}

DialogCall::DialogCall(Selector operation, FourDDialog* dialog, const char* name, bool wantsEngine)
    : HostCall(operation, wantsEngine) {
    (*this)->param1 = reinterpret_cast<long>(dialog);
    SetName(name);
}

void DialogCall::SetName(const char* name) {
    if (name == nullptr) {
        name = "";
    }
    if (EngineFields* const engineFields = EngineOnly()) {
        const auto length = static_cast<long>(strnlen(name, LongestName));
        FourD::CopyCharsBuffToUniChars(name, length, engineFields->uniName);
        return;
    }
    _CopyCStrN(name, reinterpret_cast<char*>((*this)->name), LongestName);
}

void DialogCall::SetString(const unsigned char* string) {
    if (string == nullptr) {
        return;
    }
    if (EngineFields* const engineFields = EngineOnly()) {
        FourD::CopyPStrToUniChars(string, engineFields->uniText);
        return;
    }
    CopyClassicString(string, ValueText());
}

void DialogCall::SetReal(double real) {
    REAL_U value = {real, {}};
    if (EngineOnly() == nullptr) {
        FourD::SwapReal64To80(&value);
    }
    (*this)->value.real = value;
}

void DialogCall::SetAddress(const void* address) {
    (*this)->handle = static_cast<Handle>(const_cast<void*>(address)); // one type for all
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
        char text[WidestText];
        CopyUnits(engineFields->uniName, text);
        _CopyCStrN(text, name, LongestName);
        return;
    }
    (*this)->name[LongestName] = 0; // the host may have left no terminator
    _CopyCStrN(reinterpret_cast<const char*>((*this)->name), name, LongestName);
}

void DialogCall::GetString(unsigned char* string) {
    if (string == nullptr) {
        return;
    }
    if (EngineFields* const engineFields = EngineOnly()) {
        char text[WidestText];
        CopyUnits(engineFields->uniText, text);
        _CopyC2PStr(text, string);
        return;
    }
    CopyClassicString(ValueText(), string);
}

double DialogCall::GetReal() {
    REAL_U value = (*this)->value.real;
    if (EngineOnly() == nullptr) {
        FourD::SwapReal80To64(&value);
    }
    return value.value;
}
