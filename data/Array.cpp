#include "data/Array.h"

#include "data/Handles.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {

constexpr long SlotHeader = 2;     // a string array's storage begins with the size of its slots
constexpr short NewSlotSize = 256; // for 255 characters

bool IsScalar(short type) {
    switch (type) {
    case ValueType::RealArray:
    case ValueType::IntegerArray:
    case ValueType::LongArray:
    case ValueType::DateArray:
    case ValueType::BooleanArray:
        return true;
    default:
        return false;
    }
}

long HeaderSize(short type) {
    return type == ValueType::StringArray ? SlotHeader : 0;
}

/// The address of an element, null when its bytes are not all within the storage.
char* ElementAddress(const ArrayBlock& block, short type, long index) {
    if (index < 0 || index > block.count || block.elements == nullptr) {
        return nullptr;
    }
    const long size = CArray::_GetElementSize(type, block.elements);
    if (size <= 0) {
        return nullptr; // before the handle is looked at: other values have something else there
    }
    const long room = GetHandleSize(block.elements) - HeaderSize(type);
    if (room < size || index > room / size - 1) {
        return nullptr;
    }
    return *block.elements + HeaderSize(type) + index * size;
}

template <typename Element>
Element* ElementOf(const ArrayBlock& block, short type, long index) {
    return reinterpret_cast<Element*>(ElementAddress(block, type, index));
}

template <typename Element>
void Read(const ArrayBlock* block, short type, long index, Element& value) {
    value = {};
    if (block == nullptr) {
        return;
    }
    if (const char* address = ElementAddress(*block, type, index); address != nullptr) {
        std::memcpy(&value, address, sizeof value);
    }
}

template <typename Element>
void Write(const ArrayBlock& block, short type, long index, const Element& value) {
    if (char* address = ElementAddress(block, type, index); address != nullptr) {
        std::memcpy(address, &value, sizeof value);
    }
}

void ReadString(const ArrayBlock* block, long index, unsigned char* string) {
    string[0] = 0;
    if (block == nullptr) {
        return;
    }
    const auto* slot = ElementOf<unsigned char>(*block, ValueType::StringArray, index);
    if (slot != nullptr) {
        // A length that does not fit its slot comes from a broken array.
        const long slotSize = CArray::_GetElementSize(ValueType::StringArray, block->elements);
        const long length = std::min<long>(slot[0], slotSize - 1);
        string[0] = static_cast<unsigned char>(length);
        std::copy_n(slot + 1, length, string + 1);
    }
}

/// Bytes for elements 0 to `last`; -1 when no handle can hold so many.
long StorageSize(const ArrayBlock& block, short type, long last) {
    const long long size = CArray::_GetElementSize(type, block.elements);
    const long long bytes = (static_cast<long long>(last) + 1) * size + HeaderSize(type);
    return bytes <= std::numeric_limits<long>::max() ? static_cast<long>(bytes) : -1;
}

OSErr ResizeStorage(const ArrayBlock& block, short type, long last) {
    const long bytes = StorageSize(block, type, last);
    if (bytes < 0) {
        return ResultCode::MemoryFull;
    }
    SetHandleSize(block.elements, bytes);
    return MemError();
}

/// Empties the elements `first` to the count, without looking at what they hold.
void ClearElements(const ArrayBlock& block, short type, long first) {
    if (type == ValueType::StringArray) {
        for (long index = first; index <= block.count; ++index) {
            Write<unsigned char>(block, type, index, 0);
        }
        return;
    }
    const char* end = *block.elements + GetHandleSize(block.elements);
    if (char* start = ElementAddress(block, type, first); start != nullptr) {
        std::memset(start, 0, static_cast<size_t>(end - start));
    }
}

