#include "testhost/model/Host.h"

#include "platform/Diagnostics.h"
#include "platform/Toolbox.h"
#include "testhost/model/Asides.h"
#include "testhost/model/Network.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <iterator>

#include <windows.h>

Host* Host::current = nullptr;

namespace {
DWORD ownThread = 0; // in which hosts are made

constexpr size_t windowListWord = 11; // the twelfth word of the globals record

// Makes an empty file where there is none.
void MakeFile(const std::string& path) {
    const HANDLE file = CreateFileW(FromAnsi(path).c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file != INVALID_HANDLE_VALUE) {
        CloseHandle(file);
    }
}

// The names of the host's own processes, as its string list 170 tells plug-ins. The second is none
// of them: it is a name that other processes may have, too.
constexpr const char* ownProcessNames[] = {
    "User/Custom Menus process", "Plug-in process", "Design process", "Cache manager",
    "Web server process",        "Client manager"};

// Windows of the host's own that show one area have a title that begins with the second.
constexpr const char* windowTitles[] = {"Design", "Plug-in area"};

// Puts a string list into the system file: a big-endian count, then Pascal strings.
void AddStringList(short number, const std::vector<std::string>& strings) {
    constexpr OSType stringList = 0x53545223; // STR#
    std::string bytes{static_cast<char>(strings.size() >> 8),
                      static_cast<char>(strings.size() & 0xFF)};
    for (const std::string& string : strings) {
        bytes += static_cast<char>(string.size()) + string;
    }
    ToolboxAddResource(0, stringList, number, nullptr, bytes.data(),
                       static_cast<long>(bytes.size()));
}

void AddOwnLists() {
    AddStringList(170, {std::begin(ownProcessNames), std::end(ownProcessNames)});
    AddStringList(163, {std::begin(windowTitles), std::end(windowTitles)});
}

// Newer hosts name a command when they are asked.
bool PublishesCommandNames(unsigned short version) {
    return version <= 0x0800;
}

std::string WithBackslash(const std::string& folder) {
    return folder.ends_with('\\') ? folder : folder + "\\";
}
} // namespace

Host::Host(HostOptions hostOptions)
    : options(std::move(hostOptions)),
      scheduler(options.scheduler != nullptr ? options.scheduler : std::make_shared<Scheduler>()),
      strings(Reporting()),
      pictures(Reporting()),
      variables(LayoutOfVariables()),
      dialogs({variables, windows, database, Reporting()}) {
    ownThread = GetCurrentThreadId();
    scheduler->Join(*this);
    AddOwnLists();
    // As with window records: words that nobody may rely on are rubbish.
    globals.fill(reinterpret_cast<void*>(0xA5A5A5A5));
    globals[windowListWord] = windows.Head();

    AddProcess({.name = ownProcessNames[0], .isUser = false});
    AddProcess({.name = ownProcessNames[2], .isUser = false});
    AddProcess({.name = ownProcessNames[3], .isUser = false});
    windows.AddInFront(1, WindowKind::Regular);
    windows.AddInFront(1, WindowKind::Floating);
    PublishCommandNames();
}

bool Host::IsOwnThread() {
    return GetCurrentThreadId() == ownThread;
}

Host::~Host() {
    if (network != nullptr) {
        network->Leave(*this);
    }
    scheduler->Leave(*this);
}

long Host::AddProcess(HostProcess process) {
    processes.push_back(std::move(process));
    return static_cast<long>(processes.size());
}

HostProcess* Host::FindProcess(long number) {
    if (number < 1 || static_cast<size_t>(number) > processes.size()) {
        return nullptr;
    }
    return &processes[static_cast<size_t>(number) - 1];
}

long Host::FindProcess(std::string_view name) const {
    for (size_t place = 0; place < processes.size(); ++place) {
        if (processes[place].name == name && processes[place].state >= 0) {
            return static_cast<long>(place) + 1;
        }
    }
    return 0;
}

void Host::Report(const std::string& problem) {
    constexpr size_t mostKept = 1000;
    if (problems.size() < mostKept) {
        problems.push_back(problem);
    } else {
        ++problemsNotKept;
    }
    if (onProblem) {
        onProblem(problem);
    }
}

