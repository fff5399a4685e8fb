// What crosses between host and plug-in with the recorder between them, beside the same without it:
// this program is the plug-in, which the recorder loads, and the host. A crossing is two events in
// the recording.

#include "bench/AnsweringHost.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "testhost/model/ScratchFolder.h"
#include "testhost/plugins/RecorderInPlace.h"
#include "testhost/values/Encodings.h"

#include <benchmark/benchmark.h>
#include <stdexcept>

#include <windows.h>

namespace {

using Entry = void(NIMBO_STDCALL*)(long, void*, void*, void*);

Entry PackOf(HMODULE library) {
    return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(library, "FourDPack")));
}

// The recorder in this program's place, for as long as this lives.
class RecorderOfBench {
  public:
    RecorderOfBench() {
        wchar_t path[1024];
        const std::wstring program(path, GetModuleFileNameW(nullptr, path, std::size(path)));
        const RecorderInPlace place{
            std::filesystem::path(program).replace_filename(L"Recorder.dll"),
            FromAnsi(scratch.Path())};
        library = LoadLibraryW(place.For(program).c_str());
        if (library == nullptr) {
            throw std::runtime_error("Recorder.dll is not there");
        }
        pack = PackOf(library);
    }
    ~RecorderOfBench() { FreeLibrary(library); }
    RecorderOfBench(const RecorderOfBench&) = delete;
    RecorderOfBench& operator=(const RecorderOfBench&) = delete;

    Entry pack;

  private:
    ScratchFolder scratch;
    HMODULE library;
};

// What the plug-in calls then is the recorder's, where `pack` is.
void Start(Entry pack, unsigned long version) {
    PackInitBlock block{};
    block.hostVersion = version;
    block.classicCallBack = AnswerClassic;
    block.engineCallBack = AnswerEngine;
    pack(-1, &block, nullptr, nullptr);
}

void Call(benchmark::State& state, unsigned long version) {
    const RecorderOfBench recorder;
    Start(recorder.pack, version);
    for (auto _ : state) {
        benchmark::DoNotOptimize(FourD::CurrentProcess());
    }
}

void Classic(benchmark::State& state) {
    Call(state, 0x0680);
    state.SetLabel("vs CurrentProcess/classic/wrapper");
}

void Engine(benchmark::State& state) {
    Call(state, 0x1100);
    state.SetLabel("vs CurrentProcess/engine/wrapper");
}

void CallCommand(benchmark::State& state, Entry pack) {
    Start(pack, 0x0680);
    constexpr short length = 19;
    TextBlock text{length, NewHandleClear(length)};
    void* const params[] = {&text};
    unsigned long result = 0;
    for (auto _ : state) {
        pack(1, const_cast<void**>(params), nullptr, &result);
        benchmark::DoNotOptimize(result);
    }
    DisposeHandle(text.text);
}

void Command(benchmark::State& state) {
    CallCommand(state, PackOf(GetModuleHandleW(nullptr)));
}

void RecordedCommand(benchmark::State& state) {
    const RecorderOfBench recorder;
    CallCommand(state, recorder.pack);
    state.SetLabel("vs Recorder/command_with_text/bare");
}

} // namespace

BENCHMARK(Classic)->Name("Recorder/classic")->Iterations(2'000)->Repetitions(9);
BENCHMARK(Engine)->Name("Recorder/engine")->Iterations(2'000)->Repetitions(9);
BENCHMARK(Command)->Name("Recorder/command_with_text/bare")->Iterations(1'000'000)->Repetitions(9);
BENCHMARK(RecordedCommand)
    ->Name("Recorder/command_with_text/recorded")
    ->Iterations(2'000)
    ->Repetitions(9);
