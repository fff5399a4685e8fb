// A command call through FourDPack beside the same chain written by hand, and beside the handler
// alone.

#include "bench/ChainByHand.h"
#include "shell/Entry.h"
#include "shell/FourDPlug.h"

#include <benchmark/benchmark.h>

namespace {

void NoOperation(CXParam*, CXResult*) {
    benchmark::ClobberMemory();
}

CommandEntry commandTable[] = {{"No operation", "(text) -> long", NoOperation}};

PlugInfo plugInfo = {
    .reserved = 0,
    .recordVersion = 1,
    .recordSize = sizeof(PlugInfo),
    .productName = "Bench",
    .creator = 0,
    .version = 0,
    .resourceID = 0,
    .resourceFile = 0,
    .spare = 0,
    .commandCount = 1,
    .commands = commandTable,
};

class BenchPlug : public FourDPlug {
  public:
    BenchPlug() : FourDPlug(&plugInfo) {}
    bool CommandNeedsBigInit(long command, CXParam*, CXResult*) override { return command == 2; }
    bool CanCallCommand(long command, CXParam*, CXResult*) override { return command != 2; }
    bool TrackClientsOnServer() override { return false; }
};

BenchPlug benchPlug;

class BenchChain : public ChainByHand {
  public:
    BenchChain() : ChainByHand(commandTable, 1) {}
    bool NeedsPreparation(long command, CXParam*, CXResult*) override { return command == 2; }
    bool CanCall(long command, CXParam*, CXResult*) override { return command != 2; }
};

BenchChain benchChain;

using Entry = void(NIMBO_STDCALL*)(long, void*, void*, void*);

void CallCommand(benchmark::State& state, Entry entry) {
    CXResult result;
    for (auto _ : state) {
        entry(1, nullptr, nullptr, &result);
        benchmark::DoNotOptimize(result);
    }
}

void HandlerAlone(benchmark::State& state) {
    CXResult result;
    for (auto _ : state) {
        commandTable[0].handler(nullptr, &result);
        benchmark::DoNotOptimize(result);
    }
}

void ByHand(benchmark::State& state) {
    CallCommand(state, CallByHand);
}

void Pack(benchmark::State& state) {
    CallCommand(state, FourDPack);
    state.SetLabel("vs Command/chain_by_hand");
}

} // namespace

FourDPlug* gFourDPlug = &benchPlug;
ChainByHand* gChainByHand = &benchChain;

BENCHMARK(HandlerAlone)->Name("Command/handler_alone")->Iterations(1'000'000)->Repetitions(9);
BENCHMARK(ByHand)->Name("Command/chain_by_hand")->Iterations(1'000'000)->Repetitions(9);
BENCHMARK(Pack)->Name("Command/FourDPack")->Iterations(1'000'000)->Repetitions(9);
