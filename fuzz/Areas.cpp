// External areas: events of any kind in any order and within one another, areas that are deleted
// and hooks that throw. Each area goes once, and is asked nothing afterwards.

#include "fuzz/AnyArguments.h"
#include "shell/Commands.h"
#include "ui/AreaManager.h"
#include "ui/FourDDialog.h"

#include <stdexcept>

namespace {
class Area;

/// Where the host keeps an area of a form, or of a dialog of the plug-in's.
struct Place {
    bool isInDialog;
    long area; ///< or the address of a dialog's record
};

/// A host with some places, and the areas in them.
class Areas {
  public:
    explicit Areas(Input& bytes) : input(bytes), host(bytes, HostileHost::AnyVersion(bytes)) {
        host.onCall = [this](HostileHost::Call& call) { return Serve(call); };
        host.Start();
    }
    ~Areas();
    Areas(const Areas&) = delete;
    Areas& operator=(const Areas&) = delete;

    void DoAny();
    void RequireAllInPlace() const;

    Input& input;
    std::vector<Area*> living;
    int depth = 0;

  private:
    struct Manager : CXAreaManager {
        explicit Manager(Areas& itsAreas) : areas(itsAreas) {}
        CXArea* CreateArea() override;
        bool SupportsAdvancedProperties() override { return areas.input.ConsumeBool(); }
        long GetMenuIconID() override { return areas.input.Number(); }

        Areas& areas;
    };

    bool Serve(HostileHost::Call& call);
    void Send(Place& place, unsigned short what);
    void SetUp();
    void DeleteOrNot(Area* area);
    static Area* AreaIn(const Place& place);

    FuzzPlug plug;
    HostileHost host;
    std::unique_ptr<Manager> manager = std::make_unique<Manager>(*this);
    std::deque<Place> places = std::deque<Place>(3, {false, 0}); // which nothing moves
};

class Area : public CXArea {
  public:
    explicit Area(Areas& itsAreas) : areas(itsAreas) { areas.living.push_back(this); }
    ~Area() override {
        Require(std::erase(areas.living, this) == 1, "an area goes twice");
        Require(hooks == 0, "an area goes while a hook of it runs");
    }

    void InitArea(AreaParams* itsParams) override {
        try {
            Hook([&] { CXArea::InitArea(itsParams); });
        } catch (...) {
            isClosed = true; // it was never an area
            throw;
        }
    }
    void CloseArea() override {
        Require(!isClosed, "an area is closed twice");
        isClosed = true;
        ++hooks;
        const auto leave = [this](void*) { --hooks; };
        const std::unique_ptr<void, decltype(leave)> running(this, leave);
        Act();
    }
    void InitAreaPort(GrafPort* itsPort, Rect* rect) override {
        Hook([&] { CXArea::InitAreaPort(itsPort, rect); });
    }
    void HandleDataFromField() override {
        Hook([&] { CXArea::HandleDataFromField(); });
    }
    void HandleDataToField() override {
        Hook([&] { CXArea::HandleDataToField(); });
    }
    void SetupAreaRect(Rect* rect) override {
        Hook([&] { CXArea::SetupAreaRect(rect); });
    }
    void DoScroll(Rect* rect) override {
        Hook([&] { CXArea::DoScroll(rect); });
    }
    void DoInvalAreaRect(Rect* rect) override {
        Hook([&] { CXArea::DoInvalAreaRect(rect); });
    }
    void DoInvalidate() override {
        Hook([&] { CXArea::DoInvalidate(); });
    }
    void DoDraw() override {
        Hook([&] { CXArea::DoDraw(); });
    }
    void TestArea(EventRecord* event) override {
        Hook([&] { CXArea::TestArea(event); });
    }
    void LoadDataFromField() override { Hook(); }
    void UnloadDataToField() override { Hook(); }
    void DoIdle() override { Hook(); }
    void DoCursor(Point*) override { Hook(); }
    bool DoMouseDown(EventRecord* event) override { return IsDoubleClick(event) || Answer(); }
    bool DoKeyEvent(EventRecord*) override { return Answer(); }
    bool DoScrollWheelEvent(Point, long, unsigned short) override { return Answer(); }
    void DoSwitchPageIn() override { Hook(); }
    void DoSwitchPageOut() override { Hook(); }
    void DoSelect() override { Hook(); }
    void DoDeSelect() override { Hook(); }
    void DoUndo() override { Hook(); }
    void DoPaste() override { Hook(); }
    void DoSelectAll() override { Hook(); }
    void InstallMenus() override { Hook(); }
    void DeInstallMenus() override { Hook(); }
    void DoMenuCommand(short, short) override { Hook(); }
    void DoSetupMenus(MenuInfo**) override { Hook(); }
    bool CanBeSelected() override { return Answer(); }
    bool CanDeSelect() override { return Answer(); }
    bool PrintVariableFrame() override { return Answer(); }
    long GetPrintSize() override { return Answer() ? 1 : 0; }
    void PrintBand(Rect*) override { Hook(); }
    void DoPrint() override { Hook(); }
    bool IsDraggable() override { return Answer(); }
    bool IsDroppable() override { return Answer(); }
    bool CanAcceptDrag(PA_DragAndDropInfo*) override { return Answer(); }
    void DoDragOver(PA_DragAndDropInfo*, Point, Rect*, long*) override { Hook(); }
    void DoDrop(PA_DragAndDropInfo*) override { Hook(); }

