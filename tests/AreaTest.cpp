// External areas: what each event of the host sets off and answers, their life, the field that they
// are bound to, and areas in dialogs.

#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/ExceptionBarrier.h"
#include "shell/Entry.h"
#include "testhost/session/DatabaseFile.h"
#include "tests/Fixture.h"
#include "ui/AreaManager.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <random>
#include <set>
#include <sstream>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Word = unsigned short;
using Long = unsigned long;
using Calls = std::vector<std::string>;

/// Notes what it is asked, and answers what a test says.
class TestArea : public CXArea {
  public:
    static inline Calls calls;
    static inline bool yes;     ///< what all questions are answered
    static inline bool consume; ///< handlers answer for themselves
    static inline std::set<TestArea*> living;
    static inline void (*inHandler)(); ///< runs within mouse-down and key handlers
    static inline std::string hook;    ///< in this call it runs, too

    TestArea() { living.insert(this); }
    ~TestArea() override { living.erase(this); }

    template <typename... Numbers>
    static bool Note(std::string call, Numbers... numbers) {
        ((call += " " + std::to_string(numbers)), ...);
        const bool acts = call == hook;
        if (calls.size() < 100) {
            calls.push_back(std::move(call));
        }
        if (acts) {
            inHandler();
        }
        return yes;
    }
    template <typename... Numbers>
    bool Handle(const char* call, Numbers... numbers) {
        eventConsumed = consume;
        if (inHandler != nullptr) {
            inHandler();
        }
        EXPECT_TRUE(living.contains(this)); // whatever was deleted meanwhile
        return Note(call, numbers...);
    }
    static long Number(const void* address) { return reinterpret_cast<long>(address); }
    /// Notes a call that is of no interest unless it is the hook.
    static bool Meet(const char* call) { return call == hook ? Note(call) : yes; }

    void InitArea(AreaParams* itsParams) override {
        CXArea::InitArea(itsParams);
        Meet("init");
        EXPECT_TRUE(living.contains(this));
        if (hook == "throw in init") {
            throw hook;
        }
    }
    void InitAreaPort(GrafPort* itsPort, Rect* rect) override {
        CXArea::InitAreaPort(itsPort, rect);
        Meet("port");
    }
    void SetupAreaRect(Rect* rect) override {
        CXArea::SetupAreaRect(rect);
        Meet("rect");
    }
    void DoScroll(Rect* rect) override {
        CXArea::DoScroll(rect);
        Meet("scroll");
    }
    void CloseArea() override {
        Note("close");
        if (hook == "throw in close") {
            throw hook;
        }
    }
    void LoadDataFromField() override { Note("load"); }
    void UnloadDataToField() override { Note("unload"); }
    void DoIdle() override { Note("idle"); }
    bool DoMouseDown(EventRecord* event) override {
        doubled = IsDoubleClick(event);
        return Handle("mouse");
    }
    bool DoKeyEvent(EventRecord*) override { return Handle("key"); }
    bool DoScrollWheelEvent(Point where, long delta, unsigned short modifiers) override {
        return Handle("wheel", where.h, delta, modifiers);
    }
    void DoSwitchPageIn() override { Note("in"); }
    void DoSwitchPageOut() override { Note("out"); }
    void DoSelect() override { Note(selected ? "select" : "?"); }
    void DoDeSelect() override { Note(selected ? "?" : "deselect"); }
    void DoDraw() override {
        Note("draw");
        CXArea::DoDraw();
    }
    void DoPrint() override { Note("print"); }
    void DoUndo() override { Note("undo"); }
    void DoCut() override { Note("cut"); }
    void DoCopy() override { Note("copy"); }
    void DoPaste() override { Note("paste"); }
    void DoClear() override { Note("clear"); }
    void DoSelectAll() override { Note("select all"); }
    void InstallMenus() override { Note("install"); }
    void DeInstallMenus() override { Note("deinstall"); }
    void DoMenuCommand(short menu, short item) override { Note("menu", menu, item); }
    void DoSetupMenus(MenuInfo** menus) override { Note("menus", Number(menus)); }
    bool CanBeSelected() override { return yes; }
    bool CanDeSelect() override { return Meet("may"); }
    bool PrintVariableFrame() override { return yes; }
    long GetPrintSize() override {
        Meet("size");
        return 77;
    }
    void PrintBand(Rect* rect) override { Note("band", rect->top); }
    bool CanAcceptDrag(PA_DragAndDropInfo* drag) override { return Note("drag", Number(drag)); }
    void DoDrop(PA_DragAndDropInfo* drag) override { Note("drop", Number(drag)); }

