#include "testhost/recordings/Contents.h"

#include "host/boundary/Calls.h"
#include "testhost/crossings/Log.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/ReadableBytes.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <tuple>
#include <utility>

namespace {
using namespace Recording;

constexpr size_t wordSize = sizeof(std::uint32_t);
constexpr size_t mostText = 64 * 1024; // bytes of a text whose end is looked for

std::uint32_t LoadWord(const std::vector<unsigned char>& bytes, size_t offset) {
    std::uint32_t word = 0;
    std::memcpy(&word, &bytes[offset], sizeof word);
    return word;
}

bool HasBytes(Target target) {
    return target == Target::Memory || target == Target::Handle || target == Target::HostHandle;
}

// Copies what it is shown.
class Taker final : public Visitor {
  public:
    explicit Taker(CrossingContents& itsContents) : contents(itsContents) {}

    Found Visit(const Place& place, std::uint32_t address) override {
        if (contents.items.size() >= MostItems) {
            return {};
        }
        RecordedItem item;
        item.head = HeadOf(place, address);
        item.bytes = Bytes(place, address);
        item.head.size = item.head.stored = static_cast<std::uint32_t>(item.bytes.size());
        contents.items.push_back(std::move(item));
        return {static_cast<unsigned>(contents.items.size()), contents.items.back().bytes};
    }

  private:
    static std::vector<unsigned char> Bytes(const Place& place, std::uint32_t address) {
        if (!HasBytes(place.target) || place.form == Form::None) {
            return {};
        }
        if (place.target != Target::Memory) {
            const std::string bytes = LiveContents(reinterpret_cast<Handle>(address));
            return {bytes.begin(), bytes.end()};
        }
        const auto* memory = reinterpret_cast<const unsigned char*>(address);
        if (place.size == 0 && place.isSlot) {
            return {};
        }
        const size_t readable = ReadableBytes(memory, place.size != 0 ? place.size : mostText);
        return {memory,
                memory + TextSize(place.size != 0 ? Form::Bytes : place.form, {memory, readable})};
    }

    CrossingContents& contents;
};

// A byte as a person reads it.
std::string Hexadecimal(unsigned char byte) {
    char text[8];
    std::snprintf(text, sizeof text, "%02x", byte);
    return text;
}

std::string Shortened(std::string_view text) {
    constexpr size_t longest = 60;
    const bool isLong = text.size() > longest;
    return Quoted(text.substr(0, longest)) + (isLong ? "..." : "");
}

std::string AsText(const std::vector<unsigned char>& bytes, size_t from) {
    from = std::min(from, bytes.size());
    return Shortened({reinterpret_cast<const char*>(bytes.data()) + from, bytes.size() - from});
}

std::string Units(const std::vector<unsigned char>& bytes) {
    std::vector<unsigned short> units(bytes.size() / 2);
    if (!units.empty()) {
        std::memcpy(units.data(), bytes.data(), units.size() * 2);
    }
    return Shortened(AnsiText(units));
}

bool IsPrintable(const std::vector<unsigned char>& bytes) {
    return std::ranges::all_of(
        bytes, [](unsigned char byte) { return byte >= ' ' || byte == '\r' || byte == '\t'; });
}

std::string Address(std::uint32_t address) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", static_cast<unsigned long>(address));
    return text;
}

std::string SomeBytes(const std::vector<unsigned char>& bytes, size_t from) {
    constexpr size_t mostBytes = 8;
    std::string text = std::to_string(bytes.size()) + " bytes";
    for (size_t place = from; place < std::min(from + mostBytes, bytes.size()); ++place) {
        text += (place == from ? ", from byte " + std::to_string(from) + " on " : " ") +
                Hexadecimal(bytes[place]);
    }
    return text;
}

