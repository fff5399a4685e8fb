// The debug trace, as it stands in its file.

#include "shell/base/DebugTrace.h"

#include "shell/base/TextServices.h"
#include "shell/FourDPlug.h"
#include "testhost/model/ScratchFolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <string>
#include <vector>

#include <windows.h>

namespace {

std::vector<std::string> consoleTexts; ///< one for each call, since a test looks for them

/// The debugger's console is told by an exception, which nobody else sees when no debugger is
/// there.
LONG CALLBACK NoteConsoleText(EXCEPTION_POINTERS* exception) {
    const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
    if (record.ExceptionCode != DBG_PRINTEXCEPTION_C) {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    consoleTexts.emplace_back(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
    return EXCEPTION_CONTINUE_EXECUTION;
}

class DebugTraceTest : public testing::Test {
  protected:
    DebugTraceTest() {
        char folder[MAX_PATH];
        GetTempPathA(sizeof folder, folder);
        path = std::string(folder) + "nimbo-trace-" + std::to_string(GetCurrentProcessId());
        DeleteFileA(path.c_str());
    }

    ~DebugTraceTest() override {
        _DbgDeinit();
        DeleteFileA(path.c_str());
    }

    void Start(long level) const { _DbgInit(level, DebugOutput::File, path.c_str()); }

    std::string Contents() const {
        std::ifstream file(path, std::ios::binary);
        std::string text(static_cast<std::size_t>(std::filesystem::file_size(path)), '\0');
        file.read(text.data(), static_cast<std::streamsize>(text.size()));
        return std::regex_replace(text, std::regex("\r\n"), "\n");
    }

    /// What has been traced since `length` characters of the file.
    std::string Since(std::size_t length) const { return Contents().substr(length); }

    std::string path;
};

TEST_F(DebugTraceTest, BeginsAndEndsWithABanner) {
    Start(0);
    _DbgDeinit();
    const std::string rule(60, '=');
    const std::string time = R"( debug trace on \d{4}\.\d\d\.\d\d \d\d:\d\d:\d\d)";
    const auto banner = [&](const char* event) {
        return "\n\n" + rule + "\n" + event + time + "\n" + rule + "\n\n";
    };
    EXPECT_TRUE(std::regex_match(Contents(), std::regex(banner("Started") + banner("Stopped"))))
        << Contents();
}

TEST_F(DebugTraceTest, WritesByLevelAndDomain) {
    Start(2);
    const std::size_t start = Contents().size();
    _LongBitSet(gDebugSettings.domains, 255);
    _DbgTraceV("always ");
    _DbgTraceVL(2, "level %d ", 2);
    _DbgTraceVL(3, "not level 3 ");
    _DbgDomainTraceV(0, "domain 0 ");
    _DbgDomainTraceV(1, "not domain 1 ");
    _DbgDomainTraceV(256, "no such domain ");
    _DbgDomainTraceVL(255, 1, "both ");
    _DbgDomainTraceVL(255, 3, "not level 3 ");
    _DbgDomainTraceVL(7, 1, "not domain 7 ");
    EXPECT_EQ(Since(start), "always level 2 domain 0 both ");
}

TEST_F(DebugTraceTest, IndentsWhereALineStarts) {
    Start(0);
    const std::size_t start = Contents().size();
    gDebugSettings.indentation = 2;
    _DbgTraceV("a\nb");
    _DbgTraceV("c\n");
    gDebugSettings.indentation = 1;
    _DbgTraceV("d\n\ne\n");
    gDebugSettings.indentation = -1;
    _DbgTraceV("f");
    EXPECT_EQ(Since(start), "      a\n      bc\n   d\n   \n   e\nf");
    char text[] = "left\nas it was";
    _DbgTraceOut(text);
    EXPECT_STREQ(text, "left\nas it was");
}

TEST_F(DebugTraceTest, FormatsTwiceAndCuts) {
    Start(0);
    const std::size_t start = Contents().size();
    _DbgTraceV("100%%%% of %s", "it"); // once to "100%% of it", then to "100% of it"
    EXPECT_EQ(Since(start), "100% of it");
    _DbgTraceV("%s", std::string(20000, 'x').c_str());
    EXPECT_EQ(Since(start).size(), 10U + 16383U);
    _DbgTraceV("%s", "");
    EXPECT_EQ(Since(start).size(), 10U + 16383U);
}

TEST_F(DebugTraceTest, KeepsTheEndOfALineApartFromItsFormat) {
    Start(0);
    const std::size_t start = Contents().size();
    gDebugSettings.indentation = 1;
    _DbgTraceV("5%%\n6%%5\n7"); // a "%" without a conversion ends the text
    EXPECT_EQ(Since(start), "   5\n   6\n   7");
}

TEST_F(DebugTraceTest, WritesLinesWholeAndAtOnce) {
    const std::string blanks(6, ' ');
    const std::string longLine(40000, 'x');
    std::string text = "a\n\n" + longLine + "\nb";
    Start(0);
    const std::size_t start = Contents().size();
    gDebugSettings.indentation = 2;
    _DbgTraceOut(text.data());
    const std::string written =
        blanks + "a\n" + blanks + "\n" + blanks + longLine + "\n" + blanks + "b";
    EXPECT_EQ(Since(start), written);

    void* const watch = AddVectoredExceptionHandler(1, NoteConsoleText);
    _DbgInit(0, DebugOutput::Console, nullptr);
    gDebugSettings.indentation = 2;
    consoleTexts.clear();
    _DbgTraceOut(text.data());
    RemoveVectoredExceptionHandler(watch);
    ASSERT_GT(consoleTexts.size(), 3u);
    EXPECT_EQ(consoleTexts[0], blanks + "a\n");
    EXPECT_EQ(consoleTexts[1], blanks + "\n");
    EXPECT_EQ(consoleTexts.back(), blanks + "b");
    std::string all;
    for (const std::string& piece : consoleTexts) {
        all += piece;
    }
    EXPECT_EQ(all, written);
}

TEST_F(DebugTraceTest, EitherOutputTakesATextWithoutIndentation) {
    Start(0);
    const std::size_t start = Contents().size();
    gDebugSettings.indentation = 2;
    const std::string text = "100%%\nof it\n";
    _DbgOutputFile(text.c_str()); // which takes it for a format
    EXPECT_EQ(Since(start), "100%\nof it\n");
    void* const watch = AddVectoredExceptionHandler(1, NoteConsoleText);
    consoleTexts.clear();
    _DbgOutputConsole(text.c_str());
    RemoveVectoredExceptionHandler(watch);
    EXPECT_EQ(consoleTexts, std::vector{text});
    EXPECT_EQ(Since(start), "100%\nof it\n");
}

TEST_F(DebugTraceTest, KeepsTheOutputForAnUnknownOneAndOpensTheFileAgain) {
    Start(5);
    _DbgInit(1, 99, nullptr);   // still the file of before
    FourDPlug::InitDebugLog(9); // these two do nothing
    FourDPlug::DeinitDebugLog();
    EXPECT_EQ(gDebugSettings.level, 1);
    EXPECT_STREQ(gDebugSettings.fileName, path.c_str());
    _DbgDeinit();
    const std::size_t start = Contents().size();
    _DbgTraceV("after the stop\n");
    EXPECT_EQ(Since(start), "after the stop\n");

    _DbgInit(0, DebugOutput::Console, "");
    EXPECT_STREQ(gDebugSettings.fileName, "debug.log");
    _DbgInit(0, DebugOutput::Console, std::string(5000, 'n').c_str());
    EXPECT_EQ(std::string(gDebugSettings.fileName), std::string(512, 'n'));
}

TEST_F(DebugTraceTest, HasANameWhereNoneIsGiven) {
    const std::filesystem::path before = std::filesystem::current_path();
    for (const auto& [given, name] :
         {std::pair{static_cast<const char*>(nullptr), "Debug.log"}, {"", "debug.log"}}) {
        ScratchFolder scratch;
        std::filesystem::current_path(scratch.Path());
        gDebugSettings.fileName = "";
        _DbgInit(0, DebugOutput::File, given);
        _DbgDeinit();
        const std::filesystem::directory_iterator files(".");
        EXPECT_EQ(files->path().filename().string(), name); // its case, too
        EXPECT_GT(files->file_size(), 2 * 60U);
        std::filesystem::current_path(before);
    }
    gDebugSettings.fileName = path.c_str();
}

TEST_F(DebugTraceTest, LosesWhatItCannotWriteAndTriesAgain) {
    ScratchFolder scratch;
    const std::string folder = scratch.Path() + "later";
    const std::string file = folder + "\\trace";
    _DbgInit(0, DebugOutput::File, file.c_str());
    _DbgTraceV("lost ");
    std::filesystem::create_directory(folder);
    _DbgTraceV("kept");
    _DbgInit(0, DebugOutput::Console, nullptr); // the banner of the end goes elsewhere
    _DbgDeinit();
    std::ifstream stream(file);
    std::string text;
    std::getline(stream, text);
    EXPECT_EQ(text, "kept");
    gDebugSettings.fileName = path.c_str();
}

} // namespace
