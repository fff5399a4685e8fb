// Recordings: how they are read, shown and played again.

#include "host/boundary/Calls.h"
#include "testhost/recordings/File.h"
#include "tests/Fixture.h"

#include <cstring>
#include <sstream>

using namespace Recording;

namespace {
template <typename Record>
std::string BytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

// Makes a recording by hand.
struct Writer {
    std::string bytes = std::string(FirstLine) + "Plug-in: Tour.dll\r\nHost: made up\r\n\x1A";

    void Add(Chunk kind, const std::string& content, Way way = Way::Classic, int items = 0) {
        bytes += BytesOf(ChunkHead{.size = static_cast<std::uint32_t>(content.size()),
                                   .chunk = kind,
                                   .way = way,
                                   .items = static_cast<std::uint16_t>(items)}) +
                 content;
    }
    void AddEvent(Chunk kind, Way way, CrossingHead head, const std::string& root,
                  const std::string& items = {}, int count = 0) {
        head.rootSize = static_cast<std::uint32_t>(root.size());
        Add(kind, BytesOf(head) + root + items, way, count);
    }
};

std::string Item(ItemHead head, const std::string& content) {
    head.size = std::max(head.size, static_cast<std::uint32_t>(content.size()));
    head.stored = static_cast<std::uint32_t>(content.size());
    return BytesOf(head) + content;
}

ItemHead MemoryAt(std::uint32_t offset, std::uint16_t parent = 0) {
    ItemHead head{};
    head.parent = parent;
    head.target = Target::Memory;
    head.form = Recording::Form::Bytes;
    head.offset = offset;
    return head;
}

CrossingHead Head(std::uint32_t number, std::int32_t selector) {
    CrossingHead head{};
    head.number = number;
    head.selector = selector;
    return head;
}

CommandHead CommandNamed(std::int32_t number, size_t nameSize, size_t usageSize) {
    return {.number = number,
            .nameSize = static_cast<std::uint16_t>(nameSize),
            .usageSize = static_cast<std::uint16_t>(usageSize)};
}

RecordingFile Read(const std::string& bytes) {
    std::istringstream in(bytes);
    return ReadRecording(in);
}

std::string Refusal(const std::string& bytes) {
    try {
        Read(bytes);
    } catch (const RecordingError& error) {
        return error.what();
    }
    return "none";
}

const std::string fourWords(16, '\1');

// A command that calls the host once; its parameter leads to a text.
Writer SmallRecording() {
    Writer writer;
    const std::string usage = "(text) -> long";
    writer.Add(Chunk::Command, BytesOf(CommandNamed(3, 4, usage.size())) + "Name" + usage);
    writer.AddEvent(Chunk::EntryBegins, Way::Pack, Head(1, 3), fourWords,
                    Item(MemoryAt(4), fourWords) + Item(MemoryAt(8, 1), "text"), 2);
    const std::string record(sizeof(ParameterBlock), '\0');
    writer.AddEvent(Chunk::CallBegins, Way::Classic, Head(2, 21), record);
    writer.Add(Chunk::Note, "said in between");
    writer.AddEvent(Chunk::CallEnds, Way::Classic, Head(2, 21), record);
    writer.AddEvent(Chunk::EntryEnds, Way::Pack, Head(1, 3), fourWords);
    writer.Add(Chunk::End, "");
    return writer;
}
} // namespace

TEST(RecordingFileTest, IsReadWhole) {
    const RecordingFile file = Read(SmallRecording().bytes);
    EXPECT_EQ(file.complaint, "");
    EXPECT_TRUE(file.hasEnd);
    EXPECT_EQ(file.head.at("Host"), "made up");
    ASSERT_EQ(file.events.size(), 4U);
    EXPECT_EQ(file.notes, (std::vector<std::pair<size_t, std::string>>{{2, "said in between"}}));

    const RecordedEvent& entry = file.events[0];
    ASSERT_NE(file.UsageOf(entry), nullptr);
    EXPECT_EQ(file.UsageOf(entry)->parameters.size(), 1U);
    ASSERT_EQ(entry.contents.items.size(), 2U);
    const std::vector<unsigned char>& text = entry.contents.items[1].bytes;
    EXPECT_EQ(std::string(text.begin(), text.end()), "text");
    EXPECT_EQ(file.crossings.at(1).end, 3U);
    EXPECT_EQ(file.CrossingOf(file.events[2]).sent.size(), sizeof(ParameterBlock));
    EXPECT_TRUE(file.CrossingOf(file.events[1]).sent.empty());
}

