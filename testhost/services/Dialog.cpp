#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/model/PluginEntry.h"
#include "testhost/services/DialogRequest.h"
#include "testhost/services/Service.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Storage.h"

#include <cstring>

// Dialogs and their variables.

namespace {
using Request = DialogRequest;

constexpr long dialogTag = 0x35363536; // "5656": goes with every new dialog

std::string Pascal(const std::string& text) {
    return static_cast<char>(text.size()) + text;
}

// The bytes of the current file's resource. One that nobody has loaded is released again; one that
// the plug-in has loaded stays its own.
template <typename Get>
std::optional<std::string> ResourceContents(Get get) {
    const long before = ToolboxLiveHandles();
    const Handle handle = get();
    if (handle == nullptr) {
        return std::nullopt;
    }
    std::string contents = HandleContents(handle);
    if (ToolboxLiveHandles() > before) {
        ReleaseResource(handle);
    }
    return contents;
}

// --- Dialogs -----------------------------------------------------------------------------------

void ReceiveNewContext(ServiceCall& call) {
    call.host.dialogs.contextRefused = true; // until it is made
}

void NewContext(ServiceCall& call) {
    call.host.dialogs.contextRefused = false;
    call.fields.param1 = call.host.dialogs.NewContext();
}

// Also when the call is made to fail: what becomes of a context without a dialog is then the
// plug-in's own affair.
void ReceiveCreate(ServiceCall& call) {
    if (Dialog* context = call.host.dialogs.Find(call.fields.param1)) {
        context->wasToOpen = true;
    }
}

void Create(Request& request) {
    constexpr OSType formType = 0x464F3444; // FO4D
    ServiceCall& call = request.call;
    if (call.fields.param4 != dialogTag || call.fields.handle == nullptr) {
        call.host.Report("A new dialog came without its tag or the address of a rectangle.");
    }
    const long reference = call.fields.param1;
    call.fields.param1 = 0;
    if (request.dialog.IsOpen()) {
        return call.host.Report("A dialog was to be made in what is a dialog already.");
    }
    const std::string form = request.Name();
    const std::string name = Pascal(form);
    const auto bytes = ResourceContents([&] {
        return ToolboxNamedResource(formType, reinterpret_cast<const unsigned char*>(name.data()));
    });
    call.fields.param1 = call.host.dialogs.Open(reference, call.host.currentProcess, form,
                                                request.String(), bytes.value_or(""));
}

void Close(Request& request) {
    if (request.dialog.updates != 0 && request.dialog.failedUpdateCalls == 0) {
        request.call.host.Report("The dialog " + Quoted(request.dialog.title) +
                                 " is closed in the middle of an update of its variables.");
    }
    request.call.host.dialogs.Close(request.call.fields.param1);
}

// On hosts from 11.0 on no filter procedure comes along.
Dialogs::Filter FilterOf(const ServiceCall& call) {
    void* const address = call.IsEngine() ? nullptr : call.fields.handle;
    if (address == nullptr) {
        return {};
    }
    void* const dialog = reinterpret_cast<void*>(call.fields.param1);
    return
        [&host = call.host, address, dialog](const EventRecord& event, const DialogObject* object) {
            EventRecord copy = event;
            Str255 name = {};
            StorePascal(name, object != nullptr ? object->name : std::string());
            const auto word = [](bool yes) { return reinterpret_cast<void*>(yes ? 1L : 0L); };
            void* const words[] = {dialog, &copy, name, word(object != nullptr && object->enabled),
                                   word(object != nullptr && object->editable)};
            CallPluginProcedure(host, address, words, "The dialog's filter");
        };
}

void Modal(Request& request) {
    ServiceCall& call = request.call;
    if (!request.dialog.IsOpen() || request.dialog.inTurn) {
        call.host.Report("A dialog that is not open, or within its own filter, was to be run.");
        call.fields.param2 = 1; // so that no loop goes on for ever
        call.fields.param3 = 1;
        return;
    }
    const DialogTurn turn = call.host.dialogs.Play(request.dialog, FilterOf(call));
    request.AnswerName(turn.object);
    call.fields.param2 = turn.done ? 1 : 0;
    call.fields.param3 = turn.cancelled ? 1 : 0;
}

void LeaveContext(Request& request) {
    ServiceCall& call = request.call;
    call.fields.param2 = call.host.dialogs.EnterContext(call.host.currentProcess, 0);
}

void EnterContext(Request& request) {
    ServiceCall& call = request.call;
    if (call.fields.param2 != 0 && call.host.dialogs.Find(call.fields.param2) == nullptr) {
        return call.host.Report("The variable context to be entered is that of no dialog.");
    }
    call.host.dialogs.EnterContext(call.host.currentProcess, call.fields.param2);
}

// A plug-in may or may not heed that such a call has failed: then nobody can tell how many updates
// have begun.
void ReceiveUpdate(ServiceCall& call) {
    if (Dialog* const dialog = call.host.dialogs.Find(call.fields.param1)) {
        ++dialog->failedUpdateCalls;
    }
}

void BeginUpdate(Request& request) {
    --request.dialog.failedUpdateCalls;
    ++request.dialog.updates;
}

void EndUpdate(Request& request) {
    --request.dialog.failedUpdateCalls;
    if (--request.dialog.updates < 0) {
        request.dialog.updates = 0;
        if (request.dialog.failedUpdateCalls == 0) {
            request.call.host.Report("An update of a dialog's variables ends that never began.");
        }
    }
}

void GotoPage(Request& request) {
    const long page = request.call.fields.param2;
    if (page >= 1 && page <= request.dialog.pages) {
        request.dialog.page = static_cast<short>(page);
    }
}

// --- Values of variables -------------------------------------------------------------------------

void GetVar(Request& request) {
    CallFields& fields = request.call.fields;
    const ValueBlock* value = request.dialog.Find(request.Name());
    fields.error = ResultCode::BadParameter;
    if (value != nullptr && fields.handle != nullptr) {
        request.call.host.variables.Touch(request.dialog.VariableContext(), request.Name());
        std::memcpy(static_cast<void*>(fields.handle), value, sizeof *value);
        fields.error = ResultCode::NoError;
    }
}

// Takes over what the value holds; on an error it stays the plug-in's.
void SetVar(Request& request) {
    ServiceCall& call = request.call;
    call.fields.error = ResultCode::BadParameter;
    const std::string name = request.Name();
    if (call.fields.handle == nullptr || !HostVariables::IsName(name)) {
        return;
    }
    ValueBlock block{};
    std::memcpy(&block, static_cast<const void*>(call.fields.handle), sizeof block);
    HostVariables& variables = call.host.variables;
    if (const auto fault = variables.Fault(request.dialog.VariableContext(), name, block)) {
        return call.host.Report("DialogSetVar: the value for " + Quoted(name) + " holds " + *fault +
                                ".");
    }
    const ValueBlock* former = request.dialog.Find(name);
    if (former == nullptr || former->type == block.type) {
        variables.Adopt(request.dialog.VariableContext(), name, block);
    } else {
        const BlockParts parts = PartsOf(block, variables.layout);
        if (!request.dialog.Write(name, FetchBlock({}, block, variables.layout))) {
            return;
        }
        variables.TakeBack(parts);
        FreeParts(parts, variables.layout);
    }
    call.fields.error = ResultCode::NoError;
}

void SetPictureVar(Request& request) {
    request.Set(PictureValue(request.Bytes()));
}

void SetDateVar(Request& request) {
    const DateBlock date = request.call.fields.value.date;
    request.Set(DateValue(date.year, date.month, date.day));
}

void GetDateVar(Request& request) {
    const TypedValue value = request.Get(ValueKind::Date); // day, month, year
    request.call.fields.value.date = {static_cast<short>(value.numbers.at(0)),
                                      static_cast<short>(value.numbers.at(1)),
                                      static_cast<short>(value.numbers.at(2))};
}

// --- Properties of objects -----------------------------------------------------------------------

template <auto Property, Dialog::By By>
void SetFlag(Request& request) {
    const bool on = request.Flag();
    request.ForEach(By, [on](DialogObject& object) { object.*Property = on; });
}

template <auto Property>
void SetBound(Request& request) {
    const double bound = request.Real();
    const bool used = request.Flag();
    request.ForEach(Dialog::By::Either, [=](DialogObject& object) {
        object.*Property = used ? std::optional(bound) : std::nullopt;
    });
}

template <auto Property>
void SetString(Request& request) {
    const std::string text = request.String();
    request.ForEach(Dialog::By::Either, [&](DialogObject& object) { object.*Property = text; });
}

void SetTitle(Request& request) {
    const std::string title = request.String();
    request.ForEach(request.Flag() ? Dialog::By::Variable : Dialog::By::Object,
                    [&](DialogObject& object) { object.title = title; });
}

// What is redrawn looks the same here: only the object has to be there.
template <Dialog::By By>
void Redraw(Request& request) {
    request.ForEach(By, [](DialogObject&) {});
}

void GetRect(Request& request) {
    request.ForEach(Dialog::By::Object, [&](DialogObject& object) {
        const Point corners[2] = {{object.rect.top, object.rect.left},
                                  {object.rect.bottom, object.rect.right}};
        CallFields& fields = request.call.fields;
        std::memcpy(&fields.param2, &corners[0], sizeof fields.param2);
        std::memcpy(&fields.param3, &corners[1], sizeof fields.param3);
    });
}

// --- Arrays ------------------------------------------------------------------------------------

template <ValueKind Kind>
void NewArray(Request& request) {
    request.Check(request.dialog.NewArray(request.Name(), Kind), "array");
}

std::optional<TypedValue> ElementOf(Request& request) {
    return request.dialog.Element(request.Name(), request.call.fields.param2);
}

void GetLongElement(Request& request) {
    if (const auto element = ElementOf(request); element && element->kind == ValueKind::Long) {
        request.call.fields.value.number = element->numbers.at(0);
    }
}

void GetRealElement(Request& request) {
    if (const auto element = ElementOf(request); element && element->kind == ValueKind::Real) {
        request.AnswerReal(element->real);
    }
}

std::optional<std::string> TextElementOf(Request& request) {
    const auto element = ElementOf(request);
    const bool text =
        element && (element->kind == ValueKind::String || element->kind == ValueKind::Text);
    return text ? std::optional(element->texts.at(0)) : std::nullopt;
}

void GetStringElement(Request& request) {
    request.call.AnswerText(TextElementOf(request).value_or(""));
}

void GetTextElement(Request& request) {
    if (const auto text = TextElementOf(request)) {
        request.AnswerText(*text);
    }
}

void LoadTexts(Request& request, const std::vector<std::string>& texts) {
    request.Check(request.dialog.LoadTexts(request.Name(), texts), "array");
}

// The strings of a string list, as far as they lie within it.
std::vector<std::string> StringsOf(const std::string& list) {
    std::vector<std::string> strings;
    const auto byte = [&](size_t place) { return static_cast<unsigned char>(list[place]); };
    size_t count = list.size() < 2 ? 0 : byte(0) * 256U + byte(1);
    for (size_t place = 2; count > 0 && place < list.size(); --count) {
        const size_t length = byte(place);
        if (length > list.size() - place - 1) {
            break;
        }
        strings.push_back(list.substr(place + 1, length));
        place += 1 + length;
    }
    return strings;
}

void LoadStringList(Request& request) {
    const CallFields& fields = request.call.fields;
    const auto list = ResourceContents([&] {
        return GetResource(static_cast<OSType>(fields.param2), static_cast<short>(fields.param3));
    });
    LoadTexts(request, StringsOf(list.value_or("")));
}

void LoadTableNames(Request& request) {
    const Database& database = request.call.host.database;
    std::vector<std::string> names;
    for (const short table : AllowedTables(database, request.call.fields.param2)) {
        names.push_back(database.Table(table)->name);
    }
    LoadTexts(request, names);
}

void LoadFieldNames(Request& request) {
    const Database& database = request.call.host.database;
    const short table = request.call.fields.table;
    std::vector<std::string> names;
    for (const short field : AllowedFields(database, table, request.call.fields.param2)) {
        names.push_back(database.Field(table, field)->name);
    }
    LoadTexts(request, names);
}

// The paragraphs of the text; the identifier means nothing here.
void LoadParagraphs(Request& request) {
    std::string text = request.Text();
    std::vector<std::string> paragraphs;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\r'), text.size());
        paragraphs.push_back(text.substr(0, end));
        text.erase(0, end + 1);
    }
    LoadTexts(request, paragraphs);
}

