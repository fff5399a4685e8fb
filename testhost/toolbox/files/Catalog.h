#pragma once

#include "platform/Types.h"

#include <map>
#include <string>

/// What the finder keeps about files. Windows has no place for it: it lasts until the toolbox is
/// reset or the process ends, and follows what toolbox calls do to a file, not what others do.
class FinderInfos {
  public:
    /// Zeros when nobody said anything. Keys are FileKeys.
    FInfo Get(const std::string& key) const;
    void Set(const std::string& key, const FInfo& info) { infos[key] = info; }
    void Forget(const std::string& key) { infos.erase(key); }
    /// A file, or a folder with what is in it, has a new name.
    void Renamed(const std::string& fromKey, const std::string& toKey);
    void Reset() { infos.clear(); }

  private:
    std::map<std::string, FInfo> infos;
};

FinderInfos& TheFinderInfos();

/// What file calls with a specification begin with: finds the path that it stands for. -36 when
/// this call has to fail, else as FileSystem::PathOf.
OSErr FindPath(const FSSpec* spec, std::string* path);
