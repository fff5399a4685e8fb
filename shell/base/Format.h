#pragma once

#include "platform/Compiler.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

// printf of the system's own C library, which a plug-in imports anyhow: the compiler's own would
// bring 24 KB along into each. It knows the formats that the system documents, and rounds as it
// does (1.25 to "1.3").

/// Formats as printf does with `format` into `capacity` bytes (one at least) at `out`, cut to what
/// has room with the terminator. Answers how many characters they are, or -1 when some were cut
/// off.
NIMBO_PRINTF_FORMAT(3, 4) int FormatText(char* out, std::size_t capacity, const char* format, ...);
/// The same `format` into the same `out` and `capacity` for a function that takes the `arguments`
/// itself.
int FormatTextV(char* out, std::size_t capacity, const char* format, std::va_list arguments);
/// Writes a text into a `file` as a `format` without arguments.
void WriteFormat(std::FILE* file, const char* format);
