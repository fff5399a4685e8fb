// FourD's statements, expressions, commands and boxes: what is sent, what comes of it, and that
// every handle made on the way is gone, whatever fails.

#include "host/Call.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/DebugTrace.h"
#include "shell/files/FileSpecs.h"
#include "testhost/language/Failure.h"
#include "testhost/model/ScratchFolder.h"
#include "tests/Fixture.h"

#include <fstream>
#include <gmock/gmock.h>

using testing::ElementsAre;

namespace {

constexpr OSErr HostError = -777;

std::string PathOf(const FSSpec& spec) {
    char path[300] = "";
    long length = sizeof path - 1;
    EXPECT_EQ(FileSpecToNativePath(&spec, path, &length), 0);
    return path;
}

class FormulasTest : public DualHostTest {
  protected:
    FormulasTest() {
        const short table = host.database.AddTable("Clients");
        host.database.AddRecord(table, {});
        host.database.AddRecord(table, {});
        Start();
        ToolboxSetStrict(1); // so that a stale pointer shows
    }
    ~FormulasTest() override { ToolboxSetStrict(0); }

    TypedValue Variable(const char* name) { return host.variables.Read(1, name); }
    std::vector<std::string> Boxes() const {
        std::vector<std::string> texts;
        for (const HostBox& box : host.boxes.shown) {
            texts.push_back(box.text);
        }
        return texts;
    }
    /// Tokens of a text, by the call of this host; the caller disposes of them.
    Handle Tokens(std::string text) {
        Handle tokens = nullptr;
        if (host.HasEngine()) {
            EXPECT_EQ(FourD::TokenizeProcV12(text.data(), static_cast<long>(text.size()), &tokens),
                      0);
        } else {
            const OwnedHandle source(text);
            EXPECT_EQ(FourD::TokenizeProc(source, &tokens), 0);
        }
        return tokens;
    }
    /// The same evaluated by the call of this host.
    OSErr Evaluate(Handle tokens, ValueBlock* value) const {
        return host.HasEngine() ? FourD::ExecTokenizedFuncV12(tokens, value)
                                : FourD::ExecTokenizedFunc(tokens, value);
    }

    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, FormulasTest,
                         testing::Values<unsigned short>(0x0680, 0x0900, 0x1130),
                         [](const auto& param) { return "V" + std::to_string(param.param); });

TEST_P(FormulasTest, ExecutesStatements) {
    EXPECT_EQ(FourD::ExecProc("a:=1"), 0);
    FourD::ExecProc(PascalString("b:=a+1"));
    EXPECT_EQ(Variable("b"), LongValue(2));
    EXPECT_EQ(host.log.Calls().back().selector == -614 ? 1 : 0, host.HasEngine() ? 1 : 0);
    EXPECT_EQ(host.log.Named("ExecProc").size(), 2U);
    EXPECT_EQ(FourD::ExecProc("a:="), LanguageError::SyntaxError);
    EXPECT_EQ(FourD::ExecProc("ALL RECORDS(2)"), LanguageError::TypeMismatch);
    EXPECT_THAT(host.log.Last("ExecProc")->Describe(),
                testing::HasSubstr("(ALL RECORDS takes a table)"));
    EXPECT_EQ(FourD::ExecProc(""), 0);
}

TEST_P(FormulasTest, EvaluatesExpressions) {
    long number = 7;
    EXPECT_EQ(FourD::ExecFunc(PascalString("7/2"), &number), 0);
    EXPECT_EQ(number, 3);
    REAL_U real{.value = 1.25, .unused = {1, 2}};
    EXPECT_EQ(FourD::ExecFunc(PascalString(""), &real), LanguageError::SyntaxError);
    EXPECT_EQ(real.value, 1.25); // untouched
    EXPECT_EQ(FourD::ExecFunc(PascalString(""), &number), LanguageError::SyntaxError);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(FourD::ExecFunc(PascalString("3"), &real), 0);
    EXPECT_EQ(real.value, 3);
}

// The fixture's account shows what was released by nobody, or twice.
TEST_P(FormulasTest, EvaluatedValuesAreTheCallersButNotPointersAndArrays) {
    struct Row {
        TypedValue value;
        const char* expression;
        bool isCallers;
    };
    std::vector<Row> rows = {
        {TextValue("text"), "a", true},
        {PictureValue("picture"), "a", true},
        {TextArrayValue({"one", "two"}), "a", false},
        {LongValue(1), "Get pointer(\"a\")", false},
    };
    if (host.HasEngine()) {
        rows.push_back({UnicodeValue("unicode"), "a", true});
        rows.push_back({ArrayValue(ValueKind::UnicodeTextArray, {UnicodeValue("u")}), "a", false});
    }
    const auto owned = [this] {
        return ToolboxLiveHandles() + host.strings.Live() + host.pictures.Live();
    };
    for (const Row& row : rows) {
        host.variables.Set(1, "a", row.value);
        const OwnedHandle text(row.expression);
        Handle tokens = nullptr;
        EXPECT_EQ(FourD::TokenizeProc(text, &tokens), 0);
        const long before = owned();
        ValueBlock block = EmptyValueBlock(ValueType::Undefined);
        EXPECT_EQ(Evaluate(tokens, &block), 0);
        const long evaluated = owned();
        FreeValueBlock(&block);
        EXPECT_EQ(evaluated - owned(), row.isCallers ? 1 : 0) << row.value;
        EXPECT_TRUE(!row.isCallers || owned() == before) << row.value;
        DisposeHandle(tokens);
        if (block.type == ValueType::Pointer) { // a variable takes it over
            EXPECT_EQ(FourD::SetVariable(PascalString("to"), &block, 1), 0);
        } else if (block.type == ValueType::TextArray) {
            DisposeHandle(block.array.elements);
            EXPECT_EQ(host.variables.TakeFaults(TouchedVariables()).size(), 1U);
        }
    }
}

TEST_P(FormulasTest, CompilesAndGoesBack) {
    const Handle statement = Tokens(R"(a:="x"+"y")");
    ASSERT_NE(statement, nullptr);
    const std::string bytes = OwnedHandle::BytesOf(statement);
    EXPECT_EQ(FourD::ByteSwapTokens(statement), 0);
    EXPECT_NE(OwnedHandle::BytesOf(statement), bytes);
    EXPECT_EQ(FourD::ExecTokenizedProc(statement), LanguageError::MalformedTokens);
    EXPECT_EQ(FourD::ByteSwapTokens(statement), 0);
    EXPECT_EQ(FourD::ExecTokenizedProc(statement), 0);
    EXPECT_EQ(Variable("a"), TextValue("xy"));
    Handle text = nullptr;
    EXPECT_EQ(FourD::DetokenizeProc(statement, &text), 0);
    EXPECT_EQ(OwnedHandle::BytesOf(text), "a:=\"x\"+\"y\"");
    DisposeHandle(text);
    DisposeHandle(statement);

    if (host.HasEngine()) { // -1 for all of the text
        char whole[] = "a:=\"x\"+\"y\"";
        Handle tokens = nullptr;
        EXPECT_EQ(FourD::TokenizeProcV12(whole, -1, &tokens), 0);
        EXPECT_EQ(OwnedHandle::BytesOf(tokens), bytes);
        DisposeHandle(tokens);
    }

    const Handle expression = Tokens("a+\"z\"");
    ValueBlock value{};
    value.type = ValueType::Undefined;
    EXPECT_EQ(Evaluate(expression, &value), 0);
    ASSERT_EQ(value.type, ValueType::Text);
    EXPECT_EQ(OwnedHandle::BytesOf(value.text.text), "xyz");
    DisposeHandle(value.text.text);
    DisposeHandle(expression);
    EXPECT_EQ(Evaluate(nullptr, &value), ResultCode::BadParameter);
}

TEST_P(FormulasTest, RunsMethodsByNumber) {
    host.language.DefineMethod("First", "a:=$1");
    host.language.DefineMethod("Second", "a:=$2+\"!\"");
    EXPECT_EQ(FourD::GetMethodID(PascalString("second")), 2);
    EXPECT_EQ(FourD::GetProcIndex(PascalString("Third")), 0);
    const OwnedHandle parameters("hello");
    EXPECT_EQ(FourD::CallMethodID(2, 5, parameters), 0);
    EXPECT_EQ(Variable("a"), TextValue("hello!"));
    EXPECT_EQ(FourD::CallMethodID(9, 5, nullptr), LanguageError::UnknownName);
    FourD::ExecIndProc(1); // without an argument
    EXPECT_EQ(host.log.Last("ExecIndProc")->Answered().error, LanguageError::TypeMismatch);
}

TEST_P(FormulasTest, EditsFormulas) {
    host.language.formulaEntries = {"edited", std::nullopt, "made"};
    Handle formula = nullptr;
    PtrToHand("a:=1", &formula, 4);
    EXPECT_EQ(FourD::EditFormula(&formula, 1), 1);
    EXPECT_EQ(OwnedHandle::BytesOf(formula), "edited");
    EXPECT_EQ(FourD::EditFormula(&formula, 1), 0);
    EXPECT_EQ(OwnedHandle::BytesOf(formula), "edited");
    DisposeHandle(formula);
    formula = nullptr;
    EXPECT_EQ(FourD::EditFormula(&formula, 0), 1);
    EXPECT_EQ(OwnedHandle::BytesOf(formula), "made");
    DisposeHandle(formula);
}

// The user has accepted it all the same.
TEST_P(FormulasTest, FormulasThatCannotBeStoredAreTraced) {
    ScratchFolder scratch;
    const std::string trace = scratch.Path() + "trace";
    _DbgInit(0, DebugOutput::File, trace.c_str());
    const std::string longText(100, 'x');
    host.language.formulaEntries = {longText, longText};
    const OwnedHandle locked("kept");
    HLock(locked);
    Handle formula = locked;
    EXPECT_EQ(FourD::EditFormula(&formula, 1), 1);
    EXPECT_EQ(formula, locked.handle);
    EXPECT_EQ(locked.Bytes(), "kept");
    formula = nullptr;
    ToolboxFailAllocation(3); // the first two are the host's
    EXPECT_EQ(FourD::EditFormula(&formula, 1), 1);
    EXPECT_EQ(ToolboxFailAllocation(0), 0);
    EXPECT_EQ(formula, nullptr);
    _DbgDeinit();
    std::ifstream file(trace);
    const std::string traced(std::istreambuf_iterator<char>(file), {});
    const std::string line = "EditFormula: the new text could not be stored, result -108";
    EXPECT_THAT(traced, testing::ContainsRegex(line + "\n" + line + "\n"));
}

TEST_P(FormulasTest, AsksTheHostForEveryName) {
    // A literal name anywhere would not be understood any more.
    for (const auto& [number, name] : {std::pair{83, "Anzahl"},
                                       {244, "Folge Nummer"},
                                       {47, "ALLE"},
                                       {58, "WEG"},
                                       {490, "Datei"},
                                       {494, "Art"},
                                       {182, "Benutzer"}}) {
        ASSERT_TRUE(host.RenameCommand(number, name));
    }
    char name[256];
    FourD::GetCommandNameC(83, name);
    EXPECT_STREQ(name, "Anzahl");
    EXPECT_EQ(host.log.Named("CommandName").size(), GetParam() > 0x0800 ? 1U : 0U);
    FourD::GetCommandNameC(84, name);
    EXPECT_STREQ(name, "");
    long count = -1;
    EXPECT_EQ(FourD::RecordsInFile(1, &count), 0);
    EXPECT_EQ(count, 2);
    EXPECT_EQ(FourD::SequenceNumber(1, &count), 0);
    EXPECT_EQ(count, 3);
    EXPECT_EQ(FourD::AllRecords(1), 0);
    EXPECT_EQ(FourD::DeleteRecord(1), 0);
    EXPECT_EQ(FourD::DeleteRecord(1), DatabaseError::NoCurrentRecord);
    EXPECT_EQ(FourD::RecordsInFile(1, &count), 0);
    EXPECT_EQ(count, 1);
    EXPECT_NE(FourD::RecordsInFile(2, &count), 0);
    EXPECT_EQ(count, 0);
    char user[6];
    EXPECT_EQ(GetTextBy4DCommand(182, user, sizeof user), 0);
    EXPECT_STREQ(user, "Desig");
    host.options.currentUser = "";
    EXPECT_EQ(GetTextBy4DCommand(182, user, sizeof user), 0);
    EXPECT_STREQ(user, "");
}

TEST_P(FormulasTest, KeepsTheDataFileAndTheApplicationType) {
    host.options.dataName = "Missing\\File.4DD";
    FSSpec spec{};
    EXPECT_NE(FourD::GetDataFile(&spec), 0);
    EXPECT_EQ(spec.name[0], 0);
    EXPECT_NE(FourD::GetAppFolder(&spec), 0);
    host.options.dataName = "Demo.4DD";
    EXPECT_EQ(FourD::GetDataFile(&spec), 0);
    const std::string native = PathOf(spec);
    EXPECT_EQ(native.substr(native.size() - 9), "\\Demo.4DD");
    host.log.Clear();
    for (auto folder : {FourD::GetDataFolder, FourD::GetAppFolder}) {
        EXPECT_EQ(folder(&spec), 0);
        EXPECT_EQ(PathOf(spec), native.substr(0, native.size() - 8));
    }
    EXPECT_TRUE(host.log.Calls().empty());

    host.FailNext("ExecTokenizedFunc", HostError);
    EXPECT_EQ(FourD::GetAppType(), -1);
    EXPECT_EQ(FourD::GetAppType(), 0);
    host.log.Clear();
    EXPECT_EQ(FourD::GetAppType(), 0);
    EXPECT_TRUE(host.log.Calls().empty());
}

TEST_P(FormulasTest, ShowsBoxes) {
    FourD::AlertV6(PascalString("plain"));
    FourD::AlertV6("%s is %d", std::string(300, 'x').c_str(), 5);
    EXPECT_EQ(FourD::Confirm("really %d?", 1), 1);
    host.boxes.confirmAnswers = {0, 2};
    EXPECT_EQ(FourD::Confirm(PascalString("no")), 0);
    EXPECT_EQ(FourD::Confirm(PascalString("two")), 0); // only 1 is OK
    EXPECT_THAT(Boxes(), ElementsAre("plain", std::string(255, 'x'), "really 1?", "no", "two"));
    FourD::DoAbout();
    EXPECT_EQ(host.aboutShown, 1);
    EXPECT_EQ(FourD::StringsEqual(PascalString("Abc"), PascalString("aBC")), 1);
    EXPECT_EQ(FourD::StringsEqual(PascalString("Abc"), PascalString("aBCd")), 0);
    EXPECT_EQ(FourD::StringsEqual(PascalString(std::string(255, 'a')), PascalString("a")), 0);
}

TEST_P(FormulasTest, AlertSendsItsLengthByteAndLosesItsLastCharacter) {
    host.RenameCommand(244, "Say");
    // What the call before the text is compiled would see is caught from the handle that it takes.
    for (const std::string& message : {std::string("hi"), std::string(255, 'm')}) {
        const std::string whole = "Say(\"" + message + "\")";
        std::string expected = whole.substr(0, 255);
        const char length = static_cast<char>(expected.size());
        expected = length + expected.substr(0, expected.size() - 1);
        std::string sent;
        host.log.onAdded = [&](const LoggedCall& call) {
            if (call.name == "TokenizeProc") {
                sent = OwnedHandle::BytesOf(call.Sent().handle);
            }
        };
        EXPECT_EQ(FourD::Alert(PascalString(message)), LanguageError::SyntaxError);
        host.log.onAdded = nullptr;
        EXPECT_EQ(sent, expected);
    }
}

/// One operation that sends text or tokens, answered by its result code.
struct Operation {
    const char* name;
    std::function<OSErr()> run;
    std::vector<const char*> services; ///< whose errors it passes on
    bool engineOnly = false;
};

TEST_P(FormulasTest, LeavesNoHandleBehindWhateverFails) {
    const Handle tokens = Tokens("\"text\"");
    char text[] = "\"text\"";
    const OwnedHandle source(text);
    const Operation operations[] = {
        {"ExecProc", [] { return FourD::ExecProc("a:=1"); }, {"ExecProc"}},
        {"ExecFunc",
         [] {
             long number = 0;
             return FourD::ExecFunc(PascalString("1"), &number);
         },
         {"ExecLongFunc"}},
        {"TokenizeProcV12",
         [&] {
             Handle made = nullptr;
             const OSErr error = FourD::TokenizeProcV12(text, 6, &made);
             const bool missing = error == 0 && made == nullptr;
             if (made != nullptr) {
                 DisposeHandle(made);
             }
             return missing ? ResultCode::MemoryFull : error; // deliberate: no error of the host's
         },
         {"TokenizeProcV12"},
         true},
        {"ExecTokenizedFunc",
         [&] {
             ValueBlock value{};
             value.type = ValueType::Undefined;
             const OSErr error = Evaluate(tokens, &value);
             if (value.type == ValueType::Text) {
                 DisposeHandle(value.text.text);
             }
             return error;
         },
         {"ExecTokenizedFunc"}},
        {"DetokenizeProc",
         [&] {
             Handle made = nullptr;
             const OSErr error = FourD::DetokenizeProc(tokens, &made);
             if (made != nullptr) {
                 DisposeHandle(made);
             }
             return error;
         },
         {"DetokenizeProc"}},
        {"GetFSSpecBy4DCommand",
         [] {
             FSSpec spec;
             return GetFSSpecBy4DCommand(490, &spec);
         },
         {"TokenizeProc", "ExecTokenizedFunc"}},
        {"RecordsInFile",
         [] {
             long count = 0;
             return FourD::RecordsInFile(1, &count);
         },
         {"FileName", "ExecRealFunc"}},
        {"AllRecords", [] { return FourD::AllRecords(1); }, {"FileName", "ExecProc"}},
    };
    const auto alive = [this] {
        return ToolboxLiveHandles() + ToolboxLiveHostHandles() + host.strings.Live();
    };
    for (const Operation& operation : operations) {
        if (operation.engineOnly && !host.HasEngine()) {
            continue;
        }
        EXPECT_EQ(operation.run(), 0) << operation.name; // whatever it makes once is there now
        const long before = alive();
        for (const char* service : operation.services) {
            host.FailNext(service, HostError);
            EXPECT_EQ(operation.run(), HostError) << operation.name << " " << service;
            EXPECT_EQ(alive(), before) << operation.name << " " << service;
        }
        for (long nth = 1; nth <= 8; ++nth) {
            ToolboxFailAllocation(nth);
            const OSErr error = operation.run();
            const bool failed = ToolboxFailAllocation(0) == 0;
            EXPECT_EQ(error != 0, failed) << operation.name << ", allocation " << nth;
            EXPECT_EQ(alive(), before) << operation.name << ", allocation " << nth;
        }
    }
    DisposeHandle(tokens);
}

TEST(FormulasRoleTest, AClientHasNoDataFile) {
    Host host({.role = Role::Client});
    Session session(host, EntryPoints{FourDPack, FourDPackex});
    TestPlug plug;
    session.Start();
    {
        Host::Scope inside(host);
        FSSpec spec{1, 2, {3}};
        EXPECT_EQ(FourD::GetDataFile(&spec), ResultCode::FileNotFound);
        EXPECT_EQ(spec.name[0], 0);
        EXPECT_EQ(FourD::GetAppType(), 4);
    }
    session.Stop();
}

} // namespace
