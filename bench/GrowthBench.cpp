// Where the cost of an item could grow with the number of items: 1,000, 10,000 and 100,000 of them
// are made, and found. The larger numbers are compared with the smallest, item by item: 1.0 is
// flat.

#include "data/Array.h"
#include "testhost/database/Tables.h"
#include "testhost/model/Host.h"
#include "testhost/screen/Windows.h"
#include "testhost/values/TypedValue.h"
#include "testhost/values/Variables.h"

#include <benchmark/benchmark.h>
#include <string>

namespace {

constexpr long Fewest = 1'000;

/// Makes `count` items, once for each iteration; false when they are not all there.
template <typename Make>
void Grow(benchmark::State& state, const std::string& name, Make make) {
    const auto count = static_cast<long>(state.range(0));
    for (auto _ : state) {
        if (!make(count)) {
            state.SkipWithError("not all there");
            return;
        }
    }
    state.counters["items"] = static_cast<double>(count);
    if (count > Fewest) {
        state.SetLabel("vs " + name + "/" + std::to_string(Fewest));
    }
}

void Variables(benchmark::State& state) {
    Grow(state, "Growth/variables_by_name", [](long count) {
        Host host;
        long sum = 0;
        for (long i = 0; i < count; ++i) {
            const std::string name = "variable" + std::to_string(i);
            host.variables.Declare(1, name, ValueKind::Long).number = i;
            sum += host.variables.Find(1, name)->number == i ? 1 : 0;
        }
        return sum == count;
    });
}

void Windows(benchmark::State& state) {
    Grow(state, "Growth/windows", [](long count) {
        WindowList windows;
        for (long i = 0; i < count; ++i) {
            windows.AddInFront(1, WindowKind::Regular);
        }
        const bool allThere = static_cast<long>(windows.Count()) == count;
        windows.Clear();
        return allThere;
    });
}

void Rows(benchmark::State& state) {
    Grow(state, "Growth/database_rows", [](long count) {
        Database database;
        const short table = database.AddTable("Rows");
        database.AddField(
            table,
            {.name = "Number", .type = FieldType::Long, .attributes = FieldAttribute::Unique});
        long last = 0;
        for (long i = 0; i < count; ++i) {
            last = database.AddRecord(table, {{.kind = ValueKind::Long, .numbers = {i}}});
        }
        return last == count - 1;
    });
}

void ArrayElements(benchmark::State& state) {
    Grow(state, "Growth/array_elements", [](long count) {
        CArray array(ValueType::LongArray);
        for (long i = 1; i <= count; ++i) {
            if (array.SetArraySize(i) != 0) {
                return false;
            }
        }
        return array.GetArraySize() == count;
    });
}

} // namespace

BENCHMARK(Variables)
    ->Name("Growth/variables_by_name")
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Iterations(1)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Windows)
    ->Name("Growth/windows")
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Iterations(1)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Rows)
    ->Name("Growth/database_rows")
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Iterations(1)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(ArrayElements)
    ->Name("Growth/array_elements")
    ->Arg(1'000)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Iterations(1)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond);
