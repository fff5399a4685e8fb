#pragma once

#include "platform/Compiler.h"

#include <span>
#include <string>

class Host;

/// An entry point of a plug-in: selector, parameters, data, result. It removes its arguments.
using PluginEntry = void(NIMBO_STDCALL*)(long selector, void* params, void* data, void* result);

/// Calls a function of a plug-in with four words, as the host does: as the current host, logged
/// under `selector` and `what`, on a stack that is aligned to 4 bytes only. Reports, with `who` in
/// front ("Command 3"), what the function should have kept and did not: registers, flags, modes of
/// the floating-point units, the stack; and what is wrong with the variables that it touched.
/// Answers how many bytes of its arguments, 0 to 16, the function left on the stack.
long CallPlugin(Host& host, PluginEntry function, void* const words[4], long selector,
                std::string what, const std::string& who);

/// The same for a function that leaves its arguments, any number of them, to its caller, and that
/// is not logged.
void CallPluginProcedure(Host& host, const void* function, std::span<void* const> words,
                         const std::string& who);

/// A call's text as it stands in the name of a place: not more than a line.
std::string Shortened(std::string call);

struct PluginFrame;
/// The call into a plug-in that the running task is in; null outside. The scheduler keeps it for
/// each task. Code that finds it by name is in PluginEntry.cpp.
extern PluginFrame* innermostPluginFrame NIMBO_SYMBOL("_innermostPluginFrame");
