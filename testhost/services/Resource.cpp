#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/services/Service.h"
#include "testhost/toolbox/Control.h"

#include <limits>
#include <optional>

// The resources of the structure and of files that the host opens, and the system colours. The file
// is in param1, a type in param2, an identifier or an index from 1 in param3; a path or a name in
// `name`, bytes in `handle`. Numbers are answered in param1.

namespace {
std::string NameOf(ServiceCall& call) {
    return {reinterpret_cast<const char*>(call.fields.name + 1), call.fields.name[0]};
}

OSType TypeOf(ServiceCall& call) {
    return static_cast<OSType>(call.fields.param2);
}

// The file that the call names; null, and the call's error, when it is not open.
ResourceFileContents* FileOf(ServiceCall& call) {
    ResourceFileContents* file = call.host.structureResources.File(call.fields.param1);
    if (file == nullptr) {
        call.fields.error = ResultCode::ResourceFileNotFound;
    }
    return file;
}

// The resource that the call names; null, and the call's error, when there is none.
StructureResource* ResourceOf(ServiceCall& call) {
    ResourceFileContents* file = FileOf(call);
    if (file == nullptr) {
        return nullptr;
    }
    StructureResource* resource = file->Find(TypeOf(call), call.fields.param3);
    if (resource == nullptr) {
        call.fields.error = ResultCode::ResourceNotFound;
    }
    return resource;
}

// The bytes of the handle that came along; nothing, and the call's error, when it is none of the
// toolbox's.
std::optional<std::string> BytesOf(ServiceCall& call) {
    const Handle handle = call.fields.handle;
    if (handle == nullptr) {
        call.fields.error = ResultCode::NullHandle;
        return std::nullopt;
    }
    if (ToolboxHandleOwner(handle) != HandleOwner::Toolbox) {
        call.host.Report("A resource's bytes came in a handle that is none of the toolbox's.");
        call.fields.error = ResultCode::BadParameter;
        return std::nullopt;
    }
    return std::string(*handle, static_cast<size_t>(GetHandleSize(handle)));
}

void AnswerBytes(ServiceCall& call, const void* bytes, size_t size) {
    Handle handle = nullptr;
    call.fields.error = PtrToHand(bytes, &handle, static_cast<long>(size));
    call.fields.handle = handle;
}

template <typename Item>
void AnswerList(ServiceCall& call, const std::vector<Item>& items) {
    AnswerBytes(call, items.data(), items.size() * sizeof(Item));
}

// The item at the index that the call names.
template <typename Item>
void AnswerItem(ServiceCall& call, const std::vector<Item>& items) {
    const long index = call.fields.param3;
    if (index < 1 || static_cast<size_t>(index) > items.size()) {
        call.fields.error = ResultCode::ResourceNotFound;
        return;
    }
    call.fields.param1 = static_cast<long>(items[static_cast<size_t>(index) - 1]);
}

using OpenOperation = OSErr (StructureResources::*)(const std::string& path, long* file);

void OpenBy(ServiceCall& call, OpenOperation operation) {
    long file = 0;
    call.fields.error = (call.host.structureResources.*operation)(NameOf(call), &file);
    call.fields.param1 = file;
}

void CountTypes(ServiceCall& call) {
    if (const ResourceFileContents* file = FileOf(call)) {
        call.fields.param1 = static_cast<long>(file->Types().size());
    }
}

void TypeAtIndex(ServiceCall& call) {
    if (const ResourceFileContents* file = FileOf(call)) {
        AnswerItem(call, file->Types());
    }
}

void TypeList(ServiceCall& call) {
    if (const ResourceFileContents* file = FileOf(call)) {
        AnswerList(call, file->Types());
    }
}

void CountResources(ServiceCall& call) {
    if (const ResourceFileContents* file = FileOf(call)) {
        call.fields.param1 = static_cast<long>(file->Identifiers(TypeOf(call)).size());
    }
}

void IdentifierAtIndex(ServiceCall& call) {
    if (const ResourceFileContents* file = FileOf(call)) {
        AnswerItem(call, file->Identifiers(TypeOf(call)));
    }
}

void IdentifierList(ServiceCall& call) {
    if (const ResourceFileContents* file = FileOf(call)) {
        AnswerList(call, file->Identifiers(TypeOf(call)));
    }
}

void UniqueIdentifier(ServiceCall& call) {
    if (const ResourceFileContents* file = FileOf(call)) {
        const short identifier = file->FreeIdentifier(TypeOf(call));
        call.fields.error = identifier != 0 ? ResultCode::NoError : ResultCode::DuplicateName;
        call.fields.param1 = identifier;
    }
}

void Name(ServiceCall& call) {
    if (const StructureResource* resource = ResourceOf(call)) {
        StorePascal(call.fields.name, resource->name);
    }
}

void SetName(ServiceCall& call) {
    if (StructureResource* resource = ResourceOf(call)) {
        resource->name = NameOf(call);
        resource->timestamp = call.host.structureResources.NextTimestamp();
    }
}

void Timestamp(ServiceCall& call) {
    if (const StructureResource* resource = ResourceOf(call)) {
        call.fields.param1 = resource->timestamp;
    }
}

void Get(ServiceCall& call) {
    if (const StructureResource* resource = ResourceOf(call)) {
        AnswerBytes(call, resource->bytes.data(), resource->bytes.size());
    }
}

void Set(ServiceCall& call) {
    StructureResource* resource = ResourceOf(call);
    if (resource == nullptr) {
        return;
    }
    if (auto bytes = BytesOf(call)) {
        resource->bytes = std::move(*bytes);
        resource->timestamp = call.host.structureResources.NextTimestamp();
    }
}

void Add(ServiceCall& call) {
    ResourceFileContents* file = FileOf(call);
    if (file == nullptr) {
        return;
    }
    const long id = call.fields.param3;
    if (id < std::numeric_limits<short>::min() || id > std::numeric_limits<short>::max()) {
        call.fields.error = ResultCode::BadParameter;
        return;
    }
    auto bytes = BytesOf(call);
    if (!bytes) {
        return;
    }
    const bool added = file->Add({.type = TypeOf(call),
                                  .id = static_cast<short>(id),
                                  .name = NameOf(call),
                                  .bytes = std::move(*bytes),
                                  .timestamp = call.host.structureResources.NextTimestamp()});
    call.fields.error = added ? ResultCode::NoError : ResultCode::DuplicateName;
}

void Delete(ServiceCall& call) {
    if (ResourceOf(call) != nullptr) {
        FileOf(call)->Remove(TypeOf(call), call.fields.param3);
    }
}

constexpr auto file = RecordField::Param1;
constexpr auto fileAndType = file | RecordField::Param2;
constexpr auto resource = fileAndType | RecordField::Param3; // or a type's index
} // namespace

