#include "host/boundary/Calls.h"
#include "host/FourD.h"
#include "testhost/model/ScratchFolder.h"
#include "testhost/plugins/Library.h"
#include "testhost/plugins/RecorderInPlace.h"
#include "testhost/recordings/File.h"
#include "testhost/services/Dispatch.h"
#include "testhost/values/Encodings.h"

#include <array>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

#include <windows.h>

namespace {
using Recording::Chunk;
using Recording::Way;
using testing::HasSubstr;

std::filesystem::path Beside(const wchar_t* name) {
    wchar_t path[1024];
    const std::wstring program(path, GetModuleFileNameW(nullptr, path, std::size(path)));
    return std::filesystem::path(program).replace_filename(name);
}

// What is told to a debugger, for as long as this lives.
class DebugTexts {
  public:
    DebugTexts() : handler(AddVectoredExceptionHandler(1, Hear)) { all.clear(); }
    ~DebugTexts() { RemoveVectoredExceptionHandler(handler); }
    DebugTexts(const DebugTexts&) = delete;
    DebugTexts& operator=(const DebugTexts&) = delete;

    static inline std::string all;

  private:
    NIMBO_REALIGN static LONG WINAPI Hear(EXCEPTION_POINTERS* pointers) {
        const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
        if (record.ExceptionCode != DBG_PRINTEXCEPTION_C) {
            return EXCEPTION_CONTINUE_SEARCH;
        }
        all += reinterpret_cast<const char*>(record.ExceptionInformation[1]);
        return EXCEPTION_CONTINUE_EXECUTION;
    }

    void* handler;
};

// A folder in which the recorder has the place of Tour: as its users install it.
class RecorderTest : public testing::Test {
  protected:
    RecorderTest() {
        std::filesystem::copy_file(Beside(L"Recorder.dll"), folder / "Tour.dll");
        std::filesystem::copy_file(Beside(L"Tour.dll"), folder / "Tour.recorded.dll");
    }

    void Configure(const std::string& lines) const {
        std::ofstream(folder / "Tour.recorder.ini", std::ios::binary) << "[recorder]\r\n" << lines;
    }

    // Starts the plug-in, has it count words so often, stops it; answers what went wrong.
    std::vector<std::string> Play(unsigned short version, int calls = 1, long rounds = 0) const {
        PluginLibrary library(folder / "Tour.dll");
        Host host({.version = version});
        Session session(host, library.Entries());
        session.Start();
        for (int call = 0; call < calls; ++call) {
            EXPECT_EQ(session.Call(1, {TextValue("to be, or not to be")}, ValueKind::Long),
                      LongValue(6));
        }
        session.Stop();
        library.Reload(rounds);
        library.Unload(true);
        std::vector<std::string> problems = host.problems;
        for (const std::string& fault : PluginLibrary::TakeUnloadFaults()) {
            problems.push_back(fault);
        }
        return problems;
    }

    static std::vector<std::filesystem::path> RecordingsIn(const std::filesystem::path& place) {
        std::vector<std::filesystem::path> found;
        for (const auto& entry : std::filesystem::directory_iterator(place)) {
            if (entry.path().extension() == Recording::Extension) {
                found.push_back(entry.path());
            }
        }
        return found;
    }

    // The only one.
    RecordingFile Recorded() const {
        const auto found = RecordingsIn(folder);
        EXPECT_EQ(found.size(), 1U);
        return found.empty() ? RecordingFile() : ReadRecording(found.front());
    }

