#pragma once

#include "testhost/replay/Replay.h"

#include <filesystem>
#include <ostream>

/// Prints a recording as the transcript of a session. Answers the exit code: 0, or 1 when the
/// recording is not whole. Throws ScriptError when it is none, or one of another version.
int ShowRecordingFile(const std::filesystem::path& recording, const TranscriptSettings& settings,
                      std::ostream& out);

/// Plays a recording with a plug-in, in this process. Answers the exit code. Throws as above, and
/// as ReplayRecording does.
int ReplayRecordingFile(const std::filesystem::path& recording, const ReplaySettings& settings,
                        std::ostream& out, Progress& progress);
