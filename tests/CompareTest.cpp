// Recordings compared with the stand-in host: what is a difference, what is adopted, what is
// neither.

#include "testhost/compare/Compare.h"

#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "testhost/crossings/RecordFields.h"
#include "testhost/recordings/Stacks.h"
#include "testhost/services/Dispatch.h"
#include "tests/Fixture.h"

#include <cstring>
#include <utility>

using namespace Recording;

namespace {
// Writes what crosses between the test plug-in and a host, in this process.
class InProcessRecorder {
  public:
    RecordingFile file;

    template <typename Act>
    auto Record(Way way, long selector, std::span<const unsigned char> root, Act act) {
        const std::vector<unsigned char> sent(root.begin(), root.end());
        const std::uint32_t number = Add(true, way, selector, root, {}, 0);
        const long returned = act();
        Add(false, way, selector, root, sent, returned, number);
        return returned;
    }

  private:
    std::uint32_t Add(bool begins, Way way, long selector, std::span<const unsigned char> root,
                      std::span<const unsigned char> sent, long returned,
                      std::uint32_t number = 0) {
        const bool isCall = way == Way::Classic || way == Way::Engine;
        const Crossing crossing{.way = way,
                                .selector = selector,
                                .isOver = !begins,
                                .root = root,
                                .usage = nullptr,
                                .sent = sent};
        RecordedEvent event{.chunk = isCall ? (begins ? Chunk::CallBegins : Chunk::CallEnds)
                                            : (begins ? Chunk::EntryBegins : Chunk::EntryEnds),
                            .way = way,
                            .head = {},
                            .contents = TakeContents(crossing, surroundings)};
        const RecordedItem* const init = event.contents.Find(0, 4, Target::Memory);
        Learn(crossing, init != nullptr ? std::span<const unsigned char>(init->bytes) : sent,
              surroundings);
        event.head.number = number != 0 ? number : ++numbers;
        event.head.selector = selector;
        event.head.stackBase = 1;
        event.head.stack = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(&crossing));
        event.head.returned = returned;
        (begins ? file.crossings[event.head.number].begin : file.crossings[event.head.number].end) =
            file.events.size();
        const std::uint32_t its = event.head.number;
        file.events.push_back(std::move(event));
        return its;
    }

    Surroundings surroundings;
    std::uint32_t numbers = 0;
};

InProcessRecorder* recorder = nullptr;
std::function<void()> act; // what the plug-in's command does

template <typename Block>
std::span<const unsigned char> BytesOf(const Block& block) {
    return {reinterpret_cast<const unsigned char*>(&block), sizeof block};
}

HOST_CALL long RecordedClassicCall(long selector, ParameterBlock* block) {
    return recorder->Record(Way::Classic, selector, BytesOf(*block),
                            [&] { return ClassicHostCall(selector, block); });
}

HOST_CALL long RecordedEngineCall(long selector, FDEngineBlock* block) {
    return recorder->Record(Way::Engine, selector, BytesOf(*block),
                            [&] { return EngineHostCall(selector, block); });
}

HOST_ENTRY void RecordedPack(long selector, void* params, void* data, void* result) {
    const void* const words[] = {reinterpret_cast<void*>(selector), params, data, result};
    recorder->Record(Way::Pack, selector, BytesOf(words), [&] {
        if (selector == -1) {
            auto& init = *static_cast<PackInitBlock*>(params);
            init.classicCallBack = RecordedClassicCall;
            init.engineCallBack = RecordedEngineCall;
        }
        FourDPack(selector, params, data, result);
        return 0L;
    });
}

// Contents made by hand: an answer of GetVariable, and what `handle` in its record leads to.
struct HandMade {
    CrossingContents contents{.root = std::vector<unsigned char>(sizeof(ParameterBlock)),
                              .items = {}};

