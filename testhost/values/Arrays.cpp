#include "testhost/values/Arrays.h"

#include "platform/Toolbox.h"

#include <algorithm>
#include <cstring>
#include <span>

namespace {
using ElementBytes = std::span<const unsigned char>;

template <typename T>
T Load(ElementBytes bytes) {
    T value{};
    std::memcpy(static_cast<void*>(&value), bytes.data(), std::min(sizeof value, bytes.size()));
    return value;
}

// Where the elements lie in an array's storage. That of strings begins with their slot size.
struct ElementPlaces {
    size_t start = 0;
    size_t size = 0;
    size_t count = 0; // how many the storage holds, with element 0

    ElementBytes At(const std::string& contents, size_t place) const {
        const auto* bytes = reinterpret_cast<const unsigned char*>(contents.data());
        return {bytes + start + place * size, size};
    }
};

size_t ElementSize(ValueKind kind) {
    switch (kind) {
    case ValueKind::ArrayOfArrays:
        return sizeof(ArrayRow);
    case ValueKind::UnicodeTextArray:
        return sizeof(FDStringBlock);
    default:
        return ScalarSize(ElementKind(kind));
    }
}

size_t SlotSize(const std::string& contents) {
    unsigned short size = 0;
    if (contents.size() >= sizeof size) {
        std::memcpy(&size, contents.data(), sizeof size);
    }
    return size;
}

ElementPlaces Places(ValueKind kind, const std::string& contents) {
    const bool strings = kind == ValueKind::StringArray;
    ElementPlaces places{.start = strings ? sizeof(short) : 0,
                         .size = strings ? SlotSize(contents) : ElementSize(kind)};
    if (places.size > 0 && contents.size() >= places.start) {
        places.count = (contents.size() - places.start) / places.size;
    }
    return places;
}

// Elements 0 to `count`, as far as the storage holds them.
size_t LivingElements(const ElementPlaces& places, const ArrayBlock& array) {
    size_t wanted = array.count < 0 ? 0 : static_cast<size_t>(array.count) + 1;
    return std::min(wanted, places.count);
}

// A row is no array of arrays itself; one that claims to be is no row.
bool IsRow(ValueKind kind) {
    return ElementKind(kind) != ValueKind::None;
}

void StoreElement(const TypedValue& element, const ValueLayout& layout,
                  std::span<unsigned char> target) {
    if (IsRow(element.kind)) {
        const ArrayRow row{BlockType(element.kind), 0, StoreArray(element, layout)};
        std::memcpy(target.data(), &row, sizeof row);
    } else if (element.kind == ValueKind::UnicodeText) {
        const FDStringBlock string = StoreUnicode(element.texts.at(0), layout);
        std::memcpy(target.data(), &string, sizeof string);
    } else if (element.kind == ValueKind::String) {
        StorePascal(target, element.texts.at(0));
    } else {
        StoreScalar(element, target.data());
    }
}

TypedValue FetchElement(ValueKind arrayKind, ElementBytes source, const ValueLayout& layout) {
    switch (arrayKind) {
    case ValueKind::ArrayOfArrays: {
        const auto row = Load<ArrayRow>(source);
        const ValueKind kind = BlockKind(row.type);
        return IsRow(kind) ? FetchArray(kind, row.array, layout) : NullValue(ValueKind::Undefined);
    }
    case ValueKind::UnicodeTextArray:
        return UnicodeValue(FetchUnicode(Load<FDStringBlock>(source), layout));
    case ValueKind::StringArray: {
        const size_t length = std::min<size_t>(source[0], source.size() - 1);
        return StringValue({reinterpret_cast<const char*>(source.data()) + 1, length});
    }
    default:
        return FetchScalar(ElementKind(arrayKind), source.data());
    }
}

// The kind of element 0 of an array of arrays is that of all its rows.
long Detail(ValueKind kind, const std::string& contents, const ElementPlaces& places) {
    if (kind == ValueKind::ArrayOfArrays && places.count > 0) {
        return static_cast<long>(BlockKind(Load<ArrayRow>(places.At(contents, 0)).type));
    }
    return kind == ValueKind::StringArray ? static_cast<long>(places.size) : 0;
}

void AddElementParts(ValueKind kind, ElementBytes element, BlockParts& parts) {
    if (kind == ValueKind::UnicodeTextArray) {
        parts.Add(Load<FDStringBlock>(element));
    } else if (kind == ValueKind::ArrayOfArrays) {
        const auto row = Load<ArrayRow>(element);
        if (IsRow(BlockKind(row.type))) {
            AddArrayParts(BlockKind(row.type), row.array, parts);
        }
    } else {
        AddScalarParts(ElementKind(kind), element.data(), parts);
    }
}

// Whether there is anything in elements of this kind that could be wrong.
bool CanBeWrong(ValueKind arrayKind, Scrutiny scrutiny) {
    switch (arrayKind) {
    case ValueKind::LongArray:
    case ValueKind::RealArray:
    case ValueKind::IntegerArray:
        return false;
    case ValueKind::DateArray:
    case ValueKind::BooleanArray:
    case ValueKind::StringArray:
        return scrutiny == Scrutiny::Contents;
    default:
        return true;
    }
}

std::optional<std::string> RowFault(const ArrayRow& row, unsigned char typeOfAll,
                                    const ValueLayout& layout, Scrutiny scrutiny) {
    const std::string what = "a row of the type " + std::to_string(row.type);
    if (scrutiny == Scrutiny::Contents && row.type != typeOfAll) {
        return what + " where row 0 has " + std::to_string(typeOfAll);
    }
    if (IsRow(BlockKind(row.type))) {
        return ArrayFault(BlockKind(row.type), row.array, layout, scrutiny);
    }
    return scrutiny == Scrutiny::Contents ? std::optional(what + ", which is no array's")
                                          : std::nullopt;
}

std::optional<std::string> ElementFault(ValueKind arrayKind, ElementBytes element,
                                        const ValueLayout& layout) {
    if (arrayKind == ValueKind::UnicodeTextArray) {
        return UnicodeFault(Load<FDStringBlock>(element), layout);
    }
    if (arrayKind == ValueKind::StringArray) {
        return element[0] < element.size()
                   ? std::nullopt
                   : std::optional("a string of the length " + std::to_string(element[0]) +
                                   " in a slot for " + std::to_string(element.size() - 1));
    }
    return ScalarFault(ElementKind(arrayKind), element.data(), layout);
}
} // namespace

