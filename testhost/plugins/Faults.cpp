#include "testhost/plugins/Faults.h"

#include "platform/Compiler.h"
#include "testhost/model/Scheduler.h"
#include "testhost/plugins/Surroundings.h"
#include "testhost/values/Encodings.h"

#include <cstdio>
#include <filesystem>
#include <iterator>

#include <windows.h>

FaultRecorder* FaultRecorder::current = nullptr;

namespace {
std::string Hex(unsigned long number, int digits = 1) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%0*lX", digits, number);
    return text;
}

// Null outside every module.
HMODULE ModuleOf(const void* address) {
    HMODULE module = nullptr;
    constexpr DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    GetModuleHandleExW(flags, static_cast<LPCWSTR>(address), &module);
    return module;
}

constexpr int addressDigits = 8;
constexpr DWORD microsoftException = 0xE06D7363; // of C++, as that compiler raises them
} // namespace

std::string AddressText(const std::string& module, unsigned long base, unsigned long address) {
    return module.empty() ? Hex(address, addressDigits) : module + "+" + Hex(address - base);
}

std::string AddressText(const void* address) {
    HMODULE const module = ModuleOf(address);
    wchar_t path[MAX_PATH] = L"";
    std::string name;
    if (module != nullptr && GetModuleFileNameW(module, path, std::size(path)) != 0) {
        name = Shown(std::filesystem::path(path).filename());
    }
    return AddressText(name, reinterpret_cast<unsigned long>(module),
                       reinterpret_cast<unsigned long>(address));
}

std::string DescribeFault(const EXCEPTION_RECORD& fault, const std::string& place) {
    switch (fault.ExceptionCode) {
    case EXCEPTION_ACCESS_VIOLATION: {
        const ULONG_PTR kind = fault.ExceptionInformation[0];
        const auto address = static_cast<unsigned long>(fault.ExceptionInformation[1]);
        // Where code cannot be executed, a processor without that notion reads it.
        const bool isJump = kind == EXCEPTION_EXECUTE_FAULT ||
                            address == reinterpret_cast<unsigned long>(fault.ExceptionAddress);
        return (isJump ? "the plug-in jumped to " : place + (kind == 0 ? " read " : " wrote ")) +
               Hex(address, addressDigits);
    }
    case EXCEPTION_STACK_OVERFLOW:
        return place + " overflowed the stack";
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_FLT_DIVIDE_BY_ZERO:
        return place + " divided by zero";
    case EXCEPTION_BREAKPOINT:
        return place + " stopped at a breakpoint";
    case EXCEPTION_ILLEGAL_INSTRUCTION:
        return place + " is no instruction";
    case abortException:
        return "the plug-in aborted (abort, or an exception that nobody caught)";
    case microsoftException:
        return "the plug-in threw an exception that nobody caught";
    case stuckException:
        return "the plug-in gives way without end";
    default:
        return place + " raised exception " + Hex(fault.ExceptionCode, addressDigits);
    }
}

bool IsFault(unsigned long code) {
    constexpr unsigned long severities = 0xF0000000;
    constexpr unsigned long error = 0xC0000000; // not informational, not a language's own
    return (code & severities) == error || code == abortException;
}

HOST_ENTRY long FaultRecorder::Record(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& fault = *pointers->ExceptionRecord;
    if (current != nullptr && current->thread == GetCurrentThreadId() &&
        IsFault(fault.ExceptionCode) &&
        (current->places == Where::Anywhere || !IsOfWindows(ModuleOf(fault.ExceptionAddress)))) {
        current->last = DescribeFault(fault, AddressText(fault.ExceptionAddress));
    }
    return EXCEPTION_CONTINUE_SEARCH;
}

FaultRecorder::FaultRecorder(Where itsPlaces)
    : places(itsPlaces),
      handler(AddVectoredExceptionHandler(1, Record)),
      thread(GetCurrentThreadId()) {
    current = this;
}

FaultRecorder::~FaultRecorder() {
    current = nullptr;
    RemoveVectoredExceptionHandler(handler);
}
