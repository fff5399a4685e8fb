// The way of every call from the host: entry point, dispatcher, plug-in object, handler.

#include "host/FourD.h"
#include "platform/Compiler.h"
#include "tests/Fixture.h"

#include <cstdint>
#include <emmintrin.h>
#include <gmock/gmock.h>
#include <stdexcept>

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;

namespace {

class PlugTest : public DualHostTest {
  protected:
    std::vector<std::string> SelectorsSent() const {
        std::vector<std::string> names;
        for (const LoggedCall& call : host.log.Calls()) {
            if (!call.IsIntoPlugin()) {
                names.push_back(call.name);
            }
        }
        return names;
    }
};

INSTANTIATE_TEST_SUITE_P(Hosts, PlugTest, ClassicAndEngine, HostName);

TEST_P(PlugTest, StartsAndStopsWithEitherPairOfSelectors) {
    constexpr short ResFile = 77;
    ToolboxAddResFile(ResFile);
    host.options.pluginResID = 128;
    host.options.pluginResFile = ResFile;
    for (const auto& [init, deinit] : {std::pair{-1L, -2L}, std::pair{-200L, -220L}}) {
        TestPlug plug;
        session.Start(init);
        EXPECT_EQ(plug.info->resourceID, 128);
        EXPECT_EQ(plug.info->resourceFile, ResFile);
        EXPECT_NE(plug.clients, nullptr);
        session.Stop(deinit);
        EXPECT_EQ(plug.clients, nullptr);
        EXPECT_THAT(plug.events, ElementsAre("init", "deinit"));
    }
    ToolboxRemoveResFile(ResFile);
}

TEST_P(PlugTest, AsksTheHostForTheFactsOfTheStartOnce) {
    TestPlug plug;
    host.currentProcess = host.AddProcess({.name = "Starter"});
    Start();
    // One floating window lies in front of the regular window of process 1; only the latter's
    // owner is asked for.
    // Hosts with an engine tell paths as strings, which are given back.
    std::vector<std::string> expected = {"PluginResID", "ProgramInfo", "StructureFolderPath"};
    if (host.HasEngine()) {
        expected.insert(expected.end(),
                        {"DisposeFDString", "ProgramInfo", "HostFolderPath", "DisposeFDString"});
    } else {
        expected.insert(expected.end(), {"ProgramInfo", "PrefsFolderPath"});
    }
    expected.insert(expected.end(), {"MacGlobals", "CurrentProcess", "WindowProcess"});
    EXPECT_THAT(SelectorsSent(), ElementsAreArray(expected));
    EXPECT_EQ(gHost.startupProcess, host.currentProcess);
    EXPECT_EQ(gHost.startupWindow, &host.windows.At(1).port);
    EXPECT_EQ(gHost.classicCallBack != nullptr, true);
    EXPECT_EQ(gHost.engineCallBack != nullptr, host.HasEngine());
}

TEST_P(PlugTest, TellsOfProcesses) {
    TestPlug plug;
    Start();
    const long process = session.ProcessStart("Import");
    session.ProcessEnd(process);
    const std::string number = std::to_string(process);
    EXPECT_THAT(plug.events,
                ElementsAre("init", "process start " + number, "process end " + number));
}

TEST_P(PlugTest, CallsTheCommandsOfTheTableAndNoOthers) {
    const CommandHandler answer = [](CXParam*, CXResult* result) { result->SetLong(42); };
    TestPlug plug({{"first", "", answer}, {"nothing", "", nullptr}, {"last", "", answer}});
    Start();
    const auto resultOf = [this](long selector) {
        unsigned long cell = 0x7E7E7E7E;
        session.Enter(selector, nullptr, nullptr, &cell, "command");
        return cell;
    };
    EXPECT_EQ(resultOf(1), 42UL);
    EXPECT_EQ(resultOf(3), 42UL);
    for (const long ignored : {0L, 2L, 4L, 32768L, -5L, -199L, -2147483647L}) {
        EXPECT_EQ(resultOf(ignored), 0x7E7E7E7EUL) << ignored;
    }
    plug.info->commands = nullptr;
    EXPECT_EQ(resultOf(1), 0x7E7E7E7EUL);
}

TEST_P(PlugTest, PreparesOnceForTheFirstCommandThatNeedsIt) {
    const CommandHandler answer = [](CXParam*, CXResult* result) { result->SetLong(1); };
    TestPlug plug({{"1", "", answer}, {"2", "", answer}, {"3", "", answer}});
    plug.bigInitCommands = {3};
    Start();
    for (const long command : {1, 2, 3, 3, 1}) {
        session.Call(command, {}, ValueKind::Long);
    }
    EXPECT_THAT(plug.events, ElementsAre("init", "big init"));
    session.Stop();
    session.Start();
    plug.canCall = false;
    EXPECT_EQ(session.Call(3, {}, ValueKind::Long), LongValue(0)); // prepared, but not called
    EXPECT_THAT(plug.events, ElementsAre("init", "big init", "deinit", "init", "big init"));
}

// Whatever the host's stack looks like, the handler's own may be used for aligned values; and
// nothing thrown reaches the host.
TEST_P(PlugTest, HandlersRunOnAnAlignedStackAndMayThrow) {
    TestPlug plug({{"align", "",
                    [](CXParam*, CXResult* result) {
                        alignas(16) volatile char block[16] = {};
                        _mm_store_si128(reinterpret_cast<__m128i*>(const_cast<char*>(&block[0])),
                                        _mm_setzero_si128());
                        result->SetLong(
                            static_cast<long>(reinterpret_cast<std::uintptr_t>(block) % 16));
                    }},
                   {"throw", "", [](CXParam*, CXResult* result) {
                        result->SetLong(7);
                        throw std::runtime_error("a handler's own failure");
                    }}});
    Start();
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(session.Call(1, {}, ValueKind::Long), LongValue(0));
        EXPECT_EQ(session.Call(2, {}, ValueKind::Long), LongValue(7));
    }
}

