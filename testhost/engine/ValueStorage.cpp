#include "testhost/engine/ValueStorage.h"

#include "data/ValueBlock.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <cstring>

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

// Copied out at once: any later memory call may move the block.
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

// Contents of an array's storage: element 0, then the elements.
template <typename Element, typename Source, typename Convert>
ArrayBlock StoredArray(const std::vector<Source>& elements, Convert convert) {
    std::string contents(sizeof(Element), '\0');
    for (const Source& source : elements) {
        Element element = convert(source);
        contents.append(reinterpret_cast<const char*>(&element), sizeof element);
    }
    return {static_cast<long>(elements.size()), NewHandleWith(contents), 0};
}

template <typename Element>
std::vector<Element> FetchArray(const ArrayBlock& array) {
    std::string contents = HandleContents(array.elements);
    size_t held = contents.size() / sizeof(Element);
    size_t count = array.count > 0 ? static_cast<size_t>(array.count) : 0;
    std::vector<Element> elements;
    for (size_t place = 1; place <= count && place < held; ++place) {
        elements.push_back(Load<Element>(Bytes(contents) + place * sizeof(Element)));
    }
    return elements;
}

Handle StoredPointer(const TypedValue& pointer) {
    if (pointer.inner.empty()) {
        return nullptr;
    }
    std::string contents(StoredSize(pointer.inner[0], true), '\0');
    Store(pointer.inner[0], true, reinterpret_cast<unsigned char*>(contents.data()));
    Handle target = NewHandleWith(contents);
    // The plug-in works with the address of the target: it has to stay.
    HLock(target);
    return target;
}

TypedValue FetchPointer(const TypedValue& shape, Handle handle) {
    if (handle == nullptr || shape.inner.empty()) {
        return NullValue(ValueKind::Pointer);
    }
    std::string contents = HandleContents(handle);
    contents.resize(StoredSize(shape.inner[0], true)); // whatever happened to the handle
    return PointerTo(Fetch(shape.inner[0], true, Bytes(contents)));
}

ValueBlock StoredBlock(const TypedValue& value) {
    ValueBlock block{};
    switch (value.kind) {
    case ValueKind::Real:
        block.type = ValueType::Real;
        block.real.value = value.real;
        break;
    case ValueKind::Text:
        block.type = ValueType::Text;
        block.text = StoredText(value.texts.at(0));
        break;
    case ValueKind::Date:
        block.type = ValueType::Date;
        block.date = StoredDate(value);
        break;
    case ValueKind::Boolean:
        block.type = ValueType::Boolean;
        block.boolean = static_cast<unsigned char>(value.numbers.at(0));
        break;
    case ValueKind::Long:
        block.type = ValueType::Long;
        block.number = value.numbers.at(0);
        break;
    case ValueKind::Time:
        block.type = ValueType::Time;
        block.number = value.numbers.at(0);
        break;
    case ValueKind::String:
        block.type = ValueType::String;
        block.string.capacity = 255;
        StorePascalText(value.texts.at(0), block.string.string);
        break;
    case ValueKind::Blob:
        block.type = ValueType::Blob;
        block.blob.size = value.texts.empty() ? 0 : static_cast<long>(value.texts[0].size());
        block.blob.data = StoredHandle(value);
        break;
    case ValueKind::LongArray:
        block.type = ValueType::LongArray;
        block.array = StoredArray<long>(value.numbers, [](long number) { return number; });
        break;
    case ValueKind::TextArray:
        block.type = ValueType::TextArray;
        block.array = StoredArray<TextBlock>(value.texts, StoredText);
        break;
    case ValueKind::Pointer:
        block.type = ValueType::Pointer;
        block.pointer = StoredPointer(value);
        break;
    default:
        block.type = ValueType::Undefined;
    }
    return block;
}

TypedValue FetchTextArray(const ArrayBlock& array) {
    std::vector<std::string> texts;
    for (const TextBlock& text : FetchArray<TextBlock>(array)) {
        texts.push_back(FetchText(text));
    }
    return TextArrayValue(std::move(texts));
}

