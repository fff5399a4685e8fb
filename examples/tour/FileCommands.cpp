#include "data/blocks/Handles.h"
#include "data/Stream.h"
#include "examples/tour/Tour.h"
#include "platform/Toolbox.h"
#include "shell/base/DebugTrace.h"
#include "shell/base/Strings.h"
#include "shell/files/FileSpecs.h"
#include "shell/files/NativePaths.h"
#include "shell/files/TemporaryFiles.h"

namespace {

/// Goes on with `next` while everything before it went well.
template <typename Next>
void Then(OSErr& error, Next next) {
    if (error == 0) {
        error = next();
    }
}

/// What says that a name is free: no failure for those who are about to make the file.
constexpr OSErr MissingYet = -43;
constexpr OSErr BadParameter = -50;

/// A file may hold anything, but a date of the host's is one or empty.
OSErr TakeDate(const DateBlock& date, CXParam& param) {
    const bool isEmpty = date.day == 0 && date.month == 0 && date.year == 0;
    if (!isEmpty && !Tour::IsDate(date)) {
        return BadParameter;
    }
    *param.GetDate4DPtr() = date;
    return 0;
}

/// Makes the file and writes the text into it.
OSErr WriteWhole(const FSSpec& file, CTextBlock& text) {
    short refNum = 0;
    OSErr error = FSpCreate(&file, 0x3F3F3F3F, 0x54455854, 0); // '????', 'TEXT'
    Then(error, [&] { return FSpOpenDF(&file, FilePermission::ReadWrite, &refNum); });
    if (error != 0) {
        return error;
    }
    const SHandleLocker lock(text.GetHandle());
    long count = text.GetLength();
    if (count > 0) {
        error = FSWrite(refNum, &count, *text.GetHandle());
    }
    const OSErr closed = FSClose(refNum);
    return error != 0 ? error : closed;
}

} // namespace

namespace Tour {

void SaveValues(CXParam* params, CXResult* result) {
    CFileStream file(params[0].GetStringPtr());
    DateBlock date;
    params[3].GetDate4D(date);
    OSErr error = file.SetSize(0);
    Then(error, [&] { return file.Write(params[1].GetLong()); });
    Then(error, [&] { return file.Write(params[2].GetShort()); });
    Then(error, [&] { return file.Write(&date); });
    Then(error, [&] { return file.Write(params[4].GetStringPtr(), 1); });
    Then(error, [&] { return file.Write(params[5].GetCTextBlockPtr(), 1); });
    Then(error, [&] { return file.Write(params[6].GetHandle(), 1); });
    result->SetShort(error);
}

void LoadValues(CXParam* params, CXResult* result) {
    // A file stream makes a file that is missing; to load from it would only hide the mistake.
    FSSpec spec;
    OSErr error = FSMakeFSSpec(0, 0, params[0].GetStringPtr(), &spec);
    if (error == 0) {
        CFileStream file(params[0].GetStringPtr());
        DateBlock date = {};
        Then(error, [&] { return file.Read(params[1].GetLongPtr()); });
        Then(error, [&] { return file.Read(params[2].GetShortPtr()); });
        Then(error, [&] { return file.Read(&date); });
        Then(error, [&] { return TakeDate(date, params[3]); });
        Then(error, [&] { return file.Read(params[4].GetStringPtr(), 1); });
        Then(error, [&] { return file.Read(params[5].GetCTextBlockPtr(), 1); });
        Then(error, [&] { return file.Read(params[6].GetHandlePtr(), 1); });
    }
    result->SetShort(error);
}

void WriteTextSafely(CXParam* params, CXResult* result) {
    // An empty path means the current folder, and a folder is not to be replaced by a file.
    const unsigned char* const path = params[0].GetStringPtr();
    FSSpec target;
    OSErr error = path[0] != 0 ? FSMakeFSSpec(0, 0, path, &target) : OSErr{BadParameter};
    unsigned char isFolder = 0;
    Then(error, [&] { return IsFolder(&target, &isFolder); });
    if (error == MissingYet) {
        error = 0;
    }
    if (isFolder != 0) {
        error = BadParameter;
    }
    FSSpec temporary = {};
    Then(error, [&] {
        const OSErr created = CreateSafeOutputFileSpec(&target, &temporary);
        return created == MissingYet ? OSErr{0} : created;
    });
    if (error == 0) {
        error = WriteWhole(temporary, *params[1].GetCTextBlockPtr());
        _DbgTraceVL(2, "new content written, result %d\n", error);
        error = CleanupSafeOutputFileSpec(error, &target, &temporary);
    }
    result->SetShort(error);
}

void LongPath(CXParam* params, CXResult* result) {
    char path[256];
    _CopyP2CStr(params[0].GetStringPtr(), path);
    char longPath[LongestPath + 1] = "";
    GetLongPathNameCompat(path, longPath, sizeof longPath);
    Str255 string;
    _CopyC2PStr(longPath, string);
    result->SetString(string);
}

} // namespace Tour
