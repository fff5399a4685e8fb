#pragma once

#include <span>

/// One way to code Base64. Every kernel gives the same bytes, reads `len` bytes at `src` and no
/// more, and writes exactly the result's size at `dst`.
struct Base64Kernel {
    const char* name;
    /// Writes 4 characters for every 3 bytes or rest of them.
    void (*encode)(unsigned char* dst, const unsigned char* src, unsigned long len);
    /// Writes 3 bytes for every 4 characters and returns how many bytes count. `len` is a multiple
    /// of 4.
    unsigned long (*decode)(unsigned char* dst, const unsigned char* src, unsigned long len);
};

/// The kernels that this processor can run, the fastest last.
std::span<const Base64Kernel> Base64Kernels();
