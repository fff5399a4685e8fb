// Calls from a client's copy of the plug-in to the server's. One module holds one copy: the server
// side is driven by requests, the client side talks to a server whose plug-in is made up here.

#include "shell/ServerCalls.h"

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/model/Network.h"
#include "tests/Fixture.h"

#include <array>
#include <cstdio>
#include <gmock/gmock.h>
#include <random>
#include <utility>

#include <windows.h>

using testing::ElementsAre;
using testing::ElementsAreArray;

namespace {

/// Bytes at the very end of a page, behind which nothing can be read.
class LastBytes {
  public:
    explicit LastBytes(std::string_view bytes)
        : pages(static_cast<char*>(
              VirtualAlloc(nullptr, 2 * Page, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))),
          start(pages + Page - bytes.size()) {
        DWORD before = 0;
        VirtualProtect(pages + Page, Page, PAGE_NOACCESS, &before);
        std::copy(bytes.begin(), bytes.end(), start);
    }
    ~LastBytes() { VirtualFree(pages, 0, MEM_RELEASE); }
    LastBytes(const LastBytes&) = delete;
    LastBytes& operator=(const LastBytes&) = delete;

    unsigned long Word() const { return reinterpret_cast<unsigned long>(start); }

  private:
    static constexpr size_t Page = 4096;
    char* pages;
    char* start;
};

constexpr unsigned long Refused = 13;
constexpr unsigned long Thrown = 14; // by the plug-in, as it comes and as it goes
constexpr short Reverse = 1;         // every other function has no answer

class ServerPlug : public TestPlug {
  public:
    bool CanClientConnectOnServer(unsigned long cookie) override { return cookie != Refused; }
    void DoClientConnectOnServer(FourDClient* client) override {
        const bool throws = client->cookie == Thrown;
        if (onConnect) {
            onConnect();
        }
        if (throws) {
            throw std::string("kept inside");
        }
    }
    void DoClientDisconnectOnServer(FourDClient* client) override {
        if (client->cookie == Thrown + 1) {
            throw std::string("kept inside");
        }
        if (onDisconnect) {
            onDisconnect();
        }
    }
    void DoProcOnServer(FourDClient*, short kind, char** data) override {
        events.push_back(std::to_string(kind) + " " + OwnedHandle::BytesOf(data));
    }
    void DoFuncOnServer(FourDClient*, short kind, char** data, char*** result) override {
        const std::string bytes = OwnedHandle::BytesOf(data);
        if (kind == Reverse) {
            if (onFunction) {
                std::exchange(onFunction, {})();
            }
            PtrToHand(std::string(bytes.rbegin(), bytes.rend()).data(), result,
                      static_cast<long>(bytes.size()));
        }
    }
    std::function<void()> onFunction; ///< once
    std::function<void()> onConnect;
    std::function<void()> onDisconnect;
    using FourDPlug::lastCallID;
    using FourDPlug::serverCalls;
};

/// A server's host with a plug-in, and the requests that a host makes of it.
class Server : public HostTest {
  public:
    explicit Server(unsigned short version = 0x1220)
        : HostTest({.version = version, .role = Role::Server}) {
        Start();
        plug.events.clear();
    }
    void TestBody() override {}

    unsigned long Request(long selector, ReadWriteBlock& block, unsigned long word = 0) {
        session.Enter(selector, &block, nullptr, &word, "request");
        return word;
    }
    /// Connection requests of most hosts stand in the first record; others have their fields 2
    /// bytes later.
    bool Connect(unsigned long cookie, long process) {
        std::array<unsigned long, 5> block = {};
        auto* bytes = reinterpret_cast<unsigned char*>(block.data());
        const bool late = host.options.version >= 0x1130 && host.options.version <= 0x121F;
        std::memcpy(bytes + (late ? 12 : 10), &cookie, 4);
        std::memcpy(bytes + (late ? 16 : 14), &process, 4);
        return Request(-201, *reinterpret_cast<ReadWriteBlock*>(bytes), 7) == 1;
    }
    void Disconnect(unsigned long cookie) {
        ReadWriteBlock block{0, 0, 0, cookie, 0};
        Request(-202, block);
    }
    void Write(long id, short kind, std::string_view bytes, unsigned long cookie = 1) {
        const LastBytes data(bytes);
        ReadWriteBlock block{id, kind, static_cast<long>(bytes.size()), cookie, 0};
        Request(-206, block, data.Word());
    }
    /// What a read answers; "none" for null, which goes with the size 0.
    std::string Read(long id, short kind = 0, bool cleanUp = true) {
        ReadWriteBlock block{id, kind, 99, 1, 0};
        const unsigned long word = Request(-205, block);
        const auto size = static_cast<size_t>(block.dataSize);
        std::string answer = word == 0 ? "none" : std::string(reinterpret_cast<char*>(word), size);
        EXPECT_TRUE(word != 0 || size == 0);
        if (cleanUp) {
            Request(-207, block, word);
        }
        return answer;
    }

