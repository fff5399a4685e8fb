// The dialog class: how form resources are read and patched, whatever is in them, its life and its
// hooks, and areas in dialogs.

#include "ui/Dialog.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/screen/Form.h"
#include "testhost/session/DatabaseFile.h"
#include "tests/Fixture.h"
#include "ui/AreaManager.h"

#include <gmock/gmock.h>
#include <random>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr short PluginFile = 77;
constexpr short StyleSet = 9;
using Calls = std::vector<std::string>;

std::string Number(unsigned long value, int size) {
    std::string bytes;
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift);
    }
    return bytes;
}

std::string Atom(const std::string& type, const std::string& data) {
    return type + Number(data.size(), 4) + data + std::string(data.size() % 2, '\xEE');
}

std::string Form(const std::string& atoms) {
    return "FORM" + Number(4 + atoms.size(), 4) + "LAYO" + atoms;
}

std::string Object(FormObjectKind kind, const std::string& name, unsigned long top = 10) {
    const char type = kind == FormObjectKind::Button ? 9 : 0;
    const std::string counted = static_cast<char>(name.size()) + name;
    return Atom("OBJT", std::string{static_cast<char>(kind), type, 0, 0} + Number(top, 2) +
                            Number(20, 2) + Number(top + 20, 2) + Number(120, 2) + counted +
                            counted + '\0');
}

std::string Font(short font, short size, short style) {
    return Number(font, 2) + Number(size, 2) + "four" + Number(style, 2);
}

/// A dialog that notes which hooks run.
class TestDialog : public SXDialog {
  public:
    explicit TestDialog(short set = 0) : SXDialog("Sample", set) {}
    ~TestDialog() override = default;

    void HandleItemHit(char* name, unsigned char* done, unsigned char*) override {
        calls.push_back("hit " + std::string(name));
        if (std::string_view(name) == closesOn) {
            Close();
        }
        *done = *done != 0 || std::string_view(name) == endsOn ? 1 : 0;
    }
    void EventFilter(EventRecord* event, char* name, unsigned char a, unsigned char b) override {
        if (event == nullptr) {
            throw std::string("kept inside");
        }
        filtered.push_back(std::string(name) + std::to_string(a) + std::to_string(b));
    }
    void PreLoadData() override { calls.emplace_back(window == nullptr ? "pre" : "?"); }
    void PostLoadData() override { calls.emplace_back(window != nullptr ? "post" : "?"); }
    void UnloadData() override { calls.emplace_back("unload"); }

    Calls Atoms() {
        Calls atoms;
        ScanFO4DAtoms(
            [](unsigned long type, char* data, long length, void* list) -> long {
                static_cast<Calls*>(list)->push_back(
                    std::string(data, static_cast<size_t>(length)));
                return type == 0x53544F50 ? 1 : 0; // STOP
            },
            &atoms);
        return atoms;
    }

    Calls calls;
    Calls filtered;
    std::string endsOn;
    std::string closesOn;

    using SXDialog::dialog, SXDialog::formFlag1, SXDialog::formFlag2, SXDialog::formResource,
        SXDialog::process, SXDialog::styleSet, SXDialog::window;
};

class DialogTest : public HostTest, public testing::WithParamInterface<unsigned short> {
  protected:
    DialogTest() : HostTest({.version = GetParam(), .pluginResFile = PluginFile}) {
        Start();
        FourDStyleX style = {};
        style.id = 3;
        for (FourDPlatformStyle& entry : style.platforms) {
            entry = {{6, 'M', 'o', 'n', 'a', 'c', 'o'}, 11, 0};
        }
        std::string list{1, 0, 0, 0};
        list.append(reinterpret_cast<const char*>(&style), sizeof style);
        AddResource(StyleSetType, StyleSet, "", list);
    }

    static void AddResource(OSType type, short id, const char* name, const std::string& bytes) {
        ToolboxAddResource(PluginFile, type, id, name, bytes.data(),
                           static_cast<long>(bytes.size()));
    }
    static void SetForm(const std::string& bytes) {
        AddResource(FormResourceType, 1, "Sample", bytes);
    }
    static std::string SampleForm() {
        return Form(Object(FormObjectKind::Button, "go") + Object(FormObjectKind::Area, "map"));
    }
    void Act(UserAction::Kind kind, const char* object = "") {
        host.dialogs.actions.push_back({.kind = kind, .object = object});
    }

    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, DialogTest, testing::Values<unsigned short>(0x0680, 0x1130),
                         HostName);