    ScratchFolder scratch;
    const std::filesystem::path folder = FromAnsi(scratch.Path());
};

size_t Count(const RecordingFile& recording, Chunk chunk) {
    return static_cast<size_t>(std::ranges::count(recording.events, chunk, &RecordedEvent::chunk));
}

TEST_F(RecorderTest, WritesWhatCrosses) {
    for (const unsigned short version : std::initializer_list<unsigned short>{0x0680, 0x1210}) {
        SCOPED_TRACE(version);
        EXPECT_EQ(Play(version), std::vector<std::string>());
        const RecordingFile recording = Recorded();
        EXPECT_EQ(recording.complaint, "");
        EXPECT_TRUE(recording.hasEnd);
        EXPECT_THAT(recording.head.at("Plug-in"), HasSubstr("Tour.recorded.dll"));
        EXPECT_EQ(recording.head.at("Plug-in version"), "1.0.0.0");
        EXPECT_EQ(recording.commands.at(1).usageText, "(text) -> long");
        EXPECT_EQ(Count(recording, Chunk::EntryBegins), 3U);
        EXPECT_EQ(Count(recording, Chunk::EntryEnds), 3U);
        EXPECT_GT(Count(recording, Chunk::CallBegins), 2U);
        EXPECT_EQ(Count(recording, Chunk::CallBegins), Count(recording, Chunk::CallEnds));
        const auto command = std::ranges::find(recording.events, 1, [](const RecordedEvent& event) {
            return event.chunk == Chunk::EntryEnds ? event.head.selector : 0;
        });
        ASSERT_NE(command, recording.events.end());
        const auto holds = [&](std::string_view bytes) {
            return std::ranges::any_of(command->contents.items, [&](const RecordedItem& item) {
                return std::ranges::equal(item.bytes, bytes);
            });
        };
        EXPECT_TRUE(holds("to be, or not to be"));
        EXPECT_TRUE(holds(std::string_view("\6\0\0\0", 4))); // the result's cell
        std::filesystem::remove(RecordingsIn(folder).front());
    }
}

TEST_F(RecorderTest, LeavesTheInitRecordAsThePlugInDoes) {
    for (const unsigned short version : std::initializer_list<unsigned short>{0x0680, 0x1210}) {
        const PluginLibrary library(folder / "Tour.dll");
        Host host({.version = version});
        const Host::Scope inside(host);
        struct {
            PackInitBlock block{};
            unsigned long behind = 0x12345678;
        } record;
        record.block.hostVersion = version;
        record.block.classicCallBack = ClassicHostCall;
        record.block.engineCallBack = EngineHostCall;
        SetLastError(1234);
        library.Entries().pack(-1, &record.block, nullptr, nullptr);
        EXPECT_EQ(record.block.classicCallBack, &ClassicHostCall);
        EXPECT_EQ(record.block.engineCallBack, &EngineHostCall);
        EXPECT_EQ(record.block.acceptedVersion, version);
        EXPECT_EQ(record.behind, 0x12345678U);
        library.Entries().pack(-2, nullptr, nullptr, nullptr);
    }
}

TEST_F(RecorderTest, MakesAFileForEachRunAndLeavesNothingLoaded) {
    EXPECT_EQ(Play(0x1130, 1, 3), std::vector<std::string>());
    EXPECT_EQ(RecordingsIn(folder).size(), 1U); // only the first was called
    EXPECT_EQ(Play(0x1130), std::vector<std::string>());
    EXPECT_EQ(RecordingsIn(folder).size(), 2U);
}

TEST_F(RecorderTest, RecordsElsewhereOrNotWhereItsFolderCannotBeWritten) {
    const DebugTexts texts;
    Configure("folder=there\\is\\none\r\n");
    const auto playWithTemporary = [&](const std::filesystem::path& temporary) {
        wchar_t former[MAX_PATH + 1];
        GetTempPathW(std::size(former), former);
        SetEnvironmentVariableW(L"TMP", temporary.c_str());
        const PluginLibrary library(folder / "Tour.dll");
        constexpr long noSelector = 0;
        library.Entries().pack(noSelector, nullptr, nullptr, nullptr);
        SetEnvironmentVariableW(L"TMP", former);
    };
    playWithTemporary(folder);
    EXPECT_EQ(Count(Recorded(), Chunk::EntryEnds), 1U);
    EXPECT_THAT(DebugTexts::all, HasSubstr(", the recording is in "));
    DebugTexts::all.clear();
    playWithTemporary(folder / "neither");
    EXPECT_EQ(DebugTexts::all,
              "Recorder: no file can be made for a recording of Tour, nothing is recorded.\r\n");
}

TEST_F(RecorderTest, DoesNothingWithoutThePlugIn) {
    const DebugTexts texts;
    Configure("plugin=missing.dll\r\n");
    const PluginLibrary library(folder / "Tour.dll");
    EXPECT_EQ(library.Entries().describe(), nullptr);
    library.Entries().pack(1, nullptr, nullptr, nullptr);
    library.Entries().packEx(-200, nullptr, nullptr, nullptr);
    EXPECT_THAT(DebugTexts::all, HasSubstr("missing.dll could not be loaded"));
    EXPECT_TRUE(RecordingsIn(folder).empty());
}

TEST_F(RecorderTest, EndsTheFileAtItsLimits) {
    Configure("file=1\r\nitem=8\r\n");
    EXPECT_EQ(Play(0x1130, 8000), std::vector<std::string>());
    EXPECT_LE(std::filesystem::file_size(RecordingsIn(folder).front()), 1024U * 1024);
    const RecordingFile recording = Recorded();
    EXPECT_EQ(recording.complaint, "");
    EXPECT_TRUE(recording.hasEnd);
    EXPECT_THAT(recording.notes.back().second, HasSubstr("limit of 1 MB"));
    for (const RecordedEvent& event : recording.events) {
        for (const RecordedItem& item : event.contents.items) {
            EXPECT_LE(item.bytes.size(), 8U);
        }
    }
    // Nonsense counts for nothing.
    std::filesystem::remove(RecordingsIn(folder).front());
    Configure("file=-5\r\nitem=much\r\n");
    EXPECT_EQ(Play(0x1130), std::vector<std::string>());
    EXPECT_EQ(Recorded().head.at("Item limit"), "65536");
}

// Functions that the host is handed.
int functionsRun = 0;
template <size_t>
HOST_CALL void Counted(void* argument) {
    functionsRun += *static_cast<int*>(argument);
}
template <size_t... numbers>
std::array<void (*)(void*), sizeof...(numbers)> Functions(std::index_sequence<numbers...>) {
    return {Counted<numbers>...};
}

void HandOverFunctions(CXParam*, CXResult* result) {
    int one = 1;
    long restored = 0;
    for (auto* const function : Functions(std::make_index_sequence<66>())) {
        FDEngineBlock block{};
        block.mainThreadProc = function;
        block.mainThreadArg = &one;
        gHost.engineCallBack(Select("ExecuteOnMainThread").engine, &block);
        restored += block.mainThreadProc == function ? 1 : 0;
    }
    result->SetLong(restored);
}

TEST_F(RecorderTest, FollowsFunctionsAsFarAsItHasRoom) {
    TestPlug plug({{"Hand over", "() -> long", HandOverFunctions}}); // in this program
    const RecorderInPlace place{Beside(L"Recorder.dll"), folder};
    const PluginLibrary library(place.For(Beside(L"tests.exe")));
    Host host({.version = 0x1210});
    Session session(host, library.Entries());
    session.Start();
    EXPECT_EQ(session.Call(1, std::vector<TypedValue>(), ValueKind::Long), LongValue(66));
    EXPECT_EQ(functionsRun, 66);
    session.Stop();
    EXPECT_EQ(host.problems, std::vector<std::string>());
    const RecordingFile recording = Recorded();
    EXPECT_EQ(std::ranges::count(recording.events, Way::MainThread, &RecordedEvent::way), 2 * 64);
    EXPECT_EQ(recording.notes.size(), 2U);
}

// Plays a session with the plug-in of the tests that goes wrong, and answers what was recorded.
RecordingFile RecordSession(const std::filesystem::path& folder, const std::string& script) {
    std::ofstream(folder / "session", std::ios::binary) << script;
    const auto quoted = [](const std::filesystem::path& path) {
        return L"\"" + path.wstring() + L"\"";
    };
    std::wstring line = quoted(Beside(L"testhost.exe")) + L" record " +
                        quoted(Beside(L"Wrong.dll")) + L" " + quoted(folder / "session") +
                        L" --quiet --timeout 1 -o " + quoted(folder / "made.recording");
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES; // none
    PROCESS_INFORMATION process{};
    EXPECT_NE(CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                             &startup, &process),
              0);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    EXPECT_EQ(code, 1U);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return ReadRecording(folder / "made.recording");
}

TEST_F(RecorderTest, LosesNoCrossingWhenTheProcessEnds) {
    for (const char* last : {"9", "3"}) { // a crash, TerminateProcess
        SCOPED_TRACE(last);
        const RecordingFile recording =
            RecordSession(folder, std::string("start\ncall 30\ncall ") + last + "\n");
        EXPECT_EQ(recording.complaint, "");
        ASSERT_FALSE(recording.events.empty());
        const RecordedEvent& event = recording.events.back();
        EXPECT_EQ(event.chunk, Chunk::EntryBegins);
        EXPECT_EQ(event.head.selector, std::stol(last));
        EXPECT_EQ(Count(recording, Chunk::EntryBegins), Count(recording, Chunk::EntryEnds) + 1);
    }
}
} // namespace
