// The host's arrays through CArray, beside plain loops over the same memory. A call for one element
// asks the toolbox each time how large the storage is, and for an element of a row also how large
// the row's is; a view (Elements, RowElements) asks once for all of them. Strings stand beside
// longs.

#include "data/Array.h"

#include <benchmark/benchmark.h>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

namespace {

/// `work` answers something that depends on all of its `count` elements.
template <typename Work>
void AddRow(const std::string& name, const Work& work, long count, const std::string& versus = "") {
    const auto measure = [=](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(work());
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(static_cast<long long>(state.iterations()) * count);
        state.SetLabel(versus.empty() ? "" : "vs " + versus);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)->MinTime(0.1)->Repetitions(5);
}

// --- Arrays of all types ----------------------------------------------------------------------

constexpr long Count = 100000;

template <typename Element>
constexpr bool isText = std::is_same_v<Element, CTextBlock>;

template <typename Element>
CArray& TheArray() {
    static CArray array(arrayTypeOf<Element>);
    if (array.GetArraySize() == 0) {
        array.SetArraySize(Count);
    }
    return array;
}

template <typename Element>
Element* PlainElements() {
    return static_cast<Element*>(TheArray<Element>().ComputeAddress(0));
}

/// Something small, so that it fits into all types and their sums do not overflow.
template <typename Element>
Element Make(long index) {
    const auto number = static_cast<unsigned char>(index & 0x7F);
    if constexpr (std::is_same_v<Element, DateBlock>) {
        return {number, 1, 2000};
    } else {
        return number;
    }
}

/// A long or a double that depends on the element.
template <typename Element>
auto Number(const Element& element) {
    if constexpr (std::is_same_v<Element, DateBlock>) {
        return 0L + element.day;
    } else if constexpr (isText<Element>) {
        return 0L + element.GetLength();
    } else {
        return 0L + element;
    }
}

template <typename Element>
long FillPlain() {
    const long count = TheArray<Element>().GetArraySize();
    Element* const elements = PlainElements<Element>();
    for (long index = 0; index <= count; ++index) {
        elements[index] = Make<Element>(index);
    }
    return count;
}

template <typename Element, long HowMany = Count>
long FillByElement() {
    CArray& array = TheArray<Element>();
    for (long index = 0; index <= HowMany; ++index) {
        array.AtPut(index, Make<Element>(index));
    }
    return HowMany;
}

template <typename Element>
long FillView() {
    const auto elements = TheArray<Element>().template Elements<Element>();
    for (size_t index = 0; index < elements.size(); ++index) {
        elements[index] = Make<Element>(static_cast<long>(index));
    }
    return static_cast<long>(elements.size());
}

template <typename Element>
long SumPlain() {
    const long count = TheArray<Element>().GetArraySize();
    const Element* const elements = PlainElements<Element>();
    auto sum = Number(elements[0]);
    for (long index = 1; index <= count; ++index) {
        sum += Number(elements[index]);
    }
    return static_cast<long>(sum);
}

template <typename Element, long HowMany = Count>
long SumByElement() {
    const CArray& array = TheArray<Element>();
    decltype(Number(std::declval<Element>())) sum = 0;
    for (long index = 0; index <= HowMany; ++index) {
        if constexpr (isText<Element>) {
            CTextBlock* text = nullptr;
            array.At(index, &text);
            sum += text != nullptr ? Number(*text) : 0;
        } else {
            Element element;
            array.At(index, element);
            sum += Number(element);
        }
    }
    return static_cast<long>(sum);
}

template <typename Element>
long SumView() {
    decltype(Number(std::declval<Element>())) sum = 0;
    for (const auto& element : TheArray<Element>().template Elements<Element>()) {
        sum += Number(element);
    }
    return static_cast<long>(sum);
}

template <typename Element>
void AddRowsOf(const std::string& elements) {
    const std::string sum = "Array/" + elements + " sum/";
    AddRow(sum + "plain", SumPlain<Element>, Count);
    AddRow(sum + "At", SumByElement<Element>, Count, sum + "plain");
    AddRow(sum + "Elements", SumView<Element>, Count, sum + "plain");
    if constexpr (!isText<Element>) {
        const std::string fill = "Array/" + elements + " fill/";
        AddRow(fill + "plain", FillPlain<Element>, Count);
        AddRow(fill + "AtPut", FillByElement<Element>, Count, fill + "plain");
        AddRow(fill + "Elements", FillView<Element>, Count, fill + "plain");
    }
}

constexpr long Missing = -7;

long FindPlain() {
    const long count = TheArray<long>().GetArraySize();
    const long* const elements = PlainElements<long>();
    for (long index = 1; index <= count; ++index) {
        if (elements[index] == Missing) {
            return index;
        }
    }
    return -1;
}

long FindInArray() {
    return TheArray<long>().Find(Missing);
}

// --- Strings: few enough to stay in the processor's cache -------------------------------------

constexpr long StringCount = 1000;
const unsigned char someString[] = "\024twenty characters...";

long PutStrings(CArray& array) {
    for (long index = 0; index <= StringCount; ++index) {
        array.AtPut(index, someString);
    }
    return StringCount;
}

CArray& TheStrings() {
    static CArray array(ValueType::StringArray);
    if (array.GetArraySize() == 0) {
        array.SetArraySize(StringCount);
        PutStrings(array);
    }
    return array;
}

long GetStrings(const CArray& array) {
    long lengths = 0;
    for (long index = 0; index <= StringCount; ++index) {
        Str255 string;
        array.At(index, string);
        benchmark::DoNotOptimize(string);
        lengths += string[0];
    }
    return lengths;
}

// --- A table: rows of longs -------------------------------------------------------------------

constexpr long Rows = 100;
constexpr long Columns = 1000;

CArray& TheTable() {
    static CArray array(ValueType::ArrayOfArrays);
    if (array.GetArraySize() == 0) {
        static_cast<ArrayRow*>(array.ComputeAddress(0))->type = ValueType::LongArray;
        array.SetArraySize(Rows);
        for (long row = 1; row <= Rows; ++row) {
            array.SetRowSize(row, Columns);
        }
    }
    return array;
}

long FillRowPlain(const ArrayRow* rows, long row) {
    const ArrayBlock& block = rows[row].array;
    auto* const elements = reinterpret_cast<long*>(*block.elements);
    for (long column = 0; column <= block.count; ++column) {
        elements[column] = row * column;
    }
    return row;
}

long FillRowByElement(CArray& array, long row) {
    for (long column = 0; column <= Columns; ++column) {
        array.AtPut(row, column, row * column);
    }
    return row;
}

long FillRowView(const CArray& array, long row) {
    const std::span<long> elements = array.RowElements<long>(row);
    for (size_t column = 0; column < elements.size(); ++column) {
        elements[column] = row * static_cast<long>(column);
    }
    return row;
}

long SumRowPlain(const ArrayRow* rows, long row) {
    const ArrayBlock& block = rows[row].array;
    const auto* const elements = reinterpret_cast<const long*>(*block.elements);
    long sum = 0;
    for (long column = 0; column <= block.count; ++column) {
        sum += elements[column];
    }
    return sum;
}

long SumRowByElement(const CArray& array, long row) {
    long sum = 0;
    for (long column = 0; column <= Columns; ++column) {
        long element = 0;
        array.At(row, column, element);
        sum += element;
    }
    return sum;
}

long SumRowView(const CArray& array, long row) {
    long sum = 0;
    for (const long element : array.RowElements<long>(row)) {
        sum += element;
    }
    return sum;
}

/// `work` is done on each row of the table, or of the plain rows.
template <typename Table>
void AddTableRow(const std::string& name, long (*work)(Table, long),
                 const std::string& versus = "") {
    const auto onAllRows = [=] {
        CArray& array = TheTable();
        long sum = 0;
        if constexpr (std::is_same_v<Table, const ArrayRow*>) {
            const auto* const rows = static_cast<const ArrayRow*>(array.ComputeAddress(0));
            for (long row = 1; row <= Rows; ++row) {
                sum += work(rows, row);
            }
        } else {
            for (long row = 1; row <= Rows; ++row) {
                sum += work(array, row);
            }
        }
        return sum;
    };
    AddRow(name, onAllRows, Rows * Columns, versus);
}

[[maybe_unused]] const bool added = [] {
    AddRowsOf<short>("shorts");
    AddRowsOf<long>("longs");
    AddRowsOf<double>("doubles");
    AddRowsOf<unsigned char>("booleans");
    AddRowsOf<DateBlock>("dates");
    AddRowsOf<CTextBlock>("texts");
    AddRow("Array/find/plain", FindPlain, Count);
    AddRow("Array/find/Find", FindInArray, Count, "Array/find/plain");
    AddRow("Array/1000 longs put", FillByElement<long, StringCount>, StringCount);
    AddRow(
        "Array/1000 strings put", [] { return PutStrings(TheStrings()); }, StringCount,
        "Array/1000 longs put");
    AddRow("Array/1000 longs get", SumByElement<long, StringCount>, StringCount);
    AddRow(
        "Array/1000 strings get", [] { return GetStrings(TheStrings()); }, StringCount,
        "Array/1000 longs get");
    AddTableRow("Array/table fill/plain", FillRowPlain);
    AddTableRow("Array/table fill/AtPut", FillRowByElement, "Array/table fill/plain");
    AddTableRow("Array/table fill/RowElements", FillRowView, "Array/table fill/plain");
    AddTableRow("Array/table sum/plain", SumRowPlain);
    AddTableRow("Array/table sum/At", SumRowByElement, "Array/table sum/plain");
    AddTableRow("Array/table sum/RowElements", SumRowView, "Array/table sum/plain");
    return true;
}();

} // namespace
