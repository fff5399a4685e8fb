#include "recorder/Memory.h"

#include "platform/Compiler.h"

#include <algorithm>

#include <windows.h>

namespace {
const NT_TIB& ThreadInformation() {
    return *reinterpret_cast<const NT_TIB*>(NtCurrentTeb());
}

std::uintptr_t Number(const void* address) {
    return reinterpret_cast<std::uintptr_t>(address);
}

template <typename Function>
Function Find(HMODULE library, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// Two questions of the toolbox library, which is there before any plug-in that uses it.
struct Toolbox {
    long(TOOLBOX_CALL* handleSize)(void* handle) = nullptr;
    short(TOOLBOX_CALL* lastError)() = nullptr;

    static Toolbox Look() {
        HMODULE const library = GetModuleHandleW(L"ASINTPPC.dll");
        if (library == nullptr) {
            return {};
        }
        return {Find<decltype(handleSize)>(library, "GetHandleSize"),
                Find<decltype(lastError)>(library, "MemError")};
    }
};
} // namespace

// Some hosts may switch stacks by themselves: then the system's word for it is not the running one.
ReadableMemory::ReadableMemory() {
    const NT_TIB& thread = ThreadInformation();
    const std::uintptr_t here = Number(CurrentFrame());
    if (here >= Number(thread.StackLimit) && here < Number(thread.StackBase)) {
        ranges[0] = {here, Number(thread.StackBase)};
    }
}

std::size_t ReadableMemory::From(std::uint32_t address, std::size_t size) {
    for (const Range& range : ranges) {
        if (address >= range.begin && address < range.end && size <= range.end - address) {
            return size;
        }
    }
    constexpr DWORD unreadable = PAGE_NOACCESS | PAGE_GUARD;
    Range found{address, address};
    MEMORY_BASIC_INFORMATION region{};
    while (found.end - address < size && found.end >= address &&
           VirtualQuery(reinterpret_cast<const void*>(found.end), &region, sizeof region) != 0 &&
           region.State == MEM_COMMIT && (region.Protect & unreadable) == 0) {
        const std::uintptr_t begin = Number(region.BaseAddress);
        found = {std::min(found.begin, begin), begin + region.RegionSize};
    }
    if (found.end < address) { // at the end of the address space
        return 0;
    }
    if (found.end > address) {
        ranges[oldest] = found;
        oldest = oldest % (ranges.size() - 1) + 1;
    }
    return std::min<std::size_t>(found.end - address, size);
}

std::uint32_t StackBase() {
    return Number(ThreadInformation().StackBase);
}

std::optional<std::uint32_t> PlatformHandleSize(std::uint32_t handle) {
    static const Toolbox toolbox = Toolbox::Look();
    if (toolbox.handleSize == nullptr || toolbox.lastError == nullptr || toolbox.lastError() != 0) {
        return std::nullopt;
    }
    const long size = toolbox.handleSize(reinterpret_cast<void*>(std::uintptr_t{handle}));
    return size < 0 ? std::nullopt : std::optional(static_cast<std::uint32_t>(size));
}
