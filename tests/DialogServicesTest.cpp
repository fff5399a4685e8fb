#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "testhost/resources/Compiler.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Table.h"
#include "testhost/toolbox/resources/Fork.h"
#include "tests/Fixture.h"
#include "ui/Dialog.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>
#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {
constexpr short pluginFile = 700;
constexpr OSType valueList = 0x544B504C; // TKPL
constexpr short listID = 15000;

// A form with one of each kind of object, as the resource compiler makes it.
std::string FormBytes() {
    const CompiledResources compiled = CompileResources(R"(
resource "FO4D" 128 "Form"
form size 320 200
flags 1 2
font 0 9 style 2
label "hint" "Who" 0 0 40 16
field "customer" string 20 20 200 20
field "amount" real 20 50 80 20
field "since" date 20 80 80 20 locked
checkbox "paid" "Paid" 20 110 80 20
list "tables" 240 20 60 100
button "cancel" "Cancel" cancel 20 170 60 20
button "ok" "OK" validate 100 170 60 20
page 2
area "picture" 0 0 10 10
)",
                                                        "form");
    EXPECT_THAT(compiled.errors, testing::IsEmpty());
    const size_t start = compiled.fork.find("FORM");
    return compiled.fork.substr(start, compiled.fork.find("AREA", start) - start);
}

std::string ValueListBytes() {
    return std::string("\0\2\0\0\0\7\10Saturday\0\0\0\1\6Sunday", 26);
}

class DialogServicesTest : public HostTest {
  protected:
    DialogServicesTest(unsigned short version = 0x1130)
        : HostTest({.version = version, .pluginResFile = pluginFile}) {
        ToolboxAddResFile(pluginFile);
        host.dialogs.onFailure = [this](const UserAction&, const std::string& text) {
            failures.push_back(text);
        };
        Start();
        UseResFile(pluginFile);
    }
    ~DialogServicesTest() override { ToolboxRemoveResFile(pluginFile); }

    static void PutForm(std::string_view bytes) {
        ToolboxAddResource(pluginFile, FormResourceType, 128, "Form", bytes.data(),
                           static_cast<long>(bytes.size()));
    }
    static void PutValueList(std::string_view bytes) {
        ToolboxAddResource(pluginFile, valueList, listID, nullptr, bytes.data(),
                           static_cast<long>(bytes.size()));
    }
    void Do(UserAction action) { host.dialogs.actions.push_back(std::move(action)); }

    TestPlug plug;
    std::vector<std::string> failures;
};

class DialogDualTest : public DialogServicesTest,
                       public testing::WithParamInterface<unsigned short> {
  protected:
    DialogDualTest() : DialogServicesTest(GetParam()) {}
};

// A dialog that refuses to end until a customer is named.
class CustomerDialog : public SXDialog {
  public:
    CustomerDialog() : SXDialog("Form", 0) {}
    void HandleItemHit(char* objectName, unsigned char* done, unsigned char* cancelled) override {
        hits.emplace_back(objectName);
        unsigned char customer[256];
        FourDDialog::GetStringVar(dialog, "customer", customer);
        *done = *done != 0 && (*cancelled != 0 || customer[0] != 0) ? 1 : 0;
    }
    void EventFilter(EventRecord* event, char* objectName, unsigned char, unsigned char) override {
        events.push_back(std::to_string(event->what) + " " + objectName);
    }
    void PostLoadData() override {
        FourDDialog::NewArrayLong(dialog, "tables");
        FourDDialog::SetArrayElement(dialog, "tables", 2L, 22L);
        FourDDialog::SetNumVarMinMax(dialog, "amount", 0, 10);
    }
    FourDDialog* Reference() const { return dialog; }

    std::vector<std::string> hits;
    std::vector<std::string> events;
};

