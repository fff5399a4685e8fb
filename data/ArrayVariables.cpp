#include "data/Variables.h"
#include "platform/ResultCodes.h"

CFourDBaseArrayVar::CFourDBaseArrayVar(const char* name, short elementType)
    : CFourDBaseVar(name, ElementTypeToVarType(elementType)), fElementType(elementType) {}
CFourDBaseArrayVar::CFourDBaseArrayVar(const char* name, short elementType,
                                       unsigned char isInterprocess)
    : CFourDBaseVar(name, ElementTypeToVarType(elementType), isInterprocess),
      fElementType(elementType) {}

CFourDBase2DArrayVar::CFourDBase2DArrayVar(const char* name, short elementType)
    : CFourDBaseArrayVar(name, elementType) {
    fType = ValueType::ArrayOfArrays;
}
CFourDBase2DArrayVar::CFourDBase2DArrayVar(const char* name, short elementType,
                                           unsigned char isInterprocess)
    : CFourDBaseArrayVar(name, elementType, isInterprocess) {
    fType = ValueType::ArrayOfArrays;
}

CArray* CFourDBaseArrayVar::ReadArray(ValueBlock& value, ArrayTest isExpected) {
    if (GetValue(&value) != ResultCode::NoError) {
        return nullptr;
    }
    CArray& array = CArray::Of(value);
    return (array.*isExpected)() ? &array : nullptr;
}

/// Changes the array in place and gives it back, unless `change` fails.
template <typename Change>
void CFourDBaseArrayVar::ChangeArray(ArrayTest isExpected, Change change) {
    ValueBlock value{};
    CArray* const array = ReadArray(value, isExpected);
    if (array != nullptr && change(*array) == ResultCode::NoError) {
        SetValue(&value, 0); // refused, it leaves nothing over: an array never gets a first handle
    }
}

// --- Sizes ------------------------------------------------------------------------------------

long CFourDBaseArrayVar::GetNumElements() {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArray);
    return array != nullptr ? array->GetArraySize() : 0;
}

void CFourDBaseArrayVar::SetNumElements(long count) {
    ChangeArray(&CArray::IsArray, [=](CArray& array) { return array.SetArraySize(count); });
}

long CFourDBaseArrayVar::GetCurrentIndex() {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArray);
    return array != nullptr ? array->GetCurrentIndex() : 0;
}

void CFourDBaseArrayVar::SetCurrentIndex(long index) {
    ChangeArray(&CArray::IsArray, [=](CArray& array) {
        array.SetCurrentIndex(index);
        return ResultCode::NoError;
    });
}

long CFourDBase2DArrayVar::GetNumRows() {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArrayArray);
    return array != nullptr ? array->GetArraySize() : 0;
}

void CFourDBase2DArrayVar::SetNumRows(long count) {
    ChangeArray(&CArray::IsArrayArray, [=](CArray& array) { return array.SetArraySize(count); });
}

long CFourDBase2DArrayVar::GetNumColumns(long row) {
    ValueBlock value{};
    const CArray* array = ReadArray(value, &CArray::IsArrayArray);
    return array != nullptr ? array->GetRowSize(row) : 0;
}

void CFourDBase2DArrayVar::SetNumColumns(long row, long count) {
    ChangeArray(&CArray::IsArrayArray, [=](CArray& array) { return array.SetRowSize(row, count); });
}

// --- Numbers ----------------------------------------------------------------------------------

template <typename Element, typename... Index>
Element CFourDBaseArrayVar::ReadElement(ArrayTest isExpected, Index... index) {
    ValueBlock value{};
    Element element = 0;
    if (const CArray* array = ReadArray(value, isExpected); array != nullptr) {
        array->At(index..., element);
    }
    return element;
}

template <typename Element, typename... Index>
void CFourDBaseArrayVar::WriteElement(ArrayTest isExpected, Element element, Index... index) {
    ChangeArray(isExpected, [=](CArray& array) {
        array.AtPut(index..., element);
        return ResultCode::NoError;
    });
}

