#pragma once

#include <cstddef>

// What the host sends to areas of plug-ins.

/// Codes of the host's area events, in EventRecord::what.
namespace AreaEvent {
/// A code of an event.
enum Code : unsigned short {
    Idle = 0,
    MouseDown = 1,
    KeyDown = 3,
    AutoKey = 5,
    Update = 6,
    Create = 16, ///< in a simple form
    Delete = 17,
    Cursor = 18,
    Test = 20, ///< whether the area can be selected
    Select = 21,
    Deselect = 22,
    Scroll = 25,
    DrawStructure = 26, ///< its outline in the form editor
    PrintVariableFrame = 27,
    PrintSize = 28,
    PrintBand = 29,
    Undo = 30,
    Cut = 31,
    Copy = 32,
    Paste = 33,
    Clear = 34,
    SelectAll = 35,
    ScrollWheel = 39,
    InstallMenus = 40,
    DeInstallMenus = 41,
    MenuCommand = 42,
    SetupMenus = 43,
    SaveField = 70,
    Page = 71,
    CanAcceptDrag = 80,
    Drop = 82,
    Nothing84 = 84,
    ShowProperties = 600,
    DisposeProperties = 601,
    CreateWithBlock = 602,
    HasProperties = 603,
    MenuIcon = 604,
    DesignInit = 605,
};
} // namespace AreaEvent

#pragma pack(push, 2)

/// What an area is created with by the event 602, whose message is its address.
struct AreaInitBlock {
    short reserved0;
    short font;
    short spare;
    unsigned char size;
    unsigned char style;
    long foreground; ///< host colours
    long background;
    long further[2];
    unsigned char formKind;
    unsigned char printing;
    short page;
    short table;
    long reserved30;
    unsigned char draggable; ///< and droppable, from host version 8.0.1 on
    unsigned char reserved35;
};

#pragma pack(pop)

static_assert(offsetof(AreaInitBlock, font) == 2 && offsetof(AreaInitBlock, spare) == 4 &&
              offsetof(AreaInitBlock, size) == 6 && offsetof(AreaInitBlock, style) == 7 &&
              offsetof(AreaInitBlock, foreground) == 8 &&
              offsetof(AreaInitBlock, background) == 12 && offsetof(AreaInitBlock, further) == 16 &&
              offsetof(AreaInitBlock, formKind) == 24 && offsetof(AreaInitBlock, printing) == 25 &&
              offsetof(AreaInitBlock, page) == 26 && offsetof(AreaInitBlock, table) == 28 &&
              offsetof(AreaInitBlock, draggable) == 34 && sizeof(AreaInitBlock) == 36);
