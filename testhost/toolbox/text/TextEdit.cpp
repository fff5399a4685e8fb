#include "platform/Toolbox.h"
#include "testhost/toolbox/memory/Heap.h"

void TEDispose(TEHandle record) {
    if (record == nullptr) {
        return;
    }
    auto* const handle = reinterpret_cast<Handle>(record);
    if (GetHandleSize(handle) < static_cast<Size>(sizeof(TERec))) {
        TheHeap().problems.Add("TEDispose: %p is no text-edit record",
                               reinterpret_cast<void*>(record));
        return;
    }
    if ((*record)->hText != nullptr) {
        DisposeHandle((*record)->hText);
    }
    DisposeHandle(handle);
}
