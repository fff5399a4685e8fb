#include "testhost/language/Commands.h"

#include "platform/ResultCodes.h"
#include "testhost/language/Values.h"
#include "testhost/model/Names.h"

#include <algorithm>
#include <iterator>

namespace {
constexpr long mostElements = 1000000;

[[noreturn]] void FailMismatch(const std::string& reason) {
    throw LanguageFailure(LanguageError::TypeMismatch, reason);
}

void Check(short databaseError) {
    if (databaseError != DatabaseError::None) {
        throw LanguageFailure(databaseError, "the database answers an error");
    }
}

// Declares all its variables, with the empty value of their kind unless they are of it already.
TypedValue DeclareVariables(const CommandCall& call) {
    for (const Expression& argument : call.arguments) {
        call.evaluator.Declare(argument, EmptyValue(call.command.declares));
    }
    return NoValue();
}

// The same behind a first argument, the most characters of the strings.
TypedValue DeclareStrings(const CommandCall& call) {
    const long length = call.Long(0);
    if (length < 1 || length > 255) {
        FailMismatch("a string has 1 to 255 characters");
    }
    for (size_t place = 1; place < call.arguments.size(); ++place) {
        call.evaluator.Declare(call.arguments[place], EmptyValue(ValueKind::String));
    }
    return NoValue();
}

size_t ElementCount(const CommandCall& call, size_t place) {
    const long count = call.Long(place);
    if (count < 0) {
        FailMismatch("an array has a negative size");
    }
    if (count > mostElements) {
        throw LanguageFailure(ResultCode::MemoryFull, "an array is too large");
    }
    return static_cast<size_t>(count);
}

TypedValue EmptyArray(ValueKind kind, size_t count) {
    return ArrayValue(kind, std::vector<TypedValue>(count, EmptyValue(ElementKind(kind))));
}

// (array;size), or (array;rows;columns) for an array of arrays. What was in it is gone.
TypedValue DeclareArray(const CommandCall& call) {
    const ValueKind kind = call.command.declares;
    TypedValue array;
    if (call.arguments.size() == 2) {
        array = EmptyArray(kind, ElementCount(call, 1));
    } else {
        const size_t rows = ElementCount(call, 1);
        const size_t columns = ElementCount(call, 2);
        if (rows * columns > mostElements) {
            throw LanguageFailure(ResultCode::MemoryFull, "an array is too large");
        }
        array = ArrayValue(ValueKind::ArrayOfArrays,
                           std::vector<TypedValue>(rows, EmptyArray(kind, columns)),
                           static_cast<long>(kind));
    }
    call.evaluator.Replace(call.arguments[0], array);
    return NoValue();
}

TypedValue Alert(const CommandCall& call) {
    call.TheHost().boxes.Show(HostBox::Kind::Alert, call.Text(0));
    return NoValue();
}

TypedValue AllRecords(const CommandCall& call) {
    Host& host = call.TheHost();
    Check(host.database.AllRecords(host.currentProcess, call.Table(0)));
    return NoValue();
}

TypedValue DeleteRecord(const CommandCall& call) {
    Host& host = call.TheHost();
    Check(host.database.DeleteRecord(host.currentProcess, call.Table(0)));
    return NoValue();
}

TypedValue RecordsInTable(const CommandCall& call) {
    return LongValue(call.TheHost().database.RecordsInTable(call.Table(0)));
}

TypedValue SequenceNumber(const CommandCall& call) {
    return LongValue(call.TheHost().database.SequenceNumber(call.Table(0)));
}

template <std::string HostOptions::*Option>
TypedValue OptionText(const CommandCall& call) {
    return TextValue(call.TheHost().options.*Option);
}

TypedValue DataFile(const CommandCall& call) {
    return TextValue(call.TheHost().DataFile());
}

TypedValue ApplicationType(const CommandCall& call) {
    return LongValue(call.TheHost().ApplicationType());
}

TypedValue GetPointer(const CommandCall& call) {
    return PointerToVariable(call.TheHost(), call.Text(0));
}

template <bool Visible>
TypedValue ShowProcess(const CommandCall& call) {
    HostProcess* process = call.TheHost().FindProcess(call.Long(0));
    if (process != nullptr) { // as the host does, nothing for one that there is not
        process->isVisible = Visible;
    }
    return NoValue();
}

constexpr size_t many = 255;

constexpr LanguageCommand commands[] = {
    {41, "ALERT", 1, 1, Alert},
    {47, "ALL RECORDS", 1, 1, AllRecords},
    {58, "DELETE RECORD", 1, 1, DeleteRecord},
    {83, "Records in table", 1, 1, RecordsInTable},
    {182, "Current user", 0, 0, OptionText<&HostOptions::currentUser>},
    {219, "ARRAY REAL", 2, 3, DeclareArray, ValueKind::RealArray},
    {221, "ARRAY LONGINT", 2, 3, DeclareArray, ValueKind::LongArray},
    {222, "ARRAY TEXT", 2, 3, DeclareArray, ValueKind::TextArray},
    {223, "ARRAY BOOLEAN", 2, 3, DeclareArray, ValueKind::BooleanArray},
    {224, "ARRAY DATE", 2, 3, DeclareArray, ValueKind::DateArray},
    {244, "Sequence number", 1, 1, SequenceNumber},
    {279, "ARRAY PICTURE", 2, 3, DeclareArray, ValueKind::PictureArray},
    {283, "C_LONGINT", 1, many, DeclareVariables, ValueKind::Long},
    {284, "C_TEXT", 1, many, DeclareVariables, ValueKind::Text},
    {285, "C_REAL", 1, many, DeclareVariables, ValueKind::Real},
    {286, "C_PICTURE", 1, many, DeclareVariables, ValueKind::Picture},
    {293, "C_STRING", 2, many, DeclareStrings},
    {301, "C_POINTER", 1, many, DeclareVariables, ValueKind::Pointer},
    {304, "Get pointer", 1, 1, GetPointer},
    {305, "C_BOOLEAN", 1, many, DeclareVariables, ValueKind::Boolean},
    {306, "C_TIME", 1, many, DeclareVariables, ValueKind::Time},
    {307, "C_DATE", 1, many, DeclareVariables, ValueKind::Date},
    {324, "HIDE PROCESS", 1, 1, ShowProcess<false>},
    {325, "SHOW PROCESS", 1, 1, ShowProcess<true>},
    {483, "Current machine", 0, 0, OptionText<&HostOptions::machine>},
    {484, "Current machine owner", 0, 0, OptionText<&HostOptions::machineOwner>},
    {490, "Data file", 0, 0, DataFile},
    {494, "Application type", 0, 0, ApplicationType},
    {604, "C_BLOB", 1, many, DeclareVariables, ValueKind::Blob},
};
} // namespace

TypedValue CommandCall::Value(size_t place, ValueKind kind) const {
    return ConvertValue(evaluator.Evaluate(arguments.at(place)), kind);
}

short CommandCall::Table(size_t place) const {
    const Expression& argument = arguments.at(place);
    if (argument.kind != Expression::Kind::Table) {
        FailMismatch(std::string(command.name) + " takes a table");
    }
    return argument.number;
}

std::span<const LanguageCommand> LanguageCommands() {
    return commands;
}

const LanguageCommand* FindLanguageCommand(long number) {
    const auto* found = std::ranges::find(commands, number, &LanguageCommand::number);
    return found != std::end(commands) ? found : nullptr;
}
