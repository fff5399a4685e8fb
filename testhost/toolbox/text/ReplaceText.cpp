#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/memory/Heap.h"

#include <algorithm>
#include <string_view>

namespace {

using Bytes = std::string_view;

Bytes BytesOf(const Heap::HandleEntry& entry) {
    return {entry.block.Bytes(), static_cast<std::size_t>(entry.block.Length())};
}

long CountOf(Bytes search, Bytes text) {
    long count = 0;
    for (std::size_t at = 0; (at = text.find(search, at)) != Bytes::npos; at += search.size()) {
        ++count;
    }
    return count;
}

void CopyReplaced(Bytes text, Bytes search, Bytes replacement, char* target) {
    std::size_t from = 0;
    for (std::size_t at = 0; (at = text.find(search, from)) != Bytes::npos;
         from = at + search.size()) {
        target = std::copy_n(text.data() + from, at - from, target);
        target = std::copy(replacement.begin(), replacement.end(), target);
    }
    std::copy(text.begin() + static_cast<std::ptrdiff_t>(from), text.end(), target);
}

OSErr Replace(const Call& call, Handle text, Handle replacement, const unsigned char* search,
              long* count) {
    Heap& heap = TheHeap();
    Heap::HandleEntry* textEntry = nullptr;
    if (const OSErr error = heap.FindHandle(call, text, &textEntry)) {
        return error;
    }
    Heap::HandleEntry* replacementEntry = nullptr;
    if (replacement) {
        if (const OSErr error = heap.FindHandle(call, replacement, &replacementEntry)) {
            return error;
        }
    }
    if (!search) {
        return ResultCode::BadParameter;
    }
    const Bytes wanted(reinterpret_cast<const char*>(search + 1), search[0]);
    const Bytes old = BytesOf(*textEntry);
    const Bytes inserted = replacementEntry ? BytesOf(*replacementEntry) : Bytes();
    *count = wanted.empty() ? 0 : CountOf(wanted, old);
    if (*count == 0) {
        return ResultCode::NoError;
    }
    // The new text is complete before the handle changes: neither a failure nor a moving or
    // identical replacement can tear it.
    const Block result = Block::Make(
        static_cast<long long>(old.size()) +
        *count * (static_cast<long long>(inserted.size()) - static_cast<long long>(wanted.size())));
    if (!result) {
        return ResultCode::MemoryFull;
    }
    CopyReplaced(old, wanted, inserted, result.Bytes());
    if (const OSErr error = heap.SetHandleSize(call, text, result.Length())) {
        return error;
    }
    std::copy_n(result.Bytes(), result.Length(), *text);
    return ResultCode::NoError;
}

} // namespace

short ReplaceTex(Handle text, Handle replacement, const unsigned char* search) {
    Heap& heap = TheHeap();
    long count = 0;
    heap.lastResult = Replace({"ReplaceTex"}, text, replacement, search, &count);
    return heap.lastResult ? heap.lastResult : static_cast<short>(std::min(count, 32767L));
}
