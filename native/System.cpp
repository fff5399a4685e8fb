#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <map>
#include <memory>
#include <sanitizer/asan_interface.h>
#include <sanitizer/common_interface_defs.h>
#include <sys/mman.h>
#include <sys/uio.h>
#include <ucontext.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include <windows.h>

// The program as a module, errors, time, memory and fibers.

namespace {
constexpr std::size_t pageSize = 4096;
DWORD lastError = ERROR_SUCCESS;

Module* TheProgram() {
    static char program;
    return reinterpret_cast<Module*>(&program);
}

int ProtectionOf(DWORD protection) {
    return protection == PAGE_READWRITE  ? PROT_READ | PROT_WRITE
           : protection == PAGE_READONLY ? PROT_READ
                                         : PROT_NONE;
}

bool IsReadable(const void* address) {
    char byte;
    const iovec here{&byte, 1};
    const iovec there{const_cast<void*>(address), 1};
    return process_vm_readv(getpid(), &here, 1, &there, 1, 0) == 1;
}

std::map<void*, std::size_t>& Allocations() {
    static std::map<void*, std::size_t> allocations;
    return allocations;
}

/// Those that live, with width and height.
std::map<void*, std::pair<int, int>>& Bitmaps() {
    static std::map<void*, std::pair<int, int>> bitmaps;
    return bitmaps;
}
} // namespace

HMODULE GetModuleHandleA(const char*) {
    return TheProgram();
}

FARPROC GetProcAddress(HMODULE, const char* name) {
    return reinterpret_cast<FARPROC>(dlsym(RTLD_DEFAULT, name));
}

DWORD GetModuleFileNameA(HMODULE, char* out, DWORD room) {
    constexpr char path[] = "C:\\work\\native.exe";
    std::strncpy(out, path, room);
    return std::min<DWORD>(room, sizeof path - 1);
}

HMODULE LoadLibraryW(const wchar_t*) {
    return TheProgram();
}

DWORD GetLastError() {
    return lastError;
}

void SetLastError(DWORD error) {
    lastError = error;
}

DWORD GetCurrentThreadId() {
    return static_cast<DWORD>(gettid());
}

DWORD GetCurrentProcessId() {
    return static_cast<DWORD>(getpid());
}

HANDLE GetCurrentProcess() {
    return TheProgram();
}

BOOL TerminateProcess(HANDLE, UINT code) {
    _exit(static_cast<int>(code));
}

void RaiseException(DWORD, DWORD, DWORD, const DWORD*) {
    std::abort();
}

void OutputDebugStringA(const char*) {}

DWORD GetTickCount() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<DWORD>(now.tv_sec * 1000 + now.tv_nsec / 1'000'000);
}

void GetSystemTime(SYSTEMTIME* time) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::tm* const parts = std::gmtime(&now.tv_sec);
    const auto word = [](long number) { return static_cast<WORD>(number); };
    *time = {word(parts->tm_year + 1900), word(parts->tm_mon + 1),      word(parts->tm_wday),
             word(parts->tm_mday),        word(parts->tm_hour),         word(parts->tm_min),
             word(parts->tm_sec),         word(now.tv_nsec / 1'000'000)};
}

DWORD GetSysColor(int) {
    return 0x00D77800;
}

void* CreateBitmap(int width, int height, UINT, UINT, const void*) {
    static std::uintptr_t count = 0;
    auto* const bitmap = reinterpret_cast<void*>(++count); // nobody looks into one
    Bitmaps()[bitmap] = {width, height};
    return bitmap;
}

int GetObjectA(void* object, int, void* facts) {
    auto* const bitmap = static_cast<BITMAP*>(facts);
    *bitmap = {.bmWidth = Bitmaps()[object].first, .bmHeight = Bitmaps()[object].second};
    return sizeof *bitmap;
}

DWORD GetObjectType(void* object) {
    return Bitmaps().contains(object) ? OBJ_BITMAP : 0;
}

BOOL DeleteObject(void* object) {
    return Bitmaps().erase(object) != 0;
}

