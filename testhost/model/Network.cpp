#include "testhost/model/Network.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/model/Host.h"
#include "testhost/model/HostedPlugin.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <random>

#include <windows.h>

namespace {
namespace Request {
constexpr long Connect = -201;
constexpr long Disconnect = -202;
constexpr long Read = -205;
constexpr long Write = -206;
constexpr long Cleanup = -207;
} // namespace Request

// Where the fields of a request stand.
constexpr size_t idOffset = 0;
constexpr size_t kindOffset = 4;
constexpr size_t sizeOffset = 6;
constexpr size_t cookieOffset = 10;
constexpr size_t processOffset = 14;
constexpr size_t lateCookieOffset = 12; // in connection requests of some hosts
constexpr size_t lateProcessOffset = 16;
constexpr unsigned char unused = 0xA5; // behind the fields that a request has

template <typename Number>
void Put(RequestBytes& block, size_t offset, Number number) {
    std::memcpy(&block[offset], &number, sizeof number);
}

// How many of so many bytes can be read from an address on.
size_t Readable(const char* address, size_t size) {
    constexpr DWORD unreadable = PAGE_NOACCESS | PAGE_GUARD;
    size_t readable = 0;
    MEMORY_BASIC_INFORMATION region{};
    while (readable < size && VirtualQuery(address + readable, &region, sizeof region) != 0 &&
           region.State == MEM_COMMIT && (region.Protect & unreadable) == 0) {
        readable = static_cast<size_t>(static_cast<const char*>(region.BaseAddress) +
                                       region.RegionSize - address);
    }
    return std::min(readable, size);
}

long DataSize(const RequestBytes& block) {
    long size = 0;
    std::memcpy(&size, &block[sizeOffset], sizeof size);
    return size;
}

// Hosts from 11.3 to 12.1 tell of a client's end with that of its process only.
bool IsLateHost(const Host& host) {
    return host.options.version >= 0x1130 && host.options.version < 0x1220;
}

RequestBytes MakeRequest(long id, short kind, long size, unsigned long cookie) {
    RequestBytes block;
    block.fill(unused);
    Put(block, idOffset, id);
    Put(block, kindOffset, kind);
    Put(block, sizeOffset, size);
    Put(block, cookieOffset, cookie);
    return block;
}

RequestBytes MakeConnectRequest(const Host& server, unsigned long cookie, long process) {
    RequestBytes block;
    block.fill(unused);
    const bool late = IsLateHost(server);
    Put(block, late ? lateCookieOffset : cookieOffset, cookie);
    Put(block, late ? lateProcessOffset : processOffset, process);
    return block;
}

// What a cut or corrupted request still brings.
void Damage(std::string& bytes, const NetworkFault& fault) {
    if (fault.kind == NetworkFault::Kind::Cut) {
        bytes.resize(std::min(bytes.size(), static_cast<size_t>(std::max(fault.amount, 0L))));
    }
    if (fault.kind != NetworkFault::Kind::Corrupt || bytes.empty()) {
        return;
    }
    std::minstd_rand random(static_cast<unsigned>(fault.amount) + 1);
    for (size_t change = random() % 4 + 1; change > 0; --change) {
        const auto bits = static_cast<char>(random() % 255 + 1);
        char& byte = bytes[random() % bytes.size()];
        byte = static_cast<char>(byte ^ bits);
    }
}

std::string Named(const char* what, long id, short kind) {
    char text[64];
    std::snprintf(text, sizeof text, "%s of call 0x%lX, kind %d", what,
                  static_cast<unsigned long>(id), kind);
    return text;
}

// Bytes for the plug-in, in a block that is exactly as large as they are.
class SentBytes {
  public:
    explicit SentBytes(const std::string& bytes) : block(NewPtr(static_cast<long>(bytes.size()))) {
        if (block != nullptr) {
            std::memcpy(block, bytes.data(), bytes.size());
        }
    }
    ~SentBytes() { DisposePtr(block); }
    SentBytes(const SentBytes&) = delete;
    SentBytes& operator=(const SentBytes&) = delete;

    unsigned long Word() const { return reinterpret_cast<unsigned long>(block); }

  private:
    Ptr block;
};
} // namespace

