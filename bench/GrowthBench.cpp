// Where the cost of an item could grow with the number of items: 1,000, 10,000 and 100,000 of them
// are made, and found. The larger numbers are compared with the smallest, item by item: 1.0 is
// flat. Each row makes as many items in all, the smaller numbers over and over, so that what a run
// costs in itself is the same for all.
//
// Not flat are 100,000 rows, each of several blocks of memory: they outgrow the processor's caches
// and are new pages each time, and the system's heap walks through its free blocks to find one,
// which takes more than all else. In sets of 10,000, made and freed one after another, variables
// suffer from that walk, too.

#include "data/Array.h"
#include "data/Variables.h"
#include "shell/Entry.h"
#include "testhost/database/Tables.h"
#include "testhost/model/Host.h"
#include "testhost/plugins/Session.h"
#include "testhost/screen/Windows.h"
#include "testhost/values/TypedValue.h"

#include <benchmark/benchmark.h>
#include <string>
#include <utility>

namespace {

constexpr long Fewest = 1'000;
constexpr long InAll = 100'000;

/// Makes `count` items, as often as it takes; `make` answers false when they are not all there.
template <typename Make>
void Grow(benchmark::State& state, const std::string& name, Make make) {
    const auto count = static_cast<long>(state.range(0));
    for (auto _ : state) {
        for (long made = 0; made < InAll; made += count) {
            if (!make(count)) {
                state.SkipWithError("not all there");
                return;
            }
        }
    }
    state.counters["items"] = InAll;
    if (count > Fewest) {
        state.SetLabel("vs " + name + "/" + std::to_string(Fewest));
    }
}

void Variables(benchmark::State& state) {
    Host first;
    Session session(first, {FourDPack, FourDPackex});
    session.Start(); // from now on the framework reaches whichever host is the current one
    Grow(state, "Growth/variables_by_name", [](long count) {
        Host host;
        const Host::Scope inside(host);
        long found = 0;
        for (long i = 0; i < count; ++i) {
            CFourDVar variable(("variable" + std::to_string(i)).c_str(), ValueType::Long);
            long number = -1;
            variable.SetValue(i);
            variable.GetValue(&number);
            found += number == i ? 1 : 0;
        }
        return found == count;
    });
    session.Stop();
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

[[maybe_unused]] const bool added = [] {
    constexpr std::pair<const char*, void (*)(benchmark::State&)> Benchmarks[] = {
        {"Growth/variables_by_name", Variables},
        {"Growth/windows", Windows},
        {"Growth/database_rows", Rows},
        {"Growth/array_elements", ArrayElements},
    };
    for (const auto& [name, work] : Benchmarks) {
        benchmark::RegisterBenchmark(name, work)
            ->RangeMultiplier(10)
            ->Range(Fewest, InAll)
            ->Iterations(1)
            ->Repetitions(5)
            ->Unit(benchmark::kMillisecond);
    }
    return true;
}();

} // namespace
