#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"
#include "testhost/toolbox/drawing/Drawn.h"

// How tests and the stand-in host steer and question the stand-in toolbox library. Plug-ins do
// not see these calls: they are missing from the list of names that plug-ins import.
//
// What the library always does: it never touches an address that is not one of its own live
// blocks; it keeps guard bytes around each block and checks them whenever the block is used; it
// overwrites released bytes with 0xE5 and keeps them for a while, to see whether someone still
// writes there. New bytes that nobody cleared are 0xCC. Purgeable blocks are never purged.
//
// A block that grows moves at first, and then stays until it has used up a quarter more; so does a
// large one (over 4 KB) that shrinks. Small ones move whenever they shrink by 16 bytes.
//
// A locked block never moves. It can grow as far as its own room, its first size rounded up to
// 16 bytes; beyond that SetHandleSize fails with -108. The same holds for pointers.
//
// A null handle or pointer gives -109 and is no problem; a disposed or unknown one gives -111 and
// is. HGetState answers 0 for either.
//
// Files are real ones, folders and volumes those of Windows. Identifiers of folders are given out
// as folders are met. Types and creators are kept beside, and follow only what toolbox calls do to
// a file. A reference number that is closed twice is a problem.
//
// The library expects one call at a time, as the host makes them. Once it was told the host's
// thread it refuses the calls that plug-ins make from others, and touches nothing: they answer null
// or 0, those that answer a result code -50.

/// Something that is alive, or open.
struct ToolboxLeftOver {
    enum Kind : short { PlainHandle, ResourceHandle, HostHandle, Pointer, File };

    Kind kind;
    unsigned long serial; ///< larger than that of whatever was made before it
    const char* place;    ///< where it was made, see ToolboxSetPlace; null when that is not known
    const char* bytes;    ///< of a block; null for a file
    long size;            ///< bytes
    const char* path;     ///< of a file; null for a block
};