    ServerPlug plug;
    using HostTest::host;
    using HostTest::session;
    using HostTest::TakeProblems;
};

TEST(ServerCallsTest, ClientsComeAndGoAsTheHostsVersionHasIt) {
    struct {
        unsigned short version;
        bool disconnects;
        bool endsWithProcess;
    } const cases[] = {{0x0680, true, false}, {0x112F, true, false}, {0x1130, false, true},
                       {0x1200, false, true}, {0x121F, false, true}, {0x1220, true, true}};
    for (const auto& each : cases) {
        SCOPED_TRACE(HostVersionText(each.version));
        Server server(each.version);
        EXPECT_FALSE(server.Connect(Refused, 4));
        const long process = server.host.AddProcess({.name = "client"});
        EXPECT_TRUE(server.Connect(0xC0000001, process));
        EXPECT_TRUE(server.Connect(2, process + 1));
        const FourDClient* client = server.plug.GetClientWithCookie(0xC0000001);
        ASSERT_NE(client, nullptr);
        EXPECT_EQ(client->process, process);
        EXPECT_EQ(server.plug.GetClientWithCookie(Refused), nullptr);
        EXPECT_FALSE(server.Connect(Thrown, 4));
        EXPECT_EQ(server.plug.GetClientWithCookie(Thrown), nullptr);

        server.Disconnect(0xC0000001);
        EXPECT_EQ(server.plug.GetClientWithCookie(0xC0000001) == nullptr, each.disconnects);
        server.session.ProcessEnd(process);
        EXPECT_EQ(server.plug.GetClientWithCookie(0xC0000001) == nullptr,
                  each.disconnects || each.endsWithProcess);
        EXPECT_NE(server.plug.GetClientWithCookie(2), nullptr);
        server.session.ProcessEnd(process + 1);
        server.Disconnect(2);
    }
}

TEST(ServerCallsTest, ClientsGoOnceWhateverTheHooksDo) {
    Server server;
    server.plug.onConnect = [&] { server.Disconnect(Thrown); }; // before it has come
    EXPECT_FALSE(server.Connect(Thrown, 4));
    server.plug.onConnect = nullptr;
    EXPECT_TRUE(server.Connect(Thrown + 1, 4));
    server.Disconnect(Thrown + 1);
    EXPECT_TRUE(_is_empty(server.plug.clients));
    // The client goes while it is told of; another one may then have its memory.
    EXPECT_TRUE(server.Connect(1, 4));
    server.plug.onDisconnect = [&] {
        server.plug.onDisconnect = nullptr;
        server.Disconnect(1);
        for (unsigned long cookie = 2; cookie < 10; ++cookie) {
            EXPECT_TRUE(server.Connect(cookie, 4));
        }
    };
    server.Disconnect(1);
    EXPECT_EQ(_num_of_objects(server.plug.clients), 8);
    for (unsigned long cookie = 2; cookie < 10; ++cookie) {
        server.Disconnect(cookie);
    }
}

TEST(ServerCallsTest, AnIdentificationNeverReachesBeyondItselfOrTheRecord) {
    const std::string x40(40, 'x');
    const std::string x31(31, 'x');
    struct {
        const char* what;
        std::string message;
        std::string owner; // the fields as far as they are not zero
        std::string machine;
        std::string user;
    } const cases[] = {
        {"as clients send it", "\5Owner\7Machine\4User", "\5Owner", "\7Machine", "\4User"},
        {"empty", "", "", "", ""},
        {"cut in a name", "\5Owner\7Mach", "\5Owner", "\7Mach", ""},
        {"cut before one", "\5Owner\7Machine", "\5Owner", "\7Machine", ""},
        {"a negative length", "\5Owner\xFFMachine\4User", "\5Owner", "", ""},
        {"the lowest one", "\x80Owner", "", "", ""},
        // The next length is taken from the character behind those that were kept.
        {"too long an owner", "\x28" + x31 + "\3abc\1d", "\x28" + x31, "\3abc", "\1d"},
        {"too long a user", "\1o\1m\x28" + x40, "\1o", "\1m", "\x28" + x31},
        {"only a length", "\x7F", "\x7F", "", ""},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.what);
        Server server;
        server.Connect(1, 4);
        server.Write(0, -2, each.message);
        server.Write(0, -2, "\3yes", 99); // of nobody
        server.Write(0, -3, "\3yes");
        FourDClient* client = server.plug.GetClientWithCookie(1);
        const auto bytes = [](const unsigned char* field, size_t size) {
            const std::string all(reinterpret_cast<const char*>(field), size);
            return all.substr(0, all.find_last_not_of('\0') + 1);
        };
        EXPECT_EQ(bytes(client->owner, sizeof client->owner), each.owner);
        EXPECT_EQ(bytes(client->machine, sizeof client->machine), each.machine);
        EXPECT_EQ(bytes(client->user, sizeof client->user), each.user);
        server.Disconnect(1);
    }
}

