#include "testhost/compare/Compare.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/compare/Adoption.h"
#include "testhost/compare/Facts.h"
#include "testhost/compare/HostSetUp.h"
#include "testhost/recordings/Stacks.h"
#include "testhost/session/PluginResources.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <set>

using namespace Recording;

namespace {
constexpr long mostProcesses = 10000;

// Stands for every function of the plug-in. All of those that the stand-in may call leave their
// arguments to the caller, and answer nothing.
void NIMBO_CDECL DoNothing() {}

// Opens the plug-in's resources, and makes them current, for as long as this lives.
class OpenResources {
  public:
    OpenResources(const RecordingFile& recording, const std::filesystem::path& named)
        : former(CurResFile()) {
        const std::filesystem::path path = named.empty() ? BesidePlugin(recording) : named;
        if (path.empty()) {
            return;
        }
        if (ToolboxOpenResFile(path.wstring().c_str(), &file) != ResultCode::NoError) {
            file = 0;
            if (!named.empty()) {
                throw RecordingError("the resource file " + Shown(named) +
                                     " is missing or cannot be read");
            }
        }
        if (file != 0) {
            UseResFile(file);
        }
    }
    ~OpenResources() {
        if (file != 0) {
            UseResFile(former);
            ToolboxCloseResFile(file);
        }
    }
    OpenResources(const OpenResources&) = delete;
    OpenResources& operator=(const OpenResources&) = delete;

  private:
    // Empty without one. A recording may come from anybody: nothing but a file on a drive is
    // looked for on its word, no other machine is asked.
    static std::filesystem::path BesidePlugin(const RecordingFile& recording) {
        constexpr size_t driveAndColon = 2;
        const auto line = recording.head.find("Plug-in");
        if (line == recording.head.end()) {
            return {};
        }
        const std::filesystem::path path = FromUtf8(line->second);
        return path.root_name().native().size() == driveAndColon ? ResourcesBeside(path)
                                                                 : std::filesystem::path();
    }

    short former;
    short file = 0;
};

// Goes through the recording.
class Walk {
  public:
    Walk(const RecordingFile& recording, Host& standIn, const CompareSettings& compareSettings,
         ComparisonAccount& itsAccount)
        : file(recording),
          host(standIn),
          settings(compareSettings),
          account(itsAccount),
          stacks(recording) {}

    void Run() {
        host.onProblem = [this](const std::string& problem) {
            constexpr size_t mostKept = 1000;
            if (account.problems.size() < mostKept || account.problems.contains(problem)) {
                ++account.problems[problem];
            }
        };
        for (const RecordedEvent& event : file.events) {
            Take(event);
        }
    }

  private:
    static constexpr size_t forGood = SIZE_MAX;

    void Take(const RecordedEvent& event) {
        if (event.head.stackBase != lastStack || event.IsIntoPlugin()) {
            ++epoch; // what was known may be otherwise
        }
        lastStack = event.head.stackBase;
        if (!event.Begins()) {
            End(event);
        }
        stacks.Follow(event);
        if (event.Begins()) {
            Begin(event);
        }
        LearnFrom(event);
    }

    void LearnFrom(const RecordedEvent& event) {
        const RecordedItem* const init =
            event.contents.Find(0, sizeof(std::uint32_t), Target::Memory);
        Learn(file.CrossingOf(event),
              init != nullptr ? std::span<const unsigned char>(init->bytes)
                              : std::span<const unsigned char>(),
              surroundings);
    }

    void Begin(const RecordedEvent& event) {
        if (!event.IsIntoPlugin()) {
            if (!IsServedAtItsEnd(event)) {
                Ask(event);
            }
            return;
        }
        if (const auto number = ProcessThatStarts(event)) {
            StartProcess(*number);
        }
    }

    void End(const RecordedEvent& event) {
        const RecordedEvent& begin = file.events[file.crossings.at(event.head.number).begin];
        if (!event.IsIntoPlugin()) {
            if (IsServedAtItsEnd(begin)) {
                Ask(begin);
            }
            return;
        }
        if (const auto number = ProcessThatEnds(begin)) {
            host.EndProcess(*number);
        }
    }

