#include "data/Variables.h"

#include "data/Handles.h"
#include "data/Value.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t DeclarationSize = 256;
constexpr short StringDeclaration = 293;
constexpr short GetPointerCommand = 304;

/// Number of the host's command for a type.
struct TypeCommand {
    short type;
    short command;
};

constexpr TypeCommand VariableCommands[] = {
    {ValueType::Real, 285},    {ValueType::Text, 284},    {ValueType::Date, 307},
    {ValueType::Boolean, 305}, {ValueType::Long, 283},    {ValueType::Picture, 286},
    {ValueType::Time, 306},    {ValueType::Pointer, 301}, {ValueType::Blob, 604},
};

constexpr TypeCommand ArrayCommands[] = {
    {ValueType::Real, 219},    {ValueType::Text, 222}, {ValueType::Date, 224},
    {ValueType::Boolean, 223}, {ValueType::Long, 221}, {ValueType::Picture, 279},
};

template <size_t count>
short CommandFor(const TypeCommand (&commands)[count], short type) {
    const auto* found = std::find_if(commands, commands + count, [type](const TypeCommand& entry) {
        return entry.type == type;
    });
    return found != commands + count ? found->command : short{0};
}

/// Keeps a name of up to 31 characters as a Pascal string.
void KeepName(unsigned char* kept, const char* name) {
    _CopyC2PStrN(name, kept, 31);
}

/// The same, without the interprocess prefix; answers whether there was one.
unsigned char KeepBareName(unsigned char* kept, const char* name) {
    Str255 whole;
    _CopyC2PStr(name, whole);
    const unsigned char isInterprocess = FourD::StripIPVarName(whole);
    const unsigned char length = std::min<unsigned char>(whole[0], 31);
    kept[0] = length;
    std::memcpy(kept + 1, whole + 1, length);
    return isInterprocess;
}

/// Has the host compile a text and hands the tokens to `use`, which answers a result code.
template <typename Use>
OSErr WithTokens(const char* text, Use use) {
    const TemporaryHandle source(text, static_cast<long>(std::strlen(text)));
    if (source.Get() == nullptr) {
        return ResultCode::MemoryFull;
    }
    TemporaryHandle tokens;
    if (const OSErr error = FourD::TokenizeProc(source.Get(), tokens.Address());
        error != ResultCode::NoError) {
        return error;
    }
    return tokens.Get() != nullptr ? use(tokens.Get()) : OSErr{ResultCode::BadParameter};
}

