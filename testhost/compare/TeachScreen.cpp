#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/compare/Teaching.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstddef>
#include <cstring>

// Dialogs and boxes, and what the user did in them.

namespace {
constexpr size_t inHandle = offsetof(CallFields, handle);

bool Write(AskedCall& call, const TypedValue& value) {
    Dialog* const dialog = call.TheDialog();
    return dialog != nullptr && dialog->Write(call.sent.DialogName(), value);
}

// A text in the answer, wherever texts are in this kind of call.
std::string AnsweredText(const AskedCall& call) {
    if (!call.answer.IsEngine()) {
        return call.AnsweredBytes(inHandle);
    }
    NIMBO_ALLOW_OFFSETS_BEHIND_BASES
    constexpr size_t place = offsetof(FDEngineBlock, string) + offsetof(FDStringBlock, units);
    NIMBO_ALLOWED
    const RecordedItem* text = call.end->contents.Find(0, place, Recording::Target::Memory);
    std::vector<unsigned short> units(text != nullptr ? text->bytes.size() / 2 : 0);
    if (!units.empty()) {
        std::memcpy(units.data(), text->bytes.data(), units.size() * sizeof units[0]);
    }
    return TextOfUnits(units);
}

// A button that the user can press, and whose action is just this.
bool IsPressable(const Dialog& dialog, const DialogObject& object, bool done, bool cancelled) {
    const FormAction action = !done       ? FormAction::None
                              : cancelled ? FormAction::Cancel
                                          : FormAction::Validate;
    return object.kind == FormObjectKind::Button && object.action == action && object.visible &&
           object.enabled && (object.page == 0 || object.page == dialog.page);
}

// What the user did in a turn that ended so. Anything but the press of a button shows in the turn's
// object alone; what it changed shows when the plug-in asks for it.
UserAction ActionOf(Dialog& dialog, const std::string& name, bool done, bool cancelled) {
    const DialogObject* object = dialog.FindObject(name);
    if (object != nullptr && IsPressable(dialog, *object, done, cancelled)) {
        return {.kind = UserAction::Kind::Click, .object = name};
    }
    if (done) {
        return {.kind = cancelled ? UserAction::Kind::Cancel : UserAction::Kind::Validate};
    }
    return {.kind = UserAction::Kind::Dying, .object = name, .look = [](const DialogState&) {}};
}

// The bytes of a handle that the user has edited; nothing when it was not accepted.
std::optional<std::string> Edited(const AskedCall& call) {
    if (call.end == nullptr || call.answer.Fields().param1 == 0) {
        return std::nullopt;
    }
    return call.AnsweredBytes(inHandle);
}

// A form without objects.
std::string EmptyForm() {
    const auto number = [](unsigned long value) {
        return std::string{static_cast<char>(value >> 24), static_cast<char>(value >> 16),
                           static_cast<char>(value >> 8), static_cast<char>(value)};
    };
    const std::string size = number(200UL << 16 | 200);
    const std::string layout =
        std::string(FormTag::Layout) + std::string(FormTag::Size) + number(size.size()) + size;
    return std::string(FormTag::Form) + number(layout.size()) + layout;
}
} // namespace