// Whatever is cut off, what was whole before is there, and something is said.
TEST(RecordingFileTest, IsReadAsFarAsItGoes) {
    const std::string whole = SmallRecording().bytes;
    const size_t head = whole.find(static_cast<char>(EndOfText)) + 1;
    for (size_t size = 0; size != head; ++size) {
        EXPECT_EQ(Refusal(whole.substr(0, size)), "it is no recording") << size;
    }
    size_t events = 0;
    for (size_t size = head; size != whole.size(); ++size) {
        const RecordingFile file = Read(whole.substr(0, size));
        EXPECT_FALSE(file.hasEnd) << size;
        EXPECT_GE(file.events.size(), events) << size;
        events = file.events.size();
    }
    EXPECT_EQ(events, 4U);
    EXPECT_THAT(Read(whole.substr(0, whole.size() - 20)).complaint, testing::HasSubstr("cut off"));
}

TEST(RecordingFileTest, IsRefusedWhenItIsNone) {
    EXPECT_EQ(Refusal("Something else\r\n\x1A"), "it is no recording");
    EXPECT_EQ(Refusal("Nimbo recording 27\r\nHost: ?\r\n\x1A"),
              "it is a recording in version 27 of the format; this testhost reads version 1");
    EXPECT_EQ(Refusal("Nimbo recording one\r\n\x1A"), "it is no recording");
    EXPECT_EQ(Refusal("Nimbo recording 1\r\n" + std::string(100000, 'x')), "it is no recording");
}

// What does not agree with itself ends the recording there; nothing outside of the bytes is read.
TEST(RecordingFileTest, EndsWhereItIsWrong) {
    const CrossingHead head = Head(7, 3);
    const std::string record(sizeof(ParameterBlock), '\0');
    const auto entry = [&](const std::string& items, int count) {
        return [=](Writer& writer) {
            writer.AddEvent(Chunk::EntryBegins, Way::Pack, head, fourWords, items, count);
        };
    };
    ItemHead strange = MemoryAt(4);
    strange.target = static_cast<Target>(9);
    ItemHead boasting = MemoryAt(4);
    boasting.size = boasting.stored = 4000000000U;
    ItemHead unknown = MemoryAt(4);
    unknown.size = UnknownSize;
    const struct {
        std::function<void(Writer&)> add;
        const char* complaint;
    } cases[] = {
        {entry(Item(MemoryAt(13), "x"), 1), "outside of what leads to it"},
        {entry(Item(MemoryAt(0xFFFFFFFE), "x"), 1), "outside of what leads to it"},
        {entry(Item(MemoryAt(4), "abc") + Item(MemoryAt(0, 1), "x"), 2), "outside of what"},
        {entry(Item(MemoryAt(4, 1), "x"), 1), "before the one that leads to it"},
        {entry(Item(strange, "x"), 1), "of an unknown kind"},
        {entry(BytesOf(boasting), 1), "ends within what it announces"},
        {entry(Item(unknown, "x"), 1), "more bytes than there were"},
        {entry({}, 1), "ends within"},
        {entry({}, MostItems + 1), "more than 16000 items"},
        {entry("x", 0), "1 bytes too many"},
        {[&](Writer& writer) { writer.AddEvent(Chunk::CallBegins, Way::Engine, head, record); },
         "hands over 452 bytes, not 1474"},
        {[&](Writer& writer) { writer.AddEvent(Chunk::CallBegins, Way::Pack, head, fourWords); },
         "the other way round"},
        {[&](Writer& writer) {
             writer.AddEvent(Chunk::EntryBegins, static_cast<Way>(8), head, fourWords);
         },
         "an unknown way (8)"},
        {[&](Writer& writer) { writer.AddEvent(Chunk::EntryEnds, Way::Pack, head, fourWords); },
         "ends crossing 7, which is not under way"},
        {[&](Writer& writer) {
             entry({}, 0)(writer);
             entry({}, 0)(writer);
         },
         "begins crossing 7 again"},
        {[&](Writer& writer) {
             entry({}, 0)(writer);
             writer.AddEvent(Chunk::EntryEnds, Way::PackEx, head, fourWords);
         },
         "as another one than began"},
        {[](Writer& writer) { writer.Add(Chunk::Command, BytesOf(CommandNamed(1, 60000, 0))); },
         "ends within"},
        {[](Writer& writer) { writer.bytes += std::string(8, '\xFF'); }, "cut off"},
        {[](Writer& writer) {
             writer.Add(Chunk::End, "");
             writer.bytes += "x";
         },
         "stands behind its end"},
    };
    for (const auto& [add, complaint] : cases) {
        Writer writer;
        add(writer);
        EXPECT_THAT(Read(writer.bytes).complaint, testing::HasSubstr(complaint));
    }
}

TEST(RecordingFileTest, PassesOverUnknownChunks) {
    Writer writer;
    writer.Add(static_cast<Chunk>(99), "whatever");
    writer.AddEvent(Chunk::EntryBegins, Way::Pack, Head(1, 3), fourWords);
    const RecordingFile file = Read(writer.bytes);
    EXPECT_EQ(file.events.size(), 1U);
    EXPECT_THAT(file.complaint, testing::HasSubstr("unknown kind (99) and left out"));
}
