#pragma once

#include <string_view>

/// One service of the host: its number in a call with the classic record and in one with the
/// engine record; 0 where the host has no such call.
struct SelectorPair {
    std::string_view name;
    short classic;
    short engine;
};

/// Every call into the host, and the only place where a selector's number is written. A
/// pair is chosen by host version; a classic-only selector goes through the classic call-back on
/// every host. The engine number is usually the negated classic one; the exceptions stand as the
/// host has them. The stand-in host names calls in its log from the same table.
inline constexpr SelectorPair SelectorTable[] = {
    // Tables, records and fields
    {"NewRecord", 1, 0},
    {"UpdateRecord", 2, 0},
    {"GotoSelectedRecord", 5, 0},
    {"RecordsInSelection", 6, 0},
    {"CountFiles", 9, -9},
    {"CountFields", 10, -10},
    {"FileName", 11, 0},
    {"FieldType", 12, -12},
    {"FieldInfo", 131, 0},
    {"GetFieldData", 17, 0},
    {"SetFieldData", 18, 0},
    {"GetPackedRecord", 26, 0},
    {"SetPackedRecord", 27, 0},
    {"FileFieldNumbers", 50, 0},
    {"SelectedRecordNumber", 51, 0},
    {"RecordNumber", 73, 0},
    {"GotoRecord", 96, 0},

    // Variables
    {"GetProcessVariable", 19, 0},
    {"SetProcessVariable", 20, 0},
    {"GetVariable", -19, 0},
    {"SetVariable", -20, 0},
    {"GetVariableIP", -125, 0},
    {"SetVariableIP", -126, 0},
    {"GetLongIPVar", 125, 0},
    {"UpdateVariables", 65, 0},

    // Environment
    {"PluginResID", 23, -23},
    {"ProgramInfo", 56, -56},
    {"SetMessages", 57, 0},
    {"PrefsFolderPath", 115, 0},
    {"Quit", 136, 0},
    {"SetupMacOSEnv", 147, 0},
    {"Setup4DEnv", 148, 0},
    {"Reals64", 153, 0},
    {"SwapReal64To80", 154, 0},
    {"SwapReal80To64", 155, 0},
    {"MacGlobals", 159, 0},
    {"PlatformInterface", 164, 0},
    {"DoAbout", 220, 0},
    {"CheckFreeStack", 255, 0},
    {"TipsEnabled", -256, 0},
    {"SetTipsEnabled", -257, 0},
    {"CreateTip", -305, 0},
    {"StructureFolderPath", -411, -411},
    {"HostFolderPath", -427, -427},
    {"ExecuteOnMainThread", 0, -663},

    // Statements, expressions and methods
    {"ExecProc", 30, -30},
    {"ExecLongFunc", 31, 0},
    {"ExecRealFunc", -31, 0},
    {"TokenizeProc", 82, 0},
    {"TokenizeProcV12", 0, -82},
    {"ExecTokenizedProc", 83, 0},
    {"ExecTokenizedFunc", -84, -84},
    {"DetokenizeProc", 116, 0},
    {"MethodID", 117, 0},
    {"ExecIndProc", 118, 0},
    {"CallMethodID", -118, 0},
    {"ByteSwapTokens", 162, 0},
    {"EditFormula", -248, 0},
    {"CommandName", -507, 0},
    {"Alert", 249, -249},
    {"Confirm", 250, -250},

    // Text, values and pictures
    {"FormatValue", 47, 0},
    {"StringsEqual", 214, 0},
    {"EditPicture", -402, 0},
    {"ConvertCharacters", -424, 0},
    {"HandleOperation", 0, -434},
    {"CreateFDString", 0, -612},
    {"SetFDString", 0, -613},
    {"DisposeFDString", 0, -614},
    {"CreateNativeBitmapImage", 0, -618},
    {"DisposePicture", 0, -620},
    {"PictureData", 0, -671},

    // Processes and events
    {"KillProcess", 86, -86},
    {"FreezeProcess", -87, -87},
    {"UnfreezeProcess", 88, -88},
    {"PutProcessToSleep", 89, -89},
    {"CurrentProcess", 91, -91},
    {"YieldToOthers", 93, -93},
    {"ProcessInfo", 94, -94},
    {"ProcessCounts", 95, -95},
    {"BringProcessToFront", 97, -97},
    {"YieldAbsolute", 122, -122},
    {"NewProcess", 158, -158},
    {"PostProcessEvent", 165, 0},
    {"NextEvent", -361, -361},
    {"IsProcessDying", -414, -414},

    // Client and server
    {"ReadOnServer", 102, 0},
    {"WriteOnServer", 103, 0},

    // Printing
    {"AcquirePrinter", 104, 0},
    {"ReleasePrinter", 105, 0},
    {"IsPrinterBusy", 120, 0},
    {"PrintInfo", 130, 0},

    // Windows, dialogs and the method editor
    {"SetExternalWindowTitle", 66, 0},
    {"WindowProcess", 90, -90},
    {"SetWindowProcess", 92, -92},
    {"MethodEditorText", 132, 0},
    {"MethodEditorLine", 133, 0},
    {"FloatingWindow", 134, 0},
    {"NativeWindow", 161, 0},
    {"UpdateDrawingContext", -161, 0},
    {"SystemColors", 163, 0},
    {"DialogFromWindow", 261, -261},
    {"WindowFromDialog", 262, -262},
    {"CurrentTextEdit", -81, 0},
    {"SetWindowFocusable", -418, 0},
    {"IsWindowFocusable", -419, 0},
    {"FocusedWindow", -420, 0},
    {"SetWindowFocused", -421, 0},
    {"IsWindowFocused", -422, 0},

    // Dialogs and their variables. The irregular signs are the host's. A row has the name of the
    // operation of FourDDialog that sends it, with Dialog in front where the name lacks it; End
    // serves Cancel and Validate, SetTitle serves SetVarTitle and SetObjTitle.
    {"CreateFourDDialogContext", 200, -200},
    {"CreateFourDDialog", 201, -201},
    {"DialogClose", 202, -202},
    {"ModalDialog", 203, -203},
    {"DialogSetVarEnabled", 204, -204},
    {"DialogGetVar", 205, -205},
    {"DialogSetVar", 206, -206},
    {"DialogGetLongVar", -207, -207},
    {"DialogSetLongVar", 208, -208},
    {"DialogGetNativeRealVar", 209, -209},
    {"DialogSetNativeRealVar", 210, -210},
    {"DialogGetStringVar", 211, -211},
    {"DialogSetStringVar", 212, -212},
    {"DialogSetPictureVar", 213, 0},
    {"DialogSwitchTo4DContext", 215, -215},
    {"DialogSwitchToDlogContext", -216, -216},
    {"DialogSetAreaHandler", 221, 0},
    {"DialogGetRect", 222, -222},
    {"DialogBeginUpdateVars", 226, -226},
    {"DialogEndUpdateVars", 227, -227},
    {"DialogSetDateVar", 230, -230},
    {"DialogGetDateVar", 231, -231},
    {"DialogSetVarVisible", 232, -232},
    {"DialogGotoPage", 233, -233},
    {"DialogCurrentPage", 234, -234},
    {"DialogRedraw", 244, -244},
    {"DialogSetEditable", 251, -251},
    {"DialogSetNumVarMin", 252, -252},
    {"DialogSetNumVarMax", 253, -253},
    {"DialogSetUserData", 258, -258},
    {"DialogGetUserData", 259, -259},
    {"DialogSetThreeStateCheckBox", 260, -260},
    {"DialogSetTextVar", 308, -308},
    {"DialogGetTextVar", 309, -309},
    {"DialogSetEntryFilter", 329, 0},
    {"DialogSetEntryFormat", 330, 0},
    {"DialogSetObjVisible", 337, -337},
    {"DialogSetTimeVar", 338, -338},
    {"DialogGetTimeVar", 339, -339},
    {"DialogSetTitle", 340, -340},
    {"DialogUpdateObjTitle", 341, 0},
    {"DialogGetLastObject", -405, 0},
    {"DialogGotoVariable", -416, 0},
    {"DialogEnd", -425, -425},

    // Arrays and hierarchical lists in dialogs
    {"DialogNewArrayLong", 239, -239},
    {"DialogNewArrayReal", 327, -327},
    {"DialogNewArrayString", 228, -228},
    {"DialogNewArrayText", 331, -331},
    {"DialogNewArrayPicture", 245, -245},
    {"DialogSetArrayElementLong", 240, -240},
    {"DialogSetArrayElementReal", 328, -328},
    {"DialogSetArrayElementString", 229, -229},
    {"DialogSetArrayElementText", 332, 0},
    {"DialogSetArrayElementPicture", 246, 0},
    {"DialogGetArrayElementLong", 219, -219},
    {"DialogGetArrayElementReal", 217, -217},
    {"DialogGetArrayElementString", 218, -218},
    {"DialogGetArrayElementText", 333, 0},
    {"DialogGetArraySize", 242, -242},
    {"DialogDeleteArrayElements", 243, -243},
    {"DialogLoadTextArrayFromResource", 223, -223},
    {"DialogLoadTextArrayFromTableNames", 224, -224},
    {"DialogLoadTextArrayFromFieldNames", 225, -225},
    {"DialogLoadTextArrayFromTTR", 241, 0},
    {"DialogNewTableFieldHList", -235, 0},
    {"DialogClearHList", -236, -236},
    {"DialogGetDragInfo", -237, 0},
    {"DialogGetTableFieldFromHList", -238, 0},
    {"DialogSetTableFieldInHList", -263, 0},

    // The structure's resources: the host gives them the numbers -310 to -326, -342 to -348, -392
    // and -417, and five of them an engine call. Which number is whose is settled here; no
    // operation sends -342 to -346, -392 and -417.
    {"OpenResFile", -310, -310},
    {"CreateResFile", -311, 0},
    {"CloseResFile", -312, -312},
    {"StructResFileRef", -313, 0},
    {"CountResTypes", -314, -314},
    {"IndResType", -315, 0},
    {"CountRes", -316, -316},
    {"IndResID", -317, 0},
    {"ResIDList", -318, 0},
    {"ResTypeList", -319, 0},
    {"ResName", -320, 0},
    {"SetResName", -321, 0},
    {"GetRes", -322, 0},
    {"SetRes", -323, 0},
    {"AddRes", -324, 0},
    {"DelRes", -325, 0},
    {"UpdateResFile", -326, 0},
    {"UniqueResID", -347, -347},
    {"ResTimestamp", -348, 0},
};

