#include "platform/ResultCodes.h"
#include "testhost/engine/Services.h"

namespace {
// The program information word.
constexpr unsigned long hostCompiledBit = 1UL << 23;
constexpr unsigned long serverBit = 1UL << 25;
constexpr unsigned long clientBit = 1UL << 26;
constexpr unsigned long callerCompiledBit = 1UL << 27;
constexpr unsigned long messagesBit = 1UL << 28;

constexpr unsigned long structureNameMarker = 0x46415354; // "TSAF" in memory order
// Bits that a plug-in must not rely on are rubbish here, so that relying on them shows.
constexpr unsigned long rubbish = 0x5AA5;

unsigned long ProgramInformation(const HostOptions& options) {
    unsigned long word = 0;
    word |= options.role == Role::Server ? serverBit : 0;
    word |= options.role == Role::Client ? clientBit : 0;
    word |= options.callerCompiled ? callerCompiledBit : 0;
    word |= options.hostCompiled && options.version >= 0x1100 ? hostCompiledBit : 0;
    word |= options.messages ? messagesBit : 0;
    return word;
}

// Major in bits 16-23, minor in 24-27, fix in 28-31.
unsigned long PackedVersion(unsigned short version) {
    unsigned long major = version >> 8;
    unsigned long minor = version >> 4 & 0xF;
    unsigned long fix = version & 0xF;
    return fix << 28 | minor << 24 | major << 16 | rubbish;
}

void ProgramInfo(ServiceCall& call) {
    const HostOptions& options = call.host.options;
    // From 12.0 on an engine call may carry a marker; nothing else belongs in its place.
    auto marker = static_cast<unsigned long>(call.fields.param3);
    if (marker != 0 && (marker != structureNameMarker || options.version < 0x1200)) {
        call.host.Report("selector -56 (ProgramInfo): param3 holds neither 0 nor a marker that a "
                         "host of this version knows.");
    }
    call.fields.param1 = static_cast<long>(ProgramInformation(options));
    call.fields.param2 = static_cast<long>(PackedVersion(options.version));
    if (call.IsEngine()) {
        StoreUtf16(call.engine->uniName, options.structureName);
    } else {
        StorePascal(call.fields.name, options.structureName);
    }
}

void PluginResID(ServiceCall& call) {
    long identifier = call.host.options.pluginResID;
    // Of the engine's answer only the low 16 bits count.
    call.fields.param1 =
        call.IsEngine() ? static_cast<long>(rubbish << 16 | (identifier & 0xFFFF)) : identifier;
}

void CheckFreeStack(ServiceCall& call) {
    if (call.fields.param1 > call.host.options.freeStack) {
        call.fields.error = ResultCode::MemoryFull;
        return;
    }
    call.fields.param2 = call.host.options.freeStack;
}

void ExecuteOnMainThread(ServiceCall& call) {
    if (call.engine->mainThreadProc == nullptr) {
        call.host.Report("selector -663 (ExecuteOnMainThread) came without a function.");
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    call.engine->mainThreadProc(call.engine->mainThreadArg);
}

constexpr Service services[] = {
    {Select("PluginResID"), RecordField::None, PluginResID},
    {Select("ProgramInfo"), RecordField::None, ProgramInfo, RecordField::Param3},
    {Select("SetMessages"), RecordField::Param1,
     [](ServiceCall& call) { call.host.options.messages = call.fields.param1 != 0; }},
    {Select("SetupMacOSEnv"), RecordField::None,
     [](ServiceCall& call) { call.host.macEnvironment = true; }},
    {Select("Setup4DEnv"), RecordField::None,
     [](ServiceCall& call) { call.host.macEnvironment = false; }},
    {Select("Reals64"), RecordField::None,
     [](ServiceCall& call) { call.fields.param1 = call.host.options.reals64 ? 1 : 0; }},
    {Select("PlatformInterface"), RecordField::None,
     [](ServiceCall& call) { call.fields.param1 = call.host.options.platformInterface; }},
    {Select("MacGlobals"), RecordField::None,
     [](ServiceCall& call) { call.fields.handle = reinterpret_cast<Handle>(call.host.Globals()); }},
    {Select("CheckFreeStack"), RecordField::Param1, CheckFreeStack},
    {Select("ExecuteOnMainThread"), RecordField::MainThreadProc | RecordField::MainThreadArg,
     ExecuteOnMainThread},
    {Select("Quit"), RecordField::None, [](ServiceCall& call) { call.host.quitRequested = true; }},
};
} // namespace

std::span<const Service> EnvironmentServices() {
    return services;
}
