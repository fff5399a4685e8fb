// Typed values through streams: the layout, both kinds of stream, and stored bytes that lie.

#include "data/Stream.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <cstdio>
#include <random>

#include <windows.h>

namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

class StreamTest : public MemoryTest {
  protected:
    /// What `write` puts into an empty handle.
    static std::string Written(const std::function<void(CStream&)>& write) {
        const OwnedHandle handle("");
        {
            CHandleStream stream(handle, 16);
            write(stream);
        }
        return handle.Bytes();
    }
};

INSTANTIATE_TEST_SUITE_P(Memory, StreamTest, OrdinaryAndStrict, MemoryName);

TEST_P(StreamTest, LaysValuesOutBigEndian) {
    CTextBlock text("text!");
    CTextBlock empty;
    DateBlock date = {.day = 21, .month = 11, .year = 2026};
    const OwnedHandle handle("abc");
    PascalString two("ab");
    PascalString three("abc");
    struct Row {
        std::function<void(CStream&)> write;
        std::string bytes;
    };
    const Row rows[] = {
        {[](CStream& s) { s.Write(0x01020304L); }, "\1\2\3\4"},
        {[](CStream& s) { s.Write(-2L); }, "\xFF\xFF\xFF\xFE"},
        {[](CStream& s) { s.Write(short{0x0102}); }, "\1\2"},
        // The record as it is in memory.
        {[&](CStream& s) { s.Write(&date); }, "\x15\0\x0B\0\xEA\x07"s},
        {[&](CStream& s) { s.Write(two, 1); }, "\2ab\0"s},
        {[&](CStream& s) { s.Write(two, 0); }, "\2ab"},
        {[&](CStream& s) { s.Write(three, 1); }, "\3abc"},
        {[&](CStream& s) { s.Write(&text, 1); }, "\0\5text!\0"s},
        {[&](CStream& s) { s.Write(&empty, 1); }, "\0\0"s},
        {[&](CStream& s) { s.Write(handle.handle, 1); }, "\0\0\0\3abc\0"s},
        {[](CStream& s) { s.Write(static_cast<char**>(nullptr), 1); }, "\0\0\0\0"s},
        {[](CStream& s) { s.WriteWordAlign(); }, ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Written(row.write), row.bytes);
    }
    text.SetLength(0);
}

// The whole set, there and back, on either kind of stream.
void RoundTrip(const std::function<void(const std::function<void(CStream&)>&)>& withStream) {
    CTextBlock text("some text");
    PascalString string("a string");
    DateBlock date = {.day = 29, .month = 2, .year = 2024};
    const OwnedHandle handle(std::string(1000, 'h'));
    withStream([&](CStream& stream) {
        EXPECT_EQ(stream.Write(-5L), 0);
        EXPECT_EQ(stream.Write(short{-6}), 0);
        EXPECT_EQ(stream.Write(&date), 0);
        EXPECT_EQ(stream.Write(string, 1), 0);
        EXPECT_EQ(stream.Write(&text, 1), 0);
        EXPECT_EQ(stream.Write(handle.handle, 1), 0);
    });
    withStream([&](CStream& stream) {
        long number = 0;
        short small = 0;
        DateBlock dateRead = {};
        PascalString stringRead("");
        CTextBlock textRead("something longer than the text that is read");
        Handle made = nullptr;
        EXPECT_EQ(stream.SetPosition(0), 0);
        EXPECT_EQ(stream.Read(&number), 0);
        EXPECT_EQ(stream.Read(&small), 0);
        EXPECT_EQ(stream.Read(&dateRead), 0);
        EXPECT_EQ(stream.Read(stringRead, 1), 0);
        EXPECT_EQ(stream.Read(&textRead, 1), 0);
        EXPECT_EQ(stream.Read(&made, 1), 0);
        EXPECT_EQ(std::tuple(number, small), std::tuple(-5L, short{-6}));
        EXPECT_EQ(std::memcmp(&dateRead, &date, sizeof date), 0);
        EXPECT_EQ(stringRead.Text(), "a string");
        char textBytes[10];
        textRead.CopyTo(textBytes, 9);
        EXPECT_STREQ(textBytes, "some text");
        EXPECT_EQ(OwnedHandle::BytesOf(made), handle.Bytes());
        EXPECT_EQ(stream.GetPosition(), stream.GetSize());
        EXPECT_EQ(stream.Read(&number), ResultCode::EndOfData);
        textRead.SetLength(0);
        DisposeHandle(made);
    });
    text.SetLength(0);
}

TEST_P(StreamTest, HandlesHoldWhatWasWritten) {
    const OwnedHandle handle("");
    RoundTrip([&](const std::function<void(CStream&)>& use) {
        CHandleStream stream(handle, 7);
        use(stream);
        stream.SetPosition(stream.GetSize());
    });
}

