// The host's processes and their events.

#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/Toolbox.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace {

constexpr long longestName = 255;

// The host's string list with the names of its own processes. The second item deliberately does
// not tell such a process.
constexpr short ownProcessNames = 170;
constexpr short ownProcessItems[] = {1, 3, 4, 5, 6};

// The host's commands that show and hide a process.
constexpr short showCommand = 325;
constexpr short hideCommand = 324;

/// Sends a call that takes nothing but a number.
long SendWithNumber(Selector selector, long number) {
    HostCall call(selector);
    call->param1 = number;
    return call.Send();
}

/// The name that the host left in a classic record, whatever length it claims.
void TakeClassicName(HostCall& call, unsigned char* name) {
    constexpr size_t most = sizeof(ParameterBlock::valueText) - 1;
    const unsigned char* text = call.ValueText();
    const size_t length = std::min<size_t>(text[0], most);
    name[0] = static_cast<unsigned char>(length);
    std::copy_n(text + 1, length, name + 1);
}

void StoreName(HostCall& call, const char* name) {
    EngineFields* engine = call.EngineOnly();
    if (engine == nullptr) {
        _CopyC2PStrN(name, call.ValueText(), sizeof(ParameterBlock::valueText) - 1);
        return;
    }
    char text[longestName + 1]; // a byte becomes one unit at most
    _CopyCStrN(name, text, longestName);
    FourD::CopyCharsToUniChars(text, engine->uniText);
}

OSErr ExecForProcess(short command, long proc) {
    char name[256];
    char statement[256];
    FourD::GetCommandNameC(command, name);
    std::snprintf(statement, sizeof statement, "%s(%d)", name, static_cast<int>(proc));
    return FourD::ExecProc(statement);
}

} // namespace

OSErr FourD::NewXProcess(void* proc, const char* name, long stackSize, long* procNum) {
    if (procNum != nullptr) {
        *procNum = 0;
    }
    HostCall call(Select("NewProcess"));
    call->handle = static_cast<Handle>(proc);
    call->param3 = stackSize;
    StoreName(call, name);
    call.Send();
    if (call->error == 0 && procNum != nullptr) {
        *procNum = call->param1;
    }
    return call->error;
}

OSErr FourD::NewXProcess(char* proc, const unsigned char* name, long stackSize, long* procNum) {
    char text[longestName + 1];
    _CopyP2CStr(name, text);
    return NewXProcess(static_cast<void*>(proc), text, stackSize, procNum);
}

long FourD::KillXProcess() {
    return HostCall(Select("KillProcess")).Send();
}

long FourD::CurrentProcess() {
    HostCall call(Select("CurrentProcess"));
    call.Send();
    return call->param1;
}

long FourD::GetNumProcesses() {
    HostCall call(Select("ProcessCounts"));
    call.Send();
    return call->param1;
}

long FourD::GetNumActiveProcesses() {
    ClassicCall call(Select("ProcessCounts"));
    call.Send();
    return call->param2;
}

long FourD::GetProcessState(long proc) {
    HostCall call(Select("ProcessInfo"));
    call->param1 = proc;
    call.Send();
    return call->param2;
}

void FourD::GetProcessName(long proc, char* name) {
    HostCall call(Select("ProcessInfo"));
    call->param1 = proc;
    call.Send();
    EngineFields* engine = call.EngineOnly();
    if (engine == nullptr) {
        Str255 text;
        TakeClassicName(call, text);
        _CopyP2CStr(text, name);
        return;
    }
    char text[std::size(EngineFields{}.uniText) * 4] = ""; // in any code page
    engine->uniText[std::size(engine->uniText) - 1] = 0;
    CopyUniCharsToChars(engine->uniText, text);
    _CopyCStrN(text, name, longestName);
}

void FourD::GetProcessCName(long proc, char* name) {
    GetProcessName(proc, name);
}

