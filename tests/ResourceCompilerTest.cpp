// Resource texts: what they compile to, and what is told about wrong ones.

#include "platform/Toolbox.h"
#include "testhost/resources/Compiler.h"
#include "testhost/toolbox/resources/Fork.h"
#include "testhost/values/Encodings.h"
#include "tests/Fixture.h"

#include <filesystem>
#include <gmock/gmock.h>

namespace {

using std::string;
using namespace std::string_literals;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

constexpr OSType TestType = 0x54657374; // Test

// The bytes of the only resource in a text.
string Compile(const string& lines) {
    const CompiledResources compiled = CompileResources("resource \"Test\" 1\n" + lines, "text");
    EXPECT_THAT(compiled.errors, ElementsAre()) << lines;
    std::vector<ForkResource> resources;
    EXPECT_EQ(ReadResourceFork(compiled.fork, &resources), 0);
    EXPECT_EQ(resources.size(), 1u) << lines;
    return resources.empty() ? "" : string(*resources[0].data);
}

TEST(ResourceCompilerTest, FieldsAndLists) {
    const struct {
        const char* lines;
        string bytes;
    } cases[] = {
        {"", ""s},
        {"byte 1 -1 0xFF", "\1\xFF\xFF"s},
        {"short 1 -2 big-short 1 -2", "\1\0\xFE\xFF\0\1\xFF\xFE"s},
        {"long 1 0xFFFFFFFE big-long 0x01020304 -1",
         "\1\0\0\0\xFE\xFF\xFF\xFF\1\2\3\4\xFF\xFF\xFF\xFF"s},
        {R"(text "a" "b" cstring "c" pstring "de" "")", "abc\0\2de\0"s},
        {"type \"abcd\"", "dcba"s},
        {"byte 1 align 4 align 4 zero 2 zero 0", "\1\0\0\0\0\0"s},
        {"hex 00FF 1f   # comment\nhex aB", "\0\xFF\x1F\xAB"s},
        {"string-list\n\"one\"\n\"\"\n\"caf\\x8E \\\"q\\\"\"", "\0\3\3one\0\x8"
                                                               "caf\x8E \"q\""s},
        {"string-list", "\0\0"s},
        {"map\nentry \"STR#\" 1 -2", "\1\0#RTS\1\0\xFE\xFF"s},
        {"count big-short\nitem big-long 7 pstring \"x\"\nitem", "\0\2\0\0\0\7\1x"s},
        {"byte 9\ncount long\nitem byte 1\ncount short\nitem byte 2\nitem byte 3",
         "\x9\1\0\0\0\1\2\0\2\3"s},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(Compile(row.lines), row.bytes) << row.lines;
    }
}

TEST(ResourceCompilerTest, Styles) {
    const string one = Compile(R"(style -3 "Body" font "Arial" 9 underline bold)");
    const auto field = [](string text, size_t size) {
        text.insert(0, 1, static_cast<char>(text.size()));
        text.resize(size);
        return text;
    };
    const string arial = field("Arial", 64) + "\x9\0\5\0"s;
    const string body = field("Body", 32) + "\xFD\xFF"s + arial + arial + arial;
    EXPECT_EQ(one.size(), 238u);
    EXPECT_EQ(one, body);

    const string list = Compile("style-list\nstyle -3 \"Body\" font \"Arial\" 9 bold underline\n"
                                "style 2 \"T\" font \"A\" 1 font \"B\" 2 italic font \"C\" 300");
    EXPECT_EQ(list, "\2\0\0\0"s + body + field("T", 32) + "\2\0"s + field("A", 64) + "\1\0\0\0"s +
                        field("B", 64) + "\2\0\2\0"s + field("C", 64) + "\x2C\1\0\0"s);
}

TEST(ResourceCompilerTest, WhatIsCompiledCanBeOpened) {
    const CompiledResources compiled =
        CompileResources("# comment: caf\xC3\xA9\r\n"
                         "resource \"STR#\" -32768 \"Words\"\r\nstring-list\r\n\"one\"\r\n\"two\"\n"
                         "resource \"Test\" 32767 \"Last\"\ntext \"#\"\n"
                         "resource \"Test\" 1",
                         "text");
    ASSERT_THAT(compiled.errors, ElementsAre());
    Host host;
    const std::filesystem::path path = FromAnsi(host.ScratchPath()) + L"\x65E5\x672C.rsrc";
    MakeFile(path.wstring(), compiled.fork);
    short refNum = 0;
    ASSERT_EQ(ToolboxOpenResFile(path.wstring().c_str(), &refNum), 0);
    UseResFile(refNum);
    PascalString second("");
    GetIndString(second, -32768, 2);
    EXPECT_EQ(second.Text(), "two");
    EXPECT_EQ(GetResource(TestType, 32767), GetNamedResource(TestType, PascalString("last")));
    EXPECT_EQ(OwnedHandle::BytesOf(GetResource(TestType, 32767)), "#");
    EXPECT_EQ(GetHandleSize(GetResource(TestType, 1)), 0);
    ToolboxCloseResFile(refNum);
}

TEST(ResourceCompilerTest, AllErrorsAreToldWithTheirLines) {
    const struct {
        string line;
        const char* told;
    } cases[] = {
        {"byte 256", "from -128 to 255"},
        {"short 65536", "from -32768 to 65535"},
        {"hex 123", "pairs of hexadecimal digits"},
        {"pstring \"" + string(256, 'x') + "\"", "at most 255 bytes"},
        {"\"stray\"", "no list has begun"},
        {"text \"caf\xC3\xA9\"", "ASCII"},
        {"count byte", "short, long"},
        {"style 1 \"" + string(32, 'x') + R"(" font "A" 1)", "at most 31 bytes"},
        {R"(style 1 "A" font ")" + string(64, 'x') + "\" 1", "at most 63 bytes"},
        {R"(style 1 "A" font "A" 1 font "B" 1)", "one font, or three"},
        {"align 0", "from 1"},
        {"resource \"STR\" 1", "four characters"},
        {"resource \"Test\" 32768", "from -32768 to 32767"},
        {"resource \"Test\" 1", "already, on line 2"},
        {R"(resource "Test" 2 ")" + string(256, 'x') + "\"", "at most 255 bytes"},
        {"map", ""},
        {R"(style 1 "A" font "A" 1)", "one of entry lines"},
        {"page 1", "no form has begun"},
        {"field \"a\" colour 0 0 9 9", "no field has the type 'colour'"},
        {"font 0 9 3", "behind a font stands its style"},
        {R"(label "a" "A" 0 0 9 9 red)", "behind an object stand disabled, invisible"},
        {"form size 9 9", "a form is all that is in its resource"},
        {"resource \"FO4D\" 1", ""},
        {"form 3 4", "a form begins with its size"},
        {"form size 9 9", ""},
        {R"(label "a" "A" 0 0 9 9 disabled invisible variable "v")", ""},
        {R"(label "A" "B" 0 0 9 9)", "two objects have the same name"},
    };
    string text = "text \"before\"\nresource \"Test\" 1\n";
    std::vector<std::pair<size_t, string>> told = {{1, "begins a resource"}};
    for (size_t i = 0; i < std::size(cases); ++i) {
        text += cases[i].line + "\n";
        if (*cases[i].told != '\0') {
            told.emplace_back(i + 3, cases[i].told);
        }
    }
    const CompiledResources compiled = CompileResources(text, "name");
    EXPECT_EQ(compiled.fork, "");
    ASSERT_EQ(compiled.errors.size(), told.size());
    for (size_t i = 0; i < told.size(); ++i) {
        EXPECT_THAT(compiled.errors[i], StartsWith("name:" + std::to_string(told[i].first) + ": "));
        EXPECT_THAT(compiled.errors[i], testing::HasSubstr(told[i].second));
    }
}

