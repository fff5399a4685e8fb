// Areas that nobody derived: what the base classes tell the host and the plug-in.

#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "testhost/session/DatabaseFile.h"
#include "tests/Fixture.h"
#include "ui/AreaManager.h"

namespace {

class AreaBaseTest : public HostTest {
  protected:
    AreaBaseTest() {
        Start();
        SetPor(&host.windows.At(1).port);
    }
    ~AreaBaseTest() override { SetPor(nullptr); }

    EventRecord Send(unsigned short what, unsigned long message = 0, unsigned long when = 0,
                     unsigned short modifiers = 0) {
        EventRecord event{what, message, when, {15, 25}, modifiers};
        manager.DispatchEvent(&event, &rect, PascalString(name), &slot);
        return event;
    }
    /// A new area in place of the former one, with its first event behind it.
    CXArea& Create(AreaInitBlock block = {}, unsigned long when = 0) {
        Send(17);
        Send(602, reinterpret_cast<unsigned long>(&block), when);
        Send(84);
        return *slot;
    }

    TestPlug plug;
    CXAreaManager manager;
    CXArea* slot = nullptr;
    Rect rect = {10, 20, 110, 220};
    std::string name = "Map";
};

TEST_F(AreaBaseTest, AnswersTheHostByItself) {
    struct Row {
        unsigned short code;
        unsigned long message;        ///< in the answer; 5 comes
        unsigned short modifiers = 9; ///< likewise; 9 come
    };
    std::vector<Row> rows = {{1, 112},  {3, 112}, {5, 112}, {20, 0},    {21, 0},  {22, 0},
                             {26, 102}, {27, 0},  {28, 0},  {39, 112},  {2, 112}, {603, 0},
                             {600, 5},  {601, 5}, {604, 5}, {80, 5, 1}, {605, 5}};
    for (const unsigned short code : std::initializer_list<unsigned short>{
             0, 6, 18, 25, 29, 30, 31, 32, 33, 34, 35, 40, 41, 42, 43, 70, 71, 82, 84}) {
        rows.push_back({code, 5});
    }
    AreaInitBlock block = {};
    block.page = 1;
    CXArea* const area = &Create(block);
    EXPECT_TRUE(manager.IsAnArea(area));
    for (const Row& row : rows) {
        const EventRecord event = Send(row.code, 5, 3, 9);
        EXPECT_EQ(static_cast<unsigned long>(event.message), row.message) << row.code;
        EXPECT_EQ(event.modifiers, row.modifiers) << row.code;
        EXPECT_EQ(static_cast<unsigned long>(event.when), 3U) << row.code;
        EXPECT_EQ(slot, area);
    }
    long answer = 77;
    area->DoDragOver(nullptr, {1, 2}, &rect, &answer);
    EXPECT_EQ(answer, 0);
    Send(17);
    EXPECT_EQ(slot, nullptr);
    EXPECT_FALSE(manager.IsAnArea(area));
}

TEST_F(AreaBaseTest, MayBeDraggedOnlyInsideAForm) {
    ToolboxSetWindowTitle(&host.windows.At(1).port, PascalString("Plug-in area"));
    struct Row {
        unsigned char draggable;
        bool external;
        const char* name;
        bool may;
    };
    for (const Row& row :
         {Row{1, false, "Map", true}, Row{0, false, "Map", false}, Row{1, true, "Map", false},
          Row{1, false, "__zone__", false}}) { // in a window of its own
        name = row.name;
        AreaInitBlock block = {};
        block.draggable = row.draggable;
        CXArea& area = Create(block, row.external ? 0xFFFFFFFF : 0);
        EXPECT_EQ(area.InExternalWindow(), row.external);
        EXPECT_EQ(area.InStandaloneWindow(), name != "Map");
        EXPECT_EQ(area.IsDraggable(), row.may);
        EXPECT_EQ(area.IsDroppable(), row.may); // the same byte of the block
    }
    Send(17);
}

TEST_F(AreaBaseTest, TellsWhatItWasMadeOf) {
    for (const unsigned char kind : std::initializer_list<unsigned char>{0, 1, 2, 3}) {
        AreaInitBlock block = {};
        block.formKind = kind;
        block.background = -6;
        name = "Area " + std::to_string(kind);
        host.currentProcess = 2;
        CXArea& area = Create(block);
        host.currentProcess = 1;
        EXPECT_EQ(area.InListForm(), kind == 0);
        EXPECT_EQ(area.InInputForm(), kind == 1 || kind == 2);
        EXPECT_EQ(area.GetAreaProcess(), 2);
        EXPECT_EQ(area.GetBackColor(), -6);
        area.SetBackColor(0x123456);
        EXPECT_EQ(area.GetBackColor(), 0x123456);
        PascalString itsName("before");
        area.GetAreaName(itsName);
        EXPECT_EQ(itsName.Text(), name);
    }
    Send(17);
}

TEST_F(AreaBaseTest, KnowsTheRecordThatItLoadedLast) {
    DatabaseFile file =
        ParseDatabase("table \"T\"\nfield \"Map_\" picture\nrecords\nx\ny\n", "tables");
    ASSERT_TRUE(file.errors.empty());
    host.database = std::move(file.database);
    AreaInitBlock block = {};
    EXPECT_EQ(Create(block).GetRecordNum(), -1); // bound to nothing
    block.table = 1;
    FourD::GotoRecord(1, 1, 0, 0);
    CXArea& area = Create(block);
    EXPECT_EQ(area.GetTable() * 10 + area.GetField(), 11);
    EXPECT_EQ(area.GetRecordNum(), 1);
    FourD::GotoRecord(1, 0, 0, 0);
    Send(6, 0, 1); // drawn again, of the same record
    EXPECT_EQ(area.GetRecordNum(), 1);
    Send(6, 0, 2);
    EXPECT_EQ(area.GetRecordNum(), 0);
    FourD::NewRecord(1);
    Send(27); // about to be printed
    EXPECT_EQ(area.GetRecordNum(), -3);
    Send(17);
}

} // namespace
