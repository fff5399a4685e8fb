#pragma once

/// Begins a line on the debugger's console that tells of a fault in a plug-in: a stand-in host
/// counts it as a problem, people find it by it. Other plug-ins may write it, too.
constexpr char PluginProblemMark[] = "[plug-in problem] ";