    using CXArea::areaRect, CXArea::backgroundRGB, CXArea::dialog, CXArea::fieldName,
        CXArea::fieldType, CXArea::foregroundRGB, CXArea::invalidationCount, CXArea::onPage,
        CXArea::params, CXArea::port, CXArea::selected, CXArea::tableName, CXArea::windowHandle;
    bool doubled = false;
};

class TestManager : public CXAreaManager {
  public:
    CXArea* CreateArea() override { return refuses ? nullptr : new TestArea; }
    bool SupportsAdvancedProperties() override { return TestArea::yes; }
    long DoAdvancedProperties(InitXStruct* properties, unsigned char*, Rect*) override {
        TestArea::Note("properties", TestArea::Number(properties));
        return 3;
    }
    long DisposeAdvancedProperties(void* properties) override {
        TestArea::Note("dispose", TestArea::Number(properties));
        return 4;
    }
    long GetMenuIconID() override { return TestArea::yes ? 128 : 0; }
    void DoDesignInit() override { TestArea::Note("design"); }
    bool refuses = false;
};

class AreaTest : public HostTest {
  public: // handlers of areas use it, too
    AreaTest() {
        Start();
        TestArea::calls.clear();
        TestArea::yes = TestArea::consume = false;
        TestArea::inHandler = nullptr;
        TestArea::hook.clear();
        SetPor(&host.windows.At(1).port);
        ToolboxSetStrict(1);
    }
    ~AreaTest() override {
        SetPor(nullptr);
        ToolboxSetStrict(0);
    }

    EventRecord Send(unsigned short what, unsigned long message = 0, unsigned long when = 0,
                     Point where = {0, 0}, unsigned short modifiers = 0) {
        EventRecord event{what, message, when, where, modifiers};
        manager.DispatchEvent(&event, &rect, PascalString(name), &slot);
        return event;
    }
    TestArea& Area() { return *static_cast<TestArea*>(slot); }
    /// Makes the area out of an init block and lets its first event pass.
    void Create(AreaInitBlock block = {}, unsigned long when = 0) {
        EXPECT_EQ(Send(602, reinterpret_cast<unsigned long>(&block), when).modifiers, 0x600);
        ASSERT_NE(slot, nullptr);
        Send(84);
        TestArea::calls.clear();
    }
    void Delete() { Send(17); }
    /// With a table whose second field is bound to the area.
    void OpenDatabase() {
        DatabaseFile file = ParseDatabase("table \"T\"\nfield \"A\" text\nfield \"Map_\" picture\n"
                                          "records\nx|y\nx|z\n",
                                          "tables");
        ASSERT_THAT(file.errors, IsEmpty());
        host.database = std::move(file.database);
    }

    TestPlug plug;
    TestManager manager;
    CXArea* slot = nullptr;
    Rect rect = {10, 20, 110, 220};
    std::string name = "Map";
};

struct Row {
    unsigned short code;
    unsigned long message;
    unsigned long when;
    Calls calls;
    unsigned long noAnswer; ///< the message after the area said no, and yes
    unsigned long yesAnswer;
    unsigned short noModifiers = 9; ///< likewise; they come as 9
    unsigned short yesModifiers = 9;
};

