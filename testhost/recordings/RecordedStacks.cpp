#include "testhost/recordings/RecordedStacks.h"

#include "host/boundary/Selectors.h"

#include <algorithm>
#include <cstring>

using namespace Recording;

namespace {
constexpr long processStarts = -3;
constexpr long processEnds = -4;

// The process number with which the plug-in is told that one starts or ends; 0 for other events.
long ToldProcess(const RecordedEvent& event) {
    const bool isTold =
        (event.way == Way::Pack || event.way == Way::PackEx) &&
        (event.head.selector == processStarts || event.head.selector == processEnds);
    std::int32_t number = 0;
    if (isTold) {
        std::memcpy(&number, &event.contents.root[4], sizeof number); // behind the selector
    }
    return std::max<long>(number, 0);
}
} // namespace

RecordedStacks::Open RecordedStacks::Follow(const RecordedEvent& event,
                                            const std::function<void(const Open&)>& onLeft) {
    const bool isFirst = stacks.empty();
    const auto [place, isNew] = stacks.try_emplace(KeyOf(event));
    Stack& stack = place->second;
    if (isNew) {
        stack.process = isFirst ? 1 : -static_cast<long>(stacks.size());
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
        const long told = ToldProcess(event);
        if (told != 0 && isNew) {
            stack.process = told;
        }
        int depth = 0;
        for (const Open& open : stack.open) {
            depth += open.event->IsIntoPlugin() ? 1 : 0;
        }
        stack.open.push_back({&event, told, depth});
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
    LearnProcess(stack, event);
    stack.open.pop_back();
    return over;
}

// Within an entry that tells of a process the host may answer for that one.
void RecordedStacks::LearnProcess(Stack& stack, const RecordedEvent& event) {
    constexpr SelectorPair current = Select("CurrentProcess");
    const bool engine = event.way == Way::Engine;
    const bool isAnswer = event.chunk == Chunk::CallEnds &&
                          event.head.selector == (engine ? current.engine : current.classic);
    const bool isTold =
        std::ranges::any_of(stack.open, [](const Open& open) { return open.process != 0; });
    if (isAnswer && !isTold) {
        const long number = FieldsOf(event).param1;
        stack.process = number > 0 ? number : stack.process;
    }
}

long RecordedStacks::Process(const RecordedEvent& event) const {
    const auto found = stacks.find(KeyOf(event));
    if (found == stacks.end()) {
        return 1;
    }
    const std::vector<Open>& open = found->second.open;
    const auto told = std::find_if(open.rbegin(), open.rend(),
                                   [](const Open& each) { return each.process != 0; });
    return told != open.rend() ? told->process : found->second.process;
}

void RecordedStacks::Leave(const std::function<void(const Open&)>& onLeft) {
    for (auto& [key, stack] : stacks) {
        for (auto open = stack.open.rbegin(); open != stack.open.rend(); ++open) {
            onLeft(*open);
        }
        stack.open.clear();
    }
}
