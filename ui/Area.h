#pragma once

#include "host/boundary/AreaEvents.h"
#include "platform/Compiler.h"
#include "platform/Types.h"

#include <cstddef>

class FourDDialog;
// Records of the host, handed on to a plug-in's own area as they come.
struct MenuInfo;
struct PA_DragAndDropInfo;

#pragma pack(push, 2)

/// Description of an area, made by its manager.
struct AreaParams {
    Str255 name = {}; ///< of the form's object
    long process = 0; ///< the host process that owns the area
    short font = 3;
    unsigned char size = 9;
    unsigned char style = 0;
    short spare = 0;     ///< of the init block
    long foreground = 0; ///< host colours, see FourD::GetRGBColor
    long background = 0x00FFFFFF;
    unsigned char formKind = 0;       ///< 0 list form, 1 or 2 input form
    unsigned char printing = 0;       ///< non-zero while the area is printed
    short page = 0;                   ///< of the form; 0 all pages
    short table = 0;                  ///< of the form; above 0 the area may be bound to a field
    unsigned char externalWindow = 0; ///< the area fills a window of its own
    unsigned char filler = 0;
    long further[2] = {0, 0}; ///< of the init block
    unsigned char draggable = 0;
    unsigned char droppable = 0;
    GrafPort* port = nullptr; ///< current when the record was made; areas do not copy it
};

#pragma pack(pop)

/// What an area copies of its parameters.
inline constexpr size_t CopiedAreaParams = 292;

static_assert(offsetof(AreaParams, process) == 256 && offsetof(AreaParams, font) == 260 &&
              offsetof(AreaParams, size) == 262 && offsetof(AreaParams, style) == 263 &&
              offsetof(AreaParams, spare) == 264 && offsetof(AreaParams, foreground) == 266 &&
              offsetof(AreaParams, background) == 270 && offsetof(AreaParams, formKind) == 274 &&
              offsetof(AreaParams, printing) == 275 && offsetof(AreaParams, page) == 276 &&
              offsetof(AreaParams, table) == 278 && offsetof(AreaParams, externalWindow) == 280 &&
              offsetof(AreaParams, further) == 282 && offsetof(AreaParams, draggable) == 290 &&
              offsetof(AreaParams, droppable) == 291 &&
              offsetof(AreaParams, port) == CopiedAreaParams && sizeof(AreaParams) == 296);

/// What an area answers in EventRecord::message; 0 is no.
namespace AreaAnswer {
inline constexpr unsigned long CanBeSelected = 101;
inline constexpr unsigned long StructureDrawn = 102;
inline constexpr unsigned long StaySelected = 103;
inline constexpr unsigned long VariableFrame = 104;
inline constexpr unsigned long NotHandled = 112;
inline constexpr unsigned long Consumed = 301;
} // namespace AreaAnswer

/// Makes a port current while it lives, and then the former one again.
class PortSetter {
  public:
    /// Makes `port` current.
    explicit PortSetter(GrafPort* port);
    ~PortSetter();
    PortSetter(const PortSetter&) = delete;
    PortSetter& operator=(const PortSetter&) = delete;

  private:
    GrafPort* former = nullptr;
};

/// An external area: a rectangle of a host form that the plug-in draws and whose events it handles.
/// Derive a class and a manager (ui/AreaManager.h) that makes it. Where nothing else is said, an
/// operation does nothing here.
///
/// An area that is deleted within one of its hooks (in a handler that lets the host close the form)
/// lives until the outermost of them is over, and is asked nothing more.
class CXArea {
  public:
    CXArea() = default;
    CXArea(const CXArea&) = delete;
    CXArea& operator=(const CXArea&) = delete;

    virtual ~CXArea();

