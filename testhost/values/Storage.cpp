#include "testhost/values/Storage.h"

#include "platform/Toolbox.h"
#include "testhost/model/Host.h"
#include "testhost/values/Encodings.h"

#include <algorithm>
#include <cstring>
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

const unsigned char* Bytes(const std::string& text) {
    return reinterpret_cast<const unsigned char*>(text.data());
}

void FreeHandle(Handle handle) {
    if (handle != nullptr) {
        DisposeHandle(handle);
    }
}

Handle StoredHandle(const TypedValue& value) {
    return value.texts.empty() ? nullptr : NewHandleWith(value.texts[0]);
}

// A null handle reads as no text at all.
std::vector<std::string> HandleTexts(Handle handle) {
    return handle == nullptr ? std::vector<std::string>{}
                             : std::vector<std::string>{HandleContents(handle)};
}

// A text of length 0 has no handle.
TextBlock StoredText(std::string_view text) {
    Handle handle = text.empty() ? nullptr : NewHandleWith(text);
    return {static_cast<short>(text.size()), handle};
}

std::string FetchText(const TextBlock& text) {
    std::string contents = HandleContents(text.text);
    size_t length = static_cast<size_t>(std::max<short>(text.length, 0));
    return contents.substr(0, std::min(length, contents.size()));
}

void StorePascalText(std::string_view text, unsigned char* target) {
    text = text.substr(0, 255);
    target[0] = static_cast<unsigned char>(text.size());
    std::copy(text.begin(), text.end(), target + 1);
}

std::string FetchPascalText(const unsigned char* source) {
    return {reinterpret_cast<const char*>(source + 1), source[0]};
}

DateBlock StoredDate(const TypedValue& value) {
    return {static_cast<short>(value.numbers.at(0)), static_cast<short>(value.numbers.at(1)),
            static_cast<short>(value.numbers.at(2))};
}

TypedValue FetchDate(const DateBlock& date) {
    return DateValue(date.year, date.month, date.day);
}

// A pointer in a block is laid out as in a compiled database.
ValueLayout Compiled(const ValueLayout& layout) {
    return {true, layout.host};
}

Handle StoredPointer(const TypedValue& pointer, const ValueLayout& layout) {
    if (pointer.inner.empty()) {
        return nullptr;
    }
    std::string contents(StoredSize(pointer.inner[0], Compiled(layout)), '\0');
    Store(pointer.inner[0], Compiled(layout), reinterpret_cast<unsigned char*>(contents.data()));
    Handle target = NewHandleWith(contents);
    // The plug-in works with the address of the target: it has to stay.
    HLock(target);
    return target;
}

TypedValue FetchPointer(const TypedValue& shape, Handle handle, const ValueLayout& layout) {
    if (handle == nullptr || shape.inner.empty()) {
        return NullValue(ValueKind::Pointer);
    }
    std::string contents = HandleContents(handle);
    // Whatever happened to the handle.
    contents.resize(StoredSize(shape.inner[0], Compiled(layout)));
    return PointerTo(Fetch(shape.inner[0], Compiled(layout), Bytes(contents)));
}

void FreePointer(const TypedValue& shape, Handle handle, const ValueLayout& layout) {
    if (handle != nullptr && !shape.inner.empty()) {
        std::string contents = HandleContents(handle);
        contents.resize(StoredSize(shape.inner[0], Compiled(layout)));
        Free(shape.inner[0], Compiled(layout), Bytes(contents));
    }
    FreeHandle(handle);
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

bool HasPictureReferences(const ValueLayout& layout) {
    return layout.host != nullptr && layout.host->HasEngine();
}

FDPictureBlock* StoredPicture(const TypedValue& value, Host& host) {
    if (value.texts.empty()) {
        return nullptr;
    }
    return host.pictures.Add(
        HostPicture{.representations = {{.information = "public.data", .data = value.texts[0]}}},
        Owner::Host);
}

// The bytes of its first representation.
TypedValue FetchPicture(const FDPictureBlock* block, Host& host) {
    const HostPicture* picture = host.pictures.Find(block);
    if (picture == nullptr) {
        return NullValue(ValueKind::Picture);
    }
    return PictureValue(picture->representations.empty() ? "" : picture->representations[0].data);
}

bool IsArray(ValueKind kind) {
    return kind == ValueKind::ArrayOfArrays || ElementKind(kind) != ValueKind::None;
}

// The value or array that a 260-byte block stands for.
const TypedValue& BlockShape(const TypedValue& value) {
    return value.kind == ValueKind::Value ? value.inner.at(0) : value;
}

bool IsPlainPointer(const TypedValue& value, bool compiled) {
    return value.kind == ValueKind::Pointer && !compiled;
}
} // namespace

