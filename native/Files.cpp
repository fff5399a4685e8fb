#include <algorithm>
#include <cstring>
#include <ctime>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <windows.h>

// Files and folders in memory.

namespace {
constexpr std::size_t mostBytes = 64 * 1024 * 1024; // of a file; the disk is full then
constexpr const char* workFolder = "C:\\work";
constexpr const char* tempFolder = "C:\\temp";

// A time that goes on with each change, so that runs are alike.
FILETIME NextTime() {
    static std::uint64_t now = 132'223'104'000'000'000; // 2020-01-01, in 100 ns since 1601
    now += 10'000'000;
    return {static_cast<DWORD>(now), static_cast<DWORD>(now >> 32)};
}

struct Node {
    std::string name; ///< as it was given
    DWORD attributes;
    std::string bytes = {};
    FILETIME created = NextTime();
    FILETIME written = created;

    bool IsFolder() const { return (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0; }
};

std::string UpperCase(std::string text) {
    LCMapStringA(LOCALE_USER_DEFAULT, LCMAP_UPPERCASE, text.data(), static_cast<int>(text.size()),
                 text.data(), static_cast<int>(text.size()));
    return text;
}

std::string Narrow(const wchar_t* wide) {
    std::string text(static_cast<std::size_t>(
                         WideCharToMultiByte(CP_ACP, 0, wide, -1, nullptr, 0, nullptr, nullptr)),
                     '\0');
    WideCharToMultiByte(CP_ACP, 0, wide, -1, text.data(), static_cast<int>(text.size()), nullptr,
                        nullptr);
    text.pop_back();
    return text;
}

// The whole path: from the volume on, without a separator at its end. Empty: there is no such.
std::string WholePath(std::string path) {
    std::ranges::replace(path, '/', '\\');
    if (path.size() < 2 || path[1] != ':') {
        path = path.starts_with('\\') ? "C:" + path : std::string(workFolder) + '\\' + path;
    }
    std::vector<std::string> parts;
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('\\', start), path.size());
        const std::string part = path.substr(start, end - start);
        start = end + 1;
        if (part == ".." && parts.size() > 1) {
            parts.pop_back();
        } else if (!part.empty() && part != "." && part != "..") {
            parts.push_back(part);
        }
    }
    std::string whole;
    for (const std::string& part : parts) {
        whole += (whole.empty() ? "" : "\\") + part;
    }
    return whole;
}

std::string FolderOf(const std::string& path) {
    const std::size_t last = path.rfind('\\');
    return last == std::string::npos ? std::string() : path.substr(0, last);
}

std::string NameOf(const std::string& path) {
    return path.substr(path.rfind('\\') + 1);
}

class Volume {
  public:
    using Nodes = std::map<std::string, std::shared_ptr<Node>>;

    Volume() {
        for (const char* folder : {"C:", workFolder, tempFolder}) {
            Add(folder, FILE_ATTRIBUTE_DIRECTORY);
        }
    }

    Nodes::iterator Find(const std::string& path) { return nodes.find(UpperCase(path)); }

    // Null, and an error, when there is none.
    std::shared_ptr<Node> At(const char* given) {
        const std::string path = WholePath(given);
        const auto found = Find(path);
        const bool isThere = found != nodes.end() &&
                             (found->second->IsFolder() || std::string_view(given).back() != '\\');
        if (!isThere) {
            SetLastError(IsFolder(FolderOf(path)) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND);
        }
        return isThere ? found->second : nullptr;
    }

    bool IsFolder(const std::string& path) {
        const auto found = Find(path);
        return found != nodes.end() && found->second->IsFolder();
    }

    std::shared_ptr<Node> Add(const std::string& path, DWORD attributes) {
        auto node = std::make_shared<Node>(Node{NameOf(path), attributes});
        nodes[UpperCase(path)] = node;
        return node;
    }

