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

#include "host/Call.h"
#include "host/FourD.h"

namespace {

/// A call about a file, about its resources of a type, or about one of those: by its identifier, or
/// an index from 1.
class ResourceCall : public HostCall {
  public:
    explicit ResourceCall(Selector selector, long file, unsigned long type = 0, long place = 0)
        : HostCall(selector) {
        PutNumbers(file, static_cast<long>(type));
        (*this)->param3 = place;
    }
};

} // namespace

OSErr FourD::Open4DResFile(const unsigned char* path, long* file) {
    return HostCall(Select("OpenResFile")).PutName(path).SendForNumber(file);
}

OSErr FourD::Create4DResFile(const unsigned char* path, long* file) {
    return HostCall(Select("CreateResFile")).PutName(path).SendForNumber(file);
}

OSErr FourD::Close4DResFile(long file) {
    return ResourceCall(Select("CloseResFile"), file).SendForError();
}

OSErr FourD::Update4DResFile(long file) {
    return ResourceCall(Select("UpdateResFile"), file).SendForError();
}

OSErr FourD::GetStruct4DResFileRef(long* file) {
    return HostCall(Select("StructResFileRef")).SendForNumber(file);
}

OSErr FourD::Count4DResTypes(long file, long* count) {
    return ResourceCall(Select("CountResTypes"), file).SendForNumber(count);
}

OSErr FourD::GetIndResType(long file, long index, unsigned long* type) {
    return ResourceCall(Select("IndResType"), file, 0, index).SendForNumber(type);
}

OSErr FourD::Get4DResTypeList(long file, char*** types) {
    return ResourceCall(Select("ResTypeList"), file).SendForHandle(types);
}

OSErr FourD::Count4DRes(long file, unsigned long type, long* count) {
    return ResourceCall(Select("CountRes"), file, type).SendForNumber(count);
}

OSErr FourD::GetInd4DResID(long file, unsigned long type, long index, short* id) {
    return ResourceCall(Select("IndResID"), file, type, index).SendForNumber(id);
}

OSErr FourD::Get4DResIDList(long file, unsigned long type, char*** ids) {
    return ResourceCall(Select("ResIDList"), file, type).SendForHandle(ids);
}

OSErr FourD::Get4DResName(long file, unsigned long type, short id, unsigned char* name) {
    return ResourceCall(Select("ResName"), file, type, id).SendForName(name);
}

OSErr FourD::Set4DResName(long file, unsigned long type, short id, const unsigned char* name) {
    return ResourceCall(Select("SetResName"), file, type, id).PutName(name).SendForError();
}

OSErr FourD::Get4DResTimestamp(long file, unsigned long type, short id, long* timestamp) {
    return ResourceCall(Select("ResTimestamp"), file, type, id).SendForNumber(timestamp);
}

OSErr FourD::Get4DRes(long file, unsigned long type, short id, char*** resource) {
    return ResourceCall(Select("GetRes"), file, type, id).SendForHandle(resource);
}

OSErr FourD::Set4DRes(long file, unsigned long type, short id, char** resource) {
    return ResourceCall(Select("SetRes"), file, type, id).PutAddress(resource).SendForError();
}

OSErr FourD::Add4DRes(long file, unsigned long type, short id, const unsigned char* name,
                      char** resource) {
    constexpr unsigned char NoName[] = {0};
    ResourceCall call(Select("AddRes"), file, type, id);
    return call.PutName(name != nullptr ? name : NoName).PutAddress(resource).SendForError();
}

OSErr FourD::Del4DRes(long file, unsigned long type, short id) {
    return ResourceCall(Select("DelRes"), file, type, id).SendForError();
}

OSErr FourD::GetUnique4DResID(long file, unsigned long type, short* id) {
    return ResourceCall(Select("UniqueResID"), file, type).SendForNumber(id);
}

OSErr FourD::Lock4DRes(long, unsigned long, short) {
    return ResultCode::NoError;
}

OSErr FourD::Unlock4DRes(long, unsigned long, short) {
    return ResultCode::NoError;
}