    /// Takes the parameters, `params`, over and looks for the field that the area is bound to: X on
    /// a form of table T to the field X_ of T.
    virtual void InitArea(AreaParams* params);
    /// With the first event: `port`, window and dialog, rectangle (`rect`), and whether this is a
    /// window of its own that only shows the area.
    virtual void InitAreaPort(GrafPort* port, Rect* rect);
    /// Before the area is deleted.
    virtual void CloseArea();
    /// Loads the bound field when the table's current record is another one, or a new one (-3).
    virtual void HandleDataFromField();
    /// Has the bound field written: UnloadDataToField, when there is one.
    virtual void HandleDataToField();
    /// @family For derived ones: loads the bound field of the current record, which
    /// HandleDataFromField asks for; writes it.
    virtual void LoadDataFromField();
    virtual void UnloadDataToField();
    /// @family The bound table and field; 0 when there is none.
    virtual long GetTable();
    virtual long GetField();
    /// The record last loaded; -1 at first.
    virtual long GetRecordNum();
    /// The host has nothing else to do.
    virtual void DoIdle();
    /// The pointer is over the area, at `where`: shows the arrow.
    virtual void DoCursor(Point* where);
    /// @family A click, a key, a turn of the wheel. False says that the `event` was not handled. A
    /// turn of the wheel comes as `where` the pointer is, `delta`, as the host counts it, and the
    /// `modifiers` of the keyboard.
    virtual bool DoMouseDown(EventRecord* event);
    virtual bool DoKeyEvent(EventRecord* event);
    virtual bool DoScrollWheelEvent(Point where, long delta, unsigned short modifiers);
    /// @family The form shows the area's page, or another one.
    virtual void DoSwitchPageIn();
    virtual void DoSwitchPageOut();
    /// @family The area is selected, or no longer.
    virtual void DoSelect();
    virtual void DoDeSelect();
    /// Takes the rectangle, `rect`, over.
    virtual void DoScroll(Rect* rect);
    /// Derived ones draw and call this one, which notes that nothing is invalid any more.
    virtual void DoDraw();
    /// @family Has the area, or a part of it, `rect` (null: all), drawn again with one pixel
    /// around, when it is on its page.
    virtual void DoInvalidate();
    virtual void DoInvalAreaRect(Rect* rect);
    /// @family A command of the Edit menu.
    virtual void DoUndo();
    virtual void DoCut();
    virtual void DoCopy();
    virtual void DoPaste();
    virtual void DoClear();
    virtual void DoSelectAll();
    /// @family The area may add menus of its own; takes them away; the user chose an `item` of a
    /// `menu`; the host's `menus` are about to be shown.
    virtual void InstallMenus();
    virtual void DeInstallMenus();
    virtual void DoMenuCommand(short menu, short item);
    virtual void DoSetupMenus(MenuInfo** menus);
    /// Whether the area can be selected; false.
    virtual bool CanBeSelected();
    /// Whether it lets the selection go; true.
    virtual bool CanDeSelect();
    /// Whether the area is printed in a variable frame; false.
    virtual bool PrintVariableFrame();
    /// What the host is answered about the size of the print; 0.
    virtual long GetPrintSize();
    /// Prints the part of the area that goes into `rect`.
    virtual void PrintBand(Rect* rect);
    /// In place of DoDraw while the area is printed.
    virtual void DoPrint();
    /// @family As the form's object says; never in a window of its own.
    virtual bool IsDraggable();
    virtual bool IsDroppable();
    /// @family Whether what is dragged may be dropped here (false); what is answered while it is
    /// over the area, at `where` in `rect` (0 in `*answer`); it was dropped. `drag` is the host's.
    virtual bool CanAcceptDrag(PA_DragAndDropInfo* drag);
    virtual void DoDragOver(PA_DragAndDropInfo* drag, Point where, Rect* rect, long* answer);
    virtual void DoDrop(PA_DragAndDropInfo* drag);
    /// Whether a mouse-down, `event`, is close enough, in place and time, to the one
    /// before.
    virtual bool IsDoubleClick(EventRecord* event);
    /// Keeps `rect` as the area's rectangle.
    virtual void SetupAreaRect(Rect* rect);
    /// Answers in `event` whether the area can be selected.
    virtual void TestArea(EventRecord* event);

