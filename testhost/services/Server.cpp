// What a client's plug-in asks of the server's copy: it travels over the network that the host is
// in. A host without one has no server.

#include "testhost/model/Network.h"
#include "testhost/services/Service.h"

namespace {
void ReadOnServer(ServiceCall& call) {
    if (call.host.network == nullptr) {
        call.fields.error = noServer;
        return;
    }
    Handle answer = nullptr;
    call.fields.error = call.host.network->Read(call.host, call.fields.param1,
                                                static_cast<short>(call.fields.param2), &answer);
    call.fields.handle = answer;
}

void WriteOnServer(ServiceCall& call) {
    if (call.host.network == nullptr) {
        call.fields.error = noServer;
        return;
    }
    call.fields.error = call.host.network->Write(
        call.host, call.fields.param1, static_cast<short>(call.fields.param2), call.fields.handle);
}
} // namespace

std::span<const Service> ServerServices() {
    static constexpr Service services[] = {
        {Select("ReadOnServer"), RecordField::Param1 | RecordField::Param2, ReadOnServer},
        {Select("WriteOnServer"), RecordField::Param1 | RecordField::Param2 | RecordField::Handle,
         WriteOnServer},
    };
    return services;
}
