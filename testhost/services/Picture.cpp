#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/services/Service.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>

namespace {
// The picture of a call; null, with the error set, when there is none.
const HostPicture* TakePicture(ServiceCall& call) {
    const HostPicture* picture = call.host.pictures.Find(call.engine->picture);
    if (picture == nullptr) {
        call.fields.error = ResultCode::BadParameter;
    }
    return picture;
}

OSErr CopyToHandle(Host& host, const std::string& data, Handle handle) {
    if (ToolboxHandleOwner(handle) != HandleOwner::Toolbox) {
        host.Report("selector -671 (PictureData): `handle` is no handle of the toolbox.");
        return ResultCode::BadParameter;
    }
    SetHandleSize(handle, static_cast<Size>(data.size()));
    const OSErr error = MemError();
    if (error == ResultCode::NoError) {
        std::ranges::copy(data, *handle);
    }
    return error;
}

// A representation, its number in param1: into a handle its data, without one its information as
// a host string that becomes the plug-in's.
void PictureData(ServiceCall& call) {
    const HostPicture* picture = TakePicture(call);
    if (picture == nullptr) {
        return;
    }
    const long number = call.fields.param1;
    if (number < 1 || static_cast<size_t>(number) > picture->representations.size()) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    const PictureRepresentation& wanted = picture->representations[static_cast<size_t>(number) - 1];
    if (call.fields.handle != nullptr) {
        call.fields.error = CopyToHandle(call.host, wanted.data, call.fields.handle);
    } else {
        call.engine->string = call.host.strings.Create(wanted.information);
    }
}

void CreateNativeBitmap(ServiceCall& call) {
    if (const HostPicture* picture = TakePicture(call)) {
        call.fields.handle = static_cast<Handle>(call.host.pictures.CreateNativeBitmap(*picture));
    }
}

void DisposePicture(ServiceCall& call) {
    call.fields.error = call.host.pictures.Dispose(call.engine->picture, Owner::Plugin);
}
} // namespace

std::span<const Service> PictureServices() {
    static constexpr Service services[] = {
        {Select("PictureData"), RecordField::Picture | RecordField::Param1 | RecordField::Handle,
         PictureData},
        {Select("CreateNativeBitmapImage"), RecordField::Picture, CreateNativeBitmap},
        {Select("DisposePicture"), RecordField::Picture, DisposePicture},
    };
    return services;
}
