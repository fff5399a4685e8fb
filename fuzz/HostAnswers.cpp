// Every call of the class FourD, whatever the host answers: nothing is touched that must not be,
// and what is handed out is the caller's, the host's or gone.

#include "data/Array.h"
#include "fuzz/AnyArguments.h"
#include "host/boundary/Fields.h"
#include "host/Value.h"

namespace {
constexpr short resourceFile = 50;
constexpr OSType types[] = {0x53545223, 0x5374796C, 0x53747958}; // STR#, Styl, StyX

using Operation = void (*)(AnyArguments&);

template <auto... Functions>
constexpr std::array<Operation, sizeof...(Functions)> all = {CallWithAny<Functions>...};

constexpr auto aboutTheHost =
    all<FourD::Is4DClient, FourD::Is4DServer, FourD::GetVersion, FourD::Get4DVersionBCD,
        FourD::Get4DVersion, FourD::Get4DProgram, FourD::VersToVers4D, FourD::IsCompiled,
        FourD::GetMessages, FourD::GetStructFile, FourD::GetStructFolder, FourD::Setup4DEnv,
        FourD::SetupMacOSEnv, FourD::GetPlatformInterface, FourD::SwapReal64To80,
        FourD::SwapReal80To64, Pick<OSErr(char*, long, unsigned char)>(FourD::Get4DFolderPath),
        Pick<OSErr(unsigned char*, long, unsigned char)>(FourD::Get4DFolderPath),
        FourD::GetDataFile, FourD::GetDataFolder, FourD::GetAppFolder, FourD::GetAppType,
        _GetStructurePaths, _GetPrefsFolderPath, _GetMacGlobals, _GetPluginResID,
        GetFSSpecBy4DCommand, Hack4DStdColor, MapDefaultColorToSysColors4DSelector>;

constexpr auto aboutProcesses =
    all<Pick<OSErr(void*, const char*, long, long*)>(FourD::NewXProcess),
        Pick<OSErr(char*, const unsigned char*, long, long*)>(FourD::NewXProcess),
        FourD::KillXProcess, FourD::GetProcessState, Pick<void(long, char*)>(FourD::GetProcessName),
        Pick<void(long, unsigned char*)>(FourD::GetProcessName), FourD::GetProcessCName,
        Pick<long(const unsigned char*)>(FourD::FindProcess),
        Pick<long(const char*)>(FourD::FindProcess), FourD::IsUserProcess,
        FourD::BringProcessToFront, FourD::PutProcessToSleep, FourD::WakeupProcess,
        FourD::FreezeProcess, FourD::UnfreezeProcess, FourD::ShowProcess, FourD::HideProcess,
        FourD::SetWindowProcess, FourD::GetNextEvent, FourD::IsProcessDying, FourD::YieldToOthers,
        FourD::YieldAbsolute, FourD::CheckFreeStack, FourD::SetMessages, FourD::Quit>;

constexpr auto aboutStatements =
    all<Pick<OSErr(const char*)>(FourD::ExecProc), Pick<void(unsigned char*)>(FourD::ExecProc),
        Pick<OSErr(unsigned char*, long*)>(FourD::ExecFunc),
        Pick<OSErr(unsigned char*, REAL_U*)>(FourD::ExecFunc), FourD::TokenizeProc,
        FourD::ExecTokenizedProc, FourD::DetokenizeProc, FourD::ByteSwapTokens, FourD::GetMethodID,
        FourD::GetProcIndex, FourD::ExecIndProc, FourD::CallMethodID, FourD::GetCommandName,
        FourD::GetCommandNameC, FourD::SequenceNumber, FourD::RecordsInFile, FourD::Alert,
        Pick<long(unsigned char*)>(FourD::AlertV6),
        Pick<unsigned char(unsigned char*)>(FourD::Confirm), FourD::DoAbout, FourD::StringsEqual>;

constexpr auto aboutValues =
    all<FourD::Long2String, FourD::REAL2String, FourD::Double2String, FourD::Boolean2String,
        FourD::String2String, FourD::Date2String, FourD::Time2String, FourD::GetLongVar,
        FourD::GetLongIPVar, FourD::SetLongVar, FourD::GetProcessVar, FourD::StripIPVarName,
        FourD::EvalPluginStringWithResRefs, FourD::GetPluginIndString, FourD::GetPluginIndCString,
        FourD::CurProcResID, FourD::GetResNum, FourD::GetStyleRes, FourD::GetStyleXResByID,
        FourD::GetStyleXResByName, FourD::GetStyleByID, FourD::GetStyleByName, FourD::GetStyleXByID,
        FourD::GetStyleXByName,
        Pick<OSErr(const FourDStyle*, FourDPlatformStyle*)>(FourD::GetPlatformStyle),
        Pick<OSErr(const FourDStyleX*, FourDPlatformStyle*)>(FourD::GetPlatformStyle),
        FourD::GetPlatformStyleByID, FourD::GetPlatformStyleSpecByID,
        FourD::GetPlatformStyleSpecByName, FourD::GetRGBColor>;

constexpr auto aboutRecords =
    all<FourD::GetFileName, FourD::GetFileNameC, FourD::GetFileFieldNum, FourD::GetFieldInfo,
        FourD::SelectedRecordNumber, FourD::GetPackedRecord, FourD::Lock4DRes, FourD::Unlock4DRes,
        FourD::DeleteRecord, FourD::AllRecords, FourD::GetPrintInfo, FourD::ReadOnServer,
        FourD::WriteOnServer, FourD::Get4DResTypeList, FourD::Get4DResIDList, FourD::Get4DResName,
        FourD::Get4DRes>;

constexpr auto aboutWindows =
    all<FourD::LMGetWindowList, FourD::GetFrontmostWindow, FourD::GetNextMacWindow, FourD::IsWindow,
        FourD::WindowKind, FourD::IsRegularWindow, FourD::IsModalDialog, FourD::IsExternalWindow,
        FourD::IsFloatingWindow, FourD::GetWindowProcess, FourD::MacPortToHWND, FourD::GetUpdateHDC,
        FourD::GetFrontmostNonFloatingWindow, FourD::GetFrontmostNonFloatingWindowOfProcess,
        FourD::GetFrontmostWindowOfProcess, FourD::FloatingWindow, FourD::Get4DServerMainWindow,
        FourD::GetWindowContentRegion, FourD::SetExWindowTitle, FourD::LMGetHiliteColor,
        FourD::IsDebuggerWindow, FourD::HasDebuggerWindowOpen, FourD::IsProcEditWindow,
        FourD::GetFrontmostProcEditWindow, FourD::GetProcEditTE, FourD::CalcProcEditLine,
        FourD::GetCurrentTE, FourD::GetFocusedWindow, FourD::IsWindowFocused,
        FourD::IsWindowFocusable, FourD::SetWindowFocused, FourD::SetWindowFocusable,
        FourD::GetFourDDialogFromWindow, FourD::GetWindowFromFourDDialog, FourD::MacToAnsiCString,
        FourD::AnsiToMacCString, FourD::AnsiToMacPString, FourD::CopyCharsToUniChars,
        FourD::CopyPStrToUniChars>;

long RecordNumber(const CallFields& fields) {
    return fields.recordNumber;
}
long Address(const CallFields& fields) {
    return reinterpret_cast<long>(Handle{fields.handle});
}

constexpr Operation withNumbers[] = {
    CallForNumber<FourD::CountFiles>,
    CallForNumber<FourD::CountFields>,
    CallForNumber<FourD::RecordsInSelection>,
    CallForNumber<FourD::Open4DResFile>,
    CallForNumber<FourD::Create4DResFile>,
    CallForNumber<FourD::GetStruct4DResFileRef>,
    CallForNumber<FourD::Count4DResTypes>,
    CallForNumber<FourD::GetIndResType>,
    CallForNumber<FourD::Count4DRes>,
    CallForNumber<FourD::GetInd4DResID>,
    CallForNumber<FourD::Get4DResTimestamp>,
    CallForNumber<FourD::GetUnique4DResID>,
    CallForNumber<FourD::GetProcEditTEHandle>,
    CallForNumber<FourD::GetFieldType, Param1, -1>,
    CallForNumber<FourD::RecordNumber, RecordNumber, -1>,
    CallForNumber<FourD::GetColors, Address>,
    CallForAnswer<FourD::CurrentProcess>,
    CallForAnswer<FourD::GetNumProcesses>,
    CallForAnswer<FourD::GetNumActiveProcesses, Param2>,
    CallForAnswer<FourD::IsPrinterBusy, Truth>,
    CallForAnswer<FourD::TipsEnabled, Truth>,
    CallForAnswer<FourD::Reals64, Truth>,
};

constexpr Operation withErrors[] = {
    CallForError<FourD::UpdateRecord>,    CallForError<FourD::NewRecord>,
    CallForError<FourD::GotoRecord>,      CallForError<FourD::GotoSelectedRecord>,
    CallForError<FourD::SetPackedRecord>, CallForError<FourD::AcquirePrinter>,
    CallForError<FourD::ReleasePrinter>,  CallForError<FourD::SetTipsEnabled>,
    CallForError<FourD::CreateTip>,       CallForError<FourD::Close4DResFile>,
    CallForError<FourD::Update4DResFile>, CallForError<FourD::Set4DResName>,
    CallForError<FourD::Set4DRes>,        CallForError<FourD::Add4DRes>,
    CallForError<FourD::Del4DRes>,        CallForError<FourD::UpdateVariables>,
    CallForError<FourD::PostProcessEvent>};

/// Only on hosts from 11.0 on.
constexpr auto ofTheEngine =
    all<FourD::IsV11HostCompiled, FourD::IsV11CallerCompiled, FourD::ExecuteOnMainThreadV11,
        Pick<OSErr(FDStringBlock*, Handle*)>(FourD::TokenizeProcV12), FourD::SetFDString,
        FourD::CopyCStringToFDString, FourD::CopyFDStringToPStr, FourD::GetPictureData,
        FourD::CountPictureReps,
        Pick<long(FDPictureBlock*, unsigned long)>(FourD::FindFDPictureReprForType),
        FourD::CreateNativeBitmapImage, FourD::DisposePictureV11, FourD::NewHandleV11,
        FourD::DisposeHandleV11, FourD::SetHandleSizeV11, FourD::GetHandleSizeV11,
        FourD::LockHandleV11, FourD::UnlockHandleV11>;

/// A size, and a text of that size.
std::pair<char*, long> Sized(AnyArguments& arguments) {
    const std::string text = arguments.input.Text();
    return {arguments.Bytes(text, text.size()), static_cast<long>(text.size())};
}

ValueBlock AnyValue(AnyArguments& arguments) {
    ValueBlock value;
    arguments.host.FillValue(value, true);
    return value;
}

constexpr Operation others[] = {
    [](AnyArguments& arguments) {
        const auto index = static_cast<short>(arguments.input.Choice(6));
        std::array<long, 3> parts = {1, 1, 1};
        arguments.host.answered.reset();
        FourD::GetDrawingColor(index, &parts[0], &parts[1], &parts[2]);
        const auto& answered = arguments.host.answered;
        const bool isThere = answered && answered->error == 0 && answered->handle != nullptr;
        const RGBColor color = isThere ? arguments.host.colors.colors[index] : RGBColor{};
        Require(parts == std::array<long, 3>{color.red, color.green, color.blue}, "another colour");
    },
    [](AnyArguments& arguments) { // the caller's own handle, or none, which may be changed
        Handle handle = arguments.Make<Handle>();
        if (arguments.input.ConsumeBool()) {
            FourD::EditFormula(&handle, arguments.input.Number());
        } else {
            FourD::EditPict(&handle);
        }
        arguments.Own(handle);
    },
    [](AnyArguments& arguments) {
        ValueBlock value{};
        value.type = static_cast<unsigned char>(arguments.input.Choice(40));
        FourD::ExecTokenizedFunc(arguments.Make<Handle>(), &value);
        FreeValueBlock(&value);
    },
    [](AnyArguments& arguments) {
        ValueBlock value{};
        const auto name = arguments.Make<const unsigned char*>();
        switch (arguments.input.Choice(4)) {
        case 0:
            FourD::GetVariable(name, &value);
            break;
        case 1:
            FourD::GetVariableIP(name, &value);
            break;
        case 2:
            value = AnyValue(arguments);
            FourD::SetVariable(name, &value, 1);
            break;
        default:
            value = AnyValue(arguments);
            FourD::SetVariableIP(name, &value, 1);
            break;
        }
    },
    [](AnyArguments& arguments) { // with a copy the caller's, without one the host's
        Handle text = nullptr;
        const unsigned char copy = arguments.input.ConsumeBool() ? 1 : 0;
        FourD::GetTextVar(arguments.Make<unsigned char*>(), &text, copy);
        if (copy != 0) {
            arguments.Own(text);
        }
    },
    [](AnyArguments& arguments) {
        const unsigned char copy = arguments.input.ConsumeBool() ? 1 : 0;
        FourD::SetTextVar(arguments.Make<unsigned char*>(), arguments.Make<Handle>(), copy);
    },
    [](AnyArguments& arguments) {
        CArray array;
        FourD::GetArrayVar(arguments.Make<unsigned char*>(), &array);
        array.Forget();
    },
    [](AnyArguments& arguments) {
        FieldData data;
        FourD::GetFieldData(arguments.Make<short>(), arguments.Make<short>(), &data);
        if (arguments.input.ConsumeBool()) {
            data.size = arguments.input.Number();
            FourD::SetFieldData(arguments.Make<short>(), arguments.Make<short>(), &data);
        }
        FourD::DisposeFieldData(&data);
    },
    [](AnyArguments& arguments) {
        ValueBlock value;
        FourD::GetFieldData(arguments.Make<short>(), arguments.Make<short>(), &value);
        FreeValueBlock(&value);
    },
    [](AnyArguments& arguments) {
        ValueBlock value = AnyValue(arguments);
        FourD::SetFieldData(arguments.Make<short>(), arguments.Make<short>(), &value);
    },
    [](AnyArguments& arguments) {
        const auto [text, size] = Sized(arguments);
        GetTextBy4DCommand(arguments.Make<short>(), text, size);
    },
    [](AnyArguments& arguments) {
        const auto [text, size] = Sized(arguments);
        const auto units = arguments.Make<unsigned short*>();
        FourD::CopyCharsBuffToUniChars(text, size, units);
        FourD::CopyUniCharsToPStr(units, arguments.Make<unsigned char*>());
    },
    [](AnyArguments& arguments) {
        const OSType type = types[arguments.input.Choice(std::size(types))];
        const Handle resource =
            arguments.input.ConsumeBool()
                ? FourD::GetPluginResource(type, arguments.Make<short>())
                : FourD::GetPluginResourceByName(type, arguments.Make<const unsigned char*>());
        if (resource != nullptr) {
            ReleaseResource(resource);
        }
    },
    [](AnyArguments& arguments) {
        FourD::AlertV6("%s%ld", arguments.Bytes(arguments.input.Text(400), 401),
                       arguments.input.Number());
    },
};

constexpr Operation othersOfTheEngine[] = {
    [](AnyArguments& arguments) {
        const auto [text, size] = Sized(arguments);
        FourD::TokenizeProcV12(text, size, arguments.Make<Handle*>());
    },
    [](AnyArguments& arguments) {
        const auto [text, size] = Sized(arguments);
        FourD::CopyStringBufferToFDString(text, size, arguments.Make<FDStringBlock*>());
    },
    [](AnyArguments& arguments) {
        const auto [text, size] = Sized(arguments);
        FourD::CopyFDStringToCString(arguments.Make<FDStringBlock*>(), text, size);
    },
    [](AnyArguments& arguments) {
        FDStringBlock string{};
        auto* const picture = arguments.Make<FDPictureBlock*>();
        if (arguments.input.ConsumeBool()) {
            FourD::CreateFDString(&string);
        } else {
            FourD::GetPictureInfo(picture, arguments.input.Number(), &string);
        }
        FourD::DisposeFDStringBlock(&string);
    },
    [](AnyArguments& arguments) {
        const auto [text, size] = Sized(arguments);
        FourD::GetFDPictureReprInfoCString(arguments.Make<FDPictureBlock*>(), 1, text, size);
    },
    [](AnyArguments& arguments) {
        unsigned long types[] = {0x4A504720, arguments.Make<unsigned long>(), 0}; // "JPG "
        FourD::FindFDPictureReprForType(arguments.Make<FDPictureBlock*>(), types,
                                        arguments.input.Choice(4),
                                        arguments.Make<unsigned long*>());
    },
    [](AnyArguments& arguments) {
        ValueBlock value{};
        value.type = static_cast<unsigned char>(arguments.input.Choice(40));
        FourD::ExecTokenizedFuncV12(arguments.Make<Handle>(), &value);
        FreeValueBlock(&value);
    },
};

/// Resources of the plug-in, of the types that calls look for.
void AddResources(Input& input, HostileHost& host) {
    ToolboxAddResFile(resourceFile);
    UseResFile(resourceFile);
    for (const OSType type : types) {
        AddResource(resourceFile, type, static_cast<short>(input.Choice(3)), host.AnyText(400));
    }
}
} // namespace

void Fuzz(Input& input) {
    FuzzPlug plug;
    HostileHost host(input, HostileHost::AnyVersion(input));
    AddResources(input, host);
    host.Start(input.ConsumeBool());
    const std::span<const Operation> kinds[] = {
        aboutTheHost, aboutProcesses, aboutStatements, aboutValues, aboutRecords,     aboutWindows,
        withNumbers,  withErrors,     others,          ofTheEngine, othersOfTheEngine};
    const unsigned ofClassicHosts = std::size(kinds) - 2;
    while (!input.IsOver()) {
        const unsigned count = gHost.HasEngine() ? std::size(kinds) : ofClassicHosts;
        const std::span<const Operation> kind = kinds[input.Choice(count)];
        AnyArguments arguments(input, host);
        kind[input.Choice(kind.size())](arguments);
    }
    HostileHost::Stop();
}
