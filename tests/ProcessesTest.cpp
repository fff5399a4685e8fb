// Processes and events: what each wrapper sends and makes of the answer, and processes that really
// run, each on its own stack.

#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/session/Player.h"
#include "testhost/statements/Table.h"
#include "tests/Fixture.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <sstream>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// The function of a process that does what a lambda without captures does.
template <typename Body>
HOST_CALL void RunBody() {
    std::remove_const_t<Body>{}();
}

template <typename Body>
void* AddressOf() {
    return reinterpret_cast<void*>(&RunBody<Body>);
}

constexpr auto doNothing = [] {};
using DoNothing = decltype(doNothing);

// What the processes of the tests note.
std::vector<std::string> notes;
bool helperDone;

void WaitUntilDying(CXParam*, CXResult*) {
    while (FourD::IsProcessDying() == 0) {
        FourD::YieldToOthers();
    }
}

// Starts a process, waits until it has slept, and kills its own.
void WaitForHelper(CXParam*, CXResult* result) {
    constexpr auto help = [] {
        FourD::PutProcessToSleep(FourD::CurrentProcess(), 30);
        helperDone = true;
    };
    helperDone = false;
    FourD::NewXProcess(AddressOf<decltype(help)>(), "Helper", 0, nullptr);
    while (!helperDone) {
        FourD::YieldToOthers();
    }
    FourD::KillXProcess();
    result->SetLong(FourD::CurrentProcess());
}

class ProcessesTest : public DualHostTest {
  protected:
    ProcessesTest() { Start(); }

    template <typename Body>
    long StartProcess(const char* name, Body, long stackSize = 0) {
        long number = 0;
        EXPECT_EQ(FourD::NewXProcess(AddressOf<Body>(), name, stackSize, &number), 0);
        return number;
    }
    /// Lets the processes run until nothing happens any more.
    bool Run() {
        return host.scheduler->RunUntil([this] { return host.scheduler->IsAtRest(); }, 10000);
    }
    void RunTicks(Ticks ticks) {
        host.scheduler->RunUntil([] { return false; }, ticks);
    }
    Ticks Now() const { return host.scheduler->Now(); }

    TestPlug plug{
        {{"wait until dying", "", WaitUntilDying}, {"wait for another", "", WaitForHelper}}};
};

INSTANTIATE_TEST_SUITE_P(Hosts, ProcessesTest, ClassicAndEngine, HostName);

void Note(const std::string& what) {
    notes.push_back(what + " " + std::to_string(FourD::CurrentProcess()));
}

class NotesTest : public ProcessesTest {
  protected:
    NotesTest() { notes.clear(); }
};

INSTANTIATE_TEST_SUITE_P(Hosts, NotesTest, ClassicAndEngine, HostName);