long CFourDLongArrayVar::GetLongElementValue(long index) {
    return ReadElement<long>(&CArray::IsArrayLongint, index);
}

void CFourDLongArrayVar::SetLongElementValue(long index, long element) {
    WriteElement(&CArray::IsArrayLongint, element, index);
}

double CFourDRealArrayVar::GetRealElementValue(long index) {
    return ReadElement<double>(&CArray::IsArrayReal, index);
}

void CFourDRealArrayVar::SetRealElementValue(long index, double element) {
    WriteElement(&CArray::IsArrayReal, element, index);
}

long CFourDLong2DArrayVar::GetLongElementValue(long row, long column) {
    return ReadElement<long>(&CArray::Is2DArrayLongint, row, column);
}

void CFourDLong2DArrayVar::SetLongElementValue(long row, long column, long element) {
    WriteElement(&CArray::Is2DArrayLongint, element, row, column);
}

// --- Texts ------------------------------------------------------------------------------------

/// Has `work` done on an element in place while the array, and a row in it, is locked; afterwards
/// they are locked or not as before. False where there is no such text.
template <typename Work, typename... Index>
bool CFourDBaseArrayVar::UseText(ValueBlock& value, Work work, long first, Index... column) {
    CArray* array = ReadArray(value, &CArray::IsArray);
    if (array == nullptr) {
        return false;
    }
    const SArrayLocker locked(array);
    const bool wasRowLocked = array->IsRowLocked(first); // row 0 too
    array->LockRow(first);
    CTextBlock* text = nullptr;
    array->At(first, column..., &text);
    if (text != nullptr) {
        work(*text);
    }
    if (!wasRowLocked) {
        array->UnlockRow(first);
    }
    return text != nullptr;
}

template <typename... Index>
long CFourDBaseArrayVar::TextLength(Index... index) {
    long length = 0;
    const auto measure = [&](const CTextBlock& text) { length = text.GetLength(); };
    ValueBlock value{};
    UseText(value, measure, index...);
    return length;
}

template <typename Target, typename... Index>
void CFourDBaseArrayVar::CopyText(Target* out, Index... index) {
    if (out == nullptr) {
        return;
    }
    *out = {};
    const auto copy = [=](const CTextBlock& text) { text.CopyTo(out); };
    ValueBlock value{};
    UseText(value, copy, index...);
}

/// The element keeps its text when memory is full.
template <typename Source, typename... Index>
void CFourDBaseArrayVar::ReplaceText(Source source, Index... index) {
    const auto replace = [=](CTextBlock& text) {
        auto& record = reinterpret_cast<TextBlock&>(text);
        const TextBlock former = record;
        if (text.SetTo(source) != ResultCode::NoError) {
            record = former;
        }
    };
    ValueBlock value{};
    if (UseText(value, replace, index...)) {
        SetValue(&value, 0);
    }
}

long CFourDTextArrayVar::GetTextElementLength(long index) {
    return TextLength(index);
}

void CFourDTextArrayVar::GetTextElementValue(long index, char*** out) {
    CopyText(out, index);
}

void CFourDTextArrayVar::SetTextElementValue(long index, char** source) {
    ReplaceText(source, index);
}

void CFourDTextArrayVar::GetTextElementValue(long index, char* out) {
    CopyText(out, index);
}

void CFourDTextArrayVar::SetTextElementValue(long index, char* source) {
    if (source != nullptr) {
        ReplaceText(source, index);
    }
}

long CFourDText2DArrayVar::GetTextElementLength(long row, long column) {
    return TextLength(row, column);
}

void CFourDText2DArrayVar::GetTextElementValue(long row, long column, char*** out) {
    CopyText(out, row, column);
}

void CFourDText2DArrayVar::SetTextElementValue(long row, long column, char** source) {
    ReplaceText(source, row, column);
}

void CFourDText2DArrayVar::GetTextElementValue(long row, long column, char* out) {
    CopyText(out, row, column);
}

void CFourDText2DArrayVar::SetTextElementValue(long row, long column, char* source) {
    if (source != nullptr) {
        ReplaceText(source, row, column);
    }
}
