#pragma once

#include "host/boundary/Calls.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The fields of the call records, as bits of a set.
namespace RecordField {
enum Set : unsigned {
    None = 0,
    Table = 1U << 0,
    Field = 1U << 1,
    RecordNumber = 1U << 2,
    Flag1 = 1U << 3,
    Flag2 = 1U << 4,
    Name = 1U << 5,
    Handle = 1U << 6,
    Error = 1U << 7,
    Param1 = 1U << 8,
    Param2 = 1U << 9,
    Param3 = 1U << 10,
    Param4 = 1U << 11,
    ValueReal = 1U << 12,
    ValueDate = 1U << 13,
    ValueNumber = 1U << 14,
    ValueSmall = 1U << 15,
    ValueText = 1U << 16,
    UniName = 1U << 17,
    UniText = 1U << 18,
    HostString = 1U << 19,
    Picture = 1U << 20,
    MainThreadProc = 1U << 21,
    MainThreadArg = 1U << 22,
    VariableFlag = 1U << 23, ///< one byte of ValueText
};
constexpr Set operator|(Set a, Set b) {
    return static_cast<Set>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
} // namespace RecordField

/// One field of a call record: where it lies and how its contents read.
struct RecordFieldInfo {
    enum class Type { Number, Address, PascalString, Utf16, Real, Date, HostString };

    RecordField::Set bit;
    std::string_view name;
    Type type;
    bool engineOnly;
    size_t offset; ///< in EngineFields when engineOnly, otherwise in the classic record
    size_t size;   ///< bytes; the value text fills the rest of the record and has 0 here

    /// Offset in a whole record.
    size_t Offset(bool engine) const;
    /// Bytes in a whole record; 0 when the record does not have the field.
    size_t Size(bool engine) const;
    /// The field's contents for a person to read: a number, a quoted text.
    std::string Text(std::span<const unsigned char> record, bool engine) const;
    /// How Text would show this number in the field.
    std::string NumberText(long number) const;
};

/// Every field, in the order of the records.
std::span<const RecordFieldInfo> RecordFields();
/// The field of this name; null when there is none.
const RecordFieldInfo* FindRecordField(std::string_view name);
/// "offset 276 (param2)" - the name is left out for bytes that belong to no field.
std::string DescribeOffset(size_t offset, bool engine);
/// The ANSI text of UTF-16 units up to their terminator.
std::string AnsiText(std::span<const unsigned short> units);
