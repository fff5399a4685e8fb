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

    /// Calls the host with the classic record; answers what the call-back returns. The host's
    /// result code is left in `block.error`. Nothing is checked.
    static long CallFourD(short selector, ParameterBlock& block);
    /// The same with the engine record; only on hosts from 11.0 on.
    static long CallFourD11(short selector, FDEngineBlock& block);

    // --- Start and stop -------------------------------------------------------------------

    /// Keeps the host's version and call-backs and asks for the facts in HostState. Called once,
    /// before anything else here. A fact that cannot be had stays zero.
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
    /// The three parts of GetVersion, each sign-extended from its own width. Null outputs are
    /// left out.
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
    /// Specification of the structure file, made anew; -43, and an empty one, on a client and where
    /// FourD::Init found none.
    static OSErr GetStructFile(FSSpec* spec);
    /// Specification of the folder that holds it; errors as above.
    static OSErr GetStructFolder(FSSpec* spec);
    /// Switches the host to its own environment mode, or to the Mac OS one, and records which;
    /// answers what the call returns.
    static long Setup4DEnv();
    static long SetupMacOSEnv();
    /// Stores the host's platform interface kind; answers the host's result code.
    static long GetPlatformInterface(long* kind);
    /// Whether the host uses 64-bit reals.
    static unsigned char Reals64();
    /// Converts a real in place between the host's 64-bit and 80-bit formats (selectors 154, 155);
    /// answers the host's result code.
    static OSErr SwapReal64To80(REAL_U* real);
    static OSErr SwapReal80To64(REAL_U* real);
    /// Path of one of the host's folders; kind 0 is the preferences folder. `create` makes it when
    /// it is missing. The buffer takes 261 bytes (as a Pascal string 256). Answers the host's
    /// result code; then the path is untouched (selector -427).
    static OSErr Get4DFolderPath(char* path, long kind, unsigned char create);
    static OSErr Get4DFolderPath(unsigned char* path, long kind, unsigned char create);
    /// Specification of the data file, asked for once and then kept; -43, and an empty one, on a
    /// client.
    static OSErr GetDataFile(FSSpec* spec);
    /// Specification of the folder that holds the data file; both do the same.
    static OSErr GetDataFolder(FSSpec* spec);
    static OSErr GetAppFolder(FSSpec* spec);
    /// The host's application type number, kept once it is known; -1 as long as it cannot be had.
    static long GetAppType();

    // --- Processes and events -------------------------------------------------------------
    // Processes have numbers from 1; 0 is no process. The host switches processes in
    // YieldToOthers, YieldAbsolute, GetNextEvent and PutProcessToSleep, in what has to wait (a call
    // to the server, a process that freezes itself), and between commands.

    /// Starts a process whose body is `proc`, a HOST_CALL function without arguments, which lets
    /// nothing that is thrown out (KeepExceptionsInside, shell/base/ExceptionBarrier.h). The name
    /// is cut to what the record holds; the stack size is in bytes. Stores the new process's
    /// number, 0 on failure, unless `procNum` is null; answers the host's result code.
    static OSErr NewXProcess(void* proc, const char* name, long stackSize, long* procNum);
    static OSErr NewXProcess(char* proc, const unsigned char* name, long stackSize, long* procNum);
    /// Ends the calling process; answers what the call returns.
    static long KillXProcess();
    /// Number of the calling process.
    static long CurrentProcess();
    /// How many processes there were, living or not; and how many live (classic on every host).
    static long GetNumProcesses();
    static long GetNumActiveProcesses();
    /// State of a process; negative when it has ended.
    static long GetProcessState(long proc);
    /// Name of a process, at most 255 characters (256 bytes); empty when there is no such process.
    static void GetProcessName(long proc, char* name);
    static void GetProcessName(long proc, unsigned char* name);
    static void GetProcessCName(long proc, char* name);
    /// First living process of this name; 0 when there is none.
    static long FindProcess(const unsigned char* name);
    static long FindProcess(const char* name);
    /// Whether the process lives and is not one of the host's own (classic on every host).
    static unsigned char IsUserProcess(long proc);
    /// Answers what the call returns, as do SetWindowProcess and YieldToOthers.
    static long BringProcessToFront(long proc);
    /// Sleeps for `duration` ticks (60 a second); 0 wakes.
    static void PutProcessToSleep(long proc, long duration);
    static void WakeupProcess(long proc);
    static void FreezeProcess(long proc);
    static void UnfreezeProcess(long proc);
    /// Shows or hides a process through the host's command; results as with ExecProc.
    static OSErr ShowProcess(long proc);
    static OSErr HideProcess(long proc);
    /// Gives a window to a process.
    static long SetWindowProcess(GrafPort* window, long proc);
    /// Next event of the calling process that the mask lets through; false when there is none.
    /// Other processes run meanwhile.
    static unsigned char GetNextEvent(unsigned short mask, EventRecord* event);
    /// Puts an event into a process's queue; answers the host's result code.
    static OSErr PostProcessEvent(long proc, EventRecord* event);
    /// Whether the calling process has been asked to end.
    static unsigned char IsProcessDying();
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

    /// Executes a statement.
    static OSErr ExecProc(const char* text);
    static void ExecProc(unsigned char* text);
    /// Evaluates an expression; on failure the long is 0, the real untouched.
    static OSErr ExecFunc(unsigned char* expression, long* result);
    static OSErr ExecFunc(unsigned char* expression, REAL_U* result);
    /// Compiles source text (a handle of its characters) to tokens, which the caller disposes of
    /// with DisposeHandle.
    static OSErr TokenizeProc(char** text, char*** tokens);
    /// The same from a host string, or text as CopyStringBufferToFDString takes it; null tokens on
    /// failure, and also when memory is full. Only on hosts from 11.0 on.
    static OSErr TokenizeProcV12(FDStringBlock* text, char*** tokens);
    static OSErr TokenizeProcV12(char* text, long length, char*** tokens);
    /// Executes tokens as a statement.
    static OSErr ExecTokenizedProc(char** tokens);
    /// Evaluates tokens into a value, whose type the caller has set (5 takes any).
    static OSErr ExecTokenizedFunc(char** tokens, ValueBlock* value);
    /// The same with a host's copy of the tokens; -50 for null. Only on hosts from 11.0 on.
    static OSErr ExecTokenizedFuncV12(char** tokens, ValueBlock* value);
    /// Source text of tokens, in a new handle that the caller owns.
    static OSErr DetokenizeProc(char** tokens, char*** text);
    /// Swaps the byte order of tokens in place.
    static OSErr ByteSwapTokens(char** tokens);
    /// Number of a method by its name; both do the same.
    static long GetMethodID(unsigned char* name);
    static long GetProcIndex(unsigned char* name);
    /// Executes a method by number; answers what the call returns.
    static long ExecIndProc(long index);
    /// Executes a method by number with a parameter handle, which stays the caller's; may be null.
    static OSErr CallMethodID(long id, long arg, char** params);
    /// Lets the user edit a formula for a table; true when it was accepted, and then `*formula`
    /// (may be null, else a handle of its text) holds the new text. Where that could not be stored,
    /// as without memory or in a locked handle, it is true all the same, and traced.
    static unsigned char EditFormula(char*** formula, long table);
    /// Name of a host command by its number; empty when the host has none. The Pascal buffer takes
    /// 256 bytes; answers what the call returns.
    static long GetCommandName(short cmd, unsigned char* name);
    /// The same as text, at most 255 characters.
    static long GetCommandNameC(short cmd, char* name);
    /// A table's sequence number, or its number of records. 0 and the result code on failure; -1
    /// when the host does not name the command.
    static OSErr SequenceNumber(short table, long* value);
    static OSErr RecordsInFile(short table, long* value);

    // --- Messages -------------------------------------------------------------------------

    /// Alert through the host's command, -1 when the host does not name it.
    static OSErr Alert(unsigned char* message);
    /// Alert box of the host; answers what the call returns. Formatted messages are cut to 255
    /// characters; the second reads its format from the plug-in's string list.
    static long AlertV6(unsigned char* message);
    NIMBO_PRINTF_FORMAT(1, 2) static long AlertV6(const char* format, ...);
    static long AlertV6(short listID, short index, ...);
    /// Box with OK and Cancel: true when the user pressed OK.
    static unsigned char Confirm(unsigned char* message);
    NIMBO_PRINTF_FORMAT(1, 2) static unsigned char Confirm(const char* format, ...);
    /// Shows the host's about box; answers what the call returns.
    static long DoAbout();
    /// The host's verdict whether two Pascal strings are equal. `a` is cut to 141 characters.
    static unsigned char StringsEqual(unsigned char* a, unsigned char* b);

    // --- Values as text -------------------------------------------------------------------
    // The host's own formatting (selector 47); the Pascal result takes 256 bytes. Answer the host's
    // result code; the text is empty then. An empty or null format is the host's default.

    static OSErr Long2String(long value, unsigned char* format, unsigned char* out);
    static OSErr REAL2String(REAL_U value, unsigned char* format, unsigned char* out);
    static OSErr Double2String(double value, unsigned char* format, unsigned char* out);
    static OSErr Boolean2String(unsigned char value, unsigned char* format, unsigned char* out);
    /// A text of over 141 characters does not fit the call and comes back as it is.
    static OSErr String2String(unsigned char* text, unsigned char* format, unsigned char* out);
    /// Dates and times take a number of the host's display formats; 0 is its default. Times are
    /// seconds.
    static OSErr Date2String(DateBlock* date, long format, unsigned char* out);
    static OSErr Time2String(long seconds, long format, unsigned char* out);

    // --- Variables by name ----------------------------------------------------------------
    // Names are Pascal strings. Handles in a value that was read belong to the host; those in a
    // value that is written become the host's. Results are the host's result codes.

    /// Reads or writes a process variable as a typed value. `flag` is sent along for the host.
    static OSErr GetVariable(const unsigned char* name, ValueBlock* value);
    static OSErr SetVariable(const unsigned char* name, ValueBlock* value, unsigned char flag);
    /// The same for interprocess variables.
    static OSErr GetVariableIP(const unsigned char* name, ValueBlock* value);
    static OSErr SetVariableIP(const unsigned char* name, ValueBlock* value, unsigned char flag);
    /// A variable's long; -50, and an untouched value, when it is of another kind. The interprocess
    /// form takes the name with or without its prefix.
    static OSErr GetLongVar(unsigned char* name, long* value);
    static OSErr GetLongIPVar(unsigned char* name, long* value);
    static OSErr SetLongVar(unsigned char* name, long value);
    /// A variable's text handle, null for an empty text; -50 when it is of another kind. With
    /// `copy` the caller gets, or sends, a duplicate (null of null); otherwise the handle itself
    /// changes hands. Of what is sent the first 32767 bytes are the text.
    static OSErr GetTextVar(unsigned char* name, char*** text, unsigned char copy);
    static OSErr SetTextVar(unsigned char* name, char** text, unsigned char copy);
    /// A variable as a Pascal string of up to 255 characters; empty on error.
    static OSErr GetProcessVar(unsigned char* name, unsigned char* value);
    /// A variable as an array, whatever type it has; the storage stays the host's, so
    /// CArray::Forget it in the end. `array` must own nothing: what it held is forgotten, not
    /// disposed of.
    static OSErr GetArrayVar(unsigned char* name, CArray* array);
    /// Has the host redraw variables.
    static OSErr UpdateVariables();

    // --- Tables, fields and records ---------------------------------------------------------
    // Tables and fields have numbers from 1. Results are the host's result codes.

    /// Number of tables, of a table's fields; 0 on error.
    static OSErr CountFiles(short* count);
    static OSErr CountFields(short table, short* count);
    /// The host's type code of a field; -1 on error.
    static OSErr GetFieldType(short table, short field, short* type);
    /// A table's name (Pascal string, or text of up to 255 characters); empty on error.
    static OSErr GetFileName(short table, unsigned char* name);
    static OSErr GetFileNameC(short table, char* name);
    /// Table and field number of a field by its name: "[Table]Field", or "Field" alone for the
    /// first table that has one; 0 and 0 on error.
    static OSErr GetFileFieldNum(unsigned char* name, short* table, short* field);
    /// Type, length, attributes and relations of a field, see FieldInfo.
    static OSErr GetFieldInfo(short table, short field, FieldInfo* info);
    /// A field of the current record; its value travels as host/boundary/Fields.h lists. Handles in
    /// what was read belong to the caller, and those in what is written stay the caller's. As a
    /// typed value, which is overwritten whatever it held, integers become longs and back; -1999
    /// for the types that have no field, and for pictures on hosts from 11.0 on, which do not hold
    /// handles there.
    static OSErr GetFieldData(short table, short field, ValueBlock* value);
    static OSErr SetFieldData(short table, short field, ValueBlock* value);
    static OSErr GetFieldData(short table, short field, FieldData* data);
    static OSErr SetFieldData(short table, short field, FieldData* data);
    /// Releases what `data` holds.
    static void DisposeFieldData(FieldData* data);
    /// Number of selected records; 0 on error.
    static OSErr RecordsInSelection(short table, long* count);
    /// Makes the n-th selected record, from 1, the current one. The flags are sent along.
    static OSErr GotoSelectedRecord(short table, long n, unsigned char a, unsigned char b);
    /// Makes a record current by its number, from 0.
    static OSErr GotoRecord(short table, long record, unsigned char a, unsigned char b);
    /// Number of the current record; -1 on error.
    static OSErr RecordNumber(short table, long* record);
    /// Place of the current record in the selection, from 1.
    static OSErr SelectedRecordNumber(short table, long* n);
    static OSErr NewRecord(short table);
    /// Saves the current record.
    static OSErr UpdateRecord(short table);
    /// The current record as one packed handle that the caller owns, and back.
    static OSErr GetPackedRecord(short table, char*** record);
    static OSErr SetPackedRecord(short table, char** record);
    /// Deletes the current record; selects all records: the host's own commands, executed as
    /// statements.
    static OSErr DeleteRecord(short table);
    static OSErr AllRecords(short table);

    // --- Printer, tips, picture editor ----------------------------------------------------

    /// Takes the printer for the calling process, and gives it back; the host's result code when
    /// another process has it.
    static OSErr AcquirePrinter();
    static OSErr ReleasePrinter();
    /// Whether another process has the printer (selector 120, param1).
    static unsigned char IsPrinterBusy();
    /// The print record in a new handle that the caller owns; null on error.
    static OSErr GetPrintInfo(char*** record);
    /// Whether the host shows tips (selector -256, param1); switches them on or off.
    static unsigned char TipsEnabled();
    static OSErr SetTipsEnabled(unsigned char on);
    /// Shows a tip with this text, a Pascal string.
    static OSErr CreateTip(const unsigned char* text);
    /// Lets the user edit a picture in the host's editor: true when it was accepted, and then
    /// `*picture` (may be null) holds the new one. The handle is the caller's throughout.
    static unsigned char EditPict(char*** picture);

    // --- Host strings and UTF-16 ------------------------------------------------------------
    // A host string is created, changed and released by the host (11.0 and later); one whose 16
    // bytes are zero is empty and owns nothing. 8-bit text is in the system ANSI code page. -50 for
    // null arguments, -108 without memory, else the host's result code.

    static OSErr CreateFDString(FDStringBlock* string);
    /// Sets a host string to zero-terminated UTF-16 text.
    static OSErr SetFDString(FDStringBlock* string, const unsigned short* text);
    /// Releases a host string and zeroes the caller's block, whatever the host says.
    static long DisposeFDStringBlock(FDStringBlock* string);
    /// The same to `length` bytes of text; to all of it for -1, to nothing below that.
    static OSErr CopyStringBufferToFDString(const char* text, long length, FDStringBlock* string);
    static OSErr CopyCStringToFDString(const char* text, FDStringBlock* string);
    /// Text of at most size - 1 bytes; -50, and an empty one, when it does not fit.
    static OSErr CopyFDStringToCString(FDStringBlock* string, char* out, long size);
    static OSErr CopyFDStringToPStr(FDStringBlock* string, unsigned char* out);
    /// Text to zero-terminated UTF-16 and back. The caller's buffer has to hold all of it.
    static OSErr CopyCharsBuffToUniChars(const char* text, long length, unsigned short* out);
    static OSErr CopyCharsToUniChars(const char* text, unsigned short* out);
    static OSErr CopyPStrToUniChars(const unsigned char* text, unsigned short* out);
    static OSErr CopyUniCharsToChars(const unsigned short* text, char* out);
    static OSErr CopyUniCharsToPStr(const unsigned short* text, unsigned char* out);
    /// Between the Macintosh and the Windows character set (selector -424, every host); `dst` takes
    /// as many bytes as `src` has, with the terminator.
    static OSErr MacToAnsiCString(const char* src, char* dst);
    static OSErr AnsiToMacCString(const char* src, char* dst);
    static OSErr AnsiToMacPString(const unsigned char* src, unsigned char* dst);

    // --- Pictures ---------------------------------------------------------------------------
    // Only on hosts from 11.0 on. A picture holds representations, numbered from 1.

    /// Information text of a representation as a host string that the caller releases. `info` may
    /// be null: but the host makes its string all the same, and then nobody can release it. -50 for
    /// a null picture, else the host's result code.
    static OSErr GetPictureInfo(FDPictureBlock* picture, long index, FDStringBlock* info);
    /// Copies a representation's data into the caller's handle; -8960 when the host cannot.
    static OSErr GetPictureData(FDPictureBlock* picture, long index, char** data);
    static long CountPictureReps(FDPictureBlock* picture);
    /// The same text in at most size - 1 bytes; empty when there is none.
    static void GetFDPictureReprInfoCString(FDPictureBlock* picture, long index, char* out,
                                            long size);
    /// First representation whose information names the type; of the list form the first that names
    /// any of them, and which. 0 when there is none.
    static long FindFDPictureReprForType(FDPictureBlock* picture, unsigned long type);
    static long FindFDPictureReprForType(FDPictureBlock* picture, unsigned long* types, long count,
                                         unsigned long* found);
    /// Native bitmap of a picture; the caller owns it.
    static char** CreateNativeBitmapImage(FDPictureBlock* picture);
    /// Releases a picture; answers what the call returns.
    static long DisposePictureV11(FDPictureBlock* picture);

    // --- Client and server ------------------------------------------------------------------
    // From a client's copy of the plug-in to the server's: the call identifier travels in param1,
    // the kind in param2, the data in `handle`. Results are the host's result codes.

    /// What the server's copy answers, in a new handle that the caller owns; null when it answers
    /// nothing.
    static OSErr ReadOnServer(unsigned long id, short kind, char*** answer);
    /// The handle stays the caller's.
    static OSErr WriteOnServer(unsigned long id, short kind, char** data);

    // --- Plug-in resources, styles and colours ----------------------------------------------
    // Read from the plug-in's own resource file; the current file is put back afterwards.

    /// Identifier of the plug-in's resources.
    static short CurProcResID();
    /// A resource of the plug-in; null when there is none. It stays the resource file's: release it
    /// with ReleaseResource. There is one handle for all who hold the resource: whoever releases
    /// it, as the operations do that say so, leaves the others with one that is no longer valid.
    static Handle GetPluginResource(unsigned long type, short id);
    static Handle GetPluginResourceByName(unsigned long type, const unsigned char* name);
    /// Resource number that the plug-in's map (resource `mapType` of CurProcResID) gives to a local
    /// identifier of a type; 0 when it gives none. The map is released: a handle to it that is held
    /// is no longer valid afterwards.
    static short GetResNum(unsigned long mapType, unsigned long type, short localID);
    /// An item, from 1, of a string list; empty when there is none. `out` takes 256 bytes. As text
    /// it ends at the first zero byte.
    static void GetPluginIndString(unsigned char* out, short listID, short index);
    static void GetPluginIndCString(char* out, short listID, short index);
    /// The item used as a printf format for the further arguments, cut to 255 characters.
    static void GetPluginSprIndString(unsigned char* out, short listID, short index, ...);
    /// Replaces ":list,index" by that item of a string list, and leaves any other text alone;
    /// `text` takes 256 bytes. Either part is a number or the name of a long variable, of which the
    /// low 16 bits count; a variable that cannot be read counts as 0.
    static void EvalPluginStringWithResRefs(unsigned char* text);
    /// Takes the interprocess prefix off a variable's name; false when it has none.
    static unsigned char StripIPVarName(unsigned char* name);
    /// A style of the plug-in, out of a 'Styl' resource; an extended one, out of a 'StyX' resource
    /// by its identifier or name. -192 when there is none, -50 when it is too short; zeroed then.
    /// The resource is released: a handle to it that is held is no longer valid afterwards.
    static OSErr GetStyleRes(short id, FourDStyle* style);
    static OSErr GetStyleXResByID(short id, FourDStyleX* style);
    static OSErr GetStyleXResByName(const unsigned char* name, FourDStyleX* style);
    /// The first style of that identifier, or name as StringsEqual compares, in a style list, a
    /// platform handle (host/boundary/Styles.h says where an author gets one); 0 and a zeroed one
    /// when there is none. -50 for a null list and one of less than 380 bytes.
    static OSErr GetStyleByID(char** list, short id, FourDStyle* style);
    static OSErr GetStyleByName(char** list, const unsigned char* name, FourDStyle* style);
    static OSErr GetStyleXByID(char** list, short id, FourDStyleX* style);
    static OSErr GetStyleXByName(char** list, const unsigned char* name, FourDStyleX* style);
    /// Font, size and face of a style on the host's platform interface; a kind that the style has
    /// no entry for counts as 2. The host's result code, and zeros, when it does not tell its kind.
    static OSErr GetPlatformStyle(const FourDStyle* style, FourDPlatformStyle* spec);
    static OSErr GetPlatformStyle(const FourDStyleX* style, FourDPlatformStyle* spec);
    /// The same of an extended style in a list, of an extended style of the plug-in. Errors, and
    /// what is released, as with GetStyleXByID and GetStyleXResByID; zeros then.
    static OSErr GetPlatformStyleByID(char** list, short id, FourDPlatformStyle* spec);
    static OSErr GetPlatformStyleSpecByID(short id, FourDPlatformStyle* spec);
    static OSErr GetPlatformStyleSpecByName(const unsigned char* name, FourDPlatformStyle* spec);
    /// A colour number (0x00RRGGBB, or -1 to -4 for the host's standard colours) in 16-bit
    /// components; -50, and black, for any other.
    static OSErr GetRGBColor(long color, RGBColor* rgb);
    /// Components, 0 to 65535, of the host's system colour 0 to 3; zeros, and -50, for another
    /// index.
    static OSErr GetDrawingColor(short index, long* red, long* green, long* blue);
    /// The host's system colour table (selector 163, its address in handle); it stays the host's.
    static OSErr GetColors(SysColors4D** colors);

    // --- The structure's resources ----------------------------------------------------------
    // Resources of the structure and of files opened through the host: type, identifier, index,
    // name and handle travel in fields that host/StructureResources.cpp lists. Results are the
    // host's result codes; what was asked for is 0, null or empty then. Handles that are read
    // belong to the caller (DisposeHandle), those that are written stay the caller's.

    /// Opens a file by its native path, a Pascal string; creates one and opens it. The caller
    /// closes either.
    static OSErr Open4DResFile(const unsigned char* path, long* file);
    static OSErr Create4DResFile(const unsigned char* path, long* file);
    static OSErr Close4DResFile(long file);
    /// Saves what was changed.
    static OSErr Update4DResFile(long file);
    /// The structure's own file, which is always open.
    static OSErr GetStruct4DResFileRef(long* file);
    /// Types, and a type's resources: how many, the one at an index from 1, or a handle of them all
    /// (32-bit types, 16-bit identifiers, back to back).
    static OSErr Count4DResTypes(long file, long* count);
    static OSErr GetIndResType(long file, long index, unsigned long* type);
    static OSErr Get4DResTypeList(long file, char*** types);
    static OSErr Count4DRes(long file, unsigned long type, long* count);
    static OSErr GetInd4DResID(long file, unsigned long type, long index, short* id);
    static OSErr Get4DResIDList(long file, unsigned long type, char*** ids);
    /// Name, timestamp and bytes of a resource.
    static OSErr Get4DResName(long file, unsigned long type, short id, unsigned char* name);
    static OSErr Set4DResName(long file, unsigned long type, short id, const unsigned char* name);
    static OSErr Get4DResTimestamp(long file, unsigned long type, short id, long* timestamp);
    static OSErr Get4DRes(long file, unsigned long type, short id, char*** resource);
    static OSErr Set4DRes(long file, unsigned long type, short id, char** resource);
    /// The name may be null: none.
    static OSErr Add4DRes(long file, unsigned long type, short id, const unsigned char* name,
                          char** resource);
    static OSErr Del4DRes(long file, unsigned long type, short id);
    /// An identifier that no resource of the type has.
    static OSErr GetUnique4DResID(long file, unsigned long type, short* id);
    /// Nothing is locked: both do nothing and answer 0.
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
    static void LockHandleV11(char** handle);
    static void UnlockHandleV11(char** handle);

    // --- Windows --------------------------------------------------------------------------

    // The host's windows, in one front-to-back list. Null for no window; a null window has no kind
    // and is not in the list. What only the host knows it is asked of null, too, and its answer
    // stands: owner, focus, method editor, dialog.

    /// First window of the list; null without host globals. Both do the same.
    static GrafPort* LMGetWindowList();
    static GrafPort* GetFrontmostWindow();
    /// The window behind `window`; null at the end and for null.
    static GrafPort* GetNextMacWindow(GrafPort* window);
    /// Whether it is one in the list.
    static unsigned char IsWindow(GrafPort* window);
    /// Kind of a window, and whether it is of the host's documents (8), modal (9), a plug-in's (5),
    /// floating (14).
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
    /// The window of a server's application: the frontmost regular one of process 1. Null on any
    /// other host.
    static GrafPort* Get4DServerMainWindow();
    /// Content region of a window, in screen coordinates; it stays the window's.
    static Region** GetWindowContentRegion(GrafPort* window);
    /// Gives the window of an external area a title (Pascal string); the host's result code.
    static OSErr SetExWindowTitle(long areaRef, unsigned char* title);
    /// Colour of what is selected, as Windows is set.
    static void LMGetHiliteColor(RGBColor* color);

    /// Whether the window is of the host's debugger: its title begins with "Debugger". And whether
    /// such a window is open and visible.
    static unsigned char IsDebuggerWindow(GrafPort* window);
    static unsigned char HasDebuggerWindowOpen();

    /// Whether a window is one of the host's method editor; the frontmost non-floating window, if
    /// it is. Its text stays the host's.
    static unsigned char IsProcEditWindow(GrafPort* window);
    static GrafPort* GetFrontmostProcEditWindow();
    static TEHandle GetProcEditTE(GrafPort* window);
    /// The same with the host's result code; null on error.
    static OSErr GetProcEditTEHandle(GrafPort* window, TEHandle* te);
    /// The line that the method editor's window shows as current (selector 133, error).
    static short CalcProcEditLine(GrafPort* window);
    /// The text that has the keyboard focus (selector -81, param1); it stays the host's.
    static TEHandle GetCurrentTE();

    /// The window with the keyboard focus, and whether one has it or can have it.
    static GrafPort* GetFocusedWindow();
    static unsigned char IsWindowFocused(GrafPort* window);
    static unsigned char IsWindowFocusable(GrafPort* window);
    /// Gives or takes the focus, or the right to it; the host's result code.
    static OSErr SetWindowFocused(GrafPort* window, unsigned char on);
    static OSErr SetWindowFocusable(GrafPort* window, unsigned char on);

    /// The dialog that a window belongs to, and back.
    static FourDDialog* GetFourDDialogFromWindow(GrafPort* window);
    static GrafPort* GetWindowFromFourDDialog(FourDDialog* dialog);
};

/// The structure folder's path, and the structure file's: 261 bytes each, cut to what fits.
/// Answers 0.
long _GetStructurePaths(char* folder, char* file);
/// The preferences folder's path: 261 bytes.
void _GetPrefsFolderPath(char* path);
/// The host's globals, null when it has none (selector 159, handle).
void** _GetMacGlobals();
/// The program information word (selectors 56, -56, param1).
unsigned long _GetProgramInfo();
/// The plug-in's resource identifier (selectors 23, -23, low half of param1).
short _GetPluginResID();

/// Specification of the file whose full path a host command answers. Result codes: -50 when the
/// host does not name the command, -108, or what the host or the conversion answers.
OSErr GetFSSpecBy4DCommand(short cmd, FSSpec* spec);
/// The text that a host command answers, as client identification asks for the machine (483), its
/// owner (484) and the user (182): at most `size` - 1 bytes and a terminator. Empty on error;
/// result codes as above.
OSErr GetTextBy4DCommand(short cmd, char* text, long size);
/// The host's standard colour -1 to -4 as 0x00RRGGBB; white for any other number.
long Hack4DStdColor(long color);
/// The system colour that stands for a standard colour; -1 when there is none.
long MapDefaultColorToSysColors4DSelector(long color);