TEST_P(StreamTest, FilesHoldWhatWasWritten) {
    char path[MAX_PATH];
    GetTempPathA(sizeof path, path);
    const std::string name = std::string(path) + "nimbo-stream-test.dat";
    DeleteFileA(name.c_str());
    PascalString pathString(name);
    RoundTrip([&](const std::function<void(CStream&)>& use) {
        CFileStream stream(pathString);
        EXPECT_TRUE(stream.IsOpen());
        use(stream);
    });
    {
        CFileStream stream(pathString);
        EXPECT_EQ(stream.SetPosition(-1), ResultCode::BadPosition);
        EXPECT_EQ(stream.SetSize(3), 0);
        EXPECT_EQ(stream.SetPosition(2), 0);
        EXPECT_EQ(stream.GetPosition(), 2);
        char bytes[4] = "###";
        EXPECT_EQ(stream.ReadData(bytes, 4), ResultCode::EndOfData);
        EXPECT_EQ(std::string(bytes + 1, 2), "##");
        EXPECT_EQ(stream.GetSize(), 3);
    }
    DeleteFileA(name.c_str());

    PascalString nowhere("C:\\no such folder\\file");
    CFileStream closed(nowhere);
    long number = 1;
    EXPECT_FALSE(closed.IsOpen());
    EXPECT_NE(closed.Write(number), 0);
    EXPECT_NE(closed.Read(&number), 0);
    EXPECT_EQ(number, 0);
    EXPECT_EQ(closed.GetSize(), 0);
    TakeProblems(); // the toolbox may complain of a number that is no file's
}

TEST_P(StreamTest, HandleStreamsMoveGrowAndCut) {
    const OwnedHandle handle("0123456789");
    HPurge(handle);
    {
        CHandleStream stream(handle, 100);
        EXPECT_EQ(HGetState(handle) & 0x40, 0); // not purgeable meanwhile
        EXPECT_EQ(stream.SetPosition(-1), ResultCode::BadPosition);
        EXPECT_EQ(stream.SetPosition(11), ResultCode::EndOfData);
        EXPECT_EQ(stream.SetPosition(6), 0);
        char bytes[10] = {};
        EXPECT_EQ(stream.ReadData(bytes, 10), ResultCode::EndOfData);
        EXPECT_STREQ(bytes, "6789");
        EXPECT_EQ(stream.GetPosition(), 10);
        EXPECT_EQ(stream.ReadData(bytes, -1), ResultCode::BadParameter);
        EXPECT_EQ(stream.WriteData(bytes, -1), ResultCode::BadParameter);
        EXPECT_EQ(stream.ReadData(bytes, 0), 0);

        EXPECT_EQ(stream.GrowthSize(99), 100);
        EXPECT_EQ(stream.GrowthSize(101), 101);
        EXPECT_EQ(stream.WriteData(bytes, 1), 0);
        EXPECT_EQ(GetHandleSize(handle), 110); // the data's end and the growth size
        EXPECT_EQ(stream.GetSize(), 11);
        EXPECT_EQ(stream.WriteData(bytes, 1), 0); // grown anew, though there was room
        EXPECT_EQ(GetHandleSize(handle), 111);
        EXPECT_EQ(stream.SetSize(4), 0);
        EXPECT_EQ(std::tuple(stream.GetPosition(), stream.GetSize()), std::tuple(4L, 4L));
        EXPECT_EQ(stream.SetPosition(2), 0);
    }
    EXPECT_EQ(handle.Bytes(), "01");
    {
        CHandleStream stream(handle, 0);
        stream.SetPosition(2);
        SetHandleSize(handle, 1); // behind the stream's back
        char byte = '!';
        EXPECT_EQ(stream.WriteData(&byte, 1), 0);
    }
    EXPECT_EQ(handle.Bytes(), "0!");
    EXPECT_NE(HGetState(handle) & 0x40, 0);
    {
        CHandleStream stream(handle, 0);
        stream.SetPosition(2);
        SetHandleSize(handle, 1); // and nothing is written
        EXPECT_EQ(stream.WriteData(nullptr, 1), ResultCode::BadParameter);
        EXPECT_EQ(stream.ReadData(nullptr, 1), ResultCode::BadParameter);
    }
    EXPECT_EQ(handle.Bytes(), "0");
    {
        class Stubborn : public CHandleStream {
          public:
            using CHandleStream::CHandleStream;
            OSErr SetSize(long) override { return ResultCode::NoError; }
        } stream(handle, 0);
        long number = 0;
        EXPECT_EQ(stream.Write(number), ResultCode::MemoryFull);
        stream.SetPosition(1);
    }
    EXPECT_EQ(handle.Bytes(), "0");
    {
        class Doubling : public CHandleStream {
          public:
            Doubling(Handle itsHandle) : CHandleStream(itsHandle, 0), handle(itsHandle) {}
            OSErr SetSize(long size) override {
                SetHandleSize(handle, 2 * size);
                return MemError();
            }
            Handle handle;
        } stream(handle);
        EXPECT_EQ(stream.Write(0x31323334L), 0);
        EXPECT_EQ(GetHandleSize(handle), 8);
    }
    EXPECT_EQ(handle.Bytes(), "1234");
    {
        class Halving : public CHandleStream {
          public:
            Halving(Handle itsHandle) : CHandleStream(itsHandle, 0), handle(itsHandle) {}
            OSErr SetSize(long size) override {
                const OSErr error = CHandleStream::SetSize(size);
                SetHandleSize(handle, size / 2);
                return error;
            }
            Handle handle;
        } stream(handle);
        stream.SetPosition(4);
        EXPECT_EQ(stream.Write(0x31323334L), ResultCode::MemoryFull);
    }

    CHandleStream nothing(nullptr, 100);
    char byte = 0;
    long number = 0;
    EXPECT_EQ(nothing.WriteData(&byte, 1), ResultCode::NullHandle);
    EXPECT_EQ(nothing.ReadData(&byte, 1), ResultCode::NullHandle);
    EXPECT_EQ(nothing.SetSize(1), ResultCode::NullHandle);
    EXPECT_EQ(nothing.Read(&number), ResultCode::NullHandle);
    EXPECT_EQ(nothing.Write(number), ResultCode::NullHandle);
}

