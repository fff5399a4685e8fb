#include "testhost/toolbox/resources/Files.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <climits>
#include <memory>
#include <utility>

#include <windows.h>

namespace {

constexpr OSType stringList = 0x53545223; // STR#
constexpr short firstOwnNumber = 1001;    // apart from the small numbers of open data forks

/// More than data and map of a fork can be.
constexpr std::size_t longestFork = 2 * (longestForkData + 0x10000);

struct Closer {
    using pointer = HANDLE;
    void operator()(HANDLE file) const {
        if (file != INVALID_HANDLE_VALUE) {
            CloseHandle(file);
        }
    }
};

OSErr ReadFile(const std::filesystem::path& path, std::string* bytes) {
    const std::unique_ptr<HANDLE, Closer> file(
        CreateFileW(path.wstring().c_str(), GENERIC_READ,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file.get() == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND
                   ? ResultCode::FileNotFound
                   : ResultCode::InputOutput;
    }
    LARGE_INTEGER size{};
    if (GetFileSizeEx(file.get(), &size) == 0) {
        return ResultCode::InputOutput;
    }
    if (size.QuadPart > LONGLONG{longestFork}) {
        return malformedMap;
    }
    bytes->resize(static_cast<std::size_t>(size.QuadPart));
    DWORD read = 0;
    const bool isRead = ::ReadFile(file.get(), bytes->data(), static_cast<DWORD>(bytes->size()),
                                   &read, nullptr) != 0;
    return isRead && read == bytes->size() ? ResultCode::NoError : ResultCode::InputOutput;
}

auto ById(OSType type, short id) {
    return [=](const ForkResource& resource) { return resource.type == type && resource.id == id; };
}

bool HasName(const ForkResource& resource, const unsigned char* name) {
    if (name[0] == 0 || resource.name.size() != name[0]) {
        return false;
    }
    Str255 own = {name[0]};
    std::copy(resource.name.begin(), resource.name.end(), own + 1);
    return EqualString(own, name, false, true);
}

} // namespace

ResourceFiles& TheResourceFiles() {
    static ResourceFiles files;
    return files;
}

// Files

ResourceFiles::ResourceFiles() {
    files.emplace_back();
}

ResourceFiles::File* ResourceFiles::FindFile(short refNum) {
    const auto found = std::find_if(files.begin(), files.end(),
                                    [=](const File& file) { return file.refNum == refNum; });
    return found == files.end() ? nullptr : &*found;
}

void ResourceFiles::Add(short refNum) {
    if (!FindFile(refNum)) {
        files.emplace_back().refNum = refNum;
    }
}

short ResourceFiles::FreshNumber() {
    do {
        lastNumber = lastNumber == SHRT_MAX ? firstOwnNumber : static_cast<short>(lastNumber + 1);
    } while (FindFile(lastNumber));
    return lastNumber;
}

OSErr ResourceFiles::Open(const std::filesystem::path& path, short* refNum) {
    *refNum = 0;
    std::list<File> opened(1);
    File& file = opened.front();
    if (const OSErr error = ReadFile(path, &file.fork)) {
        return error;
    }
    std::vector<ForkResource> resources;
    if (const OSErr error = ReadResourceFork(file.fork, &resources)) {
        return error;
    }
    for (const ForkResource& resource : resources) {
        file.items.push_back({resource});
    }
    *refNum = file.refNum = FreshNumber();
    files.splice(files.end(), opened);
    return ResultCode::NoError;
}

OSErr ResourceFiles::Close(short refNum) {
    const auto found = std::find_if(files.begin(), files.end(),
                                    [=](const File& file) { return file.refNum == refNum; });
    if (found == files.end()) {
        return ResultCode::ResourceFileNotFound;
    }
    for (Item& item : found->items) {
        DisposeHandle({"Closing a resource file"}, item);
    }
    if (refNum == systemFile) {
        *found = {};
        return ResultCode::NoError;
    }
    files.erase(found);
    if (current == refNum) {
        current = files.back().refNum;
    }
    return ResultCode::NoError;
}

OSErr ResourceFiles::AddResource(short refNum, OSType type, short id, std::string name,
                                 std::string bytes) {
    File* file = FindFile(refNum);
    if (!file) {
        return ResultCode::ResourceFileNotFound;
    }
    const ForkResource resource{type, id, file->added.emplace_back(std::move(name)),
                                file->added.emplace_back(std::move(bytes))};
    for (Item& item : file->items) {
        if (ById(type, id)(item.resource)) {
            item.resource = resource;
            return ResultCode::NoError;
        }
    }
    file->items.push_back({resource});
    return ResultCode::NoError;
}

OSErr ResourceFiles::Use(short refNum) {
    if (!FindFile(refNum)) {
        return ResultCode::ResourceFileNotFound;
    }
    current = refNum;
    return ResultCode::NoError;
}

void ResourceFiles::Reset() {
    files.clear();
    files.emplace_back();
    current = systemFile;
    lastResult = ResultCode::NoError;
}

// Resources

ResourceFiles::Item* ResourceFiles::Find(const Wanted& wanted) {
    const auto findIn = [&](File& file) -> Item* {
        const auto found = std::find_if(file.items.begin(), file.items.end(),
                                        [&](const Item& item) { return wanted(item.resource); });
        return found == file.items.end() ? nullptr : &*found;
    };
    auto file = std::find_if(files.rbegin(), files.rend(),
                             [this](const File& each) { return each.refNum == current; });
    for (; file != files.rend(); ++file) {
        if (Item* item = findIn(*file)) {
            return item;
        }
    }
    return nullptr;
}

OSErr ResourceFiles::Load(const Call& call, Item* item, Handle* handle) {
    *handle = nullptr;
    if (!item) {
        return ResultCode::ResourceNotFound;
    }
    if (item->handle) {
        TheHeap().MayMove();
    } else if (const OSErr error = MakeHandle(call, *item)) {
        return error;
    }
    *handle = item->handle;
    return ResultCode::NoError;
}

OSErr ResourceFiles::MakeHandle(const Call& call, Item& item) {
    const auto& data = item.resource.data;
    if (!data) {
        return malformedMap;
    }
    Handle handle = nullptr;
    if (const OSErr error = TheHeap().NewHandle(call, data->size(), &handle)) {
        return error;
    }
    std::copy(data->begin(), data->end(), *handle);
    Heap::HandleEntry* entry = nullptr;
    if (const OSErr error = TheHeap().FindHandle(call, handle, &entry)) {
        return error;
    }
    entry->isResource = true;
    entry->state = Heap::resource;
    item.handle = handle;
    return ResultCode::NoError;
}

void ResourceFiles::DisposeHandle(const Call& call, Item& item) {
    const Handle handle = std::exchange(item.handle, nullptr);
    Heap::HandleEntry* entry = nullptr;
    if (handle && TheHeap().FindHandle(call, handle, &entry) == ResultCode::NoError) {
        entry->isResource = false;
        TheHeap().DisposeHandle(call, handle);
    }
}

OSErr ResourceFiles::Get(OSType type, short id, Handle* handle) {
    return Load({"GetResource"}, Find(ById(type, id)), handle);
}

OSErr ResourceFiles::GetNamed(OSType type, const unsigned char* name, Handle* handle) {
    const auto wanted = [=](const ForkResource& resource) {
        return name && resource.type == type && HasName(resource, name);
    };
    return Load({"GetNamedResource"}, Find(wanted), handle);
}

OSErr ResourceFiles::GetListString(short listID, short index, unsigned char* string) {
    const Call call{"GetIndString"};
    string[0] = 0;
    Item* item = Find(ById(stringList, listID));
    const bool wasLoaded = item && item->handle;
    // The bytes come through a handle, so that memory moves as it does with every other resource.
    Handle handle = nullptr;
    if (const OSErr error = Load(call, item, &handle)) {
        return error;
    }
    Heap::HandleEntry* entry = nullptr;
    if (const OSErr error = TheHeap().FindHandle(call, handle, &entry)) {
        return error;
    }
    const std::string_view found =
        StringInList({*handle, static_cast<std::size_t>(entry->block.Length())}, index);
    string[0] = static_cast<unsigned char>(found.size());
    std::copy(found.begin(), found.end(), string + 1);
    if (!wasLoaded) {
        DisposeHandle(call, *item);
    }
    return ResultCode::NoError;
}

OSErr ResourceFiles::Release(Handle handle) {
    const Call call{"ReleaseResource"};
    Heap::HandleEntry* entry = nullptr;
    if (TheHeap().FindHandle(call, handle, &entry) != ResultCode::NoError) {
        return ResultCode::ResourceNotFound;
    }
    for (File& file : files) {
        for (Item& item : file.items) {
            if (item.handle == handle) {
                DisposeHandle(call, item);
                return ResultCode::NoError;
            }
        }
    }
    TheHeap().problems.Add("ReleaseResource: handle %p is not a resource's",
                           static_cast<const void*>(handle));
    return ResultCode::ResourceNotFound;
}

// The toolbox's calls. Each leaves its result code in ResError().

short CurResFile() {
    TheResourceFiles().lastResult = ResultCode::NoError;
    return TheResourceFiles().Current();
}

void UseResFile(short resFile) {
    ResourceFiles& files = TheResourceFiles();
    files.lastResult = files.Use(resFile);
}

OSErr ResError() {
    return TheResourceFiles().lastResult;
}

Handle GetResource(OSType type, short id) {
    ResourceFiles& files = TheResourceFiles();
    Handle handle = nullptr;
    files.lastResult = files.Get(type, id, &handle);
    return handle;
}

Handle GetNamedResource(OSType type, const unsigned char* name) {
    ResourceFiles& files = TheResourceFiles();
    Handle handle = nullptr;
    files.lastResult = files.GetNamed(type, name, &handle);
    return handle;
}

void GetIndString(unsigned char* string, short listID, short index) {
    ResourceFiles& files = TheResourceFiles();
    files.lastResult =
        string ? files.GetListString(listID, index, string) : ResultCode::BadParameter;
}

void ReleaseResource(Handle resource) {
    ResourceFiles& files = TheResourceFiles();
    files.lastResult = files.Release(resource);
}
