#pragma once

#include <cstddef>

/// How many of so many bytes can be read from an address on: those on pages that are there and may
/// be read, as VirtualQuery tells. A plug-in's addresses are not trusted.
std::size_t ReadableBytes(const void* address, std::size_t size);
/// The same of bytes that can be written.
std::size_t WritableBytes(const void* address, std::size_t size);
