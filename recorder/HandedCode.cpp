#include "recorder/HandedCode.h"

#include "host/boundary/Selectors.h"
#include "recorder/Recorder.h"
#include "recorder/Thunks.h"

#include <cstring>

using Recording::Way;

HandedCode::HandedCode(long selector, ParameterBlock& record) {
    switch (selector) {
    case Select("NewProcess").classic:
        Exchange(Way::Process, &record.handle);
        break;
    case Select("ModalDialog").classic:
        Exchange(Way::DialogFilter, &record.handle);
        break;
    case Select("DialogSetAreaHandler").classic: // twice the same
        Exchange(Way::AreaHandler, &record.param3);
        Exchange(Way::AreaHandler, &record.param4);
        break;
    default:
        break;
    }
}

HandedCode::HandedCode(long selector, FDEngineBlock& record) {
    switch (selector) {
    case Select("NewProcess").engine:
        Exchange(Way::Process, &record.handle);
        break;
    case Select("ExecuteOnMainThread").engine:
        Exchange(Way::MainThread, &record.mainThreadProc);
        break;
    default:
        break;
    }
}

void HandedCode::Exchange(Way way, void* field) {
    Exchanged& one = exchanged[count];
    one.field = static_cast<unsigned char*>(field);
    std::memcpy(&one.function, field, sizeof one.function);
    if (one.function == 0) {
        return;
    }
    const auto* const function = reinterpret_cast<const void*>(std::uintptr_t{one.function});
    one.thunk = reinterpret_cast<std::uintptr_t>(ThunkFor(way, function));
    if (one.thunk == 0) {
        return WriteNote("The plug-in has handed the host more functions than the recorder can "
                         "follow: this one's calls are not recorded.");
    }
    std::memcpy(field, &one.thunk, sizeof one.thunk);
    ++count;
}

HandedCode::~HandedCode() {
    for (const Exchanged* one = exchanged; one != exchanged + count; ++one) {
        if (std::memcmp(one->field, &one->thunk, sizeof one->thunk) == 0) {
            std::memcpy(one->field, &one->function, sizeof one->function);
        }
    }
}