/// The selector of this `name`; one that is not in the table does not compile.
consteval SelectorPair Select(std::string_view name) {
    for (const SelectorPair& pair : SelectorTable) {
        if (pair.name == name) {
            return pair;
        }
    }
    throw "no selector of this name";
}

// What the calls of host/Call.h are made with. A row of the table becomes one at compile time,
// and only when the service has the call: so nothing that is chosen at run time, in another table
// of such selectors, can be without a number.

// None of these has a base: Clang 14 cannot emit constants of records with bases.

/// The classic, or the engine call of a service.
template <short SelectorPair::*Number>
struct SelectorOf {
    short number;
    /// Of a `row` of the table; does not compile where the service has no such call.
    consteval SelectorOf(SelectorPair row)
        : number(row.*Number != 0 ? row.*Number : throw "the host has no such call") {}
};
/// @family The number of a service's classic call, of its engine call.
using ClassicSelector = SelectorOf<&SelectorPair::classic>;
using EngineSelector = SelectorOf<&SelectorPair::engine>;

/// A service for every host: its engine number is 0 where it has the classic call alone.
struct Selector {
    short classic;
    short engine;
    /// Of a `row` of the table, which has a classic call.
    consteval Selector(SelectorPair row)
        : classic(ClassicSelector(row).number), engine(row.engine) {}
};

/// The selector that carries `number` in a classic call (in one with the `engine` record); null
/// when there is none.
constexpr const SelectorPair* FindSelector(long number, bool engine) {
    for (const SelectorPair& pair : SelectorTable) {
        if (number != 0 && (engine ? pair.engine : pair.classic) == number) {
            return &pair;
        }
    }
    return nullptr;
}
