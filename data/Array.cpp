#include "data/Array.h"

#include "data/ArrayStorage.h"
#include "data/Handles.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"

CArray::CArray(long type) {
    fValue.type = static_cast<unsigned char>(type);
    fValue.array.elements = NewArrayStorage(GetType(), 0);
}

CArray::~CArray() {
    DisposeIfThere(fValue.array.elements);
    Forget();
}

void CArray::Forget() {
    std::memset(static_cast<void*>(&fValue), 0, sizeof fValue);
}

bool CArray::IsArrayType(short type) {
    return FixedElementSize(type) > 0 || type == ValueType::StringArray;
}

long CArray::_GetElementSize(short type, Handle storage) {
    return type == ValueType::StringArray ? ArrayStorage({0, storage, 0}, type).ElementSize()
                                          : FixedElementSize(type);
}

// --- Elements -------------------------------------------------------------------------------

inline ArrayStorage CArray::ElementsOf(short type) const {
    return GetType() == type ? ArrayStorage(fValue.array, type) : ArrayStorage();
}

inline ArrayStorage CArray::ElementsOf(short type, long row) const {
    const ArrayStorage rows = ElementsOf(ValueType::ArrayOfArrays);
    const auto* found = rows.Address<ArrayRow>(row);
    // Row 0 tells the type; what the others say about themselves does not count.
    const bool isOfType = found != nullptr && rows.Address<ArrayRow>(0)->type == type;
    return isOfType ? ArrayStorage(found->array, type) : ArrayStorage();
}

void* CArray::ComputeAddress(long index) const {
    return ArrayStorage(fValue.array, GetType()).Address(index);
}

void CArray::At(long index, short& value) const {
    ElementsOf(ValueType::IntegerArray).Read(index, value);
}

void CArray::At(long index, long& value) const {
    ElementsOf(ValueType::LongArray).Read(index, value);
}

void CArray::At(long index, double& value) const {
    ElementsOf(ValueType::RealArray).Read(index, value);
}

void CArray::At(long index, unsigned char& value) const {
    ElementsOf(ValueType::BooleanArray).Read(index, value);
}

void CArray::At(long index, DateBlock& value) const {
    ElementsOf(ValueType::DateArray).Read(index, value);
}

void CArray::At(long index, CTextBlock** text) const {
    *text = ElementsOf(ValueType::TextArray).Address<CTextBlock>(index);
}

void CArray::At(long index, Picture*** picture) const {
    ElementsOf(ValueType::PictureArray).Read(index, *picture);
}

void CArray::At(long index, unsigned char* string) const {
    ElementsOf(ValueType::StringArray).ReadString(index, string);
}

void CArray::AtPut(long index, short value) {
    ElementsOf(ValueType::IntegerArray).Write(index, value);
}

void CArray::AtPut(long index, long value) {
    ElementsOf(ValueType::LongArray).Write(index, value);
}

void CArray::AtPut(long index, const double& value) {
    ElementsOf(ValueType::RealArray).Write(index, value);
}

void CArray::AtPut(long index, unsigned char value) {
    ElementsOf(ValueType::BooleanArray).Write(index, value);
}

void CArray::AtPut(long index, const DateBlock& value) {
    ElementsOf(ValueType::DateArray).Write(index, value);
}

void CArray::AtPut(long index, Picture** picture) {
    ElementsOf(ValueType::PictureArray).Write(index, picture);
}

void CArray::AtPut(long index, const unsigned char* string) {
    if (IsArrayUnicode()) {
        unsigned short text[256];
        FourD::CopyPStrToUniChars(string, text);
        AtPut(index, text);
        return;
    }
    ElementsOf(ValueType::StringArray).WriteString(index, string);
}

void CArray::AtPut(long index, const unsigned short* text) {
    if (ElementsOf(ValueType::UnicodeTextArray).Address(index) == nullptr) {
        return;
    }
    FDStringBlock element{};
    AtPut(index, element); // the former string goes first
    if (text[0] == 0 || FourD::CreateFDString(&element) != ResultCode::NoError) {
        return;
    }
    if (FourD::SetFDString(&element, text) != ResultCode::NoError) {
        FourD::DisposeFDStringBlock(&element);
    }
    ElementsOf(ValueType::UnicodeTextArray).Write(index, element);
}

void CArray::AtPut(long index, const FDStringBlock& text) {
    const ArrayStorage elements = ElementsOf(ValueType::UnicodeTextArray);
    const FDStringBlock element = text; // may lie in the storage
    FDStringBlock former{};
    elements.Read(index, former);
    elements.Write(index, element);
    const bool isTheSame = former.units != nullptr
                               ? former.units == element.units
                               : std::memcmp(&former, &element, sizeof former) == 0;
    if (!isTheSame) {
        ReleaseHostString(former);
    }
}

