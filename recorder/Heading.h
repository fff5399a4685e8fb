#pragma once

#include "recorder/OutputFile.h"
#include "recorder/Settings.h"
#include "testhost/plugins/CommandTable.h"

#include <string>

/// The file of a module.
std::wstring PathOf(void* module);

/// Makes the file of a recording that begins now, "NAME 2026-11-23 06-31-05.recording": in the
/// settings' folder, else in the one for temporary files. Answers whether it could.
bool CreateRecording(const Settings& settings, OutputFile& file);

/// What stands in front: what this is, for whoever opens it, and where it comes from. `recorder`
/// and `plugin` are their modules.
void WriteHeading(const Settings& settings, void* recorder, void* plugin, OutputFile& file);
/// The plug-in's commands as it describes them.
void WriteCommands(const CommandTable& commands, OutputFile& file);