TEST_F(AreaTest, EachEventGoesWhereItBelongs) {
    const std::vector<Row> rows = {{0, 5, 0, {"idle"}, 5, 5},
                                   {1, 5, 0, {"mouse"}, 112, 5},
                                   {2, 5, 0, {}, 112, 112},
                                   {3, 5, 0, {"key"}, 112, 5},
                                   {5, 5, 0, {"key"}, 112, 5},
                                   {6, 5, 0, {"draw"}, 5, 5},
                                   {18, 5, 0, {}, 5, 5},
                                   {20, 5, 0, {}, 0, 101},
                                   {21, 5, 0, {"select"}, 0, 0},
                                   {22, 5, 0, {}, 103, 0},
                                   {25, 5, 0, {}, 5, 5},
                                   {26, 5, 0, {}, 102, 102},
                                   {27, 5, 0, {}, 0, 104},
                                   {28, 5, 0, {}, 77, 77},
                                   {29, 5, 0, {"band 29"}, 5, 5},
                                   {30, 5, 0, {"undo"}, 5, 5},
                                   {31, 5, 0, {"cut"}, 5, 5},
                                   {32, 5, 0, {"copy"}, 5, 5},
                                   {33, 5, 0, {"paste"}, 5, 5},
                                   {34, 5, 0, {"clear"}, 5, 5},
                                   {35, 5, 0, {"select all"}, 5, 5},
                                   {39, 0x7FFFE, 0, {"wheel 8 -2 9"}, 112, 0x7FFFE},
                                   {40, 5, 0, {"install"}, 5, 5},
                                   {41, 5, 0, {"deinstall"}, 5, 5},
                                   {42, 0x8000FFFF, 0, {"menu -32768 -1"}, 0x8000FFFF, 0x8000FFFF},
                                   {43, 5, 0, {"menus 5"}, 5, 5},
                                   {70, 5, 0, {}, 5, 5}, // no field is bound
                                   {71, 5, 3, {"in"}, 5, 5},
                                   {71, 5, 0x10003, {"out"}, 5, 5},
                                   {80, 5, 0, {"drag 5"}, 5, 5, 1, 0},
                                   {82, 5, 0, {"drop 5"}, 5, 5},
                                   {84, 5, 0, {}, 5, 5},
                                   {600, 5, 0, {"properties 5"}, 5, 5, 9, 3},
                                   {601, 5, 0, {"dispose 5"}, 5, 5, 9, 4},
                                   {603, 5, 0, {}, 0, 603},
                                   {604, 5, 0, {}, 5, 604},
                                   {605, 5, 0, {"design"}, 5, 5},
                                   {0xFFFF, 5, 0, {}, 112, 112}};
    AreaInitBlock block = {};
    block.page = 3;
    Create(block);
    int areaTop = 10;
    for (const Row& row : rows) {
        for (const bool yes : {false, true}) {
            SCOPED_TRACE(testing::Message() << "event " << row.code << ", answer " << yes);
            TestArea::yes = yes;
            TestArea::calls.clear();
            rect.top = static_cast<short>(row.code);
            const EventRecord event = Send(row.code, row.message, row.when, {7, 8}, 9);
            if (row.code == 6 || row.code == 25 || row.code == 28) { // they bring the rectangle
                areaTop = row.code;
            }
            EXPECT_EQ(Area().areaRect.top, areaTop);
            Calls expected = row.calls;
            if (row.code == 22 && yes) {
                expected = {"deselect"};
            } else if (row.code >= 600 && row.code <= 601 && !yes) {
                expected.clear();
            }
            EXPECT_EQ(TestArea::calls, expected);
            EXPECT_EQ(Long{event.message}, yes ? row.yesAnswer : row.noAnswer);
            EXPECT_EQ(event.modifiers, yes ? row.yesModifiers : row.noModifiers);
            EXPECT_EQ(Long{event.when}, row.code == 604 && yes ? 128 : row.when);
            EXPECT_EQ(Area().selected, row.code == 21 || (row.code == 22 && !yes));
            if (row.code == 71) {
                EXPECT_EQ(Area().onPage, row.when == 3);
            }
        }
        Area().selected = row.code == 21; // stays for event 22
    }
    TestArea::consume = true;
    for (const auto code : {Word{1}, Word{3}, Word{5}, Word{39}}) {
        EXPECT_EQ(Long{Send(code, 5).message}, 301U);
    }
    TestArea::consume = false;
    TestArea::yes = true;
    EXPECT_EQ(Long{Send(3, 5).message}, 5U); // consumed no more
    Delete();
    EXPECT_EQ(slot, nullptr);
    EXPECT_THAT(TestArea::living, IsEmpty());
    EXPECT_EQ(Long{Send(1, 5).message}, 5U); // nobody is there
}

/// The copied bytes, from the process on.
std::string Tail(const AreaParams& params) {
    return {reinterpret_cast<const char*>(&params.process), CopiedAreaParams - 256};
}

