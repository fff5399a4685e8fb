// Dialogs: their operations, whatever the host answers, and the events, deletions and further
// operations within the hooks of SXDialog.

#include "fuzz/AnyArguments.h"
#include "ui/Dialog.h"

#include <stdexcept>

namespace {
using D = FourDDialog;
using Name = const char*;
using Text = const unsigned char*;
using Operation = void (*)(AnyArguments&);

constexpr short resourceFile = 50;

template <auto... Functions>
constexpr std::array<Operation, sizeof...(Functions)> all = {CallWithAny<Functions>...};

constexpr auto operations =
    all<D::CreateFourDDialogContext, D::CreateFourDDialog, D::Close, D::ModalDialog, D::Cancel,
        D::Validate, D::SwitchToDlogContext, D::BeginUpdateVars, D::EndUpdateVars, D::GotoPage,
        D::GetLastObject, D::GotoVariable, D::GetVar, D::SetVar, D::GetBooleanVar, D::SetBooleanVar,
        D::SetLongVar, D::GetNativeRealVar, D::SetNativeRealVar, D::GetStringVar,
        Pick<void(D*, Name, Text)>(D::SetStringVar),
        Pick<void(D*, Name, short, short)>(D::SetStringVar), D::GetTextVar,
        Pick<void(D*, Name, Handle)>(D::SetTextVar), Pick<void(D*, Name, Text)>(D::SetTextVar),
        Pick<void(D*, Name, Name)>(D::SetTextVar), D::SetPictureVar, D::GetDateVar, D::SetDateVar,
        D::SetTimeVar, D::SetVarEnabled, D::SetVarVisible, D::SetObjVisible, D::SetEditable,
        D::SetThreeStateCheckBox, D::SetNumVarMinMax, D::SetEntryFilter, D::SetEntryFormat,
        Pick<void(D*, Name, Text)>(D::SetVarTitle), Pick<void(D*, Name, Name)>(D::SetVarTitle),
        Pick<void(D*, Name, short, short)>(D::SetVarTitle),
        Pick<void(D*, Name, Text)>(D::SetObjTitle), Pick<void(D*, Name, Name)>(D::SetObjTitle),
        Pick<void(D*, Name, short, short)>(D::SetObjTitle), D::UpdateObjTitle, D::GetRect,
        D::Redraw, FourDDialog_SetUserData>;

long Number(const CallFields& fields) {
    return fields.value.number;
}

constexpr Operation answers[] = {
    CallForAnswer<D::CurrentPage, Param2>,
    CallForAnswer<D::SwitchTo4DContext, Param2>,
    CallForAnswer<D::GetLongVar, Number>,
    CallForAnswer<D::GetTimeVar, Number>,
};

constexpr auto arrays =
    all<D::NewArrayLong, D::NewArrayReal, D::NewArrayString, D::NewArrayText, D::NewArrayPicture,
        Pick<void(D*, Name, long, long)>(D::SetArrayElement),
        Pick<void(D*, Name, long, double)>(D::SetArrayElement),
        Pick<void(D*, Name, long, Text)>(D::SetArrayElement),
        Pick<void(D*, Name, long, Name)>(D::SetArrayElement),
        Pick<void(D*, Name, long, Handle)>(D::SetArrayElement),
        Pick<void(D*, Name, long, Picture**)>(D::SetArrayElement),
        Pick<void(D*, Name, long, long*)>(D::GetArrayElement),
        Pick<void(D*, Name, long, double*)>(D::GetArrayElement),
        Pick<void(D*, Name, long, unsigned char*)>(D::GetArrayElement),
        Pick<void(D*, Name, long, char*)>(D::GetArrayElement),
        Pick<void(D*, Name, long, Handle*)>(D::GetArrayElement), D::GetArraySize,
        D::DeleteArrayElements, Pick<long(D*, Name, long)>(D::FindInArray),
        Pick<long(D*, Name, double)>(D::FindInArray), Pick<long(D*, Name, Text)>(D::FindInArray),
        Pick<long(D*, Name, Handle)>(D::FindInArray), D::LoadTextArrayFromResource,
        D::LoadTextArrayFromTableNames, D::LoadTextArrayFromFieldNames, D::LoadTextArrayFromTTR,
        D::LoadLongArrayFromResource, D::LoadStringArrayFromResource,
        D::LoadLongAndStringArraysFromTKPLResource, D::NewTableFieldHList, D::ClearHList,
        D::GetTableFieldFromHList, D::SetTableFieldInHList, D::GetDragInfo>;

void CallAny(Input& input, HostileHost& host) {
    AnyArguments arguments(input, host);
    const std::span<const Operation> kinds[] = {operations, arrays, answers};
    const std::span<const Operation> kind = kinds[input.Choice(std::size(kinds))];
    kind[input.Choice(kind.size())](arguments);
}

class Dialog;

/// The dialogs of one run, and the host's user data, which is the way back to them.
struct OpenDialogs {
    explicit OpenDialogs(Input& bytes) : input(bytes), host(bytes, HostileHost::AnyVersion(bytes)) {
        AddResources();
        host.onCall = [this](HostileHost::Call& call) { return Serve(call); };
        host.Start();
    }
    ~OpenDialogs();
    OpenDialogs(const OpenDialogs&) = delete;
    OpenDialogs& operator=(const OpenDialogs&) = delete;

