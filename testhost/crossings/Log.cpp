#include "testhost/crossings/Log.h"

#include "testhost/crossings/RecordFields.h"
#include "testhost/values/TypedValue.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr size_t mostKept = 100'000;

bool IsZero(std::span<const unsigned char> bytes) {
    return std::ranges::all_of(bytes, [](unsigned char byte) { return byte == 0; });
}

// How many of a field's bytes count: the flag of a variable lies within the value text, behind
// whatever text is there.
size_t BytesInUse(const RecordFieldInfo& field, std::span<const unsigned char> record,
                  bool engine) {
    const size_t size = field.Size(engine);
    const size_t offset = field.Offset(engine);
    if (field.bit == RecordField::ValueText) {
        return std::min<size_t>(size, 1U + record[offset]);
    }
    if (field.bit == RecordField::VariableFlag) {
        constexpr size_t before = offsetof(VariableFields, flag);
        return record[offset - before] >= before ? 0 : size;
    }
    return size;
}

// "name = value" for every field that `picked` accepts.
template <typename Picked>
std::string ListFields(const LoggedCall& call, std::span<const unsigned char> record,
                       Picked picked) {
    const bool engine = call.IsEngine();
    std::string list;
    for (const RecordFieldInfo& field : RecordFields()) {
        size_t offset = field.Offset(engine);
        size_t size = BytesInUse(field, record, engine);
        if (size > 0 && picked(offset, size)) {
            list += list.empty() ? "" : ", ";
            list += std::string(field.name) + " = " + call.FieldText(field, record);
        }
    }
    return list;
}
} // namespace

// Classic operations on dialogs, which are all called so, have names that end with a zero byte,
// and 80-bit reals.
std::string LoggedCall::FieldText(const RecordFieldInfo& field,
                                  std::span<const unsigned char> record) const {
    const bool special = kind == Kind::Classic && name.find("Dialog") != std::string::npos;
    const std::span<const unsigned char> bytes =
        record.subspan(field.Offset(IsEngine()), field.Size(IsEngine()));
    if (special && field.bit == RecordField::Name) {
        const auto* text = reinterpret_cast<const char*>(bytes.data());
        return Quoted({text, strnlen(text, bytes.size())});
    }
    if (special && field.bit == RecordField::ValueReal) {
        long double real = 0;
        std::memcpy(&real, bytes.data(), bytes.size());
        return ::Describe(RealValue(static_cast<double>(real)));
    }
    return field.Text(record, IsEngine());
}

const CallFields& LoggedCall::Shared(const std::vector<unsigned char>& record) const {
    if (IsEngine()) {
        return *reinterpret_cast<const FDEngineBlock*>(record.data());
    }
    return *reinterpret_cast<const ParameterBlock*>(record.data());
}

const EngineFields& LoggedCall::Extra(const std::vector<unsigned char>& record) const {
    return *reinterpret_cast<const FDEngineBlock*>(record.data());
}

const unsigned char* LoggedCall::ValueText(const std::vector<unsigned char>& record) const {
    return IsEngine() ? reinterpret_cast<const FDEngineBlock*>(record.data())->valueText
                      : reinterpret_cast<const ParameterBlock*>(record.data())->valueText;
}

std::string LoggedCall::Describe() const {
    if (IsIntoPlugin()) {
        // A command's name holds its number already; a process's function has none.
        return selector >= 0 ? name : name + " (" + std::to_string(selector) + ")";
    }
    std::span sent(before);
    std::span answered(after);
    std::string text =
        name + " (" + std::to_string(selector) + (IsEngine() ? ", engine)" : ", classic)");
    std::string inputs = ListFields(*this, sent, [&](size_t offset, size_t size) {
        return !IsZero(sent.subspan(offset, size));
    });
    std::string outputs = ListFields(*this, answered, [&](size_t offset, size_t size) {
        return !std::ranges::equal(sent.subspan(offset, size), answered.subspan(offset, size));
    });
    if (!inputs.empty()) {
        text += "  " + inputs;
    }
    if (!outputs.empty()) {
        text += "  → " + outputs;
    }
    if (!remark.empty()) {
        text += "  (" + remark + ")";
    }
    return text;
}

void CallLog::Add(LoggedCall call) {
    ++(call.IsIntoPlugin() ? pluginCalls : hostCalls);
    if (calls.size() == mostKept) {
        calls.pop_front();
    }
    calls.push_back(std::move(call));
    if (onAdded) {
        onAdded(calls.back());
    }
}

void CallLog::Clear() {
    calls.clear();
}

std::vector<const LoggedCall*> CallLog::Named(std::string_view name, bool sinceEntry) const {
    std::vector<const LoggedCall*> found;
    for (const LoggedCall& call : calls) {
        if (call.IsIntoPlugin() && sinceEntry) {
            found.clear();
        } else if (!call.IsIntoPlugin() && call.name == name) {
            found.push_back(&call);
        }
    }
    return found;
}

const LoggedCall* CallLog::Last(std::string_view name) const {
    std::vector<const LoggedCall*> found = Named(name);
    return found.empty() ? nullptr : found.back();
}
