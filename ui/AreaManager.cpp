#include "ui/AreaManager.h"

#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/ExceptionBarrier.h"
#include "shell/base/Strings.h"
#include "shell/Commands.h"
#include "ui/DialogCall.h"
#include "ui/FourDDialog.h"

#include <memory>
#include <utility>

namespace {

constexpr unsigned long Printing = 0xFFFFFFFF;       // a created area's message
constexpr unsigned long ExternalWindow = 0xFFFFFFFF; // a created area's time field
constexpr unsigned short CreatedWithBlock = 0x600;
constexpr unsigned short LastUndroppableHost = 0x800;
/// The area's name in the form editor, from its rectangle's corner.
constexpr int NameLeft = 2;
constexpr int NameTop = 14;
/// Goes with an area handler; the host asks for it.
constexpr long AreaHandlerConstant = 6642;
constexpr unsigned char DialogAreaSize = 9;

AreaParams NewParams(const EventRecord& event, const unsigned char* name) {
    AreaParams params;
    if (name != nullptr) {
        _CopyPStr(name, params.name);
    }
    params.process = FourD::CurrentProcess();
    params.externalWindow = event.when == ExternalWindow ? 1 : 0;
    GetPort(&params.port);
    return params;
}

AreaParams SimpleParams(const EventRecord& event, const unsigned char* name) {
    AreaParams params = NewParams(event, name);
    if (event.modifiers == 1 || event.modifiers == 2) {
        params.formKind = static_cast<unsigned char>(event.modifiers);
    }
    params.printing = event.message == Printing ? 1 : 0;
    params.table = static_cast<short>(event.when);
    return params;
}

AreaParams BlockParams(const EventRecord& event, const unsigned char* name) {
    AreaParams params = NewParams(event, name);
    const auto* block = reinterpret_cast<const AreaInitBlock*>(event.message);
    params.font = block->font;
    params.size = block->size;
    params.style = block->style;
    params.spare = block->spare;
    params.foreground = block->foreground;
    params.background = block->background;
    params.formKind = block->formKind;
    params.printing = block->printing;
    params.page = block->page;
    params.table = block->table;
    params.further[0] = block->further[0];
    params.further[1] = block->further[1];
    params.draggable = block->draggable;
    // Deliberate: one byte serves both.
    params.droppable = gHost.BcdVersion() > LastUndroppableHost ? block->draggable : 0;
    return params;
}

/// Frees a block of NewPtr's.
struct PointerDisposer {
    void operator()(DialogAreaRecord* record) const { DisposePtr(reinterpret_cast<Ptr>(record)); }
};

using OwnedAreaRecord = std::unique_ptr<DialogAreaRecord, PointerDisposer>;

/// The dialog's window; null without one, and for no dialog.
GrafPort* WindowOf(FourDDialog* dialog) {
    GrafPort* window = dialog != nullptr ? FourD::LMGetWindowList() : nullptr;
    while (window != nullptr && FourD::GetFourDDialogFromWindow(window) != dialog) {
        window = FourD::GetNextMacWindow(window);
    }
    return window;
}

} // namespace

// --- The areas --------------------------------------------------------------------------------

CXAreaManager::~CXAreaManager() {
    while (void* const first = _remove_from_beginning(&areas)) {
        auto* area = static_cast<CXArea*>(first);
        // This may be the end of the library.
        KeepExceptionsInside({"end of an area"}, [&] { DestroyAnArea(area); });
    }
}

/// From here on nothing is asked of the area but CloseArea, within which it may be met once more:
/// the manager's list still has it.
void CXAreaManager::DestroyAnArea(CXArea* area) {
    const CXArea::Scope scope(*area);
    if (scope.IsDoomed()) {
        return;
    }
    area->Delete();
    const auto unlink = [this](CXArea* closed) { UnlinkArea(closed); }; // if it throws, too
    const std::unique_ptr<CXArea, decltype(unlink)> closing(area, unlink);
    area->CloseArea();
}

void CXAreaManager::LinkArea(CXArea* area) {
    if (area != nullptr && !IsAnArea(area)) {
        _add_to_end(&areas, area);
    }
}

