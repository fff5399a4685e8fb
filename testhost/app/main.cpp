#include "platform/CallingConvention.h"
#include "platform/ResultCodes.h"
#include "testhost/plugins/Library.h"
#include "testhost/resources/Compiler.h"
#include "testhost/resources/Text.h"
#include "testhost/session/DatabaseFile.h"
#include "testhost/session/Player.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <io.h>
#include <iostream>
#include <iterator>
#include <sstream>

#include <windows.h>

namespace {
constexpr int allHeld = 0;
constexpr int somethingFailed = 1;
constexpr int wrongUse = 2;

constexpr std::string_view usage =
    "testhost run PLUGIN.dll [options] SCRIPT\n"
    "    Loads the plug-in as the host application does, plays the script against it and prints\n"
    "    every crossing between the two. SCRIPT - is the standard input.\n"
    "    --version V              host version, 6.0 to 12.x (11.3 when not given)\n"
    "    --role single|client|server\n"
    "    --database FILE          tables and records that the host has from the start\n"
    "    --pictures DIR           where the script's pictures of windows go, as PNG files\n"
    "    --strict                 unlocked handles move with every memory call\n"
    "    --quiet                  prints failed expectations and problems only\n"
    "    --resources FILE         the plug-in's resource file; when not given, PLUGIN.rsrc beside\n"
    "                             the plug-in, if there is one\n"
    "testhost resources IN.txt -o OUT\n"
    "    Compiles a text into a resource file.\n"
    "testhost help\n"
    "    Explains the options, the words of a script and those of a resource text.\n"
    "\n"
    "Exit code: 0 when every expectation held and no problem was found; 1 when not, or when the\n"
    "plug-in crashed; 2 when the options, the script, the plug-in's file or its resources are\n"
    "wrong, or a resource text is: nothing is written then.\n";

struct Options {
    std::filesystem::path plugin;
    std::string script;              ///< its name
    std::filesystem::path resources; ///< empty: those beside the plug-in
    std::filesystem::path database;  ///< empty: none
    std::filesystem::path pictures;  ///< folder; empty: none are made
    HostOptions host;
    bool strict = false;
    bool quiet = false;
};

Role ParseRole(std::string_view name) {
    if (name == "single") {
        return Role::SingleUser;
    }
    if (name == "client") {
        return Role::Client;
    }
    if (name == "server") {
        return Role::Server;
    }
    throw ScriptError("--role is single, client or server, not '" + std::string(name) + "'");
}

unsigned short ParseVersion(std::string_view text) {
    if (auto version = ParseHostVersion(text)) {
        return *version;
    }
    throw ScriptError("--version is 6.0 to 12.x, such as 11.3, not '" + std::string(text) + "'");
}

// The words after "run".
Options ParseOptions(const std::vector<std::string>& words) {
    Options options;
    std::vector<std::string> files;
    for (size_t place = 0; place < words.size(); ++place) {
        const std::string& word = words[place];
        auto argument = [&]() -> const std::string& {
            if (++place == words.size()) {
                throw ScriptError(word + " needs a value");
            }
            return words[place];
        };
        if (word == "--version") {
            options.host.version = ParseVersion(argument());
        } else if (word == "--role") {
            options.host.role = ParseRole(argument());
        } else if (word == "--resources") {
            options.resources = FromUtf8(argument());
        } else if (word == "--database") {
            options.database = FromUtf8(argument());
        } else if (word == "--pictures") {
            options.pictures = FromUtf8(argument());
        } else if (word == "--strict") {
            options.strict = true;
        } else if (word == "--quiet") {
            options.quiet = true;
        } else if (word.size() > 1 && word.starts_with('-')) {
            throw ScriptError("unknown option '" + word + "'");
        } else {
            files.push_back(word);
        }
    }
    if (files.size() != 2) {
        throw ScriptError("run needs a plug-in and a script");
    }
    options.plugin = FromUtf8(files[0]);
    options.script = files[1];
    return options;
}

std::string ReadAll(std::istream& in) {
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

Script ReadScript(const std::string& name) {
    if (name == "-") {
        return ParseScript(ReadAll(std::cin), "standard input");
    }
    std::ifstream file(std::filesystem::path(FromUtf8(name)), std::ios::binary);
    if (!file) {
        throw ScriptError("the script " + name + " is missing or cannot be read");
    }
    return ParseScript(ReadAll(file), name);
}

// C:\Plug.dll has its resources in C:\Plug.rsrc.
std::filesystem::path ResourcesOf(const Options& options) {
    std::filesystem::path beside = options.plugin;
    return options.resources.empty() ? beside.replace_extension(".rsrc") : options.resources;
}

// Opens the plug-in's resources and answers their reference number; 0 when it has none.
short OpenResources(const Options& options) {
    const bool asked = !options.resources.empty();
    const std::filesystem::path file = ResourcesOf(options);
    short refNum = 0;
    const OSErr error = ToolboxOpenResFile(file.c_str(), &refNum);
    if (error == ResultCode::FileNotFound && !asked) {
        return 0;
    }
    if (error == ResultCode::FileNotFound || error == ResultCode::InputOutput) {
        throw ScriptError("the resource file " + Shown(file) + " is missing or cannot be read");
    }
    if (error != ResultCode::NoError) {
        throw ScriptError(Shown(file) + " is no resource file: " +
                          (error == ResultCode::EndOfData
                               ? "it is too short"
                               : "its map does not agree with itself or the file") +
                          " (" + std::to_string(error) + ")");
    }
    return refNum;
}

const Player* playing = nullptr; // for the report about a crash

[[noreturn]] void ReportCrash(const std::string& what) {
    std::string place = playing != nullptr ? playing->Place() : "before the script";
    std::cout << "CRASHED " << place << ": " << what << std::endl;
    TerminateProcess(GetCurrentProcess(), somethingFailed);
    std::abort();
}

// "Plug.dll+0x1234", or the bare address outside every module.
std::string AddressText(const void* address) {
    char text[32];
    HMODULE module = nullptr;
    DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    wchar_t path[MAX_PATH] = L"";
    if (GetModuleHandleExW(flags, static_cast<LPCWSTR>(address), &module) != 0 &&
        GetModuleFileNameW(module, path, std::size(path)) != 0) {
        auto offset =
            reinterpret_cast<unsigned long>(address) - reinterpret_cast<unsigned long>(module);
        std::snprintf(text, sizeof text, "+0x%lX", offset);
        return Shown(std::filesystem::path(path).filename()) + text;
    }
    std::snprintf(text, sizeof text, "0x%08lX", reinterpret_cast<unsigned long>(address));
    return text;
}

NIMBO_REALIGN LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    std::string what = "the plug-in crashed at " + AddressText(record.ExceptionAddress);
    char detail[64];
    std::string hint;
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2) {
        std::snprintf(detail, sizeof detail, " (%s address 0x%08lX)",
                      record.ExceptionInformation[0] == 0 ? "reading" : "writing",
                      static_cast<unsigned long>(record.ExceptionInformation[1]));
        hint = ". A plug-in takes the kinds of its parameters on trust: a call that leaves out a "
               "parameter or the result, or gives another kind, ends like this.";
    } else {
        std::snprintf(detail, sizeof detail, " (exception 0x%08lX)", record.ExceptionCode);
    }
    ReportCrash(what + detail + hint);
}

