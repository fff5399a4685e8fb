// What FourD asks the host about itself: which call is sent on which host, and what is made of
// the answer.

#include "host/FourD.h"
#include "host/HostCall.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>
#include <map>

using testing::ElementsAre;

namespace {

HOST_CALL long AnswerNothing(long, ParameterBlock*) {
    return 0;
}

class EnvironmentTest : public DualHostTest {
  protected:
    EnvironmentTest() { Start(); }
    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, EnvironmentTest, ClassicAndEngine, HostName);

/// The selector and param3 of the calls that `ask` sends on a host of this version.
std::vector<std::pair<long, long>> Sent(int version, const std::function<void()>& ask) {
    Host host({.version = static_cast<unsigned short>(version)});
    Session session(host, EntryPoints{FourDPack, FourDPackex});
    TestPlug plug;
    session.Start();
    Host::Scope inside(host);
    host.log.Clear();
    ask();
    std::vector<std::pair<long, long>> calls;
    for (const LoggedCall& call : host.log.Calls()) {
        EXPECT_EQ(call.before.size(), call.selector < 0 ? 1474U : 452U);
        calls.emplace_back(call.selector, call.Sent().param3);
    }
    EXPECT_THAT(host.problems, ElementsAre());
    session.Stop();
    return calls;
}

TEST(EnvironmentCallsTest, ProgramInfoIsAskedAsEachQuestionAndHostRequire) {
    constexpr long Marker = 0x46415354; // "TSAF"
    struct Row {
        const char* name;
        std::function<void()> ask;
        bool engine; ///< uses the engine call where there is one
        bool marked; ///< carries the marker from 12.0 on
    };
    const Row rows[] = {
        {"_GetProgramInfo", [] { _GetProgramInfo(); }, true, true},
        {"IsCompiled", [] { FourD::IsCompiled(); }, true, true},
        {"GetVersion", [] { FourD::GetVersion(); }, false, false},
        {"Get4DVersionBCD", [] { FourD::Get4DVersionBCD(); }, false, false},
        {"Get4DVersion", [] { FourD::Get4DVersion(nullptr, nullptr, nullptr); }, false, false},
        {"Get4DProgram", [] { FourD::Get4DProgram(); }, false, false},
        {"GetMessages", [] { FourD::GetMessages(); }, false, false},
    };
    for (const Row& row : rows) {
        for (const int version : {0x0600, 0x1099, 0x1100, 0x1190, 0x1200}) {
            const bool engine = row.engine && version >= 0x1100;
            const bool marked = row.marked && version > 0x11FF;
            EXPECT_THAT(Sent(version, row.ask),
                        ElementsAre(std::pair(engine ? -56L : 56L, marked ? Marker : 0L)))
                << row.name << " on " << std::hex << version;
        }
    }
    for (const int version : {0x1100, 0x1200}) {
        EXPECT_THAT(Sent(version, [] { FourD::IsV11HostCompiled(); }),
                    ElementsAre(std::pair(-56L, 0L)));
        EXPECT_THAT(Sent(version, [] { FourD::IsV11CallerCompiled(); }),
                    ElementsAre(std::pair(-56L, 0L)));
    }
}

TEST_P(EnvironmentTest, CompiledComesFromTheCallerAndOnNewerHostsFromTheHostToo) {
    for (const bool caller : {false, true}) {
        for (const bool hostItself : {false, true}) {
            host.options.callerCompiled = caller;
            host.options.hostCompiled = hostItself;
            EXPECT_EQ(FourD::IsCompiled() != 0, caller || (hostItself && host.HasEngine()));
            if (host.HasEngine()) {
                EXPECT_EQ(FourD::IsV11CallerCompiled() != 0, caller);
                EXPECT_EQ(FourD::IsV11HostCompiled() != 0, hostItself);
            }
        }
    }
}

TEST_P(EnvironmentTest, AnswersQuestionsAboutTheHost) {
    host.options.messages = false;
    EXPECT_EQ(FourD::GetMessages(), 0);
    host.options.messages = true;
    EXPECT_EQ(FourD::GetMessages(), 1);
    host.options.reals64 = false;
    EXPECT_EQ(FourD::Reals64(), 0);
    host.options.reals64 = true;
    EXPECT_EQ(FourD::Reals64(), 1);
    host.options.platformInterface = 3;
    long kind = -1;
    EXPECT_EQ(FourD::GetPlatformInterface(&kind), 0);
    EXPECT_EQ(kind, 3);
    FourD::SetupMacOSEnv();
    EXPECT_TRUE(host.macEnvironment);
    EXPECT_EQ(gHost.macEnvironment, 1);
    FourD::Setup4DEnv();
    EXPECT_FALSE(host.macEnvironment);
    EXPECT_EQ(gHost.macEnvironment, 0);
}

TEST(EnvironmentRoleTest, KeepsTheRoleOfTheStart) {
    for (const auto& [role, client, server] :
         {std::tuple{Role::SingleUser, 0, 0}, {Role::Client, 1, 0}, {Role::Server, 0, 1}}) {
        Host host({.version = 0x1200, .role = role});
        Session session(host, EntryPoints{FourDPack, FourDPackex});
        TestPlug plug;
        session.Start();
        host.log.Clear();
        EXPECT_EQ(FourD::Is4DClient(), client);
        EXPECT_EQ(FourD::Is4DServer(), server);
        EXPECT_TRUE(host.log.Calls().empty()); // no call is made for it
        session.Stop();
    }
}

TEST(EnvironmentVersionTest, WritesTheVersionBackFrom60OnAndReadsTheEngineFrom110On) {
    for (const unsigned long version : {0x05FFUL, 0x0600UL, 0x10FFUL, 0x7FFF0590UL}) {
        PackInitBlock init = {.hostVersion = version,
                              .hostPrivate = {},
                              .classicCallBack = AnswerNothing,
                              .acceptedVersion = 0xDEAD,
                              .engineCallBack = reinterpret_cast<EngineCallBack>(1)};
        FourD::Init(&init);
        EXPECT_EQ(init.acceptedVersion, (version & 0xFFFF) > 0x05FF ? version : 0xDEADUL);
        EXPECT_EQ(gHost.engineCallBack, nullptr) << std::hex << version;
    }
    gHost = {};
}

TEST_P(EnvironmentTest, SplitsTheVersionWithSignedParts) {
    struct Row {
        unsigned short version;
        long major, minor, fix, bcd;
    };
    // Digits from 8 on come back negative.
    for (const Row& row : {Row{0x1130, 0x11, 3, 0, 0x0311}, Row{0x1195, 0x11, -7, 5, 0x5911},
                           Row{0x1208, 0x12, 0, -8, long{-0x7FEE}}}) {
        host.options.version = row.version;
        long major = 0;
        long minor = 0;
        long fix = 0;
        FourD::Get4DVersion(&major, &minor, &fix);
        EXPECT_THAT((std::vector{major, minor, fix}), ElementsAre(row.major, row.minor, row.fix))
            << HostVersionText(row.version);
        EXPECT_EQ(FourD::Get4DVersionBCD(), row.bcd) << HostVersionText(row.version);
    }
    host.options.version = GetParam();
}

TEST(EnvironmentVersionTest, WritesVersionTexts) {
    for (const auto& [version, text] : {std::pair{0x11028000UL, "\x08"
                                                                "F0001102"},
                                        {0x12AB2034UL, "\x08"
                                                       "D03412AB"},
                                        {0x01004000UL, "\x08"
                                                       "A0000100"},
                                        {0x010060FFUL, "\x08"
                                                       "B0FF0100"},
                                        {0x01000100UL, "\x08"
                                                       "00000100"}}) {
        unsigned char out[10] = {};
        out[9] = 0x7E; // one byte past the text stays as it is
        FourD::VersToVers4D(version, out);
        EXPECT_EQ(std::string(reinterpret_cast<char*>(out), 10), std::string(text) + '\x7E');
    }
}

TEST_P(EnvironmentTest, FindsTheFrontmostNonFloatingWindowOfAProcess) {
    const long other = host.AddProcess({.name = "Other"});
    GrafPort* const back = &host.windows.AddInFront(other, WindowKind::Regular).port;
    GrafPort* const hidden = &host.windows.AddInFront(other, WindowKind::Modal, false).port;
    host.windows.AddInFront(other, WindowKind::Floating);
    host.windows.AddInFront(1, WindowKind::Regular);
    EXPECT_EQ(FourD::GetFrontmostNonFloatingWindowOfProcess(other), hidden); // visible or not
    host.windows.Remove(hidden);
    EXPECT_EQ(FourD::GetFrontmostNonFloatingWindowOfProcess(other), back);
    EXPECT_EQ(FourD::GetFrontmostNonFloatingWindowOfProcess(99), nullptr);
    gHost.macGlobals = nullptr;
    EXPECT_EQ(FourD::LMGetWindowList(), nullptr);
    EXPECT_EQ(FourD::GetFrontmostNonFloatingWindowOfProcess(1), nullptr);
}

TEST_P(EnvironmentTest, RunsCodeOnTheMainThreadOfNewerHosts) {
    if (!host.HasEngine()) {
        return;
    }
    int calls = 0;
    FourD::ExecuteOnMainThreadV11([](void* counter) { ++*static_cast<int*>(counter); }, &calls);
    EXPECT_EQ(calls, 1);
}

// 0 is the number that no service has.
TEST_P(EnvironmentTest, NothingIsSentWhereThereIsNoSuchCall) {
    host.log.Clear();
    HostCall call(Select("ProcessCounts"));
    call.GoOnWith(Select("UpdateVariables")); // which has the classic call alone
    EXPECT_EQ(call.Send(), host.HasEngine() ? -50 : 0);
    EXPECT_EQ(host.log.Calls().size(), host.HasEngine() ? 0U : 1U);
    EXPECT_EQ(call->error, host.HasEngine() ? -50 : 0);
    EngineCall engineCall(Select("ExecuteOnMainThread"));
    if (!host.HasEngine()) {
        EXPECT_EQ(engineCall.Send(), -50);
        EXPECT_EQ(engineCall->error, -50);
        EXPECT_EQ(FourD::NewHandleV11(1), nullptr);
    }
}

// Two rows that shared a number would make a call ambiguous for the host.
TEST(SelectorTableTest, NumbersAndNamesAreUnique) {
    std::map<std::string_view, int> names;
    std::map<short, int> classic;
    std::map<short, int> engine;
    for (const SelectorPair& row : SelectorTable) {
        EXPECT_EQ(++names[row.name], 1) << row.name;
        EXPECT_TRUE(row.classic != 0 || row.engine != 0) << row.name;
        EXPECT_TRUE(row.classic == 0 || ++classic[row.classic] == 1) << row.name;
        EXPECT_TRUE(row.engine == 0 || ++engine[row.engine] == 1) << row.name;
    }
}

} // namespace
