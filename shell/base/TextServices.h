#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"

#include <cstdarg>

// Small text services: four-character codes, formatting, case, byte sizes, line endings, bits.

// --- Four-character codes -------------------------------------------------------------------
// The characters are the bytes of the `code`, most significant first; they go into `out`.

/// As a Pascal string of 4 characters; the code 0 as an empty one.
void _OSTypeToString(OSType code, unsigned char* out);
/// The same with a terminator: 5 bytes.
void _OSTypeToCString(OSType code, char* out);
/// 4 characters and a terminator, for the code 0 too. Answers 0, or -50 when `out` is null.
OSErr _OSType2CStr(OSType code, char* out);
/// For people: what is not printable stands as `\x` and two digits, so up to 16 characters.
void _OSTypeToDisplayString(OSType code, unsigned char* out);
/// The same with a terminator.
void _OSTypeToDisplayCString(OSType code, char* out);
/// @family The code of the first 4 characters of `text`; 0 when there are fewer.
OSType _StringToOSType(const unsigned char* text);
OSType _CStringToOSType(const char* text);

// --- Formatting -----------------------------------------------------------------------------

/// Formats as printf does with `format` and stores the first 255 characters in `out` as a Pascal
/// string (256 bytes). Answers how many they are.
NIMBO_PRINTF_FORMAT(2, 3) long _FormatPWithCStr(unsigned char* out, const char* format, ...);
/// The same `format` and `out` for a function that takes the `arguments` itself.
long _FormatPWithCStrV(unsigned char* out, const char* format, std::va_list arguments);
/// The same with the `format` as a Pascal string, into `out`.
long _FormatPWithPStr(unsigned char* out, const unsigned char* format, ...);

/// @family Upper and lower case of `text` in place, byte by byte as the C library has it. Null is
/// ignored.
void _UpperCStr(char* text);
void _LowerCStr(char* text);
void _UpperPStr(unsigned char* text);
void _LowerPStr(unsigned char* text);

/// A short text for a number of bytes ("1.5 KB"); `out` holds 20 bytes. Answers its length.
long _GetByteSizeString(char* out, unsigned long bytes);
/// Removes zeros at the end of the text, then points.
void _TrimDoubleString(char* text);

// --- Line endings ---------------------------------------------------------------------------

/// Kinds of line endings; a set of them is their sum.
namespace LineEnding {
enum : long { CR = 1, CRLF = 2, LF = 4 };
}

/// The set of LineEnding kinds in a platform handle's text; `count`, if given, receives how many
/// line endings there are. A null handle has none.
long _GetHandleLineEndings(Handle text, long* count);
/// Makes every line ending the given kind; any other value removes them. Answers 0, -50 for a null
/// handle, or the memory error that kept the text from its new size.
long _SetHandleLineEndings(Handle text, long kind);

// --- Bits -----------------------------------------------------------------------------------
// In an array of 32-bit words, `bits`; bit `number` 0 is the highest bit of the first word.

/// @family Whether the bit is set; sets it, clears it, changes it.
bool _LongBitTst(const unsigned long* bits, unsigned long number);
void _LongBitSet(unsigned long* bits, unsigned long number);
void _LongBitClear(unsigned long* bits, unsigned long number);
void _LongBitChange(unsigned long* bits, unsigned long number);
