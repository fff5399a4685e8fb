#include "ui/Area.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "ui/FourDDialog.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>

PortSetter::PortSetter(GrafPort* port) {
    GetPort(&former);
    SetPor(port);
}

PortSetter::~PortSetter() {
    SetPor(former);
}

namespace {

constexpr long NewRecordNumber = -3;
constexpr long UnknownFieldType = 65535;
constexpr unsigned long RecordChanged = 2; // in an update event's time field
constexpr short ClickDistance = 4;
/// Of the host's own windows that show one area only.
constexpr short WindowTitles = 163;
constexpr short StandaloneTitle = 2;

/// Copies a Pascal string, cut to 31 characters.
void CopyShortName(const unsigned char* name, unsigned char* target) {
    target[0] = std::min<unsigned char>(name[0], sizeof(Str31) - 1);
    std::memcpy(target + 1, name + 1, target[0]);
}

/// Whether two Pascal strings are alike but for case.
bool IsSameText(const unsigned char* a, const unsigned char* b) {
    return EqualString(a, b, 0, 1) != 0;
}

bool HasStandaloneTitle(GrafPort* window) {
    Str255 title = {0};
    Str255 beginning = {0};
    GetWTitle(window, title);
    GetIndString(beginning, WindowTitles, StandaloneTitle);
    if (title[0] < beginning[0]) {
        return false;
    }
    title[0] = beginning[0];
    return IsSameText(title, beginning);
}

/// Whether two coordinates are close. Deliberate: their difference has 16 bits.
bool IsNear(short a, short b) {
    return std::abs(int{static_cast<short>(a - b)}) <= ClickDistance;
}

} // namespace

// --- Events ---------------------------------------------------------------------------------

/// What an area does with an event.
struct CXArea::EventRow {
    unsigned short code;
    void (*act)(CXArea& area, EventRecord* event, Rect* rect);
};