// The word of an init record in which a byte lies.
std::string InitWord(const std::vector<unsigned char>& bytes, size_t byte) {
    constexpr const char* names[] = {"hostVersion",     "hostPrivate[0]",  "hostPrivate[1]",
                                     "classicCallBack", "acceptedVersion", "engineCallBack"};
    const size_t word = byte / wordSize;
    return word < std::size(names) && (word + 1) * wordSize <= bytes.size()
               ? std::string(names[word]) + " " + Address(LoadWord(bytes, word * wordSize))
               : SomeBytes(bytes, byte);
}

// The kind of value that lies there as it is; none of what has a handle.
ValueKind KindOf(const ItemHead& head) {
    switch (head.form) {
    case Form::Event:
    case Form::AreaEvent:
        return ValueKind::Event;
    case Form::Rect:
        return ValueKind::Rect;
    case Form::Parameter:
    case Form::Target:
    case Form::Result: {
        const auto kind = static_cast<ValueKind>(head.detail);
        const bool hasHandle =
            kind == ValueKind::Text || kind == ValueKind::Picture || kind == ValueKind::HandleBytes;
        return hasHandle ? ValueKind::None : kind;
    }
    default:
        return ValueKind::None;
    }
}

// What two items hold that differ in a byte, in one notation: of what is no text the bytes from
// that on.
std::pair<std::string, std::string> ItemTexts(const RecordedItem& one, const RecordedItem& other,
                                              size_t differs) {
    const auto both = [&](auto text) { return std::pair(text(one.bytes), text(other.bytes)); };
    const ValueKind kind = KindOf(one.head);
    const size_t size = kind != ValueKind::None ? ScalarSize(kind) : 0;
    if (size != 0 && KindOf(other.head) == kind &&
        std::min(one.bytes.size(), other.bytes.size()) >= size) {
        return both([&](const auto& bytes) { return Describe(FetchScalar(kind, bytes.data())); });
    }
    switch (one.head.form) {
    case Form::PascalString:
        return both([](const auto& bytes) { return AsText(bytes, 1); });
    case Form::CString:
        return both([](const auto& bytes) { return AsText(bytes, 0); });
    case Form::Units:
        return both([](const auto& bytes) { return Units(bytes); });
    case Form::Init:
        return both([&](const auto& bytes) { return InitWord(bytes, differs); });
    default:
        break;
    }
    if (IsPrintable(one.bytes) && IsPrintable(other.bytes)) {
        return both([](const auto& bytes) { return AsText(bytes, 0); });
    }
    return both([&](const auto& bytes) { return SomeBytes(bytes, differs); });
}

// Compares the two contents of a crossing.
class Comparison {
  public:
    Comparison(const Crossing& itsCrossing, const CrossingContents& itsRecorded,
               const CrossingContents& whatIsHere, AddressBook& itsBook)
        : crossing(itsCrossing),
          recorded(itsRecorded),
          here(whatIsHere),
          recordedItems(itsRecorded),
          hereItems(whatIsHere),
          book(itsBook) {}

    std::vector<Difference> Run() {
        // A parent stands before what it leads to: so its partner is known.
        partners.assign(recorded.items.size() + 1, noPartner);
        partners[0] = 0;
        for (size_t number = 1; number <= recorded.items.size(); ++number) {
            FindPartner(number);
        }
        CompareRoots();
        for (size_t number = 1; number <= recorded.items.size(); ++number) {
            if (partners[number] != noPartner) {
                CompareItems(number);
            }
        }
        const std::vector<size_t> recordedNumbers = RecordedNumbers();
        for (size_t number = 1; number <= here.items.size(); ++number) {
            TellWithoutPartner(number, recordedNumbers);
        }
        return std::move(differences);
    }

  private:
    static constexpr size_t noPartner = SIZE_MAX;

    bool IsCall() const { return crossing.way == Way::Classic || crossing.way == Way::Engine; }
    bool IsEngine() const { return crossing.way == Way::Engine; }