    /// Handles an `event` of the host, which gives the area's `rect` along, other than
    /// those that its manager does, and stores the answer in it.
    void HandleEvent(EventRecord* event, Rect* rect);
    /// The area's rectangle, in `rect`.
    void GetAreaRect(Rect* rect) const { *rect = areaRect; }
    /// The `name` of the form's object as a Pascal string; 256 bytes.
    void GetAreaName(unsigned char* name) const;
    /// The process that owns the area.
    long GetAreaProcess() const { return params.process; }
    /// Whether the area fills a window of its own.
    bool InExternalWindow() const { return params.externalWindow != 0; }
    /// Whether that window only shows the area; decided with the first event.
    bool InStandaloneWindow() const { return standalone; }
    /// @family Whether the area is in an input, or a list form.
    bool InInputForm() const { return params.formKind == 1 || params.formKind == 2; }
    bool InListForm() const { return params.formKind == 0; }
    /// Always false.
    static bool IsCompositingMode() { return false; }
    /// @family The host's number of the background `color`, see FourD::GetRGBColor.
    long GetBackColor() const { return params.background; }
    void SetBackColor(long color) { params.background = color; }
    /// Moves an area of a plug-in's dialog to another `page`; ignored elsewhere.
    void _SetAreaPage(long page);

  protected:
    AreaParams params = {};   ///< the port apart, which stays null
    bool initialised = false; ///< by the first event
    GrafPort* port = nullptr;
    GrafPort* window = nullptr;     ///< the same
    unsigned long windowHandle = 0; ///< of Windows; 0 while printing
    FourDDialog* dialog = nullptr;  ///< of the window, when it is a plug-in's dialog
    Rect areaRect = {};
    RGBColor backgroundRGB = {0xFFFF, 0xFFFF, 0xFFFF};
    RGBColor foregroundRGB = {0, 0, 0};
    long table = 0; ///< bound field; 0 when there is none
    long field = 0;
    long fieldType = 0;
    Str31 tableName = {};
    Str31 fieldName = {};
    long recordNumber = -1;
    bool standalone = false;
    bool selected = false;
    bool onPage = false;
    bool eventConsumed = false; ///< set by a handler that answers for itself
    Point lastClick = {0, 0};
    unsigned long lastClickTime = 0; ///< ticks
    long process = 0;                ///< the one that was current at InitArea
    long eventDepth = 0;             ///< events being handled within one another
    long invalidationCount = 0;      ///< since the last DoDraw

  private:
    friend class CXAreaManager;
    friend class FourDDialog;
    struct EventRow;
    static const EventRow Events[];

    /// Keeps an area while hooks of it run, perhaps for an event. The last one to end deletes an
    /// area that was to go meanwhile.
    class Scope {
      public:
        explicit Scope(CXArea& itsArea, long itsEvents = 0);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;
        bool IsDoomed() const { return area.doomed; }

      private:
        CXArea& area;
        long events;
    };

    /// Runs hooks one after the other, as long as none of them has the area deleted.
    template <typename... Hooks>
    void Run(Hooks... hooks) {
        const Scope scope(*this);
        ((doomed ? void() : hooks()), ...);
    }
    /// Deletes the area, now or when its hooks are over.
    void Delete();
    void Init(AreaParams* itsParams);
    void HandleFirstEvent(Rect* rect);
    void Act(EventRecord* event, Rect* rect);
    void SwitchPage(bool in);
    void TellPage(bool in);
    void Invalidate(const Rect& rect);
    void Answer(EventRecord* event, bool handled) const;
    void Update(const EventRecord* event, Rect* rect);
    bool DecideStandalone() const;

    long scopes = 0;     ///< that keep it
    bool doomed = false; ///< deleted within one of its hooks
};

/// The field of `table` that an area of this name (`areaName`, Pascal) is bound to: `tableName` and
/// `fieldName` (Str31), `fieldNumber` and `fieldType`. 0, 65535 and an empty field name when there
/// is none.
void CheckDatabaseFieldForArea(short table, const unsigned char* areaName, unsigned char* tableName,
                               unsigned char* fieldName, long* fieldNumber, long* fieldType);
