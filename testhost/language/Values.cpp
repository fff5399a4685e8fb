#include "testhost/language/Values.h"

#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "testhost/language/Failure.h"
#include "testhost/model/Host.h"
#include "testhost/values/Storage.h"

#include <cmath>
#include <compare>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {
bool IsNumber(const TypedValue& value) {
    return value.kind == ValueKind::Real || value.kind == ValueKind::Long ||
           value.kind == ValueKind::Short || value.kind == ValueKind::Time ||
           value.kind == ValueKind::Boolean;
}

bool IsText(const TypedValue& value) {
    return value.kind == ValueKind::Text || value.kind == ValueKind::String;
}

double RealOf(const TypedValue& value) {
    return value.kind == ValueKind::Real ? value.real : value.numbers.at(0);
}

// Cut towards zero.
long WholeOf(const TypedValue& value) {
    const double whole = std::trunc(RealOf(value));
    if (!(whole >= std::numeric_limits<long>::min() && whole <= std::numeric_limits<long>::max())) {
        FailMismatch("a number is too large for a long");
    }
    return static_cast<long>(whole);
}

// The result of arithmetic without fractions; nothing when it does not fit or may have one.
bool CombineWhole(long left, Operator operation, long right, long& result) {
    std::int64_t whole = left; // has room for the result of each
    switch (operation) {
    case Operator::Add:
        whole += right;
        break;
    case Operator::Subtract:
        whole -= right;
        break;
    case Operator::Multiply:
        whole *= right;
        break;
    default:
        return false;
    }
    result = static_cast<long>(whole);
    return result == whole;
}

double CombineReal(double left, Operator operation, double right) {
    switch (operation) {
    case Operator::Add:
        return left + right;
    case Operator::Subtract:
        return left - right;
    case Operator::Multiply:
        return left * right;
    default:
        if (right == 0) {
            throw LanguageFailure(LanguageError::DivisionByZero, "a division by zero");
        }
        return left / right;
    }
}

TypedValue CombineNumbers(const TypedValue& left, Operator operation, const TypedValue& right) {
    long whole = 0;
    if (left.kind != ValueKind::Real && right.kind != ValueKind::Real &&
        CombineWhole(left.numbers.at(0), operation, right.numbers.at(0), whole)) {
        const bool time = left.kind == ValueKind::Time || right.kind == ValueKind::Time;
        return {.kind = time ? ValueKind::Time : ValueKind::Long, .numbers = {whole}};
    }
    return RealValue(CombineReal(RealOf(left), operation, RealOf(right)));
}

// Years first, as dates follow each other.
std::array<long, 3> DateOrder(const TypedValue& date) {
    return {date.numbers.at(2), date.numbers.at(1), date.numbers.at(0)};
}

std::partial_ordering Compare(const TypedValue& left, const TypedValue& right) {
    if (IsNumber(left) && IsNumber(right)) {
        return RealOf(left) <=> RealOf(right);
    }
    if (IsText(left) && IsText(right)) {
        return FoldCase(left.texts.at(0)).compare(FoldCase(right.texts.at(0))) <=> 0;
    }
    if (left.kind == ValueKind::Date && right.kind == ValueKind::Date) {
        return DateOrder(left) <=> DateOrder(right);
    }
    FailMismatch("values of two types are compared");
}

bool Holds(std::partial_ordering order, Operator operation) {
    switch (operation) {
    case Operator::Equal:
        return order == std::partial_ordering::equivalent;
    case Operator::NotEqual:
        return order != std::partial_ordering::equivalent;
    case Operator::Less:
        return order == std::partial_ordering::less;
    case Operator::LessOrEqual:
        return order == std::partial_ordering::less || order == std::partial_ordering::equivalent;
    case Operator::Greater:
        return order == std::partial_ordering::greater;
    default:
        return order == std::partial_ordering::greater ||
               order == std::partial_ordering::equivalent;
    }
}
} // namespace

TypedValue ConvertValue(const TypedValue& value, ValueKind kind) {
    if (value.kind == kind) {
        return value;
    }
    if (IsText(value) && (kind == ValueKind::Text || kind == ValueKind::String)) {
        return {.kind = kind, .texts = value.texts};
    }
    if (IsNumber(value)) {
        switch (kind) {
        case ValueKind::Real:
            return RealValue(RealOf(value));
        case ValueKind::Boolean:
            return BooleanValue(RealOf(value) != 0);
        case ValueKind::Long:
        case ValueKind::Time:
            return {.kind = kind, .numbers = {WholeOf(value)}};
        default:
            break;
        }
    }
    FailMismatch("a " + std::string(KindName(value.kind)) + " is no " +
                 std::string(KindName(kind)));
}

TypedValue Combine(const TypedValue& left, Operator operation, const TypedValue& right) {
    if (operation >= Operator::Equal) {
        return BooleanValue(Holds(Compare(left, right), operation));
    }
    if (operation == Operator::Add && IsText(left) && IsText(right)) {
        return TextValue(left.texts.at(0) + right.texts.at(0));
    }
    if (!IsNumber(left) || !IsNumber(right)) {
        FailMismatch("'" + std::string(OperatorText(operation)) +
                     "' is between values that are no numbers");
    }
    return CombineNumbers(left, operation, right);
}

TypedValue Negate(const TypedValue& value) {
    return Combine(LongValue(0), Operator::Subtract, value);
}

TypedValue PointerToVariable(Host& host, const std::string& name) {
    const long number = host.language.VariableNumber(name);
    return {.kind = ValueKind::Pointer, .numbers = {PointerKind::Variable, number, 0}};
}

TypedValue ReadPointer(const ValueBlock& block) {
    const std::string bytes = HandleContents(block.pointer);
    if (bytes.size() < sizeof(PointerRecord)) {
        return NullValue(ValueKind::Pointer);
    }
    PointerRecord record{};
    std::memcpy(&record, bytes.data(), sizeof record);
    return {.kind = ValueKind::Pointer, .numbers = {record.kind, record.variable, record.field}};
}

ValueBlock MakeBlock(Host& host, const TypedValue& value) {
    if (value.kind == ValueKind::Text && value.texts.at(0).size() > longestText) {
        return MakeBlock(host, TextValue(value.texts[0].substr(0, longestText)));
    }
    ValueBlock block{};
    if (value.kind == ValueKind::Pointer && value.numbers.size() == 3) {
        const PointerRecord record = {static_cast<short>(value.numbers[0]), value.numbers[1],
                                      value.numbers[2]};
        block.type = ValueType::Pointer;
        block.pointer = NewHandleWith({reinterpret_cast<const char*>(&record), sizeof record});
    } else {
        block = StoreBlock(value, host.variables.layout);
    }
    // Where a value takes bytes, a block without a handle for them has found no memory.
    const bool needsHandle = (value.kind == ValueKind::Text && !value.texts.at(0).empty()) ||
                             (value.kind == ValueKind::Pointer && !value.numbers.empty()) ||
                             IsArray(value.kind);
    if (needsHandle && PartsOf(block, host.variables.layout).handles.empty()) {
        throw LanguageFailure(ResultCode::MemoryFull, "memory is full");
    }
    return block;
}
