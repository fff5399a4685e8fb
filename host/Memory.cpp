#include "host/Call.h"
#include "host/FourD.h"

namespace {

/// What the host's memory service is asked for.
enum class HandleOperation : long { New = 1, Dispose, SetSize, GetSize, Lock, Unlock };

/// One call of the service: operation in param1, size in param2, handle in `handle`.
class HandleCall : public EngineCall {
  public:
    HandleCall(HandleOperation operation, char** handle, long size = 0)
        : EngineCall(Select("HandleOperation")) {
        (*this)->handle = handle;
        PutNumbers(static_cast<long>(operation), size).Send();
    }
};

} // namespace

char** FourD::NewHandleV11(long size) {
    return HandleCall(HandleOperation::New, nullptr, size)->handle;
}

void FourD::DisposeHandleV11(char** handle) {
    if (handle != nullptr) {
        HandleCall(HandleOperation::Dispose, handle);
    }
}

unsigned char FourD::SetHandleSizeV11(char** handle, long size) {
    return handle != nullptr && HandleCall(HandleOperation::SetSize, handle, size)->error == 0;
}

long FourD::GetHandleSizeV11(char** handle) {
    return handle != nullptr ? HandleCall(HandleOperation::GetSize, handle)->param2 : 0;
}

void FourD::LockHandleV11(char** handle) {
    if (handle != nullptr) {
        HandleCall(HandleOperation::Lock, handle);
    }
}

void FourD::UnlockHandleV11(char** handle) {
    HandleCall(HandleOperation::Unlock, handle);
}
