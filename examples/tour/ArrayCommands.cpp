#include "data/Array.h"
#include "data/Variables.h"
#include "examples/tour/Tour.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <span>

#include <windows.h>

// Commands on arrays that stay the host's: a variable read through the framework comes with the
// host's own storage, and what is written there is in the variable at once. Only the record itself,
// with the count and the current index, has to be given back.

namespace {

// --- Texts: their order is that of their characters in UTF-16, in upper case. Those that differ in
// case only follow the order of their codes, so that a sorted array looks the same whatever it was.

constexpr unsigned MacRoman = 10000; // Windows' number of the host's character set

wchar_t InUpperCase(unsigned short unit) {
    auto character = static_cast<wchar_t>(unit);
    CharUpperBuffW(&character, 1);
    return character;
}

/// The same for the characters of the host's set, which are looked up.
wchar_t InUpperCase(unsigned char character) {
    struct Table {
        Table() {
            char all[256];
            for (int code = 0; code < 256; ++code) {
                all[code] = static_cast<char>(code);
            }
            MultiByteToWideChar(MacRoman, 0, all, 256, characters, 256);
            CharUpperBuffW(characters, 256);
        }
        wchar_t characters[256] = {};
    };
    static const Table table;
    return table.characters[character];
}

template <typename Character>
bool IsTextBefore(std::span<const Character> a, std::span<const Character> b) {
    const std::size_t common = std::min(a.size(), b.size());
    for (std::size_t place = 0; place < common; ++place) {
        if (a[place] != b[place]) {
            const wchar_t inA = InUpperCase(a[place]);
            const wchar_t inB = InUpperCase(b[place]);
            if (inA != inB) {
                return inA < inB;
            }
        }
    }
    return a.size() != b.size() ? a.size() < b.size() : std::ranges::lexicographical_compare(a, b);
}

// --- Elements as the storage holds them, `size` bytes each: whether one comes before another.

using Element = const unsigned char*;
using Bytes = std::span<const unsigned char>;

template <typename Value>
Value Load(Element element) {
    Value value;
    std::memcpy(&value, element, sizeof value);
    return value;
}

template <typename Number>
bool IsNumberBefore(Element a, Element b, long) {
    return Load<Number>(a) < Load<Number>(b);
}

/// What is no number comes last.
bool IsRealBefore(Element a, Element b, long) {
    const auto realA = Load<double>(a);
    const auto realB = Load<double>(b);
    return realA < realB || (std::isnan(realB) && !std::isnan(realA));
}

bool IsBooleanBefore(Element a, Element b, long) {
    return *a == 0 && *b != 0;
}

/// Days in their order; the empty date comes first.
long OrderOf(const DateBlock& date) {
    if (date.day == 0 || date.month == 0 || date.year == 0) {
        return std::numeric_limits<long>::min();
    }
    return (date.year * 16L + date.month) * 32L + date.day;
}

bool IsDateBefore(Element a, Element b, long) {
    return OrderOf(Load<DateBlock>(a)) < OrderOf(Load<DateBlock>(b));
}

Bytes StringOf(Element slot, long size) {
    return {slot + 1, static_cast<std::size_t>(std::min<long>(slot[0], size - 1))};
}

bool IsStringBefore(Element a, Element b, long size) {
    return IsTextBefore(StringOf(a, size), StringOf(b, size));
}

Bytes TextOf(Element element) {
    const auto text = Load<TextBlock>(element);
    if (text.text == nullptr || text.length <= 0) {
        return {};
    }
    const long length = std::min<long>(text.length, GetHandleSize(text.text));
    return {reinterpret_cast<Element>(*text.text), static_cast<std::size_t>(length)};
}

bool IsClassicTextBefore(Element a, Element b, long) {
    return IsTextBefore(TextOf(a), TextOf(b));
}

std::span<const unsigned short> UnitsOf(Element element) {
    const auto text = Load<FDStringBlock>(element);
    if (text.units == nullptr || text.length <= 0) {
        return {};
    }
    return {text.units, static_cast<std::size_t>(text.length)};
}

bool IsUnicodeBefore(Element a, Element b, long) {
    return IsTextBefore(UnitsOf(a), UnitsOf(b));
}

using Order = bool (*)(Element a, Element b, long size);

struct ArrayOrder {
    short type;
    Order isBefore;
};

constexpr ArrayOrder Orders[] = {
    {ValueType::RealArray, IsRealBefore},         {ValueType::IntegerArray, IsNumberBefore<short>},
    {ValueType::LongArray, IsNumberBefore<long>}, {ValueType::DateArray, IsDateBefore},
    {ValueType::TextArray, IsClassicTextBefore},  {ValueType::StringArray, IsStringBefore},
    {ValueType::BooleanArray, IsBooleanBefore},   {ValueType::UnicodeTextArray, IsUnicodeBefore},
};

/// Null for arrays whose elements have no order, and for what is no array.
Order OrderOf(const CArray& array) {
    for (const ArrayOrder& row : Orders) {
        if (row.type == array.GetType()) {
            return row.isBefore;
        }
    }
    return nullptr;
}

/// Heap sort of the elements 1 to `count` where they stand. Elements only change places, with
/// whatever they own; the size of a string's slot is not known before, as the standard library's
/// sorting would want it. No order, however odd, leads outside the elements.
class ElementSorter {
  public:
    ElementSorter(void* elementZero, long elementSize, Order order, long selectedIndex)
        : zero(static_cast<unsigned char*>(elementZero)),
          size(elementSize),
          isBefore(order),
          selected(selectedIndex) {}

