#include "testhost/model/Network.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/model/Host.h"
#include "testhost/model/HostedPlugin.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <random>

namespace {
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
    if (!Request::SendConnect(*server, made.cookie, made.process)) {
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
    if (!Request::IsLateHost(host)) {
        const Host::InProcess inside(host, gone.process);
        Request::SendDisconnect(*server, gone.cookie, gone.process);
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

OSErr Network::Write(Host& client, long id, short kind, Handle data) {
    if (data != nullptr && ToolboxHandleOwner(data) != HandleOwner::Toolbox) {
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
        Request::SendWrite(*server, id, kind, connection.cookie,
                           data != nullptr ? &bytes : nullptr);
    });
}

// Reads from the server's copy, and has it clean up once the bytes are copied.
Request::Answer Network::FetchAnswer(const Connection& connection, long id, short kind) {
    Request::Answer answer = Request::SendRead(*server, id, kind, connection.cookie);
    Request::SendCleanup(*server, id, kind, connection.cookie, answer);
    return answer;
}

OSErr Network::Read(Host& client, long id, short kind, Handle* answer) {
    *answer = nullptr;
    const NetworkFault fault = TakeFault();
    if (const std::optional<OSErr> lost = Travel(client, fault)) {
        return *lost;
    }
    Request::Answer got;
    const OSErr error = Deliver(
        client, [&](const Connection& connection) { got = FetchAnswer(connection, id, kind); });
    if (error != ResultCode::NoError || got.word == 0) {
        return error;
    }
    Damage(got.bytes, fault);
    return PtrToHand(got.bytes.data(), answer, static_cast<long>(got.bytes.size()));
}
