#pragma once

// What the plug-ins of this folder have in common, and what is right in all of them: the entry
// point, and the way into the host.

#include "host/boundary/Calls.h"
#include "host/boundary/PlugInfo.h"
#include "host/boundary/Selectors.h"
#include "platform/Compiler.h"

#include <cstddef>

/// Each plug-in is built twice: with its fault, and without.
constexpr bool isBroken = IS_BROKEN;

/// A parameter of a command: where the host keeps it.
class CXParam {
  public:
    template <typename T>
    T& As() const {
        return *static_cast<T*>(storage);
    }

  private:
    void* storage;
};

/// The result of a command: small ones stand in the cell, for others it leads to their storage.
class CXResult {
  public:
    void SetLong(long value) { cell = value; }
    template <typename T>
    T& As() const {
        return *reinterpret_cast<T*>(cell);
    }

  private:
    long cell;
};

/// What the host calls for besides commands.
namespace HostEvent {
enum : long {
    Start = -1,
    Stop = -2,
    ProcessStart = -3,
    ProcessEnd = -4,
    OtherStart = -200,     ///< comes to a plug-in's event handler as Start
    ClientConnects = -201, ///< does not come to an event handler
    ClientLeaves = -202,
    ServerRead = -205,
    ServerWrite = -206,
    ServerCleanUp = -207,
    OtherStop = -220, ///< comes as Stop
};
} // namespace HostEvent

#pragma pack(push, 2)

/// One request of a client to the server's copy. Little of it is there when a client comes or goes.
struct ServerRequest {
    long call;
    short kind;
    long size; ///< of what came with a write; of what answers a read
};

#pragma pack(pop)

static_assert(offsetof(ServerRequest, size) == 6);

/// Takes what is no command. A start comes once, before its stop, whatever the host does. `result`
/// is where a request of a client is answered, or finds its data.
using EventHandler = void (*)(long selector, void* params, void** result);

struct Plugin {
    PlugInfo info;
    EventHandler onEvent;
};

/// Each source defines its own.
extern const Plugin plugin;

template <size_t Count>
constexpr Plugin Describe(const char* name, const CommandEntry (&commands)[Count],
                          EventHandler onEvent = nullptr) {
    PlugInfo info{};
    info.recordVersion = 1;
    info.recordSize = sizeof info;
    info.productName = name;
    info.creator = 0x42726B6E; // 'Brkn'
    info.version = 0x01008000;
    info.commandCount = Count;
    info.commands = commands;
    return {info, onEvent};
}

/// Hands a call of the host to the plug-in's command or event handler, and lets every client in.
void Dispatch(long selector, void* params, void** result);

/// Sends a record to the host; answers its result code. Between a start and its stop only.
OSErr CallHost(ClassicSelector selector, ParameterBlock& record);
/// The same with the record of hosts from 11.0 on.
OSErr CallHost(EngineSelector selector, FDEngineBlock& record);

/// The host's version as 0x1130 is 11.3; 0 when the plug-in is not started.
unsigned HostVersion();

/// Lets the host's other processes run.
void Yield();

/// A text as the host keeps strings; it has to have at most 255 characters.
void PutString(unsigned char* string, const char* text);

extern "C" {
HOST_ENTRY void FourDPack(long selector, void* params, void* data, void** result);
NIMBO_STDCALL const PlugInfo* FourDPlugInfo();
}
