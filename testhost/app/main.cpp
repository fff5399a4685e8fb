#include "platform/CallingConvention.h"
#include "testhost/app/Player.h"
#include "testhost/engine/PluginLibrary.h"
#include "testhost/toolbox/Control.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <io.h>
#include <iostream>
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
    "    --strict                 unlocked handles move with every memory call\n"
    "    --quiet                  prints failed expectations and problems only\n"
    "testhost help\n"
    "    Explains the options and the words of a script.\n"
    "\n"
    "Exit code: 0 when every expectation held and no problem was found; 1 when not, or when the\n"
    "plug-in crashed; 2 when the options, the script or the plug-in's file are wrong.\n";

struct Options {
    std::string plugin;
    std::string script;
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
    options.plugin = files[0];
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
    std::ifstream file(name, std::ios::binary);
    if (!file) {
        throw ScriptError("the script " + name + " is missing or cannot be read");
    }
    return ParseScript(ReadAll(file), name);
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
    char text[MAX_PATH + 32];
    HMODULE module = nullptr;
    DWORD flags =
        GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    char path[MAX_PATH] = "";
    if (GetModuleHandleExA(flags, static_cast<LPCSTR>(address), &module) != 0 &&
        GetModuleFileNameA(module, path, sizeof path) != 0) {
        std::string file = path;
        auto offset =
            reinterpret_cast<unsigned long>(address) - reinterpret_cast<unsigned long>(module);
        std::snprintf(text, sizeof text, "+0x%lX", offset);
        return file.substr(file.find_last_of('\\') + 1) + text;
    }
    std::snprintf(text, sizeof text, "0x%08lX", reinterpret_cast<unsigned long>(address));
    return text;
}

NIMBO_REALIGN LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    std::string what = "the plug-in crashed at " + AddressText(record.ExceptionAddress);
    char detail[64];
    if (record.ExceptionCode == EXCEPTION_ACCESS_VIOLATION && record.NumberParameters >= 2) {
        std::snprintf(detail, sizeof detail, " (%s address 0x%08lX)",
                      record.ExceptionInformation[0] == 0 ? "reading" : "writing",
                      static_cast<unsigned long>(record.ExceptionInformation[1]));
    } else {
        std::snprintf(detail, sizeof detail, " (exception 0x%08lX)", record.ExceptionCode);
    }
    ReportCrash(what + detail);
}

// Also where an exception ends that the plug-in let cross the boundary.
NIMBO_REALIGN void OnAbort(int) {
    ReportCrash("the plug-in ended the program (abort, or an exception that nobody caught)");
}

int Run(const std::vector<std::string>& words) {
    Options options = ParseOptions(words);
    Script script = ReadScript(options.script);
    for (const std::string& error : script.errors) {
        std::cerr << error << "\n";
    }
    if (!script.errors.empty()) {
        return wrongUse;
    }
    ToolboxSetStrict(options.strict ? 1 : 0);
    PluginLibrary library(options.plugin);
    Host host(options.host);
    Session session(host, library.Entries());
    Player player(session, std::cout, options.quiet);
    player.libraryFolder = library.Folder();
    playing = &player;
    bool good = player.Play(script);
    playing = nullptr;
    return good ? allHeld : somethingFailed;
}
} // namespace

int main(int argc, char** argv) {
    // Bytes as they are: transcripts go into files and pipes.
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    SetUnhandledExceptionFilter(OnUnhandledException);
    std::signal(SIGABRT, OnAbort);

    std::vector<std::string> words(argv + 1, argv + argc);
    std::string verb = words.empty() ? "" : words.front();
    if (verb == "help" || verb == "--help" || verb == "-h") {
        std::cout << usage << "\n";
        PrintLanguageHelp(std::cout);
        return allHeld;
    }
    try {
        if (verb == "run") {
            return Run({words.begin() + 1, words.end()});
        }
        std::cerr << (verb.empty() ? "Nothing to do." : "Unknown verb '" + verb + "'.") << "\n\n"
                  << usage;
    } catch (const PluginLoadError& error) {
        std::cerr << error.what() << "\n";
    } catch (const ScriptError& error) {
        std::cerr << "testhost: " << error.what() << " (testhost help explains)\n";
    }
    return wrongUse;
}
