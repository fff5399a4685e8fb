#pragma once

#include "host/Selectors.h"

/// What travels with a dialog operation, as bits of a set, and where it lies in the record:
///
///     bit         what                                classic record    engine record
///     Dialog      the dialog or dialog context        param1            param1
///     Name        name of a variable or object        name *            uniName
///     Real        real                                value.real **     value.real
///     Date        date                                value.date        value.date
///     Number      long, time in seconds               value.number      value.number
///     String      Pascal string                       valueText ***     uniText
///     Text        text                                handle            string
///     Address     picture, or address of anything     handle            handle
///     Filter      address of the filter procedure     handle            -
///     Param2..4   index, flag, number, Point          param2..param4    param2..param4
///     Rectangle   Rect: its two corners               param2, param3    param2, param3
///     Flag1       one byte                            flag1             flag1
///     Table       table number                        table             table
///     Field       field number                        field             field
///     Error       result code                         error             error
///
/// *   zero-terminated, cut to 255 characters, not a Pascal string
/// **  80-bit extended, where the engine record has a double
/// *** cut to 141 characters
namespace DialogField {
enum Set : unsigned {
    None = 0,
    Dialog = 1U << 0,
    Name = 1U << 1,
    Real = 1U << 2,
    Date = 1U << 3,
    Number = 1U << 4,
    String = 1U << 5,
    Text = 1U << 6,
    Address = 1U << 7,
    Filter = 1U << 8,
    Param2 = 1U << 9,
    Param3 = 1U << 10,
    Param4 = 1U << 11,
    Rectangle = 1U << 12,
    Flag1 = 1U << 13,
    Table = 1U << 14,
    Field = 1U << 15,
    Error = 1U << 16,
};
constexpr Set operator|(Set a, Set b) {
    return static_cast<Set>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
inline constexpr Set Variable = Dialog | Name;    ///< a variable or object of a dialog
inline constexpr Set Element = Variable | Param2; ///< an element of an array: its index in param2
} // namespace DialogField

/// Host version from which an operation uses the engine record.
namespace EngineFrom {
inline constexpr unsigned Eleven = 0x1100;
inline constexpr unsigned Twelve = 0x1200;
inline constexpr unsigned Never = 0x10000;
} // namespace EngineFrom

/// One operation on a dialog: its selector, what goes in and what comes out.
struct DialogOperation {
    std::string_view name;
    Selector selector;
    DialogField::Set in;
    DialogField::Set out;
    unsigned engineFrom;

