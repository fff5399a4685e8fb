#pragma once

#include "host/boundary/Styles.h"
#include "host/State.h"
#include "platform/Compiler.h"

class CArray;
class FourDDialog;
struct FieldData;
struct FieldInfo;

/// Everything asked of the host: static wrappers, mostly one host call each. None of them throws; a
/// service that the host refuses answers what its record holds, which is zero. A null name, value
/// or place for a result reaches nobody: -50 where the host's result is answered, 0 where a number
/// or truth value is. Where null means something (a result that is not wanted, no handle, no
/// window), that is said.
class FourD {
  public:
    // --- The two call functions -----------------------------------------------------------
    /// Calls the service `selector` of the host with the classic record `block`; answers what the
    /// call-back returns. The host's result code is left in `block.error`. Nothing is checked.
    static long CallFourD(short selector, ParameterBlock& block);
    /// The same with an engine `block` and `selector`; only on hosts from 11.0 on.
    static long CallFourD11(short selector, FDEngineBlock& block);

    // --- Start and stop -------------------------------------------------------------------
    /// Keeps version and call-backs out of `init` and asks for the facts in HostState: once, before
    /// anything else here. A fact that cannot be had stays zero.
    static void Init(PackInitBlock* init);
    /// Releases nothing: what Init kept belongs to the host.
    static void Deinit();

    // --- Environment ----------------------------------------------------------------------
    /// Whether the host is a remote client (as at Init).
    static unsigned char Is4DClient();
    /// Whether the host is the database server (as at Init).
    static unsigned char Is4DServer();
    /// The host's version: bits 16-23 major (BCD), 24-27 minor, 28-31 fix (selector 56, param2).
    static long GetVersion();
    /// GetVersion without its low 16 bits: bits 0-7 major, 8-11 minor, 12-15 fix, sign-extended.
    static long Get4DVersionBCD();
    /// The three parts of GetVersion, `major`, `minor` and `fix`, each sign-extended from its own
    /// width. Null outputs are left out.
    static void Get4DVersion(long* major, long* minor, long* fix);
    /// The host's program information word, as it is now (selector 56, param1).
    static long Get4DProgram();
    /// Writes the 8-character version text of a packed version as a Pascal string: stage letter,
    /// "0", then three bytes in hexadecimal (bits 0-7, 24-31, 16-23). `out` holds 9 bytes.
    static void VersToVers4D(unsigned long version, unsigned char* out);
    /// Whether the calling database runs compiled (from host 11.0 on: the host or its caller).
    static unsigned char IsCompiled();
    /// Whether the host itself runs compiled; only on hosts from 11.0 on.
    static unsigned char IsV11HostCompiled();
    /// Whether the calling database runs compiled; only on hosts from 11.0 on.
    static unsigned char IsV11CallerCompiled();
    /// Whether the host's progress messages are on.
    static unsigned char GetMessages();
    /// `spec` becomes the structure file, made anew; empty, and -43, on a client or where Init
    /// found none.
    static OSErr GetStructFile(FSSpec* spec);
    /// `spec` becomes the folder that holds it; errors as above.
    static OSErr GetStructFolder(FSSpec* spec);
    /// @family Switches the host to its own environment mode, or to the Mac OS one, and records
    /// which; answers what the call returns.
    static long Setup4DEnv();
    static long SetupMacOSEnv();
    /// Stores the host's platform interface `kind`; answers the host's result code.
    static long GetPlatformInterface(long* kind);
    /// Whether the host uses 64-bit reals.
    static unsigned char Reals64();
    /// @family Converts a real in place between the host's 64-bit and 80-bit formats (selectors
    /// 154, 155); answers the host's result code.
    static OSErr SwapReal64To80(REAL_U* real);
    static OSErr SwapReal80To64(REAL_U* real);
    /// Path of one of the host's folders; `kind` 0 is the preferences folder. `create` makes it
    /// when it is missing. The buffer takes 261 bytes (as a Pascal string 256). Answers the host's
    /// result code; then the path is untouched (selector -427).
    static OSErr Get4DFolderPath(char* path, long kind, unsigned char create);
    static OSErr Get4DFolderPath(unsigned char* path, long kind, unsigned char create);
    /// `spec` becomes the data file, asked for once and then kept; empty, and -43, on a client.
    static OSErr GetDataFile(FSSpec* spec);
    /// @family `spec` becomes the folder that holds the data file; both do the same.
    static OSErr GetDataFolder(FSSpec* spec);
    static OSErr GetAppFolder(FSSpec* spec);
    /// The host's application type number, kept once it is known; -1 as long as it cannot be had.
    static long GetAppType();

