// A free name in a folder where 500 names are taken, beside a plain loop that asks Windows about
// the same candidates.

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/files/CopyAndDelete.h"
#include "shell/files/FileSpecs.h"
#include "shell/files/NativePaths.h"
#include "shell/files/TemporaryFiles.h"

#include <benchmark/benchmark.h>
#include <cstdio>
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

/// A folder with "base", "base.1" and so on in it, removed at the end.
class TakenFolder {
  public:
    TakenFolder() {
        char temporary[MAX_PATH + 1] = "";
        GetTempPathA(sizeof temporary, temporary);
        path = temporary + ("nimbo-bench-" + std::to_string(GetCurrentProcessId())) + "\\";
        CreateDirectoryA(path.c_str(), nullptr);
        for (int number = 0; number < TakenNames; ++number) {
            CloseHandle(CreateFileA(Candidate(path, number).c_str(), GENERIC_WRITE, 0, nullptr,
                                    CREATE_ALWAYS, 0, nullptr));
        }
    }
    ~TakenFolder() {
        EmptyDirectory(path.c_str());
        RemoveDirectoryA(path.c_str());
    }
    TakenFolder(const TakenFolder&) = delete;
    TakenFolder& operator=(const TakenFolder&) = delete;

    std::string path; ///< with a backslash at the end
};

void ByHand(benchmark::State& state) {
    const TakenFolder folder;
    for (auto _ : state) {
        int number = 0;
        while (GetFileAttributesA(Candidate(folder.path, number).c_str()) !=
               INVALID_FILE_ATTRIBUTES) {
            ++number;
        }
        if (number != TakenNames) {
            state.SkipWithError("not the first free name");
        }
    }
    state.SetItemsProcessed(state.iterations() * TakenNames);
}

void Framework(benchmark::State& state) {
    const TakenFolder folder;
    FSSpec spec{};
    NativePathToFileSpec(folder.path.c_str(), static_cast<long>(folder.path.size()), &spec);
    for (auto _ : state) {
        FSSpec found{};
        const OSErr error = GetTempFileSpecInFolder(&found, &spec, "base", "");
        const std::string_view name(reinterpret_cast<char*>(found.name + 1), found.name[0]);
        if (error != ResultCode::FileNotFound || name != "base.1F4") {
            state.SkipWithError("not the first free name");
        }
    }
    state.SetItemsProcessed(state.iterations() * TakenNames);
    state.SetLabel("vs FreeName/500_taken/by_hand");
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