const CXArea::EventRow CXArea::Events[] = {
    {AreaEvent::Idle, [](CXArea& area, EventRecord*, Rect*) { area.DoIdle(); }},
    {AreaEvent::MouseDown,
     [](CXArea& area, EventRecord* event, Rect*) {
         const bool handled = area.DoMouseDown(event);
         area.lastClick = event->where;
         area.lastClickTime = event->when;
         area.Answer(event, handled);
     }},
    {AreaEvent::KeyDown,
     [](CXArea& area, EventRecord* event, Rect*) { area.Answer(event, area.DoKeyEvent(event)); }},
    {AreaEvent::AutoKey,
     [](CXArea& area, EventRecord* event, Rect*) { area.Answer(event, area.DoKeyEvent(event)); }},
    {AreaEvent::Update,
     [](CXArea& area, EventRecord* event, Rect* rect) { area.Update(event, rect); }},
    {AreaEvent::Cursor,
     [](CXArea& area, EventRecord* event, Rect*) { area.DoCursor(&event->where); }},
    {AreaEvent::Test, [](CXArea& area, EventRecord* event, Rect*) { area.TestArea(event); }},
    {AreaEvent::Select,
     [](CXArea& area, EventRecord* event, Rect*) {
         area.selected = true;
         area.DoSelect();
         event->message = 0;
     }},
    {AreaEvent::Deselect,
     [](CXArea& area, EventRecord* event, Rect*) {
         area.Run([&] { event->message = area.CanDeSelect() ? 0 : AreaAnswer::StaySelected; },
                  [&] {
                      if (event->message == 0) {
                          area.selected = false;
                          area.DoDeSelect();
                      }
                  });
     }},
    {AreaEvent::Scroll,
     [](CXArea& area, EventRecord*, Rect* rect) {
         area.Run([&] { area.SetupAreaRect(rect); }, [&] { area.DoScroll(rect); });
     }},
    {AreaEvent::PrintVariableFrame,
     [](CXArea& area, EventRecord* event, Rect*) {
         area.Run([&] { area.HandleDataFromField(); },
                  [&] {
                      event->message = area.PrintVariableFrame() ? AreaAnswer::VariableFrame : 0;
                  });
     }},
    {AreaEvent::PrintSize,
     [](CXArea& area, EventRecord* event, Rect* rect) {
         area.Run([&] { area.SetupAreaRect(rect); },
                  [&] { event->message = static_cast<unsigned long>(area.GetPrintSize()); });
     }},
    {AreaEvent::PrintBand, [](CXArea& area, EventRecord*, Rect* rect) { area.PrintBand(rect); }},
    {AreaEvent::Undo, [](CXArea& area, EventRecord*, Rect*) { area.DoUndo(); }},
    {AreaEvent::Cut, [](CXArea& area, EventRecord*, Rect*) { area.DoCut(); }},
    {AreaEvent::Copy, [](CXArea& area, EventRecord*, Rect*) { area.DoCopy(); }},
    {AreaEvent::Paste, [](CXArea& area, EventRecord*, Rect*) { area.DoPaste(); }},
    {AreaEvent::Clear, [](CXArea& area, EventRecord*, Rect*) { area.DoClear(); }},
    {AreaEvent::SelectAll, [](CXArea& area, EventRecord*, Rect*) { area.DoSelectAll(); }},
    {AreaEvent::ScrollWheel,
     [](CXArea& area, EventRecord* event, Rect*) {
         const auto delta = static_cast<short>(event->message);
         area.Answer(event, area.DoScrollWheelEvent(event->where, delta, event->modifiers));
     }},
    {AreaEvent::InstallMenus, [](CXArea& area, EventRecord*, Rect*) { area.InstallMenus(); }},
    {AreaEvent::DeInstallMenus, [](CXArea& area, EventRecord*, Rect*) { area.DeInstallMenus(); }},
    {AreaEvent::MenuCommand,
     [](CXArea& area, EventRecord* event, Rect*) {
         area.DoMenuCommand(static_cast<short>(event->message >> 16),
                            static_cast<short>(event->message));
     }},
    {AreaEvent::SetupMenus,
     [](CXArea& area, EventRecord* event, Rect*) {
         area.DoSetupMenus(reinterpret_cast<MenuInfo**>(event->message));
     }},
    {AreaEvent::SaveField, [](CXArea& area, EventRecord*, Rect*) { area.HandleDataToField(); }},
    {AreaEvent::Page,
     [](CXArea& area, EventRecord* event, Rect*) {
         if (area.params.page != 0) {
             area.SwitchPage(static_cast<long>(event->when) == area.params.page);
         }
     }},
    {AreaEvent::CanAcceptDrag,
     [](CXArea& area, EventRecord* event, Rect*) {
         auto* drag = reinterpret_cast<PA_DragAndDropInfo*>(event->message);
         event->modifiers = area.CanAcceptDrag(drag) ? 0 : 1;
     }},
    {AreaEvent::Drop,
     [](CXArea& area, EventRecord* event, Rect*) {
         area.DoDrop(reinterpret_cast<PA_DragAndDropInfo*>(event->message));
     }},
    {AreaEvent::Nothing84, [](CXArea&, EventRecord*, Rect*) {}},
    {AreaEvent::MenuIcon, [](CXArea&, EventRecord*, Rect*) {}},
};

CXArea::Scope::Scope(CXArea& itsArea, long itsEvents) : area(itsArea), events(itsEvents) {
    ++area.scopes;
    area.eventDepth += events;
}

CXArea::Scope::~Scope() {
    area.eventDepth -= events;
    if (--area.scopes == 0 && area.doomed) {
        delete &area;
    }
}

void CXArea::Delete() {
    const Scope scope(*this);
    doomed = true;
}

void CXArea::HandleEvent(EventRecord* event, Rect* rect) {
    const Scope scope(*this, 1);
    Run(
        [&] {
            if (!initialised && eventDepth == 1) { // not once more for events within the first one
                HandleFirstEvent(rect);
            }
        },
        [&] { Act(event, rect); });
}

void CXArea::Act(EventRecord* event, Rect* rect) {
    eventConsumed = false;
    const auto* row = std::find_if(std::begin(Events), std::end(Events),
                                   [=](const EventRow& r) { return r.code == event->what; });
    if (row == std::end(Events)) {
        event->message = AreaAnswer::NotHandled;
        return;
    }
    row->act(*this, event, rect);
}

void CXArea::HandleFirstEvent(Rect* rect) {
    GrafPort* current = nullptr;
    GetPort(&current);
    const bool shown = InExternalWindow() || InStandaloneWindow() || params.page <= 1;
    onPage = shown;
    Run([&] { InitAreaPort(current, rect); }, [&] { HandleDataFromField(); },
        [&] {
            TellPage(shown); // a hook may have changed the page meanwhile: the flag stays as it is
            initialised = true;
        });
}

