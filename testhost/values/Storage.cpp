#include "testhost/values/Storage.h"

#include "platform/Toolbox.h"
#include "testhost/values/Arrays.h"
#include "testhost/values/Pictures.h"

#include <cstring>

namespace {
ValueBlock LoadBlock(const unsigned char* source) {
    ValueBlock block;
    std::memcpy(&block, source, sizeof block);
    return block;
}

unsigned char* Bytes(std::string& text) {
    return reinterpret_cast<unsigned char*>(text.data());
}

// A pointer in a block is laid out as in a compiled database.
ValueLayout Compiled(const ValueLayout& layout) {
    return {true, layout.strings, layout.pictures};
}

Handle StoredPointer(const TypedValue& pointer, const ValueLayout& layout) {
    if (pointer.inner.empty()) {
        return nullptr;
    }
    std::string contents(StoredSize(pointer.inner[0], Compiled(layout)), '\0');
    Store(pointer.inner[0], Compiled(layout), Bytes(contents));
    Handle target = NewHandleWith(contents);
    // The plug-in works with the address of the target: it has to stay.
    HLock(target);
    return target;
}

// The bytes of a pointer's target, as many as they are to be whatever happened to the handle.
std::string TargetContents(const TypedValue& shape, Handle handle, const ValueLayout& layout) {
    std::string contents = LiveContents(handle);
    contents.resize(StoredSize(shape.inner.at(0), Compiled(layout)));
    return contents;
}

TypedValue FetchPointer(const TypedValue& shape, Handle handle, const ValueLayout& layout) {
    if (handle == nullptr || shape.inner.empty()) {
        return NullValue(ValueKind::Pointer);
    }
    std::string contents = TargetContents(shape, handle, layout);
    return PointerTo(Fetch(shape.inner[0], Compiled(layout), Bytes(contents)));
}

// Without a capacity nobody has said how long the string may be.
std::optional<std::string> StringFault(const StringBlock& string) {
    if (string.capacity == 0 || string.string[0] <= string.capacity) {
        return std::nullopt;
    }
    return "a string of the length " + std::to_string(string.string[0]) + " and the capacity " +
           std::to_string(string.capacity);
}

std::optional<std::string> PointerFault(const TypedValue& shape, Handle handle,
                                        const ValueLayout& layout) {
    if (const auto fault = HandleFault(handle, layout)) {
        return "a pointer whose handle " + *fault;
    }
    if (handle == nullptr || shape.inner.empty()) {
        return std::nullopt;
    }
    std::string contents = LiveContents(handle);
    const size_t wanted = StoredSize(shape.inner[0], Compiled(layout));
    if (contents.size() < wanted) {
        return "a pointer whose target has " + std::to_string(contents.size()) + " of its " +
               std::to_string(wanted) + " bytes";
    }
    const auto fault = StorageFault(shape.inner[0], Compiled(layout), Bytes(contents));
    return fault ? std::optional("in its target " + *fault) : std::nullopt;
}

FDPictureBlock* StoredPicture(const TypedValue& value, HostPictures& pictures) {
    if (value.texts.empty()) {
        return nullptr;
    }
    return pictures.Add(
        HostPicture{.representations = {{.information = "public.data", .data = value.texts[0]}}},
        Owner::Host);
}

// The bytes of its first representation.
TypedValue FetchPicture(const FDPictureBlock* block, HostPictures& pictures) {
    const HostPicture* picture = pictures.IsLive(block) ? pictures.Find(block) : nullptr;
    if (picture == nullptr) {
        return NullValue(ValueKind::Picture);
    }
    return PictureValue(picture->representations.empty() ? "" : picture->representations[0].data);
}

// The value or array that a 260-byte block stands for.
const TypedValue& BlockShape(const TypedValue& value) {
    return value.kind == ValueKind::Value ? value.inner.at(0) : value;
}

bool IsPlainPointer(const TypedValue& value, bool compiled) {
    return value.kind == ValueKind::Pointer && !compiled;
}
} // namespace