    // An address in an item (0: the root) that leads to these bytes.
    HandMade& Add(unsigned parent, size_t offset, Target target, Recording::Form form,
                  const std::string& bytes, std::uint32_t size = 0) {
        std::vector<unsigned char>& holder =
            parent == 0 ? contents.root : contents.items[parent - 1].bytes;
        RecordedItem item;
        item.head.parent = static_cast<std::uint16_t>(parent);
        item.head.target = target;
        item.head.form = form;
        item.head.offset = static_cast<std::uint32_t>(offset);
        item.head.address = 0x100000 + static_cast<std::uint32_t>(contents.items.size());
        item.head.stored = static_cast<std::uint32_t>(bytes.size());
        item.head.size = size != 0 ? size : item.head.stored;
        item.bytes.assign(bytes.begin(), bytes.end());
        std::memcpy(&holder.at(offset), &item.head.address, sizeof item.head.address);
        contents.items.push_back(std::move(item));
        return *this;
    }
    HandMade& Value(unsigned char type) {
        std::string block(sizeof(ValueBlock), '\0');
        block[0] = static_cast<char>(type);
        return Add(0, FindRecordField("handle")->Offset(false), Target::Memory,
                   Recording::Form::Value, block);
    }
    HandMade& Text(const std::string& text, std::uint32_t size = 0) {
        constexpr size_t place = offsetof(ValueBlock, text) + offsetof(TextBlock, text);
        return Value(ValueType::Text)
            .Add(1, place, Target::Handle, Recording::Form::None, text, size);
    }
};

// Differences as lines.
std::string DifferencesOf(const HandMade& recorded, const HandMade& here) {
    const Crossing crossing{.way = Way::Classic,
                            .selector = Select("GetVariable").classic,
                            .isOver = true,
                            .root = recorded.contents.root,
                            .usage = nullptr};
    AddressBook book;
    std::string text;
    for (const Difference& each :
         FindDifferences(crossing, recorded.contents, here.contents, book)) {
        text += each.field + ": " + each.recorded + ", " + each.here + "\n";
    }
    return text;
}

// What a plug-in does in commands, one after the other, on a host of this version.
RecordingFile RecordingOf(unsigned short version, const std::vector<std::function<void()>>& acts) {
    InProcessRecorder writer;
    recorder = &writer;
    ToolboxReset();
    {
        TestPlug plug({{"Act", "()", [](CXParam*, CXResult*) { act(); }}});
        Host host({.version = version});
        host.database.AddTable("Clients");
        host.database.AddField(1, {.name = "Name", .type = FieldType::Text});
        host.database.AddField(1, {.name = "Number", .type = FieldType::Long});
        host.database.AddRecord(1, {TextValue("Moss"), LongValue(7)});
        host.database.AllRecords(1, 1);
        host.variables.Set(1, "number", LongValue(7));
        host.variables.Set(1, "text", TextValue("to be"));
        Session session(host, {.pack = RecordedPack});
        session.Start();
        for (const auto& each : acts) {
            act = each;
            session.Call(1, std::vector<TypedValue>{});
        }
        session.Stop();
        EXPECT_TRUE(host.problems.empty()) << host.problems.front();
    }
    ToolboxReset();
    recorder = nullptr;
    return std::move(writer.file);
}

ComparisonAccount Compared(const RecordingFile& file) {
    ComparisonAccount account = Compare(file, {});
    ToolboxReset(); // with what the recorded plug-in had in its hands
    return account;
}

// The answer of this service, the n-th from the end.
RecordedEvent& AnswerOf(RecordingFile& file, std::string_view service, size_t fromEnd = 0) {
    for (size_t place = file.events.size(); place-- > 0;) {
        RecordedEvent& event = file.events[place];
        const bool isEngine = event.way == Way::Engine;
        const SelectorPair* const selector = FindSelector(event.head.selector, isEngine);
        if (event.chunk == Chunk::CallEnds && selector != nullptr && selector->name == service &&
            fromEnd-- == 0) {
            return event;
        }
    }
    throw std::out_of_range("no such answer");
}

// The first byte of a field in its record.
unsigned char& FieldOf(RecordedEvent& event, std::string_view field) {
    return event.contents.root.at(FindRecordField(field)->Offset(event.way == Way::Engine));
}

void ReadNumber() {
    ValueBlock value{};
    FourD::GetVariable(PascalString("number"), &value);
}

void GiveWay() {
    FourD::YieldToOthers();
}

class CompareTest : public testing::TestWithParam<unsigned short> {};
INSTANTIATE_TEST_SUITE_P(Hosts, CompareTest, testing::Values<unsigned short>(0x0680, 0x1210),
                         HostName);

// A call whose answer no fact decides: texts as the user compares them.
bool SameToUser() {
    return FourD::StringsEqual(PascalString("Abc"), PascalString("ABC")) != 0;
}
} // namespace