TEST(ServerCallsTest, FunctionsAreAnsweredProceduresActAndIdentifiersGoRound) {
    using namespace std::string_literals;
    Server server;
    server.Connect(1, 4);
    constexpr long function = -0x7FFFFFFF; // the high bit and a 1
    server.Write(function, Reverse, "abc");
    server.Write(function + 1, Reverse, "other");
    server.Write(function + 2, 2, "no answer");
    server.Write(function + 3, Reverse, "of nobody", 99);
    EXPECT_EQ(server.Read(function, 0, false), "cba");
    EXPECT_EQ(server.Read(function + 1), "rehto");
    EXPECT_EQ(server.Read(function), "cba");
    EXPECT_EQ(server.Read(function), "none"); // cleaned up
    EXPECT_EQ(server.Read(function + 2), "none");
    EXPECT_EQ(server.Read(function + 3), "none");
    EXPECT_EQ(ToolboxLiveHandles(), 0);

    // A call that is cleaned up amid its function, and one that comes then, stay apart.
    server.plug.onFunction = [&] {
        ReadWriteBlock given{function + 4, 0, 0, 1, 0};
        server.Request(-207, given);
        server.Write(function + 5, Reverse, "later");
    };
    server.Write(function + 4, Reverse, "given up");
    EXPECT_EQ(server.Read(function + 4), "none");
    EXPECT_EQ(server.Read(function + 5), "retal");
    EXPECT_EQ(ToolboxLiveHandles(), 0);

    server.Write(5, 8, "procedure");
    ReadWriteBlock block{6, 9, 1000, 1, 0}; // without data its size does not count
    server.Request(-206, block);
    EXPECT_THAT(server.plug.events, ElementsAre("8 procedure", "9 "));

    EXPECT_EQ(server.Read(0, -1), "\0\0\0\1"s);
    server.plug.lastCallID = 257;
    EXPECT_EQ(server.Read(0, -1), "\0\0\1\2"s);
    EXPECT_EQ(server.Read(0, -2), "none");
    for (const long last : {0x7FFFFFFFL, -7L}) {
        server.plug.lastCallID = last;
        EXPECT_EQ(server.Read(0, -1), "\0\0\0\1"s);
    }
    // Several that are handed out at the same time stay apart, in whatever order they come back.
    ReadWriteBlock ask{0, -1, 0, 1, 0};
    const std::array words{server.Request(-205, ask), server.Request(-205, ask)};
    server.Request(-207, ask, words[0]);
    EXPECT_EQ(server.Read(0, -1), "\0\0\0\4"s);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(words[1]), 4), "\0\0\0\3"s);
    server.Request(-207, ask, words[1]);
    server.Disconnect(1);
}

