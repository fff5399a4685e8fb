#include "testhost/validate/Validator.h"

#include "testhost/model/ScratchFolder.h"
#include "testhost/validate/Json.h"
#include "testhost/values/Encodings.h"
#include "testhost/watch/Child.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <windows.h>

namespace {
constexpr size_t mostProcesses = 400; // of a check: what is found is reduced in some, too

struct Task {
    std::filesystem::path plugin; ///< absolute
    std::string label;            ///< what the plug-in is called
    std::string check;
    std::filesystem::path folder; ///< its own, with the folders below
    SharedProgress progress = {};
    std::atomic<bool> isRunning = false;
    std::optional<CheckResult> result = {};
};

std::string ReadAll(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void WriteAll(const std::filesystem::path& path, const std::string& text, bool appends = false) {
    std::ofstream file(path, std::ios::binary | (appends ? std::ios::app : std::ios::trunc));
    file << text;
    file.close();
    if (!file) {
        throw std::runtime_error(Shown(path) + " cannot be written");
    }
}

std::wstring Argument(const std::filesystem::path& path) {
    return L"\"" + path.wstring() + L"\"";
}

// What is said of a session that took its process along.
Outcome OutcomeOf(const ChildEnd& end, const Progress& progress) {
    const bool timedOut = end.kind == ChildEnd::Kind::TimedOut;
    return {.session = progress.sessions,
            .end = timedOut ? Outcome::End::TimedOut : Outcome::End::Crashed,
            .problems = {{.statement = std::string(Progress::Read(progress.line)),
                          .sentence = end.Describe(UnderWayText(progress)),
                          .calls = end.calls}}};
}

class Run {
  public:
    explicit Run(const Validation& itsValidation) : validation(itsValidation) {
        const std::filesystem::path top = FromAnsi(scratch.Path());
        for (const std::filesystem::path& plugin : validation.plugins) {
            const std::string label = LabelOf(std::filesystem::absolute(plugin));
            for (const std::string& check : validation.checks) {
                tasks.push_back(std::make_unique<Task>());
                Task& task = *tasks.back();
                task.plugin = std::filesystem::absolute(plugin);
                task.label = label;
                task.check = check;
                task.folder = top / std::to_wstring(tasks.size());
            }
        }
    }

    void Go() {
        std::vector<std::thread> threads;
        for (unsigned count = 0; count < std::min<size_t>(validation.jobs, tasks.size()); ++count) {
            threads.emplace_back([this] { Work(); });
        }
        for (const auto& task : tasks) {
            Await(*task);
            validation.onResult(*task->result);
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

  private:
    // "Tour.dll"; of several so called "release/Tour.dll", and when these are alike, too, with a
    // number.
    std::string LabelOf(const std::filesystem::path& plugin) {
        const auto count = std::ranges::count(validation.plugins, plugin.filename(),
                                              [](const auto& each) { return each.filename(); });
        const std::filesystem::path folder = plugin.parent_path().filename();
        const std::string label =
            (count > 1 ? Utf8(folder.wstring()) + "/" : "") + Utf8(plugin.filename().wstring());
        const size_t number = ++labels[label];
        return number == 1 ? label : std::to_string(number) + "-" + label;
    }

    void Work() {
        while (true) {
            const size_t number = next++;
            if (number >= tasks.size()) {
                return;
            }
            Task& task = *tasks[number];
            task.isRunning = true;
            CheckResult result = Perform(task);
            const std::lock_guard lock(mutex);
            task.isRunning = false;
            task.result = std::move(result);
            ++done;
            changed.notify_all();
        }
    }

    void Await(const Task& task) {
        std::unique_lock lock(mutex);
        const auto isDone = [&] { return task.result.has_value(); };
        while (!changed.wait_for(lock, std::chrono::milliseconds(250), isDone)) {
            if (validation.onProgress) {
                validation.onProgress(ProgressLine());
            }
        }
    }

    // "3 of 11 checks done; commands (312 sessions), memory (20 sessions)".
    std::string ProgressLine() const {
        std::string line = std::to_string(done) + " of " + std::to_string(tasks.size()) + " done";
        const char* separator = "; ";
        for (const auto& task : tasks) {
            if (task->isRunning) {
                line += separator + task->check + " (" +
                        std::to_string((*task->progress).sessions) + " sessions)";
                separator = ", ";
            }
        }
        return line;
    }

    CheckResult Perform(Task& task) {
        const DWORD began = GetTickCount();
        CheckResult result;
        try {
            result = Check(task);
        } catch (const std::exception& error) { // of this machine: no memory, no disk
            result.error = error.what();
        }
        result.plugin = task.label;
        result.check = task.check;
        result.seconds = (GetTickCount() - began) / 1000.0;
        return result;
    }

    CheckResult Check(Task& task) {
        std::filesystem::create_directories(task.folder / "work");
        std::filesystem::create_directories(task.folder / "temporary");
        const std::filesystem::path journal = task.folder / "journal";
        const std::filesystem::path orderFile = task.folder / "order";
        const std::filesystem::path resultFile = task.folder / "result";
        Order order{.plugin = Utf8(task.plugin.wstring()),
                    .resources =
                        validation.resources.empty()
                            ? ""
                            : Utf8(std::filesystem::absolute(validation.resources).wstring()),
                    .setUp = validation.setUp,
                    .check = task.check,
                    .strictness = validation.strictness,
                    .seed = validation.seed,
                    .journal = Utf8(journal.wstring()),
                    .result = Utf8(resultFile.wstring())};
        WriteAll(orderFile, LineOf(order));
        const ChildStart start{.commandLine = L"testhost perform " + Argument(orderFile),
                               .temporaryFolder = task.folder / "temporary",
                               .folder = task.folder / "work",
                               .isSilent = true,
                               .plugin = task.plugin,
                               .timeout = validation.timeout * 1000};
        for (size_t count = 0; count < mostProcesses; ++count) {
            *task.progress = Progress();
            const ChildEnd end = RunChild(start, task.progress);
            const Progress& progress = *task.progress;
            if (end.kind == ChildEnd::Kind::Interrupted) {
                return {.error = "interrupted"};
            }
            if (end.kind == ChildEnd::Kind::Finished) {
                CheckResult result = nlohmann::json::parse(ReadAll(resultFile)).get<CheckResult>();
                KeepSessions(task, result);
                return result;
            }
            if (progress.phase == Progress::Phase::Preparing) {
                return {.error = "the check itself went down: " + end.what};
            }
            WriteAll(journal, LineOf(OutcomeOf(end, progress)) + "\n", true);
        }
        return {.error =
                    "the plug-in brought down " + std::to_string(mostProcesses) + " processes"};
    }

    // Writes the session of each finding, and plays it the way a person will.
    void KeepSessions(Task& task, CheckResult& result) {
        size_t number = 0;
        for (Finding& finding : result.findings) {
            std::string name = task.label.substr(0, task.label.rfind('.')) + "-" + task.check +
                               "-" + std::to_string(++number) + ".session";
            std::ranges::replace(name, '/', '-');
            const std::filesystem::path file = validation.sessions / FromUtf8(name);
            {
                const std::lock_guard lock(mutex); // one folder serves all
                std::error_code error;
                std::filesystem::create_directories(validation.sessions, error);
            }
            try {
                WriteAll(file, Heading(task, finding) + finding.script);
            } catch (const std::runtime_error&) { // the finding is there nevertheless
                result.notes.push_back("the session " + Utf8(file.wstring()) +
                                       " could not be written");
                continue;
            }
            finding.file = Utf8(file.wstring());
            finding.isReproduced = Reproduces(task, file);
        }
    }

    std::string Heading(const Task& task, const Finding& finding) const {
        std::string text = "# " + task.label + ", check " + task.check + ", strictness " +
                           std::to_string(validation.strictness) + ", seed " +
                           std::to_string(validation.seed) + ".\n# ";
        for (const char character : finding.sentence) { // which may have several lines
            text += character;
            text += character == '\n' ? "# " : "";
        }
        return text + "\n";
    }

    bool Reproduces(Task& task, const std::filesystem::path& file) const {
        std::wstring resources;
        if (!validation.resources.empty()) {
            resources =
                L" --resources " + Argument(std::filesystem::absolute(validation.resources));
        }
        *task.progress = Progress();
        const ChildEnd end =
            RunChild({.commandLine = L"testhost run " + Argument(task.plugin) + L" " +
                                     Argument(std::filesystem::absolute(file)) + resources,
                      .temporaryFolder = task.folder / "temporary",
                      .folder = task.folder / "work",
                      .isSilent = true,
                      .plugin = task.plugin,
                      .timeout = validation.timeout * 1000},
                     task.progress);
        return end.kind != ChildEnd::Kind::Interrupted &&
               (end.kind != ChildEnd::Kind::Finished || end.exitCode != 0);
    }

    const Validation& validation;
    std::map<std::string, size_t> labels; ///< how many plug-ins have each
    ScratchFolder scratch;
    std::vector<std::unique_ptr<Task>> tasks;
    std::atomic<size_t> next = 0;
    std::mutex mutex;
    std::condition_variable changed;
    size_t done = 0;
};
} // namespace

void Validate(const Validation& validation) {
    Run(validation).Go();
}
