// What variables have the host execute: their declarations, and the expression for a pointer.

#include "data/Variables.h"
#include "host/Formulas.h"
#include "host/Value.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr short StringDeclaration = 293;
constexpr short GetPointerCommand = 304;

/// How the host declares variables of a type, and arrays of it: numbers of its commands, 0 where
/// there is none; and what such an array's type is.
struct VariableType {
    short type;
    short command;
    short arrayCommand;
    short arrayType;
};

constexpr VariableType VariableTypes[] = {
    {ValueType::Real, 285, 219, ValueType::RealArray},
    {ValueType::Text, 284, 222, ValueType::TextArray},
    {ValueType::Date, 307, 224, ValueType::DateArray},
    {ValueType::Boolean, 305, 223, ValueType::BooleanArray},
    {ValueType::Long, 283, 221, ValueType::LongArray},
    {ValueType::Picture, 286, 279, ValueType::PictureArray},
    {ValueType::Time, 306, 0, ValueType::Undefined},
    {ValueType::Pointer, 301, 0, ValueType::Undefined},
    {ValueType::String, 0, 0, ValueType::StringArray}, // declared with a size: StringDeclaration
    {ValueType::Blob, 604, 0, ValueType::Undefined},
};

VariableType Find(short type) {
    const auto* found = std::ranges::find(VariableTypes, type, &VariableType::type);
    return found != std::end(VariableTypes) ? *found
                                            : VariableType{type, 0, 0, ValueType::Undefined};
}

using Statement = char[256];

/// Writes a declaration; `before` and `after` stand around the name. Empty when the host does not
/// name the command or the whole is too long.
void FormatDeclaration(char* out, short command, const char* before, unsigned char isInterprocess,
                       const unsigned char* name, const char* after) {
    if (out == nullptr) {
        return;
    }
    out[0] = '\0';
    char commandName[256];
    if (command == 0 || NameOfCommand(command, commandName) != ResultCode::NoError) {
        return;
    }
    char bareName[32];
    _CopyP2CStr(name, bareName);
    const int length = FormatText(out, sizeof(Statement), "%s(%s%s%s%s)", commandName, before,
                                  isInterprocess != 0 ? "<>" : "", bareName, after);
    if (length < 0) {
        out[0] = '\0';
    }
}

OSErr ExecuteStatement(const char* statement) {
    return WithTokens(statement, static_cast<long>(std::strlen(statement)),
                      FourD::ExecTokenizedProc);
}

} // namespace

void CFourDVar::Init() {
    const bool isDeclarable = fType == ValueType::Real || fType == ValueType::Text ||
                              fType == ValueType::Boolean || fType == ValueType::Long;
    if (fIsDeclared != 0 || !isDeclarable || FourD::IsCompiled() != 0) {
        return;
    }
    Statement statement;
    FormatDeclaration(statement, Find(fType).command, "", fIsInterprocess, fName, "");
    if (statement[0] != '\0' && ExecuteStatement(statement) == ResultCode::NoError) {
        fIsDeclared = 1;
    }
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
    Statement statement = "";
    GetDeclaration(statement);
    if (statement[0] != '\0') {
        ExecuteStatement(statement);
    }
}

void CFourDBaseVar::WriteDeclaration(char* out, short command, const char* before,
                                     const char* after) const {
    FormatDeclaration(out, command, before, fIsInterprocess, fName, after);
}

void CFourDBaseVar::GetDeclaration(char* out) {
    WriteDeclaration(out, Find(fType).command, "", "");
}

void CFourDStringVar::GetDeclaration(char* out) {
    WriteDeclaration(out, StringDeclaration, "255;", "");
}

void CFourDBaseArrayVar::Declare() {
    DeclareUnlessDefined();
}

void CFourDBaseArrayVar::GetDeclaration(char* out) {
    WriteDeclaration(out, Find(fElementType).arrayCommand, "", ";0");
}

void CFourDBase2DArrayVar::GetDeclaration(char* out) {
    WriteDeclaration(out, Find(fElementType).arrayCommand, "", ";0;0");
}

short CFourDBaseArrayVar::ElementTypeToVarType(short elementType) {
    return Find(elementType).arrayType;
}

void CFourDPointerVar::SetPointerToVariable(const char* name) {
    char command[256];
    if (name == nullptr || NameOfCommand(GetPointerCommand, command) != ResultCode::NoError) {
        return;
    }
    char expression[512];
    const int length = FormatText(expression, sizeof expression, "%s(\"%s\")", command, name);
    if (length < 0) {
        return;
    }
    ValueBlock value{};
    value.type = ValueType::Undefined;
    const OSErr error = WithTokens(expression, length, [&](Handle tokens) {
        return FourD::ExecTokenizedFunc(tokens, &value);
    });
    if (error == ResultCode::NoError && value.type == ValueType::Pointer) {
        SetValue(&value, 1);
    }
    FreeValueBlock(&value);
}