    // Null, and an error, when its name is no good, its folder is not there, or it is.
    std::shared_ptr<Node> Make(const char* given, DWORD attributes) {
        const std::string path = WholePath(given);
        const std::string name = NameOf(path);
        const bool isGood = !name.empty() && name.size() < MAX_PATH - 5 &&
                            name.find_first_of("<>:\"|?*") == std::string::npos &&
                            std::ranges::none_of(name, [](char character) {
                                return static_cast<unsigned char>(character) < ' ';
                            });
        const DWORD error = path.size() >= MAX_PATH     ? ERROR_FILENAME_EXCED_RANGE
                            : !IsFolder(FolderOf(path)) ? ERROR_PATH_NOT_FOUND
                            : !isGood                   ? ERROR_INVALID_NAME
                            : Find(path) != nodes.end() ? ERROR_ALREADY_EXISTS
                                                        : ERROR_SUCCESS;
        SetLastError(error);
        return error == ERROR_SUCCESS ? Add(path, attributes) : nullptr;
    }

    // What lies within the folder, by name.
    std::vector<std::shared_ptr<Node>> Within(const std::string& folder) {
        std::vector<std::shared_ptr<Node>> within;
        const std::string start = UpperCase(folder) + '\\';
        for (auto next = nodes.lower_bound(start);
             next != nodes.end() && next->first.starts_with(start); ++next) {
            if (next->first.find('\\', start.size()) == std::string::npos) {
                within.push_back(next->second);
            }
        }
        return within;
    }

    BOOL Remove(const char* given, bool isFolder) {
        const std::shared_ptr<Node> node = At(given);
        const std::string path = WholePath(given);
        if (!node) {
            return FALSE;
        }
        const DWORD error = node->IsFolder() != isFolder
                                ? (isFolder ? ERROR_DIRECTORY : ERROR_ACCESS_DENIED)
                            : (node->attributes & FILE_ATTRIBUTE_READONLY) ? ERROR_ACCESS_DENIED
                            : isFolder && !Within(path).empty()            ? ERROR_DIR_NOT_EMPTY
                                                                           : ERROR_SUCCESS;
        SetLastError(error);
        if (error == ERROR_SUCCESS) {
            nodes.erase(Find(path));
        }
        return error == ERROR_SUCCESS;
    }

    BOOL Move(const char* from, const char* to) {
        const std::shared_ptr<Node> node = At(from);
        const std::string source = WholePath(from);
        const std::string target = WholePath(to);
        const bool onlyCase = UpperCase(source) == UpperCase(target);
        if (!node || (!onlyCase && !Make(to, node->attributes))) {
            return FALSE;
        }
        node->name = NameOf(target);
        Nodes moved;
        const std::string upper = UpperCase(source);
        std::erase_if(nodes, [&](const auto& each) {
            const bool goes = each.first == upper || each.first.starts_with(upper + '\\');
            if (goes) {
                moved[UpperCase(target) + each.first.substr(upper.size())] = each.second;
            }
            return goes;
        });
        for (const auto& [path, each] : moved) {
            nodes[path] = each;
        }
        return TRUE;
    }

    // The path with its names as they were given; empty when there is none.
    std::string Named(const char* given) {
        std::string named;
        if (!At(given)) {
            return named;
        }
        for (std::string path = WholePath(given); !path.empty(); path = FolderOf(path)) {
            named = Find(path)->second->name + (named.empty() ? "" : "\\") + named;
        }
        return std::string_view(given).back() == '\\' ? named + '\\' : named;
    }

  private:
    Nodes nodes; ///< by path in upper case
};

Volume& TheVolume() {
    static Volume volume;
    return volume;
}

struct OpenFile {
    std::shared_ptr<Node> node;
    std::string path;
    bool mayRead;
    bool mayWrite;
    bool isDeletedWhenClosed;
    std::size_t place = 0;
};

struct Search {
    std::vector<std::shared_ptr<Node>> found;
    std::size_t next = 0;
};

OpenFile& Opened(HANDLE file) {
    return *static_cast<OpenFile*>(file);
}