    static const std::vector<unsigned char>& BytesOf(const CrossingContents& contents,
                                                     size_t number) {
        return number == 0 ? contents.root : contents.items[number - 1].bytes;
    }

    void FindPartner(size_t number) {
        const ItemHead& head = recorded.items[number - 1].head;
        const size_t parent = partners[head.parent];
        if (parent == noPartner) {
            return;
        }
        const RecordedItem* partner =
            hereItems.Find(static_cast<unsigned>(parent), head.offset, head.target);
        if (partner != nullptr) {
            partners[number] = static_cast<size_t>(partner - here.items.data()) + 1;
            return;
        }
        const std::vector<unsigned char>& bytes = BytesOf(here, parent);
        const bool isNull =
            head.offset + wordSize > bytes.size() || LoadWord(bytes, head.offset) == 0;
        if (isNull && (head.target != Target::Thing || !HasBytesBeside(head))) {
            Tell(NameOf(recorded, number), "not null", "null");
        }
    }

    // Whether the same word leads to bytes, whose absence is told already.
    bool HasBytesBeside(const ItemHead& head) const {
        return recordedItems.Find(head.parent, head.offset, Target::Memory) != nullptr;
    }

    // What leads somewhere here, and is null in the recording. Where the recording has no such
    // place the difference is told of what would hold it.
    void TellWithoutPartner(size_t number, const std::vector<size_t>& recordedNumbers) {
        const ItemHead& head = here.items[number - 1].head;
        const size_t parent = recordedNumbers[head.parent];
        if (recordedNumbers[number] != noPartner || parent == noPartner) {
            return;
        }
        const std::vector<unsigned char>& bytes = BytesOf(recorded, parent);
        const bool isNull =
            head.offset + wordSize <= bytes.size() && LoadWord(bytes, head.offset) == 0;
        if (isNull && (head.target != Target::Thing ||
                       hereItems.Find(head.parent, head.offset, Target::Memory) == nullptr)) {
            Tell(NameOf(here, number), "null", "not null");
        }
    }

    // The recording's numbers of the items here.
    std::vector<size_t> RecordedNumbers() const {
        std::vector<size_t> numbers(here.items.size() + 1, noPartner);
        for (size_t number = 0; number < partners.size(); ++number) {
            if (partners[number] != noPartner) {
                numbers[partners[number]] = number;
            }
        }
        return numbers;
    }

    // --- Names
    // -------------------------------------------------------------------------------------

    // The field of a call's record, or the argument of an entry, at this offset of the root.
    std::string RootName(size_t offset) const {
        if (IsCall()) {
            for (const RecordFieldInfo& field : RecordFields()) {
                const size_t start = field.Offset(IsEngine());
                if (offset >= start && offset < start + field.Size(IsEngine())) {
                    return std::string(field.name);
                }
            }
            return "offset " + std::to_string(offset);
        }
        constexpr const char* packWords[] = {"the selector", "the parameters", "the data",
                                             "the result"};
        constexpr const char* areaWords[] = {"the area's place", "the name", "the rectangle",
                                             "the event"};
        constexpr const char* filterWords[] = {"the dialog", "the event", "the name", "enabled",
                                               "editable"};
        const size_t word = offset / wordSize;
        if (crossing.way == Way::DialogFilter) {
            return word < std::size(filterWords) ? filterWords[word] : "an argument";
        }
        if (crossing.way == Way::MainThread) {
            return "the argument";
        }
        const auto& words = crossing.way == Way::AreaHandler ? areaWords : packWords;
        return word < std::size(words) ? words[word] : "an argument";
    }