void Host::HearDebugText(std::string_view text) {
    while (!text.empty()) {
        const size_t end = std::min(text.find_first_of("\r\n"), text.size());
        const std::string_view line = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (complaintsAreProblems && line.starts_with(PluginProblemMark)) {
            Report(Utf8(FromAnsi(line.substr(std::string_view(PluginProblemMark).size()))) + ".");
        } else if (!line.empty() && onDebugText) {
            onDebugText(Utf8(FromAnsi(line)));
        }
    }
}

void Host::HearAsides() {
    for (const Aside& aside : TakeAsides()) {
        if (aside.isProblem) {
            Report(aside.text);
        } else {
            HearDebugText(aside.text);
        }
    }
}

long Host::ApplicationType() const {
    switch (options.role) {
    case Role::Client:
        return 4;
    case Role::Server:
        return 5;
    case Role::SingleUser:
        break;
    }
    return 0;
}

bool Host::RenameCommand(long number, std::string name) {
    const bool renamed = language.RenameCommand(number, std::move(name));
    PublishCommandNames();
    return renamed;
}

ValueLayout Host::LayoutOfVariables() {
    return {true, &strings, HasEngine() ? &pictures : nullptr};
}

bool Host::SetVersion(unsigned short version) {
    const bool publishedNames = PublishesCommandNames(options.version);
    const unsigned short former = std::exchange(options.version, version);
    if (!variables.SetLayout(LayoutOfVariables())) {
        options.version = former;
        return false;
    }
    if (publishedNames && !PublishesCommandNames(version)) {
        const short currentFile = CurResFile();
        ToolboxCloseResFile(0); // empties it
        UseResFile(currentFile);
        AddOwnLists();
    }
    PublishCommandNames();
    return true;
}

void Host::PublishCommandNames() const {
    if (!PublishesCommandNames(options.version)) {
        return;
    }
    std::vector<std::string> names; // item N is that of command N
    for (long number = 1; number <= language.CommandNames().rbegin()->first; ++number) {
        names.emplace_back(language.CommandName(number));
    }
    AddStringList(8, names);
}

void Host::FailNext(std::string_view service, short code) {
    failures.emplace_back(service, code);
}

std::optional<short> Host::TakeFailure(std::string_view service) {
    for (CountedFailure& failure : countedFailures) { // each counts by itself
        --failure.left;
    }
    const auto due = std::ranges::find(countedFailures, 0, &CountedFailure::left);
    if (due != countedFailures.end()) {
        const short code = due->code;
        std::erase_if(countedFailures, [](const CountedFailure& each) { return each.left == 0; });
        return code;
    }
    for (auto place = failures.begin(); place != failures.end(); ++place) {
        if (place->first == service) {
            const short code = place->second;
            failures.erase(place);
            return code;
        }
    }
    return std::nullopt;
}

void Host::ReportUnusedFailures() {
    for (const auto& [service, code] : std::exchange(failures, {})) {
        Report(service + " was to fail with " + std::to_string(code) +
               ", but the plug-in did not call it.");
    }
    for (const CountedFailure& failure : std::exchange(countedFailures, {})) {
        Report("Call " + std::to_string(failure.count) + " into the host was to fail with " +
               std::to_string(failure.code) + ", but only " +
               std::to_string(failure.count - failure.left) + " came.");
    }
    ToolboxFailures::ReportUnused(Reporting());
}

std::string Host::StructureFolder() {
    if (!options.structureFolder.empty()) {
        return WithBackslash(options.structureFolder);
    }
    if (ownStructureFolder.empty()) {
        ownStructureFolder = scratch.Inside("Structure");
        MakeFile(ownStructureFolder + options.structureName);
    }
    return ownStructureFolder;
}

std::string Host::DataFolder() {
    return options.dataFolder.empty() ? scratch.Inside("Data") : WithBackslash(options.dataFolder);
}

std::string Host::DataFile() {
    std::string path = DataFolder() + options.dataName;
    MakeFile(path);
    return path;
}

std::string Host::PrefsFolder() {
    return options.prefsFolder.empty() ? scratch.Inside("Preferences")
                                       : WithBackslash(options.prefsFolder);
}
