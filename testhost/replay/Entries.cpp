#include "platform/Toolbox.h"
#include "testhost/recordings/Show.h"
#include "testhost/replay/RecordedHost.h"

#include <algorithm>
#include <cstring>

using namespace Recording;

bool IsInit(const RecordedEvent& event) {
    return event.IsPack() && (event.head.selector == -1 || event.head.selector == -200);
}

bool IsStop(const RecordedEvent& event) {
    return event.IsPack() && (event.head.selector == -2 || event.head.selector == -220);
}

const RecordedItem* InitRecord(const RecordedEvent& event) {
    return event.contents.Find(0, sizeof(long), Target::Memory);
}

void RecordedHost::PlayEntry(Task& task, const RecordedEvent& begin) {
    if (begin.IsPack() && unlike.contains(begin.head.selector)) {
        const size_t end = file.crossings.at(begin.head.number).end;
        return Skip(task, end != 0 ? end + 1 : file.events.size());
    }
    Take(begin);
    ++playedEntries;
    ++progress.account.pluginCalls;
    LearnInit(begin);
    const std::vector<unsigned char> root =
        stock.Rebuild(file.CrossingOf(begin), surroundings, begin.contents);
    std::vector<std::uint32_t> words(root.size() / sizeof(std::uint32_t));
    std::memcpy(words.data(), root.data(), words.size() * sizeof(std::uint32_t));
    task.open.push_back(&begin);
    Enter(task, begin, words);
    task.open.pop_back();
    EndEntry(task, begin, words);
}

// What the init record tells: the host's version, and its call-backs.
void RecordedHost::LearnInit(const RecordedEvent& begin) {
    const RecordedItem* const init = IsInit(begin) ? InitRecord(begin) : nullptr;
    if (init == nullptr) {
        return;
    }
    Learn(file.CrossingOf(begin), init->bytes, surroundings);
    PackInitBlock block{};
    std::memcpy(&block, init->bytes.data(), std::min(init->bytes.size(), sizeof block));
    LearnCallBacks(block);
}

void RecordedHost::Enter(Task& task, const RecordedEvent& begin,
                         const std::vector<std::uint32_t>& words) {
    if (begin.IsPack()) {
        return EnterPack(begin, words);
    }
    const std::uint32_t function = stock.book.Here(begin.head.function).value_or(0);
    if (function == 0) {
        Differ(begin, "the host calls a function of the plug-in's",
               "the plug-in has handed over none that would stand for it");
        return SkipToEnd(task, begin);
    }
    const std::string name = EntryName(file, begin);
    std::vector<void*> arguments;
    arguments.reserve(words.size());
    for (const std::uint32_t word : words) {
        arguments.push_back(PointerAt(word));
    }
    if (begin.way == Way::MainThread || begin.way == Way::DialogFilter) {
        return CallPluginProcedure(host, PointerAt(function), arguments, name);
    }
    arguments.resize(4, PointerAt(0xA5A5A5A5)); // of which a process's function takes none
    const long left = CallPlugin(host, reinterpret_cast<PluginEntry>(PointerAt(function)),
                                 arguments.data(), 0, name, "The function (" + name + ")");
    if (left != 4 * static_cast<long>(sizeof(void*))) {
        host.Report("The function (" + name + ") removed arguments, which it must leave.");
    }
}

void RecordedHost::EnterPack(const RecordedEvent& begin, const std::vector<std::uint32_t>& words) {
    void* const arguments[4] = {PointerAt(words[0]), PointerAt(words[1]), PointerAt(words[2]),
                                PointerAt(words[3])};
    lastStop = IsStop(begin);
    const bool isEx = begin.way == Way::PackEx && entries.packEx != nullptr;
    const short formerFile = CurResFile();
    if (IsInit(begin) && host.options.pluginResFile != 0) {
        UseResFile(host.options.pluginResFile);
    }
    GrafPort* formerPort = nullptr;
    GetPort(&formerPort);
    if (GrafPort* const port = PortOf(begin)) {
        SetPor(port);
    }
    session.EnterBy(isEx ? entries.packEx : entries.pack, arguments, EntryName(file, begin));
    SetPor(formerPort);
    UseResFile(formerFile);
}

// For an area's event the host has made the port of its window current. Which one that is only the
// plug-in tells, when it asks for its native window or its dialog. Null when it does not.
GrafPort* RecordedHost::PortOf(const RecordedEvent& begin) const {
    const Usage* usage = file.UsageOf(begin);
    if (usage == nullptr || !usage->isArea) {
        return nullptr;
    }
    const size_t end = file.crossings.at(begin.head.number).end;
    for (size_t number = next; number < end; ++number) {
        const RecordedEvent& event = file.events[number];
        const SelectorPair* service = event.Begins() ? ServiceOf(event) : nullptr;
        const std::string_view name = service != nullptr ? service->name : std::string_view();
        if (name == "NativeWindow" || name == "DialogFromWindow") {
            const CallFields& fields = FieldsOf(event);
            const auto word = name == "NativeWindow" ? WordOf(fields.handle)
                                                     : static_cast<std::uint32_t>(fields.param2);
            const auto here = stock.book.Here(word);
            return here ? static_cast<GrafPort*>(PointerAt(*here)) : nullptr;
        }
    }
    return nullptr;
}

// An entry whose end the recording does not have stays open. What the plug-in did in it before that
// it has to have done.
void RecordedHost::WaitForEver(Task& task, const RecordedEvent& begin) {
    task.open.push_back(&begin);
    Differ(begin, "it calls " + CrossingName(file, Turn(task)), "it ends");
    Skip(task, file.events.size());
    Stand();
}

void RecordedHost::EndEntry(Task& task, const RecordedEvent& begin,
                            const std::vector<std::uint32_t>& words) {
    for (const std::string& problem : stock.TakeGuardProblems()) {
        host.Report(problem);
    }
    const size_t end = file.crossings.at(begin.head.number).end;
    if (end == 0) {
        return WaitForEver(task, begin);
    }
    if (skipped[end]) {
        return;
    }
    const RecordedEvent* event = &Turn(task);
    if (event != &file.events[end]) {
        Differ(begin, "it calls " + CrossingName(file, *event), "it ends");
        SkipToEnd(task, begin);
        event = &Turn(task);
        if (event != &file.events[end]) {
            return;
        }
    }
    Crossing crossing = file.CrossingOf(*event);
    crossing.root = {reinterpret_cast<const unsigned char*>(words.data()),
                     words.size() * sizeof(std::uint32_t)};
    TakeAndCompare(*event, crossing);
    Take(*event);
    if (task.open.empty()) {
        transcript.EndStatement(place);
    }
}
