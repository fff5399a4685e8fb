#include "testhost/values/Variables.h"

#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Arrays.h"
#include "testhost/values/Pictures.h"
#include "testhost/values/Storage.h"
#include "testhost/values/Strings.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

namespace {
constexpr char markCharacter = static_cast<char>(0xD7);
constexpr std::string_view mark = "<>";
constexpr size_t longestName = 255;

// A variable's process and its name without the mark.
struct Place {
    long process;
    std::string_view name;
};

Place Resolve(long process, std::string_view name) {
    if (name.size() >= 2 && name.front() == markCharacter) {
        return {HostVariables::interprocess, name.substr(1)};
    }
    if (name.size() >= 3 && name.starts_with(mark)) {
        return {HostVariables::interprocess, name.substr(mark.size())};
    }
    return {process, name};
}

bool SameName(std::string_view a, std::string_view b) {
    Str255 first;
    Str255 second;
    StorePascal(first, a);
    StorePascal(second, b);
    return EqualString(first, second, 0, 1) != 0;
}

// The items of `from` that are not, by their identity, in `kept`.
template <typename Item, typename Identity>
std::vector<Item> Without(const std::vector<Item>& from, const std::vector<Item>& kept,
                          Identity identity) {
    std::vector<Item> left;
    for (const Item& item : from) {
        if (std::ranges::none_of(
                kept, [&](const Item& other) { return identity(other) == identity(item); })) {
            left.push_back(item);
        }
    }
    return left;
}

// A string stays the same when it is set anew, which changes all of its block but its number.
unsigned long StringNumber(const FDStringBlock& string) {
    return string.hostPrivate[0];
}

BlockParts PartsWithout(const BlockParts& from, const BlockParts& kept) {
    return {Without(from.handles, kept.handles, std::identity()),
            Without(from.strings, kept.strings, StringNumber),
            Without(from.pictures, kept.pictures, std::identity())};
}

size_t Count(const BlockParts& parts) {
    return parts.handles.size() + parts.strings.size() + parts.pictures.size();
}

bool SamePointer(const ValueBlock& a, const ValueBlock& b) {
    return a.type == ValueType::Pointer && b.type == ValueType::Pointer &&
           Handle{a.pointer} == Handle{b.pointer};
}

// A value whose lengths say more than what is there.
std::optional<std::string> LengthFault(const ValueBlock& value, bool hasEngine) {
    const ValueKind kind = BlockKind(value.type);
    const auto beyond = [](long count, long held) { return count < 0 || count > held; };
    const auto size = [](Handle handle) {
        return static_cast<long>(HandleContents(handle).size());
    };
    if (kind == ValueKind::Text && beyond(value.text.length, size(value.text.text))) {
        return "a text whose length is not in its handle";
    }
    if ((kind == ValueKind::Blob || (kind == ValueKind::Picture && !hasEngine)) &&
        beyond(value.blob.size, size(value.blob.data))) {
        return "a BLOB or picture whose size is not in its handle";
    }
    if (IsArray(kind) && beyond(value.array.count, ElementsHeld(kind, value.array.elements))) {
        return "an array whose elements are not in its handle";
    }
    return std::nullopt;
}
} // namespace

HostVariable* HostVariables::FindVariable(long process, std::string_view name) {
    const Place place = Resolve(process, name);
    for (HostVariable& variable : variables[place.process]) {
        if (SameName(variable.name, place.name)) {
            return &variable;
        }
    }
    return nullptr;
}

bool HostVariables::IsName(std::string_view name) {
    return !name.empty() && name.size() <= longestName && name != mark && name[0] != '\0' &&
           name != std::string_view(&markCharacter, 1);
}

ValueBlock* HostVariables::Find(long process, std::string_view name) {
    HostVariable* variable = FindVariable(process, name);
    return variable == nullptr ? nullptr : &variable->value;
}

TypedValue HostVariables::Read(long process, std::string_view name) {
    const HostVariable* variable = FindVariable(process, name);
    return variable == nullptr ? NullValue(ValueKind::Undefined)
                               : FetchBlock(variable->shape, variable->value, layout);
}

void HostVariables::Set(long process, std::string_view name, const ValueBlock& value) {
    if (!IsName(name)) {
        throw std::invalid_argument("no variable has such a name: " + Quoted(name));
    }
    if (value.type == ValueType::Undefined) {
        return Remove(process, name);
    }
    const BlockParts parts = PartsOf(value, layout);
    HostVariable* variable = FindVariable(process, name);
    if (variable == nullptr) {
        const Place place = Resolve(process, name);
        variables[place.process].push_back({std::string(place.name), {}, {}});
        variable = &variables[place.process].back();
    } else {
        Release(*variable, parts);
    }
    if (!SamePointer(variable->value, value)) {
        variable->shape = {};
    }
    variable->value = value;
    for (const FDStringBlock& string : parts.strings) {
        layout.strings->SetOwner(string,
                                 IsArray(BlockKind(value.type)) ? Owner::Element : Owner::Host);
    }
    for (const FDPictureBlock* picture : parts.pictures) {
        layout.pictures->SetOwner(picture, Owner::Host);
    }
}