    // --- Processes and events -------------------------------------------------------------
    // A process (`proc`) has a number from 1; 0 is no process. The host switches processes in
    // YieldToOthers, YieldAbsolute, GetNextEvent and PutProcessToSleep, in what has to wait (a call
    // to the server, a process that freezes itself), and between commands.

    /// Starts a process whose body is `proc`, a HOST_CALL function without arguments, which lets
    /// nothing that is thrown out (KeepExceptionsInside, shell/base/ExceptionBarrier.h). Its `name`
    /// is cut to what the record holds; `stackSize` is in bytes. Stores the new process's number, 0
    /// on failure, unless `procNum` is null; answers the host's result code.
    static OSErr NewXProcess(void* proc, const char* name, long stackSize, long* procNum);
    static OSErr NewXProcess(char* proc, const unsigned char* name, long stackSize, long* procNum);
    /// Ends the calling process; answers what the call returns.
    static long KillXProcess();
    /// Number of the calling process.
    static long CurrentProcess();
    /// @family How many processes there were, dead ones too; and how many live (classic always).
    static long GetNumProcesses();
    static long GetNumActiveProcesses();
    /// State of a process; negative when it has ended.
    static long GetProcessState(long proc);
    /// @family The `name` of a process, at most 255 characters (256 bytes); empty when there is
    /// none.
    static void GetProcessName(long proc, char* name);
    static void GetProcessName(long proc, unsigned char* name);
    static void GetProcessCName(long proc, char* name);
    /// First living process of this `name`; 0 when there is none.
    static long FindProcess(const unsigned char* name);
    static long FindProcess(const char* name);
    /// Whether the process lives and is not one of the host's own (classic on every host).
    static unsigned char IsUserProcess(long proc);
    /// Brings a process's windows to the front; answers what the call returns.
    static long BringProcessToFront(long proc);
    /// @family Has a process sleep for `duration` ticks (60 a second; 0 wakes), or stand still.
    static void PutProcessToSleep(long proc, long duration);
    static void WakeupProcess(long proc);
    static void FreezeProcess(long proc);
    static void UnfreezeProcess(long proc);
    /// @family Shows or hides a process through the host's command; results as with ExecProc.
    static OSErr ShowProcess(long proc);
    static OSErr HideProcess(long proc);
    /// Gives a `window` to a process; answers what the call returns.
    static long SetWindowProcess(GrafPort* window, long proc);
    /// Next `event` of the calling process that the `mask` lets through; false when there is none.
    /// Other processes run meanwhile.
    static unsigned char GetNextEvent(unsigned short mask, EventRecord* event);
    /// Puts an `event` into a process's queue; answers the host's result code.
    static OSErr PostProcessEvent(long proc, EventRecord* event);
    /// Whether the calling process has been asked to end.
    static unsigned char IsProcessDying();
    /// @family Lets other processes run; the first answers what the call returns.
    static long YieldToOthers();
    static void YieldAbsolute();
    /// Stores the free stack of the calling process, in bytes, when at least `needed` are left;
    /// `free` may be null. Answers the host's result code.
    static OSErr CheckFreeStack(long needed, long* free);
    /// Runs `proc(arg)` on the host's main thread; only on hosts from 11.0 on. `proc` is called
    /// by the host: declare it HOST_CALL and let nothing that is thrown out of it, as with
    /// NewXProcess. Answers what the call returns.
    static long ExecuteOnMainThreadV11(void (*proc)(void*), void* arg);
    /// Turns the host's progress messages on or off; answers what the call returns.
    static long SetMessages(long on);
    /// Asks the host to quit; answers what the call returns.
    static long Quit();

    // --- Statements and expressions ---------------------------------------------------------
    // Source text is sent to the host in the language of its commands; command names come from
    // GetCommandName, never from a literal. OSErr results are the host's result code, -108 when a
    // handle cannot be made.

