#pragma once

// Pascal strings (a length byte, then up to 255 characters, no terminator) as the host and the
// toolbox use them, zero-terminated strings as everything else does, and hexadecimal digits.
// Nothing here allocates or fails, and source (`src`) and destination (`dst`) may overlap. Unless a
// bound is given the destination has room for the result; 256 bytes always do for a Pascal string.

/// Copies a Pascal string.
void _CopyPStr(const unsigned char* src, unsigned char* dst);
/// Appends `src` to `dst`, as far as it fits into 255 characters.
void _CatPStr(const unsigned char* src, unsigned char* dst);
/// Orders the Pascal strings `a` and `b` by unsigned bytes, case-sensitively, a beginning before
/// the longer string: -1, 0 or 1.
int _ComparePStrings(const unsigned char* a, const unsigned char* b);
/// Whether the Pascal strings `a` and `b` hold the same bytes.
bool _PStringsEqual(const unsigned char* a, const unsigned char* b);

/// Copies a zero-terminated string.
void _CopyCStr(const char* src, char* dst);
/// Copies at most `size` characters and terminates them. `dst` must hold `size` + 1 bytes, not
/// `size`. A size of 0 or less stores the terminator only.
void _CopyCStrN(const char* src, char* dst, long size);
/// Appends `src` to `dst`.
void _CatCStr(const char* src, char* dst);

/// Makes a Pascal string of the first 255 characters of `src`.
void _CopyC2PStr(const char* src, unsigned char* dst);
/// Appends `src` to a Pascal string, as far as it fits into 255 characters.
void _CatC2PStr(const char* src, unsigned char* dst);
/// Makes a Pascal string of the first `max` characters of `src`; `max` is taken as 0 to 255.
void _CopyC2PStrN(const char* src, unsigned char* dst, short max);
/// Makes a zero-terminated string of a Pascal string; `dst` must hold its length + 1 bytes.
void _CopyP2CStr(const unsigned char* src, char* dst);
/// Appends a Pascal string to a zero-terminated one.
void _CatP2CStr(const unsigned char* src, char* dst);

/// Writes 2 upper-case digits of `value` and a terminator into `out`: 3 bytes.
void _CharToHex(unsigned char value, char* out);
/// Writes 4 upper-case digits of `value`, high byte first, and a terminator into `out`: 5 bytes.
void _ShortToHex(unsigned short value, char* out);
/// Writes 8 upper-case digits of `value`, most significant first, and a terminator into `out`: 9
/// bytes.
void _LongToHex(unsigned long value, char* out);

/// Value of one `digit` of either case; 0 for any other character.
unsigned char HexToNibble(const unsigned char* digit);
/// Value of the 2 digits at `text`, most significant first. All of them are read, whatever they
/// are.
unsigned char _HexToChar(const unsigned char* text);
/// Value of the 4 digits at `text`, most significant first. All of them are read, whatever they
/// are.
unsigned short _HexToShort(const unsigned char* text);
/// Value of the 8 digits at `text`, most significant first. All of them are read, whatever they
/// are.
unsigned long _HexToLong(const unsigned char* text);
