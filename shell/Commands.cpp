#include "shell/Commands.h"

#include "host/FourD.h"
#include "shell/base/Strings.h"

void* CXParam::GetPointerPtr() const {
    if (FourD::IsCompiled() == 0) {
        return storage;
    }
    const auto* value = Storage<const ValueBlock>();
    if (value == nullptr || value->type != ValueType::Pointer || value->pointer == nullptr) {
        return nullptr;
    }
    return *value->pointer;
}

void CXParam::GetString(unsigned char* out) const {
    _CopyPStr(GetStringPtr(), out);
}

void CXParam::SetString(const unsigned char* string) {
    _CopyPStr(string, GetStringPtr());
}

void CXResult::SetString(const unsigned char* string) {
    _CopyPStr(string, GetStringPtr());
}