void* VirtualAlloc(void* address, SIZE_T size, DWORD kind, DWORD protection) {
    if (address != nullptr) { // reserved before
        return mprotect(address, size, ProtectionOf(protection)) == 0 ? address : nullptr;
    }
    const int allowed = (kind & MEM_COMMIT) != 0 ? ProtectionOf(protection) : PROT_NONE;
    void* const bytes = mmap(nullptr, size, allowed, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (bytes == MAP_FAILED) {
        return nullptr;
    }
    Allocations()[bytes] = size;
    return bytes;
}

BOOL VirtualFree(void* address, SIZE_T, DWORD) {
    const auto found = Allocations().find(address);
    if (found == Allocations().end()) {
        return FALSE;
    }
    munmap(address, found->second);
    Allocations().erase(found);
    return TRUE;
}

BOOL VirtualProtect(void* address, SIZE_T size, DWORD protection, DWORD* former) {
    *former = PAGE_READWRITE;
    auto* const start =
        reinterpret_cast<char*>(reinterpret_cast<std::uintptr_t>(address) & ~(pageSize - 1));
    const auto length = static_cast<std::size_t>(static_cast<char*>(address) + size - start);
    return mprotect(start, length, ProtectionOf(protection)) == 0;
}

// Page by page, and there as far as the sanitizer lets bytes be read.
SIZE_T VirtualQuery(const void* address, MEMORY_BASIC_INFORMATION* region, SIZE_T size) {
    const auto start = reinterpret_cast<std::uintptr_t>(address);
    const std::uintptr_t page = start & ~(pageSize - 1);
    std::uintptr_t end = page + pageSize;
    bool isReadable = IsReadable(address);
    if (isReadable) {
        const auto forbidden = reinterpret_cast<std::uintptr_t>(
            __asan_region_is_poisoned(const_cast<void*>(address), end - start));
        isReadable = forbidden != start;
        end = isReadable && forbidden != 0 ? forbidden : end;
    }
    *region = {.BaseAddress = reinterpret_cast<void*>(page),
               .AllocationBase = reinterpret_cast<void*>(page),
               .RegionSize = static_cast<SIZE_T>(end - page),
               .State = MEM_COMMIT,
               .Protect = isReadable ? PAGE_READWRITE : PAGE_NOACCESS};
    return size;
}

// Fibers

namespace {
constexpr std::size_t guardSize = pageSize; // below a stack: who runs over faults

struct Fiber {
    Fiber() = default;
    ~Fiber() {
        if (memory != nullptr) {
            munmap(memory, guardSize + size);
        }
    }
    Fiber(const Fiber&) = delete;
    Fiber& operator=(const Fiber&) = delete;

    ucontext_t context{};
    void* memory = nullptr; ///< guard and stack; none of the thread's own
    const void* bottom = nullptr;
    std::size_t size = 0;
    LPFIBER_START_ROUTINE body = nullptr;
    void* parameter = nullptr;
    void* fakeStack = nullptr;
};

// The words of stacks that were left for good, which may hold the last address of what they own: a
// process that is killed leaks that, as it does in the real host. They keep it from being reported,
// and stay until that is over.
auto& abandoned = *new std::vector<std::vector<std::uintptr_t>>;

__attribute__((no_sanitize("address"))) void KeepWords(const Fiber& fiber) {
    const auto from = static_cast<std::uintptr_t>(fiber.context.uc_mcontext.gregs[REG_ESP]);
    const auto end = reinterpret_cast<std::uintptr_t>(fiber.bottom) + fiber.size;
    std::vector<std::uintptr_t> words;
    for (std::uintptr_t at = from; at < end; at += sizeof at) {
        const std::uintptr_t word = *reinterpret_cast<const volatile std::uintptr_t*>(at);
        words.push_back(word);
    }
    abandoned.push_back(std::move(words));
}

Fiber* current = nullptr;

void FinishSwitch(Fiber* arrived, Fiber* left) {
    const void* bottom = nullptr;
    std::size_t size = 0;
    __sanitizer_finish_switch_fiber(arrived->fakeStack, &bottom, &size);
    if (left != nullptr && left->bottom == nullptr) { // the thread's own stack
        left->bottom = bottom;
        left->size = size;
    }
}

Fiber* leaving = nullptr;

void RunFiber() {
    FinishSwitch(current, leaving);
    current->body(current->parameter);
    std::abort(); // a fiber that ends would end its thread
}
} // namespace

void* ConvertThreadToFiber(void*) {
    return current = new Fiber; // for as long as the program runs
}

void* CreateFiberEx(SIZE_T, SIZE_T size, DWORD, LPFIBER_START_ROUTINE body, void* parameter) {
    auto fiber = std::make_unique<Fiber>();
    constexpr std::size_t forTheSanitizer = 4; // frames are larger with what it puts between
    fiber->size = (size * forTheSanitizer + pageSize - 1) / pageSize * pageSize;
    void* const memory = mmap(nullptr, guardSize + fiber->size, PROT_READ | PROT_WRITE,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        return nullptr;
    }
    fiber->memory = memory;
    mprotect(memory, guardSize, PROT_NONE);
    auto* const stack = static_cast<char*>(memory) + guardSize;
    fiber->bottom = stack;
    fiber->body = body;
    fiber->parameter = parameter;
    getcontext(&fiber->context);
    fiber->context.uc_stack.ss_sp = stack;
    fiber->context.uc_stack.ss_size = fiber->size;
    makecontext(&fiber->context, RunFiber, 0);
    return fiber.release();
}

void SwitchToFiber(void* fiber) {
    auto* const next = static_cast<Fiber*>(fiber);
    Fiber* const self = leaving = current;
    current = next;
    __sanitizer_start_switch_fiber(&self->fakeStack, next->bottom, next->size);
    swapcontext(&self->context, &next->context);
    FinishSwitch(self, leaving);
}

void DeleteFiber(void* fiber) {
    const std::unique_ptr<Fiber> deleted(static_cast<Fiber*>(fiber));
    KeepWords(*deleted);
}
