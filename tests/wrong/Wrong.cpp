// A plug-in in plain C++, without the framework, each command of which goes wrong in its own way,
// which the stand-in host has to outlive and to tell. tests/check-wrong has what it says of each.

#include "host/boundary/Calls.h"
#include "platform/CallingConvention.h"

#include <cstdlib>
#include <cstring>

#include <windows.h>

namespace {
volatile int zero = 0;
volatile int* volatile nowhere = nullptr;

long (*classic)(long, ParameterBlock*);

DWORD WINAPI CrashAlone(void*) {
    return static_cast<DWORD>(*nowhere);
}

DWORD WINAPI CallHost(void*) {
    ParameterBlock block{};
    classic(91, &block); // the current process
    return 0;
}

void InThread(LPTHREAD_START_ROUTINE work) {
    HANDLE thread = CreateThread(nullptr, 0, work, nullptr, 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

int Recurse(int depth) {
    volatile char room[4096];
    room[0] = static_cast<char>(depth);
    return Recurse(depth + 1) + room[0];
}

void Misbehave(long way) {
    switch (way) {
    case 1:
        exit(0);
    case 2:
        ExitProcess(0);
    case 3:
        TerminateProcess(GetCurrentProcess(), 0);
        break;
    case 4:
        abort();
    case 5:
        for (;;) {
            zero = 0;
        }
    case 6:
        Sleep(INFINITE);
        break;
    case 7:
        MessageBoxA(nullptr, "nobody answers", "Wrong", MB_OK);
        break;
    case 8:
        WaitForSingleObject(CreateEventA(nullptr, TRUE, FALSE, nullptr), INFINITE);
        break;
    case 9:
        zero = *nowhere;
        break;
    case 10:
        *nowhere = 1;
        break;
    case 11:
        Recurse(0);
        break;
    case 12:
        reinterpret_cast<void (*)()>(0x12345678)();
        break;
    case 13:
        zero = 7 / zero;
        break;
    case 14:
        InThread(CrashAlone);
        break;
    case 15:
        throw way;
    case 16:
        InThread(CallHost);
        break;
    case 17:
        OutputDebugStringA("[plug-in problem] Wrong.dll says so\n");
        break;
    default:
        break;
    }
}

// Ways to go wrong elsewhere than in a command: WRONG_AT says where, WRONG_WAY how.
bool IsAt(const char* place) {
    char at[32] = "";
    GetEnvironmentVariableA("WRONG_AT", at, sizeof at);
    return std::strcmp(at, place) == 0;
}

void MisbehaveAt(const char* place) {
    char way[8] = "";
    if (IsAt(place) && GetEnvironmentVariableA("WRONG_WAY", way, sizeof way) > 0) {
        Misbehave(atol(way));
    }
}

struct Static {
    ~Static() { MisbehaveAt("unload"); }
} theStatic;
} // namespace

extern "C" {
HOST_ENTRY void FourDPack(long selector, void* params, void*, void*) {
    if (selector == -1) {
        auto* init = static_cast<PackInitBlock*>(params);
        init->acceptedVersion = init->hostVersion;
        classic = init->classicCallBack;
        MisbehaveAt("start");
    } else if (selector == -2) {
        MisbehaveAt("stop");
    } else if (selector == -3) {
        MisbehaveAt("process");
    } else {
        Misbehave(selector);
    }
}

HOST_ENTRY BOOL DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        MisbehaveAt("load");
    }
    return TRUE;
}
}
