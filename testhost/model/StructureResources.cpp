#include "testhost/model/StructureResources.h"

#include "platform/ResultCodes.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace {
constexpr int firstFreeIdentifier = 128; // the smaller ones are the system's
}

std::vector<OSType> ResourceFileContents::Types() const {
    std::vector<OSType> types;
    for (const StructureResource& resource : resources) {
        if (std::find(types.begin(), types.end(), resource.type) == types.end()) {
            types.push_back(resource.type);
        }
    }
    return types;
}

std::vector<short> ResourceFileContents::Identifiers(OSType type) const {
    std::vector<short> identifiers;
    for (const StructureResource& resource : resources) {
        if (resource.type == type) {
            identifiers.push_back(resource.id);
        }
    }
    return identifiers;
}

short ResourceFileContents::FreeIdentifier(OSType type) const {
    std::vector<short> taken = Identifiers(type);
    std::sort(taken.begin(), taken.end());
    int candidate = firstFreeIdentifier;
    for (const short identifier : taken) {
        candidate += identifier == candidate ? 1 : 0;
    }
    return candidate <= std::numeric_limits<short>::max() ? static_cast<short>(candidate)
                                                          : short{0};
}

StructureResource* ResourceFileContents::Find(OSType type, long id) {
    auto found =
        std::find_if(resources.begin(), resources.end(), [=](const StructureResource& each) {
            return each.type == type && each.id == id;
        });
    return found != resources.end() ? &*found : nullptr;
}

bool ResourceFileContents::Add(StructureResource resource) {
    if (Find(resource.type, resource.id) != nullptr) {
        return false;
    }
    resources.push_back(std::move(resource));
    return true;
}

void ResourceFileContents::Remove(OSType type, long id) {
    std::erase_if(resources, [=](const StructureResource& each) {
        return each.type == type && each.id == id;
    });
}

OSErr StructureResources::Create(const std::string& path, long* file) {
    *file = 0;
    if (path.empty()) {
        return ResultCode::BadName;
    }
    if (!saved.try_emplace(path).second) {
        return ResultCode::DuplicateName;
    }
    *file = OpenAs(path, {});
    return ResultCode::NoError;
}

OSErr StructureResources::Open(const std::string& path, long* file) {
    *file = 0;
    auto found = saved.find(path);
    if (found == saved.end()) {
        return ResultCode::FileNotFound;
    }
    if (IsOpen(path)) {
        return ResultCode::OpenForWriting;
    }
    *file = OpenAs(path, found->second);
    return ResultCode::NoError;
}

OSErr StructureResources::Close(long file) {
    if (file == structureFile) {
        return ResultCode::BadParameter;
    }
    const OSErr error = Update(file);
    open.erase(file);
    return error;
}

OSErr StructureResources::Update(long file) {
    auto found = open.find(file);
    if (found == open.end()) {
        return ResultCode::ResourceFileNotFound;
    }
    if (file != structureFile) {
        saved[found->second.path] = found->second.contents;
    }
    return ResultCode::NoError;
}

ResourceFileContents* StructureResources::File(long file) {
    auto found = open.find(file);
    return found != open.end() ? &found->second.contents : nullptr;
}

void StructureResources::AddLeftOvers(LeftOvers& leftOvers) const {
    for (const auto& [number, file] : open) {
        if (number != structureFile) {
            leftOvers.Add({"resource file", "opened through the host", "open"},
                          "\"" + Utf8(FromAnsi(file.path)) + "\"", file.opened);
        }
    }
}

void StructureResources::CloseAll() {
    while (open.size() > 1) {
        Close(open.rbegin()->first);
    }
}

bool StructureResources::IgnoreCase::operator()(const std::string& a, const std::string& b) const {
    return _stricmp(a.c_str(), b.c_str()) < 0;
}

bool StructureResources::IsOpen(const std::string& path) const {
    return std::any_of(open.begin(), open.end(), [&path](const auto& each) {
        return _stricmp(each.second.path.c_str(), path.c_str()) == 0;
    });
}

long StructureResources::OpenAs(const std::string& path, ResourceFileContents contents) {
    open[++lastFile] = {path, std::move(contents), CurrentWhereabouts()};
    return lastFile;
}