    std::string NameOf(const CrossingContents& contents, size_t number) const {
        const ItemHead& head = contents.items[number - 1].head;
        if (head.parent == 0) {
            const std::string name = RootName(head.offset);
            return HasBytes(head.target) && IsCall() ? "what " + name + " leads to" : name;
        }
        const ItemHead& parent = contents.items[head.parent - 1u].head;
        if (parent.form == Form::Parameters) {
            return "parameter " + std::to_string(head.offset / wordSize + 1);
        }
        const std::string name = NameOf(contents, head.parent);
        if (parent.form == Form::Elements) {
            return "an element (at byte " + std::to_string(head.offset) + ") of " + name;
        }
        return parent.form == Form::Result || parent.form == Form::Word ? name
                                                                        : "what " + name + " holds";
    }

    void Tell(std::string field, std::string inRecording, std::string inHere) {
        differences.push_back({std::move(field), std::move(inRecording), std::move(inHere)});
    }

    // --- Bytes
    // -------------------------------------------------------------------------------------

    // Zeroes all that is an address, or a word, in one of them: it is compared by itself.
    void BlankWords(size_t number, std::vector<unsigned char>& bytes) const {
        const auto blank = [&](const ItemIndex& items, size_t parent) {
            for (const RecordedItem* item : items.In(static_cast<unsigned>(parent))) {
                if (item->head.offset < bytes.size()) { // it may be cut within the word
                    std::memset(&bytes[item->head.offset], 0,
                                std::min(wordSize, bytes.size() - item->head.offset));
                }
            }
        };
        blank(recordedItems, number);
        blank(hereItems, partners[number]);
    }

    void CompareRoots() {
        std::vector<unsigned char> one = recorded.root;
        std::vector<unsigned char> other = here.root;
        BlankWords(0, one);
        BlankWords(0, other);
        if (one.size() != other.size()) {
            return Tell("the record", std::to_string(one.size()) + " bytes",
                        std::to_string(other.size()) + " bytes");
        }
        if (IsCall()) {
            return CompareFields(one, other);
        }
        for (size_t offset = 0; offset + wordSize <= one.size(); offset += wordSize) {
            if (LoadWord(one, offset) != LoadWord(other, offset)) {
                Tell(RootName(offset), std::to_string(static_cast<int>(LoadWord(one, offset))),
                     std::to_string(static_cast<int>(LoadWord(other, offset))));
            }
        }
    }

    void CompareFields(std::vector<unsigned char>& one, std::vector<unsigned char>& other) {
        LoggedCall call;
        call.kind = IsEngine() ? LoggedCall::Kind::Engine : LoggedCall::Kind::Classic;
        const SelectorPair* selector = FindSelector(crossing.selector, IsEngine());
        call.name = selector != nullptr ? selector->name : "unknown selector";
        std::vector<bool> known(one.size());
        for (const RecordFieldInfo& field : RecordFields()) {
            const size_t offset = field.Offset(IsEngine());
            const size_t size = field.Size(IsEngine());
            if (size == 0 || field.bit == RecordField::VariableFlag) {
                continue;
            }
            const std::span<unsigned char> left(&one[offset], size);
            const std::span<unsigned char> right(&other[offset], size);
            std::fill_n(known.begin() + static_cast<std::ptrdiff_t>(offset), size, true);
            if (!std::ranges::equal(left, right) && !IsSameText(call, field, left, right)) {
                Tell(std::string(field.name), call.FieldText(field, one),
                     call.FieldText(field, other));
            }
        }
        for (size_t offset = 0; offset < one.size(); ++offset) {
            if (!known[offset] && one[offset] != other[offset]) {
                return Tell("offset " + std::to_string(offset), Hexadecimal(one[offset]),
                            Hexadecimal(other[offset]));
            }
        }
    }

