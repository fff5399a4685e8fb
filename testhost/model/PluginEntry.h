#pragma once

#include <string>

class Host;

/// An entry point of a plug-in: selector, parameters, data, result. It removes its arguments.
using PluginEntry = void(__attribute__((__stdcall__)) *)(long selector, void* params, void* data,
                                                         void* result);

/// Calls a function of a plug-in with four words, as the host does: as the current host, logged
/// under `selector` and `what`, on a stack that is aligned to 4 bytes only. Answers how many bytes
/// of its arguments the function left on the stack.
long CallPlugin(Host& host, PluginEntry function, void* const words[4], long selector,
                std::string what);