void CXArea::SwitchPage(bool in) {
    onPage = in;
    Run([=, this] { TellPage(in); });
}

void CXArea::TellPage(bool in) {
    if (in) {
        DoSwitchPageIn();
    } else {
        DoSwitchPageOut();
    }
}

/// Leaves the message alone when the handler dealt with the event.
void CXArea::Answer(EventRecord* event, bool handled) const {
    if (eventConsumed) {
        event->message = AreaAnswer::Consumed;
    } else if (!handled) {
        event->message = AreaAnswer::NotHandled;
    }
}

void CXArea::Update(const EventRecord* event, Rect* rect) {
    const auto convert = [](long color, RGBColor* kept) {
        RGBColor converted;
        if (FourD::GetRGBColor(color, &converted) == ResultCode::NoError) {
            *kept = converted;
        }
    };
    Run([&] { SetupAreaRect(rect); },
        [&] {
            convert(params.foreground, &foregroundRGB);
            convert(params.background, &backgroundRGB);
            if (event->when == RecordChanged) {
                HandleDataFromField();
            }
        },
        [&] { params.printing != 0 ? DoPrint() : DoDraw(); });
}

// --- Life -----------------------------------------------------------------------------------

CXArea::~CXArea() {
    port = nullptr;
    window = nullptr;
}

void CXArea::Init(AreaParams* itsParams) {
    Run([&] { InitArea(itsParams); });
}

void CXArea::InitArea(AreaParams* itsParams) {
    std::memcpy(static_cast<void*>(&params), itsParams, CopiedAreaParams);
    initialised = false;
    if (params.table > 0) {
        Str31 foundTable = {0};
        Str31 foundField = {0};
        long number = 0;
        long type = 0;
        CheckDatabaseFieldForArea(params.table, params.name, foundTable, foundField, &number,
                                  &type);
        if (number > 0) {
            table = params.table;
            field = number;
            fieldType = type;
            _CopyPStr(foundTable, tableName);
            _CopyPStr(foundField, fieldName);
        }
    }
    process = FourD::CurrentProcess();
}

void CXArea::InitAreaPort(GrafPort* itsPort, Rect* rect) {
    port = itsPort;
    window = itsPort;
    if (params.printing == 0) {
        windowHandle = FourD::MacPortToHWND(port);
    }
    dialog = FourD::GetFourDDialogFromWindow(window);
    SetupAreaRect(rect);
    standalone = DecideStandalone();
}

bool CXArea::DecideStandalone() const {
    static constexpr unsigned char ZoneName[] = "\x08__zone__";
    const bool candidate =
        gHost.HasEngine() ? IsSameText(params.name, ZoneName) : InExternalWindow();
    return candidate && params.process == 1 && HasStandaloneTitle(window);
}

void CXArea::CloseArea() {}

// --- The bound field --------------------------------------------------------------------------

void CheckDatabaseFieldForArea(short table, const unsigned char* areaName, unsigned char* tableName,
                               unsigned char* fieldName, long* fieldNumber, long* fieldType) {
    tableName[0] = 0;
    fieldName[0] = 0;
    *fieldNumber = 0;
    *fieldType = UnknownFieldType;
    Str255 name;
    if (table <= 0 || FourD::GetFileName(table, name) != ResultCode::NoError) {
        return;
    }
    CopyShortName(name, tableName);
    Str255 boundField;
    _CopyPStr(areaName, boundField);
    _CatC2PStr("_", boundField);
    Str255 path;
    _CopyC2PStr("[", path);
    _CatPStr(name, path);
    _CatC2PStr("]", path);
    _CatPStr(boundField, path);
    short foundTable = 0;
    short found = 0;
    short type = 0;
    if (FourD::GetFileFieldNum(path, &foundTable, &found) != ResultCode::NoError ||
        FourD::GetFieldType(table, found, &type) != ResultCode::NoError) {
        return;
    }
    *fieldNumber = found;
    *fieldType = type;
    CopyShortName(boundField, fieldName); // NOLINT(readability-suspicious-call-argument)
}

void CXArea::HandleDataFromField() {
    if (field == 0) {
        return;
    }
    long current = -1;
    FourD::RecordNumber(static_cast<short>(table), &current);
    if (current == recordNumber && recordNumber != NewRecordNumber) {
        return;
    }
    recordNumber = current;
    LoadDataFromField();
}

