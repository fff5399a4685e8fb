// A free name in a folder where 500 names are taken, and 500 names taken one after another, beside
// a plain loop that asks Windows about the same candidates.

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/files/CopyAndDelete.h"
#include "shell/files/FileSpecs.h"
#include "shell/files/NativePaths.h"
#include "shell/files/TemporaryFiles.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <memory>
#include <string>

#include <windows.h>

namespace {

constexpr int TakenNames = 500;

std::string Candidate(const std::string& folder, int number) {
    char name[32] = "base";
    if (number > 0) {
        std::snprintf(name, sizeof name, "base.%X", static_cast<unsigned>(number));
    }
    return folder + name;
}

void MakeFile(const std::string& path) {
    CloseHandle(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
}

int FirstFreeNumber(const std::string& folder) {
    int number = 0;
    while (GetFileAttributesA(Candidate(folder, number).c_str()) != INVALID_FILE_ATTRIBUTES) {
        ++number;
    }
    return number;
}

/// A folder with "base", "base.1" and so on in it, removed at the end.
class TakenFolder {
  public:
    explicit TakenFolder(long names) {
        char temporary[MAX_PATH + 1] = "";
        GetTempPathA(sizeof temporary, temporary);
        path = temporary + ("nimbo-bench-" + std::to_string(GetCurrentProcessId())) + "\\";
        CreateDirectoryA(path.c_str(), nullptr);
        for (int number = 0; number < names; ++number) {
            MakeFile(Candidate(path, number));
        }
        NativePathToFileSpec(path.c_str(), static_cast<long>(path.size()), &spec);
    }
    ~TakenFolder() {
        EmptyDirectory(path.c_str());
        RemoveDirectoryA(path.c_str());
    }
    TakenFolder(const TakenFolder&) = delete;
    TakenFolder& operator=(const TakenFolder&) = delete;

    std::string path; ///< with a backslash at the end
    FSSpec spec{};
};

void ByHand(benchmark::State& state) {
    const TakenFolder folder(TakenNames);
    for (auto _ : state) {
        if (FirstFreeNumber(folder.path) != TakenNames) {
            state.SkipWithError("not the first free name");
        }
    }
    state.SetItemsProcessed(state.iterations() * TakenNames);
}

void FindFreeName(benchmark::State& state, int taken) {
    const TakenFolder folder(taken);
    for (auto _ : state) {
        FSSpec found{};
        const OSErr error = GetTempFileSpecInFolder(&found, &folder.spec, "base", "");
        const std::string_view name(reinterpret_cast<char*>(found.name + 1), found.name[0]);
        if (error != ResultCode::FileNotFound || name != Candidate("", taken)) {
            state.SkipWithError("not the first free name");
        }
    }
}

void Framework(benchmark::State& state) {
    FindFreeName(state, TakenNames);
    state.SetItemsProcessed(state.iterations() * TakenNames);
    state.SetLabel("vs FreeName/500_taken/by_hand");
}

/// Finds a name and makes its file, over and over; `find` answers the free name's path.
template <typename Find>
void TakeNames(benchmark::State& state, Find find) {
    for (auto _ : state) {
        state.PauseTiming();
        const auto folder = std::make_unique<TakenFolder>(0);
        state.ResumeTiming();
        for (int number = 0; number < TakenNames; ++number) {
            const std::string path = find(*folder);
            if (path != Candidate(folder->path, number)) {
                state.SkipWithError("not the first free name");
                return;
            }
            MakeFile(path);
        }
        state.PauseTiming();
    }
    state.counters["items"] = TakenNames;
}

void TakeByHand(benchmark::State& state) {
    TakeNames(state, [](const TakenFolder& folder) {
        return Candidate(folder.path, FirstFreeNumber(folder.path));
    });
}

void TakeThroughFramework(benchmark::State& state) {
    TakeNames(state, [](const TakenFolder& folder) {
        FSSpec found{};
        const OSErr error = GetTempFileSpecInFolder(&found, &folder.spec, "base", "");
        const std::string name(reinterpret_cast<char*>(found.name + 1), found.name[0]);
        return error == ResultCode::FileNotFound ? folder.path + name : std::string();
    });
    state.SetLabel("vs TakeNames/500/by_hand");
}

/// In numbers that a folder may have: making files takes the file system longer than finding a name
/// among them.
void TakenNamesGrow(benchmark::State& state) {
    const auto taken = static_cast<int>(state.range(0));
    FindFreeName(state, taken);
    state.counters["items"] = taken;
    if (taken > 100) {
        state.SetLabel("vs Growth/taken_names/100");
    }
}

} // namespace

BENCHMARK(ByHand)
    ->Name("FreeName/500_taken/by_hand")
    ->Iterations(1)
    ->Repetitions(9)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(Framework)
    ->Name("FreeName/500_taken/framework")
    ->Iterations(1)
    ->Repetitions(9)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(TakeByHand)
    ->Name("TakeNames/500/by_hand")
    ->Iterations(1)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(TakeThroughFramework)
    ->Name("TakeNames/500/framework")
    ->Iterations(1)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(TakenNamesGrow)
    ->Name("Growth/taken_names")
    ->Arg(100)
    ->Arg(1'000)
    ->Iterations(1)
    ->Repetitions(5)
    ->Unit(benchmark::kMillisecond);