long CArray::Find(long value) const {
    const std::span<const long> elements = Longs();
    const auto first = elements.begin() + (elements.empty() ? 0 : 1);
    const auto found = std::find(first, elements.end(), value);
    return found != elements.end() ? found - elements.begin() : -1;
}

std::span<long> CArray::Longs() const {
    return ElementsOf(ValueType::LongArray).Span<long>();
}

// --- Rows -----------------------------------------------------------------------------------

ArrayRow* CArray::Row(long row) const {
    return ElementsOf(ValueType::ArrayOfArrays).Address<ArrayRow>(row);
}

short CArray::Get2DType() const {
    const ArrayRow* first = Row(0);
    return first != nullptr ? short{first->type} : short{0};
}

long CArray::GetRowSize(long row) const {
    const ArrayRow* found = Row(row);
    return found != nullptr ? found->array.count : 0;
}

long CArray::SetRowSize(long row, long size) {
    const SArrayLocker locked(this);
    const short type = Get2DType();
    ArrayRow* const found = Row(row);
    // The host's arrays have two dimensions: a row of rows is broken, and could hold itself.
    if (found == nullptr || type == ValueType::ArrayOfArrays) {
        return ResultCode::NoError;
    }
    return _SetArraySize(found->array, type, size);
}

void CArray::At(long row, long column, short& value) const {
    ElementsOf(ValueType::IntegerArray, row).Read(column, value);
}

void CArray::At(long row, long column, long& value) const {
    ElementsOf(ValueType::LongArray, row).Read(column, value);
}

void CArray::At(long row, long column, double& value) const {
    ElementsOf(ValueType::RealArray, row).Read(column, value);
}

void CArray::At(long row, long column, CTextBlock** text) const {
    *text = ElementsOf(ValueType::TextArray, row).Address<CTextBlock>(column);
}

void CArray::At(long row, long column, DateBlock& value) const {
    ElementsOf(ValueType::DateArray, row).Read(column, value);
}

void CArray::At(long row, long column, unsigned char& value) const {
    ElementsOf(ValueType::BooleanArray, row).Read(column, value);
}

void CArray::At(long row, long column, unsigned char* string) const {
    ElementsOf(ValueType::StringArray, row).ReadString(column, string);
}

void CArray::AtPut(long row, long column, long value) {
    ElementsOf(ValueType::LongArray, row).Write(column, value);
}

void CArray::AtPut(long row, long column, double value) {
    ElementsOf(ValueType::RealArray, row).Write(column, value);
}

// --- Locks ----------------------------------------------------------------------------------

namespace {

bool IsThereAndLocked(Handle storage) {
    return storage != nullptr && IsHandleLocked(storage) != 0;
}

void SetLocked(Handle storage, bool locked) {
    if (storage != nullptr) {
        locked ? HLock(storage) : HUnlock(storage);
    }
}

} // namespace

/// Null for what is no array, whatever it has in the handle's place.
Handle CArray::Storage() const {
    return IsArray() ? fValue.array.elements : nullptr;
}

Handle CArray::RowStorage(long row) const {
    const ArrayRow* found = Row(row);
    return found != nullptr ? found->array.elements : nullptr;
}

void CArray::Lock() {
    SetLocked(Storage(), true);
}

void CArray::Unlock() {
    SetLocked(Storage(), false);
}

bool CArray::IsLocked() const {
    return IsThereAndLocked(Storage());
}

void CArray::LockRow(long row) {
    SetLocked(RowStorage(row), true);
}

void CArray::UnlockRow(long row) {
    SetLocked(RowStorage(row), false);
}

bool CArray::IsRowLocked(long row) const {
    return IsThereAndLocked(RowStorage(row));
}

SArrayLocker::SArrayLocker(CArray* array)
    : fArray(array), fWasLocked(array != nullptr && array->IsLocked()) {
    if (fArray != nullptr && !fWasLocked) {
        fArray->Lock();
    }
}

SArrayLocker::~SArrayLocker() {
    if (fArray == nullptr) {
        return;
    }
    if (fWasLocked) {
        fArray->Lock();
    } else {
        fArray->Unlock();
    }
}

SArrayRowLocker::SArrayRowLocker(CArray* array, long row)
    : fArray(row > 0 ? array : nullptr),
      fRow(row),
      fWasLocked(fArray != nullptr && fArray->IsRowLocked(row)) {
    if (fArray != nullptr && !fWasLocked) {
        fArray->LockRow(row);
    }
}

SArrayRowLocker::~SArrayRowLocker() {
    if (fArray == nullptr) {
        return;
    }
    if (fWasLocked) {
        fArray->LockRow(fRow);
    } else {
        fArray->UnlockRow(fRow);
    }
}
