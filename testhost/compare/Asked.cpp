#include "testhost/compare/Asked.h"

#include "testhost/services/Dispatch.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstring>

namespace {
std::string PascalText(std::span<const unsigned char> text) {
    const size_t length = std::min<size_t>(text[0], text.size() - 1);
    return {reinterpret_cast<const char*>(&text[1]), length};
}

// The item whose address stands in the fields that both records share.
const RecordedItem* ItemAt(const AskedCall& call, size_t offset) {
    NIMBO_ALLOW_OFFSETS_BEHIND_BASES
    constexpr size_t shared = offsetof(FDEngineBlock, table);
    NIMBO_ALLOWED
    if (call.end == nullptr) {
        return nullptr;
    }
    const size_t place = offset + (call.answer.IsEngine() ? shared : 0);
    for (const auto target :
         {Recording::Target::Memory, Recording::Target::Handle, Recording::Target::HostHandle}) {
        if (const RecordedItem* item = call.end->contents.Find(0, place, target)) {
            return item;
        }
    }
    return nullptr;
}
} // namespace

CallRecord::CallRecord(Recording::Way way, std::span<const unsigned char> bytes)
    : isEngine(way == Recording::Way::Engine) {
    void* const record = isEngine ? static_cast<void*>(&engine) : &classic;
    std::copy_n(bytes.begin(), std::min(bytes.size(), Bytes().size()),
                static_cast<unsigned char*>(record));
}

std::span<const unsigned char> CallRecord::Bytes() const {
    const void* const record = isEngine ? static_cast<const void*>(&engine) : &classic;
    return {static_cast<const unsigned char*>(record), isEngine ? sizeof engine : sizeof classic};
}

std::string CallRecord::Name() const {
    return PascalText(Fields().name);
}

std::string CallRecord::DialogName() const {
    if (isEngine) {
        return AnsiText(engine.uniName);
    }
    const auto* name = reinterpret_cast<const char*>(classic.name);
    return {name, strnlen(name, sizeof classic.name)};
}

std::string CallRecord::Text() const {
    return isEngine ? AnsiText(engine.uniText) : PascalText(classic.valueText);
}

long CallRecord::Send(long selector) {
    return isEngine ? EngineHostCall(selector, &engine) : ClassicHostCall(selector, &classic);
}

std::string AskedCall::AnsweredBytes(size_t offset) const {
    const RecordedItem* item = ItemAt(*this, offset);
    return item != nullptr ? std::string(item->bytes.begin(), item->bytes.end()) : std::string();
}

bool AskedCall::AnsweredValue(size_t offset, ValueBlock& value) const {
    const RecordedItem* item = ItemAt(*this, offset);
    if (item == nullptr || item->bytes.size() != sizeof value) {
        return false;
    }
    const std::vector<unsigned char> root =
        stock.Rebuild(file.CrossingOf(*end), surroundings, end->contents);
    const CallRecord record(end->way, root);
    unsigned long address = 0;
    std::memcpy(&address, reinterpret_cast<const unsigned char*>(&record.Fields()) + offset,
                sizeof address);
    if (address == 0) {
        return false;
    }
    std::memcpy(&value, reinterpret_cast<const void*>(address), sizeof value);
    MakeHostsOwn(*item, value);
    return true;
}

