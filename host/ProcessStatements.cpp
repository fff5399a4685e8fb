// What the host does with processes in its language only: apart from the calls, because whoever
// needs these brings statements and their values along.

#include "host/FourD.h"
#include "shell/base/Format.h"

namespace {

// The host's commands that show and hide a process.
constexpr short showCommand = 325;
constexpr short hideCommand = 324;

OSErr ExecForProcess(short command, long proc) {
    char name[256];
    char statement[256];
    FourD::GetCommandNameC(command, name);
    FormatText(statement, sizeof statement, "%s(%d)", name, static_cast<int>(proc));
    return FourD::ExecProc(statement);
}

} // namespace

OSErr FourD::ShowProcess(long proc) {
    return ExecForProcess(showCommand, proc);
}

OSErr FourD::HideProcess(long proc) {
    return ExecForProcess(hideCommand, proc);
}
