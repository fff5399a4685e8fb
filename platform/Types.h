#pragma once

#include <cstddef>

// The toolbox's records, as they cross the boundary: 2-byte packing, little-endian.

using OSErr = short;
using OSType = unsigned long;
using Ptr = char*;
/// Relocatable block: address of the master pointer, which holds the address of the bytes.
using Handle = char**;
using Size = long;
/// Pascal strings: a length byte, then up to 255 (31, 63) characters, no terminator.
using Str255 = unsigned char[256];
using Str63 = unsigned char[64];
using Str31 = unsigned char[32];

#pragma pack(push, 2)

struct Point {
    short v;
    short h;
};

struct Rect {
    short top;
    short left;
    short bottom;
    short right;
};

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

/// Window record in the classic layout. Only the fields that the framework reads are named.
struct GrafPort {
    unsigned char port[108]; ///< drawing port
    short windowKind;
    unsigned char visible;
    unsigned char hilited;
    unsigned char goAwayFlag;
    unsigned char spareFlag;
    unsigned char
        regionsAndTitle[30]; ///< regions, definition, data and title handles, width, controls
    GrafPort* nextWindow;    ///< next window behind; null at the end
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
static_assert(sizeof(GrafPort) == 156);
static_assert(offsetof(GrafPort, windowKind) == 108 && offsetof(GrafPort, visible) == 110 &&
              offsetof(GrafPort, nextWindow) == 144 && offsetof(GrafPort, refCon) == 152);
static_assert(sizeof(Picture) == 10);
static_assert(sizeof(LongDateRec) == 28 && offsetof(LongDateRec, dayOfWeek) == 14);
