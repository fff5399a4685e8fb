#pragma once

#include "data/ArrayStorage.h"
#include "host/boundary/Values.h"
#include "platform/Types.h"

#include <span>

#pragma pack(push, 2)

/// A host array in place: it has the layout of the host's typed value, so that a value read from a
/// variable is worked on as it is (Of) and written back.
///
/// The storage holds the elements 0 to the count (`index`; `row` and `column` in a two-dimensional
/// array). A wrong index, or a type other than the one that an element call is for, is no error:
/// reads leave the output zero, writes do nothing. The count comes from the host and is not
/// trusted: nothing outside the storage is touched.
class CArray {
  public:
    /// No array.
    CArray() = default;
    /// A new array of this `type`, with element 0 only. String arrays get slots for 255 characters.
    explicit CArray(long type);
    /// Disposes of the storage, but not of what its elements own: SetArraySize(0) does that, and
    /// leaves element 0.
    ~CArray();
    CArray(const CArray&) = delete;
    CArray& operator=(const CArray&) = delete;

    /// A `value` read from the host seen as an array. The value keeps its storage.
    static CArray& Of(ValueBlock& value) { return reinterpret_cast<CArray&>(value); }
    /// The whole record, to be filled from or written back to the host.
    ValueBlock& Value() { return fValue; }
    /// Leaves the storage to its owner, the host: the record is zeroed, nothing is disposed of.
    void Forget();

    /// @family The type that the value has (ValueType), and whether it is that of an array.
    short GetType() const { return fValue.type; }
    bool IsUndefined() const { return fValue.type == ValueType::Undefined; }
    bool IsArrayInteger() const { return fValue.type == ValueType::IntegerArray; }
    bool IsArrayLongint() const { return fValue.type == ValueType::LongArray; }
    bool IsArrayReal() const { return fValue.type == ValueType::RealArray; }
    bool IsArrayText() const { return fValue.type == ValueType::TextArray; }
    bool IsArrayPicture() const { return fValue.type == ValueType::PictureArray; }
    bool IsArrayDate() const { return fValue.type == ValueType::DateArray; }
    bool IsArrayBoolean() const { return fValue.type == ValueType::BooleanArray; }
    bool IsArrayArray() const { return fValue.type == ValueType::ArrayOfArrays; }
    bool IsArrayString() const { return fValue.type == ValueType::StringArray; }
    bool IsArrayUnicode() const { return fValue.type == ValueType::UnicodeTextArray; }
    bool IsArray() const { return IsArrayType(fValue.type); }

    /// @family Type of the rows of a two-dimensional array, which is that of row 0, whatever the
    /// others say about themselves; 0 for other arrays. And whether it is that one.
    short Get2DType() const;
    bool Is2DArrayInteger() const { return Get2DType() == ValueType::IntegerArray; }
    bool Is2DArrayLongint() const { return Get2DType() == ValueType::LongArray; }
    bool Is2DArrayReal() const { return Get2DType() == ValueType::RealArray; }
    bool Is2DArrayText() const { return Get2DType() == ValueType::TextArray; }
    bool Is2DArrayPicture() const { return Get2DType() == ValueType::PictureArray; }
    bool Is2DArrayDate() const { return Get2DType() == ValueType::DateArray; }
    bool Is2DArrayBoolean() const { return Get2DType() == ValueType::BooleanArray; }
    bool Is2DArrayArray() const { return Get2DType() == ValueType::ArrayOfArrays; }
    bool Is2DArrayString() const { return Get2DType() == ValueType::StringArray; }
    /// Whether this is a two-dimensional array whose rows are arrays.
    bool Is2DArray() const { return IsArrayType(Get2DType()); }

