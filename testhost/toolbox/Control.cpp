#include "testhost/toolbox/Control.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/drawing/Ports.h"
#include "testhost/toolbox/files/Catalog.h"
#include "testhost/toolbox/files/OpenFiles.h"
#include "testhost/toolbox/memory/ForeignCalls.h"
#include "testhost/toolbox/memory/Heap.h"
#include "testhost/toolbox/resources/Files.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

Call HostCall(const char* name) {
    return {name, Owner::Host};
}

/// Locks or unlocks.
OSErr SetLock(const Call& call, Handle handle, bool lock) {
    Heap::HandleEntry* entry = nullptr;
    if (const OSErr error = TheHeap().FindHandle(call, handle, &entry)) {
        return error;
    }
    const unsigned char others = entry->state & static_cast<unsigned char>(~Heap::locked);
    entry->state = lock ? others | Heap::locked : others;
    return ResultCode::NoError;
}

template <typename Item>
unsigned char CopyItem(const std::deque<Item>& items, long index, Item* out) {
    if (index < 0 || index >= static_cast<long>(items.size()) || out == nullptr) {
        return 0;
    }
    *out = items[static_cast<std::size_t>(index)];
    return 1;
}

} // namespace

void ToolboxReset() {
    TheHeap().Reset();
    TheOpenFiles().Reset();
    TheFinderInfos().Reset();
    TheResourceFiles().Reset();
    TheDrawing().Reset();
}

void ToolboxSetThread() {
    SetHostThread();
}

void ToolboxSetPlace(const char* place) {
    TheHeap().here = place ? Place(place) : Place();
}

void ToolboxSetStrict(unsigned char strict) {
    TheHeap().strict = strict != 0;
}

void ToolboxMoveMemory() {
    TheHeap().MoveAll();
}

long ToolboxFailAllocation(long count) {
    return std::exchange(TheHeap().failCountdown, count);
}

long ToolboxAllocations() {
    return TheHeap().allocations;
}

long ToolboxFailFile(long count) {
    return std::exchange(TheOpenFiles().failCountdown, count);
}

void ToolboxAllowMixedHandles(unsigned char allow) {
    TheHeap().mixingAllowed = allow != 0;
}

long ToolboxLiveHandles() {
    return TheHeap().LiveHandles(Owner::Toolbox);
}

long ToolboxLiveHostHandles() {
    return TheHeap().LiveHandles(Owner::Host);
}

long ToolboxLivePointers() {
    return TheHeap().LivePointers();
}

long ToolboxOpenFiles() {
    return TheOpenFiles().Count();
}

short ToolboxHandleOwner(Handle handle) {
    return static_cast<short>(TheHeap().OwnerOf(handle));
}

unsigned char ToolboxWasHandle(Handle handle) {
    return TheHeap().WasHandle(handle) ? 1 : 0;
}

void ToolboxVisitLeftOvers(unsigned long after,
                           void (*visit)(void* context, const ToolboxLeftOver*), void* context) {
    const auto tell = [=](const ToolboxLeftOver& leftOver) {
        if (leftOver.serial > after) {
            visit(context, &leftOver);
        }
    };
    const auto tellBlock = [&](ToolboxLeftOver::Kind kind, const auto& entry) {
        tell({kind, entry.serial, entry.place.Text(), entry.block.Bytes(), entry.block.Length(),
              nullptr});
    };
    for (const auto* entry = TheHeap().NewestHandle(); entry; entry = entry->older) {
        tellBlock(entry->owner == Owner::Host ? ToolboxLeftOver::HostHandle
                  : entry->isResource         ? ToolboxLeftOver::ResourceHandle
                                              : ToolboxLeftOver::PlainHandle,
                  *entry);
    }
    for (const auto* entry = TheHeap().NewestPointer(); entry; entry = entry->older) {
        tellBlock(ToolboxLeftOver::Pointer, *entry);
    }
    for (const auto& [number, file] : TheOpenFiles().All()) {
        long size = 0;
        file.GetSize(&size);
        tell({ToolboxLeftOver::File, file.serial, file.openedAt.Text(), nullptr, size,
              file.path.c_str()});
    }
}

unsigned long ToolboxLastSerial() {
    return TheHeap().serial;
}

