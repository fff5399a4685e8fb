// Variables, which the host answers with any bytes, and arrays in them.

#include "data/Variables.h"

#include "fuzz/AnyArguments.h"

namespace {
using Operation = void (*)(AnyArguments&, const char* name);

/// A call of a member on a variable of this name.
template <typename Variable, auto Function>
void On(AnyArguments& arguments, const char* name) {
    Variable variable(name);
    arguments.CallOn(variable, Function);
}
template <typename Variable, auto... Functions>
constexpr std::array<Operation, sizeof...(Functions)> of = {On<Variable, Functions>...};

/// One of several members of the same name that answer nothing.
template <typename Class, typename... Parameters>
constexpr auto One(void (Class::*function)(Parameters...)) {
    return function;
}

constexpr auto ofLong =
    of<CFourDLongVar, &CFourDLongVar::GetLongValue, &CFourDLongVar::SetLongValue,
       &CFourDLongVar::Declare, &CFourDLongVar::DefinedType>;
constexpr auto ofText = of<CFourDTextVar, &CFourDTextVar::GetTextLength,
                           One<CFourDTextVar, char***>(&CFourDTextVar::GetTextValue),
                           One<CFourDTextVar, char**>(&CFourDTextVar::SetTextValue),
                           One<CFourDTextVar, char*>(&CFourDTextVar::GetTextValue),
                           One<CFourDTextVar, char*>(&CFourDTextVar::SetTextValue),
                           One<CFourDTextVar, CTextBlock*>(&CFourDTextVar::GetTextValue),
                           One<CFourDTextVar, CTextBlock*>(&CFourDTextVar::SetTextValue)>;
constexpr auto ofBlob = of<CFourDBlobVar, &CFourDBlobVar::GetBlobSize, &CFourDBlobVar::GetBlobValue,
                           &CFourDBlobVar::SetBlobValue>;
constexpr auto ofBoolean =
    of<CFourDBooleanVar, &CFourDBooleanVar::GetBooleanValue, &CFourDBooleanVar::SetBooleanValue>;
constexpr auto ofReal =
    of<CFourDRealVar, &CFourDRealVar::GetRealValue, &CFourDRealVar::SetRealValue>;
constexpr auto ofString =
    of<CFourDStringVar, &CFourDStringVar::GetStringValue, &CFourDStringVar::SetStringValue,
       &CFourDStringVar::GetDeclaration, &CFourDStringVar::Declare>;
constexpr auto ofPointer =
    of<CFourDPointerVar, &CFourDPointerVar::GetPointerValue, &CFourDPointerVar::SetPointerValue,
       &CFourDPointerVar::SetPointerToVariable, &CFourDPointerVar::IsNil,
       &CFourDPointerVar::SetNil>;
constexpr auto ofLongArray =
    of<CFourDLongArrayVar, &CFourDLongArrayVar::GetLongElementValue,
       &CFourDLongArrayVar::SetLongElementValue, &CFourDLongArrayVar::GetNumElements,
       &CFourDLongArrayVar::SetNumElements, &CFourDLongArrayVar::GetCurrentIndex,
       &CFourDLongArrayVar::SetCurrentIndex, &CFourDLongArrayVar::Declare>;
constexpr auto ofTextArray =
    of<CFourDTextArrayVar, &CFourDTextArrayVar::GetTextElementLength,
       One<CFourDTextArrayVar, long, char***>(&CFourDTextArrayVar::GetTextElementValue),
       One<CFourDTextArrayVar, long, char**>(&CFourDTextArrayVar::SetTextElementValue),
       One<CFourDTextArrayVar, long, char*>(&CFourDTextArrayVar::GetTextElementValue),
       One<CFourDTextArrayVar, long, char*>(&CFourDTextArrayVar::SetTextElementValue)>;
constexpr auto ofRealArray =
    of<CFourDRealArrayVar, &CFourDRealArrayVar::GetRealElementValue,
       &CFourDRealArrayVar::SetRealElementValue, &CFourDRealArrayVar::SetNumElements>;
constexpr auto ofLongRows =
    of<CFourDLong2DArrayVar, &CFourDLong2DArrayVar::GetNumRows, &CFourDLong2DArrayVar::SetNumRows,
       &CFourDLong2DArrayVar::GetNumColumns, &CFourDLong2DArrayVar::SetNumColumns,
       &CFourDLong2DArrayVar::GetLongElementValue, &CFourDLong2DArrayVar::SetLongElementValue,
       &CFourDLong2DArrayVar::GetDeclaration>;
constexpr auto ofTextRows =
    of<CFourDText2DArrayVar, &CFourDText2DArrayVar::GetTextElementLength,
       One<CFourDText2DArrayVar, long, long, char***>(&CFourDText2DArrayVar::GetTextElementValue),
       One<CFourDText2DArrayVar, long, long, char**>(&CFourDText2DArrayVar::SetTextElementValue),
       One<CFourDText2DArrayVar, long, long, char*>(&CFourDText2DArrayVar::GetTextElementValue),
       One<CFourDText2DArrayVar, long, long, char*>(&CFourDText2DArrayVar::SetTextElementValue)>;

/// A variable of any type; those of a type that it cannot have are all refused.
void UseAnyVariable(AnyArguments& arguments, const char* name) {
    CFourDVar variable(name, arguments.Make<short>() % 40);
    const auto run = [&](auto... functions) {
        const std::function<void()> calls[] = {
            [&, functions] { arguments.CallOn(variable, functions); }...};
        calls[arguments.input.Choice(std::size(calls))]();
    };
    run(&CFourDVar::Init, static_cast<OSErr (CFourDVar::*)(ValueBlock*)>(&CFourDVar::GetValue),
        static_cast<OSErr (CFourDVar::*)(ValueBlock*)>(&CFourDVar::SetValue),
        static_cast<long (CFourDVar::*)(double)>(&CFourDVar::SetValue),
        static_cast<long (CFourDVar::*)(unsigned char)>(&CFourDVar::SetValue),
        static_cast<long (CFourDVar::*)(TextBlock*)>(&CFourDVar::SetValue),
        static_cast<long (CFourDVar::*)(long)>(&CFourDVar::SetValue),
        static_cast<long (CFourDVar::*)(double*)>(&CFourDVar::GetValue),
        static_cast<long (CFourDVar::*)(unsigned char*)>(&CFourDVar::GetValue),
        static_cast<long (CFourDVar::*)(TextBlock*)>(&CFourDVar::GetValue),
        static_cast<long (CFourDVar::*)(long*)>(&CFourDVar::GetValue));
}

/// An array of any type as the host keeps it: sizes change, its elements are read and written.
void UseArray(AnyArguments& arguments, const char* name) {
    CArray array;
    CFourDVar(name, 0).GetOriginalArray(&array);
    const long index = arguments.Make<long>();
    const long column = arguments.Make<long>();
    long number = 0;
    CTextBlock* text = nullptr;
    unsigned char string[256];
    switch (arguments.input.Choice(6)) {
    case 0:
        array.SetArraySize(index);
        break;
    case 1:
        array.SetRowSize(index, column);
        break;
    case 2: {
        const SArrayLocker locked(&array);
        const SArrayRowLocker lockedRow(&array, index);
        array.AtPut(index, column, index);
        array.At(index, column, number);
        break;
    }
    case 3:
        array.At(index, string);
        array.At(index, column, string);
        array.AtPut(index, arguments.Make<const unsigned char*>());
        break;
    case 4:
        array.At(index, &text);
        for (CTextBlock& each : array.Elements<CTextBlock>()) {
            each.SetTo("changed");
        }
        for (RealElement& each : array.RowElements<double>(index)) {
            each = each + 1;
        }
        break;
    default:
        array.Find(array.GetRowSize(index));
        for (long& each : array.Elements<long>()) {
            each ^= column;
        }
        break;
    }
    array.Forget();
}
} // namespace

