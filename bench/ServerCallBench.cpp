// 10,000 calls of a function of the server's copy, each with its way there and back: the client
// gives way, fetches an identifier, writes the parameters and reads the answer. Beside it the same
// requests with no framework on either side, and the server's function alone.
//
// The host is made up and carries each request over at once, within this module: what is measured
// is our side of a call and the toolbox's handles, and no network.

#include "host/boundary/Selectors.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/Entry.h"
#include "shell/FourDPlug.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstring>

namespace {

constexpr long CallCount = 10'000;
constexpr short FunctionNumber = 1;
char parameters[] = "sixteen bytes...";
constexpr long ParameterSize = sizeof parameters - 1;

constexpr short Read = Select("ReadOnServer").classic;
constexpr short Write = Select("WriteOnServer").classic;
constexpr short Yield = Select("YieldToOthers").classic;

/// The server's function, the same in every row: the bytes from the last to the first.
void Reverse(Handle bytes, Handle* reversed) {
    const long size = GetHandleSize(bytes);
    *reversed = NewHandle(size);
    std::reverse_copy(*bytes, *bytes + size, **reversed);
}

void BeHost(ClassicCallBack callBack) {
    gHost = {};
    gHost.version = 0x0680;
    gHost.classicCallBack = callBack;
}

// --- The framework on both sides ----------------------------------------------------------------

PlugInfo plugInfo = {
    .reserved = 0,
    .recordVersion = 1,
    .recordSize = sizeof(PlugInfo),
    .productName = "Bench",
    .creator = 0,
    .version = 0,
    .resourceID = 0,
    .resourceFile = 0,
    .spare = 0,
    .commandCount = 0,
    .commands = nullptr,
};

class ServerPlug : public FourDPlug {
  public:
    ServerPlug() : FourDPlug(&plugInfo) {}
    bool TrackClientsOnServer() override { return false; }
    void DoFuncOnServer(FourDClient*, short, char** data, char*** result) override {
        Reverse(data, result);
    }
};

constexpr unsigned long Cookie = 0xC0040001;

/// A request to the server's copy, as its host makes it.
unsigned long Request(long selector, ReadWriteBlock& block, unsigned long word = 0) {
    FourDPack(selector, &block, nullptr, &word);
    return word;
}

void CarryRead(CallFields& fields) {
    ReadWriteBlock block{fields.param1, static_cast<short>(fields.param2), 0, Cookie, 0};
    const unsigned long word = Request(-205, block);
    Handle answer = nullptr;
    PtrToHand(reinterpret_cast<const void*>(word), &answer, block.dataSize);
    fields.handle = answer;
    Request(-207, block, word);
}

void CarryWrite(const CallFields& fields) {
    ReadWriteBlock block{fields.param1, static_cast<short>(fields.param2),
                         GetHandleSize(fields.handle), Cookie, 0};
    Request(-206, block, reinterpret_cast<unsigned long>(*fields.handle));
}

HOST_CALL long Carry(long selector, ParameterBlock* block) {
    if (selector == Read) {
        CarryRead(*block);
    } else if (selector == Write) {
        CarryWrite(*block);
    }
    return 0;
}

/// The plug-in with a connected client; the former plug-in is back in the end.
class ServerSession {
  public:
    ServerSession() : former(gFourDPlug) {
        BeHost(Carry);
        gFourDPlug = &plug;
        plug.Init(nullptr);
        ReadWriteBlock client{0, 0, 0, Cookie, 1};
        Request(-201, client);
    }
    ~ServerSession() {
        ReadWriteBlock client{0, 0, 0, Cookie, 1};
        Request(-202, client);
        plug.Deinit();
        gFourDPlug = former;
    }
    ServerSession(const ServerSession&) = delete;
    ServerSession& operator=(const ServerSession&) = delete;

  private:
    ServerPlug plug;
    FourDPlug* former;
};

Handle CallThroughFramework() {
    Handle answer = nullptr;
    FourDPlug::CallFuncOnServer(FunctionNumber, parameters, ParameterSize, &answer);
    return answer;
}

// --- The same requests by hand ------------------------------------------------------------------

/// A server that knows one client, who makes one call at a time.
struct {
    long lastIdentifier;
    Handle parameters;
    Handle result;
} bareServer;

HOST_CALL long CarryByHand(long selector, ParameterBlock* block) {
    Handle answer = nullptr;
    if (selector == Write) {
        PtrToHand(*block->handle, &bareServer.parameters, GetHandleSize(block->handle));
        Reverse(bareServer.parameters, &bareServer.result);
    } else if (selector == Read && block->param1 == 0) {
        ++bareServer.lastIdentifier;
        PtrToHand(&bareServer.lastIdentifier, &answer, sizeof bareServer.lastIdentifier);
        block->handle = answer;
    } else if (selector == Read) {
        PtrToHand(*bareServer.result, &answer, GetHandleSize(bareServer.result));
        block->handle = answer;
        DisposeHandle(bareServer.result);
        DisposeHandle(bareServer.parameters);
    }
    return 0;
}

Handle CallHost(short selector, long id = 0, short kind = 0, Handle data = nullptr) {
    ParameterBlock block;
    std::memset(static_cast<void*>(&block), 0, sizeof block);
    block.param1 = id;
    block.param2 = kind;
    block.handle = data;
    gHost.classicCallBack(selector, &block);
    return block.handle;
}

Handle CallByHand() {
    Handle sent = nullptr;
    PtrToHand(parameters, &sent, ParameterSize);
    CallHost(Yield);
    Handle identifier = CallHost(Read, 0, ServerMessage::NextCallID);
    long id = 0;
    std::memcpy(&id, *identifier, sizeof id);
    DisposeHandle(identifier);
    CallHost(Write, id, FunctionNumber, sent);
    DisposeHandle(sent);
    return CallHost(Read, id, FunctionNumber);
}

Handle CallFunctionAlone() {
    Handle sent = nullptr;
    Handle answer = nullptr;
    PtrToHand(parameters, &sent, ParameterSize);
    Reverse(sent, &answer);
    DisposeHandle(sent);
    return answer;
}

// --- The rows: the time of one is that of a call ------------------------------------------------

template <typename Call>
void MakeCalls(benchmark::State& state, Call call) {
    for (auto _ : state) {
        const Handle answer = call();
        if (answer == nullptr || GetHandleSize(answer) != ParameterSize ||
            **answer != parameters[ParameterSize - 1]) {
            state.SkipWithError("no answer");
            return;
        }
        DisposeHandle(answer);
    }
}

void FunctionAlone(benchmark::State& state) {
    MakeCalls(state, CallFunctionAlone);
}

void ByHand(benchmark::State& state) {
    BeHost(CarryByHand);
    MakeCalls(state, CallByHand);
}

void Framework(benchmark::State& state) {
    const ServerSession session;
    MakeCalls(state, CallThroughFramework);
    state.SetLabel("vs ServerCall/by_hand");
}

} // namespace

BENCHMARK(FunctionAlone)->Name("ServerCall/function_alone")->Iterations(CallCount)->Repetitions(9);
BENCHMARK(ByHand)->Name("ServerCall/by_hand")->Iterations(CallCount)->Repetitions(9);
BENCHMARK(Framework)->Name("ServerCall/framework")->Iterations(CallCount)->Repetitions(9);
