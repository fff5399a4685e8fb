#include "testhost/watch/Modules.h"

#include "testhost/plugins/Faults.h"
#include "testhost/plugins/PortableExecutable.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <cstring>
#include <cwctype>
#include <fstream>
#include <iterator>
#include <mutex>

#include <windows.h>
#include <dbghelp.h>

namespace {
constexpr size_t mostCalls = 12;
constexpr size_t mostFrames = 200; // looked at; a runaway recursion has more
constexpr size_t scannedWords = 1024;

// The system's debugging library, which is needed after a crash only.
class DebugHelp {
  public:
    DebugHelp() : library(LoadLibraryW(L"dbghelp.dll")) {
        Find(setOptions, "SymSetOptions");
        Find(initialize, "SymInitialize");
        Find(cleanup, "SymCleanup");
        Find(loadModule, "SymLoadModuleExW");
        Find(moduleBase, "SymGetModuleBase64");
        Find(functionTable, "SymFunctionTableAccess64");
        Find(walk, "StackWalk64");
    }

    bool IsThere() const {
        return setOptions && initialize && cleanup && loadModule && moduleBase && functionTable &&
               walk;
    }

    decltype(&SymSetOptions) setOptions = nullptr;
    decltype(&SymInitialize) initialize = nullptr;
    decltype(&SymCleanup) cleanup = nullptr;
    decltype(&SymLoadModuleExW) loadModule = nullptr;
    decltype(&SymGetModuleBase64) moduleBase = nullptr;
    decltype(&SymFunctionTableAccess64) functionTable = nullptr;
    decltype(&StackWalk64) walk = nullptr;

  private:
    template <typename Function>
    void Find(Function& function, const char* name) const {
        if (library != nullptr) {
            void* const found = reinterpret_cast<void*>(GetProcAddress(library, name));
            std::memcpy(&function, &found, sizeof function);
        }
    }

    HMODULE library;
};

std::filesystem::path PathOf(void* file) {
    wchar_t path[1024] = L"";
    const DWORD length = GetFinalPathNameByHandleW(file, path, std::size(path), 0);
    constexpr std::wstring_view prefix = L"\\\\?\\";
    constexpr std::wstring_view sharePrefix = L"\\\\?\\UNC\\";
    const std::wstring_view text(path, length < std::size(path) ? length : 0);
    if (text.starts_with(sharePrefix)) {
        return L"\\\\" + std::wstring(text.substr(sharePrefix.size()));
    }
    return text.starts_with(prefix) ? text.substr(prefix.size()) : text;
}

// "tour" for "C:\Folder\Tour.dll".
std::wstring Stem(const std::filesystem::path& file) {
    std::wstring stem = file.stem().wstring();
    std::ranges::transform(stem, stem.begin(), std::towlower);
    return stem;
}

// Also "Tour-anna.dll" is Tour.dll: a copy for another host.
bool IsCopy(const std::filesystem::path& file, const std::filesystem::path& plugin) {
    return Stem(file) == Stem(plugin) || Stem(file).starts_with(Stem(plugin) + L"-");
}

std::string FunctionAt(const std::filesystem::path& file, unsigned long address) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(in), {}};
    return PortableExecutable::FunctionAt(bytes, address);
}
} // namespace

void Modules::Add(void* base, void* file) {
    const std::filesystem::path path = PathOf(file);
    modules[reinterpret_cast<unsigned long>(base)] = {path, IsCopy(path, pluginFile)};
}

const std::pair<const unsigned long, Modules::Module>* Modules::Find(unsigned long address) const {
    MEMORY_BASIC_INFORMATION memory{};
    VirtualQueryEx(process, reinterpret_cast<void*>(address), &memory, sizeof memory);
    const auto found = modules.find(reinterpret_cast<unsigned long>(memory.AllocationBase));
    return found != modules.end() ? &*found : nullptr;
}