TEST_P(DialogTest, VisitsTheAtomsThatLieWithinTheForm) {
    const std::string two = Atom("AAAA", "odd") + Atom("BBBB", "even");
    const auto withLength = [&](size_t length) {
        return "FORM" + Number(length, 4) + "LAYO" + two;
    };
    const size_t whole = 4 + two.size(); // 28
    const Calls both = {"odd", "even"};
    for (const auto& [bytes, atoms] : std::vector<std::pair<std::string, Calls>>{
             {Form(two), both},
             {withLength(whole - 1), {"odd"}},
             {withLength(whole + 8), both}, // as much as the handle has
             {withLength(whole + 9), {}},
             {withLength(0x80000000), {}},
             {"", {}},
             {"FORM" + Number(4, 4) + "LAY", {}},
             {"FORm" + Form(two).substr(4), {}},
             {Form(two).replace(8, 4, "LAYo"), {}},
             {Form(Atom("EMPT", "")), {}}, // nothing lies behind its header
             {Form(Atom("EMPT", "") + two), {"", "odd", "even"}},
             {Form(Atom("STOP", "s") + two), {"s"}},
             {Form("AAAA" + Number(5, 4) + "four"), {}},
             {Form("AAAA" + Number(0xFFFFFFFF, 4) + two), {}},
             {Form("AAAA" + Number(0x7FFFFFFF, 4) + two), {}}}) {
        SetForm(bytes);
        TestDialog dialog;
        EXPECT_EQ(dialog.Atoms(), atoms) << testing::PrintToString(bytes);
    }
}

TEST_P(DialogTest, PatchesFontsAndReadsFlags) {
    const std::string flags = "thirteen odd." + Number(0x1234, 2) + Number(0xFFFE, 2);
    const std::string form =
        Form(Atom("FONT", Font(1, 10, 3)) + Atom("FONT", Font(1, 10, -1)) + Atom("FLAG", flags) +
             Atom("FONT", Font(1, 10, 4)) + Atom("font", Font(1, 10, 3)) +
             Atom("FONT", Font(1, 10, 3).substr(0, 9)) + Atom("FLAG", flags.substr(0, 16)));
    SetForm(form);
    ToolboxSetStrict(1);
    for (const short set : {StyleSet, short{0}, short{8}}) { // there is no 8
        TestDialog dialog(set);
        EXPECT_EQ(dialog.formFlag1, 0x1234);
        EXPECT_EQ(dialog.formFlag2, -2);
        Calls atoms = dialog.Atoms();
        const bool patched = set > 0;
        EXPECT_EQ(atoms[0], set == StyleSet ? Font(4, 11, -1) : Font(1, 10, patched ? -1 : 3));
        EXPECT_EQ(atoms[1], Font(1, 10, -1));
        EXPECT_EQ(atoms[3], Font(1, 10, patched ? -1 : 4));
        EXPECT_EQ(atoms[4], Font(1, 10, 3));
        EXPECT_EQ(atoms[5], Font(1, 10, 3).substr(0, 9));
    }
    SetForm(form);
    TestDialog later(0);
    later.PatchFO4DFONTAtoms(); // without a set
    EXPECT_EQ(later.Atoms()[0], Font(1, 10, 3));
    later.styleSet = StyleSet;
    later.PatchFO4DFONTAtoms();
    EXPECT_EQ(later.Atoms()[0], Font(4, 11, -1));
    EXPECT_EQ(later.Atoms()[4], Font(1, 10, 3));
    later.Close();
    later.PatchFO4DFONTAtoms(); // without a form
    // Fifty atoms cost no more calls than one, whether their styles are there or not.
    for (const short style : {short{3}, short{4}}) {
        std::string atoms;
        for (int count = 0; count < 50; ++count) {
            atoms += Atom("FONT", Font(1, 10, style));
        }
        SetForm(Form(atoms));
        host.log.Clear();
        const size_t before = host.log.HostCallCount();
        TestDialog many(StyleSet);
        EXPECT_EQ(host.log.HostCallCount() - before, 2); // a dialog context, the platform
        EXPECT_NE(host.log.Last("PlatformInterface"), nullptr);
        EXPECT_EQ(many.Atoms(), Calls(50, style == 3 ? Font(4, 11, -1) : Font(1, 10, -1)));
        EXPECT_EQ(ToolboxLiveHandles(), 1); // the form; the set was released
    }
    host.FailNext("PlatformInterface", -2);
    TestDialog unpatched(StyleSet);
    EXPECT_EQ(unpatched.Atoms()[49], Font(1, 10, -1));
    ToolboxSetStrict(0);
}

