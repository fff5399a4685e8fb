#include "testhost/plugins/Arguments.h"

#include "testhost/values/Storage.h"
#include "testhost/values/Variables.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace {
constexpr unsigned char guardByte = 0xC7;
constexpr unsigned char voidByte = 0xDD;
constexpr unsigned long untouchedCell = 0x454E4F4E; // in a cell that is to hold no result
} // namespace

LentBytes::LentBytes(size_t itsSize) : size(itsSize), bytes(size + 2 * guardSize, guardByte) {
    std::fill_n(Begin(), size, 0);
}

std::optional<std::string> LentBytes::GuardProblem() const {
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

void LentBytes::Void() {
    writtenBefore = writtenBefore || (!last.empty() && bytes != last);
    std::fill_n(Begin(), size, voidByte);
    TakeBack();
}

bool LentBytes::WereWritten() {
    const bool written = bytes != last;
    TakeBack();
    return std::exchange(writtenBefore, false) || written;
}

TypedStorage::TypedStorage(const TypedValue& value, bool isCompiled)
    : shape(value),
      compiled(isCompiled),
      bytes(std::make_shared<LentBytes>(StoredSize(value, {isCompiled}))) {
    Store(value, {compiled}, bytes->Begin());
    firstParts = Parts();
    firstFault = FaultNow();
}

TypedStorage::~TypedStorage() {
    FreeParts(PartsWithout(Parts(), disowned), {compiled});
    bytes->Void();
}

void* TypedStorage::Address() {
    return bytes->Size() == 0 ? nullptr : bytes->Begin();
}

TypedValue TypedStorage::Read() const {
    return Fetch(shape, {compiled}, bytes->Begin());
}

std::optional<std::string> TypedStorage::FaultNow() const {
    return StorageFault(shape, {compiled}, bytes->Begin());
}

std::optional<std::string> TypedStorage::Fault() const {
    std::optional<std::string> fault = FaultNow();
    return fault == firstFault ? std::nullopt : fault;
}

BlockParts TypedStorage::Parts() const {
    return StoredParts(shape, {compiled}, bytes->Begin());
}

Arguments::Arguments(const std::vector<TypedValue>& values, bool compiled) {
    for (const TypedValue& value : values) {
        storage.push_back(std::make_unique<TypedStorage>(value, compiled));
        pointers.push_back(storage.back()->Address());
    }
}

ResultCell::ResultCell(ValueKind resultKind)
    : kind(resultKind), bytes(std::make_shared<LentBytes>(sizeof(unsigned long))) {
    if (!Accepts(kind)) {
        throw std::invalid_argument("a command cannot have a result of the kind " +
                                    std::string(KindName(kind)));
    }
    *Cell() = kind == ValueKind::None ? untouchedCell : 0;
    if (NeedsStorage(kind)) {
        storage = std::make_unique<TypedStorage>(EmptyValue(kind), false);
        storageAddress = reinterpret_cast<unsigned long>(storage->Address());
        *Cell() = storageAddress;
    }
}

ResultCell::~ResultCell() {
    if (storage == nullptr) {
        FreeParts(PartsWithout(Parts(), disowned), {});
    }
    bytes->Void();
}

std::vector<std::shared_ptr<LentBytes>> ResultCell::Bytes() const {
    if (storage == nullptr) {
        return {bytes};
    }
    return {bytes, storage->Bytes()};
}

TypedValue ResultCell::Read() const {
    auto word = static_cast<long>(Word());
    switch (kind) {
    case ValueKind::None:
        return Word() == untouchedCell ? NoValue() : LongValue(word);
    case ValueKind::Short:
        return ShortValue(static_cast<short>(word));
    case ValueKind::Boolean:
        return {.kind = kind, .numbers = {word}};
    case ValueKind::Long:
        return LongValue(word);
    case ValueKind::Picture:
        return Fetch(NullValue(kind), {}, bytes->Begin());
    default:
        return storage->Read();
    }
}

std::optional<std::string> ResultCell::GuardProblem() const {
    if (auto problem = bytes->GuardProblem()) {
        return problem;
    }
    if (storage == nullptr) {
        bool isExtended = kind != ValueKind::Short ||
                          static_cast<long>(Word()) == static_cast<short>(Word() & 0xFFFF);
        return isExtended ? std::nullopt : std::optional("without extending it to 32 bits");
    }
    if (Word() != storageAddress) {
        return "over the address of its storage";
    }
    return storage->GuardProblem();
}

std::optional<std::string> ResultCell::Fault() const {
    if (Word() != storageAddress && storage != nullptr) {
        return std::nullopt; // nothing was put where it belongs, which is said already
    }
    if (kind == ValueKind::Boolean && Word() > 1) {
        return "the boolean " + std::to_string(Word()) + ", which is neither 0 nor 1";
    }
    return storage != nullptr ? storage->Fault() : ScalarFault(kind, bytes->Begin(), {});
}

BlockParts ResultCell::Parts() const {
    BlockParts parts;
    if (storage != nullptr) {
        return storage->Parts();
    }
    AddScalarParts(kind, bytes->Begin(), parts);
    return parts;
}

void ResultCell::Disown(const BlockParts& parts) {
    if (storage != nullptr) {
        return storage->Disown(parts);
    }
    disowned.Add(parts);
}

namespace {
// Who holds which handle when a command has been called.
using Holders = std::map<Handle, std::string>;

// Checks one parameter, or the result: `what`.
template <typename Checked>
void Check(Checked& value, const std::string& what, HostVariables& variables, Holders& holders,
           std::vector<std::string>& problems) {
    if (const auto problem = value.GuardProblem()) {
        problems.push_back(what + " was written " + *problem);
    }
    const std::optional<std::string> fault = value.Fault();
    if (fault) {
        problems.push_back(what + " holds " + *fault);
    }
    const BlockParts added = value.NewParts();
    variables.TakeBack(added);
    if (const HostVariable* holder = variables.Holder(added)) {
        problems.push_back(what + " holds what the variable " + Quoted(holder->name) + " holds");
        return value.Disown(added);
    }
    for (Handle handle : value.Parts().handles) {
        const auto [place, isNew] = holders.emplace(handle, what);
        if (!isNew && !fault) {
            problems.push_back(
                what + " holds a handle that " +
                (place->second == what ? "it holds twice" : place->second + " holds"));
            return;
        }
    }
}
} // namespace

std::vector<std::string> CheckCall(Arguments& arguments, ResultCell& result,
                                   HostVariables& variables) {
    std::vector<std::string> problems;
    Holders holders;
    for (size_t number = 1; number <= arguments.Count(); ++number) {
        Check(arguments.StorageAt(number), "parameter " + std::to_string(number), variables,
              holders, problems);
    }
    Check(result, "the result", variables, holders, problems);
    return problems;
}
