#include "testhost/values/Variables.h"

#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Pictures.h"
#include "testhost/values/Storage.h"
#include "testhost/values/Strings.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <utility>

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

size_t Count(const BlockParts& parts) {
    return parts.handles.size() + parts.strings.size() + parts.pictures.size();
}

bool SamePointer(const ValueBlock& a, const ValueBlock& b) {
    return a.type == ValueType::Pointer && b.type == ValueType::Pointer &&
           Handle{a.pointer} == Handle{b.pointer};
}
} // namespace

HostVariable* HostVariables::FindVariable(long process, std::string_view name) {
    const Place place = Resolve(process, name);
    const Places& known = places[place.process];
    const auto found = known.find(place.name);
    return found == known.end() ? nullptr : &*found->second;
}

/// ASCII letters count without their case, all other characters beyond ASCII alike.
size_t HostVariables::NameHash::operator()(std::string_view name) const {
    std::string folded(name.substr(0, longestName));
    for (char& letter : folded) {
        const auto code = static_cast<unsigned char>(letter);
        letter = code >= 0x80                     ? '\x7F'
                 : letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A')
                                                  : letter;
    }
    return std::hash<std::string>()(folded);
}

bool HostVariables::NameEqual::operator()(std::string_view a, std::string_view b) const {
    return SameName(a, b);
}

bool HostVariables::IsName(std::string_view name) {
    return !name.empty() && name.size() <= longestName && name != mark && name[0] != '\0' &&
           name != std::string_view(&markCharacter, 1);
}

bool HostVariables::SetLayout(const ValueLayout& valueLayout) {
    const bool fits = valueLayout.HasEngine() == layout.HasEngine();
    const bool isEmpty =
        std::ranges::all_of(variables, [](const auto& each) { return each.second.empty(); });
    if (fits || isEmpty) {
        layout = valueLayout;
    }
    return fits || isEmpty;
}

HostVariables::Values HostVariables::ReadAll() {
    Values values;
    for (const auto& [process, list] : variables) {
        for (const HostVariable& variable : list) {
            // An interprocess variable's name means one of the process without the mark.
            const std::string full = (process == interprocess ? "<>" : "") + variable.name;
            values[process].emplace_back(full, Read(process, full));
        }
    }
    return values;
}

void HostVariables::SetAll(const Values& values) {
    for (const auto& [process, list] : values) {
        for (const auto& [name, value] : list) {
            Set(process, name, value);
        }
    }
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
        std::list<HostVariable>& all = variables[place.process];
        variable = &all.emplace_back(HostVariable{std::string(place.name), {}, {}, {}});
        places[place.process].emplace(variable->name, std::prev(all.end()));
    } else {
        Release(*variable, parts);
    }
    TakeBack(parts);
    if (!SamePointer(variable->value, value)) {
        variable->shape = {};
    }
    variable->value = value;
    variable->reported.clear();
    Touch(process, name);
    for (Handle handle : parts.handles) {
        if (ToolboxHandleOwner(handle) == HandleOwner::Host) {
            ToolboxShareHostHandle(handle);
        }
    }
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
        variable->reported = BlockFault(value, variable->value, layout).value_or("");
    }
}

void HostVariables::Adopt(long process, std::string_view name, const ValueBlock& value) {
    if (HostVariable* variable = FindVariable(process, name)) {
        DropDisposed(*variable);
    }
    Set(process, name, value);
}

void HostVariables::Remove(long process, std::string_view name) {
    const Place place = Resolve(process, name);
    Places& known = places[place.process];
    const auto found = known.find(place.name);
    if (found == known.end()) {
        return;
    }
    const auto removed = found->second;
    Release(*removed, {});
    known.erase(found); // its name is the variable's
    variables[place.process].erase(removed);
}

void HostVariables::RemoveProcess(long process) {
    for (const HostVariable& variable : variables[process]) {
        Release(variable, {});
    }
    places.erase(process);
    variables.erase(process);
}

void HostVariables::Clear() {
    while (!variables.empty()) {
        RemoveProcess(variables.begin()->first);
    }
    FreeParts(std::exchange(lent, {}), layout);
}

