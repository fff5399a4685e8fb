#include "testhost/plugins/Session.h"

#include "platform/Toolbox.h"
#include "testhost/services/Dispatch.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"
#include "testhost/values/LeftOvers.h"
#include "testhost/values/Whereabouts.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <utility>

// All sessions share one toolbox: each of its problems is reported once.
long Session::toolboxProblemsSeen = 0;

namespace {
constexpr unsigned long notWritten = 0xDEADBEEF;
constexpr size_t mostCommandsOver = 16; // whose storage is watched

// By ToolboxLeftOver::Kind.
constexpr LeftOvers::Kind kinds[] = {{"handle"},
                                     {"resource handle", "taken"},
                                     {"host handle"},
                                     {"pointer"},
                                     {"file", "opened", "open"}};

// Makes a resource file current for a while; file 0 leaves things as they are.
class ResFileScope {
  public:
    explicit ResFileScope(short file) : former(CurResFile()) {
        if (file != 0) {
            UseResFile(file);
        }
    }
    ~ResFileScope() { UseResFile(former); }
    ResFileScope(const ResFileScope&) = delete;
    ResFileScope& operator=(const ResFileScope&) = delete;

  private:
    short former;
};

void* Word(long number) {
    return reinterpret_cast<void*>(number);
}

std::string CommandText(long command, const Arguments& arguments) {
    std::string text = "command " + std::to_string(command) + "(";
    for (size_t number = 1; number <= arguments.Count(); ++number) {
        text += (number > 1 ? ", " : "") + Describe(arguments.At(number));
    }
    return text + ")";
}
// What of a parameter is the command's to change: not what a pointer leads to, which is the
// caller's variable.
TypedValue WithoutTargets(TypedValue value) {
    if (value.kind == ValueKind::Pointer) {
        value.inner.clear();
    }
    for (TypedValue& inner : value.inner) {
        inner = WithoutTargets(std::move(inner));
    }
    return value;
}

// Described they are compared as people see them: one that is not a number is like another.
bool IsSame(const TypedValue& one, const TypedValue& other) {
    return one == other || Describe(one) == Describe(other);
}
} // namespace

Session::Session(Host& sessionHost, EntryPoints entryPoints)
    : HostedPlugin(sessionHost), entries(entryPoints), firstSerial(ToolboxLastSerial()) {
    ToolboxSetThread();
    // At once: what follows may be a crash.
    ToolboxOnProblem([] {
        if (Host* current = Host::Current();
            current != nullptr && CurrentWhereabouts() != nullptr) {
            CollectToolboxProblems(*current);
        }
    });
    toolboxProblemsSeen = ToolboxProblemCount();
    host.plugins.push_back(this);
}

Session::~Session() {
    std::erase(host.plugins, this);
    if (resFile != 0) {
        ToolboxRemoveResFile(resFile);
    }
}

void Session::Start(long selector) {
    if (resFile == 0 && host.options.pluginResFile != 0) {
        resFile = host.options.pluginResFile;
        ToolboxAddResFile(resFile);
    }
    PackInitBlock block{};
    block.hostVersion = host.options.version;
    block.classicCallBack = ClassicHostCall;
    block.acceptedVersion = notWritten;
    block.engineCallBack = host.HasEngine() ? EngineHostCall : MissingEngineCall;
    {
        ResFileScope resources(resFile);
        Enter(selector, &block, nullptr, nullptr, "start");
    }
    started = true;
    wasStarted = true;
    if (block.acceptedVersion != host.options.version) {
        host.Report("The plug-in did not write the host's version into the fifth word of the "
                    "initialisation record.");
    }
}

void Session::Stop(long selector) {
    host.EndOwnProcesses(); // no plug-in code runs in them once it has been de-initialised
    Enter(selector, nullptr, nullptr, nullptr, "stop");
    started = false;
}

long Session::ProcessStart(std::string_view name) {
    long number = host.AddProcess({.name = std::string(name)});
    host.TellPlugins(-3, number);
    return number;
}

void Session::ProcessEnd(long number) {
    host.EndProcess(number);
}

const CommandTable* Session::Commands() {
    if (entries.describe != nullptr) {
        table = CommandTable::Read(std::exchange(entries.describe, nullptr));
    }
    return table ? &*table : nullptr;
}

TypedValue Session::Call(long command, Arguments& arguments, ValueKind result) {
    ResultCell cell(result);
    const std::string call = CommandText(command, arguments);
    Enter(command, arguments.Array(), nullptr, cell.Cell(), call);
    for (const std::string& problem : CheckCall(arguments, cell, host.variables)) {
        host.Report("Command " + std::to_string(command) + ": " + problem + ".");
    }
    CheckUsage(command, arguments);
    TakeBack(call, arguments, cell);
    return cell.Read();
}

// A parameter that does not hold together was told already.
void Session::CheckUsage(long command, Arguments& arguments) {
    const DescribedCommand* described = Commands() != nullptr ? Commands()->Find(command) : nullptr;
    if (described == nullptr || !described->usage) {
        return;
    }
    const auto& parameters = described->usage->parameters;
    for (size_t number = 1; number <= std::min(parameters.size(), arguments.Count()); ++number) {
        const TypedStorage& storage = arguments.StorageAt(number);
        if (!parameters[number - 1].changes && !storage.Fault() &&
            !IsSame(WithoutTargets(storage.Read()), WithoutTargets(storage.First()))) {
            host.Report("Command " + described->Title() + " changed parameter " +
                        std::to_string(number) + ", which its usage " + described->ShownUsage() +
                        " does not say (&).");
        }
    }
}

