#include "testhost/toolbox/resources/Fork.h"

#include "platform/ResultCodes.h"

#include <algorithm>

namespace {

constexpr std::size_t headerSize = 16;
constexpr std::size_t headerRoom = 256; // before the data: the header, and what systems keep there
constexpr std::size_t mapHeaderSize = 28;
constexpr std::size_t countSize = 2;
constexpr std::size_t typeSize = 8;
constexpr std::size_t referenceSize = 12;
constexpr std::size_t lengthSize = 4; // before each resource's data
constexpr std::size_t noName = 0xFFFF;
constexpr std::size_t mostInShort = 0xFFFF;

/// The big-endian number of `width` bytes at a place; the caller has seen that it is there.
std::size_t NumberAt(std::string_view bytes, std::size_t place, std::size_t width) {
    std::size_t number = 0;
    for (const char byte : bytes.substr(place, width)) {
        number = number << 8 | static_cast<unsigned char>(byte);
    }
    return number;
}

std::size_t ShortAt(std::string_view bytes, std::size_t place) {
    return NumberAt(bytes, place, 2);
}

std::size_t LongAt(std::string_view bytes, std::size_t place) {
    return NumberAt(bytes, place, 4);
}

/// How many entries a list has, whose count is stored less 1; 0xFFFF stands for none.
std::size_t CountAt(std::string_view bytes, std::size_t place) {
    return (ShortAt(bytes, place) + 1) & mostInShort;
}

bool Holds(std::string_view bytes, std::size_t place, std::size_t length) {
    return place <= bytes.size() && length <= bytes.size() - place;
}

/// A part of the bytes; nothing when it is not wholly inside.
std::optional<std::string_view> Part(std::string_view bytes, std::size_t place,
                                     std::size_t length) {
    return Holds(bytes, place, length) ? std::optional(bytes.substr(place, length)) : std::nullopt;
}

/// The bytes behind a number that says how many they are.
std::optional<std::string_view> Counted(std::string_view bytes, std::size_t place,
                                        std::size_t width) {
    if (!Holds(bytes, place, width)) {
        return std::nullopt;
    }
    return Part(bytes, place + width, NumberAt(bytes, place, width));
}

/// The parts of a fork.
struct Layout {
    std::string_view data;
    std::string_view types; ///< from the type list on
    std::string_view names; ///< from the name list on
    std::size_t mostReferences = 0;
};

std::optional<Layout> FindLayout(std::string_view fork) {
    const auto data = Part(fork, LongAt(fork, 0), LongAt(fork, 8));
    const auto map = Part(fork, LongAt(fork, 4), LongAt(fork, 12));
    if (!data || !map || map->size() < mapHeaderSize) {
        return std::nullopt;
    }
    const std::size_t types = ShortAt(*map, 24);
    const std::size_t names = ShortAt(*map, 26);
    if (!Holds(*map, types, countSize) || !Holds(*map, names, 0)) {
        return std::nullopt;
    }
    return Layout{*data, map->substr(types), map->substr(names), map->size() / referenceSize};
}

/// Appends a reference's resource; false when its name lies outside the map.
bool AddReference(const Layout& layout, OSType type, std::size_t place,
                  std::vector<ForkResource>* resources) {
    ForkResource resource{
        .type = type,
        .id = static_cast<short>(ShortAt(layout.types, place)),
        .name = {},
        .data = Counted(layout.data, NumberAt(layout.types, place + 5, 3), lengthSize)};
    const std::size_t namePlace = ShortAt(layout.types, place + 2);
    if (namePlace != noName) {
        const auto name = Counted(layout.names, namePlace, 1);
        if (!name) {
            return false;
        }
        resource.name = *name;
    }
    resources->push_back(resource);
    return true;
}

bool AddType(const Layout& layout, std::size_t typePlace, std::vector<ForkResource>* resources) {
    const auto type = static_cast<OSType>(LongAt(layout.types, typePlace));
    const std::size_t count = CountAt(layout.types, typePlace + 4);
    const std::size_t first = ShortAt(layout.types, typePlace + 6);
    // No more than the map has room for: with shared lists, few bytes could stand for billions.
    if (!Holds(layout.types, first, count * referenceSize) ||
        resources->size() + count > layout.mostReferences) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!AddReference(layout, type, first + i * referenceSize, resources)) {
            return false;
        }
    }
    return true;
}

