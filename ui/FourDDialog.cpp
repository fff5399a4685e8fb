#include "ui/FourDDialog.h"

#include "data/Handles.h"
#include "data/Value.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/Strings.h"
#include "ui/DialogCall.h"

#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace {

unsigned char Flag(long answered) {
    return answered != 0 ? 1 : 0;
}

/// What an empty recording makes, with six zero bytes behind it; the caller disposes of it.
Handle EmptyPicture() {
    const Rect frame = {};
    auto* const picture = reinterpret_cast<Handle>(OpenPicture(&frame));
    ClosePicture();
    const unsigned char zeros[6] = {};
    if (picture != nullptr) {
        PtrAndHand(zeros, picture, sizeof zeros);
    }
    return picture;
}

void SendHostString(FourDDialog* dialog, const char* name, Handle text) {
    FDStringBlock string = {};
    if (FourD::CreateFDString(&string) != 0) {
        return;
    }
    if (text != nullptr) {
        const SHandleLocker locked(text);
        FourD::CopyStringBufferToFDString(*text, GetHandleSize(text), &string);
    }
    Perform(Operation("SetTextVar"), {.dialog = dialog, .name = name, .text = string});
    FourD::DisposeFDStringBlock(&string);
}

/// The characters of a host string in a new handle, exactly sized.
Handle HandleOf(FDStringBlock* string) {
    const long length = string->length > 0 ? string->length : 0;
    Handle text = length < LONG_MAX ? NewHandleClear(length + 1) : nullptr;
    if (text != nullptr) {
        FourD::CopyFDStringToCString(string, *text, length + 1);
        SetHandleSize(text, length);
    }
    return text;
}

} // namespace

// --- Life -------------------------------------------------------------------------------------

FourDDialog* FourDDialog::CreateFourDDialogContext() {
    return Perform(Operation("CreateFourDDialogContext"), {}).dialog;
}

FourDDialog* FourDDialog::CreateFourDDialog(const unsigned char* formName,
                                            const unsigned char* windowTitle, short windowType,
                                            long windowOptions, unsigned char flag,
                                            const Rect* rect, FourDDialog* context) {
    const SResFileSetter ours(gHost.pluginResFile);
    const Rect none = {};
    char name[256] = "";
    if (formName != nullptr) {
        _CopyP2CStr(formName, name);
    }
    const DialogValues created =
        Perform(Operation("CreateFourDDialog"), {.dialog = context,
                                                 .name = name,
                                                 .string = windowTitle,
                                                 .address = rect != nullptr ? rect : &none,
                                                 .param2 = windowType,
                                                 .param3 = windowOptions,
                                                 .param4 = DialogTag,
                                                 .flag1 = flag});
    // A host that refuses leaves the context where the dialog would be.
    return created.error == 0 ? created.dialog : nullptr;
}

void FourDDialog::Close(FourDDialog* dialog) {
    Perform(Operation("Close"), {.dialog = dialog});
}

void FourDDialog::ModalDialog(FourDDialog* dialog, DialogFilter filter, char* objectName,
                              unsigned char* done, unsigned char* cancelled) {
    const DialogValues hit = Perform(
        Operation("ModalDialog"), {.dialog = dialog, .address = filter, .nameResult = objectName});
    if (done != nullptr) {
        *done = Flag(hit.param2);
    }
    if (cancelled != nullptr) {
        *cancelled = Flag(hit.param3);
    }
}

void FourDDialog::Cancel(FourDDialog* dialog) {
    Perform(Operation("Cancel"), {.dialog = dialog, .param2 = 1});
}

void FourDDialog::Validate(FourDDialog* dialog) {
    Perform(Operation("Validate"), {.dialog = dialog});
}

// --- The dialog as a whole ----------------------------------------------------------------------

long FourDDialog::SwitchTo4DContext(FourDDialog* dialog) {
    return Perform(Operation("SwitchTo4DContext"), {.dialog = dialog}).param2;
}

void FourDDialog::SwitchToDlogContext(FourDDialog* dialog, long saved) {
    Perform(Operation("SwitchToDlogContext"), {.dialog = dialog, .param2 = saved});
}

void FourDDialog::BeginUpdateVars(FourDDialog* dialog) {
    Perform(Operation("BeginUpdateVars"), {.dialog = dialog});
}

void FourDDialog::EndUpdateVars(FourDDialog* dialog) {
    Perform(Operation("EndUpdateVars"), {.dialog = dialog});
}

void FourDDialog::GotoPage(FourDDialog* dialog, long page) {
    Perform(Operation("GotoPage"), {.dialog = dialog, .param2 = page});
}

long FourDDialog::CurrentPage(FourDDialog* dialog) {
    return Perform(Operation("CurrentPage"), {.dialog = dialog}).param2;
}

void FourDDialog::GetLastObject(FourDDialog* dialog, char* name) {
    Perform(Operation("GetLastObject"), {.dialog = dialog, .nameResult = name});
}

void FourDDialog::GotoVariable(FourDDialog* dialog, const char* name) {
    Perform(Operation("GotoVariable"), {.dialog = dialog, .name = name});
}

