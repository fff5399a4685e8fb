#pragma once

#include "platform/Types.h"

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// Where files and folders are: translates between file specifications and Windows paths.
///
/// Volumes are the drives: -1 is A, -26 is Z, and 0 the drive of the current folder. A folder is
/// known by an identifier from the first time that it is met until the process ends, also under a
/// new name; upper and lower case, and whether its path is in the long or the short (8.3) form,
/// make no difference. The root of each volume is 2; its specification has parent 1 and the name
/// "C:". Names in the toolbox's calls, and paths that stand for one, are in the Macintosh character
/// set.
///
/// Result codes: -35 no such volume, -37 not a name, or a path that Windows finds too long, -120
/// no such folder.
class FileSystem {
  public:
    static constexpr long rootParent = 1;
    static constexpr long root = 2;

    /// Path of a folder that may have been removed meanwhile. Identifier 0 is the root, and both
    /// 0 the current folder.
    OSErr FolderPath(short volume, long folder, std::string* path) const;
    /// Path of `name` in a folder; of the folder itself when the name is empty. The name is a full
    /// or relative path in Windows notation. Nothing needs to be there.
    OSErr PathOf(short volume, long folder, std::string_view name, std::string* path) const;
    /// The same for a name in Windows' characters.
    OSErr WindowsPathOf(short volume, long folder, std::string_view name, std::string* path) const;
    /// Path of what the specification names, which needs not be there. Its name is a single one.
    OSErr PathOf(const FSSpec& spec, std::string* path) const;
    /// Specification of a path whose folder is there. -43, with the specification filled, when the
    /// last part is missing; empty after any other error.
    OSErr SpecOf(const std::string& path, FSSpec* spec);
    /// Identifier of a folder, which gets one now if it has none yet.
    long IdentifierOf(const std::string& path);
    /// Identifier of the folder that a path is in.
    long ParentOf(const std::string& path);
    /// To be called when a folder has been renamed: it and what is in it keep their identifiers.
    /// Both paths are in the long form.
    void Renamed(const std::string& from, const std::string& to);

  private:
    std::vector<std::string> folders; ///< by identifier, from `firstIdentifier` on; empty: gone
    std::unordered_map<std::string, long> numbers; ///< identifiers by FileKey
};

FileSystem& TheFileSystem();

/// Result code that says the same as an error of Windows; -36 when there is none.
OSErr FileResult(unsigned long windowsError);
