#pragma once

#include "host/boundary/Values.h"
#include "platform/Compiler.h"
#include "platform/Types.h"

class CXArea;
class CXAreaManager;
class FourDDialog;

/// Called by the host for the events of a modal dialog; declare it HOST_CALL.
using DialogFilter = void*;

/// A dialog that the host runs from a form in the plug-in's resources. A `FourDDialog*` (`dialog`)
/// is the host's reference to a dialog or dialog context, never looked into; null is no dialog.
/// Each operation is one host call, whose selector has the operation's name in
/// host/boundary/Selectors.h, beside those that convert a real (hosts before 11.0) or make and
/// release a host string.
///
/// Variables and objects have names (`name`, `objectName`), zero-terminated and cut to 255
/// characters; null is an empty one. Flags (`on`) are 0 or not. Pascal strings are cut to 141
/// characters on hosts before 11.0, and on all of them by the operations that are classic on all.
/// Nothing is reported but what is answered: a getter of an unknown name answers 0, an empty string
/// or null. A place for an answer may be null.
class FourDDialog {
  public:
    // --- Life -----------------------------------------------------------------------------

    /// New dialog context, in which a dialog is then created.
    static FourDDialog* CreateFourDDialogContext();
    /// New dialog, in a `context`, from the form `formName` (Pascal string) in the plug-in's
    /// resource file, which is current during the call; `rect` may be null. `windowTitle` (Pascal
    /// string), `windowType`, `windowOptions` and `flag` are sent along. Null on failure. Goes with
    /// Close.
    static FourDDialog* CreateFourDDialog(const unsigned char* formName,
                                          const unsigned char* windowTitle, short windowType,
                                          long windowOptions, unsigned char flag, const Rect* rect,
                                          FourDDialog* context);
    /// Releases the dialog.
    static void Close(FourDDialog* dialog);
    /// Waits for the next thing that the user does. `objectName` takes 256 bytes and gets the
    /// object hit; `done` and `cancelled`, which may be null like it, tell whether the dialog has
    /// ended. The `filter` is sent to hosts before 11.0 only.
    static void ModalDialog(FourDDialog* dialog, DialogFilter filter, char* objectName,
                            unsigned char* done, unsigned char* cancelled);
    /// @family Ends the dialog, as its Cancel or OK button does.
    static void Cancel(FourDDialog* dialog);
    static void Validate(FourDDialog* dialog);

    // --- The dialog as a whole --------------------------------------------------------------

    /// @family Makes the calling process's variables current, and answers the context that was;
    /// then the dialog's again, given that, `saved`.
    static long SwitchTo4DContext(FourDDialog* dialog);
    static void SwitchToDlogContext(FourDDialog* dialog, long saved);
    /// @family Around a batch of changes to variables; in pairs.
    static void BeginUpdateVars(FourDDialog* dialog);
    static void EndUpdateVars(FourDDialog* dialog);
    /// @family Shows a `page`; answers which one is shown.
    static void GotoPage(FourDDialog* dialog, long page);
    static long CurrentPage(FourDDialog* dialog);
    /// The `name` of the last object, 256 bytes. Classic on every host.
    static void GetLastObject(FourDDialog* dialog, char* name);
    /// Goes to the variable `name`. Classic on every host.
    static void GotoVariable(FourDDialog* dialog, const char* name);

    // --- Variables --------------------------------------------------------------------------

    /// @family A variable as a typed `value`; the host's result code. Handles in a value that was
    /// read belong to the host; those in a value that is written become the host's.
    static OSErr GetVar(FourDDialog* dialog, const char* name, ValueBlock* value);
    static OSErr SetVar(FourDDialog* dialog, const char* name, ValueBlock* value);
    /// @family A truth value; false when the variable cannot be read or converted.
    static unsigned char GetBooleanVar(FourDDialog* dialog, const char* name);
    static void SetBooleanVar(FourDDialog* dialog, const char* name, unsigned char on);
    /// @family A long or a real, `value`.
    static long GetLongVar(FourDDialog* dialog, const char* name);
    static void SetLongVar(FourDDialog* dialog, const char* name, long value);
    static double GetNativeRealVar(FourDDialog* dialog, const char* name);
    static void SetNativeRealVar(FourDDialog* dialog, const char* name, double value);
    /// @family A string, `value` (Pascal, 256 bytes); item `index` of the plug-in's string list
    /// `listID`; printed by `format` into at most 255 characters.
    static void GetStringVar(FourDDialog* dialog, const char* name, unsigned char* value);
    static void SetStringVar(FourDDialog* dialog, const char* name, const unsigned char* value);
    static void SetStringVar(FourDDialog* dialog, const char* name, short listID, short index);
    NIMBO_PRINTF_FORMAT(3, 4)
    static void SetStringVar(FourDDialog* dialog, const char* name, const char* format, ...);
    /// A text as a new handle of its characters, which the caller disposes of. Hosts from 11.0 on
    /// answer a host string, which is converted and released, with an error too.
    static Handle GetTextVar(FourDDialog* dialog, const char* name);
    /// A `text`: a handle, which stays the caller's, a Pascal string or a zero-terminated one; null
    /// stands for an empty text, in every form. Hosts from 12.0 on get a host string made of it.
    static void SetTextVar(FourDDialog* dialog, const char* name, Handle text);
    static void SetTextVar(FourDDialog* dialog, const char* name, const unsigned char* text);
    static void SetTextVar(FourDDialog* dialog, const char* name, const char* text);
    /// Pictures can be set but not read: always null.
    static Picture** GetPictureVar(FourDDialog* dialog, const char* name);
    /// A `picture`, which stays the caller's; null stands for an empty one. While the plug-in
    /// records a picture of its own, and without memory, none can be made: then the host gets a
    /// null handle. Classic on every host.
    static void SetPictureVar(FourDDialog* dialog, const char* name, Picture** picture);
    /// @family A `date`; the getter answers its year, too.
    static short GetDateVar(FourDDialog* dialog, const char* name, DateBlock* date);
    static void SetDateVar(FourDDialog* dialog, const char* name, DateBlock date);
    /// @family A time, in `seconds`.
    static long GetTimeVar(FourDDialog* dialog, const char* name);
    static void SetTimeVar(FourDDialog* dialog, const char* name, long seconds);

