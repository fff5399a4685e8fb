#include "testhost/recordings/Stock.h"

#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/ReadableBytes.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstring>
#include <utility>

using namespace Recording;

namespace {
constexpr size_t wordSize = sizeof(std::uint32_t);
constexpr unsigned char guardByte = 0xC7;
constexpr size_t guardSize = 16;  // in front of what is lent
constexpr size_t roomBehind = 64; // guard bytes, too
constexpr size_t wholePascalString =
    256; // what a host lends where the recording has its characters
constexpr size_t mostMissing = 4 * 1024 * 1024; // zeros for what was not stored, in one crossing
} // namespace

// Walks through the recorded contents, and puts what is here in place of each address.
class Stock::Builder final : public Visitor {
  public:
    Builder(Stock& itsStock, const Crossing& itsCrossing, const CrossingContents& itsRecorded,
            const Former* itsFormer, std::uint32_t itsCodeStandIn)
        : stock(itsStock),
          crossing(itsCrossing),
          items(itsRecorded),
          recorded(itsRecorded),
          former(itsFormer),
          codeStandIn(itsCodeStandIn),
          root(itsRecorded.root) {
        places.emplace_back(root);
    }

    std::vector<unsigned char> Run(const Surroundings& surroundings) {
        VisitPlaces(crossing, surroundings, *this);
        for (const Filled& handle : handles) { // once all that they lead to is in its place
            Fill(handle);
        }
        return std::move(root);
    }

    Found Visit(const Place& place, std::uint32_t address) override {
        const RecordedItem* item = items.Find(parents[place.parent], place.offset, place.target);
        const std::uint32_t here = Here(place, address, item);
        std::memcpy(&places[place.parent][place.offset], &here, wordSize);
        if (made.empty()) {
            return {};
        }
        if (item == nullptr) {
            made = {};
            return {};
        }
        // What was recorded is looked through; what is found in it is put in its place here.
        places.push_back(std::exchange(made, {}));
        parents.push_back(static_cast<unsigned>(item - recorded.items.data()) + 1);
        const std::span<const unsigned char> bytes = item->bytes;
        return {static_cast<unsigned>(places.size() - 1),
                bytes.first(std::min(bytes.size(), places.back().size()))};
    }

  private:
    struct Filled {
        Handle handle;
        size_t bytes; ///< in `contents`
    };

    std::uint32_t Here(const Place& place, std::uint32_t address, const RecordedItem* item) {
        switch (place.target) {
        case Target::Memory:
            return place.form == Form::None ? 0 : Memory(place, address, item);
        case Target::Handle:
        case Target::HostHandle:
            return HandleHere(place, address, item);
        case Target::Code:
            return stock.book.Here(address).value_or(codeStandIn);
        case Target::Token:
            if (stock.isForPlugin && !stock.book.Here(address)) {
                return 0;
            }
            [[fallthrough]];
        case Target::Thing:
            return WordHere(place, address);
        }
        return 0;
    }

    // A word that nobody has met is itself. One that leads to memory is where that is here; but
    // what a plug-in sends the host has chosen, and knows it by the word that it has here.
    std::uint32_t WordHere(const Place& place, std::uint32_t address) {
        const bool isSent =
            !crossing.isOver && (crossing.way == Way::Classic || crossing.way == Way::Engine);
        const auto known = stock.book.Here(address);
        if ((known && isSent) ||
            items.Find(parents[place.parent], place.offset, Target::Memory) == nullptr) {
            return known.value_or(address);
        }
        std::uint32_t built = 0;
        std::memcpy(&built, &places[place.parent][place.offset], sizeof built);
        if (!isSent) {
            stock.book.Learn(address, built);
        }
        return built;
    }

    // The plug-in's memory that came with the call, in which the answer belongs: of what it lent to
    // be filled as much as it has lent here. Null when none came, or what was there is too short.
    std::span<unsigned char> FormerMemory(const Place& place, std::uint32_t address,
                                          size_t size) const {
        if (former == nullptr || place.parent != 0) {
            return {};
        }
        const RecordedItem* then = former->recorded.Find(0, place.offset, Target::Memory);
        const RecordedItem* now = former->here.Find(0, place.offset, Target::Memory);
        if (then == nullptr || now == nullptr || then->head.address != address) {
            return {};
        }
        if (now->head.isSlot != 0) {
            size = std::min(size, now->bytes.size());
        }
        auto* memory = static_cast<unsigned char*>(PointerAt(now->head.address));
        const bool fits = size <= now->bytes.size() && WritableBytes(memory, size) == size;
        return fits ? std::span(memory, size) : std::span<unsigned char>();
    }

    std::uint32_t Memory(const Place& place, std::uint32_t address, const RecordedItem* item) {
        if (item == nullptr && !place.isSlot) {
            return 0;
        }
        const std::vector<unsigned char> none;
        const std::vector<unsigned char>& bytes = item != nullptr ? item->bytes : none;
        if (const auto theirs = FormerMemory(place, address, bytes.size());
            theirs.data() != nullptr) {
            std::copy_n(bytes.begin(), theirs.size(), theirs.begin());
            made = theirs;
            return WordOf(theirs.data());
        }
        const size_t least = place.form == Form::PascalString ? wholePascalString : place.size;
        made = stock.Block(address, place.form, SizeWith(bytes.size(), least));
        // Of what is yet to be filled only the type counts that a value is to have.
        std::copy_n(bytes.begin(), place.isSlot ? std::min<size_t>(bytes.size(), 1) : bytes.size(),
                    made.begin());
        return WordOf(made.data());
    }