// --- Hierarchical lists and dragging
// ---------------------------------------------------------------

void GetTableField(Request& request) {
    const FieldList* list = request.dialog.FindFieldList(request.Name());
    if (list != nullptr && list->chosen > 0) {
        const FieldRow& row = list->rows[static_cast<size_t>(list->chosen) - 1];
        request.call.fields.table = row.table;
        request.call.fields.field = row.field;
    }
}

void SetTableField(Request& request) {
    FieldList* list = request.dialog.FindFieldList(request.Name());
    if (list == nullptr) {
        return request.Check(false, "list");
    }
    list->chosen = 0;
    for (size_t row = 0; row < list->rows.size(); ++row) {
        if (list->rows[row].table == request.call.fields.table &&
            list->rows[row].field == request.call.fields.field) {
            list->chosen = static_cast<long>(row) + 1;
        }
    }
}

void DragInfo(Request& request) {
    if (const auto& drag = request.dialog.drag) {
        CallFields& fields = request.call.fields;
        request.AnswerName(drag->source);
        StorePascal(request.call.valueText, drag->target);
        std::memcpy(&fields.param2, &drag->sourcePoint, sizeof fields.param2);
        std::memcpy(&fields.param3, &drag->targetPoint, sizeof fields.param3);
    }
}

// --- Windows -------------------------------------------------------------------------------------