bool Matches(std::string_view pattern, std::string_view name) {
    if (pattern.empty()) {
        return name.empty();
    }
    if (pattern[0] == '*') {
        return Matches(pattern.substr(1), name) ||
               (!name.empty() && Matches(pattern, name.substr(1)));
    }
    return !name.empty() && (pattern[0] == '?' || pattern[0] == name[0]) &&
           Matches(pattern.substr(1), name.substr(1));
}

template <typename Data>
void Describe(const Node& node, Data& data) {
    data.dwFileAttributes = node.attributes;
    data.ftCreationTime = node.created;
    data.ftLastAccessTime = data.ftLastWriteTime = node.written;
    data.nFileSizeLow = static_cast<DWORD>(node.bytes.size());
}

// As Windows does: the length, or with the terminator's place the room that it takes.
DWORD PutPath(const std::string& path, char* out, DWORD room) {
    if (path.empty() || path.size() >= room) {
        return path.empty() ? 0 : static_cast<DWORD>(path.size() + 1);
    }
    std::memcpy(out, path.c_str(), path.size() + 1);
    return static_cast<DWORD>(path.size());
}

DWORD PutPath(const std::string& path, wchar_t* out, DWORD room) {
    if (path.empty() || path.size() >= room) {
        return path.empty() ? 0 : static_cast<DWORD>(path.size() + 1);
    }
    return static_cast<DWORD>(
        MultiByteToWideChar(CP_ACP, 0, path.c_str(), -1, out, static_cast<int>(room)) - 1);
}
} // namespace

HANDLE CreateFileA(const char* path, DWORD access, DWORD, void*, DWORD disposition, DWORD flags,
                   HANDLE) {
    std::shared_ptr<Node> node = TheVolume().At(path);
    if (node && disposition == CREATE_NEW) {
        SetLastError(ERROR_FILE_EXISTS);
        return INVALID_HANDLE_VALUE;
    }
    if (!node && disposition != OPEN_EXISTING) {
        node = TheVolume().Make(path, FILE_ATTRIBUTE_NORMAL);
    }
    if (!node) {
        return INVALID_HANDLE_VALUE;
    }
    const bool mayWrite = (access & GENERIC_WRITE) != 0;
    if ((node->IsFolder() && (flags & FILE_FLAG_BACKUP_SEMANTICS) == 0) ||
        (mayWrite && (node->attributes & FILE_ATTRIBUTE_READONLY) != 0)) {
        SetLastError(ERROR_ACCESS_DENIED);
        return INVALID_HANDLE_VALUE;
    }
    if (disposition == CREATE_ALWAYS) {
        node->bytes.clear();
    }
    return new OpenFile{node, path, (access & GENERIC_READ) != 0, mayWrite,
                        (flags & FILE_FLAG_DELETE_ON_CLOSE) != 0};
}

HANDLE CreateFileW(const wchar_t* path, DWORD access, DWORD share, void* security,
                   DWORD disposition, DWORD flags, HANDLE like) {
    return CreateFileA(Narrow(path).c_str(), access, share, security, disposition, flags, like);
}

BOOL CloseHandle(HANDLE file) {
    const std::unique_ptr<OpenFile> closed(&Opened(file));
    return !closed->isDeletedWhenClosed ||
           TheVolume().Remove(closed->path.c_str(), closed->node->IsFolder());
}

BOOL ReadFile(HANDLE file, void* bytes, DWORD count, DWORD* done, OVERLAPPED* at) {
    OpenFile& open = Opened(file);
    const std::string& all = open.node->bytes;
    const std::size_t place = at != nullptr ? at->Offset : open.place;
    *done = 0;
    if (!open.mayRead || (at != nullptr && place >= all.size() && count > 0)) {
        SetLastError(open.mayRead ? ERROR_HANDLE_EOF : ERROR_ACCESS_DENIED);
        return FALSE;
    }
    if (place < all.size()) {
        *done = static_cast<DWORD>(all.copy(static_cast<char*>(bytes), count, place));
    }
    open.place = place + *done;
    return TRUE;
}