TEST_P(DialogTest, SpoiledFormsHarmNothing) {
    ToolboxSetStrict(1);
    std::mt19937 random(20261121);
    const std::string form =
        Form(Atom("FONT", Font(1, 10, 3)) + Atom("FLAG", std::string(17, 'f')) +
             Atom("FONT", Font(1, 10, 3)));
    for (int round = 0; round < 3000; ++round) {
        std::string spoiled = form;
        for (unsigned change = random() % 6; change > 0; --change) {
            spoiled[random() % spoiled.size()] =
                static_cast<char>(random() % 3 == 0 ? random() : random() % 20);
        }
        spoiled.resize(random() % 2 == 0 ? spoiled.size() : random() % (spoiled.size() + 4));
        SetForm(spoiled);
        TestDialog dialog(StyleSet);
    }
    host.log.Clear();
    EXPECT_EQ(ToolboxCheckAll(), 0);
    ToolboxSetStrict(0);
}

TEST_P(DialogTest, RunsItsHooksInOrder) {
    SetForm(SampleForm());
    const bool classic = GetParam() < 0x1100;
    using Kind = UserAction::Kind;
    for (const auto& [last, good, calls] :
         {std::tuple{Kind::Validate, true, Calls{"pre", "post", "hit go", "hit ", "unload"}},
          {Kind::Cancel, false, {"pre", "post", "hit go", "hit "}}}) {
        TestDialog dialog;
        ASSERT_TRUE(dialog.Open(nullptr, good ? "Title" : nullptr, 0));
        EXPECT_EQ(SXDialog::GetSXDialogFromContext(dialog.dialog), &dialog);
        EXPECT_EQ(dialog.process, 1);
        EXPECT_EQ(dialog.GetProcess(), 1);
        Act(Kind::Click, "go");
        Act(last);
        EXPECT_EQ(dialog.EventLoop(nullptr), good);
        EXPECT_EQ(dialog.calls, calls);
        EXPECT_EQ(dialog.filtered.empty(), !classic); // newer hosts get no filter
        EXPECT_EQ(host.dialogs.lastState->title, good ? "Title" : "Sample");
        dialog.Close();
        dialog.Close();
        EXPECT_EQ(dialog.GetProcess(), 0);
        EXPECT_FALSE(dialog.EventLoop(nullptr));
    }
    TestDialog ended;
    ASSERT_TRUE(ended.Open(nullptr, nullptr, 0));
    ended.endsOn = "go";
    Act(Kind::Click, "go");
    EXPECT_TRUE(ended.EventLoop(nullptr));
    ended.endsOn.clear();
    ended.closesOn = "go";
    Act(Kind::Click, "go");
    EXPECT_FALSE(ended.EventLoop(nullptr)); // there is nothing left to run
    EXPECT_THAT(ended.calls, ElementsAre("pre", "post", "hit go", "unload", "hit go"));
}

Calls ownFiltered;

HOST_CALL void OwnFilter(void* dialog, EventRecord* event, unsigned char* name, unsigned char,
                         unsigned char) {
    EXPECT_NE(SXDialog::GetSXDialogFromContext(dialog), nullptr);
    ownFiltered.push_back(std::to_string(event->what) + " " + PascalString::TextOf(name));
}

TEST_P(DialogTest, TakesARectangleAndAFilterOfItsOwn) {
    SetForm(SampleForm());
    TestDialog dialog;
    Rect rect = {40, 50, 240, 350};
    ASSERT_TRUE(dialog.Open(&rect, PascalString("Title").bytes, 1));
    const CallFields& sent = host.log.Last("CreateFourDDialog")->Sent();
    EXPECT_EQ(static_cast<void*>(Handle{sent.handle}), &rect);
    EXPECT_EQ(sent.flag1, 1);
    EXPECT_EQ(host.log.Last("CreateFourDDialog")->IsEngine(), host.HasEngine());
    TestDialog anywhere;
    ASSERT_TRUE(anywhere.Open(nullptr, nullptr, 0)); // the host gets a rectangle all the same
    EXPECT_NE(Handle{host.log.Last("CreateFourDDialog")->Sent().handle}, nullptr);
    anywhere.Close();
    ownFiltered.clear();
    Act(UserAction::Kind::Click, "go");
    Act(UserAction::Kind::Validate);
    EXPECT_TRUE(dialog.EventLoop(OwnFilter));
    EXPECT_THAT(dialog.filtered, IsEmpty());
    if (host.HasEngine()) { // which gets no filter
        EXPECT_THAT(ownFiltered, IsEmpty());
    } else {
        EXPECT_THAT(ownFiltered, ElementsAre("1 go", "3 "));
    }
}

