#pragma once

#include "platform/Types.h"
#include "testhost/values/LeftOvers.h"
#include "testhost/values/Whereabouts.h"

#include <map>
#include <string>
#include <vector>

/// A resource in a file of the host.
struct StructureResource {
    OSType type = 0;
    short id = 0;
    std::string name = {}; ///< at most 255 characters
    std::string bytes = {};
    long timestamp = 0; ///< larger after each change
};

/// The contents of a resource file: the resources in the order in which they were added, no two of
/// one type and identifier.
class ResourceFileContents {
  public:
    /// Each type once, in the order of its first resource.
    std::vector<OSType> Types() const;
    /// Of all resources of the type, in their order.
    std::vector<short> Identifiers(OSType type) const;
    /// The smallest identifier from 128 on that the type does not have; 0 when there is none.
    short FreeIdentifier(OSType type) const;
    /// Null when there is none.
    StructureResource* Find(OSType type, long id);
    /// False when there is one of this type and identifier.
    bool Add(StructureResource resource);
    void Remove(OSType type, long id);

  private:
    std::vector<StructureResource> resources;
};

/// The host's resource files: the structure's own, always open, and those that are made and opened
/// by their paths, in which case does not count. All of it is in memory. Changes in an open file
/// are saved when it is updated or closed. What answers an OSErr answers 0 or what is listed.
class StructureResources {
  public:
    static constexpr long structureFile = 1;

    /// Makes an empty file and opens it; -48 when there is one, -37 for an empty path.
    OSErr Create(const std::string& path, long* file);
    /// -43 when there is none, -49 when it is open.
    OSErr Open(const std::string& path, long* file);
    /// -193 when it is not open, -50 for the structure's.
    OSErr Close(long file);
    /// -193 when it is not open.
    OSErr Update(long file);
    /// What an open file now holds; null when it is not open.
    ResourceFileContents* File(long file);
    /// A number for the timestamp of a resource that is changed.
    long NextTimestamp() { return ++changes; }
    /// Adds the files that are open besides the structure's.
    void AddLeftOvers(LeftOvers& leftOvers) const;
    /// Closes those.
    void CloseAll();

  private:
    struct IgnoreCase {
        bool operator()(const std::string& a, const std::string& b) const;
    };
    struct OpenFile {
        std::string path;
        ResourceFileContents contents;
        Whereabouts opened;
    };

    bool IsOpen(const std::string& path) const;
    long OpenAs(const std::string& path, ResourceFileContents contents);

    std::map<std::string, ResourceFileContents, IgnoreCase> saved; ///< by path
    std::map<long, OpenFile> open = {{structureFile, {}}};         ///< by reference number
    long lastFile = structureFile;
    long changes = 0;
};
