// The resources of the structure and of files that the host opened. Where everything travels:
//
//   field    | to the host                                | answered
//   ---------+--------------------------------------------+-----------------------------------
//   param1   | the file's reference number                | whatever number is asked for: file,
//            |                                            | count, type, identifier, timestamp
//   param2   | the resource type                          |
//   param3   | the resource's identifier, or an index     |
//            | from 1                                     |
//   name     | the path of a file, or a resource's name   | the resource's name
//   handle   | the resource's bytes, which stay ours      | bytes or a list, which become ours
//
// A path is native, in the host's code page. A list of types holds 32-bit types, a list of
// identifiers 16-bit ones, back to back. Handles are the toolbox's.

#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"
#include "shell/Strings.h"

namespace {

void SetName(HostCall& call, const unsigned char* name) {
    if (name != nullptr) {
        _CopyPStr(name, call->name);
    }
}

void SetTypeInFile(HostCall& call, long file, unsigned long type) {
    call->param1 = file;
    call->param2 = static_cast<long>(type);
}

void SetResource(HostCall& call, long file, unsigned long type, short id) {
    SetTypeInFile(call, file, type);
    call->param3 = id;
}

/// Sends a call that answers nothing.
OSErr Send(HostCall& call) {
    call.Send();
    return call->error;
}

/// Sends a call that answers a number; 0 on error.
template <typename Number>
OSErr SendForNumber(HostCall& call, Number* number) {
    call.Send();
    *number = call->error == ResultCode::NoError ? static_cast<Number>(call->param1) : Number{0};
    return call->error;
}

/// Sends a call that answers a handle; null on error.
OSErr SendForHandle(HostCall& call, Handle* handle) {
    call.Send();
    *handle = call->error == ResultCode::NoError ? call->handle : nullptr;
    return call->error;
}

} // namespace

OSErr FourD::Open4DResFile(const unsigned char* path, long* file) {
    HostCall call(Select("OpenResFile"));
    SetName(call, path);
    return SendForNumber(call, file);
}

OSErr FourD::Create4DResFile(const unsigned char* path, long* file) {
    HostCall call(Select("CreateResFile"));
    SetName(call, path);
    return SendForNumber(call, file);
}

OSErr FourD::Close4DResFile(long file) {
    HostCall call(Select("CloseResFile"));
    call->param1 = file;
    return Send(call);
}

OSErr FourD::Update4DResFile(long file) {
    HostCall call(Select("UpdateResFile"));
    call->param1 = file;
    return Send(call);
}

OSErr FourD::GetStruct4DResFileRef(long* file) {
    HostCall call(Select("StructResFileRef"));
    return SendForNumber(call, file);
}

OSErr FourD::Count4DResTypes(long file, long* count) {
    HostCall call(Select("CountResTypes"));
    call->param1 = file;
    return SendForNumber(call, count);
}

OSErr FourD::GetIndResType(long file, long index, unsigned long* type) {
    HostCall call(Select("IndResType"));
    call->param1 = file;
    call->param3 = index;
    return SendForNumber(call, type);
}

OSErr FourD::Get4DResTypeList(long file, char*** types) {
    HostCall call(Select("ResTypeList"));
    call->param1 = file;
    return SendForHandle(call, types);
}

OSErr FourD::Count4DRes(long file, unsigned long type, long* count) {
    HostCall call(Select("CountRes"));
    SetTypeInFile(call, file, type);
    return SendForNumber(call, count);
}

OSErr FourD::GetInd4DResID(long file, unsigned long type, long index, short* id) {
    HostCall call(Select("IndResID"));
    SetTypeInFile(call, file, type);
    call->param3 = index;
    return SendForNumber(call, id);
}

OSErr FourD::Get4DResIDList(long file, unsigned long type, char*** ids) {
    HostCall call(Select("ResIDList"));
    SetTypeInFile(call, file, type);
    return SendForHandle(call, ids);
}

OSErr FourD::Get4DResName(long file, unsigned long type, short id, unsigned char* name) {
    HostCall call(Select("ResName"));
    SetResource(call, file, type, id);
    call.Send();
    name[0] = 0;
    if (call->error == ResultCode::NoError) {
        _CopyPStr(call->name, name);
    }
    return call->error;
}

OSErr FourD::Set4DResName(long file, unsigned long type, short id, const unsigned char* name) {
    HostCall call(Select("SetResName"));
    SetResource(call, file, type, id);
    SetName(call, name);
    return Send(call);
}

OSErr FourD::Get4DResTimestamp(long file, unsigned long type, short id, long* timestamp) {
    HostCall call(Select("ResTimestamp"));
    SetResource(call, file, type, id);
    return SendForNumber(call, timestamp);
}

OSErr FourD::Get4DRes(long file, unsigned long type, short id, char*** resource) {
    HostCall call(Select("GetRes"));
    SetResource(call, file, type, id);
    return SendForHandle(call, resource);
}

OSErr FourD::Set4DRes(long file, unsigned long type, short id, char** resource) {
    HostCall call(Select("SetRes"));
    SetResource(call, file, type, id);
    call->handle = resource;
    return Send(call);
}

OSErr FourD::Add4DRes(long file, unsigned long type, short id, const unsigned char* name,
                      char** resource) {
    HostCall call(Select("AddRes"));
    SetResource(call, file, type, id);
    SetName(call, name);
    call->handle = resource;
    return Send(call);
}

OSErr FourD::Del4DRes(long file, unsigned long type, short id) {
    HostCall call(Select("DelRes"));
    SetResource(call, file, type, id);
    return Send(call);
}

OSErr FourD::GetUnique4DResID(long file, unsigned long type, short* id) {
    HostCall call(Select("UniqueResID"));
    SetTypeInFile(call, file, type);
    return SendForNumber(call, id);
}

OSErr FourD::Lock4DRes(long, unsigned long, short) {
    return ResultCode::NoError;
}

OSErr FourD::Unlock4DRes(long, unsigned long, short) {
    return ResultCode::NoError;
}