std::string HandleContents(Handle handle) {
    Size size = handle == nullptr ? 0 : GetHandleSize(handle);
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

ValueBlock StoreBlock(const TypedValue& value, const ValueLayout& layout) {
    ValueBlock block{};
    block.type = BlockType(value.kind);
    switch (value.kind) {
    case ValueKind::Real:
        block.real.value = value.real;
        break;
    case ValueKind::Text:
        block.text = StoredText(value.texts.at(0));
        break;
    case ValueKind::Date:
        block.date = StoredDate(value);
        break;
    case ValueKind::Boolean:
        block.boolean = static_cast<unsigned char>(value.numbers.at(0));
        break;
    case ValueKind::Long:
    case ValueKind::Time:
        block.number = value.numbers.at(0);
        break;
    case ValueKind::String:
        block.string.capacity = 255;
        StorePascalText(value.texts.at(0), block.string.string);
        break;
    case ValueKind::Picture:
        if (HasPictureReferences(layout)) {
            block.picture = StoredPicture(value, *layout.host);
            break;
        }
        [[fallthrough]]; // in older hosts a picture lies like a BLOB
    case ValueKind::Blob:
        block.blob.size = value.texts.empty() ? 0 : static_cast<long>(value.texts[0].size());
        block.blob.data = StoredHandle(value);
        break;
    case ValueKind::Pointer:
        block.pointer = StoredPointer(value, layout);
        break;
    case ValueKind::UnicodeText:
        block.unicode = StoreUnicode(value.texts.at(0), layout);
        break;
    default:
        if (IsArray(value.kind)) {
            block.array = StoreArray(value, layout);
        }
    }
    return block;
}

TypedValue FetchBlock(const TypedValue& shape, const ValueBlock& block, const ValueLayout& layout) {
    const ValueKind kind = BlockKind(block.type);
    switch (kind) {
    case ValueKind::None: // a type that no value has: show its number
        return {.kind = ValueKind::Undefined, .numbers = {block.type}};
    case ValueKind::Real:
        return RealValue(block.real.value);
    case ValueKind::Text:
        return TextValue(FetchText(block.text));
    case ValueKind::Date:
        return FetchDate(block.date);
    case ValueKind::Boolean:
        return {.kind = kind, .numbers = {block.boolean}};
    case ValueKind::Long:
    case ValueKind::Time:
        return {.kind = kind, .numbers = {block.number}};
    case ValueKind::String:
        return StringValue(FetchPascalText(block.string.string));
    case ValueKind::Picture:
        if (HasPictureReferences(layout)) {
            return FetchPicture(block.picture, *layout.host);
        }
        [[fallthrough]];
    case ValueKind::Blob:
        return {.kind = kind, .texts = HandleTexts(block.blob.data)};
    case ValueKind::Pointer:
        return FetchPointer(shape, block.pointer, layout);
    case ValueKind::UnicodeText:
        return UnicodeValue(FetchUnicode(block.unicode, layout));
    default:
        return IsArray(kind) ? FetchArray(kind, block.array, layout) : TypedValue{.kind = kind};
    }
}

BlockParts PartsOf(const ValueBlock& block, const ValueLayout& layout) {
    BlockParts parts;
    const auto addHandle = [&parts](Handle handle) {
        if (handle != nullptr) {
            parts.handles.push_back(handle);
        }
    };
    const ValueKind kind = BlockKind(block.type);
    if (kind == ValueKind::Text) {
        addHandle(block.text.text);
    } else if (kind == ValueKind::Pointer) {
        addHandle(block.pointer);
    } else if (kind == ValueKind::Picture && HasPictureReferences(layout)) {
        if (FDPictureBlock* picture = block.picture) {
            parts.pictures.push_back(picture);
        }
    } else if (kind == ValueKind::Blob || kind == ValueKind::Picture) {
        addHandle(block.blob.data);
    } else if (kind == ValueKind::UnicodeText) {
        if (block.unicode.units != nullptr) {
            parts.strings.push_back(block.unicode);
        }
    } else if (IsArray(kind)) {
        AddArrayParts(kind, block.array, parts);
    }
    return parts;
}

void FreeParts(const BlockParts& parts, const ValueLayout& layout) {
    for (Handle handle : parts.handles) {
        DisposeHandle(handle);
    }
    if (layout.host == nullptr) {
        return;
    }
    for (FDStringBlock string : parts.strings) {
        layout.host->strings.Dispose(string);
    }
    for (const FDPictureBlock* picture : parts.pictures) {
        layout.host->pictures.Dispose(picture);
    }
}

void FreeBlock(const TypedValue& shape, const ValueBlock& block, const ValueLayout& layout) {
    if (block.type == ValueType::Pointer) {
        return FreePointer(shape, block.pointer, layout);
    }
    FreeParts(PartsOf(block, layout), layout);
}

FDStringBlock StoreUnicode(std::string_view utf8, const ValueLayout& layout) {
    if (layout.host == nullptr) {
        throw std::invalid_argument("a Unicode text belongs to a host, and there is none");
    }
    const std::wstring wide = FromUtf8(utf8);
    const std::vector<unsigned short> units(wide.begin(), wide.end());
    return layout.host->strings.Create(units, Owner::Host);
}

std::string FetchUnicode(const FDStringBlock& string, const ValueLayout& layout) {
    if (layout.host == nullptr) {
        return {};
    }
    const std::vector<unsigned short> units = layout.host->strings.Units(string);
    return Utf8({reinterpret_cast<const wchar_t*>(units.data()), units.size()});
}

size_t StoredSize(const TypedValue& value, const ValueLayout& layout) {
    switch (value.kind) {
    case ValueKind::Short:
        return sizeof(short);
    case ValueKind::Long:
        return sizeof(long);
    case ValueKind::Boolean:
        return 1;
    case ValueKind::Real:
        return sizeof(double);
    case ValueKind::Extended:
        return sizeof(REAL_U);
    case ValueKind::String:
        return sizeof(Str255);
    case ValueKind::Text:
        return sizeof(TextBlock);
    case ValueKind::Date:
        return sizeof(DateBlock);
    case ValueKind::Rect:
        return sizeof(Rect);
    case ValueKind::Event:
        return sizeof(EventRecord);
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return sizeof(Handle);
    case ValueKind::Pointer:
        if (!layout.compiled) {
            return value.inner.empty() ? 0 : StoredSize(value.inner[0], layout);
        }
        return sizeof(ValueBlock);
    default: // values, arrays, and what lies in a value block only
        return sizeof(ValueBlock);
    }
}

void Store(const TypedValue& value, const ValueLayout& layout, unsigned char* target) {
    if (IsPlainPointer(value, layout.compiled)) {
        if (!value.inner.empty()) {
            Store(value.inner[0], layout, target);
        }
        return;
    }
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
        return StorePascalText(value.texts.at(0), target);
    case ValueKind::Text:
        return Save(StoredText(value.texts.at(0)), target);
    case ValueKind::Date:
        return Save(StoredDate(value), target);
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
        return Save(StoredHandle(value), target);
    default:
        return Save(StoreBlock(BlockShape(value), layout), target);
    }
}