TEST_P(ProcessesTest, WrappersSendWhatTheHostExpects) {
    struct Row {
        const char* name;
        std::function<void()> call;
        short classic, engine; // engine 0: classic on every host
        long param1 = 0, param2 = 0, param3 = 0;
        void* handle = nullptr;
    };
    EventRecord event = {};
    GrafPort* const window = &host.windows.At(0).port;
    auto* const body = AddressOf<DoNothing>();
    const long other = host.AddProcess({.name = "Other"});
    const Row rows[] = {
        {"NewXProcess", [&] { FourD::NewXProcess(body, "P", 4321, nullptr); }, 158, -158, 0, 0,
         4321, body},
        {"KillXProcess", [] { FourD::KillXProcess(); }, 86, -86},
        {"CurrentProcess", [] { FourD::CurrentProcess(); }, 91, -91},
        {"GetNumProcesses", [] { FourD::GetNumProcesses(); }, 95, -95},
        {"GetNumActiveProcesses", [] { FourD::GetNumActiveProcesses(); }, 95, 0},
        {"GetProcessState", [=] { FourD::GetProcessState(other); }, 94, -94, other},
        {"IsUserProcess", [=] { FourD::IsUserProcess(other); }, 94, 0, other},
        {"BringProcessToFront", [=] { FourD::BringProcessToFront(other); }, 97, -97, other},
        {"PutProcessToSleep", [=] { FourD::PutProcessToSleep(other, 77); }, 89, -89, other, 77},
        {"WakeupProcess", [=] { FourD::WakeupProcess(other); }, 89, -89, other},
        {"FreezeProcess", [=] { FourD::FreezeProcess(other); }, -87, -87, other},
        {"UnfreezeProcess", [=] { FourD::UnfreezeProcess(other); }, 88, -88, other},
        {"SetWindowProcess", [=] { FourD::SetWindowProcess(window, other); }, 92, -92, other, 0, 0,
         window},
        {"GetNextEvent", [&] { FourD::GetNextEvent(0xFFFF, &event); }, -361, -361, 0xFFFF, 3, 0,
         &event},
        {"PostProcessEvent", [&] { FourD::PostProcessEvent(other, &event); }, 165, 0, other, 0, 0,
         &event},
        {"IsProcessDying", [] { FourD::IsProcessDying(); }, -414, -414},
        {"YieldToOthers", [] { FourD::YieldToOthers(); }, 93, -93},
        {"YieldAbsolute", [] { FourD::YieldAbsolute(); }, 122, -122},
        {"CheckFreeStack", [] { FourD::CheckFreeStack(100, nullptr); }, 255, 0, 100},
        {"SetMessages", [] { FourD::SetMessages(1); }, 57, 0, 1},
        {"Quit", [] { FourD::Quit(); }, 136, 0},
    };
    for (const Row& row : rows) {
        host.log.Clear();
        row.call();
        // Those who run meanwhile are only told of their start and end.
        const auto found = std::ranges::find_if_not(host.log.Calls(), &LoggedCall::IsIntoPlugin);
        ASSERT_NE(found, host.log.Calls().end()) << row.name;
        const LoggedCall& sent = *found;
        const CallFields& fields = sent.Sent();
        EXPECT_EQ(sent.selector, host.HasEngine() && row.engine != 0 ? row.engine : row.classic)
            << row.name;
        EXPECT_EQ(sent.IsEngine(), host.HasEngine() && row.engine != 0) << row.name;
        EXPECT_THAT((std::vector<long>{fields.param1, fields.param2, fields.param3}),
                    ElementsAre(row.param1, row.param2, row.param3))
            << row.name;
        EXPECT_EQ(static_cast<void*>(fields.handle), row.handle) << row.name;
    }
    EXPECT_TRUE(host.quitRequested);
    EXPECT_EQ(host.frontProcess, other);
    EXPECT_EQ(host.windows.At(0).process, other);
    // The first process is the host's own.
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("KillProcess")));
}

TEST_P(ProcessesTest, NamesAreCutToWhatTheRecordHolds) {
    const size_t room = host.HasEngine() ? 255 : 141;
    const std::string name(300, 'n');
    const long number = StartProcess(name.c_str(), doNothing);
    EXPECT_EQ(host.FindProcess(number)->name, name.substr(0, room));
    char text[256];
    FourD::GetProcessCName(number, text);
    EXPECT_EQ(text, name.substr(0, room));
    PascalString counted("L\xE4ufer"); // in the ANSI code page
    long second = 0;
    EXPECT_EQ(
        FourD::NewXProcess(static_cast<char*>(AddressOf<DoNothing>()), counted.bytes, 0, &second),
        0);
    Str255 found;
    FourD::GetProcessName(second, found);
    EXPECT_EQ(PascalString::TextOf(found), "L\xE4ufer");
    FourD::GetProcessName(999, text);
    EXPECT_STREQ(text, "");
}

TEST_P(ProcessesTest, AFailedStartStoresNoNumber) {
    long number = 77;
    EXPECT_EQ(FourD::NewXProcess(AddressOf<DoNothing>(), "Huge", 0x7FFFFFFF, &number),
              ResultCode::MemoryFull);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(FourD::FindProcess("Huge"), 0);
}

