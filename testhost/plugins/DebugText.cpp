#include "testhost/plugins/DebugText.h"

#include "platform/Compiler.h"
#include "testhost/model/Asides.h"
#include "testhost/model/Host.h"

#include <string>

#include <windows.h>

namespace {
// The system offers the text to the process itself when no debugger takes it.
NIMBO_REALIGN LONG WINAPI Hear(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    if (record.ExceptionCode != DBG_PRINTEXCEPTION_C || record.NumberParameters < 2) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    const auto* text = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
    const std::string said(text, strnlen(text, record.ExceptionInformation[0]));
    Host* const host = Host::Current();
    if (host != nullptr && Host::IsOwnThread()) {
        host->HearDebugText(said);
    } else {
        SetAside({false, said});
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}
} // namespace

void ListenToDebugText() {
    AddVectoredExceptionHandler(1, Hear);
}