    // So many bytes are there, and so many were.
    size_t SizeWith(size_t stored, size_t whole) {
        const size_t zeros = whole > stored ? std::min(whole - stored, missingLeft) : 0;
        missingLeft -= zeros;
        return stored + zeros;
    }

    std::uint32_t HandleHere(const Place& place, std::uint32_t address, const RecordedItem* item) {
        const bool isHosts = place.target == Target::HostHandle;
        const auto known = stock.book.Here(address);
        auto* handle = static_cast<Handle>(PointerAt(known.value_or(0)));
        const short owner = ToolboxHandleOwner(handle);
        const bool isKnown = item != nullptr && item->head.size != UnknownSize;
        const size_t size = isKnown ? SizeWith(item->bytes.size(), item->head.size) : 0;
        if (owner == HandleOwner::None) {
            handle = isHosts ? ToolboxNewHostHandle(static_cast<Size>(size))
                             : NewHandle(static_cast<Size>(size));
            if (handle == nullptr) {
                return 0;
            }
            stock.book.Learn(address, WordOf(handle));
        }
        if (!isKnown || (isHosts && item->head.size == 0)) { // nobody knows what is in it
            return WordOf(handle);
        }
        copies.push_back(std::make_unique<std::vector<unsigned char>>(item->bytes));
        copies.back()->resize(size);
        handles.push_back({handle, copies.size() - 1});
        made = *copies.back();
        return WordOf(handle);
    }

    void Fill(const Filled& filled) {
        const std::vector<unsigned char>& bytes = *copies[filled.bytes];
        const auto size = static_cast<Size>(bytes.size());
        const bool isHosts = ToolboxHandleOwner(filled.handle) == HandleOwner::Host;
        const auto sizeNow = [&] {
            return isHosts ? ToolboxHostHandleSize(filled.handle) : GetHandleSize(filled.handle);
        };
        if (sizeNow() != size) {
            if (isHosts) {
                ToolboxSetHostHandleSize(filled.handle, size);
            } else {
                SetHandleSize(filled.handle, size);
            }
        }
        if (size > 0 && sizeNow() == size) {
            std::memcpy(*filled.handle, bytes.data(), bytes.size());
        }
    }

    Stock& stock;
    const Crossing& crossing;
    const ItemIndex items; ///< that were recorded
    const CrossingContents& recorded;
    const Former* former;
    const std::uint32_t codeStandIn;
    std::vector<unsigned char> root;
    std::vector<std::span<unsigned char>> places; ///< by number; 0: the root
    std::vector<unsigned> parents{0};             ///< the recording's number of each
    std::span<unsigned char> made;                ///< what the last address leads to here
    std::vector<std::unique_ptr<std::vector<unsigned char>>> copies;
    std::vector<Filled> handles;
    size_t missingLeft = mostMissing;
};

Stock::Stock() = default;
Stock::~Stock() = default;

// Zeroed. One that has become too small stays: someone may have it.
std::span<unsigned char> Stock::Block(std::uint32_t recorded, Form form, size_t size) {
    Guarded& block = blocks[{recorded, static_cast<std::uint8_t>(form)}];
    const size_t whole = guardSize + size + roomBehind;
    if (block.bytes.size() < whole) {
        outgrown.push_back(std::exchange(block.bytes, std::vector<unsigned char>(whole)));
    }
    block.size = size;
    lent.insert(&block);
    std::ranges::fill(block.bytes, guardByte);
    const std::span<unsigned char> inside = std::span(block.bytes).subspan(guardSize, size);
    std::ranges::fill(inside, static_cast<unsigned char>(0));
    return inside;
}

std::vector<std::string> Stock::TakeGuardProblems() {
    std::vector<std::string> problems;
    for (Guarded* const block : lent) {
        const std::span<unsigned char> all(block->bytes);
        const auto check = [&](std::span<unsigned char> guard, const char* where) {
            if (std::ranges::all_of(guard, [](unsigned char byte) { return byte == guardByte; })) {
                return;
            }
            std::ranges::fill(guard, guardByte);
            problems.push_back(std::string("The plug-in wrote ") + where + " the " +
                               std::to_string(block->size) + " bytes that the host had lent it.");
        };
        check(all.first(guardSize), "in front of");
        check(all.subspan(guardSize + block->size), "behind");
    }
    lent.clear();
    return problems;
}

std::vector<unsigned char> Stock::Rebuild(const Crossing& crossing,
                                          const Surroundings& surroundings,
                                          const CrossingContents& recorded, const Former* former,
                                          std::uint32_t codeStandIn) {
    Builder builder(*this, crossing, recorded, former, codeStandIn);
    return builder.Run(surroundings);
}