TEST_P(DialogTest, TellsWhatWasDraggedChosenAndHitLast) {
    DatabaseFile file = ParseDatabase("table \"T\"\nfield \"A\" text\n"
                                      "table \"U\"\nfield \"B\" picture\nfield \"C\" text\n",
                                      "tables");
    ASSERT_THAT(file.errors, IsEmpty());
    host.database = std::move(file.database);
    SetForm(Form(Object(FormObjectKind::Button, "go") + Object(FormObjectKind::Area, "map", 50) +
                 Object(FormObjectKind::ListBox, "fields", 100)));
    TestDialog dialog;
    ASSERT_TRUE(dialog.Open(nullptr, nullptr, 0));
    FourDDialog* const d = dialog.dialog;
    char source[256] = "before", target[256] = "before";
    Point from = {1, 1}, to = {1, 1};
    FourDDialog::GetDragInfo(d, source, &from, target, &to);
    EXPECT_EQ(std::string(source) + target, ""); // nothing yet
    EXPECT_EQ(from.v + from.h + to.v + to.h, 0);
    FourDDialog::NewTableFieldHList(d, "fields", 2, 0, 0, 0, 0, 0);
    short table = 9, field = 9;
    FourDDialog::GetTableFieldFromHList(d, "fields", &table, &field, 0);
    EXPECT_EQ(table + field, 0);

    host.dialogs.actions.push_back({.kind = UserAction::Kind::Drag, .object = "go", .text = "map"});
    host.dialogs.actions.push_back(
        {.kind = UserAction::Kind::Choose, .object = "fields", .number = 2});
    Act(UserAction::Kind::Click, "go");
    dialog.endsOn = "go";
    EXPECT_TRUE(dialog.EventLoop(nullptr));
    FourDDialog::GetDragInfo(d, source, &from, target, &to);
    EXPECT_STREQ(source, "go");
    EXPECT_STREQ(target, "map");
    EXPECT_EQ((std::vector<int>{from.v, from.h, to.v, to.h}), (std::vector<int>{20, 70, 60, 70}));
    FourDDialog::GetDragInfo(d, nullptr, nullptr, nullptr, nullptr);
    FourDDialog::GetTableFieldFromHList(d, "fields", &table, &field, 0);
    EXPECT_EQ(table * 10 + field, 22);
    FourDDialog::SetTableFieldInHList(d, "fields", 2, 1, 0);
    FourDDialog::GetTableFieldFromHList(d, "fields", nullptr, &field, 0);
    EXPECT_EQ(field, 1);
    char last[256] = "before";
    FourDDialog::GetLastObject(d, last);
    EXPECT_STREQ(last, "go");
}

TEST_P(DialogTest, TheDefaultFilterFindsTheObject) {
    SetForm(SampleForm());
    TestDialog dialog;
    EventRecord event = {};
    const auto filter = [&](void* context) {
        SXDialog::DefaultDialogFilter(context, &event, PascalString("object"), 1, 2);
    };
    filter(nullptr);
    filter(dialog.dialog); // a context has no object yet
    EXPECT_THAT(dialog.filtered, IsEmpty());
    ASSERT_TRUE(dialog.Open(nullptr, nullptr, 0));
    filter(dialog.dialog);
    EXPECT_THAT(dialog.filtered, ElementsAre("object12"));
    SXDialog::DefaultDialogFilter(dialog.dialog, nullptr, nullptr, 0, 0); // throws
}

TEST_P(DialogTest, RefusedAndSharedForms) {
    {
        TestDialog missing;
        EXPECT_FALSE(missing.Open(nullptr, nullptr, 0));
        EXPECT_FALSE(missing.EventLoop(nullptr));
        EXPECT_THAT(missing.calls, ElementsAre("pre"));
    }
    SetForm(Form(Atom("AAAA", "one")));
    TestDialog first;
    TestDialog second;
    ASSERT_EQ(first.formResource, second.formResource);
    first.Close();
    EXPECT_THAT(second.Atoms(), ElementsAre("one"));
}