// A place in the queue, from the request's arrival until the server is done with it. A process that
// is dropped meanwhile leaves its ticket behind; the next one throws it away.
class Network::Turn {
  public:
    Turn(Network& itsNetwork, Host& host) : network(itsNetwork), number(++itsNetwork.lastTicket) {
        network.queue.push_back(
            {&host, host.currentProcess, host.scheduler->InOwnProcess(), number});
        for (;;) {
            network.DropAbandonedTickets();
            if (network.queue.front().number == number) {
                return;
            }
            host.scheduler->GiveWay(host);
        }
    }
    ~Turn() {
        std::erase_if(network.queue, [&](const Ticket& ticket) { return ticket.number == number; });
    }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

  private:
    Network& network;
    unsigned long number;
};

Network::~Network() {
    for (Host* host : hosts) {
        host->network = nullptr;
    }
}

void Network::SetServer(HostedPlugin& plugin) {
    server = &plugin;
    hosts.push_back(&plugin.host);
    plugin.host.network = this;
}

Host* Network::Server() const {
    return server != nullptr ? &server->host : nullptr;
}

bool Network::HasRunningServer() const {
    return server != nullptr && server->IsStarted();
}

const Network::Connection* Network::Find(const Host& client) const {
    const auto found = std::ranges::find(connections, &client, &Connection::client);
    return found != connections.end() ? &*found : nullptr;
}

bool Network::IsConnected(const Host& client) const {
    return Find(client) != nullptr;
}

void Network::Leave(const Host& host) {
    std::erase(hosts, &host);
    std::erase_if(connections, [&](const Connection& each) { return each.client == &host; });
    std::erase_if(queue, [&](const Ticket& ticket) { return ticket.host == &host; });
    if (Server() == &host) {
        server = nullptr;
        connections.clear();
    }
}

bool Network::Connect(Host& client, std::string name) {
    if (!HasRunningServer() || IsConnected(client)) {
        return false;
    }
    const Turn turn(*this, client);
    Host& host = server->host;
    const Connection made{&client, ++lastCookie, host.AddProcess({.name = std::move(name)})};
    RequestBytes block = MakeConnectRequest(host, made.cookie, made.process);
    unsigned long letIn = 0;
    EnterServer(Request::Connect, block, &letIn,
                "client in process " + std::to_string(made.process) + " connects");
    if (letIn == 0) {
        host.FindProcess(made.process)->state = ProcessState::Ended;
        return false;
    }
    connections.push_back(made);
    client.network = this;
    hosts.push_back(&client);
    host.TellPlugins(-3, made.process);
    return true;
}

bool Network::Disconnect(Host& client) {
    if (!IsConnected(client)) {
        return false;
    }
    const Turn turn(*this, client);
    const Connection* connection = Find(client);
    if (connection == nullptr) { // somebody was faster
        return false;
    }
    const Connection gone = *connection;
    std::erase_if(connections, [&](const Connection& each) { return each.client == &client; });
    std::erase(hosts, &client);
    client.network = nullptr;
    if (!HasRunningServer()) {
        return true;
    }
    Host& host = server->host;
    if (!IsLateHost(host)) {
        const Host::InProcess inside(host, gone.process);
        RequestBytes block = MakeRequest(0, 0, 0, gone.cookie);
        EnterServer(Request::Disconnect, block, nullptr,
                    "client in process " + std::to_string(gone.process) + " disconnects");
    }
    if (host.FindProcess(gone.process)->Lives()) {
        host.EndProcess(gone.process);
    }
    return true;
}

void Network::DisconnectAll() {
    while (!connections.empty()) {
        Disconnect(*connections.back().client);
    }
}

NetworkFault Network::TakeFault() {
    if (faults.empty()) {
        return {};
    }
    const NetworkFault fault = faults.front();
    faults.pop_front();
    return fault;
}

size_t Network::TakeUnusedFaults() {
    return std::exchange(faults, {}).size();
}

std::optional<OSErr> Network::Travel(Host& client, const NetworkFault& fault) {
    Scheduler& scheduler = *client.scheduler;
    const Ticks late = fault.kind == NetworkFault::Kind::Delay
                           ? static_cast<Ticks>(std::max(fault.amount, 0L))
                           : 0;
    const Ticks arrival = scheduler.Now() + late;
    do {
        scheduler.GiveWay(client);
    } while (scheduler.Now() < arrival);
    if (fault.kind == NetworkFault::Kind::Drop) {
        return static_cast<OSErr>(fault.amount);
    }
    return std::nullopt;
}