    /// Executes a statement, the `text`.
    static OSErr ExecProc(const char* text);
    static void ExecProc(unsigned char* text);
    /// Evaluates an `expression`; on failure a long `result` is 0, a real untouched.
    static OSErr ExecFunc(unsigned char* expression, long* result);
    static OSErr ExecFunc(unsigned char* expression, REAL_U* result);
    /// Compiles source `text` (a handle of its characters) to `tokens`, a handle that the caller
    /// owns.
    static OSErr TokenizeProc(char** text, char*** tokens);
    /// The same from a host string, or `text` and `length` as CopyStringBufferToFDString takes
    /// them; null tokens on failure, and also when memory is full. Only on hosts from 11.0 on.
    static OSErr TokenizeProcV12(FDStringBlock* text, char*** tokens);
    static OSErr TokenizeProcV12(char* text, long length, char*** tokens);
    /// Executes `tokens` as a statement.
    static OSErr ExecTokenizedProc(char** tokens);
    /// Evaluates `tokens` into a `value`, whose type the caller has set (5 takes any).
    static OSErr ExecTokenizedFunc(char** tokens, ValueBlock* value);
    /// The same `value` of a host's copy of `tokens`; -50 for null. Only on hosts from 11.0 on.
    static OSErr ExecTokenizedFuncV12(char** tokens, ValueBlock* value);
    /// Source `text` of `tokens`, in a new handle that the caller owns.
    static OSErr DetokenizeProc(char** tokens, char*** text);
    /// Swaps the byte order of `tokens` in place.
    static OSErr ByteSwapTokens(char** tokens);
    /// @family Number of a method by its `name`; both do the same.
    static long GetMethodID(unsigned char* name);
    static long GetProcIndex(unsigned char* name);
    /// Executes a method by its number, `index`; answers what the call returns.
    static long ExecIndProc(long index);
    /// Executes a method by its number, `id`, with a parameter handle, `params`, which stays the
    /// caller's; may be null. `arg` is sent along.
    static OSErr CallMethodID(long id, long arg, char** params);
    /// Lets the user edit a formula for a `table`; true when it was accepted, and then `*formula`
    /// (may be null, else a handle of its text) holds the new text. Where that could not be stored,
    /// as without memory or in a locked handle, it is true all the same, and traced.
    static unsigned char EditFormula(char*** formula, long table);
    /// The `name` of a host command by its number, `cmd`; empty when the host has none. The Pascal
    /// buffer takes 256 bytes; answers what the call returns.
    static long GetCommandName(short cmd, unsigned char* name);
    /// The `name` of command `cmd` as text, at most 255 characters.
    static long GetCommandNameC(short cmd, char* name);
    /// @family Stores as `value` a `table`'s sequence number, or its number of records. 0 and the
    /// result code on failure; -1 when the host does not name the command.
    static OSErr SequenceNumber(short table, long* value);
    static OSErr RecordsInFile(short table, long* value);

    // --- Messages -------------------------------------------------------------------------
    /// Alert with a `message` (Pascal string) by the host's command; -1 when it has none.
    static OSErr Alert(unsigned char* message);
    /// Alert box of the host with a `message`; answers what the call returns. Those of a printf
    /// `format` are cut to 255 characters; or of string `index` in the plug-in's list `listID`.
    static long AlertV6(unsigned char* message);
    NIMBO_PRINTF_FORMAT(1, 2) static long AlertV6(const char* format, ...);
    static long AlertV6(short listID, short index, ...);
    /// Box with a `message`, or one of a `format`, OK and Cancel: true for OK.
    static unsigned char Confirm(unsigned char* message);
    NIMBO_PRINTF_FORMAT(1, 2) static unsigned char Confirm(const char* format, ...);
    /// Shows the host's about box; answers what the call returns.
    static long DoAbout();
    /// Whether the host takes two Pascal strings for equal: `a`, cut to 141 characters, and `b`.
    static unsigned char StringsEqual(unsigned char* a, unsigned char* b);

    // --- Values as text -------------------------------------------------------------------
    // The host's own formatting (selector 47); the Pascal string `out` takes 256 bytes. Answer the
    // host's result code; `out` is empty on error. An empty or null `format` is the host's default.

    /// @family A number, a real or a truth value.
    static OSErr Long2String(long value, unsigned char* format, unsigned char* out);
    static OSErr REAL2String(REAL_U value, unsigned char* format, unsigned char* out);
    static OSErr Double2String(double value, unsigned char* format, unsigned char* out);
    static OSErr Boolean2String(unsigned char value, unsigned char* format, unsigned char* out);
    /// A text of over 141 characters does not fit the call and comes back as it is.
    static OSErr String2String(unsigned char* text, unsigned char* format, unsigned char* out);
    /// @family The number of a display format of the host, 0 its default, for a `date`, or
    /// `seconds`.
    static OSErr Date2String(DateBlock* date, long format, unsigned char* out);
    static OSErr Time2String(long seconds, long format, unsigned char* out);

    // --- Variables by name ----------------------------------------------------------------
    // A `name` is a Pascal string. Handles in a `value` that was read belong to the host; those in
    // a value that is written become the host's. Results are the host's result codes.

