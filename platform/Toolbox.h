#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"

#include <cstring>

// The calls of the toolbox library that the host ships (ASINTPPC.dll): those that are imported, by
// the names in ASINTPPC.def, and at the end those that are looked up, because a release may lack
// them. Result codes are signed 16-bit; memory calls leave theirs in MemError().
extern "C" {

// --- Memory: relocatable blocks -------------------------------------------------------------
// A `handle` is a block's; a `size` counts bytes. A failed call answers null.

/// @family New block; its bytes have no particular value, or are zeros.
TOOLBOX_CALL Handle NewHandle(Size size);
TOOLBOX_CALL Handle NewHandleClear(Size size);
/// Releases a block.
TOOLBOX_CALL void DisposeHandle(Handle handle);
/// Bytes in a block; 0 for null.
TOOLBOX_CALL Size GetHandleSize(Handle handle);
/// Resizes a block, which may move it; see MemError().
TOOLBOX_CALL void SetHandleSize(Handle handle, Size size);
/// @family Keeps a block where it is, and lets it move again.
TOOLBOX_CALL void HLock(Handle handle);
TOOLBOX_CALL void HUnlock(Handle handle);
/// @family The `state` of a block. Bit 7 (0x80) locked, bit 6 (0x40) purgeable, bit 5 (0x20)
/// resource.
TOOLBOX_CALL char HGetState(Handle handle);
TOOLBOX_CALL void HSetState(Handle handle, char state);
/// Marks a block as one that must not be given up when memory is short.
TOOLBOX_CALL void HNoPurge(Handle handle);
/// Replaces the handle by one to a copy of its bytes; the original stays alive.
TOOLBOX_CALL OSErr HandToHand(Handle* handle);
/// New handle to a copy of `size` bytes at `source`; null in `handle` on failure.
TOOLBOX_CALL OSErr PtrToHand(const void* source, Handle* handle, long size);
/// Appends `size` bytes at `source` to the `target`.
TOOLBOX_CALL OSErr PtrAndHand(const void* source, Handle target, long size);
/// Result code of the last memory call.
TOOLBOX_CALL OSErr MemError();
/// Copies `count` bytes from `source` to `target`, which may overlap.
TOOLBOX_CALL void BlockMove(const void* source, void* target, Size count);

// --- Memory: blocks that never move ---------------------------------------------------------

/// New block of `size` bytes; null when memory is full.
TOOLBOX_CALL Ptr NewPtr(Size size);
/// Releases a `block` of NewPtr.
TOOLBOX_CALL void DisposePtr(Ptr block);

// --- Resources ------------------------------------------------------------------------------
// A resource has a `type` and a number, `id`. Calls search from the current file back through those
// opened before it; the system file, 0, comes last. The ones that look for a resource may move
// memory.

/// Reference number of the current resource file.
TOOLBOX_CALL short CurResFile();
/// Makes the file of the reference number `resFile` current; -193, and no change, when there is no
/// such file.
TOOLBOX_CALL void UseResFile(short resFile);
/// The resource's handle, the same until it is released: it belongs to the resource file, so
/// release it with ReleaseResource, never with DisposeHandle. Null with -192 when there is none,
/// -199 when its data lies outside the file, -108 when memory is full.
TOOLBOX_CALL Handle GetResource(OSType type, short id);
/// String `index`, from 1, of the string list ('STR#') `listID`, into a buffer of 256 bytes; empty
/// when there is none or the list ends within it. Leaves no resource behind.
TOOLBOX_CALL void GetIndString(unsigned char* string, short listID, short index);
/// -192 when this is not a resource's handle.
TOOLBOX_CALL void ReleaseResource(Handle resource);

// --- Files ----------------------------------------------------------------------------------
// `spec` is a file specification, `refNum` the number of an open file, `buffer` where bytes are
// read to or written from, `creator` and `type` are codes of four characters, `scriptTag` is 0.
// Names are in the host's Macintosh character set. Null arguments and negative counts give -50, a
// number of no open file -51, trouble with the disk -36. The mark is where the next byte is read or
// written.

/// What FSpOpenDF asks for. A file that is open for writing opens for writing once more only when
/// both ask for Shared; it always opens for reading.
namespace FilePermission {
inline constexpr char Current = 0; ///< read and write when that is possible, else read
inline constexpr char Read = 1;
inline constexpr char Write = 2; ///< the same as ReadWrite
inline constexpr char ReadWrite = 3;
inline constexpr char Shared = 4; ///< read and write, along with others
} // namespace FilePermission

/// What SetFPos counts `offset` from.
namespace FilePosition {
inline constexpr short AtMark = 0; ///< the mark stays, `offset` is ignored
inline constexpr short FromStart = 1;
inline constexpr short FromEnd = 2;
inline constexpr short FromMark = 3;
} // namespace FilePosition

/// Specification of a file or folder by a name in the folder (`vRefNum`, `dirID`), or by a full
/// path in Windows notation. An empty or null name means the folder itself; `dirID` 0 the root of
/// the volume, and both numbers 0 the current folder. -43, with the specification filled all the
/// same, when only the last part of the path is missing. With an empty specification: -120 no such
/// folder, -35 no such volume, -37 the name cannot be one. Colon paths are no names.
TOOLBOX_CALL OSErr FSMakeFSSpec(short vRefNum, long dirID, const unsigned char* name, FSSpec* spec);
/// New empty file; -48 when the name is taken. Creator and type are what FSpGetFInfo answers.
TOOLBOX_CALL OSErr FSpCreate(const FSSpec* spec, OSType creator, OSType type, short scriptTag);
/// Removes a file or an empty folder. -43 nothing there, -47 an open file or a folder with
/// something in it, -45 a locked file.
TOOLBOX_CALL OSErr FSpDelete(const FSSpec* spec);
/// New name, `newName`, in the same folder, for a file or folder; it may differ in case only. -48
/// the name is taken, -43 nothing there, -37 the name cannot be one, -45 a locked file, -47 an open
/// one.
TOOLBOX_CALL OSErr FSpRename(const FSSpec* spec, const unsigned char* newName);
/// Type, creator and the like of a file, `info`; -43 for a folder, too. Zeros for a file that
/// nobody gave any.
TOOLBOX_CALL OSErr FSpGetFInfo(const FSSpec* spec, FInfo* info);
/// Fills in the catalogue entry, `block`, of the file or folder `ioNamePtr`, a name or path as
/// FSMakeFSSpec takes it, in the folder (`ioVRefNum`, `ioDirID`) when `ioFDirIndex` is 0; of the
/// item of that number in the folder when it is above 0; of the folder itself when it is below 0,
/// or when there is no name. Where it is not 0 the name goes into `ioNamePtr`, unless that is null.
/// -43 nothing there, or no item of that number; else as FSMakeFSSpec. The result is in `ioResult`,
/// too. For a file `ioDirID` comes back as a number that is no folder's.
TOOLBOX_CALL OSErr PBGetCatInfoSync(CInfoPBRec* block);
/// Full path of a name in a folder (`directory`, `volume`), as FSMakeFSSpec takes them; of the
/// folder itself when the name is empty or null. The folder's part is in Windows' characters, and
/// the name goes in as it is: for a path that Windows understands, convert it first. Ends with a
/// backslash for a drive's root only. Nothing needs to be there. `path` is a buffer of at least
/// 1,040 bytes, of which no more are written; empty when the folder or volume is unknown (-120,
/// -35), the name cannot be one
/// (-37) or the path does not fit (-37).
TOOLBOX_CALL OSErr ASI_HFSpec(long directory, short volume, const unsigned char* name, char* path);
/// Opens the data fork with a `permission` (FilePermission), mark at the start; 0 in `refNum` on
/// failure. -43 no such file, -49 already open for writing, -42 too many files, -47 another program
/// has it, -54 a locked file cannot be written.
TOOLBOX_CALL OSErr FSpOpenDF(const FSSpec* spec, char permission, short* refNum);
/// Reads up to `count` bytes from the mark on; `count` says how many came. -39 when the file ended
/// before.
TOOLBOX_CALL OSErr FSRead(short refNum, long* count, void* buffer);
/// Writes `count` bytes from the mark on and grows the file as needed. -61 when it is open for
/// reading only, -45 when that is so because the file is locked, -34 when the disk is full. `count`
/// says how many were written.
TOOLBOX_CALL OSErr FSWrite(short refNum, long* count, const void* buffer);
/// Sets the size in bytes; a mark beyond it comes back to it. New bytes have no particular value.
/// Errors as with FSWrite.
TOOLBOX_CALL OSErr SetEOF(short refNum, long size);
/// The size in bytes.
TOOLBOX_CALL OSErr GetEOF(short refNum, long* size);
/// Sets the mark to `offset` bytes from where `mode` says (FilePosition). Beyond the end: -39, and
/// it is at the end. Before the start: -40, and it stays.
TOOLBOX_CALL OSErr SetFPos(short refNum, short mode, long offset);
/// The mark, `position` bytes from the start.
TOOLBOX_CALL OSErr GetFPos(short refNum, long* position);
/// Closes a file; the number is closed whatever the result.
TOOLBOX_CALL OSErr FSClose(short refNum);

// --- Text -----------------------------------------------------------------------------------
// Strings are Pascal strings.

/// Whether `a` and `b` are equal; upper and lower case are the same unless `caseSensitive` is set,
/// letters with and without marks unless `diacriticalSensitive` is.
TOOLBOX_CALL unsigned char EqualString(const unsigned char* a, const unsigned char* b,
                                       unsigned char caseSensitive,
                                       unsigned char diacriticalSensitive);
/// International comparison of `a` and `b` that ignores case and marks: 0 when equal, else 1.
TOOLBOX_CALL short IUEqualString(const unsigned char* a, const unsigned char* b);
/// The `number` that a `text` stands for: digits, perhaps behind a sign. No character is refused:
/// each counts by its low four bits, and too large a number wraps.
TOOLBOX_CALL void StringToNum(const unsigned char* text, long* number);
/// Replaces every `search` in the bytes of `text`, from left to right, by the bytes of
/// `replacement`, which may be null (nothing) or `text` itself. Bytes are compared exactly; an
/// empty `search` is found nowhere. Answers how many were replaced (at most 32767), or a code as in
/// MemError(): then `text` is as it was.
TOOLBOX_CALL short ReplaceTex(Handle text, Handle replacement, const unsigned char* search);
/// Converts `length` characters of the Macintosh set (Mac Roman) to Windows' (1252) and answers how
/// many came of it: as many. Each character becomes one of its own, so that converting back gives
/// the original; those that the other set lacks are assigned to each other in the order of their
/// codes. `destination` may be `source`. Nothing, for null or a negative length: 0. `option` is 1.
TOOLBOX_CALL long ASI_MacToAnsiBuf(const void* source, void* destination, long length, long option);
/// The reverse, of `length` characters from `source` to `destination`.
TOOLBOX_CALL long ASI_AnsiToMacBuf(const void* source, void* destination, long length);

/// Disposes of a text-edit `record` and of its text. Null is ignored.
TOOLBOX_CALL void TEDispose(TEHandle record);

// --- Drawing --------------------------------------------------------------------------------
// Coordinates (`h` to the right, `v` down, `rect`) are those of the port; `dh` and `dv` are pixels.

/// @family The `port` that is drawn into, null for none; makes another one current.
TOOLBOX_CALL void GetPort(GrafPort** port);
TOOLBOX_CALL void SetPor(GrafPort* port);
/// Fills a rectangle with the background colour.
TOOLBOX_CALL void EraseRect(const Rect* rect);
/// Moves the pen.
TOOLBOX_CALL void MoveT(short h, short v);
/// Draws a Pascal string from the pen on, which then stands behind it.
TOOLBOX_CALL void DrawString(const unsigned char* string);
/// Moves all sides inwards, or outwards when negative; one with nothing left in it becomes zero.
TOOLBOX_CALL void InsetRec(Rect* rect, short dh, short dv);
/// Whether the rectangles `a` and `b` are the same.
TOOLBOX_CALL unsigned char EqualRec(const Rect* a, const Rect* b);
/// Shows the standard arrow.
TOOLBOX_CALL void InitCursor();
/// Most ticks between the clicks of a double click.
TOOLBOX_CALL unsigned long GetDblTime();
/// The `title` of a `window`, into a buffer of 256 bytes.
TOOLBOX_CALL void GetWTitle(GrafPort* window, unsigned char* title);
/// Begins to record what is drawn, as a picture with this frame, which the caller disposes of; null
/// without memory and while another one is recorded.
TOOLBOX_CALL Picture** OpenPicture(const Rect* frame);
/// Ends the recording.
TOOLBOX_CALL void ClosePicture();

// --- Dates ----------------------------------------------------------------------------------
// `seconds` count from midnight, 1 January 1904.

/// @family The seconds of a `date`, and the date of them.
TOOLBOX_CALL void LongDateToSeconds(const LongDateRec* date, long long* seconds);
TOOLBOX_CALL void LongSecondsToDate(const long long* seconds, LongDateRec* date);

// --- What a release of the library may lack ---------------------------------------------------
// Each is looked up when it is first used, in the library that is loaded. One that is missing says
// so in the debug trace, once, and does nothing: -50, null or 0.

// Memory

/// Marks a block, `handle`, as one that may be given up when memory is short.
TOOLBOX_CALL void HPurge(Handle handle);
/// Appends the bytes of `source` to the `target`.
TOOLBOX_CALL OSErr HandAndHand(Handle source, Handle target);
/// @family Bytes in a `block` of NewPtr; resizes it to `size` bytes, where it stands; see
/// MemError().
TOOLBOX_CALL Size GetPtrSize(Ptr block);
TOOLBOX_CALL void SetPtrSize(Ptr block, Size size);

// Resources
/// Result code of the last resource call.
TOOLBOX_CALL OSErr ResError();
/// As GetResource, of this `type` and `name`, in which case does not count. A null or empty name
/// finds nothing.
TOOLBOX_CALL Handle GetNamedResource(OSType type, const unsigned char* name);

// Files
/// New folder `spec`, and its identifier in `createdDirID` (0 on failure); -48 when the name is
/// taken. `scriptTag` is 0.
TOOLBOX_CALL OSErr FSpDirCreate(const FSSpec* spec, short scriptTag, long* createdDirID);
/// Gives the file `spec` what `info` says. -43 for a folder, too; -45 a locked file.
TOOLBOX_CALL OSErr FSpSetFInfo(const FSSpec* spec, const FInfo* info);

// Drawing
/// Draws a line from the pen to the point (`h`, `v`), where it then stands.
TOOLBOX_CALL void LineT(short h, short v);
/// @family Fills a rectangle (`rect`), and draws the line around one, in the foreground colour.
TOOLBOX_CALL void PaintRect(const Rect* rect);
TOOLBOX_CALL void FrameRec(const Rect* rect);
/// @family `color` of the current port that is drawn in, black at first, and that is erased to,
/// white.
TOOLBOX_CALL void RGBForeColor(const RGBColor* color);
TOOLBOX_CALL void RGBBackColor(const RGBColor* color);
/// Has the rectangle `rect` of the current port's window drawn again with its next update.
TOOLBOX_CALL void InvalRect(const Rect* rect);
/// The `number` of a font by its `name`, in which case does not count; 0, the system's, when it is
/// unknown.
TOOLBOX_CALL void GetFNum(const unsigned char* name, short* number);
}

/// A block of `size` zeros that never moves; null when memory is full.
inline Ptr NewPtrClear(Size size) {
    const Ptr block = NewPtr(size);
    if (block != nullptr) {
        std::memset(block, 0, static_cast<std::size_t>(size));
    }
    return block;
}
