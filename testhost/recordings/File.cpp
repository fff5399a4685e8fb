#include "testhost/recordings/File.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <string_view>

using namespace Recording;

namespace {
constexpr size_t mostHeadBytes = 64 * 1024;
constexpr size_t mostCommands = 0x8000; // commands have 16-bit numbers
constexpr size_t mostNotes = 10000;

// What is wrong with a chunk, as a phrase.
class ChunkError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The bytes of a chunk. They come in steps: memory grows only with what is really there.
std::vector<unsigned char> ReadBytes(std::istream& in, size_t size) {
    constexpr size_t step = 64 * 1024;
    std::vector<unsigned char> bytes;
    bytes.reserve(std::min(size, step));
    while (bytes.size() < size) {
        const size_t had = bytes.size();
        bytes.resize(std::min(size, had + std::max(step, had)));
        in.read(reinterpret_cast<char*>(&bytes[had]),
                static_cast<std::streamsize>(bytes.size() - had));
        if (!in) {
            throw ChunkError("is cut off");
        }
    }
    return bytes;
}

// Takes a chunk apart.
class Parts {
  public:
    explicit Parts(std::span<const unsigned char> chunk) : rest(chunk) {}

    template <typename Record>
    Record Take() {
        Record record;
        std::memcpy(&record, TakeBytes(sizeof record).data(), sizeof record);
        return record;
    }
    std::span<const unsigned char> TakeBytes(size_t size) {
        if (size > rest.size()) {
            throw ChunkError("ends within what it announces");
        }
        const std::span<const unsigned char> taken = rest.first(size);
        rest = rest.subspan(size);
        return taken;
    }
    std::string TakeText(size_t size) {
        const std::span<const unsigned char> taken = TakeBytes(size);
        return {taken.begin(), taken.end()};
    }
    size_t Size() const { return rest.size(); }

  private:
    std::span<const unsigned char> rest;
};

bool IsCall(Way way) {
    return way == Way::Classic || way == Way::Engine;
}

// Bytes that are handed over in this way.
size_t RootSize(Way way) {
    constexpr size_t word = 4;
    switch (way) {
    case Way::Classic:
        return sizeof(ParameterBlock);
    case Way::Engine:
        return sizeof(FDEngineBlock);
    case Way::Pack:
    case Way::PackEx:
    case Way::AreaHandler:
        return 4 * word;
    case Way::DialogFilter:
        return 5 * word;
    case Way::MainThread:
        return word;
    case Way::Process:
        return 0;
    }
    throw ChunkError("goes an unknown way (" + std::to_string(static_cast<int>(way)) + ")");
}

RecordedItem TakeItem(Parts& parts, const CrossingContents& contents) {
    RecordedItem item{.head = parts.Take<ItemHead>(), .bytes = {}};
    const ItemHead& head = item.head;
    if (head.parent > contents.items.size()) {
        throw ChunkError("has an item before the one that leads to it");
    }
    const size_t parentSize =
        head.parent == 0 ? contents.root.size() : contents.items[head.parent - 1].bytes.size();
    if (parentSize < sizeof head.address || head.offset > parentSize - sizeof head.address) {
        throw ChunkError("has an item whose address stands outside of what leads to it");
    }
    if (head.target < Target::Memory || head.target > Target::Token || head.form > Form::Globals ||
        head.isSlot > 1) {
        throw ChunkError("has an item of an unknown kind");
    }
    if (head.stored > (head.size == UnknownSize ? 0 : head.size)) {
        throw ChunkError("has an item with more bytes than there were");
    }
    const std::span<const unsigned char> bytes = parts.TakeBytes(head.stored);
    item.bytes.assign(bytes.begin(), bytes.end());
    return item;
}

// Reads a recording chunk by chunk.
class Reader {
  public:
    explicit Reader(std::istream& recordingStream) : in(recordingStream) {}

    RecordingFile Read() {
        ReadHead();
        try {
            while (!file.hasEnd && ReadChunk()) {
            }
            if (file.hasEnd && in.peek() != std::istream::traits_type::eof()) {
                Complain("something stands behind its end");
            }
        } catch (const ChunkError& error) {
            Complain(Chunks() + " " + error.what());
        }
        return std::move(file);
    }

