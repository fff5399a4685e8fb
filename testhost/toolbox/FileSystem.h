#pragma once

#include "platform/Types.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Where files and folders are: translates between file specifications and Windows paths.
///
/// Volumes are the drives: -1 is A, -26 is Z, and 0 the drive of the current folder. A folder is
/// known by an identifier from the first time that it is met until the process ends; upper and
/// lower case make no difference. The root of each volume is 2; its specification has parent 1
/// and the name "C:". Paths are absolute, without a backslash at the end except for a root.
///
/// Result codes: -35 no such volume, -37 not a name, or a path that Windows finds too long, -120
/// no such folder.
class FileSystem {
  public:
    static constexpr long rootParent = 1;
    static constexpr long root = 2;
    static constexpr std::size_t longestName = 63;

    /// Path of a folder that may have been removed meanwhile. Identifier 0 is the root, and both
    /// 0 the current folder.
    OSErr FolderPath(short volume, long folder, std::string* path) const;
    /// Path of `name` in a folder; of the folder itself when the name is empty. The name is a full
    /// or relative path in Windows notation. Nothing needs to be there.
    OSErr PathOf(short volume, long folder, std::string_view name, std::string* path) const;
    /// Path of what the specification names, which needs not be there. Its name is a single one.
    OSErr PathOf(const FSSpec& spec, std::string* path) const;
    /// Specification of a path whose folder is there. -43, with the specification filled, when the
    /// last part is missing; empty after any other error.
    OSErr SpecOf(const std::string& path, FSSpec* spec);
    /// Identifier of a folder, which gets one now if it has none yet.
    long IdentifierOf(const std::string& path);

  private:
    std::vector<std::string> folders;              ///< by identifier, from `firstIdentifier` on
    std::unordered_map<std::string, long> numbers; ///< identifiers by FileKey
};

FileSystem& TheFileSystem();

/// Paths that differ only in case have the same key.
std::string FileKey(std::string path);
/// The characters of a Pascal string; none for null.
std::string_view Characters(const unsigned char* text);
/// Result code that says the same as an error of Windows; -36 when there is none.
OSErr FileResult(unsigned long windowsError);