    /// @family Reads or writes a process variable as a typed `value`; `flag` is sent along.
    static OSErr GetVariable(const unsigned char* name, ValueBlock* value);
    static OSErr SetVariable(const unsigned char* name, ValueBlock* value, unsigned char flag);
    /// @family The same for interprocess variables, `flag` too.
    static OSErr GetVariableIP(const unsigned char* name, ValueBlock* value);
    static OSErr SetVariableIP(const unsigned char* name, ValueBlock* value, unsigned char flag);
    /// @family A variable's long, `value`; -50, and an untouched one, when it is of another kind.
    /// The interprocess form takes the name with or without its prefix.
    static OSErr GetLongVar(unsigned char* name, long* value);
    static OSErr GetLongIPVar(unsigned char* name, long* value);
    static OSErr SetLongVar(unsigned char* name, long value);
    /// @family A variable's `text` handle, null for an empty text; -50 when it is of another kind.
    /// With `copy` the caller gets, or sends, a duplicate (null of null); otherwise the handle
    /// itself changes hands. Of what is sent the first 32767 bytes are the text.
    static OSErr GetTextVar(unsigned char* name, char*** text, unsigned char copy);
    static OSErr SetTextVar(unsigned char* name, char** text, unsigned char copy);
    /// A variable as a Pascal string of up to 255 characters in `value`, 256 bytes; empty on error.
    static OSErr GetProcessVar(unsigned char* name, unsigned char* value);
    /// A variable as an array, whatever type it has; the storage stays the host's, so
    /// CArray::Forget it in the end. `array` must own nothing: what it held is forgotten.
    static OSErr GetArrayVar(unsigned char* name, CArray* array);
    /// Has the host redraw variables.
    static OSErr UpdateVariables();

    // --- Tables, fields and records ---------------------------------------------------------
    // A `table` and a `field` have numbers from 1. Results are the host's result codes.

    /// @family Stores as `count` the number of tables, of a table's fields; 0 on error.
    static OSErr CountFiles(short* count);
    static OSErr CountFields(short table, short* count);
    /// The host's type code of a field (FieldType) in `type`; -1 on error.
    static OSErr GetFieldType(short table, short field, short* type);
    /// @family A table's `name` (Pascal string, or text of up to 255 characters); empty on error.
    static OSErr GetFileName(short table, unsigned char* name);
    static OSErr GetFileNameC(short table, char* name);
    /// Table and field number of a field by its `name`: "[Table]Field", or "Field" alone for the
    /// first table that has one; 0 and 0 on error.
    static OSErr GetFileFieldNum(unsigned char* name, short* table, short* field);
    /// Type, length, attributes and relations of a field in `info`.
    static OSErr GetFieldInfo(short table, short field, FieldInfo* info);
    /// @family A field of the current record; its `data` travels as host/boundary/Fields.h lists.
    /// Handles in what was read belong to the caller, and those in what is written stay the
    /// caller's. As a typed `value`, which is overwritten whatever it held, integers become longs
    /// and back; -1999 for the types that have no field, and for pictures on hosts from 11.0 on,
    /// which hold no handles there.
    static OSErr GetFieldData(short table, short field, ValueBlock* value);
    static OSErr SetFieldData(short table, short field, ValueBlock* value);
    static OSErr GetFieldData(short table, short field, FieldData* data);
    static OSErr SetFieldData(short table, short field, FieldData* data);
    /// Releases what `data` holds.
    static void DisposeFieldData(FieldData* data);
    /// Number of selected records in `count`; 0 on error.
    static OSErr RecordsInSelection(short table, long* count);
    /// Makes selected record `n`, from 1, the current one. The flags `a` and `b` are sent along.
    static OSErr GotoSelectedRecord(short table, long n, unsigned char a, unsigned char b);
    /// Makes a `record` current by its number, from 0; `a` and `b` as above.
    static OSErr GotoRecord(short table, long record, unsigned char a, unsigned char b);
    /// Number of the current `record`; -1 on error.
    static OSErr RecordNumber(short table, long* record);
    /// Place of the current record in the selection, `n`, from 1.
    static OSErr SelectedRecordNumber(short table, long* n);
    /// Makes a new record of a table, to be saved with UpdateRecord.
    static OSErr NewRecord(short table);
    /// Saves the current record.
    static OSErr UpdateRecord(short table);
    /// @family The current `record` as one packed handle that the caller owns, and back.
    static OSErr GetPackedRecord(short table, char*** record);
    static OSErr SetPackedRecord(short table, char** record);
    /// @family Deletes the current record; selects all records: the host's commands, as statements.
    static OSErr DeleteRecord(short table);
    static OSErr AllRecords(short table);