ArrayBlock StoreArray(const TypedValue& array, const ValueLayout& layout) {
    std::vector<TypedValue> elements = Elements(array);
    const bool rows = array.kind == ValueKind::ArrayOfArrays;
    const ValueKind elementKind =
        rows ? static_cast<ValueKind>(array.numbers.at(0)) : ElementKind(array.kind);
    elements.insert(elements.begin(), EmptyValue(elementKind)); // element 0

    std::string contents;
    if (array.kind == ValueKind::StringArray) {
        const auto slotSize =
            static_cast<unsigned short>(std::clamp(array.numbers.at(0), 1L, 256L));
        contents.assign(reinterpret_cast<const char*>(&slotSize), sizeof slotSize);
    }
    const ElementPlaces places = Places(array.kind, contents);
    contents.resize(places.start + elements.size() * places.size);
    auto* bytes = reinterpret_cast<unsigned char*>(contents.data());
    for (size_t place = 0; place < elements.size(); ++place) {
        StoreElement(elements[place], layout,
                     {bytes + places.start + place * places.size, places.size});
    }
    return {static_cast<long>(elements.size()) - 1, NewHandleWith(contents), 0};
}

TypedValue FetchArray(ValueKind kind, const ArrayBlock& array, const ValueLayout& layout) {
    const std::string contents = LiveContents(array.elements);
    const ElementPlaces places = Places(kind, contents);
    std::vector<TypedValue> elements;
    for (size_t place = 1; place < LivingElements(places, array); ++place) {
        elements.push_back(FetchElement(kind, places.At(contents, place), layout));
    }
    return ArrayValue(kind, std::move(elements), Detail(kind, contents, places));
}

