// The server's side: requests of clients in any order and within one another, against what it is to
// know of calls and their answers.

#include "fuzz/HostileHost.h"
#include "platform/ResultCodes.h"

#include <list>
#include <optional>
#include <stdexcept>

namespace {
constexpr long framework = 0; // the identifier of the framework's own messages

/// Does in its hooks what the input says, further requests too.
class Server : public FuzzPlug {
  public:
    explicit Server(Input& bytes) : input(bytes), host(bytes, HostileHost::AnyVersion(bytes)) {
        host.onCall = [](HostileHost::Call&) { return true; };
        host.Start();
    }
    ~Server() override {
        StopAll();
        HostileHost::Stop();
    }
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    void DoAny();

    bool CanClientConnectOnServer(unsigned long) override {
        canConnect = input.Choice(8) != 0;
        return canConnect;
    }
    void DoClientConnectOnServer(FourDClient* client) override {
        Require(_is_in_list(clients, client) != 0, "a client that connects is not in the list");
        Hook();
    }
    void DoClientDisconnectOnServer(FourDClient* client) override {
        Require(_is_in_list(clients, client) != 0, "a client that leaves is not in the list");
        Hook();
    }
    void DoProcOnServer(FourDClient*, short, char** data) override {
        RequireParameters(data);
        Hook();
    }
    void DoFuncOnServer(FourDClient*, short, char** data, char*** result) override {
        RequireParameters(data);
        const auto call = std::make_shared<Call>(Call{written, {}});
        calls.push_back(call);
        const std::string answer = input.Text(30);
        if (input.ConsumeBool()) {
            Hook();
        }
        if (PtrToHand(answer.data(), result, static_cast<long>(answer.size())) == 0) {
            call->answer = answer;
        }
        Hook();
    }

  private:
    struct Call {
        long id;
        std::optional<std::string> answer;
    };

    void Hook() {
        if (depth < 4 && input.Choice(3) == 0) {
            DoAny();
        }
        if (input.Choice(8) == 0) {
            throw std::runtime_error("kept inside");
        }
    }
    void RequireParameters(char** data) {
        Require(std::string(*data, static_cast<std::size_t>(GetHandleSize(data))) == parameters,
                "the parameters differ");
    }
    unsigned long Enter(long selector, void* block, const void* word = nullptr) {
        auto result = reinterpret_cast<unsigned long>(word);
        ++depth;
        FourDPack(selector, block, nullptr, &result);
        --depth;
        return result;
    }
    auto Find(long id) {
        return std::ranges::find_if(calls, [=](const auto& call) { return call->id == id; });
    }

    void Connect(unsigned long cookie, long process);
    void Disconnect(unsigned long cookie) {
        ReadWriteBlock block{0, 0, 0, cookie, 0};
        Enter(-202, &block);
    }
    void Write(unsigned long cookie, long id);
    void Read(long id);
    void ReadCallID();
    void CleanUp(long id);
    void CleanUpCallID();
    void StopAll();

