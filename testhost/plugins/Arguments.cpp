#include "testhost/plugins/Arguments.h"

#include "testhost/values/Storage.h"

#include <algorithm>
#include <stdexcept>

namespace {
constexpr size_t guardSize = 16;
constexpr unsigned char guardByte = 0xC7;
constexpr unsigned long untouchedCell = 0x454E4F4E; // in a cell that is to hold no result

bool ResultNeedsStorage(ValueKind kind) {
    return kind == ValueKind::Extended || kind == ValueKind::Date || kind == ValueKind::String ||
           kind == ValueKind::Text;
}
} // namespace

TypedStorage::TypedStorage(const TypedValue& value, bool isCompiled)
    : shape(value),
      compiled(isCompiled),
      size(StoredSize(value, {isCompiled})),
      bytes(size + 2 * guardSize, guardByte) {
    std::fill_n(bytes.begin() + guardSize, size, 0);
    Store(value, {compiled}, &bytes[guardSize]);
}

TypedStorage::~TypedStorage() {
    Free(shape, {compiled}, &bytes[guardSize]);
}

void* TypedStorage::Address() {
    return size == 0 ? nullptr : &bytes[guardSize];
}

TypedValue TypedStorage::Read() const {
    return Fetch(shape, {compiled}, &bytes[guardSize]);
}

std::optional<std::string> TypedStorage::GuardProblem() const {
    auto isWhole = [](auto begin) {
        return std::all_of(begin, begin + guardSize,
                           [](unsigned char byte) { return byte == guardByte; });
    };
    bool before = isWhole(bytes.begin());
    bool behind = isWhole(bytes.end() - guardSize);
    if (before && behind) {
        return std::nullopt;
    }
    return std::string(before ? "behind" : "before") + " its " + std::to_string(size) + " bytes";
}

Arguments::Arguments(const std::vector<TypedValue>& values, bool compiled) {
    for (const TypedValue& value : values) {
        storage.push_back(std::make_unique<TypedStorage>(value, compiled));
        pointers.push_back(storage.back()->Address());
    }
}

std::vector<std::string> Arguments::GuardProblems() const {
    std::vector<std::string> problems;
    for (size_t place = 0; place < storage.size(); ++place) {
        if (auto problem = storage[place]->GuardProblem()) {
            problems.push_back("parameter " + std::to_string(place + 1) + " was written " +
                               *problem);
        }
    }
    return problems;
}

bool ResultCell::Accepts(ValueKind kind) {
    switch (kind) {
    case ValueKind::None:
    case ValueKind::Short:
    case ValueKind::Long:
    case ValueKind::Boolean:
    case ValueKind::Picture:
        return true;
    default:
        return ResultNeedsStorage(kind);
    }
}

ResultCell::ResultCell(ValueKind resultKind)
    : kind(resultKind), cell(resultKind == ValueKind::None ? untouchedCell : 0) {
    if (!Accepts(kind)) {
        throw std::invalid_argument("a command cannot have a result of the kind " +
                                    std::string(KindName(kind)));
    }
    if (ResultNeedsStorage(kind)) {
        storage = std::make_unique<TypedStorage>(EmptyValue(kind), false);
        storageAddress = reinterpret_cast<unsigned long>(storage->Address());
        cell = storageAddress;
    }
}

ResultCell::~ResultCell() {
    if (kind == ValueKind::Picture) {
        Free(NullValue(kind), {}, reinterpret_cast<const unsigned char*>(&cell));
    }
}

TypedValue ResultCell::Read() const {
    auto word = static_cast<long>(cell);
    switch (kind) {
    case ValueKind::None:
        return cell == untouchedCell ? NoValue() : LongValue(word);
    case ValueKind::Short:
        return ShortValue(static_cast<short>(word));
    case ValueKind::Boolean:
        return {.kind = kind, .numbers = {word}};
    case ValueKind::Long:
        return LongValue(word);
    case ValueKind::Picture:
        return Fetch(NullValue(kind), {}, reinterpret_cast<const unsigned char*>(&cell));
    default:
        return storage->Read();
    }
}

std::optional<std::string> ResultCell::GuardProblem() const {
    if (storage == nullptr) {
        bool isExtended = kind != ValueKind::Short ||
                          static_cast<long>(cell) == static_cast<short>(cell & 0xFFFF);
        return isExtended ? std::nullopt : std::optional("without extending it to 32 bits");
    }
    if (cell != storageAddress) {
        return "over the address of its storage";
    }
    return storage->GuardProblem();
}
