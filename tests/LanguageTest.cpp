// The stand-in host's language, as its two call-backs execute, compile and evaluate it.

#include "host/Call.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/language/Commands.h"
#include "testhost/language/Failure.h"
#include "testhost/language/Lexer.h"
#include "testhost/language/Values.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Table.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>
#include <sstream>

using testing::ElementsAre;

namespace {

class LanguageTest : public testing::Test {
  protected:
    LanguageTest() {
        const short table = host.database.AddTable("Clients");
        host.database.AddField(table, {.name = "Last name"});
        host.database.AddRecord(table, {TextValue("Moss")});
        host.language.DefineMethod("Twice", "$sum:=$1+$1\r\r$0:=$sum");
        host.language.DefineMethod("Endless", "Endless");
    }

    /// The expression's value, or the error as a long behind the word.
    std::string Value(const std::string& expression) {
        return Try([&] {
            const auto tokens = DecodeTokens(EncodeTokens(TokensOfText(host, expression)));
            return Describe(Evaluator(host, RunCommand).Evaluate(ParseExpression(tokens)));
        });
    }

    std::string Run(const std::string& text) {
        return Try([&] {
            Evaluator(host, RunCommand).Execute(ParseStatements(TokensOfText(host, text)));
            return std::string();
        });
    }

    static std::string Try(const std::function<std::string()>& work) {
        try {
            return work();
        } catch (const LanguageFailure& failure) {
            return "error " + std::to_string(failure.code);
        }
    }

