// The version, and client names that come with the question.

#include "shell/base/Strings.h"
#include "shell/FourDPlug.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {

/// A client's field, by the key that a host sends it under.
struct ClientField {
    const char* key;
    unsigned char* (*field)(FourDClient& client);
    unsigned char limit;
};

constexpr ClientField ClientFields[] = {
    {"user", [](FourDClient& client) -> unsigned char* { return client.user; }, 31},
    {"mach", [](FourDClient& client) -> unsigned char* { return client.machine; }, 255},
    {"mach-user", [](FourDClient& client) -> unsigned char* { return client.owner; }, 31},
};

/// Keeps a name that is not yet known.
void CompleteClient(FourDClient& client, const char* key, const unsigned char* name) {
    for (const ClientField& entry : ClientFields) {
        unsigned char* field = entry.field(client);
        if (std::strcmp(entry.key, key) == 0 && field[0] == 0) {
            const unsigned char length = std::min(name[0], entry.limit);
            std::memcpy(field + 1, name + 1, length);
            field[0] = length;
        }
    }
}

constexpr char Blanks[] = " \t\n\v\f\r";

/// Reads "<%X>:%s", a cookie and the key behind it, which it ends where a blank follows; null when
/// the text does not have that form. The C runtime's own reader of formats would make every
/// plug-in a tenth larger.
const char* ReadClientQuery(char* text, unsigned long* cookie) {
    if (text[0] != '<') {
        return nullptr;
    }
    char* end = text + 1;
    *cookie = std::strtoul(text + 1, &end, 16);
    if (end == text + 1 || end[0] != '>' || end[1] != ':') {
        return nullptr;
    }
    char* key = end + 2 + std::strspn(end + 2, Blanks);
    key[std::strcspn(key, Blanks)] = '\0';
    return key[0] != '\0' ? key : nullptr;
}

} // namespace

void FourDPlug::GetVersion(unsigned char* version, unsigned char* name) {
    if (version == nullptr || name == nullptr) {
        return;
    }
    char text[256];
    _CopyP2CStr(version, text);
    unsigned long cookie = 0;
    if (const char* key = ReadClientQuery(text, &cookie); key != nullptr && cookie != 0) {
        if (FourDClient* client = GetClientWithCookie(cookie); client != nullptr) {
            CompleteClient(*client, key, name);
        }
        return;
    }
    Get4DStyleVersion(version);
    GetProductFullName(name);
}