void FourD::GetProcessName(long proc, unsigned char* name) {
    char text[longestName + 1];
    GetProcessName(proc, text);
    _CopyC2PStr(text, name);
}

long FourD::FindProcess(const unsigned char* name) {
    const long count = GetNumProcesses();
    for (long proc = 1; proc <= count; ++proc) {
        Str255 found;
        GetProcessName(proc, found);
        if (IUEqualString(found, name) == 0 && GetProcessState(proc) >= 0) {
            return proc;
        }
    }
    return 0;
}

long FourD::FindProcess(const char* name) {
    Str255 text;
    _CopyC2PStr(name, text);
    return FindProcess(text);
}

unsigned char FourD::IsUserProcess(long proc) {
    ClassicCall call(Select("ProcessInfo"));
    call->param1 = proc;
    call.Send();
    if (call->param2 < 0) {
        return 0;
    }
    Str255 name;
    TakeClassicName(call, name);
    const bool isOwn = std::ranges::any_of(ownProcessItems, [&](short item) {
        Str255 own;
        GetIndString(own, ownProcessNames, item);
        return IUEqualString(name, own) == 0;
    });
    return isOwn ? 0 : 1;
}

long FourD::BringProcessToFront(long proc) {
    return SendWithNumber(Select("BringProcessToFront"), proc);
}

void FourD::PutProcessToSleep(long proc, long duration) {
    HostCall call(Select("PutProcessToSleep"));
    call->param1 = proc;
    call->param2 = duration;
    call.Send();
}

void FourD::WakeupProcess(long proc) {
    PutProcessToSleep(proc, 0);
}

void FourD::FreezeProcess(long proc) {
    SendWithNumber(Select("FreezeProcess"), proc);
}

void FourD::UnfreezeProcess(long proc) {
    SendWithNumber(Select("UnfreezeProcess"), proc);
}

OSErr FourD::ShowProcess(long proc) {
    return ExecForProcess(showCommand, proc);
}

OSErr FourD::HideProcess(long proc) {
    return ExecForProcess(hideCommand, proc);
}

long FourD::SetWindowProcess(GrafPort* window, long proc) {
    HostCall call(Select("SetWindowProcess"));
    call->handle = reinterpret_cast<Handle>(window);
    call->param1 = proc;
    return call.Send();
}

unsigned char FourD::GetNextEvent(unsigned short mask, EventRecord* event) {
    HostCall call(Select("NextEvent"));
    call->param1 = mask;
    call->param2 = 3; // as the host expects it
    call->handle = reinterpret_cast<Handle>(event);
    call.Send();
    return static_cast<unsigned char>(call->param4);
}

OSErr FourD::PostProcessEvent(long proc, EventRecord* event) {
    HostCall call(Select("PostProcessEvent"));
    call->param1 = proc;
    call->handle = reinterpret_cast<Handle>(event);
    call.Send();
    return call->error;
}

unsigned char FourD::IsProcessDying() {
    HostCall call(Select("IsProcessDying"));
    call.Send();
    return call->flag1;
}

long FourD::YieldToOthers() {
    return HostCall(Select("YieldToOthers")).Send();
}

void FourD::YieldAbsolute() {
    HostCall(Select("YieldAbsolute")).Send();
}

OSErr FourD::CheckFreeStack(long needed, long* free) {
    HostCall call(Select("CheckFreeStack"));
    call->param1 = needed;
    call.Send();
    if (call->error == 0 && free != nullptr) {
        *free = call->param2;
    }
    return call->error;
}

long FourD::ExecuteOnMainThreadV11(void (*proc)(void*), void* arg) {
    EngineCall call(Select("ExecuteOnMainThread"));
    call->mainThreadProc = proc;
    call->mainThreadArg = arg;
    return call.Send();
}

long FourD::SetMessages(long on) {
    return SendWithNumber(Select("SetMessages"), on);
}

long FourD::Quit() {
    return HostCall(Select("Quit")).Send();
}
