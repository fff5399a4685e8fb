#include "testhost/values/Scalars.h"

#include "platform/Toolbox.h"
#include "testhost/toolbox/Control.h"
#include "testhost/values/Encodings.h"
#include "testhost/values/Pictures.h"
#include "testhost/values/Strings.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>

namespace {
template <typename T>
T Load(const unsigned char* source) {
    T value{};
    std::memcpy(static_cast<void*>(&value), source, sizeof value);
    return value;
}

template <typename T>
void Save(const T& value, unsigned char* target) {
    std::memcpy(target, &value, sizeof value);
}

struct BlockTypeRow {
    ValueKind kind;
    unsigned char type;
};

constexpr BlockTypeRow blockTypes[] = {
    {ValueKind::Real, ValueType::Real},
    {ValueKind::Text, ValueType::Text},
    {ValueKind::Date, ValueType::Date},
    {ValueKind::Undefined, ValueType::Undefined},
    {ValueKind::Boolean, ValueType::Boolean},
    {ValueKind::Long, ValueType::Long},
    {ValueKind::Picture, ValueType::Picture},
    {ValueKind::Time, ValueType::Time},
    {ValueKind::ArrayOfArrays, ValueType::ArrayOfArrays},
    {ValueKind::RealArray, ValueType::RealArray},
    {ValueKind::IntegerArray, ValueType::IntegerArray},
    {ValueKind::LongArray, ValueType::LongArray},
    {ValueKind::DateArray, ValueType::DateArray},
    {ValueKind::TextArray, ValueType::TextArray},
    {ValueKind::PictureArray, ValueType::PictureArray},
    {ValueKind::StringArray, ValueType::StringArray},
    {ValueKind::BooleanArray, ValueType::BooleanArray},
    {ValueKind::Pointer, ValueType::Pointer},
    {ValueKind::String, ValueType::String},
    {ValueKind::Blob, ValueType::Blob},
    {ValueKind::UnicodeText, ValueType::UnicodeText},
    {ValueKind::UnicodeTextArray, ValueType::UnicodeTextArray},
};

long LiveSize(Handle handle) {
    switch (ToolboxHandleOwner(handle)) {
    case HandleOwner::Toolbox:
        return GetHandleSize(handle);
    case HandleOwner::Host:
        return ToolboxHostHandleSize(handle);
    default:
        return 0;
    }
}

// Looser than IsDate, which is about what people write: with any field 0 it is the empty date, and
// years go as far as the record does.
bool IsStoredDate(const DateBlock& date) {
    if (date.day == 0 || date.month == 0 || date.year == 0) {
        return true;
    }
    return date.day > 0 && date.month > 0 && date.year > 0 &&
           std::chrono::year_month_day(std::chrono::year(date.year),
                                       std::chrono::month(static_cast<unsigned>(date.month)),
                                       std::chrono::day(static_cast<unsigned>(date.day)))
               .ok();
}

// The items of `from` that are not, by their identity, in `kept`.
template <typename Item, typename Identity>
std::vector<Item> Without(const std::vector<Item>& from, const std::vector<Item>& kept,
                          Identity identity) {
    std::set<std::decay_t<std::invoke_result_t<Identity, const Item&>>> identities;
    for (const Item& item : kept) {
        identities.insert(identity(item));
    }
    std::vector<Item> left;
    std::ranges::copy_if(from, std::back_inserter(left),
                         [&](const Item& item) { return !identities.contains(identity(item)); });
    return left;
}

// A string stays the same when it is set anew, which changes all of its block but its number.
unsigned long StringNumber(const FDStringBlock& string) {
    return string.hostPrivate[0];
}

} // namespace

std::string HandleContents(Handle handle) {
    Size size = handle == nullptr ? 0 : GetHandleSize(handle);
    return size > 0 ? std::string(*handle, static_cast<size_t>(size)) : std::string();
}

std::string LiveContents(Handle handle) {
    const long size = LiveSize(handle);
    return size > 0 ? std::string(*handle, static_cast<size_t>(size)) : std::string();
}

Handle NewHandleWith(std::string_view contents) {
    Handle handle = NewHandle(static_cast<Size>(contents.size()));
    if (handle != nullptr && !contents.empty()) {
        std::memcpy(*handle, contents.data(), contents.size());
    }
    return handle;
}

unsigned char BlockType(ValueKind kind) {
    for (const BlockTypeRow& row : blockTypes) {
        if (row.kind == kind) {
            return row.type;
        }
    }
    return ValueType::Undefined;
}

ValueKind BlockKind(unsigned char type) {
    for (const BlockTypeRow& row : blockTypes) {
        if (row.type == type) {
            return row.kind;
        }
    }
    return ValueKind::None;
}

Handle StoreHandle(const TypedValue& value) {
    return value.texts.empty() ? nullptr : NewHandleWith(value.texts[0]);
}

TypedValue FetchHandle(ValueKind kind, Handle handle) {
    TypedValue value = NullValue(kind);
    if (handle != nullptr) {
        value.texts.push_back(LiveContents(handle));
    }
    return value;
}

