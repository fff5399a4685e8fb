#pragma once

#include "host/boundary/Selectors.h"
#include "testhost/recordings/File.h"
#include "testhost/recordings/Stacks.h"

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

/// The call into the host that an event begins or ends; null when there is no such service.
const SelectorPair* ServiceOf(const RecordedEvent& event);
/// The process of whose start, of whose end the host tells the plug-in; nothing in other events.
std::optional<long> ProcessThatStarts(const RecordedEvent& event);
std::optional<long> ProcessThatEnds(const RecordedEvent& event);

/// In which process code of the plug-in runs. The numbers are the recorded host's: it tells one
/// when the plug-in asks for it, and when a process starts or ends; each counts for the whole
/// entry.
class ProcessNumbers {
  public:
    /// The recording is to live as long as this.
    explicit ProcessNumbers(const RecordingFile& recording);

    /// On a stack with these crossings under way. To be asked in the order of the events.
    long On(std::uint32_t stackBase, const std::vector<StackWalk::Open>& open);
    /// Whether it is from the answer of this crossing that a number is known.
    bool AreToldBy(std::uint32_t crossing) const { return telling.contains(crossing); }

  private:
    void NoteAnswer(const RecordedEvent& event, const std::vector<StackWalk::Open>& open);
    std::optional<size_t> EntryOf(const std::vector<StackWalk::Open>& open) const;

    const RecordingFile& file;
    std::map<size_t, long> ofEntries;       ///< by the event that begins them
    std::set<std::uint32_t> telling;        ///< crossings
    std::map<std::uint32_t, long> ofStacks; ///< the last one that was known
};