TEST_P(DialogDualTest, AModalSession) {
    PutForm(FormBytes());
    CustomerDialog dialog;
    ASSERT_TRUE(dialog.Open(nullptr, "Customers", 0));
    EXPECT_EQ(host.windows.At(0).port.windowKind, WindowKind::Modal);
    Str255 title;
    GetWTitle(&host.windows.At(0).port, title);
    EXPECT_EQ(PascalString::TextOf(title), "Customers");

    using Kind = UserAction::Kind;
    Do({.kind = Kind::Click, .object = "ok"}); // refused: no customer
    Do({.kind = Kind::Type, .object = "customer", .text = "ab"});
    Do({.kind = Kind::Type, .object = "amount", .text = "11"}); // above the bound
    Do({.kind = Kind::Type, .object = "amount", .text = "2.5"});
    Do({.kind = Kind::Type, .object = "since", .text = "2026-11-21"}); // locked
    Do({.kind = Kind::Choose, .object = "tables", .number = 3});       // there are two
    Do({.kind = Kind::Choose, .object = "tables", .number = 2});
    Do({.kind = Kind::Check, .object = "paid", .number = 1});
    Do({.kind = Kind::Page, .number = 2});
    Do({.kind = Kind::Drag, .object = "ok", .text = "tables"});
    Do({.kind = Kind::Validate});
    EXPECT_TRUE(dialog.EventLoop(nullptr));

    EXPECT_THAT(dialog.hits,
                ElementsAre("ok", "customer", "amount", "tables", "paid", "", "tables", "ok"));
    EXPECT_THAT(failures, ElementsAre(HasSubstr("does not take \"11\""), HasSubstr("not editable"),
                                      HasSubstr("no row 3")));
    // Hosts before 11.0 show the filter each key and click, those that came to nothing as well.
    EXPECT_EQ(dialog.events.size(), host.HasEngine() ? 0U : 24U);
    EXPECT_EQ(FourDDialog::GetNativeRealVar(dialog.Reference(), "amount"), 2.5);
    EXPECT_EQ(FourDDialog::GetLongVar(dialog.Reference(), "tables"), 2);
    EXPECT_EQ(FourDDialog::GetBooleanVar(dialog.Reference(), "paid"), 1);
    EXPECT_EQ(FourDDialog::FindInArray(dialog.Reference(), "tables", 0L), 0); // element 0 counts
    EXPECT_EQ(FourDDialog::CurrentPage(dialog.Reference()), 2);
    EXPECT_EQ(FourDDialog::GetVar(dialog.Reference(), "nobody", nullptr), -50);
    dialog.Close();
    EXPECT_EQ(host.windows.Count(), 2U);
}

TEST_P(DialogDualTest, NamesMeanTheDialogsVariablesUntilItIsLeft) {
    PutForm(FormBytes());
    host.variables.Set(1, "amount", LongValue(7));
    const PascalString name("amount");
    long value = -1;
    CustomerDialog dialog;
    ASSERT_TRUE(dialog.Open(nullptr, "Customers", 0));
    EXPECT_EQ(FourD::GetLongVar(PascalString("amount"), &value), -50); // a real there
    const long saved = FourDDialog::SwitchTo4DContext(dialog.Reference());
    EXPECT_EQ(FourD::GetLongVar(PascalString("amount"), &value), 0);
    FourDDialog::SwitchToDlogContext(dialog.Reference(), saved);
    EXPECT_EQ(value, 7);
    dialog.Close();
    EXPECT_EQ(FourD::GetLongVar(PascalString("amount"), &value), 0);
}

INSTANTIATE_TEST_SUITE_P(Hosts, DialogDualTest, ClassicAndEngine, HostName);

TEST_F(DialogServicesTest, WhatIsNeverClosedIsReported) {
    PutForm(FormBytes());
    FourDDialog::CreateFourDDialogContext();
    FourDDialog::CreateFourDDialog(PascalString("Form"), PascalString("Left open"), 1, 5, 0,
                                   nullptr, FourDDialog::CreateFourDDialogContext());
    FourDDialog::Close(nullptr);
    session.ReportLeaks();
    EXPECT_THAT(TakeProblems(),
                ElementsAre(HasSubstr("no dialog"), HasSubstr("never used or closed"),
                            HasSubstr("\"Left open\" was never closed")));
}

