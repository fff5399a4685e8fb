// A plug-in in plain C++, without the framework, each command of which goes wrong in its own way,
// which the stand-in host has to outlive and to tell. tests/check-wrong has what it says of each.

#include "host/boundary/Calls.h"
#include "host/boundary/Values.h"
#include "platform/Compiler.h"
#include "platform/Toolbox.h"

#include <cstdlib>
#include <cstring>

#include <windows.h>

extern "C" int changesRegister; // ebx, which functions must keep
int changesRegister = 0;

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

DWORD WINAPI CallToolbox(void*) {
    DisposeHandle(NewHandle(5));
    return 0;
}

// What goes wrong without an end: the host finds it afterwards. `parameters` are those of the
// command.
void Spoil(long way, void** parameters) {
    static Handle handle = nullptr;
    const char* bytes = nullptr;
    switch (way) {
    case 30: // two blocks are left over
        for (int count = 0; count < 2; ++count) {
            PtrToHand("Hello", &handle, 5);
        }
        break;
    case 31: // one is released
        handle = NewHandle(5);
        DisposeHandle(handle);
        break;
    case 32: // and once more
        DisposeHandle(handle);
        break;
    case 33: // a block is written to that has moved
        handle = NewHandle(5);
        bytes = *handle;
        DisposeHandle(NewHandle(5));
        const_cast<char*>(bytes)[2] = 'x';
        DisposeHandle(handle);
        break;
    case 34: // a block is written behind its end
        handle = NewHandle(5);
        (*handle)[5] = 'x';
        DisposeHandle(handle);
        break;
    case 35: // (text)
        static_cast<TextBlock*>(parameters[0])->length = 99;
        break;
    case 36: // (text)
        DisposeHandle(static_cast<TextBlock*>(parameters[0])->text);
        break;
    case 37: // (date)
        static_cast<DateBlock*>(parameters[0])->month = 13;
        break;
    case 38: // (boolean)
        *static_cast<unsigned char*>(parameters[0]) = 7;
        break;
    case 39: // (long)
        static_cast<long*>(parameters[0])[1] = 7;
        break;
    case 40:
        changesRegister = 1;
        break;
    case 41:
        __asm__ volatile("std" ::: "memory");
        break;
    case 42: {
        const unsigned short control = 0x027F;
        __asm__ volatile("fldcw %0" ::"m"(control));
        break;
    }
    default:
        break;
    }
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
    case 18:
        InThread(CallToolbox);
        break;
    case 19:
        CloseHandle(GetStdHandle(STD_OUTPUT_HANDLE));
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
HOST_CALL void Pack(long selector, void* params) {
    changesRegister = 0;
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
        Spoil(selector, static_cast<void**>(params));
    }
}

// FourDPack. The compiler would put the register back.
__asm__(".text\n"
        ".globl _FourDPack@16\n"
        "_FourDPack@16:\n\t"
        ".cfi_startproc\n\t" // exceptions find their way by this
        "pushl 8(%esp)\n\t"
        ".cfi_adjust_cfa_offset 4\n\t"
        "pushl 8(%esp)\n\t"
        ".cfi_adjust_cfa_offset 4\n\t"
        "call _Pack\n\t"
        "addl $8, %esp\n\t"
        ".cfi_adjust_cfa_offset -8\n\t"
        "cmpl $0, _changesRegister\n\t"
        "je 1f\n\t"
        "movl $5, %ebx\n"
        "1:\n\t"
        "ret $16\n\t"
        ".cfi_endproc");

HOST_ENTRY BOOL DllMain(HINSTANCE, DWORD reason, LPVOID) {
    if (reason == DLL_PROCESS_ATTACH) {
        MisbehaveAt("load");
    }
    return TRUE;
}
}
