// The host's pictures: what is in them, and how they are released.

#include "host/Call.h"
#include "host/FourD.h"
#include "shell/base/TextServices.h"

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
    EngineCall call(Select("PictureData"));
    call->picture = picture;
    FDStringBlock unused;
    FDStringBlock* const place = info != nullptr ? info : &unused;
    return call.Require(picture).PutNumbers(index).SendThen(place, [&] { *place = call->string; });
}

OSErr FourD::GetPictureData(FDPictureBlock* picture, long index, char** data) {
    EngineCall call(Select("PictureData"));
    call->picture = picture;
    const OSErr error = call.Require(picture).PutNumbers(index).PutAddress(data).SendForError();
    return error == 1 || error == -1 ? ResultCode::PictureDataFailed : error;
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
    const long representations = types != nullptr && count > 0 ? CountPictureReps(picture) : 0;
    for (long index = 1; index <= representations; ++index) {
        char information[512];
        GetFDPictureReprInfoCString(picture, index, information, sizeof information);
        const auto named = [&](unsigned long type) { return NamesType(information, type); };
        unsigned long* const type = std::find_if(types, types + count, named);
        if (type != types + count) {
            return answer(index, *type);
        }
    }
    return answer(0, 0);
}

char** FourD::CreateNativeBitmapImage(FDPictureBlock* picture) {
    EngineCall call(Select("CreateNativeBitmapImage"));
    call->picture = picture;
    call.Require(picture).Send();
    return call->handle;
}

long FourD::DisposePictureV11(FDPictureBlock* picture) {
    EngineCall call(Select("DisposePicture"));
    call->picture = picture;
    return call.Require(picture).Send();
}
