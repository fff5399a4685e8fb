#include "testhost/toolbox/ResourceFiles.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <algorithm>

ResourceFiles& TheResourceFiles() {
    static ResourceFiles files;
    return files;
}

void ResourceFiles::Add(short refNum) {
    if (std::find(files.begin(), files.end(), refNum) == files.end()) {
        files.push_back(refNum);
    }
}

void ResourceFiles::Remove(short refNum) {
    if (refNum == systemFile) {
        return;
    }
    std::erase(files, refNum);
    if (current == refNum) {
        current = files.back();
    }
}

OSErr ResourceFiles::Use(short refNum) {
    if (std::find(files.begin(), files.end(), refNum) == files.end()) {
        return ResultCode::ResourceFileNotFound;
    }
    current = refNum;
    return ResultCode::NoError;
}

short CurResFile() {
    TheResourceFiles().lastResult = ResultCode::NoError;
    return TheResourceFiles().Current();
}

void UseResFile(short resFile) {
    ResourceFiles& files = TheResourceFiles();
    files.lastResult = files.Use(resFile);
}

OSErr ResError() {
    return TheResourceFiles().lastResult;
}
