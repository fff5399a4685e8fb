// Each operation that can run out of memory, with the first, second, third ... allocation failing:
// it says so, loses nothing and leaves valid things behind.

#include "data/Base64.h"
#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "data/Stream.h"
#include "host/Handles.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/TextServices.h"
#include "tests/Fixture.h"

namespace {

/// What the operations work on, made anew for each of them.
struct Material {
    Material() { text.SetTo("a text, a text"); }
    ~Material() {
        text.SetLength(0);
        if (made != nullptr) {
            DisposeHandle(made);
        }
        if (madeByHost != nullptr) {
            FourDDisposeHandle(madeByHost);
        }
        FourDDisposeHandle(hostHandle);
    }
    Material(const Material&) = delete;
    Material& operator=(const Material&) = delete;

    CTextBlock text;
    const OwnedHandle bytes{std::string(50, 'b')};
    const OwnedHandle small{"s"};
    const OwnedHandle mixed{"one\r\ntwo\nthree\r"};
    const OwnedHandle stored{std::string("\0\0\0\x20", 4) + std::string(32, 'x')};
    const OwnedHandle storedText{std::string("\0\x20", 2) + std::string(32, 'x')};
    Handle made = nullptr;
    Handle madeByHost = nullptr;
    Handle hostHandle = FourDNewHandle(4);
};

struct Operation {
    const char* name;
    long (*run)(Material& material);
    /// Whether what is left after a failure is whole; null when there is nothing to look at.
    bool (*isWhole)(Material& material);
    bool silent = false; ///< deliberately answers 0, with everything as it was
};

long Silent(void (*change)(Handle), Handle handle) {
    change(handle);
    return 0;
}

bool TextIsOld(Material& m) {
    char text[40];
    m.text.CopyTo(text, 39);
    return std::string_view(text) == "a text, a text";
}

// Deliberately the new length, but never more bytes than there are.
bool TextIsReadable(Material& m) {
    char text[100];
    m.text.CopyTo(text, 99);
    return std::strlen(text) <= 99 && m.text.GetChar(m.text.GetLength()) == 0;
}

const Operation Operations[] = {
    {"ResizeOrNewHandle, new", [](Material& m) -> long { return ResizeOrNewHandle(&m.made, 64); },
     [](Material& m) { return m.made == nullptr; }},
    {"ResizeOrNewHandle, resize",
     [](Material& m) -> long {
         Handle handle = m.small;
         return ResizeOrNewHandle(&handle, 5000);
     },
     [](Material& m) { return m.small.Bytes() == "s"; }},
    {"CopyHandle", [](Material& m) -> long { return CopyHandle(m.bytes, &m.made); },
     [](Material& m) { return m.made == nullptr; }},
    {"FourDNewHandle",
     [](Material& m) -> long {
         m.madeByHost = FourDNewHandleClear(64);
         return FourDMemError();
     },
     [](Material& m) { return m.madeByHost == nullptr; }},
    {"FourDSetHandleSize",
     [](Material& m) -> long {
         FourDSetHandleSize(m.hostHandle, 5000);
         return FourDMemError();
     },
     [](Material& m) { return FourDGetHandleSize(m.hostHandle) == 4; }},
    {"FourDHandAndHand",
     [](Material& m) -> long { return FourDHandAndHand(m.hostHandle, m.hostHandle); },
     [](Material& m) { return FourDGetHandleSize(m.hostHandle) == 4; }},
    {"FourDPtrAndHand",
     [](Material& m) -> long {
         return FourDPtrAndHand(std::string(50, 'b').data(), m.hostHandle, 50);
     },
     [](Material& m) { return FourDGetHandleSize(m.hostHandle) == 4; }},
    {"FourDPtrToHand", [](Material& m) -> long { return FourDPtrToHand("abc", &m.madeByHost, 3); },
     [](Material& m) { return m.madeByHost == nullptr; }},
    {"Base64EncodeHandle", [](Material& m) { return Silent(Base64EncodeHandle, m.bytes); },
     [](Material& m) { return m.bytes.Bytes() == std::string(50, 'b'); }, true},
    {"Base64DecodeHandle", [](Material& m) { return Silent(Base64DecodeHandle, m.bytes); },
     [](Material& m) { return m.bytes.Bytes() == std::string(50, 'b'); }, true},
    {"CTextBlock::SetLength", [](Material& m) { return m.text.SetLength(60); }, TextIsReadable},
    {"CTextBlock::SetTo", [](Material& m) { return m.text.SetTo(m.bytes.handle); }, TextIsReadable},
    {"CTextBlock::Append", [](Material& m) { return m.text.Append(m.bytes.handle); },
     TextIsReadable},
    {"CTextBlock::Append itself", [](Material& m) { return m.text.Append(m.text); },
     TextIsReadable},
    {"CTextBlock::Replace",
     [](Material& m) {
         const long count = m.text.Replace(PascalString("text"), "longer text");
         return count < 0 ? count : 0;
     },
     TextIsOld},
    {"CTextBlock::CopyTo handle",
     [](Material& m) -> long {
         m.text.CopyTo(&m.made);
         return m.made == nullptr ? ResultCode::MemoryFull : 0;
     },
     TextIsOld},
    {"CHandleStream::WriteData",
     [](Material& m) -> long {
         CHandleStream stream(m.small, 0);
         const OSErr error = stream.Write(m.bytes.handle, 1);
         return error;
     },
     nullptr},
    {"CStream::Read handle",
     [](Material& m) -> long {
         CHandleStream stream(m.stored, 0);
         const OSErr error = stream.Read(&m.made, 1);
         stream.SetPosition(stream.GetSize());
         return error;
     },
     [](Material& m) { return m.made == nullptr || GetHandleSize(m.made) == 0; }},
    {"CStream::Read text",
     [](Material& m) -> long {
         CHandleStream stream(m.storedText, 0);
         const OSErr error = stream.Read(&m.text, 1);
         stream.SetPosition(stream.GetSize());
         return error;
     },
     [](Material& m) { return m.text.GetLength() == 0 && m.text.GetHandle() == nullptr; }},
    {"_SetHandleLineEndings, rebuilt text",
     [](Material& m) { return _SetHandleLineEndings(m.mixed, 2); },
     [](Material& m) { return m.mixed.Bytes() == "one\r\ntwo\nthree\r"; }, true},
};

class AllocationFailureTest : public MemoryTest {};

INSTANTIATE_TEST_SUITE_P(Memory, AllocationFailureTest, OrdinaryAndStrict, MemoryName);

TEST_P(AllocationFailureTest, LeavesNothingLeakedAndNothingTorn) {
    for (const Operation& operation : Operations) {
        int failures = 0;
        for (long nth = 1; nth <= 6; ++nth) {
            const long alive = ToolboxLiveHandles() + ToolboxLiveHostHandles();
            {
                Material material;
                ToolboxFailAllocation(nth);
                const long result = operation.run(material);
                const bool failed = ToolboxFailAllocation(0) == 0;
                failures += failed ? 1 : 0;
                // Growth of the second handle can also fail where the first failure is silent.
                const bool answersFailure = result == ResultCode::MemoryFull;
                EXPECT_EQ(result == 0, !failed || (operation.silent && !answersFailure))
                    << operation.name << ", allocation " << nth;
                EXPECT_TRUE(result == 0 || answersFailure) << operation.name;
                if (failed && operation.isWhole != nullptr) {
                    EXPECT_TRUE(operation.isWhole(material)) << operation.name << " " << nth;
                }
            }
            EXPECT_EQ(ToolboxLiveHandles() + ToolboxLiveHostHandles(), alive) << operation.name;
        }
        EXPECT_GE(failures, 1) << operation.name << " allocates nothing";
    }
}

} // namespace
