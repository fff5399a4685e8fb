// What a plug-in learns about its host when it starts. Every plug-in has these, and with them all
// that stands in the same object: what is asked later, and by few, stands elsewhere.

#include "host/Call.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "shell/files/FileSpecs.h"

#include <algorithm>
#include <iterator>

namespace {

constexpr unsigned long ServerBit = 1UL << 25;
constexpr unsigned long ClientBit = 1UL << 26;

/// "TSAF" in memory order, which goes with ProgramInfo to hosts after 11.x. Why is their affair.
constexpr long ProgramInfoMarker = 0x46415354;

/// Bytes of a path's buffer, with the terminator.
constexpr long PathCapacity = 261;
static_assert(sizeof gHost.structureFolderPath == PathCapacity &&
              sizeof gHost.structureFilePath == PathCapacity &&
              sizeof gHost.prefsFolderPath == PathCapacity);

/// Copies the path that a call answered, which is empty when it is too long, and releases the host
/// string that it may have come in.
void TakePath(HostCall& call, char* path) {
    if (EngineFields* engine = call.EngineOnly()) {
        FDStringBlock string = engine->string;
        FourD::CopyFDStringToCString(&string, path, PathCapacity);
        FourD::DisposeFDStringBlock(&string);
    } else {
        _CopyP2CStr(call->name, path);
    }
}

/// Keeps what a path specifies. False, with an empty specification, when that is nothing, when the
/// path has more than 255 characters, and for an empty one, which would stand for the current
/// folder.
bool Locate(const char* path, decltype(&MakeSpecOfPath) make, FSSpec* spec) {
    Str255 string;
    _CopyC2PStr(path, string);
    const bool found = string[0] != 0 && path[string[0]] == '\0' &&
                       make(0, 0, string, spec) == ResultCode::NoError;
    if (!found) {
        ZeroFileSpec(spec);
    }
    return found;
}

} // namespace

void FourD::Init(PackInitBlock* init) {
    gHost = {};
    gHost.version = init->hostVersion;
    if (gHost.BcdVersion() > 0x05FF) {
        init->acceptedVersion = gHost.version;
    }
    gHost.classicCallBack = init->classicCallBack;
    if (gHost.HasEngine()) {
        gHost.engineCallBack = init->engineCallBack;
    }
    gHost.pluginResID = _GetPluginResID();
    gHost.pluginResFile = CurResFile();
    gHost.programInfo = _GetProgramInfo();
    if (Is4DClient() == 0) {
        _GetStructurePaths(gHost.structureFolderPath, gHost.structureFilePath);
        if (Locate(gHost.structureFolderPath, ASI_FSMakeFSSpec, &gHost.structureFolder)) {
            Locate(gHost.structureFilePath, ASI_FSMakeFSSpec, &gHost.structureFile);
        }
    }
    _GetPrefsFolderPath(gHost.prefsFolderPath);
    Locate(gHost.prefsFolderPath, MakeSpecOfPath, &gHost.prefsFolder);
    gHost.macGlobals = _GetMacGlobals();
    gHost.startupProcess = CurrentProcess();
    gHost.startupWindow = GetFrontmostNonFloatingWindowOfProcess(1);
}

void FourD::Deinit() {}

unsigned char FourD::Is4DClient() {
    return (gHost.programInfo & ClientBit) != 0 ? 1 : 0;
}

unsigned char FourD::Is4DServer() {
    return (gHost.programInfo & ServerBit) != 0 ? 1 : 0;
}

void** _GetMacGlobals() {
    HostCall call(Select("MacGlobals"));
    call.Send();
    return reinterpret_cast<void**>(call->handle);
}

unsigned long _GetProgramInfo() {
    HostCall call(Select("ProgramInfo"));
    if (gHost.BcdVersion() > 0x11FF) {
        call->param3 = ProgramInfoMarker;
    }
    return static_cast<unsigned long>(call.SendForNumber());
}

short _GetPluginResID() {
    return static_cast<short>(HostCall(Select("PluginResID")).SendForNumber());
}

OSErr FourD::Get4DFolderPath(char* path, long kind, unsigned char create) {
    constexpr long FolderMarker = 0x47344446; // "FD4G" in memory order
    HostCall call(Select("HostFolderPath"));
    call->param3 = FolderMarker;
    return call.PutNumbers(kind, create).SendThen(path, [&] { TakePath(call, path); });
}

OSErr FourD::Get4DFolderPath(unsigned char* path, long kind, unsigned char create) {
    char text[PathCapacity];
    const OSErr error = Get4DFolderPath(path != nullptr ? text : nullptr, kind, create);
    if (error == ResultCode::NoError) {
        _CopyC2PStr(text, path);
    }
    return error;
}

long _GetStructurePaths(char* folder, char* file) {
    if (folder == nullptr || file == nullptr) {
        return ResultCode::BadParameter;
    }
    HostCall folderCall(Select("StructureFolderPath"));
    folderCall.Send();
    TakePath(folderCall, folder);
    HostCall nameCall(Select("ProgramInfo"));
    nameCall.Send();
    char name[3 * std::size(EngineFields{}.uniName)] = ""; // three bytes for a unit at most
    if (EngineFields* engine = nameCall.EngineOnly()) {
        engine->uniName[std::size(engine->uniName) - 1] = 0;
        FourD::CopyUniCharsToChars(engine->uniName, name);
    } else {
        _CopyP2CStr(nameCall->name, name);
    }
    FormatText(file, PathCapacity, "%s%s", folder, name);
    return 0;
}

void _GetPrefsFolderPath(char* path) {
    if (path == nullptr) {
        return;
    }
    if (gHost.HasEngine()) {
        path[0] = '\0';
        FourD::Get4DFolderPath(path, 0, 0);
        return;
    }
    constexpr long PathMarker = 0x50415448; // "HTAP" in memory order
    HostCall call(Select("PrefsFolderPath"));
    call->param2 = PathMarker;
    call->param3 = reinterpret_cast<long>(path);
    call->param4 = PathCapacity;
    const long length = call.SendForError() == ResultCode::NoError ? call->param4 : 0;
    path[std::clamp(length, 0L, PathCapacity - 1)] = '\0';
}