TEST_P(ProcessesTest, FindsTheFirstLivingProcessOfAName) {
    const long dead = StartProcess("Twin", doNothing);
    Run();
    const long living = host.AddProcess({.name = "twin"}); // case does not count
    host.AddProcess({.name = "Twin"});
    EXPECT_LT(FourD::GetProcessState(dead), 0);
    EXPECT_EQ(FourD::FindProcess("Twin"), living);
    EXPECT_EQ(FourD::FindProcess("Nobody"), 0);
    EXPECT_EQ(FourD::GetNumProcesses(), FourD::GetNumActiveProcesses() + 1);
    host.processes.clear();
    EXPECT_EQ(FourD::FindProcess("Twin"), 0);
}

TEST_P(ProcessesTest, ProcessesOfTheHostAreNoUsersBut) {
    for (short item = 1; item <= 6; ++item) {
        Str255 name;
        GetIndString(name, 170, item);
        ASSERT_NE(name[0], 0) << item;
        const long process = host.AddProcess({.name = PascalString::TextOf(name)});
        EXPECT_EQ(FourD::IsUserProcess(process), item == 2 ? 1 : 0) << item;
    }
    EXPECT_EQ(FourD::IsUserProcess(1), 0);
    EXPECT_EQ(FourD::IsUserProcess(StartProcess("Import", doNothing)), 1);
    EXPECT_EQ(FourD::IsUserProcess(999), 0);
}

TEST_P(ProcessesTest, ShowsAndHidesThroughTheHostsCommands) {
    const long process = host.AddProcess({.name = "Other"});
    EXPECT_EQ(FourD::HideProcess(process), 0);
    EXPECT_FALSE(host.FindProcess(process)->isVisible);
    EXPECT_EQ(FourD::ShowProcess(process), 0);
    EXPECT_TRUE(host.FindProcess(process)->isVisible);
}

TEST_P(NotesTest, ProcessesTakeTurnsAndThePlugInIsToldInThem) {
    constexpr auto body = [] {
        for (int turn = 0; turn < 2; ++turn) {
            Note("turn");
            FourD::YieldToOthers();
        }
    };
    const long first = StartProcess("A", body);
    const long second = StartProcess("B", body);
    EXPECT_TRUE(notes.empty()); // nothing runs before the starter gives way
    FourD::YieldToOthers();
    const std::string a = "turn " + std::to_string(first);
    const std::string b = "turn " + std::to_string(second);
    EXPECT_THAT(notes, ElementsAre(a, b));
    EXPECT_EQ(FourD::CurrentProcess(), 1);
    FourD::YieldToOthers();
    FourD::YieldToOthers();
    EXPECT_THAT(notes, ElementsAre(a, b, a, b));
    EXPECT_LT(FourD::GetProcessState(first), 0);
    const std::string one = std::to_string(first);
    const std::string two = std::to_string(second);
    EXPECT_THAT(plug.events, ElementsAre("init", "process start " + one, "process start " + two,
                                         "process end " + one, "process end " + two));
    for (const LoggedCall& call : host.log.Calls()) {
        if (call.name == "process " + one + " starts" || call.name == "process " + one + " ends") {
            EXPECT_EQ(call.process, first);
            EXPECT_EQ(call.depth, 0);
        }
    }
}

TEST_P(NotesTest, SleepersWakeInOrderAndTimePassesOnlyThen) {
    const long slow = StartProcess("Slow", [] {
        FourD::PutProcessToSleep(FourD::CurrentProcess(), 600);
        Note("awake");
    });
    const long fast = StartProcess("Fast", [] {
        FourD::PutProcessToSleep(FourD::CurrentProcess(), 60);
        Note("awake");
        FourD::WakeupProcess(FourD::CurrentProcess() - 1);
    });
    const Ticks begun = Now();
    EXPECT_TRUE(Run());
    EXPECT_THAT(notes,
                ElementsAre("awake " + std::to_string(fast), "awake " + std::to_string(slow)));
    EXPECT_GE(Now() - begun, 60U);
    EXPECT_LT(Now() - begun, 100U);
}