// What was to be a dialog and became none may be closed, left or forgotten.
TEST_F(DialogServicesTest, AContextWithoutItsDialogIsNobodysFault) {
    PutForm(FormBytes());
    for (const char* form : {"Form", "No such form"}) {
        for (const int way : {1, 2, 3}) {
            FourDDialog* const context = FourDDialog::CreateFourDDialogContext();
            if (form == std::string("Form")) {
                host.FailNext("CreateFourDDialog", -192);
            }
            EXPECT_EQ(FourDDialog::CreateFourDDialog(PascalString(form), PascalString("Title"), 1,
                                                     5, 0, nullptr, context),
                      nullptr);
            if (way == 1) {
                FourDDialog::Close(context);
            } else if (way == 2) {
                const long saved = FourDDialog::SwitchTo4DContext(context);
                FourDDialog::SwitchToDlogContext(context, saved);
            }
        }
    }
    session.ReportLeaks();
    EXPECT_THAT(TakeProblems(), ElementsAre());
}

// Nothing says whether an update has begun or ended, and one record asks for both bounds.
TEST_P(DialogDualTest, CallsThatFailAmidOthers) {
    PutForm(FormBytes());
    for (const char* const failing : {"CreateFourDDialogContext", "DialogBeginUpdateVars",
                                      "DialogEndUpdateVars", "DialogSetNumVarMin"}) {
        host.FailNext(failing, -108);
        CustomerDialog dialog;
        if (dialog.Open(nullptr, "Customers", 0)) {
            FourDDialog::BeginUpdateVars(dialog.Reference());
            FourDDialog::EndUpdateVars(dialog.Reference());
        }
    }
    EXPECT_THAT(TakeProblems(), ElementsAre());
}

void AskTheUser(CXParam*, CXResult* result) {
    UseResFile(pluginFile);
    SXDialog dialog("Form", 0);
    result->SetBoolean(dialog.Open(nullptr, "Visit", 0) && dialog.EventLoop(nullptr) ? 1 : 0);
}

