// Texts, against a string.

#include "data/blocks/Handles.h"
#include "data/blocks/TextBlock.h"
#include "fuzz/Harness.h"
#include "platform/ResultCodes.h"
#include "testhost/toolbox/Control.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>

namespace {
constexpr std::size_t longest = CTextBlock::MaxLength;

class Run {
  public:
    explicit Run(Input& itsInput) : input(itsInput) {
        if (input.ConsumeBool()) {
            known = "";
            return;
        }
        auto& record = reinterpret_cast<TextBlock&>(text); // says what it likes
        record.length = static_cast<short>(input.Number());
        record.text = input.ConsumeBool() ? HandleOf(Some()) : nullptr;
    }
    ~Run() { text.SetLength(0); }
    Run(const Run&) = delete;
    Run& operator=(const Run&) = delete;

    void Operate() {
        switch (input.Choice(7)) {
        case 0:
            SetLength();
            break;
        case 1:
            SetChar();
            break;
        case 2:
            SetTo();
            break;
        case 3:
            Append();
            break;
        case 4:
            Replace();
            break;
        case 5:
            Construct();
            break;
        default:
            CopyTo();
            break;
        }
        const std::string bytes = BytesOf(text.GetHandle());
        Require(!known || bytes == known, "another text");
        Require(!known || static_cast<long>(bytes.size()) == text.GetLength(), "another length");
    }

  private:
    std::string Some() {
        const std::string part = input.Text();
        const unsigned times = input.Choice(16) == 0 ? input.Choice(1200) : 1;
        std::string some;
        for (unsigned i = 0; i < times; ++i) {
            some += part;
        }
        return some;
    }

    /// Calls with an allocation that fails, perhaps. After one that has, the text must be good for
    /// anything; then it begins anew.
    template <typename Call>
    bool HasFailed(Call call) {
        mayFail = input.FailAnAllocation();
        answer = call();
        ToolboxFailAllocation(0);
        if (!mayFail || answer != ResultCode::MemoryFull) {
            return false;
        }
        known.reset();
        CopyTo();
        text.SetLength(0);
        known = "";
        return true;
    }

    void SetLength() {
        const auto length = static_cast<short>(input.Number());
        const std::string before = BytesOf(text.GetHandle());
        if (HasFailed([&] { return text.SetLength(length); })) {
            return;
        }
        Require(answer == 0, "another error");
        if (length >= 0) {
            known = BytesOf(text.GetHandle()); // what is new may be anything
            Require(known->size() ==
                        std::min<std::size_t>(static_cast<std::size_t>(length), longest),
                    "another length");
            Require(known->starts_with(before.substr(0, known->size())), "it loses its start");
        }
    }

    void SetChar() {
        const auto position = static_cast<short>(input.Number());
        const auto byte = input.ConsumeIntegral<char>();
        text.SetChar(position, byte);
        const char now = text.GetChar(position);
        if (known) {
            const bool isThere = position >= 1 && position <= static_cast<long>(known->size());
            Require(now == (isThere ? byte : '\0'), "another character");
            if (isThere) {
                (*known)[static_cast<std::size_t>(position) - 1] = byte;
            }
        }
    }

    void CopyTo() {
        const auto room = static_cast<std::size_t>(std::max<long>(text.GetLength(), 0));
        const auto most = static_cast<short>(input.Number());
        const auto mostRoom = static_cast<std::size_t>(std::max<long>(most, 0));
        std::vector<char> whole(room + 1);
        std::vector<char> part(mostRoom + 1, '?');
        std::vector<char> raw(room);
        Str255 string;
        Handle handle = nullptr;
        text.CopyTo(whole.data());
        text.CopyTo(part.data(), most);
        text.CopyTo(static_cast<void*>(raw.data()));
        text.CopyTo(string);
        text.CopyTo(&handle);
        const TemporaryHandle copy(handle);
        if (!known) {
            return;
        }
        const std::string cut = known->substr(0, mostRoom);
        Require(std::string(whole.begin(), whole.end()) == *known + '\0', "another copy");
        Require(std::string(raw.begin(), raw.end()) == *known, "other bytes");
        Require(PascalText(string) == known->substr(0, 255), "another string");
        Require(BytesOf(handle) == *known, "another handle");
        Require(most < 0 ? part[0] == '?' : std::equal(cut.begin(), cut.end(), part.begin()),
                "another part");
        Require(most < 0 || part[cut.size()] == '\0', "a part without an end");
    }

