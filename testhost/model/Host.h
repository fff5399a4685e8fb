#pragma once

#include "host/boundary/Styles.h"
#include "testhost/crossings/Log.h"
#include "testhost/database/Tables.h"
#include "testhost/model/Language.h"
#include "testhost/model/Options.h"
#include "testhost/model/Process.h"
#include "testhost/model/ScratchFolder.h"
#include "testhost/model/StructureResources.h"
#include "testhost/model/ToolboxFailures.h"
#include "testhost/screen/Boxes.h"
#include "testhost/screen/Dialogs.h"
#include "testhost/screen/Windows.h"
#include "testhost/values/Pictures.h"
#include "testhost/values/Strings.h"
#include "testhost/values/Variables.h"

#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class HostedPlugin;
class Network;

/// A host: the model that the two call-backs serve. Several hosts may live side by side; the
/// call-backs serve the one whose Scope was entered last.
///
///     Host host({.version = 0x1130, .role = Role::Client});
///     Session session(host, EntryPoints{FourDPack, FourDPackex});
///     session.Start();
///     Host::Scope inside(host); // from here on plug-in code may also be called directly
class Host {
  public:
    explicit Host(HostOptions hostOptions = {});
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    // --- What a host consists of ---------------------------------------------------------------

    HostOptions options;
    const std::shared_ptr<Scheduler> scheduler; ///< runs the processes; its own, or its options'
    Network* network = nullptr; ///< that it serves or is connected to; null when there is none
    std::vector<HostedPlugin*> plugins; ///< each enters and leaves by itself
    CallLog log;                        ///< all that crossed the boundary
    /// That were reported, oldest first; of very many only the first. Callers may clear it.
    std::vector<std::string> problems;
    size_t problemsNotKept = 0;
    /// Runs for every problem, also for one that shows when the host is cleared away; may be empty.
    std::function<void(const std::string&)> onProblem;
    /// Runs for every line that a plug-in told a debugger; may be empty.
    std::function<void(const std::string&)> onDebugText;

    std::vector<HostProcess> processes; ///< process 1 first
    long currentProcess = 1;            ///< the process in which plug-in code runs
    long frontProcess = 1;
    long printerProcess = 0; ///< the process that holds the printer; 0 when it is free

    WindowList windows; ///< at first a regular window of process 1, with a floating one in front
    const void* focusedWindow = nullptr; ///< record of the window with the keyboard focus
    long updateContext = 0;              ///< drawing context of the update under way
    Boxes boxes{log};
    int aboutShown = 0; ///< how often the about box was shown
    bool tipsEnabled = true;
    std::vector<std::string> tips; ///< the first ones that plug-ins had shown, oldest first
    /// What users make of the pictures that plug-ins have them edit, in turn; nothing means that
    /// they cancel, which they also do when none is left.
    std::deque<std::optional<std::string>> pictureEdits;
    /// Background, white, grey and black, as on platform interface 2.
    SysColors4D systemColors{{{0xC0C0, 0xC0C0, 0xC0C0},
                              {0xFFFF, 0xFFFF, 0xFFFF},
                              {0x4040, 0x4040, 0x4040},
                              {0x0000, 0x0000, 0x0000}}};

    Database database;                     ///< at first without tables
    StructureResources structureResources; ///< at first none
    Language language;
    HostStrings strings;
    HostPictures pictures;
    HostVariables variables; // goes before strings and pictures, which its values hold
    Dialogs dialogs;         // goes first: dialogs hold variables and windows

    const std::string* scriptPlace = nullptr; ///< where the script stands that is played; or null
    bool macEnvironment = false;              ///< set by SetupMacOSEnv, cleared by Setup4DEnv
    bool quitRequested = false;

    /// Runs, once, when plug-in code next calls the host, before the call is served.
    std::function<void()> onNextCall;
    /// Runs whenever plug-in code lets other processes run; may be empty.
    std::function<void()> onYield;

    // --- Which host, which process ---------------------------------------------------------------

    /// The host whose plug-in code is running; null outside every Scope.
    static Host* Current() { return current; }
    /// Whether plug-in code that is called by a host runs in this thread: all hosts live in one.
    static bool IsOwnThread();
    /// For the scheduler, which has each process find its own.
    static void SetCurrent(Host* host) { current = host; }

    /// Makes a host the current one, and puts the former one back at the end.
    class Scope {
      public:
        explicit Scope(Host& host) : former(current) { current = &host; }
        ~Scope() { current = former; }
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

      private:
        Host* former;
    };