// Also where an exception ends that the plug-in let cross the boundary.
NIMBO_REALIGN void OnAbort(int) {
    ReportCrash("the plug-in ended the program (abort, or an exception that nobody caught)");
}

void MakePictureFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!folder.empty() && !std::filesystem::is_directory(folder, error)) {
        throw ScriptError("the folder " + Shown(folder) + " for pictures cannot be made");
    }
}

int Run(const std::vector<std::string>& words) {
    Options options = ParseOptions(words);
    Script script = ReadScript(options.script);
    DatabaseFile database;
    if (!options.database.empty()) {
        database = ReadDatabaseFile(options.database);
    }
    for (const auto& errors : {script.errors, database.errors}) {
        for (const std::string& error : errors) {
            std::cerr << error << "\n";
        }
    }
    if (!script.errors.empty() || !database.errors.empty()) {
        return wrongUse;
    }
    MakePictureFolder(options.pictures);
    ToolboxSetStrict(options.strict ? 1 : 0);
    PluginLibrary library(options.plugin);
    options.host.pluginResFile = OpenResources(options);
    Host host(options.host);
    host.ScratchPath(); // made here, where it may fail, rather than amid the plug-in's calls
    host.database = std::move(database.database);
    Session session(host, library.Entries());
    Player player(session, std::cout, options.quiet);
    player.libraryFolder = library.Folder();
    player.stage.plugin = options.plugin;
    if (options.host.pluginResFile != 0) {
        player.stage.resources = ResourcesOf(options);
    }
    player.stage.pictures = options.pictures;
    playing = &player;
    bool good = player.Play(script);
    playing = nullptr;
    return good ? allHeld : somethingFailed;
}

bool WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    return static_cast<bool>(file);
}

// IN.txt -o OUT
int Compile(const std::vector<std::string>& words) {
    if (words.size() != 3 || words[1] != "-o") {
        throw ScriptError("resources needs a text and where to write: resources IN.txt -o OUT");
    }
    std::ifstream text(std::filesystem::path(FromUtf8(words[0])), std::ios::binary);
    if (!text) {
        throw ScriptError("the resource text " + words[0] + " is missing or cannot be read");
    }
    const CompiledResources compiled = CompileResources(ReadAll(text), words[0]);
    for (const std::string& error : compiled.errors) {
        std::cerr << error << "\n";
    }
    if (!compiled.errors.empty()) {
        return wrongUse;
    }
    const std::filesystem::path out = FromUtf8(words[2]);
    if (!WriteFile(out, compiled.fork)) {
        std::error_code error;
        std::filesystem::remove(out, error);
        throw ScriptError(words[2] + " cannot be written");
    }
    return allHeld;
}
} // namespace

int wmain(int argc, wchar_t** argv) {
    // Bytes as they are, and UTF-8: transcripts go into files and pipes.
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(OnUnhandledException);
    std::signal(SIGABRT, OnAbort);

    std::vector<std::string> words(static_cast<size_t>(argc - 1));
    std::transform(argv + 1, argv + argc, words.begin(), Utf8);
    std::string verb = words.empty() ? "" : words.front();
    if (verb == "help" || verb == "--help" || verb == "-h") {
        std::cout << usage << "\n";
        PrintLanguageHelp(std::cout);
        std::cout << "\n";
        PrintResourceHelp(std::cout);
        return allHeld;
    }
    try {
        if (verb == "run") {
            return Run({words.begin() + 1, words.end()});
        }
        if (verb == "resources") {
            return Compile({words.begin() + 1, words.end()});
        }
        std::cerr << (verb.empty() ? "Nothing to do." : "Unknown verb '" + verb + "'.") << "\n\n"
                  << usage;
    } catch (const ScriptError& error) {
        std::cerr << "testhost: " << error.what() << " (testhost help explains)\n";
    } catch (const std::runtime_error& error) { // about the plug-in, or this machine
        std::cerr << error.what() << "\n";
    }
    return wrongUse;
}
