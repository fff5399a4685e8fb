#pragma once

#include "testhost/model/Host.h"
#include "testhost/model/HostedPlugin.h"
#include "testhost/model/PluginEntry.h"
#include "testhost/plugins/Arguments.h"
#include "testhost/plugins/CommandTable.h"

#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct EntryPoints {
    PluginEntry pack = nullptr;       ///< FourDPack
    PluginEntry packEx = nullptr;     ///< FourDPackex; may be null
    PlugInfoEntry describe = nullptr; ///< FourDPlugInfo; may be null
};

/// Binds a host to one plug-in and makes the host's calls into it: as the current host, with
/// each crossing logged, on a stack that is aligned to 4 bytes only.
class Session final : public HostedPlugin {
  public:
    Session(Host& sessionHost, EntryPoints entryPoints);
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /// Initialises the plug-in with selector -1, or -200 (through FourDPackex when it is there).
    void Start(long selector = -1);
    /// De-initialises it with -2, or -220 (through FourDPackex when it is there).
    void Stop(long selector = -2);
    bool IsStarted() const override { return started; }
    /// The commands that the plug-in says it has, asked for once; null when it hands out no table.
    const CommandTable* Commands();
    bool wasStarted = false; ///< ever; also by a process that played before this one, and crashed

    /// Starts a process in the host, tells the plug-in (-3) and answers its number.
    long ProcessStart(std::string_view name);
    /// Ends a process in the host and tells the plug-in (-4).
    void ProcessEnd(long number);

    /// Calls a command, and reads parameters changed in place from `arguments` afterwards.
    TypedValue Call(long command, Arguments& arguments, ValueKind result = ValueKind::None);
    /// The same for parameters that nobody looks at afterwards. Pointers are laid out as the
    /// host's compiled flags say.
    TypedValue Call(long command, const std::vector<TypedValue>& values,
                    ValueKind result = ValueKind::None);

    void Enter(long selector, void* params, void* data, void* result, std::string what) override;
    /// The same with whichever entry point.
    void EnterBy(PluginEntry entry, void* const words[4], std::string what);

    /// To be called when the plug-in has been stopped for good and nothing else that was made
    /// since the session began is still needed: frees the host's variables, reports toolbox blocks,
    /// and strings and pictures of the host that are the plug-in's to release, which are alive and
    /// files that are open nevertheless, and problems that the toolbox noticed in the meantime.
    void ReportLeaks();
    /// The part of that which concerns the host alone, not the toolbox that all hosts share: what
    /// is left to report of a further host.
    void ReportHostLeaks();

    /// The same amid a session, while the plug-in is not started: what is told is told no more, and
    /// the variables keep their values. Failures that were asked for are still to come.
    void ReportLeaksSoFar();
    /// The plug-in has been loaded again. Without an entry point nothing can be entered.
    void SetEntries(EntryPoints entryPoints) { entries = entryPoints; }

  private:
    /// What a command that is over was lent.
    struct LentCall {
        std::string call; ///< "command 5() (a.session:3)"
        std::vector<std::shared_ptr<LentBytes>> parameters;
        std::vector<std::shared_ptr<LentBytes>> result;
    };

    void ReportHostLeftOvers();
    void ReportToolboxLeftOvers();
    static void CollectToolboxProblems(Host& host);
    void CheckUsage(long command, Arguments& arguments);
    void TakeBack(const std::string& call, Arguments& arguments, const ResultCell& result);
    void CheckTakenBack();

    static long toolboxProblemsSeen;
    EntryPoints entries;               ///< `describe` until it was called
    std::optional<CommandTable> table; ///< the plug-in's, once it was asked for
    std::deque<LentCall> over;         ///< the last commands, oldest first
    bool started = false;
    short resFile = 0;         ///< the plug-in's resource file that the toolbox was told of
    unsigned long firstSerial; ///< what the toolbox made up to it is not the session's
};
