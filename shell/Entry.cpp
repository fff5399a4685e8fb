#include "shell/Entry.h"

#include "host/FourD.h"
#include "platform/Compiler.h"
#include "shell/base/ExceptionBarrier.h"
#include "shell/FourDPlug.h"

#include <cstdint>
#include <cstring>

#include <windows.h>

namespace {

constexpr DWORD PathCapacity = 1024;

HINSTANCE libraryModule;
HINSTANCE hostModule;
char libraryFolder[PathCapacity + 1];
void* entryCallBack;

/// Selectors of the host's calls into a plug-in. Positive ones are command numbers.
namespace PlugSelector {
enum : long {
    Init = -1,
    Deinit = -2,
    ProcessStart = -3,
    ProcessEnd = -4,
    InitEx = -200,
    ClientConnect = -201,
    ClientDisconnect = -202,
    ServerRead = -205,
    ServerWrite = -206,
    ServerCleanup = -207,
    DeinitEx = -220,
};
}

void RecordModules(HINSTANCE library) {
    libraryModule = library;
    hostModule = GetModuleHandleA(nullptr);
    // A name that does not fit is cut and may lack its terminator; the buffer has one.
    char fileName[PathCapacity + 1] = {};
    GetModuleFileNameA(library, fileName, PathCapacity);
    std::memcpy(libraryFolder, fileName, sizeof libraryFolder);
    CutAfterLastBackslash(libraryFolder);
}

} // namespace

void* LibraryModule() {
    return libraryModule;
}

void* HostModule() {
    return hostModule;
}

const char* LibraryFolder() {
    return libraryFolder;
}

void CutAfterLastBackslash(char* path) {
    std::size_t cut = std::strlen(path);
    while (cut > 0 && path[cut - 1] != '\\') {
        --cut;
    }
    path[cut] = '\0';
}

void* EntryCallBack() {
    return entryCallBack;
}

void FourDPlug::PlugMain(long selector, CXParam* params, CXResult* result, long*) {
    FourDPlug* const plug = gFourDPlug;
    if (plug == nullptr) {
        return;
    }
    const CommandEntry* const commands = plug->info->commands;
    if (selector <= 0 || selector > plug->info->commandCount || commands == nullptr) [[unlikely]] {
        return plug->HandleOther(selector, params, result);
    }
    const auto entry = [=] { return HostEntry{"command", selector, commands[selector - 1].name}; };
    KeepExceptionsInside(entry, [=] { plug->HandleCommand(selector, params, result); });
}

/// All that is no command of the plug-in; apart, for the sake of a command's way in.
NIMBO_NOINLINE void FourDPlug::HandleOther(long selector, CXParam* params, CXResult* result) {
    if (selector > 0) { // ignored, as the host's users know it; its author may want to know
        return TellDebugger({"command", selector}, "there is no command of this number");
    }
    KeepExceptionsInside({"selector", selector}, [=, this] {
        HandleEvent(selector, params, reinterpret_cast<std::uint32_t*>(result));
    });
}

/// Hands a host event to its handler. `argument` is what its selector passes, a record or a
/// number; `result` takes an answer, or holds the address of data.
void FourDPlug::HandleEvent(long selector, void* argument, std::uint32_t* result) {
    const auto number = [argument] {
        return static_cast<long>(reinterpret_cast<std::intptr_t>(argument));
    };
    const auto request = [argument] { return static_cast<ReadWriteBlock*>(argument); };
    const auto data = [result] { return reinterpret_cast<char*>(std::uintptr_t{*result}); };

    const bool isRequest =
        selector <= PlugSelector::ClientConnect && selector >= PlugSelector::ServerCleanup;
    const bool isAnswered = isRequest && selector != PlugSelector::ClientDisconnect;
    if ((isRequest && argument == nullptr) || (isAnswered && result == nullptr)) {
        return;
    }
    switch (selector) {
    case PlugSelector::Init:
    case PlugSelector::InitEx: {
        auto* const init = static_cast<PackInitBlock*>(argument);
        if (init != nullptr) {
            FourD::Init(init);
            Init(init);
        }
        break;
    }
    case PlugSelector::Deinit:
    case PlugSelector::DeinitEx:
        Deinit();
        break;
    case PlugSelector::ProcessStart:
        HandleProcessStart(number());
        break;
    case PlugSelector::ProcessEnd:
        HandleProcessEnd(number());
        break;
    case PlugSelector::ClientConnect:
        *result = 0; // without memory for the client, too
        *result = HandleClientConnectOnServer(request()) ? 1 : 0;
        break;
    case PlugSelector::ClientDisconnect:
        HandleClientDisconnectOnServer(request());
        break;
    case PlugSelector::ServerRead:
        *result = reinterpret_cast<std::uint32_t>(HandleReadOnServer(request()));
        break;
    case PlugSelector::ServerWrite:
        HandleWriteOnServer(request(), data());
        break;
    case PlugSelector::ServerCleanup:
        HandleCleanupOnServer(request(), data());
        break;
    default: // nothing for a plug-in
        break;
    }
}

extern "C" {

// The host passes (selector, params, data, result); the dispatcher takes the result before the
// data. It is one with each entry point, so that a command's way in has one frame, that of the
// stack's realignment.
NIMBO_INLINE_ALL HOST_ENTRY void FourDPack(long selector, void* params, void* data, void* result) {
    if (selector == PlugSelector::Init && params != nullptr) [[unlikely]] {
        const auto* init = static_cast<const PackInitBlock*>(params);
        entryCallBack = reinterpret_cast<void*>(init->classicCallBack);
    }
    FourDPlug::PlugMain(selector, static_cast<CXParam*>(params), static_cast<CXResult*>(result),
                        static_cast<long*>(data));
}

NIMBO_INLINE_ALL HOST_ENTRY void FourDPackex(long selector, void* params, void* data,
                                             void* result) {
    FourDPlug::PlugMain(selector, static_cast<CXParam*>(params), static_cast<CXResult*>(result),
                        static_cast<long*>(data));
}

HOST_ENTRY const PlugInfo* FourDPlugInfo() {
    return gFourDPlug != nullptr ? gFourDPlug->Info() : nullptr;
}

/// Load hook of the host interface. It has nothing to set up: everything it needs comes with
/// selector -1.
HOST_ENTRY BOOL FourDDllMain(HINSTANCE, DWORD, LPVOID) {
    return TRUE;
}

HOST_ENTRY BOOL DllMain(HINSTANCE library, DWORD reason, LPVOID reserved) {
    if (reason == DLL_PROCESS_ATTACH) {
        RecordModules(library);
    }
    FourDDllMain(library, reason, reserved);
    return TRUE;
}
}