    // --- Printer, tips, picture editor ----------------------------------------------------
    /// @family Takes the printer for the calling process, and gives it back; fails while another
    /// has it.
    static OSErr AcquirePrinter();
    static OSErr ReleasePrinter();
    /// Whether another process has the printer (selector 120, param1).
    static unsigned char IsPrinterBusy();
    /// The print `record` in a new handle that the caller owns; null on error.
    static OSErr GetPrintInfo(char*** record);
    /// @family Whether the host shows tips (selector -256, param1); switches them `on` or off.
    static unsigned char TipsEnabled();
    static OSErr SetTipsEnabled(unsigned char on);
    /// Shows a tip with this `text`, a Pascal string.
    static OSErr CreateTip(const unsigned char* text);
    /// Lets the user edit a picture in the host's editor: true when it was accepted, and then
    /// `*picture` (may be null) holds the new one. The handle is the caller's throughout.
    static unsigned char EditPict(char*** picture);

    // --- Host strings and UTF-16 ------------------------------------------------------------
    // A host string (`string`) is created, changed and released by the host (11.0 and later); one
    // whose 16 bytes are zero is empty and owns nothing. 8-bit `text` is in the system ANSI code
    // page. -50 for null arguments, -108 without memory, else the host's result code.

    /// Has the host make an empty one.
    static OSErr CreateFDString(FDStringBlock* string);
    /// Sets a host string to zero-terminated UTF-16 `text`.
    static OSErr SetFDString(FDStringBlock* string, const unsigned short* text);
    /// Releases a host string and zeroes the caller's block, whatever the host says.
    static long DisposeFDStringBlock(FDStringBlock* string);
    /// @family The same to `length` bytes of text; to all of it for -1, to nothing below that.
    static OSErr CopyStringBufferToFDString(const char* text, long length, FDStringBlock* string);
    static OSErr CopyCStringToFDString(const char* text, FDStringBlock* string);
    /// @family As text of at most `size` - 1 bytes, or a Pascal string (256 bytes), in `out`; -50,
    /// and an empty one, when it does not fit.
    static OSErr CopyFDStringToCString(FDStringBlock* string, char* out, long size);
    static OSErr CopyFDStringToPStr(FDStringBlock* string, unsigned char* out);
    /// @family Text, `length` bytes or up to its terminator, to zero-terminated UTF-16 and back.
    /// The caller's buffer, `out`, has to hold all of it.
    static OSErr CopyCharsBuffToUniChars(const char* text, long length, unsigned short* out);
    static OSErr CopyCharsToUniChars(const char* text, unsigned short* out);
    static OSErr CopyPStrToUniChars(const unsigned char* text, unsigned short* out);
    static OSErr CopyUniCharsToChars(const unsigned short* text, char* out);
    static OSErr CopyUniCharsToPStr(const unsigned short* text, unsigned char* out);
    /// @family Between the Macintosh and the Windows character set (selector -424, every host);
    /// `dst` takes as many bytes as `src` has, with the terminator.
    static OSErr MacToAnsiCString(const char* src, char* dst);
    static OSErr AnsiToMacCString(const char* src, char* dst);
    static OSErr AnsiToMacPString(const unsigned char* src, unsigned char* dst);

    // --- Pictures ---------------------------------------------------------------------------
    // Only on hosts from 11.0 on. A `picture` holds representations, numbered from 1 (`index`).

    /// Information text of a representation as a host string that the caller releases. `info` may
    /// be null: but the host makes its string all the same, and then nobody can release it. -50 for
    /// a null picture, else the host's result code.
    static OSErr GetPictureInfo(FDPictureBlock* picture, long index, FDStringBlock* info);
    /// @family Copies a representation's `data` into the caller's handle; -8960 if it cannot.
    static OSErr GetPictureData(FDPictureBlock* picture, long index, char** data);
    static long CountPictureReps(FDPictureBlock* picture);
    /// The information text in `out`, at most `size` - 1 bytes; empty when there is none.
    static void GetFDPictureReprInfoCString(FDPictureBlock* picture, long index, char* out,
                                            long size);
    /// First representation whose information names the `type`; or any of `count` `types`, and
    /// which: `found`, which may be null. 0 when there is none.
    static long FindFDPictureReprForType(FDPictureBlock* picture, unsigned long type);
    static long FindFDPictureReprForType(FDPictureBlock* picture, unsigned long* types, long count,
                                         unsigned long* found);
    /// Native bitmap of a picture; the caller owns it.
    static char** CreateNativeBitmapImage(FDPictureBlock* picture);
    /// Releases a picture; answers what the call returns.
    static long DisposePictureV11(FDPictureBlock* picture);