TEST(ServerCallsTest, TheVersionQueryCompletesAClient) {
    Server server;
    server.Connect(0xC0DE, 4);
    server.Write(0, -2, "\1o", 0xC0DE);
    server.Connect(0xBEEF, 5);
    const auto ask = [&](const char* version, const std::string& name) {
        PascalString text(version);
        PascalString out(name);
        server.plug.GetVersion(text, out);
        return text.Text() == version && out.Text() == name; // nothing was written back
    };
    EXPECT_TRUE(ask("<c0DE>:user", std::string(40, 'u')));
    EXPECT_TRUE(ask("<C0DE>:user", "second"));
    EXPECT_TRUE(ask("<C0DE>:mach", std::string(200, 'm')));
    EXPECT_TRUE(ask("<C0DE>:mach-user", "known already"));
    EXPECT_TRUE(ask("<C0DE>:User", "unknown key"));
    EXPECT_TRUE(ask("<C0DF>:user", "unknown client"));
    EXPECT_TRUE(ask("<BEEF>:mach-user", std::string(40, 'p')));
    const FourDClient* other = server.plug.GetClientWithCookie(0xBEEF);
    EXPECT_EQ(PascalString::TextOf(other->owner), std::string(31, 'p'));
    EXPECT_EQ(other->machine[0] + other->user[0], 0);
    const FourDClient* client = server.plug.GetClientWithCookie(0xC0DE);
    EXPECT_EQ(PascalString::TextOf(client->user), std::string(31, 'u'));
    EXPECT_EQ(PascalString::TextOf(client->machine), std::string(200, 'm'));
    EXPECT_EQ(PascalString::TextOf(client->owner), "o");
    for (const char* version : {"", "<0>:user", "<C0DE>", "C0DE:user", "<C0DE>:"}) {
        EXPECT_FALSE(ask(version, "")) << version;
    }
    server.plug.info->version = 0x01234012;
    for (const char* version : {"", "<0>:user"}) {
        PascalString text(version);
        PascalString fullName("before");
        server.plug.GetVersion(text, fullName);
        EXPECT_EQ(text.Text(), "A0120123"); // the host's style
        EXPECT_EQ(fullName.Text(), "Test v.1.2.3a18");
    }
    server.Disconnect(0xC0DE);
    server.Disconnect(0xBEEF);
}

TEST(ServerCallsTest, WhateverComesFromTheNetworkTheServerServesOn) {
    const auto seed = std::random_device()();
    std::printf("seed %u\n", seed); // now: a fault would leave no time for it
    std::minstd_rand random(seed);
    const auto below = [&](long limit) { return static_cast<long>(random() % limit); };
    Server server;
    ToolboxSetStrict(1);
    for (int request = 0; request < 3000; ++request) {
        const long id = below(2) * (-0x7FFFFFFF - 1) + below(12);
        const auto kind = static_cast<short>(below(6) - 3);
        const auto cookie = static_cast<unsigned long>(below(4));
        std::string bytes = below(3) == 0 ? "\5Owner\7Machine\4User" : std::string(below(300), 'x');
        for (long change = below(4); change > 0 && !bytes.empty(); --change) {
            bytes[random() % bytes.size()] = static_cast<char>(below(256));
        }
        bytes.resize(static_cast<size_t>(below(static_cast<long>(bytes.size()) + 1)));
        ReadWriteBlock odd{id, kind, below(2) == 0 ? -1 - below(1000) : below(1000), cookie, 0};
        const LastBytes data(bytes);
        switch (below(8)) {
        case 0:
            if (server.plug.GetClientWithCookie(cookie) == nullptr) {
                server.Connect(cookie, 4);
            }
            break;
        case 1:
            if (below(8) == 0) {
                server.Disconnect(cookie);
            }
            break;
        case 2:
            server.Read(id, kind, id == 0 || below(2) == 0);
            break;
        case 3: // no data whatever the size says, or a size that no data can have
            server.Request(-206, odd, odd.dataSize < 0 ? data.Word() : 0);
            break;
        case 4:
            server.Request(-207, odd, id != 0 ? data.Word() : 0);
            break;
        default:
            server.Write(id, kind, bytes, cookie);
        }
    }
    const auto any = [](void*, void*) { return true; };
    while (auto* left =
               static_cast<ServerCall*>(_first_that(server.plug.serverCalls, any, nullptr))) {
        server.Read(left->callID);
    }
    EXPECT_EQ(ToolboxLiveHandles(), 0);
    server.Connect(77, 4);
    server.Write(-9, Reverse, "well-formed", 77);
    EXPECT_EQ(server.Read(-9), "demrof-llew");
    for (const unsigned long cookie : {0, 1, 2, 3, 77}) {
        server.Disconnect(cookie);
    }
    ToolboxSetStrict(0);
}

/// The plug-in of a made-up server: notes the writes, answers reads as it is told.
std::vector<std::string> written;
std::string identifierAnswer;
long excess = 0; // what it says of its answers' size beyond the truth

