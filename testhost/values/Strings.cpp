#include "testhost/values/Strings.h"

#include "platform/ResultCodes.h"
#include "testhost/values/Encodings.h"
#include "testhost/values/TypedValue.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr size_t guardUnits = 8;
constexpr unsigned short guard = 0xA5A5;
constexpr unsigned short gone = 0xE5E5; // what the units of a released string become
constexpr size_t keptReleased = 64;
constexpr size_t rememberedDisposed = 10'000;
constexpr size_t longestShown = 30; // units of a string that is left over

bool IsZero(const FDStringBlock& block) {
    const FDStringBlock zero{};
    return std::memcmp(&block, &zero, sizeof block) == 0;
}

// A copy: a reference to a field of a packed record may be misaligned.
unsigned long NumberOf(const FDStringBlock& block) {
    return block.hostPrivate[0];
}

// Never twice in all hosts, and nothing that a plug-in could mistake for a count or an address.
unsigned long FreshNumber() {
    static unsigned long count = 0x5A000000;
    return ++count;
}
} // namespace

std::vector<unsigned short> UnitsOfText(std::string_view text) {
    const std::wstring wide = FromAnsi(text);
    return {wide.begin(), wide.end()};
}

std::string TextOfUnits(std::span<const unsigned short> units) {
    return NearestAnsi({reinterpret_cast<const wchar_t*>(units.data()), units.size()});
}

FDStringBlock HostStrings::Create(std::span<const unsigned short> units, Owner owner) {
    const unsigned long number = FreshNumber();
    String& string = strings[number];
    string.block.hostPrivate[0] = number;
    string.owner = owner;
    string.made = CurrentWhereabouts();
    Fill(string, units);
    return string.block;
}

FDStringBlock HostStrings::Create(std::string_view text, Owner owner) {
    return Create(UnitsOfText(text), owner);
}

short HostStrings::Set(FDStringBlock& block, std::span<const unsigned short> units) {
    if (IsZero(block)) {
        block = Create(units);
        return ResultCode::NoError;
    }
    String* string = Find(block);
    if (string == nullptr) {
        return ResultCode::BadParameter;
    }
    const std::vector<unsigned short> copy(units.begin(), units.end()); // perhaps of itself
    Release(std::move(string->memory));
    Fill(*string, copy);
    block = string->block;
    return ResultCode::NoError;
}

short HostStrings::Dispose(FDStringBlock& block, Owner by) {
    if (IsZero(block)) {
        return ResultCode::NoError;
    }
    String* string = Find(block);
    if (string == nullptr) {
        return ResultCode::BadParameter;
    }
    if (by == Owner::Plugin && string->owner == Owner::Host) {
        report("The plug-in disposed of a string that belongs to the host: " + Quoted(Text(block)) +
               ".");
        return ResultCode::BadParameter;
    }
    Release(std::move(string->memory));
    strings.erase(NumberOf(block));
    disposed[NumberOf(block)] = CurrentWhereabouts();
    if (disposed.size() > rememberedDisposed) {
        disposed.erase(disposed.begin());
    }
    block = {};
    return ResultCode::NoError;
}

short HostStrings::SetOwner(const FDStringBlock& block, Owner owner) {
    if (IsZero(block)) {
        return ResultCode::NoError;
    }
    String* string = Find(block);
    if (string == nullptr) {
        return ResultCode::BadParameter;
    }
    string->owner = owner;
    return ResultCode::NoError;
}

bool HostStrings::IsLive(const FDStringBlock& block) const {
    auto found = strings.find(NumberOf(block));
    return found != strings.end() && std::memcmp(&found->second.block, &block, sizeof block) == 0;
}

std::vector<unsigned short> HostStrings::Units(const FDStringBlock& block) {
    const String* string = IsZero(block) ? nullptr : Find(block);
    if (string == nullptr) {
        return {};
    }
    return UnitsOf(*string);
}

std::vector<unsigned short> HostStrings::UnitsOf(const String& string) {
    return {string.expected.begin() + guardUnits, string.expected.end() - guardUnits};
}

void HostStrings::AddLeftOvers(LeftOvers& leftOvers) const {
    for (const auto& [number, string] : strings) {
        if (string.owner != Owner::Plugin) {
            continue;
        }
        std::vector<unsigned short> units = UnitsOf(string);
        const size_t count = units.size();
        units.resize(std::min(count, longestShown));
        leftOvers.Add({"host string", "taken"},
                      "of " + LeftOvers::Count(static_cast<long>(count), "unit") + " (" +
                          Quoted(TextOfUnits(units)) + (count > longestShown ? "..." : "") + ")",
                      string.made);
    }
}

void HostStrings::TakeOver() {
    for (auto& [number, string] : strings) {
        string.owner = string.owner == Owner::Plugin ? Owner::Host : string.owner;
    }
}

void HostStrings::Check() {
    for (auto& [number, string] : strings) {
        CheckMemory(string);
    }
    for (const std::vector<unsigned short>& memory : std::exchange(released, {})) {
        CheckReleased(memory);
    }
}

long HostStrings::Count(Owner owner) const {
    return static_cast<long>(std::ranges::count_if(
        strings, [owner](const auto& entry) { return entry.second.owner == owner; }));
}

// The string of a block that is not zero; null, with a report, for a bad one.
HostStrings::String* HostStrings::Find(const FDStringBlock& block) {
    auto found = strings.find(NumberOf(block));
    if (found == strings.end()) {
        const auto former = disposed.find(NumberOf(block));
        report(former != disposed.end()
                   ? "A host string came to the host that was already disposed of" +
                         Under(former->second) + "."
                   : "A host string that was disposed of, or never was one, came to the host.");
        return nullptr;
    }
    if (!IsLive(block)) {
        report("A host string's block is not as the host filled it: it was changed, or copied "
               "before the string was set anew.");
        return nullptr;
    }
    CheckMemory(found->second);
    return &found->second;
}

void HostStrings::Fill(String& string, std::span<const unsigned short> units) {
    string.memory.assign(units.size() + 2 * guardUnits, guard);
    std::ranges::copy(units, string.memory.begin() + guardUnits);
    string.expected = string.memory;
    string.block.length = static_cast<long>(units.size());
    string.block.units = string.memory.data() + guardUnits;
    string.block.hostPrivate[1] = FreshNumber();
}

void HostStrings::CheckMemory(String& string) {
    if (string.memory == string.expected) {
        return;
    }
    report("The plug-in wrote into, or around, the units of a host string: " +
           Quoted(TextOfUnits(UnitsOf(string))) + ".");
    string.memory = string.expected; // of one size: the units stay where they are
}

void HostStrings::Release(std::vector<unsigned short>&& memory) {
    std::ranges::fill(memory, gone);
    released.push_back(std::move(memory));
    if (released.size() > keptReleased) {
        CheckReleased(released.front());
        released.pop_front();
    }
}

void HostStrings::CheckReleased(const std::vector<unsigned short>& memory) {
    if (std::ranges::any_of(memory, [](unsigned short unit) { return unit != gone; })) {
        report("The plug-in wrote into the units of a host string that was released.");
    }
}
