#pragma once

#include "testhost/database/Tables.h"
#include "testhost/model/Options.h"
#include "testhost/plugins/RecorderInPlace.h"
#include "testhost/session/Progress.h"
#include "testhost/session/Script.h"
#include "testhost/session/Transcript.h"

#include <filesystem>
#include <functional>
#include <ostream>

struct Stage;

/// What a script is played with.
struct PlaySettings {
    std::filesystem::path plugin;
    std::filesystem::path resources =
        {};                              ///< empty: PLUGIN.rsrc beside the plug-in, if there is one
    std::filesystem::path pictures = {}; ///< a folder that exists; empty: none are made
    RecorderInPlace recorder = {};       ///< in the plug-in's place; empty: it has its place itself
    HostOptions host = {};
    bool strict = false;
    TranscriptSettings transcript = {};
    /// Runs for each problem, failed expectation and crash while the plug-in is loaded, see
    /// Stage::onFinding; may be empty.
    std::function<void(const std::string& place, const std::string& sentence)> onFinding = {};
    /// Is shown the stage before the first statement; may be empty.
    std::function<void(Stage&)> onReady = {};
};

/// Loads the plug-in, plays the script in a host of its own, unloads the plug-in and prints the
/// account. Answers whether all was well. Throws ScriptError when the resource file is wrong or the
/// transcript cannot be written, and PluginLoadError when the plug-in cannot be loaded for another
/// reason than a crash, unless it once could.
bool PlayScript(const Script& script, Database database, const PlaySettings& settings,
                std::ostream& out, Progress& progress);
