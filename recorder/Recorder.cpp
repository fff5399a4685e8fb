#include "recorder/Recorder.h"

#include "host/boundary/Selectors.h"
#include "recorder/Heading.h"
#include "recorder/Settings.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

#include <windows.h>

using namespace Recording;

namespace {
/// A recording that is under way.
class RunningRecording {
  public:
    RunningRecording(Settings itsSettings, void* recorder, const RecordedPlugin& plugin)
        : settings(std::move(itsSettings)) {
        if (!buffer.IsThere() || !CreateRecording(settings, file)) {
            TellDebugger("no file can be made for a recording of " + Utf8(settings.name) +
                         ", nothing is recorded.");
            return;
        }
        QueryPerformanceCounter(&began);
        QueryPerformanceFrequency(&ticksOfSecond);
        WriteHeading(settings, recorder, plugin.module, file);
        if (plugin.describe != nullptr) {
            commands = CommandTable::Read(plugin.describe);
            WriteCommands(commands, file);
        }
    }

    void Write(Event& event) {
        if (!file.IsOpen()) {
            return;
        }
        event.microseconds = Microseconds();
        if (Begins(event.chunk)) {
            event.number = ++crossings;
        }
        if (event.crossing.selector > 0 &&
            (event.crossing.way == Way::Pack || event.crossing.way == Way::PackEx)) {
            const DescribedCommand* command = commands.Find(event.crossing.selector);
            event.crossing.usage =
                command != nullptr && command->usage ? &*command->usage : nullptr;
        }
        if (event.chunk == Chunk::EntryBegins || event.chunk == Chunk::CallEnds) {
            WriteGlobals(event);
        }
        Put(event);
        file.Write(buffer.Used().data(), buffer.Used().size());
        if (event.chunk == Chunk::CallEnds && IsGlobals(event.crossing)) {
            globalsRecord.assign(event.crossing.root.begin(), event.crossing.root.end());
        }
    }

    OutputFile file;
    HandleSizes hostHandles;

  private:
    void Put(const Event& event) {
        EventWriter(buffer, hostHandles, settings.itemLimit).Put(event, surroundings);
    }

    static bool IsGlobals(const Crossing& crossing) {
        return crossing.way == Way::Classic && crossing.selector == Select("MacGlobals").classic;
    }

    // Plug-ins look at the host's windows through its globals without a call. What they see has to
    // be known whenever they are about to run.
    void WriteGlobals(const Event& next) {
        if (globalsRecord.empty()) {
            return;
        }
        Event event = next;
        event.chunk = Chunk::Changed;
        event.number = 0;
        event.crossing = {.way = Way::Classic,
                          .selector = Select("MacGlobals").classic,
                          .isOver = true,
                          .root = globalsRecord};
        Put(event);
        const std::span<const unsigned char> now =
            buffer.Used().subspan(sizeof(ChunkHead) + sizeof(CrossingHead));
        if (!std::ranges::equal(now, globals)) {
            globals.assign(now.begin(), now.end());
            file.Write(buffer.Used().data(), buffer.Used().size());
        }
    }

    static bool Begins(Chunk chunk) {
        return chunk == Chunk::EntryBegins || chunk == Chunk::CallBegins;
    }
    std::uint64_t Microseconds() const {
        LARGE_INTEGER now;
        QueryPerformanceCounter(&now);
        constexpr std::uint64_t second = 1'000'000;
        return static_cast<std::uint64_t>(now.QuadPart - began.QuadPart) * second /
               static_cast<std::uint64_t>(ticksOfSecond.QuadPart);
    }

    const Settings settings;
    ChunkBuffer buffer;
    CommandTable commands;
    Surroundings surroundings;
    std::uint32_t crossings = 0;
    std::vector<unsigned char> globalsRecord; ///< with which the host told of them; or empty
    std::vector<unsigned char> globals;       ///< what it led to last
    LARGE_INTEGER began{};
    LARGE_INTEGER ticksOfSecond{};
};

HMODULE ownModule;
CRITICAL_SECTION section; // keeps threads out of all that follows
bool soughtPlugin;
RecordedPlugin plugin;
bool begun;
RunningRecording* recording; // null: nothing is recorded

/// The recorder's own work: one thread at a time, and the last error of the system stays.
class OwnWork {
  public:
    OwnWork() : lastError(GetLastError()) { EnterCriticalSection(&section); }
    ~OwnWork() {
        LeaveCriticalSection(&section);
        SetLastError(lastError);
    }
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;

