// The toolbox stand-in's heap, and what stands on it: streams over handles, text blocks that grow.
// Each is shown at several numbers of items, as the cost of one must not grow with them.

#include "data/Stream.h"
#include "platform/Toolbox.h"

#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace {

/// `Work` is made for a number of items. What is measured is its Run(), a round over all of them,
/// which answers whether all went right.
template <typename Work>
void AddRow(const std::string& name, long count, const std::string& versus = {}) {
    const auto measure = [=](benchmark::State& state) {
        Work work(count);
        for (auto _ : state) {
            if (!work.Run()) {
                state.SkipWithError("a wrong result");
                return;
            }
            benchmark::ClobberMemory();
        }
        state.SetItemsProcessed(static_cast<long long>(state.iterations()) * count);
        state.SetLabel(versus.empty() ? versus : "vs " + versus);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)->MinTime(0.1)->Repetitions(5);
}

/// A row of the bare equivalent and one of ours, for each number of items.
template <typename Bare, typename Ours>
void AddPairs(const std::string& name, const std::string& bare, const std::string& ours,
              std::initializer_list<long> counts) {
    for (const long count : counts) {
        const std::string end = "/" + std::to_string(count);
        AddRow<Bare>(name + bare + end, count);
        AddRow<Ours>(name + ours + end, count, name + bare + end);
    }
}

// --- Streams ------------------------------------------------------------------------------------

class LongsToVector {
  public:
    explicit LongsToVector(long itsCount) : count(itsCount) {}
    bool Run() const {
        std::vector<long> numbers;
        for (long number = 0; number < count; ++number) {
            numbers.push_back(static_cast<long>(SwapBytes(static_cast<std::uint32_t>(number))));
            benchmark::DoNotOptimize(numbers.data());
        }
        return numbers.size() == static_cast<std::size_t>(count);
    }

  private:
    long count;
};

class LongsToStream {
  public:
    explicit LongsToStream(long itsCount) : count(itsCount) {}
    bool Run() const {
        const Handle bytes = NewHandle(0);
        {
            CHandleStream stream(bytes, 256);
            for (long number = 0; number < count; ++number) {
                stream.Write(number);
            }
        }
        const bool isWhole = GetHandleSize(bytes) == count * static_cast<long>(sizeof(long));
        DisposeHandle(bytes);
        return isWhole;
    }

  private:
    long count;
};

/// The longs 0, 1, 2 ... in a handle, as a stream writes them.
class StoredLongs {
  public:
    explicit StoredLongs(long itsCount) : count(itsCount) {
        CHandleStream stream(bytes, count * static_cast<long>(sizeof(long)));
        for (long number = 0; number < count; ++number) {
            stream.Write(number);
        }
    }
    ~StoredLongs() { DisposeHandle(bytes); }
    StoredLongs(const StoredLongs&) = delete;
    StoredLongs& operator=(const StoredLongs&) = delete;

  protected:
    bool IsSum(unsigned long sum) const {
        return sum == static_cast<unsigned long>(1LL * count * (count - 1) / 2);
    }

    long count;
    Handle bytes = NewHandle(0);
};

class LongsByLoop : public StoredLongs {
  public:
    using StoredLongs::StoredLongs;
    bool Run() const {
        const long size = GetHandleSize(bytes);
        long position = 0;
        unsigned long sum = 0;
        for (long item = 0; item < count; ++item) {
            std::uint32_t stored = 0;
            if (size - position < static_cast<long>(sizeof stored)) {
                return false;
            }
            std::memcpy(&stored, *bytes + position, sizeof stored);
            position += static_cast<long>(sizeof stored);
            long number = static_cast<long>(SwapBytes(stored));
            benchmark::DoNotOptimize(number);
            sum += static_cast<unsigned long>(number);
        }
        return IsSum(sum);
    }
};

class LongsFromStream : public StoredLongs {
  public:
    using StoredLongs::StoredLongs;
    bool Run() const {
        CHandleStream stream(bytes, 0);
        unsigned long sum = 0;
        for (long item = 0; item < count; ++item) {
            long number = 0;
            if (stream.Read(&number) != 0) {
                return false;
            }
            benchmark::DoNotOptimize(number);
            sum += static_cast<unsigned long>(number);
        }
        return IsSum(sum);
    }
};

// --- Texts --------------------------------------------------------------------------------------

constexpr char tenCharacters[] = "ten chars.";

class AppendsToString {
  public:
    explicit AppendsToString(long itsCount) : count(itsCount) {}
    bool Run() const {
        std::string text;
        for (long item = 0; item < count; ++item) {
            text.append(tenCharacters, 10);
            benchmark::DoNotOptimize(text.data());
        }
        return text.size() == static_cast<std::size_t>(10 * count) && text.back() == '.';
    }

