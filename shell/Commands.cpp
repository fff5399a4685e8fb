#include "shell/Commands.h"

#include "host/FourD.h"
#include "shell/base/Strings.h"

#include <cstddef>
#include <cstring>

void* CXParam::GetPointerPtr() const {
    if (FourD::IsCompiled() == 0) {
        return storage;
    }
    const auto* value = Storage<const unsigned char>(); // a ValueBlock that may lie unaligned
    if (value == nullptr || value[offsetof(ValueBlock, type)] != ValueType::Pointer) {
        return nullptr;
    }
    Handle pointer = nullptr;
    std::memcpy(&pointer, value + offsetof(ValueBlock, pointer), sizeof pointer);
    return pointer != nullptr ? *pointer : nullptr;
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
