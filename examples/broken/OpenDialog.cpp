// Leaves its dialog open when the process is asked to end: the window stays on the screen, and the
// dialog's variables hide those of the process. OpenDialog.resources.txt has the form.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <cstring>

namespace {
constexpr long dialogTag = 0x35363536; // goes with every new dialog

short resources; // the plug-in's file

void OnEvent(long selector, void*, void**) {
    if (selector == HostEvent::Start) {
        resources = CurResFile();
    }
}

bool IsToEnd() {
    ParameterBlock record{};
    CallHost(Select("IsProcessDying"), record);
    return record.flag1 != 0;
}

void Close(long dialog) {
    ParameterBlock record{};
    record.param1 = dialog;
    CallHost(Select("DialogClose"), record);
}

long Open() {
    ParameterBlock context{};
    if (CallHost(Select("CreateFourDDialogContext"), context) != 0) {
        return 0;
    }
    Rect place{};
    ParameterBlock record{};
    record.param1 = context.param1;
    std::memcpy(record.name, "Question", 9);
    PutString(record.valueText, "Question");
    record.handle = reinterpret_cast<Handle>(&place);
    record.param4 = dialogTag;
    const short before = CurResFile();
    UseResFile(resources);
    const OSErr error = CallHost(Select("CreateFourDDialog"), record);
    UseResFile(before);
    if (error != 0 || record.param1 == 0) {
        Close(context.param1);
        return 0;
    }
    return record.param1;
}

void Ask(CXParam*, CXResult* result) {
    const long dialog = Open();
    bool isDone = dialog == 0;
    while (!isDone) {
        if (IsToEnd()) {
            if (!isBroken) {
                Close(dialog);
            }
            return;
        }
        ParameterBlock turn{};
        turn.param1 = dialog;
        CallHost(Select("ModalDialog"), turn);
        isDone = turn.param2 != 0;
        result->SetLong(isDone && turn.param3 == 0 ? 1 : 0);
    }
    if (dialog != 0) {
        Close(dialog);
    }
}

constexpr CommandEntry Commands[] = {{"Ask", "() -> boolean yes", Ask}};
} // namespace

const Plugin plugin = Describe("OpenDialog", Commands, OnEvent);