TEST_P(NotesTest, FrozenProcessesStandStillAndDyingOnesAreTold) {
    const long process = StartProcess("Loop", [] {
        while (FourD::IsProcessDying() == 0) {
            Note("turn");
            FourD::YieldToOthers();
        }
        FourD::FreezeProcess(FourD::CurrentProcess());
        FourD::KillXProcess();
        Note("not reached");
    });
    FourD::YieldToOthers();
    FourD::FreezeProcess(process);
    FourD::YieldToOthers();
    EXPECT_EQ(FourD::GetProcessState(process), ProcessState::Frozen);
    EXPECT_EQ(notes.size(), 1U);
    FourD::UnfreezeProcess(process);
    host.FindProcess(process)->isDying = true;
    EXPECT_TRUE(Run());
    EXPECT_EQ(FourD::GetProcessState(process), ProcessState::Frozen); // by its own hand
    FourD::UnfreezeProcess(process);
    EXPECT_TRUE(Run());
    EXPECT_EQ(notes.size(), 1U);
    EXPECT_LT(FourD::GetProcessState(process), 0);
    EXPECT_EQ(plug.events.back(), "process end " + std::to_string(process));
    EXPECT_NE(host.log.Last("KillProcess"), nullptr);
}

TEST_P(NotesTest, AFrozenProcessThatNobodyIsLeftToWakeIsReportedAndGoesOn) {
    FourD::FreezeProcess(FourD::CurrentProcess());
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("Process 1 is frozen, and no process is")));
    EXPECT_NE(FourD::GetProcessState(1), ProcessState::Frozen);
}

// A process that waits for keys until it is asked to end.
constexpr auto noteKeys = [] {
    while (FourD::IsProcessDying() == 0) {
        EventRecord event = {};
        const bool got = FourD::GetNextEvent(0x0008, &event) != 0; // key down
        if (got) {
            Note("key " + std::to_string(event.message));
        }
    }
};

TEST_P(NotesTest, EventsReachTheProcessThatWaitsForThem) {
    const long process = StartProcess("Loop", noteKeys);
    EXPECT_TRUE(Run());
    EXPECT_EQ(FourD::GetProcessState(process), ProcessState::AwaitingEvent);
    for (const unsigned long what : {3UL, 1UL, 3UL}) {
        EventRecord event = {};
        event.what = static_cast<unsigned short>(what);
        event.message = what + 10;
        EXPECT_EQ(FourD::PostProcessEvent(process, &event), 0);
    }
    EXPECT_TRUE(Run());
    EXPECT_THAT(notes, testing::Each("key 13 " + std::to_string(process)));
    EXPECT_EQ(notes.size(), 2U);
    EXPECT_EQ(host.FindProcess(process)->events.size(), 1U); // the mask keeps the mouse out
    EventRecord event = {};
    EXPECT_EQ(FourD::PostProcessEvent(999, &event), ResultCode::BadParameter);
    session.Stop(); // which asks the process to end
    EXPECT_LT(host.FindProcess(process)->state, 0);
}

