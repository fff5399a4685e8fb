#include "testhost/engine/ScratchFolder.h"

#include <stdexcept>

#include <windows.h>

namespace {
// Removes what is in a folder, locked files too, then the folder. The path ends with a backslash.
void RemoveFolder(const std::string& folder) {
    WIN32_FIND_DATAA found{};
    void* const search = FindFirstFileA((folder + "*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::string name = found.cFileName;
            const std::string item = folder + name;
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                SetFileAttributesA(item.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileA(item.c_str());
            } else if ((found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
                RemoveDirectoryA(item.c_str()); // a link: what it leads to stays
            } else if (name != "." && name != "..") {
                RemoveFolder(item + "\\");
            }
        } while (FindNextFileA(search, &found) != 0);
        FindClose(search);
    }
    RemoveDirectoryA(folder.c_str());
}
} // namespace

ScratchFolder::~ScratchFolder() {
    if (!path.empty()) {
        RemoveFolder(path);
    }
}

const std::string& ScratchFolder::Path() {
    const std::string start =
        TemporaryFolder() + "testhost-" + std::to_string(GetCurrentProcessId()) + "-";
    for (unsigned number = 1; path.empty(); ++number) {
        const std::string folder = start + std::to_string(number);
        // One of the name may be left over from a process that crashed.
        if (CreateDirectoryA(folder.c_str(), nullptr) != 0) {
            path = folder + "\\";
        } else if (GetLastError() != ERROR_ALREADY_EXISTS) {
            throw std::runtime_error("the folder " + folder + " cannot be made");
        }
    }
    return path;
}

std::string ScratchFolder::Inside(const std::string& name) {
    const std::string folder = Path() + name;
    CreateDirectoryA(folder.c_str(), nullptr);
    return folder + "\\";
}

std::string TemporaryFolder() {
    char given[MAX_PATH + 1] = "";
    GetTempPathA(sizeof given, given);
    char longForm[MAX_PATH] = "";
    const DWORD length = GetLongPathNameA(given, longForm, sizeof longForm);
    std::string folder = length > 0 && length < sizeof longForm ? longForm : given;
    if (!folder.ends_with('\\')) {
        folder += '\\';
    }
    return folder;
}