void DialogFromWindow(ServiceCall& call) {
    call.fields.param1 =
        call.host.dialogs.OfWindow(reinterpret_cast<const void*>(call.fields.param2));
}

void WindowFromDialog(ServiceCall& call) {
    const Dialog* dialog = call.host.dialogs.Find(call.fields.param1);
    call.fields.param2 = dialog == nullptr ? 0 : reinterpret_cast<long>(dialog->window);
}

// --- The table -----------------------------------------------------------------------------------

// Serves an operation on a dialog or dialog context that is there.
template <auto Serve>
void OnDialog(ServiceCall& call) {
    Dialog* dialog = call.host.dialogs.Find(call.fields.param1);
    if (dialog == nullptr) {
        call.host.Report("A dialog operation came for " + std::to_string(call.fields.param1) +
                         ", which is no dialog (any more).");
        return;
    }
    Request request(call, *dialog);
    Serve(request);
}

// A plug-in that was refused a context hears of it here at the latest.
void CreateInContext(ServiceCall& call) {
    if (call.fields.param1 == 0 && call.host.dialogs.contextRefused) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    OnDialog<Create>(call);
}

// `in` is what may come in a classic call; in an engine call texts come as UTF-16.
consteval Service Row(std::string_view selector, RecordField::Set in, void (*serve)(ServiceCall&),
                      void (*receive)(ServiceCall&) = nullptr) {
    constexpr auto texts = static_cast<unsigned>(RecordField::Name | RecordField::ValueText);
    const auto others = static_cast<RecordField::Set>(in & ~texts);
    const auto name = (in & RecordField::Name) != 0 ? RecordField::UniName : RecordField::None;
    const auto text = (in & RecordField::ValueText) != 0 ? RecordField::UniText : RecordField::None;
    return {Select(selector), others, serve, name | text, static_cast<RecordField::Set>(in & texts),
            receive};
}