void FourDDialog_SetUserData(FourDDialog* dialog, void* data) {
    Perform(Operation("SetUserData"), {.dialog = dialog, .address = data});
}

void* FourDDialog_GetUserData(FourDDialog* dialog) {
    return const_cast<void*>(Perform(Operation("GetUserData"), {.dialog = dialog}).address);
}

// --- Variables ----------------------------------------------------------------------------------

OSErr FourDDialog::GetVar(FourDDialog* dialog, const char* name, ValueBlock* value) {
    return Perform(Operation("GetVar"), {.dialog = dialog, .name = name, .address = value}).error;
}

OSErr FourDDialog::SetVar(FourDDialog* dialog, const char* name, ValueBlock* value) {
    return Perform(Operation("SetVar"), {.dialog = dialog, .name = name, .address = value}).error;
}

unsigned char FourDDialog::GetBooleanVar(FourDDialog* dialog, const char* name) {
    ValueBlock value = {};
    unsigned char on = 0;
    if (GetVar(dialog, name, &value) == 0) {
        Value2Boolean(&value, &on);
    }
    return on;
}

void FourDDialog::SetBooleanVar(FourDDialog* dialog, const char* name, unsigned char on) {
    ValueBlock value = {};
    value.type = ValueType::Boolean;
    value.boolean = on;
    SetVar(dialog, name, &value);
}

long FourDDialog::GetLongVar(FourDDialog* dialog, const char* name) {
    return Perform(Operation("GetLongVar"), {.dialog = dialog, .name = name}).number;
}

void FourDDialog::SetLongVar(FourDDialog* dialog, const char* name, long value) {
    Perform(Operation("SetLongVar"), {.dialog = dialog, .name = name, .number = value});
}

double FourDDialog::GetNativeRealVar(FourDDialog* dialog, const char* name) {
    return Perform(Operation("GetNativeRealVar"), {.dialog = dialog, .name = name}).real;
}

void FourDDialog::SetNativeRealVar(FourDDialog* dialog, const char* name, double value) {
    Perform(Operation("SetNativeRealVar"), {.dialog = dialog, .name = name, .real = value});
}

void FourDDialog::GetStringVar(FourDDialog* dialog, const char* name, unsigned char* value) {
    Perform(Operation("GetStringVar"), {.dialog = dialog, .name = name, .stringResult = value});
}

void FourDDialog::SetStringVar(FourDDialog* dialog, const char* name, const unsigned char* value) {
    Perform(Operation("SetStringVar"), {.dialog = dialog, .name = name, .string = value});
}

void FourDDialog::SetStringVar(FourDDialog* dialog, const char* name, short listID, short index) {
    Str255 value = {};
    FourD::GetPluginIndString(value, listID, index);
    SetStringVar(dialog, name, value);
}

void FourDDialog::SetStringVar(FourDDialog* dialog, const char* name, const char* format, ...) {
    char text[256] = "";
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    Str255 value = {};
    _CopyC2PStr(text, value);
    SetStringVar(dialog, name, value);
}

Handle FourDDialog::GetTextVar(FourDDialog* dialog, const char* name) {
    DialogValues answered = Perform(Operation("GetTextVar"), {.dialog = dialog, .name = name});
    if (!gHost.HasEngine()) {
        return static_cast<Handle>(const_cast<void*>(answered.address));
    }
    if (answered.error != 0) {
        return nullptr;
    }
    Handle text = HandleOf(&answered.text);
    FourD::DisposeFDStringBlock(&answered.text);
    return text;
}

void FourDDialog::SetTextVar(FourDDialog* dialog, const char* name, Handle text) {
    if (gHost.BcdVersion() >= Operation("SetTextVar").engineFrom) {
        SendHostString(dialog, name, text);
        return;
    }
    const TemporaryHandle empty(text == nullptr ? NewHandle(0) : nullptr);
    Perform(Operation("SetTextVar"),
            {.dialog = dialog, .name = name, .address = text != nullptr ? text : empty.Get()});
}

void FourDDialog::SetTextVar(FourDDialog* dialog, const char* name, const unsigned char* text) {
    const TemporaryHandle copy(text != nullptr ? text + 1 : nullptr, text != nullptr ? text[0] : 0);
    SetTextVar(dialog, name, copy.Get());
}

void FourDDialog::SetTextVar(FourDDialog* dialog, const char* name, const char* text) {
    const TemporaryHandle copy(text, text != nullptr ? static_cast<long>(std::strlen(text)) : 0);
    SetTextVar(dialog, name, copy.Get());
}

Picture** FourDDialog::GetPictureVar(FourDDialog*, const char*) {
    return nullptr;
}

void FourDDialog::SetPictureVar(FourDDialog* dialog, const char* name, Picture** picture) {
    const TemporaryHandle empty(picture == nullptr ? EmptyPicture() : nullptr);
    const void* const sent = picture != nullptr ? static_cast<void*>(picture) : empty.Get();
    Perform(Operation("SetPictureVar"), {.dialog = dialog, .name = name, .address = sent});
}

