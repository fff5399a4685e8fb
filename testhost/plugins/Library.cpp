#include "testhost/plugins/Library.h"

#include "testhost/plugins/Faults.h"
#include "testhost/plugins/PortableExecutable.h"
#include "testhost/plugins/Surroundings.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include <windows.h>

namespace {
std::vector<std::string> unloadFaults;

void KeepUnloadFault(const std::string& fault) {
    if (std::ranges::find(unloadFaults, fault) == unloadFaults.end()) {
        unloadFaults.push_back(fault);
    }
}

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

HMODULE LoadModule(const std::filesystem::path& path) {
    const FaultRecorder recorder(FaultRecorder::Where::Anywhere);
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

template <typename Function>
Function FindEntry(HMODULE module, const char* name) {
    return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

EntryPoints EntriesOf(HMODULE module) {
    return {FindEntry<PluginEntry>(module, "FourDPack"),
            FindEntry<PluginEntry>(module, "FourDPackex"),
            FindEntry<PlugInfoEntry>(module, "FourDPlugInfo")};
}

// Throws when the file cannot be loaded as a plug-in. One that could is not looked at again as long
// as it is the same.
void CheckFile(const std::filesystem::path& file, const std::filesystem::path& asGiven) {
    static std::map<std::filesystem::path, std::filesystem::file_time_type> checked;
    std::error_code error;
    const auto written = std::filesystem::last_write_time(file, error);
    if (const auto former = checked.find(file);
        former != checked.end() && !error && former->second == written) {
        return;
    }
    const PortableExecutable executable = ReadExecutable(asGiven);
    const std::string missing = MissingImports(file.parent_path(), executable);
    if (!missing.empty()) {
        Fail(asGiven, "the library imports what is not there:" + missing);
    }
    checked[file] = written;
}

// What was in the process before it loaded a plug-in for the first time. To look takes as long as
// to load one.
Surroundings& BeforePlugins() {
    static Surroundings before = Surroundings::Now();
    return before;
}

// Threads that plug-ins have started and that still run; each is told once.
std::vector<std::string> NewThreads() {
    std::vector<std::string> threads = BeforePlugins().ThreadsSince();
    if (!threads.empty()) {
        BeforePlugins() = Surroundings::Now();
    }
    return threads;
}
} // namespace

PluginLibrary::PluginLibrary(const std::filesystem::path& path, std::filesystem::path itsStandIn)
    : file(std::filesystem::absolute(path)), standInFile(std::move(itsStandIn)) {
    CheckFile(file, path);
    BeforePlugins();
    folder = file.parent_path().make_preferred() / "";
    Load();
}

void PluginLibrary::Load() {
    HMODULE loaded = LoadModule(file);
    entries = EntriesOf(loaded);
    if (entries.pack == nullptr) {
        FreeLibrary(loaded);
        Fail(file, "the library does not export FourDPack, the entry point of a plug-in.");
    }
    module = loaded;
    if (!standInFile.empty()) {
        HMODULE const other = LoadModule(standInFile);
        standIn = other;
        const EntryPoints its = EntriesOf(other); // of which the plug-in may have fewer
        entries = {its.pack, entries.packEx != nullptr ? its.packEx : nullptr,
                   entries.describe != nullptr ? its.describe : nullptr};
    }
}

void PluginLibrary::Reload(long rounds) {
    std::vector<unsigned long> handles; // of the process, after each round
    for (long round = 0; round < rounds; ++round) {
        Unload(true);
        Load();
        handles.push_back(CountHandles());
    }
    // What the first round leaves may be Windows' own.
    const bool grows =
        rounds >= 3 && std::ranges::adjacent_find(handles, std::greater_equal()) == handles.end();
    if (grows) {
        KeepUnloadFault("The process has " + std::to_string(handles.back() - handles.front()) +
                        " more kernel handles after the library was loaded again " +
                        std::to_string(rounds - 1) + " times.");
    }
}

void PluginLibrary::Unload(bool isAlone) {
    if (module == nullptr) {
        return;
    }
    HMODULE leaving = static_cast<HMODULE>(std::exchange(module, nullptr));
    HMODULE standing = static_cast<HMODULE>(std::exchange(standIn, nullptr));
    entries = {};
    const std::vector<std::string> threads = NewThreads();
    std::ranges::for_each(threads, KeepUnloadFault);
    if (!threads.empty()) {
        return;
    }
    const FaultRecorder recorder(FaultRecorder::Where::OutsideOfWindows);
    if (standing != nullptr) {
        FreeLibrary(standing);
    }
    FreeLibrary(leaving);
    if (recorder.Last()) {
        KeepUnloadFault("The library crashed when it was unloaded, at " + *recorder.Last() + ".");
    }
    if (isAlone) {
        std::ranges::for_each(BeforePlugins().LibrariesSince(), KeepUnloadFault);
    }
}

std::vector<std::string> PluginLibrary::TakeUnloadFaults() {
    return std::exchange(unloadFaults, {});
}
