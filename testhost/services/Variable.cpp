#include "platform/ResultCodes.h"
#include "testhost/services/Service.h"
#include "testhost/values/Storage.h"

#include <algorithm>
#include <cstring>

namespace {
// In place of a process: while a dialog runs its variables come first.
long CurrentVariables(Host& host) {
    return host.dialogs.VariablesOf(host.currentProcess);
}

std::string VariableName(const ServiceCall& call) {
    return {reinterpret_cast<const char*>(call.fields.name) + 1, call.fields.name[0]};
}

// The value block that the plug-in gave; null, with a report and -50, when it gave none.
void* BlockAddress(ServiceCall& call, const char* service) {
    if (call.fields.handle == nullptr) {
        call.host.Report(std::string(service) + " came without the address of a value.");
        call.fields.error = ResultCode::BadParameter;
    }
    return call.fields.handle;
}

// A variable's text as a string, as far as it fits; nothing when it is no text.
std::optional<ValueBlock> AsString(const TypedValue& value) {
    if (value.kind != ValueKind::String && value.kind != ValueKind::Text &&
        value.kind != ValueKind::UnicodeText) {
        return std::nullopt;
    }
    return StoreBlock(StringValue(value.texts.at(0)), {});
}

// Answers the variable's contents, with the host's own handles. A variable that nobody has set is
// of the type undefined, which is no error.
void GetVariable(ServiceCall& call, long process, const char* service, bool converts) {
    void* target = BlockAddress(call, service);
    if (target == nullptr) {
        return;
    }
    HostVariables& variables = call.host.variables;
    const ValueBlock* found = variables.Find(process, VariableName(call));
    ValueBlock answer{};
    answer.type = ValueType::Undefined;
    if (found != nullptr) {
        answer = *found;
        variables.Touch(process, VariableName(call));
    }
    // A plug-in that asks with a string gets texts of every type as one.
    if (found != nullptr && converts && *static_cast<unsigned char*>(target) == ValueType::String) {
        const auto string = AsString(variables.Read(process, VariableName(call)));
        if (!string) {
            call.fields.error = ResultCode::BadParameter;
            return;
        }
        answer = *string;
    }
    std::memcpy(target, &answer, sizeof answer);
}

// Takes over the value and what it holds; on any error it stays the plug-in's.
void SetVariable(ServiceCall& call, long process, const char* service) {
    const void* source = BlockAddress(call, service);
    if (source == nullptr) {
        return;
    }
    ValueBlock value{};
    std::memcpy(&value, source, sizeof value);
    HostVariables& variables = call.host.variables;
    const std::string name = VariableName(call);
    call.fields.error = ResultCode::BadParameter;
    if (!HostVariables::IsName(name)) {
        return;
    }
    if (auto fault = variables.Fault(process, name, value)) {
        return call.host.Report(std::string(service) + ": the value for " + Quoted(name) +
                                " holds " + *fault + ".");
    }
    // A compiled database fixes the types of its variables.
    const ValueBlock* former = variables.Find(process, name);
    const HostOptions& options = call.host.options;
    if (former != nullptr && former->type != value.type &&
        (options.callerCompiled || options.hostCompiled)) {
        return;
    }
    variables.Adopt(process, name, value);
    call.fields.error = ResultCode::NoError;
}

constexpr auto readInputs = RecordField::Name | RecordField::Handle;
constexpr auto writeInputs = readInputs | RecordField::VariableFlag;
} // namespace

std::span<const Service> VariableServices() {
    static constexpr Service services[] = {
        {Select("GetProcessVariable"), readInputs,
         [](ServiceCall& call) {
             GetVariable(call, CurrentVariables(call.host), "selector 19 (GetProcessVariable)",
                         true);
         }},
        {Select("GetVariable"), readInputs,
         [](ServiceCall& call) {
             GetVariable(call, CurrentVariables(call.host), "selector -19 (GetVariable)", false);
         }},
        {Select("GetVariableIP"), readInputs,
         [](ServiceCall& call) {
             GetVariable(call, HostVariables::interprocess, "selector -125 (GetVariableIP)", false);
         }},
        {Select("GetLongIPVar"), readInputs,
         [](ServiceCall& call) {
             GetVariable(call, HostVariables::interprocess, "selector 125 (GetLongIPVar)", false);
         }},
        {Select("SetProcessVariable"), writeInputs,
         [](ServiceCall& call) {
             SetVariable(call, CurrentVariables(call.host), "selector 20 (SetProcessVariable)");
         }},
        {Select("SetVariable"), writeInputs,
         [](ServiceCall& call) {
             SetVariable(call, CurrentVariables(call.host), "selector -20 (SetVariable)");
         }},
        {Select("SetVariableIP"), writeInputs,
         [](ServiceCall& call) {
             SetVariable(call, HostVariables::interprocess, "selector -126 (SetVariableIP)");
         }},
        {Select("UpdateVariables"), RecordField::None,
         [](ServiceCall& call) { ++call.host.variables.redraws; }},
    };
    return services;
}