    bool IsServedAtItsEnd(const RecordedEvent& begin) const {
        const SelectorPair* const selector = ServiceOf(begin);
        return selector != nullptr && selector->name == "DialogClose" && EndOf(begin) != nullptr;
    }

    // Those before it that nobody has spoken of have ended.
    void StartProcess(long number) {
        if (number < 1 || number > mostProcesses) {
            return;
        }
        while (static_cast<long>(host.processes.size()) < number) {
            host.AddProcess({.name = {}, .state = ProcessState::Ended});
        }
        host.FindProcess(number)->state = ProcessState::Executing;
    }

    const RecordedEvent* EndOf(const RecordedEvent& begin) const {
        const size_t end = file.crossings.at(begin.head.number).end;
        return end != 0 ? &file.events[end] : nullptr;
    }

    // --- One call --------------------------------------------------------------------------------

    void Ask(const RecordedEvent& begin) {
        const SelectorPair* const selector = ServiceOf(begin);
        const std::string_view service = selector != nullptr ? selector->name : "an unknown call";
        const RecordedEvent* const end = EndOf(begin);
        account.calls += end != nullptr ? 1 : 0;
        account.unanswered += end == nullptr ? 1 : 0;
        if (begin.way == Way::Engine && !host.HasEngine()) {
            return NotJudged("engine calls of a host that has none", service);
        }
        const Host::Scope scope(host);
        // A stack of which nothing is told is taken for the main process's.
        const Host::InProcess inside(host, std::max(stacks.Process(begin), 1L));
        AskedCall call{host,
                       stock,
                       surroundings,
                       file,
                       begin,
                       end,
                       CallRecord(begin.way, {}),
                       CallRecord(begin.way, begin.contents.root),
                       CallRecord(begin.way, end != nullptr ? end->contents.root
                                                            : std::vector<unsigned char>())};
        Rebuild(call);
        const Fact* const fact = FindFact(service);
        bool adopted = Prepare(call, fact, service);
        Serve(call, service);
        if (end != nullptr) {
            Judge(call, fact, service, adopted);
        }
        if (MayChangeFacts(service)) {
            ++epoch;
        }
        const Settlement settled = SettledBy(service, call);
        if (settled.lasts == Settlement::Lasts::NoMore) {
            known.erase(settled.subject);
        } else if (!settled.subject.empty()) {
            known[settled.subject] = settled.lasts == Settlement::Lasts::ForGood ? forGood : epoch;
        }
    }

    void Rebuild(AskedCall& call) {
        const auto nothing = reinterpret_cast<std::uintptr_t>(&DoNothing);
        const std::vector<unsigned char> root =
            stock.Rebuild(file.CrossingOf(call.begin), surroundings, call.begin.contents, nullptr,
                          static_cast<std::uint32_t>(nothing));
        call.asked = CallRecord(call.begin.way, root);
    }

    // Teaches what has to be known before the call is served. Answers whether anything was.
    bool Prepare(AskedCall& call, const Fact* fact, std::string_view service) {
        const short error = call.answer.Fields().error;
        if (call.end != nullptr && IsFailureOfMachine(error) && service != "CheckFreeStack") {
            host.FailNext(service, error);
            Adopted("failures of the machine", service, call.begin);
            return true;
        }
        if (fact == nullptr || fact->before == nullptr || !fact->before(call)) {
            return false;
        }
        if (call.end != nullptr) {
            Adopted(fact->what, service, call.begin);
        }
        Rebuild(call);
        return true;
    }

    void Serve(AskedCall& call, std::string_view service) {
        const std::span<const unsigned char> bytes = call.asked.Bytes();
        askedBytes.assign(bytes.begin(), bytes.end());
        host.scheduler->BeginEntry();
        returned = call.asked.Send(call.begin.head.selector);
        if (service == "NewProcess") { // it is only known: its calls are in the recording
            host.scheduler->Drop(host, call.asked.Fields().param1);
        }
    }

