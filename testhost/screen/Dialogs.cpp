#include "testhost/screen/Dialogs.h"

#include "host/boundary/AreaEvents.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Scalars.h"
#include "testhost/values/Storage.h"

#include <algorithm>
#include <utility>

namespace {
constexpr size_t longestString = 255;
// References are no addresses: a plug-in that looks into one is found out at once.
constexpr long firstReference = 0x0D1A0001;
constexpr long firstContext = -1000; // no process has such a number

bool HoldsCharacters(ValueKind kind) {
    return kind == ValueKind::String || kind == ValueKind::Text || kind == ValueKind::UnicodeText;
}

// A value as a variable of this type takes it; nothing when it cannot.
std::optional<TypedValue> Converted(unsigned char type, const TypedValue& value) {
    TypedValue plain = value;
    if (plain.kind == ValueKind::UnicodeText) {
        plain = TextValue(plain.texts.at(0));
    }
    return ConvertToField({.name = {}, .type = type, .length = longestString}, plain);
}

std::string KindText(const TypedValue& value) {
    return value.kind == ValueKind::Undefined ? "" : " = " + Describe(value);
}
} // namespace

std::string ObjectState::Describe() const {
    std::string text = std::string(FormObjectWord(object.kind)) + " " + Quoted(object.name);
    if (!object.title.empty()) {
        text += " titled " + Quoted(object.title);
    }
    if (object.kind == FormObjectKind::ListBox) {
        text += ", " + std::to_string(rows.size()) + (rows.size() == 1 ? " row" : " rows");
        text += chosen == 0 ? "" : ", row " + std::to_string(chosen) + " chosen";
    } else {
        text += KindText(value);
    }
    text += object.enabled ? "" : ", disabled";
    text += object.visible ? "" : ", invisible";
    text += object.editable || object.kind != FormObjectKind::Field ? "" : ", not editable";
    return text;
}

const ObjectState* DialogState::Find(std::string_view name) const {
    const auto found = std::ranges::find_if(
        objects, [&](const ObjectState& state) { return SameText(state.object.name, name); });
    return found == objects.end() ? nullptr : &*found;
}

// --- A dialog --------------------------------------------------------------------------------

Dialog::Dialog(const DialogHost& dialogHost, long number)
    : host(dialogHost), context(firstContext - number) {}

Dialog::~Dialog() {
    host.variables.RemoveProcess(context);
    host.windows.Remove(window);
}

ValueBlock* Dialog::Find(const std::string& name) {
    return host.variables.Find(context, name);
}

unsigned char Dialog::DeclaredType(const std::string& name) const {
    for (const DialogObject& object : objects) {
        if (object.type != 0 && SameText(object.variable, name)) {
            return object.type;
        }
    }
    return 0;
}

TypedValue Dialog::Read(const std::string& name, ValueKind kind) {
    const unsigned char type = BlockType(kind);
    const ValueBlock* block = Find(name);
    if (block == nullptr) {
        return EmptyFieldValue(type);
    }
    if (ElementKind(BlockKind(block->type)) != ValueKind::None && kind == ValueKind::Long) {
        return LongValue(block->array.currentIndex);
    }
    TypedValue value = host.variables.Read(context, name);
    if (kind == ValueKind::String && HoldsCharacters(value.kind)) {
        return StringValue(std::string_view(value.texts.at(0)).substr(0, longestString));
    }
    return Converted(type, value).value_or(EmptyFieldValue(type));
}

bool Dialog::Write(const std::string& name, const TypedValue& value) {
    if (!HostVariables::IsName(name)) {
        return false;
    }
    ValueKind kind = ValueKind::None;
    if (ArrayBlock* array = FindArray(name, kind); array != nullptr && !value.numbers.empty()) {
        const long row = value.numbers[0];
        if (row < 0 || row > array->count || row > 0x7FFF) {
            return false;
        }
        array->currentIndex = static_cast<short>(row);
        return true;
    }
    const unsigned char type = DeclaredType(name);
    const std::optional<TypedValue> converted =
        type != 0 ? Converted(type, value) : std::optional(value);
    if (!converted) {
        return false;
    }
    host.variables.Set(context, name, *converted);
    return true;
}

