#include "fuzz/Harness.h"

#include "data/blocks/Handles.h"
#include "platform/Toolbox.h"
#include "shell/Entry.h"
#include "testhost/session/DatabaseFile.h"
#include "testhost/toolbox/Control.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <utility>

// The plug-in object that the entry points serve.
FourDPlug* gFourDPlug = nullptr;

long Input::Number() {
    constexpr long lowest = std::numeric_limits<long>::min();
    constexpr long highest = std::numeric_limits<long>::max();
    switch (Choice(4)) {
    case 0:
        return ConsumeIntegral<signed char>();
    case 1:
        return ConsumeIntegral<short>();
    case 2:
        return ConsumeBool() ? lowest + Choice(16) : highest - static_cast<long>(Choice(16));
    default:
        return ConsumeIntegral<long>();
    }
}

bool Input::FailAnAllocation() {
    const auto count = static_cast<long>(Choice(8));
    ToolboxFailAllocation(count);
    return count > 0;
}

void Fail(const std::string& sentence) {
    std::fprintf(stderr, "FAILED: %s\n", sentence.c_str());
    std::abort();
}

std::string BytesOf(Handle handle) {
    return handle != nullptr ? std::string(*handle, static_cast<std::size_t>(GetHandleSize(handle)))
                             : std::string();
}

std::string PascalText(const unsigned char* string) {
    return {string + 1, string + 1 + string[0]};
}

Handle HandleOf(const std::string& bytes) {
    return TemporaryHandle(bytes.data(), static_cast<long>(bytes.size())).GiveAway();
}

OSErr AddResource(short file, OSType type, short id, const std::string& bytes) {
    return ToolboxAddResource(file, type, id, "Name", bytes.data(),
                              static_cast<long>(bytes.size()));
}

const Database& SmallDatabase() {
    static const DatabaseFile file =
        ParseDatabase("table \"Clients\"\nfield \"Last name\" alpha 10 indexed\n"
                      "field \"Number\" long unique\nfield \"Born\" date\nrecords\n"
                      "Moss|1|1999-12-31\n-\nAbel|2|\n\ntable \"Bills\"\nfield \"Sum\" real\n",
                      "database");
    return file.database;
}

FuzzPlug::FuzzPlug(std::vector<CommandEntry> commandTable)
    : FourDPlug(&plugInfo), commands(std::move(commandTable)) {
    plugInfo.recordVersion = 1;
    plugInfo.recordSize = sizeof plugInfo;
    plugInfo.productName = "Fuzz";
    plugInfo.commandCount = static_cast<unsigned short>(commands.size());
    plugInfo.commands = commands.empty() ? nullptr : commands.data();
    gFourDPlug = this;
}

FuzzPlug::~FuzzPlug() {
    gFourDPlug = nullptr;
}

void FuzzPlug::Init(PackInitBlock* init) {
    ReleaseRecords();
    FourDPlug::Init(init);
}

void FuzzPlug::Deinit() {
    ReleaseRecords();
    FourDPlug::Deinit();
}

void FuzzPlug::ReleaseRecords() {
    while (clients != nullptr && !_is_empty(clients)) {
        delete static_cast<FourDClient*>(_remove_from_beginning(clients));
    }
    while (serverCalls != nullptr && !_is_empty(serverCalls)) {
        const std::unique_ptr<ServerCall> call(
            static_cast<ServerCall*>(_remove_from_beginning(serverCalls)));
        for (const Handle handle : {call->parameters, call->result}) {
            if (handle != nullptr) {
                DisposeHandle(handle);
            }
        }
    }
}

FuzzHost::FuzzHost(HostOptions options, std::vector<CommandEntry> commands)
    : host(std::move(options)),
      plug(std::move(commands)),
      session(host, EntryPoints{FourDPack, FourDPackex}),
      inside(host) {
    session.Start();
}

FuzzHost::~FuzzHost() {
    ToolboxFailAllocation(0);
    if (session.IsStarted()) {
        session.Stop();
    }
    session.ReportLeaks();
    if (!host.problems.empty()) {
        Fail(host.problems.front());
    }
}

namespace {
void CheckToolbox() {
    ToolboxFailAllocation(0);
    if (ToolboxProblemCount() > 0) {
        char sentence[512] = "";
        ToolboxProblem(0, sentence, sizeof sentence);
        Fail(sentence);
    }
    Require(ToolboxLiveHandles() == 0, "a handle is left alive");
    Require(ToolboxLiveHostHandles() == 0, "a handle of the host's is left alive");
    Require(ToolboxLivePointers() == 0, "a pointer is left alive");
    Require(ToolboxOpenFiles() == 0, "a file is left open");
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    ToolboxReset();
    Input input(bytes, size);
    Fuzz(input);
    CheckToolbox();
    return 0;
}