TEST_F(AreaTest, ParametersComeFromTheEventOrItsBlock) {
    host.currentProcess = 2;
    AreaInitBlock block = {0, 1, 2, 3, 4, 0x050505, -6, {7, 8}, 2, 10, 11, 0, 99, 13, 14};
    const auto check = [&](const AreaParams& want) {
        EXPECT_EQ(PascalString::TextOf(Area().params.name), "Map");
        EXPECT_EQ(Tail(Area().params), Tail(want));
        EXPECT_EQ(Area().params.port, nullptr);
        Delete();
    };
    for (const auto& [message, when, modifiers, want] :
         {std::tuple{0UL, 0UL, Word{0}, AreaParams{.process = 2}},
          {~0UL,
           ~0UL,
           Word{1},
           {.process = 2, .formKind = 1, .printing = 1, .table = -1, .externalWindow = 1}},
          {1UL, 0x50002UL, Word{2}, {.process = 2, .formKind = 2, .table = 2}},
          {0UL, 0UL, Word{3}, {.process = 2}}}) {
        Send(16, message, when, {0, 0}, modifiers);
        check(want);
    }
    AreaParams want = {{}, 2, 1, 3, 4, 2, 0x050505, -6, 2, 10, 11, 0, 0, 0, {7, 8}, 13, 0};
    for (const Word version : {Word{0x800}, Word{0x801}}) {
        const auto saved = std::exchange(gHost.version, version);
        Send(602, reinterpret_cast<unsigned long>(&block));
        gHost.version = saved;
        want.droppable = version > 0x800 ? 13 : 0;
        EXPECT_EQ(Area().IsDroppable(), version > 0x800);
        check(want);
    }
    manager.refuses = true;
    slot = reinterpret_cast<CXArea*>(1);
    Send(16);
    EXPECT_EQ(slot, nullptr);
}

TEST_F(AreaTest, TheFirstEventFindsPortPageAndKind) {
    GrafPort* port = &host.windows.At(1).port;
    struct Case {
        short page;
        bool external, zone;
        const char* title;
        long process;
        bool in, standaloneNew, standaloneOld;
    };
    for (const Case& c : {Case{0, false, false, "Plug-in area", 1, true, false, false},
                          Case{1, true, false, "plug-in AREA: x", 1, true, false, true},
                          Case{2, true, true, "Plug-in area", 1, true, true, true},
                          Case{2, false, true, "Plug-in area", 1, false, true, false},
                          Case{2, true, true, "Plug-in are", 1, true, false, false},
                          Case{2, true, true, "Plug-in area", 2, true, false, false}}) {
        for (const bool old : {false, true}) {
            name = c.zone ? "__ZONE__" : "Map";
            host.currentProcess = c.process;
            ToolboxSetWindowTitle(port, PascalString(c.title));
            AreaInitBlock block = {};
            block.page = c.page;
            Send(602, reinterpret_cast<unsigned long>(&block), c.external ? ~0UL : 0);
            TestArea::calls.clear();
            const auto saved = gHost.version;
            gHost.version = old ? 0x10FF : 0x1100;
            Send(6);
            gHost.version = saved;
            EXPECT_THAT(TestArea::calls, ElementsAre(c.in ? "in" : "out", "draw"));
            EXPECT_EQ(Area().InStandaloneWindow(), old ? c.standaloneOld : c.standaloneNew);
            EXPECT_EQ(Area().port, port);
            EXPECT_EQ(long(Area().windowHandle), host.windows.At(1).nativeWindow);
            EXPECT_EQ(Area().areaRect.top, 10);
            Delete();
        }
    }
    host.currentProcess = 1;
}

TEST_F(AreaTest, ADoubleClickIsNearInPlaceAndTime) {
    Create();
    for (const auto& [v, h, ticks, doubled] : {std::tuple{4, -4, 30, true},
                                               {5, 0, 0, false},
                                               {0, -5, 0, false},
                                               {0, 0, 31, false},
                                               {0, 0, -1, false}}) {
        Send(1, 0, 1000, {100, 100});
        Send(1, 0, static_cast<unsigned long>(1000 + ticks),
             {static_cast<short>(100 + v), static_cast<short>(100 + h)});
        EXPECT_EQ(Area().doubled, doubled) << v << " " << h << " " << ticks;
    }
    Delete();
}

