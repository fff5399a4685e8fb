#include "platform/ResultCodes.h"
#include "testhost/services/Service.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <utility>

#include <windows.h>

namespace {
// The program information word.
constexpr unsigned long hostCompiledBit = 1UL << 23;
constexpr unsigned long serverBit = 1UL << 25;
constexpr unsigned long clientBit = 1UL << 26;
constexpr unsigned long callerCompiledBit = 1UL << 27;
constexpr unsigned long messagesBit = 1UL << 28;

constexpr unsigned long structureNameMarker = 0x46415354; // "TSAF" in memory order
constexpr long prefsFolderMarker = 0x50415448;            // "HTAP" in memory order
constexpr long hostFolderMarker = 0x47344446;             // "FD4G" in memory order
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
    const std::string name = options.hasStructure ? options.structureName : std::string();
    if (call.IsEngine()) {
        StoreUtf16(call.engine->uniName, name);
    } else {
        StorePascal(call.fields.name, name);
    }
}

void PluginResID(ServiceCall& call) {
    long identifier = call.host.options.pluginResID;
    // Of the engine's answer only the low 16 bits count.
    call.fields.param1 =
        call.IsEngine() ? static_cast<long>(rubbish << 16 | (identifier & 0xFFFF)) : identifier;
}

// A path in `name`; in an engine call as a host string that becomes the plug-in's.
void AnswerPath(ServiceCall& call, const std::string& path) {
    if (call.IsEngine()) {
        call.engine->string = call.host.strings.Create(path);
    } else {
        StorePascal(call.fields.name, path);
    }
}

// The path of the structure's folder. A client has none, nor has a host without a structure.
void StructureFolderPath(ServiceCall& call) {
    const HostOptions& options = call.host.options;
    if (options.role == Role::Client || !options.hasStructure) {
        call.fields.error = ResultCode::FileNotFound;
        return;
    }
    AnswerPath(call, call.host.StructureFolder());
}

bool IsFolder(const std::wstring& path) {
    const DWORD attributes = GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Makes those on the way to the last backslash that are missing, as far as it goes.
void MakeFolders(const std::wstring& path) {
    for (size_t end = path.find(L'\\'); end != std::wstring::npos;
         end = path.find(L'\\', end + 1)) {
        CreateDirectoryW(path.substr(0, end).c_str(), nullptr);
    }
}

// The path of one of the host's folders: kind 0 is the preferences', those up to 9 are in it and
// are made on request.
void HostFolderPath(ServiceCall& call) {
    constexpr long lastKind = 9;
    const long kind = call.fields.param1;
    call.fields.error = ResultCode::BadParameter;
    if (call.fields.param3 != hostFolderMarker) {
        return call.host.Report("selector -427 (HostFolderPath): param3 does not hold the marker "
                                "that the call takes.");
    }
    if (kind < 0 || kind > lastKind) {
        return;
    }
    std::string folder = call.host.PrefsFolder();
    if (kind != 0) {
        folder += "Folder " + std::to_string(kind) + "\\";
        const std::wstring path = FromAnsi(folder);
        if (call.fields.param2 != 0) {
            MakeFolders(path);
        }
        if (!IsFolder(path)) {
            call.fields.error = ResultCode::FileNotFound;
            return;
        }
    }
    call.fields.error = ResultCode::NoError;
    AnswerPath(call, folder);
}

// The path of the preferences folder into the caller's buffer: its address in param3, its size in
// param4, which answers the length. No terminator is written; there has to be room for one.
void PrefsFolderPath(ServiceCall& call) {
    auto* buffer = reinterpret_cast<char*>(call.fields.param3);
    const long size = std::exchange(call.fields.param4, 0);
    call.fields.error = ResultCode::BadParameter;
    if (call.fields.param2 != prefsFolderMarker) {
        return call.host.Report("selector 115 (PrefsFolderPath): param2 does not hold the marker "
                                "that the call takes.");
    }
    if (buffer == nullptr || size < 1) {
        return call.host.Report("selector 115 (PrefsFolderPath) came without a buffer.");
    }
    const std::string folder = call.host.PrefsFolder();
    const auto length = static_cast<long>(folder.size());
    if (length < size) {
        std::copy(folder.begin(), folder.end(), buffer);
        call.fields.param4 = length;
        call.fields.error = ResultCode::NoError;
    }
}
} // namespace

std::span<const Service> EnvironmentServices() {
    static constexpr Service services[] = {
        {Select("PluginResID"), RecordField::None, PluginResID},
        {Select("ProgramInfo"), RecordField::None, ProgramInfo, RecordField::Param3},
        {Select("StructureFolderPath"), RecordField::None, StructureFolderPath},
        {Select("HostFolderPath"), RecordField::Param1 | RecordField::Param2 | RecordField::Param3,
         HostFolderPath},
        {Select("PrefsFolderPath"), RecordField::Param2 | RecordField::Param3 | RecordField::Param4,
         PrefsFolderPath},
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
         [](ServiceCall& call) {
             call.fields.handle = reinterpret_cast<Handle>(call.host.Globals());
         }},
        {Select("Quit"), RecordField::None,
         [](ServiceCall& call) { call.host.quitRequested = true; }},
    };
    return services;
}
