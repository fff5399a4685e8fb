#pragma once

#include "testhost/session/Progress.h"

#include <string>

/// Progress that a process shares with those that it starts.
class SharedProgress {
  public:
    /// Throws std::runtime_error when there is no memory for it.
    SharedProgress();
    ~SharedProgress();
    SharedProgress(const SharedProgress&) = delete;
    SharedProgress& operator=(const SharedProgress&) = delete;

    Progress* operator->() { return progress; }
    Progress& operator*() { return *progress; }
    const Progress& operator*() const { return *progress; }
    /// For the environment of a process: its SharedWithWatcher finds it by this.
    std::wstring Handle() const;

    /// Name of that variable.
    static constexpr const wchar_t* variable = L"TESTHOST_PROGRESS";

  private:
    void* mapping;
    Progress* progress;
};

/// The Progress of a process that was started so, for as long as it lives; null in any other. To be
/// asked once, before there is a plug-in.
Progress* SharedWithWatcher();
