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
    explicit PluginLibrary(const std::filesystem::path& path);
    ~PluginLibrary() { Unload(); }
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    /// Unloads it, if that has not been done; what crashes then, in DllMain or in a static object,
    /// is kept for TakeUnloadFaults.
    void Unload();
    /// How libraries crashed when they were unloaded, as sentences.
    static std::vector<std::string> TakeUnloadFaults();

    EntryPoints Entries() const { return entries; }
    /// The folder that the DLL is in, with a backslash.
    const std::filesystem::path& Folder() const { return folder; }

  private:
    void* module = nullptr;
    EntryPoints entries;
    std::filesystem::path folder;
};