TextBlock StoreText(std::string_view text) {
    Handle handle = text.empty() ? nullptr : NewHandleWith(text);
    return {static_cast<short>(text.size()), handle};
}

std::string FetchText(const TextBlock& text) {
    std::string contents = LiveContents(text.text);
    size_t length = static_cast<size_t>(std::max<short>(text.length, 0));
    return contents.substr(0, std::min(length, contents.size()));
}

void StorePascal(std::span<unsigned char> target, std::string_view text) {
    text = text.substr(0, std::min<size_t>(target.size() - 1, 255));
    target[0] = static_cast<unsigned char>(text.size());
    std::copy(text.begin(), text.end(), target.begin() + 1);
}

std::string FetchPascal(const unsigned char* source) {
    return {reinterpret_cast<const char*>(source + 1), source[0]};
}

bool IsDate(long year, long month, long day) {
    if (year == 0 && month == 0 && day == 0) {
        return true;
    }
    // The calendar's own types would cut larger numbers.
    return year >= 1 && year <= 9999 && month >= 1 && month <= 12 && day >= 1 && day <= 31 &&
           std::chrono::year_month_day(std::chrono::year(static_cast<int>(year)),
                                       std::chrono::month(static_cast<unsigned>(month)),
                                       std::chrono::day(static_cast<unsigned>(day)))
               .ok();
}

DateBlock StoreDate(const TypedValue& value) {
    return {static_cast<short>(value.numbers.at(0)), static_cast<short>(value.numbers.at(1)),
            static_cast<short>(value.numbers.at(2))};
}

TypedValue FetchDate(const DateBlock& date) {
    return DateValue(date.year, date.month, date.day);
}

void StoreScalar(const TypedValue& value, unsigned char* target) {
    switch (value.kind) {
    case ValueKind::Short:
        return Save(static_cast<short>(value.numbers.at(0)), target);
    case ValueKind::Long:
        return Save(value.numbers.at(0), target);
    case ValueKind::Boolean:
        return Save(static_cast<unsigned char>(value.numbers.at(0)), target);
    case ValueKind::Real:
    case ValueKind::Extended:
        return Save(value.real, target);
    case ValueKind::String:
        return StorePascal({target, sizeof(Str255)}, value.texts.at(0));
    case ValueKind::Text:
        return Save(StoreText(value.texts.at(0)), target);
    case ValueKind::Date:
        return Save(StoreDate(value), target);
    case ValueKind::Rect:
        return Save(
            Rect{static_cast<short>(value.numbers.at(0)), static_cast<short>(value.numbers.at(1)),
                 static_cast<short>(value.numbers.at(2)), static_cast<short>(value.numbers.at(3))},
            target);
    case ValueKind::Event:
        return Save(EventRecord{static_cast<unsigned short>(value.numbers.at(0)),
                                static_cast<unsigned long>(value.numbers.at(1)),
                                static_cast<unsigned long>(value.numbers.at(2)),
                                {static_cast<short>(value.numbers.at(3)),
                                 static_cast<short>(value.numbers.at(4))},
                                static_cast<unsigned short>(value.numbers.at(5))},
                    target);
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return Save(StoreHandle(value), target);
    default:
        return;
    }
}

TypedValue FetchScalar(ValueKind kind, const unsigned char* source) {
    switch (kind) {
    case ValueKind::Short:
        return ShortValue(Load<short>(source));
    case ValueKind::Long:
        return LongValue(Load<long>(source));
    case ValueKind::Boolean:
        return {.kind = kind, .numbers = {source[0]}};
    case ValueKind::Real:
        return RealValue(Load<double>(source));
    case ValueKind::Extended:
        return ExtendedValue(Load<double>(source));
    case ValueKind::String:
        return StringValue(FetchPascal(source));
    case ValueKind::Text:
        return TextValue(FetchText(Load<TextBlock>(source)));
    case ValueKind::Date:
        return FetchDate(Load<DateBlock>(source));
    case ValueKind::Rect: {
        auto rect = Load<Rect>(source);
        return RectValue(rect.top, rect.left, rect.bottom, rect.right);
    }
    case ValueKind::Event: {
        auto event = Load<EventRecord>(source);
        return {.kind = kind,
                .numbers = {event.what, static_cast<long>(event.message),
                            static_cast<long>(event.when), event.where.v, event.where.h,
                            event.modifiers}};
    }
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return FetchHandle(kind, Load<Handle>(source));
    default:
        return NoValue();
    }
}

void BlockParts::Add(Handle handle) {
    if (handle != nullptr) {
        handles.push_back(handle);
    }
}

void BlockParts::Add(const FDStringBlock& string) {
    if (string.units != nullptr) {
        strings.push_back(string);
    }
}

void BlockParts::Add(const BlockParts& others) {
    handles.insert(handles.end(), others.handles.begin(), others.handles.end());
    strings.insert(strings.end(), others.strings.begin(), others.strings.end());
    pictures.insert(pictures.end(), others.pictures.begin(), others.pictures.end());
}