    // Behind a text's end anything may stand; of a value's text the flag of a variable counts, too.
    static bool IsSameText(const LoggedCall& call, const RecordFieldInfo& field,
                           std::span<const unsigned char> left,
                           std::span<const unsigned char> right) {
        const bool isZeroTerminated =
            field.type == RecordFieldInfo::Type::Utf16 ||
            (field.bit == RecordField::Name && call.kind == LoggedCall::Kind::Classic &&
             call.name.find("Dialog") != std::string::npos);
        if (field.type != RecordFieldInfo::Type::PascalString && !isZeroTerminated) {
            return false;
        }
        const Form form = field.type == RecordFieldInfo::Type::Utf16 ? Form::Units
                          : isZeroTerminated                         ? Form::CString
                                                                     : Form::PascalString;
        const size_t size = TextSize(form, left);
        if (size != TextSize(form, right) ||
            !std::ranges::equal(left.first(size), right.first(size))) {
            return false;
        }
        constexpr size_t flag = offsetof(VariableFields, flag);
        return field.bit != RecordField::ValueText || size > flag || left[flag] == right[flag];
    }

    void CompareItems(size_t number) {
        const RecordedItem& one = recorded.items[number - 1];
        const RecordedItem& other = here.items[partners[number] - 1];
        CompareWords(number, one.head, other.head);
        const bool isUnknown = one.IsUnknown() || other.IsUnknown() ||
                               (one.head.target == Target::HostHandle && one.head.size == 0);
        if (!HasBytes(one.head.target) || isUnknown) {
            return;
        }
        if (one.head.isSlot != 0) {
            return CompareSlots(number, one, other);
        }
        std::vector<unsigned char> left = one.bytes;
        std::vector<unsigned char> right = other.bytes;
        BlankWords(number, left);
        BlankWords(number, right);
        BlankUnused(one.head.form, one.head.detail, left);
        BlankUnused(other.head.form, other.head.detail, right);
        if (one.head.form == Form::PascalString) { // may be stored as far as it goes, or whole
            left.resize(one.IsCut() ? left.size() : std::max(left.size(), right.size()));
            right.resize(left.size());
        } else if (one.head.size != other.head.size) {
            return TellItems(number, 0);
        }
        const size_t judged = std::min(
            {left.size(), right.size(), Listed(recorded, number), Listed(here, partners[number])});
        const auto differs = std::mismatch(
            left.begin(), left.begin() + static_cast<std::ptrdiff_t>(judged), right.begin());
        const auto place = static_cast<size_t>(differs.first - left.begin());
        if (place != judged) {
            TellItems(number, place);
        }
    }

    void TellItems(size_t number, size_t differs) {
        const RecordedItem& one = recorded.items[number - 1];
        const RecordedItem& other = here.items[partners[number] - 1];
        const std::string part =
            one.IsCut() ? " (the recording has " + one.Extent() + ")" : std::string();
        auto [inRecording, inHere] = ItemTexts(one, other, differs);
        Tell(NameOf(recorded, number), inRecording + part, std::move(inHere));
    }

    // How many bytes of an item have been looked through for addresses. Where there were too many
    // of them for a crossing the last item, and those that lead to it, have more that are not
    // known as such.
    static size_t Listed(const CrossingContents& contents, size_t number) {
        if (contents.items.size() < MostItems) {
            return SIZE_MAX;
        }
        for (size_t open = contents.items.size(); open != 0;) {
            const ItemHead& head = contents.items[open - 1].head;
            if (head.parent == number) {
                return head.offset + wordSize;
            }
            open = head.parent;
        }
        return SIZE_MAX;
    }

    // Of what is yet to be filled the type that a value is to have counts.
    void CompareSlots(size_t number, const RecordedItem& one, const RecordedItem& other) {
        if (one.head.form == Form::Value && !one.bytes.empty() && !other.bytes.empty() &&
            one.bytes[0] != other.bytes[0]) {
            Tell(NameOf(recorded, number), "the type " + std::to_string(one.bytes[0]),
                 "the type " + std::to_string(other.bytes[0]));
        }
    }

    // --- Words ---------------------------------------------------------------------------------

