#pragma once

#include <cstddef>

// The toolbox's records, as they cross the boundary: 2-byte packing, little-endian.

/// Result code; 0 is success, see ResultCode.
using OSErr = short;
/// Code of four characters, the first one highest.
using OSType = unsigned long;
/// Address of a block that does not move.
using Ptr = char*;
/// Relocatable block: address of the master pointer, which holds the address of the bytes.
using Handle = char**;
/// Number of bytes.
using Size = long;
/// @family Pascal strings: a length byte, then up to 255 (31, 63) characters, no terminator.
using Str255 = unsigned char[256];
using Str63 = unsigned char[64];
using Str31 = unsigned char[32];

#pragma pack(push, 2)

/// Place in pixels: down and to the right.
struct Point {
    short v;
    short h;
};

/// Rectangle in pixels; `bottom` and `right` lie outside of it.
struct Rect {
    short top;
    short left;
    short bottom;
    short right;
};

/// Colour; components are 0 to 65535.
struct RGBColor {
    unsigned short red;
    unsigned short green;
    unsigned short blue;
};

/// Toolbox event; `when` counts ticks (1/60 s), `where` is in screen coordinates.
struct EventRecord {
    unsigned short what;
    unsigned long message;
    unsigned long when;
    Point where;
    unsigned short modifiers;
};

/// File specification: volume reference, parent directory identifier, name.
struct FSSpec {
    short vRefNum;
    long parID;
    Str63 name;
};

/// What the finder keeps about a file.
struct FInfo {
    OSType fdType;
    OSType fdCreator;
    unsigned short fdFlags;
    Point fdLocation;
    short fdFldr;
};

/// What the finder keeps about a folder's window.
struct DInfo {
    Rect frRect;
    unsigned short frFlags;
    Point frLocation;
    short frView;
};

/// Catalogue entry of a file. Dates are seconds from midnight, 1 January 1904, local time; lengths
/// are bytes.
struct HFileInfo {
    unsigned char queue[12]; ///< link, type, trap and command address: the system's own
    void* ioCompletion;
    OSErr ioResult;
    unsigned char* ioNamePtr; ///< Pascal string; the buffer takes 64 bytes
    short ioVRefNum;
    short ioFRefNum;
    char ioFVersNum;
    char filler1;
    short ioFDirIndex;        ///< what is asked about, see PBGetCatInfoSync
    unsigned char ioFlAttrib; ///< FileAttribute bits
    unsigned char ioACUser;
    FInfo ioFlFndrInfo;
    long ioDirID; ///< in: the folder asked about
    unsigned short ioFlStBlk;
    long ioFlLgLen; ///< data fork
    long ioFlPyLen;
    unsigned short ioFlRStBlk;
    long ioFlRLgLen; ///< resource fork
    long ioFlRPyLen;
    unsigned long ioFlCrDat; ///< made
    unsigned long ioFlMdDat; ///< last changed
    unsigned long ioFlBkDat; ///< last backed up
    unsigned char ioFlXFndrInfo[16];
    long ioFlParID; ///< identifier of the folder that it is in
    long ioFlClpSiz;
};

/// Catalogue entry of a folder.
struct DirInfo {
    unsigned char queue[12]; ///< link, type, trap and command address: the system's own
    void* ioCompletion;
    OSErr ioResult;
    unsigned char* ioNamePtr; ///< Pascal string; the buffer takes 64 bytes
    short ioVRefNum;
    short ioFRefNum;
    char ioFVersNum;
    char filler1;
    short ioFDirIndex;        ///< what is asked about, see PBGetCatInfoSync
    unsigned char ioFlAttrib; ///< FileAttribute bits
    unsigned char ioACUser;
    DInfo ioDrUsrWds;
    long ioDrDirID; ///< in: the folder asked about; out: the identifier of the folder found
    unsigned short ioDrNmFls; ///< how many files and folders are in it
    short filler3[9];
    unsigned long ioDrCrDat;
    unsigned long ioDrMdDat;
    unsigned long ioDrBkDat;
    unsigned char ioDrFndrInfo[16];
    long ioDrParID;
};

/// Catalogue entry; ioFlAttrib tells which of the two it is.
union CInfoPBRec {
    HFileInfo hFileInfo;
    DirInfo dirInfo;
};

/// Bits of ioFlAttrib.
namespace FileAttribute {
inline constexpr unsigned char Locked = 0x01;
inline constexpr unsigned char Folder = 0x10;
} // namespace FileAttribute

/// Set of pixels; what follows the record describes it unless it is a rectangle.
struct Region {
    short rgnSize; ///< bytes; 10 for a rectangle
    Rect rgnBBox;
};