BOOL WriteFile(HANDLE file, const void* bytes, DWORD count, DWORD* done, OVERLAPPED* at) {
    OpenFile& open = Opened(file);
    std::string& all = open.node->bytes;
    const std::size_t place = at != nullptr ? at->Offset : open.place;
    *done = 0;
    if (!open.mayWrite || place > mostBytes || count > mostBytes - place) {
        SetLastError(open.mayWrite ? ERROR_DISK_FULL : ERROR_ACCESS_DENIED);
        return FALSE;
    }
    if (count > 0) {
        all.resize(std::max<std::size_t>(all.size(), place + count));
        std::memcpy(all.data() + place, bytes, count);
    }
    open.node->written = NextTime();
    *done = count;
    open.place = place + count;
    return TRUE;
}

BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER to, LARGE_INTEGER*, DWORD) {
    if (to.QuadPart < 0 || to.QuadPart > 0x7FFFFFFF) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    Opened(file).place = static_cast<std::size_t>(to.QuadPart);
    return TRUE;
}

BOOL SetEndOfFile(HANDLE file) {
    OpenFile& open = Opened(file);
    if (!open.mayWrite || open.place > mostBytes) {
        SetLastError(open.mayWrite ? ERROR_DISK_FULL : ERROR_ACCESS_DENIED);
        return FALSE;
    }
    open.node->bytes.resize(open.place);
    open.node->written = NextTime();
    return TRUE;
}

BOOL GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) {
    size->QuadPart = static_cast<LONGLONG>(Opened(file).node->bytes.size());
    return TRUE;
}

DWORD GetFileType(HANDLE) {
    return FILE_TYPE_DISK;
}

BOOL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* information) {
    *information = {};
    Describe(*Opened(file).node, *information);
    return TRUE;
}

BOOL DeleteFileA(const char* path) {
    return TheVolume().Remove(path, false);
}

BOOL DeleteFileW(const wchar_t* path) {
    return DeleteFileA(Narrow(path).c_str());
}

BOOL MoveFileA(const char* from, const char* to) {
    return TheVolume().Move(from, to);
}

BOOL CopyFileA(const char* from, const char* to, BOOL failIfExists) {
    const std::shared_ptr<Node> source = TheVolume().At(from);
    std::shared_ptr<Node> target = source ? TheVolume().At(to) : nullptr;
    if (!source || source->IsFolder() || (target && (target->IsFolder() || failIfExists))) {
        if (source) {
            SetLastError(target && failIfExists ? ERROR_FILE_EXISTS : ERROR_ACCESS_DENIED);
        }
        return FALSE;
    }
    if (!target) {
        target = TheVolume().Make(to, source->attributes);
    }
    if (target) {
        target->bytes = source->bytes;
        target->written = source->written;
    }
    return target != nullptr;
}

BOOL CreateDirectoryA(const char* path, void*) {
    return TheVolume().Make(path, FILE_ATTRIBUTE_DIRECTORY) != nullptr;
}

BOOL CreateDirectoryW(const wchar_t* path, void* security) {
    return CreateDirectoryA(Narrow(path).c_str(), security);
}

BOOL RemoveDirectoryA(const char* path) {
    return TheVolume().Remove(path, true);
}

BOOL RemoveDirectoryW(const wchar_t* path) {
    return RemoveDirectoryA(Narrow(path).c_str());
}

DWORD GetFileAttributesA(const char* path) {
    const std::shared_ptr<Node> node = TheVolume().At(path);
    return node ? node->attributes : INVALID_FILE_ATTRIBUTES;
}

DWORD GetFileAttributesW(const wchar_t* path) {
    return GetFileAttributesA(Narrow(path).c_str());
}

BOOL GetFileAttributesExA(const char* path, GET_FILEEX_INFO_LEVELS, void* data) {
    const std::shared_ptr<Node> node = TheVolume().At(path);
    auto& described = *static_cast<WIN32_FILE_ATTRIBUTE_DATA*>(data);
    described = {};
    if (node) {
        Describe(*node, described);
    }
    return node != nullptr;
}

