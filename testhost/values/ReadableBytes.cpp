#include "testhost/values/ReadableBytes.h"

#include <algorithm>
#include <cstdint>

#include <windows.h>

std::size_t ReadableBytes(const void* address, std::size_t size) {
    constexpr DWORD unreadable = PAGE_NOACCESS | PAGE_GUARD;
    const auto start = reinterpret_cast<std::uintptr_t>(address);
    std::size_t readable = 0;
    MEMORY_BASIC_INFORMATION region{};
    while (readable < size && start + readable >= start &&
           VirtualQuery(reinterpret_cast<const void*>(start + readable), &region, sizeof region) !=
               0 &&
           region.State == MEM_COMMIT && (region.Protect & unreadable) == 0) {
        readable = reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize - start;
    }
    return std::min(readable, size);
}
