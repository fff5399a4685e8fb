#pragma once

#include "platform/Types.h"

#include <vector>

/// The open resource files and which one is current. The system file, 0, is always open.
class ResourceFiles {
  public:
    static constexpr short systemFile = 0;

    void Add(short refNum);
    /// If it was current, the one added last becomes current.
    void Remove(short refNum);
    short Current() const { return current; }
    /// Result code -193, and no change, when there is no such file.
    OSErr Use(short refNum);
    void Reset() { *this = {}; }

    OSErr lastResult = 0; ///< what ResError() answers

  private:
    std::vector<short> files{systemFile};
    short current = systemFile;
};

ResourceFiles& TheResourceFiles();
