#include "testhost/plugins/Surroundings.h"

#include "testhost/values/Encodings.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <iterator>
#include <memory>
#include <winternl.h>

#include <windows.h>

namespace {
struct CloseIt {
    using pointer = HANDLE;
    void operator()(HANDLE handle) const { CloseHandle(handle); }
};
using OwnedHandle = std::unique_ptr<HANDLE, CloseIt>;

template <typename Function>
Function Find(const char* name) {
    return reinterpret_cast<Function>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), name)));
}

std::wstring PathOf(HMODULE library) {
    wchar_t path[MAX_PATH * 4];
    return {path, GetModuleFileNameW(library, path, std::size(path))};
}

void NTAPI AddLibrary(const LDR_DATA_TABLE_ENTRY* entry, void* paths, BOOLEAN*) {
    const UNICODE_STRING& name = entry->FullDllName;
    static_cast<std::set<std::wstring>*>(paths)->emplace(name.Buffer,
                                                         name.Length / sizeof(wchar_t));
}

// From the loader's own list: a snapshot of the process, as of its threads below, would take as
// long as a whole session.
std::set<std::wstring> Libraries() {
    using Enumerate = NTSTATUS(NTAPI*)(ULONG, decltype(&AddLibrary), void*);
    static const auto enumerate = Find<Enumerate>("LdrEnumerateLoadedModules");
    std::set<std::wstring> paths;
    enumerate(0, AddLibrary, &paths);
    return paths;
}

std::set<unsigned long> Threads() {
    using Next = NTSTATUS(NTAPI*)(HANDLE process, HANDLE thread, ACCESS_MASK access,
                                  ULONG attributes, ULONG flags, HANDLE * next);
    static const auto next = Find<Next>("NtGetNextThread");
    std::set<unsigned long> threads;
    OwnedHandle thread;
    for (HANDLE found = nullptr;
         next(GetCurrentProcess(), thread.get(), THREAD_QUERY_INFORMATION, 0, 0, &found) >= 0;
         found = nullptr) {
        thread.reset(found);
        threads.insert(GetThreadId(found));
    }
    return threads;
}

bool IsInWindowsFolder(const std::wstring& path) {
    wchar_t folder[MAX_PATH];
    const UINT length = GetWindowsDirectoryW(folder, std::size(folder));
    return length != 0 && path.size() > length && path[length] == L'\\' &&
           _wcsnicmp(path.c_str(), folder, length) == 0;
}

// Null outside every library, and where nobody can tell.
HMODULE BirthplaceOf(HANDLE thread) {
    constexpr auto startAddress = static_cast<THREADINFOCLASS>(9);
    static const auto query = Find<decltype(&NtQueryInformationThread)>("NtQueryInformationThread");
    void* start = nullptr;
    HMODULE library = nullptr;
    if (query(thread, startAddress, &start, sizeof start, nullptr) >= 0) {
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                               GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                           static_cast<const wchar_t*>(start), &library);
    }
    return library;
}
} // namespace

Surroundings Surroundings::Now() {
    Surroundings now;
    now.libraries = Libraries();
    now.threads = Threads();
    return now;
}

std::vector<std::string> Surroundings::LibrariesSince() const {
    std::vector<std::string> sentences;
    for (const std::wstring& path : Libraries()) {
        if (!libraries.contains(path) && !IsInWindowsFolder(path)) {
            sentences.push_back("The library " + Shown(std::filesystem::path(path).filename()) +
                                " stays loaded when the plug-in is unloaded.");
        }
    }
    return sentences;
}

std::vector<std::string> Surroundings::ThreadsSince() const {
    constexpr DWORD patience = 200; // ms, for all that are about to end
    const DWORD began = GetTickCount();
    std::vector<std::string> sentences;
    for (const unsigned long number : Threads()) {
        const OwnedHandle thread(
            threads.contains(number)
                ? nullptr
                : OpenThread(SYNCHRONIZE | THREAD_QUERY_INFORMATION, FALSE, number));
        if (thread != nullptr && !IsOfWindows(BirthplaceOf(thread.get())) &&
            WaitForSingleObject(thread.get(),
                                patience - std::min(patience, GetTickCount() - began)) ==
                WAIT_TIMEOUT) {
            sentences.emplace_back(
                "A thread that the plug-in started still runs when the plug-in is unloaded.");
        }
    }
    return sentences;
}

bool IsOfWindows(void* module) {
    if (module == nullptr) {
        return false;
    }
    const std::filesystem::path path = PathOf(static_cast<HMODULE>(module));
    const std::wstring name = path.stem().wstring();
    return IsInWindowsFolder(path.wstring()) && _wcsnicmp(name.c_str(), L"msvc", 4) != 0 &&
           _wcsnicmp(name.c_str(), L"ucrt", 4) != 0;
}

// Each number that may be one is asked for: what counts a process's handles answers 0 in Wine, and
// the list of all processes' handles takes Wine's server along when another process starts or ends
// just then. The question about a semaphore tells them from other handles, and these from none.
unsigned long CountHandles() {
    using Query = long(NTAPI*)(HANDLE handle, long what, void* answer, unsigned long size, void*);
    constexpr auto otherKind = static_cast<long>(0xC0000024);
    constexpr std::uintptr_t step = 4;
    constexpr std::uintptr_t widestGap = 256 * step; // the lowest free number is given out first
    static const auto query = Find<Query>("NtQuerySemaphore");
    unsigned long count = 0;
    std::uintptr_t last = 0;
    for (std::uintptr_t number = step; number <= last + widestGap; number += step) {
        long counts[2];
        const long status =
            query(reinterpret_cast<HANDLE>(number), 0, counts, sizeof counts, nullptr);
        if (status == otherKind) {
            ++count;
            last = number;
        }
    }
    return count;
}