    bool isClosed = false;

  private:
    template <typename Inherited>
    void Hook(Inherited inherited) {
        Require(!isClosed, "a hook of an area that is gone");
        ++hooks;
        const auto leave = [this](void*) { --hooks; };
        const std::unique_ptr<void, decltype(leave)> running(this, leave);
        inherited();
        Act();
    }
    void Hook() {
        Hook([] {});
    }
    bool Answer() {
        Hook();
        return areas.input.ConsumeBool();
    }
    void Act() {
        eventConsumed = areas.input.Choice(8) == 0;
        if (areas.depth < 5 && areas.input.Choice(4) == 0) {
            areas.DoAny();
        }
        if (areas.input.Choice(12) == 0) {
            throw std::runtime_error("kept inside");
        }
    }

    Areas& areas;
    int hooks = 0; ///< that run
};

Areas::~Areas() {
    ++depth;
    for (Place& place : places) { // those of forms may go with the manager
        if (place.isInDialog || input.ConsumeBool()) {
            Send(place, AreaEvent::Delete);
        }
    }
    manager.reset();
    Require(living.empty(), "an area outlives its manager");
    HostileHost::Stop();
}

CXArea* Areas::Manager::CreateArea() {
    switch (areas.input.Choice(8)) {
    case 0:
        return nullptr;
    case 1:
        throw std::runtime_error("no area");
    default:
        return new Area(areas);
    }
}

Area* Areas::AreaIn(const Place& place) {
    if (!place.isInDialog) {
        return reinterpret_cast<Area*>(place.area);
    }
    const auto* record = reinterpret_cast<const DialogAreaRecord*>(place.area);
    return record != nullptr ? static_cast<Area*>(record->area) : nullptr;
}

void Areas::RequireAllInPlace() const {
    std::size_t count = 0;
    for (const Place& place : places) {
        if (const Area* area = AreaIn(place); area != nullptr) {
            Require(std::ranges::find(living, area) != living.end() && !area->isClosed,
                    "the host keeps an area that is gone");
            ++count;
        }
    }
    Require(count == living.size(), "an area has lost its place");
}

/// Takes a dialog's area over, and answers that its window is a dialog.
bool Areas::Serve(HostileHost::Call& call) {
    if (call.service == "DialogSetAreaHandler") {
        places.push_back({true, reinterpret_cast<long>(Handle{call.fields.handle})});
        return true;
    }
    if (call.service == "DialogFromWindow") {
        call.fields.param1 = call.fields.param2;
        return true;
    }
    return false;
}

void Areas::Send(Place& place, unsigned short what) {
    const bool creates = what == AreaEvent::Create || what == AreaEvent::CreateWithBlock;
    if (creates && (place.isInDialog || place.area != 0)) {
        return; // the host does so once
    }
    EventRecord event;
    input.Fill(event);
    event.what = what;
    AreaInitBlock block;
    input.Fill(block);
    if (what == AreaEvent::CreateWithBlock) {
        event.message = input.Choice(8) != 0 ? reinterpret_cast<unsigned long>(&block) : 0;
    }
    Rect rect;
    input.Fill(rect);
    Str255 name = "\3A_B";
    if (place.isInDialog) {
        FourDDialogAreaHandler(&place.area, input.ConsumeBool() ? name : nullptr, &rect, &event);
        return;
    }
    void* words[] = {&event, &rect, name, &place.area};
    try {
        DispatchAreaCall(*manager, reinterpret_cast<CXParam*>(words));
    } catch (const std::runtime_error&) { // which a command keeps inside
    }
}

void Areas::SetUp() {
    auto* const window = host.AnyWindow();
    try {
        FourDDialog::SetupPluginArea(reinterpret_cast<FourDDialog*>(window), "A_B", manager.get(),
                                     0);
    } catch (const std::runtime_error&) { // as above
    }
}

/// Visits one of all areas, and perhaps the host closes the form that one of them is in.
void Areas::DeleteOrNot(Area* area) {
    Require(std::ranges::find(living, area) != living.end(), "a visited area is gone");
    if (depth < 4 && input.Choice(4) == 0) {
        Send(places[input.Choice(places.size())], AreaEvent::Delete);
    }
}

void Areas::DoAny() {
    constexpr unsigned short frequent[] = {AreaEvent::CreateWithBlock, AreaEvent::Create,
                                           AreaEvent::Delete, AreaEvent::Update, AreaEvent::Page};
    ++depth;
    Place& place = places[input.Choice(places.size())];
    switch (input.Choice(6)) {
    case 0:
        if (places.size() < 6) {
            SetUp();
        }
        break;
    case 1:
        manager->DoToAllAreas(
            [](CXArea* area, void* areas) {
                static_cast<Areas*>(areas)->DeleteOrNot(static_cast<Area*>(area));
            },
            this);
        break;
    case 2:
        Send(place, frequent[input.Choice(std::size(frequent))]);
        break;
    case 3:
        Send(place, static_cast<unsigned short>(600 + input.Choice(8)));
        break;
    default:
        Send(place, static_cast<unsigned short>(input.Choice(90)));
        break;
    }
    --depth;
}
} // namespace

void Fuzz(Input& input) {
    Areas areas(input);
    while (!input.IsOver()) {
        areas.DoAny();
        areas.RequireAllInPlace();
    }
}
