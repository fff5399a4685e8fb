#include "ui/Dialog.h"

#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/ExceptionBarrier.h"
#include "shell/base/Strings.h"

#include <utility>

SXDialog* SXDialog::lastObject = nullptr;

SXDialog::SXDialog(const char* itsFormName, short itsWindowType, long itsWindowOptions,
                   short itsStyleSet)
    : windowType(itsWindowType),
      windowOptions(itsWindowOptions),
      dialog(FourDDialog::CreateFourDDialogContext()),
      styleSet(itsStyleSet),
      nextObject(std::exchange(lastObject, this)) {
    _CopyC2PStr(itsFormName, formName);
    // NOLINTNEXTLINE(cppcoreguidelines-prefer-member-initializer): needs the name
    formResource = FourD::GetPluginResourceByName(FormResourceType, formName);
    PatchFO4DFONTAtoms();
    ScanFO4DAtoms(ReadFLAGAtom, this);
}

SXDialog::SXDialog(const char* itsFormName, short itsStyleSet)
    : SXDialog(itsFormName, 1, 5, itsStyleSet) {}

SXDialog::~SXDialog() {
    CloseDialog();
    SXDialog** link = &lastObject;
    while (*link != this) {
        link = &(*link)->nextObject;
    }
    *link = nextObject;
}

void SXDialog::Close() {
    CloseDialog();
}

void SXDialog::HandleItemHit(char*, unsigned char*, unsigned char*) {}

void SXDialog::EventFilter(EventRecord*, char*, unsigned char, unsigned char) {}

void SXDialog::PreLoadData() {}

void SXDialog::PostLoadData() {}

void SXDialog::UnloadData() {}

bool SXDialog::Open(Rect* rect, const char* title, unsigned char flag) {
    if (title == nullptr) {
        return Open(rect, nullptr, flag);
    }
    Str255 windowTitle;
    _CopyC2PStr(title, windowTitle);
    return Open(rect, windowTitle, flag);
}

bool SXDialog::Open(Rect* rect, const unsigned char* title, unsigned char flag) {
    if (dialog != nullptr) {
        PreLoadData();
    }
    dialog = FourDDialog::CreateFourDDialog(formName, title != nullptr ? title : formName,
                                            windowType, windowOptions, flag, rect, dialog);
    if (dialog == nullptr) {
        return false;
    }
    FourDDialog_SetUserData(dialog, this);
    window = FourD::GetWindowFromFourDDialog(dialog);
    process = FourD::CurrentProcess();
    PostLoadData();
    return dialog != nullptr;
}

bool SXDialog::EventLoop(SXDialogFilter filter) {
    if (filter == nullptr) {
        filter = DefaultDialogFilter;
    }
    unsigned char done = 0;
    unsigned char cancelled = 0;
    while (done == 0) {
        if (dialog == nullptr) { // from the start, or since a hook closed it
            return false;
        }
        char objectName[256] = "";
        FourDDialog::ModalDialog(dialog, reinterpret_cast<DialogFilter>(filter), objectName, &done,
                                 &cancelled);
        HandleItemHit(objectName, &done, &cancelled);
        if (done != 0 && cancelled == 0) {
            UnloadData();
        }
    }
    return cancelled == 0;
}

long SXDialog::GetProcess() const {
    return window != nullptr ? FourD::GetWindowProcess(window) : 0;
}

void SXDialog::CloseDialog() {
    if (dialog != nullptr) {
        FourDDialog::Close(std::exchange(dialog, nullptr));
    }
    window = nullptr;
    ReleaseForm();
}

/// The toolbox has one handle for all who loaded the form: the last one of them releases it.
void SXDialog::ReleaseForm() {
    const Handle form = std::exchange(formResource, nullptr);
    if (form == nullptr) {
        return;
    }
    for (const SXDialog* other = lastObject; other != nullptr; other = other->nextObject) {
        if (other->formResource == form) {
            return;
        }
    }
    ReleaseResource(form);
}

void SXDialog::ScanFO4DAtoms(FO4DAtomProc callback, void* data) {
    ScanFormAtoms(formResource, callback, data);
}

long SXDialog::ReadFLAGAtom(unsigned long type, char* data, long length, void* dialog) {
    auto* self = static_cast<SXDialog*>(dialog);
    ReadFlagAtom(type, data, length, &self->formFlag1, &self->formFlag2);
    return 0;
}

long SXDialog::PatchFONTAtoms(unsigned long type, char* data, long length, void* dialog) {
    FormStyles styles(static_cast<SXDialog*>(dialog)->styleSet);
    PatchFontAtom(type, data, length, &styles);
    return 0;
}

void SXDialog::PatchFO4DFONTAtoms() {
    if (formResource == nullptr || styleSet < 1) {
        return;
    }
    FormStyles styles(styleSet);
    const auto patch = [](unsigned long type, char* data, long length, void* context) {
        PatchFontAtom(type, data, length, static_cast<FormStyles*>(context));
        return 0L;
    };
    ScanFO4DAtoms(patch, &styles);
}

void SXDialog::DefaultDialogFilter(void* dialog, EventRecord* event, unsigned char* objectName,
                                   unsigned char a, unsigned char b) {
    KeepExceptionsInside({"dialog event", event != nullptr ? event->what : 0}, [=] {
        SXDialog* self = GetSXDialogFromContext(dialog);
        if (self == nullptr) {
            return;
        }
        char name[256] = "";
        if (objectName != nullptr) {
            _CopyP2CStr(objectName, name);
        }
        self->EventFilter(event, name, a, b);
    });
}

SXDialog* SXDialog::GetSXDialogFromContext(void* dialog) {
    return dialog != nullptr
               ? static_cast<SXDialog*>(FourDDialog_GetUserData(static_cast<FourDDialog*>(dialog)))
               : nullptr;
}
