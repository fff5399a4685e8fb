#include "shell/base/DebugTrace.h"

#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "shell/base/TextServices.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

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

void (*put)(const char* text);   ///< where texts go; they come out together with Send
char fileName[PathCapacity + 1]; ///< as given to _DbgInit
std::FILE* traceFile;
bool atStartOfLine = true;
char formatBuffer[16384];

bool IsDomainOn(unsigned long domain) {
    return domain < DomainCount && _LongBitTst(gDebugSettings.domains, domain);
}

void Format(bool wanted, const char* format, std::va_list arguments) {
    if (!wanted) {
        return;
    }
    formatBuffer[0] = '\0';
    FormatTextV(formatBuffer, sizeof formatBuffer, format, arguments);
    _DbgTraceOut(formatBuffer);
}

/// A line between two rules that says what happened, and when in universal time.
void WriteBanner(const char* event) {
    constexpr const char* Rule = "============================================================";
    SYSTEMTIME now;
    GetSystemTime(&now);
    char banner[256];
    FormatText(banner, sizeof banner,
               "\n\n%s\n%s debug trace on %04d.%02d.%02d %02d:%02d:%02d\n%s\n\n", Rule, event,
               now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, Rule);
    _DbgTraceOut(banner);
}

char consoleLine[4096]; // a longer line comes out in several calls
std::size_t consoleLength;

void Send() {
    if (consoleLength > 0) {
        consoleLine[std::exchange(consoleLength, 0)] = '\0';
        OutputDebugStringA(consoleLine);
    }
    if (traceFile != nullptr) {
        std::fflush(traceFile);
    }
}

void PutConsole(const char* text) {
    for (; *text != '\0'; ++text) {
        if (consoleLength == sizeof consoleLine - 1) {
            Send();
        }
        consoleLine[consoleLength++] = *text;
    }
}

void PutFile(const char* text) {
    if (traceFile == nullptr) {
        const char* const name = gDebugSettings.fileName;
        traceFile = std::fopen(name != nullptr && *name != '\0' ? name : "Debug.log", "a");
    }
    if (traceFile == nullptr) {
        return;
    }
    WriteFormat(traceFile, text);
}

/// Writes one line, or the beginning of one. The parts are put apart because the text is a format
/// in a file, where a "%" at its end must not meet the line feed.
void WritePiece(const char* text, const char* end) {
    const long levels = atStartOfLine ? gDebugSettings.indentation : 0;
    for (long level = 0; level < levels; ++level) {
        put("   ");
    }
    put(text);
    put(end);
    Send();
    atStartOfLine = *end != '\0';
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
        put = PutConsole;
    } else if (output == DebugOutput::File) {
        put = PutFile;
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
    Format(true, format, arguments);
    va_end(arguments);
}

void _DbgTraceVL(long level, const char* format, ...) {
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    Format(gDebugSettings.level >= level, format, arguments);
    va_end(arguments);
}

void _DbgDomainTraceV(unsigned long domain, const char* format, ...) {
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    Format(IsDomainOn(domain), format, arguments);
    va_end(arguments);
}

void _DbgDomainTraceVL(unsigned long domain, long level, const char* format, ...) {
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    Format(IsDomainOn(domain) && gDebugSettings.level >= level, format, arguments);
    va_end(arguments);
}

void _DbgTraceOut(char* text) {
    if (put == nullptr || text == nullptr) {
        return;
    }
    while (char* const end = std::strchr(text, '\n')) {
        *end = '\0';
        WritePiece(text, "\n");
        *end = '\n';
        text = end + 1;
    }
    if (*text != '\0') {
        WritePiece(text, "");
    }
}

void _DbgOutputConsole(const char* text) {
    OutputDebugStringA(text);
}

void _DbgOutputFile(const char* text) {
    PutFile(text);
    Send();
}