TEST_P(CompareTest, TheStandInAgreesWithItself) {
    const RecordingFile file =
        RecordingOf(GetParam(), {[] {
                                     ReadNumber();
                                     ValueBlock text{};
                                     FourD::GetVariable(PascalString("text"), &text);
                                     FourD::SetVariable(PascalString("text"), &text, 0);
                                 },
                                 [] {
                                     long count = 0;
                                     FourD::RecordsInSelection(1, &count);
                                     EXPECT_EQ(count, 1);
                                     FourD::GotoSelectedRecord(1, 0, 0, 0);
                                     ValueBlock value{};
                                     FourD::GetFieldData(1, 2, &value);
                                     EXPECT_EQ(value.number, 7);
                                     FourD::GetFieldData(1, 1, &value);
                                     DisposeHandle(value.text.text);
                                 },
                                 [] {
                                     EXPECT_TRUE(SameToUser());
                                     FourD::CurrentProcess();
                                     GiveWay();
                                 }});
    const ComparisonAccount account = Compared(file);
    EXPECT_EQ(account.different, 0u)
        << account.differences[0].service << account.differences[0].field;
    EXPECT_TRUE(account.IsGood());
    EXPECT_EQ(account.alike + account.unjudged, account.calls);
    EXPECT_LT(account.adopted, account.alike);
    EXPECT_EQ(account.adoptions.at("variables").at("GetVariable"), 2u);
    EXPECT_EQ(account.adoptions.at("fields").at("GetFieldData"), 2u);
    EXPECT_FALSE(account.adoptions.contains("values in dialogs"));
}

TEST_P(CompareTest, AChangedByteIsTheDifference) {
    RecordingFile file = RecordingOf(GetParam(), {[] { SameToUser(); }});
    FieldOf(AnswerOf(file, "StringsEqual"), "flag1") = 0;
    const ComparisonAccount account = Compared(file);
    ASSERT_EQ(account.differences.size(), 1u);
    const FoldedDifference& difference = account.differences[0];
    EXPECT_EQ(difference.service, "StringsEqual (214)");
    EXPECT_EQ(difference.field, "flag1");
    EXPECT_EQ(difference.recorded, "0");
    EXPECT_EQ(difference.here, "1");
    EXPECT_THAT(difference.place, testing::HasSubstr("within command 1"));
    EXPECT_FALSE(account.IsGood());
}

// Whatever a fact is, how it is answered follows from rules.
TEST_P(CompareTest, TheFormOfAFactIsJudged) {
    const std::vector<std::function<void()>> acts = {[] {
        ValueBlock value{};
        FourD::GetFieldData(1, 2, &value);
        ReadNumber();
    }};
    RecordingFile file = RecordingOf(GetParam(), acts);
    RecordedEvent& field = AnswerOf(file, "GetFieldData");
    FieldOf(field, "value.date") = 3; // where a number has nothing
    RecordedEvent& variable = AnswerOf(file, "GetVariable");
    variable.head.returned = -1;
    const ComparisonAccount account = Compared(file);
    ASSERT_EQ(account.differences.size(), 2u);
    EXPECT_EQ(account.differences[0].field, "value.date");
    EXPECT_EQ(account.differences[1].field, "what the call-back returned");
}

TEST_P(CompareTest, AFactThatIsKnownIsNotAdoptedAnew) {
    const auto change = [](RecordingFile& file) {
        for (RecordedItem& item : AnswerOf(file, "GetVariable").contents.items) {
            item.bytes.at(offsetof(ValueBlock, number)) = 8;
        }
    };
    RecordingFile atOnce = RecordingOf(GetParam(), {[] {
                                           ReadNumber();
                                           ReadNumber();
                                       }});
    change(atOnce);
    const ComparisonAccount contradicted = Compared(atOnce);
    ASSERT_EQ(contradicted.differences.size(), 1u);
    EXPECT_THAT(contradicted.differences[0].service, testing::StartsWith("GetVariable"));

    RecordingFile later = RecordingOf(GetParam(), {[] {
                                          ReadNumber();
                                          GiveWay(); // others may have changed it
                                          ReadNumber();
                                      }});
    change(later);
    EXPECT_EQ(Compared(later).adoptions.at("variables").at("GetVariable"), 2u);
    // What the plug-in has set itself is known, too.
    RecordingFile set = RecordingOf(GetParam(), {[] {
                                        ValueBlock value{};
                                        value.type = ValueType::Long;
                                        FourD::SetVariable(PascalString("number"), &value, 0);
                                        ReadNumber();
                                    }});
    change(set);
    EXPECT_EQ(Compared(set).different, 1u);
}

