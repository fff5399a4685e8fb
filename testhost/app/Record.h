#pragma once

#include "testhost/plugins/RecorderInPlace.h"

#include <filesystem>
#include <functional>
#include <ostream>

/// Has `play` play a session in processes of its own, with the recorder between host and plug-in,
/// and says which files were made: RECORDING, or what `recording` names, and for a further host
/// "RECORDING-anna". Answers what `play` does. Throws ScriptError when there is no recorder, or
/// nothing can be written there.
int Record(const std::filesystem::path& plugin, const std::filesystem::path& recording,
           const std::function<int()>& play, std::ostream& out);

/// In such a process: what is to stand in the plug-in's place; empty in any other.
RecorderInPlace RecorderToPlayWith();