TEST_F(AreaTest, DrawsAndInvalidatesInItsOwnPort) {
    GrafPort* port = &host.windows.At(1).port;
    AreaInitBlock block = {};
    block.foreground = 0x123456;
    block.background = -5; // no colour
    Create(block);
    SetPor(nullptr);
    Rect part = {1, 2, 3, 4};
    Area().DoInvalidate();
    Area().DoInvalAreaRect(&part);
    Area().DoInvalAreaRect(nullptr);
    EXPECT_EQ(Area().invalidationCount, 3);
    GrafPort* current = port;
    GetPort(&current);
    EXPECT_EQ(current, nullptr);
    for (const auto& [place, top] : {std::pair{0L, 9}, {1L, 0}, {2L, 9}}) {
        Rect invalid = {};
        ASSERT_TRUE(ToolboxInvalidRect(port, place, &invalid));
        EXPECT_EQ(invalid.top, top);
    }
    EXPECT_EQ(part.top, 1);
    Send(6);
    EXPECT_EQ(Area().invalidationCount, 0);
    EXPECT_EQ(Area().foregroundRGB.blue, 0x5656);
    EXPECT_EQ(Area().backgroundRGB.red, 0xFFFF);
    Area().onPage = false;
    Area().DoInvalidate();
    EXPECT_EQ(Area().invalidationCount, 0);
    SetPor(port);
    Send(26);
    DrawnOperation drawn;
    ASSERT_TRUE(ToolboxDrawn(port, 0, &drawn));
    EXPECT_EQ(drawn.rect.bottom, 110);
    ASSERT_TRUE(ToolboxDrawn(port, 1, &drawn));
    EXPECT_EQ(PascalString::TextOf(drawn.text), "Map");
    EXPECT_EQ(drawn.pen.h, 22);
    EXPECT_EQ(drawn.pen.v, 24);
    Delete();
    ToolboxForgetPort(port);
}

TEST_F(AreaTest, ABoundFieldIsLoadedWithEachRecord) {
    OpenDatabase();
    AreaInitBlock block = {};
    block.table = 1;
    Create(block);
    EXPECT_EQ(Area().GetTable(), 1);
    EXPECT_EQ(Area().GetField(), 2);
    EXPECT_EQ(Area().fieldType, 10);
    EXPECT_EQ(PascalString::TextOf(Area().tableName), "T");
    EXPECT_EQ(PascalString::TextOf(Area().fieldName), "Map_");
    const auto update = [&](unsigned long when) {
        TestArea::calls.clear();
        Send(6, 0, when);
        return TestArea::calls;
    };
    EXPECT_THAT(update(2), ElementsAre("draw")); // there is no record
    FourD::GotoRecord(1, 1, 0, 0);
    EXPECT_THAT(update(1), ElementsAre("draw"));
    EXPECT_THAT(update(2), ElementsAre("load", "draw"));
    EXPECT_THAT(update(2), ElementsAre("draw"));
    FourD::NewRecord(1);
    EXPECT_THAT(update(2), ElementsAre("load", "draw"));
    EXPECT_THAT(update(2), ElementsAre("load", "draw")); // another new one, perhaps
    TestArea::calls.clear();
    Send(70);
    EXPECT_THAT(TestArea::calls, ElementsAre("unload"));
    Delete();
    name = "Other";
    Create(block);
    EXPECT_EQ(Area().GetField(), 0);
    Delete();
}

TEST_F(AreaTest, AnAreasStructureIsDrawnWithTheNameThatItHas) {
    GrafPort* const port = &host.windows.At(1).port;
    PascalString title("Map");
    for (unsigned char* const itsName : {title.bytes, static_cast<unsigned char*>(nullptr)}) {
        ToolboxForgetPort(port);
        EventRecord event = {26, 0, 0, {0, 0}, 0};
        manager.DispatchEvent(&event, &rect, itsName, &slot);
        EXPECT_EQ(event.message, 102);
        EXPECT_EQ(ToolboxDrawnCount(port), itsName != nullptr ? 2 : 1); // erased before
    }
}

TEST_F(AreaTest, AnAreaDeletedWithinItsEventsLivesUntilTheirEnd) {
    static AreaTest* self;
    self = this;
    Create();
    TestArea::inHandler = [] {
        TestArea::inHandler = [] {
            TestArea::inHandler = nullptr;
            self->Delete();
            EXPECT_EQ(TestArea::living.size(), 1);
        };
        self->Send(3); // within the first, and deletes
        EXPECT_EQ(self->slot, nullptr);
        EXPECT_EQ(TestArea::living.size(), 1);
        self->Send(3); // finds nothing
    };
    EXPECT_EQ(Long{Send(1, 5).message}, 112U);
    EXPECT_THAT(TestArea::calls, ElementsAre("close", "key", "mouse"));
    EXPECT_THAT(TestArea::living, IsEmpty());
}