void Fuzz(Input& input) {
    FuzzPlug plug;
    HostileHost host(input, HostileHost::AnyVersion(input));
    host.Start();
    static constexpr Operation whole[] = {UseAnyVariable, UseArray};
    const struct {
        int type;
        std::span<const Operation> operations;
    } kinds[] = {{-1, whole},
                 {ValueType::Long, ofLong},
                 {ValueType::Text, ofText},
                 {ValueType::Blob, ofBlob},
                 {ValueType::Boolean, ofBoolean},
                 {ValueType::Real, ofReal},
                 {ValueType::String, ofString},
                 {ValueType::Pointer, ofPointer},
                 {ValueType::LongArray, ofLongArray},
                 {ValueType::TextArray, ofTextArray},
                 {ValueType::RealArray, ofRealArray},
                 {ValueType::ArrayOfArrays, ofLongRows},
                 {ValueType::ArrayOfArrays, ofTextRows},
                 {ValueType::UnicodeTextArray, whole}};
    while (!input.IsOver()) {
        const auto& [type, operations] = kinds[input.Choice(std::size(kinds))];
        host.likelyType = type;
        AnyArguments arguments(input, host);
        operations[input.Choice(operations.size())](arguments, arguments.Make<const char*>());
    }
    HostileHost::Stop();
}
