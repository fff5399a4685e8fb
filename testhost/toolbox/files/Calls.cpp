#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/files/Catalog.h"
#include "testhost/toolbox/files/OpenFiles.h"

#include <algorithm>
#include <utility>

// The toolbox's calls on open files. Each checks its arguments, then counts as one call that a test
// can make fail.

namespace {

/// The open file, unless this call has to fail.
OSErr Find(short refNum, DataFork** file) {
    if (const OSErr error = TheOpenFiles().Find(refNum, file)) {
        return error;
    }
    return TheOpenFiles().FailsNow() ? ResultCode::InputOutput : ResultCode::NoError;
}

/// The same for a call that writes.
OSErr FindWritable(short refNum, DataFork** file) {
    if (const OSErr error = Find(refNum, file)) {
        return error;
    }
    return (*file)->writeRefusal;
}

/// Takes the number of bytes wanted out of `count`, which is 0 from then on; negative when the
/// arguments are not usable.
long TakeCount(long* count, const void* buffer) {
    if (!count) {
        return -1;
    }
    const long wanted = std::exchange(*count, 0);
    return wanted > 0 && !buffer ? -1 : wanted;
}

} // namespace

OSErr FSpOpenDF(const FSSpec* spec, char permission, short* refNum) {
    if (!refNum) {
        return ResultCode::BadParameter;
    }
    *refNum = 0;
    if (permission < FilePermission::Current || permission > FilePermission::Shared) {
        return ResultCode::BadParameter;
    }
    std::string path;
    const OSErr error = FindPath(spec, &path);
    return error ? error : TheOpenFiles().Open(path, permission, refNum);
}

OSErr FSRead(short refNum, long* count, void* buffer) {
    const long wanted = TakeCount(count, buffer);
    DataFork* file = nullptr;
    if (wanted < 0) {
        return ResultCode::BadParameter;
    }
    const OSErr error = Find(refNum, &file);
    return error ? error : file->Read(buffer, wanted, count);
}

OSErr FSWrite(short refNum, long* count, const void* buffer) {
    const long wanted = TakeCount(count, buffer);
    DataFork* file = nullptr;
    if (wanted < 0) {
        return ResultCode::BadParameter;
    }
    const OSErr error = FindWritable(refNum, &file);
    return error ? error : file->Write(buffer, wanted, count);
}

OSErr SetEOF(short refNum, long size) {
    DataFork* file = nullptr;
    if (size < 0) {
        return ResultCode::BadParameter;
    }
    const OSErr error = FindWritable(refNum, &file);
    return error ? error : file->SetSize(size);
}

OSErr GetEOF(short refNum, long* size) {
    DataFork* file = nullptr;
    if (!size) {
        return ResultCode::BadParameter;
    }
    const OSErr error = Find(refNum, &file);
    return error ? error : file->GetSize(size);
}

OSErr SetFPos(short refNum, short mode, long offset) {
    DataFork* file = nullptr;
    if (mode < FilePosition::AtMark || mode > FilePosition::FromMark) {
        return ResultCode::BadParameter;
    }
    if (const OSErr error = Find(refNum, &file)) {
        return error;
    }
    long size = 0;
    if (const OSErr error = file->GetSize(&size)) {
        return error;
    }
    const long long bases[] = {file->mark, 0, size, file->mark};
    const long long position = bases[mode] + (mode == FilePosition::AtMark ? 0 : offset);
    if (position < 0) {
        return ResultCode::BadPosition;
    }
    file->mark = static_cast<long>(std::min<long long>(position, size));
    return position > size ? ResultCode::EndOfData : ResultCode::NoError;
}

OSErr GetFPos(short refNum, long* position) {
    DataFork* file = nullptr;
    if (!position) {
        return ResultCode::BadParameter;
    }
    if (const OSErr error = Find(refNum, &file)) {
        return error;
    }
    *position = file->mark;
    return ResultCode::NoError;
}

OSErr FSClose(short refNum) {
    return TheOpenFiles().Close(refNum);
}
