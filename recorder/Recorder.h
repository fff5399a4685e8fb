#pragma once

#include "host/boundary/Calls.h"
#include "platform/Compiler.h"
#include "recorder/EventWriter.h"
#include "recorder/OutputFile.h"
#include "testhost/plugins/CommandTable.h"

#include <cstdint>
#include <span>
#include <string>

// The recorder stands between a host and a plug-in: it has the plug-in's entry points, and hands
// the plug-in call-backs of its own. Each crossing goes on as it came; what either side sees is as
// without it.

/// An entry point of the plug-in: selector, parameters, data, result.
using PluginEntryPoint = void(NIMBO_STDCALL*)(long selector, void* params, void* data,
                                              void* result);

/// The plug-in for which the recorder stands. All null: it cannot be loaded.
struct RecordedPlugin {
    void* module = nullptr;
    PluginEntryPoint pack = nullptr;
    PluginEntryPoint packEx = nullptr; ///< null: it has none
    PlugInfoEntry describe = nullptr;  ///< null: it has none
};

/// The library is loaded, is this module; loads nothing yet.
void AttachRecorder(void* module);
/// It is unloaded, or the process ends: then the plug-in is left where it is.
void DetachRecorder(bool processEnds);

/// Loads the plug-in when it is first asked for.
const RecordedPlugin& ThePlugin();
/// Begins the recording with the first crossing. Answers whether there is one.
bool BeginRecording();

/// A crossing that is recorded while it goes on: its beginning where this is made, its end where
/// End is called. One that is never ended was left: its process was killed, or something was
/// thrown. What the last error of the system is stays as it is.
class RecordedCrossing {
  public:
    /// `root` is what is handed over, and stays where it is; `function` the plug-in's where the
    /// crossing has no selector; `frame` lies in the stack frame of whoever makes this.
    RecordedCrossing(Recording::Way way, long selector, std::span<const unsigned char> root,
                     const void* frame, const void* function = nullptr);
    RecordedCrossing(const RecordedCrossing&) = delete;
    RecordedCrossing& operator=(const RecordedCrossing&) = delete;

    /// `sent` is a copy of the root as it was at the beginning, `returned` the answer: of calls.
    void End(std::span<const unsigned char> sent = {}, long returned = 0);

  private:
    void Write(Recording::Chunk chunk, std::span<const unsigned char> sent, long returned);

    Event event;
};

/// Says something in the recording.
void WriteNote(const std::string& text);
/// Takes down what a call about a host handle tells of its size.
void LearnHandleSize(const CallFields& sent, const CallFields& answered);