    Input& input;
    HostileHost host;
    std::list<std::shared_ptr<Call>> calls;   ///< whose answers can be read
    std::map<char*, unsigned long> handedOut; ///< identifiers, big-endian
    long written = 0; ///< the call that is being written, and its parameters
    std::string parameters;
    bool canConnect = false;
    int depth = 0;
};

void Server::DoAny() {
    const unsigned long cookie = input.Choice(4);
    const long id = static_cast<long>(input.Choice(6)) - 4;
    switch (input.Choice(10)) {
    case 0:
    case 1:
        return Connect(cookie, static_cast<long>(input.Choice(4)));
    case 2:
        return Disconnect(cookie);
    case 3:
        Enter(-4, reinterpret_cast<void*>(cookie)); // a process's end
        return;
    case 4:
        input.FailAnAllocation();
        [[fallthrough]];
    case 5:
        return Write(cookie, id);
    case 6:
        return Read(id);
    case 7:
        return ReadCallID();
    case 8:
        return CleanUpCallID();
    default:
        return CleanUp(id);
    }
}

void Server::Connect(unsigned long cookie, long process) {
    ReadWriteBlock block{0, 0, 0, cookie, process};
    LateConnectBlock late{{}, cookie, process};
    const bool isLate = gHost.BcdVersion() >= 0x1130 && gHost.BcdVersion() <= 0x121F;
    canConnect = false;
    const unsigned long answer = Enter(-201, isLate ? static_cast<void*>(&late) : &block, this);
    Require(answer <= 1, "neither connected nor refused");
}

void Server::Write(unsigned long cookie, long id) {
    const std::string text = input.Text();
    const std::unique_ptr<char[]> bytes(new char[text.size()]); // so that none is beyond it
    text.copy(bytes.get(), text.size());
    const bool isNull = input.Choice(8) == 0;
    const long size = isNull || input.Choice(8) == 0 ? -static_cast<long>(input.Choice(100))
                                                     : static_cast<long>(text.size());
    const std::string formerParameters = std::exchange(parameters, size > 0 ? text : "");
    const long former = std::exchange(written, id);
    const short kind = input.ConsumeBool() ? ServerMessage::Identification : short{1};
    ReadWriteBlock block{id, kind, size, cookie, 0};
    Enter(-206, &block, isNull ? nullptr : bytes.get());
    written = former;
    parameters = formerParameters;
}

void Server::Read(long id) {
    ReadWriteBlock block{id, 1, input.Number(), 0, 0};
    const auto* answer = reinterpret_cast<const char*>(Enter(-205, &block, this));
    Require(answer != nullptr || block.dataSize == 0, "nothing has a size");
    const auto call = Find(id);
    const bool isThere = call != calls.end() && (*call)->answer.has_value();
    Require((answer != nullptr) == isThere,
            isThere ? "an answer is lost" : "an answer of nobody's");
    if (isThere) {
        const std::string found(answer, static_cast<std::size_t>(block.dataSize));
        Require(found == *(*call)->answer, "the answer differs");
    }
}

void Server::ReadCallID() {
    if (input.Choice(8) == 0) {
        lastCallID = input.Number() & 0x7FFFFFFF;
    }
    const long next = lastCallID == 0x7FFFFFFF ? 1 : lastCallID + 1;
    ReadWriteBlock block{framework, ServerMessage::NextCallID, 0, 0, 0};
    auto* const answer = reinterpret_cast<char*>(Enter(-205, &block));
    Require(answer != nullptr && block.dataSize == 4, "there is no identifier");
    unsigned long id = 0;
    std::memcpy(&id, answer, sizeof id);
    Require(SwapBytes(id) == static_cast<unsigned long>(next), "not the next identifier");
    Require(handedOut.emplace(answer, id).second, "two identifiers in one place");
}

void Server::CleanUpCallID() {
    if (handedOut.empty()) {
        return;
    }
    const auto [answer, id] = *std::next(handedOut.begin(), input.Choice(handedOut.size()));
    Require(std::memcmp(answer, &id, sizeof id) == 0, "an identifier has changed");
    handedOut.erase(answer);
    ReadWriteBlock block{framework, ServerMessage::NextCallID, 4, 0, 0};
    Enter(-207, &block, answer);
}

void Server::CleanUp(long id) {
    if (id == framework) {
        return;
    }
    if (const auto call = Find(id); call != calls.end()) {
        calls.erase(call);
    }
    ReadWriteBlock block{id, 1, 0, 0, 0};
    Enter(-207, &block);
}

/// What the host asks for when all clients leave: then nothing is to be left over.
void Server::StopAll() {
    ToolboxFailAllocation(0);
    while (!calls.empty()) {
        CleanUp(calls.front()->id);
    }
    while (!handedOut.empty()) {
        CleanUpCallID();
    }
    while (void* const client = _first_in_list(clients)) {
        const FourDClient known = *static_cast<FourDClient*>(client);
        Disconnect(known.cookie);
        Enter(-4, reinterpret_cast<void*>(known.process));
    }
}
} // namespace

void Fuzz(Input& input) {
    Server server(input);
    while (!input.IsOver()) {
        server.DoAny();
    }
}