OSErr ExecuteStatement(const char* statement) {
    return WithTokens(statement, FourD::ExecTokenizedProc);
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

/// Writes a declaration from a format for command, prefix and name; empty when the host does not
/// name the command or the whole is too long.
void FormatDeclaration(char* out, const char* format, short command, unsigned char isInterprocess,
                       const unsigned char* name) {
    out[0] = '\0';
    char commandName[256] = {};
    if (command != 0) {
        FourD::GetCommandNameC(command, commandName);
    }
    if (commandName[0] == '\0') {
        return;
    }
    char bareName[32];
    _CopyP2CStr(name, bareName);
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // one of the formats of this file
    const int length = std::snprintf(out, DeclarationSize, format, commandName,
                                     isInterprocess != 0 ? "<>" : "", bareName);
#pragma GCC diagnostic pop
    if (length >= static_cast<int>(DeclarationSize)) {
        out[0] = '\0';
    }
}

/// A value of this type with nothing in it; a string has room for 255 characters.
ValueBlock EmptyValue(short type) {
    ValueBlock value{};
    value.type = static_cast<unsigned char>(type);
    if (type == ValueType::String) {
        value.string.capacity = 255;
    }
    return value;
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

void CFourDVar::Init() {
    const bool isDeclarable = fType == ValueType::Real || fType == ValueType::Text ||
                              fType == ValueType::Boolean || fType == ValueType::Long;
    if (fIsDeclared != 0 || !isDeclarable || FourD::IsCompiled() != 0) {
        return;
    }
    char statement[DeclarationSize];
    FormatDeclaration(statement, "%s(%s%s)", CommandFor(VariableCommands, fType), fIsInterprocess,
                      fName);
    if (statement[0] != '\0' && ExecuteStatement(statement) == ResultCode::NoError) {
        fIsDeclared = 1;
    }
}

OSErr CFourDVar::GetValue(ValueBlock* value) {
    return ReadVariable(fName, fIsInterprocess, value);
}

OSErr CFourDVar::SetValue(ValueBlock* value) {
    return WriteVariable(fName, fIsInterprocess, value, 0);
}

/// Writes a value that was converted with this result.
long CFourDVar::Send(ValueBlock& value, long conversion) {
    const long result = conversion == ResultCode::NoError ? SetValue(&value) : conversion;
    if (result != ResultCode::NoError) {
        FreeValueBlock(&value);
    }
    return result;
}

long CFourDVar::SetValue(double value) {
    ValueBlock block = EmptyValue(fType);
    return Send(block, NativeReal2ValueBlock(value, &block));
}

long CFourDVar::SetValue(unsigned char value) {
    ValueBlock block = EmptyValue(fType);
    return Send(block, Boolean2ValueBlock(value, &block));
}

long CFourDVar::SetValue(TextBlock* value) {
    ValueBlock block = EmptyValue(fType);
    return Send(block, Text2ValueBlock(value, &block));
}

long CFourDVar::SetValue(long value) {
    ValueBlock block = EmptyValue(fType);
    return Send(block, Long2ValueBlock(value, &block));
}

namespace {

/// Reads a variable and converts it; `value` is empty when it cannot be read.
template <typename Output, typename Convert>
long ReadAs(CFourDVar& variable, Output* value, Convert convert) {
    ValueBlock block{};
    const OSErr error = variable.GetValue(&block);
    if (error != ResultCode::NoError) {
        *value = {};
        return error;
    }
    return convert(&block, value);
}

} // namespace

long CFourDVar::GetValue(double* value) {
    return ReadAs(*this, value, Value2NativeReal);
}

long CFourDVar::GetValue(unsigned char* value) {
    return ReadAs(*this, value, Value2Boolean);
}

long CFourDVar::GetValue(TextBlock* value) {
    ValueBlock block{};
    const OSErr error = GetValue(&block);
    if (error != ResultCode::NoError) {
        reinterpret_cast<CTextBlock*>(value)->SetLength(0);
        return error;
    }
    return Value2Text(&block, value, nullptr);
}

long CFourDVar::GetValue(long* value) {
    return ReadAs(*this, value, Value2Long);
}

long CFourDVar::GetOriginalArray(CArray* array) {
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

void CFourDBaseVar::Declare() {
    if (FourD::IsCompiled() == 0) {
        DeclareUnlessDefined();
    }
}

void CFourDBaseVar::DeclareUnlessDefined() {
    if (DefinedType() == fType) {
        return;
    }
    char statement[DeclarationSize];
    GetDeclaration(statement);
    if (statement[0] != '\0') {
        ExecuteStatement(statement);
    }
}

void CFourDBaseVar::GetDeclaration(char* out) {
    WriteDeclaration(out, "%s(%s%s)", CommandFor(VariableCommands, fType));
}

void CFourDBaseVar::WriteDeclaration(char* out, const char* format, short command) const {
    FormatDeclaration(out, format, command, fIsInterprocess, fName);
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

bool CFourDBaseVar::Read(ValueBlock& value, short type) {
    return GetValue(&value) == ResultCode::NoError && value.type == type;
}

// --- Scalars --------------------------------------------------------------------------------

CFourDLongVar::CFourDLongVar(const char* name) : CFourDBaseVar(name, ValueType::Long) {}
CFourDLongVar::CFourDLongVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseVar(name, ValueType::Long, isInterprocess) {}

long CFourDLongVar::GetLongValue() {
    ValueBlock value{};
    return Read(value, ValueType::Long) ? value.number : 0;
}

void CFourDLongVar::SetLongValue(long number) {
    ValueBlock value{};
    if (Read(value, ValueType::Long)) {
        value.number = number;
        SetValue(&value, 0);
    }
}

CFourDBooleanVar::CFourDBooleanVar(const char* name) : CFourDBaseVar(name, ValueType::Boolean) {}
CFourDBooleanVar::CFourDBooleanVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseVar(name, ValueType::Boolean, isInterprocess) {}

unsigned char CFourDBooleanVar::GetBooleanValue() {
    ValueBlock value{};
    return Read(value, ValueType::Boolean) ? value.boolean : static_cast<unsigned char>(0);
}

void CFourDBooleanVar::SetBooleanValue(unsigned char boolean) {
    ValueBlock value{};
    if (Read(value, ValueType::Boolean)) {
        value.boolean = boolean;
        SetValue(&value, 0);
    }
}

CFourDRealVar::CFourDRealVar(const char* name) : CFourDBaseVar(name, ValueType::Real) {}
CFourDRealVar::CFourDRealVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseVar(name, ValueType::Real, isInterprocess) {}

double CFourDRealVar::GetRealValue() {
    ValueBlock value{};
    return Read(value, ValueType::Real) ? value.real.value : 0.0;
}

void CFourDRealVar::SetRealValue(double real) {
    ValueBlock value{};
    if (Read(value, ValueType::Real)) {
        value.real.value = real;
        SetValue(&value, 0);
    }
}

// --- Texts, BLOBs, strings --------------------------------------------------------------------

CFourDTextVar::CFourDTextVar(const char* name) : CFourDBaseVar(name, ValueType::Text) {}
CFourDTextVar::CFourDTextVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseVar(name, ValueType::Text, isInterprocess) {}

long CFourDTextVar::GetTextLength() {
    ValueBlock value{};
    return Read(value, ValueType::Text) ? value.text.length : 0;
}

void CFourDTextVar::GetTextValue(char*** text) {
    *text = nullptr;
    ValueBlock value{};
    if (Read(value, ValueType::Text)) {
        TextOf(value).CopyTo(text);
    }
}

void CFourDTextVar::GetTextValue(char* text) {
    text[0] = '\0';
    ValueBlock value{};
    if (Read(value, ValueType::Text)) {
        TextOf(value).CopyTo(text);
    }
}

void CFourDTextVar::GetTextValue(CTextBlock* text) {
    ValueBlock value{};
    if (Read(value, ValueType::Text)) {
        text->SetTo(TextOf(value));
    } else {
        text->SetLength(0);
    }
}

/// Replaces the text in the host's own record and gives that back.
template <typename Source>
void CFourDTextVar::SetText(Source source) {
    ValueBlock value{};
    if (Read(value, ValueType::Text) && TextOf(value).SetTo(source) == ResultCode::NoError) {
        SetValue(&value, 0);
    }
}

void CFourDTextVar::SetTextValue(char** text) {
    SetText(text);
}

void CFourDTextVar::SetTextValue(char* text) {
    SetText(static_cast<const char*>(text));
}

void CFourDTextVar::SetTextValue(CTextBlock* text) {
    SetText(text);
}

CFourDBlobVar::CFourDBlobVar(const char* name) : CFourDBaseVar(name, ValueType::Blob) {}
CFourDBlobVar::CFourDBlobVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseVar(name, ValueType::Blob, isInterprocess) {}

long CFourDBlobVar::GetBlobSize() {
    ValueBlock value{};
    return Read(value, ValueType::Blob) ? value.blob.size : 0;
}

OSErr CFourDBlobVar::GetBlobValue(char*** data) {
    *data = nullptr;
    ValueBlock value{};
    if (const OSErr error = GetValue(&value); error != ResultCode::NoError) {
        return error;
    }
    return value.type == ValueType::Blob ? CopyHandle(value.blob.data, data)
                                         : OSErr{ResultCode::NoError};
}

void CFourDBlobVar::SetBlobValue(char** data) {
    ValueBlock value{};
    if (!Read(value, ValueType::Blob)) {
        return;
    }
    Handle copy = value.blob.data;
    if (CopyHandle(data, &copy) == ResultCode::NoError) {
        value.blob.data = copy;
        value.blob.size = data != nullptr ? GetHandleSize(data) : 0;
        SetValue(&value, 0);
    }
}

CFourDStringVar::CFourDStringVar(const char* name) : CFourDBaseVar(name, ValueType::String) {}
CFourDStringVar::CFourDStringVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseVar(name, ValueType::String, isInterprocess) {}

void CFourDStringVar::GetDeclaration(char* out) {
    WriteDeclaration(out, "%s(255;%s%s)", StringDeclaration);
}

OSErr CFourDStringVar::GetStringValue(unsigned char* string) {
    string[0] = 0;
    ValueBlock value{};
    if (const OSErr error = GetValue(&value); error != ResultCode::NoError) {
        return error;
    }
    return static_cast<OSErr>(Value2String(&value, string, nullptr));
}

void CFourDStringVar::SetStringValue(const unsigned char* string) {
    ValueBlock value = EmptyValue(ValueType::String);
    _CopyPStr(string, value.string.string);
    SetValue(&value, 0);
}

// --- Pointers ---------------------------------------------------------------------------------

namespace {

/// The record behind a pointer; null when the handle cannot hold one.
PointerRecord* RecordOf(const ValueBlock& value) {
    const auto size = static_cast<long>(sizeof(PointerRecord));
    return GetHandleSize(value.pointer) >= size ? reinterpret_cast<PointerRecord*>(*value.pointer)
                                                : nullptr;
}

} // namespace

CFourDPointerVar::CFourDPointerVar(const char* name) : CFourDBaseVar(name, ValueType::Pointer) {}
CFourDPointerVar::CFourDPointerVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseVar(name, ValueType::Pointer, isInterprocess) {}

OSErr CFourDPointerVar::GetPointerValue(ValueBlock* value) {
    *value = {};
    const OSErr error = GetValue(value);
    if (error != ResultCode::NoError || value->type != ValueType::Pointer) {
        *value = {};
    }
    return error;
}

void CFourDPointerVar::SetPointerValue(ValueBlock* value) {
    ValueBlock former{};
    if (value->type == ValueType::Pointer && Read(former, ValueType::Pointer)) {
        SetValue(value, 1);
    }
}

void CFourDPointerVar::SetPointerToVariable(const char* name) {
    char command[256] = {};
    FourD::GetCommandNameC(GetPointerCommand, command);
    char expression[512];
    const int length = std::snprintf(expression, sizeof expression, "%s(\"%s\")", command, name);
    if (command[0] == '\0' || length >= static_cast<int>(sizeof expression)) {
        return;
    }
    ValueBlock value = EmptyValue(ValueType::Undefined);
    const OSErr error = WithTokens(
        expression, [&](Handle tokens) { return FourD::ExecTokenizedFunc(tokens, &value); });
    if (error == ResultCode::NoError && value.type == ValueType::Pointer) {
        SetValue(&value, 1);
    }
    FreeValueBlock(&value);
}

bool CFourDPointerVar::IsNil() {
    ValueBlock value{};
    if (!Read(value, ValueType::Pointer)) {
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
        ValueBlock nil = EmptyValue(ValueType::Pointer);
        SetValue(&nil, 1);
        return;
    }
    ValueBlock value{};
    if (Read(value, ValueType::Pointer) && value.pointer != nullptr) {
        if (PointerRecord* record = RecordOf(value); record != nullptr) {
            *record = {};
        }
    }
}

// --- Arrays -----------------------------------------------------------------------------------

CFourDBaseArrayVar::CFourDBaseArrayVar(const char* name, short elementType)
    : CFourDBaseVar(name, ElementTypeToVarType(elementType)), fElementType(elementType) {}
CFourDBaseArrayVar::CFourDBaseArrayVar(const char* name, short elementType,
                                       unsigned char isInterprocess)
    : CFourDBaseVar(name, ElementTypeToVarType(elementType), isInterprocess),
      fElementType(elementType) {}

void CFourDBaseArrayVar::Declare() {
    DeclareUnlessDefined();
}

void CFourDBaseArrayVar::GetDeclaration(char* out) {
    WriteDeclaration(out, "%s(%s%s;0)", DeclaringCommand());
}

short CFourDBaseArrayVar::DeclaringCommand() const {
    return CommandFor(ArrayCommands, fElementType);
}

CArray* CFourDBaseArrayVar::ReadArray(ValueBlock& value, bool (CArray::*isExpected)() const) {
    if (GetValue(&value) != ResultCode::NoError) {
        return nullptr;
    }
    CArray& array = CArray::Of(value);
    return (array.*isExpected)() ? &array : nullptr;
}

long CFourDBaseArrayVar::GetNumElements() {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArray);
    return array != nullptr ? array->GetArraySize() : 0;
}

void CFourDBaseArrayVar::SetNumElements(long count) {
    ValueBlock value{};
    CArray* array = ReadArray(value, &CArray::IsArray);
    if (array != nullptr && array->SetArraySize(count) == ResultCode::NoError) {
        SetValue(&value, 0);
    }
}

long CFourDBaseArrayVar::GetCurrentIndex() {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArray);
    return array != nullptr ? array->GetCurrentIndex() : 0;
}

void CFourDBaseArrayVar::SetCurrentIndex(long index) {
    ValueBlock value{};
    if (CArray* array = ReadArray(value, &CArray::IsArray); array != nullptr) {
        array->SetCurrentIndex(index);
        SetValue(&value, 0);
    }
}

short CFourDBaseArrayVar::ElementTypeToVarType(short elementType) {
    switch (elementType) {
    case ValueType::Real:
        return ValueType::RealArray;
    case ValueType::Text:
        return ValueType::TextArray;
    case ValueType::Date:
        return ValueType::DateArray;
    case ValueType::Boolean:
        return ValueType::BooleanArray;
    case ValueType::Long:
        return ValueType::LongArray;
    case ValueType::Picture:
        return ValueType::PictureArray;
    case ValueType::String:
        return ValueType::StringArray;
    default:
        return ValueType::Undefined;
    }
}

template <typename Element, typename... Index>
Element CFourDBaseArrayVar::ReadElement(bool (CArray::*isExpected)() const, Index... index) {
    ValueBlock value{};
    Element element = 0;
    if (const CArray* array = ReadArray(value, isExpected); array != nullptr) {
        array->At(index..., element);
    }
    return element;
}

template <typename Element, typename... Index>
void CFourDBaseArrayVar::WriteElement(bool (CArray::*isExpected)() const, Element element,
                                      Index... index) {
    ValueBlock value{};
    if (CArray* array = ReadArray(value, isExpected); array != nullptr) {
        array->AtPut(index..., element);
        SetValue(&value, 0);
    }
}

CFourDLongArrayVar::CFourDLongArrayVar(const char* name)
    : CFourDBaseArrayVar(name, ValueType::Long) {}
CFourDLongArrayVar::CFourDLongArrayVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseArrayVar(name, ValueType::Long, isInterprocess) {}

long CFourDLongArrayVar::GetLongElementValue(long index) {
    return ReadElement<long>(&CArray::IsArrayLongint, index);
}

void CFourDLongArrayVar::SetLongElementValue(long index, long element) {
    WriteElement(&CArray::IsArrayLongint, element, index);
}

CFourDRealArrayVar::CFourDRealArrayVar(const char* name)
    : CFourDBaseArrayVar(name, ValueType::Real) {}
CFourDRealArrayVar::CFourDRealArrayVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseArrayVar(name, ValueType::Real, isInterprocess) {}

double CFourDRealArrayVar::GetRealElementValue(long index) {
    return ReadElement<double>(&CArray::IsArrayReal, index);
}

void CFourDRealArrayVar::SetRealElementValue(long index, double element) {
    WriteElement(&CArray::IsArrayReal, element, index);
}

// Text elements are worked on in place while their array is locked; afterwards it is locked or not
// as before.

namespace {

template <typename Work>
bool WithTextElement(CArray* array, long index, Work work) {
    if (array == nullptr) {
        return false;
    }
    const SArrayLocker locked(array);
    CTextBlock* text = nullptr;
    array->At(index, &text);
    if (text != nullptr) {
        work(*text);
    }
    return text != nullptr;
}

template <typename Work>
bool WithTextElement(CArray* array, long row, long column, Work work) {
    if (array == nullptr) {
        return false;
    }
    const SArrayLocker locked(array);
    const bool wasRowLocked = array->IsRowLocked(row); // row 0 too, which SArrayRowLocker leaves
    array->LockRow(row);
    CTextBlock* text = nullptr;
    array->At(row, column, &text);
    if (text != nullptr) {
        work(*text);
    }
    if (!wasRowLocked) {
        array->UnlockRow(row);
    }
    return text != nullptr;
}

/// Replaces an element's text, or leaves it as it is when memory is full.
template <typename Source>
void ReplaceText(CTextBlock& text, Source source) {
    auto& record = reinterpret_cast<TextBlock&>(text);
    const TextBlock former = record;
    if (text.SetTo(source) != ResultCode::NoError) {
        record = former;
    }
}

} // namespace

CFourDTextArrayVar::CFourDTextArrayVar(const char* name)
    : CFourDBaseArrayVar(name, ValueType::Text) {}
CFourDTextArrayVar::CFourDTextArrayVar(const char* name, unsigned char isInterprocess)
    : CFourDBaseArrayVar(name, ValueType::Text, isInterprocess) {}

long CFourDTextArrayVar::GetTextElementLength(long index) {
    ValueBlock value{};
    long length = 0;
    WithTextElement(ReadArray(value, &CArray::IsArrayText), index,
                    [&](CTextBlock& text) { length = text.GetLength(); });
    return length;
}

void CFourDTextArrayVar::GetTextElementValue(long index, char*** out) {
    *out = nullptr;
    ValueBlock value{};
    WithTextElement(ReadArray(value, &CArray::IsArrayText), index,
                    [&](const CTextBlock& text) { text.CopyTo(out); });
}

void CFourDTextArrayVar::GetTextElementValue(long index, char* out) {
    *out = '\0';
    ValueBlock value{};
    WithTextElement(ReadArray(value, &CArray::IsArrayText), index,
                    [&](const CTextBlock& text) { text.CopyTo(out); });
}

void CFourDTextArrayVar::SetTextElementValue(long index, char** source) {
    ValueBlock value{};
    if (WithTextElement(ReadArray(value, &CArray::IsArrayText), index,
                        [&](CTextBlock& text) { ReplaceText(text, source); })) {
        SetValue(&value, 0);
    }
}

void CFourDTextArrayVar::SetTextElementValue(long index, char* source) {
    ValueBlock value{};
    if (WithTextElement(ReadArray(value, &CArray::IsArrayText), index, [&](CTextBlock& text) {
            ReplaceText(text, static_cast<const char*>(source));
        })) {
        SetValue(&value, 0);
    }
}

// --- Two-dimensional arrays -------------------------------------------------------------------

CFourDBase2DArrayVar::CFourDBase2DArrayVar(const char* name, short elementType)
    : CFourDBaseArrayVar(name, elementType) {
    fType = ValueType::ArrayOfArrays;
}
CFourDBase2DArrayVar::CFourDBase2DArrayVar(const char* name, short elementType,
                                           unsigned char isInterprocess)
    : CFourDBaseArrayVar(name, elementType, isInterprocess) {
    fType = ValueType::ArrayOfArrays;
}

void CFourDBase2DArrayVar::GetDeclaration(char* out) {
    WriteDeclaration(out, "%s(%s%s;0;0)", DeclaringCommand());
}

long CFourDBase2DArrayVar::GetNumRows() {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArrayArray);
    return array != nullptr ? array->GetArraySize() : 0;
}

void CFourDBase2DArrayVar::SetNumRows(long count) {
    ValueBlock value{};
    CArray* array = ReadArray(value, &CArray::IsArrayArray);
    if (array != nullptr && array->SetArraySize(count) == ResultCode::NoError) {
        SetValue(&value, 0);
    }
}

long CFourDBase2DArrayVar::GetNumColumns(long row) {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArrayArray);
    return array != nullptr ? array->GetRowSize(row) : 0;
}