  private:
    std::string Chunks() const { return "chunk " + std::to_string(chunks); }

    // What comes first is what the rest comes of.
    void Complain(const std::string& sentence) {
        if (file.complaint.empty()) {
            file.complaint = sentence;
        }
    }

    void ReadHead() {
        const std::string_view firstLine = FirstLine;
        const size_t name = firstLine.rfind(' ') + 1; // and the number behind it
        std::string text;
        for (int byte = in.get(); byte != EndOfText; byte = in.get()) {
            text += static_cast<char>(byte);
            const std::string_view known = firstLine.substr(0, name);
            if (!in || text.size() > mostHeadBytes ||
                std::string_view(text).substr(0, name) != known.substr(0, text.size())) {
                throw RecordingError("it is no recording");
            }
        }
        if (!text.starts_with(firstLine)) {
            RefuseVersion(text.substr(std::min(name, text.size())),
                          firstLine.substr(name, firstLine.size() - name - 2));
        }
        KeepLines(std::string_view(text).substr(firstLine.size()));
    }

    [[noreturn]] static void RefuseVersion(std::string_view found, std::string_view known) {
        const std::string_view line =
            found.substr(0, std::min(found.find_first_of("\r\n"), known.size() + 10));
        if (line.empty() || line.find_first_not_of("0123456789") != std::string_view::npos) {
            throw RecordingError("it is no recording");
        }
        throw RecordingError("it is a recording in version " + std::string(line) +
                             " of the format; this testhost reads version " + std::string(known));
    }

    void KeepLines(std::string_view text) {
        while (!text.empty()) {
            const size_t end = std::min(text.find('\n'), text.size());
            std::string_view line = text.substr(0, end);
            text.remove_prefix(std::min(end + 1, text.size()));
            if (line.ends_with('\r')) {
                line.remove_suffix(1);
            }
            const size_t colon = line.find(": ");
            if (colon != std::string_view::npos && line.find_first_of(".,") > colon) { // no prose
                file.head.emplace(line.substr(0, colon), line.substr(colon + 2));
            }
        }
    }

    // False when there is none any more.
    bool ReadChunk() {
        ChunkHead head;
        in.read(reinterpret_cast<char*>(&head), sizeof head);
        if (in.gcount() == 0) {
            return false;
        }
        ++chunks;
        if (!in) {
            throw ChunkError("is cut off");
        }
        const std::vector<unsigned char> bytes = ReadBytes(in, head.size);
        Parts parts(bytes);
        TakeChunk(head, parts);
        return true;
    }

    void TakeChunk(const ChunkHead& head, Parts& parts) {
        switch (head.chunk) {
        case Chunk::Command:
            return TakeCommand(parts);
        case Chunk::EntryBegins:
        case Chunk::EntryEnds:
        case Chunk::CallBegins:
        case Chunk::CallEnds:
        case Chunk::Changed:
            return TakeEvent(head, parts);
        case Chunk::Note:
        case Chunk::End:
            file.hasEnd = head.chunk == Chunk::End;
            if (parts.Size() != 0 && file.notes.size() < mostNotes) {
                file.notes.emplace_back(file.events.size(), parts.TakeText(parts.Size()));
            }
            return;
        }
        Complain(Chunks() + " is of an unknown kind (" +
                 std::to_string(static_cast<int>(head.chunk)) + ") and left out");
    }

    void TakeCommand(Parts& parts) {
        const auto head = parts.Take<CommandHead>();
        RecordedCommand command{.number = head.number,
                                .name = parts.TakeText(head.nameSize),
                                .usageText = parts.TakeText(head.usageSize),
                                .usage = {}};
        ExpectNoMore(parts);
        try {
            command.usage = Usage::Parse(command.usageText);
        } catch (const UsageError&) { // without one its parameters are not known
        }
        if (file.commands.size() == mostCommands) {
            throw ChunkError("is one command too many");
        }
        file.commands.insert_or_assign(head.number, std::move(command));
    }

