// Arrays of one and two dimensions, against vectors.

#include "data/Array.h"
#include "data/blocks/Handles.h"
#include "fuzz/Harness.h"
#include "platform/ResultCodes.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr long mostElements = 300; // more only take time, but for what nothing can hold
constexpr long tooManyElements = 128 * 1024 * 1024;

/// What a string array's slot holds; a text's bytes are a std::string.
struct Slot {
    std::string text;
};

// An element of each type: any one, into an array, and out of it.
template <typename Value>
Value Any(Input& input) {
    Value value;
    if constexpr (std::is_same_v<Value, std::string>) {
        value = input.Text();
    } else if constexpr (std::is_same_v<Value, Slot>) {
        value.text = input.Text(255);
    } else {
        input.Fill(value);
    }
    return value;
}

template <typename Value>
void Put(CArray& array, long index, const Value& value) {
    array.AtPut(index, value);
}
void Put(CArray& array, long index, const Slot& slot) {
    array.AtPut(index, Pascal(slot.text));
}
void Put(CArray& array, long index, const std::string& text) {
    const SArrayLocker locked(&array);
    CTextBlock* element = nullptr;
    array.At(index, &element);
    if (element != nullptr) {
        element->SetTo(text.data(), static_cast<short>(text.size()));
    }
}

template <typename Value>
bool Holds(CArray& array, long index, const Value& value) {
    Value element;
    std::memset(&element, 'x', sizeof element);
    array.At(index, element);
    return std::memcmp(&element, &value, sizeof element) == 0;
}
bool Holds(CArray& array, long index, const Slot& slot) {
    Str255 element = {1, 'x'};
    array.At(index, element);
    return PascalText(element) == slot.text;
}
bool Holds(CArray& array, long index, const std::string& text) {
    CTextBlock* element = nullptr;
    array.At(index, &element);
    return (element != nullptr ? BytesOf(element->GetHandle()) : "") == text;
}

/// Resizes an array, or a row; `elements` become what must be in it, from element 0 on.
template <typename Value, typename Resize, typename Count>
void CheckResize(Input& input, std::vector<Value>& elements, const Value& empty, Resize resize,
                 Count count) {
    const long size = input.Number();
    if (size > mostElements && size < tooManyElements) {
        return;
    }
    const bool mayFail = input.FailAnAllocation();
    const long error = resize(size);
    ToolboxFailAllocation(0);
    const bool isFull = size >= tooManyElements || (error != 0 && mayFail);
    const long expected = size < 0 ? ResultCode::BadParameter
                          : isFull ? ResultCode::MemoryFull
                                   : ResultCode::NoError;
    Require(error == expected, "another error");
    if (error == 0) {
        elements.resize(static_cast<std::size_t>(size) + 1, empty);
    }
    Require(count() == static_cast<long>(elements.size()) - 1, "another count");
}

template <typename Value>
void Play(Input& input, short type) {
    CArray array(type);
    std::vector<Value> elements(1);
    for (int i = 0; i < 100 && !input.IsOver(); ++i) {
        const long index =
            input.ConsumeBool() ? static_cast<long>(input.Choice(elements.size())) : input.Number();
        const auto value = Any<Value>(input);
        const bool isThere = index >= 0 && index < static_cast<long>(elements.size());
        Require(isThere || Holds(array, index, Value{}), "there is more than there is");
        if (input.Choice(3) == 0) {
            CheckResize(
                input, elements, Value{}, [&](long size) { return array.SetArraySize(size); },
                [&] { return array.GetArraySize(); });
        } else {
            Put(array, index, value);
            if (isThere) {
                elements[static_cast<std::size_t>(index)] = value;
            }
        }
        for (std::size_t each = 0; each < elements.size(); ++each) {
            Require(Holds(array, static_cast<long>(each), elements[each]), "another element");
        }
        if constexpr (ArrayElement<Value>) {
            const auto view = array.template Elements<Value>();
            Require(view.size() == elements.size() &&
                        std::memcmp(view.data(), elements.data(), view.size_bytes()) == 0,
                    "the view has other elements");
        }
        if constexpr (std::is_same_v<Value, long>) {
            const auto found = std::find(elements.begin() + 1, elements.end(), value);
            Require(array.Find(value) == (found != elements.end() ? found - elements.begin() : -1),
                    "another one is found");
        }
    }
    array.SetArraySize(0);
    Put(array, 0, Value{}); // element 0 stays, with what it owns
}

/// Rows of a plain type.
template <typename Value>
void PlayRows(Input& input) {
    CArray array(ValueType::ArrayOfArrays);
    const auto firstRow = [&] { return static_cast<ArrayRow*>(array.ComputeAddress(0)); };
    firstRow()->type = static_cast<unsigned char>(arrayTypeOf<Value>);
    const TemporaryHandle storage(NewArrayStorage(arrayTypeOf<Value>, 0));
    firstRow()->array.elements = storage.Get();
    const std::vector<Value> empty(1);
    std::vector<std::vector<Value>> rows(1, empty);
    for (int i = 0; i < 100 && !input.IsOver(); ++i) {
        const unsigned place = input.Choice(rows.size());
        const auto row = static_cast<long>(place);
        const long column = input.Number();
        const auto value = Any<Value>(input);
        switch (input.Choice(4)) {
        case 0:
            CheckResize(
                input, rows, empty, [&](long size) { return array.SetArraySize(size); },
                [&] { return array.GetArraySize(); });
            break;
        case 1:
            CheckResize(
                input, rows[place], Value{}, [&](long size) { return array.SetRowSize(row, size); },
                [&] { return array.GetRowSize(row); });
            break;
        default: {
            const bool isThere = column >= 0 && column < static_cast<long>(rows[place].size());
            if constexpr (std::is_same_v<Value, long> || std::is_same_v<Value, double>) {
                array.AtPut(row, column, value);
            } else if (isThere) {
                array.template RowElements<Value>(row)[static_cast<std::size_t>(column)] = value;
            }
            if (isThere) {
                rows[place][static_cast<std::size_t>(column)] = value;
            }
            const Value expected = isThere ? value : Value{};
            Value element = value;
            array.At(row, column, element);
            Require(std::memcmp(&element, &expected, sizeof element) == 0, "another element");
            break;
        }
        }
        for (std::size_t each = 0; each < rows.size(); ++each) {
            const auto view = array.template RowElements<Value>(static_cast<long>(each));
            Require(view.size() == rows[each].size() &&
                        std::memcmp(view.data(), rows[each].data(), view.size_bytes()) == 0,
                    "a row has other elements");
        }
    }
    array.SetArraySize(0);
}
} // namespace

void Fuzz(Input& input) {
    switch (input.Choice(12)) {
    case 0:
        return Play<short>(input, ValueType::IntegerArray);
    case 1:
        return Play<long>(input, ValueType::LongArray);
    case 2:
        return Play<double>(input, ValueType::RealArray);
    case 3:
        return Play<unsigned char>(input, ValueType::BooleanArray);
    case 4:
        return Play<DateBlock>(input, ValueType::DateArray);
    case 5:
        return Play<std::string>(input, ValueType::TextArray);
    case 6:
        return Play<Slot>(input, ValueType::StringArray);
    case 7:
        return PlayRows<long>(input);
    case 8:
        return PlayRows<short>(input);
    case 9:
        return PlayRows<unsigned char>(input);
    case 10:
        return PlayRows<DateBlock>(input);
    default:
        return PlayRows<double>(input);
    }
}
