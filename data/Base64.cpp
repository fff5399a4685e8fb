#include "data/Base64.h"

#include "data/Base64Kernels.h"
#include "data/blocks/Handles.h"
#include "platform/Toolbox.h"

#include <cstring>

namespace {

const Base64Kernel& FastestKernel() {
    static const Base64Kernel& kernel = Base64Kernels().back();
    return kernel;
}

/// Replaces the contents of a handle with what `code` makes of them.
void CodeHandle(Handle handle, unsigned long (*getLength)(unsigned long),
                unsigned long (*code)(void*, const void*, unsigned long)) {
    const Size size = SizeIfThere(handle);
    if (size <= 0) {
        return;
    }
    const auto length = static_cast<unsigned long>(size);
    const TemporaryHandle scratch(NewHandle(static_cast<Size>(getLength(length))));
    if (!scratch.Get()) {
        return;
    }
    const unsigned long count = code(*scratch.Get(), *handle, length);
    SetHandleSize(handle, static_cast<Size>(count));
    // A handle that could not grow keeps its contents: the result has no room in it.
    if (MemError() == 0 && count > 0) {
        std::memcpy(*handle, *scratch.Get(), count);
    }
}

} // namespace

unsigned long Base64EncodeGetLength(unsigned long len) {
    return (len + 2) / 3 * 4;
}

unsigned long Base64Encode(void* dst, const void* src, unsigned long len) {
    if (!dst || !src || len == 0) {
        return 0;
    }
    FastestKernel().encode(static_cast<unsigned char*>(dst), static_cast<const unsigned char*>(src),
                           len);
    return Base64EncodeGetLength(len);
}

unsigned long Base64DecodeGetLength(unsigned long len) {
    return len % 4 ? 0 : len / 4 * 3;
}

unsigned long Base64Decode(void* dst, const void* src, unsigned long len) {
    if (!dst || !src || len == 0 || len % 4) {
        return 0;
    }
    return FastestKernel().decode(static_cast<unsigned char*>(dst),
                                  static_cast<const unsigned char*>(src), len);
}

void Base64EncodeHandle(Handle handle) {
    CodeHandle(handle, Base64EncodeGetLength, Base64Encode);
}

void Base64DecodeHandle(Handle handle) {
    CodeHandle(handle, Base64DecodeGetLength, Base64Decode);
}
