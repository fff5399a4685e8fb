#include "recorder/EventWriter.h"

#include <algorithm>
#include <cstring>

#include <windows.h>

using namespace Recording;

ChunkBuffer::ChunkBuffer()
    : bytes(static_cast<unsigned char*>(
          VirtualAlloc(nullptr, capacity, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))) {}

ChunkBuffer::~ChunkBuffer() {
    VirtualFree(bytes, 0, MEM_RELEASE);
}

unsigned char* ChunkBuffer::Append(const void* source, std::size_t size) {
    unsigned char* const target = bytes + used;
    if (size > 0) {
        std::memcpy(target, source, size);
        used += size;
    }
    return target;
}

namespace {
const void* Pointer(std::uint32_t address) {
    return reinterpret_cast<const void*>(std::uintptr_t{address});
}
} // namespace

void EventWriter::Put(Event event, Surroundings& surroundings) {
    Crossing& crossing = event.crossing;
    const std::size_t rootSize =
        memory.From(reinterpret_cast<std::uintptr_t>(crossing.root.data()),
                    std::min<std::size_t>(crossing.root.size(), MostRootBytes));
    buffer.Clear();
    items = 0;
    const ChunkHead placeOfHead{};
    buffer.Append(&placeOfHead, sizeof placeOfHead);
    const CrossingHead head{
        .number = event.number,
        .selector = crossing.selector,
        .microseconds = event.microseconds,
        .thread = GetCurrentThreadId(),
        .stackBase = StackBase(),
        .stack = reinterpret_cast<std::uintptr_t>(event.stack),
        .returned = event.returned,
        .function = reinterpret_cast<std::uintptr_t>(event.function),
        .rootSize = static_cast<std::uint32_t>(rootSize),
    };
    buffer.Append(&head, sizeof head);
    crossing.root = {buffer.Append(crossing.root.data(), rootSize), rootSize};
    LearnHost(crossing, surroundings);
    VisitPlaces(crossing, surroundings, *this);
    Learn(crossing, init, surroundings);

    const ChunkHead chunk{static_cast<std::uint32_t>(buffer.Used().size() - sizeof chunk),
                          event.chunk, crossing.way, items};
    std::memcpy(buffer.At(0), &chunk, sizeof chunk);
}

// How long an init record is depends on the host's version, which stands in it first.
void EventWriter::LearnHost(const Crossing& crossing, Surroundings& surroundings) {
    const bool isInit = (crossing.way == Way::Pack || crossing.way == Way::PackEx) &&
                        (crossing.selector == -1 || crossing.selector == -200);
    std::uint32_t record = 0;
    constexpr std::size_t paramsWord = 4;
    if (isInit && crossing.root.size() >= paramsWord + sizeof record) {
        std::memcpy(&record, &crossing.root[paramsWord], sizeof record);
        const auto* const version = static_cast<const unsigned char*>(Pointer(record));
        Learn(crossing, {version, memory.From(record, sizeof(std::uint32_t))}, surroundings);
    }
}

// How many bytes are there, from `begin` on.
std::uint32_t EventWriter::SizeThere(const Place& place, std::uint32_t address,
                                     std::uint32_t begin) {
    switch (place.target) {
    case Target::Handle:
        return PlatformHandleSize(address).value_or(UnknownSize);
    case Target::HostHandle:
        return hostHandles.Of(address).value_or(UnknownSize);
    case Target::Memory:
        if (place.size == 0 && place.form != Form::None && !place.isSlot) { // a text itself says
            const auto* const text = static_cast<const unsigned char*>(Pointer(begin));
            return static_cast<std::uint32_t>(
                TextSize(place.form, {text, memory.From(begin, itemLimit)}));
        }
        return static_cast<std::uint32_t>(place.size);
    default:
        return 0;
    }
}

// What cannot be read has no bytes.
Visitor::Found EventWriter::Visit(const Place& place, std::uint32_t address) {
    ItemHead head = HeadOf(place, address);
    if (items == MostItems || buffer.Left() < sizeof head) {
        return {};
    }
    std::uint32_t begin = address;
    if (place.target == Target::Handle || place.target == Target::HostHandle) {
        begin = 0; // and it stays so when the handle was disposed of
        std::memcpy(&begin, Pointer(address), memory.From(address, sizeof begin));
    }
    head.size = begin != 0 ? SizeThere(place, address, begin) : 0;
    const bool isKnown = head.size != UnknownSize;
    if (isKnown && (!place.isSlot || place.form == Form::Value)) { // whose type says what is wanted
        const std::size_t wanted = place.isSlot ? 1 : head.size;
        const auto most =
            std::min<std::size_t>({head.size, wanted, itemLimit, buffer.Left() - sizeof head});
        head.stored = memory.From(begin, most);
        head.size = head.stored != 0 ? head.size : 0;
    }
    buffer.Append(&head, sizeof head);
    const std::span<const unsigned char> bytes{buffer.Append(Pointer(begin), head.stored),
                                               head.stored};
    if (place.form == Form::Init) {
        init = bytes;
    }
    return {++items, bytes};
}
