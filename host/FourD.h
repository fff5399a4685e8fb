#pragma once

#include "host/HostState.h"

/// Everything asked of the host: static wrappers, one host call each. None of them throws or
/// allocates; a service that the host refuses answers what its record holds, which is zero.
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
    /// Specification of the structure file, made anew; -43, and an empty one, on a client.
    static OSErr GetStructFile(FSSpec* spec);
    /// Specification of the inside of the folder that holds it; errors as above.
    static OSErr GetStructFolder(FSSpec* spec);
    /// Switches the host to its own environment mode, or to the Mac OS one, and records which;
    /// answers what the call returns.
    static long Setup4DEnv();
    static long SetupMacOSEnv();
    /// Stores the host's platform interface kind; answers the host's result code.
    static long GetPlatformInterface(long* kind);
    /// Whether the host uses 64-bit reals.
    static unsigned char Reals64();

    // --- Processes ------------------------------------------------------------------------

    /// Number of the calling process.
    static long CurrentProcess();
    /// Runs `proc(arg)` on the host's main thread; only on hosts from 11.0 on. `proc` is called
    /// by the host: declare it HOST_CALL. Answers what the call returns.
    static long ExecuteOnMainThreadV11(void (*proc)(void*), void* arg);

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

    /// First window of the host's front-to-back list; null without host globals.
    static GrafPort* LMGetWindowList();
    /// The window behind `window`; null at the end and for null.
    static GrafPort* GetNextMacWindow(GrafPort* window);
    /// Kind of a window; 0 for null.
    static short WindowKind(GrafPort* window);
    static unsigned char IsFloatingWindow(GrafPort* window);
    /// Number of the process that owns `window`.
    static long GetWindowProcess(GrafPort* window);
    /// Native window (HWND) of a window; 0 for null.
    static unsigned long MacPortToHWND(GrafPort* window);
    /// First window, front to back, that `process` owns and that does not float, visible or not.
    static GrafPort* GetFrontmostNonFloatingWindowOfProcess(long process);
};

/// The structure folder's path, and the structure file's: 261 bytes each, cut to what fits. Empty
/// on hosts from 11.0 on, whose paths are host strings. Answers 0.
long _GetStructurePaths(char* folder, char* file);
/// The preferences folder's path: 261 bytes; empty on hosts from 11.0 on.
void _GetPrefsFolderPath(char* path);
/// The host's globals, null when it has none (selector 159, handle).
void** _GetMacGlobals();
/// The program information word (selectors 56, -56, param1).
unsigned long _GetProgramInfo();
/// The plug-in's resource identifier (selectors 23, -23, low half of param1).
short _GetPluginResID();