    /// Calls `use` with bytes in one of the forms that operations take. `source` is what of them
    /// counts; nothing when their measure is negative.
    template <typename Use>
    bool HasFailedWithSource(Use use) {
        std::string some = Some();
        isMeasured = false;
        const auto measure = [&](std::size_t size) {
            const auto length = static_cast<short>(size);
            source = length < 0 ? std::nullopt
                                : std::optional(some.substr(0, static_cast<std::size_t>(length)));
            return length;
        };
        switch (input.Choice(6)) {
        case 0: {
            Str255 string = {};
            some.resize(std::min<std::size_t>(some.size(), 255));
            std::copy(some.begin(), some.end(), string + 1);
            string[0] = static_cast<unsigned char>(measure(some.size()));
            return HasFailed([&] { return use(string); });
        }
        case 1: {
            const char* const characters = some.c_str();
            measure(std::strlen(characters));
            return HasFailed([&] { return use(characters); });
        }
        case 2: {
            const char* const bytes = some.data();
            const short length = measure(some.size());
            isMeasured = true;
            return HasFailed([&] { return use(bytes, length); });
        }
        case 3: {
            const TemporaryHandle owned(HandleOf(some));
            Handle const handle = owned.Get();
            source = some;
            return HasFailed([&] { return use(handle); });
        }
        case 4: {
            some.resize(std::min(some.size(), longest));
            CTextBlock other(some.data(), static_cast<short>(some.size()));
            source = some;
            const bool hasFailed = HasFailed([&] { return use(other); });
            other.SetLength(0);
            return hasFailed;
        }
        default:
            source = known.value_or("");
            return HasFailed([&] { return use(text); });
        }
    }

    /// A text that could not be had claims its length, but nothing of it is there.
    void Construct() {
        if (!known) {
            return;
        }
        HasFailedWithSource([&](auto&... from) {
            CTextBlock made(from...);
            const std::string bytes = BytesOf(made.GetHandle());
            std::vector<char> copy(static_cast<std::size_t>(made.GetLength()) + 1);
            made.CopyTo(copy.data());
            Require(made.GetChar(1) == (bytes + '\0')[0], "another first character");
            Require(std::string(copy.data(), bytes.size() + 1) == bytes + '\0', "another copy");
            const std::string wanted = source.value_or("");
            const bool isMeasurable = wanted.size() <= SHRT_MAX; // a handle may not be
            Require(!isMeasurable || bytes == wanted.substr(0, longest) ||
                        (mayFail && bytes.empty()),
                    "another text is made");
            made.SetLength(0);
            return 0L;
        });
    }

    void SetTo() {
        const bool wasKnown = known.has_value();
        if (HasFailedWithSource([&](auto&... from) { return text.SetTo(from...); })) {
            return;
        }
        Require(answer == (source || !isMeasured ? 0 : ResultCode::BadParameter), "another error");
        if (source) {
            known = wasKnown ? source->substr(0, longest) : BytesOf(text.GetHandle());
        }
    }

    void Append() {
        if (HasFailedWithSource([&](auto&... from) { return text.Append(from...); }) || !known) {
            return;
        }
        Require(answer == (source || !isMeasured ? 0 : ResultCode::BadParameter), "another error");
        *known += source.value_or("").substr(0, longest - known->size());
    }

    void Replace() {
        const std::string wanted = input.Text(4);
        Pascal search(wanted);
        if (HasFailedWithSource([&](auto&... by) { return text.Replace(search, by...); }) ||
            !known) {
            return;
        }
        if (known->empty()) {
            return Require(answer == 0, "it finds what is not there");
        }
        constexpr std::size_t most = 64 * 1024 * 1024; // of any block
        std::size_t count = 0;
        std::string replaced;
        for (std::size_t at = 0, next = 0; at < known->size() && replaced.size() <= most;
             at = next) {
            const bool isFound = !wanted.empty() && known->compare(at, wanted.size(), wanted) == 0;
            next = at + (isFound ? wanted.size() : 1);
            count += isFound ? 1 : 0;
            replaced.append(isFound ? source.value_or("") : known->substr(at, 1));
        }
        const bool isTooMuch = !source || replaced.size() > most;
        Require(isTooMuch ? answer < 0 : answer == static_cast<long>(count), "another count");
        if (!isTooMuch) {
            known = replaced.substr(0, longest);
        }
    }

    Input& input;
    CTextBlock text;
    std::optional<std::string> known; ///< what must be in the text
    long answer = 0;
    bool mayFail = false; ///< the answer, for want of memory
    std::optional<std::string> source;
    bool isMeasured = false; ///< by the caller, who must know better than to be negative
};
} // namespace

void Fuzz(Input& input) {
    Run run(input);
    while (!input.IsOver()) {
        run.Operate();
    }
}
