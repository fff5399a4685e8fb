// CTextBlock beside a plain string that does what is stated.

#include "data/blocks/TextBlock.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <random>

namespace {

std::string TextOf(CTextBlock& text) {
    std::string bytes(static_cast<std::size_t>(text.GetLength()), '?');
    text.CopyTo(static_cast<void*>(bytes.data()));
    return bytes;
}

class TextBlockTest : public MemoryTest {
  protected:
    ~TextBlockTest() override { text.SetLength(0); }
    CTextBlock text;
};

INSTANTIATE_TEST_SUITE_P(Memory, TextBlockTest, OrdinaryAndStrict, MemoryName);

// Random operations with sources of every form; lengths gather around the limits.
TEST_P(TextBlockTest, DoesWhatAStringDoes) {
    constexpr unsigned Seed = 20261121;
    std::mt19937 random(Seed);
    const auto below = [&random](unsigned limit) { return random() % limit; };
    std::string model;
    CTextBlock other;
    for (int step = 0; step < 600; ++step) {
        const unsigned length = below(20) == 0 ? 31000 + below(1500) : below(300);
        std::string source(length, ' ');
        for (char& byte : source) {
            byte = static_cast<char>('a' + below(3));
        }
        const std::string cut = source.substr(0, 32000);
        const std::string shortSource = source.substr(0, 255);
        PascalString counted(shortSource);
        OwnedHandle handle(source);
        ASSERT_EQ(other.SetTo(cut.c_str()), 0);
        const auto append = [&model](const std::string& added) {
            model.append(added).resize(std::min<std::size_t>(model.size(), 32000));
        };
        switch (below(14)) {
        case 0:
            text.SetTo(other), model = cut;
            break;
        case 1:
            text.SetTo(counted.bytes), model = shortSource;
            break;
        case 2:
            text.SetTo(source.c_str()), model = cut;
            break;
        case 3:
            text.SetTo(source.data(), static_cast<short>(length)), model = cut;
            break;
        case 4:
            text.SetTo(handle.handle), model = cut;
            break;
        case 5:
            text.Append(other), append(cut);
            break;
        case 6:
            text.Append(counted.bytes), append(shortSource);
            break;
        case 7:
            text.Append(source.c_str()), append(source);
            break;
        case 8:
            text.Append(source.data(), static_cast<short>(length)), append(source);
            break;
        case 9:
            text.Append(handle.handle), append(source);
            break;
        case 10:
            text.Append(text), append(model);
            break;
        case 11:
            text.SetTo(text);
            break;
        case 12:
            text.SetLength(static_cast<short>(std::min<std::size_t>(model.size(), 40)));
            model.resize(std::min<std::size_t>(model.size(), 40));
            break;
        default:
            text.SetLength(0), model.clear();
            EXPECT_EQ(text.GetHandle(), nullptr);
            break;
        }
        ASSERT_EQ(TextOf(text), model) << "step " << step;
        ASSERT_EQ(text.GetHandle() == nullptr, model.empty());
        if (!model.empty()) {
            ASSERT_EQ(GetHandleSize(text.GetHandle()), static_cast<long>(model.size()));
        }
    }
    other.SetLength(0);
}

TEST_P(TextBlockTest, ConstructorsCopyTheirSource) {
    PascalString counted("pascal");
    const OwnedHandle handle("handle");
    CTextBlock first("first");
    CTextBlock copies[] = {CTextBlock(first),         CTextBlock(&first),
                           CTextBlock(counted.bytes), CTextBlock("zero-terminated"),
                           CTextBlock("counted", 5),  CTextBlock("negative", -1),
                           CTextBlock(handle.handle)};
    const char* const expected[] = {"first", "first", "pascal", "zero-terminated",
                                    "count", "",      "handle"};
    for (std::size_t i = 0; i < std::size(copies); ++i) {
        EXPECT_EQ(TextOf(copies[i]), expected[i]);
        copies[i].SetLength(0);
    }
    first.SetLength(0);
}

TEST_P(TextBlockTest, ConstructorsMayFindNoMemory) {
    PascalString counted("pascal");
    const OwnedHandle handle("handle");
    CTextBlock first("first");
    const std::function<CTextBlock()> constructors[] = {
        [&] { return CTextBlock(first); },         [&] { return CTextBlock(&first); },
        [&] { return CTextBlock(counted.bytes); }, [&] { return CTextBlock("text"); },
        [&] { return CTextBlock("counted", 5); },  [&] { return CTextBlock(handle.handle); }};
    const long alive = ToolboxLiveHandles();
    for (const auto& construct : constructors) {
        ToolboxFailAllocation(1);
        CTextBlock poor = construct();
        EXPECT_EQ(ToolboxFailAllocation(0), 0);
        EXPECT_EQ(ToolboxLiveHandles(), alive);
        EXPECT_EQ(poor.GetChar(1), 0);
        poor.SetChar(1, 'x');
        char copy[] = "????????";
        poor.CopyTo(copy);
        EXPECT_STREQ(copy, "");
        EXPECT_EQ(poor.SetTo("anew"), 0);
        EXPECT_EQ(TextOf(poor), "anew");
        poor.SetLength(0);
    }
    first.SetLength(0);
}

TEST_P(TextBlockTest, LongSourcesAreMeasuredIn16Bits) {
    text.SetTo("before");
    const std::string negative(40000, 'n'); // measures -25536
    EXPECT_EQ(text.SetTo(negative.c_str()), 0);
    EXPECT_EQ(TextOf(text), "before");
    EXPECT_EQ(text.Append(negative.c_str()), 0);
    EXPECT_EQ(TextOf(text), "before");
    const std::string wrapped(70000, 'w'); // measures 4464
    EXPECT_EQ(text.SetTo(wrapped.c_str()), 0);
    EXPECT_EQ(text.GetLength(), 4464);
    const OwnedHandle handle(wrapped); // a handle's size is not cut to 16 bits, only clamped
    EXPECT_EQ(text.SetTo(handle.handle), 0);
    EXPECT_EQ(text.GetLength(), 32000);
    text.SetLength(32767);
    EXPECT_EQ(text.GetLength(), 32000);
    text.SetLength(-1);
    EXPECT_EQ(text.GetLength(), 32000);
    EXPECT_EQ(text.SetTo("x", -1), ResultCode::BadParameter);
    EXPECT_EQ(text.Append("x", -1), ResultCode::BadParameter);
    EXPECT_EQ(text.Append(static_cast<const char*>(nullptr), 1), ResultCode::BadParameter);
    EXPECT_EQ(text.GetLength(), 32000);
}

TEST_P(TextBlockTest, GivesBytesAndCopies) {
    text.SetTo(std::string(300, 'x').c_str());
    EXPECT_EQ(text.GetChar(0), 0);
    EXPECT_EQ(text.GetChar(301), 0);
    text.SetChar(0, 'a');
    text.SetChar(301, 'z');
    text.SetChar(1, '1');
    text.SetChar(300, '3');
    EXPECT_EQ(text.GetChar(1), '1');
    EXPECT_EQ(TextOf(text), '1' + std::string(298, 'x') + '3');

    PascalString counted("");
    text.CopyTo(counted.bytes);
    EXPECT_EQ(counted.Text(), '1' + std::string(254, 'x'));
    char bounded[8] = {'#', '#', '#', '#', '#', '#', '#', '#'};
    text.CopyTo(bounded, 5);
    EXPECT_EQ(std::string(bounded, 8), std::string("1xxxx\0##", 8));
    Handle handle = nullptr;
    text.CopyTo(&handle);
    EXPECT_EQ(OwnedHandle::BytesOf(handle), TextOf(text));
    DisposeHandle(handle);
    text.CopyTo(static_cast<char*>(nullptr));
    text.CopyTo(static_cast<char***>(nullptr));
    text.CopyTo(static_cast<void*>(nullptr));
}

TEST_P(TextBlockTest, ReplacesWithEveryForm) {
    PascalString search("cat");
    PascalString counted("dog");
    CTextBlock block("dog");
    const OwnedHandle handle("dog");
    const auto check = [&](const std::function<long()>& replace) {
        text.SetTo("cat, cat and cattle");
        EXPECT_EQ(replace(), 3);
        EXPECT_EQ(TextOf(text), "dog, dog and dogtle");
    };
    check([&] { return text.Replace(search, block); });
    check([&] { return text.Replace(search, &block); });
    check([&] { return text.Replace(search, counted.bytes); });
    check([&] { return text.Replace(search, "dog"); });
    check([&] { return text.Replace(search, "doggy", 3); });
    check([&] { return text.Replace(search, handle.handle); });

    text.SetTo(std::string(20000, 'c').c_str());
    PascalString letter("c");
    EXPECT_EQ(text.Replace(letter, "dd"), 20000); // 40000 bytes, cut to what a text can hold
    EXPECT_EQ(TextOf(text), std::string(32000, 'd'));
    PascalString last("d");
    const long alive = ToolboxLiveHandles();
    EXPECT_EQ(text.Replace(last, ""), 32000); // an empty text has no handle
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_EQ(text.GetHandle(), nullptr);
    EXPECT_EQ(ToolboxLiveHandles(), alive - 1);
    EXPECT_EQ(text.Replace(letter, "c"), 0);
    EXPECT_EQ(text.GetLength(), 0);
    block.SetLength(0);
}

// A record of the host's whose length is not its handle's.
TEST_P(TextBlockTest, ReadsNothingThatIsNotThere) {
    for (const short length : {short{-1}, short{4}, short{32767}}) {
        TextBlock record = {.length = length, .text = nullptr};
        void* const storage = &record;
        CTextBlock& view = *static_cast<CTextBlock*>(storage);
        const std::string expected = length < 0 ? "" : "ab";
        const OwnedHandle two("ab");
        record.text = two;
        PascalString counted("?");
        view.CopyTo(counted.bytes);
        EXPECT_EQ(counted.Text(), expected);
        EXPECT_EQ(text.SetTo(view), 0);
        EXPECT_EQ(TextOf(text), expected);
        EXPECT_EQ(CTextBlock(static_cast<const char*>(nullptr), 4).GetLength(), 0);
        EXPECT_EQ(view.GetChar(3), 0);
        view.SetChar(3, 'c');
        EXPECT_EQ(view.Append("cd"), 0);
        EXPECT_LE(GetHandleSize(two), 32000);
        SetHandleSize(two, 2);
        record = {.length = length, .text = nullptr};
        EXPECT_EQ(view.GetChar(1), 0);
        PascalString search("a");
        EXPECT_EQ(view.Replace(search, "b"), 0);
    }
}

} // namespace
