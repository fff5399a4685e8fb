#include "testhost/app/Validate.h"

#include "testhost/app/ExitCodes.h"
#include "testhost/session/DatabaseFile.h"
#include "testhost/session/TextFile.h"
#include "testhost/session/Words.h"
#include "testhost/statements/Table.h"
#include "testhost/validate/Checks.h"
#include "testhost/validate/Report.h"
#include "testhost/validate/Validator.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <CLI.hpp>
#include <fstream>
#include <io.h>
#include <iostream>
#include <random>
#include <thread>
#include <utility>

#include <windows.h>
#include <shlwapi.h>

namespace {
constexpr unsigned long longestTimeout = 24 * 60 * 60;
constexpr size_t terminalWidth = 79;

bool Matches(const char* name, const std::vector<std::string>& patterns) {
    return std::ranges::any_of(patterns, [&](const std::string& pattern) {
        return PathMatchSpecA(name, pattern.c_str()) != 0;
    });
}

// Throws ScriptError for a pattern that no check's name matches: what it was to leave out, or to do
// alone, would be done, or left out, without a word.
void RefuseUnknown(const std::vector<std::string>& patterns) {
    for (const std::string& pattern : patterns) {
        if (std::ranges::none_of(
                Checks(), [&](const Check& check) { return Matches(check.name, {pattern}); })) {
            throw ScriptError("there is no check '" + pattern + "'; --list names them");
        }
    }
}

std::vector<std::string> ChosenChecks(const ValidateOptions& options) {
    RefuseUnknown(options.only);
    RefuseUnknown(options.skip);
    std::vector<std::string> names;
    for (const Check& check : Checks()) {
        if ((options.only.empty() || Matches(check.name, options.only)) &&
            !Matches(check.name, options.skip)) {
            names.emplace_back(check.name);
        }
    }
    if (names.empty()) {
        throw ScriptError("--only and --skip leave no check");
    }
    return names;
}

// The statements with which each session begins; checked, as all of them will be played.
std::vector<std::string> SetUpStatements(const ValidateOptions& options) {
    std::vector<std::string> statements;
    if (!options.database.empty()) {
        const std::filesystem::path file = std::filesystem::absolute(FromUtf8(options.database));
        const DatabaseFile database = ReadDatabaseFile(file);
        if (!database.errors.empty()) {
            throw ScriptError(database.errors.front());
        }
        statements.push_back("database " + Quoted(Utf8(file.wstring())));
    }
    if (!options.setUp.empty()) {
        const Script script = ParseScript(
            ReadText(FromUtf8(options.setUp), "the set-up " + options.setUp), options.setUp);
        if (!script.errors.empty()) {
            throw ScriptError(script.errors.front());
        }
        for (const Statement& statement : script.statements) {
            if (!statement.setsUp) {
                throw ScriptError(options.setUp + ":" + std::to_string(statement.line) +
                                  ": a set-up has statements that say what the host is, such as "
                                  "'set' and 'method', not '" +
                                  statement.text + "'");
            }
            statements.push_back(statement.text);
        }
    }
    return statements;
}

void RequireFile(const std::string& what, const std::string& name) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(FromUtf8(name), error)) {
        throw ScriptError(what + " " + name + " is missing or no file");
    }
}

// Shows what is under way on one line of a terminal, until something else is printed.
class ProgressLine {
  public:
    void Show(std::string text) {
        text.resize(std::min(text.size(), terminalWidth));
        const size_t length = text.size();
        text.resize(std::max(length, shown), ' ');
        std::cerr << '\r' << text << '\r' << std::flush;
        shown = length;
    }
    void Clear() {
        if (shown > 0) {
            Show("");
        }
    }
    static bool IsWanted() { return _isatty(_fileno(stderr)) != 0; }

  private:
    size_t shown = 0;
};

// Opened at the start, where it may fail without anything being lost.
class ReportFile {
  public:
    explicit ReportFile(std::string itsName) : name(std::move(itsName)) {
        if (!name.empty()) {
            file.open(std::filesystem::path(FromUtf8(name)), std::ios::binary);
            Check();
        }
    }
    void Write(const std::string& text) {
        if (!name.empty()) {
            file << text << std::flush;
            Check();
        }
    }

  private:
    void Check() const {
        if (!file) {
            throw ScriptError("the report " + name + " cannot be written");
        }
    }

    std::string name;
    std::ofstream file;
};

int PrintChecks() {
    for (const Check& check : Checks()) {
        std::string name(check.name);
        name.resize(14, ' ');
        std::cout << name << check.help << " (From strictness " << check.strictness << " on.)\n";
    }
    return ExitCode::allHeld;
}
} // namespace

