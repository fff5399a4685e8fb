#include "testhost/compare/Adoption.h"

#include <algorithm>
#include <cstring>
#include <iterator>

using namespace Recording;

namespace {
constexpr size_t wordSize = sizeof(std::uint32_t);

struct Rubbish {
    std::string_view service;
    Way way;
    RecordField::Set field;
    std::uint32_t mask; ///< of the bits that mean nothing
};

constexpr std::uint32_t notInProgramInfo = ~(1U << 23 | 1U << 25 | 1U << 26 | 1U << 27 | 1U << 28);
constexpr Rubbish rubbish[] = {
    {"ProgramInfo", Way::Classic, RecordField::Param1, notInProgramInfo},
    {"ProgramInfo", Way::Engine, RecordField::Param1, notInProgramInfo},
    {"ProgramInfo", Way::Classic, RecordField::Param2, 0xFFFF},
    {"ProgramInfo", Way::Engine, RecordField::Param2, 0xFFFF},
    {"PluginResID", Way::Engine, RecordField::Param1, 0xFFFF0000},
    {"NextEvent", Way::Classic, RecordField::Param4, 0xFFFFFF00},
    {"NextEvent", Way::Engine, RecordField::Param4, 0xFFFFFF00},
};

std::uint32_t Load(const std::vector<unsigned char>& bytes, size_t offset) {
    std::uint32_t word = 0;
    std::memcpy(&word, &bytes[offset], sizeof word);
    return word;
}

struct Range {
    size_t begin;
    size_t end;
    bool Has(const RecordedItem& item) const {
        return item.head.parent == 0 && item.head.offset >= begin && item.head.offset < end;
    }
};

bool IsOfSameForm(const RecordedItem& one, const RecordedItem& other) {
    const bool isValue = one.head.form == Form::Value && !one.bytes.empty() && !other.bytes.empty();
    return one.head.form == other.head.form && (!isValue || one.bytes[0] == other.bytes[0]);
}

// Whether what stands in the range leads to things of the same form.
bool AreAlike(const Range& range, const CrossingContents& recorded, const CrossingContents& here) {
    for (size_t offset = range.begin; offset + wordSize <= range.end; ++offset) {
        for (const Target target : {Target::Memory, Target::Handle, Target::HostHandle}) {
            const RecordedItem* const one = recorded.Find(0, offset, target);
            const RecordedItem* const other = here.Find(0, offset, target);
            if ((one == nullptr) != (other == nullptr) ||
                (one != nullptr && !IsOfSameForm(*one, *other))) {
                return false;
            }
        }
    }
    return true;
}

// Which items stand in the range, or in one that does; by their numbers less 1.
std::vector<bool> ItemsIn(const Range& range, const CrossingContents& contents) {
    std::vector<bool> isIn;
    for (const RecordedItem& item : contents.items) {
        isIn.push_back(range.Has(item) || (item.head.parent != 0 && isIn[item.head.parent - 1u]));
    }
    return isIn;
}

// Adds those items of `from` to `to`, under the numbers that they have there.
void AddItems(const std::vector<bool>& isAdded, const CrossingContents& from,
              std::vector<RecordedItem>& to) {
    std::vector<std::uint16_t> numbers(from.items.size() + 1);
    for (size_t place = 0; place < from.items.size(); ++place) {
        if (isAdded[place]) {
            to.push_back(from.items[place]);
            to.back().head.parent = numbers[from.items[place].head.parent];
            numbers[place + 1] = static_cast<std::uint16_t>(to.size());
        }
    }
}

void Adopt(const Range& range, const CrossingContents& recorded, const AddressBook& book,
           CrossingContents& here) {
    std::vector<bool> kept = ItemsIn(range, here);
    kept.flip();
    std::vector<RecordedItem> items;
    AddItems(kept, here, items);
    const size_t first = items.size();
    AddItems(ItemsIn(range, recorded), recorded, items);
    // As words that stand for each other.
    for (size_t place = first; place < items.size(); ++place) {
        ItemHead& head = items[place].head;
        head.address = book.Here(head.address).value_or(head.address);
    }
    here.items = std::move(items);
    std::copy(recorded.root.begin() + static_cast<std::ptrdiff_t>(range.begin),
              recorded.root.begin() + static_cast<std::ptrdiff_t>(range.end),
              here.root.begin() + static_cast<std::ptrdiff_t>(range.begin));
}

template <typename Act>
bool ForEachField(RecordField::Set fields, Way way, const CrossingContents& recorded,
                  const CrossingContents& here, Act act) {
    const bool engine = way == Way::Engine;
    return std::ranges::all_of(RecordFields(), [&](const RecordFieldInfo& field) {
        const Range range{field.Offset(engine), field.Offset(engine) + field.Size(engine)};
        return (fields & field.bit) == 0 || field.Size(engine) == 0 ||
               range.end > std::min(recorded.root.size(), here.root.size()) || act(range);
    });
}
} // namespace

void AdoptUntouched(const CrossingContents& sent, const CrossingContents& answered,
                    std::span<const unsigned char> asked, CrossingContents& here) {
    const auto isSame = [](std::span<const unsigned char> one, std::span<const unsigned char> other,
                           size_t offset) {
        return offset + wordSize <= std::min(one.size(), other.size()) &&
               std::memcmp(&one[offset], &other[offset], wordSize) == 0;
    };
    for (const RecordedItem& item : sent.items) {
        const size_t offset = item.head.offset;
        if (item.head.parent == 0 && isSame(sent.root, answered.root, offset) &&
            isSame(asked, here.root, offset)) {
            std::memcpy(&here.root[offset], &sent.root[offset], wordSize);
        }
    }
}

void AdoptRubbish(std::string_view service, Way way, const CrossingContents& recorded,
                  CrossingContents& here) {
    for (const Rubbish& each : rubbish) {
        if (each.service != service || each.way != way) {
            continue;
        }
        ForEachField(each.field, way, recorded, here, [&](const Range& range) {
            const std::uint32_t word = (Load(here.root, range.begin) & ~each.mask) |
                                       (Load(recorded.root, range.begin) & each.mask);
            std::memcpy(&here.root[range.begin], &word, sizeof word);
            return true;
        });
    }
}

bool AdoptFields(RecordField::Set fields, Way way, const CrossingContents& recorded,
                 const AddressBook& book, CrossingContents& here) {
    if (!ForEachField(fields, way, recorded, here,
                      [&](const Range& range) { return AreAlike(range, recorded, here); })) {
        return false;
    }
    return ForEachField(fields, way, recorded, here, [&](const Range& range) {
        Adopt(range, recorded, book, here);
        return true;
    });
}