TEST_F(AreaTest, AnAreaDeletedByAHookOfAnEventIsAskedNothingMore) {
    static AreaTest* self;
    self = this;
    OpenDatabase();
    TestArea::inHandler = [] { self->Delete(); };
    AreaInitBlock block = {};
    block.table = 1;
    TestArea::yes = true;
    for (const char* row : // event, page of the area, hook
         {"602 1 init", "1 1 rect", "1 1 port", "1 1 load", "1 1 in", "1 2 out", "6 1 rect",
          "6 1 load", "21 1 select", "22 1 may", "22 1 deselect", "25 1 rect", "25 1 scroll",
          "27 1 load", "28 1 rect", "28 1 size", "70 1 unload", "71 2 in", "71 1 out"}) {
        SCOPED_TRACE(row);
        Word code = 0;
        short page = 0;
        std::string hook;
        std::istringstream(row) >> code >> page >> hook;
        block.page = page;
        TestArea::hook.clear();
        FourD::GotoRecord(1, 0, 0, 0);
        if (code != 602) {
            Send(602, reinterpret_cast<unsigned long>(&block));
        }
        if (code != 602 && code != 1) {
            Send(84); // the first event
        }
        FourD::GotoRecord(1, 1, 0, 0);
        TestArea::hook = hook;
        TestArea::calls.clear();
        Send(code, reinterpret_cast<unsigned long>(&block), 2);
        EXPECT_EQ(slot, nullptr);
        EXPECT_THAT(TestArea::living, IsEmpty());
        ASSERT_GE(TestArea::calls.size(), 2);
        EXPECT_EQ(*(TestArea::calls.end() - 2), hook);
        EXPECT_EQ(TestArea::calls.back(), "close");
    }
    Create();
    Area().dialog = reinterpret_cast<FourDDialog*>(1);
    Area().onPage = false;
    TestArea::hook = "in";
    Area()._SetAreaPage(0); // outside any event
    EXPECT_THAT(TestArea::calls, ElementsAre("in", "close"));
    EXPECT_THAT(TestArea::living, IsEmpty());
}

TEST_F(AreaTest, AnAreaGoesOnceWhateverItsHooksThrowAndDelete) {
    static AreaTest* self;
    self = this;
    AreaInitBlock block = {};
    const auto send = [&](Word code) {
        KeepExceptionsInside({"test"},
                             [&] { Send(code, reinterpret_cast<unsigned long>(&block)); });
    };
    TestArea::hook = "throw in init";
    send(602);
    EXPECT_EQ(slot, nullptr);
    EXPECT_THAT(TestArea::living, IsEmpty());

    TestArea::inHandler = [] { // deleted, and another one in its place, before it throws
        TestArea::hook.clear();
        self->Send(17);
        AreaInitBlock another = {};
        self->Send(602, reinterpret_cast<unsigned long>(&another));
        TestArea::hook = "throw in init";
    };
    TestArea::hook = "init";
    send(602);
    EXPECT_EQ(TestArea::living.size(), 1);
    EXPECT_TRUE(TestArea::living.contains(static_cast<TestArea*>(slot)));
    TestArea::inHandler = nullptr;
    send(17);

    TestArea::hook.clear();
    Create();
    TestArea::hook = "throw in close";
    const auto deleteAll = [](CXArea* area, void*) {
        CXArea* place = area;
        EventRecord event = {17, 0, 0, {0, 0}, 0};
        KeepExceptionsInside(
            {"test"}, [&] { self->manager.DispatchEvent(&event, nullptr, nullptr, &place); });
    };
    manager.DoToAllAreas(deleteAll, nullptr);
    EXPECT_THAT(TestArea::living, IsEmpty());
    EXPECT_FALSE(manager.IsAnArea(slot));

    slot = nullptr;
    TestArea::hook.clear();
    Create();
    TestArea::hook = "close"; // within which it is deleted once more
    TestArea::inHandler = [] {
        CXArea* place = *TestArea::living.begin();
        EventRecord event = {17, 0, 0, {0, 0}, 0};
        self->manager.DispatchEvent(&event, nullptr, nullptr, &place);
        EXPECT_EQ(TestArea::living.size(), 1);
    };
    Delete();
    EXPECT_THAT(TestArea::calls, ElementsAre("close"));
    EXPECT_THAT(TestArea::living, IsEmpty());
    {
        TestManager shortLived;
        CXArea* place = nullptr;
        EventRecord event = {16, 0, 0, {0, 0}, 0};
        shortLived.DispatchEvent(&event, &rect, PascalString(name), &place);
        TestArea::hook = "throw in close";
    }
    EXPECT_THAT(TestArea::living, IsEmpty());
}

