// How a client tells the server who it is.

#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/ServerCalls.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

// The host's commands that answer what a client is called by.
constexpr short CurrentUser = 182;
constexpr short Machine = 483;
constexpr short MachineOwner = 484;

/// Appends what a host command answers: a length byte and at most `limit` characters.
OSErr AppendName(Handle message, short command, long limit) {
    char name[256];
    GetTextBy4DCommand(command, name, limit + 1);
    const long length = static_cast<long>(std::strlen(name));
    const auto lengthByte = static_cast<unsigned char>(length);
    const OSErr error = PtrAndHand(&lengthByte, message, 1);
    return error == ResultCode::NoError ? PtrAndHand(name, message, length) : error;
}

/// What is left of a message.
struct Received {
    const char* bytes;
    long left;
};

/// Takes a name: its length byte as it was sent, and as many characters as the field takes and the
/// message has. The length is a signed byte. False when the message ends here.
bool TakeName(Received& message, unsigned char* field, long limit) {
    if (message.left < 1) {
        return false;
    }
    const long length = std::min<long>(static_cast<signed char>(message.bytes[0]), limit);
    if (length < 0) {
        return false;
    }
    const long count = std::min(length + 1, message.left);
    std::memcpy(field, message.bytes, static_cast<size_t>(count));
    message.bytes += count;
    message.left -= count;
    return count == length + 1;
}

} // namespace

void IdentifyToServer() {
    const TemporaryHandle message(NewHandle(0));
    if (message.Get() == nullptr) {
        return;
    }
    for (const auto& [command, limit] :
         {std::pair(MachineOwner, 31L), {Machine, 255L}, {CurrentUser, 31L}}) {
        if (AppendName(message.Get(), command, limit) != ResultCode::NoError) {
            return;
        }
    }
    FourDWriteOnServer(0, ServerMessage::Identification, message.Get());
}

/// Deliberate: the length bytes stay as they were sent, even where fewer characters were kept.
/// Clients cut their names before they send them.
void IdentifyClient(FourDClient& client, const char* message, long size) {
    Received received = {message, size};
    if (TakeName(received, client.owner, 31) && TakeName(received, client.machine, 255)) {
        TakeName(received, client.user, 31);
    }
}
