#pragma once

#include "shell/Entry.h"
#include "shell/FourDPlug.h"
#include "testhost/plugins/Session.h"
#include "testhost/toolbox/Control.h"

#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// Plug-in object of the tests: notes what reaches it, and runs whatever handlers a test gives.
class TestPlug : public FourDPlug {
  public:
    explicit TestPlug(std::vector<CommandEntry> commandTable = {});
    ~TestPlug() override;

    void Init(PackInitBlock* init) override;
    void BigInit() override;
    void Deinit() override;
    void HandleProcessStart(long process) override;
    void HandleProcessEnd(long process) override;
    bool CommandNeedsBigInit(long command, CXParam*, CXResult*) override;
    bool CanCallCommand(long command, CXParam*, CXResult*) override;
    void DoClientDisconnectOnServer(FourDClient* client) override;
    bool TrackClientsOnServer() override { return true; }

    using FourDPlug::clients;
    using FourDPlug::info;

    std::vector<std::string> events;   ///< what reached the object, oldest first
    std::vector<long> bigInitCommands; ///< commands that need BigInit
    bool canCall = true;

  private:
    std::vector<CommandEntry> commands;
    PlugInfo plugInfo;
};

/// A host of one version and role with the test plug-in in it. At the end every test has left no
/// toolbox handle alive, and neither host nor toolbox has anything to complain of.
class HostTest : public testing::Test {
  protected:
    explicit HostTest(HostOptions options = {});
    ~HostTest() override;

    /// Starts the plug-in and makes the host current, so that FourD can be called directly.
    void Start(long selector = -1);
    /// Problems that a test provoked are taken out of the account.
    std::vector<std::string> TakeProblems();

    Host host;
    Session session;

  private:
    Host::Scope inside;
};

/// The same on a classic and on an engine host.
class DualHostTest : public HostTest, public testing::WithParamInterface<unsigned short> {
  protected:
    DualHostTest() : HostTest({.version = GetParam()}) {}
};

/// An engine host with the plug-in started, in ordinary and in strict memory.
class MemoryTest : public HostTest, public testing::WithParamInterface<bool> {
  protected:
    MemoryTest() {
        Start();
        ToolboxSetStrict(GetParam() ? 1 : 0);
    }
    ~MemoryTest() override { ToolboxSetStrict(0); }

  private:
    TestPlug plug;
};

inline const auto OrdinaryAndStrict = testing::Bool();

inline std::string MemoryName(const testing::TestParamInfo<bool>& param) {
    return param.param ? "Strict" : "Ordinary";
}

/// A platform handle with these bytes, disposed of at the end of the scope.
class OwnedHandle {
  public:
    explicit OwnedHandle(std::string_view bytes);
    ~OwnedHandle();
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;

    operator Handle() const { return handle; } // NOLINT(google-explicit-constructor): stands for it
    std::string Bytes() const { return BytesOf(handle); }

    static std::string BytesOf(Handle handle);

    Handle handle = nullptr;
};

/// Makes a file with these bytes, as Windows does it.
void MakeFile(const std::wstring& path, std::string_view bytes);

/// A Pascal string of up to 255 characters.
struct PascalString {
    explicit PascalString(std::string_view text);
    operator unsigned char*() {
        return bytes;
    } // NOLINT(google-explicit-constructor): stands for it
    std::string Text() const;
    static std::string TextOf(const unsigned char* string);

    Str255 bytes = {};
};

inline std::string HostName(const testing::TestParamInfo<unsigned short>& param) {
    return param.param >= 0x1100 ? "Engine" : "Classic";
}

inline const auto ClassicAndEngine = testing::Values<unsigned short>(0x0680, 0x1130);
