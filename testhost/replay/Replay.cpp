#include "testhost/replay/Replay.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/model/Asides.h"
#include "testhost/model/UnderWay.h"
#include "testhost/plugins/Library.h"
#include "testhost/recordings/Show.h"
#include "testhost/recordings/Stacks.h"
#include "testhost/recordings/Stock.h"
#include "testhost/replay/Folders.h"
#include "testhost/session/CrossingPrinter.h"
#include "testhost/session/PluginResources.h"
#include "testhost/session/TranscriptOutput.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>
#include <utility>

using namespace Recording;

namespace {
constexpr size_t mostDifferences = 100; // told
constexpr size_t mostLookedAt = 100000; // events, to find where it goes on
constexpr long stackSize = 1024 * 1024; // bytes, of every process
constexpr short notImplemented = -4;

std::string Counted(size_t count, const char* one) {
    return std::to_string(count) + " " + one + (count == 1 ? "" : "s");
}

bool IsInit(const RecordedEvent& event) {
    return event.IsPack() && (event.head.selector == -1 || event.head.selector == -200);
}

bool IsStop(const RecordedEvent& event) {
    return event.IsPack() && (event.head.selector == -2 || event.head.selector == -220);
}

std::uint32_t WordOf(const void* address) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}

void* Pointer(std::uint32_t word) {
    return reinterpret_cast<void*>(std::uintptr_t{word});
}

// The init record that an entry brings; null when it was not recorded.
const RecordedItem* InitRecord(const RecordedEvent& event) {
    return event.contents.Find(0, sizeof(long), Target::Memory);
}

// The recording's host, as far as the plug-in was told.
unsigned short HostVersion(const RecordingFile& file) {
    for (const RecordedEvent& event : file.events) {
        const RecordedItem* init = event.Begins() && IsInit(event) ? InitRecord(event) : nullptr;
        if (init != nullptr && init->bytes.size() >= sizeof(unsigned short)) {
            unsigned short version = 0;
            std::memcpy(&version, init->bytes.data(), sizeof version);
            return version;
        }
    }
    return HostOptions().version;
}

// Plays the host's part. The recording's stacks are processes of the stand-in host, each on a stack
// of its own, and its events say whose turn it is.
class Replay {
  public:
    Replay(const RecordingFile& itsFile, const ReplaySettings& itsSettings, Session& itsSession,
           EntryPoints itsEntries, Transcript& itsTranscript, Progress& itsProgress);
    ~Replay();
    Replay(const Replay&) = delete;
    Replay& operator=(const Replay&) = delete;

    /// Plays until the recording is over, or a difference ends it.
    void Play();
    /// Whether all of it was played, and the plug-in is stopped.
    bool IsStopped() const { return !isOver && lastStop; }
    bool IsOver() const { return isOver; }
    /// Frees what host and plug-in have handed to each other: nobody knows any more whose it is.
    void ReleaseCrossed();
    /// Prints the account. Answers whether all was well.
    bool Finish();

    static Replay* current;
    long Answer(Way way, long selector, unsigned char* record, size_t size);

  private:
    // A stack of the recording.
    struct Task {
        long number = 0; ///< its process here
        std::pair<std::uint32_t, std::uint32_t> key;
        std::vector<const RecordedEvent*> open; ///< beginnings of what is under way
    };

    const RecordedEvent* Next();
    bool Belongs(const Task& task, const RecordedEvent& event) const;
    Task* TaskOf(const RecordedEvent& event);
    void Take(const RecordedEvent& event);
    const RecordedEvent& Turn(Task& task);
    void Run(Task& task);

    void PlayEntry(Task& task, const RecordedEvent& begin);
    void Enter(const RecordedEvent& begin, std::vector<std::uint32_t>& words);
    GrafPort* PortOf(const RecordedEvent& begin) const;
    void EndEntry(Task& task, const RecordedEvent& begin, const std::vector<std::uint32_t>& words);
    const RecordedEvent* TakeCall(Task& task, const Crossing& crossing, CrossingContents& here);
    const RecordedEvent& PlayCall(Task& task, const RecordedEvent& begin);
    void Fill(const RecordedEvent& begin, const RecordedEvent& end, const CrossingContents& here,
              unsigned char* record, size_t size);
    void OperateOnHandle(const RecordedEvent& begin, const RecordedEvent& end, bool isBefore);

