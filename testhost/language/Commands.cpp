#include "testhost/language/Commands.h"

#include "platform/ResultCodes.h"
#include "testhost/language/Failure.h"
#include "testhost/language/Values.h"
#include "testhost/model/CommandNames.h"
#include "testhost/model/Host.h"

#include <algorithm>
#include <iterator>

namespace {
constexpr size_t mostElements = 1000000;

struct LanguageCommand;

// A command with its arguments, which are evaluated as the command takes them.
struct CommandCall {
    Evaluator& evaluator;
    const LanguageCommand& command;
    const std::vector<Expression>& arguments;

    Host& TheHost() const { return evaluator.host; }
    // Argument `place`, from 0, as a value of a kind; the table that it has to be.
    TypedValue Value(size_t place, ValueKind kind) const {
        return ConvertValue(evaluator.Evaluate(arguments.at(place)), kind);
    }
    long Long(size_t place) const { return Value(place, ValueKind::Long).numbers.at(0); }
    std::string Text(size_t place) const { return Value(place, ValueKind::Text).texts.at(0); }
    short Table(size_t place) const;
};

struct LanguageCommand {
    short number;
    size_t fewest; // arguments
    size_t most;
    TypedValue (*run)(const CommandCall& call);
    ValueKind declares = ValueKind::None; // of the variables that it declares
};

short CommandCall::Table(size_t place) const {
    const Expression& argument = arguments.at(place);
    if (argument.kind != Expression::Kind::Table) {
        FailMismatch(std::string(TheHost().language.CommandName(command.number)) +
                     " takes a table");
    }
    const DatabaseTable* table = TheHost().database.Table(argument.number);
    evaluator.SpendOn(table != nullptr ? table->records.size() : 0);
    return argument.number;
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
    if (static_cast<size_t>(count) > mostElements) {
        throw LanguageFailure(ResultCode::MemoryFull, "an array is too large");
    }
    call.evaluator.SpendOn(static_cast<size_t>(count));
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
        if (rows != 0 && columns > mostElements / rows) {
            throw LanguageFailure(ResultCode::MemoryFull, "an array is too large");
        }
        call.evaluator.SpendOn(rows * columns);
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
    Host& host = call.TheHost();
    return TextValue(host.options.hasStructure ? host.DataFile() : std::string());
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
    {41, 1, 1, Alert},
    {47, 1, 1, AllRecords},
    {58, 1, 1, DeleteRecord},
    {83, 1, 1, RecordsInTable},
    {182, 0, 0, OptionText<&HostOptions::currentUser>},
    {219, 2, 3, DeclareArray, ValueKind::RealArray},
    {221, 2, 3, DeclareArray, ValueKind::LongArray},
    {222, 2, 3, DeclareArray, ValueKind::TextArray},
    {223, 2, 3, DeclareArray, ValueKind::BooleanArray},
    {224, 2, 3, DeclareArray, ValueKind::DateArray},
    {244, 1, 1, SequenceNumber},
    {279, 2, 3, DeclareArray, ValueKind::PictureArray},
    {283, 1, many, DeclareVariables, ValueKind::Long},
    {284, 1, many, DeclareVariables, ValueKind::Text},
    {285, 1, many, DeclareVariables, ValueKind::Real},
    {286, 1, many, DeclareVariables, ValueKind::Picture},
    {293, 2, many, DeclareStrings},
    {301, 1, many, DeclareVariables, ValueKind::Pointer},
    {304, 1, 1, GetPointer},
    {305, 1, many, DeclareVariables, ValueKind::Boolean},
    {306, 1, many, DeclareVariables, ValueKind::Time},
    {307, 1, many, DeclareVariables, ValueKind::Date},
    {324, 1, 1, ShowProcess<false>},
    {325, 1, 1, ShowProcess<true>},
    {483, 0, 0, OptionText<&HostOptions::machine>},
    {484, 0, 0, OptionText<&HostOptions::machineOwner>},
    {490, 0, 0, DataFile},
    {494, 0, 0, ApplicationType},
    {604, 1, many, DeclareVariables, ValueKind::Blob},
};
static_assert(std::ranges::equal(commands, firstCommandNames, {}, &LanguageCommand::number,
                                 &NamedCommand::number));
} // namespace

TypedValue RunCommand(Evaluator& evaluator, const Expression& expression) {
    const auto* command = std::ranges::find(commands, expression.number, &LanguageCommand::number);
    if (command == std::end(commands)) {
        FailUnknown("command " + std::to_string(expression.number));
    }
    const size_t count = expression.operands.size();
    if (count < command->fewest || count > command->most) {
        throw LanguageFailure(LanguageError::WrongArguments,
                              std::string(evaluator.host.language.CommandName(command->number)) +
                                  " has " + std::to_string(count) + " arguments");
    }
    return command->run({evaluator, *command, expression.operands});
}
