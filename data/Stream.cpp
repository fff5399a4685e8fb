#include "data/Stream.h"

#include "data/blocks/Handles.h"
#include "platform/Compiler.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

namespace {

static_assert(std::endian::native == std::endian::little);

/// BlockMove for bytes that are there. Most of what streams hold are numbers: those are not worth a
/// call.
void MoveBytes(const void* source, void* target, long count) {
    if (count == sizeof(long)) {
        std::memmove(target, source, sizeof(long));
    } else {
        BlockMove(source, target, count);
    }
}

template <typename Number>
OSErr WriteNumber(CStream& stream, Number value) {
    Number stored = SwapBytes(value);
    return stream.WriteData(&stored, sizeof stored);
}

/// Stores 0 when the stream does not hold the whole number.
template <typename Number>
OSErr ReadNumber(CStream& stream, Number* value) {
    Number stored = 0;
    const OSErr error = stream.ReadData(&stored, sizeof stored);
    *value = error == ResultCode::NoError ? SwapBytes(stored) : Number{0};
    return error;
}

} // namespace

OSErr CStream::Write(long value) {
    return WriteNumber(*this, value);
}

OSErr CStream::Read(long* value) {
    return ReadNumber(*this, value);
}

OSErr CStream::Write(short value) {
    return WriteNumber(*this, value);
}

OSErr CStream::Read(short* value) {
    return ReadNumber(*this, value);
}

OSErr CStream::Read(DateBlock* date) {
    DateBlock stored{};
    const OSErr error = ReadData(&stored, sizeof stored);
    *date = error == ResultCode::NoError ? stored : DateBlock{};
    return error;
}

OSErr CStream::Write(unsigned char* string, unsigned char align) {
    const OSErr error = WriteData(string, string[0] + 1);
    return error == ResultCode::NoError && align != 0 ? WriteWordAlign() : error;
}

OSErr CStream::Read(unsigned char* string, unsigned char align) {
    unsigned char length = 0;
    OSErr error = ReadData(&length, sizeof length);
    if (error != ResultCode::NoError) {
        return error;
    }
    std::fill_n(string + 1, length, static_cast<unsigned char>(0));
    if (length > 0) {
        error = ReadData(string + 1, length);
    }
    // After a short read only the bytes themselves show how many came.
    while (error != ResultCode::NoError && length > 0 && string[length] == 0) {
        --length;
    }
    string[0] = length;
    return error == ResultCode::NoError && align != 0 ? ReadWordAlign() : error;
}

namespace {

/// A handle that is locked while its bytes are written or read.
class LockedBytes {
  public:
    explicit LockedBytes(Handle itsHandle) : handle(itsHandle) { HLock(handle); }
    ~LockedBytes() { HUnlock(handle); }
    LockedBytes(const LockedBytes&) = delete;
    LockedBytes& operator=(const LockedBytes&) = delete;
    char* From(long offset) const { return *handle + offset; }

  private:
    Handle handle;
};

} // namespace

OSErr CStream::WriteLocked(Handle source, long length) {
    return length > 0 ? WriteData(LockedBytes(source).From(0), length) : OSErr{ResultCode::NoError};
}

OSErr CStream::ReadLocked(Handle target, long offset, long length) {
    return length > 0 ? ReadData(LockedBytes(target).From(offset), length)
                      : OSErr{ResultCode::NoError};
}

/// Resizes, or makes, a handle and fills it. It grows in steps, each of them as large as what has
/// come so far: a stored size that lies costs no more memory than the stream has data.
OSErr CStream::ReadInSteps(Handle* handle, long size) {
    constexpr long SmallestStep = CTextBlock::MaxLength;
    long done = 0;
    OSErr error = ResultCode::NoError;
    do {
        const long step = std::min(size - done, std::max(done, SmallestStep));
        error = ResizeOrNewHandle(handle, static_cast<unsigned long>(done + step));
        if (error == ResultCode::NoError) {
            error = ReadLocked(*handle, done, step);
        }
        done += step;
    } while (error == ResultCode::NoError && done < size);
    return error;
}

OSErr CStream::Write(CTextBlock* text, unsigned char align) {
    Handle const bytes = text->GetHandle();
    // A host's record may hold more than a text of ours, which is what will be read.
    const long most = std::min<long>(SizeIfThere(bytes), CTextBlock::MaxLength);
    const auto length = static_cast<short>(std::clamp<long>(text->GetLength(), 0, most));
    OSErr error = Write(length);
    if (error == ResultCode::NoError) {
        error = WriteLocked(bytes, length);
    }
    return error == ResultCode::NoError && align != 0 ? WriteWordAlign() : error;
}

OSErr CStream::Read(CTextBlock* text, unsigned char align) {
    short length = 0;
    OSErr error = Read(&length);
    if (error != ResultCode::NoError) {
        return error;
    }
    if (length < 0 || length > CTextBlock::MaxLength) {
        error = ResultCode::BadParameter;
    } else {
        error = static_cast<OSErr>(text->SetLength(length));
    }
    if (error == ResultCode::NoError) {
        error = ReadLocked(text->GetHandle(), 0, length); // one step is enough for any text
    }
    if (error != ResultCode::NoError) {
        text->SetLength(0);
        return error;
    }
    return align != 0 ? ReadWordAlign() : error;
}

OSErr CStream::Write(char** handle, unsigned char align) {
    const long size = SizeIfThere(handle);
    OSErr error = Write(size);
    if (error == ResultCode::NoError) {
        error = WriteLocked(handle, size);
    }
    return error == ResultCode::NoError && align != 0 ? WriteWordAlign() : error;
}

