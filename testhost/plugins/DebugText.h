#pragma once

/// From now on the host whose plug-in code runs hears what is told to a debugger: a line that
/// begins with PluginProblemMark is a problem. What other threads tell is set aside.
void ListenToDebugText();