    Host host;
};

TEST_F(LanguageTest, EvaluatesExpressions) {
    EXPECT_EQ(Run("size:=4\r<>Shared name:=\"one \\\"two\\\"\"\r\rALL RECORDS([Clients])"), "");
    for (const auto& [expression, value] : {
             std::pair{"2+3*4", "long 20"}, // from left to right
             {"2+(3*4)", "long 14"},
             {"-size+1", "long -3"},
             {"7.5-2", "real 5.5"},
             {"1.5*3", "real 4.5"},
             {"1.5<2", "boolean true"},
             {"2<=1.5", "boolean false"},
             {"2<=2.0", "boolean true"},
             {"2>=2.5", "boolean false"},
             {"2>=2.0", "boolean true"},
             {"7/2", "real 3.5"},
             {"2147483647+1", "real 2147483648"},
             {"1.5e3", "real 1500"},
             {R"("a\\b\r"+"c:\d")", R"(text "a\\b\rc:\\d")"},
             {"<>shared NAME", R"(text "one \"two\"")"},
             {R"("ABC" = "abc")", "boolean true"},
             {"size#4", "boolean false"},
             {"!12/31/2026! > !2026-12-30!", "boolean true"},
             {"?01:02:03?+1", "time 3724"},
             {"nothing", "undefined"},
             {"records IN Table([clients])", "long 1"},
             {"[Clients]Last name", R"(text "Moss")"},
             {"Twice(21)", "long 42"},
             {"Current user+\"!\"", R"(text "Designer!")"},
             // What is wrong
             {"", "error -9901"},
             {"1+", "error -9901"},
             {"(1", "error -9901"},
             {"1 2", "error -9901"},
             {"\"open", "error -9901"},
             {"!13/01/2026!", "error -9901"},
             {"!2025-02-29!", "error -9901"},
             {"!01/02!", "error -9901"},
             {"!01/b/2026!", "error -9901"},
             {"!01/02/2026/4!", "error -9901"},
             {"?23:60:00?", "error -9901"},
             {"1e999", "error -9901"},
             {"[Clients", "error -9901"},
             {"[Clients]", "error -9903"},
             {"!00/00/0000!", "date 0000-00-00"},
             {"{1}", "error -9901"},
             {"[Nobody]", "error -9902"},
             {"[Clients]First name", "error -9902"},
             {"Unheard of(1)", "error -9902"},
             {"1+\"a\"", "error -9903"},
             {"nothing+1", "error -9903"},
             {"Records in table(1)", "error -9903"},
             {"Records in table", "error -9904"},
             {"1/0", "error -9905"},
             {"Endless", "error -9907"},
         }) {
        EXPECT_EQ(Value(expression), value) << expression;
    }
    for (int level = 1; level < 22; ++level) {
        const std::string next = "Level" + std::to_string(level + 1);
        host.language.DefineMethod("Level" + std::to_string(level), next + "\r" + next);
    }
    host.language.DefineMethod("Level22", "count:=1");
    EXPECT_EQ(Value("Level1"), "error -9908");
    EXPECT_EQ(Run("ARRAY LONGINT(a;1000000)" + std::string("\rb:=a\rb:=a")), "error -9908");
    EXPECT_EQ(Value(std::string(100000, '(')), "error -9907");
    EXPECT_EQ(Value(std::string(100000, '-')), "error -9907");
    std::string longSum = "1";
    for (int count = 1; count < 20000; ++count) {
        longSum += "+1";
    }
    EXPECT_EQ(Value(longSum), "long 20000");
}

TEST_F(LanguageTest, DeclaresAndAssignsVariables) {
    EXPECT_EQ(Run("C_LONGINT(count;<>total)\rcount:=2.9\rC_LONGINT(count)\r<>total:=count+1\r"
                  "ARRAY TEXT(names;2)\rARRAY LONGINT(grid;2;1)\rC_STRING(80;short)\r"
                  "short:=\"ab\"\rC_BOOLEAN(flag)\rflag:=2\r"
                  "C_BLOB(bytes)\rto:=Get pointer(\"count\")\r[Clients]Last name:=\"x\""),
              "error -11"); // there is no current record
    const long process = host.currentProcess;
    for (const auto& [name, value] :
         {std::pair{"count", "long 2"}, // a variable keeps its declared type
          {"<>total", "long 3"},
          {"names", R"(array text "" "")"},
          {"grid", "array array long / 0 / 0"},
          {"short", R"(string "ab")"},
          {"flag", "boolean true"},
          {"bytes", "blob null"}}) {
        EXPECT_EQ(Describe(host.variables.Read(process, name)), value) << name;
    }
    ASSERT_EQ(host.variables.Find(process, "to")->type, ValueType::Pointer);
    EXPECT_THAT(ReadPointer(*host.variables.Find(process, "to")).numbers,
                ElementsAre(PointerKind::Variable, 1, 0));
    EXPECT_EQ(Run("other:=to"), ""); // a pointer of its own
    EXPECT_NE(Handle{host.variables.Find(process, "to")->pointer},
              Handle{host.variables.Find(process, "other")->pointer});
    for (const char* wrong :
         {R"(count:="a")", "1:=2", "C_LONGINT(1)", "ARRAY REAL(a;-1)", "ARRAY REAL(a;2000000)",
          "ARRAY REAL(a;2000;2000)", "ARRAY REAL(a;65536;65536)", "C_STRING(0;a)", "count:=nothing",
          "count:=1e300"}) {
        EXPECT_NE(Run(wrong), "") << wrong;
    }
    EXPECT_EQ(Describe(host.variables.Read(process, "count")), "long 2");
}

TEST_F(LanguageTest, CommandsGoByTheNamesOfTheSession) {
    EXPECT_TRUE(host.RenameCommand(83, "Enregistrements dans table"));
    EXPECT_FALSE(host.RenameCommand(84, "Nothing"));
    EXPECT_FALSE(host.RenameCommand(83, "a+b"));
    const auto tokens = TokensOfText(host, "a:=ENREGISTREMENTS dans table([clients])");
    EXPECT_EQ(Value("Records in table([Clients])"), "error -9902");
    // Compiled text follows a change of names.
    host.RenameCommand(83, "Record count");
    EXPECT_EQ(TextOfTokens(host, tokens), "a:=Record count([Clients])");
}

TEST_F(LanguageTest, TextComesBackFromTokens) {
    const std::string text = "a:=-1.0+(2*\"q\\\"\\r\")\r$x:=!02/28/2026!\r<>y:=?23:59:59?#"
                             "[Clients]Last name";
    EXPECT_EQ(TextOfTokens(host, DecodeTokens(EncodeTokens(TokensOfText(host, text)))), text);
}

TEST_F(LanguageTest, MalformedTokensAreRefused) {
    const std::string stream = EncodeTokens(TokensOfText(host, "a:=\"text\"+1.5*!01/02/2026!"));
    const std::string swapped = SwapTokens(stream);
    EXPECT_NE(swapped, stream);
    EXPECT_EQ(SwapTokens(swapped), stream);
    EXPECT_EQ(Try([&] { return std::to_string(DecodeTokens(swapped).size()); }), "error -9906");
    for (size_t length = 0; length < stream.size(); ++length) {
        // A copy of just that many bytes, so that reading on is noticed.
        const OwnedHandle cut(stream.substr(0, length));
        EXPECT_EQ(Try([&] { return SwapTokens(cut.Bytes()); }), "error -9906") << length;
    }
    // Whatever a byte is changed to, decoding ends in tokens or in an error.
    for (size_t place = 0; place < stream.size(); ++place) {
        for (int bit = 0; bit < 8; ++bit) {
            std::string changed = stream;
            changed[place] = static_cast<char>(changed[place] ^ 1 << bit);
            Try([&] {
                Evaluator(host, RunCommand).Execute(ParseStatements(DecodeTokens(changed)));
                return std::string();
            });
        }
    }
}

// A plug-in that executes the statement of its parameter, and tells what the user says to it.
void Execute(CXParam* params, CXResult* result) {
    FourD::ExecProc(params[0].GetStringPtr());
    result->SetBoolean(FourD::Confirm("More?"));
}

TEST(LanguageScriptTest, ASessionNamesCommandsDefinesMethodsAndAnswersBoxes) {
    Host host;
    Session session(host, EntryPoints{FourDPack, FourDPackex});
    const TestPlug plug({{"execute", "", Execute}});
    std::ostringstream out;
    Player player(session, {out, false});
    const Script script = ParseScript("set command 41 \"MELDUNG\"\n"
                                      "set user \"Ann\"\n"
                                      "method \"Greet\" \"MELDUNG(\\\"Hello \\\"+Current user)\"\n"
                                      "start\n"
                                      "answer confirm cancel\n"
                                      "call 1 string \"Greet\" -> boolean false\n"
                                      "expect alert \"Hello Ann\"\n"
                                      "expect confirm \"More?\"\n"
                                      "call 1 string \"ALERT(1)\" -> boolean true\n"
                                      "expect alert \"Hello Ann\"\n" // of the call before
                                      "set command 9999 \"X\"\n",
                                      "script");
    ASSERT_THAT(script.errors, ElementsAre());
    EXPECT_FALSE(player.Play(script));
    EXPECT_THAT(out.str(), testing::HasSubstr("alert: \"Hello Ann\""));
    EXPECT_THAT(out.str(), testing::HasSubstr("4 expectations held, 2 failed, 0 problems"));
}

} // namespace
