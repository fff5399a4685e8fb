#include "testhost/watch/Isolation.h"

#include "testhost/model/ScratchFolder.h"
#include "testhost/session/TextFile.h"
#include "testhost/values/Encodings.h"
#include "testhost/watch/Child.h"

#include <algorithm>
#include <cwchar>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <new>
#include <stdexcept>

#include <windows.h>

namespace {
constexpr int somethingFailed = 1;

// Where a child finds the handle of its Progress.
constexpr const wchar_t* progressVariable = L"TESTHOST_PROGRESS";

// Progress that a child shares.
class SharedProgress {
  public:
    SharedProgress() : mapping(Make()) {
        if (void* const view =
                MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Progress))) {
            progress = new (view) Progress;
        } else {
            throw std::runtime_error("testhost: there is no memory to share with the session");
        }
    }
    ~SharedProgress() {
        UnmapViewOfFile(progress);
        CloseHandle(mapping);
    }
    SharedProgress(const SharedProgress&) = delete;
    SharedProgress& operator=(const SharedProgress&) = delete;

    Progress* operator->() { return progress; }
    Progress& operator*() { return *progress; }
    /// For the children's environment.
    std::wstring Handle() const {
        return std::to_wstring(reinterpret_cast<unsigned long>(mapping));
    }

  private:
    static HANDLE Make() {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        return CreateFileMappingW(INVALID_HANDLE_VALUE, &inherited, PAGE_READWRITE, 0,
                                  sizeof(Progress), nullptr);
    }

    HANDLE mapping;
    Progress* progress = nullptr;
};

// The standard input as a file, from which each child can read.
class InputFile {
  public:
    explicit InputFile(const std::string& folder) : path(FromAnsi(folder) + L"script") {
        std::ofstream file(std::filesystem::path(path), std::ios::binary);
        file << ReadText(std::cin, "the standard input");
        file.close();
        if (!file) {
            Fail();
        }
    }
    HANDLE Open() const {
        SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
        HANDLE const file = CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, &inherited,
                                        OPEN_EXISTING, 0, nullptr);
        if (file == INVALID_HANDLE_VALUE) {
            Fail();
        }
        return file;
    }

  private:
    [[noreturn]] void Fail() const {
        throw std::runtime_error("testhost: the standard input cannot be kept in " + Shown(path));
    }

    std::wstring path;
};

const char* Word(ChildEnd::Kind kind) {
    switch (kind) {
    case ChildEnd::Kind::TimedOut:
        return "TIMED OUT";
    case ChildEnd::Kind::Interrupted:
        return "INTERRUPTED";
    default:
        return "CRASHED";
    }
}

// "demo.session:12 (call 3), in command 3()".
std::string Where(const Progress& progress) {
    switch (progress.phase) {
    case Progress::Phase::Preparing:
        return "before the script";
    case Progress::Phase::Loading:
        return "while the plug-in was loaded";
    case Progress::Phase::Unloading:
    case Progress::Phase::Done:
        return "after the script, when the plug-in was unloaded";
    default:
        break;
    }
    std::string where(Progress::Read(progress.place));
    if (const std::string_view line = Progress::Read(progress.line); !line.empty()) {
        where.append(" (").append(line).append(")");
    }
    if (const std::string_view entry = Progress::Read(progress.underWay); !entry.empty()) {
        where.append(", in ").append(entry);
    }
    return where;
}

void Report(const ChildEnd& end, const Progress& progress) {
    if (progress.callsNotPrinted > 0) {
        std::cout << "  ← ... and " << progress.callsNotPrinted << " more calls\n";
    }
    std::cout << Word(end.kind) << " " << Where(progress);
    if (!end.what.empty()) {
        std::cout << ": " << end.what;
    }
    std::cout << "\n";
    for (const std::string& call : end.calls) {
        std::cout << "  in " << call << "\n";
    }
    std::cout << std::flush;
}

// When a child has played to the end: whether people know what came of it. A plug-in may close what
// the transcript goes to.
int TellOf(const Progress& progress) {
    if (!progress.hasAccount || progress.toldAccount) {
        return progress.exitCode;
    }
    std::cout << "CRASHED: the transcript could not be printed to its end\n"
              << progress.account.Describe() << std::endl;
    return somethingFailed;
}

// Makes this the folder for temporary files of the processes that are started from now on: whatever
// they leave there goes with it.
void UseForTemporaryFiles(const std::string& folder) {
    for (const wchar_t* name : {L"TEMP", L"TMP"}) {
        SetEnvironmentVariableW(name, FromAnsi(folder).c_str());
    }
}
} // namespace

int PlayIsolated(const IsolatedSession& session) {
    ScratchFolder scratch;
    const std::string folder = scratch.Path();
    std::unique_ptr<InputFile> input;
    if (session.readsInput) {
        input = std::make_unique<InputFile>(folder);
    }
    UseForTemporaryFiles(folder);
    SharedProgress progress;
    SetEnvironmentVariableW(progressVariable, progress.Handle().c_str());
    ChildStart start{.commandLine = GetCommandLineW(),
                     .plugin = session.plugin,
                     .timeout = session.timeout * 1000};
    size_t resumeFrom = 0; // kept here, too: what is shared lies within reach of the plug-in
    while (true) {
        start.input = input != nullptr ? input->Open() : nullptr;
        const ChildEnd end = RunChild(start, *progress);
        if (start.input != nullptr) {
            CloseHandle(start.input);
        }
        if (end.kind == ChildEnd::Kind::Finished) {
            return TellOf(*progress);
        }
        Report(end, *progress);
        progress->account.crashes += end.kind != ChildEnd::Kind::Interrupted ? 1 : 0;
        const bool played = progress->phase >= Progress::Phase::Playing;
        const size_t next = std::min(std::max(played ? progress->statement + 1 : 0, resumeFrom),
                                     progress->statements);
        // What goes down while it is set up again would do so for ever.
        const bool goesOn = session.keepsGoing && end.kind != ChildEnd::Kind::Interrupted &&
                            progress->phase == Progress::Phase::Playing && next > resumeFrom;
        if (!goesOn) {
            progress->account.notPlayed += progress->statements - next;
            std::cout << progress->account.Describe() << std::endl;
            return somethingFailed;
        }
        progress->resumeFrom = resumeFrom = next;
        progress->phase = Progress::Phase::Preparing;
        progress->underWay = {};
        progress->callsNotPrinted = 0;
        progress->isWriting = false;
    }
}

Progress* SharedWithWatcher() {
    wchar_t text[16] = L"";
    const DWORD length = GetEnvironmentVariableW(progressVariable, text, std::size(text));
    if (length == 0 || length >= std::size(text)) {
        return nullptr;
    }
    SetEnvironmentVariableW(progressVariable, nullptr); // not for programs that the plug-in starts
    auto* const handle = reinterpret_cast<HANDLE>(std::wcstoul(text, nullptr, 10));
    return static_cast<Progress*>(
        MapViewOfFile(handle, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(Progress)));
}