OSErr CStream::Read(char*** handle, unsigned char align) {
    long size = 0;
    OSErr error = Read(&size);
    if (error != ResultCode::NoError) {
        return error;
    }
    const bool isNew = *handle == nullptr;
    error = size < 0 ? ResultCode::BadParameter : ReadInSteps(handle, size);
    if (error == ResultCode::NoError) {
        return align != 0 ? ReadWordAlign() : error;
    }
    if (isNew) {
        DisposeIfThere(std::exchange(*handle, nullptr));
    } else {
        SetHandleSize(*handle, 0);
    }
    return error;
}

bool CStream::IsAtOddPosition() {
    return GetPosition() % 2 == 1;
}

OSErr CStream::WriteWordAlign() {
    if (IsAtOddPosition()) {
        char padding = 0;
        WriteData(&padding, 1);
    }
    return ResultCode::NoError;
}

OSErr CStream::ReadWordAlign() {
    if (IsAtOddPosition()) {
        char padding = 0;
        ReadData(&padding, 1);
    }
    return ResultCode::NoError;
}

CHandleStream::CHandleStream(char** streamHandle, long growth)
    : handle(streamHandle), growthSize(growth) {
    if (handle != nullptr) {
        dataSize = GetHandleSize(handle);
        savedState = HGetState(handle);
        HNoPurge(handle);
    }
}

CHandleStream::~CHandleStream() {
    if (handle != nullptr) {
        Settle();
        CHandleStream::SetSize(position);
        HSetState(handle, savedState);
    }
}

OSErr CHandleStream::SetPosition(long newPosition) {
    if (newPosition < 0) {
        return ResultCode::BadPosition;
    }
    if (newPosition > dataSize) {
        return ResultCode::EndOfData;
    }
    position = newPosition;
    return ResultCode::NoError;
}

OSErr CHandleStream::SetSize(long size) {
    if (handle == nullptr) {
        return ResultCode::NullHandle;
    }
    SetHandleSize(handle, size);
    const OSErr error = MemError();
    if (error == ResultCode::NoError) {
        position = std::min(position, size);
        dataSize = std::min(dataSize, size);
    }
    return error;
}

/// The handle is the caller's, who may have made it smaller meanwhile.
void CHandleStream::Settle() {
    if (handle == nullptr) {
        return;
    }
    const long handleSize = GetHandleSize(handle);
    if (handleSize < dataSize) {
        dataSize = handleSize;
        position = std::min(position, dataSize);
    }
}

long CHandleStream::GrowthSize(long need) const {
    return std::max(need, growthSize);
}

OSErr CHandleStream::WriteData(void* data, long count) {
    if (count < 0 || (data == nullptr && count > 0)) {
        return ResultCode::BadParameter;
    }
    Settle();
    // Deliberate: each write past the data grows the handle anew, even where it already is large
    // enough; its size between writes is part of what callers see.
    const long room = dataSize - position;
    if (count > room) {
        const long long size = static_cast<long long>(dataSize) + GrowthSize(count - room);
        if (size > std::numeric_limits<long>::max()) {
            return ResultCode::MemoryFull;
        }
        const OSErr error = SetSize(static_cast<long>(size));
        if (error != ResultCode::NoError) {
            return error;
        }
        // A SetSize of a derived class may have made something else of it.
        if (GetHandleSize(handle) - position < count) {
            return ResultCode::MemoryFull;
        }
    }
    if (count > 0) {
        MoveBytes(data, *handle + position, count);
        position += count;
        dataSize = std::max(dataSize, position);
    }
    return ResultCode::NoError;
}

OSErr CHandleStream::ReadData(void* buffer, long count) {
    if (count < 0 || (buffer == nullptr && count > 0)) {
        return ResultCode::BadParameter;
    }
    if (count == 0) {
        return ResultCode::NoError;
    }
    if (handle == nullptr) {
        return ResultCode::NullHandle;
    }
    Settle();
    const long taken = std::min(dataSize - position, count);
    if (taken > 0) {
        MoveBytes(*handle + position, buffer, taken);
        position += taken;
    }
    return taken < count ? ResultCode::EndOfData : ResultCode::NoError;
}

CFileStream::CFileStream(unsigned char* path) {
    FSSpec file = {};
    OSErr error = FSMakeFSSpec(0, 0, path, &file);
    if (error == ResultCode::FileNotFound) {
        error = FSpCreate(&file, 0, 0, 0);
    }
    short opened = NotOpen;
    if (error == ResultCode::NoError &&
        FSpOpenDF(&file, FilePermission::ReadWrite, &opened) == ResultCode::NoError) {
        refNum = opened;
    }
}

CFileStream::~CFileStream() {
    if (IsOpen()) {
        FSClose(refNum);
    }
}

long CFileStream::GetPosition() {
    long position = 0;
    GetFPos(refNum, &position);
    return position;
}

OSErr CFileStream::SetPosition(long position) {
    return SetFPos(refNum, FilePosition::FromStart, position);
}

long CFileStream::GetSize() {
    long size = 0;
    GetEOF(refNum, &size);
    return size;
}

OSErr CFileStream::SetSize(long size) {
    return SetEOF(refNum, size);
}

OSErr CFileStream::WriteData(void* data, long count) {
    return FSWrite(refNum, &count, data);
}

OSErr CFileStream::ReadData(void* buffer, long count) {
    return FSRead(refNum, &count, buffer);
}
