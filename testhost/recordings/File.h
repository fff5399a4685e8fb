#pragma once

#include "host/boundary/Calls.h"
#include "host/boundary/Selectors.h"
#include "testhost/recordings/Contents.h"

#include <filesystem>
#include <iosfwd>
#include <map>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// Why a file cannot be used as a recording, as a sentence.
class RecordingError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A beginning or an end of a crossing.
struct RecordedEvent {
    Recording::Chunk chunk = Recording::Chunk::EntryBegins;
    Recording::Way way = Recording::Way::Pack;
    alignas(std::uint64_t) Recording::CrossingHead head{}; ///< packed: references lead into it
    CrossingContents contents;

    bool Begins() const {
        return chunk == Recording::Chunk::EntryBegins || chunk == Recording::Chunk::CallBegins;
    }
    bool IsIntoPlugin() const {
        return chunk == Recording::Chunk::EntryBegins || chunk == Recording::Chunk::EntryEnds;
    }
    /// Whether it is by one of the plug-in's entry points.
    bool IsPack() const { return way == Recording::Way::Pack || way == Recording::Way::PackEx; }
};

/// The record of a call into the host.
const CallFields& FieldsOf(const RecordedEvent& event);
/// The service that such a call asks for; null when there is none of that number, and for an entry
/// into the plug-in.
const SelectorPair* ServiceOf(const RecordedEvent& event);

/// A command as the plug-in described it when it was recorded.
struct RecordedCommand {
    long number = 0;
    std::string name; ///< ANSI, as the usage
    std::string usageText;
    std::optional<Usage> usage; ///< nothing: none, or a wrong one
};

/// A recording that was read whole.
struct RecordingFile {
    std::map<std::string, std::string> head; ///< the text's lines "Name: value"
    std::map<long, RecordedCommand> commands;
    std::vector<RecordedEvent> events;                 ///< in the order in which they happened
    std::vector<std::pair<size_t, std::string>> notes; ///< before which event, and the text
    /// Before which event what an earlier call had answered leads to something else, and to what.
    std::vector<std::pair<size_t, RecordedEvent>> changes;
    bool hasEnd = false;   ///< the recorder wrote its last chunk
    std::string complaint; ///< what is wrong with what follows the last whole event; or empty

    /// Of a crossing.
    struct Events {
        size_t begin = 0;
        size_t end = 0; ///< 0: it never ended
    };
    std::unordered_map<std::uint32_t, Events> crossings; ///< by their numbers

    const Usage* UsageOf(const RecordedEvent& event) const;
    /// The crossing of an event, as VisitPlaces wants it; for an end with what was sent.
    Recording::Crossing CrossingOf(const RecordedEvent& event) const;
};

/// Reads it. Whatever the bytes are, nothing beyond them is looked at: what is cut off, or does not
/// agree with itself, ends the recording there and is its complaint. Throws RecordingError for what
/// is no recording, or one of another version.
RecordingFile ReadRecording(std::istream& in);
RecordingFile ReadRecording(const std::filesystem::path& path);
