#include "testhost/crossings/Log.h"

#include "testhost/crossings/RecordFields.h"
#include "testhost/values/TypedValue.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {
constexpr size_t mostBytesKept = 16 * 1024 * 1024; // some 5000 engine calls

size_t SizeOf(const LoggedCall& call) {
    return sizeof call + call.name.size() + call.before.size() + call.after.size() +
           call.remark.size();
}

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
    if (call.IsIntoPlugin()) {
        ++pluginCalls;
        countsSinceEntry.clear();
    } else {
        ++hostCalls;
        ++countsSinceEntry[call.name];
        KeepName(call);
    }
    bytes += SizeOf(call);
    calls.push_back(std::move(call));
    while (bytes > mostBytesKept && calls.size() > 1) {
        DropOldest();
    }
    if (onAdded) {
        onAdded(calls.back());
    }
}

void CallLog::KeepName(const LoggedCall& call) {
    constexpr size_t mostNames = 10000;
    if (call.process != namedProcess) {
        return;
    }
    if (++names.count <= mostNames) {
        names.first.push_back(call.name);
    }
}

void CallLog::BeginNames(long process) {
    namedProcess = process;
    names = {};
}

CallLog::Names CallLog::TakeNames() {
    namedProcess = 0;
    return std::exchange(names, {});
}

void CallLog::DropOldest() {
    LoggedCall& oldest = calls.front();
    bytes -= SizeOf(oldest);
    if (!oldest.IsIntoPlugin()) {
        LoggedCall& former = dropped[oldest.name];
        spare = std::exchange(former, std::move(oldest));
    }
    calls.pop_front();
}

LoggedCall CallLog::Blank() {
    LoggedCall blank;
    blank.before = std::exchange(spare.before, {});
    blank.after = std::exchange(spare.after, {});
    return blank;
}

void CallLog::EndEntry(long process, int entryDepth) {
    if (onEntryEnded) {
        onEntryEnded(process, entryDepth);
    }
}

void CallLog::Clear() {
    calls.clear();
    bytes = 0;
    dropped.clear();
    countsSinceEntry.clear();
}

std::vector<const LoggedCall*> CallLog::Named(std::string_view name) const {
    std::vector<const LoggedCall*> found;
    for (const LoggedCall& call : calls) {
        if (!call.IsIntoPlugin() && call.name == name) {
            found.push_back(&call);
        }
    }
    return found;
}

size_t CallLog::CountSinceEntry(std::string_view name) const {
    const auto found = countsSinceEntry.find(name);
    return found != countsSinceEntry.end() ? found->second : 0;
}

const LoggedCall* CallLog::Last(std::string_view name) const {
    const auto kept = std::find_if(calls.rbegin(), calls.rend(), [=](const LoggedCall& call) {
        return !call.IsIntoPlugin() && call.name == name;
    });
    if (kept != calls.rend()) {
        return &*kept;
    }
    const auto found = dropped.find(name);
    return found != dropped.end() ? &found->second : nullptr;
}
