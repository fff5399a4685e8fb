#pragma once

#include "platform/Types.h"
#include "testhost/engine/CallLog.h"
#include "testhost/engine/ScratchFolder.h"

#include <array>
#include <functional>
#include <iterator>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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
    // Folders in the system ANSI code page; where none is given the host makes one of its own.
    std::string structureFolder = {};
    std::string dataFolder = {};
    std::string prefsFolder = {};
};

namespace ProcessState {
inline constexpr long Executing = 0;
inline constexpr long Ended = -1; ///< every negative state means that the process is gone
} // namespace ProcessState

/// One of the host's processes. Its number is its place in Host::processes, from 1; a process
/// that has ended stays there.
struct HostProcess {
    std::string name; ///< system ANSI code page
    long state = ProcessState::Executing;
    bool isUser = true;   ///< false for the host's own processes
    bool isDying = false; ///< asked to end: what IsProcessDying answers in it
};

namespace WindowKind {
inline constexpr short External = 5;
inline constexpr short Regular = 8;
inline constexpr short Modal = 9;
inline constexpr short Floating = 14;
} // namespace WindowKind

struct HostWindow {
    GrafPort port;     ///< the record that plug-ins see
    long process;      ///< number of the process that owns it
    long nativeWindow; ///< stands for the handle of a window of Windows; never 0, never twice
};

/// The host's windows, front to back, with the chain of records that plug-ins walk.
class WindowList {
  public:
    /// Opens a window in front of all others. The record lives until the list is destroyed or
    /// the window is removed.
    HostWindow& AddInFront(long process, short kind, bool visible = true);
    /// Takes the window out of the list and frees its record.
    void Remove(const GrafPort* port);
    void Clear();
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
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// The host whose plug-in code is running; null outside every Scope.
    static Host* Current() { return current; }

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

    /// Whether the host has the engine call-back (11.0 and later).
    bool HasEngine() const { return options.version >= 0x1100; }

    /// Starts a process in the model and answers its number. Tells no plug-in.
    long AddProcess(HostProcess process);
    /// The process of this number; null when there never was one.
    HostProcess* FindProcess(long number);
    /// Number of the first living process of this name; 0 when there is none.
    long FindProcess(std::string_view name) const;

    /// Notes a misbehaviour of the plug-in, as a whole sentence.
    void Report(std::string problem);

    /// Address of the host's globals record, an array of 32-bit words; null when
    /// options.hasGlobals is off.
    void** Globals() { return options.hasGlobals ? globals.data() : nullptr; }

    // The host's folders, with a backslash at the end. Those that the options do not name are in
    // the scratch folder; each is made when it is first asked for, the structure folder with an
    // empty structure file in it.
    std::string StructureFolder();
    std::string DataFolder();
    std::string PrefsFolder();
    /// A folder for whatever a test or a session needs; it goes with the host.
    std::string ScratchPath() { return scratch.Path(); }

    HostOptions options;
    std::vector<HostProcess> processes; ///< process 1 first
    long currentProcess = 1;            ///< the process in which plug-in code runs
    WindowList windows; ///< at first a regular window of process 1, with a floating one in front
    CallLog log;
    std::vector<std::string> problems; ///< oldest first; callers may clear it
    /// Runs for every problem that is reported; may be empty.
    std::function<void(const std::string&)> onProblem;

    bool macEnvironment = false; ///< set by SetupMacOSEnv, cleared by Setup4DEnv
    bool quitRequested = false;
    /// Runs whenever plug-in code lets other processes run; may be empty.
    std::function<void()> onYield;

  private:
    static Host* current;
    std::array<void*, 32> globals{};
    ScratchFolder scratch;
};