TEST_P(StreamTest, StoredLengthsAreNotBelieved) {
    struct Row {
        std::string_view stored;
        OSErr text;
        OSErr handle;
        OSErr string;
    };
    std::string tooLong(32003, 'x');
    tooLong.replace(0, 2, "\x7D\1");
    const Row rows[] = {
        {"", ResultCode::EndOfData, ResultCode::EndOfData, ResultCode::EndOfData},
        {"\0"sv, ResultCode::EndOfData, ResultCode::EndOfData, 0},
        {"\x80\0\0\0abc"sv, ResultCode::BadParameter, ResultCode::BadParameter,
         ResultCode::EndOfData},
        {tooLong, ResultCode::BadParameter, ResultCode::EndOfData, 0},
        {"\x7F\xFF\xFF\xFF"sv, ResultCode::BadParameter, ResultCode::EndOfData,
         ResultCode::EndOfData},
        {"\0\4abc"sv, ResultCode::EndOfData, ResultCode::EndOfData, 0},
        {"\0\0\0\4abc"sv, 0, ResultCode::EndOfData, 0},
        {"\5abc"sv, ResultCode::EndOfData, ResultCode::EndOfData, ResultCode::EndOfData},
    };
    for (const Row& row : rows) {
        const OwnedHandle source(row.stored);
        CHandleStream stream(source, 0);
        CTextBlock text("before");
        EXPECT_EQ(stream.Read(&text, 1), row.text) << testing::PrintToString(row.stored);
        EXPECT_EQ(text.GetHandle() == nullptr, text.GetLength() == 0);
        EXPECT_EQ(text.GetLength(), row.stored.size() < 2 ? 6 : 0); // left, or emptied
        text.SetLength(0);

        stream.SetPosition(0);
        Handle made = nullptr;
        EXPECT_EQ(stream.Read(&made, 1), row.handle) << testing::PrintToString(row.stored);
        EXPECT_EQ(made, nullptr);
        const OwnedHandle existing("before");
        Handle target = existing;
        stream.SetPosition(0);
        EXPECT_EQ(stream.Read(&target, 1), row.handle);
        EXPECT_EQ(existing.Bytes(), row.stored.size() < 4 ? "before" : "");

        stream.SetPosition(0);
        PascalString string("before");
        EXPECT_EQ(stream.Read(string, 1), row.string) << testing::PrintToString(row.stored);
        EXPECT_EQ(string.Text() == "before", row.stored.empty());
        stream.SetPosition(stream.GetSize());
    }
    const OwnedHandle source("\5abc");
    CHandleStream stream(source, 0);
    PascalString string("");
    EXPECT_EQ(stream.Read(string, 0), ResultCode::EndOfData);
    EXPECT_EQ(string.Text(), "abc"); // as far as it was read
    stream.SetPosition(0);
    DateBlock date = {1, 2, 3};
    EXPECT_EQ(stream.Read(&date), ResultCode::EndOfData);
    EXPECT_EQ(std::tuple(date.day + 0, date.month + 0, date.year + 0), std::tuple(0, 0, 0));
}

