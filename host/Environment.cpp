// What can be asked of the host about itself, its versions and its files.

#include "host/Call.h"
#include "host/Formulas.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "shell/files/FileSpecs.h"

#include <algorithm>
#include <iterator>

namespace {

// Bits of the program information word.
constexpr unsigned long HostCompiledBit = 1UL << 23;
constexpr unsigned long CallerCompiledBit = 1UL << 27;
constexpr unsigned long MessagesBit = 1UL << 28;

unsigned char AnyOf(unsigned long word, unsigned long bits) {
    return (word & bits) != 0 ? 1 : 0;
}

/// Program information through the engine record, always without the marker.
unsigned long EngineProgramInfo() {
    return static_cast<unsigned long>(EngineCall(Select("ProgramInfo")).SendForNumber());
}

long SwitchEnvironment(Selector selector, unsigned char mode) {
    HostCall call(selector);
    const long answer = call.Send();
    gHost.macEnvironment = mode;
    return answer;
}

/// Specification of the folder that holds a file.
OSErr FolderOf(OSErr (*fileOf)(FSSpec* spec), FSSpec* spec) {
    const OSErr error = fileOf(spec);
    if (error != ResultCode::NoError) {
        return error;
    }
    const unsigned char noName = 0;
    return FSMakeFSSpec(spec->vRefNum, spec->parID, &noName, spec);
}

} // namespace

long FourD::GetVersion() {
    ClassicCall call(Select("ProgramInfo"));
    call.Send();
    return call->param2;
}

long FourD::Get4DVersionBCD() {
    return GetVersion() >> 16;
}

void FourD::Get4DVersion(long* major, long* minor, long* fix) {
    const auto version = static_cast<unsigned long>(GetVersion());
    // Deliberate: the parts are sign-extended, so a digit of 8 or 9 comes back negative; callers
    // compare them as they are.
    const auto store = [version](long* part, int left, int right) {
        if (part != nullptr) {
            *part = static_cast<long>(version << left) >> right;
        }
    };
    store(major, 8, 24);
    store(minor, 4, 28);
    store(fix, 0, 28);
}

long FourD::Get4DProgram() {
    return ClassicCall(Select("ProgramInfo")).SendForNumber();
}

void FourD::VersToVers4D(unsigned long version, unsigned char* out) {
    if (out == nullptr) {
        return;
    }
    const auto byteAt = [version](int shift) {
        return static_cast<unsigned char>(version >> shift);
    };
    constexpr std::pair<unsigned char, char> Stages[] = {
        {0x20, 'D'}, {0x40, 'A'}, {0x60, 'B'}, {0x80, 'F'}};
    const auto* const stage =
        std::ranges::find(Stages, byteAt(8), &std::pair<unsigned char, char>::first);
    char digits[7];
    _CharToHex(byteAt(0), digits);
    _CharToHex(byteAt(24), digits + 2);
    _CharToHex(byteAt(16), digits + 4);
    out[0] = 8;
    out[1] = stage != std::end(Stages) ? stage->second : '0';
    out[2] = '0';
    std::memcpy(out + 3, digits, 6);
}

unsigned char FourD::IsCompiled() {
    return AnyOf(_GetProgramInfo(),
                 gHost.HasEngine() ? HostCompiledBit | CallerCompiledBit : CallerCompiledBit);
}

unsigned char FourD::IsV11HostCompiled() {
    return AnyOf(EngineProgramInfo(), HostCompiledBit);
}

unsigned char FourD::IsV11CallerCompiled() {
    return AnyOf(EngineProgramInfo(), CallerCompiledBit);
}

unsigned char FourD::GetMessages() {
    return AnyOf(static_cast<unsigned long>(Get4DProgram()), MessagesBit);
}

long FourD::Setup4DEnv() {
    return SwitchEnvironment(Select("Setup4DEnv"), 0);
}

long FourD::SetupMacOSEnv() {
    return SwitchEnvironment(Select("SetupMacOSEnv"), 1);
}

long FourD::GetPlatformInterface(long* kind) {
    if (kind == nullptr) {
        return ResultCode::BadParameter;
    }
    HostCall call(Select("PlatformInterface"));
    const OSErr error = call.SendForError();
    *kind = call->param1; // whatever the result
    return error;
}

unsigned char FourD::Reals64() {
    return HostCall(Select("Reals64")).SendForNumber() != 0 ? 1 : 0;
}

OSErr FourD::GetStructFile(FSSpec* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(spec);
    const FSSpec& kept = gHost.structureFile;
    if (Is4DClient() != 0 || kept.name[0] == 0) {
        return ResultCode::FileNotFound;
    }
    return FSMakeFSSpec(kept.vRefNum, kept.parID, kept.name, spec);
}

OSErr FourD::GetStructFolder(FSSpec* spec) {
    return FolderOf(GetStructFile, spec);
}

OSErr FourD::GetDataFile(FSSpec* spec) {
    constexpr short DataFileCommand = 490;
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    ZeroFileSpec(spec);
    if (Is4DClient() != 0) {
        return ResultCode::FileNotFound;
    }
    if (!gHost.dataFileKnown) {
        FSSpec found; // another process may ask, too, while the host evaluates the command
        const OSErr error = GetFSSpecBy4DCommand(DataFileCommand, &found);
        if (error != ResultCode::NoError) {
            return error;
        }
        gHost.dataFile = found;
        gHost.dataFileKnown = true;
    }
    *spec = gHost.dataFile;
    return ResultCode::NoError;
}

OSErr FourD::GetDataFolder(FSSpec* spec) {
    return FolderOf(GetDataFile, spec);
}

OSErr FourD::GetAppFolder(FSSpec* spec) {
    return FolderOf(GetDataFile, spec); // deliberate: the data file's folder, too
}

long FourD::GetAppType() {
    constexpr short ApplicationTypeCommand = 494;
    if (gHost.applicationType == -1) {
        ValueBlock value{};
        long type = 0;
        if (EvaluateCommand(ApplicationTypeCommand, &value) == ResultCode::NoError &&
            Value2Long(&value, &type) == 0) {
            gHost.applicationType = type;
        }
        FreeValueBlock(&value);
    }
    return gHost.applicationType;
}
