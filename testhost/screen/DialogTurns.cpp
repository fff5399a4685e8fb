#include "testhost/screen/Dialogs.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include <windows.h>

// What the user does in a dialog.

namespace {
constexpr long patience = 1000; // turns without an action, after which a plug-in never ends
constexpr unsigned short mouseDown = 1;
constexpr unsigned short keyDown = 3;
constexpr unsigned long returnKey = 0x0D;
constexpr unsigned long escapeKey = 0x1B;

// An action that the user cannot do, and why.
class Impossible : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

Point Middle(const Rect& rect) {
    return {static_cast<short>((rect.top + rect.bottom) / 2),
            static_cast<short>((rect.left + rect.right) / 2)};
}

DialogObject& Reachable(Dialog& dialog, const std::string& name) {
    DialogObject* object = dialog.FindObject(name);
    if (object == nullptr) {
        throw Impossible("the dialog has no object " + Quoted(name));
    }
    if (!object->visible || (object->page != 0 && object->page != dialog.page)) {
        throw Impossible(Quoted(name) + " is not to be seen");
    }
    if (!object->enabled) {
        throw Impossible(Quoted(name) + " is disabled");
    }
    return *object;
}

void Require(const DialogObject& object, FormObjectKind kind) {
    if (object.kind != kind) {
        throw Impossible(Quoted(object.name) + " is no " + std::string(FormObjectWord(kind)));
    }
}

// The digits of a date or a time: `count` numbers apart by `separator`.
std::optional<std::vector<long>> Parts(const std::string& text, char separator) {
    std::vector<long> parts;
    const char* place = text.c_str();
    for (int part = 0; part < 3; ++part) {
        char* end = nullptr;
        const long number = std::strtol(place, &end, 10);
        if (end == place || number < 0 || number > 9999 || *end != (part < 2 ? separator : '\0')) {
            return std::nullopt;
        }
        parts.push_back(number);
        place = end + 1;
    }
    return parts;
}

std::optional<TypedValue> NumberEntered(const DialogObject& object, const std::string& text) {
    char* end = nullptr;
    const double number = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || (object.minimum && number < *object.minimum) ||
        (object.maximum && number > *object.maximum)) {
        return std::nullopt;
    }
    return RealValue(number);
}

// What becomes of a text that is typed into a field; nothing when the field does not take it.
std::optional<TypedValue> Entered(const DialogObject& object, const std::string& text) {
    switch (object.type) {
    case ValueType::Date:
        if (const auto parts = Parts(text, '-');
            parts && IsDate((*parts)[0], (*parts)[1], (*parts)[2])) {
            return DateValue(static_cast<short>((*parts)[0]), static_cast<short>((*parts)[1]),
                             static_cast<short>((*parts)[2]));
        }
        return std::nullopt;
    case ValueType::Time:
        if (const auto parts = Parts(text, ':')) {
            return TypedValue{.kind = ValueKind::Time,
                              .numbers = {((*parts)[0] * 60 + (*parts)[1]) * 60 + (*parts)[2]}};
        }
        return std::nullopt;
    case ValueType::Boolean:
        return text == "true" || text == "false" ? std::optional(BooleanValue(text == "true"))
                                                 : std::nullopt;
    case ValueType::Long:
    case ValueType::Real:
        return NumberEntered(object, text);
    case ValueType::String:
    case ValueType::Text:
        return TextValue(text);
    default:
        return std::nullopt;
    }
}

void Type(Dialog& dialog, const UserAction& action) {
    const DialogObject& object = Reachable(dialog, action.object);
    Require(object, FormObjectKind::Field);
    if (!object.editable) {
        throw Impossible(Quoted(object.name) + " is not editable");
    }
    const std::optional<TypedValue> value = Entered(object, action.text);
    if (!value || !dialog.Write(object.variable, *value)) {
        throw Impossible(Quoted(object.name) + " does not take " + Quoted(action.text));
    }
}

