#pragma once

#include "testhost/recordings/File.h"
#include "testhost/session/Transcript.h"

#include <string>

/// Prints a recording as the transcript of a session: what it says of itself, what crossed, and how
/// it ends. `name` is the file's.
void ShowRecording(const RecordingFile& file, const std::string& name, Transcript& transcript);

/// A crossing into the plug-in by the first event of it, as people call it: "command 3(long 7)".
std::string EntryName(const RecordingFile& file, const RecordedEvent& event);
/// A crossing either way: "command 3(long 7)", "GetVariable (-15, classic)".
std::string CrossingName(const RecordingFile& file, const RecordedEvent& event);
/// A call into the host, likewise.
std::string CallName(Recording::Way way, long selector);
