#pragma once

#include "testhost/recordings/File.h"

#include <string>
#include <vector>

/// Folders that the host named in a recording, and the one for temporary files, which are not on
/// this machine. In their place stand folders for temporary files whose paths are as long, so that
/// wherever the recording has the one, be it within a longer path, it can have the other.
class ReplacedFolders {
  public:
    /// Makes them, and puts their names into the recording.
    explicit ReplacedFolders(RecordingFile& file);
    /// Removes them with all that is in them.
    ~ReplacedFolders();
    ReplacedFolders(const ReplacedFolders&) = delete;
    ReplacedFolders& operator=(const ReplacedFolders&) = delete;

    /// What was replaced, and what could not be, as lines for people.
    std::vector<std::string> notes;

  private:
    void ReplaceTemporary(RecordingFile& file, const std::string& recorded);
    std::string Replace(RecordingFile& file, const std::string& folder, const std::string& start);

    std::vector<std::string> made; ///< paths in the ANSI code page
};