// What a block holds now, by its own type; `shape` tells what a pointer in it leads to.
TypedValue FetchBlock(const TypedValue& shape, const ValueBlock& block) {
    switch (block.type) {
    case ValueType::Real:
        return RealValue(block.real.value);
    case ValueType::Text:
        return TextValue(FetchText(block.text));
    case ValueType::Date:
        return FetchDate(block.date);
    case ValueType::Boolean:
        return {.kind = ValueKind::Boolean, .numbers = {block.boolean}};
    case ValueType::Long:
        return LongValue(block.number);
    case ValueType::Time:
        return {.kind = ValueKind::Time, .numbers = {block.number}};
    case ValueType::String:
        return StringValue(FetchPascalText(block.string.string));
    case ValueType::Blob:
        return {.kind = ValueKind::Blob, .texts = HandleTexts(block.blob.data)};
    case ValueType::LongArray:
        return LongArrayValue(FetchArray<long>(block.array));
    case ValueType::TextArray:
        return FetchTextArray(block.array);
    case ValueType::Pointer:
        return FetchPointer(shape, block.pointer);
    case ValueType::Undefined:
        return {.kind = ValueKind::Undefined};
    default: // a type that no script value has: show its number
        return {.kind = ValueKind::Undefined, .numbers = {block.type}};
    }
}

void FreePointer(const TypedValue& shape, Handle handle) {
    if (handle != nullptr && !shape.inner.empty()) {
        std::string contents = HandleContents(handle);
        contents.resize(StoredSize(shape.inner[0], true));
        Free(shape.inner[0], true, Bytes(contents));
    }
    FreeHandle(handle);
}

void FreeBlock(const TypedValue& shape, const ValueBlock& block) {
    switch (block.type) {
    case ValueType::Text:
        FreeHandle(block.text.text);
        break;
    case ValueType::Blob:
        FreeHandle(block.blob.data);
        break;
    case ValueType::TextArray:
        for (const TextBlock& text : FetchArray<TextBlock>(block.array)) {
            FreeHandle(text.text);
        }
        FreeHandle(block.array.elements);
        break;
    case ValueType::LongArray:
        FreeHandle(block.array.elements);
        break;
    case ValueType::Pointer:
        FreePointer(shape, block.pointer);
        break;
    default:
        break;
    }
}

// The value or array that a 260-byte block stands for.
const TypedValue& BlockShape(const TypedValue& value) {
    return value.kind == ValueKind::Value ? value.inner.at(0) : value;
}

bool IsPlainPointer(const TypedValue& value, bool compiled) {
    return value.kind == ValueKind::Pointer && !compiled;
}
} // namespace

size_t StoredSize(const TypedValue& value, bool compiled) {
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
        if (!compiled) {
            return value.inner.empty() ? 0 : StoredSize(value.inner[0], false);
        }
        return sizeof(ValueBlock);
    default: // values, arrays, and what lies in a value block only
        return sizeof(ValueBlock);
    }
}

void Store(const TypedValue& value, bool compiled, unsigned char* target) {
    if (IsPlainPointer(value, compiled)) {
        if (!value.inner.empty()) {
            Store(value.inner[0], false, target);
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
        return Save(StoredBlock(BlockShape(value)), target);
    }
}

TypedValue Fetch(const TypedValue& shape, bool compiled, const unsigned char* source) {
    if (IsPlainPointer(shape, compiled)) {
        return shape.inner.empty() ? shape : PointerTo(Fetch(shape.inner[0], false, source));
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
        TypedValue held = FetchBlock(BlockShape(shape), Load<ValueBlock>(source));
        return shape.kind == ValueKind::Value || held.kind != shape.kind ? Tagged(held) : held;
    }
    }
}

void Free(const TypedValue& shape, bool compiled, const unsigned char* source) {
    if (IsPlainPointer(shape, compiled)) {
        if (!shape.inner.empty()) {
            Free(shape.inner[0], false, source);
        }
        return;
    }
    switch (shape.kind) {
    case ValueKind::Text:
        return FreeHandle(Load<TextBlock>(source).text);
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return FreeHandle(Load<Handle>(source));
    case ValueKind::Value:
    case ValueKind::Blob:
    case ValueKind::Pointer:
    case ValueKind::LongArray:
    case ValueKind::TextArray:
        return FreeBlock(BlockShape(shape), Load<ValueBlock>(source));
    default:
        return;
    }
}
