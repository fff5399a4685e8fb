// What FourD asks the host about itself: which call is sent on which host, and what is made of
// the answer.

#include "data/Variables.h"
#include "host/Call.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "testhost/database/Tables.h"
#include "testhost/services/Dispatch.h"
#include "tests/Fixture.h"
#include "ui/FourDDialog.h"

#include <gmock/gmock.h>
#include <map>

using testing::ElementsAre;
using testing::HasSubstr;

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

TEST_P(EnvironmentTest, NullArgumentsReachNobody) {
    constexpr long Bad = -50;
    constexpr OSType AnyType = 0x54595045;
    struct Row {
        const char* name;
        std::function<long()> call;
        long answer;
    };
    PascalString name("a");
    Handle handle = nullptr;
    ValueBlock value{};
    REAL_U real{};
    long number = 0;
    short small = 0;
    // The compiler would complain of literals.
    long (*const alertFormat)(const char*, ...) = FourD::AlertV6;
    unsigned char (*const confirmFormat)(const char*, ...) = FourD::Confirm;
    const char* none = nullptr;
    unsigned char* noString = nullptr;
    char* noPath = nullptr;
    long* noLong = nullptr;
    REAL_U* noReal = nullptr;
    FieldData* noData = nullptr;
    ValueBlock* noValue = nullptr;
    FourDStyleX* noStyle = nullptr;
    FourDStyleX style{};
    FDStringBlock* noUnits = nullptr;
    char letter[] = "a";
    FourDPlatformStyle entry{};
    const Row rows[] = {
        {"GetStructFile", [] { return FourD::GetStructFile(nullptr); }, Bad},
        {"GetStructFolder", [] { return FourD::GetStructFolder(nullptr); }, Bad},
        {"GetDataFile", [] { return FourD::GetDataFile(nullptr); }, Bad},
        {"GetAppFolder", [] { return FourD::GetAppFolder(nullptr); }, Bad},
        {"GetPlatformInterface", [] { return FourD::GetPlatformInterface(nullptr); }, Bad},
        {"SwapReal64To80", [] { return FourD::SwapReal64To80(nullptr); }, Bad},
        {"Get4DFolderPath", [=] { return FourD::Get4DFolderPath(noPath, 0, 0); }, Bad},
        {"Get4DFolderPath, Pascal", [=] { return FourD::Get4DFolderPath(noString, 0, 0); }, Bad},
        {"_GetStructurePaths", [=] { return _GetStructurePaths(noPath, noPath); }, Bad},
        {"_GetPrefsFolderPath", [=] { return _GetPrefsFolderPath(noPath), 0; }, 0},
        {"NewXProcess", [&] { return FourD::NewXProcess(&number, none, 0, &number); }, Bad},
        {"NewXProcess, Pascal", [&] { return FourD::NewXProcess(noPath, noString, 0, nullptr); },
         Bad},
        {"NewXProcess without a function",
         [&] { return FourD::NewXProcess(nullptr, "a", 0, &number); }, Bad},
        {"GetProcessName", [=] { return FourD::GetProcessName(1, noPath), 0; }, 0},
        {"GetProcessName, Pascal", [=] { return FourD::GetProcessName(1, noString), 0; }, 0},
        {"FindProcess", [=] { return FourD::FindProcess(none); }, 0},
        {"FindProcess, Pascal", [=] { return FourD::FindProcess(noString); }, 0},
        {"GetNextEvent", [] { return FourD::GetNextEvent(1, nullptr); }, 0},
        {"PostProcessEvent", [] { return FourD::PostProcessEvent(1, nullptr); }, Bad},
        {"ExecuteOnMainThreadV11", [] { return FourD::ExecuteOnMainThreadV11(nullptr, nullptr); },
         Bad},
        {"ExecProc", [=] { return FourD::ExecProc(none); }, Bad},
        {"ExecFunc", [&] { return FourD::ExecFunc(name, noLong); }, Bad},
        {"ExecFunc, real", [&] { return FourD::ExecFunc(name, noReal); }, Bad},
        {"ExecFunc of nothing", [&] { return FourD::ExecFunc(noString, &real); }, Bad},
        {"TokenizeProc", [&] { return FourD::TokenizeProc(nullptr, &handle); }, Bad},
        {"TokenizeProc to nowhere", [&] { return FourD::TokenizeProc(&noPath, nullptr); }, Bad},
        {"TokenizeProcV12", [&] { return FourD::TokenizeProcV12(noPath, 1, &handle); }, Bad},
        {"ExecTokenizedProc", [] { return FourD::ExecTokenizedProc(nullptr); }, Bad},
        {"ExecTokenizedFunc", [&] { return FourD::ExecTokenizedFunc(nullptr, &value); }, Bad},
        {"ExecTokenizedFunc to nowhere", [&] { return FourD::ExecTokenizedFunc(&noPath, nullptr); },
         Bad},
        {"DetokenizeProc", [&] { return FourD::DetokenizeProc(nullptr, &handle); }, Bad},
        {"DetokenizeProc to nowhere", [&] { return FourD::DetokenizeProc(&noPath, nullptr); }, Bad},
        {"ByteSwapTokens", [] { return FourD::ByteSwapTokens(nullptr); }, Bad},
        {"GetMethodID", [] { return FourD::GetMethodID(nullptr); }, 0},
        {"GetProcIndex", [] { return FourD::GetProcIndex(nullptr); }, 0},
        {"EditFormula", [] { return FourD::EditFormula(nullptr, 1); }, 0},
        {"GetCommandName", [] { return FourD::GetCommandName(1, nullptr); }, Bad},
        {"GetCommandNameC", [] { return FourD::GetCommandNameC(1, nullptr); }, Bad},
        {"SequenceNumber", [] { return FourD::SequenceNumber(1, nullptr); }, Bad},
        {"RecordsInFile", [] { return FourD::RecordsInFile(1, nullptr); }, Bad},
        {"Alert", [] { return FourD::Alert(nullptr); }, Bad},
        {"AlertV6", [=] { return FourD::AlertV6(noString); }, Bad},
        {"AlertV6, format", [=] { return alertFormat(none); }, Bad},
        {"Confirm", [=] { return FourD::Confirm(noString); }, 0},
        {"Confirm, format", [=] { return confirmFormat(none); }, 0},
        {"StringsEqual", [&] { return FourD::StringsEqual(name, nullptr); }, 0},
        {"StringsEqual, first", [&] { return FourD::StringsEqual(nullptr, name); }, 0},
        {"Long2String", [&] { return FourD::Long2String(1, name, nullptr); }, Bad},
        {"String2String", [&] { return FourD::String2String(nullptr, name, name); }, Bad},
        {"Date2String", [&] { return FourD::Date2String(nullptr, 0, name); }, Bad},
        {"Time2String", [&] { return FourD::Time2String(1, 0, nullptr); }, Bad},
        {"StripIPVarName", [] { return FourD::StripIPVarName(nullptr); }, 0},
        {"GetVariable", [&] { return FourD::GetVariable(nullptr, &value); }, Bad},
        {"GetVariable to nowhere", [&] { return FourD::GetVariable(name, nullptr); }, Bad},
        {"SetVariableIP", [&] { return FourD::SetVariableIP(name, nullptr, 1); }, Bad},
        {"GetLongVar", [&] { return FourD::GetLongVar(name, nullptr); }, Bad},
        {"GetLongIPVar", [&] { return FourD::GetLongIPVar(nullptr, &number); }, Bad},
        {"SetLongVar", [] { return FourD::SetLongVar(nullptr, 1); }, Bad},
        {"GetTextVar", [&] { return FourD::GetTextVar(name, nullptr, 1); }, Bad},
        {"SetTextVar", [] { return FourD::SetTextVar(nullptr, nullptr, 1); }, Bad},
        {"GetProcessVar", [&] { return FourD::GetProcessVar(name, nullptr); }, Bad},
        {"GetArrayVar", [&] { return FourD::GetArrayVar(name, nullptr); }, Bad},
        {"CountFiles", [] { return FourD::CountFiles(nullptr); }, Bad},
        {"GetFieldType", [] { return FourD::GetFieldType(1, 1, nullptr); }, Bad},
        {"GetFileName", [] { return FourD::GetFileName(1, nullptr); }, Bad},
        {"GetFileNameC", [] { return FourD::GetFileNameC(1, nullptr); }, Bad},
        {"GetFileFieldNum", [&] { return FourD::GetFileFieldNum(nullptr, &small, &small); }, Bad},
        {"GetFileFieldNum to nowhere",
         [&] { return FourD::GetFileFieldNum(name, &small, nullptr); }, Bad},
        {"GetFieldInfo", [] { return FourD::GetFieldInfo(1, 1, nullptr); }, Bad},
        {"GetFieldData", [=] { return FourD::GetFieldData(1, 1, noData); }, Bad},
        {"GetFieldData, value", [=] { return FourD::GetFieldData(1, 1, noValue); }, Bad},
        {"SetFieldData", [=] { return FourD::SetFieldData(1, 1, noData); }, Bad},
        {"SetFieldData, value", [=] { return FourD::SetFieldData(1, 1, noValue); }, Bad},
        {"DisposeFieldData", [] { return FourD::DisposeFieldData(nullptr), 0; }, 0},
        {"RecordsInSelection", [] { return FourD::RecordsInSelection(1, nullptr); }, Bad},
        {"RecordNumber", [] { return FourD::RecordNumber(1, nullptr); }, Bad},
        {"SelectedRecordNumber", [] { return FourD::SelectedRecordNumber(1, nullptr); }, Bad},
        {"GetPackedRecord", [] { return FourD::GetPackedRecord(1, nullptr); }, Bad},
        {"GetPrintInfo", [] { return FourD::GetPrintInfo(nullptr); }, Bad},
        {"CreateTip", [] { return FourD::CreateTip(nullptr); }, Bad},
        {"Open4DResFile", [&] { return FourD::Open4DResFile(nullptr, &number); }, Bad},
        {"GetStruct4DResFileRef", [] { return FourD::GetStruct4DResFileRef(nullptr); }, Bad},
        {"Get4DResIDList", [] { return FourD::Get4DResIDList(1, AnyType, nullptr); }, Bad},
        {"Get4DResName", [] { return FourD::Get4DResName(1, AnyType, 1, nullptr); }, Bad},
        {"Set4DResName", [] { return FourD::Set4DResName(1, AnyType, 1, nullptr); }, Bad},
        {"Add4DRes", [&] { return FourD::Add4DRes(1, AnyType, 1, name, nullptr); }, Bad},
        {"GetStyleXResByName", [=] { return FourD::GetStyleXResByName(nullptr, noStyle); }, Bad},
        {"GetStyleXByName", [&] { return FourD::GetStyleXByName(&noPath, nullptr, &style); }, Bad},
        {"GetStyleXByID", [=] { return FourD::GetStyleXByID(nullptr, 1, noStyle); }, Bad},
        {"GetPlatformStyle", [&] { return FourD::GetPlatformStyle(noStyle, &entry); }, Bad},
        {"GetPlatformStyle to nowhere", [&] { return FourD::GetPlatformStyle(&style, nullptr); },
         Bad},
        {"GetPlatformStyleByID", [] { return FourD::GetPlatformStyleByID(nullptr, 1, nullptr); },
         Bad},
        {"GetRGBColor", [] { return FourD::GetRGBColor(-1, nullptr); }, Bad},
        {"GetDrawingColor", [&] { return FourD::GetDrawingColor(0, &number, &number, nullptr); },
         Bad},
        {"GetColors", [] { return FourD::GetColors(nullptr); }, Bad},
        {"GetPluginIndString", [=] { return FourD::GetPluginIndString(noString, 1, 1), 0; }, 0},
        {"EditPict", [] { return FourD::EditPict(nullptr); }, 0},
        {"GetPictureData", [] { return FourD::GetPictureData(nullptr, 1, nullptr); }, Bad},
        {"CreateNativeBitmapImage",
         [] { return FourD::CreateNativeBitmapImage(nullptr) != nullptr ? 1 : 0; }, 0},
        {"DisposePictureV11", [] { return FourD::DisposePictureV11(nullptr); }, Bad},
        {"ReadOnServer", [] { return FourD::ReadOnServer(1, 1, nullptr); }, Bad},
        {"SetExWindowTitle", [] { return FourD::SetExWindowTitle(1, nullptr); }, Bad},
        {"LMGetHiliteColor", [] { return FourD::LMGetHiliteColor(nullptr), 0; }, 0},
        {"GetProcEditTEHandle", [] { return FourD::GetProcEditTEHandle(nullptr, nullptr); }, Bad},
        {"GetTextBy4DCommand", [=] { return GetTextBy4DCommand(1, noPath, 1); }, Bad},
        {"GetFSSpecBy4DCommand", [] { return GetFSSpecBy4DCommand(1, nullptr); }, Bad},
        {"TokenizeProcV12 of a host string",
         [&] { return FourD::TokenizeProcV12(noUnits, &handle); }, Bad},
        {"TokenizeProcV12 to nowhere", [&] { return FourD::TokenizeProcV12(letter, 1, nullptr); },
         Bad},
        {"SetFDString",
         [=] { return FourD::SetFDString(noUnits, reinterpret_cast<const unsigned short*>(L"")); },
         Bad},
        {"GetPluginResourceByName",
         [] { return FourD::GetPluginResourceByName(AnyType, nullptr) != nullptr ? 1 : 0; }, 0},
        {"GetPluginIndCString", [=] { return FourD::GetPluginIndCString(noPath, 1, 1), 0; }, 0},
        {"GetPluginSprIndString", [=] { return FourD::GetPluginSprIndString(noString, 1, 1), 0; },
         0},
        {"GetStyleXResByID", [=] { return FourD::GetStyleXResByID(1, noStyle); }, Bad},
        {"IsDebuggerWindow", [] { return FourD::IsDebuggerWindow(nullptr); }, 0},
        {"VersToVers4D", [=] { return FourD::VersToVers4D(0, noString), 0; }, 0},
        {"GetNextCallIDFromServer", [] { return FourDPlug::GetNextCallIDFromServer(nullptr); },
         Bad},
        {"CallFuncOnServer", [&] { return FourDPlug::CallFuncOnServer(1, &noPath, nullptr); }, Bad},
        {"CallFuncOnServer with bytes",
         [&] { return FourDPlug::CallFuncOnServer(1, letter, 1, nullptr); }, Bad},
        {"GetValue", [=] { return CFourDVar("a", 9).GetValue(noLong); }, Bad},
        {"GetValue, text",
         [] { return CFourDVar("a", 2).GetValue(static_cast<TextBlock*>(nullptr)); }, Bad},
        {"GetOriginalArray", [] { return CFourDVar("a", 2).GetOriginalArray(nullptr); }, Bad},
        {"GetTextValue", [=] { return CFourDTextVar("a").GetTextValue(noPath), 0; }, 0},
        {"GetBlobValue", [] { return CFourDBlobVar("a").GetBlobValue(nullptr); }, Bad},
        {"GetStringValue", [=] { return CFourDStringVar("a").GetStringValue(noString); }, Bad},
        {"GetPointerValue", [] { return CFourDPointerVar("a").GetPointerValue(nullptr); }, Bad},
        {"SetPointerToVariable",
         [=] { return CFourDPointerVar("a").SetPointerToVariable(none), 0; }, 0},
    };
    const size_t calls = host.log.HostCallCount();
    for (const Row& row : rows) {
        EXPECT_EQ(row.call(), row.answer) << row.name;
        EXPECT_EQ(host.log.HostCallCount(), calls) << row.name;
    }
}

