#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

/// The libraries of a process that is watched, and what its addresses are called.
class Modules {
  public:
    /// `watched` is the process's handle; `plugin` is the library whose calls are told of, with
    /// its copies for further hosts.
    Modules(void* watched, std::filesystem::path plugin)
        : process(watched), pluginFile(std::move(plugin)) {}

    /// A library, or the program itself, was loaded; `file` is its open file.
    void Add(void* base, void* file);
    void Remove(void* base) { modules.erase(reinterpret_cast<unsigned long>(base)); }

    /// "Plug.dll+0x1234", or the bare address outside every library.
    std::string Text(unsigned long address) const;
    bool IsInPlugin(unsigned long address) const;
    /// The calls of the plug-in's own that a suspended thread is in, innermost first:
    /// "Plug.dll+0x1234 (Function)", where the library's symbols tell the function. Of a stack that
    /// overflowed those that have called last are told, else those that can be followed.
    std::vector<std::string> PluginCalls(void* thread, bool overflowed = false) const;

  private:
    struct Module {
        std::filesystem::path file;
        bool isPlugin;
    };

    const std::pair<const unsigned long, Module>* Find(unsigned long address) const;
    std::vector<unsigned long> Walk(void* thread, unsigned long pc, unsigned long stack) const;
    std::vector<unsigned long> Scan(unsigned long stack) const;

    void* process;
    std::filesystem::path pluginFile;
    std::map<unsigned long, Module> modules; ///< by their base
};
