#include "testhost/model/Requests.h"

#include "platform/Toolbox.h"
#include "testhost/model/Host.h"
#include "testhost/model/HostedPlugin.h"
#include "testhost/values/ReadableBytes.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace {
constexpr long connectSelector = -201;
constexpr long disconnectSelector = -202;
constexpr long readSelector = -205;
constexpr long writeSelector = -206;
constexpr long cleanupSelector = -207;

// The record of a request, with room behind it that the plug-in must leave alone.
using Bytes = std::array<unsigned char, 32>;

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
void Put(Bytes& block, size_t offset, Number number) {
    std::memcpy(&block[offset], &number, sizeof number);
}

long DataSize(const Bytes& block) {
    long size = 0;
    std::memcpy(&size, &block[sizeOffset], sizeof size);
    return size;
}

Bytes MakeRequest(long id, short kind, long size, unsigned long cookie) {
    Bytes block;
    block.fill(unused);
    Put(block, idOffset, id);
    Put(block, kindOffset, kind);
    Put(block, sizeOffset, size);
    Put(block, cookieOffset, cookie);
    return block;
}

Bytes MakeConnectRequest(const Host& server, unsigned long cookie, long process) {
    Bytes block;
    block.fill(unused);
    const bool late = Request::IsLateHost(server);
    Put(block, late ? lateCookieOffset : cookieOffset, cookie);
    Put(block, late ? lateProcessOffset : processOffset, process);
    return block;
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

// `word` is what leads to the data.
void Enter(HostedPlugin& server, long selector, Bytes& block, unsigned long* word,
           const std::string& what) {
    Bytes expected = block;
    server.Enter(selector, block.data(), nullptr, word, what);
    if (selector == readSelector) { // which alone gives a size back
        std::copy_n(&block[sizeOffset], sizeof(long), &expected[sizeOffset]);
    }
    if (block != expected) {
        server.host.Report("The plug-in wrote into a request (" + what +
                           ") where it may only read.");
    }
}

std::string Client(long process) {
    return "client in process " + std::to_string(process);
}
} // namespace

bool Request::IsLateHost(const Host& host) {
    return host.options.version >= 0x1130 && host.options.version < 0x1220;
}

bool Request::SendConnect(HostedPlugin& server, unsigned long cookie, long process) {
    Bytes block = MakeConnectRequest(server.host, cookie, process);
    unsigned long letIn = 0;
    Enter(server, connectSelector, block, &letIn, Client(process) + " connects");
    return letIn != 0;
}

void Request::SendDisconnect(HostedPlugin& server, unsigned long cookie, long process) {
    Bytes block = MakeRequest(0, 0, 0, cookie);
    Enter(server, disconnectSelector, block, nullptr, Client(process) + " disconnects");
}

Request::Answer Request::SendRead(HostedPlugin& server, long id, short kind, unsigned long cookie) {
    Bytes block = MakeRequest(id, kind, 0, cookie);
    Answer answer;
    Enter(server, readSelector, block, &answer.word, Named("read", id, kind));
    const long size = answer.size = DataSize(block);
    if (size < 0 || (size > 0 && answer.word == 0)) {
        server.host.Report("The plug-in answered a read with the size " + std::to_string(size) +
                           (answer.word != 0 ? "." : " and no data."));
    } else if (answer.word != 0) {
        const auto* data = reinterpret_cast<const char*>(answer.word);
        answer.bytes.assign(data, ReadableBytes(data, static_cast<size_t>(size)));
        if (answer.bytes.size() < static_cast<size_t>(size)) {
            server.host.Report("The plug-in answered a read with the size " + std::to_string(size) +
                               ", but only " + std::to_string(answer.bytes.size()) +
                               " bytes are at its address.");
        }
    }
    return answer;
}

void Request::SendWrite(HostedPlugin& server, long id, short kind, unsigned long cookie,
                        const std::string* bytes) {
    const std::string none;
    const std::string& sent = bytes != nullptr ? *bytes : none;
    const SentBytes block(sent);
    unsigned long word = bytes != nullptr ? block.Word() : 0;
    Bytes request = MakeRequest(id, kind, static_cast<long>(sent.size()), cookie);
    Enter(server, writeSelector, request, &word,
          Named("write", id, kind) + ", " + std::to_string(sent.size()) + " bytes");
}

void Request::SendCleanup(HostedPlugin& server, long id, short kind, unsigned long cookie,
                          const Answer& answer) {
    Bytes block = MakeRequest(id, kind, answer.size, cookie);
    unsigned long word = answer.word;
    Enter(server, cleanupSelector, block, &word, Named("clean-up", id, kind));
}
