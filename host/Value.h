#pragma once

#include "host/boundary/Values.h"

// The host's typed values: small conversions, filling a `block`, reading one, freeing one.
//
// Value.cpp has the numbers and dates, the filling and the freeing, ValueReading.cpp the readers of
// numbers and dates, ValueText.cpp all that makes a string or text.
//
// Unless it says otherwise a function answers 0, or -1999 when the block's type does not allow what
// was asked. A `format` is a Pascal string in the host's notation; null or an empty one is none.
// Answers go into `out`. What holds a text never lets more be read than its handle has, nor more
// than 255 bytes where a Pascal string comes of it.

// --- Numbers and dates ----------------------------------------------------------------------
// Reals are truncated toward zero; one out of range, or that is no number, becomes the lowest value
// of the width.

/// @family A `value` as another kind of number.
long REALToLong(REAL_U value);
REAL_U LongToREAL(long value);
short REALToShort(REAL_U value);
REAL_U ShortToREAL(short value);

/// Midnight of a day, `date`, in the platform's `seconds` (LongDateToSeconds). Answers 0.
long Date4D2LongDateTime(DateBlock* date, long long* seconds);
/// The day, `date`, of a moment, `seconds`; its time of day is dropped. Answers 0.
long LongDateTime2Date4D(long long seconds, DateBlock* date);

// --- Strings and texts ----------------------------------------------------------------------

/// The first 255 bytes of a `text` as a Pascal string (256 bytes), formatted by the host when there
/// is a format.
void TextToString(TextBlock* text, unsigned char* out, unsigned char* format);
/// Makes a `text` hold a string, `in`; its handle is resized, or made when there is none. An empty
/// string leaves an empty handle. Without memory the text keeps its length.
void StringToText(unsigned char* in, TextBlock* text, unsigned char* format);

/// A value of this `type` with nothing in it; a string has room for 255 characters.
ValueBlock EmptyValueBlock(short type);

// --- Filling a block whose type is set ------------------------------------------------------
// Numbers go into reals, booleans, longs and times; nothing is stored on -1999.

/// A real, `value`.
long REAL2ValueBlock(REAL_U value, ValueBlock* block);
/// A double, `value`; leaves the last 2 bytes of a real as they are.
long NativeReal2ValueBlock(double value, ValueBlock* block);
/// A long, `value`.
long Long2ValueBlock(long value, ValueBlock* block);
/// A truth value; a boolean takes the byte, `value`, unchanged.
long Boolean2ValueBlock(unsigned char value, ValueBlock* block);
/// A time in `seconds`.
long Time2ValueBlock(long seconds, ValueBlock* block);
/// @family Only tell whether the type fits (`date`: a date; `string`: a text or string): nothing is
/// ever stored.
long Date2ValueBlock(DateBlock* date, ValueBlock* block);
long String2ValueBlock(StringBlock* string, ValueBlock* block);
/// Copies the bytes of `text` into a text (and may answer -108), or as many as its capacity allows
/// into a string.
long Text2ValueBlock(TextBlock* text, ValueBlock* block);

/// Stores a real, boolean or long of `from` into `to`, whose type is set. 0, and nothing stored,
/// from a text, date, time or string.
long CoerseValueBlock(ValueBlock* from, ValueBlock* to);

// --- Reading a block ------------------------------------------------------------------------
// The result is cleared first and stays so on error. Texts and strings read as the number that they
// begin with, else 0.

/// As a long.
long Value2Long(ValueBlock* block, long* out);
/// Of text: whether there is any; of a date: whether no part of it is 0.
long Value2Boolean(ValueBlock* block, unsigned char* out);
/// @family As a real.
long Value2REAL(ValueBlock* block, REAL_U* out);
long Value2NativeReal(ValueBlock* block, double* out);
/// The empty date for everything but a date.
long Value2Date(ValueBlock* block, DateBlock* out);
/// As a Pascal string (256 bytes); UTF-16 comes in the Macintosh character set, cut to 255, and
/// empty, without an error, when it cannot be converted. The host formats; dates and times take the
/// number (1 to 7, 1 to 5) or name of a display format, and its default for any other. Host errors
/// are passed on.
long Value2String(ValueBlock* block, unsigned char* out, unsigned char* format);
/// The same as a `text` that the caller owns, up to 32000 bytes of text and UTF-16; a text is not
/// formatted. The text's former contents are released.
long Value2Text(ValueBlock* block, TextBlock* text, unsigned char* format);
/// Whether the Pascal string `string` equals the zero-terminated `name`, case and diacritical marks
/// ignored.
unsigned char IUEqualStringPC(const unsigned char* string, const char* name);

// --- Freeing --------------------------------------------------------------------------------

/// Releases the handle, host string or picture that a `block` owns and clears its contents; other
/// types, and null, are left alone. Answers 0.
long FreeValueBlock(ValueBlock* block);