    void Compare(const RecordedEvent& event, const Crossing& crossing,
                 const CrossingContents& here);
    void Differ(const RecordedEvent& event, const std::string& recorded, const std::string& here);
    void Tell(const RecordedEvent& event, const Difference& difference);
    void StopUnlessToGoOn();
    void Stop();
    bool SkipToCall(const Task& task, const Crossing& crossing);
    bool SkipToEnd(const Task& task, const RecordedEvent& begin);
    void Skip(const Task& task, size_t until);
    void KeepHandles(const CrossingContents& here);

    const RecordingFile& file;
    const ReplaySettings& settings;
    Session& session;
    Host& host;
    const EntryPoints entries;
    Transcript& transcript;
    Progress& progress;
    CrossingPrinter printer;

    size_t next = 0; ///< event
    size_t nextChange = 0;
    std::vector<bool> skipped; ///< by event
    RecordedStacks stacks{file};
    std::vector<std::unique_ptr<Task>> tasks;
    Task* running = nullptr;
    long lastNumber = 1;

    Surroundings surroundings;
    Stock stock;
    std::set<std::uint32_t> handles; ///< that crossed

    bool isOver = false; ///< before the recording was
    bool lastStop = false;
    std::string place;
    size_t playedEntries = 0;
    size_t playedCalls = 0;
    size_t differences = 0;
    size_t notPlayed = 0; ///< events that were skipped
};

Replay* Replay::current = nullptr;

template <typename Block>
long AnswerCall(Way way, long selector, Block* block) {
    Replay* const replay = Replay::current;
    if (replay == nullptr || !Host::IsOwnThread()) {
        SetAside({true, "The host was called (selector " + std::to_string(selector) +
                            ") from a thread that is not its own."});
        return notImplemented;
    }
    return replay->Answer(way, selector, reinterpret_cast<unsigned char*>(block), sizeof(Block));
}

HOST_CALL long ClassicAnswer(long selector, ParameterBlock* block) {
    return AnswerCall(Way::Classic, selector, block);
}

HOST_CALL long EngineAnswer(long selector, FDEngineBlock* block) {
    return AnswerCall(Way::Engine, selector, block);
}

Replay::Replay(const RecordingFile& itsFile, const ReplaySettings& itsSettings, Session& itsSession,
               EntryPoints itsEntries, Transcript& itsTranscript, Progress& itsProgress)
    : file(itsFile),
      settings(itsSettings),
      session(itsSession),
      host(itsSession.host),
      entries(itsEntries),
      transcript(itsTranscript),
      progress(itsProgress),
      printer(itsTranscript, itsProgress.callsNotPrinted, ""),
      skipped(itsFile.events.size()) {
    current = this;
    transcript.callsNotShown = &progress.callsNotPrinted;
    EntryUnderWay::onChanged = [this](const EntryUnderWay* entry) {
        Progress::Copy(progress.underWay, entry != nullptr ? entry->name : "");
    };
    host.scriptPlace = &place;
    host.log.onAdded = [this](const LoggedCall& call) { printer.Print(call); };
    host.log.onEntryEnded = [this](long process, int depth) { printer.EndEntry(process, depth); };
    host.onDebugText = [this](const std::string& text) {
        transcript.Note("  debugger: " + Quoted(text));
    };
    host.onProblem = [this](const std::string& problem) {
        progress.account.problems = host.ProblemCount();
        transcript.Problem(place, problem);
    };
}

Replay::~Replay() {
    host.onProblem = nullptr;
    host.onDebugText = nullptr;
    host.log.onEntryEnded = nullptr;
    host.log.onAdded = nullptr;
    host.scriptPlace = nullptr;
    EntryUnderWay::onChanged = nullptr;
    current = nullptr;
}

// --- Whose turn it is ----------------------------------------------------------------------------

// The next event that is to be played; null when there is none any more.
const RecordedEvent* Replay::Next() {
    while (nextChange < file.changes.size() && file.changes[nextChange].first <= next) {
        const RecordedEvent& change = file.changes[nextChange++].second;
        stock.Rebuild(file.CrossingOf(change), surroundings, change.contents);
    }
    while (next < file.events.size() && skipped[next]) {
        stacks.Follow(file.events[next]);
        ++next;
        ++notPlayed;
    }
    return next < file.events.size() && !isOver ? &file.events[next] : nullptr;
}

