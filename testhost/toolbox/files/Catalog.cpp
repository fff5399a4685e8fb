#include "testhost/toolbox/files/Catalog.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/files/FileSystem.h"
#include "testhost/toolbox/files/OpenFiles.h"
#include "testhost/toolbox/files/Paths.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include <windows.h>

// The toolbox's calls on files and folders as a whole. Each checks its arguments, then counts as
// one call that a test can make fail.

namespace {

constexpr std::size_t pathBuffer = 1040; // what ASI_HFSpec's callers provide
constexpr long noFolder = -1;            // identifier that no folder has

bool IsThere(const std::string& path) {
    return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

/// Attributes of what has to be there.
OSErr GetAttributes(const std::string& path, DWORD* attributes) {
    *attributes = GetFileAttributesA(path.c_str());
    return *attributes == INVALID_FILE_ATTRIBUTES ? FileResult(GetLastError())
                                                  : ResultCode::NoError;
}

/// Attributes of a file; -43 for a folder, too.
OSErr GetFileAttributesOf(const FSSpec* spec, std::string* path, DWORD* attributes) {
    if (const OSErr error = FindPath(spec, path)) {
        return error;
    }
    const OSErr error = GetAttributes(*path, attributes);
    const bool isFolder = !error && (*attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    return isFolder ? ResultCode::FileNotFound : error;
}

/// Attributes of a file or folder that has to let itself be deleted or renamed.
OSErr GetChangeable(const std::string& path, DWORD* attributes) {
    if (const OSErr error = GetAttributes(path, attributes)) {
        return error;
    }
    if (IsRoot(path) || TheOpenFiles().IsAnyOpen(FileKey(path))) {
        return ResultCode::FileBusy;
    }
    // With folders Windows means something else by it.
    const bool isLocked = (*attributes & FILE_ATTRIBUTE_READONLY) != 0 &&
                          (*attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
    return isLocked ? ResultCode::FileLocked : ResultCode::NoError;
}

struct SearchCloser {
    void operator()(void* search) const { FindClose(search); }
};

/// Names of the files and folders in a folder, sorted; without those that no specification can
/// have.
OSErr ListFolder(const std::string& folder, std::vector<std::string>* names) {
    WIN32_FIND_DATAA found{};
    void* const search = FindFirstFileA(Join(folder, "*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) {
        const DWORD error = GetLastError();
        return error == ERROR_FILE_NOT_FOUND ? ResultCode::NoError : FileResult(error);
    }
    const std::unique_ptr<void, SearchCloser> guard(search);
    do {
        const std::string name = found.cFileName;
        if (IsName(name) && name.size() <= longestName) {
            names->push_back(name);
        }
    } while (FindNextFileA(search, &found));
    std::sort(names->begin(), names->end(), [](const std::string& a, const std::string& b) {
        return UpperCase(a) < UpperCase(b);
    });
    return ResultCode::NoError;
}

/// Seconds from midnight, 1 January 1904, in local time; 0 for a time before.
unsigned long ToolboxSeconds(const FILETIME& time) {
    constexpr long long ticksPerSecond = 10000000;
    constexpr long long from1601To1904 = 9561628800;
    FILETIME local{};
    FileTimeToLocalFileTime(&time, &local);
    const auto ticks = static_cast<long long>(local.dwHighDateTime) << 32 | local.dwLowDateTime;
    const long long seconds = ticks / ticksPerSecond - from1601To1904;
    return static_cast<unsigned long>(std::clamp(seconds, 0LL, 0xFFFFFFFFLL));
}

void DescribeFolder(const std::string& path, const WIN32_FILE_ATTRIBUTE_DATA& data, DirInfo* info) {
    std::vector<std::string> names;
    ListFolder(path, &names); // a folder that cannot be read seems empty
    info->ioFlAttrib = FileAttribute::Folder;
    info->ioDrUsrWds = {};
    info->ioDrDirID = TheFileSystem().IdentifierOf(path);
    info->ioDrNmFls = static_cast<unsigned short>(std::min<std::size_t>(names.size(), 0xFFFF));
    info->ioDrCrDat = ToolboxSeconds(data.ftCreationTime);
    info->ioDrMdDat = ToolboxSeconds(data.ftLastWriteTime);
    info->ioDrBkDat = 0;
    std::memset(info->ioDrFndrInfo, 0, sizeof info->ioDrFndrInfo);
    info->ioDrParID = TheFileSystem().ParentOf(path);
}

void DescribeFile(const std::string& path, const WIN32_FILE_ATTRIBUTE_DATA& data, HFileInfo* info) {
    const bool isLocked = (data.dwFileAttributes & FILE_ATTRIBUTE_READONLY) != 0;
    const bool isLarge = data.nFileSizeHigh != 0 || data.nFileSizeLow > 0x7FFFFFFF;
    info->ioFlAttrib = isLocked ? FileAttribute::Locked : 0;
    info->ioFlFndrInfo = TheFinderInfos().Get(FileKey(path));
    info->ioDirID = noFolder;
    info->ioFlStBlk = 0;
    info->ioFlLgLen = isLarge ? 0x7FFFFFFF : static_cast<long>(data.nFileSizeLow);
    info->ioFlPyLen = info->ioFlLgLen;
    info->ioFlRStBlk = 0;
    info->ioFlRLgLen = 0;
    info->ioFlRPyLen = 0;
    info->ioFlCrDat = ToolboxSeconds(data.ftCreationTime);
    info->ioFlMdDat = ToolboxSeconds(data.ftLastWriteTime);
    info->ioFlBkDat = 0;
    std::memset(info->ioFlXFndrInfo, 0, sizeof info->ioFlXFndrInfo);
    info->ioFlParID = TheFileSystem().ParentOf(path);
    info->ioFlClpSiz = 0;
}

/// The path of what a catalogue call asks about.
OSErr FindAsked(const HFileInfo& asked, std::string* path) {
    const std::string_view name =
        asked.ioFDirIndex == 0 ? Characters(asked.ioNamePtr) : std::string_view();
    if (const OSErr error = TheFileSystem().PathOf(asked.ioVRefNum, asked.ioDirID, name, path)) {
        return error;
    }
    if (TheOpenFiles().FailsNow()) {
        return ResultCode::InputOutput;
    }
    if (asked.ioFDirIndex <= 0) {
        return ResultCode::NoError;
    }
    std::vector<std::string> names;
    if (const OSErr error = ListFolder(*path, &names)) {
        return error;
    }
    const auto place = static_cast<std::size_t>(asked.ioFDirIndex) - 1;
    if (place >= names.size()) {
        return ResultCode::FileNotFound;
    }
    *path = Join(*path, names[place]);
    return ResultCode::NoError;
}

OSErr DescribeAsked(CInfoPBRec* block) {
    const HFileInfo& asked = block->hFileInfo;
    std::string path;
    if (const OSErr error = FindAsked(asked, &path)) {
        return error;
    }
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) {
        return FileResult(GetLastError());
    }
    if (asked.ioFDirIndex != 0 && asked.ioNamePtr) {
        if (const OSErr error = StoreName(Split(path).name, asked.ioNamePtr)) {
            return error;
        }
    }
    if (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) {
        DescribeFolder(path, data, &block->dirInfo);
    } else {
        DescribeFile(path, data, &block->hFileInfo);
    }
    return ResultCode::NoError;
}

} // namespace

FInfo FinderInfos::Get(const std::string& key) const {
    const auto found = infos.find(key);
    return found == infos.end() ? FInfo{} : found->second;
}

void FinderInfos::Renamed(const std::string& fromKey, const std::string& toKey) {
    std::map<std::string, FInfo> renamed;
    for (const auto& [key, info] : infos) {
        if (IsAtOrIn(key, fromKey)) {
            renamed.insert_or_assign(toKey + key.substr(fromKey.size()), info);
        } else if (!IsAtOrIn(key, toKey)) { // else of files that are gone
            renamed.emplace(key, info);
        }
    }
    infos = std::move(renamed);
}

FinderInfos& TheFinderInfos() {
    static FinderInfos infos;
    return infos;
}

OSErr FindPath(const FSSpec* spec, std::string* path) {
    if (!spec) {
        return ResultCode::BadParameter;
    }
    if (const OSErr error = TheFileSystem().PathOf(*spec, path)) {
        return error;
    }
    return TheOpenFiles().FailsNow() ? ResultCode::InputOutput : ResultCode::NoError;
}

OSErr FSMakeFSSpec(short vRefNum, long dirID, const unsigned char* name, FSSpec* spec) {
    if (!spec) {
        return ResultCode::BadParameter;
    }
    std::string path;
    const OSErr error = TheFileSystem().PathOf(vRefNum, dirID, Characters(name), &path);
    *spec = {}; // only now: the name may be the one in it
    if (error) {
        return error;
    }
    return TheOpenFiles().FailsNow() ? ResultCode::InputOutput : TheFileSystem().SpecOf(path, spec);
}

OSErr FSpCreate(const FSSpec* spec, OSType creator, OSType type, short) {
    std::string path;
    if (const OSErr error = FindPath(spec, &path)) {
        return error;
    }
    if (IsThere(path)) {
        return ResultCode::DuplicateName; // a folder of this name, too
    }
    const WindowsFile file(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                       FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file) {
        return FileResult(GetLastError());
    }
    FInfo info{};
    info.fdType = type;
    info.fdCreator = creator;
    TheFinderInfos().Set(FileKey(path), info);
    return ResultCode::NoError;
}

OSErr FSpDirCreate(const FSSpec* spec, short, long* createdDirID) {
    if (!createdDirID) {
        return ResultCode::BadParameter;
    }
    *createdDirID = 0;
    std::string path;
    if (const OSErr error = FindPath(spec, &path)) {
        return error;
    }
    if (IsThere(path)) {
        return ResultCode::DuplicateName;
    }
    if (!CreateDirectoryA(path.c_str(), nullptr)) {
        return FileResult(GetLastError());
    }
    *createdDirID = TheFileSystem().IdentifierOf(path);
    return ResultCode::NoError;
}

OSErr FSpDelete(const FSSpec* spec) {
    std::string path;
    if (const OSErr error = FindPath(spec, &path)) {
        return error;
    }
    DWORD attributes = 0;
    if (const OSErr error = GetChangeable(path, &attributes)) {
        return error;
    }
    const std::string key = FileKey(path);
    const bool isFolder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!(isFolder ? RemoveDirectoryA(path.c_str()) : DeleteFileA(path.c_str()))) {
        return FileResult(GetLastError());
    }
    TheFinderInfos().Forget(key);
    return ResultCode::NoError;
}

OSErr FSpRename(const FSSpec* spec, const unsigned char* newName) {
    if (!newName) {
        return ResultCode::BadParameter;
    }
    const std::string name = ToWindows(Characters(newName));
    if (name.size() > longestName || !IsName(name)) {
        return ResultCode::BadName;
    }
    std::string path;
    if (const OSErr error = FindPath(spec, &path)) {
        return error;
    }
    DWORD attributes = 0;
    if (const OSErr error = GetChangeable(path, &attributes)) {
        return error;
    }
    path = LongForm(path);
    const std::string renamed = Join(Split(path).folder, name);
    const std::string key = FileKey(path);
    if (IsThere(renamed) && FileKey(renamed) != key) {
        return ResultCode::DuplicateName;
    }
    if (!MoveFileA(path.c_str(), renamed.c_str())) {
        return FileResult(GetLastError());
    }
    TheFinderInfos().Renamed(key, FileKey(renamed));
    TheFileSystem().Renamed(path, LongForm(renamed));
    return ResultCode::NoError;
}

OSErr FSpGetFInfo(const FSSpec* spec, FInfo* info) {
    if (!info) {
        return ResultCode::BadParameter;
    }
    std::string path;
    DWORD attributes = 0;
    if (const OSErr error = GetFileAttributesOf(spec, &path, &attributes)) {
        return error;
    }
    *info = TheFinderInfos().Get(FileKey(path));
    return ResultCode::NoError;
}

OSErr FSpSetFInfo(const FSSpec* spec, const FInfo* info) {
    if (!info) {
        return ResultCode::BadParameter;
    }
    std::string path;
    DWORD attributes = 0;
    if (const OSErr error = GetFileAttributesOf(spec, &path, &attributes)) {
        return error;
    }
    if (attributes & FILE_ATTRIBUTE_READONLY) {
        return ResultCode::FileLocked;
    }
    TheFinderInfos().Set(FileKey(path), *info);
    return ResultCode::NoError;
}

OSErr PBGetCatInfoSync(CInfoPBRec* block) {
    if (!block) {
        return ResultCode::BadParameter;
    }
    const OSErr error = DescribeAsked(block);
    block->hFileInfo.ioResult = error;
    return error;
}

OSErr ASI_HFSpec(long directory, short volume, const unsigned char* name, char* path) {
    if (!path) {
        return ResultCode::BadParameter;
    }
    path[0] = '\0';
    std::string found;
    // Deliberate: the name is not converted. Some callers hand in one of Windows, and others make a
    // specification of the path, which takes the toolbox's characters.
    if (const OSErr error =
            TheFileSystem().WindowsPathOf(volume, directory, Characters(name), &found)) {
        return error;
    }
    if (found.size() >= pathBuffer) {
        return ResultCode::BadName;
    }
    std::memcpy(path, found.c_str(), found.size() + 1);
    return ResultCode::NoError;
}