BOOL SetFileAttributesA(const char* path, DWORD attributes) {
    const std::shared_ptr<Node> node = TheVolume().At(path);
    if (node) {
        node->attributes = attributes | (node->attributes & FILE_ATTRIBUTE_DIRECTORY);
    }
    return node != nullptr;
}

BOOL SetFileAttributesW(const wchar_t* path, DWORD attributes) {
    return SetFileAttributesA(Narrow(path).c_str(), attributes);
}

HANDLE FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* found) {
    const std::string path = WholePath(pattern);
    const std::string folder = FolderOf(path);
    if (!TheVolume().IsFolder(folder)) {
        SetLastError(ERROR_PATH_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    const std::string names = UpperCase(NameOf(path));
    auto search = std::make_unique<Search>();
    for (const char* itself : {".", ".."}) {
        if (names == "*" || names == "*.*") {
            search->found.push_back(std::make_shared<Node>(Node{itself, FILE_ATTRIBUTE_DIRECTORY}));
        }
    }
    for (const auto& node : TheVolume().Within(folder)) {
        if (names == "*.*" || Matches(names, UpperCase(node->name))) {
            search->found.push_back(node);
        }
    }
    if (FindNextFileA(search.get(), found) == 0) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return INVALID_HANDLE_VALUE;
    }
    return search.release();
}

HANDLE FindFirstFileW(const wchar_t* pattern, WIN32_FIND_DATAW* found) {
    WIN32_FIND_DATAA narrow;
    const HANDLE search = FindFirstFileA(Narrow(pattern).c_str(), &narrow);
    if (search != INVALID_HANDLE_VALUE) {
        --static_cast<Search*>(search)->next;
        FindNextFileW(search, found);
    }
    return search;
}

BOOL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* found) {
    auto& listing = *static_cast<Search*>(search);
    if (listing.next == listing.found.size()) {
        SetLastError(ERROR_NO_MORE_FILES);
        return FALSE;
    }
    const Node& node = *listing.found[listing.next++];
    *found = {};
    Describe(node, *found);
    node.name.copy(found->cFileName, sizeof found->cFileName - 1);
    return TRUE;
}

BOOL FindNextFileW(HANDLE search, WIN32_FIND_DATAW* found) {
    WIN32_FIND_DATAA narrow;
    if (FindNextFileA(search, &narrow) == 0) {
        return FALSE;
    }
    *found = {};
    found->dwFileAttributes = narrow.dwFileAttributes;
    MultiByteToWideChar(CP_ACP, 0, narrow.cFileName, -1, found->cFileName, MAX_PATH);
    return TRUE;
}

BOOL FindClose(HANDLE search) {
    const std::unique_ptr<Search> closed(static_cast<Search*>(search));
    return TRUE;
}

DWORD GetTempPathA(DWORD room, char* out) {
    return PutPath(std::string(tempFolder) + '\\', out, room);
}

DWORD GetTempPathW(DWORD room, wchar_t* out) {
    return PutPath(std::string(tempFolder) + '\\', out, room);
}

DWORD GetCurrentDirectoryA(DWORD room, char* out) {
    return PutPath(workFolder, out, room);
}

DWORD GetLongPathNameA(const char* path, char* out, DWORD room) {
    return PutPath(TheVolume().Named(path), out, room);
}

DWORD GetLongPathNameW(const wchar_t* path, wchar_t* out, DWORD room) {
    return PutPath(TheVolume().Named(Narrow(path).c_str()), out, room);
}

DWORD GetShortPathNameA(const char* path, char* out, DWORD room) {
    return GetLongPathNameA(path, out, room); // as on a volume without short names
}

DWORD GetShortPathNameW(const wchar_t* path, wchar_t* out, DWORD room) {
    return GetLongPathNameW(path, out, room);
}

DWORD QueryDosDeviceA(const char* name, char* out, DWORD room) {
    if (UpperCase(name) != "C:") {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return 0;
    }
    return PutPath("\\Device\\Memory", out, room);
}

BOOL FileTimeToLocalFileTime(const FILETIME* time, FILETIME* local) {
    *local = *time;
    return TRUE;
}
