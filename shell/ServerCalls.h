#pragma once

#include "platform/Types.h"

#include <cstddef>

#pragma pack(push, 2)

/// One request that the host delivers to the server's copy of the plug-in.
struct ReadWriteBlock {
    long callID;          ///< 0 for the framework's own messages; negative for a function call
    short kind;           ///< number of the plug-in's procedure or function
    long dataSize;        ///< bytes that came with a write; bytes answered to a read
    unsigned long cookie; ///< the host's identifier of the client's connection
    long process;         ///< connection requests: the process that serves the client
};

/// What connection requests of hosts from 11.3 to 12.1 look like: the last two fields come later.
struct LateConnectBlock {
    unsigned char request[12];
    unsigned long cookie;
    long process;
};

#pragma pack(pop)

static_assert(sizeof(ReadWriteBlock) == 18);
static_assert(offsetof(ReadWriteBlock, callID) == 0 && offsetof(ReadWriteBlock, kind) == 4 &&
              offsetof(ReadWriteBlock, dataSize) == 6 && offsetof(ReadWriteBlock, cookie) == 10 &&
              offsetof(ReadWriteBlock, process) == 14);
static_assert(offsetof(LateConnectBlock, cookie) == 12 &&
              offsetof(LateConnectBlock, process) == 16);

/// The server's record of a connected client. The names' length bytes are as the client sent them:
/// do not believe one beyond its field.
struct FourDClient {
    unsigned long cookie; ///< the host's identifier of the connection
    long process;         ///< process that serves the client on the server
    Str31 owner;          ///< owner of the client's machine, empty until known
    Str255 machine;       ///< name of the client's machine, empty until known
    Str31 user;           ///< database user on the client, empty until known
};

/// A function call that the server has taken and whose answer the client has yet to fetch.
struct ServerCall {
    short kind;
    long callID;
    Handle parameters;
    Handle result;   ///< null until the plug-in's function supplies one
    bool isUnderWay; ///< within that function: when it is over, a call that was cleaned up goes
};

/// Kinds of the framework's own messages, which have the call identifier 0.
namespace ServerMessage {
inline constexpr short NextCallID = -1;     ///< read: the next call identifier, 4 bytes, big-endian
inline constexpr short Identification = -2; ///< write: owner, machine and user, Pascal strings
} // namespace ServerMessage

/// @family Reads from, writes to the server's copy of the plug-in, as FourD::ReadOnServer does: a
/// call's `id`, the number of what is called, `kind`, and `data`, which stays the caller's. What is
/// read, `answer`, is a new handle that the caller owns. Answer the host's result code.
OSErr FourDReadOnServer(unsigned long id, short kind, char*** answer);
OSErr FourDWriteOnServer(unsigned long id, short kind, char** data);

/// Tells the server who this client is. A failure is not reported: the server then knows no names.
void IdentifyToServer();
/// Fills in what such a `message` says of a `client`, as far as its `size` bytes reach.
void IdentifyClient(FourDClient& client, const char* message, long size);
