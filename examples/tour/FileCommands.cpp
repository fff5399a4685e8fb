#include "data/Stream.h"
#include "examples/tour/Tour.h"
#include "platform/Toolbox.h"

namespace {

/// Goes on with `next` while everything before it went well.
template <typename Next>
void Then(OSErr& error, Next next) {
    if (error == 0) {
        error = next();
    }
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
        Then(error, [&] { return file.Read(params[1].GetLongPtr()); });
        Then(error, [&] { return file.Read(params[2].GetShortPtr()); });
        Then(error, [&] { return file.Read(params[3].GetDate4DPtr()); });
        Then(error, [&] { return file.Read(params[4].GetStringPtr(), 1); });
        Then(error, [&] { return file.Read(params[5].GetCTextBlockPtr(), 1); });
        Then(error, [&] { return file.Read(params[6].GetHandlePtr(), 1); });
    }
    result->SetShort(error);
}

} // namespace Tour