bool AddAll(std::string_view fork, std::vector<ForkResource>* resources) {
    const auto layout = FindLayout(fork);
    if (!layout) {
        return false;
    }
    const std::size_t count = CountAt(layout->types, 0);
    if (!Holds(layout->types, countSize, count * typeSize)) {
        return false;
    }
    for (std::size_t i = 0; i < count; ++i) {
        if (!AddType(*layout, countSize + i * typeSize, resources)) {
            return false;
        }
    }
    return true;
}

void Append(std::string& bytes, std::size_t number, std::size_t width) {
    for (std::size_t shift = 8 * width; shift > 0; shift -= 8) {
        bytes += static_cast<char>(number >> (shift - 8) & 0xFF);
    }
}

/// What a new fork consists of.
struct Parts {
    std::string data;
    std::string types;
    std::string references;
    std::string names;
};

/// False when a number does not fit its field.
bool AppendResource(const ForkResource& resource, Parts& parts) {
    const std::string_view data = resource.data.value_or(std::string_view());
    if (parts.data.size() > longestForkData || data.size() > longestForkData ||
        parts.names.size() >= noName || resource.name.size() > 255) {
        return false;
    }
    Append(parts.references, static_cast<unsigned short>(resource.id), 2);
    Append(parts.references, resource.name.empty() ? noName : parts.names.size(), 2);
    Append(parts.references, parts.data.size(), 4); // the attributes, 0, then 24 bits
    Append(parts.references, 0, 4);
    if (!resource.name.empty()) {
        Append(parts.names, resource.name.size(), 1);
        parts.names += resource.name;
    }
    Append(parts.data, data.size(), lengthSize);
    parts.data += data;
    return true;
}

/// The parts for resources sorted by type; nothing when a number does not fit its field.
std::optional<Parts> MakeParts(const std::vector<ForkResource>& sorted, std::size_t typeCount) {
    Parts parts;
    const std::size_t typeListSize = countSize + typeCount * typeSize;
    Append(parts.types, typeCount - 1, countSize);
    for (auto first = sorted.begin(); first != sorted.end();) {
        const auto end = std::find_if(first, sorted.end(),
                                      [&](const auto& other) { return other.type != first->type; });
        Append(parts.types, first->type, 4);
        Append(parts.types, static_cast<std::size_t>(end - first) - 1, 2);
        Append(parts.types, typeListSize + parts.references.size(), 2);
        for (; first != end; ++first) {
            if (!AppendResource(*first, parts)) {
                return std::nullopt;
            }
        }
    }
    if (mapHeaderSize + typeListSize + parts.references.size() > mostInShort) {
        return std::nullopt; // the names could not be reached
    }
    return parts;
}

} // namespace

OSErr ReadResourceFork(std::string_view fork, std::vector<ForkResource>* resources) {
    resources->clear();
    if (fork.size() < headerSize) {
        return ResultCode::EndOfData;
    }
    if (!AddAll(fork, resources)) {
        resources->clear();
        return malformedMap;
    }
    return ResultCode::NoError;
}

std::optional<std::string> WriteResourceFork(const std::vector<ForkResource>& resources) {
    std::vector<ForkResource> sorted = resources;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const auto& a, const auto& b) { return a.type < b.type; });
    std::size_t typeCount = 0;
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        typeCount += i == 0 || sorted[i].type != sorted[i - 1].type;
    }
    const auto parts = MakeParts(sorted, typeCount);
    if (!parts) {
        return std::nullopt;
    }
    const std::size_t namePlace = mapHeaderSize + parts->types.size() + parts->references.size();
    std::string header;
    Append(header, headerRoom, 4);
    Append(header, headerRoom + parts->data.size(), 4);
    Append(header, parts->data.size(), 4);
    Append(header, namePlace + parts->names.size(), 4);

    std::string fork = header;
    fork.resize(headerRoom);
    fork += parts->data;
    fork += header;       // the map begins with a copy of it
    fork.append(8, '\0'); // what systems keep while the file is open, and attributes
    Append(fork, mapHeaderSize, 2);
    Append(fork, namePlace, 2);
    return fork + parts->types + parts->references + parts->names;
}

std::string_view StringInList(std::string_view list, short index) {
    if (index < 1 || list.size() < countSize ||
        static_cast<std::size_t>(index) > ShortAt(list, 0)) {
        return {};
    }
    std::size_t place = countSize;
    for (short i = 1;; ++i) {
        const auto string = Counted(list, place, 1);
        if (!string || i == index) {
            return string.value_or(std::string_view());
        }
        place += 1 + string->size();
    }
}
