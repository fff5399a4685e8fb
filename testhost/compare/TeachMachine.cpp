#include "platform/ResultCodes.h"
#include "testhost/compare/HostSetUp.h"
#include "testhost/compare/Teaching.h"
#include "testhost/values/Encodings.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>

// Processes and windows of others, and what the machine and the structure decide.

namespace {
constexpr long mostProcesses = 10000; // that are made up because a recording speaks of them
constexpr long mostMethods = 32000;

bool Failed(const AskedCall& call) {
    return call.end == nullptr || call.answer.Fields().error != ResultCode::NoError;
}

// The process of this number; those before it that nobody has spoken of have ended.
HostProcess* HaveProcess(Host& host, long number) {
    if (number < 1 || number > mostProcesses) {
        return nullptr;
    }
    while (static_cast<long>(host.processes.size()) < number) {
        host.AddProcess({.name = {}, .state = ProcessState::Ended});
    }
    return host.FindProcess(number);
}

// The window that stands here for the one that the plug-in means; null without one.
HostWindow* TheWindow(const AskedCall& call) {
    return call.host.windows.Find(call.asked.Fields().handle);
}

// A window that stands here for one of the recording from now on: the frontmost that nobody has
// spoken of yet, or a further one.
HostWindow& MeetWindow(AskedCall& call, std::uint32_t recorded) {
    WindowList& windows = call.host.windows;
    HostWindow* met = nullptr;
    for (size_t place = 0; place < windows.Count() && met == nullptr; ++place) {
        HostWindow& window = windows.At(place);
        met = call.stock.book.Recorded(WordOf(&window.port)) ? nullptr : &window;
    }
    if (met == nullptr) {
        met = &windows.AddInFront(call.Process(), WindowKind::Regular);
    }
    call.stock.book.Learn(recorded, WordOf(&met->port));
    return *met;
}
} // namespace

