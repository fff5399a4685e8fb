#include "testhost/toolbox/files/OpenFiles.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/files/FileSystem.h"
#include "testhost/toolbox/files/Paths.h"
#include "testhost/toolbox/memory/Heap.h"

#include <algorithm>
#include <climits>
#include <utility>

#include <windows.h>

namespace {

constexpr std::size_t mostFiles = 348;

WindowsFile OpenInWindows(const std::string& path, bool writes) {
    const DWORD access = writes ? GENERIC_READ | GENERIC_WRITE : GENERIC_READ;
    // Who may open it besides is decided by our own table; other programs may read and write.
    return WindowsFile(CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                   nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

/// Says Windows where in the file to read or write.
OVERLAPPED At(long offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset);
    return place;
}

} // namespace

WindowsFile::WindowsFile(void* windowsHandle)
    : handle(windowsHandle == INVALID_HANDLE_VALUE ? nullptr : windowsHandle) {}

bool WindowsFile::Close() {
    return CloseHandle(handle.release());
}

void WindowsFile::Closer::operator()(void* windowsHandle) const {
    CloseHandle(windowsHandle);
}

OSErr DataFork::GetSize(long* size) const {
    LARGE_INTEGER found{};
    if (!GetFileSizeEx(file.Get(), &found)) {
        return FileResult(GetLastError());
    }
    *size = static_cast<long>(std::min<long long>(found.QuadPart, LONG_MAX));
    return ResultCode::NoError;
}

OSErr DataFork::SetSize(long size) {
    LARGE_INTEGER wanted{};
    wanted.QuadPart = size;
    if (!SetFilePointerEx(file.Get(), wanted, nullptr, FILE_BEGIN) || !SetEndOfFile(file.Get())) {
        return FileResult(GetLastError());
    }
    mark = std::min(mark, size);
    return ResultCode::NoError;
}

OSErr DataFork::Read(void* buffer, long count, long* done) {
    if (count == 0) {
        return ResultCode::NoError; // even at the end, where Windows finds fault
    }
    OVERLAPPED place = At(mark);
    DWORD bytes = 0;
    if (!ReadFile(file.Get(), buffer, static_cast<DWORD>(count), &bytes, &place)) {
        const DWORD error = GetLastError();
        return error == ERROR_HANDLE_EOF ? ResultCode::EndOfData : FileResult(error);
    }
    *done = static_cast<long>(bytes);
    mark += *done;
    return *done < count ? ResultCode::EndOfData : ResultCode::NoError;
}

OSErr DataFork::Write(const void* buffer, long count, long* done) {
    if (count > LONG_MAX - mark) {
        return ResultCode::DiskFull;
    }
    OVERLAPPED place = At(mark);
    DWORD bytes = 0;
    const bool written =
        WriteFile(file.Get(), buffer, static_cast<DWORD>(count), &bytes, &place) != 0;
    const DWORD error = GetLastError();
    *done = static_cast<long>(bytes);
    mark += *done;
    if (!written) {
        return FileResult(error);
    }
    return *done < count ? ResultCode::DiskFull : ResultCode::NoError;
}

OpenFiles& TheOpenFiles() {
    static OpenFiles files;
    return files;
}

OSErr OpenFiles::Open(const std::string& path, char permission, short* refNum) {
    const bool whatIsAllowed = permission == FilePermission::Current;
    if (files.size() >= mostFiles) {
        return ResultCode::TooManyFiles;
    }
    const DWORD attributes = GetFileAttributesA(path.c_str());
    if (attributes == INVALID_FILE_ATTRIBUTES) {
        return FileResult(GetLastError());
    }
    if (attributes & FILE_ATTRIBUTE_DIRECTORY) {
        return ResultCode::FileNotFound;
    }
    DataFork opened;
    opened.path = path;
    opened.key = FileKey(path);
    opened.shared = permission == FilePermission::Shared;
    opened.writeRefusal = ResultCode::NoWritePermission;
    if (permission != FilePermission::Read) {
        const OSErr objection = ObjectionToWriting(opened.key, attributes, opened.shared);
        if (objection && !whatIsAllowed) {
            return objection;
        }
        opened.file = objection ? WindowsFile() : OpenInWindows(path, true);
        if (opened.file) {
            opened.writeRefusal = ResultCode::NoError;
        } else if (!whatIsAllowed) {
            return FileResult(GetLastError());
        } else if (attributes & FILE_ATTRIBUTE_READONLY) {
            opened.writeRefusal = ResultCode::FileLocked;
        }
    }
    if (!opened.file) {
        opened.file = OpenInWindows(path, false);
    }
    if (!opened.file) {
        return FileResult(GetLastError());
    }
    *refNum = FreshNumber();
    opened.openedAt = TheHeap().here;
    opened.serial = ++TheHeap().serial;
    files[*refNum] = std::move(opened);
    return ResultCode::NoError;
}

OSErr OpenFiles::ObjectionToWriting(const std::string& key, unsigned long attributes,
                                    bool shared) const {
    if (attributes & FILE_ATTRIBUTE_READONLY) {
        return ResultCode::NoPermission;
    }
    const bool taken = std::any_of(files.begin(), files.end(), [&](const auto& item) {
        const DataFork& other = item.second;
        return other.key == key && !other.writeRefusal && !(other.shared && shared);
    });
    return taken ? ResultCode::OpenForWriting : ResultCode::NoError;
}

short OpenFiles::FreshNumber() {
    constexpr short last = SHRT_MAX - 1; // plug-ins like to keep SHRT_MAX where no file is open
    do {
        lastNumber = lastNumber == last ? short{1} : static_cast<short>(lastNumber + 1);
    } while (files.contains(lastNumber));
    closed.erase(lastNumber);
    return lastNumber;
}

OSErr OpenFiles::Find(short refNum, DataFork** file) {
    const auto found = files.find(refNum);
    if (found == files.end()) {
        return ResultCode::BadFileNumber;
    }
    *file = &found->second;
    return ResultCode::NoError;
}

OSErr OpenFiles::Close(short refNum) {
    const auto found = files.find(refNum);
    if (found == files.end()) {
        if (const auto former = closed.find(refNum); former != closed.end()) {
            TheHeap().problems.Add("FSClose: file %d was already closed%s", refNum,
                                   former->second.Under().c_str());
        }
        return ResultCode::BadFileNumber;
    }
    WindowsFile file = std::move(found->second.file);
    files.erase(found);
    closed[refNum] = TheHeap().here;
    if (FailsNow() || !file.Close()) {
        return ResultCode::InputOutput;
    }
    return ResultCode::NoError;
}

bool OpenFiles::IsAnyOpen(const std::string& key) const {
    return std::any_of(files.begin(), files.end(),
                       [&](const auto& item) { return IsAtOrIn(item.second.key, key); });
}

void OpenFiles::Reset() {
    for (const auto& [number, file] : files) {
        closed[number] = {};
    }
    files.clear();
    failCountdown = 0;
    lastNumber = 0;
}