  private:
    long count;
};

class AppendsToText {
  public:
    explicit AppendsToText(long itsCount) : count(itsCount) {}
    bool Run() const {
        CTextBlock text;
        for (long item = 0; item < count; ++item) {
            text.Append(tenCharacters, 10);
        }
        const bool isWhole =
            text.GetLength() == 10 * count && text.GetChar(static_cast<short>(10 * count)) == '.';
        text.SetLength(0);
        return isWhole;
    }

  private:
    long count;
};

// --- The heap, with so many live handles --------------------------------------------------------
//
// A call takes the same steps however many there are. Where each call is for another of 100,000
// handles, their blocks and entries are more than the processor's caches hold: the time is then
// that of three or four accesses to memory.

class LiveHandles {
  public:
    explicit LiveHandles(long count) {
        for (long item = 0; item < count; ++item) {
            handles.push_back(NewHandle(itsSize));
        }
    }
    ~LiveHandles() {
        for (const Handle handle : handles) {
            DisposeHandle(handle);
        }
    }
    LiveHandles(const LiveHandles&) = delete;
    LiveHandles& operator=(const LiveHandles&) = delete;

  protected:
    static constexpr Size itsSize = 20;

    std::vector<Handle> handles;
};

class Sizes : public LiveHandles {
  public:
    using LiveHandles::LiveHandles;
    bool Run() const {
        Size sum = 0;
        for (const Handle handle : handles) {
            sum += GetHandleSize(handle);
        }
        return sum == static_cast<Size>(handles.size()) * itsSize;
    }
};

/// The same few of them again and again, as a plug-in does.
class SizesOfFew : public LiveHandles {
  public:
    using LiveHandles::LiveHandles;
    bool Run() const {
        Size sum = 0;
        for (std::size_t item = 0; item < handles.size(); ++item) {
            sum += GetHandleSize(handles[item % 16]);
        }
        return sum == static_cast<Size>(handles.size()) * itsSize;
    }
};

class LocksAndUnlocks : public LiveHandles {
  public:
    using LiveHandles::LiveHandles;
    bool Run() const {
        for (std::size_t item = 0; item < handles.size(); ++item) {
            const Handle handle = handles[item % 16];
            HLock(handle);
            HUnlock(handle);
        }
        return HGetState(handles[0]) == 0;
    }
};

class Growths : public LiveHandles {
  public:
    using LiveHandles::LiveHandles;
    bool Run() const {
        for (const Handle handle : handles) {
            SetHandleSize(handle, itsSize + 30);
            SetHandleSize(handle, itsSize);
        }
        return GetHandleSize(handles[0]) == itsSize;
    }
};

class NewAndDispose : public LiveHandles {
  public:
    using LiveHandles::LiveHandles;
    bool Run() const {
        bool all = true;
        for (std::size_t item = 0; item < handles.size(); ++item) {
            const Handle handle = NewHandle(itsSize);
            all = all && handle != nullptr;
            DisposeHandle(handle);
        }
        return all;
    }
};

class CopyAndDispose : public LiveHandles {
  public:
    using LiveHandles::LiveHandles;
    bool Run() const {
        bool all = true;
        for (std::size_t item = 0; item < handles.size(); ++item) {
            Handle handle = nullptr;
            PtrToHand(tenCharacters, &handle, 10);
            all = all && handle != nullptr;
            DisposeHandle(handle);
        }
        return all;
    }
};

[[maybe_unused]] const bool added = [] {
    AddPairs<LongsToVector, LongsToStream>("Stream/write/", "vector", "stream",
                                           {1'000, 10'000, 100'000});
    AddPairs<LongsByLoop, LongsFromStream>("Stream/read/", "loop", "stream",
                                           {1'000, 10'000, 100'000});
    // A text holds 32,000 characters.
    AddPairs<AppendsToString, AppendsToText>("Text/append/", "string", "text", {100, 1'000, 3'200});
    for (const long count : {1'000L, 10'000L, 100'000L}) {
        const std::string end = "/" + std::to_string(count);
        AddRow<SizesOfFew>("Heap/size of few" + end, count);
        AddRow<LocksAndUnlocks>("Heap/lock and unlock few" + end, count);
        AddRow<NewAndDispose>("Heap/new and dispose" + end, count);
        AddRow<CopyAndDispose>("Heap/copy and dispose" + end, count);
        AddRow<Sizes>("Heap/size of each" + end, count);
        AddRow<Growths>("Heap/grow and shrink each" + end, count);
    }
    return true;
}();

} // namespace