void Choose(Dialog& dialog, const UserAction& action) {
    const DialogObject& object = Reachable(dialog, action.object);
    Require(object, FormObjectKind::ListBox);
    FieldList* list = dialog.FindFieldList(object.name);
    const long rows =
        list != nullptr ? static_cast<long>(list->rows.size()) : dialog.ArraySize(object.variable);
    if (action.number > rows) {
        throw Impossible(Quoted(object.name) + " has no row " + std::to_string(action.number));
    }
    if (list != nullptr) {
        list->chosen = action.number;
    } else {
        dialog.Write(object.variable, LongValue(action.number));
    }
}

void Check(Dialog& dialog, const UserAction& action) {
    const DialogObject& object = Reachable(dialog, action.object);
    Require(object, FormObjectKind::CheckBox);
    dialog.Write(object.variable, LongValue(action.number));
}

void Drag(Dialog& dialog, const UserAction& action) {
    const DialogObject& source = Reachable(dialog, action.object);
    const DialogObject& target = Reachable(dialog, action.text);
    dialog.drag = {source.name, target.name, Middle(source.rect), Middle(target.rect)};
}

void GotoPage(Dialog& dialog, long page) {
    if (page < 1 || page > dialog.pages) {
        throw Impossible("the dialog has no page " + std::to_string(page));
    }
    dialog.page = static_cast<short>(page);
}

// A button's variable is 1 in the turn in which it is hit.
void Press(Dialog& dialog, const DialogObject& button, DialogTurn& turn) {
    dialog.Write(button.variable, LongValue(1));
    turn.done = button.action != FormAction::None;
    turn.cancelled = button.action == FormAction::Cancel;
}

void Click(Dialog& dialog, const UserAction& action, DialogTurn& turn) {
    const DialogObject& object = Reachable(dialog, action.object);
    if (object.kind == FormObjectKind::Button) {
        Press(dialog, object, turn);
    } else if (object.kind == FormObjectKind::CheckBox) {
        const long states = object.threeState ? 3 : 2;
        const long state = dialog.Read(object.variable, ValueKind::Long).numbers[0];
        dialog.Write(object.variable, LongValue((state + 1) % states));
    }
}

// The object that Return and Escape press: the first button with this action that can be.
const DialogObject* KeyButton(const Dialog& dialog, FormAction action) {
    const auto found = std::ranges::find_if(dialog.objects, [&](const DialogObject& object) {
        return object.kind == FormObjectKind::Button && object.action == action;
    });
    return found == dialog.objects.end() ? nullptr : &*found;
}

void End(Dialog& dialog, FormAction action, DialogTurn& turn) {
    if (const DialogObject* button = KeyButton(dialog, action)) {
        Press(dialog, Reachable(dialog, button->name), turn);
        turn.object = button->name;
        return;
    }
    turn.done = true;
    turn.cancelled = action == FormAction::Cancel;
}

void Perform(Dialog& dialog, const UserAction& action, DialogTurn& turn) {
    using Kind = UserAction::Kind;
    turn.object = action.object;
    switch (action.kind) {
    case Kind::Type:
        return Type(dialog, action);
    case Kind::Click:
        return Click(dialog, action, turn);
    case Kind::Choose:
        return Choose(dialog, action);
    case Kind::Check:
        return Check(dialog, action);
    case Kind::Page:
        return GotoPage(dialog, action.number);
    case Kind::Drag:
        turn.object = action.text;
        return Drag(dialog, action);
    case Kind::Validate:
        return End(dialog, FormAction::Validate, turn);
    case Kind::Cancel:
        return End(dialog, FormAction::Cancel, turn);
    case Kind::Dying:
        return action.look(dialog.State());
    case Kind::Look:
        break;
    }
}

// The events of an action: a key for each character, or the mouse on the object.
std::vector<EventRecord> EventsOf(const UserAction& action, const DialogObject* object) {
    std::vector<EventRecord> events;
    EventRecord event{};
    event.where = object != nullptr ? Middle(object->rect) : Point{};
    event.what = keyDown;
    switch (action.kind) {
    case UserAction::Kind::Dying:
        return events;
    case UserAction::Kind::Type:
        for (const char character : action.text) {
            event.message = static_cast<unsigned char>(character);
            events.push_back(event);
        }
        return events;
    case UserAction::Kind::Validate:
    case UserAction::Kind::Cancel:
        event.message = action.kind == UserAction::Kind::Validate ? returnKey : escapeKey;
        break;
    default:
        event.what = mouseDown;
    }
    events.push_back(event);
    return events;
}