    /// Bytes of one element; 0 for no array. That of a string array is the size of its slots.
    long GetElementSize() const { return _GetElementSize(fValue.type, fValue.array.elements); }
    /// Number of elements, without element 0; 0 for no array.
    long GetArraySize() const { return IsArray() ? fValue.array.count : 0; }
    /// Makes `size` the number of elements. New ones are empty; what removed ones own is released,
    /// but for a row that claims another type than row 0: only its storage is. The current index
    /// becomes 0 when it lies beyond the end. -50 for a negative size, or the platform's memory
    /// error, and then the count is as it was.
    long SetArraySize(long size) { return _SetArraySize(fValue.array, fValue.type, size); }
    /// @family The selected element, `index`, kept in 16 bits.
    long GetCurrentIndex() const { return fValue.array.currentIndex; }
    void SetCurrentIndex(long index) { fValue.array.currentIndex = static_cast<short>(index); }

    /// Address of element `index` in the storage, valid until memory moves; null outside the array.
    void* ComputeAddress(long index) const;

    /// @family Reads element `index` into `value`; an `unsigned char` is a Boolean.
    void At(long index, short& value) const { Read(value, index); }
    void At(long index, long& value) const { Read(value, index); }
    void At(long index, double& value) const { Read(value, index); }
    void At(long index, unsigned char& value) const { Read(value, index); }
    void At(long index, DateBlock& value) const { Read(value, index); }
    /// The element's own `text` record; lock the array while it is used. Null outside the array.
    void At(long index, CTextBlock** text) const { *text = Text(index); }
    /// An element of a picture array into `picture`; the picture stays the array's.
    void At(long index, Picture*** picture) const { Read(*picture, index); }
    /// A string array's element as a Pascal `string`, 256 bytes.
    void At(long index, unsigned char* string) const { ReadString(string, index); }

    /// @family Writes `value` into an element.
    void AtPut(long index, short value) { Write(value, index); }
    void AtPut(long index, long value) { Write(value, index); }
    void AtPut(long index, const double& value) { Write(value, index); }
    void AtPut(long index, unsigned char value) { Write(value, index); }
    void AtPut(long index, const DateBlock& value) { Write(value, index); }
    /// The array takes the `picture`; the former one is left to the caller.
    void AtPut(long index, Picture** picture) { Write(picture, index); }
    /// A Pascal `string` into a string array, cut to its slots, or a Unicode array.
    void AtPut(long index, const unsigned char* string);
    /// Zero-terminated UTF-16 `text` into a Unicode array.
    void AtPut(long index, const unsigned short* text);
    /// The Unicode array takes the host string, `text`, and the former one is released.
    void AtPut(long index, const FDStringBlock& text);

    /// First element, from 1 on, of a long array that has this `value`; -1 when there is none.
    long Find(long value) const;

    /// Elements 0 to the count in place, as far as the storage holds them, for loops over many:
    /// they are looked for once, not one by one. Empty for an array of another type. Valid until
    /// memory moves: lock the array, or the row, where it may meanwhile.
    ///
    /// `Element` is short, long, double, unsigned char (Boolean), DateBlock, Picture**, or
    /// CTextBlock for the text records themselves. Reals are read and assigned like doubles.
    /// Unicode texts have no view: their strings are the host's, and change by its calls only.
    template <ArrayElement Element>
    std::span<ElementInPlace<Element>> Elements() const {
        return ElementsOf(arrayTypeOf<Element>).template Span<Element>();
    }
    /// The same for a row of a two-dimensional array; empty outside the array.
    template <ArrayElement Element>
    std::span<ElementInPlace<Element>> RowElements(long row) const {
        return ElementsOf(arrayTypeOf<Element>, row).template Span<Element>();
    }

    /// @family Locks the storage, unlocks it, tells whether it is locked. Nothing happens where
    /// there is none, nor to what is no array.
    void Lock() { SetLocked(Storage(), true); }
    void Unlock() { SetLocked(Storage(), false); }
    bool IsLocked() const { return IsThereAndLocked(Storage()); }

    /// @family Locks a row's storage, unlocks it, tells whether it is locked; number of elements of
    /// a `row` of a two-dimensional array, from 0 to the count. Nothing happens for any other.
    void LockRow(long row) { SetLocked(RowStorage(row), true); }
    void UnlockRow(long row) { SetLocked(RowStorage(row), false); }
    bool IsRowLocked(long row) const { return IsThereAndLocked(RowStorage(row)); }
    long GetRowSize(long row) const;
    /// Makes `size` the number of elements in a `row`. Results as with SetArraySize; 0, and no
    /// change, where there is no such row, or rows of rows.
    long SetRowSize(long row, long size);

