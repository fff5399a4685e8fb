#pragma once

#include "host/boundary/PlugInfo.h"
#include "platform/Compiler.h"

/// @family Module handles as recorded when the library was loaded: of the library, and of the host
/// application's executable.
void* LibraryModule();
void* HostModule();

/// Folder that holds the library, with its trailing backslash; empty when Windows could not
/// tell. At most 1,024 characters.
const char* LibraryFolder();

/// Cuts a file's `path`, zero-terminated, after its last backslash; a path without one becomes
/// empty.
void CutAfterLastBackslash(char* path);

// Entry points, exported by these names.
extern "C" {
/// The host's call on hosts with the classic call-back, for a command or an event, by its number,
/// `selector`. `params`: the command's parameters, the event's record or number. `result`: where
/// the answer goes. `data` is not looked at.
HOST_ENTRY void FourDPack(long selector, void* params, void* data, void* result);
/// The same call with the same `selector`, `params`, `data` and `result`, as newer hosts make it.
HOST_ENTRY void FourDPackex(long selector, void* params, void* data, void* result);
/// The plug-in's description, for tools; null while there is no plug-in object. No host asks.
HOST_ENTRY const PlugInfo* FourDPlugInfo();
}

/// Call-back that a host passed with selector -1, kept beside the one that FourD::Init keeps.
void* EntryCallBack();