// What lies in the host itself, a string or a picture, is made anew where there is none yet.
void AskedCall::MakeHostsOwn(const RecordedItem& item, ValueBlock& value) const {
    ValueBlock recorded{};
    std::memcpy(&recorded, item.bytes.data(), sizeof recorded);
    const auto number = static_cast<unsigned>(&item - end->contents.items.data()) + 1;
    if (value.type == ValueType::UnicodeText) {
        constexpr size_t units = offsetof(ValueBlock, unicode) + offsetof(FDStringBlock, units);
        MakeString(end->contents.Find(number, units, Recording::Target::Memory), recorded.unicode,
                   value.unicode);
    } else if (value.type == ValueType::UnicodeTextArray) {
        constexpr size_t elements = offsetof(ValueBlock, array) + offsetof(ArrayBlock, elements);
        for (const auto target : {Recording::Target::Handle, Recording::Target::HostHandle}) {
            if (const RecordedItem* array = end->contents.Find(number, elements, target)) {
                MakeElements(*array, value.array.elements);
            }
        }
    } else if (value.type == ValueType::Picture && host.HasEngine() &&
               recorded.picture != nullptr && !host.pictures.IsLive(value.picture)) {
        value.picture = host.pictures.Add({}, Owner::Host);
        stock.book.Learn(reinterpret_cast<std::uint32_t>(recorded.picture),
                         reinterpret_cast<std::uint32_t>(value.picture));
    }
}

void AskedCall::MakeElements(const RecordedItem& item, Handle elements) const {
    const auto number = static_cast<unsigned>(&item - end->contents.items.data()) + 1;
    const size_t size = std::min(item.bytes.size(), LiveContents(elements).size());
    const ItemIndex answered(end->contents);
    for (size_t place = 0; place + sizeof(FDStringBlock) <= size; place += sizeof(FDStringBlock)) {
        FDStringBlock recorded{};
        FDStringBlock string{};
        std::memcpy(&recorded, &item.bytes[place], sizeof recorded);
        std::memcpy(&string, *elements + place, sizeof string);
        if (recorded.units != nullptr) { // else it is empty, and nobody's
            MakeString(answered.Find(number, place + offsetof(FDStringBlock, units),
                                     Recording::Target::Memory),
                       recorded, string);
            std::memcpy(*elements + place, &string, sizeof string);
        }
    }
}

const RecordedItem* AskedCall::AnsweredUnits() const {
    NIMBO_ALLOW_OFFSETS_BEHIND_BASES
    constexpr size_t units = offsetof(FDEngineBlock, string) + offsetof(FDStringBlock, units);
    NIMBO_ALLOWED
    return end->contents.Find(0, units, Recording::Target::Memory);
}

void AskedCall::TakeOverString() {
    const EngineFields* const here = asked.Engine();
    const EngineFields* const there = answer.Engine();
    if (here != nullptr && there != nullptr && host.strings.IsLive(here->string)) {
        FDStringBlock string = here->string;
        MakeString(AnsweredUnits(), there->string, string);
    }
}

void AskedCall::MeetString() {
    const EngineFields* const before = sent.Engine();
    const EngineFields* const there = answer.Engine();
    const EngineFields* const here = asked.Engine();
    if (end == nullptr || before == nullptr || there == nullptr || here == nullptr ||
        there->string.units == nullptr || there->string.units == before->string.units) {
        return;
    }
    FDStringBlock string = here->string;
    if (!host.strings.IsLive(string)) {
        string = host.strings.Create(std::string_view()); // the plug-in's, which disposes of it
    }
    MakeString(AnsweredUnits(), there->string, string);
}

void AskedCall::MakeString(const RecordedItem* text, const FDStringBlock& recorded,
                           FDStringBlock& string) const {
    std::vector<unsigned short> units(text != nullptr ? text->bytes.size() / 2 : 0);
    if (text != nullptr && !units.empty()) {
        std::memcpy(units.data(), text->bytes.data(), units.size() * sizeof units[0]);
    }
    if (host.strings.IsLive(string)) {
        host.strings.Set(string, units);
    } else {
        string = host.strings.Create(units, Owner::Host);
    }
    const auto learn = [&](unsigned long there, unsigned long here) {
        if (there != 0) {
            stock.book.Learn(there, here);
        }
    };
    learn(reinterpret_cast<unsigned long>(recorded.units),
          reinterpret_cast<unsigned long>(string.units));
    learn(recorded.hostPrivate[0], string.hostPrivate[0]);
    learn(recorded.hostPrivate[1], string.hostPrivate[1]);
}