using RecordField::Field, RecordField::Flag1, RecordField::Param2, RecordField::Param3,
    RecordField::Param4, RecordField::Table, RecordField::ValueDate, RecordField::ValueNumber,
    RecordField::ValueReal, RecordField::ValueText;
constexpr auto whole = RecordField::Param1;                     // a dialog as a whole
constexpr auto named = RecordField::Param1 | RecordField::Name; // a variable or object
constexpr auto element = named | Param2;
constexpr auto address = RecordField::Handle;
constexpr auto byVariable = Dialog::By::Variable;
constexpr auto byEither = Dialog::By::Either;
} // namespace

std::span<const Service> DialogServices() {
    static constexpr Service services[] = {
        Row("CreateFourDDialogContext", RecordField::None, NewContext, ReceiveNewContext),
        Row("CreateFourDDialog", named | ValueText | Param2 | Param3 | Flag1 | address | Param4,
            CreateInContext, ReceiveCreate),
        Row("DialogClose", whole, OnDialog<Close>),
        // The filter procedure comes in classic calls only.
        {Select("ModalDialog"), whole, OnDialog<Modal>, RecordField::None, address},
        Row("DialogEnd", whole | Param2, OnDialog<[](Request& request) {
                request.dialog.ended =
                    request.Flag() ? DialogOutcome::Cancelled : DialogOutcome::Validated;
            }>),
        Row("DialogSwitchTo4DContext", whole, OnDialog<LeaveContext>),
        Row("DialogSwitchToDlogContext", whole | Param2, OnDialog<EnterContext>),
        Row("DialogBeginUpdateVars", whole, OnDialog<BeginUpdate>, ReceiveUpdate),
        Row("DialogEndUpdateVars", whole, OnDialog<EndUpdate>, ReceiveUpdate),
        Row("DialogGotoPage", whole | Param2, OnDialog<GotoPage>),
        Row("DialogCurrentPage", whole,
            OnDialog<[](Request& request) { request.call.fields.param2 = request.dialog.page; }>),
        Row("DialogSetUserData", whole | address, OnDialog<[](Request& request) {
                request.dialog.userData = request.call.fields.handle;
            }>),
        Row("DialogGetUserData", whole, OnDialog<[](Request& request) {
                request.call.fields.handle = static_cast<Handle>(request.dialog.userData);
            }>),

        Row("DialogGetVar", named | address, OnDialog<GetVar>),
        Row("DialogSetVar", named | address, OnDialog<SetVar>),
        Row("DialogGetLongVar", named, OnDialog<[](Request& request) {
                request.call.fields.value.number = request.Get(ValueKind::Long).numbers.at(0);
            }>),
        Row("DialogSetLongVar", named | ValueNumber, OnDialog<[](Request& request) {
                request.Set(LongValue(request.call.fields.value.number));
            }>),
        Row("DialogGetNativeRealVar", named, OnDialog<[](Request& request) {
                request.AnswerReal(request.Get(ValueKind::Real).real);
            }>),
        Row("DialogSetNativeRealVar", named | ValueReal,
            OnDialog<[](Request& request) { request.Set(RealValue(request.Real())); }>),
        Row("DialogGetStringVar", named, OnDialog<[](Request& request) {
                request.call.AnswerText(request.Get(ValueKind::String).texts.at(0));
            }>),
        Row("DialogSetStringVar", named | ValueText,
            OnDialog<[](Request& request) { request.Set(StringValue(request.String())); }>),
        Row("DialogSetPictureVar", named | address, OnDialog<SetPictureVar>),
        Row("DialogSetDateVar", named | ValueDate, OnDialog<SetDateVar>),
        Row("DialogGetDateVar", named, OnDialog<GetDateVar>),
        {Select("DialogSetTextVar"), whole,
         OnDialog<[](Request& request) { request.Set(TextValue(request.Text())); }>,
         RecordField::UniName | RecordField::HostString, RecordField::Name | address},
        Row("DialogGetTextVar", named, OnDialog<[](Request& request) {
                request.AnswerText(request.Get(ValueKind::Text).texts.at(0));
            }>),
        Row("DialogSetTimeVar", named | ValueNumber, OnDialog<[](Request& request) {
                request.Set(
                    {.kind = ValueKind::Time, .numbers = {request.call.fields.value.number}});
            }>),
        Row("DialogGetTimeVar", named, OnDialog<[](Request& request) {
                request.call.fields.value.number = request.Get(ValueKind::Time).numbers.at(0);
            }>),

        Row("DialogSetVarEnabled", named | Param2,
            OnDialog<SetFlag<&DialogObject::enabled, byVariable>>),
        Row("DialogSetVarVisible", named | Param2,
            OnDialog<SetFlag<&DialogObject::visible, byVariable>>),
        Row("DialogSetObjVisible", named | Param2,
            OnDialog<SetFlag<&DialogObject::visible, Dialog::By::Object>>),
        Row("DialogSetEditable", named | Param2,
            OnDialog<SetFlag<&DialogObject::editable, byEither>>),
        Row("DialogSetThreeStateCheckBox", named | Param2,
            OnDialog<SetFlag<&DialogObject::threeState, byEither>>),
        Row("DialogSetNumVarMin", named | Param2 | ValueReal,
            OnDialog<SetBound<&DialogObject::minimum>>),
        Row("DialogSetNumVarMax", named | Param2 | ValueReal,
            OnDialog<SetBound<&DialogObject::maximum>>),
        Row("DialogSetTitle", named | ValueText | Param2, OnDialog<SetTitle>),
        Row("DialogUpdateObjTitle", named, OnDialog<Redraw<Dialog::By::Object>>),
        Row("DialogSetEntryFilter", named | ValueText, OnDialog<SetString<&DialogObject::filter>>),
        Row("DialogSetEntryFormat", named | ValueText, OnDialog<SetString<&DialogObject::format>>),
        Row("DialogGetRect", named, OnDialog<GetRect>),
        Row("DialogRedraw", named, OnDialog<Redraw<Dialog::By::Object>>),
        Row("DialogGetLastObject", whole,
            OnDialog<[](Request& request) { request.AnswerName(request.dialog.lastObject); }>),
        Row("DialogGotoVariable", named, OnDialog<[](Request& request) {
                request.ForEach(byVariable, [&](DialogObject& object) {
                    request.dialog.lastObject = object.name;
                });
            }>),

        Row("DialogNewArrayLong", named, OnDialog<NewArray<ValueKind::LongArray>>),
        Row("DialogNewArrayReal", named, OnDialog<NewArray<ValueKind::RealArray>>),
        Row("DialogNewArrayString", named, OnDialog<NewArray<ValueKind::StringArray>>),
        Row("DialogNewArrayText", named, OnDialog<NewArray<ValueKind::TextArray>>),
        Row("DialogNewArrayPicture", named, OnDialog<NewArray<ValueKind::PictureArray>>),
        Row("DialogSetArrayElementLong", element | ValueNumber, OnDialog<[](Request& request) {
                request.SetElement(LongValue(request.call.fields.value.number));
            }>),
        Row("DialogSetArrayElementReal", element | ValueReal,
            OnDialog<[](Request& request) { request.SetElement(RealValue(request.Real())); }>),
        Row("DialogSetArrayElementString", element | ValueText,
            OnDialog<[](Request& request) { request.SetElement(StringValue(request.String())); }>),
        Row("DialogSetArrayElementText", element | address,
            OnDialog<[](Request& request) { request.SetElement(TextValue(request.Text())); }>),
        Row("DialogSetArrayElementPicture", element | address,
            OnDialog<[](Request& request) { request.SetElement(PictureValue(request.Bytes())); }>),
        Row("DialogGetArrayElementLong", element, OnDialog<GetLongElement>),
        Row("DialogGetArrayElementReal", element, OnDialog<GetRealElement>),
        Row("DialogGetArrayElementString", element, OnDialog<GetStringElement>),
        Row("DialogGetArrayElementText", element, OnDialog<GetTextElement>),
        Row("DialogGetArraySize", named, OnDialog<[](Request& request) {
                request.call.fields.param2 = request.dialog.ArraySize(request.Name());
            }>),
        Row("DialogDeleteArrayElements", element | Param3, OnDialog<[](Request& request) {
                request.dialog.DeleteElements(request.Name(), request.call.fields.param2,
                                              request.call.fields.param3);
            }>),
        Row("DialogLoadTextArrayFromResource", named | Param2 | Param3, OnDialog<LoadStringList>),
        Row("DialogLoadTextArrayFromTableNames", named | Param2, OnDialog<LoadTableNames>),
        Row("DialogLoadTextArrayFromFieldNames", named | Table | Param2, OnDialog<LoadFieldNames>),
        Row("DialogLoadTextArrayFromTTR", named | address | Param2, OnDialog<LoadParagraphs>),

        Row("DialogNewTableFieldHList", named | Table | Param2 | Param3,
            OnDialog<[](Request& request) {
                request.dialog.NewFieldList(request.Name(), request.call.fields.table,
                                            request.call.fields.param2);
            }>),
        Row("DialogClearHList", named,
            OnDialog<[](Request& request) { request.dialog.ClearFieldList(request.Name()); }>),
        Row("DialogGetTableFieldFromHList", named | Param2, OnDialog<GetTableField>),
        Row("DialogSetTableFieldInHList", named | Table | Field | Param2, OnDialog<SetTableField>),
        Row("DialogGetDragInfo", whole, OnDialog<DragInfo>),

        {Select("DialogFromWindow"), RecordField::Param2, DialogFromWindow},
        {Select("WindowFromDialog"), RecordField::Param1, WindowFromDialog},
    };
    return services;
}
