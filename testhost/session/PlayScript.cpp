#include "testhost/session/PlayScript.h"

#include "testhost/plugins/Library.h"
#include "testhost/session/Player.h"
#include "testhost/session/PluginResources.h"
#include "testhost/session/TranscriptOutput.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <optional>
#include <utility>

#include <windows.h>

bool PlayScript(const Script& script, Database database, const PlaySettings& settings,
                std::ostream& out, Progress& progress) {
    TranscriptOutput outputs(settings.transcript, out, progress);
    Transcript transcript = outputs.Open();
    ToolboxSetStrict(settings.strict ? 1 : 0);
    progress.statements = script.statements.size();
    progress.Enter(Progress::Phase::Loading);
    std::optional<PluginLibrary> library;
    try {
        library.emplace(settings.plugin, settings.recorder.For(settings.plugin));
    } catch (const PluginLoadError& error) {
        const bool crashed = dynamic_cast<const PluginLoadCrash*>(&error) != nullptr;
        if (!crashed && progress.resumeFrom == 0) {
            throw;
        }
        const std::string sentence = std::string(crashed ? "CRASHED " : "") + error.what();
        if (settings.onFinding) {
            settings.onFinding("", sentence);
        }
        progress.account.crashes += crashed ? 1 : 0;
        progress.account.notPlayed += script.statements.size() - progress.resumeFrom;
        transcript.Say(LineKind::Wrong, sentence);
        transcript.Say(LineKind::Wrong, progress.account.Describe());
        return false;
    }
    const PluginResources resources(settings.plugin, settings.resources);
    HostOptions hostOptions = settings.host;
    hostOptions.pluginResFile = resources.RefNum();
    Host host(hostOptions);
    host.ScratchPath(); // made here, where it may fail, rather than amid the plug-in's calls
    host.database = std::move(database);
    Session session(host, library->Entries());
    Player player(session, std::move(transcript), &progress);
    player.libraryFolder = library->Folder();
    player.stage.plugin = settings.plugin;
    player.stage.recorder = settings.recorder;
    if (hostOptions.pluginResFile != 0) {
        player.stage.resources = resources.File();
    }
    player.stage.pictures = settings.pictures;
    player.stage.reload = [&](long rounds) {
        library->Reload(rounds);
        return library->Entries();
    };
    player.stage.onFinding = settings.onFinding;
    if (settings.onReady) {
        settings.onReady(player.stage);
    }
    player.PlayAll(script);
    progress.Enter(Progress::Phase::Unloading);
    library->Unload(true);
    for (const std::string& fault : PluginLibrary::TakeUnloadFaults()) {
        host.Report(fault);
    }
    host.HearAsides();
    if (player.stage.transcript.IsWritten()) {
        return player.Finish();
    }
    player.stage.transcript.Say(LineKind::Wrong, NotWritten(settings.transcript.file));
    player.Finish();
    return false;
}
