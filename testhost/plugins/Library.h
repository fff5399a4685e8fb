#pragma once

#include "testhost/plugins/Session.h"

#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

/// Why a plug-in could not be loaded, as a sentence for its author, in UTF-8.
class PluginLoadError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A plug-in that crashed while it was loaded.
class PluginLoadCrash : public PluginLoadError {
    using PluginLoadError::PluginLoadError;
};

/// A plug-in's DLL, loaded for as long as this lives.
class PluginLibrary {
  public:
    /// Loads the DLL at `path`. Throws PluginLoadError when the file is missing, is no 32-bit x86
    /// DLL, imports something that is not there, or has no FourDPack; PluginLoadCrash when it
    /// crashed.
    /// `standIn` is a library that the host is to call in its place, and that loads it, too; empty:
    /// none.
    explicit PluginLibrary(const std::filesystem::path& path, std::filesystem::path standIn = {});
    ~PluginLibrary() { Unload(); }
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    /// Unloads it, if that has not been done. Kept for TakeUnloadFaults: what crashes then, in
    /// DllMain or in a static object, and threads that still run, in which case it stays loaded:
    /// they would crash where its code was. `isAlone`: no other plug-in was loaded since, so that
    /// libraries that were, unless they are Windows' own, have to be gone with it.
    void Unload(bool isAlone = false);
    /// Unloads it, alone, and loads it again, so often. Throws as the constructor does, and nothing
    /// is loaded then. TakeUnloadFaults also tells of kernel handles where each round but the
    /// first, of three or more, left some.
    void Reload(long rounds);
    /// What went wrong when libraries were unloaded, as sentences.
    static std::vector<std::string> TakeUnloadFaults();

    EntryPoints Entries() const { return entries; }
    /// The folder that the DLL is in, with a backslash.
    const std::filesystem::path& Folder() const { return folder; }

  private:
    void Load();

    std::filesystem::path file; ///< its whole path
    std::filesystem::path standInFile;
    void* module = nullptr;
    void* standIn = nullptr;
    EntryPoints entries;
    std::filesystem::path folder;
};