    // --- Client and server ------------------------------------------------------------------
    // From a client's copy of the plug-in to the server's: the call identifier, `id`, travels in
    // param1, the plug-in's number of the call, `kind`, in param2, the `data` in `handle`. Host's
    // result codes.

    /// The `answer` of the server's copy, in a new handle that the caller owns, or null.
    static OSErr ReadOnServer(unsigned long id, short kind, char*** answer);
    /// The handle stays the caller's.
    static OSErr WriteOnServer(unsigned long id, short kind, char** data);

    // --- Plug-in resources, styles and colours ----------------------------------------------
    // Read from the plug-in's own resource file; the current file is put back afterwards.

    /// Identifier of the plug-in's resources.
    static short CurProcResID();
    /// @family A resource of the plug-in by its `type` and number, `id`, or its `name`; null when
    /// there is none. It stays the resource file's: release it with ReleaseResource. There is one
    /// handle for all who hold the resource: whoever releases it, as the operations do that say so,
    /// leaves the others with one that is no longer valid.
    static Handle GetPluginResource(unsigned long type, short id);
    static Handle GetPluginResourceByName(unsigned long type, const unsigned char* name);
    /// Resource number that the plug-in's map (resource `mapType` of CurProcResID) gives to an
    /// identifier `localID` of a `type`; 0 when it gives none. The map is released: a handle to it
    /// that is held is no longer valid afterwards.
    static short GetResNum(unsigned long mapType, unsigned long type, short localID);
    /// @family Item `index`, from 1, of the string list `listID`; empty when there is none. `out`
    /// takes 256 bytes. As text it ends at the first zero byte.
    static void GetPluginIndString(unsigned char* out, short listID, short index);
    static void GetPluginIndCString(char* out, short listID, short index);
    /// Item `index` of list `listID` as a printf format; at most 255 characters into `out`.
    static void GetPluginSprIndString(unsigned char* out, short listID, short index, ...);
    /// Replaces ":list,index" by that item of a string list, and leaves any other text alone;
    /// `text` takes 256 bytes. Either part is a number or the name of a long variable, of which the
    /// low 16 bits count; a variable that cannot be read counts as 0.
    static void EvalPluginStringWithResRefs(unsigned char* text);
    /// Takes the interprocess prefix off a variable's `name`; false when it has none.
    static unsigned char StripIPVarName(unsigned char* name);
    /// @family A `style` of the plug-in, out of 'Styl' resource `id`; an extended one, out of a
    /// 'StyX' resource by its identifier or `name`. -192 when there is none, -50 when it is too
    /// short; zeroed then. The resource is released: a handle to it that is held is no longer valid
    /// afterwards.
    static OSErr GetStyleRes(short id, FourDStyle* style);
    static OSErr GetStyleXResByID(short id, FourDStyleX* style);
    static OSErr GetStyleXResByName(const unsigned char* name, FourDStyleX* style);
    /// @family The first `style` of the identifier `id`, or `name` as StringsEqual compares, in a
    /// style `list`, a platform handle (host/boundary/Styles.h says where an author gets one); 0
    /// and a zeroed one when there is none. -50 for a null list and one of less than 380 bytes.
    static OSErr GetStyleByID(char** list, short id, FourDStyle* style);
    static OSErr GetStyleByName(char** list, const unsigned char* name, FourDStyle* style);
    static OSErr GetStyleXByID(char** list, short id, FourDStyleX* style);
    static OSErr GetStyleXByName(char** list, const unsigned char* name, FourDStyleX* style);
    /// Font, size and face (`spec`) of a `style` on the host's platform interface; a kind that the
    /// style has no entry for counts as 2. The host's result code, and zeros, when it does not tell
    /// its kind.
    static OSErr GetPlatformStyle(const FourDStyle* style, FourDPlatformStyle* spec);
    static OSErr GetPlatformStyle(const FourDStyleX* style, FourDPlatformStyle* spec);
    /// @family The same `spec` of an extended style in a `list`, of an extended style of the
    /// plug-in, by `id` or `name`. Errors, and what is released, as with GetStyleXByID and
    /// GetStyleXResByID; zeros then.
    static OSErr GetPlatformStyleByID(char** list, short id, FourDPlatformStyle* spec);
    static OSErr GetPlatformStyleSpecByID(short id, FourDPlatformStyle* spec);
    static OSErr GetPlatformStyleSpecByName(const unsigned char* name, FourDPlatformStyle* spec);
    /// A `color` number (0x00RRGGBB, or -1 to -4 for the host's standard colours) in 16-bit
    /// components, `rgb`; -50, and black, for any other.
    static OSErr GetRGBColor(long color, RGBColor* rgb);
    /// Components `red`, `green` and `blue`, 0 to 65535, of the host's system colour `index`, 0 to
    /// 3; zeros, and -50, for another.
    static OSErr GetDrawingColor(short index, long* red, long* green, long* blue);
    /// The host's system `colors` (selector 163, their address in handle); they stay the host's.
    static OSErr GetColors(SysColors4D** colors);

