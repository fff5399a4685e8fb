// Imports a call that only a later toolbox library has. Windows then refuses to load the whole
// plug-in, with all the commands that would have worked; it has to be looked up when it is wanted.

#include "examples/broken/Plugin.h"
#include "platform/Toolbox.h"

#include <windows.h>

extern "C" TOOLBOX_CALL OSErr HandToUTF8(Handle text);

namespace {
OSErr Convert(Handle text) {
    if (isBroken) {
        return HandToUTF8(text);
    }
    using Function = OSErr(TOOLBOX_CALL*)(Handle);
    const FARPROC found = GetProcAddress(GetModuleHandleA("ASINTPPC.dll"), "HandToUTF8");
    return found == nullptr ? 0 : reinterpret_cast<Function>(reinterpret_cast<void*>(found))(text);
}

void ConvertText(CXParam* parameters, CXResult* result) {
    result->SetLong(Convert(parameters[0].As<TextBlock>().text));
}

constexpr CommandEntry Commands[] = {{"Convert", "(&text) -> long", ConvertText}};
} // namespace

const Plugin plugin = Describe("MissingImport", Commands);
