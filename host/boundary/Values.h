#pragma once

#include "platform/Types.h"

struct FDPictureBlock; // the host's; only its address is passed

#pragma pack(push, 2)

/// The host's real: an IEEE double in the first 8 bytes. The last 2 are copied along with the
/// rest and never interpreted.
struct REAL_U {
    double value;
    unsigned char unused[2];
};

/// The host's date. A date with any field 0 is the empty date.
struct DateBlock {
    short day;
    short month;
    short year;
};

/// The host's text record: length in bytes and the platform handle that holds them.
struct TextBlock {
    short length;
    Handle text;
};

/// The host's fixed string: how many characters it may hold, then a Pascal string.
struct StringBlock {
    short capacity;
    Str255 string;
};

/// The host's BLOB; on hosts before 11.0 also its picture.
struct BlobBlock {
    long size;
    Handle data;
};

/// A UTF-16 string that the host owns; only the host creates, changes and releases it.
struct FDStringBlock {
    long length; ///< UTF-16 units
    unsigned short* units;
    unsigned long hostPrivate[2];
};

/// The host's array value: elements 0 to `count` in the storage.
struct ArrayBlock {
    long count;
    Handle elements;
    short currentIndex;
};

/// One row of a two-dimensional array, as its storage holds it.
struct ArrayRow {
    unsigned char type; ///< ValueType of a one-dimensional array
    unsigned char filler;
    ArrayBlock array;
};

/// The host's pointer record, what a pointer's handle holds in an interpreted database: a 16-bit
/// kind, then two 32-bit target fields. The pointer is nil when the field that its kind looks at is
/// 0.
struct PointerRecord {
    short kind;    ///< PointerKind
    long variable; ///< the host's number of the variable
    long field;    ///< table number in the upper half, field number (0: the table) in the lower
};

/// What a pointer leads to.
namespace PointerKind {
inline constexpr short Variable = 0;
inline constexpr short Field = 1;
} // namespace PointerKind

/// Type codes of the host's typed values.
namespace ValueType {
enum : unsigned char {
    Real = 1,
    Text = 2,
    Date = 4,
    Undefined = 5,
    Boolean = 6,
    Long = 9,
    Picture = 10,
    Time = 11,
    ArrayOfArrays = 13,
    RealArray = 14,
    IntegerArray = 15,
    LongArray = 16,
    DateArray = 17,
    TextArray = 18,
    PictureArray = 19,
    StringArray = 21,
    BooleanArray = 22,
    Pointer = 23,
    String = 24,
    Blob = 30,
    UnicodeText = 33,
    UnicodeTextArray = 34,
};
}

/// The host's typed value: a type code, then the contents that belong to it.
struct ValueBlock {
    unsigned char type; ///< ValueType
    unsigned char filler;
    union {
        StringBlock string; // the largest comes first, so that {} clears the whole record
        REAL_U real;
        TextBlock text;
        DateBlock date;
        unsigned char boolean; ///< 0 or non-zero
        long number;           ///< long integer, or time in seconds
        FDPictureBlock* picture;
        BlobBlock blob;
        FDStringBlock unicode;
        ArrayBlock array;
        Handle pointer; ///< the record of a pointer's target
    };
};

#pragma pack(pop)

static_assert(sizeof(REAL_U) == 10 && sizeof(DateBlock) == 6 && sizeof(TextBlock) == 6);
static_assert(offsetof(DateBlock, day) == 0 && offsetof(DateBlock, month) == 2 &&
              offsetof(DateBlock, year) == 4);
static_assert(offsetof(TextBlock, length) == 0 && offsetof(TextBlock, text) == 2);
static_assert(sizeof(StringBlock) == 258 && offsetof(StringBlock, string) == 2);
static_assert(sizeof(BlobBlock) == 8 && offsetof(BlobBlock, data) == 4);
static_assert(sizeof(FDStringBlock) == 16 && offsetof(FDStringBlock, units) == 4 &&
              offsetof(FDStringBlock, hostPrivate) == 8);
static_assert(sizeof(ArrayBlock) == 10 && offsetof(ArrayBlock, elements) == 4 &&
              offsetof(ArrayBlock, currentIndex) == 8);
static_assert(sizeof(ArrayRow) == 12 && offsetof(ArrayRow, array) == 2);
static_assert(sizeof(PointerRecord) == 10 && offsetof(PointerRecord, variable) == 2 &&
              offsetof(PointerRecord, field) == 6);
static_assert(sizeof(ValueBlock) == 260 && offsetof(ValueBlock, type) == 0 &&
              offsetof(ValueBlock, real) == 2 && offsetof(ValueBlock, string) == 2 &&
              offsetof(ValueBlock, pointer) == 2);