    void AddResources();
    bool Serve(HostileHost::Call& call);
    void DoAny();
    bool IsThere(Dialog* dialog) const { return std::ranges::find(open, dialog) != open.end(); }

    Input& input;
    FuzzPlug plug;
    HostileHost host;
    std::vector<Dialog*> open;
    std::map<long, void*> userData; ///< by the host's dialog
    int depth = 0;
};

class Dialog : public SXDialog {
  public:
    Dialog(OpenDialogs& all, const char* form, short styles)
        : SXDialog(form, styles), dialogs(all) {
        dialogs.open.push_back(this);
    }
    ~Dialog() override { std::erase(dialogs.open, this); }

    void HandleItemHit(char* name, unsigned char* done, unsigned char* cancelled) override {
        Hook();
        Require(std::strlen(name) < 256, "a name is too long");
        *done = static_cast<unsigned char>(*done | dialogs.input.Choice(2));
        *cancelled = static_cast<unsigned char>(dialogs.input.Choice(2));
        if (dialogs.input.IsOver()) {
            *done = 1;
        }
    }
    void EventFilter(EventRecord*, char* name, unsigned char, unsigned char) override {
        Require(std::strlen(name) < 256, "a name is too long");
        Hook();
    }
    void PreLoadData() override { Hook(); }
    void PostLoadData() override { Hook(); }
    void UnloadData() override { Hook(); }

  private:
    void Hook() {
        Require(dialogs.IsThere(this), "a hook of a dialog that is gone");
        if (dialogs.input.Choice(8) == 0) {
            Close();
        }
        if (dialogs.depth < 4 && dialogs.input.Choice(3) == 0) {
            dialogs.DoAny();
        }
        if (dialogs.input.Choice(8) == 0) {
            throw std::runtime_error("kept inside, or the caller's");
        }
    }

    OpenDialogs& dialogs;
};

OpenDialogs::~OpenDialogs() {
    while (!open.empty()) {
        delete open.back();
    }
    HostileHost::Stop();
    ToolboxRemoveResFile(resourceFile);
}

/// Forms, styles and lists.
void OpenDialogs::AddResources() {
    constexpr OSType types[] = {0x464F3444, 0x464F3458, 0x5354594C, 0x53545223, 0x544B504C};
    ToolboxAddResFile(resourceFile);
    UseResFile(resourceFile);
    for (const OSType type : types) {
        AddResource(resourceFile, type, 1, host.AnyText(600));
    }
}

/// Shows the filter events as it runs a dialog, and keeps user data.
bool OpenDialogs::Serve(HostileHost::Call& call) {
    CallFields& fields = call.fields;
    const long dialog = fields.param1;
    if (call.service == "DialogSetUserData") {
        userData[dialog] = fields.handle;
        return true;
    }
    if (call.service == "DialogGetUserData") {
        fields.handle = static_cast<Handle>(userData[dialog]);
        return true;
    }
    if (call.service == "DialogClose") {
        userData.erase(dialog);
        return true;
    }
    if (call.service == "ModalDialog") {
        const bool shows = fields.handle != nullptr || call.engine != nullptr;
        for (unsigned events = input.Choice(3); shows && events > 0; --events) {
            EventRecord event;
            input.Fill(event);
            unsigned char name[256] = {};
            input.ConsumeData(name, sizeof name);
            SXDialog::DefaultDialogFilter(reinterpret_cast<void*>(dialog),
                                          input.ConsumeBool() ? &event : nullptr,
                                          input.ConsumeBool() ? name : nullptr, 0, 1);
        }
    }
    return false;
}

void OpenDialogs::DoAny() {
    ++depth;
    Dialog* const dialog = open.empty() ? nullptr : open[input.Choice(open.size())];
    try {
        switch (input.Choice(6)) {
        case 0:
            new Dialog(*this, input.ConsumeBool() ? "F" : "G", static_cast<short>(input.Choice(3)));
            break;
        case 1:
            if (dialog != nullptr) {
                Rect rect = {};
                dialog->Open(input.ConsumeBool() ? &rect : nullptr, "title", 1);
            }
            break;
        case 2:
            if (dialog != nullptr) {
                dialog->EventLoop(nullptr);
            }
            break;
        case 3:
            if (dialog != nullptr) {
                dialog->Close();
            }
            break;
        case 4: // not within its hooks: it is the author's, who deletes it when they are over
            if (dialog != nullptr && depth == 1) {
                delete dialog;
            }
            break;
        default:
            CallAny(input, host);
            break;
        }
    } catch (const std::runtime_error&) { // of a hook that an operation here called
    }
    --depth;
}
} // namespace

void Fuzz(Input& input) {
    OpenDialogs dialogs(input);
    while (!input.IsOver()) {
        dialogs.DoAny();
    }
}
