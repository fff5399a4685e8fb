#include "host/boundary/AreaEvents.h"
#include "platform/Toolbox.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Parsers.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <optional>
#include <utility>

namespace {
struct EventWord {
    std::string_view word;
    unsigned short code;
};

constexpr EventWord eventWords[] = {
    {"idle", AreaEvent::Idle},
    {"click", AreaEvent::MouseDown},
    {"key", AreaEvent::KeyDown},
    {"auto-key", AreaEvent::AutoKey},
    {"update", AreaEvent::Update},
    {"created", AreaEvent::Create},
    {"deleted", AreaEvent::Delete},
    {"cursor", AreaEvent::Cursor},
    {"test", AreaEvent::Test},
    {"select", AreaEvent::Select},
    {"deselect", AreaEvent::Deselect},
    {"scroll", AreaEvent::Scroll},
    {"outline", AreaEvent::DrawStructure},
    {"print-frame", AreaEvent::PrintVariableFrame},
    {"print-size", AreaEvent::PrintSize},
    {"print-band", AreaEvent::PrintBand},
    {"undo", AreaEvent::Undo},
    {"cut", AreaEvent::Cut},
    {"copy", AreaEvent::Copy},
    {"paste", AreaEvent::Paste},
    {"clear", AreaEvent::Clear},
    {"select-all", AreaEvent::SelectAll},
    {"wheel", AreaEvent::ScrollWheel},
    {"install-menus", AreaEvent::InstallMenus},
    {"remove-menus", AreaEvent::DeInstallMenus},
    {"menu", AreaEvent::MenuCommand},
    {"menus", AreaEvent::SetupMenus},
    {"save-field", AreaEvent::SaveField},
    {"page", AreaEvent::Page},
    {"drag", AreaEvent::CanAcceptDrag},
    {"drop", AreaEvent::Drop},
    {"show-properties", AreaEvent::ShowProperties},
    {"dispose-properties", AreaEvent::DisposeProperties},
    {"properties", AreaEvent::HasProperties},
    {"menu-icon", AreaEvent::MenuIcon},
    {"design", AreaEvent::DesignInit},
};

struct Event {
    EventRecord record{};
    std::optional<Rect> rect; ///< where the area is from now on
};

struct Creation {
    PlayedArea area;
    std::optional<std::string> title; ///< of the form's window; the area's name when not given
    short table = 0;
    std::optional<short> page; ///< makes the host send an init block, and so does
    bool droppable = false;
    bool inputForm = true;
    bool printing = false;
};

short TakeShort(Words& words, std::string_view what) {
    return static_cast<short>(words.TakeNumber(what, -0x8000, 0x7FFF));
}

Rect TakeRect(Words& words) {
    Rect rect{};
    rect.top = TakeShort(words, "the top");
    rect.left = TakeShort(words, "the left side");
    rect.bottom = TakeShort(words, "the bottom");
    rect.right = TakeShort(words, "the right side");
    return rect;
}

unsigned short TakeEventCode(Words& words) {
    if (words.IsNumber()) {
        return static_cast<unsigned short>(words.TakeNumber("an event's code", 0, 0xFFFF));
    }
    const std::string word = words.TakeWord("an event's code or word");
    const auto* const found =
        std::find_if(std::begin(eventWords), std::end(eventWords),
                     [&](const EventWord& known) { return known.word == word; });
    if (found == std::end(eventWords)) {
        throw ScriptError("no event of an area is called '" + word + "'");
    }
    return found->code;
}

// Whether the message leads to a record of the host.
bool HasBlock(unsigned short code) {
    constexpr std::array<unsigned short, 5> withBlock = {
        AreaEvent::ShowProperties, AreaEvent::DisposeProperties, AreaEvent::SetupMenus,
        AreaEvent::CanAcceptDrag, AreaEvent::Drop};
    return std::ranges::find(withBlock, code) != withBlock.end();
}

// Lends the event the area's block, all zeros; event 601 gets what 600 left in it. Menus come as a
// handle. Answers the message.
unsigned long LendBlock(EventBlock& block, unsigned short code) {
    if (code != AreaEvent::DisposeProperties) {
        block.bytes.fill(0);
    }
    block.guard.fill(EventBlock::guardByte);
    block.handle = block.bytes.data();
    return code == AreaEvent::SetupMenus ? reinterpret_cast<unsigned long>(&block.handle)
                                         : reinterpret_cast<unsigned long>(block.bytes.data());
}

// The script sees 0 where the message is as it was.
void TakeBlockBack(Host& host, const EventBlock& block, unsigned long lent, EventRecord& answer) {
    const bool intact = std::ranges::all_of(
        block.guard, [](unsigned char byte) { return byte == EventBlock::guardByte; });
    if (!intact || block.handle != block.bytes.data()) {
        host.Report("The plug-in wrote beyond the record that came with event " +
                    std::to_string(answer.what) + " of an area.");
    }
    if (answer.message == lent) {
        answer.message = 0;
    }
}

Event TakeAreaEvent(Words& words) {
    Event event;
    event.record.what = TakeEventCode(words);
    if (event.record.what == AreaEvent::CreateWithBlock) {
        throw ScriptError("event 602 has an init block: write area \"Name\" create ... page N");
    }
    while (!words.AtEnd()) {
        if (words.TakeIf("message")) {
            if (HasBlock(event.record.what)) {
                throw ScriptError("the message of event " + std::to_string(event.record.what) +
                                  " is the address of a record, which the host has");
            }
            event.record.message = static_cast<unsigned long>(words.TakeNumber("the message"));
        } else if (words.TakeIf("time")) {
            event.record.when = static_cast<unsigned long>(words.TakeNumber("the time"));
        } else if (words.TakeIf("at")) {
            event.record.where.v = TakeShort(words, "the vertical place");
            event.record.where.h = TakeShort(words, "the horizontal place");
        } else if (words.TakeIf("modifiers")) {
            event.record.modifiers =
                static_cast<unsigned short>(words.TakeNumber("the modifiers", 0, 0xFFFF));
        } else if (words.TakeIf("rect")) {
            event.rect = TakeRect(words);
        } else {
            throw ScriptError("behind an event stand message, time, at, modifiers or rect");
        }
    }
    return event;
}

std::string DescribeDrawn(const DrawnOperation& drawn) {
    constexpr std::string_view words[] = {"erase", "text", "cursor", "paint", "frame", "line"};
    const auto kind = static_cast<size_t>(drawn.kind);
    std::string word(kind < std::size(words) ? words[kind] : "?");
    char place[96];
    char color[16];
    std::snprintf(color, sizeof color, " in #%02x%02x%02x", drawn.color.red >> 8,
                  drawn.color.green >> 8, drawn.color.blue >> 8);
    switch (drawn.kind) {
    case DrawnKind::Text:
        std::snprintf(place, sizeof place, " at %d %d ", drawn.pen.v, drawn.pen.h);
        return word + place +
               Quoted({reinterpret_cast<const char*>(drawn.text + 1), size_t{drawn.text[0]}}) +
               color;
    case DrawnKind::Line:
        std::snprintf(place, sizeof place, " %d %d to %d %d", drawn.pen.v, drawn.pen.h,
                      drawn.rect.bottom, drawn.rect.right);
        return word + place + color;
    case DrawnKind::ArrowCursor:
        return word;
    default:
        std::snprintf(place, sizeof place, " %d %d %d %d", drawn.rect.top, drawn.rect.left,
                      drawn.rect.bottom, drawn.rect.right);
        return word + place + color;
    }
}

// Runs `send` with a window's port current and takes the account of what came of it.
void Record(Player& player, PlayedArea& area, const GrafPort* window,
            const std::function<void(EventRecord&)>& send, const EventRecord& event) {
    const long before = ToolboxDrawnCount(window);
    EventRecord answer = event;
    if (HasBlock(event.what)) {
        const unsigned long lent = LendBlock(area.block, event.what);
        answer.message = lent;
        send(answer);
        TakeBlockBack(player.host, area.block, lent, answer);
    } else {
        send(answer);
    }
    area.answer = answer;
    area.drawn.clear();
    DrawnOperation drawn;
    for (long index = before; ToolboxDrawn(window, index, &drawn) != 0; ++index) {
        area.drawn.push_back(DescribeDrawn(drawn));
    }
    player.Note("answered: message " + std::to_string(static_cast<long>(answer.message)) +
                ", time " + std::to_string(static_cast<long>(answer.when)) + ", modifiers " +
                std::to_string(answer.modifiers));
    for (const std::string& line : area.drawn) {
        player.NoteEvent("  " + line, line.substr(0, line.find(' ')));
    }
}

TypedValue EventValue(const EventRecord& event) {
    return {.kind = ValueKind::Event,
            .numbers = {event.what, static_cast<long>(event.message), static_cast<long>(event.when),
                        event.where.v, event.where.h, event.modifiers}};
}

// The command of a form's area: event, rectangle, name, and what the host keeps for the area.
void CallArea(Player& player, const std::string& name, PlayedArea& area, EventRecord& event) {
    Arguments arguments(
        {EventValue(event),
         RectValue(area.rect.top, area.rect.left, area.rect.bottom, area.rect.right),
         StringValue(name), LongValue(area.slotInUse != nullptr ? *area.slotInUse : area.slot)});
    // Events within one another share it.
    long* const outer =
        std::exchange(area.slotInUse, static_cast<long*>(arguments.StorageAt(4).Address()));
    GrafPort* former = nullptr;
    GetPort(&former);
    SetPor(const_cast<GrafPort*>(area.window));
    player.session.Call(area.command, arguments);
    SetPor(former);
    const std::vector<long> answer = arguments.At(1).numbers;
    event.message = static_cast<unsigned long>(answer[1]);
    event.when = static_cast<unsigned long>(answer[2]);
    event.modifiers = static_cast<unsigned short>(answer[5]);
    area.slot = arguments.At(4).numbers[0];
    area.slotInUse = outer;
    if (outer != nullptr) {
        *outer = area.slot;
    }
}

void SendToForm(Player& player, const std::string& name, const EventRecord& event) {
    PlayedArea& area = player.areas[name];
    if (!player.session.IsStarted()) {
        return player.FailNotStarted();
    }
    if (player.host.windows.Find(area.window) == nullptr) {
        return player.Fail("the window of the area " + Quoted(name) + " is closed");
    }
    Record(
        player, area, area.window, [&](EventRecord& sent) { CallArea(player, name, area, sent); },
        event);
}

bool IsInForm(const Player& player, const std::string& name) {
    const auto place = player.areas.find(name);
    return place != player.areas.end() && place->second.window != nullptr;
}

Creation TakeCreation(Words& words) {
    Creation creation;
    creation.area.rect = {10, 10, 110, 210};
    while (!words.AtEnd()) {
        if (words.TakeIf("command")) {
            creation.area.command = words.TakeNumber("the number of the area's command", 1, 0x7FFF);
        } else if (words.TakeIf("title")) {
            creation.title = words.TakeString("the window's title");
        } else if (words.TakeIf("rect")) {
            creation.area.rect = TakeRect(words);
        } else if (words.TakeIf("table")) {
            creation.table = TakeShort(words, "the number of the form's table");
        } else if (words.TakeIf("page")) {
            creation.page = TakeShort(words, "the area's page");
        } else if (words.TakeIf("droppable")) {
            creation.droppable = true;
        } else if (words.TakeIf("list")) {
            creation.inputForm = false;
        } else if (words.TakeIf("printing")) {
            creation.printing = true;
        } else {
            throw ScriptError(
                "expected command, title, rect, table, page, droppable, list or printing");
        }
    }
    if (creation.area.command == 0) {
        throw ScriptError("expected 'command' and the number of the area's command");
    }
    return creation;
}

// Enlarges the content of a form's window until the area and a margin have room.
void MakeRoom(HostWindow& window, int width, int height) {
    constexpr int greatest = 0x7FFF;
    Rect& content = window.content.rgnBBox;
    content.right =
        static_cast<short>(std::clamp<int>(content.left + width, content.right, greatest));
    content.bottom =
        static_cast<short>(std::clamp<int>(content.top + height, content.bottom, greatest));
}

void MakeRoom(HostWindow& window, const Rect& area) {
    constexpr int margin = 10;
    MakeRoom(window, area.right + margin, area.bottom + margin);
}

HostWindow& OpenForm(Host& host, const Rect& area, const std::string& title) {
    constexpr int characterWidth = 8; // at most
    HostWindow& window = host.windows.AddInFront(host.currentProcess, WindowKind::Regular);
    Rect& content = window.content.rgnBBox;
    content.right = content.left;
    content.bottom = content.top;
    Str255 string;
    StorePascal(string, title);
    MakeRoom(window, characterWidth * string[0], 0);
    MakeRoom(window, area);
    ToolboxSetWindowTitle(&window.port, string);
    return window;
}

void Create(Player& player, const std::string& name, const Creation& creation) {
    if (IsInForm(player, name)) {
        return player.Fail("there already is an area " + Quoted(name));
    }
    PlayedArea& area = player.areas[name] = creation.area;
    area.window = &OpenForm(player.host, area.rect, creation.title.value_or(name)).port;
    AreaInitBlock block{};
    EventRecord event{};
    if (creation.page || creation.droppable) {
        block.size = 9;
        block.background = 0x00FFFFFF;
        block.formKind = creation.inputForm ? 1 : 0;
        block.printing = creation.printing ? 1 : 0;
        block.page = creation.page.value_or(0);
        block.table = creation.table;
        block.draggable = creation.droppable ? 1 : 0;
        event.what = AreaEvent::CreateWithBlock;
        event.message = reinterpret_cast<unsigned long>(&block);
    } else {
        event.what = AreaEvent::Create;
        event.message = creation.printing ? ~0UL : 0;
        event.when = static_cast<unsigned long>(creation.table);
        event.modifiers = creation.inputForm ? 1 : 0;
    }
    SendToForm(player, name, event);
}

void Move(Player& player, PlayedArea& area, const Rect& rect) {
    area.rect = rect;
    if (HostWindow* const window = player.host.windows.Find(area.window)) {
        MakeRoom(*window, rect);
    }
}

void SendLast(Player& player, const std::string& name) {
    EventRecord event{};
    event.what = AreaEvent::Delete;
    SendToForm(player, name, event);
}

void Forget(Player& player, const std::string& name) {
    PlayedArea& area = player.areas[name];
    if (area.slot != 0) {
        player.host.Report("The area " + Quoted(name) + " is deleted, and the plug-in left " +
                           std::to_string(area.slot) + " in what the host keeps for it.");
    }
    player.host.windows.Remove(area.window);
    ToolboxForgetPort(area.window);
    player.areas.erase(name);
}

void Delete(Player& player, const std::string& name) {
    SendLast(player, name);
    Forget(player, name);
}

// The last event comes amid this one, when the plug-in first calls the host.
void DeleteWithin(Player& player, const std::string& name, const EventRecord& event) {
    bool deleted = false;
    player.host.onNextCall = [&] {
        deleted = true;
        SendLast(player, name);
    };
    SendToForm(player, name, event);
    player.host.onNextCall = {};
    if (!deleted) {
        player.Note("the plug-in called nothing meanwhile: the area is deleted afterwards");
        SendLast(player, name);
    }
    Forget(player, name);
}

Action WithFormArea(std::string name, std::function<void(Player&, const std::string&)> act) {
    return [name = std::move(name), act = std::move(act)](Player& player) {
        if (!IsInForm(player, name)) {
            return player.Fail("no form of the host has an area " + Quoted(name));
        }
        act(player, name);
    };
}

// The dialog in front, as a reference; 0 when none is open.
long FrontDialog(Host& host) {
    long reference = 0;
    for (size_t place = 0; place < host.windows.Count() && reference == 0; ++place) {
        reference = host.dialogs.OfWindow(&host.windows.At(place).port);
    }
    return reference;
}

void SendToDialog(Player& player, const std::string& object, const EventRecord& event) {
    const long reference = FrontDialog(player.host);
    const Dialog* dialog = player.host.dialogs.Find(reference);
    if (dialog == nullptr) {
        return player.Fail("no dialog is open");
    }
    if (IsInForm(player, object)) {
        return player.Fail(Quoted(object) + " is an area in a form of the host");
    }
    PlayedArea& area = player.areas[object];
    area.window = nullptr;
    bool found = false;
    Record(
        player, area, dialog->window,
        [&](EventRecord& sent) { found = player.host.dialogs.SendToArea(reference, object, sent); },
        event);
    if (!found) {
        player.Fail("the dialog has no area " + Quoted(object));
    }
}

std::string TakeAreaName(Words& words) {
    std::string name = words.TakeString("the area's name");
    if (name.size() > 255) {
        throw ScriptError("the name is too long");
    }
    return name;
}

Action ExpectNumber(const std::string& name, const std::string& what, long expected,
                    long (*read)(const EventRecord&)) {
    return [=](Player& player) {
        const long got = read(player.areas[name].answer);
        player.Expect(got == expected, what + " " + std::to_string(expected), std::to_string(got));
    };
}

Action ExpectDrawn(std::string name, std::string expected) {
    return [name = std::move(name), expected = std::move(expected)](Player& player) {
        const std::vector<std::string>& drawn = player.areas[name].drawn;
        std::string got;
        for (const std::string& line : drawn) {
            got += (got.empty() ? "" : "; ") + line;
        }
        const bool held =
            expected.empty() ? drawn.empty() : std::ranges::find(drawn, expected) != drawn.end();
        player.Expect(held, Quoted(expected) + " drawn", got.empty() ? "nothing" : got);
    };
}

Action RequireArea(std::string name, Action check) {
    return [name = std::move(name), check = std::move(check)](Player& player) {
        if (!player.areas.contains(name)) {
            return player.Fail("no area " + Quoted(name) + " has been sent an event");
        }
        check(player);
    };
}
} // namespace

