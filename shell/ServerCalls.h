#pragma once

#include "platform/Types.h"

#include <cstddef>

#pragma pack(push, 2)

/// One request that the host delivers to the server's copy of the plug-in.
struct ReadWriteBlock {
    long callID;          ///< 0 for the framework's own messages
    short kind;           ///< number of the plug-in's procedure or function
    long dataSize;        ///< bytes that came with a write; bytes answered to a read
    unsigned long cookie; ///< the host's identifier of the client's connection
    long process;         ///< connection requests: the process that serves the client
};

#pragma pack(pop)

static_assert(sizeof(ReadWriteBlock) == 18);
static_assert(offsetof(ReadWriteBlock, callID) == 0 && offsetof(ReadWriteBlock, kind) == 4 &&
              offsetof(ReadWriteBlock, dataSize) == 6 && offsetof(ReadWriteBlock, cookie) == 10 &&
              offsetof(ReadWriteBlock, process) == 14);

/// The server's record of a connected client.
struct FourDClient {
    unsigned long cookie; ///< the host's identifier of the connection
    long process;         ///< process that serves the client on the server
    Str31 owner;          ///< owner of the client's machine, empty until known
    Str255 machine;       ///< name of the client's machine, empty until known
    Str31 user;           ///< database user on the client, empty until known
};
