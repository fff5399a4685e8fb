#include "platform/ResultCodes.h"
#include "testhost/services/Service.h"
#include "testhost/toolbox/Control.h"

namespace {
enum class HandleOperation : long { New = 1, Dispose, SetSize, GetSize, Lock, Unlock };

// Memory that the host owns: the operation's code in param1, a size in param2.
void OperateOnHandle(ServiceCall& call) {
    CallFields& fields = call.fields;
    switch (static_cast<HandleOperation>(fields.param1)) {
    case HandleOperation::New:
        fields.handle = ToolboxNewHostHandle(fields.param2);
        fields.error = fields.handle != nullptr ? ResultCode::NoError : ResultCode::MemoryFull;
        break;
    case HandleOperation::Dispose:
        fields.error = ToolboxDisposeHostHandle(fields.handle);
        break;
    case HandleOperation::SetSize:
        fields.error = ToolboxSetHostHandleSize(fields.handle, fields.param2);
        break;
    case HandleOperation::GetSize:
        fields.param2 = ToolboxHostHandleSize(fields.handle);
        break;
    case HandleOperation::Lock:
        fields.error = ToolboxLockHostHandle(fields.handle);
        break;
    case HandleOperation::Unlock:
        fields.error = ToolboxUnlockHostHandle(fields.handle);
        break;
    default:
        call.host.Report("selector -434 (HandleOperation): there is no operation " +
                         std::to_string(fields.param1) + ".");
        fields.error = ResultCode::BadParameter;
        break;
    }
}
} // namespace

std::span<const Service> MemoryServices() {
    static constexpr Service services[] = {
        {Select("HandleOperation"), RecordField::Param1 | RecordField::Param2 | RecordField::Handle,
         OperateOnHandle},
    };
    return services;
}
