#include "testhost/replay/Replay.h"

#include "testhost/replay/Folders.h"
#include "testhost/replay/RecordedHost.h"
#include "testhost/session/PluginResources.h"
#include "testhost/session/TranscriptOutput.h"
#include "testhost/toolbox/Control.h"

#include <cstring>
#include <memory>

namespace {
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
    RecordedHost recordedHost(file, settings, session, library->Entries(), transcript, progress);
    progress.Enter(Progress::Phase::Playing);
    recordedHost.Play();
    progress.Enter(Progress::Phase::Stopping);
    if (recordedHost.IsStopped()) {
        recordedHost.ReleaseCrossed();
        session.ReportLeaks();
    }
    if (recordedHost.IsOver()) {
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
    return recordedHost.Finish();
}
