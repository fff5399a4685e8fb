#include "testhost/database/PackedRecord.h"

#include <cstring>
#include <type_traits>

namespace {
constexpr std::string_view signature = "RECP";

template <typename T>
void Append(std::string& bytes, T number) {
    bytes.append(reinterpret_cast<const char*>(&number), sizeof number);
}

std::optional<std::string_view> TakeBytes(std::string_view& bytes, size_t count) {
    if (bytes.size() < count) {
        return std::nullopt;
    }
    std::string_view taken = bytes.substr(0, count);
    bytes.remove_prefix(count);
    return taken;
}

template <typename T>
std::optional<T> Take(std::string_view& bytes) {
    std::optional<std::string_view> taken = TakeBytes(bytes, sizeof(T));
    if (!taken) {
        return std::nullopt;
    }
    T number;
    std::memcpy(&number, taken->data(), sizeof number);
    return number;
}

std::string PackValue(const TypedValue& value) {
    std::string bytes;
    if (value.kind == ValueKind::Real) {
        Append(bytes, value.real);
    } else if (value.kind == ValueKind::Date) {
        for (long part : value.numbers) {
            Append(bytes, static_cast<short>(part));
        }
    } else if (!value.numbers.empty()) {
        Append(bytes, value.numbers[0]);
    } else if (!value.texts.empty()) {
        bytes = value.texts[0];
    }
    return bytes;
}

// The bytes as a value like `value`, which is empty; false when they are none.
bool UnpackValue(std::string_view bytes, TypedValue& value) {
    if (value.kind == ValueKind::Real) {
        std::optional<double> number = Take<double>(bytes);
        value.real = number.value_or(0);
        return number && bytes.empty();
    }
    const bool isDate = value.kind == ValueKind::Date;
    for (long& part : value.numbers) {
        std::optional<long> number =
            isDate ? std::optional<long>(Take<short>(bytes)) : Take<long>(bytes);
        if (!number) {
            return false;
        }
        part = *number;
    }
    if (value.numbers.empty() && !(bytes.empty() && value.texts.empty())) {
        value.texts = {std::string(bytes)};
        return true;
    }
    return bytes.empty();
}
} // namespace

std::string PackRecord(short tableNumber, const DatabaseTable& table, const RecordValues& values) {
    std::string packed(signature);
    Append(packed, tableNumber);
    Append(packed, static_cast<short>(table.fields.size()));
    for (size_t place = 0; place < table.fields.size(); ++place) {
        const std::string bytes = PackValue(values[place]);
        Append(packed, table.fields[place].type);
        Append(packed, static_cast<long>(bytes.size()));
        packed += bytes;
    }
    return packed;
}

std::optional<RecordValues> UnpackRecord(short tableNumber, const DatabaseTable& table,
                                         std::string_view packed) {
    if (TakeBytes(packed, signature.size()) != signature || Take<short>(packed) != tableNumber ||
        Take<short>(packed) != static_cast<short>(table.fields.size())) {
        return std::nullopt;
    }
    RecordValues values;
    for (const DatabaseField& field : table.fields) {
        const std::optional<short> type = Take<short>(packed);
        const std::optional<long> length = Take<long>(packed);
        if (type != field.type || !length || *length < 0) {
            return std::nullopt;
        }
        const auto bytes = TakeBytes(packed, static_cast<size_t>(*length));
        TypedValue value = EmptyFieldValue(field.type);
        if (!bytes || !UnpackValue(*bytes, value)) {
            return std::nullopt;
        }
        values.push_back(std::move(value));
    }
    return packed.empty() ? std::optional(std::move(values)) : std::nullopt;
}