/// New storage with an empty element 0; `slotSize` is for strings. Null when memory is full.
Handle NewStorage(short type, long slotSize) {
    if (type != ValueType::StringArray) {
        return NewHandleClear(CArray::_GetElementSize(type, nullptr));
    }
    Handle storage = NewHandleClear(SlotHeader + slotSize);
    if (storage != nullptr) {
        const auto header = static_cast<short>(slotSize);
        std::memcpy(*storage, &header, sizeof header);
    }
    return storage;
}

/// Releases what one element owns and leaves it empty. Scalars and strings own nothing.
void ReleaseElement(const ArrayBlock& block, short type, long index) {
    if (type == ValueType::TextArray) {
        TextBlock text{};
        Read(&block, type, index, text);
        Write(block, type, index, TextBlock{});
        if (text.text != nullptr) {
            DisposeHandle(text.text);
        }
    } else if (type == ValueType::PictureArray) {
        Handle picture = nullptr;
        Read(&block, type, index, picture);
        Write(block, type, index, Handle{});
        if (picture != nullptr) {
            DisposeHandle(picture);
        }
    } else if (type == ValueType::UnicodeTextArray) {
        FDStringBlock text{};
        Read(&block, type, index, text);
        Write(block, type, index, FDStringBlock{});
        if (text.units != nullptr) {
            FourD::DisposeFDStringBlock(&text);
        }
    } else if (type == ValueType::ArrayOfArrays) {
        const SHandleLocker locked(block.elements);
        auto* row = ElementOf<ArrayRow>(block, type, index);
        // The host's arrays have two dimensions: a row of rows is broken, and could hold itself.
        if (row != nullptr && row->type != ValueType::ArrayOfArrays) {
            CArray::_SetArraySize(row->array, row->type, 0);
            ReleaseElement(row->array, row->type, 0);
            if (row->array.elements != nullptr) {
                DisposeHandle(row->array.elements);
            }
            row->array = {};
        }
    }
}

/// Gives the new rows `first` to the count their type and storage. After a failure it has taken
/// back what it made.
OSErr MakeRows(const ArrayBlock& block, long first) {
    const SHandleLocker locked(block.elements);
    const auto* model = ElementOf<ArrayRow>(block, ValueType::ArrayOfArrays, 0);
    if (model == nullptr) {
        return ResultCode::BadParameter;
    }
    const short type = model->type;
    long slotSize = CArray::_GetElementSize(type, model->array.elements);
    slotSize = slotSize > 0 ? slotSize : NewSlotSize;
    for (long index = first; index <= block.count; ++index) {
        auto* row = ElementOf<ArrayRow>(block, ValueType::ArrayOfArrays, index);
        row->type = static_cast<unsigned char>(type);
        row->array.elements = NewStorage(type, slotSize);
        if (row->array.elements == nullptr) {
            const OSErr error = MemError();
            for (long made = first; made < index; ++made) {
                ReleaseElement(block, ValueType::ArrayOfArrays, made);
            }
            return error;
        }
    }
    return ResultCode::NoError;
}

/// Number of the last element whose bytes are in the storage; -1 when there is none.
long LastStored(const ArrayBlock& block, short type) {
    const long size = CArray::_GetElementSize(type, block.elements);
    if (size <= 0) {
        return -1;
    }
    const long room = GetHandleSize(block.elements) - HeaderSize(type);
    return std::min(long{block.count}, room / size - 1);
}

/// Sets the count and the storage's size. Elements that were not in the storage are empty.
OSErr Resize(ArrayBlock& block, short type, long size) {
    const long stored = LastStored(block, type);
    if (const OSErr error = ResizeStorage(block, type, size); error != ResultCode::NoError) {
        return error;
    }
    const bool shrinks = size < block.count;
    block.count = size;
    if (block.currentIndex > size &&
        (shrinks || IsScalar(type) || type == ValueType::StringArray)) {
        block.currentIndex = 0;
    }
    ClearElements(block, type, stored + 1);
    return ResultCode::NoError;
}