// What begins on a stack where everything that is under way stands below it belongs to another
// process: that of the former is gone.
bool Replay::Belongs(const Task& task, const RecordedEvent& event) const {
    return task.key == std::pair(event.head.thread, event.head.stackBase) &&
           !(event.Begins() && !task.open.empty() &&
             task.open.front()->head.stack <= event.head.stack);
}

// The task on whose stack it happens; null when there is no room for another one.
Replay::Task* Replay::TaskOf(const RecordedEvent& event) {
    const std::pair key(event.head.thread, event.head.stackBase);
    const auto found = std::ranges::find(tasks, key, [](const auto& task) { return task->key; });
    if (found != tasks.end()) {
        if (Belongs(**found, event)) {
            return found->get();
        }
        host.scheduler->Drop(host, (*found)->number);
        tasks.erase(found);
    }
    auto task = std::make_unique<Task>();
    task->number = ++lastNumber;
    task->key = key;
    if (!host.scheduler->Start(host, task->number, stackSize,
                               [this, own = task.get()] { Run(*own); })) {
        return nullptr;
    }
    tasks.push_back(std::move(task));
    return tasks.back().get();
}

void Replay::Play() {
    while (const RecordedEvent* event = Next()) {
        running = TaskOf(*event);
        if (running == nullptr) {
            host.Report(
                "There is no memory for the stack of another process. The replay ends here.");
            isOver = true;
            return;
        }
        host.scheduler->HandOver(host, running->number);
    }
}

void Replay::Run(Task& task) {
    for (;;) {
        const RecordedEvent& event = Turn(task);
        if (event.chunk == Chunk::EntryBegins) {
            PlayEntry(task, event);
        } else { // of something that was skipped
            Take(event);
            ++notPlayed;
        }
    }
}

// Waits until it is the task's turn.
const RecordedEvent& Replay::Turn(Task& task) {
    for (;;) {
        const RecordedEvent* event = Next();
        if (event != nullptr && Belongs(task, *event)) {
            running = &task;
            return *event;
        }
        host.scheduler->HandOver(host, 0);
    }
}

// The event, which is the next one, happens.
void Replay::Take(const RecordedEvent& event) {
    ++next;
    stacks.Follow(event);
    host.currentProcess = stacks.Process(event);
    place = settings.name + ": crossing " + std::to_string(event.head.number);
    progress.statement = next;
    if (event.chunk == Chunk::EntryBegins) {
        progress.Begin(next, place, EntryName(file, event));
    } else {
        Progress::Copy(progress.place, place);
        progress.Enter(progress.phase); // it has so much time until the next one
    }
}

// The replay is over before the recording is.
void Replay::Stop() {
    isOver = true;
    while (true) { // nobody comes back to it
        host.scheduler->HandOver(host, 0);
    }
}

// --- Into the plug-in
// ------------------------------------------------------------------------------

void Replay::PlayEntry(Task& task, const RecordedEvent& begin) {
    Take(begin);
    ++playedEntries;
    ++progress.account.pluginCalls;
    const Crossing crossing = file.CrossingOf(begin);
    if (IsInit(begin)) {
        if (const RecordedItem* init = InitRecord(begin)) {
            Learn(crossing, init->bytes, surroundings);
            PackInitBlock block{};
            std::memcpy(&block, init->bytes.data(), std::min(init->bytes.size(), sizeof block));
            stock.book.Learn(WordOf(reinterpret_cast<void*>(block.classicCallBack)),
                             WordOf(reinterpret_cast<void*>(ClassicAnswer)));
            stock.book.Learn(WordOf(reinterpret_cast<void*>(block.engineCallBack)),
                             WordOf(reinterpret_cast<void*>(EngineAnswer)));
        }
    }
    const std::vector<unsigned char> root = stock.Rebuild(crossing, surroundings, begin.contents);
    std::vector<std::uint32_t> words(root.size() / sizeof(std::uint32_t));
    std::memcpy(words.data(), root.data(), words.size() * sizeof(std::uint32_t));
    task.open.push_back(&begin);
    Enter(begin, words);
    task.open.pop_back();
    EndEntry(task, begin, words);
}