TEST_P(CompareTest, ACallWithoutAnEndIsServedAndNotJudged) {
    RecordingFile file = RecordingOf(GetParam(), {[] { SameToUser(); }});
    RecordedEvent& end = AnswerOf(file, "StringsEqual");
    file.crossings.at(end.head.number).end = 0;
    file.events.resize(static_cast<size_t>(&end - file.events.data()));
    std::erase_if(file.crossings,
                  [&](const auto& each) { return each.second.begin >= file.events.size(); });
    for (auto& [number, events] : file.crossings) {
        events.end = events.end < file.events.size() ? events.end : 0;
    }
    const ComparisonAccount account = Compared(file);
    EXPECT_EQ(account.unanswered, 1u);
    EXPECT_EQ(account.different, 0u);
}

TEST(FindDifferencesTest, TellsWhatIsThereAndWhatItHolds) {
    const std::string value = "what handle leads to";
    const std::string text = "what " + value + " holds";
    const HandMade none;
    const HandMade empty = HandMade().Value(ValueType::Text);
    const HandMade red = HandMade().Text("red");
    const struct {
        HandMade recorded, here;
        std::string differences;
    } cases[] = {
        {none, none, ""},
        {red, red, ""},
        {none, empty, value + ": null, not null\n"},
        {empty, none, value + ": not null, null\n"},
        {empty, red, text + ": null, not null\n"},
        {red, empty, text + ": not null, null\n"},
        {none, red, value + ": null, not null\n"}, // and no word of what is in it
        {red, HandMade().Text("rod"), text + ": \"red\", \"rod\"\n"},
        {red, HandMade().Text("redder"), text + ": \"red\", \"redder\"\n"},
        // Of what the recorder has cut the part that there is counts, and the size; and nothing of
        // what nobody could read.
        {HandMade().Text("red", 6), HandMade().Text("redder"), ""},
        {HandMade().Text("red", 6), HandMade().Text("rodder"),
         text + ": \"red\" (the recording has 3 of 6 bytes), \"rodder\"\n"},
        {HandMade().Text("red", 7), HandMade().Text("redder"),
         text + ": \"red\" (the recording has 3 of 7 bytes), \"redder\"\n"},
        {HandMade().Text("", UnknownSize), red, ""},
        {HandMade().Text("", UnknownSize), empty, text + ": not null, null\n"},
    };
    for (const auto& [recorded, here, differences] : cases) {
        EXPECT_EQ(DifferencesOf(recorded, here), differences);
    }
}

// A difference has one notation on both sides: none is a text where the other is bytes.
TEST(FindDifferencesTest, TellsBothSidesInOneNotation) {
    EXPECT_EQ(DifferencesOf(HandMade().Text("red"), HandMade().Text("r\1d")),
              "what what handle leads to holds: 3 bytes, from byte 1 on 65 64, "
              "3 bytes, from byte 1 on 01 64\n");
    const auto cell = [](const std::string& bytes) {
        HandMade made;
        made.Add(0, FindRecordField("handle")->Offset(false), Target::Memory,
                 Recording::Form::Result, bytes);
        made.contents.items[0].head.detail = static_cast<std::uint8_t>(ValueKind::Long);
        return made;
    };
    EXPECT_EQ(DifferencesOf(cell({1, 0, 0, 0}), cell({9, 0, 0, 0})),
              "what handle leads to: long 1, long 9\n");
}

TEST(ComparisonTest, WhereNothingIsComparedNothingIsGood) {
    EXPECT_FALSE(Compared({}).IsGood());
    RecordingFile old = RecordingOf(0x0680, {});
    for (RecordedItem& item : old.events[0].contents.items) {
        if (item.head.form == Recording::Form::Init) {
            item.bytes.at(1) = 0x05;
        }
    }
    EXPECT_THROW(Compared(old), RecordingError);
}

// An event of a crossing with nothing in its record.
RecordedEvent EventOf(Chunk chunk, Way way, std::uint32_t number, std::uint32_t base,
                      std::uint32_t stack) {
    RecordedEvent event;
    event.chunk = chunk;
    event.way = way;
    event.head.number = number;
    event.head.stackBase = base;
    event.head.stack = stack;
    const bool isCall = way == Way::Classic;
    event.contents.root.resize(isCall ? sizeof(ParameterBlock) : 4 * sizeof(std::uint32_t));
    return event;
}

