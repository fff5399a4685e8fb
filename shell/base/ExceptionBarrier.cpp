#include "shell/base/ExceptionBarrier.h"

#include "platform/Diagnostics.h"
#include "shell/base/Format.h"

#include <cstring>
#include <exception>

#include <windows.h>

extern "C" IMAGE_DOS_HEADER __ImageBase; // begins this library in memory: the linker's own

void TellDebugger(const HostEntry& entry, const char* what) noexcept {
    char path[MAX_PATH] = "";
    GetModuleFileNameA(reinterpret_cast<HMODULE>(&__ImageBase), path, sizeof path - 1);
    const char* const slash = std::strrchr(path, '\\');
    char number[16] = "";
    if (entry.number != 0) {
        FormatText(number, sizeof number, " %ld", entry.number);
    }
    const bool named = entry.name != nullptr;
    char line[1024];
    FormatText(line, sizeof line, "%s%s, %s%s%s%.255s%s: %.500s\n", PluginProblemMark,
               slash != nullptr ? slash + 1 : path, entry.kind, number, named ? " (" : "",
               named ? entry.name : "", named ? ")" : "", what);
    OutputDebugStringA(line);
}

void TellOfException(const HostEntry& entry) noexcept {
    try {
        throw;
    } catch (const std::exception& exception) {
        TellDebugger(entry, exception.what());
    } catch (...) {
        TellDebugger(entry, "something was thrown that is no std::exception");
    }
}