extern "C" {

/// Back to the start: all blocks released, files closed, resource files gone, settings off,
/// problems, types and creators forgotten. Identifiers of folders stay, and handles from before
/// count as disposed. File numbers are given out from the first one on again: the validator and the
/// fuzzer rely on a session that does not depend on those before it. So a number from before counts
/// as closed only until a new file gets it.
TOOLBOX_CALL void ToolboxReset();

/// Tells the thread that calls this as the one of the host and its plug-ins.
TOOLBOX_CALL void ToolboxSetThread();
/// Says where whatever is made, released and moved from now on is, as sentences shall name it:
/// a zero-terminated text in UTF-8, or null when nothing is known.
TOOLBOX_CALL void ToolboxSetPlace(const char* place);

/// Strict memory on (non-zero) or off: every call that may move memory moves unlocked blocks that
/// are not empty, and overwrites their old bytes with 0xE5. Up to 16 blocks of up to 4 KB all move
/// each time; of more, the 4 that were used last and 4 others in turn. Larger ones may take a few
/// calls.
TOOLBOX_CALL void ToolboxSetStrict(unsigned char strict);
/// Moves every unlocked block once, whether or not strict memory is on.
TOOLBOX_CALL void ToolboxMoveMemory();
/// Makes the `count`-th allocation or growth from now fail with -108, once; 0 switches it off.
/// Handles, pointers and host handles all count. Answers what was left of the former count: 0
/// when that failure has happened.
TOOLBOX_CALL long ToolboxFailAllocation(long count);
/// How many allocations and growths there were, so counted.
TOOLBOX_CALL long ToolboxAllocations();
/// Makes the `count`-th file call from now fail with -36, once; 0 switches it off. Calls that are
/// refused for their arguments do not count, nor does ASI_HFSpec, which touches no file. The call
/// does nothing, except that FSClose closes.
/// Answers as above.
TOOLBOX_CALL long ToolboxFailFile(long count);
/// Lets (non-zero) toolbox calls work on host handles and host calls on toolbox handles. Else
/// such a call is a problem, does nothing and ends in -113.
TOOLBOX_CALL void ToolboxAllowMixedHandles(unsigned char allow);

/// How many toolbox handles, host handles and pointers are alive.
TOOLBOX_CALL long ToolboxLiveHandles();
TOOLBOX_CALL long ToolboxLiveHostHandles();
TOOLBOX_CALL long ToolboxLivePointers();
/// How many files are open.
TOOLBOX_CALL long ToolboxOpenFiles();
/// Whose handle this is. Never a problem.
namespace HandleOwner {
enum : short { None = 0, Toolbox = 1, Host = 2 };
}
TOOLBOX_CALL short ToolboxHandleOwner(Handle handle);
/// Whether this is, or ever was, a handle. Never a problem.
TOOLBOX_CALL unsigned char ToolboxWasHandle(Handle handle);

/// Calls `visit` for everything that is alive or open and was made after what had this serial
/// number, in no particular order.
TOOLBOX_CALL void ToolboxVisitLeftOvers(unsigned long after,
                                        void (*visit)(void* context, const ToolboxLeftOver*),
                                        void* context);
/// The serial number of what was made last.
TOOLBOX_CALL unsigned long ToolboxLastSerial();

/// Checks the guard bytes of every block and the bytes of recently released ones. Answers how
/// many problems it added. Damage is reported once, then repaired.
TOOLBOX_CALL long ToolboxCheckAll();
/// The same for the blocks that were used since the last such call, and those that were released
/// or moved since; with strict memory for all of the latter that are kept. To be called at the end
/// of each call into the plug-in, in whose place it is found.
TOOLBOX_CALL long ToolboxCheckUsed();
/// Number of problems recorded so far. After 1000 no more are kept, which the last one says.
TOOLBOX_CALL long ToolboxProblemCount();
/// Copies problem `index` (from 0), a whole sentence, zero-terminated and cut to `size` bytes.
/// Answers its full length without the terminator, or -1 when there is no such problem.
TOOLBOX_CALL long ToolboxProblem(long index, char* buffer, long size);
TOOLBOX_CALL void ToolboxClearProblems();
/// Has `tell` called whenever a problem was recorded, in the midst of the call that it is about: it
/// may ask for problems, and make no other call into the toolbox. Null: nothing is called.
TOOLBOX_CALL void ToolboxOnProblem(void (*tell)());

// The host's own handles. They live in the same memory and move alike, but belong to the host.
// These calls leave MemError() alone.

/// New host handle of `size` bytes, or null when memory is full.
TOOLBOX_CALL Handle ToolboxNewHostHandle(Size size);
/// The result codes are those of MemError() after the toolbox's own calls.
TOOLBOX_CALL OSErr ToolboxDisposeHostHandle(Handle handle);
TOOLBOX_CALL OSErr ToolboxSetHostHandleSize(Handle handle, Size size);
TOOLBOX_CALL OSErr ToolboxLockHostHandle(Handle handle);
TOOLBOX_CALL OSErr ToolboxUnlockHostHandle(Handle handle);
/// Bytes in a host handle; 0 when it is none.
TOOLBOX_CALL Size ToolboxHostHandleSize(Handle handle);
/// Lets toolbox calls, too, work on this one host handle from now on.
TOOLBOX_CALL OSErr ToolboxShareHostHandle(Handle handle);

// Resource files. A handle of a resource counts among the live ones until it is released; to
// dispose of it, or to release what is no resource's handle, is a problem.

/// Opens a file whose bytes are a resource fork in the classic format; the current file stays.
/// With `refNum` 0: -43 no such file, -36 it cannot be
/// read, -39 it is shorter than a fork's header, -199 its map is malformed. A resource whose data
/// alone lies outside the file only fails when it is asked for.
TOOLBOX_CALL OSErr ToolboxOpenResFile(const wchar_t* path, short* refNum);
/// Closes a file opened or added, and disposes of its resources' handles. If it was current, the
/// one opened last becomes current, or the system file. The system file stays open, but loses its
/// resources. -193 no such file.
TOOLBOX_CALL OSErr ToolboxCloseResFile(short refNum);
/// Opens an empty resource file of this reference number, unless there is one of that number. The
/// current file stays.
TOOLBOX_CALL void ToolboxAddResFile(short refNum);
/// Closes it; nothing for the system file or one that there is not.
TOOLBOX_CALL void ToolboxRemoveResFile(short refNum);
/// Puts a copy of `size` bytes into an open file, in memory only, as a resource of this type, id
/// and name (zero-terminated, at most 255 characters; null or empty: none). One that was there is
/// replaced; its handle keeps the old bytes until it is released. -193 no such file, -50 a negative
/// size, no bytes or too long a name.
TOOLBOX_CALL OSErr ToolboxAddResource(short refNum, OSType type, short id, const char* name,
                                      const void* bytes, long size);
/// GetNamedResource, which the library may be built without.
TOOLBOX_CALL Handle ToolboxNamedResource(OSType type, const unsigned char* name);

// Drawing. Nothing is painted: what was drawn in a port is kept, the last 10,000 operations, and so
// are the rectangles that are to be drawn again. A port is known by its address, and nothing in it
// is looked at. Characters are 6 pixels wide. Fonts have their classic numbers, others get some
// from 256 on.

TOOLBOX_CALL long ToolboxDrawnCount(const GrafPort* port);
/// Copies operation `index` (from 0, oldest first) of a port; 0 when there is none.
TOOLBOX_CALL unsigned char ToolboxDrawn(const GrafPort* port, long index,
                                        DrawnOperation* operation);
/// The same for the invalid rectangles.
TOOLBOX_CALL unsigned char ToolboxInvalidRect(const GrafPort* port, long index, Rect* rect);
/// Forgets all of this, the title too, as when a window is closed or was drawn anew.
TOOLBOX_CALL void ToolboxForgetPort(const GrafPort* port);
/// What GetWTitle answers; at first no window has a title.
TOOLBOX_CALL void ToolboxSetWindowTitle(const GrafPort* window, const unsigned char* title);
}
