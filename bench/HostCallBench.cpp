// FourD::CurrentProcess beside the same call with a record filled by hand, on a host of either
// kind. The host answers at once, so what is measured is our side of the call.

#include "bench/AnsweringHost.h"
#include "host/FourD.h"

#include <benchmark/benchmark.h>
#include <cstring>

namespace {

void BeHost(unsigned long version) {
    gHost = {};
    gHost.version = version;
    gHost.classicCallBack = AnswerClassic;
    gHost.engineCallBack = AnswerEngine;
}

template <typename Record, typename CallBack>
long CallByHand(CallBack callBack, long selector) {
    Record record;
    std::memset(static_cast<void*>(&record), 0, sizeof record);
    callBack(selector, &record);
    return record.param1;
}

void ByHandClassic(benchmark::State& state) {
    BeHost(0x0680);
    for (auto _ : state) {
        benchmark::DoNotOptimize(CallByHand<ParameterBlock>(gHost.classicCallBack, 91));
    }
}

void ByHandEngine(benchmark::State& state) {
    BeHost(0x1100);
    for (auto _ : state) {
        benchmark::DoNotOptimize(CallByHand<FDEngineBlock>(gHost.engineCallBack, -91));
    }
}

void WrapperClassic(benchmark::State& state) {
    BeHost(0x0680);
    for (auto _ : state) {
        benchmark::DoNotOptimize(FourD::CurrentProcess());
    }
    state.SetLabel("vs CurrentProcess/classic/by_hand");
}

void WrapperEngine(benchmark::State& state) {
    BeHost(0x1100);
    for (auto _ : state) {
        benchmark::DoNotOptimize(FourD::CurrentProcess());
    }
    state.SetLabel("vs CurrentProcess/engine/by_hand");
}

} // namespace

BENCHMARK(ByHandClassic)
    ->Name("CurrentProcess/classic/by_hand")
    ->Iterations(1'000'000)
    ->Repetitions(9);
BENCHMARK(WrapperClassic)
    ->Name("CurrentProcess/classic/wrapper")
    ->Iterations(1'000'000)
    ->Repetitions(9);
BENCHMARK(ByHandEngine)
    ->Name("CurrentProcess/engine/by_hand")
    ->Iterations(1'000'000)
    ->Repetitions(9);
BENCHMARK(WrapperEngine)
    ->Name("CurrentProcess/engine/wrapper")
    ->Iterations(1'000'000)
    ->Repetitions(9);