    // --- Objects ----------------------------------------------------------------------------

    /// @family Whether the user can use a variable's object; whether it is seen; whether an object
    /// is, by its own name; whether text can be entered; whether a check box has a third state.
    static void SetVarEnabled(FourDDialog* dialog, const char* name, unsigned char on);
    static void SetVarVisible(FourDDialog* dialog, const char* name, unsigned char on);
    static void SetObjVisible(FourDDialog* dialog, const char* name, unsigned char on);
    static void SetEditable(FourDDialog* dialog, const char* name, unsigned char on);
    static void SetThreeStateCheckBox(FourDDialog* dialog, const char* name, unsigned char on);
    /// Bounds of what may be entered, `min` and `max`; two host calls.
    static void SetNumVarMinMax(FourDDialog* dialog, const char* name, double min, double max);
    /// @family The entry `filter`, or `format`, of a variable's object, a Pascal string. Classic on
    /// every host.
    static void SetEntryFilter(FourDDialog* dialog, const char* name, const unsigned char* filter);
    static void SetEntryFormat(FourDDialog* dialog, const char* name, const unsigned char* format);
    /// @family The `title` of a variable's object, from a string, text or item `index` of the
    /// plug-in's string list `listID`; and of an object by its own name, which is classic on every
    /// host, as is its update.
    static void SetVarTitle(FourDDialog* dialog, const char* name, const unsigned char* title);
    static void SetVarTitle(FourDDialog* dialog, const char* name, const char* title);
    static void SetVarTitle(FourDDialog* dialog, const char* name, short listID, short index);
    static void SetObjTitle(FourDDialog* dialog, const char* name, const unsigned char* title);
    static void SetObjTitle(FourDDialog* dialog, const char* name, const char* title);
    static void SetObjTitle(FourDDialog* dialog, const char* name, short listID, short index);
    static void UpdateObjTitle(FourDDialog* dialog, const char* name);
    /// @family Stores where a variable's object is in `rect`; draws it again.
    static void GetRect(FourDDialog* dialog, const char* name, Rect* rect);
    static void Redraw(FourDDialog* dialog, const char* name);

    // --- Arrays -----------------------------------------------------------------------------
    // Elements have numbers (`index`) from 1; element 0 is there as well. An element is a `value`,
    // or a handle: `text`, `picture`.