    // --- The structure's resources ----------------------------------------------------------
    // Resources of the structure and of files opened through the host, each by the number of its
    // `file`, its `type` (four characters) and its identifier, `id`. Results are the host's result
    // codes; what was asked for is 0, null or empty then. Handles that are read belong to the
    // caller (DisposeHandle), those that are written stay the caller's.

    /// @family Opens a file by its native `path`, a Pascal string, or creates one; to be closed.
    static OSErr Open4DResFile(const unsigned char* path, long* file);
    static OSErr Create4DResFile(const unsigned char* path, long* file);
    static OSErr Close4DResFile(long file);
    /// Saves what was changed.
    static OSErr Update4DResFile(long file);
    /// The structure's own file, which is always open.
    static OSErr GetStruct4DResFileRef(long* file);
    /// @family Types, and a type's resources: how many (`count`), the one at an `index` from 1, or
    /// a handle of them all (32-bit `types`, 16-bit `ids`, back to back).
    static OSErr Count4DResTypes(long file, long* count);
    static OSErr GetIndResType(long file, long index, unsigned long* type);
    static OSErr Get4DResTypeList(long file, char*** types);
    static OSErr Count4DRes(long file, unsigned long type, long* count);
    static OSErr GetInd4DResID(long file, unsigned long type, long index, short* id);
    static OSErr Get4DResIDList(long file, unsigned long type, char*** ids);
    /// @family The `name` (Pascal string, 256 bytes), `timestamp` and bytes of a `resource`.
    static OSErr Get4DResName(long file, unsigned long type, short id, unsigned char* name);
    static OSErr Set4DResName(long file, unsigned long type, short id, const unsigned char* name);
    static OSErr Get4DResTimestamp(long file, unsigned long type, short id, long* timestamp);
    static OSErr Get4DRes(long file, unsigned long type, short id, char*** resource);
    static OSErr Set4DRes(long file, unsigned long type, short id, char** resource);
    /// @family Adds a `resource` (its `name` may be null), a handle of its bytes; deletes one.
    static OSErr Add4DRes(long file, unsigned long type, short id, const unsigned char* name,
                          char** resource);
    static OSErr Del4DRes(long file, unsigned long type, short id);
    /// An identifier that no resource of the type has.
    static OSErr GetUnique4DResID(long file, unsigned long type, short* id);
    /// @family Nothing is locked: both do nothing and answer 0.
    static OSErr Lock4DRes(long file, unsigned long type, short id);
    static OSErr Unlock4DRes(long file, unsigned long type, short id);

    // --- Host handles ---------------------------------------------------------------------
    // Owned by the host; only on hosts from 11.0 on, elsewhere every request fails.

    /// New handle of `size` bytes; null when the host has no memory.
    static char** NewHandleV11(long size);
    /// A null handle is ignored, here and in LockHandleV11.
    static void DisposeHandleV11(char** handle);
    /// Whether the handle now has `size` bytes; false for null.
    static unsigned char SetHandleSizeV11(char** handle, long size);
    /// Bytes in the handle; 0 for null.
    static long GetHandleSizeV11(char** handle);
    /// @family Keeps the bytes of `handle` where they are; lets them move.
    static void LockHandleV11(char** handle);
    static void UnlockHandleV11(char** handle);

    // --- Windows --------------------------------------------------------------------------
    // The host's windows, in one front-to-back list. Null for no `window`; a null one has no kind
    // and is not in the list. What only the host knows it is asked of null, too, and its answer
    // stands: owner, focus, method editor, dialog.