class AreaOfDialog : public CXArea {
  public:
    bool DoMouseDown(EventRecord*) override { return true; }
    using CXArea::dialog, CXArea::onPage;
};

/// Keeps no list of its areas, and may delete one in its first event, or throw.
class AreaOfDialogManager : public CXAreaManager {
  public:
    ~AreaOfDialogManager() override { EXPECT_EQ(living, 0); }
    CXArea* CreateArea() override { return new AreaOfDialog; }
    void LinkArea(CXArea*) override { ++living; }
    void UnlinkArea(CXArea*) override { --living; }
    bool IsAnArea(CXArea*) override { return false; }
    void DispatchEvent(EventRecord* event, Rect* rect, unsigned char* name,
                       CXArea** area) override {
        CXArea* const before = *area;
        if (event->what == 0 && throwsFirst) {
            throw std::string("the author's");
        }
        CXAreaManager::DispatchEvent(event, rect, name, area);
        if (event->what == 17 && throwsLast) {
            throw 17;
        }
        if (event->what == 0 && deletesFirst) {
            CXArea* place = before; // the framework's own keeps the area
            EventRecord last = {17, 0, 0, {0, 0}, 0};
            CXAreaManager::DispatchEvent(&last, rect, name, &place);
        }
    }
    int living = 0;
    bool deletesFirst = false;
    bool throwsFirst = false;
    bool throwsLast = false; ///< a number
};

TEST_P(DialogTest, HoldsAreasOfThePlugIn) {
    SetForm(SampleForm());
    AreaOfDialogManager manager;
    ToolboxSetStrict(1);
    {
        TestDialog dialog;
        EXPECT_EQ(FourDDialog::SetupPluginArea(nullptr, "map", &manager, 0), nullptr);
        EXPECT_EQ(FourDDialog::SetupPluginArea(dialog.dialog, "map", &manager, 0), nullptr);
        ASSERT_TRUE(dialog.Open(nullptr, nullptr, 0));
        manager.deletesFirst = true;
        EXPECT_EQ(FourDDialog::SetupPluginArea(dialog.dialog, "map", &manager, 0), nullptr);
        manager.deletesFirst = false;
        EXPECT_EQ(manager.living, 0);
        manager.throwsFirst = true;
        for (const bool throwsLast : {false, true}) {
            manager.throwsLast = throwsLast;
            EXPECT_THROW(FourDDialog::SetupPluginArea(dialog.dialog, "map", &manager, 0),
                         std::string); // the first of them
        }
        manager.throwsFirst = manager.throwsLast = false;
        EXPECT_EQ(manager.living, 0);
        EXPECT_EQ(ToolboxLivePointers(), 0);
        // A host that answers an error may keep the handler all the same.
        host.FailNext("DialogSetAreaHandler", ResultCode::BadParameter);
        EXPECT_NE(FourDDialog::SetupPluginArea(dialog.dialog, "map", &manager, 0), nullptr);
        auto data =
            reinterpret_cast<long>(Handle{host.log.Last("DialogSetAreaHandler")->Sent().handle});
        EventRecord last = {17, 0, 0, {0, 0}, 0};
        FourDDialogAreaHandler(&data, PascalString("map"), nullptr, &last);
        EXPECT_EQ(manager.living, 0);

        CXArea* const area = FourDDialog::SetupPluginArea(dialog.dialog, "map", &manager, 0);
        ASSERT_NE(area, nullptr);
        Rect rect;
        area->GetAreaRect(&rect);
        EXPECT_EQ(rect.right, 120);
        auto& own = static_cast<AreaOfDialog&>(*area);
        EXPECT_EQ(own.dialog, dialog.dialog);
        for (const auto& [page, in] : {std::pair{2L, false}, {1L, true}, {2L, false}, {0L, true}}) {
            own._SetAreaPage(page);
            EXPECT_EQ(own.onPage, in);
        }
        EventRecord event = {1, 5, 0, {15, 25}, 0};
        EXPECT_TRUE(host.dialogs.SendToArea(reinterpret_cast<long>(dialog.dialog), "map", event));
        EXPECT_EQ(long(event.message), 5);
        GrafPort* port = nullptr;
        GetPort(&port);
        EXPECT_EQ(port, nullptr);
    }
    EXPECT_EQ(manager.living, 0);
    EXPECT_EQ(ToolboxLivePointers(), 0);
    ToolboxSetStrict(0);
}

} // namespace