    /// @family A new array of this name, without elements.
    static void NewArrayLong(FourDDialog* dialog, const char* name);
    static void NewArrayReal(FourDDialog* dialog, const char* name);
    static void NewArrayString(FourDDialog* dialog, const char* name);
    static void NewArrayText(FourDDialog* dialog, const char* name);
    static void NewArrayPicture(FourDDialog* dialog, const char* name);
    /// Handles stay the caller's.
    static void SetArrayElement(FourDDialog* dialog, const char* name, long index, long value);
    static void SetArrayElement(FourDDialog* dialog, const char* name, long index, double value);
    static void SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                const unsigned char* value);
    /// As a string; of more than 255 characters as a text.
    static void SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                const char* value);
    /// Classic on every host. A `Picture**` is told apart from a text by its type.
    static void SetArrayElement(FourDDialog* dialog, const char* name, long index, Handle text);
    static void SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                Picture** picture);
    /// Into `value`; 0 when there is no such element.
    static void GetArrayElement(FourDDialog* dialog, const char* name, long index, long* value);
    static void GetArrayElement(FourDDialog* dialog, const char* name, long index, double* value);
    /// 256 bytes each.
    static void GetArrayElement(FourDDialog* dialog, const char* name, long index,
                                unsigned char* value);
    static void GetArrayElement(FourDDialog* dialog, const char* name, long index, char* value);
    /// A new handle, which the caller disposes of. Classic on every host.
    static void GetArrayElement(FourDDialog* dialog, const char* name, long index, Handle* text);
    /// Pictures can be set but not read: does nothing.
    static void GetArrayElement(FourDDialog* dialog, const char* name, long index,
                                Picture*** picture);
    /// Number of the last element; below 0 when there is no such array.
    static long GetArraySize(FourDDialog* dialog, const char* name);
    /// Deletes `count` elements, `from` a number on.
    static void DeleteArrayElements(FourDDialog* dialog, const char* name, long from, long count);
    /// First element, from 0, that equals `value`; -1 when none does. Reads element by element.
    static long FindInArray(FourDDialog* dialog, const char* name, long value);
    static long FindInArray(FourDDialog* dialog, const char* name, double value);
    static long FindInArray(FourDDialog* dialog, const char* name, const unsigned char* value);
    /// First element that begins with `text`, a handle; null finds the first there is.
    static long FindInArray(FourDDialog* dialog, const char* name, Handle text);

    // --- Arrays from resources and structure --------------------------------------------------

    /// The string list `id` of the plug-in, whose resource file is current during the call.
    static void LoadTextArrayFromResource(FourDDialog* dialog, const char* name, short id);
    /// @family Names of the tables, and of the fields of `table`; `restrict` leaves out some field
    /// types.
    static void LoadTextArrayFromTableNames(FourDDialog* dialog, const char* name,
                                            unsigned char restrict);
    static void LoadTextArrayFromFieldNames(FourDDialog* dialog, const char* name, short table,
                                            unsigned char restrict);
    /// From a handle, `text`, and `id`, which are passed on to the host. Classic on every host.
    static void LoadTextArrayFromTTR(FourDDialog* dialog, const char* name, Handle text, short id);
    /// @family New array with the numbers, or strings, of the string list `id` of the plug-in;
    /// empty without one. The list is released: a handle to it that is held is no longer valid
    /// afterwards.
    static void LoadLongArrayFromResource(FourDDialog* dialog, const char* name, short id);
    static void LoadStringArrayFromResource(FourDDialog* dialog, const char* name, short id);
    /// New arrays with the values and strings of the plug-in's 'TKPL' resource `id`, which is
    /// released like that. `longName` or `stringName` may be null or empty, and then there is no
    /// such array.
    static void LoadLongAndStringArraysFromTKPLResource(FourDDialog* dialog, const char* longName,
                                                        const char* stringName, short id);

    // --- Hierarchical lists of tables and fields, and dragging --------------------------------
    // Classic on every host, except ClearHList.

    /// New list of tables and fields; `table`, `a`, `b`, `restrict`, `d` and `e` are passed on to
    /// the host in this order.
    static void NewTableFieldHList(FourDDialog* dialog, const char* name, short table,
                                   unsigned char a, unsigned char b, unsigned char restrict,
                                   unsigned char d, unsigned char e);
    /// Clears the list.
    static void ClearHList(FourDDialog* dialog, const char* name);
    /// @family The selected `table` and `field`; either output may be null. `restrict` is sent
    /// along.
    static void GetTableFieldFromHList(FourDDialog* dialog, const char* name, short* table,
                                       short* field, unsigned char restrict);
    static void SetTableFieldInHList(FourDDialog* dialog, const char* name, short table,
                                     short field, unsigned char restrict);
    /// Objects (`sourceName`, `targetName`) and points (`sourcePoint`, `targetPoint`) of the last
    /// drag; each output may be null, names take 256 bytes.
    static void GetDragInfo(FourDDialog* dialog, char* sourceName, Point* sourcePoint,
                            char* targetName, Point* targetPoint);

    // --- External areas (AreaManager.cpp) -----------------------------------------------------

    /// Puts an area of the plug-in, which its `manager` makes, into an object; null when the dialog
    /// has no window, there is no memory, the manager makes none, or it is deleted here. What the
    /// host answers does not count: the area goes with the last event that it sends. The manager
    /// has to outlive both. The `number` is not used.
    static CXArea* SetupPluginArea(FourDDialog* dialog, const char* objectName,
                                   CXAreaManager* manager, short number);
    /// Has the host send an object's area events to `handler` (a FourDDialogAreaHandler), with the
    /// address of where it keeps `data`. Classic on every host.
    static void SetAreaHandler(FourDDialog* dialog, const char* objectName, void* handler,
                               void* data);
};

/// @family One address, `data`, that the host keeps with each `dialog` for the plug-in.
void FourDDialog_SetUserData(FourDDialog* dialog, void* data);
void* FourDDialog_GetUserData(FourDDialog* dialog);