// Each statement, and what is said of it; nothing of those that hold.
TEST(DialogScriptTest, UsersDoAndSeeWhatTheFormAllows) {
    const std::pair<const char*, const char*> rows[] = {
        {"expect dialog page 1", "there was no dialog"},
        {R"(user type "when" "2026-02-28")", nullptr},
        {R"(user sees "when" value date 2026-02-28)", nullptr},
        {R"(user type "when" "2026-02-30")", "\"when\" does not take \"2026-02-30\""},
        {R"(user type "when" "today")", "\"when\" does not take \"today\""},
        {R"(user type "at" "1:02:03")", nullptr},
        {R"(user sees "at" value time 3723)", nullptr},
        {R"(user type "at" "1:02")", "\"at\" does not take \"1:02\""},
        {R"(user type "home" "true")", nullptr},
        {R"(user sees "home" value boolean true)", nullptr},
        {R"(user type "home" "maybe")", "\"home\" does not take \"maybe\""},
        {R"(user type "photo" "x")", "\"photo\" does not take \"x\""},
        {R"(user type "secret" "x")", "\"secret\" is not to be seen"},
        {R"(user type "urgent" "x")", "\"urgent\" is no field"},
        {R"(user click "off")", "\"off\" is disabled"},
        {R"(user click "nobody")", "the dialog has no object \"nobody\""},
        {R"(user sees "nobody" visible)", "the dialog has no object \"nobody\""},
        {R"(user sees "off" enabled)", "expected \"off\" enabled"},
        {R"(user check "urgent" mixed)", nullptr},
        {R"(user sees "urgent" value long 2)", nullptr},
        {R"(user check "urgent" off)", nullptr},
        {R"(user sees "urgent" value long 0)", nullptr},
        {R"(user drag "when" "at")", nullptr},
        {"user sees page 2", "expected page 2, got page 1"},
        {"user page 3", "the dialog has no page 3"},
        {"user page 2", nullptr},
        {"user sees page 2", nullptr},
        {"user sees title \"Call\"", "expected \"Call\", got \"Visit\""},
        {"user cancel", nullptr},
    };
    const CompiledResources form = CompileResources(R"(
resource "FO4D" 128 "Form"
form size 320 200
field "when" date 0 0 80 20
field "at" time 0 20 80 20
field "home" boolean 0 40 80 20
field "photo" picture 0 60 80 20
field "secret" text 0 80 80 20 invisible
checkbox "urgent" "Urgent" 0 100 80 20
button "off" "Off" 0 120 80 20 disabled
page 2
label "more" "More" 0 0 80 20
)",
                                                    "form");
    ASSERT_THAT(form.errors, ElementsAre());
    const std::string bytes = form.fork.substr(form.fork.find("FORM"));
    ToolboxAddResFile(pluginFile);
    ToolboxAddResource(pluginFile, FormResourceType, 128, "Form", bytes.data(),
                       static_cast<long>(bytes.size()));
    std::string text = "start\n";
    for (const auto& [line, said] : rows) {
        text += std::string(line) + "\n";
    }
    text += "call 1 -> boolean false\nexpect dialog cancelled\nexpect dialog page 2\n";
    const Script script = ParseScript(text, "script");
    ASSERT_THAT(script.errors, ElementsAre());
    const TestPlug plug({{"ask", "", AskTheUser}});
    Host host({.pluginResFile = pluginFile});
    Session session(host, EntryPoints{FourDPack, FourDPackex});
    std::ostringstream out;
    Player player(session, {out, false});
    EXPECT_FALSE(player.Play(script));
    ToolboxRemoveResFile(pluginFile);
    const std::string output = out.str();
    for (size_t row = 0; row < std::size(rows); ++row) {
        const std::string failed = "FAILED script:" + std::to_string(row + 2) + ": ";
        const size_t start = output.find(failed);
        const std::string line = start != std::string::npos
                                     ? output.substr(start, output.find('\n', start) - start)
                                     : "";
        if (rows[row].second != nullptr) {
            EXPECT_THAT(line, HasSubstr(rows[row].second)) << rows[row].first;
        } else {
            EXPECT_EQ(line, "") << rows[row].first;
        }
    }
    // None of the statements behind these.
    const auto said = std::ranges::count_if(rows, [](const auto& row) { return row.second; });
    EXPECT_THAT(output, HasSubstr(std::to_string(said) + " failed, 0 problems"));
}

// Whatever a resource holds: no fault, no leak, and a dialog only of a form that is whole.
TEST_F(DialogServicesTest, MutatedResources) {
    ToolboxSetStrict(1);
    const std::string form = FormBytes();
    const std::string list = ValueListBytes();
    std::mt19937 random(20261121);
    const auto mutate = [&](std::string bytes) {
        for (unsigned count = random() % 4 + 1; count > 0 && !bytes.empty(); --count) {
            const size_t place = random() % bytes.size();
            switch (random() % 3) {
            case 0:
                bytes[place] = static_cast<char>(random());
                break;
            case 1:
                bytes.resize(place);
                break;
            default:
                bytes.insert(place, 1, static_cast<char>(random()));
            }
        }
        return bytes;
    };
    long opened = 0;
    constexpr long rounds = 1500;
    for (long round = 0; round < rounds; ++round) {
        PutForm(round == 0 ? form : mutate(form));
        PutValueList(round == 0 ? list : mutate(list));
        CustomerDialog dialog;
        if (!dialog.Open(nullptr, nullptr, 0)) {
            continue;
        }
        ++opened;
        FourDDialog::LoadLongAndStringArraysFromTKPLResource(dialog.Reference(), "tables", "names",
                                                             listID);
        if (round == 0) {
            EXPECT_EQ(FourDDialog::GetArraySize(dialog.Reference(), "names"), 2);
        }
        Do({.kind = UserAction::Kind::Click, .object = "paid"});
        EXPECT_FALSE(dialog.EventLoop(nullptr)); // cancelled for want of actions
    }
    ToolboxSetStrict(0);
    EXPECT_GT(opened, rounds / 20);
    EXPECT_LT(opened, rounds);
}
} // namespace