void CXAreaManager::UnlinkArea(CXArea* area) {
    _remove_from_list(&areas, area);
}

bool CXAreaManager::IsAnArea(CXArea* area) {
    return _is_in_list(&areas, area);
}

CXArea* CXAreaManager::CreateArea() {
    return new CXArea;
}

void CXAreaManager::HandleNewArea(AreaParams* params, CXArea** area) {
    *area = nullptr;
    std::unique_ptr<CXArea> made(CreateArea());
    if (made == nullptr) {
        return;
    }
    LinkArea(made.get());
    const CXArea::Scope scope(*made);
    const auto takeBack = [&](CXArea* failed) {
        if (*area == failed) { // it may have been deleted, and another one made in its place
            *area = nullptr;
        }
        UnlinkArea(failed);
        failed->Delete();
    };
    std::unique_ptr<CXArea, decltype(takeBack)> initialising(made.release(), takeBack);
    *area = initialising.get();
    initialising->Init(params);
    static_cast<void>(initialising.release()); // now the host's
}

void CXAreaManager::DoToAllAreas(void (*procedure)(CXArea*, void*), void* data) {
    const std::unique_ptr<GenericList, ListDestroyer> all(_copy_list(&areas));
    for (void* next = _first_in_list(all.get()); next != nullptr; next = _next_in_list(all.get())) {
        auto* area = static_cast<CXArea*>(next);
        if (IsAnArea(area)) {
            procedure(area, data);
        }
    }
}

// --- Events -----------------------------------------------------------------------------------

void CXAreaManager::DispatchEvent(EventRecord* event, Rect* rect, unsigned char* areaName,
                                  CXArea** area) {
    switch (event->what) {
    case AreaEvent::Create: {
        AreaParams params = SimpleParams(*event, areaName);
        HandleNewArea(&params, area);
        return;
    }
    case AreaEvent::CreateWithBlock: {
        if (event->message == 0) {
            return;
        }
        AreaParams params = BlockParams(*event, areaName);
        HandleNewArea(&params, area);
        event->modifiers = CreatedWithBlock;
        return;
    }
    case AreaEvent::Delete:
        DeleteArea(area);
        return;
    case AreaEvent::DrawStructure:
        event->message = AreaAnswer::StructureDrawn;
        DoDrawStructure(rect, areaName, event->modifiers);
        return;
    case AreaEvent::ShowProperties:
    case AreaEvent::DisposeProperties:
    case AreaEvent::HasProperties:
    case AreaEvent::MenuIcon:
    case AreaEvent::DesignInit:
        AnswerEditor(event, rect, areaName);
        return;
    default:
        if (*area != nullptr) {
            (*area)->HandleEvent(event, rect); // after which nothing here may be there any more
        }
    }
}

/// The host's place is cleared first: what CloseArea sets off must find no area there.
void CXAreaManager::DeleteArea(CXArea** area) {
    if (CXArea* last = std::exchange(*area, nullptr); last != nullptr) {
        DestroyAnArea(last);
    }
}

void CXAreaManager::AnswerEditor(EventRecord* event, Rect* rect, unsigned char* name) {
    switch (event->what) {
    case AreaEvent::ShowProperties:
        if (SupportsAdvancedProperties()) {
            auto* properties = reinterpret_cast<InitXStruct*>(event->message);
            event->modifiers =
                static_cast<unsigned short>(DoAdvancedProperties(properties, name, rect));
        }
        return;
    case AreaEvent::DisposeProperties:
        if (SupportsAdvancedProperties()) {
            auto* properties = reinterpret_cast<void*>(event->message);
            event->modifiers = static_cast<unsigned short>(DisposeAdvancedProperties(properties));
        }
        return;
    case AreaEvent::HasProperties:
        event->message = SupportsAdvancedProperties() ? event->what : 0;
        return;
    case AreaEvent::MenuIcon:
        if (const long icon = GetMenuIconID(); icon != 0) {
            event->message = event->what;
            event->when = static_cast<unsigned long>(icon);
        }
        return;
    default:
        DoDesignInit();
    }
}

