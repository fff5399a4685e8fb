// Loads a library of its own when it is started and never frees it: after each stop and start one
// more hold is on it, and it stays with the host when the plug-in has gone.

#include "examples/broken/Plugin.h"

#include <cstring>

#include <windows.h>

namespace {
HMODULE library;

// Helper.dll stands beside the plug-in.
HMODULE LoadHelper() {
    constexpr DWORD whereThisIs =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    HMODULE plugIn = nullptr;
    GetModuleHandleExA(whereThisIs, reinterpret_cast<const char*>(&library), &plugIn);
    char path[MAX_PATH + 16] = "";
    GetModuleFileNameA(plugIn, path, MAX_PATH);
    char* const backslash = std::strrchr(path, '\\');
    std::strcpy(backslash != nullptr ? backslash + 1 : path, "Helper.dll");
    return LoadLibraryA(path);
}

void OnEvent(long selector, void*, void**) {
    if (selector == HostEvent::Start) {
        library = LoadHelper();
    } else if (selector == HostEvent::Stop && !isBroken && library != nullptr) {
        FreeLibrary(library);
    }
}

void HasHelper(CXParam*, CXResult* result) {
    result->SetLong(library != nullptr ? 1 : 0);
}

constexpr CommandEntry Commands[] = {{"Has helper", "() -> boolean", HasHelper}};
} // namespace

const Plugin plugin = Describe("LibraryStays", Commands, OnEvent);
