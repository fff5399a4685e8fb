#include "testhost/compare/Facts.h"

#include "platform/ResultCodes.h"
#include "testhost/compare/Teaching.h"

#include <algorithm>
#include <iterator>

namespace {
constexpr Fact SetUp(std::string_view service, std::string_view what) {
    return {.service = service, .what = what, .isSetUp = true};
}

// Each service whose answers hold facts: what they are, what they are about, and how the stand-in
// is taught them, before it is asked and when it has answered otherwise; then what it cannot be
// taught. Services that are not here answer by rules alone.
std::span<const Fact> Facts() {
    using namespace Teaching;
    using namespace RecordField;
    static constexpr Set path = RecordField::Name | HostString;
    static constexpr Fact facts[] = {
        // How the host was set up
        {"ProgramInfo", "which host it is", ProgramSubject, nullptr, Program, None, true},
        SetUp("PluginResID", "which host it is"),
        SetUp("Reals64", "which host it is"),
        SetUp("PlatformInterface", "which host it is"),
        SetUp("CountFiles", "tables and fields"),
        SetUp("CountFields", "tables and fields"),
        SetUp("FileName", "tables and fields"),
        SetUp("FieldType", "tables and fields"),
        SetUp("FieldInfo", "tables and fields"),
        SetUp("FileFieldNumbers", "tables and fields"),

        // Data
        {"GetProcessVariable", "variables", VariableSubject, nullptr, Variable,
         RecordField::Handle},
        {"GetVariable", "variables", VariableSubject, nullptr, Variable, RecordField::Handle},
        {"GetVariableIP", "variables", SharedVariableSubject, nullptr, SharedVariable,
         RecordField::Handle},
        {"GetLongIPVar", "variables", SharedVariableSubject, nullptr, SharedVariable,
         RecordField::Handle},
        {"RecordsInSelection", "records and selections", SelectionSubject, nullptr,
         SelectedRecords},
        {"SelectedRecordNumber", "records and selections", nullptr, nullptr, SelectedPlace, Param1},
        {"RecordNumber", "records and selections", nullptr, nullptr, CurrentRecord,
         RecordField::RecordNumber},
        {"GotoSelectedRecord", "records and selections", nullptr, PlaceToGoTo},
        {"GotoRecord", "records and selections", nullptr, RecordToGoTo},
        {"UpdateRecord", "records and selections", nullptr, RefusedRecord},
        {"GetFieldData", "fields", FieldSubject, nullptr, Teaching::FieldData},
        {"GetPackedRecord", "fields", nullptr, nullptr, PackedRecord, RecordField::Handle},
        {"ExecProc", "statements"},
        {"ExecTokenizedProc", "statements"},
        {"ExecLongFunc", "values of expressions", nullptr, nullptr, nullptr, Param1},
        {"ExecRealFunc", "values of expressions", nullptr, nullptr, nullptr, Param1},
        {"ExecTokenizedFunc", "values of expressions", nullptr, nullptr, nullptr, Param1},
        {"PictureData", "pictures", nullptr, nullptr, nullptr, wholeAnswer},
        {"CreateNativeBitmapImage", "pictures", nullptr, nullptr, nullptr, wholeAnswer},

        // What the user did
        {"CreateFourDDialog", "forms", nullptr, Teaching::Form},
        {"ModalDialog", "what the user did", nullptr, UsersTurn, nullptr,
         RecordField::Name | UniName | Param2 | Param3},
        {"DialogGetVar", "values in dialogs", DialogVariableSubject, nullptr, DialogVariable,
         RecordField::Handle},
        {"DialogGetLongVar", "values in dialogs", DialogVariableSubject, nullptr, DialogLong},
        {"DialogGetNativeRealVar", "values in dialogs", DialogVariableSubject, nullptr, DialogReal},
        {"DialogGetStringVar", "values in dialogs", DialogVariableSubject, nullptr, DialogString},
        {"DialogGetDateVar", "values in dialogs", DialogVariableSubject, nullptr, DialogDate},
        {"DialogGetTextVar", "values in dialogs", DialogVariableSubject, nullptr, DialogText},
        {"DialogGetTimeVar", "values in dialogs", DialogVariableSubject, nullptr, DialogTime},
        {"DialogGetArrayElementLong", "rows of lists", ListSubject, nullptr, nullptr, ValueNumber},
        {"DialogGetArrayElementReal", "rows of lists", ListSubject, nullptr, nullptr, ValueReal},
        {"DialogGetArrayElementString", "rows of lists", ListSubject, nullptr, nullptr,
         ValueText | UniText},
        {"DialogGetArrayElementText", "rows of lists", ListSubject, nullptr, nullptr,
         RecordField::Handle},
        {"DialogGetArraySize", "rows of lists", ListSubject, nullptr, nullptr, Param2},
        {"DialogCurrentPage", "what the user did", DialogSubject, nullptr, DialogPage},
        {"DialogGetLastObject", "what the user did", nullptr, nullptr, LastObject},
        {"DialogGetTableFieldFromHList", "what the user did", DialogVariableSubject, nullptr,
         ChosenField},
        {"DialogGetDragInfo", "what the user did", nullptr, nullptr, nullptr,
         RecordField::Name | ValueText | UniName | Param2 | Param3},
        {"Confirm", "what the user did", nullptr, Confirmation},
        {"EditFormula", "what the user did", nullptr, EditedFormula},
        {"EditPicture", "what the user did", nullptr, EditedPicture},

        // Processes and windows
        {"NewProcess", "numbers of processes", nullptr, ProcessNumber, nullptr, Param1},
        {"ProcessInfo", "other processes", ProcessSubject, nullptr, Teaching::ProcessState},
        {"ProcessCounts", "other processes", nullptr, nullptr, nullptr, Param1 | Param2},
        {"IsProcessDying", "other processes", nullptr, nullptr, Dying},
        {"NextEvent", "events", nullptr, Event, nullptr, RecordField::Handle | Param4},
        {"WindowProcess", "windows", nullptr, Window, WindowsProcess},
        {"SetWindowProcess", "windows", nullptr, Window},
        {"NativeWindow", "windows", nullptr, Window, nullptr, Param1},
        {"FloatingWindow", "windows", nullptr, nullptr, nullptr, RecordField::Handle},
        {"FocusedWindow", "windows", nullptr, nullptr, Focus, RecordField::Handle},
        {"IsWindowFocused", "windows", nullptr, Window, WindowsFocus},
        {"IsWindowFocusable", "windows", nullptr, Window, Focusable},
        {"SetWindowFocused", "windows", nullptr, Window},
        {"SetWindowFocusable", "windows", nullptr, Window},
        {"UpdateDrawingContext", "windows", nullptr, nullptr, nullptr, Param1},
        {"WindowFromDialog", "windows", nullptr, nullptr, nullptr, Param2},
        {"MethodEditorText", "windows", nullptr, nullptr, nullptr, wholeAnswer},
        {"MethodEditorLine", "windows", nullptr, nullptr, nullptr, wholeAnswer},
        {"CurrentTextEdit", "windows", nullptr, nullptr, nullptr, wholeAnswer},

        // The machine, the structure, other programs
        {"CheckFreeStack", "the machine", nullptr, nullptr, FreeStack},
        {"MacGlobals", "the machine", nullptr, nullptr, nullptr, RecordField::Handle},
        {"SystemColors", "the machine", nullptr, nullptr, nullptr, RecordField::Handle},
        {"PrefsFolderPath", "paths of folders", nullptr, nullptr, nullptr, Param3 | Param4},
        {"StructureFolderPath", "paths of folders", nullptr, nullptr, nullptr, path},
        {"HostFolderPath", "paths of folders", nullptr, nullptr, HostFolder, path},
        {"TipsEnabled", "the user's settings", nullptr, nullptr, Tips},
        {"AcquirePrinter", "the printer", nullptr, nullptr, Printer},
        {"IsPrinterBusy", "the printer", nullptr, nullptr, Printer},
        {"PrintInfo", "the printer", nullptr, nullptr, nullptr, RecordField::Handle},
        {"HandleOperation", "bytes that nobody has written", nullptr, nullptr, nullptr,
         RecordField::Handle},
        {"CommandName", "names of commands", nullptr, nullptr, CommandName},
        {"MethodID", "methods", nullptr, nullptr, MethodNumber},
        {"ExecIndProc", "methods", nullptr, Method},
        {"CallMethodID", "methods", nullptr, Method},
        {"TokenizeProc", "tokens", nullptr, nullptr, nullptr, Param1},
        {"TokenizeProcV12", "tokens", nullptr, nullptr, nullptr, Param1},
        {"ReadOnServer", "what the server does", nullptr, nullptr, nullptr, wholeAnswer},
        {"WriteOnServer", "what the server does", nullptr, nullptr, nullptr, wholeAnswer},
        {"OpenResFile", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"CreateResFile", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"CloseResFile", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"UpdateResFile", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"StructResFileRef", "the structure's resources", nullptr, nullptr, nullptr, Param1},
        {"CountResTypes", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"IndResType", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"CountRes", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"IndResID", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"ResIDList", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"ResTypeList", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"ResName", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"SetResName", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"GetRes", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"SetRes", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"AddRes", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"DelRes", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"UniqueResID", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
        {"ResTimestamp", "the structure's resources", nullptr, nullptr, nullptr, wholeAnswer},
    };
    return facts;
}

// What the plug-in settles by calls of its own. The rows of lists that it fills stay as they are;
// those that it has the host fill are the structure's.
using Lasts = Settlement::Lasts;
struct Settled {
    std::string_view service;
    Fact::Subject subject;
    Lasts lasts = Lasts::UntilChanged;
};
std::span<const Settled> SettledFacts() {
    using namespace Teaching;
    static constexpr Settled settled[] = {
        {"SetProcessVariable", VariableSubject},
        {"SetVariable", VariableSubject},
        {"SetVariableIP", SharedVariableSubject},
        {"SetFieldData", FieldSubject},
        {"DialogSetVar", DialogVariableSubject},
        {"DialogSetLongVar", DialogVariableSubject},
        {"DialogSetNativeRealVar", DialogVariableSubject},
        {"DialogSetStringVar", DialogVariableSubject},
        {"DialogSetTextVar", DialogVariableSubject},
        {"DialogSetDateVar", DialogVariableSubject},
        {"DialogSetTimeVar", DialogVariableSubject},
        {"DialogSetTableFieldInHList", DialogVariableSubject},
        {"DialogNewArrayLong", ListSubject, Lasts::ForGood},
        {"DialogNewArrayReal", ListSubject, Lasts::ForGood},
        {"DialogNewArrayString", ListSubject, Lasts::ForGood},
        {"DialogNewArrayText", ListSubject, Lasts::ForGood},
        {"DialogNewArrayPicture", ListSubject, Lasts::ForGood},
        {"DialogLoadTextArrayFromTTR", ListSubject, Lasts::ForGood},
        {"DialogLoadTextArrayFromResource", ListSubject, Lasts::NoMore},
        {"DialogLoadTextArrayFromTableNames", ListSubject, Lasts::NoMore},
        {"DialogLoadTextArrayFromFieldNames", ListSubject, Lasts::NoMore},
        {"DialogGotoPage", DialogSubject},
        {"SetMessages", ProgramSubject},
        {"FreezeProcess", ProcessSubject},
        {"UnfreezeProcess", ProcessSubject},
    };
    return settled;
}

// Moving to another record settles nothing of its fields, and a new one has new ones.
constexpr std::string_view changing[] = {
    "YieldToOthers",
    "YieldAbsolute",
    "PutProcessToSleep",
    "NextEvent",
    "KillProcess",
    "FreezeProcess",
    "ExecuteOnMainThread",
    "ExecProc",
    "ExecLongFunc",
    "ExecRealFunc",
    "ExecTokenizedProc",
    "ExecTokenizedFunc",
    "ExecIndProc",
    "CallMethodID",
    "EditFormula",
    "EditPicture",
    "Alert",
    "Confirm",
    "ModalDialog",
    "DoAbout",
    "ReadOnServer",
    "WriteOnServer",
    "NewRecord",
    "UpdateRecord",
    "GotoRecord",
    "GotoSelectedRecord",
    "SetPackedRecord",
    "UpdateVariables",
    "DialogClose",
    "CreateFourDDialog",
    "DialogSwitchTo4DContext",
    "DialogSwitchToDlogContext",
};
} // namespace

const Fact* FindFact(std::string_view service) {
    const auto found = std::ranges::find(Facts(), service, &Fact::service);
    return found == Facts().end() ? nullptr : &*found;
}

Settlement SettledBy(std::string_view service, const AskedCall& call) {
    const auto found = std::ranges::find(SettledFacts(), service, &Settled::service);
    if (found == SettledFacts().end() || call.answer.Fields().error != ResultCode::NoError) {
        return {};
    }
    return {found->subject(call), found->lasts};
}

bool MayChangeFacts(std::string_view service) {
    return std::ranges::find(changing, service) != std::end(changing);
}

bool IsFailureOfMachine(short error) {
    return error == ResultCode::MemoryFull || error == ResultCode::DiskFull ||
           error == ResultCode::InputOutput || error == ResultCode::DiskLocked;
}