    // Of the words in an answer, the host has chosen those here, else the plug-in has. Whoever has
    // chosen may give an address that was in use before to something else.
    void CompareWords(size_t number, const ItemHead& one, const ItemHead& other) {
        if (one.target == Target::Memory) {
            return;
        }
        if (one.target == Target::Thing && IsCall()) {
            const auto known = book.Here(one.address);
            const bool isChosenHere = crossing.isOver;
            const bool differs = !known         ? !isChosenHere && one.address != other.address
                                 : isChosenHere ? one.parent == 0 && *known != other.address &&
                                                      book.Recorded(other.address).has_value()
                                                : *known != other.address;
            if (differs) {
                Tell(NameOf(recorded, number), Address(one.address),
                     Address(book.Recorded(other.address).value_or(other.address)));
                return;
            }
        }
        book.Learn(one.address, other.address);
    }

    const Crossing& crossing;
    const CrossingContents& recorded;
    const CrossingContents& here;
    const ItemIndex recordedItems;
    const ItemIndex hereItems;
    AddressBook& book;
    std::vector<size_t> partners; ///< by the recording's items, from 1; 0: the root
    std::vector<Difference> differences;
};
} // namespace

std::string RecordedItem::Extent() const {
    return std::to_string(head.stored) + " of " + std::to_string(head.size) + " bytes";
}

const RecordedItem* CrossingContents::Find(unsigned parent, size_t offset, Target target) const {
    const auto found = std::ranges::find_if(items, [=](const RecordedItem& item) {
        return item.head.parent == parent && item.head.offset == offset &&
               item.head.target == target;
    });
    return found != items.end() ? &*found : nullptr;
}

ItemIndex::ItemIndex(const CrossingContents& contents) {
    sorted.reserve(contents.items.size());
    for (const RecordedItem& item : contents.items) {
        sorted.push_back(&item);
    }
    std::ranges::stable_sort(sorted, {}, [](const RecordedItem* item) {
        return std::tuple(item->head.parent, item->head.offset);
    });
}

const RecordedItem* ItemIndex::Find(unsigned parent, size_t offset, Target target) const {
    const std::span<const RecordedItem* const> all = In(parent);
    auto item = std::ranges::lower_bound(
        all, offset, {}, [](const RecordedItem* each) { return each->head.offset; });
    while (item != all.end() && (*item)->head.offset == offset && (*item)->head.target != target) {
        ++item;
    }
    return item != all.end() && (*item)->head.offset == offset ? *item : nullptr;
}

std::span<const RecordedItem* const> ItemIndex::In(unsigned parent) const {
    const auto parentOf = [](const RecordedItem* item) -> unsigned { return item->head.parent; };
    return {std::ranges::lower_bound(sorted, parent, {}, parentOf),
            std::ranges::upper_bound(sorted, parent, {}, parentOf)};
}

CrossingContents TakeContents(const Crossing& crossing, const Surroundings& surroundings) {
    CrossingContents contents;
    contents.root.assign(crossing.root.begin(), crossing.root.end());
    Taker taker(contents);
    VisitPlaces(crossing, surroundings, taker);
    return contents;
}

void AddressBook::Learn(std::uint32_t recorded, std::uint32_t here) {
    if (recorded != 0 && here != 0) {
        toHere[recorded] = here;
        toRecorded[here] = recorded;
    }
}

std::optional<std::uint32_t> AddressBook::Here(std::uint32_t recorded) const {
    const auto found = toHere.find(recorded);
    return found != toHere.end() ? std::optional(found->second) : std::nullopt;
}

std::optional<std::uint32_t> AddressBook::Recorded(std::uint32_t here) const {
    const auto found = toRecorded.find(here);
    return found != toRecorded.end() ? std::optional(found->second) : std::nullopt;
}

std::vector<Difference> FindDifferences(const Crossing& crossing, const CrossingContents& recorded,
                                        const CrossingContents& here, AddressBook& book) {
    return Comparison(crossing, recorded, here, book).Run();
}
