#include "testhost/replay/CrossedHandles.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"

using namespace Recording;

namespace {
enum HandleOperation : long { Nothing, New, Dispose, SetSize, GetSize, Lock, Unlock };

// What the host has done to a handle in this call.
long OperationIn(const RecordedEvent& begin, const RecordedEvent& end) {
    const SelectorPair* const service = ServiceOf(begin);
    const bool isOperation = service != nullptr && service->name == "HandleOperation" &&
                             FieldsOf(end).error == ResultCode::NoError;
    return isOperation ? FieldsOf(begin).param1 : Nothing;
}

bool IsHandle(const RecordedItem& item) {
    return item.head.target == Target::Handle || item.head.target == Target::HostHandle;
}
} // namespace

void CrossedHandles::Keep(const CrossingContents& here) {
    for (const RecordedItem& item : here.items) {
        if (IsHandle(item)) {
            words.insert(item.head.address);
        }
    }
}

void CrossedHandles::KeepRecorded(const CrossingContents& recorded) {
    for (const RecordedItem& item : recorded.items) {
        if (IsHandle(item)) {
            words.insert(book.Here(item.head.address).value_or(0));
        }
    }
}

void CrossedHandles::MakeNew(const RecordedEvent& begin, const RecordedEvent& end) {
    const Handle made = FieldsOf(end).handle;
    if (OperationIn(begin, end) == New && made != nullptr) {
        book.Learn(WordOf(made), WordOf(ToolboxNewHostHandle(FieldsOf(begin).param2)));
    }
}

void CrossedHandles::DoLikewise(const RecordedEvent& begin, const RecordedEvent& end) const {
    const CallFields& sent = FieldsOf(begin);
    auto* const handle = static_cast<Handle>(PointerAt(book.Here(WordOf(sent.handle)).value_or(0)));
    switch (OperationIn(begin, end)) {
    case Dispose:
        ToolboxDisposeHostHandle(handle);
        break;
    case SetSize:
        ToolboxSetHostHandleSize(handle, sent.param2);
        break;
    case Lock:
        ToolboxLockHostHandle(handle);
        break;
    case Unlock:
        ToolboxUnlockHostHandle(handle);
        break;
    default:
        break;
    }
}

void CrossedHandles::Release() const {
    for (const std::uint32_t word : words) {
        auto* const handle = static_cast<Handle>(PointerAt(word));
        const short owner = ToolboxHandleOwner(handle);
        if (owner == HandleOwner::Host) {
            ToolboxDisposeHostHandle(handle);
        } else if (owner == HandleOwner::Toolbox) {
            DisposeHandle(handle);
        }
    }
    ToolboxClearProblems(); // of resources, which stay
}
