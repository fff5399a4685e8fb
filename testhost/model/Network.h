#pragma once

#include "platform/Types.h"
#include "testhost/model/Requests.h"
#include "testhost/model/Scheduler.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

class Host;
class HostedPlugin;

/// What a client's host answers when there is no server that it is connected to.
inline constexpr OSErr noServer = -10002;

/// What happens to one request on its way.
struct NetworkFault {
    enum class Kind {
        None,    ///< it travels as ever
        Delay,   ///< it arrives `amount` ticks late; others may overtake it
        Drop,    ///< it never arrives; the client is told the result code `amount`
        Cut,     ///< `amount` bytes arrive: of a write's data, of a read's answer
        Corrupt, ///< some bytes of the same are changed; `amount` is the seed
    };
    Kind kind = Kind::None;
    long amount = 0;
};

/// Joins one server and its clients, which share a scheduler. A request of a client's plug-in goes
/// to the server's copy (-205 to -207) in the process that serves the client there, while the
/// client's own process gives way. The server has them one at a time, in the order in which they
/// arrive.
///
/// It may end before its hosts or after them.
class Network {
  public:
    Network() = default;
    ~Network();
    Network(const Network&) = delete;
    Network& operator=(const Network&) = delete;

    /// The copy of the plug-in that requests go to; it has to outlive its clients' connections.
    void SetServer(HostedPlugin& plugin);
    /// The server's host; null when there is none.
    Host* Server() const;
    /// A client's host asks to be let in. Answers whether it was: when it already is, or the
    /// server does not run or refuses, it is not.
    bool Connect(Host& client, std::string name);
    /// The client leaves; false when it is not connected.
    bool Disconnect(Host& client);
    void DisconnectAll();
    bool IsConnected(const Host& client) const;
    /// A host ends: nothing reaches it any more.
    void Leave(const Host& host);

    /// Requests of a client's plug-in; answer the result code for it. What is read is a new handle
    /// that becomes the plug-in's, null when the server answers nothing.
    OSErr Read(Host& client, long id, short kind, Handle* answer);
    OSErr Write(Host& client, long id, short kind, Handle data);

    /// Said several times, the requests after the next one, in turn.
    void FaultNext(NetworkFault fault) { faults.push_back(fault); }
    /// How many faults have not happened, and forgets them.
    size_t TakeUnusedFaults();

  private:
    /// A client's connection, and the process that serves it on the server.
    struct Connection {
        Host* client;
        unsigned long cookie;
        long process;
    };
    /// Somebody's place in the queue before the server.
    struct Ticket {
        Host* host;
        long process;
        bool ownStack; ///< of a process that may be dropped wherever it stands
        unsigned long number;
    };

    class Turn;

    bool HasRunningServer() const;
    const Connection* Find(const Host& client) const;
    NetworkFault TakeFault();
    /// Lets the request travel; its result code when it gets lost on the way.
    std::optional<OSErr> Travel(Host& client, const NetworkFault& fault);
    void DropAbandonedTickets();
    /// Runs `deliver` in the server's process of the client, shown beneath what the client does.
    OSErr Deliver(Host& client, const std::function<void(const Connection&)>& deliver);
    Request::Answer FetchAnswer(const Connection& connection, long id, short kind);

    HostedPlugin* server = nullptr;
    std::vector<Connection> connections;
    std::vector<Host*> hosts; ///< that know this network
    std::deque<NetworkFault> faults;
    std::deque<Ticket> queue;
    unsigned long lastTicket = 0;
    unsigned long lastCookie = 0xC0040000; // a whole word, as hosts use it
};
