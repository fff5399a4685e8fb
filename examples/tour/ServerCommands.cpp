#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "data/Variables.h"
#include "examples/tour/Tour.h"
#include "host/FourD.h"
#include "host/Value.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/ServerCalls.h"

#include <algorithm>
#include <cstring>
#include <string>

// Commands of a client that are carried out by the server's copy of Tour, and what it does then.

namespace {

/// Functions and procedures of the server's copy; each has numbers of its own.
namespace ServerFunction {
constexpr short WhoAmI = 1;   ///< no parameters; the client's names as lines
constexpr short SumField = 2; ///< "[Table]Field"; a 64-bit real, or nothing without such a field
} // namespace ServerFunction

namespace ServerProcedure {
constexpr short Log = 1; ///< a line for the log
} // namespace ServerProcedure

/// All processes of the server share it.
constexpr char LogName[] = "<>TourLog";

std::string BytesOf(Handle handle) {
    return {*handle, static_cast<std::size_t>(GetHandleSize(handle))};
}

/// A client's name. Its length byte comes from outside and may promise more than the field has.
std::string NameOf(const unsigned char* name, unsigned char capacity) {
    return {reinterpret_cast<const char*>(name + 1), std::min(name[0], capacity)};
}

std::string NamesOf(const FourDClient& client) {
    return NameOf(client.user, 31) + " on " + NameOf(client.machine, 255) + " of " +
           NameOf(client.owner, 31);
}

OSErr AddCurrentValue(short table, short field, double& sum) {
    ValueBlock value{};
    const OSErr error = FourD::GetFieldData(table, field, &value);
    double number = 0;
    Value2NativeReal(&value, &number);
    FreeValueBlock(&value);
    sum += number;
    return error;
}

OSErr SumOf(const std::string& fieldName, double& sum) {
    Str255 name = {};
    name[0] = static_cast<unsigned char>(std::min<std::size_t>(fieldName.size(), 255));
    std::memcpy(name + 1, fieldName.data(), name[0]);
    short table = 0;
    short field = 0;
    OSErr error = FourD::GetFileFieldNum(name, &table, &field);
    if (error == ResultCode::NoError) {
        error = FourD::AllRecords(table);
    }
    long count = 0;
    FourD::RecordsInSelection(table, &count);
    for (long n = 1; error == ResultCode::NoError && n <= count; ++n) {
        error = FourD::GotoSelectedRecord(table, n, 0, 0);
        if (error == ResultCode::NoError) {
            error = AddCurrentValue(table, field, sum);
        }
    }
    return error;
}

void AppendToLog(const FourDClient& client, const std::string& line) {
    std::string entry = NameOf(client.user, 31) + ": " + line;
    CFourDTextArrayVar log(LogName);
    log.Declare();
    const long place = log.GetNumElements() + 1;
    log.SetNumElements(place);
    log.SetTextElementValue(place, entry.data());
}

} // namespace

void TourPlug::DoFuncOnServer(FourDClient* client, short kind, char** data, char*** result) {
    if (kind == ServerFunction::WhoAmI) {
        const std::string names = NamesOf(*client);
        PtrToHand(names.data(), result, static_cast<long>(names.size()));
    } else if (kind == ServerFunction::SumField) {
        double sum = 0;
        if (SumOf(BytesOf(data), sum) == ResultCode::NoError) {
            PtrToHand(&sum, result, sizeof sum);
        }
    }
}

void TourPlug::DoProcOnServer(FourDClient* client, short kind, char** data) {
    if (kind == ServerProcedure::Log) {
        AppendToLog(*client, BytesOf(data));
    }
}

namespace Tour {

void WhoAmI(CXParam*, CXResult* result) {
    TemporaryHandle names;
    FourDPlug::CallFuncOnServer(ServerFunction::WhoAmI, nullptr, 0, names.Address());
    CTextBlock& text = *result->GetCTextBlockPtr();
    text.SetLength(0);
    if (names.Get() != nullptr) {
        EmptyAfter(text.Append(names.Get()), text);
    }
}

void ServerSum(CXParam* params, CXResult* result) {
    unsigned char* name = params[0].GetStringPtr();
    TemporaryHandle answer;
    OSErr error =
        FourDPlug::CallFuncOnServer(ServerFunction::SumField, name + 1, name[0], answer.Address());
    double sum = 0;
    if (error == ResultCode::NoError) {
        if (answer.Get() != nullptr && GetHandleSize(answer.Get()) == sizeof sum) {
            std::memcpy(&sum, *answer.Get(), sizeof sum);
        } else {
            error = ResultCode::BadParameter;
        }
    }
    params[1].SetNativeReal(sum);
    result->SetShort(error);
}

void LogOnServer(CXParam* params, CXResult* result) {
    unsigned char* line = params[0].GetStringPtr();
    result->SetShort(FourDPlug::CallProcOnServer(ServerProcedure::Log, line + 1, line[0]));
}

} // namespace Tour
