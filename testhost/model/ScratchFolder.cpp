#include "testhost/model/ScratchFolder.h"

#include "testhost/values/Encodings.h"

#include <iterator>
#include <stdexcept>

#include <windows.h>

namespace {
// Removes what is in a folder, locked files too, then the folder. The path ends with a backslash.
void RemoveFolder(const std::wstring& folder) {
    WIN32_FIND_DATAW found{};
    void* const search = FindFirstFileW((folder + L"*").c_str(), &found);
    if (search != INVALID_HANDLE_VALUE) {
        do {
            const std::wstring name = found.cFileName;
            const std::wstring item = folder + name;
            if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
                SetFileAttributesW(item.c_str(), FILE_ATTRIBUTE_NORMAL);
                DeleteFileW(item.c_str());
            } else if ((found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
                RemoveDirectoryW(item.c_str()); // a link: what it leads to stays
            } else if (name != L"." && name != L"..") {
                RemoveFolder(item + L"\\");
            }
        } while (FindNextFileW(search, &found) != 0);
        FindClose(search);
    }
    RemoveDirectoryW(folder.c_str());
}
} // namespace

ScratchFolder::~ScratchFolder() {
    if (!path.empty()) {
        RemoveFolder(FromAnsi(path));
    }
}

const std::string& ScratchFolder::Path() {
    if (!path.empty()) {
        return path;
    }
    const std::wstring start =
        FromAnsi(TemporaryFolder()) + L"testhost-" + std::to_wstring(GetCurrentProcessId()) + L"-";
    for (unsigned number = 1; path.empty(); ++number) {
        const std::wstring folder = start + std::to_wstring(number);
        // One of the name may be left over from a process that crashed.
        if (CreateDirectoryW(folder.c_str(), nullptr) != 0) {
            path = Ansi(folder) + "\\";
        } else if (GetLastError() != ERROR_ALREADY_EXISTS) {
            throw std::runtime_error("the folder " + Shown(folder) + " cannot be made");
        }
    }
    return path;
}

std::string ScratchFolder::Inside(const std::string& name) {
    const std::string folder = Path() + name;
    CreateDirectoryW(FromAnsi(folder).c_str(), nullptr);
    return folder + "\\";
}

std::string TemporaryFolder() {
    wchar_t given[MAX_PATH + 1] = L"";
    GetTempPathW(std::size(given), given);
    wchar_t longForm[MAX_PATH] = L"";
    const DWORD length = GetLongPathNameW(given, longForm, std::size(longForm));
    std::wstring folder = length > 0 && length < std::size(longForm) ? longForm : given;
    if (!folder.ends_with(L'\\')) {
        folder += L'\\';
    }
    return Ansi(folder);
}