void ReleaseButtons(Dialog& dialog) {
    for (const DialogObject& object : dialog.objects) {
        if (object.kind == FormObjectKind::Button) {
            dialog.Write(object.variable, LongValue(0));
        }
    }
}
} // namespace

std::string UserAction::Describe() const {
    switch (kind) {
    case Kind::Type:
        return "types " + Quoted(text) + " into " + Quoted(object);
    case Kind::Click:
        return "clicks " + Quoted(object);
    case Kind::Choose:
        return "chooses row " + std::to_string(number) + " of " + Quoted(object);
    case Kind::Check:
        return "checks " + Quoted(object) + (number != 0 ? " on" : " off");
    case Kind::Page:
        return "goes to page " + std::to_string(number);
    case Kind::Drag:
        return "drags " + Quoted(object) + " to " + Quoted(text);
    case Kind::Validate:
        return "validates";
    case Kind::Cancel:
        return "cancels";
    case Kind::Dying:
        return "does nothing; the process is asked to end";
    case Kind::Look:
        break;
    }
    return "looks";
}

// The next action. What the user only looks at comes before it.
UserAction Dialogs::TakeAction(Dialog& dialog) {
    while (!actions.empty()) {
        UserAction action = std::move(actions.front());
        actions.pop_front();
        if (action.kind != UserAction::Kind::Look) {
            missingActions = 0;
            return action;
        }
        action.look(dialog.State());
    }
    Note("  nothing is left for the user to do");
    if (++missingActions > patience) {
        const std::string problem = "The dialog " + Quoted(dialog.title) +
                                    " went on although the user cancelled it " +
                                    std::to_string(patience) + " times. The run ends here.";
        host.report(problem);
        std::fprintf(stderr, "%s\n", problem.c_str());
        std::fflush(nullptr);
        TerminateProcess(GetCurrentProcess(), 1);
    }
    return {.kind = UserAction::Kind::Cancel};
}

// The filter sees the events before anything is done. What it does may change the dialog.
DialogTurn Dialogs::Act(Dialog& dialog, const UserAction& action, const Filter& filter) {
    const DialogObject* object = dialog.FindObject(action.object);
    if (filter) {
        dialog.inTurn = true;
        for (const EventRecord& event : EventsOf(action, object)) {
            filter(event, object);
        }
        dialog.inTurn = false;
    }
    DialogTurn turn;
    ReleaseButtons(dialog);
    Perform(dialog, action, turn);
    return turn;
}

DialogTurn Dialogs::Play(Dialog& dialog, const Filter& filter) {
    NoteChanges(dialog);
    DialogTurn turn;
    if (dialog.ended != DialogOutcome::Open) {
        turn = {.object = {}, .done = true, .cancelled = dialog.ended == DialogOutcome::Cancelled};
    } else {
        bool acted = false;
        while (!acted) {
            const UserAction action = TakeAction(dialog);
            Note("  the user " + action.Describe());
            try {
                turn = Act(dialog, action, filter);
                acted = true;
            } catch (const Impossible& reason) {
                if (action.kind == UserAction::Kind::Cancel) { // the window's own way out
                    turn = {.object = {}, .done = true, .cancelled = true};
                    acted = true;
                } else if (onFailure) {
                    onFailure(action, "the user cannot: " + std::string(reason.what()));
                }
            }
        }
    }
    if (turn.done) {
        dialog.outcome = turn.cancelled ? DialogOutcome::Cancelled : DialogOutcome::Validated;
    } else {
        dialog.outcome = DialogOutcome::Open;
    }
    dialog.lastObject = turn.object;
    NoteChanges(dialog);
    lastState = dialog.shown;
    return turn;
}
