#include "recorder/Thunks.h"

#include "recorder/Recorder.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <utility>

using Recording::Way;

// The functions are made by the compiler, so many for each way: no code is made while they run.

namespace {
constexpr std::size_t thunksOfWay = 64;

template <Way way>
std::array<std::atomic<const void*>, thunksOfWay> targets;

template <std::size_t>
using Word = std::uint32_t;
template <std::size_t... words>
using FunctionOf = void(NIMBO_CDECL*)(Word<words>...);

// A function that is called with so many words, leaves them to its caller, and answers nothing.
template <Way way, std::size_t place, std::size_t... words>
struct Thunk {
    static HOST_CALL void Run(Word<words>... word) {
        const void* const target = targets<way>[place];
        const std::array<std::uint32_t, sizeof...(word)> root{word...};
        RecordedCrossing crossing(way, 0,
                                  {reinterpret_cast<const unsigned char*>(root.data()),
                                   root.size() * sizeof(std::uint32_t)},
                                  CurrentFrame(), target);
        reinterpret_cast<FunctionOf<words...>>(const_cast<void*>(target))(word...);
        ClearDirectionFlag();
        crossing.End();
    }
};

template <Way way, std::size_t... words, std::size_t... places>
const void* Take(const void* function, std::index_sequence<words...>,
                 std::index_sequence<places...>) {
    static constexpr FunctionOf<words...> thunks[] = {Thunk<way, places, words...>::Run...};
    for (std::size_t place = 0; place < thunksOfWay; ++place) {
        const void* target = nullptr;
        if (targets<way>[place].compare_exchange_strong(target, function) || target == function) {
            return reinterpret_cast<const void*>(thunks[place]);
        }
    }
    return nullptr;
}

template <Way way, std::size_t words>
const void* Take(const void* function) {
    return Take<way>(function, std::make_index_sequence<words>(),
                     std::make_index_sequence<thunksOfWay>());
}
} // namespace

const void* ThunkFor(Way way, const void* function) {
    switch (way) {
    case Way::Process:
        return Take<Way::Process, 0>(function);
    case Way::MainThread:
        return Take<Way::MainThread, 1>(function);
    case Way::DialogFilter:
        return Take<Way::DialogFilter, 5>(function);
    case Way::AreaHandler:
        return Take<Way::AreaHandler, 4>(function);
    default:
        return nullptr;
    }
}
