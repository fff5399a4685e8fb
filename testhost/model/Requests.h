#pragma once

#include <string>

class Host;
class HostedPlugin;

/// What a server's host asks its copy of a plug-in (selectors -201 to -207) on behalf of a client,
/// whom a cookie stands for. A record that the plug-in writes into where it may only read is
/// reported.
namespace Request {
/// Hosts from 11.3 to 12.1 have a client's cookie and process elsewhere when it connects, and tell
/// of its end with that of its process only.
bool IsLateHost(const Host& host);

/// Whether the plug-in lets a client in that `process` is to serve.
bool SendConnect(HostedPlugin& server, unsigned long cookie, long process);
void SendDisconnect(HostedPlugin& server, unsigned long cookie, long process);

struct Answer {
    unsigned long word = 0; ///< address of the data; 0 when there is none
    long size = 0;          ///< as the plug-in says it
    std::string bytes = {}; ///< as many of them as can be read
};

/// Enters it with a read, and reports an answer that cannot be.
Answer SendRead(HostedPlugin& server, long id, short kind, unsigned long cookie);
/// Enters it with a write of these bytes, in a block that is exactly as large; null: none.
void SendWrite(HostedPlugin& server, long id, short kind, unsigned long cookie,
               const std::string* bytes);
/// The host is done with what a read answered.
void SendCleanup(HostedPlugin& server, long id, short kind, unsigned long cookie,
                 const Answer& answer);
} // namespace Request
