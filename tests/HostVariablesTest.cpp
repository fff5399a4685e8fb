// Variables by name: what the wrappers send, whose handles change hands, how values lie, and what
// the stand-in host makes of values that cannot be.

#include "data/Variables.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Table.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>
#include <sstream>

using testing::HasSubstr;
using testing::IsEmpty;

namespace {

constexpr short HostError = -1234;
constexpr Handle UntouchedHandle = nullptr;

class HostVariablesTest : public DualHostTest {
  protected:
    HostVariablesTest() { Start(); }

    void Set(std::string_view name, const TypedValue& value) { host.variables.Set(1, name, value); }
    TypedValue Value(std::string_view name) { return host.variables.Read(1, name); }
    Handle TextHandle(std::string_view name) { return host.variables.Find(1, name)->text.text; }

    TestPlug plug;
    PascalString a{"a"};
    PascalString b{"b"};
};

INSTANTIATE_TEST_SUITE_P(Hosts, HostVariablesTest, ClassicAndEngine, HostName);

TEST(InterprocessNamesTest, LoseTheirPrefixWhenThereIsANameBehindIt) {
    struct Row {
        const char* name;
        const char* bare;
        bool stripped;
    };
    for (const Row& row : {Row{"\xD7"
                               "a",
                               "a", true},
                           {"<>a", "a", true},
                           {"\xD7<>", "<>", true},
                           {"\xD7", "\xD7", false},
                           {"<>", "<>", false},
                           {"<a>", "<a>", false},
                           {"", "", false}}) {
        PascalString name(row.name);
        EXPECT_EQ(FourD::StripIPVarName(name) != 0, row.stripped) << row.name;
        EXPECT_EQ(name.Text(), row.bare);
    }
}

// Any byte beyond these that is not zero is a problem of the host's.
TEST_P(HostVariablesTest, SendNameValueAndFlagInTheClassicRecord) {
    ValueBlock value{};
    value.type = ValueType::Long;
    long number = 0;
    Handle text = nullptr;
    Str255 string;
    PascalString prefixed("<>a");
    PascalString marked("\xD7"
                        "a");
    struct Row {
        const char* service;
        long selector;
        int flag;
        std::function<void()> call;
    };
    const Row rows[] = {
        {"SetVariable", -20, 7, [&] { FourD::SetVariable(a, &value, 7); }},
        {"SetVariableIP", -126, 255, [&] { FourD::SetVariableIP(a, &value, 255); }},
        {"SetProcessVariable", 20, 1, [&] { FourD::SetLongVar(a, 5); }},
        {"SetProcessVariable", 20, 1, [&] { FourD::SetTextVar(a, nullptr, 0); }},
        {"GetVariable", -19, 0, [&] { FourD::GetVariable(a, &value); }},
        {"GetVariableIP", -125, 0, [&] { FourD::GetVariableIP(a, &value); }},
        {"GetProcessVariable", 19, 0, [&] { FourD::GetLongVar(a, &number); }},
        {"GetProcessVariable", 19, 0, [&] { FourD::GetTextVar(a, &text, 0); }},
        {"GetProcessVariable", 19, 0, [&] { FourD::GetProcessVar(a, string); }},
        {"GetLongIPVar", 125, 0, [&] { FourD::GetLongIPVar(a, &number); }},
        {"GetLongIPVar", 125, 0, [&] { FourD::GetLongIPVar(prefixed, &number); }},
        {"GetLongIPVar", 125, 0, [&] { FourD::GetLongIPVar(marked, &number); }},
    };
    for (const Row& row : rows) {
        host.log.Clear();
        row.call();
        ASSERT_EQ(host.log.Calls().size(), 1U) << row.service;
        const LoggedCall& call = host.log.Calls()[0];
        EXPECT_EQ(call.selector, row.selector);
        EXPECT_FALSE(call.IsEngine());
        EXPECT_EQ(PascalString::TextOf(call.Sent().name), "a");
        EXPECT_NE(Handle{call.Sent().handle}, nullptr);
        EXPECT_EQ(call.before[398], row.flag) << row.service;
        EXPECT_THAT(TakeProblems(), IsEmpty()) << row.service;
    }
    EXPECT_EQ(prefixed.Text(), "<>a"); // the caller's name stays
    FourD::UpdateVariables();
    EXPECT_EQ(host.variables.redraws, 1);
}

TEST_P(HostVariablesTest, GettersTakeTheirOwnKindOnlyAndElseLeaveTheOutputAlone) {
    EXPECT_EQ(FourD::SetLongVar(a, -70000), 0);
    EXPECT_EQ(Value("a"), LongValue(-70000));
    Set("b", TextValue("seven"));
    Set("<>b", LongValue(8));
    long number = 99;
    EXPECT_EQ(FourD::GetLongVar(a, &number), 0);
    EXPECT_EQ(number, -70000);
    EXPECT_EQ(FourD::GetLongVar(b, &number), ResultCode::BadParameter);
    EXPECT_EQ(FourD::GetLongVar(PascalString("nobody"), &number), ResultCode::BadParameter);
    EXPECT_EQ(FourD::GetLongIPVar(a, &number), ResultCode::BadParameter); // of the process only
    host.FailNext("GetProcessVariable", HostError);
    EXPECT_EQ(FourD::GetLongVar(a, &number), HostError);
    EXPECT_EQ(number, -70000);
    EXPECT_EQ(FourD::GetLongIPVar(b, &number), 0);
    EXPECT_EQ(number, 8);

    Handle text = UntouchedHandle;
    EXPECT_EQ(FourD::GetTextVar(a, &text, 1), ResultCode::BadParameter);
    host.FailNext("GetProcessVariable", HostError);
    EXPECT_EQ(FourD::GetTextVar(b, &text, 1), HostError);
    if (host.HasEngine()) { // made as Unicode it stays Unicode
        Set("b", UnicodeValue("seven"));
        EXPECT_EQ(FourD::GetTextVar(b, &text, 1), ResultCode::BadParameter);
    }
    EXPECT_EQ(text, UntouchedHandle);
}

TEST_P(HostVariablesTest, TextsAreHandedOutThemselvesOrAsCopies) {
    Set("a", TextValue("one"));
    Handle text = nullptr;
    EXPECT_EQ(FourD::GetTextVar(a, &text, 0), 0);
    EXPECT_EQ(text, TextHandle("a"));
    EXPECT_EQ(FourD::GetTextVar(a, &text, 1), 0);
    EXPECT_NE(text, TextHandle("a"));
    EXPECT_EQ(OwnedHandle::BytesOf(text), "one");
    DisposeHandle(text);
    text = UntouchedHandle;
    ToolboxFailAllocation(1);
    EXPECT_EQ(FourD::GetTextVar(a, &text, 1), ResultCode::MemoryFull);
    EXPECT_EQ(text, UntouchedHandle);

    Set("a", TextValue("")); // has no handle, and nothing to copy
    const OwnedHandle other("other");
    for (const unsigned char copy : {'\0', '\1'}) {
        text = other;
        EXPECT_EQ(FourD::GetTextVar(a, &text, copy), 0);
        EXPECT_EQ(text, nullptr);
    }
}

TEST_P(HostVariablesTest, TextsAreHandedOverThemselvesOrAsCopies) {
    Handle given = nullptr;
    PtrToHand("given", &given, 5);
    EXPECT_EQ(FourD::SetTextVar(a, given, 0), 0);
    EXPECT_EQ(TextHandle("a"), given);
    EXPECT_EQ(FourD::SetTextVar(a, given, 0), 0); // its own again: stays alive
    EXPECT_EQ(Value("a"), TextValue("given"));

    const OwnedHandle kept("kept");
    const long before = ToolboxLiveHandles();
    EXPECT_EQ(FourD::SetTextVar(a, kept, 1), 0); // the copy comes, the former text goes
    EXPECT_EQ(ToolboxLiveHandles(), before);
    EXPECT_EQ(Value("a"), TextValue("kept"));
    EXPECT_NE(TextHandle("a"), kept.handle);

    for (const unsigned char copy : {'\0', '\1'}) {
        host.FailNext("SetProcessVariable", HostError);
        EXPECT_EQ(FourD::SetTextVar(a, kept, copy), HostError);
        EXPECT_EQ(ToolboxLiveHandles(), before);
        EXPECT_EQ(kept.Bytes(), "kept");
    }
    host.log.Clear();
    ToolboxFailAllocation(1);
    EXPECT_EQ(FourD::SetTextVar(a, kept, 1), ResultCode::MemoryFull);
    EXPECT_TRUE(host.log.Calls().empty());

    // The length is the handle's, as far as 16 bits hold it.
    for (const size_t size : {32000, 32001, 32767, 32768, 100000}) {
        const std::string text(size, 't');
        EXPECT_EQ(FourD::SetTextVar(a, OwnedHandle(text), 1), 0);
        EXPECT_EQ(Value("a"), TextValue(text.substr(0, 32767))) << size;
        EXPECT_EQ(GetHandleSize(TextHandle("a")), static_cast<Size>(size));
    }

    for (const unsigned char copy : {'\0', '\1'}) {
        EXPECT_EQ(FourD::SetTextVar(a, nullptr, copy), 0);
        EXPECT_EQ(Value("a"), TextValue(""));
        EXPECT_EQ(TextHandle("a"), nullptr);
        EXPECT_EQ(ToolboxLiveHandles(), before - 1);
    }
}

TEST_P(HostVariablesTest, ProcessVarsAreTextsAsStrings) {
    const std::string longText(300, 'x');
    struct Row {
        TypedValue value;
        short error;
        std::string string;
    };
    std::vector<Row> rows = {
        {StringValue("string"), 0, "string"},
        {TextValue("text"), 0, "text"},
        {TextValue(longText), 0, longText.substr(0, 255)},
        {LongValue(7), ResultCode::BadParameter, ""},
        {NullValue(ValueKind::Undefined), 0, ""},
    };
    if (host.HasEngine()) {
        rows.push_back({UnicodeValue("unicode"), 0, "unicode"});
    }
    for (const Row& row : rows) {
        Set("a", row.value);
        PascalString string("before");
        EXPECT_EQ(FourD::GetProcessVar(a, string), row.error) << row.value;
        EXPECT_EQ(string.Text(), row.string) << row.value;
    }
}

// The elements' bytes, element 0 first.
TEST_P(HostVariablesTest, ArraysLieAsTheHostKeepsThem) {
    using namespace std::string_literals;
    struct Row {
        TypedValue array;
        int type;
        std::string storage;
    };
    const TypedValue longs = LongArrayValue({1, -2});
    const Row rows[] = {
        {ArrayValue(ValueKind::RealArray, {RealValue(1)}), 14,
         "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\xF0\x3F"s},
        {ArrayValue(ValueKind::IntegerArray, {ShortValue(-2)}), 15, "\0\0\xFE\xFF"s},
        {longs, 16, "\0\0\0\0\x01\0\0\0\xFE\xFF\xFF\xFF"s},
        {ArrayValue(ValueKind::DateArray, {DateValue(2026, 11, 21)}), 17,
         "\0\0\0\0\0\0\x15\0\x0B\0\xEA\x07"s},
        {ArrayValue(ValueKind::StringArray, {StringValue("abcd")}, 4), 21,
         "\x04\0\0\0\0\0\x03"s
         "abc"},
        {ArrayValue(ValueKind::BooleanArray, {BooleanValue(true), BooleanValue(false)}), 22,
         "\0\x01\0"s},
    };
    for (const Row& row : rows) {
        Set("a", row.array);
        ValueBlock value{};
        EXPECT_EQ(FourD::GetVariable(a, &value), 0);
        EXPECT_EQ(value.type, row.type);
        EXPECT_EQ(long{value.array.count}, static_cast<long>(Elements(row.array).size()));
        EXPECT_EQ(OwnedHandle::BytesOf(value.array.elements), row.storage) << row.array;
        if (row.type != 21) { // cut to its slot
            EXPECT_EQ(Value("a"), row.array);
        }
    }
    const TypedValue texts = TextArrayValue({"one", "", "three"});
    std::vector<std::pair<TypedValue, long>> larger = {
        {texts, 6},
        {ArrayValue(ValueKind::PictureArray, {PictureValue("p"), NullValue(ValueKind::Picture)}),
         4},
        {ArrayValue(ValueKind::ArrayOfArrays, {longs, longs},
                    static_cast<long>(ValueKind::LongArray)),
         12},
        {ArrayValue(ValueKind::ArrayOfArrays, {texts}, static_cast<long>(ValueKind::TextArray)),
         12},
    };
    if (host.HasEngine()) {
        larger.emplace_back(ArrayValue(ValueKind::UnicodeTextArray, {UnicodeValue("\xC3\xA9")}),
                            16);
    }
    for (const auto& [array, elementSize] : larger) {
        Set("a", array);
        const ArrayBlock& block = host.variables.Find(1, "a")->array;
        EXPECT_EQ(GetHandleSize(block.elements), elementSize * (block.count + 1)) << array;
        EXPECT_EQ(Value("a"), array);
    }
}

TEST_P(HostVariablesTest, ReplacedValuesAreReleasedAndWhatStaysIsNot) {
    const TypedValue values[] = {
        TextValue("text"),
        PictureValue("picture"),
        {.kind = ValueKind::Blob, .texts = {"b"}},
        LongArrayValue({1}),
        PointerTo(TextValue("target")),
        TextArrayValue({"one", "two"}),
    };
    const long before = ToolboxLiveHandles();
    for (const TypedValue& value : values) {
        Set("a", value);
        EXPECT_EQ(Value("a"), value);
        ValueBlock same{};
        FourD::GetVariable(a, &same);
        EXPECT_EQ(FourD::SetVariable(a, &same, 0), 0);
        EXPECT_EQ(Value("a"), value);
    }
    // A text of the array moves to a storage that has it alone; the other goes.
    ValueBlock value{};
    FourD::GetVariable(a, &value);
    std::vector<TextBlock> elements(2);
    std::memcpy(&elements[1], *value.array.elements + sizeof(TextBlock), sizeof(TextBlock));
    Handle storage = nullptr;
    PtrToHand(elements.data(), &storage, 2 * sizeof(TextBlock));
    value.array.elements = storage;
    value.array.count = 1;
    EXPECT_EQ(FourD::SetVariable(a, &value, 0), 0);
    EXPECT_EQ(Value("a"), TextArrayValue({"one"}));
    EXPECT_EQ(ToolboxLiveHandles(), before + 2);
    FourD::SetLongVar(a, 1);
    EXPECT_EQ(ToolboxLiveHandles(), before);
    EXPECT_EQ(host.strings.LiveOfHost() + host.pictures.LiveOfHost(), 0);
}

TEST_P(HostVariablesTest, ValuesThatCannotBeAreReportedAndStayThePlugIns) {
    Set("a", TextValue("a's own"));
    const OwnedHandle mine("mine");
    const Handle hostHandle = ToolboxNewHostHandle(1);
    struct Row {
        const char* problem;
        std::function<void(ValueBlock&)> fill;
    };
    std::vector<Row> rows = {
        {"the type 3", [](ValueBlock& value) { value.type = 3; }},
        {"a text whose handle is no handle",
         [](ValueBlock& value) {
             value.text = {1, reinterpret_cast<Handle>(0x1234)};
         }},
        {"the variable \"a\" holds",
         [&](ValueBlock& value) {
             value.text = {1, TextHandle("a")};
         }},
        {"a text of the length 5 whose handle holds 4 bytes",
         [&](ValueBlock& value) {
             value.text = {5, mine};
         }},
        {"a text of the length 1 without a handle",
         [](ValueBlock& value) {
             value.text = {1, nullptr};
         }},
        {"an array of 1 elements whose storage has room for 0 and element 0",
         [&](ValueBlock& value) {
             value.type = ValueType::LongArray;
             value.array = {1, mine, 0};
         }},
    };
    if (host.HasEngine()) {
        rows.push_back({"no host string", [](ValueBlock& value) {
                            static unsigned short units[] = {'x'};
                            value.type = ValueType::UnicodeText;
                            value.unicode = {1, units, {}};
                        }});
    } else {
        rows.push_back({"the type 33", [](ValueBlock& value) { value.type = 33; }});
        rows.push_back({"a text whose handle is the host's", [&](ValueBlock& value) {
                            value.text = {1, hostHandle};
                        }});
    }
    for (const Row& row : rows) {
        ValueBlock value{};
        value.type = ValueType::Text;
        row.fill(value);
        EXPECT_EQ(FourD::SetVariable(b, &value, 1), ResultCode::BadParameter) << row.problem;
        EXPECT_THAT(TakeProblems(), testing::ElementsAre(HasSubstr(row.problem)));
        EXPECT_EQ(host.variables.Find(1, "b"), nullptr);
    }
    EXPECT_EQ(ToolboxDisposeHostHandle(hostHandle), 0);
    EXPECT_EQ(FourD::SetLongVar(PascalString(""), 1), ResultCode::BadParameter);
    host.options.callerCompiled = true; // the types of variables are fixed
    EXPECT_EQ(FourD::SetLongVar(a, 1), ResultCode::BadParameter);
    EXPECT_EQ(Value("a"), TextValue("a's own"));
}

// Whoever reads the variable works on it as ever.
TEST_P(HostVariablesTest, TakeOverHandlesOfTheHostFrom110On) {
    if (!host.HasEngine()) {
        GTEST_SKIP() << "hosts before 11.0 have no handles of their own";
    }
    const Handle given = FourD::NewHandleV11(4);
    std::memcpy(*given, "host", 4);
    ValueBlock value{};
    value.type = ValueType::Blob;
    value.blob = {4, given};
    EXPECT_EQ(FourD::SetVariable(a, &value, 0), 0);
    EXPECT_EQ(Value("a").texts, std::vector<std::string>{"host"});
    CFourDBlobVar("a").SetBlobValue(OwnedHandle("longer"));
    EXPECT_EQ(Value("a").texts, std::vector<std::string>{"longer"});
    FourD::SetLongVar(a, 1);
    EXPECT_EQ(ToolboxLiveHostHandles(), 0);
}

TEST_P(HostVariablesTest, BelongToTheirProcessOrToAll) {
    const long process = session.ProcessStart("Mine");
    host.variables.Set(process, "Value", TextValue("its own"));
    Set("Value", LongValue(1));
    Set("<>Value", LongValue(2));
    EXPECT_EQ(host.variables.Read(process, "VALUE"), TextValue("its own"));
    EXPECT_EQ(Value("value"), LongValue(1));
    EXPECT_EQ(host.variables.Read(process, "\xD7value"), LongValue(2));
    EXPECT_EQ(host.variables.Find(1, "Valu\x8E"), nullptr); // a mark makes another name
    session.ProcessEnd(process);
    EXPECT_EQ(host.variables.Find(process, "Value"), nullptr);
    EXPECT_EQ(Value("Value"), LongValue(1));
}

TEST_P(HostVariablesTest, ScriptsSetAndExpectThem) {
    const Script script = ParseScript("set variable \"a\" array string 10 \"one\" \"\"\n"
                                      "expect variable \"A\" array string 10 \"one\" \"\"\n"
                                      "set variable \"<>a\" array array long / 1 2 / 3\n"
                                      "expect variable \"<>a\" array array long / 1 2 / 3\n"
                                      "set variable \"a\" undefined\n"
                                      "expect variable \"a\" undefined\n"
                                      "set variable \"u\" unicode \"\\xC3\\xA9\"\n"
                                      "expect variable \"u\" unicode \"\\xC3\\xA9\"\n",
                                      "script");
    ASSERT_THAT(script.errors, IsEmpty());
    std::ostringstream out;
    EXPECT_EQ(Player(session, {out, true}).Play(script), host.HasEngine()) << out.str();
    if (!host.HasEngine()) {
        EXPECT_THAT(out.str(), HasSubstr("a host before 11.0 has no Unicode texts"));
    }
}

} // namespace
