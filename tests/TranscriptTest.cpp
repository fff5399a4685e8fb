// Transcripts: what the screen leaves out, what the file has, and colours.

#include "testhost/session/Transcript.h"

#include <gmock/gmock.h>
#include <sstream>

namespace {

const std::string heading = "anna: ";

// What the screen shows of calls, a letter for each selector; a capital one failed, and a full stop
// is a note.
std::string Shown(const std::string& calls) {
    std::ostringstream screen;
    std::ostringstream file;
    size_t notShown = 0;
    Transcript transcript(screen, false);
    transcript.callsNotShown = &notShown;
    transcript.file = &file;
    for (const char call : calls) {
        const bool failed = call >= 'A' && call <= 'Z';
        const std::string line(1, call);
        if (!transcript.Folds({.heading = &heading,
                               .depth = 1,
                               .process = 1,
                               .isCall = call != '.',
                               .selector = failed ? call - 'A' + 'a' : call,
                               .error = failed ? -50 : 0})) {
            transcript.Line(Transcript::Sink::Screen, LineKind::Call, line);
        }
        transcript.Line(Transcript::Sink::File, LineKind::Call, line);
    }
    const size_t counted = notShown;
    transcript.EndStatement("a:1");
    EXPECT_EQ(notShown, 0U);
    EXPECT_EQ(file.str().size(), 2 * calls.size()) << file.str();
    std::string shown = screen.str();
    std::erase(shown, '\n');
    EXPECT_EQ(counted > 0, shown.ends_with("it") || shown.ends_with("these two"));
    return shown;
}

TEST(TranscriptTest, WhatRepeatsItselfIsFolded) {
    const struct {
        const char* calls;
        const char* shown;
    } rows[] = {
        {"aaa", "aaa"},
        {"aaaa", "aaaanna:   ← … 1 more call like it"},
        {"aaaaaaba", "aaaanna:   ← … 3 more calls like itba"},
        {"abababab", "abababanna:   ← … 2 more calls like these two"},
        {"abcabcabcabcab.", "abcabcabcanna:   ← … 5 more calls like these three."},
        {"abababbbbb", "abababbbanna:   ← … 2 more calls like it"},
        {"abcdabcdabcdabcd", "abcdabcdabcdabcd"}, // no group of four
        {"aaaaAa", "aaaanna:   ← … 1 more call like itAa"},
        {"a.a.a.a.a", "a.a.a.anna:   ← … 3 more lines like these two"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Shown(row.calls), row.shown);
    }
}

TEST(TranscriptTest, AProblemIsNotHiddenBetweenWhatIsFolded) {
    std::ostringstream screen;
    Transcript transcript(screen, false);
    const Likeness like{.heading = &heading, .depth = 0, .process = 1, .isCall = true};
    for (int count = 0; count < 5; ++count) {
        transcript.Folds(like);
    }
    transcript.Problem("a:1", "wrong");
    EXPECT_EQ(screen.str(), "anna: ← … 2 more calls like it\nPROBLEM a:1: wrong\n");
    EXPECT_FALSE(transcript.Folds(like));
}

TEST(TranscriptTest, TheFileHasWhatAQuietScreenHasNot) {
    std::ostringstream screen;
    std::ostringstream file;
    Transcript transcript(screen, true);
    transcript.file = &file;
    for (int count = 0; count < 12; ++count) {
        transcript.Line(LineKind::Call, "call");
        transcript.Problem("a:1", "wrong");
    }
    EXPECT_EQ(screen.str().size(), 10 * std::string("PROBLEM a:1: wrong\n").size());
    EXPECT_EQ(file.str().size(), 12 * std::string("call\nPROBLEM a:1: wrong\n").size());
    file.str("");
    // When it is full it goes on as the screen does.
    transcript.fileBytes = mostTranscriptBytes - 1;
    transcript.Line(LineKind::Call, "last");
    transcript.Line(LineKind::Call, "more");
    transcript.Problem("a:1", "wrong");
    transcript.Say(LineKind::Wrong, "FAILED");
    EXPECT_THAT(file.str(), testing::StartsWith("last\n… here"));
    EXPECT_THAT(file.str(), testing::EndsWith(" account\nFAILED\n"));
    EXPECT_TRUE(transcript.IsWritten());
    file.setstate(std::ios::badbit); // as when the disk is full
    EXPECT_FALSE(transcript.IsWritten());
}

TEST(TranscriptTest, OnlyTheScreenHasColors) {
    std::ostringstream screen;
    std::ostringstream file;
    Transcript transcript(screen, false);
    transcript.hasColors = true;
    transcript.file = &file;
    transcript.Line(LineKind::Entry, "→ start (-1)");
    transcript.Line(LineKind::Call, "  ← Name (1, classic)  param1 = 1");
    transcript.Note("é\tÂ\xC2 text");
    transcript.Problem("a:1", "\x1B[32m\xC2\x9B\r\x7Fgood");
    EXPECT_EQ(screen.str(), "\x1B[36m→ start (-1)\x1B[0m\n"
                            "  ← Name (1, classic)\x1B[2m  param1 = 1\x1B[0m\n"
                            "é\tÂ\xC2 text\n"
                            "\x1B[31mPROBLEM a:1: \\x1B[32m\\x9B\\x0D\\x7Fgood\x1B[0m\n");
    EXPECT_EQ(file.str(), "→ start (-1)\n  ← Name (1, classic)  param1 = 1\né\tÂ\xC2 text\n"
                          "PROBLEM a:1: \\x1B[32m\\x9B\\x0D\\x7Fgood\n");
}

} // namespace
