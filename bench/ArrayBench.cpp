// A host's array of a million longs, filled, summed and searched through CArray, beside plain loops
// over the same memory. Every call for one element asks the toolbox how large the storage is; Longs
// asks once for all of them.

#include "data/Array.h"

#include <benchmark/benchmark.h>
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

template <typename Work>
void AddRow(const char* name, const Work& work, const char* versus = nullptr) {
    const auto measure = [=](benchmark::State& state) {
        for (auto _ : state) {
            benchmark::DoNotOptimize(work());
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(static_cast<long long>(state.iterations()) * Count);
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

[[maybe_unused]] const bool added = [] {
    AddRow("Array/fill/plain", FillPlain);
    AddRow("Array/fill/AtPut", FillByElement, "Array/fill/plain");
    AddRow("Array/fill/Longs", FillLongs, "Array/fill/plain");
    AddRow("Array/sum/plain", SumPlain);
    AddRow("Array/sum/At", SumByElement, "Array/sum/plain");
    AddRow("Array/sum/Longs", SumLongs, "Array/sum/plain");
    AddRow("Array/find/plain", FindPlain);
    AddRow("Array/find/Find", FindInArray, "Array/find/plain");
    return true;
}();

} // namespace