HOST_ENTRY void MadeUpServer(long selector, void* params, void*, void* result) {
    if (selector == -1) {
        static_cast<PackInitBlock*>(params)->acceptedVersion =
            static_cast<PackInitBlock*>(params)->hostVersion;
    }
    if (selector > -201 || selector < -206) {
        return;
    }
    auto& block = *static_cast<ReadWriteBlock*>(params);
    auto& word = *static_cast<char**>(result);
    static std::string answer;
    if (selector == -201) {
        *static_cast<long*>(result) = 1;
    } else if (selector == -205) {
        answer = block.callID == 0 ? identifierAnswer : "answer";
        block.dataSize = static_cast<long>(answer.size()) + excess;
        word = answer.empty() ? nullptr : answer.data();
    } else if (selector == -206) {
        char text[40];
        std::snprintf(text, sizeof text, "%lX %d ", block.callID, block.kind);
        written.push_back(text + std::string(word, static_cast<size_t>(block.dataSize)));
    }
}

class ServerCallsClientTest : public HostTest {
  protected:
    ServerCallsClientTest()
        : HostTest({.role = Role::Client, .machineOwner = std::string(40, 'o')}),
          server({.role = Role::Server, .scheduler = host.scheduler}),
          serverSession(server, {MadeUpServer, nullptr}) {
        written.clear();
        identifierAnswer = std::string("\0\0\1\2", 4);
        serverSession.Start();
        network.SetServer(serverSession);
        network.Connect(host, "client");
        Start();
    }
    ~ServerCallsClientTest() override { network.Disconnect(host); }

    Network network;
    Host server;
    Session serverSession;
    TestPlug plug;
};

TEST_F(ServerCallsClientTest, SendsWhoItIsThenIdentifiersAndParameters) {
    char** answer = nullptr;
    char bytes[] = "params";
    EXPECT_EQ(FourDPlug::CallFuncOnServer(7, bytes, 6, &answer), 0);
    EXPECT_EQ(OwnedHandle::BytesOf(answer), "answer");
    DisposeHandle(answer);
    EXPECT_EQ(FourDPlug::CallProcOnServer(8, nullptr, 6), 0);
    EXPECT_THAT(written,
                ElementsAre("0 -2 \x1F" + std::string(31, 'o') + "\13Workstation\10Designer",
                            "80000102 7 params", "102 8 "));
}

TEST_F(ServerCallsClientTest, AnswersLargerThanTheMemoryAreProblems) {
    char** answer = nullptr;
    excess = 0x70000000;
    network.Read(host, 7, 0, &answer);
    excess = 0;
    DisposeHandle(answer);
    EXPECT_THAT(std::exchange(server.problems, {}),
                ElementsAre(testing::HasSubstr("with the size 1879048198, but only")));
}

TEST_F(ServerCallsClientTest, AnswersWhatWentWrongAndGoesOn) {
    using Kind = NetworkFault::Kind;
    char** answer = nullptr;
    for (const auto& [identifier, error] :
         {std::pair(std::string(), -10003), {"abc", -10033}, {"abcde", -10033}, {"abcd", 0}}) {
        identifierAnswer = identifier;
        EXPECT_EQ(FourDPlug::CallProcOnServer(1, nullptr, 0), error) << identifier;
    }
    // Lost: the request for the identifier, the write, the read.
    for (int before = 0; before < 3; ++before) {
        for (int passed = 0; passed < before; ++passed) {
            network.FaultNext({Kind::None, 0});
        }
        network.FaultNext({Kind::Drop, -1234});
        EXPECT_EQ(FourDPlug::CallFuncOnServer(1, nullptr, 0, &answer), -1234);
        EXPECT_EQ(answer, nullptr);
    }
    network.Disconnect(host);
    EXPECT_EQ(FourDPlug::CallFuncOnServer(1, nullptr, 0, &answer), noServer);
}

TEST_F(ServerCallsClientTest, OneCallAtATimeWhoeverWaits) {
    written.clear();
    std::vector<std::string> expected;
    for (const char* name : {"first", "second", "third"}) {
        expected.push_back(std::string("102 1 ") + name);
        host.StartProcess(name, 0, [name] {
            std::string bytes = name;
            FourDPlug::CallProcOnServer(1, bytes.data(), static_cast<long>(bytes.size()));
        });
    }
    network.FaultNext({NetworkFault::Kind::Delay, 50}); // the others wait for it
    host.scheduler->RunUntil([this] { return host.scheduler->IsAtRest(); }, 1000);
    EXPECT_THAT(written, ElementsAreArray(expected));
    std::vector<long> requests; // each process asks for its identifier when the former one is done
    for (const LoggedCall& call : server.log.Calls()) {
        if (call.selector == -205 || call.selector == -206) {
            requests.push_back(call.selector);
        }
    }
    requests.erase(requests.begin()); // who the client is
    EXPECT_THAT(requests, ElementsAre(-205, -206, -205, -206, -205, -206));
}

} // namespace
