#include "testhost/values/ReadableBytes.h"

#include <algorithm>
#include <cstdint>

#include <windows.h>

namespace {
// Those on pages whose protection is good enough.
template <typename IsGood>
std::size_t BytesOf(const void* address, std::size_t size, IsGood isGood) {
    const auto start = reinterpret_cast<std::uintptr_t>(address);
    std::size_t good = 0;
    MEMORY_BASIC_INFORMATION region{};
    while (good < size && start + good >= start &&
           VirtualQuery(reinterpret_cast<const void*>(start + good), &region, sizeof region) != 0 &&
           region.State == MEM_COMMIT && isGood(region.Protect)) {
        good = reinterpret_cast<std::uintptr_t>(region.BaseAddress) + region.RegionSize - start;
    }
    return std::min(good, size);
}
} // namespace

std::size_t ReadableBytes(const void* address, std::size_t size) {
    return BytesOf(address, size, [](DWORD protection) {
        return (protection & (PAGE_NOACCESS | PAGE_GUARD)) == 0;
    });
}

std::size_t WritableBytes(const void* address, std::size_t size) {
    return BytesOf(address, size, [](DWORD protection) {
        constexpr DWORD writable =
            PAGE_READWRITE | PAGE_WRITECOPY | PAGE_EXECUTE_READWRITE | PAGE_EXECUTE_WRITECOPY;
        return (protection & writable) != 0 && (protection & PAGE_GUARD) == 0;
    });
}