    void Sort(long count) {
        for (long root = count / 2; root >= 1; --root) {
            Sink(root, count);
        }
        for (long last = count; last > 1; --last) {
            Swap(1, last);
            Sink(1, last - 1);
        }
    }

    /// Where the selected element has gone.
    long Selected() const { return selected; }

  private:
    unsigned char* At(long index) const { return zero + index * size; }
    bool IsBefore(long a, long b) const { return isBefore(At(a), At(b), size); }

    /// Exchanges an element for the later one of its children until it comes after both of them.
    void Sink(long root, long last) {
        while (root <= last / 2) {
            long child = 2 * root;
            if (child < last && IsBefore(child, child + 1)) {
                ++child;
            }
            if (!IsBefore(root, child)) {
                return;
            }
            Swap(root, child);
            root = child;
        }
    }

    void Swap(long a, long b) {
        std::swap_ranges(At(a), At(a) + size, At(b));
        if (selected == a || selected == b) {
            selected = selected == a ? b : a;
        }
    }

    unsigned char* zero;
    long size;
    Order isBefore;
    long selected;
};

OSErr Sort(CArray& array) {
    const Order order = OrderOf(array);
    const long count = array.GetArraySize();
    // When the last element is within the storage, all of them are.
    if (order == nullptr || array.ComputeAddress(count) == nullptr) {
        return ResultCode::BadParameter;
    }
    const SArrayLocker locked(&array);
    ElementSorter sorter(array.ComputeAddress(0), array.GetElementSize(), order,
                         array.GetCurrentIndex());
    sorter.Sort(count);
    const bool fits = sorter.Selected() <= std::numeric_limits<short>::max();
    array.SetCurrentIndex(fits ? sorter.Selected() : 0);
    return ResultCode::NoError;
}

constexpr long LargestTable = 1000;

bool IsTableSize(long size) {
    return size >= 0 && size <= LargestTable;
}

OSErr FillRow(CArray& table, long row, long columns) {
    if (const long error = table.SetRowSize(row, columns); error != ResultCode::NoError) {
        return static_cast<OSErr>(error);
    }
    for (long column = 1; column <= columns; ++column) {
        table.AtPut(row, column, row * column);
    }
    return ResultCode::NoError;
}

OSErr FillTable(CArray& table, long rows, long columns) {
    auto error = static_cast<OSErr>(table.SetArraySize(rows));
    for (long row = 1; error == ResultCode::NoError && row <= rows; ++row) {
        error = FillRow(table, row, columns);
    }
    return error;
}

OSErr MakeTable(const char* name, long rows, long columns) {
    if (!IsTableSize(rows) || !IsTableSize(columns)) {
        return ResultCode::BadParameter;
    }
    CFourDLong2DArrayVar variable(name);
    if (variable.DefinedType() == ValueType::Undefined) {
        variable.Declare();
    }
    ValueBlock value{};
    if (const OSErr error = variable.GetValue(&value); error != ResultCode::NoError) {
        return error;
    }
    CArray& table = CArray::Of(value);
    if (!table.Is2DArrayLongint()) { // another type, or a name that cannot be declared
        return ResultCode::BadParameter;
    }
    const OSErr error = FillTable(table, rows, columns);
    const OSErr written = variable.SetValue(&value, 0); // as far as it came
    return error != ResultCode::NoError ? error : written;
}

} // namespace

namespace Tour {

// The array keeps its selected element, wherever that goes; beyond the 32767th, which is as far as
// the current index reaches, none is selected.
void SortArray(CXParam* params, CXResult* result) {
    char name[256];
    _CopyP2CStr(params[0].GetStringPtr(), name);
    CFourDVar variable(name, ValueType::Undefined);
    ValueBlock value{};
    OSErr error = variable.GetValue(&value);
    CArray& array = CArray::Of(value);
    const long selected = array.GetCurrentIndex();
    if (error == ResultCode::NoError) {
        error = Sort(array);
    }
    if (error == ResultCode::NoError && array.GetCurrentIndex() != selected) {
        error = variable.SetValue(&value);
    }
    result->SetShort(error);
}

void TimesTable(CXParam* params, CXResult* result) {
    char name[256];
    _CopyP2CStr(params[0].GetStringPtr(), name);
    result->SetShort(MakeTable(name, params[1].GetLong(), params[2].GetLong()));
}

} // namespace Tour