void Replay::Enter(const RecordedEvent& begin, std::vector<std::uint32_t>& words) {
    const std::string name = EntryName(file, begin);
    if (begin.IsPack()) {
        void* const arguments[4] = {Pointer(words[0]), Pointer(words[1]), Pointer(words[2]),
                                    Pointer(words[3])};
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
        session.EnterBy(isEx ? entries.packEx : entries.pack, arguments, name);
        SetPor(formerPort);
        UseResFile(formerFile);
        return;
    }
    const std::uint32_t function = stock.book.Here(begin.head.function).value_or(0);
    if (function == 0) {
        Differ(begin, "the host calls a function of the plug-in's",
               "the plug-in has handed over none that would stand for it");
        SkipToEnd(*running, begin);
        return;
    }
    std::vector<void*> arguments;
    arguments.reserve(words.size());
    for (const std::uint32_t word : words) {
        arguments.push_back(Pointer(word));
    }
    if (begin.way == Way::MainThread || begin.way == Way::DialogFilter) {
        return CallPluginProcedure(host, Pointer(function), arguments, name);
    }
    arguments.resize(4, Pointer(0xA5A5A5A5)); // of which a process's function takes none
    const long left = CallPlugin(host, reinterpret_cast<PluginEntry>(Pointer(function)),
                                 arguments.data(), 0, name, "The function (" + name + ")");
    if (left != 4 * static_cast<long>(sizeof(void*))) {
        host.Report("The function (" + name + ") removed arguments, which it must leave.");
    }
}

// For an area's event the host has made the port of its window current. Which one that is only the
// plug-in tells, when it asks for its native window or its dialog. Null when it does not.
GrafPort* Replay::PortOf(const RecordedEvent& begin) const {
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
            return here ? static_cast<GrafPort*>(Pointer(*here)) : nullptr;
        }
    }
    return nullptr;
}

