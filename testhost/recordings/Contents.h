#pragma once

#include "recording/Places.h"

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// Something that an address leads to: its bytes, as many as were stored.
struct RecordedItem {
    alignas(std::uint32_t) Recording::ItemHead head{}; ///< packed: references lead into it
    std::vector<unsigned char> bytes;

    /// Whether nobody could tell what is there.
    bool IsUnknown() const { return head.size == Recording::UnknownSize; }
    /// Whether only the first of the bytes are there.
    bool IsCut() const { return !IsUnknown() && head.stored < head.size; }
    /// "65536 of 100000 bytes"
    std::string Extent() const;
};

/// What is handed over in one direction: the root, and all that it leads to.
struct CrossingContents {
    std::vector<unsigned char> root;
    std::vector<RecordedItem> items; ///< a parent stands before what it leads to

    /// The item whose address stands there (parent 0: the root) and leads to this; null when there
    /// is none.
    const RecordedItem* Find(unsigned parent, size_t offset, Recording::Target target) const;
};

/// Finds items without looking at all of them. The contents are to stay as they are meanwhile.
class ItemIndex {
  public:
    explicit ItemIndex(const CrossingContents& contents);
    /// As CrossingContents::Find.
    const RecordedItem* Find(unsigned parent, size_t offset, Recording::Target target) const;
    /// What the addresses in an item lead to, by their offsets.
    std::span<const RecordedItem* const> In(unsigned parent) const;

  private:
    std::vector<const RecordedItem*> sorted;
};

/// Copies out of this process what a crossing hands over. What cannot be read is not in it.
CrossingContents TakeContents(const Recording::Crossing& crossing,
                              const Recording::Surroundings& surroundings);

/// An address of this process as the word that records have, and back.
inline std::uint32_t WordOf(const void* address) {
    return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(address));
}
inline void* PointerAt(std::uint32_t word) {
    return reinterpret_cast<void*>(std::uintptr_t{word});
}

/// What stands here for the words of a recording: its handles, and whatever host or plug-in know
/// by a word.
class AddressBook {
  public:
    void Learn(std::uint32_t recorded, std::uint32_t here);
    /// Nothing for a word that was never met.
    std::optional<std::uint32_t> Here(std::uint32_t recorded) const;
    std::optional<std::uint32_t> Recorded(std::uint32_t here) const;

  private:
    std::map<std::uint32_t, std::uint32_t> toHere;
    std::map<std::uint32_t, std::uint32_t> toRecorded;
};

/// Where two crossings differ, for a person to read.
struct Difference {
    std::string field;    ///< "param2", "the text in handle", "parameter 3"
    std::string recorded; ///< what it holds there
    std::string here;
};

/// Compares what a crossing handed over in the recording with what it hands over here: fields,
/// what addresses lead to, and whether words that mean something to one side only are those that
/// stand for each other; new ones are learnt.
std::vector<Difference> FindDifferences(const Recording::Crossing& crossing,
                                        const CrossingContents& recorded,
                                        const CrossingContents& here, AddressBook& book);