class WrongCallTest : public HostTest {
  protected:
    WrongCallTest() { Start(); }
    TestPlug plug;
};

// What a plug-in may send that makes its records itself: the host refuses it, and tells what no
// host could make sense of.
TEST_F(WrongCallTest, IsRefusedOrTold) {
    constexpr short Bad = -50;
    constexpr long Nobody = 99; // no process, file, table or dialog
    struct Row {
        SelectorPair selector;
        long param1;
        long param2;
        long param3;
        short error;
        const char* problem; ///< null for none
    };
    const auto dialog = reinterpret_cast<long>(FourDDialog::CreateFourDDialogContext());
    const Row rows[] = {
        {Select("FormatValue"), 0, 0, 0, Bad, "there is no text of a value of type 0"},
        {Select("HandleOperation"), Nobody, 0, 0, Bad, "there is no operation 99"},
        {Select("ProgramInfo"), 0, 0, 5, 0, "param3 holds neither 0 nor a marker"},
        {Select("HostFolderPath"), 0, 0, 5, Bad, "param3 does not hold the marker"},
        {Select("ExecuteOnMainThread"), 0, 0, 0, Bad, "came without a function"},
        {Select("NewProcess"), 0, 0, 0, Bad, "NewProcess came without a function"},
        {Select("NextEvent"), 0, 0, 0, Bad, "NextEvent came without an event record"},
        {Select("PostProcessEvent"), 1, 0, 0, Bad, "came without an event record"},
        {Select("FreezeProcess"), Nobody, 0, 0, Bad, nullptr},
        {Select("PutProcessToSleep"), Nobody, 1, 0, Bad, nullptr},
        {Select("PutProcessToSleep"), 1, -1, 0, Bad, nullptr},
        {Select("SetWindowProcess"), Nobody, 0, 0, Bad, nullptr},
        {Select("SetExternalWindowTitle"), Nobody, 0, 0, Bad, nullptr},
        {Select("SetWindowFocused"), 0, 0, 0, Bad, nullptr},
        {Select("SetWindowFocusable"), 0, 0, 0, Bad, nullptr},
        {Select("SetFieldData"), Nobody, 0, 0, DatabaseError::WrongType, "99 in param1 is not the"},
        {Select("RecordNumber"), 0, 0, 0, DatabaseError::UnknownTable, nullptr},
        {Select("GetPackedRecord"), 0, 0, 0, DatabaseError::UnknownTable, nullptr},
        {Select("SetPackedRecord"), 0, 0, 0, DatabaseError::UnknownTable, nullptr},
        {Select("SetRes"), Nobody, 0, 0, ResultCode::ResourceFileNotFound, nullptr},
        {Select("SetRes"), 1, 0, 0, ResultCode::ResourceNotFound, nullptr},
        {Select("AddRes"), Nobody, 0, 0, ResultCode::ResourceFileNotFound, nullptr},
        {Select("AddRes"), 1, 0, 40000, Bad, nullptr},
        {Select("AddRes"), 1, 0, 1, ResultCode::NullHandle, nullptr},
        {Select("CloseResFile"), 1, 0, 0, Bad, nullptr},
        {Select("UpdateResFile"), Nobody, 0, 0, ResultCode::ResourceFileNotFound, nullptr},
        {Select("CreateResFile"), 0, 0, 0, ResultCode::BadName, nullptr},
        {Select("GetVariable"), 0, 0, 0, Bad, "came without the address of a value"},
        {Select("PictureData"), 0, 0, 0, Bad, nullptr},
        {Select("ExecLongFunc"), 0, 0, 0, Bad, nullptr},
        {Select("ByteSwapTokens"), 0, 0, 0, Bad, nullptr},
        {Select("CreateFDString"), 0, 0, 0, Bad, "without the address of a text"},
        {Select("ConvertCharacters"), Nobody, 0, 0, Bad, "hold no conversion"},
        {Select("CreateFourDDialog"), dialog, 0, 0, 0, "without its tag or the address"},
        {Select("ModalDialog"), dialog, 0, 0, 0, "that is not open"},
        {Select("DialogSwitchToDlogContext"), dialog, Nobody, 0, 0, "is that of no dialog"},
        {Select("DialogEndUpdateVars"), dialog, 0, 0, 0, "ends that never began"},
        {Select("DialogSetAreaHandler"), dialog, 0, 0, Bad, "An area handler came for no object"},
        {Select("DialogClose"), dialog, 0, 0, 0, nullptr},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << "selector " << row.selector.classic << ", "
                                        << row.selector.engine << ": " << row.param1);
        const auto error = [&row](auto callBack, short number, auto block) {
            block.param1 = row.param1;
            block.param2 = row.param2;
            block.param3 = row.param3;
            callBack(number, &block);
            return short{block.error};
        };
        EXPECT_EQ(row.selector.engine != 0
                      ? error(EngineHostCall, row.selector.engine, FDEngineBlock{})
                      : error(ClassicHostCall, row.selector.classic, ParameterBlock{}),
                  row.error);
        const std::vector<std::string> problems = TakeProblems();
        if (row.problem != nullptr) {
            EXPECT_THAT(problems, ElementsAre(HasSubstr(row.problem)));
        } else {
            EXPECT_THAT(problems, ElementsAre());
        }
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