std::span<const Service> ResourceServices() {
    static constexpr Service services[] = {
        {Select("OpenResFile"), RecordField::Name,
         [](ServiceCall& call) { OpenBy(call, &StructureResources::Open); }},
        {Select("CreateResFile"), RecordField::Name,
         [](ServiceCall& call) { OpenBy(call, &StructureResources::Create); }},
        {Select("CloseResFile"), file,
         [](ServiceCall& call) {
             call.fields.error = call.host.structureResources.Close(call.fields.param1);
         }},
        {Select("UpdateResFile"), file,
         [](ServiceCall& call) {
             call.fields.error = call.host.structureResources.Update(call.fields.param1);
         }},
        {Select("StructResFileRef"), RecordField::None,
         [](ServiceCall& call) { call.fields.param1 = StructureResources::structureFile; }},
        {Select("CountResTypes"), file, CountTypes},
        {Select("IndResType"), file | RecordField::Param3, TypeAtIndex},
        {Select("ResTypeList"), file, TypeList},
        {Select("CountRes"), fileAndType, CountResources},
        {Select("IndResID"), resource, IdentifierAtIndex},
        {Select("ResIDList"), fileAndType, IdentifierList},
        {Select("UniqueResID"), fileAndType, UniqueIdentifier},
        {Select("ResName"), resource, Name},
        {Select("SetResName"), resource | RecordField::Name, SetName},
        {Select("ResTimestamp"), resource, Timestamp},
        {Select("GetRes"), resource, Get},
        {Select("SetRes"), resource | RecordField::Handle, Set},
        {Select("AddRes"), resource | RecordField::Name | RecordField::Handle, Add},
        {Select("DelRes"), resource, Delete},
        {Select("SystemColors"), RecordField::None,
         [](ServiceCall& call) {
             call.fields.handle = reinterpret_cast<Handle>(&call.host.systemColors);
         }},
    };
    return services;
}
