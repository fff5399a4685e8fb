#pragma once

#include <string>

/// A folder of its own under the system's folder for temporary files: made when it is first asked
/// for, and removed with its contents at the end. Paths are in the system ANSI code page and end
/// with a backslash.
class ScratchFolder {
  public:
    ScratchFolder() = default;
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// Throws std::runtime_error when it cannot be made.
    const std::string& Path();
    /// A folder in it, made when it is missing.
    std::string Inside(const std::string& name);

  private:
    std::string path;
};

/// The system's folder for temporary files, in the long form and the ANSI code page. Throws
/// std::runtime_error when the code page cannot hold it.
std::string TemporaryFolder();