void CXArea::HandleDataToField() {
    if (field != 0) {
        UnloadDataToField();
    }
}

void CXArea::LoadDataFromField() {}

void CXArea::UnloadDataToField() {}

long CXArea::GetTable() {
    return table;
}

long CXArea::GetField() {
    return field;
}

long CXArea::GetRecordNum() {
    return recordNumber;
}

// --- Drawing ----------------------------------------------------------------------------------

void CXArea::DoIdle() {
    if (IsCompositingMode() && invalidationCount != 0) {
        const PortSetter setter(port);
        DoDraw();
    }
}

void CXArea::DoDraw() {
    invalidationCount = 0;
}

void CXArea::DoPrint() {}

void CXArea::DoInvalidate() {
    Invalidate(areaRect);
}

void CXArea::DoInvalAreaRect(Rect* rect) {
    Invalidate(rect != nullptr ? *rect : areaRect);
}

void CXArea::Invalidate(const Rect& rect) {
    if (port == nullptr || !onPage) {
        return;
    }
    const PortSetter setter(port);
    Rect grown = rect;
    InsetRec(&grown, -1, -1);
    InvalRect(&grown);
    ++invalidationCount;
}

void CXArea::SetupAreaRect(Rect* rect) {
    if (rect != nullptr && EqualRec(rect, &areaRect) == 0) {
        areaRect = *rect;
    }
}

void CXArea::DoScroll(Rect* rect) {
    if (rect != nullptr) {
        areaRect = *rect;
    }
}

// --- Mouse, pages, dragging -------------------------------------------------------------------

void CXArea::DoCursor(Point*) {
    InitCursor();
}

bool CXArea::IsDoubleClick(EventRecord* event) {
    return IsNear(event->where.v, lastClick.v) && IsNear(event->where.h, lastClick.h) &&
           event->when - lastClickTime <= GetDblTime();
}

void CXArea::TestArea(EventRecord* event) {
    event->message = CanBeSelected() ? AreaAnswer::CanBeSelected : 0;
}

void CXArea::_SetAreaPage(long page) {
    if (dialog == nullptr) {
        return;
    }
    params.page = static_cast<short>(page);
    const bool in = params.page == 0 || params.page == FourDDialog::CurrentPage(dialog);
    if (in != onPage) {
        SwitchPage(in);
    }
}

bool CXArea::IsDraggable() {
    return params.draggable != 0 && !InExternalWindow() && !InStandaloneWindow();
}

bool CXArea::IsDroppable() {
    return params.droppable != 0 && !InExternalWindow() && !InStandaloneWindow();
}

void CXArea::DoDragOver(PA_DragAndDropInfo*, Point, Rect*, long* answer) {
    *answer = 0;
}

void CXArea::GetAreaName(unsigned char* name) const {
    _CopyPStr(params.name, name);
}

// --- What derived areas fill in -----------------------------------------------------------------

bool CXArea::DoMouseDown(EventRecord*) {
    return false;
}

bool CXArea::DoKeyEvent(EventRecord*) {
    return false;
}

bool CXArea::DoScrollWheelEvent(Point, long, unsigned short) {
    return false;
}

void CXArea::DoSwitchPageIn() {}

void CXArea::DoSwitchPageOut() {}

void CXArea::DoSelect() {}

void CXArea::DoDeSelect() {}

void CXArea::DoUndo() {}

void CXArea::DoCut() {}

void CXArea::DoCopy() {}

void CXArea::DoPaste() {}

void CXArea::DoClear() {}

void CXArea::DoSelectAll() {}

void CXArea::InstallMenus() {}

void CXArea::DeInstallMenus() {}

void CXArea::DoMenuCommand(short, short) {}

void CXArea::DoSetupMenus(MenuInfo**) {}

bool CXArea::CanBeSelected() {
    return false;
}

bool CXArea::CanDeSelect() {
    return true;
}

bool CXArea::PrintVariableFrame() {
    return false;
}

long CXArea::GetPrintSize() {
    return 0;
}

void CXArea::PrintBand(Rect*) {}

bool CXArea::CanAcceptDrag(PA_DragAndDropInfo*) {
    return false;
}

void CXArea::DoDrop(PA_DragAndDropInfo*) {}
