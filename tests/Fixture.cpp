#include "tests/Fixture.h"

#include "platform/Toolbox.h"

#include <algorithm>

#include <windows.h>

// The plug-in object that the entry points serve; tests point it at their own.
FourDPlug* gFourDPlug = nullptr;

TestPlug::TestPlug(std::vector<CommandEntry> commandTable)
    : FourDPlug(&plugInfo), commands(std::move(commandTable)), plugInfo{} {
    plugInfo.productName = "Test";
    plugInfo.commandCount = static_cast<unsigned short>(commands.size());
    plugInfo.commands = commands.empty() ? nullptr : commands.data();
    gFourDPlug = this;
}

TestPlug::~TestPlug() {
    _destroy_list(&clients); // the host stops only when no plug-in object is left
    _destroy_list(&serverCalls);
    gFourDPlug = nullptr;
}

void TestPlug::Init(PackInitBlock* init) {
    FourDPlug::Init(init);
    events.emplace_back("init");
}

void TestPlug::BigInit() {
    events.emplace_back("big init");
}

void TestPlug::Deinit() {
    FourDPlug::Deinit();
    events.emplace_back("deinit");
}

void TestPlug::HandleProcessStart(long process) {
    events.emplace_back("process start " + std::to_string(process));
}

void TestPlug::HandleProcessEnd(long process) {
    FourDPlug::HandleProcessEnd(process);
    events.emplace_back("process end " + std::to_string(process));
}

bool TestPlug::CommandNeedsBigInit(long command, CXParam*, CXResult*) {
    return std::find(bigInitCommands.begin(), bigInitCommands.end(), command) !=
           bigInitCommands.end();
}

bool TestPlug::CanCallCommand(long, CXParam*, CXResult*) {
    return canCall;
}

void TestPlug::DoClientDisconnectOnServer(FourDClient* client) {
    events.emplace_back("client " + std::to_string(client->cookie) + " gone");
}

HostTest::HostTest(HostOptions options)
    : host(std::move(options)), session(host, EntryPoints{FourDPack, FourDPackex}), inside(host) {}

HostTest::~HostTest() {
    if (session.IsStarted()) {
        session.Stop();
    }
    session.ReportLeaks();
    for (const std::string& problem : TakeProblems()) {
        ADD_FAILURE() << problem;
    }
}

void HostTest::Start(long selector) {
    session.Start(selector);
}

std::vector<std::string> HostTest::TakeProblems() {
    return std::exchange(host.problems, {});
}

OwnedHandle::OwnedHandle(std::string_view bytes) {
    PtrToHand(bytes.data(), &handle, static_cast<Size>(bytes.size()));
}

OwnedHandle::~OwnedHandle() {
    if (handle != nullptr) {
        DisposeHandle(handle);
    }
}

std::string OwnedHandle::BytesOf(Handle handle) {
    return {*handle, static_cast<std::size_t>(GetHandleSize(handle))};
}

void MakeFile(const std::wstring& path, std::string_view bytes) {
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE);
    DWORD written = 0;
    EXPECT_TRUE(
        WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != 0);
    CloseHandle(file);
}

PascalString::PascalString(std::string_view text) {
    bytes[0] = static_cast<unsigned char>(text.size());
    std::copy_n(text.begin(), bytes[0], bytes + 1);
}

std::string PascalString::Text() const {
    return TextOf(bytes);
}

std::string PascalString::TextOf(const unsigned char* string) {
    return {reinterpret_cast<const char*>(string + 1), string[0]};
}
