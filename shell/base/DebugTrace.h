#pragma once

#include "platform/Compiler.h"

// Debug trace: lines to the debugger's console or to a file, chosen by level and domain.
//
// A trace text passes through the formatted-print function twice: once with its arguments, and
// once more on its way into a file, where what is left of "%" in it is a format again. Deliberate,
// and relied on by those who double their "%"; so text from outside never goes into a trace.

/// Where traces go.
namespace DebugOutput {
enum : long { Console = 1, File = 2 };
}

/// What is traced, and where to.
struct DebugSettings {
    const char* fileName; ///< empty: "Debug.log" in the current folder
    long output;          ///< DebugOutput
    long level;           ///< texts of this level and below are written
    long indentation;     ///< depth; three blanks each at the start of a line
    long initialised;     ///< 1 once _DbgInit has run
    unsigned long
        domains[8]; ///< which of the domains 0 to 255 are written, as _LongBitSet has bits
};

/// May be changed while tracing.
extern DebugSettings gDebugSettings;

/// Starts tracing up to `level` with domain 0, and writes a banner. `fileName` may be null (as
/// before) or empty ("debug.log"); its first 512 characters are kept. An unknown `output`
/// (DebugOutput) leaves the one before.
void _DbgInit(long level, long output, const char* fileName);
/// Writes a banner and closes the file. A later text opens it again.
void _DbgDeinit();

/// @family Format as printf does with `format`, at most 16,383 characters, and write: always; when
/// `level` is not above the settings'; when `domain`, 0 to 255, is on; when both are so.
NIMBO_PRINTF_FORMAT(1, 2) void _DbgTraceV(const char* format, ...);
NIMBO_PRINTF_FORMAT(2, 3) void _DbgTraceVL(long level, const char* format, ...);
NIMBO_PRINTF_FORMAT(2, 3) void _DbgDomainTraceV(unsigned long domain, const char* format, ...);
NIMBO_PRINTF_FORMAT(3, 4)
void _DbgDomainTraceVL(unsigned long domain, long level, const char* format, ...);

/// Writes a `text`, zero-terminated, indented at the start of each line. The text is changed and
/// restored meanwhile.
void _DbgTraceOut(char* text);

/// @family Where pieces of `text` go. The file's piece is a format, and is flushed at once; it is
/// lost when the file cannot be opened.
void _DbgOutputConsole(const char* text);
void _DbgOutputFile(const char* text);
