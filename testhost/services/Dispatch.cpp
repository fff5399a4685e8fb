#include "testhost/services/Dispatch.h"

#include "platform/ResultCodes.h"
#include "testhost/model/Asides.h"
#include "testhost/model/ToolboxFailures.h"
#include "testhost/services/Service.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <map>
#include <utility>
#include <vector>

namespace {
using Record = std::span<unsigned char>;

// A service with, for each byte of its classic [0] and engine [1] record, 0xFF where nothing may
// stand before the call and 0 where it may.
struct PreparedService {
    const Service* service = nullptr;
    std::vector<unsigned char> forbidden[2];
};

std::vector<unsigned char> ForbiddenBytes(unsigned inputs, bool engine) {
    std::vector<unsigned char> forbidden(engine ? sizeof(FDEngineBlock) : sizeof(ParameterBlock),
                                         0xFF);
    for (const RecordFieldInfo& field : RecordFields()) {
        if ((inputs & field.bit) != 0) {
            std::fill_n(&forbidden[field.Offset(engine)], field.Size(engine), 0);
        }
    }
    return forbidden;
}

// The service of a selector; its `service` is null where there is none yet.
const PreparedService& FindService(const SelectorPair& selector) {
    static const auto prepared = [] {
        std::map<std::string_view, const Service*> byName;
        for (auto part :
             {AreaServices(), DatabaseServices(), DialogServices(), EnvironmentServices(),
              FormatServices(), LanguageServices(), MemoryServices(), PictureServices(),
              ProcessServices(), ResourceServices(), ServerServices(), TextServices(),
              UserServices(), VariableServices(), WindowServices()}) {
            for (const Service& service : part) {
                byName[service.selector.name] = &service;
            }
        }
        std::array<PreparedService, std::size(SelectorTable)> all;
        for (size_t place = 0; place < all.size(); ++place) {
            auto found = byName.find(SelectorTable[place].name);
            if (found != byName.end()) {
                const Service& service = *found->second;
                all[place] = {&service,
                              {ForbiddenBytes(service.inputs | service.classicInputs, false),
                               ForbiddenBytes(service.inputs | service.engineInputs, true)}};
            }
        }
        return all;
    }();
    return prepared[static_cast<size_t>(&selector - SelectorTable)];
}

std::string CallName(long number, const SelectorPair& selector) {
    return "selector " + std::to_string(number) + " (" + std::string(selector.name) + ")";
}

// Reports the first byte outside the service's inputs that is not zero.
void ReportStrayBytes(Host& host, long number, const PreparedService& prepared, Record record,
                      bool engine) {
    const std::vector<unsigned char>& forbidden = prepared.forbidden[engine ? 1 : 0];
    unsigned found = 0;
    for (size_t offset = 0; offset < record.size(); ++offset) {
        found |= static_cast<unsigned>(record[offset] & forbidden[offset]);
    }
    if (found == 0) {
        return;
    }
    size_t stray = 0;
    while ((record[stray] & forbidden[stray]) == 0) {
        ++stray;
    }
    char byte[8];
    std::snprintf(byte, sizeof byte, "0x%02X", record[stray]);
    host.Report(CallName(number, prepared.service->selector) + ": stray byte " + byte + " at " +
                DescribeOffset(stray, engine) + ".");
}

// A host handle's memory is the plug-in's, whoever provides it.
bool IsAllocation(const SelectorPair& selector) {
    return selector.name == "HandleOperation";
}

// Serves one call; `selector` is null for a number that no host has.
void Serve(Host& host, long number, const SelectorPair* selector, Record record,
           ServiceCall& call) {
    if (selector == nullptr) {
        host.Report("Selector " + std::to_string(number) + " is no " +
                    (call.IsEngine() ? "engine" : "classic") + " call of the host.");
        call.fields.error = notImplemented;
        return;
    }
    const PreparedService& prepared = FindService(*selector);
    if (prepared.service == nullptr) {
        host.Report(CallName(number, *selector) + " is not implemented by this host.");
        call.fields.error = notImplemented;
        return;
    }
    ReportStrayBytes(host, number, prepared, record, call.IsEngine());
    if (prepared.service->receive != nullptr) {
        prepared.service->receive(call);
    }
    if (const std::optional<short> failure = host.TakeFailure(selector->name)) {
        call.fields.error = *failure;
        return;
    }
    std::optional<ToolboxFailures::HostsOwn> own;
    if (!IsAllocation(*selector)) {
        own.emplace();
    }
    prepared.service->serve(call);
}

// A process with a stack of its own that has just killed itself goes no further. The session's can
// only end when its call into the plug-in is over.
void LeaveIfKilled(Host& host) {
    if (host.scheduler->InOwnProcess()) {
        host.EndKilledProcess();
    }
}

template <typename Block>
long Dispatch(long number, Block* block, EngineFields* engine) {
    constexpr bool isEngine = std::is_same_v<Block, FDEngineBlock>;
    if (IsForeignThread(number)) {
        return notImplemented;
    }
    Host* host = Host::Current();
    if (host == nullptr) {
        std::fprintf(stderr, "The host was called (selector %ld) outside any call from it.\n",
                     number);
        return notImplemented;
    }
    if (block == nullptr) {
        host->log.CountOnly();
        host->Report("Selector " + std::to_string(number) + " came without a record.");
        return ResultCode::BadParameter;
    }

    if (host->onNextCall) {
        std::exchange(host->onNextCall, {})();
    }
    Record record(reinterpret_cast<unsigned char*>(block), sizeof *block);
    const SelectorPair* selector = FindSelector(number, isEngine);
    ServiceCall call{*host, *block, engine, block->valueText};
    LoggedCall logged = host->log.Blank();
    logged.kind = isEngine ? LoggedCall::Kind::Engine : LoggedCall::Kind::Classic;
    logged.selector = number;
    logged.name = selector != nullptr ? selector->name : "unknown selector";
    logged.process = host->currentProcess;
    logged.depth = host->log.depth;
    logged.before.assign(record.begin(), record.end());
    Serve(*host, number, selector, record, call);
    logged.after.assign(record.begin(), record.end());
    logged.returned = block->error;
    logged.remark = std::move(call.remark);
    host->log.Add(std::move(logged));
    LeaveIfKilled(*host);
    return block->error;
}
} // namespace

bool IsForeignThread(long selector) {
    if (Host::IsOwnThread()) {
        return false;
    }
    SetAside({true, "The host was called (selector " + std::to_string(selector) +
                        ") from a thread that is not its own: only the one in which it calls "
                        "the plug-in may do so."});
    return true;
}

long ClassicHostCall(long selector, ParameterBlock* block) {
    return Dispatch(selector, block, nullptr);
}

long EngineHostCall(long selector, FDEngineBlock* block) {
    return Dispatch(selector, block, block);
}

long MissingEngineCall(long selector, FDEngineBlock*) {
    if (Host* host = IsForeignThread(selector) ? nullptr : Host::Current()) {
        host->Report("The engine call-back was called (selector " + std::to_string(selector) +
                     ") on a host without engine.");
    }
    return notImplemented;
}