/// What comes through a pipe: bytes, and no answer to where they stand or how many there are.
class Pipe : public CStream {
  public:
    long GetPosition() override { return Refuse(); }
    OSErr SetPosition(long) override { return Refuse(); }
    long GetSize() override { return Refuse(); }
    OSErr SetSize(long) override { return Refuse(); }
    OSErr WriteData(void* data, long count) override {
        bytes.append(static_cast<const char*>(data), static_cast<size_t>(count));
        return 0;
    }
    OSErr ReadData(void* buffer, long count) override {
        mostAsked = std::max(mostAsked, count);
        if (throws && count > 2) {
            throw count;
        }
        const size_t taken = std::min(bytes.size() - read, static_cast<size_t>(count));
        bytes.copy(static_cast<char*>(buffer), taken, read);
        read += taken;
        return taken < static_cast<size_t>(count) ? ResultCode::EndOfData : OSErr{0};
    }

    std::string bytes;
    size_t read = 0;
    long mostAsked = 0;
    bool throws = false;
    int refused = 0;

  private:
    OSErr Refuse() {
        ++refused;
        return ResultCode::EndOfData;
    }
};

TEST_P(StreamTest, PipesAreReadWithoutAsking) {
    CTextBlock text("some text");
    PascalString string("a string");
    for (const size_t size : {0U, 3U, 32000U, 32001U, 200000U}) {
        const OwnedHandle handle(std::string(size, 'x') + "end");
        Pipe pipe;
        pipe.Write(string, 0);
        pipe.Write(&text, 0);
        pipe.Write(handle.handle, 0);
        pipe.Write(string, 1); // unaligned, as the pipe cannot tell
        PascalString stringRead("before");
        CTextBlock textRead;
        Handle made = nullptr;
        EXPECT_EQ(pipe.Read(stringRead, 0) + pipe.Read(&textRead, 0) + pipe.Read(&made, 0), 0);
        EXPECT_EQ(stringRead.Text(), "a string");
        EXPECT_EQ(OwnedHandle::BytesOf(textRead.GetHandle()), "some text");
        EXPECT_EQ(OwnedHandle::BytesOf(made), handle.Bytes());
        EXPECT_EQ(pipe.refused, 1);
        EXPECT_EQ(pipe.Read(stringRead, 1), 0);
        EXPECT_EQ(pipe.refused, 2);
        EXPECT_EQ(pipe.read, pipe.bytes.size());
        textRead.SetLength(0);
        DisposeHandle(made);
    }
    Pipe broken;
    broken.Write(&text, 0);
    broken.throws = true;
    CTextBlock halfRead;
    EXPECT_THROW(broken.Read(&halfRead, 0), long);
    EXPECT_EQ(HGetState(halfRead.GetHandle()) & 0x80, 0); // not left locked
    halfRead.SetLength(0);
    text.SetLength(0);

    for (const long existing : {0L, 5L}) {
        Pipe pipe;
        pipe.bytes = "\x7F\xFF\xFF\xFF" + std::string(70000, 'x');
        const OwnedHandle before(std::string(static_cast<size_t>(existing), 'b'));
        Handle target = existing > 0 ? before.handle : nullptr;
        EXPECT_EQ(pipe.Read(&target, 0), ResultCode::EndOfData);
        EXPECT_EQ(target == nullptr, existing == 0);
        EXPECT_EQ(before.Bytes(), "");
        EXPECT_LE(pipe.mostAsked, 70000); // never more than had come
        pipe.read = 0;
        ToolboxFailAllocation(2);
        EXPECT_EQ(pipe.Read(&target, 0), ResultCode::MemoryFull);
        EXPECT_EQ(target == nullptr, existing == 0);
        EXPECT_EQ(before.Bytes(), "");
    }
}

// Whatever the bytes are, reading ends and leaves valid targets; guard bytes and the leak check
// tell of anything else.
TEST_P(StreamTest, ReadsAnyBytesSafely) {
    constexpr unsigned Seed = 35;
    std::mt19937 random(Seed);
    for (int round = 0; round < 300; ++round) {
        std::string bytes(random() % 40, '\0');
        for (char& byte : bytes) {
            byte = static_cast<char>(random() % 3 == 0 ? random() : random() % 4);
        }
        const OwnedHandle source(bytes);
        CHandleStream stream(source, 0);
        CTextBlock text;
        Handle handle = nullptr;
        PascalString string("");
        for (int step = 0; step < 6; ++step) {
            switch (random() % 3) {
            case 0:
                stream.Read(&text, 1);
                ASSERT_LE(text.GetLength(), 40);
                break;
            case 1:
                stream.Read(&handle, 0);
                ASSERT_TRUE(handle == nullptr || GetHandleSize(handle) <= 40);
                break;
            default:
                stream.Read(string, 1);
                break;
            }
            ASSERT_LE(stream.GetPosition(), stream.GetSize());
        }
        text.SetLength(0);
        if (handle != nullptr) {
            DisposeHandle(handle);
        }
    }
}

} // namespace
