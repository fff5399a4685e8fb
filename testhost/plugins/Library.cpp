#include "testhost/plugins/Library.h"

#include "testhost/plugins/Faults.h"
#include "testhost/plugins/PortableExecutable.h"
#include "testhost/values/Encodings.h"

#include <fstream>
#include <iterator>
#include <set>
#include <utility>
#include <vector>

#include <windows.h>

namespace {
std::vector<std::string> unloadFaults;

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& reason) {
    throw PluginLoadError(Shown(path) + ": " + reason);
}

PortableExecutable ReadExecutable(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        Fail(path, "the plug-in's file is missing or cannot be read.");
    }
    std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), {}};
    auto executable = PortableExecutable::Parse(bytes);
    if (!executable) {
        Fail(path, "this is no Windows library (no PE header).");
    }
    if (executable->machine != IMAGE_FILE_MACHINE_I386) {
        bool is64 = executable->machine == IMAGE_FILE_MACHINE_AMD64;
        Fail(path, std::string("the library is built for ") +
                       (is64 ? "64-bit x86" : "another processor") +
                       "; a plug-in has to be 32-bit x86.");
    }
    if (!executable->isLibrary) {
        Fail(path, "this is a program, not a library.");
    }
    return *executable;
}

// Looks where the loader will look: among what is loaded, beside the plug-in, on the path.
HMODULE FindLibrary(const std::filesystem::path& folder, const std::wstring& name) {
    if (HMODULE loaded = GetModuleHandleW(name.c_str())) {
        return loaded;
    }
    if (HMODULE beside =
            LoadLibraryExW((folder / name).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH)) {
        return beside;
    }
    return LoadLibraryW(name.c_str());
}

// Some loaders accept a library whose imports are missing and fail at the first call of one, so
// they are checked before loading. The libraries found stay loaded: the plug-in needs them.
std::string MissingImports(const std::filesystem::path& folder,
                           const PortableExecutable& executable) {
    std::string missing;
    std::set<std::string> missingLibraries;
    for (const auto& [library, function] : executable.imports) {
        HMODULE module = FindLibrary(folder, FromAnsi(library));
        if (module == nullptr) {
            if (missingLibraries.insert(library).second) {
                missing.append("\n  the library ").append(library);
            }
        } else if (!function.empty() && GetProcAddress(module, function.c_str()) == nullptr) {
            missing.append("\n  ").append(function).append(" in ").append(library);
        }
    }
    return missing;
}

HMODULE Load(const std::filesystem::path& path) {
    const FaultRecorder recorder;
    HMODULE loaded = LoadLibraryExW(path.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    const DWORD error = GetLastError();
    if (loaded == nullptr && recorder.Last()) {
        throw PluginLoadCrash(Shown(path) + ": the library crashed in DllMain at " +
                              *recorder.Last() + ".");
    }
    if (loaded == nullptr) {
        Fail(path,
             error == ERROR_DLL_INIT_FAILED
                 ? "the library's DllMain answered that it cannot be loaded."
                 : "Windows could not load the library (error " + std::to_string(error) + ").");
    }
    return loaded;
}

PluginEntry FindEntry(HMODULE module, const char* name) {
    return reinterpret_cast<PluginEntry>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}
} // namespace

PluginLibrary::PluginLibrary(const std::filesystem::path& path) {
    std::filesystem::path full = std::filesystem::absolute(path);
    PortableExecutable executable = ReadExecutable(path);
    std::string missing = MissingImports(full.parent_path(), executable);
    if (!missing.empty()) {
        Fail(path, "the library imports what is not there:" + missing);
    }
    HMODULE loaded = Load(full);
    entries = {FindEntry(loaded, "FourDPack"), FindEntry(loaded, "FourDPackex")};
    if (entries.pack == nullptr) {
        FreeLibrary(loaded);
        Fail(path, "the library does not export FourDPack, the entry point of a plug-in.");
    }
    module = loaded;
    folder = full.parent_path().make_preferred() / "";
}

void PluginLibrary::Unload() {
    if (module == nullptr) {
        return;
    }
    const FaultRecorder recorder(module);
    FreeLibrary(static_cast<HMODULE>(std::exchange(module, nullptr)));
    if (recorder.Last()) {
        unloadFaults.push_back("The library crashed when it was unloaded, at " + *recorder.Last() +
                               ".");
    }
}

std::vector<std::string> PluginLibrary::TakeUnloadFaults() {
    return std::exchange(unloadFaults, {});
}
