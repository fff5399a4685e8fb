#include "platform/Compiler.h"
#include "testhost/app/Commands.h"
#include "testhost/app/Compare.h"
#include "testhost/app/ExitCodes.h"
#include "testhost/app/Record.h"
#include "testhost/app/Recordings.h"
#include "testhost/app/Validate.h"
#include "testhost/plugins/DebugText.h"
#include "testhost/plugins/Faults.h"
#include "testhost/plugins/Library.h"
#include "testhost/resources/Compiler.h"
#include "testhost/resources/Text.h"
#include "testhost/session/DatabaseFile.h"
#include "testhost/session/PlayScript.h"
#include "testhost/session/PluginResources.h"
#include "testhost/session/TextFile.h"
#include "testhost/session/Transcript.h"
#include "testhost/session/Words.h"
#include "testhost/statements/Table.h"
#include "testhost/validate/Checks.h"
#include "testhost/values/Encodings.h"
#include "testhost/watch/Isolation.h"
#include "testhost/watch/SharedProgress.h"

#include <algorithm>
#include <CLI.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <io.h>
#include <iostream>
#include <iterator>
#include <new>
#include <utility>

#include <windows.h>

namespace {
using namespace ExitCode;

constexpr unsigned long longestTimeout = 24 * 60 * 60;

constexpr const char* exitCodes =
    "Exit code: 0 when every expectation held and no problem was found; 1 when not, when the\n"
    "plug-in crashed, hung or ended the program, or when nothing was played; 2 when the\n"
    "options, the script, the plug-in's file or its resources are wrong, or a resource text is:\n"
    "nothing is written then. Of validate: 0 when at least one check ran, and all that ran held;\n"
    "1 when something was found or a check could not be carried out; 2 as above. Of show, replay\n"
    "and compare: 0 when nothing differed; 1 when something did, or the recording is damaged; 2\n"
    "when it is none.\n";

// What the command line says; files in UTF-8, as all of it.
struct Options {
    std::string plugin;
    std::string script;     ///< "-": the standard input
    std::string resources;  ///< empty: those beside the plug-in
    std::string database;   ///< empty: none
    std::string pictures;   ///< folder; empty: none are made
    std::string transcript; ///< file for the whole of it; empty: none
    std::string color = "auto";
    HostOptions host;
    bool strict = false;
    bool quiet = false;
    bool inProcess = false;
    bool keepGoing = false;
    unsigned long timeout = 30; ///< seconds
    std::string recording;      ///< of record, show and replay; else empty
    bool goesOn = false;        ///< after a difference
    std::string resourceText;
    std::string out;
};

void AddTranscriptOptions(CLI::App& run, Options& options) {
    run.add_option("--transcript", options.transcript,
                   "gets the whole transcript; what is printed folds what\nrepeats itself")
        ->type_name("FILE");
    run.add_option("--color", options.color,
                   "whether what is printed has colours; auto, when not\ngiven: on a terminal, "
                   "unless NO_COLOR is set")
        ->check(CLI::IsMember({"auto", "always", "never"}).description(""))
        ->type_name("auto|always|never");
}

// What everything has that plays a plug-in.
void AddPlayOptions(CLI::App& run, Options& options) {
    run.add_option(
           "--resources", options.resources,
           "the plug-in's resource file; when not given,\nPLUGIN.rsrc beside the plug-in, if "
           "there is one")
        ->type_name("FILE");
    run.add_flag("--strict", options.strict, "unlocked handles move with every memory call");
    run.add_flag("--quiet", options.quiet, "prints failed expectations and problems only");
    AddTranscriptOptions(run, options);
    run.add_option("--timeout", options.timeout,
                   "seconds that a statement may take (30 when not given);\n0: as long as it likes")
        ->check(CLI::Range(0UL, longestTimeout).description(""))
        ->type_name("SECONDS");
}

void AddRunOptions(CLI::App& run, Options& options) {
    run.add_option("PLUGIN.dll", options.plugin, "the plug-in")->required()->type_name("");
    run.add_option("SCRIPT", options.script, "what is played; - is the standard input")
        ->required()
        ->type_name("");
    run.add_option_function<std::string>(
           "--version",
           [&](const std::string& text) {
               const auto version = ParseHostVersion(text);
               if (!version) {
                   throw CLI::ValidationError(
                       "--version", "a version is 6.0 to 12.x, such as 11.3, not '" + text + "'");
               }
               options.host.version = *version;
           },
           "host version, 6.0 to 12.x (11.3 when not given)")
        ->type_name("V");
    const std::map<std::string, Role> roles = {
        {"single", Role::SingleUser}, {"client", Role::Client}, {"server", Role::Server}};
    run.add_option_function<std::string>(
           "--role", [&, roles](const std::string& name) { options.host.role = roles.at(name); },
           "what the host is (single when not given)")
        ->check(CLI::IsMember(roles).description(""))
        ->type_name("single|client|server");
    run.add_option("--database", options.database, "tables and records of the host from the start")
        ->type_name("FILE");
    run.add_option("--pictures", options.pictures,
                   "where the script's pictures of windows go, as PNG files")
        ->type_name("DIR");
    AddPlayOptions(run, options);
    run.add_flag(
        "--keep-going", options.keepGoing,
        "after a crash or a time-out starts the plug-in afresh,\nand plays on from the next start");
}

CLI::Option* AddInProcess(CLI::App& run, Options& options) {
    return run.add_flag("--in-process", options.inProcess,
                        "plays in testhost's own process, for a debugger:\nnothing limits the "
                        "time, and a crash ends it all");
}

void AddReplayOptions(CLI::App& replay, Options& options) {
    replay.add_option("RECORDING", options.recording, "what is played")->required()->type_name("");
    replay.add_option("PLUGIN.dll", options.plugin, "the plug-in")->required()->type_name("");
    AddPlayOptions(replay, options);
    replay.add_flag("--continue", options.goesOn, "goes on after a difference, as far as it can");
    AddInProcess(replay, options);
}

Script ReadScript(const std::string& name) {
    if (name == "-") {
        return ParseScript(ReadText(std::cin, "the standard input"), "standard input");
    }
    return ParseScript(ReadText(FromUtf8(name), "the script " + name), name);
}

// For the report about a crash within this process.
const Progress* playing = nullptr;
TranscriptSettings playedTranscript;

[[noreturn]] void ReportCrash(const std::string& what) {
    const std::string_view place =
        playing != nullptr ? Progress::Read(playing->place) : "before the script";
    TellEnd(playedTranscript, playing != nullptr ? playing->callsNotPrinted : 0,
            "CRASHED " + std::string(place) + ": " + what);
    TerminateProcess(GetCurrentProcess(), somethingFailed);
    std::abort();
}

NIMBO_REALIGN LONG WINAPI OnUnhandledException(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& fault = *pointers->ExceptionRecord;
    ReportCrash(DescribeFault(fault, AddressText(fault.ExceptionAddress)));
}

// Also where an exception ends that the plug-in let cross the boundary. Raised as an exception of
// the system, so that whoever watches finds the caller.
NIMBO_REALIGN void OnAbort(int) {
    RaiseException(abortException, EXCEPTION_NONCONTINUABLE, 0, nullptr);
}

void MakePictureFolder(const std::filesystem::path& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (!folder.empty() && !std::filesystem::is_directory(folder, error)) {
        throw ScriptError("the folder " + Shown(folder) + " for pictures cannot be made");
    }
}

bool HasVariable(const wchar_t* name) {
    const wchar_t* const value = _wgetenv(name);
    return value != nullptr && *value != L'\0';
}

// Switches a console's escape sequences on. Wine's says that it knows them, and prints them;
// scripts/run-exe goes round it, and says that there is a terminal.
bool TakesColors() {
    if (GetProcAddress(GetModuleHandleW(L"ntdll"), "wine_get_version") != nullptr) {
        return HasVariable(L"NIMBO_TERMINAL");
    }
    HANDLE const screen = GetStdHandle(STD_OUTPUT_HANDLE);
    DWORD mode = 0;
    return GetConsoleMode(screen, &mode) != 0 &&
           SetConsoleMode(screen, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
}

bool HasColors(const std::string& when) {
    const bool isTerminal = TakesColors();
    return when == "always" || (when == "auto" && isTerminal && !HasVariable(L"NO_COLOR"));
}

TranscriptSettings TranscriptOf(const Options& options) {
    return {.file = FromUtf8(options.transcript),
            .quiet = options.quiet,
            .hasColors = HasColors(options.color)};
}

// What is written must not take the place of a file that it is about.
class Outputs {
  public:
    explicit Outputs(const Options& options)
        : outputs{{"transcript", FromUtf8(options.transcript)},
                  {"recording", FromUtf8(options.recording)}} {
        const auto whole = [](const Output& output) {
            std::error_code error; // of none at all
            return std::filesystem::absolute(output.file, error).lexically_normal();
        };
        if (!outputs[0].file.empty() && whole(outputs[0]) == whole(outputs[1])) {
            throw ScriptError("transcript and recording would be the same file");
        }
    }

    void KeepFrom(const std::filesystem::path& input) const {
        for (const auto& [name, file] : outputs) {
            std::error_code error;
            if (!file.empty() && std::filesystem::equivalent(file, input, error)) {
                throw ScriptError(std::string("the ") + name + " would overwrite " + Shown(input));
            }
        }
    }

  private:
    struct Output {
        const char* name;
        std::filesystem::path file; ///< empty: there is none
    };
    Output outputs[2];
};

void KeepInputs(const Options& options, const Script& script) {
    const Outputs outputs(options);
    const std::filesystem::path plugin = FromUtf8(options.plugin);
    const std::filesystem::path scriptFile = FromUtf8(options.script);
    for (const std::filesystem::path& input : {scriptFile, plugin, ResourcesBeside(plugin),
                                               std::filesystem::path(FromUtf8(options.resources)),
                                               std::filesystem::path(FromUtf8(options.database))}) {
        outputs.KeepFrom(input);
    }
    for (const Statement& statement : script.statements) {
        Words words(statement.text, [](std::string_view) { return std::wstring(); });
        if (words.TakeIf("database")) {
            outputs.KeepFrom(scriptFile.parent_path() / words.TakeWideString("the file's path"));
        }
    }
}

// Plays the session in this process, and keeps `progress` up to date.
int Play(const Options& options, Progress& progress) {
    const Script script = ReadScript(options.script);
    DatabaseFile database;
    if (!options.database.empty()) {
        database = ReadDatabaseFile(FromUtf8(options.database));
    }
    for (const auto& errors : {script.errors, database.errors}) {
        for (const std::string& error : errors) {
            std::cerr << error << "\n";
        }
    }
    if (!script.errors.empty() || !database.errors.empty()) {
        return wrongUse;
    }
    const std::filesystem::path pictures = FromUtf8(options.pictures);
    MakePictureFolder(pictures);
    KeepInputs(options, script);
    const PlaySettings settings{.plugin = FromUtf8(options.plugin),
                                .resources = FromUtf8(options.resources),
                                .pictures = pictures,
                                .recorder = options.recording.empty() ? RecorderInPlace()
                                                                      : RecorderToPlayWith(),
                                .host = options.host,
                                .strict = options.strict,
                                .transcript = TranscriptOf(options)};
    return PlayScript(script, std::move(database.database), settings, std::cout, progress)
               ? allHeld
               : somethingFailed;
}

Progress* watched = nullptr; // where another process sees how far this one is

// Has `play` run where the options say: in a process of its own, unless this is it.
int PlayWatched(const Options& options, int (*play)(const Options&, Progress&)) {
    if (watched != nullptr) {
        return play(options, *watched);
    }
    if (options.inProcess) {
        Progress progress;
        playing = &progress;
        playedTranscript = TranscriptOf(options);
        SetUnhandledExceptionFilter(OnUnhandledException);
        return play(options, progress);
    }
    return PlayIsolated({.plugin = FromUtf8(options.plugin),
                         .readsInput = options.script == "-",
                         .timeout = options.timeout,
                         .keepsGoing = options.keepGoing,
                         .transcript = TranscriptOf(options)});
}

int Run(const Options& options, bool isRecorded) {
    watched = SharedWithWatcher();
    const auto play = [&] { return PlayWatched(options, Play); };
    return isRecorded && watched == nullptr
               ? Record(FromUtf8(options.plugin), FromUtf8(options.recording), play, std::cout)
               : play();
}

// The transcript is written, the recording is not.
void KeepInputsOfRecording(Options options) {
    const std::string recording = std::exchange(options.recording, {});
    const Outputs outputs(options);
    for (const std::string& input : {recording, options.plugin, options.resources}) {
        outputs.KeepFrom(FromUtf8(input));
    }
}

int Show(const Options& options) {
    KeepInputsOfRecording(options);
    return ShowRecordingFile(FromUtf8(options.recording), TranscriptOf(options), std::cout);
}

int Replay(const Options& options, Progress& progress) {
    KeepInputsOfRecording(options);
    const std::filesystem::path recording = FromUtf8(options.recording);
    return ReplayRecordingFile(recording,
                               {.plugin = FromUtf8(options.plugin),
                                .resources = FromUtf8(options.resources),
                                .name = {},
                                .strict = options.strict,
                                .goesOn = options.goesOn,
                                .transcript = TranscriptOf(options)},
                               std::cout, progress);
}

int RunReplay(const Options& options) {
    watched = SharedWithWatcher();
    return PlayWatched(options, Replay);
}

int ShowCommands(const Options& options) {
    Progress progress;
    Progress::Copy(progress.place, "while the plug-in was asked for its commands");
    playing = &progress;
    SetUnhandledExceptionFilter(OnUnhandledException);
    return ListCommands(FromUtf8(options.plugin), std::cout);
}

// One check of a validation, in this process.
int PerformCheck(const std::string& order) {
    watched = SharedWithWatcher();
    if (watched == nullptr) {
        throw ScriptError("perform is what validate tells its own processes");
    }
    Perform(FromUtf8(order), *watched);
    return allHeld;
}

bool WriteFile(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    return static_cast<bool>(file);
}

int Compile(const Options& options) {
    const std::string text =
        ReadText(FromUtf8(options.resourceText), "the resource text " + options.resourceText);
    const CompiledResources compiled = CompileResources(text, options.resourceText);
    for (const std::string& error : compiled.errors) {
        std::cerr << error << "\n";
    }
    if (!compiled.errors.empty()) {
        return wrongUse;
    }
    const std::filesystem::path out = FromUtf8(options.out);
    if (!WriteFile(out, compiled.fork)) {
        std::error_code error;
        std::filesystem::remove(out, error);
        throw ScriptError(options.out + " cannot be written");
    }
    return allHeld;
}

void SetUp() {
    // Bytes as they are, and UTF-8: transcripts go into files and pipes.
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
    SetConsoleOutputCP(CP_UTF8);
    SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
    std::signal(SIGABRT, OnAbort);
    ListenToDebugText();
}

int Command(int argc, wchar_t** argv) {
    Options options;
    CLI::App app("A stand-in for the host: runs and tests plug-ins.", "testhost");
    app.allow_windows_style_options(false); // paths may begin with a slash
    app.footer(exitCodes);
    app.require_subcommand(0, 1);
    CLI::App& run = *app.add_subcommand(
        "run", "Loads the plug-in as the host application does, plays the script against it\n"
               "and prints every crossing between the two");
    AddRunOptions(run, options);
    AddInProcess(run, options)->excludes("--keep-going");
    CLI::App& record = *app.add_subcommand(
        "record", "The same with Recorder.dll between host and plug-in: what both said to each\n"
                  "other is then in a file");
    AddRunOptions(record, options);
    record.add_option("-o", options.recording, "the recording")->required()->type_name("RECORDING");
    CLI::App& show =
        *app.add_subcommand("show", "Prints a recording as the transcript of a session");
    show.add_option("RECORDING", options.recording, "what is printed")->required()->type_name("");
    AddTranscriptOptions(show, options);
    CLI::App& replay = *app.add_subcommand(
        "replay", "Plays the host's part again from a recording, and tells where the plug-in does\n"
                  "something else than was recorded");
    AddReplayOptions(replay, options);
    CLI::App& resources = *app.add_subcommand("resources", "Compiles a text into a resource file");
    resources.add_option("IN.txt", options.resourceText, "the text")->required()->type_name("");
    resources.add_option("-o", options.out, "the resource file")->required()->type_name("OUT");
    ValidateOptions validation;
    CLI::App& validate = *app.add_subcommand(
        "validate", "Checks plug-ins by playing many sessions with each, and writes a session\n"
                    "that shows it for everything that it finds");
    AddValidateOptions(validate, validation);
    CLI::App& commands = *app.add_subcommand(
        "commands", "Lists what the plug-in says of its commands: number, name and usage");
    commands.add_option("PLUGIN.dll", options.plugin, "the plug-in")->required()->type_name("");
    CompareOptions comparison;
    CLI::App& compare = *app.add_subcommand(
        "compare", "Asks the stand-in host the calls of a recording, and lists where it answers\n"
                   "otherwise than the host that was recorded");
    AddCompareOptions(compare, comparison);
    std::string order;
    CLI::App& perform = *app.add_subcommand("perform", "A check of validate")->group("");
    perform.add_option("ORDER", order)->required();
    const CLI::App& help = *app.add_subcommand(
        "help", "Explains the options, the words of a script and those of a resource text");

    const std::string usage = app.help("", CLI::AppFormatMode::All);

    std::vector<std::string> words(static_cast<size_t>(argc - 1));
    std::transform(argv + 1, argv + argc, words.rbegin(), Utf8); // as they are parsed: last first
    try {
        app.parse(std::move(words));
        if (help.parsed()) {
            std::cout << usage << "\n";
            PrintLanguageHelp(std::cout);
            std::cout << "\n";
            PrintResourceHelp(std::cout);
            return allHeld;
        }
        if (run.parsed() || record.parsed()) {
            return Run(options, record.parsed());
        }
        if (show.parsed()) {
            return Show(options);
        }
        if (replay.parsed()) {
            return RunReplay(options);
        }
        if (validate.parsed()) {
            return RunValidate(validation);
        }
        if (commands.parsed()) {
            return ShowCommands(options);
        }
        if (resources.parsed()) {
            return Compile(options);
        }
        if (compare.parsed()) {
            return RunCompare(comparison);
        }
        if (perform.parsed()) {
            return PerformCheck(order);
        }
        std::cerr << "Nothing to do.\n\n" << usage;
    } catch (const CLI::ParseError& error) { // or a call for help
        return app.exit(error) == 0 ? allHeld : wrongUse;
    } catch (const ScriptError& error) {
        std::cerr << "testhost: " << error.what() << " (testhost help explains)\n";
    } catch (const std::runtime_error& error) { // about the plug-in, or this machine
        std::cerr << error.what() << "\n";
    } catch (const std::bad_alloc&) {
        std::cerr << "testhost: there is no memory for all of this\n";
    }
    return wrongUse;
}
} // namespace

int wmain(int argc, wchar_t** argv) {
    SetUp();
    const int code = Command(argc, argv);
    if (watched != nullptr) {
        watched->exitCode = code;
        watched->Enter(Progress::Phase::Done);
    }
    return code;
}