void HostVariables::Set(long process, std::string_view name, const TypedValue& value) {
    if (BlockType(value.kind) == ValueType::Undefined && value.kind != ValueKind::Undefined) {
        throw std::invalid_argument("no variable is of the kind " +
                                    std::string(KindName(value.kind)));
    }
    if (!IsName(name)) { // before anything is made that nobody would own
        throw std::invalid_argument("no variable has such a name: " + Quoted(name));
    }
    Set(process, name, StoreBlock(value, layout));
    if (HostVariable* variable = FindVariable(process, name)) {
        variable->shape = value;
    }
}

void HostVariables::Adopt(long process, std::string_view name, const ValueBlock& value) {
    if (HostVariable* variable = FindVariable(process, name)) {
        const std::vector<Handle> held = PartsOf(variable->value, layout).handles;
        if (!held.empty() && ToolboxHandleOwner(held.front()) != 1) {
            variable->value = {.type = variable->value.type, .filler = 0, .array = {}};
        }
    }
    Set(process, name, value);
}

ValueBlock& HostVariables::Declare(long process, std::string_view name, ValueKind kind) {
    ValueBlock* value = Find(process, name);
    if (value == nullptr || BlockKind(value->type) != kind) {
        Set(process, name, EmptyValue(kind));
        value = Find(process, name);
    }
    return *value;
}

void HostVariables::Remove(long process, std::string_view name) {
    const HostVariable* variable = FindVariable(process, name);
    if (variable == nullptr) {
        return;
    }
    Release(*variable, {});
    variables[Resolve(process, name).process].remove_if(
        [variable](const HostVariable& each) { return &each == variable; });
}

void HostVariables::RemoveProcess(long process) {
    for (const HostVariable& variable : variables[process]) {
        Release(variable, {});
    }
    variables.erase(process);
}

void HostVariables::Clear() {
    while (!variables.empty()) {
        RemoveProcess(variables.begin()->first);
    }
}

// Frees what the variable holds, but not what is to be kept.
void HostVariables::Release(const HostVariable& variable, const BlockParts& kept) {
    const BlockParts held = PartsOf(variable.value, layout);
    const BlockParts freed = PartsWithout(held, kept);
    if (variable.value.type == ValueType::Pointer && !freed.handles.empty()) {
        return FreeBlock(variable.shape, variable.value, layout); // with what it leads to
    }
    FreeParts(freed, layout);
}

std::optional<std::string> HostVariables::Fault(long process, std::string_view name,
                                                const ValueBlock& value) {
    const ValueKind kind = BlockKind(value.type);
    const bool unicode = kind == ValueKind::UnicodeText || kind == ValueKind::UnicodeTextArray;
    if (kind == ValueKind::None || (unicode && !layout.HasEngine())) {
        return "the type " + std::to_string(value.type) + ", which no variable of this host has";
    }
    const BlockParts parts = PartsOf(value, layout);
    if (auto fault = PartsFault(parts, FindVariable(process, name))) {
        return fault;
    }
    return LengthFault(value, layout.HasEngine());
}

std::optional<std::string> HostVariables::PartsFault(const BlockParts& parts,
                                                     const HostVariable* target) {
    for (Handle handle : parts.handles) {
        if (ToolboxHandleOwner(handle) != 1) {
            return "something that is no live toolbox handle";
        }
        if (std::ranges::count(parts.handles, handle) > 1) {
            return "one handle in two places";
        }
    }
    for (const FDStringBlock& string : parts.strings) {
        if (!layout.strings->IsLive(string)) {
            return "something that is no host string";
        }
    }
    for (const FDPictureBlock* picture : parts.pictures) {
        if (!layout.pictures->IsLive(picture)) {
            return "something that is no picture of the host";
        }
    }
    if (Count(parts) == 0) {
        return std::nullopt;
    }
    for (const auto& [process, list] : variables) {
        for (const HostVariable& other : list) {
            if (&other != target &&
                Count(PartsWithout(parts, PartsOf(other.value, layout))) < Count(parts)) {
                return "what the variable " + Quoted(other.name) + " holds already";
            }
        }
    }
    return std::nullopt;
}
