#pragma once

#include "host/Styles.h"
#include "platform/Types.h"
#include "testhost/crossings/Log.h"
#include "testhost/database/Database.h"
#include "testhost/model/Names.h"
#include "testhost/model/Process.h"
#include "testhost/model/Scheduler.h"
#include "testhost/model/ScratchFolder.h"
#include "testhost/model/StructureResources.h"
#include "testhost/screen/Areas.h"
#include "testhost/screen/Dialogs.h"
#include "testhost/values/Pictures.h"
#include "testhost/values/Strings.h"
#include "testhost/values/Variables.h"

#include <array>
#include <functional>
#include <iterator>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

class Network;
class Session;

enum class Role { SingleUser, Client, Server };

/// Reads "11.3" or "12.1.2" as the host's version word: 0x1130, 0x1212. Nothing when the text
/// is not such a version or lies outside 6.0 to 12.x.
std::optional<unsigned short> ParseHostVersion(std::string_view text);
/// The version word as text: "11.3", with the fix digit only when it is not 0.
std::string HostVersionText(unsigned short version);

/// What a host is from the start. Every member may also be changed while the host lives,
/// except the version and the role, which a plug-in reads once at its start.
struct HostOptions {
    unsigned short version = 0x1130; ///< BCD: major, then minor and fix digits
    Role role = Role::SingleUser;
    bool callerCompiled = false; ///< the calling database runs compiled
    bool hostCompiled = false;   ///< the host database runs compiled (11.0 and later)
    bool messages = true;        ///< progress messages are shown
    bool reals64 = true;         ///< reals are 64-bit
    bool hasGlobals = true;      ///< the host hands out its globals record
    long platformInterface = 2;
    short pluginResID = 15000;
    short pluginResFile = 0;    ///< made current around the plug-in's start; 0 leaves it alone
    long freeStack = 64 * 1024; ///< bytes, as CheckFreeStack answers
    std::string structureName = "Demo.4DB";
    std::string dataName = "Demo.4DD";
    std::string currentUser = "Designer";
    std::string machine = "Workstation";
    std::string machineOwner = "Owner";
    // Folders in the system ANSI code page; where none is given the host makes one of its own.
    std::string structureFolder = {};
    std::string dataFolder = {};
    std::string prefsFolder = {};
    /// Where its processes run, together with those of other hosts; null for one of its own.
    std::shared_ptr<Scheduler> scheduler = {};
};

namespace WindowKind {
inline constexpr short External = 5;
inline constexpr short Regular = 8;
inline constexpr short Modal = 9;
inline constexpr short Floating = 14;
} // namespace WindowKind

struct HostWindow {
    GrafPort port;           ///< the record that plug-ins see
    long process;            ///< number of the process that owns it
    long nativeWindow;       ///< stands for the handle of a window of Windows; never 0, never twice
    bool focusable = true;   ///< floating windows are not, at first
    TEHandle text = nullptr; ///< of a window of the method editor; platform handles
    short currentLine = 0;   ///< in that text
    Region content{};        ///< the region that the record refers to
    Region* contentMaster = nullptr;
};

/// The host's windows, front to back, with the chain of records that plug-ins walk.
class WindowList {
  public:
    /// Opens a window in front of all others. The record lives until the list is destroyed or
    /// the window is removed.
    HostWindow& AddInFront(long process, short kind, bool visible = true);
    /// Takes the window out of the list and frees its record.
    void Remove(const GrafPort* port);
    /// Brings the windows of a process in front of all others, in their order.
    void BringToFront(long process);
    void Clear();
    /// Makes the window one of the method editor, with this text.
    static void SetMethodText(HostWindow& window, std::string_view text);
    /// Takes the texts of all windows away.
    void DisposeMethodTexts();
    /// The window with this record; null when there is none.
    HostWindow* Find(const void* port);
    /// Front to back, from 0.
    HostWindow& At(size_t place) { return *std::next(windows.begin(), static_cast<long>(place)); }
    size_t Count() const { return windows.size(); }
    /// The platform's window-list variable: the frontmost window's record, null when none is open.
    GrafPort** Head() { return &head; }

  private:
    void Chain();

    std::list<HostWindow> windows; // a list, because plug-ins keep the records' addresses
    GrafPort* head = nullptr;
};

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

    /// The host whose plug-in code is running; null outside every Scope.
    static Host* Current() { return current; }
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

    /// Whether the host has the engine call-back (11.0 and later).
    bool HasEngine() const { return options.version >= 0x1100; }

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

    /// Notes a misbehaviour of the plug-in, as a whole sentence.
    void Report(std::string problem);

    /// Makes the next call of this service (a name from host/Selectors.h) answer `code` and do
    /// nothing else; said several times, the calls after it, in turn. One that is never made is a
    /// problem, see Session::ReportLeaks.
    void FailNext(std::string_view service, short code);
    /// The code that this call is to fail with, taken out of the account; nothing when it is not.
    std::optional<short> TakeFailure(std::string_view service);
    /// Reports the failures that are left over, and forgets them.
    void ReportUnusedFailures();

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

    HostOptions options;
    std::vector<HostProcess> processes; ///< process 1 first
    long currentProcess = 1;            ///< the process in which plug-in code runs
    long frontProcess = 1;
    const std::shared_ptr<Scheduler> scheduler; ///< runs the processes; its own, or its options'
    Network* network = nullptr;     ///< that it serves or is connected to; null when there is none
    std::vector<Session*> sessions; ///< of its plug-ins; each enters and leaves by itself
    WindowList windows; ///< at first a regular window of process 1, with a floating one in front
    const void* focusedWindow = nullptr; ///< record of the window with the keyboard focus
    long updateContext = 0;              ///< drawing context of the update under way
    HostStrings strings{*this};
    HostPictures pictures{*this};
    CallLog log;
    Database database; ///< at first without tables
    Language language;
    Areas areas{*this}; ///< of plug-ins, in dialogs
    Boxes boxes{*this};
    long printerProcess = 0; ///< the process that holds the printer; 0 when it is free
    bool tipsEnabled = true;
    std::vector<std::string> tips;          ///< those that plug-ins had shown, oldest first
    std::optional<std::string> pictureEdit; ///< what the user makes of a picture; nothing: cancels
    int aboutShown = 0;                     ///< how often the about box was shown
    StructureResources structureResources;  ///< at first none
    /// Background, white, grey and black, as on platform interface 2.
    SysColors4D systemColors{{{0xC0C0, 0xC0C0, 0xC0C0},
                              {0xFFFF, 0xFFFF, 0xFFFF},
                              {0x4040, 0x4040, 0x4040},
                              {0x0000, 0x0000, 0x0000}}};
    std::vector<std::string> problems; ///< oldest first; callers may clear it
    /// Runs for every problem that is reported; may be empty.
    std::function<void(const std::string&)> onProblem;

    bool macEnvironment = false; ///< set by SetupMacOSEnv, cleared by Setup4DEnv
    bool quitRequested = false;
    /// Runs whenever plug-in code lets other processes run; may be empty.
    std::function<void()> onYield;

    HostVariables variables{*this}; // goes first: its values hold strings and pictures
    Dialogs dialogs{*this};         // but after the dialogs, which hold variables and windows

  private:
    void PublishCommandNames() const;

    static Host* current;
    std::array<void*, 32> globals{};
    std::vector<std::pair<std::string, short>> failures; ///< FailNext's, oldest first
    ScratchFolder scratch;
};
