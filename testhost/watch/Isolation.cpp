#include "testhost/watch/Isolation.h"

#include "testhost/model/ScratchFolder.h"
#include "testhost/session/TextFile.h"
#include "testhost/values/Encodings.h"
#include "testhost/watch/Child.h"

#include <algorithm>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>

#include <windows.h>

namespace {
constexpr int somethingFailed = 1;

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

// "demo.session:12 (call 3), in command 3()".
std::string Where(const Progress& progress) {
    std::string underWay = UnderWayText(progress);
    if (progress.phase != Progress::Phase::Playing && progress.phase != Progress::Phase::Stopping) {
        return underWay;
    }
    std::string where(Progress::Read(progress.place));
    if (const std::string_view line = Progress::Read(progress.line); !line.empty()) {
        where.append(" (").append(line).append(")");
    }
    return underWay.empty() ? where : where + ", " + underWay;
}

void Report(const ChildEnd& end, const Progress& progress, const TranscriptSettings& transcript) {
    std::string text = end.Describe(Where(progress));
    for (const std::string& call : end.calls) {
        text += "\n  in " + call;
    }
    TellEnd(transcript, progress.callsNotPrinted, text);
}

// When a child has played to the end: whether people know what came of it. A plug-in may close what
// the transcript goes to.
int TellOf(const Progress& progress, TranscriptSettings transcript) {
    if (!progress.hasAccount || progress.toldAccount) {
        return progress.exitCode;
    }
    transcript.file.clear(); // it has the account
    TellEnd(transcript, 0,
            "CRASHED: the transcript could not be printed to its end\n" +
                progress.account.Describe());
    return somethingFailed;
}
} // namespace

int PlayIsolated(const IsolatedSession& session) {
    ScratchFolder scratch;
    const std::string folder = scratch.Path();
    std::unique_ptr<InputFile> input;
    if (session.readsInput) {
        input = std::make_unique<InputFile>(folder);
    }
    SharedProgress progress;
    ChildStart start{.commandLine = GetCommandLineW(),
                     .temporaryFolder = FromAnsi(folder),
                     .plugin = session.plugin,
                     .timeout = session.timeout * 1000};
    TranscriptSettings transcript = session.transcript;
    size_t resumeFrom = 0; // kept here, too: what is shared lies within reach of the plug-in
    while (true) {
        start.input = input != nullptr ? input->Open() : nullptr;
        const ChildEnd end = RunChild(start, progress);
        if (start.input != nullptr) {
            CloseHandle(start.input);
        }
        if (end.kind == ChildEnd::Kind::Finished) {
            return TellOf(*progress, transcript);
        }
        if (progress->phase == Progress::Phase::Preparing && resumeFrom == 0) {
            transcript.file.clear(); // nothing was written yet: what is there is an earlier one
        }
        Report(end, *progress, transcript);
        progress->account.crashes += end.kind != ChildEnd::Kind::Interrupted ? 1 : 0;
        const bool played = progress->phase >= Progress::Phase::Playing;
        const size_t next = std::min(std::max(played ? progress->statement + 1 : 0, resumeFrom),
                                     progress->statements);
        // What goes down while it is set up again would do so for ever.
        const bool goesOn = session.keepsGoing && end.kind != ChildEnd::Kind::Interrupted &&
                            progress->phase == Progress::Phase::Playing && next > resumeFrom;
        if (!goesOn) {
            progress->account.notPlayed += progress->statements - next;
            TellEnd(transcript, 0, progress->account.Describe());
            return somethingFailed;
        }
        progress->resumeFrom = resumeFrom = next;
        progress->phase = Progress::Phase::Preparing;
        progress->underWay = {};
        progress->callsNotPrinted = 0;
        progress->isWriting = false;
    }
}