bool Dialog::ForEach(const std::string& name, By by,
                     const std::function<void(DialogObject&)>& act) {
    bool found = false;
    for (DialogObject& object : objects) {
        if ((by != By::Variable && SameText(object.name, name)) ||
            (by != By::Object && SameText(object.variable, name))) {
            act(object);
            found = true;
        }
    }
    return found;
}

DialogObject* Dialog::FindObject(const std::string& name) {
    for (DialogObject& object : objects) {
        if (SameText(object.name, name)) {
            return &object;
        }
    }
    return nullptr;
}

DialogState Dialog::State() {
    DialogState state{form, title, page, pages, outcome, {}};
    for (const DialogObject& object : objects) {
        ObjectState& each = state.objects.emplace_back();
        each.object = object;
        each.value = host.variables.Read(context, object.variable);
        if (const FieldList* list = FindFieldList(object.name)) {
            each.chosen = list->chosen;
            for (const FieldRow& row : list->rows) {
                each.rows.push_back(row.text);
            }
        } else if (const ValueBlock* block = Find(object.variable);
                   block != nullptr && ElementKind(each.value.kind) != ValueKind::None) {
            each.chosen = block->array.currentIndex;
            for (const TypedValue& element : Elements(each.value)) {
                each.rows.push_back(HoldsCharacters(element.kind) ? element.texts.at(0)
                                                                  : Describe(element));
            }
        }
    }
    return state;
}

// --- The dialogs of a host ---------------------------------------------------------------------

Dialogs::Dialogs(DialogHost dialogsHost) : host(std::move(dialogsHost)) {}

Dialogs::~Dialogs() = default;

long Dialogs::NewContext() {
    const long reference = firstReference + 16 * references++;
    dialogs[reference] = std::make_unique<Dialog>(host, references);
    return reference;
}

long Dialogs::Open(long reference, long process, const std::string& form, const std::string& title,
                   std::string_view bytes) {
    const auto place = dialogs.find(reference);
    std::string fault;
    const std::optional<Form> parsed = ParseForm(bytes, fault);
    if (!parsed) {
        Note(bytes.empty() ? "no form came with the name " + Quoted(form) +
                                 ": is it among the plug-in's resources?"
                           : "the form " + Quoted(form) + " is refused: " + fault);
        return 0;
    }
    std::unique_ptr<Dialog> dialog = std::move(place->second);
    dialogs.erase(place);
    dialog->form = form;
    dialog->title = title;
    dialog->width = parsed->width;
    dialog->height = parsed->height;
    dialog->pages = parsed->pages;
    for (const FormObject& object : parsed->objects) {
        dialog->objects.push_back({object, {}, {}, {}, {}, false});
        // Variables that the plug-in has set in the context are there already.
        if (object.type != 0 &&
            !dialog->Write(object.variable,
                           dialog->Read(object.variable, BlockKind(object.type)))) {
            host.report("The form " + Quoted(form) + " gives " + Quoted(object.variable) +
                        " a type that it cannot have.");
        }
    }
    dialog->process = process;
    dialog->window = &host.windows.AddInFront(process, WindowKind::Modal).port;
    Str255 windowTitle;
    StorePascal(windowTitle, title);
    ToolboxSetWindowTitle(dialog->window, windowTitle);

    const long opened = firstReference + 16 * references++;
    dialog->former = EnterContext(dialog->process, opened);
    dialog->shown = dialog->State();
    Note("dialog " + Quoted(title) + " opens with the form " + Quoted(form) + ", " +
         std::to_string(dialog->width) + " x " + std::to_string(dialog->height) + ", " +
         std::to_string(dialog->pages) + (dialog->pages == 1 ? " page" : " pages"));
    for (const ObjectState& object : dialog->shown.objects) {
        Note("  " + object.Describe());
    }
    dialogs[opened] = std::move(dialog);
    return opened;
}

