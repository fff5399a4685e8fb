// How an array grows and shrinks, and what becomes of what its elements own.

#include "data/Array.h"
#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"

#include <limits>

namespace {

bool OwnsSomething(short type) {
    return type == ValueType::TextArray || type == ValueType::PictureArray ||
           type == ValueType::UnicodeTextArray || type == ValueType::ArrayOfArrays;
}

void ReleaseElements(const ArrayBlock& block, short type, long first);

/// Disposes of a row of an array, `rows`, whose rows hold elements of `type`. What the elements own
/// goes with them, unless the row says that it holds something else: then nobody can tell.
void ReleaseRow(const ArrayRow& row, short type, const ArrayBlock& rows) {
    if (row.array.elements == rows.elements) {
        return; // broken: it holds itself
    }
    // The host's arrays have two dimensions: a row of rows is broken, and could hold itself.
    const bool isOfType = row.type == type || row.type == 0;
    if (isOfType && type != ValueType::ArrayOfArrays) {
        ReleaseElements(row.array, type, 0);
    }
    DisposeIfThere(row.array.elements);
}

/// Releases what the elements from `first` on own and leaves them empty.
void ReleaseElements(const ArrayBlock& block, short type, long first) {
    if (!OwnsSomething(type)) {
        return;
    }
    const SHandleLocker locked(block.elements);
    const ArrayStorage elements(block, type);
    for (long index = first; index < elements.Count(); ++index) {
        if (type == ValueType::TextArray) {
            DisposeIfThere(elements.Take<TextBlock>(index).text);
        } else if (type == ValueType::PictureArray) {
            DisposeIfThere(elements.Take<Handle>(index));
        } else if (type == ValueType::UnicodeTextArray) {
            ReleaseHostString(elements.Take<FDStringBlock>(index));
        } else {
            ArrayRow model{};
            elements.Read(0, model);
            ReleaseRow(elements.Take<ArrayRow>(index), model.type, block);
        }
    }
}

/// Gives the new rows, from `first` on, their type and storage. After a failure it has taken back
/// what it made.
OSErr MakeRows(const ArrayBlock& block, long first) {
    const SHandleLocker locked(block.elements);
    const ArrayStorage rows(block, ValueType::ArrayOfArrays);
    const auto* model = rows.Address<ArrayRow>(0);
    if (model == nullptr) {
        return ResultCode::BadParameter;
    }
    const long slotSize = ArrayStorage(model->array, model->type).ElementSize();
    for (long index = first; index < rows.Count(); ++index) {
        auto* row = rows.Address<ArrayRow>(index);
        row->type = model->type;
        row->array.elements = NewArrayStorage(model->type, slotSize);
        if (row->array.elements == nullptr) {
            const OSErr error = MemError();
            ReleaseElements(block, ValueType::ArrayOfArrays, first);
            return error;
        }
    }
    return ResultCode::NoError;
}

/// Sets the count and the storage's size. Elements that `before` did not have are empty.
OSErr Resize(ArrayBlock& block, short type, long size, const ArrayStorage& before) {
    const long long elementSize = before.ElementSize();
    const long long bytes = ArrayStorage::HeaderSize(type) + (size + 1LL) * elementSize;
    if (bytes > std::numeric_limits<long>::max()) {
        return ResultCode::MemoryFull;
    }
    SetHandleSize(block.elements, static_cast<long>(bytes));
    if (const OSErr error = MemError(); error != ResultCode::NoError) {
        return error;
    }
    const bool shrinks = size < block.count;
    block.count = size;
    if (block.currentIndex > size && (shrinks || !OwnsSomething(type))) {
        block.currentIndex = 0;
    }
    const long long kept = ArrayStorage::HeaderSize(type) + before.Count() * elementSize;
    if (kept < bytes) {
        std::memset(*block.elements + kept, 0, static_cast<size_t>(bytes - kept));
    }
    return ResultCode::NoError;
}

} // namespace

void ReleaseHostString(FDStringBlock text) {
    constexpr char None[sizeof text] = {};
    if (std::memcmp(&text, None, sizeof text) != 0) {
        FourD::DisposeFDStringBlock(&text);
    }
}

Handle NewArrayStorage(short type, long slotSize) {
    if (type != ValueType::StringArray) {
        return NewHandleClear(ArrayStorage::FixedElementSize(type));
    }
    constexpr short NewSlotSize = 256; // for 255 characters
    const auto header = slotSize > 0 ? static_cast<short>(slotSize) : NewSlotSize;
    Handle storage = NewHandleClear(ArrayStorage::HeaderSize(type) + header);
    if (storage != nullptr) {
        std::memcpy(*storage, &header, sizeof header);
    }
    return storage;
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
    const ArrayStorage before(block, type);
    if (before.ElementSize() < 1 || block.count < 0) { // slots of no size, a broken count
        return ResultCode::BadParameter;
    }
    const long countBefore = block.count;
    if (size < countBefore) {
        ReleaseElements(block, type, size + 1);
    }
    OSErr error = Resize(block, type, size, before);
    if (error == ResultCode::NoError && type == ValueType::ArrayOfArrays && size > countBefore) {
        error = MakeRows(block, countBefore + 1);
        if (error != ResultCode::NoError) {
            Resize(block, type, countBefore, before);
        }
    }
    return error;
}
