#include "testhost/plugins/Surroundings.h"

#include "testhost/values/Encodings.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <numeric>
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

struct ListedHandle {
    void* object;
    size_t process;
    size_t handle;
    unsigned long access;
    unsigned short trace;
    unsigned short type;
    unsigned long rest[2];
};
static_assert(sizeof(ListedHandle) == 28);

struct ListOfHandles {
    size_t count;
    size_t reserved;
    ListedHandle handles[1];
};

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

// In the list of all processes' handles: what counts those of one answers 0 in Wine.
unsigned long CountHandles() {
    using Query = long(NTAPI*)(unsigned long what, void* list, unsigned long size, void* needed);
    constexpr unsigned long extendedHandles = 64;
    constexpr auto tooShort = static_cast<long>(0xC0000004);
    static const auto query = Find<Query>("NtQuerySystemInformation");
    const OwnedHandle semaphore(CreateSemaphoreW(nullptr, 0, 1, nullptr));
    std::vector<unsigned char> bytes(1 << 16);
    long status = tooShort;
    while ((status = query(extendedHandles, bytes.data(), bytes.size(), nullptr)) == tooShort) {
        bytes.resize(bytes.size() * 2);
    }
    if (status < 0) {
        return 0;
    }
    const auto* list = reinterpret_cast<const ListOfHandles*>(bytes.data());
    std::map<unsigned short, unsigned long> counts; // by the kind of object
    unsigned short uncounted = 0;
    for (const auto* each = list->handles; each != list->handles + list->count; ++each) {
        if (each->process == GetCurrentProcessId()) {
            ++counts[each->type];
            uncounted =
                reinterpret_cast<HANDLE>(each->handle) == semaphore.get() ? each->type : uncounted;
        }
    }
    counts.erase(uncounted);
    return std::accumulate(counts.begin(), counts.end(), 0UL,
                           [](unsigned long sum, const auto& each) { return sum + each.second; });
}
