#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"
#include "shell/base/GenericList.h"
#include "ui/Area.h"

class CXParam;
/// What the form editor's advanced properties of an area are; the host's.
struct InitXStruct;

#pragma pack(push, 2)

class CXAreaManager;

/// What the host keeps for an area in a plug-in's dialog: a block of NewPtr's.
struct DialogAreaRecord {
    CXArea* area;
    CXAreaManager* manager;
};

#pragma pack(pop)

static_assert(sizeof(DialogAreaRecord) == 8 && offsetof(DialogAreaRecord, manager) == 4);

/// Makes the areas of one kind, hands the host's events on to them, and answers the form editor.
/// Derive one that makes the plug-in's own areas. It owns them: those that are alive in the end are
/// deleted with it. The host knows nothing of it: a manager has to outlive the forms and dialogs
/// that its areas stand in, which send it their events until they have closed; best it lives as
/// long as the plug-in.
class CXAreaManager {
  public:
    CXAreaManager() = default;
    CXAreaManager(const CXAreaManager&) = delete;
    CXAreaManager& operator=(const CXAreaManager&) = delete;

    virtual ~CXAreaManager();

    /// @family Takes an `area` into the list of those alive, and out of it.
    virtual void LinkArea(CXArea* area);
    virtual void UnlinkArea(CXArea* area);
    /// Whether `area` is one of them.
    virtual bool IsAnArea(CXArea* area);
    /// A new area, from `new`; null: there will be none.
    virtual CXArea* CreateArea();
    /// Makes, links and initialises an area with `params` and stores it in `*area`, or null.
    virtual void HandleNewArea(AreaParams* params, CXArea** area);
    /// Every `event` of an area, which stands in `rect`. `areaName` is a Pascal string, `area`
    /// where the host keeps the area: null before the first event and after the last.
    virtual void DispatchEvent(EventRecord* event, Rect* rect, unsigned char* areaName,
                               CXArea** area);
    /// Draws the area in the form editor: its `name` in an erased `rect`; `modifiers` are the
    /// event's.
    virtual void DoDrawStructure(Rect* rect, unsigned char* name, long modifiers);
    /// @family Whether the form editor offers advanced properties (false), and what it is answered
    /// about them (0). `properties` are the host's, `name` and `rect` the area's.
    virtual bool SupportsAdvancedProperties();
    virtual long DoAdvancedProperties(InitXStruct* properties, unsigned char* name, Rect* rect);
    virtual long DisposeAdvancedProperties(void* properties);
    /// Number of the icon in the form editor's menu; 0 is none.
    virtual long GetMenuIconID();
    /// With the event 605 of the form editor; does nothing.
    virtual void DoDesignInit();

    /// Calls `procedure` for each living area, with `data`; it may delete any of them.
    void DoToAllAreas(void (*procedure)(CXArea* area, void* data), void* data);

  private:
    void DestroyAnArea(CXArea* area);
    void DeleteArea(CXArea** area);
    void AnswerEditor(EventRecord* event, Rect* rect, unsigned char* name);

    // Not a std::vector: what it may throw brings 90 KB of the standard library into a plug-in.
    GenericList areas{nullptr};
};

/// The host's call for an `event` of an area in a plug-in's dialog: the object `objectName`, which
/// stands in `rect`. `*areaData` is the address of the area's DialogAreaRecord; with the last
/// event, 17, the record is freed and 0 put there.
HOST_CALL void FourDDialogAreaHandler(long* areaData, unsigned char* objectName, Rect* rect,
                                      EventRecord* event);

/// Hands on an area event of a host form to its `manager`. The host sends them to a command of the
/// plug-in that is named as the area's in the form: its handler calls this with the `params`
/// (event, rectangle, area name, and the 4 bytes that the host keeps for the area, zero at first).
void DispatchAreaCall(CXAreaManager& manager, CXParam* params);
