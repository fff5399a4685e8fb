#include "platform/ResultCodes.h"
#include "testhost/recordings/Show.h"
#include "testhost/replay/RecordedHost.h"
#include "testhost/services/Dispatch.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <utility>

using namespace Recording;

namespace {
constexpr short notImplemented = -4;

template <typename Block>
long AnswerCall(Way way, long selector, Block* block) {
    if (IsForeignThread(selector) || RecordedHost::current == nullptr) {
        return notImplemented;
    }
    return RecordedHost::current->Answer(way, selector, reinterpret_cast<unsigned char*>(block),
                                         sizeof(Block));
}

HOST_CALL long ClassicAnswer(long selector, ParameterBlock* block) {
    return AnswerCall(Way::Classic, selector, block);
}

HOST_CALL long EngineAnswer(long selector, FDEngineBlock* block) {
    return AnswerCall(Way::Engine, selector, block);
}
} // namespace

void RecordedHost::LearnCallBacks(const PackInitBlock& recorded) {
    stock.book.Learn(WordOf(reinterpret_cast<void*>(recorded.classicCallBack)),
                     WordOf(reinterpret_cast<void*>(ClassicAnswer)));
    stock.book.Learn(WordOf(reinterpret_cast<void*>(recorded.engineCallBack)),
                     WordOf(reinterpret_cast<void*>(EngineAnswer)));
}

long RecordedHost::Answer(Way way, long selector, unsigned char* record, size_t size) {
    if (record == nullptr) {
        host.Report("Selector " + std::to_string(selector) + " came without a record.");
        return ResultCode::BadParameter;
    }
    Task& task = *running;
    const bool engine = way == Way::Engine;
    auto& fields = engine ? static_cast<CallFields&>(*reinterpret_cast<FDEngineBlock*>(record))
                          : *reinterpret_cast<ParameterBlock*>(record);
    LoggedCall logged = host.log.Blank();
    logged.kind = engine ? LoggedCall::Kind::Engine : LoggedCall::Kind::Classic;
    logged.selector = selector;
    const SelectorPair* known = FindSelector(selector, engine);
    logged.name = known != nullptr ? known->name : "unknown selector";
    logged.process = host.currentProcess;
    logged.depth = host.log.depth;
    logged.before.assign(record, record + size);

    const Crossing crossing{.way = way, .selector = selector, .root = {record, size}};
    CrossingContents here;
    long returned = notImplemented;
    if (const RecordedEvent* begin = TakeCall(task, crossing, here)) {
        const SelectorPair* const service = ServiceOf(*begin);
        if (engine && service != nullptr && service->name == "ExecTokenizedFunc") {
            ToolboxShareHostHandle(fields.handle); // the plug-in releases it by the toolbox
        }
        const RecordedEvent& end = PlayCall(task, *begin);
        Fill(*begin, end, here, record, size);
        Take(end);
        returned = end.head.returned;
        logged.process = host.currentProcess;
    } else { // nobody knows what the host would say
        fields.error = notImplemented;
    }
    logged.after.assign(record, record + size);
    logged.returned = returned;
    host.log.Add(std::move(logged));
    return returned;
}

// The call as it was recorded; null when there is none.
const RecordedEvent* RecordedHost::TakeCall(Task& task, const Crossing& crossing,
                                            CrossingContents& here) {
    const auto isIt = [&](const RecordedEvent& event) {
        return event.chunk == Chunk::CallBegins && event.way == crossing.way &&
               event.head.selector == crossing.selector;
    };
    const RecordedEvent* event = &Turn(task);
    if (!isIt(*event)) {
        Differ(*task.open.back(),
               event->chunk == Chunk::CallBegins    ? "it calls " + CrossingName(file, *event)
               : event->chunk == Chunk::EntryBegins ? "the host calls " + CrossingName(file, *event)
                                                    : "it ends",
               "it calls " + CallName(crossing.way, crossing.selector));
        if (!SkipToCall(task, crossing)) {
            return nullptr;
        }
        event = &Turn(task);
    }
    here = TakeAndCompare(*event, crossing);
    Take(*event);
    ++playedCalls;
    ++progress.account.hostCalls;
    return event;
}

// What the host does before it answers. Answers the event with which it does.
const RecordedEvent& RecordedHost::PlayCall(Task& task, const RecordedEvent& begin) {
    task.open.push_back(&begin);
    for (;;) {
        const RecordedEvent& event = Turn(task);
        if (event.chunk == Chunk::CallEnds && event.head.number == begin.head.number) {
            task.open.pop_back();
            return event;
        }
        if (event.chunk == Chunk::EntryBegins) {
            PlayEntry(task, event);
        } else if (const size_t end = file.crossings.at(begin.head.number).end;
                   end != 0 && skipped[end]) {
            Stop();
        } else if (event.Begins() || event.head.number != begin.head.number) {
            const bool isOfSkipped =
                !event.Begins() && std::ranges::none_of(task.open, [&](const RecordedEvent* open) {
                    return open->head.number == event.head.number;
                });
            if (!isOfSkipped) {
                host.Report("In the recording " + CrossingName(file, begin) +
                            " was left without an end. The replay ends here.");
                Stop();
            }
            PassOver(event);
        }
    }
}

// Puts the recorded answer into the record. What the host left as it was stays as it is here.
void RecordedHost::Fill(const RecordedEvent& begin, const RecordedEvent& end,
                        const CrossingContents& here, unsigned char* record, size_t size) {
    const Crossing crossing = file.CrossingOf(end);
    handles.MakeNew(begin, end);
    const Stock::Former former{begin.contents, here};
    std::vector<unsigned char> answer =
        stock.Rebuild(crossing, surroundings, end.contents, &former);
    std::vector<bool> isAddress(size);
    for (const RecordedItem& item : end.contents.items) {
        if (item.head.parent == 0) {
            std::fill_n(isAddress.begin() + static_cast<std::ptrdiff_t>(item.head.offset),
                        sizeof(std::uint32_t), true);
        }
    }
    for (size_t offset = 0; offset < std::min(size, answer.size()); ++offset) {
        if (isAddress[offset] || begin.contents.root[offset] != end.contents.root[offset]) {
            record[offset] = answer[offset];
        }
    }
    handles.DoLikewise(begin, end);
    Learn(crossing, {}, surroundings);
    handles.KeepRecorded(end.contents);
}
