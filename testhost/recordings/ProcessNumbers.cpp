#include "testhost/recordings/ProcessNumbers.h"

#include "platform/ResultCodes.h"

#include <cstring>

using namespace Recording;

namespace {
constexpr long processStarts = -3;
constexpr long processEnds = -4;
constexpr long mainProcess = 1;

// The number with which the plug-in is told of a process.
std::optional<long> NumberIn(const RecordedEvent& event, long selector) {
    constexpr size_t behindSelector = sizeof(std::uint32_t);
    std::int32_t number = 0;
    if (event.way != Way::Pack || event.head.selector != selector ||
        event.contents.root.size() < behindSelector + sizeof number) {
        return std::nullopt;
    }
    std::memcpy(&number, &event.contents.root[behindSelector], sizeof number);
    return number;
}
} // namespace

const SelectorPair* ServiceOf(const RecordedEvent& event) {
    return FindSelector(event.head.selector, event.way == Way::Engine);
}

std::optional<long> ProcessThatStarts(const RecordedEvent& event) {
    return NumberIn(event, processStarts);
}

std::optional<long> ProcessThatEnds(const RecordedEvent& event) {
    return NumberIn(event, processEnds);
}

ProcessNumbers::ProcessNumbers(const RecordingFile& recording) : file(recording) {
    StackWalk walk;
    for (size_t place = 0; place < file.events.size(); ++place) {
        const RecordedEvent& event = file.events[place];
        if (event.chunk == Chunk::CallEnds) {
            NoteAnswer(event, walk.On(event));
        }
        walk.Take(event, place);
    }
}

long ProcessNumbers::On(std::uint32_t stackBase, const std::vector<StackWalk::Open>& open) {
    long& last = ofStacks.try_emplace(stackBase, mainProcess).first->second;
    const std::optional<size_t> entry = EntryOf(open);
    if (!entry) {
        return last;
    }
    const RecordedEvent& event = file.events[*entry];
    if (const auto told = ofEntries.find(*entry); told != ofEntries.end()) {
        last = told->second;
    } else if (event.way == Way::MainThread) {
        return mainProcess;
    } else if (const auto starts = ProcessThatStarts(event)) {
        last = *starts;
    } else if (const auto ends = ProcessThatEnds(event)) {
        last = *ends;
    }
    return last;
}

void ProcessNumbers::NoteAnswer(const RecordedEvent& event,
                                const std::vector<StackWalk::Open>& open) {
    const SelectorPair* const selector = ServiceOf(event);
    if (selector == nullptr || selector->name != "CurrentProcess") {
        return;
    }
    const CallFields& answer = FieldsOf(event);
    if (const std::optional<size_t> entry = EntryOf(open);
        entry && answer.error == ResultCode::NoError &&
        ofEntries.try_emplace(*entry, long{answer.param1}).second) {
        telling.insert(event.head.number);
    }
}

// The innermost entry that decides about the process: by its own number, on the main thread, or as
// the outermost one of the stack.
std::optional<size_t> ProcessNumbers::EntryOf(const std::vector<StackWalk::Open>& open) const {
    for (size_t place = open.size(); place-- > 0;) {
        const RecordedEvent& event = file.events[open[place].event];
        if (event.way == Way::MainThread || ProcessThatStarts(event) || ProcessThatEnds(event)) {
            return open[place].event;
        }
    }
    return open.empty() ? std::nullopt : std::optional(open.front().event);
}
