#include "testhost/session/Transcript.h"

#include "testhost/session/Words.h"
#include "testhost/values/Encodings.h"

#include <cstdio>
#include <iostream>

namespace {
constexpr size_t mostLines = 1000;
constexpr size_t mostSentences = 100;
constexpr size_t mostOfSentence = 10;

bool IsControl(unsigned char byte) {
    return (byte < ' ' && byte != '\t' && byte != '\n') || byte == 0x7F;
}
} // namespace

std::string Colored(LineKind kind, const std::string& line) {
    constexpr const char* faint = "\x1B[2m";
    constexpr const char* starts[] = {"", "\x1B[36m", "", faint, "\x1B[31m", "\x1B[32m"};
    constexpr const char* end = "\x1B[0m";
    if (kind == LineKind::Plain) {
        return line;
    }
    if (kind == LineKind::Call) {
        const size_t name = line.find(')') + 1; // behind "ProcessInfo (94, classic)"
        return line.substr(0, name) + faint + line.substr(name) + end;
    }
    return starts[static_cast<size_t>(kind)] + line + end;
}

std::string Visible(std::string_view text) {
    std::string visible;
    visible.reserve(text.size());
    for (size_t place = 0; place < text.size(); ++place) {
        const auto byte = static_cast<unsigned char>(text[place]);
        // In UTF-8 the second set of control characters is 0xC2 and one of 0x80 to 0x9F.
        const bool isPair = byte == 0xC2 && place + 1 < text.size() &&
                            (static_cast<unsigned char>(text[place + 1]) & 0xE0) == 0x80;
        if (!IsControl(byte) && !isPair) {
            visible += text[place];
            continue;
        }
        char escape[8];
        place += isPair ? 1 : 0;
        std::snprintf(escape, sizeof escape, "\\x%02X",
                      static_cast<unsigned>(static_cast<unsigned char>(text[place])));
        visible += escape;
    }
    return visible;
}

std::string NotWritten(const std::filesystem::path& path) {
    return "FAILED: the transcript " + Shown(path) + " could not be written to its end";
}

std::ofstream OpenTranscript(const std::filesystem::path& path, bool goesOn) {
    std::ofstream file(path, std::ios::binary | (goesOn ? std::ios::app : std::ios::trunc));
    if (!file) {
        throw ScriptError("the transcript " + Shown(path) + " cannot be written");
    }
    return file;
}

void TellEnd(const TranscriptSettings& settings, size_t callsNotShown, const std::string& text) {
    Transcript transcript(std::cout, false);
    transcript.hasColors = settings.hasColors;
    if (callsNotShown > 0) {
        transcript.Line(Transcript::Sink::Screen, LineKind::Rest,
                        "  ← … " + std::to_string(callsNotShown) + " more calls");
    }
    std::ofstream file;
    if (!settings.file.empty()) {
        file.open(settings.file, std::ios::binary | std::ios::app);
        transcript.file = &file;
    }
    transcript.Say(LineKind::Wrong, text);
    if (!transcript.IsWritten()) {
        transcript.Say(LineKind::Wrong, NotWritten(settings.file));
    }
}

bool Transcript::Wants(Sink sink) const {
    return !isSilent && (sink == Sink::Screen ? !quiet : file != nullptr && HasRoom());
}

// Flushed line by line, so that a crash shows what led to it.
void Transcript::ToScreen(LineKind kind, const std::string& text) {
    screen << (hasColors ? Colored(kind, Visible(text)) : Visible(text)) << std::endl;
}

void Transcript::ToFile(const std::string& text) {
    if (file == nullptr) {
        return;
    }
    const std::string line = Visible(text) + "\n";
    const bool hadRoom = HasRoom();
    fileBytes += line.size();
    *file << line;
    if (hadRoom && !HasRoom()) {
        *file << "… here it has 64 MB: what follows is only failures, problems, echo, show "
                 "and the account\n";
    }
    *file << std::flush;
}

bool Transcript::Folds(const Likeness& likeness) {
    const bool folds = folding.Folds(likeness);
    if (!folds) {
        EndRun();
    } else if (callsNotShown != nullptr && likeness.isCall) {
        ++*callsNotShown;
    }
    return folds;
}

void Transcript::EndRun() {
    if (callsNotShown != nullptr) {
        *callsNotShown -= folding.Calls();
    }
    if (const std::string text = folding.Take(); !text.empty()) {
        Line(Sink::Screen, LineKind::Rest, text);
    }
}

void Transcript::Break() {
    EndRun();
    folding.Forget();
}

void Transcript::Line(Sink sink, LineKind kind, const std::string& text) {
    if (!Wants(sink)) {
        return;
    }
    if (sink == Sink::File) {
        ToFile(text);
    } else if (++lines <= mostLines) {
        ToScreen(kind, text);
    }
}

void Transcript::Line(LineKind kind, const std::string& text) {
    Line(Sink::Screen, kind, text);
    Line(Sink::File, kind, text);
}

void Transcript::Note(const std::string& text) {
    Break();
    if (Wants(Sink::Screen)) {
        ToScreen(LineKind::Plain, text);
    }
    if (Wants(Sink::File)) {
        ToFile(text);
    }
}

bool Transcript::Say(LineKind kind, const std::string& text) {
    Break();
    ToScreen(kind, text);
    ToFile(text);
    return screen.good();
}

void Transcript::Problem(const std::string& place, const std::string& sentence) {
    bool isShown = false;
    if (problems.size() == mostSentences && !problems.contains(sentence)) {
        ++otherProblems;
    } else {
        isShown = ++problems[sentence] <= mostOfSentence;
    }
    const std::string line = "PROBLEM " + place + ": " + sentence;
    if (isShown) {
        Say(LineKind::Wrong, line);
    } else if (Wants(Sink::File)) {
        ToFile(line);
    }
}

void Transcript::EndStatement(const std::string& place) {
    Break();
    if (lines > mostLines) {
        ToScreen(LineKind::Rest, "  … " + std::to_string(lines - mostLines) + " more lines");
    }
    const auto count = [&](size_t unshown, const std::string& what) {
        ToScreen(LineKind::Wrong, "PROBLEM " + place + ": … " + std::to_string(unshown) + what);
    };
    for (const auto& [sentence, times] : problems) {
        if (times > mostOfSentence) {
            count(times - mostOfSentence, " more like it: " + sentence);
        }
    }
    if (otherProblems > 0) {
        count(otherProblems, " others");
    }
    lines = 0;
    problems.clear();
    otherProblems = 0;
}