    void TakeEvent(const ChunkHead& chunk, Parts& parts) {
        RecordedEvent event{.chunk = chunk.chunk,
                            .way = chunk.way,
                            .head = parts.Take<CrossingHead>(),
                            .contents = {}};
        if (event.head.rootSize != RootSize(event.way)) {
            throw ChunkError("hands over " + std::to_string(event.head.rootSize) + " bytes, not " +
                             std::to_string(RootSize(event.way)));
        }
        if (IsCall(event.way) == event.IsIntoPlugin()) {
            throw ChunkError("goes into the plug-in by the way out, or the other way round");
        }
        if (chunk.items > MostItems) {
            throw ChunkError("has more than " + std::to_string(MostItems) + " items");
        }
        const std::span<const unsigned char> root = parts.TakeBytes(event.head.rootSize);
        event.contents.root.assign(root.begin(), root.end());
        event.contents.items.reserve(
            std::min<size_t>(chunk.items, parts.Size() / sizeof(ItemHead)));
        for (unsigned item = 0; item != chunk.items; ++item) {
            event.contents.items.push_back(TakeItem(parts, event.contents));
        }
        ExpectNoMore(parts);
        if (event.chunk == Chunk::Changed) {
            file.changes.emplace_back(file.events.size(), std::move(event));
            return;
        }
        Number(event);
        file.events.push_back(std::move(event));
    }

    // The crossing that begins or ends.
    void Number(const RecordedEvent& event) {
        const size_t place = file.events.size();
        if (event.Begins()) {
            if (!file.crossings
                     .try_emplace(event.head.number, RecordingFile::Events{.begin = place})
                     .second) {
                throw ChunkError("begins crossing " + std::to_string(event.head.number) + " again");
            }
            return;
        }
        const auto found = file.crossings.find(event.head.number);
        if (found == file.crossings.end() || found->second.end != 0) {
            throw ChunkError("ends crossing " + std::to_string(event.head.number) +
                             ", which is not under way");
        }
        const RecordedEvent& begin = file.events[found->second.begin];
        if (begin.way != event.way || begin.head.selector != event.head.selector) {
            throw ChunkError("ends crossing " + std::to_string(event.head.number) +
                             " as another one than began");
        }
        found->second.end = place;
    }

    static void ExpectNoMore(const Parts& parts) {
        if (parts.Size() != 0) {
            throw ChunkError("has " + std::to_string(parts.Size()) + " bytes too many");
        }
    }

    std::istream& in;
    RecordingFile file;
    size_t chunks = 0;
};
} // namespace

const CallFields& FieldsOf(const RecordedEvent& event) {
    const unsigned char* root = event.contents.root.data();
    if (event.way == Way::Engine) {
        return *reinterpret_cast<const FDEngineBlock*>(root);
    }
    return *reinterpret_cast<const ParameterBlock*>(root);
}

const SelectorPair* ServiceOf(const RecordedEvent& event) {
    return event.IsIntoPlugin() ? nullptr
                                : FindSelector(event.head.selector, event.way == Way::Engine);
}

const Usage* RecordingFile::UsageOf(const RecordedEvent& event) const {
    if (!event.IsPack()) {
        return nullptr;
    }
    const auto found = commands.find(event.head.selector);
    return found != commands.end() && found->second.usage ? &*found->second.usage : nullptr;
}

Crossing RecordingFile::CrossingOf(const RecordedEvent& event) const {
    Crossing crossing{.way = event.way,
                      .selector = event.head.selector,
                      .isOver = !event.Begins(),
                      .root = event.contents.root,
                      .usage = UsageOf(event)};
    if (const auto found = crossings.find(event.head.number);
        event.chunk == Chunk::CallEnds && found != crossings.end()) {
        crossing.sent = events[found->second.begin].contents.root;
    }
    return crossing;
}

RecordingFile ReadRecording(std::istream& in) {
    return Reader(in).Read();
}

RecordingFile ReadRecording(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw RecordingError("it cannot be read");
    }
    return ReadRecording(in);
}
