#include "data/Array.h"

#include "data/blocks/Handles.h"
#include "host/Call.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <array>
#include <cstring>

void ArrayStorage::CopyString(const unsigned char* source, unsigned char* target, long slotSize) {
    const long length = source != nullptr ? std::min<long>(source[0], slotSize - 1) : 0;
    target[0] = static_cast<unsigned char>(length);
    // In words: to call memmove would take as long as all else here. Both may be the same string.
    long copied = 1;
    for (long word = 0; copied + long{sizeof word} <= length + 1; copied += sizeof word) {
        std::memcpy(&word, source + copied, sizeof word);
        std::memcpy(target + copied, &word, sizeof word);
    }
    for (; copied <= length; ++copied) {
        target[copied] = source[copied];
    }
}

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
    return ArrayStorage::FixedElementSize(type) > 0 || type == ValueType::StringArray;
}

long CArray::_GetElementSize(short type, Handle storage) {
    return type == ValueType::StringArray ? ArrayStorage({0, storage, 0}, type).ElementSize()
                                          : ArrayStorage::FixedElementSize(type);
}

// --- Elements -------------------------------------------------------------------------------

ArrayRow* CArray::Row(short type, long row) const {
    const ArrayStorage rows = ElementsOf(ValueType::ArrayOfArrays);
    // Row 0 tells the type; what the others say about themselves does not count.
    const auto* model = rows.Address<ArrayRow>(0);
    return model != nullptr && model->type == type ? rows.Address<ArrayRow>(row) : nullptr;
}

void* CArray::ComputeAddress(long index) const {
    return ArrayStorage(fValue.array, GetType()).Address(index);
}

void CArray::AtPut(long index, const unsigned char* string) {
    if (string == nullptr) {
        return;
    }
    if (IsArrayUnicode()) {
        unsigned short text[256];
        FourD::CopyPStrToUniChars(string, text);
        AtPut(index, text);
        return;
    }
    ElementsOf(ValueType::StringArray).WriteString(index, string);
}

void CArray::AtPut(long index, const unsigned short* text) {
    if (text == nullptr || ElementsOf(ValueType::UnicodeTextArray).Address(index) == nullptr) {
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
    const std::span<const long> elements = Elements<long>();
    const auto first = elements.begin() + (elements.empty() ? 0 : 1);
    const auto found = std::find(first, elements.end(), value);
    return found != elements.end() ? found - elements.begin() : -1;
}

// --- Rows -----------------------------------------------------------------------------------

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
    // A row of rows is broken, and so is one that has the array's own storage.
    if (found == nullptr || type == ValueType::ArrayOfArrays ||
        found->array.elements == fValue.array.elements) {
        return ResultCode::NoError;
    }
    return _SetArraySize(found->array, type, size);
}

// --- Locks ----------------------------------------------------------------------------------

bool CArray::IsThereAndLocked(Handle storage) {
    return storage != nullptr && IsHandleLocked(storage) != 0;
}

void CArray::SetLocked(Handle storage, bool locked) {
    if (storage != nullptr) {
        locked ? HLock(storage) : HUnlock(storage);
    }
}

/// Null for what is no array, whatever it has in the handle's place.
Handle CArray::Storage() const {
    return IsArray() ? fValue.array.elements : nullptr;
}

Handle CArray::RowStorage(long row) const {
    const ArrayRow* found = Row(row);
    return found != nullptr ? found->array.elements : nullptr;
}

SArrayLocker::SArrayLocker(CArray* array)
    : fArray(array), fWasLocked(array != nullptr && array->IsLocked()) {
    if (fArray != nullptr && !fWasLocked) {
        fArray->Lock();
    }
}

SArrayLocker::~SArrayLocker() {
    if (fArray != nullptr) {
        fWasLocked ? fArray->Lock() : fArray->Unlock();
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
    if (fArray != nullptr) {
        fWasLocked ? fArray->LockRow(fRow) : fArray->UnlockRow(fRow);
    }
}

// The one call of the class that hands out an array; it stands here because the host's calls know
// none of the classes that are built on them.
OSErr FourD::GetArrayVar(unsigned char* name, CArray* array) {
    if (array == nullptr) {
        return ResultCode::BadParameter;
    }
    ValueBlock value{};
    const ClassicSelector selector = Select("GetProcessVariable");
    const OSErr error = ClassicCall(selector).PutName(name).PutAddress(&value).SendForError();
    if (error != ResultCode::NoError) {
        return error;
    }
    array->Forget();
    array->Value().type = value.type;
    if (array->IsArray()) { // the contents of another value are no storage to be disposed of
        array->Value() = value;
    }
    return error;
}