// Also what it says of the stack, and of work that it has done on the main thread.
TEST_P(NotesTest, AProcessKnowsItsOwnStack) {
    static bool hasEngine;
    hasEngine = host.HasEngine();
    StartProcess(
        "Deep",
        [] {
            long left = 0;
            EXPECT_EQ(FourD::CheckFreeStack(50000, &left), 0);
            EXPECT_GT(left, 50000);
            EXPECT_LE(left, 100000);
            left = 7;
            EXPECT_EQ(FourD::CheckFreeStack(100000, &left), ResultCode::MemoryFull);
            EXPECT_EQ(left, 7);
            if (hasEngine) {
                int calls = 0;
                FourD::ExecuteOnMainThreadV11(
                    [](void* counter) {
                        Note("main");
                        FourD::YieldToOthers();
                        ++*static_cast<int*>(counter);
                    },
                    &calls);
                EXPECT_EQ(calls, 1);
            }
            Note("own");
        },
        100000);
    EXPECT_TRUE(Run());
    const std::string own = "own " + std::to_string(host.processes.size());
    EXPECT_EQ(notes, host.HasEngine() ? std::vector<std::string>({"main 1", own})
                                      : std::vector<std::string>{own});
}

TEST_P(NotesTest, WhoeverDoesNotEndIsReportedAndDropped) {
    const long process = StartProcess("Stubborn", [] {
        for (;;) {
            FourD::YieldAbsolute();
        }
    });
    EXPECT_FALSE(Run());
    session.Stop();
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("Stubborn")));
    EXPECT_LT(host.FindProcess(process)->state, 0);
}

TEST_P(NotesTest, ACommandThatWaitsForeverIsAskedToEnd) {
    host.scheduler->patience = 500;
    session.Call(1, {});
    EXPECT_THAT(TakeProblems(), ElementsAre(HasSubstr("500 times")));
}

TEST_P(NotesTest, ACommandMayWaitForAProcessAndKillItsOwn) {
    const long process = session.ProcessStart("Caller");
    host.currentProcess = process;
    EXPECT_EQ(session.Call(2, {}, ValueKind::Long), LongValue(process));
    EXPECT_LT(host.FindProcess(process)->state, 0);
    EXPECT_EQ(host.currentProcess, 1);
    EXPECT_EQ(plug.events.back(), "process end " + std::to_string(process));
}

TEST_P(NotesTest, ScriptsLetProcessesRunAndSendThemEvents) {
    const long process = StartProcess("Keys", noteKeys);
    const Script script = ParseScript("run\nevent process \"Keys\" 3 65\nset process \"Keys\"\n"
                                      "run\nprocess dying \"Keys\"\nrun ticks 10\nstop\n",
                                      "script");
    EXPECT_THAT(script.errors, ElementsAre());
    std::ostringstream out;
    Player player(session, {out, true});
    const Ticks begun = Now();
    EXPECT_FALSE(player.Play(script));
    EXPECT_THAT(out.str(), HasSubstr("FAILED script:3: process " + std::to_string(process)));
    EXPECT_THAT(out.str(), HasSubstr(" 1 failed, 0 problems"));
    EXPECT_THAT(notes, ElementsAre("key 65 " + std::to_string(process)));
    EXPECT_LT(host.FindProcess(process)->state, 0);
    EXPECT_GE(Now() - begun, 10U);
}

// Two hosts in one run: each process has its own host and place in it.
TEST(SharedSchedulerTest, ProcessesOfTwoHostsInterleave) {
    notes.clear();
    const auto scheduler = std::make_shared<Scheduler>();
    Host client({.version = 0x1130, .role = Role::Client, .scheduler = scheduler});
    Host server({.version = 0x1130, .role = Role::Server, .scheduler = scheduler});
    server.AddProcess({.name = "Other"});
    for (Host* host : {&client, &server}) {
        host->StartProcess("Body", 0, [host] {
            for (int turn = 0; turn < 2; ++turn) {
                EXPECT_EQ(Host::Current(), host);
                notes.push_back((host->options.role == Role::Client ? "client " : "server ") +
                                std::to_string(host->currentProcess));
                host->scheduler->GiveWay(*host);
            }
        });
    }
    EXPECT_TRUE(scheduler->RunUntil([&] { return scheduler->IsAtRest(); }, 100));
    EXPECT_THAT(notes, ElementsAre("client 4", "server 5", "client 4", "server 5"));
    EXPECT_EQ(Host::Current(), nullptr);
}

} // namespace