ValueBlock StoreBlock(const TypedValue& value, const ValueLayout& layout) {
    ValueBlock block{};
    block.type = BlockType(value.kind);
    switch (value.kind) {
    case ValueKind::Real:
        block.real.value = value.real;
        break;
    case ValueKind::Text:
        block.text = StoreText(value.texts.at(0));
        break;
    case ValueKind::Date:
        block.date = StoreDate(value);
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
        StorePascal(block.string.string, value.texts.at(0));
        break;
    case ValueKind::Picture:
        if (layout.pictures != nullptr) {
            block.picture = StoredPicture(value, *layout.pictures);
            break;
        }
        [[fallthrough]]; // in older hosts a picture lies like a BLOB
    case ValueKind::Blob:
        block.blob.size = value.texts.empty() ? 0 : static_cast<long>(value.texts[0].size());
        block.blob.data = StoreHandle(value);
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
        return StringValue(FetchPascal(block.string.string));
    case ValueKind::Picture:
        if (layout.pictures != nullptr) {
            return FetchPicture(block.picture, *layout.pictures);
        }
        [[fallthrough]];
    case ValueKind::Blob:
        return FetchHandle(kind, block.blob.data);
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
    const ValueKind kind = BlockKind(block.type);
    if (kind == ValueKind::Text) {
        parts.Add(block.text.text);
    } else if (kind == ValueKind::Pointer) {
        parts.Add(block.pointer);
    } else if (kind == ValueKind::Picture && layout.pictures != nullptr) {
        if (FDPictureBlock* picture = block.picture) {
            parts.pictures.push_back(picture);
        }
    } else if (kind == ValueKind::Blob || kind == ValueKind::Picture) {
        parts.Add(block.blob.data);
    } else if (kind == ValueKind::UnicodeText) {
        parts.Add(block.unicode);
    } else if (IsArray(kind)) {
        AddArrayParts(kind, block.array, parts);
    }
    return parts;
}

std::optional<std::string> BlockFault(const TypedValue& shape, const ValueBlock& block,
                                      const ValueLayout& layout, Scrutiny scrutiny) {
    const bool contents = scrutiny == Scrutiny::Contents;
    const ValueKind kind = BlockKind(block.type);
    const auto* bytes = reinterpret_cast<const unsigned char*>(&block) + offsetof(ValueBlock, real);
    switch (kind) {
    case ValueKind::Boolean:
    case ValueKind::Date:
        return contents ? ScalarFault(kind, bytes, layout) : std::nullopt;
    case ValueKind::Text:
        return ScalarFault(kind, bytes, layout);
    case ValueKind::String:
        return contents ? StringFault(block.string) : std::nullopt;
    case ValueKind::Picture:
        if (layout.pictures != nullptr) {
            return block.picture == nullptr || layout.pictures->IsLive(block.picture)
                       ? std::nullopt
                       : std::optional("something that is no picture of the host");
        }
        return LengthFault("a picture", block.blob.size, block.blob.data, layout);
    case ValueKind::Blob:
        return LengthFault("a BLOB", block.blob.size, block.blob.data, layout);
    case ValueKind::Pointer:
        return PointerFault(shape, block.pointer, layout);
    case ValueKind::None:
        return "the type " + std::to_string(block.type) + ", which no value has";
    case ValueKind::UnicodeText:
    case ValueKind::UnicodeTextArray:
        if (!layout.HasEngine()) {
            return "the type " + std::to_string(block.type) + ", which it cannot have";
        }
        return kind == ValueKind::UnicodeText ? UnicodeFault(block.unicode, layout)
                                              : ArrayFault(kind, block.array, layout, scrutiny);
    default:
        return IsArray(kind) ? ArrayFault(kind, block.array, layout, scrutiny) : std::nullopt;
    }
}

BlockParts PartsWithTarget(const TypedValue& shape, const ValueBlock& block,
                           const ValueLayout& layout) {
    BlockParts parts = PartsOf(block, layout);
    if (block.type == ValueType::Pointer && !parts.handles.empty() && !shape.inner.empty()) {
        std::string contents = TargetContents(shape, block.pointer, layout);
        parts.Add(StoredParts(shape.inner[0], Compiled(layout), Bytes(contents)));
    }
    return parts;
}

size_t StoredSize(const TypedValue& value, const ValueLayout& layout) {
    if (IsPlainPointer(value, layout.compiled)) {
        return value.inner.empty() ? 0 : StoredSize(value.inner[0], layout);
    }
    const size_t size = ScalarSize(value.kind);
    return size != 0 ? size : sizeof(ValueBlock);
}

void Store(const TypedValue& value, const ValueLayout& layout, unsigned char* target) {
    if (IsPlainPointer(value, layout.compiled)) {
        if (!value.inner.empty()) {
            Store(value.inner[0], layout, target);
        }
    } else if (ScalarSize(value.kind) != 0) {
        StoreScalar(value, target);
    } else {
        const ValueBlock block = StoreBlock(BlockShape(value), layout);
        std::memcpy(target, &block, sizeof block);
    }
}

TypedValue Fetch(const TypedValue& shape, const ValueLayout& layout, const unsigned char* source) {
    if (IsPlainPointer(shape, layout.compiled)) {
        return shape.inner.empty() ? shape : PointerTo(Fetch(shape.inner[0], layout, source));
    }
    if (ScalarSize(shape.kind) != 0) {
        return FetchScalar(shape.kind, source);
    }
    TypedValue held = FetchBlock(BlockShape(shape), LoadBlock(source), layout);
    return shape.kind == ValueKind::Value || held.kind != shape.kind ? Tagged(held) : held;
}

std::optional<std::string> StorageFault(const TypedValue& shape, const ValueLayout& layout,
                                        const unsigned char* source) {
    if (IsPlainPointer(shape, layout.compiled)) {
        return shape.inner.empty() ? std::nullopt : StorageFault(shape.inner[0], layout, source);
    }
    return ScalarSize(shape.kind) != 0 ? ScalarFault(shape.kind, source, layout)
                                       : BlockFault(BlockShape(shape), LoadBlock(source), layout);
}

BlockParts StoredParts(const TypedValue& shape, const ValueLayout& layout,
                       const unsigned char* source) {
    if (IsPlainPointer(shape, layout.compiled)) {
        return shape.inner.empty() ? BlockParts{} : StoredParts(shape.inner[0], layout, source);
    }
    if (ScalarSize(shape.kind) == 0) {
        return PartsWithTarget(BlockShape(shape), LoadBlock(source), layout);
    }
    BlockParts parts;
    AddScalarParts(shape.kind, source, parts);
    return parts;
}