TypedValue Fetch(const TypedValue& shape, const ValueLayout& layout, const unsigned char* source) {
    if (IsPlainPointer(shape, layout.compiled)) {
        return shape.inner.empty() ? shape : PointerTo(Fetch(shape.inner[0], layout, source));
    }
    switch (shape.kind) {
    case ValueKind::Short:
        return ShortValue(Load<short>(source));
    case ValueKind::Long:
        return LongValue(Load<long>(source));
    case ValueKind::Boolean:
        return {.kind = ValueKind::Boolean, .numbers = {source[0]}};
    case ValueKind::Real:
        return RealValue(Load<double>(source));
    case ValueKind::Extended:
        return ExtendedValue(Load<double>(source));
    case ValueKind::String:
        return StringValue(FetchPascalText(source));
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
        return {.kind = ValueKind::Event,
                .numbers = {event.what, static_cast<long>(event.message),
                            static_cast<long>(event.when), event.where.v, event.where.h,
                            event.modifiers}};
    }
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return {.kind = shape.kind, .texts = HandleTexts(Load<Handle>(source))};
    default: {
        TypedValue held = FetchBlock(BlockShape(shape), Load<ValueBlock>(source), layout);
        return shape.kind == ValueKind::Value || held.kind != shape.kind ? Tagged(held) : held;
    }
    }
}

void Free(const TypedValue& shape, const ValueLayout& layout, const unsigned char* source) {
    if (IsPlainPointer(shape, layout.compiled)) {
        if (!shape.inner.empty()) {
            Free(shape.inner[0], layout, source);
        }
        return;
    }
    switch (shape.kind) {
    case ValueKind::Text:
        return FreeHandle(Load<TextBlock>(source).text);
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return FreeHandle(Load<Handle>(source));
    case ValueKind::None:
    case ValueKind::Short:
    case ValueKind::Long:
    case ValueKind::Boolean:
    case ValueKind::Real:
    case ValueKind::Extended:
    case ValueKind::String:
    case ValueKind::Date:
    case ValueKind::Rect:
    case ValueKind::Event:
        return;
    default:
        return FreeBlock(BlockShape(shape), Load<ValueBlock>(source), layout);
    }
}
