#include "testhost/app/Recordings.h"

#include "testhost/app/ExitCodes.h"
#include "testhost/recordings/Show.h"
#include "testhost/session/TranscriptOutput.h"
#include "testhost/session/Words.h"
#include "testhost/values/Encodings.h"

#include <string>

namespace {
RecordingFile Read(const std::filesystem::path& recording) {
    try {
        return ReadRecording(recording);
    } catch (const RecordingError& error) {
        throw ScriptError(Shown(recording) + " cannot be used: " + error.what());
    }
}
} // namespace

int ShowRecordingFile(const std::filesystem::path& recording, const TranscriptSettings& settings,
                      std::ostream& out) {
    const RecordingFile file = Read(recording);
    Progress progress;
    TranscriptOutput output(settings, out, progress);
    Transcript transcript = output.Open();
    ShowRecording(file, Shown(recording.filename()), transcript);
    if (!transcript.IsWritten()) {
        transcript.Say(LineKind::Wrong, NotWritten(settings.file));
        return ExitCode::somethingFailed;
    }
    return file.complaint.empty() ? ExitCode::allHeld : ExitCode::somethingFailed;
}

int ReplayRecordingFile(const std::filesystem::path& recording, const ReplaySettings& settings,
                        std::ostream& out, Progress& progress) {
    RecordingFile file = Read(recording);
    ReplaySettings named = settings;
    named.name = Shown(recording.filename());
    return ReplayRecording(file, named, out, progress) ? ExitCode::allHeld
                                                       : ExitCode::somethingFailed;
}