extern "C" NIMBO_NAKED void ChangesRegisters() {
    __asm__("movl $5, %ebx\n\tmovl $6, %edi\n\tmovl $7, %ebp\n\tret $16");
}
extern "C" NIMBO_NAKED void ChangesModes() {
    __asm__("std\n\tfld1\n\tpushl $0x0C7F\n\tfldcw (%esp)\n\tmovl $0x9F80, (%esp)\n\t"
            "ldmxcsr (%esp)\n\tpopl %eax\n\tret $16");
}
extern "C" NIMBO_NAKED void LeavesItsArguments() {
    __asm__("ret");
}
extern "C" NIMBO_NAKED void TakesTooMuch() {
    __asm__("ret $20");
}

// Nothing of it reaches the host, which goes on.
TEST_P(PlugTest, EntriesThatChangeWhatTheyMustKeepAreProblems) {
    using testing::ContainsRegex;
    using Expected = std::vector<testing::Matcher<const std::string&>>;
    struct Row {
        void (*entry)();
        Expected problems;
    };
    const Row rows[] = {
        {ChangesRegisters,
         {"Command 1 changed the register ebx, which it must keep: 0x11111111 before, 0x00000005 "
          "after.",
          HasSubstr("edi, which it must keep: 0x33333333 before, 0x00000006"),
          ContainsRegex("ebp, which it must keep: 0x.* before, 0x00000007")}},
        {ChangesModes,
         {HasSubstr("the direction flag, which it must keep: 0x0 before, 0x1 after"),
          ContainsRegex("the floating-point control word, .* 0x0C7F after"),
          HasSubstr("0x1F80 before, 0x9F80 after"), HasSubstr("0xFFFF before, 0x3FFF after")}},
        {LeavesItsArguments, {HasSubstr("left 16 bytes of its arguments")}},
        {TakesTooMuch, {HasSubstr("the stack pointer")}},
    };
    for (const Row& row : rows) {
        Session careless(host, {reinterpret_cast<PluginEntry>(row.entry)});
        careless.Enter(1, nullptr, nullptr, nullptr, "command 1()");
        EXPECT_THAT(TakeProblems(), testing::ElementsAreArray(row.problems));
    }
}

TEST_P(PlugTest, DoesNothingWithoutAPlugInObject) {
    gFourDPlug = nullptr;
    gHost.version = 0xABCD;
    PackInitBlock init = {};
    unsigned long cell = 5;
    for (const long selector : {-1L, -2L, -3L, -4L, -200L, -201L, -205L, -220L, 1L}) {
        session.Enter(selector, &init, nullptr, &cell, "without object");
    }
    EXPECT_EQ(gHost.version, 0xABCDUL);
    EXPECT_EQ(cell, 5UL);
    EXPECT_TRUE(SelectorsSent().empty());
}

TEST_P(PlugTest, RequestsWithoutARecordOrAPlaceForTheAnswerDoNothing) {
    ReadWriteBlock block = {};
    unsigned long cell = 5;
    for (const long selector : {-201L, -202L, -205L, -206L, -207L}) {
        session.Enter(selector, nullptr, nullptr, &cell, "without record");
        if (selector != -202) {
            session.Enter(selector, &block, nullptr, nullptr, "without answer");
        }
    }
    EXPECT_EQ(cell, 5UL);
}

TEST(ProcessEndTest, ForgetsTheFirstClientOfTheProcessFromHost113On) {
    const auto clientsAfterEnd = [](unsigned short version) {
        Host host({.version = version, .role = Role::Server});
        Session session(host, EntryPoints{FourDPack, FourDPackex});
        TestPlug plug;
        session.Start();
        const long process = session.ProcessStart("Client");
        std::vector<FourDClient*> connected;
        for (const unsigned long cookie : {10UL, 11UL, 12UL}) {
            auto* const client = new FourDClient{};
            client->cookie = cookie;
            client->process = cookie == 10 ? 1 : process;
            connected.push_back(client);
            _add_to_end(plug.clients, client);
        }
        session.ProcessEnd(process);
        const bool gone = _num_of_objects(plug.clients) == 2;
        EXPECT_EQ(gone, !_is_in_list(plug.clients, connected[1]));
        EXPECT_EQ(std::ranges::count(plug.events, "client 11 gone"), gone ? 1 : 0);
        for (FourDClient* client : connected) {
            if (_remove_from_list(plug.clients, client) != nullptr) {
                delete client;
            }
        }
        session.Stop();
        return gone ? 2 : 3;
    };
    EXPECT_EQ(clientsAfterEnd(0x0680), 3);
    EXPECT_EQ(clientsAfterEnd(0x1120), 3);
    EXPECT_EQ(clientsAfterEnd(0x1130), 2);
    EXPECT_EQ(clientsAfterEnd(0x1220), 2);
}

TEST(LibraryFolderTest, IsThePathUpToItsLastBackslash) {
    for (const auto& [path, folder] : {std::pair{"C:\\Plug\\Nimbo.dll", "C:\\Plug\\"},
                                       {"\\Nimbo.dll", "\\"},
                                       {"C:\\Plug\\", "C:\\Plug\\"},
                                       {"Nimbo.dll", ""},
                                       {"", ""}}) {
        char text[32];
        std::strcpy(text, path);
        CutAfterLastBackslash(text);
        EXPECT_STREQ(text, folder) << path;
    }
}

} // namespace