void AddArrayParts(ValueKind kind, const ArrayBlock& array, BlockParts& parts) {
    parts.Add(array.elements);
    const std::string contents = LiveContents(array.elements);
    const ElementPlaces places = Places(kind, contents);
    for (size_t place = 0; place < LivingElements(places, array); ++place) {
        AddElementParts(kind, places.At(contents, place), parts);
    }
}

std::optional<std::string> ArrayFault(ValueKind kind, const ArrayBlock& array,
                                      const ValueLayout& layout, Scrutiny scrutiny) {
    if (const auto fault = HandleFault(array.elements, layout)) {
        return "an array whose storage " + *fault;
    }
    const std::string contents = LiveContents(array.elements);
    const ElementPlaces places = Places(kind, contents);
    const long held = static_cast<long>(places.count) - 1;
    if (array.count < 0 || array.count > held) {
        return "an array of " + std::to_string(array.count) +
               " elements whose storage has room for " +
               (held < 0 ? "none" : std::to_string(held)) + " and element 0";
    }
    const bool rows = kind == ValueKind::ArrayOfArrays;
    const unsigned char rowType = rows ? Load<ArrayRow>(places.At(contents, 0)).type : 0;
    for (long place = 0; CanBeWrong(kind, scrutiny) && place <= array.count; ++place) {
        const ElementBytes element = places.At(contents, static_cast<size_t>(place));
        const auto fault = rows ? RowFault(Load<ArrayRow>(element), rowType, layout, scrutiny)
                                : ElementFault(kind, element, layout);
        if (fault) {
            return (rows ? "in row " : "in element ") + std::to_string(place) + " " + *fault;
        }
    }
    return std::nullopt;
}

std::optional<TypedValue> FetchElement(ValueKind kind, const ArrayBlock& array, long index,
                                       const ValueLayout& layout) {
    const std::string contents = LiveContents(array.elements);
    const ElementPlaces places = Places(kind, contents);
    if (index < 0 || static_cast<size_t>(index) >= LivingElements(places, array)) {
        return std::nullopt;
    }
    return FetchElement(kind, places.At(contents, static_cast<size_t>(index)), layout);
}

bool ReplaceElement(ValueKind kind, ArrayBlock& array, long index, const TypedValue& element,
                    const ValueLayout& layout) {
    std::string contents = HandleContents(array.elements);
    ElementPlaces places = Places(kind, contents);
    const auto place = static_cast<size_t>(index);
    BlockParts former;
    if (place < places.count) {
        AddElementParts(kind, places.At(contents, place), former);
    } else {
        contents.resize(places.start + (place + 1) * places.size);
        SetHandleSize(array.elements, static_cast<Size>(contents.size()));
        if (MemError() != 0) {
            return false;
        }
    }
    std::string bytes(places.size, '\0');
    StoreElement(element, layout, {reinterpret_cast<unsigned char*>(bytes.data()), bytes.size()});
    contents.replace(places.start + place * places.size, places.size, bytes);
    BlockMove(contents.data(), *array.elements, static_cast<Size>(contents.size()));
    array.count = std::max(long{array.count}, index);
    FreeParts(former, layout);
    return true;
}

void RemoveElements(ValueKind kind, ArrayBlock& array, long from, long count,
                    const ValueLayout& layout) {
    std::string contents = HandleContents(array.elements);
    const ElementPlaces places = Places(kind, contents);
    const auto living = static_cast<long>(LivingElements(places, array));
    if (from < 1 || count < 1 || from >= living) {
        return;
    }
    count = std::min(count, living - from);
    BlockParts removed;
    for (long place = from; place < from + count; ++place) {
        AddElementParts(kind, places.At(contents, static_cast<size_t>(place)), removed);
    }
    contents.erase(places.start + static_cast<size_t>(from) * places.size,
                   static_cast<size_t>(count) * places.size);
    BlockMove(contents.data(), *array.elements, static_cast<Size>(contents.size()));
    SetHandleSize(array.elements, static_cast<Size>(contents.size()));
    array.count -= count;
    FreeParts(removed, layout);
}
