// Streams over handles and over files, against a string and a position.

#include "data/blocks/Handles.h"
#include "data/Stream.h"
#include "fuzz/Harness.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>

#include <windows.h>

namespace {
constexpr long mostBytes = 50'000; // more only take time, but for what nothing can hold
constexpr long tooManyBytes = 128 * 1024 * 1024;
const std::string before = "before"; // what is read into

template <typename Record>
std::string RawBytes(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

template <typename Number>
std::string BigEndian(Number value) {
    const std::string bytes = RawBytes(value);
    return {bytes.rbegin(), bytes.rend()};
}

/// One stream and what must be in it.
class Run {
  public:
    Run(Input& itsInput, CStream& itsStream, Handle itsHandle)
        : bytes(BytesOf(itsHandle)), input(itsInput), stream(itsStream), handle(itsHandle) {}

    void Operate() {
        const bool isArmed = input.ConsumeBool();
        mayFail = isArmed || (handle != nullptr && IsHandleLocked(handle) != 0);
        if (isArmed) {
            input.FailAnAllocation();
            ToolboxFailFile(static_cast<long>(input.Choice(4)));
        }
        aligns = input.ConsumeBool() ? 1 : 0;
        input.ConsumeBool() ? Read(input.Choice(7)) : Write(input.Choice(8));
        ToolboxFailFile(0); // what is asked now may not fail
        Require(stream.GetSize() == static_cast<long>(bytes.size()), "the size is wrong");
        Require(stream.GetPosition() == static_cast<long>(position), "the position is wrong");
    }

    /// The handle's owner cuts it, as the stream finds out when it is used next.
    void CutHandle() {
        const long size = static_cast<long>(input.Choice(bytes.size() + 1));
        SetHandleSize(handle, size);
        bytes.resize(static_cast<std::size_t>(size));
        position = std::min(position, bytes.size());
        char next = '?';
        Require(stream.ReadData(&next, 1) == (Next(1).empty() ? ResultCode::EndOfData : 0),
                "another end");
    }

    void ReadAll() {
        Require(stream.SetPosition(0) == 0, "the start is not found");
        std::string all(bytes.size(), '?');
        Require(stream.ReadData(all.data(), static_cast<long>(all.size())) == 0, "too few bytes");
        Require(all == bytes, "the stream has other bytes");
    }

    std::string bytes;

  private:
    static void RequireError(OSErr error, OSErr expected) {
        Require(error == expected, "another error");
    }

    /// Whether the call has failed for what the run made fail. A read may then be half done.
    bool HasFailed(OSErr error) {
        ToolboxFailAllocation(0);
        ToolboxFailFile(0);
        if (error != ResultCode::MemoryFull && error != ResultCode::InputOutput) {
            return false;
        }
        Require(mayFail, "it fails without a reason");
        return true;
    }

    /// What has been written, in full or, after a failure, in part.
    void Written(OSErr error, std::string expected, bool isAligned = false) {
        const bool hasFailed = HasFailed(error);
        const std::size_t size = expected.size();
        if (isAligned && (position + size) % 2 == 1) {
            expected += '\0';
        }
        const std::size_t done = static_cast<std::size_t>(stream.GetPosition()) - position;
        Require(done <= expected.size(), "too much is written");
        Require(mayFail || done == expected.size(), "too little is written");
        Require(hasFailed ? done <= size : error == 0 && done >= size, "another error");
        bytes.replace(position, done, expected, 0, done);
        position += done;
    }

    void Write(unsigned operation) {
        switch (operation) {
        case 0: {
            std::string raw = input.Text(300);
            return Written(stream.WriteData(raw.data(), static_cast<long>(raw.size())), raw);
        }
        case 1: {
            const long number = input.Number();
            return Written(stream.Write(number), BigEndian(number));
        }
        case 2: {
            DateBlock date;
            input.Fill(date);
            return Written(stream.Write(&date), RawBytes(date));
        }
        case 3: {
            Pascal string(input.Text(255));
            return Written(stream.Write(string, aligns), string.Whole(), aligns != 0);
        }
        case 4: { // a record may say more than its handle has
            const std::string text = input.Text();
            const TemporaryHandle source(text.data(), static_cast<long>(text.size()));
            TextBlock record = {static_cast<short>(input.Number()), source.Get()};
            const auto length =
                static_cast<short>(std::clamp<long>(record.length, 0, SizeIfThere(record.text)));
            return Written(stream.Write(reinterpret_cast<CTextBlock*>(&record), aligns),
                           BigEndian(length) + BytesOf(record.text).substr(0, length), aligns != 0);
        }
        case 5: {
            const std::string text = input.Text();
            const TemporaryHandle source(text.data(), static_cast<long>(text.size()));
            const std::string stored = BytesOf(source.Get());
            return Written(stream.Write(source.Get(), aligns),
                           BigEndian(static_cast<long>(stored.size())) + stored, aligns != 0);
        }
        case 6:
            return SetSize();
        default:
            return SetPosition();
        }
    }

    void SetSize() {
        const long size = input.Number();
        if (size > mostBytes && size < tooManyBytes) {
            return;
        }
        mayFail = mayFail || size < 0 || size > mostBytes;
        const OSErr error = stream.SetSize(size);
        Require(HasFailed(error) || error == 0 || mayFail, "another error");
        const auto end = static_cast<std::size_t>(size);
        if (error == 0 && (handle == nullptr || end < bytes.size())) {
            bytes.resize(end); // the data of a handle end where they did
            position = std::min(position, end);
        }
    }

    void SetPosition() {
        const long to = input.Number();
        const OSErr error = stream.SetPosition(to);
        const bool isBehind = to > static_cast<long>(bytes.size());
        if (HasFailed(error)) {
            return;
        }
        RequireError(error, to < 0     ? ResultCode::BadPosition
                            : isBehind ? ResultCode::EndOfData
                                       : ResultCode::NoError);
        if (to >= 0 && (!isBehind || handle == nullptr)) { // a file goes to its end
            position = std::min(bytes.size(), static_cast<std::size_t>(to));
        }
    }

    /// The next bytes, as many as there are.
    std::string Next(std::size_t count) {
        const std::string next = bytes.substr(position, count);
        position += next.size();
        return next;
    }

    /// The same as a big-endian number; false when there are too few.
    bool NextNumber(int size, long* number) {
        const std::string next = Next(static_cast<std::size_t>(size));
        *number = size == 2 && !next.empty() && next[0] < 0 ? -1 : 0;
        for (const char byte : next) {
            *number = static_cast<long>(static_cast<unsigned long>(*number) << 8 |
                                        static_cast<unsigned char>(byte));
        }
        return next.size() == static_cast<std::size_t>(size);
    }

    /// After a failure a read may have come to any place behind that where it began.
    bool HasReadFailed(OSErr error) {
        const bool hasFailed = HasFailed(error);
        const auto now = static_cast<std::size_t>(stream.GetPosition());
        if (hasFailed) {
            Require(now >= position && now <= bytes.size(), "it reads backwards");
            position = now;
        }
        return hasFailed;
    }

    /// A value and, where it is wanted and can be found out, the byte behind it.
    void EndRead(OSErr error) {
        RequireError(error, ResultCode::NoError);
        if (aligns != 0 && position % 2 == 1 &&
            (!mayFail || stream.GetPosition() > static_cast<long>(position))) {
            Next(1);
        }
    }

    template <typename Record>
    void ReadRecord(std::string (*bytesOf)(const Record&)) {
        Record record;
        input.Fill(record);
        const OSErr error = stream.Read(&record);
        const std::string read = bytesOf(record);
        const std::string none(sizeof record, '\0');
        if (HasReadFailed(error)) {
            return Require(read == none, "it fails and yet reads");
        }
        const std::string expected = Next(sizeof record);
        const bool isWhole = expected.size() == sizeof record;
        Require(read == (isWhole ? expected : none), "another value is read");
        RequireError(error, isWhole ? ResultCode::NoError : ResultCode::EndOfData);
    }

    void Read(unsigned operation) {
        switch (operation) {
        case 0: {
            std::string raw(1 + input.Choice(300), '?');
            const OSErr error = stream.ReadData(raw.data(), static_cast<long>(raw.size()));
            if (!HasReadFailed(error)) {
                const std::string expected = Next(raw.size());
                Require(raw.starts_with(expected), "other bytes are read");
                RequireError(error, expected.size() == raw.size() ? ResultCode::NoError
                                                                  : ResultCode::EndOfData);
            }
            return;
        }
        case 1:
            return ReadRecord<long>(BigEndian);
        case 2:
            return ReadRecord<short>(BigEndian);
        case 3:
            return ReadRecord<DateBlock>(RawBytes);
        case 4:
            return ReadString();
        case 5:
            return ReadText();
        default:
            return ReadHandle();
        }
    }

    void ReadString() {
        Str255 string = {6, 'b', 'e', 'f', 'o', 'r', 'e'};
        const OSErr error = stream.Read(string, aligns);
        CheckRead(error, PascalText(string), 1, 255);
    }

    void ReadText() {
        const long countdown = ToolboxFailAllocation(0);
        CTextBlock text("before");
        ToolboxFailAllocation(countdown);
        const OSErr error = stream.Read(&text, aligns);
        const std::string read = BytesOf(text.GetHandle());
        Require(static_cast<long>(read.size()) == text.GetLength(), "a text lies about its length");
        text.SetLength(0);
        CheckRead(error, read, 2, CTextBlock::MaxLength);
    }

    void ReadHandle() {
        TemporaryHandle target(input.ConsumeBool() ? TemporaryHandle(before.data(), 6).GiveAway()
                                                   : nullptr);
        const bool isThere = target.Get() != nullptr;
        const OSErr error = stream.Read(target.Address(), aligns);
        Require(!isThere || target.Get() != nullptr, "a handle is lost");
        CheckRead(error, BytesOf(target.Get()), 4, LONG_MAX, isThere ? before : std::string());
    }

    /// What is read behind a length.
    void CheckRead(OSErr error, const std::string& read, int sizeOfLength, long longest,
                   const std::string& former = before) {
        if (HasReadFailed(error)) {
            return Require(read.empty() || read == former, "it fails and yet reads");
        }
        long length = 0;
        if (!NextNumber(sizeOfLength, &length)) {
            Require(read == former, "without a length it reads");
            return RequireError(error, ResultCode::EndOfData);
        }
        if (length < 0 || length > longest) {
            Require(read.empty(), "it reads what has no length");
            return RequireError(error, ResultCode::BadParameter);
        }
        std::string expected = Next(static_cast<std::size_t>(length));
        if (static_cast<long>(expected.size()) < length) {
            // Of a string what is there stays, up to the last byte that is not 0.
            expected.resize(sizeOfLength > 1 ? 0 : expected.find_last_not_of('\0') + 1);
            Require(read == expected, "another part is kept");
            return RequireError(error, ResultCode::EndOfData);
        }
        Require(read == expected, "something else is read");
        EndRead(error);
    }

    Input& input;
    CStream& stream;
    Handle handle; ///< null: it is a file's
    std::size_t position = 0;
    bool mayFail = false;
    unsigned char aligns = 0;
};

void OverHandle(Input& input) {
    const std::string start = input.Text();
    const TemporaryHandle handle(start.data(), static_cast<long>(start.size()));
    if (input.ConsumeBool()) {
        HLock(handle.Get());
    }
    const char state = HGetState(handle.Get());
    std::string left;
    {
        CHandleStream stream(handle.Get(), input.PickValueInArray({0L, 1L, 16L, 1000L, -5L}));
        Run run(input, stream, handle.Get());
        while (!input.IsOver()) {
            run.Operate();
            if (input.Choice(16) == 1) {
                run.CutHandle();
            }
        }
        left = run.bytes.substr(0, static_cast<std::size_t>(stream.GetPosition()));
    }
    Require(BytesOf(handle.Get()) == left, "the handle is not cut to the position");
    Require(HGetState(handle.Get()) == state, "the handle has another state");
}

void OverFile(Input& input) {
    constexpr const char* path = "C:\\work\\stream";
    Pascal name(path);
    std::string left;
    {
        CFileStream stream(name);
        Run run(input, stream, nullptr);
        while (!input.IsOver()) {
            run.Operate();
        }
        left = run.bytes;
    }
    {
        CFileStream stream(name);
        Run run(input, stream, nullptr);
        run.bytes = left;
        run.ReadAll();
    }
    Require(DeleteFileA(path) != 0, "there is no file");
}
} // namespace

void Fuzz(Input& input) {
    input.ConsumeBool() ? OverHandle(input) : OverFile(input);
}