Action ParseArea(Words& words) {
    std::string name = TakeAreaName(words);
    if (words.TakeIf("create")) {
        return [name, creation = TakeCreation(words)](Player& player) {
            Create(player, name, creation);
        };
    }
    if (words.TakeIf("delete")) {
        if (words.TakeIf("within")) {
            const Event event = TakeAreaEvent(words);
            return WithFormArea(std::move(name), [event](Player& player, const std::string& area) {
                if (event.rect) {
                    Move(player, player.areas[area], *event.rect);
                }
                DeleteWithin(player, area, event.record);
            });
        }
        return WithFormArea(std::move(name), Delete);
    }
    if (words.TakeIf("event")) {
        const Event event = TakeAreaEvent(words);
        return WithFormArea(std::move(name), [event](Player& player, const std::string& area) {
            if (event.rect) {
                Move(player, player.areas[area], *event.rect);
            }
            SendToForm(player, area, event.record);
        });
    }
    throw ScriptError("behind an area's name stand create, event or delete");
}

Action ParseUserArea(Words& words) {
    std::string object = TakeAreaName(words);
    words.Take("event");
    const Event event = TakeAreaEvent(words);
    if (event.rect) {
        throw ScriptError("the form says where an area of a dialog is");
    }
    return Look([object, event](Player& player, const DialogState&) {
        SendToDialog(player, object, event.record);
    });
}

Action ParseExpectArea(Words& words) {
    std::string name = TakeAreaName(words);
    Action check;
    if (words.TakeIf("message")) {
        check = ExpectNumber(name, "message", words.TakeNumber("a message"),
                             [](const EventRecord& e) { return static_cast<long>(e.message); });
    } else if (words.TakeIf("time")) {
        check = ExpectNumber(name, "time", words.TakeNumber("a time"),
                             [](const EventRecord& e) { return static_cast<long>(e.when); });
    } else if (words.TakeIf("modifiers")) {
        check = ExpectNumber(name, "modifiers", words.TakeNumber("modifiers", 0, 0xFFFF),
                             [](const EventRecord& e) { return long{e.modifiers}; });
    } else if (words.TakeIf("draws")) {
        check = ExpectDrawn(name, words.TakeIf("nothing") ? std::string()
                                                          : words.TakeString("what is drawn"));
    } else {
        throw ScriptError("behind an area's name stand message, time, modifiers or draws");
    }
    return RequireArea(std::move(name), std::move(check));
}

std::string DescribeAreaWords() {
    std::string words;
    for (const EventWord& event : eventWords) {
        words += (words.empty() ? "" : ", ") + std::string(event.word);
    }
    return words;
}
