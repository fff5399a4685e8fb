// Line endings of 1 MB in lines of 60 characters, counted and converted, beside a copy of the text.

#include "platform/Toolbox.h"
#include "shell/base/TextServices.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <cstring>
#include <string>

namespace {

constexpr std::size_t TextSize = 1 << 20;
constexpr const char* Copy = "LineEndings/1MB/memcpy";

/// Whole lines, as many as the size has room for.
std::string Lines(const std::string& ending) {
    std::string text;
    const std::string line = std::string(60, 'x') + ending;
    for (std::size_t count = TextSize / line.size(); count > 0; --count) {
        text += line;
    }
    return text;
}

std::string Converted(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
        text.replace(at, from.size(), to);
    }
    return text;
}

/// Adds a row that times `work(handle)` on a handle with `text`, which must then hold `expected`.
/// The work answers whether its own result is right.
template <typename Work>
void AddRow(const std::string& name, const std::string& text, const std::string& expected,
            Work work) {
    const auto measure = [=](benchmark::State& state) {
        const auto size = static_cast<Size>(text.size());
        Handle const handle = NewHandle(size);
        for (auto _ : state) {
            SetHandleSize(handle, size);
            std::memcpy(*handle, text.data(), text.size());
            const auto start = std::chrono::steady_clock::now();
            const bool isRight = work(handle);
            const auto end = std::chrono::steady_clock::now();
            state.SetIterationTime(std::chrono::duration<double>(end - start).count());
            if (!isRight || GetHandleSize(handle) != static_cast<Size>(expected.size()) ||
                std::memcmp(*handle, expected.data(), expected.size()) != 0) {
                state.SkipWithError("not the expected text");
            }
        }
        DisposeHandle(handle);
        state.SetBytesProcessed(static_cast<long long>(state.iterations() * text.size()));
        state.SetLabel(name == Copy ? "" : std::string("vs ") + Copy);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)
        ->UseManualTime()
        ->Iterations(50)
        ->Repetitions(9);
}

void AddConversion(const std::string& name, const std::string& from, const std::string& to,
                   long kind) {
    const std::string text = Lines(from);
    AddRow("LineEndings/1MB/" + name, text, Converted(text, from, to),
           [kind](Handle handle) { return _SetHandleLineEndings(handle, kind) == 0; });
}

void AddRows() {
    const std::string text = Lines("\n");
    static std::string target(text.size(), '\0');
    AddRow(Copy, text, text, [](Handle handle) {
        std::memcpy(target.data(), *handle, target.size());
        benchmark::ClobberMemory();
        return true;
    });
    AddRow("LineEndings/1MB/count", text, text, [](Handle handle) {
        long count = 0;
        return _GetHandleLineEndings(handle, &count) == LineEnding::LF && count == TextSize / 61;
    });
    // What a new length costs, whatever is done to the text: calls that rebuilt texts make, too.
    const std::string longer = Lines("\r\n");
    AddRow("LineEndings/1MB/handle_calls_alone", longer, longer, [](Handle handle) {
        const Size size = GetHandleSize(handle);
        Handle const rebuilt = NewHandle(size);
        std::memcpy(*rebuilt, *handle, static_cast<std::size_t>(size));
        SetHandleSize(handle, size - 1);
        SetHandleSize(handle, size);
        BlockMove(*rebuilt, *handle, size);
        DisposeHandle(rebuilt);
        return true;
    });
    AddConversion("LF_as_it_is", "\n", "\n", LineEnding::LF);
    AddConversion("LF_to_CR", "\n", "\r", LineEnding::CR);
    AddConversion("LF_to_CRLF", "\n", "\r\n", LineEnding::CRLF);
    AddConversion("CRLF_to_LF", "\r\n", "\n", LineEnding::LF);
}

[[maybe_unused]] const bool added = (AddRows(), true);

} // namespace