void Replay::EndEntry(Task& task, const RecordedEvent& begin,
                      const std::vector<std::uint32_t>& words) {
    const size_t end = file.crossings.at(begin.head.number).end;
    if (end == 0) {
        Differ(begin, "it never ended", "it ended");
        return;
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
    const CrossingContents here = TakeContents(crossing, surroundings);
    KeepHandles(here);
    Compare(*event, crossing, here);
    Take(*event);
    if (task.open.empty()) {
        transcript.EndStatement(place);
    }
}

// --- Into the host
// ---------------------------------------------------------------------------------

long Replay::Answer(Way way, long selector, unsigned char* record, size_t size) {
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
const RecordedEvent* Replay::TakeCall(Task& task, const Crossing& crossing,
                                      CrossingContents& here) {
    const auto isIt = [&](const RecordedEvent& event) {
        return event.chunk == Chunk::CallBegins && event.way == crossing.way &&
               event.head.selector == crossing.selector;
    };
    const RecordedEvent* event = &Turn(task);
    if (!isIt(*event)) {
        Differ(*task.open.back(),
               event->chunk == Chunk::CallBegins ? "it calls " + CrossingName(file, *event)
                                                 : "it ends",
               "it calls " + CallName(crossing.way, crossing.selector));
        if (!SkipToCall(task, crossing)) {
            return nullptr;
        }
        event = &Turn(task);
    }
    here = TakeContents(crossing, surroundings);
    KeepHandles(here);
    Compare(*event, crossing, here);
    Take(*event);
    ++playedCalls;
    ++progress.account.hostCalls;
    return event;
}

// What the host does before it answers. Answers the event with which it does.
const RecordedEvent& Replay::PlayCall(Task& task, const RecordedEvent& begin) {
    task.open.push_back(&begin);
    for (;;) {
        const RecordedEvent& event = Turn(task);
        if (event.chunk == Chunk::CallEnds && event.head.number == begin.head.number) {
            task.open.pop_back();
            return event;
        }
        if (event.chunk == Chunk::EntryBegins) {
            PlayEntry(task, event);
        } else if (skipped[file.crossings.at(begin.head.number).end]) {
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
            Take(event);
            ++notPlayed;
        }
    }
}

// Puts the recorded answer into the record. What the host left as it was stays as it is here.
void Replay::Fill(const RecordedEvent& begin, const RecordedEvent& end,
                  const CrossingContents& here, unsigned char* record, size_t size) {
    const Crossing crossing = file.CrossingOf(end);
    OperateOnHandle(begin, end, true);
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
    OperateOnHandle(begin, end, false);
    Learn(crossing, {}, surroundings);
    for (const RecordedItem& item : end.contents.items) {
        if (item.head.target == Target::Handle || item.head.target == Target::HostHandle) {
            handles.insert(stock.book.Here(item.head.address).value_or(0));
        }
    }
}

// The host's handles lie in memory of this process: what was done to one is done here, too.
void Replay::OperateOnHandle(const RecordedEvent& begin, const RecordedEvent& end, bool isBefore) {
    constexpr SelectorPair operation = Select("HandleOperation");
    const bool engine = begin.way == Way::Engine;
    if (begin.head.selector != (engine ? operation.engine : operation.classic)) {
        return;
    }
    enum : long { New = 1, Dispose, SetSize, GetSize, Lock, Unlock };
    const CallFields& sent = FieldsOf(begin);
    const CallFields& answered = FieldsOf(end);
    if (answered.error != ResultCode::NoError) {
        return;
    }
    if (isBefore) {
        if (sent.param1 == New && answered.handle != nullptr) {
            stock.book.Learn(WordOf(answered.handle), WordOf(ToolboxNewHostHandle(sent.param2)));
        }
        return;
    }
    auto* const handle =
        static_cast<Handle>(Pointer(stock.book.Here(WordOf(sent.handle)).value_or(0)));
    switch (sent.param1) {
    case Dispose:
        ToolboxDisposeHostHandle(handle);
        break;
    case SetSize:
        ToolboxSetHostHandleSize(handle, sent.param2);
        break;
    case Lock:
        ToolboxLockHostHandle(handle);
        break;
    case Unlock:
        ToolboxUnlockHostHandle(handle);
        break;
    default:
        break;
    }
}

// --- What differs
// ----------------------------------------------------------------------------------

void Replay::Compare(const RecordedEvent& event, const Crossing& crossing,
                     const CrossingContents& here) {
    const std::vector<Difference> found =
        FindDifferences(crossing, event.contents, here, stock.book);
    for (const Difference& difference : found) {
        Tell(event, difference);
    }
    if (!found.empty()) {
        StopUnlessToGoOn();
    }
}

void Replay::Differ(const RecordedEvent& event, const std::string& recorded,
                    const std::string& here) {
    Tell(event, {"", recorded, here});
    StopUnlessToGoOn();
}

void Replay::StopUnlessToGoOn() {
    if (!settings.goesOn) {
        Stop();
    }
}

void Replay::Tell(const RecordedEvent& event, const Difference& difference) {
    ++differences;
    ++progress.account.failed;
    if (differences > mostDifferences) {
        return;
    }
    transcript.Say(LineKind::Wrong, "DIFFERENCE " + settings.name + ": crossing " +
                                        std::to_string(event.head.number) + ", " +
                                        (event.Begins() ? "" : "the end of ") +
                                        CrossingName(file, event) +
                                        (difference.field.empty() ? "" : ": " + difference.field));
    const EntryUnderWay* entry = EntryUnderWay::Innermost();
    if (!event.IsIntoPlugin() && entry != nullptr) {
        transcript.Say(LineKind::Plain, "  in " + entry->name);
    }
    transcript.Say(LineKind::Plain, "  recorded: " + difference.recorded);
    transcript.Say(LineKind::Plain, "  here:     " + difference.here);
}

// Marks the task's events before this one as not to be played.
void Replay::Skip(const Task& task, size_t until) {
    for (size_t number = next; number < until; ++number) {
        skipped[number] = skipped[number] || Belongs(task, file.events[number]);
    }
}

// Looks for a call in what is left of the innermost entry, and skips what comes before it.
bool Replay::SkipToCall(const Task& task, const Crossing& crossing) {
    const size_t end = file.crossings.at(task.open.back()->head.number).end;
    const size_t last =
        std::min({end != 0 ? end : file.events.size(), next + mostLookedAt, file.events.size()});
    size_t depth = 0;
    for (size_t number = next; number < last; ++number) {
        const RecordedEvent& event = file.events[number];
        if (!Belongs(task, event) || skipped[number]) {
            continue;
        }
        if (depth == 0 && event.chunk == Chunk::CallBegins && event.way == crossing.way &&
            event.head.selector == crossing.selector) {
            Skip(task, number);
            return true;
        }
        depth = event.Begins() ? depth + 1 : depth - std::min<size_t>(depth, 1);
    }
    return false;
}

// Skips what is left of an entry but its end.
bool Replay::SkipToEnd(const Task& task, const RecordedEvent& begin) {
    const size_t end = file.crossings.at(begin.head.number).end;
    if (end == 0) {
        return false;
    }
    Skip(task, end);
    return true;
}

void Replay::KeepHandles(const CrossingContents& here) {
    for (const RecordedItem& item : here.items) {
        if (item.head.target == Target::Handle || item.head.target == Target::HostHandle) {
            handles.insert(item.head.address);
        }
    }
}

// --- The end
// ---------------------------------------------------------------------------------------

void Replay::ReleaseCrossed() {
    for (const std::uint32_t word : handles) {
        auto* const handle = static_cast<Handle>(Pointer(word));
        const short owner = ToolboxHandleOwner(handle);
        if (owner == HandleOwner::Host) {
            ToolboxDisposeHostHandle(handle);
        } else if (owner == HandleOwner::Toolbox) {
            DisposeHandle(handle);
        }
    }
    ToolboxClearProblems(); // of resources, which stay
}

bool Replay::Finish() {
    transcript.EndStatement(place);
    if (differences > mostDifferences) {
        transcript.Say(LineKind::Wrong,
                       "… " + Counted(differences - mostDifferences, "more difference"));
    }
    const size_t problems = host.ProblemCount();
    progress.account.problems = problems;
    std::string text = Counted(playedEntries, "call") + " into the plug-in and " +
                       Counted(playedCalls, "call") + " into the host played, " +
                       Counted(differences, "difference") + ", " + Counted(problems, "problem");
    const size_t left = file.events.size() - next;
    if (isOver) {
        text += "; the last " + Counted(left, "event") + " not played";
    }
    if (notPlayed != 0) {
        text += "; " + Counted(notPlayed, "event") + " passed over";
    }
    if (!file.complaint.empty()) {
        transcript.Say(LineKind::Wrong, "The recording is not whole: " + file.complaint);
    }
    const bool isGood = differences == 0 && problems == 0 && !isOver && file.complaint.empty();
    progress.hasAccount = true;
    progress.toldAccount = transcript.Say(isGood ? LineKind::Good : LineKind::Wrong, text);
    return isGood;
}
} // namespace

bool ReplayRecording(RecordingFile& file, const ReplaySettings& settings, std::ostream& out,
                     Progress& progress) {
    TranscriptOutput output(settings.transcript, out, progress);
    Transcript transcript = output.Open();
    ToolboxSetStrict(settings.strict ? 1 : 0);
    progress.statements = file.events.size();
    const ReplacedFolders folders(file);
    for (const std::string& note : folders.notes) {
        transcript.Note("  " + note);
    }
    progress.Enter(Progress::Phase::Loading);
    auto library = std::make_unique<PluginLibrary>(settings.plugin);
    const PluginResources resources(settings.plugin, settings.resources);
    HostOptions options;
    options.version = HostVersion(file);
    options.pluginResFile = resources.RefNum();
    Host host(options);
    host.ScratchPath();
    Session session(host, library->Entries());
    Replay replay(file, settings, session, library->Entries(), transcript, progress);
    progress.Enter(Progress::Phase::Playing);
    replay.Play();
    progress.Enter(Progress::Phase::Stopping);
    if (replay.IsStopped()) {
        replay.ReleaseCrossed();
        session.ReportLeaks();
    }
    if (replay.IsOver()) {
        // Its functions stand still in the middle: it stays as it is until the process ends.
        static_cast<void>(library.release());
    } else {
        progress.Enter(Progress::Phase::Unloading);
        library->Unload(true);
        for (const std::string& fault : PluginLibrary::TakeUnloadFaults()) {
            host.Report(fault);
        }
    }
    host.HearAsides();
    return replay.Finish();
}