OSErr Grow(ArrayBlock& block, short type, long size) {
    const long before = block.count;
    if (const OSErr error = Resize(block, type, size);
        error != ResultCode::NoError || type != ValueType::ArrayOfArrays) {
        return error;
    }
    const OSErr error = MakeRows(block, before + 1);
    if (error != ResultCode::NoError) {
        Resize(block, type, before);
    }
    return error;
}

OSErr Shrink(ArrayBlock& block, short type, long size) {
    if (!IsScalar(type) && type != ValueType::StringArray) {
        const long last = LastStored(block, type);
        for (long index = size + 1; index <= last; ++index) {
            ReleaseElement(block, type, index);
        }
    }
    return Resize(block, type, size);
}

} // namespace

CArray::CArray(long type) {
    fValue.type = static_cast<unsigned char>(type);
    fValue.array.elements = NewStorage(GetType(), NewSlotSize);
}

CArray::~CArray() {
    if (fValue.array.elements != nullptr) {
        DisposeHandle(fValue.array.elements);
    }
    Forget();
}

void CArray::Forget() {
    std::memset(static_cast<void*>(&fValue), 0, sizeof fValue);
}

bool CArray::IsArrayType(short type) {
    return (type >= ValueType::ArrayOfArrays && type <= ValueType::PictureArray) ||
           type == ValueType::StringArray || type == ValueType::BooleanArray ||
           type == ValueType::UnicodeTextArray;
}

short CArray::Get2DType() const {
    const ArrayRow* first = Row(0);
    return first != nullptr ? short{first->type} : short{0};
}

long CArray::_GetElementSize(short type, Handle storage) {
    switch (type) {
    case ValueType::ArrayOfArrays:
        return sizeof(ArrayRow);
    case ValueType::RealArray:
        return sizeof(double);
    case ValueType::IntegerArray:
        return sizeof(short);
    case ValueType::LongArray:
        return sizeof(long);
    case ValueType::DateArray:
        return sizeof(DateBlock);
    case ValueType::TextArray:
        return sizeof(TextBlock);
    case ValueType::PictureArray:
        return sizeof(Handle);
    case ValueType::BooleanArray:
        return 1;
    case ValueType::UnicodeTextArray:
        return sizeof(FDStringBlock);
    case ValueType::StringArray: {
        short slotSize = 0;
        if (storage != nullptr && GetHandleSize(storage) >= SlotHeader) {
            std::memcpy(&slotSize, *storage, sizeof slotSize);
        }
        return slotSize;
    }
    default:
        return 0;
    }
}

long CArray::_SetArraySize(ArrayBlock& block, short type, long size) {
    if (size == block.count) {
        return ResultCode::NoError;
    }
    if (size < 0) {
        return ResultCode::BadParameter;
    }
    if (!IsArrayType(type)) {
        return ResultCode::NoError;
    }
    if (block.elements == nullptr) {
        return ResultCode::NullHandle;
    }
    if (ElementSize(block, type) < 1 || block.count < 0) { // slots of no size, a broken count
        return ResultCode::BadParameter;
    }
    return size > block.count ? Grow(block, type, size) : Shrink(block, type, size);
}

void* CArray::ComputeAddress(long index) const {
    return ElementAddress(Block(), GetType(), index);
}

// --- Elements -------------------------------------------------------------------------------

namespace {

/// The array type whose elements are of this C++ type.
template <typename Element>
constexpr short arrayTypeOf = 0;
template <>
constexpr short arrayTypeOf<short> = ValueType::IntegerArray;
template <>
constexpr short arrayTypeOf<long> = ValueType::LongArray;
template <>
constexpr short arrayTypeOf<double> = ValueType::RealArray;
template <>
constexpr short arrayTypeOf<unsigned char> = ValueType::BooleanArray;
template <>
constexpr short arrayTypeOf<DateBlock> = ValueType::DateArray;
template <>
constexpr short arrayTypeOf<Handle> = ValueType::PictureArray;
template <>
constexpr short arrayTypeOf<FDStringBlock> = ValueType::UnicodeTextArray;

/// `block` is null where the array is of another type.
template <typename Element>
void ReadElement(const ArrayBlock* block, long index, Element& value) {
    Read(block, arrayTypeOf<Element>, index, value);
}

template <typename Element>
void WriteElement(const ArrayBlock* block, long index, const Element& value) {
    if (block != nullptr) {
        Write(*block, arrayTypeOf<Element>, index, value);
    }
}

CTextBlock* TextElement(const ArrayBlock* block, long index) {
    return block != nullptr ? ElementOf<CTextBlock>(*block, ValueType::TextArray, index) : nullptr;
}

} // namespace