void Session::TakeBack(const std::string& call, Arguments& arguments, const ResultCell& result) {
    LentCall lent{.call = Shortened(call), .parameters = {}, .result = result.Bytes()};
    if (host.scriptPlace != nullptr) {
        lent.call += " (" + *host.scriptPlace + ")";
    }
    for (size_t number = 1; number <= arguments.Count(); ++number) {
        lent.parameters.push_back(arguments.StorageAt(number).Bytes());
        lent.parameters.back()->TakeBack();
    }
    for (const auto& bytes : lent.result) {
        bytes->TakeBack();
    }
    over.push_back(std::move(lent));
    if (over.size() > mostCommandsOver) {
        over.pop_front();
    }
}

void Session::CheckTakenBack() {
    for (const LentCall& lent : over) {
        const auto check = [&](LentBytes& bytes, const std::string& what) {
            if (bytes.WereWritten()) {
                host.Report("The storage of " + what + " of " + lent.call +
                            " was written after the command was over.");
            }
        };
        for (size_t number = 1; number <= lent.parameters.size(); ++number) {
            check(*lent.parameters[number - 1], "parameter " + std::to_string(number));
        }
        for (const auto& bytes : lent.result) {
            check(*bytes, "the result");
        }
    }
}

TypedValue Session::Call(long command, const std::vector<TypedValue>& values, ValueKind result) {
    Arguments arguments(values, host.options.callerCompiled || host.options.hostCompiled);
    return Call(command, arguments, result);
}

void Session::Enter(long selector, void* params, void* data, void* result, std::string what) {
    if (entries.pack == nullptr) {
        throw std::runtime_error("the plug-in's library is not loaded");
    }
    const bool extended = (selector == -200 || selector == -220) && entries.packEx != nullptr;
    void* const words[4] = {Word(selector), params, data, result};
    EnterBy(extended ? entries.packEx : entries.pack, words, std::move(what));
}

void Session::EnterBy(PluginEntry entry, void* const words[4], std::string what) {
    const bool outermost = host.log.depth == 0 && !host.scheduler->InOwnProcess();
    if (outermost) {
        host.scheduler->BeginEntry();
    }
    const auto selector = reinterpret_cast<long>(words[0]);
    const std::string who = what.starts_with("command") ? "Command " + std::to_string(selector)
                                                        : "The entry point (" + what + ")";
    const long left = CallPlugin(host, entry, words, selector, std::move(what), who);
    if (outermost) {
        host.EndKilledProcess();
    }
    if (left != 0) {
        host.Report("The entry point left " + std::to_string(left) +
                    " bytes of its arguments on the stack: it must remove them (stdcall).");
    }
    CheckTakenBack();
    host.HearAsides();
    CollectToolboxProblems(host);
    ToolboxClearProblems(); // it keeps so many, and the next call may have as many
    toolboxProblemsSeen = 0;
}

void Session::CollectToolboxProblems(Host& host) {
    // Someone may have cleared the list meanwhile.
    toolboxProblemsSeen = std::min(toolboxProblemsSeen, ToolboxProblemCount());
    while (toolboxProblemsSeen < ToolboxProblemCount()) {
        char text[512];
        ToolboxProblem(toolboxProblemsSeen++, text, sizeof text);
        host.Report(std::string("Toolbox: ") + text);
    }
}

void Session::ReportLeaks() {
    ReportHostLeaks();
    ReportToolboxLeftOvers();
}

void Session::ReportLeaksSoFar() {
    const HostVariables::Values values = host.variables.ReadAll();
    ReportHostLeftOvers();
    ReportToolboxLeftOvers();
    host.strings.TakeOver();
    host.pictures.TakeOver();
    host.structureResources.CloseAll();
    firstSerial = ToolboxLastSerial();
    host.variables.SetAll(values);
}

void Session::ReportToolboxLeftOvers() {
    ToolboxCheckAll();
    CollectToolboxProblems(host);
    struct {
        std::vector<ToolboxLeftOver> list;
        bool isFull = false;
    } found;
    const auto add = [](void* context, const ToolboxLeftOver* leftOver) {
        auto& all = *static_cast<decltype(found)*>(context);
        try {
            all.list.push_back(*leftOver);
        } catch (const std::bad_alloc&) { // nothing may be thrown through another library
            all.isFull = true;
        }
    };
    ToolboxVisitLeftOvers(firstSerial, add, &found);
    if (found.isFull) {
        throw std::bad_alloc();
    }
    std::vector<ToolboxLeftOver>& all = found.list;
    std::ranges::sort(all, {}, &ToolboxLeftOver::serial);
    LeftOvers leftOvers;
    for (const ToolboxLeftOver& each : all) {
        const std::string description =
            each.path != nullptr
                ? "\"" + Utf8(FromAnsi(each.path)) + "\" of " + LeftOvers::Count(each.size, "byte")
                : "of " + LeftOvers::Bytes({each.bytes, static_cast<size_t>(each.size)});
        leftOvers.Add(kinds[each.kind], description, each.place);
    }
    leftOvers.Report([this](const std::string& sentence) { host.Report(sentence); });
}

void Session::ReportHostLeaks() {
    ReportHostLeftOvers();
    host.ReportUnusedFailures();
}

void Session::ReportHostLeftOvers() {
    CheckTakenBack();
    host.dialogs.ReportLeaks();
    for (const std::string& fault : host.variables.TakeFaults()) {
        host.Report(fault);
    }
    host.variables.Clear(); // what they hold is not the plug-in's
    host.windows.DisposeMethodTexts();
    host.strings.Check();
    host.pictures.Check();
    LeftOvers leftOvers;
    host.strings.AddLeftOvers(leftOvers);
    host.pictures.AddLeftOvers(leftOvers);
    host.structureResources.AddLeftOvers(leftOvers);
    leftOvers.Report([this](const std::string& sentence) { host.Report(sentence); });
}