    constexpr DialogOperation(std::string_view itsName, Selector itsSelector,
                              DialogField::Set itsIn, DialogField::Set itsOut = DialogField::None,
                              unsigned from = EngineFrom::Eleven)
        : name(itsName),
          selector(itsSelector),
          in(itsIn),
          out(itsOut),
          engineFrom(itsSelector.engine != 0 ? from : EngineFrom::Never) {}
};

// What the parameters are is in the last column, where it is more than one index or flag.
inline constexpr DialogOperation DialogOperations[] = {
    // Dialogs. A new dialog: context in and dialog out in param1; form name, title, window type
    // (param2), window options (param3), flag1, the tag "5656" (param4), address of the rectangle.
    {"CreateFourDDialogContext", Select("DialogNewContext"), DialogField::None,
     DialogField::Dialog},
    {"CreateFourDDialog", Select("DialogCreate"),
     DialogField::Variable | DialogField::String | DialogField::Param2 | DialogField::Param3 |
         DialogField::Flag1 | DialogField::Address | DialogField::Param4,
     DialogField::Dialog},
    {"Close", Select("DialogClose"), DialogField::Dialog},
    // The object that was hit; done in param2, cancelled in param3.
    {"ModalDialog", Select("DialogModal"), DialogField::Dialog | DialogField::Filter,
     DialogField::Name | DialogField::Param2 | DialogField::Param3},
    {"Cancel", Select("DialogEnd"), DialogField::Dialog | DialogField::Param2},   // 1
    {"Validate", Select("DialogEnd"), DialogField::Dialog | DialogField::Param2}, // 0
    // The variable context that was current; the one to be current again.
    {"SwitchTo4DContext", Select("DialogLeaveContext"), DialogField::Dialog, DialogField::Param2},
    {"SwitchToDlogContext", Select("DialogEnterContext"),
     DialogField::Dialog | DialogField::Param2},
    {"BeginUpdateVars", Select("DialogBeginUpdate"), DialogField::Dialog},
    {"EndUpdateVars", Select("DialogEndUpdate"), DialogField::Dialog},
    {"GotoPage", Select("DialogGotoPage"), DialogField::Dialog | DialogField::Param2},
    {"CurrentPage", Select("DialogCurrentPage"), DialogField::Dialog, DialogField::Param2},
    {"SetUserData", Select("DialogSetUserData"), DialogField::Dialog | DialogField::Address},
    {"GetUserData", Select("DialogGetUserData"), DialogField::Dialog, DialogField::Address},

    // Values of variables. The typed value (ValueBlock) is read and written at its address.
    {"GetVar", Select("DialogGetVar"), DialogField::Variable | DialogField::Address,
     DialogField::Error},
    {"SetVar", Select("DialogSetVar"), DialogField::Variable | DialogField::Address,
     DialogField::Error},
    {"GetLongVar", Select("DialogGetLongVar"), DialogField::Variable, DialogField::Number},
    {"SetLongVar", Select("DialogSetLongVar"), DialogField::Variable | DialogField::Number},
    {"GetNativeRealVar", Select("DialogGetRealVar"), DialogField::Variable, DialogField::Real},
    {"SetNativeRealVar", Select("DialogSetRealVar"), DialogField::Variable | DialogField::Real},
    {"GetStringVar", Select("DialogGetStringVar"), DialogField::Variable, DialogField::String},
    {"SetStringVar", Select("DialogSetStringVar"), DialogField::Variable | DialogField::String},
    {"SetPictureVar", Select("DialogSetPictureVar"), DialogField::Variable | DialogField::Address},
    {"SetDateVar", Select("DialogSetDateVar"), DialogField::Variable | DialogField::Date},
    {"GetDateVar", Select("DialogGetDateVar"), DialogField::Variable, DialogField::Date},
    {"SetTextVar", Select("DialogSetTextVar"), DialogField::Variable | DialogField::Text,
     DialogField::None, EngineFrom::Twelve},
    {"GetTextVar", Select("DialogGetTextVar"), DialogField::Variable, DialogField::Text},
    {"SetTimeVar", Select("DialogSetTimeVar"), DialogField::Variable | DialogField::Number},
    {"GetTimeVar", Select("DialogGetTimeVar"), DialogField::Variable, DialogField::Number},

    // Properties of objects: a flag in param2.
    {"SetVarEnabled", Select("DialogSetVarEnabled"), DialogField::Variable | DialogField::Param2},
    {"SetVarVisible", Select("DialogSetVarVisible"), DialogField::Variable | DialogField::Param2},
    {"SetObjVisible", Select("DialogSetObjVisible"), DialogField::Variable | DialogField::Param2},
    {"SetEditable", Select("DialogSetEditable"), DialogField::Variable | DialogField::Param2},
    {"SetThreeStateCheckBox", Select("DialogSetThreeState"),
     DialogField::Variable | DialogField::Param2},
    // One operation in two calls; the flag is 1.
    {"SetNumVarMin", Select("DialogSetNumVarMin"),
     DialogField::Variable | DialogField::Param2 | DialogField::Real},
    {"SetNumVarMax", Select("DialogSetNumVarMax"),
     DialogField::Variable | DialogField::Param2 | DialogField::Real},
    // The flag is 1 for the title of a variable's object, 0 for that of a named object.
    {"SetVarTitle", Select("DialogSetTitle"),
     DialogField::Variable | DialogField::String | DialogField::Param2},
    {"SetObjTitle", Select("DialogSetTitle"),
     DialogField::Variable | DialogField::String | DialogField::Param2, DialogField::None,
     EngineFrom::Never},
    {"UpdateObjTitle", Select("DialogUpdateObjTitle"), DialogField::Variable},
    {"SetEntryFilter", Select("DialogSetEntryFilter"), DialogField::Variable | DialogField::String},
    {"SetEntryFormat", Select("DialogSetEntryFormat"), DialogField::Variable | DialogField::String},
    {"GetRect", Select("DialogGetRect"), DialogField::Variable, DialogField::Rectangle},
    {"Redraw", Select("DialogRedraw"), DialogField::Variable},
    {"GetLastObject", Select("DialogLastObject"), DialogField::Dialog, DialogField::Name},
    {"GotoVariable", Select("DialogGotoVariable"), DialogField::Variable},

    // Arrays. Elements have numbers from 0.
    {"NewArrayLong", Select("DialogNewLongArray"), DialogField::Variable},
    {"NewArrayReal", Select("DialogNewRealArray"), DialogField::Variable},
    {"NewArrayString", Select("DialogNewStringArray"), DialogField::Variable},
    {"NewArrayText", Select("DialogNewTextArray"), DialogField::Variable},
    {"NewArrayPicture", Select("DialogNewPictureArray"), DialogField::Variable},
    {"SetLongElement", Select("DialogSetLongElement"), DialogField::Element | DialogField::Number},
    {"SetRealElement", Select("DialogSetRealElement"), DialogField::Element | DialogField::Real},
    {"SetStringElement", Select("DialogSetStringElement"),
     DialogField::Element | DialogField::String},
    {"SetTextElement", Select("DialogSetTextElement"), DialogField::Element | DialogField::Text},
    {"SetPictureElement", Select("DialogSetPictureElement"),
     DialogField::Element | DialogField::Address},
    {"GetLongElement", Select("DialogGetLongElement"), DialogField::Element, DialogField::Number},
    {"GetRealElement", Select("DialogGetRealElement"), DialogField::Element, DialogField::Real},
    {"GetStringElement", Select("DialogGetStringElement"), DialogField::Element,
     DialogField::String},
    {"GetTextElement", Select("DialogGetTextElement"), DialogField::Element, DialogField::Text},
    // How many; below 0 there is no array.
    {"GetArraySize", Select("DialogArraySize"), DialogField::Variable, DialogField::Param2},
    // The first one, and how many.
    {"DeleteArrayElements", Select("DialogDeleteElements"),
     DialogField::Element | DialogField::Param3},
    // The resource's type and identifier.
    {"LoadTextArrayFromResource", Select("DialogLoadStringList"),
     DialogField::Variable | DialogField::Param2 | DialogField::Param3},
    // A mask of field types.
    {"LoadTextArrayFromTableNames", Select("DialogLoadTableNames"),
     DialogField::Variable | DialogField::Param2},
    {"LoadTextArrayFromFieldNames", Select("DialogLoadFieldNames"),
     DialogField::Variable | DialogField::Table | DialogField::Param2},
    // An identifier.
    {"LoadTextArrayFromTTR", Select("DialogLoadTTR"),
     DialogField::Variable | DialogField::Text | DialogField::Param2},

    // Hierarchical lists of tables and fields: a mask of field types in param2.
    // param3 holds four option bytes, the first one lowest.
    {"NewTableFieldHList", Select("DialogNewTableFieldHList"),
     DialogField::Variable | DialogField::Table | DialogField::Param2 | DialogField::Param3},
    {"ClearHList", Select("DialogClearHList"), DialogField::Variable},
    {"GetTableFieldFromHList", Select("DialogGetTableField"),
     DialogField::Variable | DialogField::Param2, DialogField::Table | DialogField::Field},
    {"SetTableFieldInHList", Select("DialogSetTableField"),
     DialogField::Variable | DialogField::Table | DialogField::Field | DialogField::Param2},
    // The last drag: source in name and param2 (a Point), target in valueText and param3.
    {"GetDragInfo", Select("DialogDragInfo"), DialogField::Dialog,
     DialogField::Name | DialogField::String | DialogField::Param2 | DialogField::Param3},

    // External areas: the address is what the host keeps for the handler, param2 a constant, param3
    // and param4 both the handler's address.
    {"SetAreaHandler", Select("DialogSetAreaHandler"),
     DialogField::Variable | DialogField::Address | DialogField::Param2 | DialogField::Param3 |
         DialogField::Param4},
};

/// The tag that goes with a new dialog.
inline constexpr long DialogTag = 0x35363536; // "5656"
/// The field types that a list of tables and fields is restricted to, where it is.
inline constexpr long RestrictedFieldTypes = 0x38F;

/// The operation of this name; a name that is not in the table does not compile.
consteval const DialogOperation& Operation(std::string_view name) {
    for (const DialogOperation& operation : DialogOperations) {
        if (operation.name == name) {
            return operation;
        }
    }
    throw "no dialog operation of this name";
}
