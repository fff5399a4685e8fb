#include "testhost/plugins/Library.h"

#include "testhost/plugins/PortableExecutable.h"
#include "testhost/values/Encodings.h"

#include <fstream>
#include <iterator>
#include <set>
#include <vector>

#include <windows.h>

namespace {
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
    HMODULE loaded = LoadLibraryExW(full.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (loaded == nullptr) {
        Fail(path,
             "Windows could not load the library (error " + std::to_string(GetLastError()) + ").");
    }
    entries = {FindEntry(loaded, "FourDPack"), FindEntry(loaded, "FourDPackex")};
    if (entries.pack == nullptr) {
        FreeLibrary(loaded);
        Fail(path, "the library does not export FourDPack, the entry point of a plug-in.");
    }
    module = loaded;
    folder = full.parent_path().make_preferred() / "";
}

PluginLibrary::~PluginLibrary() {
    FreeLibrary(static_cast<HMODULE>(module));
}
