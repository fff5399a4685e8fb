#pragma once

#include "testhost/plugins/Session.h"

#include <filesystem>
#include <stdexcept>

/// Why a plug-in could not be loaded, as a sentence for its author, in UTF-8.
class PluginLoadError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// A plug-in's DLL, loaded for as long as this lives.
class PluginLibrary {
  public:
    /// Loads the DLL at `path`. Throws PluginLoadError when the file is missing, is no 32-bit x86
    /// DLL, imports something that is not there, or has no FourDPack.
    explicit PluginLibrary(const std::filesystem::path& path);
    ~PluginLibrary();
    PluginLibrary(const PluginLibrary&) = delete;
    PluginLibrary& operator=(const PluginLibrary&) = delete;

    EntryPoints Entries() const { return entries; }
    /// The folder that the DLL is in, with a backslash.
    const std::filesystem::path& Folder() const { return folder; }

  private:
    void* module = nullptr;
    EntryPoints entries;
    std::filesystem::path folder;
};
