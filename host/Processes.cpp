// The host's processes and their events.

#include "host/Call.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <iterator>

namespace {

// The host's string list with the names of its own processes. The second item deliberately does
// not tell such a process.
constexpr short ownProcessNames = 170;
constexpr short ownProcessItems[] = {1, 3, 4, 5, 6};

/// A name as a Pascal string in `out`; null for null.
const unsigned char* AsPascalString(const char* name, Str255& out) {
    if (name == nullptr) {
        return nullptr;
    }
    _CopyC2PStr(name, out);
    return out;
}

} // namespace

OSErr FourD::NewXProcess(void* proc, const char* name, long stackSize, long* procNum) {
    Str255 text;
    HostCall call(Select("NewProcess"));
    call->param3 = stackSize;
    long unused = 0;
    return call.PutAddress(proc)
        .PutText(AsPascalString(name, text))
        .SendForNumber(procNum != nullptr ? procNum : &unused);
}

OSErr FourD::NewXProcess(char* proc, const unsigned char* name, long stackSize, long* procNum) {
    char text[sizeof(Str255)];
    if (name != nullptr) {
        _CopyP2CStr(name, text);
    }
    return NewXProcess(static_cast<void*>(proc), name != nullptr ? text : nullptr, stackSize,
                       procNum);
}

long FourD::KillXProcess() {
    return HostCall(Select("KillProcess")).Send();
}

long FourD::CurrentProcess() {
    return HostCall(Select("CurrentProcess")).SendForNumber();
}

long FourD::GetNumProcesses() {
    return HostCall(Select("ProcessCounts")).SendForNumber();
}

long FourD::GetNumActiveProcesses() {
    ClassicCall call(Select("ProcessCounts"));
    call.Send();
    return call->param2;
}

long FourD::GetProcessState(long proc) {
    HostCall call(Select("ProcessInfo"));
    call.PutNumbers(proc).Send();
    return call->param2;
}

void FourD::GetProcessName(long proc, char* name) {
    if (name == nullptr) {
        return;
    }
    HostCall call(Select("ProcessInfo"));
    call.PutNumbers(proc).Send();
    Str255 text;
    call.TakeText(text);
    _CopyP2CStr(text, name);
}

void FourD::GetProcessCName(long proc, char* name) {
    GetProcessName(proc, name);
}

void FourD::GetProcessName(long proc, unsigned char* name) {
    if (name == nullptr) {
        return;
    }
    char text[sizeof(Str255)];
    GetProcessName(proc, text);
    _CopyC2PStr(text, name);
}

long FourD::FindProcess(const unsigned char* name) {
    const long count = name != nullptr ? GetNumProcesses() : 0;
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
    return FindProcess(AsPascalString(name, text));
}

unsigned char FourD::IsUserProcess(long proc) {
    ClassicCall call(Select("ProcessInfo"));
    call.PutNumbers(proc).Send();
    if (call->param2 < 0) {
        return 0;
    }
    Str255 name;
    call.TakeText(name);
    const bool isOwn = std::ranges::any_of(ownProcessItems, [&](short item) {
        Str255 own;
        GetIndString(own, ownProcessNames, item);
        return IUEqualString(name, own) == 0;
    });
    return isOwn ? 0 : 1;
}

long FourD::BringProcessToFront(long proc) {
    return HostCall(Select("BringProcessToFront")).PutNumbers(proc).Send();
}

void FourD::PutProcessToSleep(long proc, long duration) {
    HostCall(Select("PutProcessToSleep")).PutNumbers(proc, duration).Send();
}

void FourD::WakeupProcess(long proc) {
    PutProcessToSleep(proc, 0);
}

void FourD::FreezeProcess(long proc) {
    HostCall(Select("FreezeProcess")).PutNumbers(proc).Send();
}

void FourD::UnfreezeProcess(long proc) {
    HostCall(Select("UnfreezeProcess")).PutNumbers(proc).Send();
}

long FourD::SetWindowProcess(GrafPort* window, long proc) {
    return HostCall(Select("SetWindowProcess")).PutWindow(window).PutNumbers(proc).Send();
}

unsigned char FourD::GetNextEvent(unsigned short mask, EventRecord* event) {
    HostCall call(Select("NextEvent"));
    call.PutNumbers(mask, 3).PutAddress(event).Send(); // 3 as the host expects it
    return static_cast<unsigned char>(call->param4);
}

OSErr FourD::PostProcessEvent(long proc, EventRecord* event) {
    return HostCall(Select("PostProcessEvent")).PutNumbers(proc).PutAddress(event).SendForError();
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
    long unused = 0;
    long* const left = free != nullptr ? free : &unused;
    return call.PutNumbers(needed).SendThen(left, [&] { *left = call->param2; });
}

long FourD::ExecuteOnMainThreadV11(void (*proc)(void*), void* arg) {
    EngineCall call(Select("ExecuteOnMainThread"));
    call->mainThreadProc = proc;
    call->mainThreadArg = arg;
    return call.Require(reinterpret_cast<const void*>(proc)).Send();
}

long FourD::SetMessages(long on) {
    return HostCall(Select("SetMessages")).PutNumbers(on).Send();
}

long FourD::Quit() {
    return HostCall(Select("Quit")).Send();
}