TEST(ResourceCompilerTest, WhatDoesNotFitAFileIsTold) {
    string many, names;
    for (int i = 0; i < 5500; ++i) {
        many += "resource \"Test\" " + std::to_string(i) + "\n";
    }
    for (int i = 0; i < 300; ++i) {
        names += "resource \"Test\" " + std::to_string(i) + " \"" + string(255, 'n') + "\"\n";
    }
    const string large = "resource \"Test\" 1\nzero 0xFFFFFF\nresource \"Test\" 2\nbyte 1\n";
    for (const string& text : {many, names, large + "resource \"Test\" 3"}) {
        EXPECT_THAT(CompileResources(text, "name").errors, ElementsAre(StartsWith("name: ")));
    }
    EXPECT_THAT(CompileResources("resource \"Test\" 1\nzero 0xFFFFFF byte 1", "name").errors,
                ElementsAre(EndsWith("too long for a resource file")));
    // Told before all of the memory is taken.
    string zeros, resources;
    for (int i = 0; i < 300; ++i) {
        zeros += " zero 0xFFFFFF";
        resources += "resource \"Test\" " + std::to_string(i) + "\nzero 0xFFFFFF\n";
    }
    EXPECT_THAT(CompileResources("resource \"Test\" 1\n" + zeros, "name").errors,
                ElementsAre(EndsWith("too long for a resource file")));
    EXPECT_THAT(CompileResources(resources, "name").errors,
                testing::Contains(EndsWith("before this one are too long for a resource file")));
}

} // namespace
