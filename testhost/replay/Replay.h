#pragma once

#include "testhost/recordings/File.h"
#include "testhost/session/Progress.h"
#include "testhost/session/Transcript.h"

#include <filesystem>
#include <ostream>
#include <string>

/// What a recording is played with.
struct ReplaySettings {
    std::filesystem::path plugin;
    std::filesystem::path resources = {}; ///< empty: PLUGIN.rsrc beside it, if there is one
    std::string name;                     ///< of the recording, in UTF-8
    bool strict = false;                  ///< see ToolboxSetStrict
    bool goesOn = false;                  ///< after a difference, as far as it can
    TranscriptSettings transcript = {};
};

/// Loads the plug-in and plays the host's part from the recording: the same entries with the same
/// arguments, and to each call the recorded answer. Prints what crosses, each difference between
/// what the plug-in does and what was recorded, and what is wrong otherwise. Answers whether all of
/// it was played and all was well. Throws ScriptError when the resource file is wrong or the
/// transcript cannot be written, and PluginLoadError when the plug-in cannot be loaded.
/// Folders that the host named and that are not here are replaced in `file`, see ReplacedFolders.
bool ReplayRecording(RecordingFile& file, const ReplaySettings& settings, std::ostream& out,
                     Progress& progress);