/// Window record in the classic layout. Only the fields that the framework reads are named.
struct GrafPort {
    unsigned char port[108]; ///< drawing port
    short windowKind;
    unsigned char visible;
    unsigned char hilited;
    unsigned char goAwayFlag;
    unsigned char spareFlag;
    Handle strucRgn;
    Region** contRgn;                     ///< content, in screen coordinates
    unsigned char definitionAndTitle[22]; ///< definition, data and title handles, width, controls
    GrafPort* nextWindow;                 ///< next window behind; null at the end
    Handle windowPic;
    long refCon;
};

/// Long date: `era` 0, `month` and `day` from 1, `dayOfWeek` 1 (Sunday) to 7.
struct LongDateRec {
    short era;
    short year;
    short month;
    short day;
    short hour;
    short minute;
    short second;
    short dayOfWeek;
    short dayOfYear;
    short weekOfYear;
    short pm;
    short reserved[3];
};

/// Text-edit record. Only the fields that the framework reads are named.
struct TERec {
    unsigned char layout[60]; ///< rectangles, selection, hooks and caret
    short teLength;           ///< characters
    Handle hText;             ///< the characters
    unsigned char styleAndLines[30];
};

/// Relocatable text-edit record, disposed of with TEDispose.
using TEHandle = TERec**;

/// What a picture's bytes begin with; a `Picture**` is a handle of them.
struct Picture {
    short picSize;
    Rect picFrame;
};

#pragma pack(pop)

static_assert(sizeof(long) == 4 && sizeof(void*) == 4, "the host is a 32-bit process");
static_assert(sizeof(Point) == 4 && sizeof(Rect) == 8 && sizeof(RGBColor) == 6);
static_assert(sizeof(EventRecord) == 16);
static_assert(offsetof(EventRecord, message) == 2 && offsetof(EventRecord, when) == 6 &&
              offsetof(EventRecord, where) == 10 && offsetof(EventRecord, modifiers) == 14);
static_assert(sizeof(FSSpec) == 70);
static_assert(offsetof(FSSpec, parID) == 2 && offsetof(FSSpec, name) == 6);
static_assert(sizeof(FInfo) == 16 && offsetof(FInfo, fdCreator) == 4 &&
              offsetof(FInfo, fdFlags) == 8);
static_assert(sizeof(DInfo) == 16 && sizeof(CInfoPBRec) == 108 && sizeof(DirInfo) == 104);
static_assert(offsetof(HFileInfo, ioResult) == 16 && offsetof(HFileInfo, ioNamePtr) == 18 &&
              offsetof(HFileInfo, ioVRefNum) == 22 && offsetof(HFileInfo, ioFDirIndex) == 28 &&
              offsetof(HFileInfo, ioFlAttrib) == 30 && offsetof(HFileInfo, ioFlFndrInfo) == 32 &&
              offsetof(HFileInfo, ioDirID) == 48 && offsetof(HFileInfo, ioFlLgLen) == 54 &&
              offsetof(HFileInfo, ioFlCrDat) == 72 && offsetof(HFileInfo, ioFlMdDat) == 76 &&
              offsetof(HFileInfo, ioFlParID) == 100);
static_assert(offsetof(DirInfo, ioResult) == 16 && offsetof(DirInfo, ioNamePtr) == 18 &&
              offsetof(DirInfo, ioVRefNum) == 22 && offsetof(DirInfo, ioFDirIndex) == 28 &&
              offsetof(DirInfo, ioFlAttrib) == 30 && offsetof(DirInfo, ioDrUsrWds) == 32 &&
              offsetof(DirInfo, ioDrDirID) == 48 && offsetof(DirInfo, ioDrNmFls) == 52 &&
              offsetof(DirInfo, ioDrCrDat) == 72 && offsetof(DirInfo, ioDrMdDat) == 76 &&
              offsetof(DirInfo, ioDrParID) == 100);
static_assert(sizeof(GrafPort) == 156);
static_assert(offsetof(GrafPort, windowKind) == 108 && offsetof(GrafPort, visible) == 110 &&
              offsetof(GrafPort, contRgn) == 118 && offsetof(GrafPort, nextWindow) == 144 &&
              offsetof(GrafPort, refCon) == 152);
static_assert(sizeof(Picture) == 10);
static_assert(sizeof(TERec) == 96 && offsetof(TERec, teLength) == 60 &&
              offsetof(TERec, hText) == 62);
static_assert(sizeof(LongDateRec) == 28 && offsetof(LongDateRec, dayOfWeek) == 14);