std::string Modules::Text(unsigned long address) const {
    const auto* found = Find(address);
    if (found == nullptr) {
        return AddressText("", 0, address);
    }
    return AddressText(Shown(found->second.file.filename()), found->first, address);
}

std::vector<std::string> Modules::PluginCalls(void* thread, bool overflowed) const {
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    if (GetThreadContext(thread, &context) == 0) {
        return {};
    }
    unsigned long pc = context.Eip;
    unsigned long stack = context.Esp;
    if (Find(pc) == nullptr) { // it jumped to nowhere: begin with who called
        SIZE_T got = 0;
        ReadProcessMemory(process, reinterpret_cast<void*>(stack), &pc, sizeof pc, &got);
        stack += got;
    }
    std::vector<unsigned long> frames = Walk(thread, pc, stack);
    std::erase_if(frames, [this](unsigned long address) { return !IsInPlugin(address); });
    if (overflowed || frames.size() <= 1) {
        frames.resize(std::min<size_t>(frames.size(), 1));
        const std::vector<unsigned long> more = Scan(stack);
        frames.insert(frames.end(), more.begin(), more.end());
    }
    frames.resize(std::min(frames.size(), mostCalls));
    std::vector<std::string> calls;
    for (const unsigned long address : frames) {
        const auto* found = Find(address);
        const std::string function = FunctionAt(found->second.file, address - found->first);
        calls.push_back(Text(address) + (function.empty() ? "" : " (" + function + ")"));
    }
    return calls;
}

bool Modules::IsInPlugin(unsigned long address) const {
    const auto* found = Find(address);
    return found != nullptr && found->second.isPlugin;
}

// The addresses at which the calls of all libraries stand, innermost first, as far as the system
// can tell: it knows how functions unwind from what compilers leave beside them.
std::vector<unsigned long> Modules::Walk(void* thread, unsigned long pc,
                                         unsigned long stack) const {
    static std::mutex helping; // it serves one thread at a time
    const std::lock_guard lock(helping);
    const DebugHelp help;
    CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    if (!help.IsThere() || GetThreadContext(thread, &context) == 0 ||
        help.initialize(process, nullptr, FALSE) == 0) {
        return {};
    }
    help.setOptions(SYMOPT_DEFERRED_LOADS); // of few modules is there a call on the stack
    for (const auto& [base, module] : modules) {
        help.loadModule(process, nullptr, module.file.c_str(), nullptr, base, 0, nullptr, 0);
    }
    context.Eip = pc;
    context.Esp = stack;
    STACKFRAME64 frame{};
    frame.AddrPC = {pc, 0, AddrModeFlat};
    frame.AddrFrame = {context.Ebp, 0, AddrModeFlat};
    frame.AddrStack = {stack, 0, AddrModeFlat};
    std::vector<unsigned long> frames;
    while (frames.size() < mostFrames &&
           help.walk(IMAGE_FILE_MACHINE_I386, process, thread, &frame, &context, nullptr,
                     help.functionTable, help.moduleBase, nullptr) != 0) {
        frames.push_back(static_cast<unsigned long>(frame.AddrPC.Offset));
    }
    help.cleanup(process);
    return frames;
}

// Where that ends early: what on the stack looks like the plug-in's return addresses.
std::vector<unsigned long> Modules::Scan(unsigned long stack) const {
    std::vector<unsigned long> words(scannedWords);
    SIZE_T got = 0;
    ReadProcessMemory(process, reinterpret_cast<void*>(stack), words.data(),
                      words.size() * sizeof words[0], &got);
    words.resize(got / sizeof words[0]);
    std::erase_if(words, [this](unsigned long word) {
        constexpr unsigned char nearCall = 0xE8;
        constexpr unsigned long nearCallSize = 5;
        unsigned char code = 0;
        SIZE_T read = 0;
        ReadProcessMemory(process, reinterpret_cast<void*>(word - nearCallSize), &code, 1, &read);
        return !IsInPlugin(word) || code != nearCall;
    });
    return words;
}
