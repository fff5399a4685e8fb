#include "recorder/OutputFile.h"

#include "testhost/values/Encodings.h"

#include <cstring>

#include <windows.h>

namespace {
constexpr std::uint64_t leftFree = 64ULL * 1024 * 1024; // on the disk, for everybody else
constexpr std::uint64_t lookEvery = 4ULL * 1024 * 1024;
constexpr std::size_t roomForEnd = 256;

std::string TextChunk(Recording::Chunk chunk, const std::string& text) {
    const Recording::ChunkHead head{static_cast<std::uint32_t>(text.size()), chunk, {}, 0};
    std::string bytes(sizeof head, '\0');
    std::memcpy(bytes.data(), &head, sizeof head);
    return bytes + text;
}
} // namespace

void TellDebugger(const std::string& sentence) {
    OutputDebugStringA(NearestAnsi(FromUtf8("Recorder: " + sentence + "\r\n")).c_str());
}

bool OutputFile::Create(const std::wstring& path, std::uint64_t limit) {
    HANDLE const made = CreateFileW(path.c_str(), GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (made == INVALID_HANDLE_VALUE) {
        return false;
    }
    file = made;
    folder = path.substr(0, path.find_last_of(L'\\') + 1);
    sizeLimit = limit;
    return true;
}

// Whether so many bytes may follow; says in the file why not.
bool OutputFile::HasRoomFor(std::size_t size) {
    if (written + size + roomForEnd > sizeLimit) {
        WriteText(Recording::Chunk::End, "The recording has reached its limit of " +
                                             std::to_string(sizeLimit / 1024 / 1024) +
                                             " MB: what followed is not in it.");
        return false;
    }
    if (written + size < nextLook) {
        return true;
    }
    nextLook = written + size + lookEvery;
    ULARGE_INTEGER free{};
    if (GetDiskFreeSpaceExW(folder.c_str(), &free, nullptr, nullptr) != 0 &&
        free.QuadPart < leftFree + lookEvery + size) {
        WriteText(Recording::Chunk::End,
                  "The disk is nearly full: what followed is not in the recording.");
        return false;
    }
    return true;
}

void OutputFile::Write(const void* bytes, std::size_t size) {
    if (IsOpen() && HasRoomFor(size) && !WriteAll(bytes, size)) {
        TellDebugger("the recording could not be written to its end, what follows is not in it.");
        Close();
    }
}

void OutputFile::WriteText(Recording::Chunk chunk, const std::string& text) {
    const std::string bytes = TextChunk(chunk, text);
    if (chunk != Recording::Chunk::End) {
        return Write(bytes.data(), bytes.size());
    }
    if (IsOpen()) {
        WriteAll(bytes.data(), bytes.size());
        Close();
    }
}

bool OutputFile::WriteAll(const void* bytes, std::size_t size) {
    DWORD done = 0;
    const bool isWhole =
        WriteFile(file, bytes, static_cast<DWORD>(size), &done, nullptr) != 0 && done == size;
    written += done;
    return isWhole;
}

void OutputFile::Close() {
    if (IsOpen()) {
        CloseHandle(file);
        file = nullptr;
    }
}