    Crossing CrossingHere(const AskedCall& call) const {
        return {.way = call.begin.way,
                .selector = call.begin.head.selector,
                .isOver = true,
                .root = call.asked.Bytes(),
                .usage = nullptr,
                .sent = askedBytes};
    }

    std::vector<Difference> Differences(const AskedCall& call, const CrossingContents& here) {
        std::vector<Difference> differences =
            FindDifferences(file.CrossingOf(*call.end), call.end->contents, here, stock.book);
        if (returned != call.end->head.returned) {
            differences.push_back({"what the call-back returned",
                                   std::to_string(call.end->head.returned),
                                   std::to_string(returned)});
        }
        return differences;
    }

    CrossingContents Answer(const AskedCall& call, std::string_view service) const {
        CrossingContents here = TakeContents(CrossingHere(call), surroundings);
        AdoptUntouched(call.begin.contents, call.end->contents, askedBytes, here);
        AdoptRubbish(service, call.begin.way, call.end->contents, here);
        return here;
    }

    void Judge(AskedCall& call, const Fact* fact, std::string_view service, bool adopted) {
        const std::string subject =
            fact != nullptr && fact->subject != nullptr ? fact->subject(call) : std::string();
        CrossingContents here = Answer(call, service);
        std::vector<Difference> differences = Differences(call, here);
        const bool isNews = subject.empty() || !IsKnown(subject);
        if (!differences.empty() && fact != nullptr && isNews) {
            if (fact->after != nullptr && fact->after(call)) {
                Rebuild(call);
                Serve(call, service);
                here = Answer(call, service);
                differences = Differences(call, here);
                adopted = true;
                Adopted(fact->what, service, call.begin);
            }
            if (!differences.empty() && CannotBeJudged(call, *fact, service, here)) {
                return;
            }
        } else if (differences.empty() && WasTaughtBefore(call, fact, service)) {
            adopted = true;
        }
        if (!subject.empty() && fact->after != nullptr && isNews) {
            known[subject] = epoch;
        }
        Count(call, service, differences, adopted);
    }

    // Whether the stand-in has this answer from the recording: it was set up by it.
    bool WasTaughtBefore(const AskedCall& call, const Fact* fact, std::string_view service) {
        const bool tellsProcess = stacks.IsNumberToldBy(call.begin.head.number);
        const bool isSetUp = fact != nullptr && fact->isSetUp &&
                             setUpBy.insert(std::string(service) + QuestionOf(call.sent)).second;
        if (tellsProcess || isSetUp) {
            Adopted(tellsProcess ? "numbers of processes" : fact->what, service, call.begin);
        }
        return tellsProcess || isSetUp;
    }

    // Whether the answers differ only in what the stand-in cannot be taught.
    bool CannotBeJudged(AskedCall& call, const Fact& fact, std::string_view service,
                        const CrossingContents& here) {
        constexpr short unknownName = -9902;
        const bool isWhole = fact.unjudged == wholeAnswer;
        // Names of the language that the stand-in does not have.
        const bool isUnknown = call.asked.Fields().error == unknownName &&
                               call.answer.Fields().error == ResultCode::NoError;
        if (isWhole || isUnknown) {
            call.MeetString();
            NotJudged(isWhole ? fact.what : "names that the stand-in does not have", service);
            return true;
        }
        if (fact.unjudged == RecordField::None) {
            return false;
        }
        CrossingContents adopted = here;
        if (!AdoptFields(fact.unjudged, call.begin.way, call.end->contents, stock.book, adopted) ||
            !Differences(call, adopted).empty()) {
            return false;
        }
        if ((fact.unjudged & RecordField::HostString) != 0) {
            call.TakeOverString();
        }
        NotJudged(fact.what, service);
        return true;
    }

