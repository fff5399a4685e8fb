// The host's pictures: what is in them, and how they are released.

#include "host/FourD.h"
#include "host/HostCall.h"
#include "platform/ResultCodes.h"
#include "shell/TextServices.h"

#include <algorithm>

namespace {

/// Whether the information of a representation names the type.
bool NamesType(const char* information, unsigned long type) {
    char name[5] = "";
    _OSTypeToCString(type, name);
    if (name[3] == ' ') { // deliberate: "JPG " is looked for as "JPG", "GI  " as "GI "
        name[3] = '\0';
    }
    return std::strstr(information, name) != nullptr;
}

} // namespace

OSErr FourD::GetPictureInfo(FDPictureBlock* picture, long index, FDStringBlock* info) {
    if (picture == nullptr) {
        return ResultCode::BadParameter;
    }
    EngineCall call(Select("PictureData"));
    call->picture = picture;
    call->param1 = index;
    call.Send();
    if (call->error == ResultCode::NoError && info != nullptr) {
        *info = call->string;
    }
    return call->error;
}

OSErr FourD::GetPictureData(FDPictureBlock* picture, long index, char** data) {
    if (picture == nullptr || data == nullptr) {
        return ResultCode::BadParameter;
    }
    EngineCall call(Select("PictureData"));
    call->picture = picture;
    call->param1 = index;
    call->handle = data;
    call.Send();
    const bool failed = call->error == 1 || call->error == -1;
    return failed ? ResultCode::PictureDataFailed : call->error;
}

long FourD::CountPictureReps(FDPictureBlock* picture) {
    long count = 0;
    FDStringBlock info{};
    while (GetPictureInfo(picture, count + 1, &info) == ResultCode::NoError) {
        DisposeFDStringBlock(&info);
        ++count;
    }
    return count;
}

void FourD::GetFDPictureReprInfoCString(FDPictureBlock* picture, long index, char* out, long size) {
    if (out == nullptr || size < 1) {
        return;
    }
    out[0] = '\0';
    FDStringBlock info{};
    if (GetPictureInfo(picture, index, &info) == ResultCode::NoError) {
        CopyFDStringToCString(&info, out, size);
        DisposeFDStringBlock(&info);
    }
}

long FourD::FindFDPictureReprForType(FDPictureBlock* picture, unsigned long type) {
    return FindFDPictureReprForType(picture, &type, 1, nullptr);
}

long FourD::FindFDPictureReprForType(FDPictureBlock* picture, unsigned long* types, long count,
                                     unsigned long* found) {
    const auto answer = [found](long index, unsigned long type) {
        if (found != nullptr) {
            *found = type;
        }
        return index;
    };
    if (types == nullptr || count < 1) {
        return answer(0, 0);
    }
    unsigned long* const end = types + count;
    const long representations = CountPictureReps(picture);
    for (long index = 1; index <= representations; ++index) {
        char information[512];
        GetFDPictureReprInfoCString(picture, index, information, sizeof information);
        unsigned long* const type = std::find_if(
            types, end, [&](unsigned long each) { return NamesType(information, each); });
        if (type != end) {
            return answer(index, *type);
        }
    }
    return answer(0, 0);
}

char** FourD::CreateNativeBitmapImage(FDPictureBlock* picture) {
    EngineCall call(Select("CreateNativeBitmapImage"));
    call->picture = picture;
    call.Send();
    return call->handle;
}

long FourD::DisposePictureV11(FDPictureBlock* picture) {
    EngineCall call(Select("DisposePicture"));
    call->picture = picture;
    return call.Send();
}