void CFourDBase2DArrayVar::SetNumColumns(long row, long count) {
    ValueBlock value{};
    CArray* array = ReadArray(value, &CArray::IsArrayArray);
    if (array != nullptr && array->SetRowSize(row, count) == ResultCode::NoError) {
        SetValue(&value, 0);
    }
}

CFourDLong2DArrayVar::CFourDLong2DArrayVar(const char* name)
    : CFourDBase2DArrayVar(name, ValueType::Long) {}
CFourDLong2DArrayVar::CFourDLong2DArrayVar(const char* name, unsigned char isInterprocess)
    : CFourDBase2DArrayVar(name, ValueType::Long, isInterprocess) {}

long CFourDLong2DArrayVar::GetLongElementValue(long row, long column) {
    return ReadElement<long>(&CArray::Is2DArrayLongint, row, column);
}

void CFourDLong2DArrayVar::SetLongElementValue(long row, long column, long element) {
    WriteElement(&CArray::Is2DArrayLongint, element, row, column);
}

CFourDText2DArrayVar::CFourDText2DArrayVar(const char* name)
    : CFourDBase2DArrayVar(name, ValueType::Text) {}
CFourDText2DArrayVar::CFourDText2DArrayVar(const char* name, unsigned char isInterprocess)
    : CFourDBase2DArrayVar(name, ValueType::Text, isInterprocess) {}