TEST_F(AreaTest, CallsOfHostFormsAndTheManagersEnd) {
    static CXAreaManager* served;
    TestPlug commands(
        {{"Map", "", [](CXParam* params, CXResult*) { DispatchAreaCall(*served, params); }}});
    std::vector<CXArea*> slots(2);
    PascalString title("Map");
    {
        TestManager shortLived;
        served = &shortLived;
        for (CXArea*& place : slots) {
            EventRecord event = {16, 0, 0, {0, 0}, 0};
            void* words[4] = {&event, &rect, title.bytes, &place};
            session.Enter(1, words, nullptr, nullptr, "area");
            EXPECT_TRUE(shortLived.IsAnArea(place));
        }
        shortLived.DoToAllAreas(
            [](CXArea* area, void* itsManager) {
                auto* other = area;
                EventRecord event = {17, 0, 0, {0, 0}, 0};
                served->DispatchEvent(&event, nullptr, nullptr, &other);
                EXPECT_FALSE(static_cast<CXAreaManager*>(itsManager)->IsAnArea(area));
            },
            &shortLived);
        EXPECT_THAT(TestArea::living, IsEmpty());
        EventRecord event = {16, 0, 0, {0, 0}, 0};
        shortLived.DispatchEvent(&event, &rect, title, &slots[0]);
        EXPECT_EQ(TestArea::living.size(), 1);
    }
    EXPECT_THAT(TestArea::living, IsEmpty());
    EXPECT_EQ(TestArea::calls.back(), "close");
}

TEST_F(AreaTest, AHundredThousandRandomEvents) {
    static AreaTest* self;
    static std::vector<CXArea*> slots(5);
    static std::mt19937 random(20261121);
    static const auto pick = [](size_t count) { return random() % count; };
    static const auto send = [](size_t place) {
        static constexpr unsigned short codes[] = {
            0,  1,  2,  3,  5,  6,  16, 17, 18, 20, 21, 22, 25,  26,  27,  28,  29,
            30, 35, 39, 40, 41, 42, 43, 70, 71, 80, 82, 84, 601, 602, 603, 604, 605};
        const auto word = [] { return static_cast<short>(pick(2) != 0 ? pick(0x10000) : pick(4)); };
        EventRecord event = {codes[pick(std::size(codes))],
                             random(),
                             pick(4),
                             {word(), word()},
                             static_cast<unsigned short>(word())};
        AreaInitBlock block = {0, word(), 0,      9,      0, word(), word(), {0, 0},
                               1, 0,      word(), word(), 0, 1,      0};
        if (event.what == 602) {
            event.message = reinterpret_cast<unsigned long>(&block);
        }
        if ((event.what == 16 || event.what == 602) && slots[place] != nullptr) {
            event.what = 6;
        }
        Rect anywhere = {word(), word(), word(), word()};
        self->manager.DispatchEvent(&event, &anywhere, PascalString(std::string(pick(256), 'n')),
                                    &slots[place]);
    };
    self = this;
    TestArea::inHandler = [] { // events within events, of this area and others
        if (pick(3) == 0) {
            send(pick(slots.size()));
        }
    };
    for (int count = 0; count < 100'000; ++count) {
        TestArea::yes = pick(2) != 0;
        TestArea::consume = pick(2) != 0;
        send(pick(slots.size()));
    }
    TestArea::inHandler = nullptr;
    for (CXArea*& place : slots) {
        EventRecord event = {17, 0, 0, {0, 0}, 0};
        manager.DispatchEvent(&event, &rect, PascalString("n"), &place);
    }
    EXPECT_THAT(TestArea::living, IsEmpty());
    host.log.Clear();
}

} // namespace