// Frees what the variable holds, but not what is to be kept. A pointer that is kept keeps what it
// leads to.
void HostVariables::Release(const HostVariable& variable, const BlockParts& kept) {
    const BlockParts freed = PartsWithout(PartsOf(variable.value, layout), kept);
    const bool whole = variable.value.type == ValueType::Pointer && !freed.handles.empty();
    for (Handle handle : freed.handles) {
        if (ToolboxHandleOwner(handle) == HandleOwner::None && variable.reported.empty()) {
            DisposeHandle(handle); // so that the toolbox complains of who did so before
        }
    }
    FreeParts(whole ? PartsWithTarget(variable.shape, variable.value, layout) : freed, layout);
}

// Empties a variable whose text, BLOB, storage or target somebody has disposed of.
void HostVariables::DropDisposed(HostVariable& variable) const {
    const std::vector<Handle> held = PartsOf(variable.value, layout).handles;
    if (!held.empty() && ToolboxHandleOwner(held.front()) == HandleOwner::None) {
        variable.value = {.type = variable.value.type, .filler = 0, .array = {}};
    }
}

void HostVariables::Lend(const ValueBlock& value) {
    const BlockParts parts = PartsOf(value, layout);
    for (const FDStringBlock& string : parts.strings) {
        layout.strings->SetOwner(string, Owner::Host);
    }
    lent.Add(parts);
}

void HostVariables::TakeBack(const BlockParts& parts) {
    if (Count(lent) > 0 && Count(parts) > 0) {
        lent = PartsWithout(lent, parts);
    }
}

void HostVariables::Touch(long process, std::string_view name) {
    const HostVariable* variable = touched == nullptr ? nullptr : FindVariable(process, name);
    if (variable != nullptr) {
        touched->emplace(Resolve(process, name).process, variable->name);
    }
}

std::vector<std::string> HostVariables::TakeFaults(const TouchedVariables& names) {
    std::vector<std::string> faults;
    for (const auto& [process, name] : names) {
        HostVariable* variable = FindVariable(process, name);
        if (variable == nullptr) {
            continue;
        }
        const std::string fault = BlockFault(variable->shape, variable->value, layout).value_or("");
        if (!fault.empty() && fault != variable->reported) {
            faults.push_back("The variable " + Quoted(name) + " holds " + fault + ".");
        }
        variable->reported = fault;
        DropDisposed(*variable);
    }
    if (std::erase_if(lent.handles, [](Handle handle) {
            return ToolboxHandleOwner(handle) == HandleOwner::None;
        })) {
        faults.emplace_back(
            "The plug-in disposed of a handle of a pointer or array that the host had "
            "evaluated: it is the host's.");
    }
    return faults;
}

std::vector<std::string> HostVariables::TakeFaults() {
    TouchedVariables all;
    for (const auto& [process, list] : variables) {
        for (const HostVariable& variable : list) {
            all.emplace(process, variable.name);
        }
    }
    return TakeFaults(all);
}

std::optional<std::string> HostVariables::Fault(long process, std::string_view name,
                                                const ValueBlock& value) {
    if (auto fault = BlockFault({}, value, layout, Scrutiny::Storage)) {
        return fault;
    }
    const BlockParts parts = PartsOf(value, layout);
    std::vector<Handle> handles = parts.handles;
    std::ranges::sort(handles);
    if (std::ranges::adjacent_find(handles) != handles.end()) {
        return "one handle in two places";
    }
    const HostVariable* holder = Holder(parts, FindVariable(process, name));
    return holder == nullptr
               ? std::nullopt
               : std::optional("what the variable " + Quoted(holder->name) + " holds already");
}

const HostVariable* HostVariables::Holder(const BlockParts& parts, const HostVariable* but) const {
    if (Count(parts) == 0) {
        return nullptr;
    }
    for (const auto& [process, list] : variables) {
        for (const HostVariable& other : list) {
            if (&other != but &&
                Count(PartsWithout(parts, PartsOf(other.value, layout))) < Count(parts)) {
                return &other;
            }
        }
    }
    return nullptr;
}