const ArrayBlock* CArray::IfType(short type) const {
    return GetType() == type ? &Block() : nullptr;
}

void CArray::At(long index, short& value) const {
    ReadElement(IfType(ValueType::IntegerArray), index, value);
}

void CArray::At(long index, long& value) const {
    ReadElement(IfType(ValueType::LongArray), index, value);
}

void CArray::At(long index, double& value) const {
    ReadElement(IfType(ValueType::RealArray), index, value);
}

void CArray::At(long index, unsigned char& value) const {
    ReadElement(IfType(ValueType::BooleanArray), index, value);
}

void CArray::At(long index, DateBlock& value) const {
    ReadElement(IfType(ValueType::DateArray), index, value);
}

void CArray::At(long index, CTextBlock** text) const {
    *text = TextElement(IfType(ValueType::TextArray), index);
}

void CArray::At(long index, Picture*** picture) const {
    Handle handle = nullptr;
    ReadElement(IfType(ValueType::PictureArray), index, handle);
    *picture = reinterpret_cast<Picture**>(handle);
}

void CArray::At(long index, unsigned char* string) const {
    ReadString(IfType(ValueType::StringArray), index, string);
}

void CArray::AtPut(long index, short value) {
    WriteElement(IfType(ValueType::IntegerArray), index, value);
}

void CArray::AtPut(long index, long value) {
    WriteElement(IfType(ValueType::LongArray), index, value);
}

void CArray::AtPut(long index, const double& value) {
    WriteElement(IfType(ValueType::RealArray), index, value);
}

void CArray::AtPut(long index, unsigned char value) {
    WriteElement(IfType(ValueType::BooleanArray), index, value);
}

void CArray::AtPut(long index, const DateBlock& value) {
    WriteElement(IfType(ValueType::DateArray), index, value);
}

void CArray::AtPut(long index, Picture** picture) {
    WriteElement(IfType(ValueType::PictureArray), index, reinterpret_cast<Handle>(picture));
}

void CArray::AtPut(long index, const unsigned char* string) {
    if (IsArrayUnicode()) {
        unsigned short text[256];
        FourD::CopyPStrToUniChars(string, text);
        AtPut(index, text);
        return;
    }
    auto* slot = IsArrayString() ? static_cast<unsigned char*>(ComputeAddress(index)) : nullptr;
    if (slot == nullptr) {
        return;
    }
    const long length = std::min<long>(string[0], GetElementSize() - 1);
    slot[0] = static_cast<unsigned char>(length);
    std::copy_n(string + 1, length, slot + 1);
}

void CArray::AtPut(long index, const unsigned short* text) {
    if (!IsArrayUnicode() || ComputeAddress(index) == nullptr) {
        return;
    }
    ReleaseElement(Block(), GetType(), index);
    FDStringBlock element{};
    if (text[0] == 0 || FourD::CreateFDString(&element) != ResultCode::NoError) {
        return;
    }
    if (FourD::SetFDString(&element, text) != ResultCode::NoError) {
        FourD::DisposeFDStringBlock(&element);
    }
    WriteElement(&Block(), index, element);
}

