#include "data/Variables.h"

#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <cstring>

namespace {

/// Keeps a name of up to 31 characters as a Pascal string.
void KeepName(unsigned char* kept, const char* name) {
    _CopyC2PStrN(name != nullptr ? name : "", kept, 31);
}

/// The same, without the interprocess prefix; answers whether there was one.
unsigned char KeepBareName(unsigned char* kept, const char* name) {
    Str255 whole;
    _CopyC2PStr(name != nullptr ? name : "", whole);
    const unsigned char isInterprocess = FourD::StripIPVarName(whole);
    const unsigned char length = std::min<unsigned char>(whole[0], 31);
    kept[0] = length;
    std::memcpy(kept + 1, whole + 1, length);
    return isInterprocess;
}

/// The handle of a text or a BLOB; null for anything else.
Handle StorageOf(const ValueBlock& value) {
    switch (value.type) {
    case ValueType::Text:
        return value.text.text;
    case ValueType::Blob:
        return value.blob.data;
    default:
        return nullptr;
    }
}

OSErr ReadVariable(const unsigned char* name, unsigned char isInterprocess, ValueBlock* value) {
    return isInterprocess != 0 ? FourD::GetVariableIP(name, value)
                               : FourD::GetVariable(name, value);
}

OSErr WriteVariable(const unsigned char* name, unsigned char isInterprocess, ValueBlock* value,
                    unsigned char flag) {
    return isInterprocess != 0 ? FourD::SetVariableIP(name, value, flag)
                               : FourD::SetVariable(name, value, flag);
}

/// The value's own text record, as a text to work on in place.
CTextBlock& TextOf(ValueBlock& value) {
    return reinterpret_cast<CTextBlock&>(value.text);
}

} // namespace

// --- CFourDVar ------------------------------------------------------------------------------

CFourDVar::CFourDVar(const char* name, short type)
    : fType(type), fIsInterprocess(KeepBareName(fName, name)) {}

CFourDVar::CFourDVar(const char* name, short type, unsigned char isInterprocess)
    : fType(type), fIsInterprocess(isInterprocess) {
    KeepName(fName, name);
}

OSErr CFourDVar::GetValue(ValueBlock* value) {
    return ReadVariable(fName, fIsInterprocess, value);
}

OSErr CFourDVar::SetValue(ValueBlock* value) {
    return WriteVariable(fName, fIsInterprocess, value, 0);
}

long CFourDVar::Send(ValueBlock& value, long conversion) {
    const long result = conversion == ResultCode::NoError ? SetValue(&value) : conversion;
    if (result != ResultCode::NoError) {
        FreeValueBlock(&value);
    }
    return result;
}

long CFourDVar::GetValue(TextBlock* value) {
    if (value == nullptr) {
        return ResultCode::BadParameter;
    }
    ValueBlock block{};
    const OSErr error = GetValue(&block);
    if (error != ResultCode::NoError) {
        reinterpret_cast<CTextBlock*>(value)->SetLength(0);
        return error;
    }
    return Value2Text(&block, value, nullptr);
}

long CFourDVar::GetOriginalArray(CArray* array) {
    if (array == nullptr) {
        return ResultCode::BadParameter;
    }
    ValueBlock block{};
    if (const OSErr error = GetValue(&block); error != ResultCode::NoError) {
        return error;
    }
    const CArray& found = CArray::Of(block);
    if (found.IsArray() && !found.IsArrayUnicode()) {
        array->Value() = block;
    }
    return block.type;
}

// --- CFourDBaseVar --------------------------------------------------------------------------

CFourDBaseVar::CFourDBaseVar(const char* name, short type)
    : fType(type), fIsInterprocess(KeepBareName(fName, name)) {}

CFourDBaseVar::CFourDBaseVar(const char* name, short type, unsigned char isInterprocess)
    : fType(type), fIsInterprocess(isInterprocess) {
    KeepName(fName, name);
}

OSErr CFourDBaseVar::GetValue(ValueBlock* value) {
    return ReadVariable(fName, fIsInterprocess, value);
}

OSErr CFourDBaseVar::SetValue(ValueBlock* value, unsigned char flag) {
    return WriteVariable(fName, fIsInterprocess, value, flag);
}

short CFourDBaseVar::DefinedType() {
    ValueBlock value{};
    return GetValue(&value) == ResultCode::NoError ? short{value.type}
                                                   : short{ValueType::Undefined};
}

void CFourDBaseVar::GiveBack(ValueBlock& value, const ValueBlock& before) {
    if (SetValue(&value, 0) != ResultCode::NoError && StorageOf(before) == nullptr) {
        DisposeIfThere(StorageOf(value));
    }
}

bool CFourDBaseVar::Read(ValueBlock& value) {
    return GetValue(&value) == ResultCode::NoError && value.type == fType;
}