    /// @family First window of the list; null without host globals. Both do the same.
    static GrafPort* LMGetWindowList();
    static GrafPort* GetFrontmostWindow();
    /// The window behind `window`; null at the end and for null.
    static GrafPort* GetNextMacWindow(GrafPort* window);
    /// Whether it is one in the list.
    static unsigned char IsWindow(GrafPort* window);
    /// @family Kind of a window, and whether it is of the host's documents (8), modal (9), a
    /// plug-in's (5), floating (14).
    static short WindowKind(GrafPort* window);
    static unsigned char IsRegularWindow(GrafPort* window);
    static unsigned char IsModalDialog(GrafPort* window);
    static unsigned char IsExternalWindow(GrafPort* window);
    static unsigned char IsFloatingWindow(GrafPort* window);
    /// Number of the process that owns `window`.
    static long GetWindowProcess(GrafPort* window);
    /// Native window (HWND) of a window; 0 for null.
    static unsigned long MacPortToHWND(GrafPort* window);
    /// Native drawing context (HDC) of the update that is under way; 0 for none.
    static unsigned long GetUpdateHDC();
    /// First visible window that does not float.
    static GrafPort* GetFrontmostNonFloatingWindow();
    /// First window that `process` owns and that does not float, visible or not.
    static GrafPort* GetFrontmostNonFloatingWindowOfProcess(long process);
    /// First window that `process` owns.
    static GrafPort* GetFrontmostWindowOfProcess(long process);
    /// The host's floating window.
    static GrafPort* FloatingWindow();
    /// The window of a server's application, the frontmost regular one of process 1, or null.
    static GrafPort* Get4DServerMainWindow();
    /// Content region of a window, in screen coordinates; it stays the window's.
    static Region** GetWindowContentRegion(GrafPort* window);
    /// Gives the window of an external area, `areaRef` to the host, a `title` (Pascal string).
    static OSErr SetExWindowTitle(long areaRef, unsigned char* title);
    /// The `color` of what is selected, as Windows is set.
    static void LMGetHiliteColor(RGBColor* color);

    /// @family Whether the window is of the host's debugger: its title begins with "Debugger". And
    /// whether such a window is open and visible.
    static unsigned char IsDebuggerWindow(GrafPort* window);
    static unsigned char HasDebuggerWindowOpen();

    /// @family Whether a window is one of the host's method editor; the frontmost non-floating
    /// window, if it is. Its text stays the host's.
    static unsigned char IsProcEditWindow(GrafPort* window);
    static GrafPort* GetFrontmostProcEditWindow();
    static TEHandle GetProcEditTE(GrafPort* window);
    /// The same text in `te` with the host's result code; null on error.
    static OSErr GetProcEditTEHandle(GrafPort* window, TEHandle* te);
    /// The line that the method editor's window shows as current (selector 133, error).
    static short CalcProcEditLine(GrafPort* window);
    /// The text that has the keyboard focus (selector -81, param1); it stays the host's.
    static TEHandle GetCurrentTE();

    /// @family The window with the keyboard focus, and whether one has it or can have it.
    static GrafPort* GetFocusedWindow();
    static unsigned char IsWindowFocused(GrafPort* window);
    static unsigned char IsWindowFocusable(GrafPort* window);
    /// @family Gives (`on`) or takes the focus, or the right to it; the host's result code.
    static OSErr SetWindowFocused(GrafPort* window, unsigned char on);
    static OSErr SetWindowFocusable(GrafPort* window, unsigned char on);

    /// @family The `dialog` that a window belongs to, and back.
    static FourDDialog* GetFourDDialogFromWindow(GrafPort* window);
    static GrafPort* GetWindowFromFourDDialog(FourDDialog* dialog);
};

/// The structure folder's path, `folder`, and the structure file's, `file`: 261 bytes each, cut to
/// what fits. Answers 0.
long _GetStructurePaths(char* folder, char* file);
/// The preferences folder's `path`: 261 bytes.
void _GetPrefsFolderPath(char* path);
/// The host's globals, null when it has none (selector 159, handle).
void** _GetMacGlobals();
/// The program information word (selectors 56, -56, param1).
unsigned long _GetProgramInfo();
/// The plug-in's resource identifier (selectors 23, -23, low half of param1).
short _GetPluginResID();

/// `spec` becomes the file whose full path the host command `cmd` answers. Result codes: -50 when
/// the host does not name the command, -108, or what host or conversion answer.
OSErr GetFSSpecBy4DCommand(short cmd, FSSpec* spec);
/// The `text` that the host command `cmd` answers, as client identification asks for the machine
/// (483), its owner (484) and the user (182): at most `size` - 1 bytes and a terminator. Empty on
/// error; result codes as above.
OSErr GetTextBy4DCommand(short cmd, char* text, long size);
/// The host's standard `color` -1 to -4 as 0x00RRGGBB; white for any other number.
long Hack4DStdColor(long color);
/// The system colour, 0 to 3, that stands for a standard `color`; -1 when there is none.
long MapDefaultColorToSysColors4DSelector(long color);