void AddValidateOptions(CLI::App& validate, ValidateOptions& options) {
    validate.add_option("PLUGIN.dll", options.plugins, "the plug-ins")->type_name("");
    validate.add_flag("--list", options.list, "only prints the checks, a sentence each");
    validate
        .add_option("--only", options.only,
                    "makes these checks only: names, or patterns with * and ?")
        ->type_name("CHECK,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    validate.add_option("--skip", options.skip, "leaves these checks out")
        ->type_name("CHECK,...")
        ->delimiter(',')
        ->allow_extra_args(false);
    validate
        .add_option(
            "--strictness", options.strictness,
            "how far it goes: 1 to 10 (5 when not given);\na plug-in that holds at 10 is fit "
            "to ship")
        ->check(CLI::Range(1, 10).description(""))
        ->type_name("N");
    validate
        .add_option("--seed", options.seed,
                    "what is random is as with the seed of another run\n(a new one when not given)")
        ->check(CLI::Range(0L, 0x7FFFFFFFL).description(""))
        ->type_name("N");
    validate
        .add_option(
            "--timeout", options.timeout,
            "seconds that a statement of a session may take\n(10 when not given); 0: as long "
            "as it likes")
        ->check(CLI::Range(0UL, longestTimeout).description(""))
        ->type_name("SECONDS");
    validate
        .add_option("--jobs", options.jobs,
                    "how many checks run at a time (two for each processor\nwhen not given)")
        ->check(CLI::Range(1U, 64U).description(""))
        ->type_name("N");
    validate
        .add_option(
            "--set-up", options.setUp,
            "a script of statements that say what the host is\n(set, method, structure, ...): "
            "each session begins with them")
        ->type_name("SCRIPT");
    validate
        .add_option("--database", options.database, "tables and records of each session's host")
        ->type_name("FILE");
    validate
        .add_option(
            "--resources", options.resources,
            "the plug-ins' resource file; when not given,\nthe .rsrc beside each, if there is "
            "one")
        ->type_name("FILE");
    validate
        .add_option(
            "--sessions", options.sessions,
            "where the sessions that show what was found are written\n(the folder findings when "
            "not given)")
        ->type_name("DIR");
    validate.add_option("--json", options.json, "also writes all results into this file")
        ->type_name("FILE");
    validate.add_option("--junit", options.junit, "the same in the XML that CI services read")
        ->type_name("FILE");
}

int RunValidate(const ValidateOptions& options) {
    if (options.list) {
        return PrintChecks();
    }
    if (options.plugins.empty()) {
        throw ScriptError("no plug-in is named");
    }
    Validation validation;
    validation.checks = ChosenChecks(options);
    validation.setUp = SetUpStatements(options);
    validation.resources = FromUtf8(options.resources);
    validation.sessions = FromUtf8(options.sessions);
    validation.strictness = options.strictness;
    validation.timeout = options.timeout;
    for (const std::string& plugin : options.plugins) {
        validation.plugins.emplace_back(FromUtf8(plugin));
        RequireFile("the plug-in", plugin);
    }
    if (!options.resources.empty()) {
        RequireFile("the resource file", options.resources);
    }
    validation.seed = options.seed >= 0 ? static_cast<unsigned long>(options.seed)
                                        : std::random_device()() % 1'000'000;
    validation.jobs =
        options.jobs > 0 ? options.jobs : 2 * std::max(1U, std::thread::hardware_concurrency());
    ReportFile json(options.json);
    ReportFile junit(options.junit);
    Report report{.strictness = validation.strictness, .seed = validation.seed};
    std::cout << "Strictness " << validation.strictness << ", seed " << validation.seed
              << std::endl;
    ProgressLine line;
    validation.onResult = [&](const CheckResult& result) {
        line.Clear();
        PrintResult(result, report.seed, std::cout);
        report.results.push_back(result);
    };
    if (ProgressLine::IsWanted()) {
        validation.onProgress = [&](const std::string& text) { line.Show(text); };
    }
    Validate(validation);
    for (const std::filesystem::path& plugin : validation.plugins) {
        for (const Check& check : Checks()) {
            if (Matches(check.name, options.skip)) {
                CheckResult left{.plugin = Utf8(plugin.filename().wstring()), .check = check.name};
                left.skipped = "left out by --skip";
                validation.onResult(left);
            }
        }
    }
    std::cout << report.Summary() << std::endl;
    json.Write(JsonOf(report));
    junit.Write(JunitOf(report));
    return report.IsGood() ? ExitCode::allHeld : ExitCode::somethingFailed;
}
