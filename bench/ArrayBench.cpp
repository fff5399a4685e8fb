// A host's array of a million longs, filled, summed and searched through CArray, beside plain loops
// over the same memory; then strings, and a table of longs. Every call for one element asks the
// toolbox how large the storage is, one for an element of a row also how large the row's is; Longs
// asks once for all of them.

#include "data/Array.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>
#include <string>

namespace {

constexpr long Count = 1000000;

CArray& TheArray() {
    static CArray array(ValueType::LongArray);
    if (array.GetArraySize() == 0) {
        array.SetArraySize(Count);
    }
    return array;
}

long* PlainElements() {
    return static_cast<long*>(TheArray().ComputeAddress(0));
}

/// `work` answers something that depends on all of its `count` elements.
template <typename Work>
void AddRow(const char* name, const Work& work, const char* versus = nullptr, long count = Count) {
    const auto measure = [=](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(work());
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(static_cast<long long>(state.iterations()) * count);
        state.SetLabel(versus != nullptr ? std::string("vs ") + versus : std::string());
    };
    benchmark::RegisterBenchmark(name, measure)->MinTime(0.1)->Repetitions(5);
}

long FillPlain() {
    long* const elements = PlainElements();
    for (long index = 1; index <= Count; ++index) {
        elements[index] = index;
    }
    return Count;
}

long FillByElement() {
    CArray& array = TheArray();
    for (long index = 1; index <= Count; ++index) {
        array.AtPut(index, index);
    }
    return Count;
}

long FillLongs() {
    long number = 0;
    for (long& element : TheArray().Longs()) {
        element = number++;
    }
    return number;
}

long SumPlain() {
    const long* const elements = PlainElements();
    unsigned long sum = 0;
    for (long index = 1; index <= Count; ++index) {
        sum += static_cast<unsigned long>(elements[index]);
    }
    return static_cast<long>(sum);
}

long SumByElement() {
    const CArray& array = TheArray();
    unsigned long sum = 0;
    for (long index = 1; index <= Count; ++index) {
        long element = 0;
        array.At(index, element);
        sum += static_cast<unsigned long>(element);
    }
    return static_cast<long>(sum);
}

long SumLongs() {
    unsigned long sum = 0;
    for (const long element : TheArray().Longs()) {
        sum += static_cast<unsigned long>(element);
    }
    return static_cast<long>(sum);
}

constexpr long Missing = -7;

long FindPlain() {
    const long* const elements = PlainElements();
    for (long index = 1; index <= Count; ++index) {
        if (elements[index] == Missing) {
            return index;
        }
    }
    return -1;
}

long FindInArray() {
    return TheArray().Find(Missing);
}

// --- Strings: few enough to stay in the processor's cache -------------------------------------

constexpr long StringCount = 1000;
constexpr long SlotSize = 256;
const unsigned char someString[] = "\024twenty characters...";

CArray& TheStrings() {
    static CArray array(ValueType::StringArray);
    if (array.GetArraySize() == 0) {
        array.SetArraySize(StringCount);
    }
    return array;
}

unsigned char* PlainSlots() {
    return static_cast<unsigned char*>(TheStrings().ComputeAddress(0));
}

long PutStringsPlain() {
    unsigned char* const slots = PlainSlots();
    for (long index = 1; index <= StringCount; ++index) {
        unsigned char* const slot = slots + index * SlotSize;
        const long length = std::min<long>(someString[0], SlotSize - 1);
        slot[0] = static_cast<unsigned char>(length);
        std::copy_n(someString + 1, length, slot + 1);
        benchmark::ClobberMemory(); // each string counts
    }
    return StringCount;
}

long PutStrings() {
    CArray& array = TheStrings();
    for (long index = 1; index <= StringCount; ++index) {
        array.AtPut(index, someString);
    }
    return StringCount;
}

long GetStringsPlain() {
    const unsigned char* const slots = PlainSlots();
    long lengths = 0;
    for (long index = 1; index <= StringCount; ++index) {
        const unsigned char* const slot = slots + index * SlotSize;
        Str255 string;
        string[0] = slot[0];
        std::copy_n(slot + 1, slot[0], string + 1);
        benchmark::DoNotOptimize(string);
        lengths += string[0];
    }
    return lengths;
}

long GetStrings() {
    const CArray& array = TheStrings();
    long lengths = 0;
    for (long index = 1; index <= StringCount; ++index) {
        Str255 string;
        array.At(index, string);
        benchmark::DoNotOptimize(string);
        lengths += string[0];
    }
    return lengths;
}

// --- A table: rows of longs -------------------------------------------------------------------

constexpr long Rows = 100;
constexpr long Columns = 100;
constexpr long CellCount = Rows * Columns;

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

long* PlainRow(const ArrayRow* rows, long row) {
    return reinterpret_cast<long*>(*rows[row].array.elements);
}

long FillTablePlain() {
    const auto* const rows = static_cast<const ArrayRow*>(TheTable().ComputeAddress(0));
    for (long row = 1; row <= Rows; ++row) {
        long* const elements = PlainRow(rows, row);
        for (long column = 1; column <= Columns; ++column) {
            elements[column] = row * column;
        }
    }
    return CellCount;
}

long FillTable() {
    CArray& array = TheTable();
    for (long row = 1; row <= Rows; ++row) {
        for (long column = 1; column <= Columns; ++column) {
            array.AtPut(row, column, row * column);
        }
    }
    return CellCount;
}

long SumTablePlain() {
    const auto* const rows = static_cast<const ArrayRow*>(TheTable().ComputeAddress(0));
    long sum = 0;
    for (long row = 1; row <= Rows; ++row) {
        const long* const elements = PlainRow(rows, row);
        for (long column = 1; column <= Columns; ++column) {
            sum += elements[column];
        }
    }
    return sum;
}

long SumTable() {
    const CArray& array = TheTable();
    long sum = 0;
    for (long row = 1; row <= Rows; ++row) {
        for (long column = 1; column <= Columns; ++column) {
            long element = 0;
            array.At(row, column, element);
            sum += element;
        }
    }
    return sum;
}

[[maybe_unused]] const bool added = [] {
    AddRow("Array/fill/plain", FillPlain);
    AddRow("Array/fill/AtPut", FillByElement, "Array/fill/plain");
    AddRow("Array/fill/Longs", FillLongs, "Array/fill/plain");
    AddRow("Array/sum/plain", SumPlain);
    AddRow("Array/sum/At", SumByElement, "Array/sum/plain");
    AddRow("Array/sum/Longs", SumLongs, "Array/sum/plain");
    AddRow("Array/find/plain", FindPlain);
    AddRow("Array/find/Find", FindInArray, "Array/find/plain");
    AddRow("Array/strings put/plain", PutStringsPlain, nullptr, StringCount);
    AddRow("Array/strings put/AtPut", PutStrings, "Array/strings put/plain", StringCount);
    AddRow("Array/strings get/plain", GetStringsPlain, nullptr, StringCount);
    AddRow("Array/strings get/At", GetStrings, "Array/strings get/plain", StringCount);
    AddRow("Array/table fill/plain", FillTablePlain, nullptr, CellCount);
    AddRow("Array/table fill/AtPut", FillTable, "Array/table fill/plain", CellCount);
    AddRow("Array/table sum/plain", SumTablePlain, nullptr, CellCount);
    AddRow("Array/table sum/At", SumTable, "Array/table sum/plain", CellCount);
    return true;
}();

} // namespace