    bool IsKnown(const std::string& subject) const {
        const auto found = known.find(subject);
        return found != known.end() && (found->second == epoch || found->second == forGood);
    }

    static std::string QuestionOf(const CallRecord& sent) {
        const std::span<const unsigned char> bytes = sent.Bytes();
        return {bytes.begin(), bytes.end()};
    }

    // --- The account -----------------------------------------------------------------------------

    void Adopted(std::string_view what, std::string_view service, const RecordedEvent& begin) {
        ++account.adoptions[std::string(what)][std::string(service)];
        if (settings.onAdoption) {
            settings.onAdoption("adopted " + std::string(what) + ": " + std::string(service) +
                                ", " + PlaceOf(begin));
        }
    }

    void NotJudged(std::string_view what, std::string_view service) {
        ++account.notJudged[std::string(what)][std::string(service)];
        ++account.unjudged;
    }

    void Count(const AskedCall& call, std::string_view service,
               const std::vector<Difference>& differences, bool adopted) {
        if (differences.empty()) {
            ++account.alike;
            account.adopted += adopted ? 1 : 0;
            return;
        }
        ++account.different;
        const std::string name = std::string(service) + " (" +
                                 std::to_string(call.begin.head.selector) +
                                 (call.begin.way == Way::Engine ? ", engine)" : ")");
        for (const Difference& each : differences) {
            const auto same = std::ranges::find_if(account.differences, [&](const auto& folded) {
                return folded.service == name && folded.field == each.field;
            });
            if (same != account.differences.end()) {
                ++same->count;
                continue;
            }
            account.differences.push_back({.service = name,
                                           .field = each.field,
                                           .recorded = each.recorded,
                                           .here = each.here,
                                           .place = PlaceOf(call.begin),
                                           .count = 1});
        }
    }

    // "crossing 12 (0.003 s), within command 7 "Chart", process 1".
    std::string PlaceOf(const RecordedEvent& begin) {
        char seconds[32];
        std::snprintf(seconds, sizeof seconds, "%.6f",
                      static_cast<double>(begin.head.microseconds) / 1e6);
        std::string place =
            "crossing " + std::to_string(begin.head.number) + " (" + seconds + " s)";
        for (const RecordedStacks::Open& open : stacks.On(begin)) {
            const RecordedEvent& entry = *open.event;
            if (entry.IsIntoPlugin()) {
                place += ", within " + NameOf(entry);
            }
        }
        return place + ", process " + std::to_string(host.currentProcess);
    }

    std::string NameOf(const RecordedEvent& entry) const {
        switch (entry.way) {
        case Way::Process:
            return "a process's function";
        case Way::MainThread:
            return "a function on the main thread";
        case Way::DialogFilter:
            return "a dialog's filter";
        case Way::AreaHandler:
            return "an area's handler";
        default:
            break;
        }
        const long number = entry.head.selector;
        const auto command = file.commands.find(number);
        return (number > 0 ? "command " : "selector ") + std::to_string(number) +
               (command != file.commands.end() ? " " + Quoted(command->second.name) : "");
    }

    const RecordingFile& file;
    Host& host;
    const CompareSettings& settings;
    ComparisonAccount& account;
    RecordedStacks stacks;
    Surroundings surroundings;
    Stock stock;
    std::vector<unsigned char> askedBytes; ///< of the call that is being served, before that
    long returned = 0;
    std::map<std::string, size_t> known; ///< subjects, and when they were last told
    size_t epoch = 0;
    std::set<std::string> setUpBy; ///< services, with what they were asked
    std::uint32_t lastStack = 0;
};
} // namespace

ComparisonAccount Compare(const RecordingFile& file, const CompareSettings& settings) {
    HostSetUp setUp = SetUpOf(file);
    ComparisonAccount account;
    account.host = Describe(setUp);
    ToolboxSetThread();
    const OpenResources resources(file, settings.resources);
    Host host(setUp.options);
    host.database = std::move(setUp.database);
    Walk(file, host, settings, account).Run();
    host.onProblem = {};
    return account;
}