short FourDDialog::GetDateVar(FourDDialog* dialog, const char* name, DateBlock* date) {
    *date = Perform(Operation("GetDateVar"), {.dialog = dialog, .name = name}).date;
    return date->year;
}

void FourDDialog::SetDateVar(FourDDialog* dialog, const char* name, DateBlock date) {
    Perform(Operation("SetDateVar"), {.dialog = dialog, .name = name, .date = date});
}

long FourDDialog::GetTimeVar(FourDDialog* dialog, const char* name) {
    return Perform(Operation("GetTimeVar"), {.dialog = dialog, .name = name}).number;
}

void FourDDialog::SetTimeVar(FourDDialog* dialog, const char* name, long seconds) {
    Perform(Operation("SetTimeVar"), {.dialog = dialog, .name = name, .number = seconds});
}

// --- Objects ------------------------------------------------------------------------------------

void FourDDialog::SetVarEnabled(FourDDialog* dialog, const char* name, unsigned char on) {
    Perform(Operation("SetVarEnabled"), {.dialog = dialog, .name = name, .param2 = on});
}

void FourDDialog::SetVarVisible(FourDDialog* dialog, const char* name, unsigned char on) {
    Perform(Operation("SetVarVisible"), {.dialog = dialog, .name = name, .param2 = on});
}

void FourDDialog::SetObjVisible(FourDDialog* dialog, const char* name, unsigned char on) {
    Perform(Operation("SetObjVisible"), {.dialog = dialog, .name = name, .param2 = on});
}

void FourDDialog::SetEditable(FourDDialog* dialog, const char* name, unsigned char on) {
    Perform(Operation("SetEditable"), {.dialog = dialog, .name = name, .param2 = on});
}

void FourDDialog::SetThreeStateCheckBox(FourDDialog* dialog, const char* name, unsigned char on) {
    Perform(Operation("SetThreeStateCheckBox"), {.dialog = dialog, .name = name, .param2 = on});
}

void FourDDialog::SetNumVarMinMax(FourDDialog* dialog, const char* name, double min, double max) {
    DialogValues values = {.dialog = dialog, .name = name, .real = min, .param2 = 1};
    DialogCall call(Operation("SetNumVarMin"));
    call.Place(Operation("SetNumVarMin").in, values);
    call.Send();
    // One record for both calls: name and flag are written again for newer hosts only.
    values.real = max;
    call.GoOnWith(Operation("SetNumVarMax"));
    call.Place(call.IsEngine() ? DialogField::Name | DialogField::Param2 | DialogField::Real
                               : DialogField::Real,
               values);
    call.Send();
}

void FourDDialog::SetEntryFilter(FourDDialog* dialog, const char* name,
                                 const unsigned char* filter) {
    Perform(Operation("SetEntryFilter"), {.dialog = dialog, .name = name, .string = filter});
}

void FourDDialog::SetEntryFormat(FourDDialog* dialog, const char* name,
                                 const unsigned char* format) {
    Perform(Operation("SetEntryFormat"), {.dialog = dialog, .name = name, .string = format});
}

void FourDDialog::SetVarTitle(FourDDialog* dialog, const char* name, const unsigned char* title) {
    Perform(Operation("SetVarTitle"),
            {.dialog = dialog, .name = name, .string = title, .param2 = 1});
}

void FourDDialog::SetVarTitle(FourDDialog* dialog, const char* name, const char* title) {
    Str255 string = {};
    _CopyC2PStr(title, string);
    SetVarTitle(dialog, name, string);
}

void FourDDialog::SetVarTitle(FourDDialog* dialog, const char* name, short listID, short index) {
    Str255 string = {};
    FourD::GetPluginIndString(string, listID, index);
    SetVarTitle(dialog, name, string);
}

void FourDDialog::SetObjTitle(FourDDialog* dialog, const char* name, const unsigned char* title) {
    Perform(Operation("SetObjTitle"), {.dialog = dialog, .name = name, .string = title});
}

void FourDDialog::SetObjTitle(FourDDialog* dialog, const char* name, const char* title) {
    Str255 string = {};
    _CopyC2PStr(title, string);
    SetObjTitle(dialog, name, string);
}

void FourDDialog::SetObjTitle(FourDDialog* dialog, const char* name, short listID, short index) {
    Str255 string = {};
    FourD::GetPluginIndString(string, listID, index);
    SetObjTitle(dialog, name, string);
}

void FourDDialog::UpdateObjTitle(FourDDialog* dialog, const char* name) {
    Perform(Operation("UpdateObjTitle"), {.dialog = dialog, .name = name});
}

void FourDDialog::GetRect(FourDDialog* dialog, const char* name, Rect* rect) {
    const DialogValues answered = Perform(Operation("GetRect"), {.dialog = dialog, .name = name});
    const long corners[] = {answered.param2, answered.param3};
    static_assert(sizeof corners == sizeof *rect);
    std::memcpy(rect, corners, sizeof *rect);
}

void FourDDialog::Redraw(FourDDialog* dialog, const char* name) {
    Perform(Operation("Redraw"), {.dialog = dialog, .name = name});
}