// A crossing that was left without an end is over once another one begins further up the stack.
TEST(RecordedStacksTest, WhatWasLeftIsOver) {
    std::vector<RecordedEvent> events;
    events.reserve(8); // they are to stay where they are
    RecordedStacks stacks({});
    std::vector<std::uint32_t> left;
    const auto take = [&](bool begins, std::uint32_t number, std::uint32_t base,
                          std::uint32_t stack) {
        events.push_back(EventOf(begins ? Chunk::CallBegins : Chunk::CallEnds, Way::Classic, number,
                                 base, stack));
        const auto over = stacks.Follow(events.back(), [&](const RecordedStacks::Open& open) {
            left.push_back(open.event->head.number);
        });
        EXPECT_EQ(over.event->head.number, number);
        std::vector<std::uint32_t> open;
        for (const RecordedStacks::Open& each : stacks.On(events.back())) {
            open.push_back(each.event->head.number);
        }
        return open;
    };
    using Numbers = std::vector<std::uint32_t>;
    EXPECT_EQ(take(true, 1, 100, 90), Numbers({1}));
    EXPECT_EQ(take(true, 2, 100, 80), Numbers({1, 2}));
    EXPECT_EQ(take(true, 3, 200, 190), Numbers({3})); // another stack
    EXPECT_EQ(take(true, 4, 100, 85), Numbers({1, 4}));
    EXPECT_EQ(take(true, 5, 100, 70), Numbers({1, 4, 5}));
    EXPECT_EQ(take(false, 4, 100, 85), Numbers({1}));
    EXPECT_EQ(take(false, 1, 100, 90), Numbers());
    EXPECT_EQ(take(true, 6, 200, 195), Numbers({6}));
    EXPECT_EQ(left, Numbers({2, 5, 3}));
}

// What the host answers within an entry counts for all of it; where it never answers nobody knows.
TEST(RecordedStacksTest, ProcessesHaveTheNumbersThatTheHostTells) {
    constexpr SelectorPair current = Select("CurrentProcess");
    RecordingFile file;
    const auto add = [&](Chunk chunk, Way way, std::uint32_t number, std::uint32_t base,
                         std::uint32_t stack, long selector, std::int32_t told = 0) {
        RecordedEvent event = EventOf(chunk, way, number, base, stack);
        event.head.selector = selector;
        if (chunk == Chunk::CallEnds) {
            auto& record = *reinterpret_cast<ParameterBlock*>(event.contents.root.data());
            record.param1 = told;
        } else if (way == Way::Pack) {
            std::memcpy(&event.contents.root[sizeof told], &told, sizeof told);
        }
        file.events.push_back(std::move(event));
    };
    const auto entry = [&](std::uint32_t number, std::uint32_t base, std::uint32_t stack,
                           long selector, std::int32_t told = 0) {
        add(Chunk::EntryBegins, Way::Pack, number, base, stack, selector, told);
    };
    entry(1, 100, 90, 1);
    entry(2, 200, 190, 2);
    entry(3, 300, 290, 3);
    add(Chunk::CallBegins, Way::Classic, 4, 300, 280, current.classic);
    add(Chunk::CallEnds, Way::Classic, 4, 300, 280, current.classic, 7);
    entry(5, 300, 270, -3, 8); // told of another one, within
    add(Chunk::EntryEnds, Way::Pack, 5, 300, 270, -3, 8);
    add(Chunk::EntryEnds, Way::Pack, 3, 300, 290, 3);
    entry(6, 300, 290, -3, 9); // of its own, on the stack of one that has gone
    add(Chunk::EntryEnds, Way::Pack, 6, 300, 290, -3, 9);
    entry(7, 300, 290, 4);

    RecordedStacks stacks(file);
    std::vector<long> processes;
    for (const RecordedEvent& event : file.events) {
        stacks.Follow(event);
        processes.push_back(stacks.Process(event));
    }
    EXPECT_EQ(processes, std::vector<long>({1, -2, 7, 7, 7, 8, 7, 7, 9, 9, 9}));
    EXPECT_TRUE(stacks.IsNumberToldBy(4));
}
