// Platform and host handles, and the scope guards.

#include "data/blocks/Handles.h"

#include "host/FourD.h"
#include "host/Handles.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <stdexcept>

namespace {

class HandlesTest : public MemoryTest {
  protected:
    static std::string HostBytes(Handle handle) {
        return {*handle, static_cast<std::size_t>(FourDGetHandleSize(handle))};
    }
};

INSTANTIATE_TEST_SUITE_P(Memory, HandlesTest, OrdinaryAndStrict, MemoryName);

TEST_P(HandlesTest, PlatformHandlesAreMadeResizedAndCopied) {
    Handle handle = nullptr;
    EXPECT_EQ(ResizeOrNewHandle(&handle, 3), 0);
    std::memcpy(*handle, "abc", 3);
    EXPECT_EQ(ResizeOrNewHandle(&handle, 100), 0);
    EXPECT_EQ(OwnedHandle::BytesOf(handle).substr(0, 3), "abc");

    const OwnedHandle source("a source that is longer than three bytes");
    EXPECT_EQ(CopyHandle(source, &handle), 0);
    EXPECT_EQ(OwnedHandle::BytesOf(handle), source.Bytes());
    EXPECT_EQ(CopyHandle(nullptr, &handle), 0);
    EXPECT_EQ(GetHandleSize(handle), 0);
    DisposeHandle(handle);

    handle = nullptr;
    EXPECT_EQ(CopyHandle(nullptr, &handle), 0); // an empty copy of nothing
    EXPECT_EQ(GetHandleSize(handle), 0);
    DisposeHandle(handle);

    handle = nullptr;
    EXPECT_EQ(ResizeOrNewHandle(&handle, 0x90000000), ResultCode::MemoryFull);
    EXPECT_EQ(handle, nullptr);
}

// What each wrapper sends: operation, handle and size.
TEST_P(HandlesTest, HostHandleCallsCarryTheirOperation) {
    Handle const handle = FourD::NewHandleV11(10);
    // Operation, size and handle of the last call, copied out of the packed record.
    const auto sent = [this] {
        const CallFields& fields = host.log.Last("HandleOperation")->Sent();
        return std::tuple(long{fields.param1}, long{fields.param2}, Handle{fields.handle});
    };
    EXPECT_EQ(sent(), std::tuple(1L, 10L, Handle{nullptr}));
    struct Row {
        std::function<void()> call;
        long operation;
        long size;
    };
    for (const Row& row : {Row{[&] { FourD::SetHandleSizeV11(handle, 20); }, 3, 20},
                           Row{[&] { EXPECT_EQ(FourD::GetHandleSizeV11(handle), 20); }, 4, 0},
                           Row{[&] { FourD::LockHandleV11(handle); }, 5, 0},
                           Row{[&] { FourD::UnlockHandleV11(handle); }, 6, 0},
                           Row{[&] { FourD::DisposeHandleV11(handle); }, 2, 0}}) {
        row.call();
        EXPECT_EQ(host.log.Last("HandleOperation")->selector, -434);
        EXPECT_EQ(sent(), std::tuple(row.operation, row.size, handle));
    }
    host.log.Clear();
    FourD::DisposeHandleV11(nullptr);
    FourD::LockHandleV11(nullptr);
    EXPECT_EQ(FourD::SetHandleSizeV11(nullptr, 1), 0);
    EXPECT_EQ(FourD::GetHandleSizeV11(nullptr), 0);
    EXPECT_TRUE(host.log.Calls().empty()); // the host is not troubled with them
}

TEST_P(HandlesTest, HostHandleErrorsAreKeptUntilTheNextCall) {
    EXPECT_EQ(FourDGetHandleSize(nullptr), 0);
    EXPECT_EQ(FourDMemError(), ResultCode::NullHandle);
    EXPECT_EQ(FourDMemError(), ResultCode::NullHandle);
    for (const auto& call : std::vector<std::function<void()>>{
             [] { FourDDisposeHandle(nullptr); }, [] { FourDSetHandleSize(nullptr, 1); },
             [] { FourDHLock(nullptr); }, [] { FourDHUnlock(nullptr); }}) {
        Handle const fine = FourDNewHandle(0);
        EXPECT_EQ(FourDMemError(), 0);
        call();
        EXPECT_EQ(FourDMemError(), ResultCode::NullHandle);
        FourDBlockMove(nullptr, nullptr, -1);
        EXPECT_EQ(FourDMemError(), ResultCode::NullHandle); // untouched
        FourDDisposeHandle(fine);
        EXPECT_EQ(FourDMemError(), 0);
    }
    EXPECT_EQ(FourDNewHandle(-5), nullptr);
    EXPECT_EQ(FourDMemError(), ResultCode::MemoryFull);
}

TEST_P(HandlesTest, HostHandlesGrowByAppending) {
    Handle handle = nullptr;
    EXPECT_EQ(FourDPtrToHand("ab", &handle, 2), 0);
    EXPECT_EQ(FourDPtrAndHand("cd", handle, 2), 0);
    EXPECT_EQ(FourDHandAndHand(handle, handle), 0); // onto itself
    EXPECT_EQ(HostBytes(handle), "abcdabcd");
    EXPECT_EQ(FourDPtrAndHand(nullptr, handle, 0), 0);
    EXPECT_EQ(FourDPtrAndHand(nullptr, handle, 1), ResultCode::BadParameter);
    EXPECT_EQ(FourDPtrAndHand("x", handle, -1), ResultCode::BadParameter);
    EXPECT_EQ(FourDPtrAndHand("x", nullptr, 1), ResultCode::BadParameter);
    EXPECT_EQ(FourDHandAndHand(handle, nullptr), ResultCode::BadParameter);
    EXPECT_EQ(FourDHandAndHand(nullptr, handle), ResultCode::BadParameter);
    EXPECT_EQ(FourDMemError(), 0);
    EXPECT_EQ(FourDPtrAndHand("x", handle, 0x7FFFFFFF), ResultCode::MemoryFull);
    EXPECT_EQ(HostBytes(handle), "abcdabcd");
    FourDDisposeHandle(handle);

    EXPECT_EQ(FourDPtrToHand(nullptr, &handle, 0), 0);
    EXPECT_EQ(FourDGetHandleSize(handle), 0);
    FourDDisposeHandle(handle);
    EXPECT_EQ(FourDPtrToHand(nullptr, &handle, 5), ResultCode::BadParameter);
    EXPECT_EQ(FourDPtrToHand("x", &handle, -1), ResultCode::BadParameter);
    EXPECT_EQ(FourDPtrToHand("x", nullptr, 1), ResultCode::BadParameter);

    handle = FourDNewHandleClear(64);
    EXPECT_EQ(HostBytes(handle), std::string(64, '\0'));
    FourDDisposeHandle(handle);
}

TEST_P(HandlesTest, HostHandlesStayWhereTheyAreWhileLocked) {
    Handle const handle = FourDNewHandle(8);
    FourDGetHandleSize(nullptr);
    FourDHLock(handle);
    EXPECT_EQ(FourDMemError(), 0); // the former error is forgotten
    char* const place = *handle;
    ToolboxMoveMemory();
    EXPECT_EQ(*handle, place);
    FourDGetHandleSize(nullptr);
    FourDHUnlock(handle);
    EXPECT_EQ(FourDMemError(), 0);
    ToolboxMoveMemory();
    EXPECT_NE(*handle, place);
    FourDDisposeHandle(handle);
}

TEST(HostHandlesOnOldHostsTest, CannotBeHad) {
    Host host({.version = 0x0800});
    Session session(host, EntryPoints{FourDPack, FourDPackex});
    TestPlug plug;
    session.Start();
    Host::Scope inside(host);
    EXPECT_EQ(FourDNewHandleClear(8), nullptr);
    EXPECT_EQ(FourDMemError(), ResultCode::MemoryFull);
    EXPECT_TRUE(host.problems.empty());
    session.Stop();
}

TEST_P(HandlesTest, TheLockerPutsBackTheStateItFound) {
    const OwnedHandle handle("bytes");
    for (const bool lockedBefore : {false, true}) {
        for (const bool lockedInside : {false, true}) {
            lockedBefore ? HLock(handle) : HUnlock(handle);
            {
                const SHandleLocker locker(handle);
                EXPECT_NE(IsHandleLocked(handle), 0);
                lockedInside ? HLock(handle) : HUnlock(handle);
            }
            EXPECT_EQ(IsHandleLocked(handle) != 0, lockedBefore);
        }
    }
    const SHandleLocker nothing(nullptr);
}

TEST_P(HandlesTest, TheResourceFileComesBackWhateverHappens) {
    ToolboxAddResFile(5);
    const short before = CurResFile();
    try {
        const SResFileSetter setter(5);
        EXPECT_EQ(CurResFile(), 5);
        throw std::runtime_error("on the way");
    } catch (const std::runtime_error&) {
        EXPECT_EQ(CurResFile(), before);
    }
    ToolboxRemoveResFile(5);
}

} // namespace
