#pragma once

#include "testhost/recordings/File.h"

#include <cstdint>
#include <set>

/// The handles that host and plug-in hand to each other while a recording is played. Those of the
/// host lie in memory of this process: what the recorded host did to one is done here, too.
class CrossedHandles {
  public:
    /// The book is to live as long as this.
    explicit CrossedHandles(AddressBook& itsBook) : book(itsBook) {}

    /// Keeps those in what a crossing hands over here; in what one handed over in the recording.
    void Keep(const CrossingContents& here);
    void KeepRecorded(const CrossingContents& recorded);
    /// For a call that made a handle: makes the one that stands for it. Before the answer is put
    /// together, which has it.
    void MakeNew(const RecordedEvent& begin, const RecordedEvent& end);
    /// For a call that did something else to a handle. After the answer was put together.
    void DoLikewise(const RecordedEvent& begin, const RecordedEvent& end) const;
    /// Frees all that were kept and are still there.
    void Release() const;

  private:
    AddressBook& book;
    std::set<std::uint32_t> words;
};
