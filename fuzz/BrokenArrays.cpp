// Arrays whose records disagree with their storage: nothing outside may be touched, no handle
// disposed of twice.

#include "data/Array.h"
#include "data/blocks/Handles.h"
#include "fuzz/Harness.h"
#include "testhost/toolbox/Control.h"

#include <cstring>
#include <sanitizer/asan_interface.h>

namespace {
constexpr unsigned char types[] = {
    ValueType::Undefined,   ValueType::ArrayOfArrays, ValueType::RealArray, ValueType::IntegerArray,
    ValueType::LongArray,   ValueType::DateArray,     ValueType::TextArray, ValueType::PictureArray,
    ValueType::StringArray, ValueType::BooleanArray,  ValueType::Pointer,   ValueType::Text,
};

/// An array's record and storage, which is a few bytes longer or shorter than its elements. What
/// the array's elements own are handles, each of its own, or null.
ArrayBlock Any(Input& input, unsigned char type, bool isRow, bool owns = true) {
    const unsigned count = input.Choice(6);
    const unsigned char rowType = input.PickValueInArray(types); // row 0 tells that of all
    const long said = input.ConsumeBool() ? static_cast<long>(count) - 1 : input.Number();
    const long more = input.ConsumeIntegral<signed char>() / 8;
    const auto currentIndex = static_cast<short>(input.Number());
    if (input.Choice(8) == 0) {
        return {said, nullptr, currentIndex};
    }
    const long elementSize = ArrayStorage::FixedElementSize(type);
    std::string bytes;
    for (long i = 0; i < static_cast<long>(count); ++i) {
        const bool isThere = i <= said && (i + 1 - static_cast<long>(count)) * elementSize <= more;
        Handle const owned =
            owns && isThere && input.ConsumeBool() ? HandleOf(input.Text(8)) : nullptr;
        if (type == ValueType::TextArray) {
            Append(bytes, TextBlock{static_cast<short>(input.Number()), owned});
        } else if (type == ValueType::PictureArray) {
            Append(bytes, owned);
        } else {
            DisposeIfThere(owned);
            if (type == ValueType::ArrayOfArrays && !isRow) {
                const unsigned char rowSays =
                    i == 0 || input.ConsumeBool() ? rowType : input.PickValueInArray(types);
                // What a row's elements own is lost with a row that says it holds something else.
                Append(bytes,
                       isThere ? ArrayRow{rowSays, 0, Any(input, rowType, true, rowSays == rowType)}
                               : ArrayRow{});
            } else if (type != ValueType::ArrayOfArrays) {
                bytes += input.Text(16);
            }
        }
    }
    bytes.resize(static_cast<std::size_t>(std::max(0L, static_cast<long>(bytes.size()) + more)));
    return {said, HandleOf(bytes), currentIndex};
}

/// Disposes of an array's storage, and of what those of its elements own that are there.
void Dispose(const ArrayBlock& array, unsigned char type) {
    const std::string bytes = BytesOf(array.elements);
    const auto elementSize = static_cast<std::size_t>(ArrayStorage::FixedElementSize(type));
    const auto element = [&](std::size_t at, auto record) {
        bytes.copy(reinterpret_cast<char*>(&record), sizeof record, at);
        return record;
    };
    std::size_t at = 0;
    for (long i = 0; i <= array.count && elementSize > 0 && at + elementSize <= bytes.size();
         ++i, at += elementSize) {
        if (type == ValueType::TextArray) {
            DisposeIfThere(element(at, TextBlock{}).text);
        } else if (type == ValueType::PictureArray) {
            DisposeIfThere(element(at, Handle{}));
        } else if (type == ValueType::ArrayOfArrays) {
            Dispose(element(at, ArrayRow{}).array, element(0, ArrayRow{}).type);
        }
    }
    DisposeIfThere(array.elements);
}

/// All of them are there.
template <typename Element>
void CheckView(std::span<Element> view) {
    Require(view.empty() || __asan_region_is_poisoned(view.data(), view.size_bytes()) == nullptr,
            "a view of what is not there");
}

/// Everything that can be asked of an element.
template <typename... Index>
void ReadAt(const CArray& array, Index... index) {
    short small = 0;
    long number = 0;
    double real = 0;
    unsigned char truth = 0;
    DateBlock date;
    Str255 string;
    CTextBlock* text = nullptr;
    array.At(index..., small);
    array.At(index..., number);
    array.At(index..., real);
    array.At(index..., truth);
    array.At(index..., date);
    array.At(index..., string);
    array.At(index..., &text);
    CheckView(std::span(text, text != nullptr ? 1 : 0)); // its handle is only the record's word
}

void CheckViews(const CArray& array, long row) {
    CheckView(array.Elements<short>());
    CheckView(array.Elements<long>());
    CheckView(array.Elements<double>());
    CheckView(array.Elements<DateBlock>());
    CheckView(array.Elements<CTextBlock>());
    CheckView(array.RowElements<long>(row));
    CheckView(array.RowElements<unsigned char>(row));
    CheckView(array.RowElements<CTextBlock>(row));
}

void Operate(Input& input, CArray& array) {
    const long index = input.ConsumeBool() ? static_cast<long>(input.Choice(6)) : input.Number();
    const long other = input.ConsumeBool() ? static_cast<long>(input.Choice(6)) : input.Number();
    const bool isMeasured = other < 1000 || other > 128 * 1024 * 1024;
    input.FailAnAllocation();
    switch (input.Choice(8)) {
    case 0:
        if (isMeasured) {
            array.SetArraySize(other);
        }
        break;
    case 1:
        if (isMeasured) {
            array.SetRowSize(index, other);
        }
        break;
    case 2:
        ReadAt(array, index);
        break;
    case 3:
        ReadAt(array, index, other);
        break;
    case 4:
        array.AtPut(index, static_cast<short>(other));
        array.AtPut(index, other);
        array.AtPut(index, static_cast<double>(other));
        array.AtPut(index, static_cast<unsigned char>(other));
        array.AtPut(index, DateBlock{});
        array.AtPut(index, Pascal(input.Text(8)));
        break;
    case 5:
        array.AtPut(index, other, other);
        array.AtPut(index, other, static_cast<double>(other));
        break;
    case 6: {
        const SArrayLocker locked(&array);
        const SArrayRowLocker lockedRow(&array, index);
        CheckViews(array, index);
        break;
    }
    default:
        CheckViews(array, index);
        Require(array.GetRowSize(index) == 0 || array.IsArrayArray(), "a row of no array");
        array.Find(other);
        break;
    }
    ToolboxFailAllocation(0);
}
} // namespace

void Fuzz(Input& input) {
    ValueBlock value{};
    value.type = input.PickValueInArray(types);
    value.array = Any(input, value.type, false);
    for (int i = 0; i < 100 && !input.IsOver(); ++i) {
        Operate(input, CArray::Of(value));
    }
    Dispose(value.array, value.type);
}
