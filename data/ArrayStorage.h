#pragma once

#include "data/blocks/TextBlock.h"
#include "host/boundary/Values.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <type_traits>

// What lies behind CArray: the elements in an array's storage.

/// The array type whose elements are of this C++ type.
template <typename Element>
constexpr short arrayTypeOf = 0;
template <>
inline constexpr short arrayTypeOf<short> = ValueType::IntegerArray;
template <>
inline constexpr short arrayTypeOf<long> = ValueType::LongArray;
template <>
inline constexpr short arrayTypeOf<double> = ValueType::RealArray;
template <>
inline constexpr short arrayTypeOf<unsigned char> = ValueType::BooleanArray;
template <>
inline constexpr short arrayTypeOf<DateBlock> = ValueType::DateArray;
template <>
inline constexpr short arrayTypeOf<Picture**> = ValueType::PictureArray;
template <>
inline constexpr short arrayTypeOf<CTextBlock> = ValueType::TextArray;

/// What elements can be: not strings, whose size only the storage tells.
template <typename Element>
concept ArrayElement = (arrayTypeOf<Element> != 0);

#pragma pack(push, 4)

/// A real in an array, which the host aligns to 4 bytes only; to be used as a double.
struct RealElement {
    double value;
    RealElement& operator=(double real) {
        value = real;
        return *this;
    }
    operator double() const { return value; }
};

#pragma pack(pop)

static_assert(sizeof(RealElement) == 8 && alignof(RealElement) == 4);

/// How an element of this type lies in an array.
template <typename Element>
using ElementInPlace = std::conditional_t<std::is_same_v<Element, double>, RealElement, Element>;

/// The elements that are really there, checked with one look at the storage's size. Addresses are
/// good until memory moves.
class ArrayStorage {
  public:
    /// Bytes before element 0: a string array's storage begins with the 16-bit size of its slots.
    static constexpr long HeaderSize(short type) {
        return type == ValueType::StringArray ? long{sizeof(short)} : 0;
    }

    /// Bytes of an element; 0 for strings, whose storage tells, and for no array.
    static constexpr long FixedElementSize(short type) {
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
        default:
            return 0;
        }
    }

    /// No elements.
    ArrayStorage() = default;
    /// Of a block that holds an array of this type; of any other value nothing is looked at.
    ArrayStorage(const ArrayBlock& block, short type) : elementSize(FixedElementSize(type)) {
        const long header = HeaderSize(type);
        if (block.elements == nullptr || elementSize + header == 0) {
            return;
        }
        const long room = GetHandleSize(block.elements) - header;
        if (header > 0 && room >= 0) {
            short slotSize = 0;
            std::memcpy(&slotSize, *block.elements, sizeof slotSize);
            elementSize = slotSize;
        }
        if (elementSize > 0 && room >= elementSize) {
            first = *block.elements + header;
            last = block.count;
            lastOffset = room - elementSize;
        }
    }

    /// Bytes of one element; that of strings is below 1 when their storage is broken.
    long ElementSize() const { return elementSize; }
    /// Elements, element 0 among them: as many as the array counts and the storage holds.
    long Count() const { return last >= 0 ? std::min(last, lastOffset / elementSize) + 1 : 0; }

    /// Null outside the array. Multiplies where Count() divides, which takes several times as long.
    template <typename Element = char>
    Element* Address(long index) const {
        const long long offset = 1LL * index * elementSize;
        const bool isThere = index >= 0 && index <= last && offset <= lastOffset;
        return isThere ? reinterpret_cast<Element*>(first + offset) : nullptr;
    }
    /// All of them, for an array whose elements are of this type.
    template <ArrayElement Element>
    std::span<ElementInPlace<Element>> Span() const {
        static_assert(FixedElementSize(arrayTypeOf<Element>) == sizeof(ElementInPlace<Element>));
        return {Address<ElementInPlace<Element>>(0), static_cast<size_t>(Count())};
    }

    /// Zero outside the array.
    template <typename Element>
    void Read(long index, Element& value) const {
        value = {};
        if (const char* address = Address(index); address != nullptr) {
            std::memcpy(&value, address, sizeof value);
        }
    }
    /// Does nothing outside the array.
    template <typename Element>
    void Write(long index, const Element& value) const {
        if (char* address = Address(index); address != nullptr) {
            std::memcpy(address, &value, sizeof value);
        }
    }
    /// Reads an element and leaves it empty.
    template <typename Element>
    Element Take(long index) const {
        Element value{};
        Read(index, value);
        Write(index, Element{});
        return value;
    }

    // The same for Pascal strings in their slots.
    void ReadString(long index, unsigned char* string) const {
        CopyString(Address<const unsigned char>(index), string, elementSize);
    }
    void WriteString(long index, const unsigned char* string) const {
        if (auto* slot = Address<unsigned char>(index); slot != nullptr) {
            CopyString(string, slot, elementSize);
        }
    }

  private:
    /// As much as a slot takes: no more is written, and a longer one in a slot is broken. An empty
    /// string from null.
    static void CopyString(const unsigned char* source, unsigned char* target, long slotSize);

    char* first = nullptr;
    long elementSize = 0;
    long last = -1;      ///< index, as the array counts
    long lastOffset = 0; ///< where the last element begins that the storage holds, from `first` on
};

/// New storage with an empty element 0, whose size matters for strings only. Null when memory is
/// full.
Handle NewArrayStorage(short type, long slotSize);

/// Gives a string back to the host, unless the block is that of none: 16 zero bytes.
void ReleaseHostString(FDStringBlock text);