void CArray::AtPut(long index, const FDStringBlock& text) {
    FDStringBlock former{};
    ReadElement(IfType(ValueType::UnicodeTextArray), index, former);
    const FDStringBlock element = text; // may lie in the storage
    if (former.units != nullptr && former.units != element.units) {
        FourD::DisposeFDStringBlock(&former);
    }
    WriteElement(IfType(ValueType::UnicodeTextArray), index, element);
}

long CArray::Find(long value) const {
    const std::span<const long> elements = Longs();
    for (size_t index = 1; index < elements.size(); ++index) {
        if (elements[index] == value) {
            return static_cast<long>(index);
        }
    }
    return -1;
}

std::span<long> CArray::Longs() const {
    auto* first = IsArrayLongint() ? static_cast<long*>(ComputeAddress(0)) : nullptr;
    if (first == nullptr) {
        return {};
    }
    return {first, static_cast<size_t>(LastStored(Block(), GetType())) + 1};
}

void CArray::Lock() {
    if (Block().elements != nullptr) {
        HLock(Block().elements);
    }
}

void CArray::Unlock() {
    if (Block().elements != nullptr) {
        HUnlock(Block().elements);
    }
}

bool CArray::IsLocked() const {
    return Block().elements != nullptr && IsHandleLocked(Block().elements) != 0;
}

// --- Rows -----------------------------------------------------------------------------------

ArrayRow* CArray::Row(long row) const {
    return IsArrayArray() ? ElementOf<ArrayRow>(Block(), ValueType::ArrayOfArrays, row) : nullptr;
}

const ArrayBlock* CArray::RowOf(long row, short type) const {
    const ArrayRow* found = Row(row);
    return found != nullptr && Get2DType() == type && found->type == type ? &found->array : nullptr;
}

void CArray::LockRow(long row) {
    if (const ArrayRow* found = Row(row); found != nullptr && found->array.elements != nullptr) {
        HLock(found->array.elements);
    }
}

void CArray::UnlockRow(long row) {
    if (const ArrayRow* found = Row(row); found != nullptr && found->array.elements != nullptr) {
        HUnlock(found->array.elements);
    }
}

bool CArray::IsRowLocked(long row) const {
    const ArrayRow* found = Row(row);
    return found != nullptr && found->array.elements != nullptr &&
           IsHandleLocked(found->array.elements) != 0;
}

long CArray::GetRowSize(long row) const {
    const ArrayRow* found = Row(row);
    return found != nullptr ? found->array.count : 0;
}

long CArray::SetRowSize(long row, long size) {
    const short type = Get2DType();
    if (RowOf(row, type) == nullptr) {
        return ResultCode::NoError;
    }
    const SArrayLocker locked(this);
    return _SetArraySize(Row(row)->array, type, size);
}

void CArray::At(long row, long column, short& value) const {
    ReadElement(RowOf(row, ValueType::IntegerArray), column, value);
}

void CArray::At(long row, long column, long& value) const {
    ReadElement(RowOf(row, ValueType::LongArray), column, value);
}

void CArray::At(long row, long column, double& value) const {
    ReadElement(RowOf(row, ValueType::RealArray), column, value);
}

void CArray::At(long row, long column, CTextBlock** text) const {
    *text = TextElement(RowOf(row, ValueType::TextArray), column);
}

void CArray::At(long row, long column, DateBlock& value) const {
    ReadElement(RowOf(row, ValueType::DateArray), column, value);
}

void CArray::At(long row, long column, unsigned char& value) const {
    ReadElement(RowOf(row, ValueType::BooleanArray), column, value);
}

void CArray::At(long row, long column, unsigned char* string) const {
    ReadString(RowOf(row, ValueType::StringArray), column, string);
}

void CArray::AtPut(long row, long column, long value) {
    WriteElement(RowOf(row, ValueType::LongArray), column, value);
}

void CArray::AtPut(long row, long column, double value) {
    WriteElement(RowOf(row, ValueType::RealArray), column, value);
}

// --- Guards ---------------------------------------------------------------------------------

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
