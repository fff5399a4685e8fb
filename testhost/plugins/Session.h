#pragma once

#include "testhost/model/Host.h"
#include "testhost/model/HostedPlugin.h"
#include "testhost/model/PluginEntry.h"
#include "testhost/plugins/Arguments.h"

#include <string_view>

struct EntryPoints {
    PluginEntry pack = nullptr;   ///< FourDPack
    PluginEntry packEx = nullptr; ///< FourDPackex; may be null
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

    /// To be called when the plug-in has been stopped for good and nothing else that was made
    /// since the session began is still needed: frees the host's variables, reports toolbox blocks,
    /// and strings and pictures of the host that are the plug-in's to release, which are alive and
    /// files that are open nevertheless, and problems that the toolbox noticed in the meantime.
    void ReportLeaks();
    /// The part of that which concerns the host alone, not the toolbox that all hosts share: what
    /// is left to report of a further host.
    void ReportHostLeaks();

  private:
    static void CollectToolboxProblems(Host& host);

    static long toolboxProblemsSeen;
    EntryPoints entries;
    bool started = false;
    short resFile = 0;         ///< the plug-in's resource file that the toolbox was told of
    unsigned long firstSerial; ///< what the toolbox made up to it is not the session's
};
