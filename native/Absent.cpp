#include "testhost/plugins/DebugText.h"
#include "testhost/plugins/Faults.h"
#include "testhost/plugins/Library.h"
#include "testhost/plugins/Surroundings.h"
#include "testhost/toolbox/memory/ForeignCalls.h"

#include <windows.h>

// What concerns plug-ins in libraries, and other threads: here a plug-in is a part of the program.

PluginLibrary::PluginLibrary(const std::filesystem::path&, std::filesystem::path) {
    throw PluginLoadError("plug-ins in libraries are not for this system");
}

void PluginLibrary::Unload(bool) {}

std::vector<std::string> PluginLibrary::TakeUnloadFaults() {
    return {};
}

void ListenToDebugText() {}

void SetHostThread() {}

void TakeForeignCalls(Problems&) {}

extern "C" IMAGE_DOS_HEADER __ImageBase; // the linker's own
IMAGE_DOS_HEADER __ImageBase;
