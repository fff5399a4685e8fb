#include "testhost/crossings/RecordFields.h"

#include "testhost/values/Strings.h"
#include "testhost/values/TypedValue.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {
NIMBO_ALLOW_OFFSETS_BEHIND_BASES // host/boundary/Calls.h asserts them

    using Type = RecordFieldInfo::Type;

constexpr RecordFieldInfo fieldTable[] = {
    {RecordField::UniName, "uniName", Type::Utf16, true, offsetof(EngineFields, uniName), 512},
    {RecordField::UniText, "uniText", Type::Utf16, true, offsetof(EngineFields, uniText), 512},
    {RecordField::HostString, "string", Type::HostString, true, offsetof(EngineFields, string), 16},
    {RecordField::Picture, "picture", Type::Address, true, offsetof(EngineFields, picture), 4},
    {RecordField::MainThreadProc, "mainThreadProc", Type::Address, true,
     offsetof(EngineFields, mainThreadProc), 4},
    {RecordField::MainThreadArg, "mainThreadArg", Type::Address, true,
     offsetof(EngineFields, mainThreadArg), 4},
    {RecordField::Table, "table", Type::Number, false, offsetof(ParameterBlock, table), 2},
    {RecordField::Field, "field", Type::Number, false, offsetof(ParameterBlock, field), 2},
    {RecordField::RecordNumber, "recordNumber", Type::Number, false,
     offsetof(ParameterBlock, recordNumber), 4},
    {RecordField::Flag1, "flag1", Type::Number, false, offsetof(ParameterBlock, flag1), 1},
    {RecordField::Flag2, "flag2", Type::Number, false, offsetof(ParameterBlock, flag2), 1},
    {RecordField::Name, "name", Type::PascalString, false, offsetof(ParameterBlock, name), 256},
    {RecordField::Handle, "handle", Type::Address, false, offsetof(ParameterBlock, handle), 4},
    {RecordField::Error, "error", Type::Number, false, offsetof(ParameterBlock, error), 2},
    {RecordField::Param1, "param1", Type::Number, false, offsetof(ParameterBlock, param1), 4},
    {RecordField::Param2, "param2", Type::Number, false, offsetof(ParameterBlock, param2), 4},
    {RecordField::Param3, "param3", Type::Number, false, offsetof(ParameterBlock, param3), 4},
    {RecordField::Param4, "param4", Type::Number, false, offsetof(ParameterBlock, param4), 4},
    {RecordField::ValueReal, "value.real", Type::Real, false, offsetof(ParameterBlock, value.real),
     10},
    {RecordField::ValueDate, "value.date", Type::Date, false, offsetof(ParameterBlock, value.date),
     6},
    {RecordField::ValueNumber, "value.number", Type::Number, false,
     offsetof(ParameterBlock, value.number), 4},
    {RecordField::ValueSmall, "value.small", Type::Number, false,
     offsetof(ParameterBlock, value.small), 2},
    {RecordField::ValueText, "valueText", Type::PascalString, false,
     offsetof(ParameterBlock, valueText), 0},
    {RecordField::VariableFlag, "variableFlag", Type::Number, false,
     offsetof(ParameterBlock, variable.flag), 1},
};

NIMBO_ALLOWED

template <typename T>
T Load(std::span<const unsigned char> bytes) {
    T value{};
    std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

std::string Hexadecimal(unsigned long number) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", number);
    return text;
}

std::string NumberBytesText(std::span<const unsigned char> bytes) {
    if (bytes.size() < 4) {
        return std::to_string(bytes.size() == 1 ? bytes[0] : Load<short>(bytes));
    }
    // Beyond 16 bits it is flags, a packed version or an address.
    long number = Load<long>(bytes);
    return number >= -0x8000 && number <= 0xFFFF ? std::to_string(number)
                                                 : Hexadecimal(static_cast<unsigned long>(number));
}

std::string PascalText(std::span<const unsigned char> bytes) {
    size_t length = std::min<size_t>(bytes[0], bytes.size() - 1);
    return {reinterpret_cast<const char*>(&bytes[1]), length};
}

std::string Utf16Text(std::span<const unsigned char> bytes) {
    std::vector<unsigned short> units(bytes.size() / 2);
    std::memcpy(units.data(), bytes.data(), units.size() * 2);
    return AnsiText(units);
}
} // namespace

size_t RecordFieldInfo::Offset(bool engine) const {
    return engine && !engineOnly ? sizeof(EngineFields) + offset : offset;
}

size_t RecordFieldInfo::Size(bool engine) const {
    if (engineOnly && !engine) {
        return 0;
    }
    if (size != 0) {
        return size;
    }
    return engine ? sizeof(FDEngineBlock::valueText) : sizeof(ParameterBlock::valueText);
}

std::string RecordFieldInfo::Text(std::span<const unsigned char> record, bool engine) const {
    std::span<const unsigned char> bytes = record.subspan(Offset(engine), Size(engine));
    switch (type) {
    case Type::Number:
        return NumberBytesText(bytes);
    case Type::Address:
        return Hexadecimal(Load<unsigned long>(bytes));
    case Type::PascalString:
        return Quoted(PascalText(bytes));
    case Type::Utf16:
        return Quoted(Utf16Text(bytes));
    case Type::Real:
        return Describe(RealValue(Load<double>(bytes)));
    case Type::Date: {
        auto date = Load<DateBlock>(bytes);
        return Describe(DateValue(date.year, date.month, date.day));
    }
    case Type::HostString:
        return NumberText(Load<long>(bytes));
    }
    return {};
}

std::string RecordFieldInfo::NumberText(long number) const {
    switch (type) {
    case Type::Address:
        return Hexadecimal(static_cast<unsigned long>(number));
    case Type::HostString:
        return std::to_string(number) + " units";
    default: {
        unsigned char bytes[sizeof number];
        std::memcpy(bytes, &number, sizeof number);
        return NumberBytesText(std::span(bytes).first(std::min(size, sizeof number)));
    }
    }
}

std::span<const RecordFieldInfo> RecordFields() {
    return fieldTable;
}

const RecordFieldInfo* FindRecordField(std::string_view name) {
    for (const RecordFieldInfo& field : fieldTable) {
        if (field.name == name) {
            return &field;
        }
    }
    return nullptr;
}

std::string DescribeOffset(size_t offset, bool engine) {
    std::string text = "offset " + std::to_string(offset);
    for (const RecordFieldInfo& field : fieldTable) {
        size_t start = field.Offset(engine);
        if (offset >= start && offset < start + field.Size(engine)) {
            return text + " (" + std::string(field.name) + ")";
        }
    }
    return text;
}

std::string AnsiText(std::span<const unsigned short> units) {
    size_t length = 0;
    while (length < units.size() && units[length] != 0) {
        ++length;
    }
    return TextOfUnits(units.first(length));
}
