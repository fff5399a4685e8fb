#include "ui/FourDDialog.h"

#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/Toolbox.h"
#include "shell/base/Format.h"
#include "shell/base/Strings.h"
#include "ui/DialogCall.h"

#include <climits>
#include <cstdarg>
#include <cstring>

namespace {

/// Goes with every new dialog.
constexpr long DialogTag = 0x35363536; // "5656"
/// Host version from which texts are set by host strings; everything else takes the engine record
/// one version earlier.
constexpr unsigned TextsByHostString = 0x1200;

unsigned char Flag(long answered) {
    return answered != 0 ? 1 : 0;
}

/// A Pascal string out of a text, or of the plug-in's string list.
struct PascalText {
    explicit PascalText(const char* text) { _CopyC2PStr(text != nullptr ? text : "", string); }
    PascalText(short listID, short index) { FourD::GetPluginIndString(string, listID, index); }

    Str255 string = {};
};

/// An operation that sets a flag.
void SendFlag(Selector operation, FourDDialog* dialog, const char* name, unsigned char on) {
    DialogCall call(operation, dialog, name);
    call->param2 = on;
    call.Send();
}

void SendString(Selector operation, FourDDialog* dialog, const char* name,
                const unsigned char* string) {
    DialogCall call(operation, dialog, name);
    call.SetString(string);
    call.Send();
}

/// Ends a dialog.
void SendEnd(FourDDialog* dialog, long cancelled) {
    DialogCall call(Select("DialogEnd"), dialog);
    call->param2 = cancelled;
    call.Send();
}

/// A value is read and written at its address.
OSErr SendValue(Selector operation, FourDDialog* dialog, const char* name, ValueBlock* value) {
    DialogCall call(operation, dialog, name);
    call.PutAddressOrNull(value);
    return call.Answer().error;
}

/// What an empty recording makes, with six zero bytes behind it; the caller disposes of it. Null
/// without memory, and while the plug-in records a picture of its own, which goes on.
Handle EmptyPicture() {
    const Rect frame = {};
    auto* const picture = reinterpret_cast<Handle>(OpenPicture(&frame));
    if (picture == nullptr) {
        return nullptr;
    }
    ClosePicture();
    const unsigned char zeros[6] = {};
    PtrAndHand(zeros, picture, sizeof zeros);
    return picture;
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
    DialogCall call(Select("CreateFourDDialogContext"), nullptr);
    call.Send();
    return call.Dialog();
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
    DialogCall call(Select("CreateFourDDialog"), context, name);
    call.SetString(windowTitle);
    call->param2 = windowType;
    call->param3 = windowOptions;
    call->flag1 = flag;
    call.PutAddressOrNull(rect != nullptr ? rect : &none);
    call->param4 = DialogTag;
    call.Send();
    // A host that refuses leaves the context where the dialog would be.
    return call->error == 0 ? call.Dialog() : nullptr;
}

void FourDDialog::Close(FourDDialog* dialog) {
    DialogCall(Select("DialogClose"), dialog).Send();
}

void FourDDialog::ModalDialog(FourDDialog* dialog, DialogFilter filter, char* objectName,
                              unsigned char* done, unsigned char* cancelled) {
    DialogCall call(Select("ModalDialog"), dialog);
    if (call.EngineOnly() == nullptr) {
        call.PutAddressOrNull(filter);
    }
    call.Send();
    call.GetName(objectName);
    if (done != nullptr) {
        *done = Flag(call->param2);
    }
    if (cancelled != nullptr) {
        *cancelled = Flag(call->param3);
    }
}

void FourDDialog::Cancel(FourDDialog* dialog) {
    SendEnd(dialog, 1);
}

void FourDDialog::Validate(FourDDialog* dialog) {
    SendEnd(dialog, 0);
}

// --- The dialog as a whole ----------------------------------------------------------------------

long FourDDialog::SwitchTo4DContext(FourDDialog* dialog) {
    return DialogCall(Select("DialogSwitchTo4DContext"), dialog).Answer().param2;
}

void FourDDialog::SwitchToDlogContext(FourDDialog* dialog, long saved) {
    DialogCall call(Select("DialogSwitchToDlogContext"), dialog);
    call->param2 = saved;
    call.Send();
}

void FourDDialog::BeginUpdateVars(FourDDialog* dialog) {
    DialogCall(Select("DialogBeginUpdateVars"), dialog).Send();
}

void FourDDialog::EndUpdateVars(FourDDialog* dialog) {
    DialogCall(Select("DialogEndUpdateVars"), dialog).Send();
}

void FourDDialog::GotoPage(FourDDialog* dialog, long page) {
    DialogCall call(Select("DialogGotoPage"), dialog);
    call->param2 = page;
    call.Send();
}

long FourDDialog::CurrentPage(FourDDialog* dialog) {
    return DialogCall(Select("DialogCurrentPage"), dialog).Answer().param2;
}

void FourDDialog::GetLastObject(FourDDialog* dialog, char* name) {
    DialogCall call(Select("DialogGetLastObject"), dialog);
    call.Send();
    call.GetName(name);
}

void FourDDialog::GotoVariable(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogGotoVariable"), dialog, name).Send();
}

void FourDDialog_SetUserData(FourDDialog* dialog, void* data) {
    DialogCall call(Select("DialogSetUserData"), dialog);
    call.PutAddressOrNull(data);
    call.Send();
}

void* FourDDialog_GetUserData(FourDDialog* dialog) {
    return DialogCall(Select("DialogGetUserData"), dialog).Answer().handle;
}

// --- Variables ----------------------------------------------------------------------------------

OSErr FourDDialog::GetVar(FourDDialog* dialog, const char* name, ValueBlock* value) {
    return SendValue(Select("DialogGetVar"), dialog, name, value);
}

OSErr FourDDialog::SetVar(FourDDialog* dialog, const char* name, ValueBlock* value) {
    return SendValue(Select("DialogSetVar"), dialog, name, value);
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
    return DialogCall(Select("DialogGetLongVar"), dialog, name).Answer().value.number;
}

void FourDDialog::SetLongVar(FourDDialog* dialog, const char* name, long value) {
    DialogCall call(Select("DialogSetLongVar"), dialog, name);
    call->value.number = value;
    call.Send();
}

double FourDDialog::GetNativeRealVar(FourDDialog* dialog, const char* name) {
    DialogCall call(Select("DialogGetNativeRealVar"), dialog, name);
    call.Send();
    return call.GetReal();
}

void FourDDialog::SetNativeRealVar(FourDDialog* dialog, const char* name, double value) {
    DialogCall call(Select("DialogSetNativeRealVar"), dialog, name);
    call.SetReal(value);
    call.Send();
}

void FourDDialog::GetStringVar(FourDDialog* dialog, const char* name, unsigned char* value) {
    DialogCall call(Select("DialogGetStringVar"), dialog, name);
    call.Send();
    call.GetString(value);
}

void FourDDialog::SetStringVar(FourDDialog* dialog, const char* name, const unsigned char* value) {
    SendString(Select("DialogSetStringVar"), dialog, name, value);
}

void FourDDialog::SetStringVar(FourDDialog* dialog, const char* name, short listID, short index) {
    SetStringVar(dialog, name, PascalText(listID, index).string);
}

void FourDDialog::SetStringVar(FourDDialog* dialog, const char* name, const char* format, ...) {
    char text[256] = "";
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    FormatTextV(text, sizeof text, format, arguments);
    va_end(arguments);
    SetStringVar(dialog, name, PascalText(text).string);
}

Handle FourDDialog::GetTextVar(FourDDialog* dialog, const char* name) {
    DialogCall call(Select("DialogGetTextVar"), dialog, name);
    call.Send();
    EngineFields* const engine = call.EngineOnly();
    if (engine == nullptr) {
        return call->handle;
    }
    Handle text = HandleOf(&engine->string); // whatever came back, with an error too
    FourD::DisposeFDStringBlock(&engine->string);
    return text;
}

void FourDDialog::SetTextVar(FourDDialog* dialog, const char* name, Handle text) {
    DialogCall call(Select("DialogSetTextVar"), dialog, name,
                    gHost.BcdVersion() >= TextsByHostString);
    EngineFields* const engine = call.EngineOnly();
    if (engine == nullptr) {
        const TemporaryHandle empty(text == nullptr ? NewHandle(0) : nullptr);
        call->handle = text != nullptr ? text : empty.Get();
        call.Send();
        return;
    }
    FDStringBlock string = {};
    if (FourD::CreateFDString(&string) != 0) {
        return;
    }
    if (text != nullptr) {
        const SHandleLocker locked(text);
        FourD::CopyStringBufferToFDString(*text, GetHandleSize(text), &string);
    }
    engine->string = string;
    call.Send();
    FourD::DisposeFDStringBlock(&string);
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
    DialogCall call(Select("DialogSetPictureVar"), dialog, name);
    call->handle = picture != nullptr ? reinterpret_cast<Handle>(picture) : empty.Get();
    call.Send();
}

short FourDDialog::GetDateVar(FourDDialog* dialog, const char* name, DateBlock* date) {
    const DateBlock found =
        DialogCall(Select("DialogGetDateVar"), dialog, name).Answer().value.date;
    if (date != nullptr) {
        *date = found;
    }
    return found.year;
}

void FourDDialog::SetDateVar(FourDDialog* dialog, const char* name, DateBlock date) {
    DialogCall call(Select("DialogSetDateVar"), dialog, name);
    call->value.date = date;
    call.Send();
}

long FourDDialog::GetTimeVar(FourDDialog* dialog, const char* name) {
    return DialogCall(Select("DialogGetTimeVar"), dialog, name).Answer().value.number;
}

void FourDDialog::SetTimeVar(FourDDialog* dialog, const char* name, long seconds) {
    DialogCall call(Select("DialogSetTimeVar"), dialog, name);
    call->value.number = seconds;
    call.Send();
}

// --- Objects ------------------------------------------------------------------------------------

void FourDDialog::SetVarEnabled(FourDDialog* dialog, const char* name, unsigned char on) {
    SendFlag(Select("DialogSetVarEnabled"), dialog, name, on);
}

void FourDDialog::SetVarVisible(FourDDialog* dialog, const char* name, unsigned char on) {
    SendFlag(Select("DialogSetVarVisible"), dialog, name, on);
}

void FourDDialog::SetObjVisible(FourDDialog* dialog, const char* name, unsigned char on) {
    SendFlag(Select("DialogSetObjVisible"), dialog, name, on);
}

void FourDDialog::SetEditable(FourDDialog* dialog, const char* name, unsigned char on) {
    SendFlag(Select("DialogSetEditable"), dialog, name, on);
}

void FourDDialog::SetThreeStateCheckBox(FourDDialog* dialog, const char* name, unsigned char on) {
    SendFlag(Select("DialogSetThreeStateCheckBox"), dialog, name, on);
}

void FourDDialog::SetNumVarMinMax(FourDDialog* dialog, const char* name, double min, double max) {
    DialogCall call(Select("DialogSetNumVarMin"), dialog, name);
    call->param2 = 1;
    call.SetReal(min);
    call.Send();
    // One record for both calls: name and flag are written again for newer hosts only.
    if (call.EngineOnly() != nullptr) {
        call.SetName(name);
        call->param2 = 1;
    }
    call.SetReal(max);
    call.GoOnWith(Select("DialogSetNumVarMax"));
    call.Send();
}

void FourDDialog::SetEntryFilter(FourDDialog* dialog, const char* name,
                                 const unsigned char* filter) {
    SendString(Select("DialogSetEntryFilter"), dialog, name, filter);
}

void FourDDialog::SetEntryFormat(FourDDialog* dialog, const char* name,
                                 const unsigned char* format) {
    SendString(Select("DialogSetEntryFormat"), dialog, name, format);
}

void FourDDialog::SetVarTitle(FourDDialog* dialog, const char* name, const unsigned char* title) {
    DialogCall call(Select("DialogSetTitle"), dialog, name);
    call.SetString(title);
    call->param2 = 1; // by its variable
    call.Send();
}

void FourDDialog::SetVarTitle(FourDDialog* dialog, const char* name, const char* title) {
    SetVarTitle(dialog, name, PascalText(title).string);
}

void FourDDialog::SetVarTitle(FourDDialog* dialog, const char* name, short listID, short index) {
    SetVarTitle(dialog, name, PascalText(listID, index).string);
}

void FourDDialog::SetObjTitle(FourDDialog* dialog, const char* name, const unsigned char* title) {
    DialogCall call(Select("DialogSetTitle"), dialog, name, false);
    call.SetString(title);
    call.Send();
}

void FourDDialog::SetObjTitle(FourDDialog* dialog, const char* name, const char* title) {
    SetObjTitle(dialog, name, PascalText(title).string);
}

void FourDDialog::SetObjTitle(FourDDialog* dialog, const char* name, short listID, short index) {
    SetObjTitle(dialog, name, PascalText(listID, index).string);
}

void FourDDialog::UpdateObjTitle(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogUpdateObjTitle"), dialog, name).Send();
}

void FourDDialog::GetRect(FourDDialog* dialog, const char* name, Rect* rect) {
    DialogCall call(Select("DialogGetRect"), dialog, name);
    call.Send();
    const long corners[] = {call->param2, call->param3};
    static_assert(sizeof corners == sizeof *rect);
    if (rect != nullptr) {
        std::memcpy(rect, corners, sizeof *rect);
    }
}

void FourDDialog::Redraw(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogRedraw"), dialog, name).Send();
}
