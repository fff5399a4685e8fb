#pragma once

#include "platform/CallingConvention.h"

/// Runs `body` and keeps everything it throws on this side: nothing thrown may cross into the
/// host. Every call from the host goes through here once; what a handler wrote before it threw
/// stands.
template <typename Body>
void KeepExceptionsInside(Body body) noexcept {
    try {
        body();
    } catch (...) { // the host has no way to be told
    }
}

/// Module handles as recorded when the library was loaded: of the library, and of the host
/// application's executable.
void* LibraryModule();
void* HostModule();

/// Folder that holds the library, with its trailing backslash; empty when Windows could not
/// tell. At most 1,024 characters.
const char* LibraryFolder();

/// Cuts a file's path after its last backslash; a path without one becomes empty.
void CutAfterLastBackslash(char* path);

// Entry points, exported by these names.
extern "C" {
/// The host's call on hosts with the classic call-back.
HOST_ENTRY void FourDPack(long selector, void* params, void* data, void* result);
/// The same call, as newer hosts make it.
HOST_ENTRY void FourDPackex(long selector, void* params, void* data, void* result);
}

/// Call-back that a host passed with selector -1, kept beside the one that FourD::Init keeps.
void* EntryCallBack();