    /// @family Reads an element of a row into `value`, `text` or `string`, as At does.
    void At(long row, long column, short& value) const { Read(value, column, row); }
    void At(long row, long column, long& value) const { Read(value, column, row); }
    void At(long row, long column, double& value) const { Read(value, column, row); }
    void At(long row, long column, CTextBlock** text) const { *text = Text(column, row); }
    void At(long row, long column, DateBlock& value) const { Read(value, column, row); }
    void At(long row, long column, unsigned char& value) const { Read(value, column, row); }
    void At(long row, long column, unsigned char* string) const { ReadString(string, column, row); }
    /// Writes `value` into an element of a row.
    void AtPut(long row, long column, long value) { Write(value, column, row); }
    void AtPut(long row, long column, double value) { Write(value, column, row); }

    /// The same size change on a bare array block; `type` tells what it holds.
    static long _SetArraySize(ArrayBlock& block, short type, long size);
    /// Bytes of an element of an array of this `type`; `storage` tells that of strings.
    static long _GetElementSize(short type, Handle storage);

  private:
    static bool IsArrayType(short type);
    static bool IsThereAndLocked(Handle storage);
    static void SetLocked(Handle storage, bool locked);

    /// The elements of an array of this type, or of one row of such an array; none for any other.
    ArrayStorage ElementsOf(short type) const {
        return fValue.type == type ? ArrayStorage(fValue.array, type) : ArrayStorage();
    }
    ArrayStorage ElementsOf(short type, long row) const {
        const ArrayRow* found = Row(type, row);
        return found != nullptr ? ArrayStorage(found->array, type) : ArrayStorage();
    }
    /// A row, which the next memory call may move; null outside the array.
    ArrayRow* Row(long row) const {
        return ElementsOf(ValueType::ArrayOfArrays).Address<ArrayRow>(row);
    }
    /// The same, and null where the rows are of another type.
    ArrayRow* Row(short type, long row) const;
    Handle Storage() const;
    Handle RowStorage(long row) const;

    // An element of the whole array, or of a row.
    template <ArrayElement Element, typename... Row>
    void Read(Element& value, long index, Row... row) const {
        ElementsOf(arrayTypeOf<Element>, row...).Read(index, value);
    }
    template <ArrayElement Element, typename... Row>
    void Write(const Element& value, long index, Row... row) {
        ElementsOf(arrayTypeOf<Element>, row...).Write(index, value);
    }
    template <typename... Row>
    CTextBlock* Text(long index, Row... row) const {
        return ElementsOf(arrayTypeOf<CTextBlock>, row...).template Address<CTextBlock>(index);
    }
    template <typename... Row>
    void ReadString(unsigned char* string, long index, Row... row) const {
        ElementsOf(ValueType::StringArray, row...).ReadString(index, string);
    }

    ValueBlock fValue{};
};

#pragma pack(pop)

static_assert(sizeof(CArray) == sizeof(ValueBlock));

/// Keeps an array locked while it lives, and then puts back the lock state that it came with. It
/// leaves a value alone that is no array.
class SArrayLocker {
  public:
    /// Locks `array`, which outlives this.
    explicit SArrayLocker(CArray* array);
    ~SArrayLocker();
    SArrayLocker(const SArrayLocker&) = delete;
    SArrayLocker& operator=(const SArrayLocker&) = delete;

  private:
    CArray* fArray;
    bool fWasLocked;
};

/// The same for one row of a two-dimensional array. Row 0 is left alone: to hold that one, call
/// LockRow(0), and UnlockRow(0) in the end unless IsRowLocked(0) was true before.
class SArrayRowLocker {
  public:
    /// Locks a `row` of `array`, which outlives this.
    SArrayRowLocker(CArray* array, long row);
    ~SArrayRowLocker();
    SArrayRowLocker(const SArrayRowLocker&) = delete;
    SArrayRowLocker& operator=(const SArrayRowLocker&) = delete;

  private:
    CArray* fArray;
    long fRow;
    bool fWasLocked;
};