// --- Texts, BLOBs, strings --------------------------------------------------------------------

long CFourDTextVar::GetTextLength() {
    ValueBlock value{};
    return Read(value) ? value.text.length : 0;
}

template <typename Target>
void CFourDTextVar::CopyText(Target* target) {
    ValueBlock value{};
    if (target == nullptr) {
        return;
    }
    *target = {};
    if (Read(value)) {
        TextOf(value).CopyTo(target);
    }
}

template <typename Source>
void CFourDTextVar::ReplaceText(Source source) {
    ChangeValue([=](ValueBlock& value) { return TextOf(value).SetTo(source); });
}

void CFourDTextVar::GetTextValue(char*** text) {
    CopyText(text);
}

void CFourDTextVar::GetTextValue(char* text) {
    CopyText(text);
}

void CFourDTextVar::GetTextValue(CTextBlock* text) {
    ValueBlock value{};
    if (text != nullptr && (!Read(value) || text->SetTo(TextOf(value)) != ResultCode::NoError)) {
        text->SetLength(0);
    }
}

void CFourDTextVar::SetTextValue(char** text) {
    ReplaceText(text);
}

void CFourDTextVar::SetTextValue(char* text) {
    if (text != nullptr) {
        ReplaceText(text);
    }
}

void CFourDTextVar::SetTextValue(CTextBlock* text) {
    if (text != nullptr) {
        ReplaceText(text);
    }
}

long CFourDBlobVar::GetBlobSize() {
    ValueBlock value{};
    return Read(value) ? value.blob.size : 0;
}

OSErr CFourDBlobVar::GetBlobValue(char*** data) {
    if (data == nullptr) {
        return ResultCode::BadParameter;
    }
    *data = nullptr;
    ValueBlock value{};
    if (const OSErr error = GetValue(&value); error != ResultCode::NoError) {
        return error;
    }
    return value.type == ValueType::Blob ? CopyHandle(value.blob.data, data)
                                         : OSErr{ResultCode::NoError};
}

void CFourDBlobVar::SetBlobValue(char** data) {
    ChangeValue([=](ValueBlock& value) {
        Handle copy = value.blob.data;
        const OSErr error = CopyHandle(data, &copy);
        value.blob.data = copy;
        value.blob.size = SizeIfThere(data);
        return error;
    });
}

OSErr CFourDStringVar::GetStringValue(unsigned char* string) {
    if (string == nullptr) {
        return ResultCode::BadParameter;
    }
    string[0] = 0;
    ValueBlock value{};
    if (const OSErr error = GetValue(&value); error != ResultCode::NoError) {
        return error;
    }
    return static_cast<OSErr>(Value2String(&value, string, nullptr));
}

void CFourDStringVar::SetStringValue(const unsigned char* string) {
    if (string != nullptr) {
        ValueBlock value = EmptyValueBlock(ValueType::String);
        _CopyPStr(string, value.string.string);
        SetValue(&value, 0);
    }
}

// --- Pointers ---------------------------------------------------------------------------------

namespace {

/// The record that a pointer refers to, in a handle of the toolbox's or the host's own, whose size
/// nobody here can ask for; null where there is none.
PointerRecord* RecordOf(const ValueBlock& value) {
    return value.pointer != nullptr ? reinterpret_cast<PointerRecord*>(*value.pointer) : nullptr;
}

} // namespace

OSErr CFourDPointerVar::GetPointerValue(ValueBlock* value) {
    if (value == nullptr) {
        return ResultCode::BadParameter;
    }
    *value = {};
    const OSErr error = GetValue(value);
    if (error != ResultCode::NoError || value->type != ValueType::Pointer) {
        *value = {};
    }
    return error;
}

void CFourDPointerVar::SetPointerValue(ValueBlock* value) {
    ValueBlock former{};
    if (value != nullptr && value->type == ValueType::Pointer && Read(former)) {
        SetValue(value, 1);
    }
}

bool CFourDPointerVar::IsNil() {
    ValueBlock value{};
    if (!Read(value)) {
        return false;
    }
    if (value.pointer == nullptr || FourD::IsCompiled() != 0) {
        return value.pointer == nullptr;
    }
    const PointerRecord* record = RecordOf(value);
    if (record != nullptr && record->kind == PointerKind::Variable) {
        return record->variable == 0;
    }
    if (record != nullptr && record->kind == PointerKind::Field) {
        return record->field == 0;
    }
    return true; // of no kind that leads anywhere
}

void CFourDPointerVar::SetNil() {
    if (FourD::IsCompiled() != 0) {
        ValueBlock nil = EmptyValueBlock(ValueType::Pointer);
        SetValue(&nil, 1);
        return;
    }
    ValueBlock value{};
    PointerRecord* record = Read(value) ? RecordOf(value) : nullptr;
    if (record != nullptr) {
        *record = {};
    }
}