long CFourDText2DArrayVar::GetTextElementLength(long row, long column) {
    ValueBlock value{};
    long length = 0;
    WithTextElement(ReadArray(value, &CArray::Is2DArrayText), row, column,
                    [&](CTextBlock& text) { length = text.GetLength(); });
    return length;
}

void CFourDText2DArrayVar::GetTextElementValue(long row, long column, char*** out) {
    *out = nullptr;
    ValueBlock value{};
    WithTextElement(ReadArray(value, &CArray::Is2DArrayText), row, column,
                    [&](const CTextBlock& text) { text.CopyTo(out); });
}

void CFourDText2DArrayVar::GetTextElementValue(long row, long column, char* out) {
    *out = '\0';
    ValueBlock value{};
    WithTextElement(ReadArray(value, &CArray::Is2DArrayText), row, column,
                    [&](const CTextBlock& text) { text.CopyTo(out); });
}

void CFourDText2DArrayVar::SetTextElementValue(long row, long column, char** source) {
    ValueBlock value{};
    if (WithTextElement(ReadArray(value, &CArray::Is2DArrayText), row, column,
                        [&](CTextBlock& text) { ReplaceText(text, source); })) {
        SetValue(&value, 0);
    }
}

void CFourDText2DArrayVar::SetTextElementValue(long row, long column, char* source) {
    ValueBlock value{};
    if (WithTextElement(
            ReadArray(value, &CArray::Is2DArrayText), row, column,
            [&](CTextBlock& text) { ReplaceText(text, static_cast<const char*>(source)); })) {
        SetValue(&value, 0);
    }
}