void CXAreaManager::DoDrawStructure(Rect* rect, unsigned char* name, long) {
    EraseRect(rect);
    MoveT(static_cast<short>(rect->left + NameLeft), static_cast<short>(rect->top + NameTop));
    if (name != nullptr) {
        DrawString(name);
    }
}

bool CXAreaManager::SupportsAdvancedProperties() {
    return false;
}

long CXAreaManager::DoAdvancedProperties(InitXStruct*, unsigned char*, Rect*) {
    return 0;
}

long CXAreaManager::DisposeAdvancedProperties(void*) {
    return 0;
}

long CXAreaManager::GetMenuIconID() {
    return 0;
}

void CXAreaManager::DoDesignInit() {}

void DispatchAreaCall(CXAreaManager& manager, CXParam* params) {
    auto* area = reinterpret_cast<CXArea**>(params[3].GetLongPtr());
    manager.DispatchEvent(params[0].GetEventPtr(), params[1].GetRectPtr(), params[2].GetStringPtr(),
                          area);
}

// --- Areas in the plug-in's dialogs -----------------------------------------------------------

void FourDDialogAreaHandler(long* areaData, unsigned char* objectName, Rect* rect,
                            EventRecord* event) {
    KeepExceptionsInside({"area event", event->what}, [=] {
        auto* record = reinterpret_cast<DialogAreaRecord*>(*areaData);
        if (record == nullptr) {
            return;
        }
        OwnedAreaRecord last;
        if (event->what == AreaEvent::Delete) {
            last.reset(record);
            *areaData = 0; // events that the last one sets off find nothing
        }
        record->manager->DispatchEvent(event, rect, objectName, &record->area);
    });
}

void FourDDialog::SetAreaHandler(FourDDialog* dialog, const char* objectName, void* handler,
                                 void* data) {
    DialogCall call(Select("DialogSetAreaHandler"), dialog, objectName);
    call.PutAddressOrNull(data);
    call->param2 = AreaHandlerConstant;
    call->param3 = call->param4 = reinterpret_cast<long>(handler);
    call.Send();
}

CXArea* FourDDialog::SetupPluginArea(FourDDialog* dialog, const char* objectName,
                                     CXAreaManager* manager, short) {
    GrafPort* const window = WindowOf(dialog);
    if (window == nullptr || objectName == nullptr || manager == nullptr) {
        return nullptr;
    }
    OwnedAreaRecord record(
        reinterpret_cast<DialogAreaRecord*>(NewPtrClear(sizeof(DialogAreaRecord))));
    if (record == nullptr) {
        return nullptr;
    }
    AreaInitBlock block = {};
    block.size = DialogAreaSize;
    block.background = 0x00FFFFFF;
    block.formKind = 1;
    Rect rect = {};
    GetRect(dialog, objectName, &rect);
    Str255 name;
    _CopyC2PStr(objectName, name);
    const PortSetter setter(window);
    EventRecord event = {};
    event.what = AreaEvent::CreateWithBlock;
    event.message = reinterpret_cast<unsigned long>(&block);
    manager->DispatchEvent(&event, &rect, name, &record->area);
    CXArea* const area = record->area;
    if (area == nullptr) {
        return nullptr;
    }
    const CXArea::Scope scope(*area);
    event = {};
    try {
        manager->DispatchEvent(&event, &rect, name, &record->area);
    } catch (...) { // the host has yet to hear of it, and will never close it
        event = {};
        event.what = AreaEvent::Delete;
        try {
            manager->DispatchEvent(&event, &rect, name, &record->area);
        } catch (...) { // the author hears of what went wrong first
        }
        throw;
    }
    if (scope.IsDoomed()) { // in its first event
        return nullptr;
    }
    *record = {area, manager};
    SetAreaHandler(dialog, objectName, reinterpret_cast<void*>(FourDDialogAreaHandler),
                   record.release()); // freed with the last event
    return scope.IsDoomed() ? nullptr : area;
}
