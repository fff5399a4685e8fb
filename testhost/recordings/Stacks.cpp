#include "testhost/recordings/Stacks.h"

#include "host/boundary/Selectors.h"
#include "platform/ResultCodes.h"

#include <algorithm>
#include <cstring>

using namespace Recording;

namespace {
constexpr long processStarts = -3;
constexpr long processEnds = -4;
constexpr long mainProcess = 1;

// The number with which the plug-in is told of a process.
std::optional<long> NumberIn(const RecordedEvent& event, long selector) {
    if (!event.IsPack() || event.head.selector != selector) {
        return std::nullopt;
    }
    std::int32_t number = 0;
    std::memcpy(&number, &event.contents.root.at(sizeof(std::uint32_t)), sizeof number);
    return number > 0 ? std::optional<long>(number) : std::nullopt;
}

// The innermost crossing that decides about the process: by its own number, on the main thread, or
// as the outermost one. There is one.
const RecordedEvent& DecidingIn(const std::vector<RecordedStacks::Open>& open) {
    const auto decides = [](const RecordedStacks::Open& each) {
        const RecordedEvent& event = *each.event;
        return event.way == Way::MainThread || ProcessThatStarts(event) || ProcessThatEnds(event);
    };
    const auto found = std::find_if(open.rbegin(), open.rend(), decides);
    return found != open.rend() ? *found->event : *open.front().event;
}
} // namespace

std::optional<long> ProcessThatStarts(const RecordedEvent& event) {
    return NumberIn(event, processStarts);
}

std::optional<long> ProcessThatEnds(const RecordedEvent& event) {
    return NumberIn(event, processEnds);
}

StackKey StackOf(const RecordedEvent& event) {
    return {event.head.thread, event.head.stackBase};
}

RecordedStacks::RecordedStacks(const RecordingFile& file) {
    for (const RecordedEvent& event : file.events) {
        NoteAnswer(event);
        Follow(event);
    }
    stacks.clear();
}

void RecordedStacks::NoteAnswer(const RecordedEvent& event) {
    const SelectorPair* const service = event.chunk == Chunk::CallEnds ? ServiceOf(event) : nullptr;
    if (service == nullptr || service->name != "CurrentProcess" || On(event).empty()) {
        return;
    }
    const CallFields& answer = FieldsOf(event);
    if (answer.error == ResultCode::NoError && answer.param1 > 0 &&
        answered.try_emplace(&DecidingIn(On(event)), long{answer.param1}).second) {
        telling.insert(event.head.number);
    }
}

RecordedStacks::Open RecordedStacks::Follow(const RecordedEvent& event, const OnLeft& onLeft) {
    const bool isFirst = stacks.empty();
    const auto [place, isNew] = stacks.try_emplace(StackOf(event));
    Stack& stack = place->second;
    if (isNew) {
        stack.process = isFirst ? mainProcess : -static_cast<long>(stacks.size());
    }
    const auto leave = [&] {
        const Open left = stack.open.back();
        stack.open.pop_back();
        onLeft(left);
    };
    if (event.Begins()) {
        // What stands at the same place, or below, is not there any more.
        while (!stack.open.empty() && stack.open.back().event->head.stack <= event.head.stack) {
            leave();
        }
        if (stack.open.empty()) {
            stack.process = NumberOf(event).value_or(stack.process);
        }
        const auto depth = std::ranges::count_if(
            stack.open, [](const Open& open) { return open.event->IsIntoPlugin(); });
        stack.open.push_back({&event, static_cast<int>(depth)});
        return stack.open.back();
    }
    const auto isIt = [&](const Open& open) {
        return open.event->head.number == event.head.number;
    };
    if (std::ranges::none_of(stack.open, isIt)) {
        return {};
    }
    while (!isIt(stack.open.back())) {
        leave();
    }
    const Open over = stack.open.back();
    stack.open.pop_back();
    return over;
}

void RecordedStacks::Leave(const OnLeft& onLeft) {
    for (auto& [key, stack] : stacks) {
        while (!stack.open.empty()) {
            const Open left = stack.open.back();
            stack.open.pop_back();
            onLeft(left);
        }
    }
}

const std::vector<RecordedStacks::Open>& RecordedStacks::On(const RecordedEvent& event) const {
    static const std::vector<Open> nothing;
    const auto found = stacks.find(StackOf(event));
    return found != stacks.end() ? found->second.open : nothing;
}

long RecordedStacks::Process(const RecordedEvent& event) const {
    const auto found = stacks.find(StackOf(event));
    if (found == stacks.end()) {
        return mainProcess;
    }
    const Stack& stack = found->second;
    if (stack.open.empty()) {
        return stack.process;
    }
    const RecordedEvent& deciding = DecidingIn(stack.open);
    if (const auto number = NumberOf(deciding)) {
        return *number;
    }
    return deciding.way == Way::MainThread ? mainProcess : stack.process;
}

// What the host tells in a crossing, or with it.
std::optional<long> RecordedStacks::NumberOf(const RecordedEvent& begin) const {
    if (const auto found = answered.find(&begin); found != answered.end()) {
        return found->second;
    }
    const auto starts = ProcessThatStarts(begin);
    return starts ? starts : ProcessThatEnds(begin);
}
