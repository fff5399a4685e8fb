#include "shell/DebugTrace.h"

#include "shell/Strings.h"
#include "shell/TextServices.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include <windows.h>

DebugSettings gDebugSettings = {.fileName = "",
                                .output = DebugOutput::Console,
                                .level = 0,
                                .indentation = 0,
                                .initialised = 0,
                                .domains = {}};

namespace {

constexpr long PathCapacity = 512;
constexpr unsigned long DomainCount = 256;

void (*writeOut)(const char* text);
char fileName[PathCapacity + 1]; ///< as given to _DbgInit
std::FILE* traceFile;
bool atStartOfLine = true;
char formatBuffer[16384];

bool IsDomainOn(unsigned long domain) {
    return domain < DomainCount && _LongBitTst(gDebugSettings.domains, domain);
}

void Format(const char* format, std::va_list arguments) {
    formatBuffer[0] = '\0';
    std::vsnprintf(formatBuffer, sizeof formatBuffer, format, arguments);
    _DbgTraceOut(formatBuffer);
}

/// A line between two rules that says what happened, and when in universal time.
void WriteBanner(const char* event) {
    constexpr const char* Rule = "============================================================";
    SYSTEMTIME now;
    GetSystemTime(&now);
    char banner[256];
    std::snprintf(banner, sizeof banner,
                  "\n\n%s\n%s debug trace on %04d.%02d.%02d %02d:%02d:%02d\n%s\n\n", Rule, event,
                  now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, Rule);
    _DbgTraceOut(banner);
}

/// Writes one line, or the beginning of one.
void WritePiece(const char* text) {
    if (atStartOfLine) {
        for (long level = 0; level < gDebugSettings.indentation; ++level) {
            writeOut("   ");
        }
    }
    writeOut(text);
}

} // namespace

void _DbgInit(long level, long output, const char* name) {
    if (name != nullptr) {
        _CopyCStrN(*name != '\0' ? name : "debug.log", fileName, PathCapacity);
        gDebugSettings.fileName = fileName;
    }
    gDebugSettings.output = output;
    gDebugSettings.level = level;
    gDebugSettings.indentation = 0;
    gDebugSettings.initialised = 1;
    std::memset(gDebugSettings.domains, 0, sizeof gDebugSettings.domains);
    _LongBitSet(gDebugSettings.domains, 0);
    if (output == DebugOutput::Console) {
        writeOut = _DbgOutputConsole;
    } else if (output == DebugOutput::File) {
        writeOut = _DbgOutputFile;
    }
    WriteBanner("Started");
}

void _DbgDeinit() {
    WriteBanner("Stopped");
    if (traceFile != nullptr) {
        std::fclose(traceFile);
        traceFile = nullptr;
    }
}

void _DbgTraceV(const char* format, ...) {
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    Format(format, arguments);
    va_end(arguments);
}

void _DbgTraceVL(long level, const char* format, ...) {
    if (gDebugSettings.level < level) {
        return;
    }
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    Format(format, arguments);
    va_end(arguments);
}

void _DbgDomainTraceV(unsigned long domain, const char* format, ...) {
    if (!IsDomainOn(domain)) {
        return;
    }
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    Format(format, arguments);
    va_end(arguments);
}

void _DbgDomainTraceVL(unsigned long domain, long level, const char* format, ...) {
    if (!IsDomainOn(domain) || gDebugSettings.level < level) {
        return;
    }
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    Format(format, arguments);
    va_end(arguments);
}

void _DbgTraceOut(char* text) {
    if (writeOut == nullptr || text == nullptr) {
        return;
    }
    while (char* const end = std::strchr(text, '\n')) {
        *end = '\0';
        WritePiece(text);
        *end = '\n';
        writeOut("\n");
        atStartOfLine = true;
        text = end + 1;
    }
    if (*text != '\0') {
        WritePiece(text);
        atStartOfLine = false;
    }
}

void _DbgOutputConsole(const char* text) {
    OutputDebugStringA(text);
}

void _DbgOutputFile(const char* text) {
    if (traceFile == nullptr) {
        const char* const name = gDebugSettings.fileName;
        traceFile = std::fopen(name != nullptr && *name != '\0' ? name : "Debug.log", "a");
    }
    if (traceFile == nullptr) {
        return;
    }
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
    std::fprintf(traceFile, text);
#pragma GCC diagnostic pop
    std::fflush(traceFile);
}