void AddScalarParts(ValueKind kind, const unsigned char* source, BlockParts& parts) {
    if (kind == ValueKind::Text) {
        parts.Add(Load<TextBlock>(source).text);
    } else if (kind == ValueKind::Picture || kind == ValueKind::HandleBytes) {
        parts.Add(Load<Handle>(source));
    }
}

BlockParts PartsWithout(const BlockParts& from, const BlockParts& kept) {
    return {Without(from.handles, kept.handles, std::identity()),
            Without(from.strings, kept.strings, StringNumber),
            Without(from.pictures, kept.pictures, std::identity())};
}

void FreeParts(const BlockParts& parts, const ValueLayout& layout) {
    for (Handle handle : parts.handles) {
        const short owner = ToolboxHandleOwner(handle);
        if (owner == HandleOwner::Toolbox) {
            DisposeHandle(handle);
        } else if (owner == HandleOwner::Host) {
            ToolboxDisposeHostHandle(handle);
        }
    }
    if (layout.strings != nullptr) {
        for (FDStringBlock string : parts.strings) {
            if (layout.strings->IsLive(string)) {
                layout.strings->Dispose(string);
            }
        }
    }
    if (layout.pictures != nullptr) {
        for (const FDPictureBlock* picture : parts.pictures) {
            if (layout.pictures->IsLive(picture)) {
                layout.pictures->Dispose(picture);
            }
        }
    }
}

std::optional<std::string> HandleFault(Handle handle, const ValueLayout& layout) {
    constexpr signed char isResource = 0x20;
    if (handle == nullptr) {
        return std::nullopt;
    }
    switch (ToolboxHandleOwner(handle)) {
    case HandleOwner::Toolbox:
        return (HGetState(handle) & isResource) != 0 ? std::optional("is a resource's")
                                                     : std::nullopt;
    case HandleOwner::Host:
        return layout.HasEngine() ? std::nullopt : std::optional("is the host's");
    default:
        return ToolboxWasHandle(handle) != 0 ? "was disposed of" : "is no handle";
    }
}

std::optional<std::string> LengthFault(const std::string& what, long length, Handle handle,
                                       const ValueLayout& layout) {
    if (const auto fault = HandleFault(handle, layout)) {
        return what + " whose handle " + *fault;
    }
    const long held = LiveSize(handle);
    if (length >= 0 && length <= held) {
        return std::nullopt;
    }
    return what + " of the length " + std::to_string(length) +
           (handle == nullptr
                ? " without a handle"
                : " whose handle holds " + std::to_string(held) + (held == 1 ? " byte" : " bytes"));
}

std::optional<std::string> UnicodeFault(const FDStringBlock& string, const ValueLayout& layout) {
    if (string.units == nullptr) {
        return string.length == 0 ? std::nullopt
                                  : std::optional("a Unicode text of the length " +
                                                  std::to_string(string.length) + " without units");
    }
    if (layout.strings != nullptr && layout.strings->IsLive(string)) {
        return std::nullopt;
    }
    return "a Unicode text that is no host string, or no longer as the host filled it";
}

std::optional<std::string> ScalarFault(ValueKind kind, const unsigned char* source,
                                       const ValueLayout& layout) {
    switch (kind) {
    case ValueKind::Boolean:
        return source[0] <= 1 ? std::nullopt
                              : std::optional("the " + Describe(FetchScalar(kind, source)) +
                                              ", which is neither 0 nor 1");
    case ValueKind::Date:
        return IsStoredDate(Load<DateBlock>(source))
                   ? std::nullopt
                   : std::optional("the " + Describe(FetchScalar(kind, source)) +
                                   ", which is none");
    case ValueKind::Text: {
        const auto text = Load<TextBlock>(source);
        return LengthFault("a text", text.length, text.text, layout);
    }
    case ValueKind::Picture:
    case ValueKind::HandleBytes: {
        const auto fault = HandleFault(Load<Handle>(source), layout);
        return fault ? std::optional(kind == ValueKind::Picture ? "a picture whose handle " + *fault
                                                                : "a handle that " + *fault)
                     : std::nullopt;
    }
    default:
        return std::nullopt;
    }
}

FDStringBlock StoreUnicode(std::string_view utf8, const ValueLayout& layout) {
    if (layout.strings == nullptr) {
        throw std::invalid_argument("a Unicode text belongs to a host, and there is none");
    }
    const std::wstring wide = FromUtf8(utf8);
    const std::vector<unsigned short> units(wide.begin(), wide.end());
    return layout.strings->Create(units, Owner::Host);
}

std::string FetchUnicode(const FDStringBlock& string, const ValueLayout& layout) {
    if (layout.strings == nullptr || !layout.strings->IsLive(string)) {
        return {};
    }
    const std::vector<unsigned short> units = layout.strings->Units(string);
    return Utf8({reinterpret_cast<const wchar_t*>(units.data()), units.size()});
}