namespace Teaching {
std::string DialogSubject(const AskedCall& call) {
    return "dialog " + std::to_string(call.asked.Fields().param1);
}

std::string DialogVariableSubject(const AskedCall& call) {
    return DialogSubject(call) + " " + FoldCase(call.sent.DialogName());
}

std::string ListSubject(const AskedCall& call) {
    return "rows of " + DialogVariableSubject(call);
}

// A form that was there when the dialog was recorded: without the plug-in's resources it has no
// objects. Or one that could not be loaded then.
bool Form(AskedCall& call) {
    constexpr OSType formType = 0x464F3444; // FO4D
    constexpr short formNumber = 32000;
    constexpr short systemFile = 0;
    if (call.end == nullptr) {
        return false;
    }
    const short error = call.answer.Fields().error;
    if (error != ResultCode::NoError) {
        call.host.FailNext("CreateFourDDialog", error);
        return true;
    }
    const std::string name = call.sent.DialogName().substr(0, 255);
    Str255 pascal;
    StorePascal(pascal, name);
    const long before = ToolboxLiveHandles();
    const Handle found = ToolboxNamedResource(formType, pascal);
    if (found != nullptr) {
        if (ToolboxLiveHandles() > before) {
            ReleaseResource(found);
        }
        return false;
    }
    const std::string form = EmptyForm();
    return call.answer.Fields().param1 != 0 &&
           ToolboxAddResource(systemFile, formType, formNumber, name.c_str(), form.data(),
                              static_cast<long>(form.size())) == ResultCode::NoError;
}

bool UsersTurn(AskedCall& call) {
    Dialog* const dialog = call.TheDialog();
    if (dialog == nullptr || !dialog->IsOpen() || dialog->ended != DialogOutcome::Open) {
        return false;
    }
    const CallFields& answer = call.answer.Fields();
    if (call.end == nullptr) {
        call.host.dialogs.actions.push_back({.kind = UserAction::Kind::Cancel});
    } else {
        call.host.dialogs.actions.push_back(
            ActionOf(*dialog, call.answer.DialogName(), answer.param2 != 0, answer.param3 != 0));
    }
    return true;
}

bool DialogVariable(AskedCall& call) {
    Dialog* const dialog = call.TheDialog();
    ValueBlock value{};
    if (dialog == nullptr || call.answer.Fields().error != ResultCode::NoError ||
        !call.AnsweredValue(inHandle, value)) {
        return false;
    }
    const std::string name = call.sent.DialogName();
    HostVariables& variables = call.host.variables;
    if (!HostVariables::IsName(name) || variables.Fault(dialog->VariableContext(), name, value)) {
        return false;
    }
    variables.Set(dialog->VariableContext(), name, value);
    return true;
}

bool DialogLong(AskedCall& call) {
    return Write(call, LongValue(call.answer.Fields().value.number));
}

bool DialogReal(AskedCall& call) {
    const REAL_U& real = call.answer.Fields().value.real;
    if (call.answer.IsEngine()) {
        return Write(call, RealValue(real.value));
    }
    long double extended = 0;
    std::memcpy(&extended, &real, sizeof real);
    return Write(call, RealValue(static_cast<double>(extended)));
}

bool DialogString(AskedCall& call) {
    return Write(call, StringValue(call.answer.Text()));
}

bool DialogDate(AskedCall& call) {
    const DateBlock& date = call.answer.Fields().value.date;
    return IsDate(date.year, date.month, date.day) &&
           Write(call, DateValue(date.year, date.month, date.day));
}

bool DialogText(AskedCall& call) {
    return Write(call, TextValue(AnsweredText(call)));
}

bool DialogTime(AskedCall& call) {
    return Write(call, {.kind = ValueKind::Time, .numbers = {call.answer.Fields().value.number}});
}

bool DialogPage(AskedCall& call) {
    Dialog* const dialog = call.TheDialog();
    const long page = call.answer.Fields().param2;
    if (dialog == nullptr || page < 1 || page > dialog->pages) {
        return false;
    }
    dialog->page = static_cast<short>(page);
    return true;
}

bool LastObject(AskedCall& call) {
    Dialog* const dialog = call.TheDialog();
    if (dialog == nullptr) {
        return false;
    }
    dialog->lastObject = call.answer.DialogName();
    return true;
}

bool ChosenField(AskedCall& call) {
    Dialog* const dialog = call.TheDialog();
    FieldList* const list =
        dialog != nullptr ? dialog->FindFieldList(call.sent.DialogName()) : nullptr;
    if (list == nullptr) {
        return false;
    }
    const CallFields& answer = call.answer.Fields();
    const auto row = std::ranges::find_if(list->rows, [&](const FieldRow& each) {
        return each.table == answer.table && each.field == answer.field;
    });
    list->chosen = row == list->rows.end() ? 0 : row - list->rows.begin() + 1;
    return true;
}

bool Confirmation(AskedCall& call) {
    if (call.end == nullptr || call.answer.Fields().error != ResultCode::NoError) {
        return false;
    }
    call.host.boxes.confirmAnswers.push_back(long{call.answer.Fields().param2});
    return true;
}

bool EditedFormula(AskedCall& call) {
    call.host.language.formulaEntries.assign(1, Edited(call));
    return true;
}

bool EditedPicture(AskedCall& call) {
    call.host.pictureEdits.assign(1, Edited(call));
    return true;
}
} // namespace Teaching