void Dialogs::Close(long reference) {
    for (Dialog* open = Find(reference); open != nullptr && !open->inTurn && !open->areas.empty();
         open = Find(reference)) {
        EventRecord event = {};
        event.what = AreaEvent::Delete;
        SendToArea(reference, std::string(open->areas.front().first), event);
    }
    const auto place = dialogs.find(reference);
    if (place == dialogs.end()) {
        return;
    }
    Dialog& dialog = *place->second;
    if (dialog.inTurn) {
        return host.report("The dialog " + Quoted(dialog.title) +
                           " was to be closed by its own filter.");
    }
    if (dialog.IsOpen()) {
        NoteChanges(dialog);
        constexpr const char* outcomes[] = {"undecided", "validated", "cancelled"};
        Note("dialog " + Quoted(dialog.title) + " closes, " +
             outcomes[static_cast<int>(dialog.outcome)]);
        lastState = dialog.State();
        EnterContext(dialog.process, Find(dialog.former) != nullptr ? dialog.former : 0);
    }
    dialogs.erase(reference);
}

Dialog* Dialogs::Find(long reference) {
    const auto place = dialogs.find(reference);
    return place == dialogs.end() ? nullptr : place->second.get();
}

long Dialogs::OfWindow(const void* window) const {
    for (const auto& [reference, dialog] : dialogs) {
        if (window != nullptr && dialog->window == window) {
            return reference;
        }
    }
    return 0;
}

bool Dialogs::SendToArea(long reference, const std::string& name, EventRecord& event) {
    Dialog* dialog = Find(reference);
    const DialogObject* object = dialog != nullptr ? dialog->FindObject(name) : nullptr;
    if (object == nullptr) {
        return false;
    }
    const auto area =
        std::ranges::find_if(dialog->areas, [&](const auto& each) { return each.first == name; });
    if (area == dialog->areas.end()) {
        return false;
    }
    const AreaHandler send = area->second; // the area may go in the midst of its event
    if (event.what == AreaEvent::Delete) {
        dialog->areas.erase(area);
    }
    GrafPort* former = nullptr;
    GetPort(&former);
    SetPor(dialog->window);
    send(object->rect, event);
    SetPor(former);
    return true;
}

long Dialogs::VariablesOf(long process) const {
    const auto place = current.find(process);
    const auto dialog = place == current.end() ? dialogs.end() : dialogs.find(place->second);
    return dialog == dialogs.end() ? process : dialog->second->VariableContext();
}

long Dialogs::EnterContext(long process, long reference) {
    return std::exchange(current[process], reference);
}

void Dialogs::ReportLeaks() {
    while (!dialogs.empty()) {
        const auto& [reference, dialog] = *dialogs.begin();
        if (dialog->IsOpen()) {
            host.report("The dialog " + Quoted(dialog->title) + " was never closed.");
        } else if (!dialog->wasToOpen) {
            host.report("A dialog context that the plug-in made was never used or closed.");
        }
        Close(reference);
    }
    actions.clear();
}

void Dialogs::Note(const std::string& text) const {
    if (onNote) {
        onNote(text);
    }
}

void Dialogs::NoteChanges(Dialog& dialog) {
    DialogState now = dialog.State();
    if (now.page != dialog.shown.page) {
        Note("  page " + std::to_string(now.page));
    }
    for (size_t place = 0; place < now.objects.size(); ++place) {
        if (std::string text = now.objects[place].Describe();
            text != dialog.shown.objects[place].Describe()) {
            Note("  now " + text);
        }
    }
    dialog.shown = std::move(now);
}