void Network::DropAbandonedTickets() {
    std::erase_if(queue, [](const Ticket& ticket) {
        return ticket.ownStack && !ticket.host->scheduler->Runs(*ticket.host, ticket.process);
    });
}

OSErr Network::Deliver(Host& client, const std::function<void(const Connection&)>& deliver) {
    const Turn turn(*this, client);
    const Connection* found = Find(client);
    if (found == nullptr || !HasRunningServer()) {
        return noServer;
    }
    const Connection connection = *found; // the table may change while the server gives way
    Host& host = server->host;
    const Host::InProcess inside(host, connection.process);
    const int depth = std::exchange(host.log.depth, client.log.depth + 1);
    deliver(connection);
    host.log.depth = depth;
    return ResultCode::NoError;
}

void Network::EnterServer(long selector, RequestBytes& block, unsigned long* word,
                          const std::string& what) {
    RequestBytes expected = block;
    server->Enter(selector, block.data(), nullptr, word, what);
    if (selector == Request::Read) { // which alone gives a size back
        std::copy_n(&block[sizeOffset], sizeof(long), &expected[sizeOffset]);
    }
    if (block != expected) {
        server->host.Report("The plug-in wrote into a request (" + what +
                            ") where it may only read.");
    }
}

OSErr Network::Write(Host& client, long id, short kind, Handle data) {
    if (data != nullptr && ToolboxHandleOwner(data) != 1) {
        client.Report("WriteOnServer came with a handle that is none of the toolbox's.");
        return ResultCode::BadParameter;
    }
    std::string bytes; // taken now: the handle may change while the request travels
    if (data != nullptr) {
        bytes.assign(*data, static_cast<size_t>(GetHandleSize(data)));
    }
    const NetworkFault fault = TakeFault();
    if (const std::optional<OSErr> lost = Travel(client, fault)) {
        return *lost;
    }
    Damage(bytes, fault);
    return Deliver(client, [&](const Connection& connection) {
        const SentBytes sent(bytes);
        unsigned long word = data != nullptr ? sent.Word() : 0;
        RequestBytes block =
            MakeRequest(id, kind, static_cast<long>(bytes.size()), connection.cookie);
        EnterServer(Request::Write, block, &word,
                    Named("write", id, kind) + ", " + std::to_string(bytes.size()) + " bytes");
    });
}

// Reads from the server's copy, and has it clean up once the bytes are copied.
std::string Network::FetchAnswer(const Connection& connection, long id, short kind,
                                 bool* answered) {
    RequestBytes block = MakeRequest(id, kind, 0, connection.cookie);
    unsigned long word = 0;
    EnterServer(Request::Read, block, &word, Named("read", id, kind));
    const long size = DataSize(block);
    *answered = word != 0;
    std::string bytes;
    if (size < 0 || (size > 0 && !*answered)) {
        server->host.Report("The plug-in answered a read with the size " + std::to_string(size) +
                            (*answered ? "." : " and no data."));
    } else if (*answered) {
        const auto* data = reinterpret_cast<const char*>(word);
        bytes.assign(data, Readable(data, static_cast<size_t>(size)));
        if (bytes.size() < static_cast<size_t>(size)) {
            server->host.Report("The plug-in answered a read with the size " +
                                std::to_string(size) + ", but only " +
                                std::to_string(bytes.size()) + " bytes are at its address.");
        }
    }
    EnterServer(Request::Cleanup, block, &word, Named("clean-up", id, kind));
    return bytes;
}

OSErr Network::Read(Host& client, long id, short kind, Handle* answer) {
    *answer = nullptr;
    const NetworkFault fault = TakeFault();
    if (const std::optional<OSErr> lost = Travel(client, fault)) {
        return *lost;
    }
    std::string bytes;
    bool answered = false;
    const OSErr error = Deliver(client, [&](const Connection& connection) {
        bytes = FetchAnswer(connection, id, kind, &answered);
    });
    if (error != ResultCode::NoError || !answered) {
        return error;
    }
    Damage(bytes, fault);
    return PtrToHand(bytes.data(), answer, static_cast<long>(bytes.size()));
}
