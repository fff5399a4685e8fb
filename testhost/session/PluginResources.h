#pragma once

#include <filesystem>

/// Where a plug-in's resources are when nobody says it: C:\Plug.dll has them in C:\Plug.rsrc; so
/// has C:\Plug.recorded.dll, in whose place a recorder stands, unless it has a file of its own.
std::filesystem::path ResourcesBeside(const std::filesystem::path& plugin);

/// A plug-in's resource file, which is open for as long as this lives.
class PluginResources {
  public:
    /// Opens `resources`, or, when that is empty, the file beside the plug-in if there is one.
    /// Throws ScriptError when it is missing or wrong.
    PluginResources(const std::filesystem::path& plugin, const std::filesystem::path& resources);
    ~PluginResources();
    PluginResources(const PluginResources&) = delete;
    PluginResources& operator=(const PluginResources&) = delete;

    /// 0 when the plug-in has none.
    short RefNum() const { return refNum; }
    const std::filesystem::path& File() const { return file; }

  private:
    std::filesystem::path file;
    short refNum = 0;
};