    /// Makes a process the current one, and puts the former one back at the end.
    class InProcess {
      public:
        InProcess(Host& itsHost, long process)
            : host(itsHost), former(std::exchange(itsHost.currentProcess, process)) {}
        ~InProcess() { host.currentProcess = former; }
        InProcess(const InProcess&) = delete;
        InProcess& operator=(const InProcess&) = delete;

      private:
        Host& host;
        long former;
    };

    // --- Processes -----------------------------------------------------------------------------

    /// Starts a process in the model and answers its number. Tells no plug-in.
    long AddProcess(HostProcess process);
    /// Starts a process that runs `body` on a stack of its own from its first turn on, and ends
    /// with it; the plug-ins are told of both. 0 when there is no memory for the stack (in bytes).
    long StartProcess(std::string name, long stackSize, std::function<void()> body);
    /// Ends a process, wherever it stands, and tells the plug-ins. Does not come back when it is
    /// the one that runs on its own stack.
    void EndProcess(long number);
    /// Ends the current process if it has asked for it.
    void EndKilledProcess();
    /// Asks all processes with a stack of their own to end and lets them; reports those that do
    /// not, and drops them.
    void EndOwnProcesses();
    /// Tells the plug-ins that a process starts (-3) or ends (-4), in that process.
    void TellPlugins(long selector, long number);
    /// Puts an event into a living process's queue; false when there is none of this number.
    bool PostEvent(long number, const EventRecord& event);
    /// The process of this number; null when there never was one.
    HostProcess* FindProcess(long number);
    /// Number of the first living process of this name; 0 when there is none.
    long FindProcess(std::string_view name) const;

    // --- What went wrong, and what is to ---------------------------------------------------------

    /// Notes a misbehaviour of the plug-in, as a whole sentence.
    void Report(const std::string& problem);
    /// Whether what a plug-in calls a problem is one; else the host has asked for it.
    bool complaintsAreProblems = true;
    /// Takes notice of what a plug-in told a debugger: each line is a problem or a remark.
    void HearDebugText(std::string_view text);
    /// Takes notice of all that was set aside.
    void HearAsides();
    size_t ProblemCount() const { return problems.size() + problemsNotKept; }

    /// Makes the next call of this service (a name from host/boundary/Selectors.h) answer `code`
    /// and do nothing else; said several times, the calls after it, in turn. One that is never made
    /// is a problem, see Session::ReportLeaks.
    void FailNext(std::string_view service, short code);
    /// The same of the `count`-th call from now, whichever service it asks for.
    void FailCall(long count, short code) { countedFailures.push_back({count, count, code}); }
    /// The code that this call is to fail with, taken out of the account; nothing when it is not.
    std::optional<short> TakeFailure(std::string_view service);
    /// Reports the failures that are left over, those of the toolbox among them, and forgets them.
    void ReportUnusedFailures();

    // --- What it says of itself ------------------------------------------------------------------

    /// Whether the host has the engine call-back (11.0 and later).
    bool HasEngine() const { return options.version >= 0x1100; }
    /// Makes it just the host that it were if it had been made with this version: to be called
    /// before its plug-ins start. False, and nothing has changed, when the version would change how
    /// the variables lie that it has already.
    bool SetVersion(unsigned short version);
    /// Number that the command of this name answers: 0 single-user, 4 client, 5 server.
    long ApplicationType() const;
    /// Gives a command of the language another name, see Language::RenameCommand. Hosts up to 8.0
    /// keep the names in string list 8 of the system file, too.
    bool RenameCommand(long number, std::string name);
    /// Address of the host's globals record, an array of 32-bit words; null when
    /// options.hasGlobals is off.
    void** Globals() { return options.hasGlobals ? globals.data() : nullptr; }

    // The host's folders, with a backslash at the end. Those that the options do not name are in
    // the scratch folder; each is made when it is first asked for, the structure folder with an
    // empty structure file in it.
    std::string StructureFolder();
    std::string DataFolder();
    /// Path of the data file, which is made, empty, when it is missing.
    std::string DataFile();
    std::string PrefsFolder();
    /// A folder for whatever a test or a session needs; it goes with the host.
    std::string ScratchPath() { return scratch.Path(); }

  private:
    Reporter Reporting() {
        return [this](const std::string& problem) { Report(problem); };
    }
    ValueLayout LayoutOfVariables();
    void PublishCommandNames() const;

    static Host* current;
    std::array<void*, 32> globals{};
    std::vector<std::pair<std::string, short>> failures; ///< FailNext's, oldest first
    struct CountedFailure {
        long count; ///< as it was asked for
        long left;
        short code;
    };
    std::vector<CountedFailure> countedFailures; ///< FailCall's, oldest first
    ScratchFolder scratch;
    std::string ownStructureFolder; ///< once it was made
};