namespace Teaching {
std::string ProgramSubject(const AskedCall&) {
    return "program";
}

// What may change while a plug-in is started: a plug-in reads its host's role once.
bool Program(AskedCall& call) {
    const HostOptions now = OptionsIn(call.answer, call.host.options);
    call.host.options.hostCompiled = now.hostCompiled;
    call.host.options.callerCompiled = now.callerCompiled;
    call.host.options.messages = now.messages;
    call.host.options.hasStructure = now.hasStructure;
    call.host.options.structureName = now.structureName;
    return true;
}

std::string ProcessSubject(const AskedCall& call) {
    return "process " + std::to_string(call.sent.Fields().param1);
}

bool ProcessState(AskedCall& call) {
    const long state = call.answer.Fields().param2;
    HostProcess* const process = HaveProcess(call.host, call.sent.Fields().param1);
    if (Failed(call) || process == nullptr) {
        return false;
    }
    process->state = state;
    process->name = state < 0 ? std::string() : call.answer.Text();
    process->isFrozen = false;
    process->wakeAt = 0;
    return true;
}

// The next process gets the number that it had, if that is still to come.
bool ProcessNumber(AskedCall& call) {
    const long number = call.answer.Fields().param1;
    if (Failed(call) || number <= static_cast<long>(call.host.processes.size()) + 1) {
        return false;
    }
    return HaveProcess(call.host, number - 1) != nullptr;
}

bool Dying(AskedCall& call) {
    HostProcess* const process = call.host.FindProcess(call.Process());
    if (process == nullptr) {
        return false;
    }
    process->isDying = call.answer.Fields().flag1 != 0;
    return true;
}

// What the process finds: the oldest event that it may have, which is the recorded one already when
// the plug-in has posted it.
bool Event(AskedCall& call) {
    HostProcess* const process = call.host.FindProcess(call.Process());
    const auto mask = static_cast<unsigned short>(call.sent.Fields().param1);
    if (Failed(call) || process == nullptr) {
        return false;
    }
    const auto isMeant = [&](const EventRecord& event) {
        return event.what < 16 && (mask >> event.what & 1) != 0;
    };
    const auto next = std::ranges::find_if(process->events, isMeant);
    if ((call.answer.Fields().param4 & 0xFF) == 0) {
        return std::erase_if(process->events, isMeant) != 0;
    }
    EventRecord event{};
    const std::string bytes = call.AnsweredBytes(offsetof(CallFields, handle));
    std::memcpy(&event, bytes.data(), std::min(bytes.size(), sizeof event));
    if (next != process->events.end() && std::memcmp(&*next, &event, sizeof event) == 0) {
        return false;
    }
    process->events.push_front(event);
    return true;
}

bool FreeStack(AskedCall& call) {
    const CallFields& answer = call.answer.Fields();
    if (answer.error != ResultCode::NoError && answer.error != ResultCode::MemoryFull) {
        return false;
    }
    call.host.options.freeStack =
        answer.error == ResultCode::NoError ? answer.param2 : call.sent.Fields().param1 - 1;
    return true;
}

// Whether a folder is there: this host's are its own, wherever the recorded host's were.
bool HostFolder(AskedCall& call) {
    const short error = call.answer.Fields().error;
    if (error == ResultCode::FileNotFound) {
        call.host.FailNext("HostFolderPath", error);
        return true;
    }
    const long kind = call.sent.Fields().param1;
    if (error != ResultCode::NoError || kind < 1 || kind > 9) {
        return false;
    }
    std::error_code failure;
    std::filesystem::create_directories(
        FromAnsi(call.host.PrefsFolder() + "Folder " + std::to_string(kind)), failure);
    return !failure;
}

// --- Windows ----------------------------------------------------------------------------------

// A window that the plug-in has from elsewhere.
bool Window(AskedCall& call) {
    const std::uint32_t recorded = WordOf(call.sent.Fields().handle);
    if (recorded == 0 || TheWindow(call) != nullptr || call.end == nullptr ||
        call.answer.Fields().error == ResultCode::BadParameter) {
        return false;
    }
    MeetWindow(call, recorded);
    return true;
}

bool WindowsProcess(AskedCall& call) {
    HostWindow* const window = TheWindow(call);
    if (window == nullptr || Failed(call)) {
        return false;
    }
    window->process = call.answer.Fields().param1;
    return true;
}

bool WindowsFocus(AskedCall& call) {
    HostWindow* const window = TheWindow(call);
    if (window == nullptr || Failed(call)) {
        return false;
    }
    call.host.focusedWindow = call.answer.Fields().flag1 != 0 ? &window->port : nullptr;
    return true;
}

bool Focusable(AskedCall& call) {
    HostWindow* const window = TheWindow(call);
    if (window == nullptr || Failed(call)) {
        return false;
    }
    window->focusable = call.answer.Fields().flag1 != 0;
    return true;
}

bool Focus(AskedCall& call) {
    const std::uint32_t recorded = WordOf(call.answer.Fields().handle);
    if (recorded == 0) {
        call.host.focusedWindow = nullptr;
        return true;
    }
    const auto here = call.stock.book.Here(recorded);
    HostWindow* window = here ? call.host.windows.Find(reinterpret_cast<void*>(*here)) : nullptr;
    if (window == nullptr) {
        window = &MeetWindow(call, recorded);
    }
    call.host.focusedWindow = &window->port;
    return true;
}

// --- The language, the user's settings
// ------------------------------------------------------------

bool CommandName(AskedCall& call) {
    return !Failed(call) && call.host.RenameCommand(call.sent.Fields().value.small,
                                                    FetchPascal(call.answer.ValueText().data()));
}

// Methods of the database have the numbers that it gave them, and do nothing here.
bool MethodNumber(AskedCall& call) {
    const std::string name = call.sent.Name();
    const long number = call.answer.Fields().param1;
    if (Failed(call) || name.empty() || number < 1 || number > mostMethods) {
        return false;
    }
    for (long filler = 1; call.host.language.Method(number - 1) == nullptr && filler < number;
         ++filler) {
        call.host.language.DefineMethod("Method " + std::to_string(filler), "");
    }
    return call.host.language.DefineMethod(name, "") == number;
}

bool Method(AskedCall& call) {
    const long number = call.sent.Fields().param1;
    if (Failed(call) || number < 1 || number > mostMethods ||
        call.host.language.Method(number) != nullptr) {
        return false;
    }
    for (long filler = 1; filler <= number; ++filler) {
        call.host.language.DefineMethod("Method " + std::to_string(filler), "");
    }
    return true;
}

bool Tips(AskedCall& call) {
    call.host.tipsEnabled = call.answer.Fields().param1 != 0;
    return true;
}

// Whether another process holds it, which only the host itself knows.
bool Printer(AskedCall& call) {
    constexpr long another = 2;
    const CallFields& answer = call.answer.Fields();
    const bool isBusy = answer.error != ResultCode::NoError || answer.param1 != 0;
    call.host.printerProcess = isBusy ? another : 0;
    return true;
}
} // namespace Teaching