  private:
    DWORD lastError;
};

void TellNoMemory() { // with none
    OutputDebugStringA("Recorder: there is not enough memory to go on recording.\r\n");
}

/// Does something for the recording. Where there is no memory for it, the recording ends.
template <typename Act>
void WithRecording(Act act) {
    const OwnWork work;
    if (recording == nullptr) {
        return;
    }
    try {
        act(*recording);
    } catch (...) {
        recording->file.Close();
        TellNoMemory();
    }
}

template <typename Function>
Function Find(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

RecordedPlugin LoadPlugin(const std::wstring& path) {
    HMODULE const module = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    const DWORD error = GetLastError();
    if (module == ownModule) {
        FreeLibrary(module);
    }
    if (module == nullptr || module == ownModule) {
        TellDebugger("the plug-in " + Utf8(path) +
                     (module != nullptr
                          ? " is the recorder itself"
                          : " could not be loaded (error " + std::to_string(error) + ")") +
                     ", its commands do nothing.");
        return {};
    }
    return {module, Find<PluginEntryPoint>(module, "FourDPack"),
            Find<PluginEntryPoint>(module, "FourDPackex"),
            Find<PlugInfoEntry>(module, "FourDPlugInfo")};
}
} // namespace

void AttachRecorder(void* module) {
    ownModule = static_cast<HMODULE>(module);
    InitializeCriticalSection(&section);
}

void DetachRecorder(bool processEnds) {
    if (processEnds) { // no other thread runs any more, and one may have been within
        if (TryEnterCriticalSection(&section) != 0 && recording != nullptr) {
            recording->file.WriteText(Chunk::End, "The process has ended.");
        }
        return;
    }
    if (recording != nullptr) {
        recording->file.WriteText(Chunk::End, "The plug-in was unloaded.");
        delete std::exchange(recording, nullptr);
    }
    if (plugin.module != nullptr) {
        FreeLibrary(static_cast<HMODULE>(plugin.module));
    }
    DeleteCriticalSection(&section);
}

const RecordedPlugin& ThePlugin() {
    const OwnWork work;
    if (!std::exchange(soughtPlugin, true)) {
        try {
            plugin = LoadPlugin(ReadSettings(PathOf(ownModule)).plugin);
        } catch (...) {
            TellNoMemory();
        }
    }
    return plugin;
}

bool BeginRecording() {
    const OwnWork work;
    if (!std::exchange(begun, true)) {
        try {
            recording = new RunningRecording(ReadSettings(PathOf(ownModule)), ownModule, plugin);
        } catch (...) {
            TellNoMemory();
        }
    }
    return recording != nullptr && recording->file.IsOpen();
}

RecordedCrossing::RecordedCrossing(Way way, long selector, std::span<const unsigned char> root,
                                   const void* frame, const void* function) {
    event.stack = frame;
    event.function = function;
    event.crossing.way = way;
    event.crossing.selector = selector;
    event.crossing.root = root;
    const bool isCall = way == Way::Classic || way == Way::Engine;
    Write(isCall ? Chunk::CallBegins : Chunk::EntryBegins, {}, 0);
}

void RecordedCrossing::End(std::span<const unsigned char> sent, long returned) {
    if (event.number == 0) { // the recording was over before
        return;
    }
    event.crossing.isOver = true;
    Write(event.chunk == Chunk::CallBegins ? Chunk::CallEnds : Chunk::EntryEnds, sent, returned);
}

void RecordedCrossing::Write(Chunk chunk, std::span<const unsigned char> sent, long returned) {
    event.chunk = chunk;
    event.returned = returned;
    event.crossing.sent = sent;
    WithRecording([this](RunningRecording& running) { running.Write(event); });
}

void WriteNote(const std::string& text) {
    WithRecording([&](RunningRecording& running) { running.file.WriteText(Chunk::Note, text); });
}

void LearnHandleSize(const CallFields& sent, const CallFields& answered) {
    enum Operation : long { New = 1, Dispose, SetSize, GetSize };
    WithRecording([&](RunningRecording& running) {
        const auto handle = reinterpret_cast<std::uintptr_t>(answered.handle);
        const auto size =
            static_cast<std::uint32_t>(sent.param1 == GetSize ? answered.param2 : sent.param2);
        if (sent.param1 == Dispose) {
            running.hostHandles.Forget(reinterpret_cast<std::uintptr_t>(sent.handle));
        } else if (sent.param1 >= New && sent.param1 <= GetSize && handle != 0 &&
                   answered.error == 0) {
            running.hostHandles.Set(handle, size);
        }
    });
}