long ToolboxCheckAll() {
    const long before = ToolboxProblemCount();
    TheHeap().CheckAll();
    TakeForeignCalls(TheHeap().problems);
    return ToolboxProblemCount() - before;
}

long ToolboxCheckUsed() {
    const long before = ToolboxProblemCount();
    TheHeap().CheckUsed();
    TakeForeignCalls(TheHeap().problems);
    return ToolboxProblemCount() - before;
}

long ToolboxProblemCount() {
    return TheHeap().problems.Count();
}

long ToolboxProblem(long index, char* buffer, long size) {
    const std::string* sentence = TheHeap().problems.At(index);
    if (!sentence) {
        return -1;
    }
    if (buffer && size > 0) {
        const std::size_t copied = std::min(sentence->size(), static_cast<std::size_t>(size - 1));
        std::memcpy(buffer, sentence->data(), copied);
        buffer[copied] = '\0';
    }
    return static_cast<long>(sentence->size());
}

void ToolboxOnProblem(void (*tell)()) {
    TheHeap().problems.onAdded = tell;
}

void ToolboxClearProblems() {
    TheHeap().problems.Clear();
}

Handle ToolboxNewHostHandle(Size size) {
    Handle handle = nullptr;
    TheHeap().NewHandle(HostCall("New host handle"), size, &handle);
    return handle;
}

OSErr ToolboxDisposeHostHandle(Handle handle) {
    return TheHeap().DisposeHandle(HostCall("Dispose host handle"), handle);
}

OSErr ToolboxSetHostHandleSize(Handle handle, Size size) {
    return TheHeap().SetHandleSize(HostCall("Set host handle size"), handle, size);
}

OSErr ToolboxLockHostHandle(Handle handle) {
    return SetLock(HostCall("Lock host handle"), handle, true);
}

OSErr ToolboxUnlockHostHandle(Handle handle) {
    return SetLock(HostCall("Unlock host handle"), handle, false);
}

Size ToolboxHostHandleSize(Handle handle) {
    Heap::HandleEntry* entry = nullptr;
    const Call call = HostCall("Host handle size");
    return TheHeap().FindHandle(call, handle, &entry) ? 0 : entry->block.Length();
}

OSErr ToolboxOpenResFile(const wchar_t* path, short* refNum) {
    return TheResourceFiles().Open(path, refNum);
}

OSErr ToolboxCloseResFile(short refNum) {
    return TheResourceFiles().Close(refNum);
}

OSErr ToolboxShareHostHandle(Handle handle) {
    Heap::HandleEntry* entry = nullptr;
    const OSErr error = TheHeap().FindHandle(HostCall("Share host handle"), handle, &entry);
    if (error == ResultCode::NoError) {
        entry->isShared = true;
    }
    return error;
}

void ToolboxAddResFile(short refNum) {
    TheResourceFiles().Add(refNum);
}

void ToolboxRemoveResFile(short refNum) {
    if (refNum != ResourceFiles::systemFile) {
        TheResourceFiles().Close(refNum);
    }
}

OSErr ToolboxAddResource(short refNum, OSType type, short id, const char* name, const void* bytes,
                         long size) {
    const std::string_view title = name ? name : "";
    if (size < 0 || (!bytes && size > 0) || title.size() > 255) {
        return ResultCode::BadParameter;
    }
    return TheResourceFiles().AddResource(
        refNum, type, id, std::string(title),
        size > 0 ? std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(size))
                 : std::string());
}

Handle ToolboxNamedResource(OSType type, const unsigned char* name) {
    return GetNamedResource(type, name);
}

long ToolboxDrawnCount(const GrafPort* port) {
    return static_cast<long>(TheDrawing().Of(port).operations.size());
}

unsigned char ToolboxDrawn(const GrafPort* port, long index, DrawnOperation* operation) {
    return CopyItem(TheDrawing().Of(port).operations, index, operation);
}

unsigned char ToolboxInvalidRect(const GrafPort* port, long index, Rect* rect) {
    return CopyItem(TheDrawing().Of(port).invalid, index, rect);
}

void ToolboxForgetPort(const GrafPort* port) {
    TheDrawing().Forget(port);
}

void ToolboxSetWindowTitle(const GrafPort* window, const unsigned char* title) {
    TheDrawing().Of(window).title = TextOf(title);
}
