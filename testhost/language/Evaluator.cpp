#include "testhost/language/Evaluator.h"

#include "testhost/language/Failure.h"
#include "testhost/language/Lexer.h"
#include "testhost/language/Values.h"

#include <utility>

namespace {
constexpr int deepestMethod = 30;
// The language has no loops, but methods that call one another twice double the work with every
// level. So much takes a second or two.
constexpr size_t mostSteps = 100'000;
constexpr size_t amountOfStep = 25; // bytes or elements

void ExpectVariable(const Expression& expression) {
    if (expression.kind != Expression::Kind::Variable) {
        throw LanguageFailure(LanguageError::TypeMismatch, "only variables can be declared");
    }
}

// Bytes and elements, about.
size_t SizeOf(const TypedValue& value) {
    size_t size = value.numbers.size();
    for (const std::string& text : value.texts) {
        size += 1 + text.size();
    }
    for (const TypedValue& element : value.inner) {
        size += 1 + SizeOf(element);
    }
    return size;
}

// As an interprocess variable it belongs to no process.
long ProcessOf(const Host& host, const Expression& variable) {
    return variable.scope == VariableScope::Interprocess ? HostVariables::interprocess
                                                         : host.currentProcess;
}
} // namespace

void Evaluator::Execute(const std::vector<LanguageStatement>& statements) {
    for (const LanguageStatement& statement : statements) {
        const TypedValue value = Evaluate(statement.value);
        for (const Expression& target : statement.target) {
            Assign(target, value);
        }
    }
}

void Evaluator::SpendOn(size_t amount) {
    spent += 1 + amount / amountOfStep;
    if (spent > mostSteps) {
        throw LanguageFailure(LanguageError::TooLong,
                              "an evaluation takes more than " + std::to_string(mostSteps) +
                                  " steps: do methods call one another too often?");
    }
}

TypedValue Evaluator::Evaluate(const Expression& expression) {
    TypedValue value = ValueOf(expression);
    SpendOn(SizeOf(value));
    return value;
}

TypedValue Evaluator::ValueOf(const Expression& expression) {
    switch (expression.kind) {
    case Expression::Kind::Constant:
        return expression.constant;
    case Expression::Kind::Variable:
        return Read(expression);
    case Expression::Kind::Call:
        return CallMethod(expression);
    case Expression::Kind::Command:
        return runCommand(*this, expression);
    case Expression::Kind::Table:
        throw LanguageFailure(LanguageError::TypeMismatch, "a table has no value");
    case Expression::Kind::Field:
        return ReadField(expression);
    case Expression::Kind::Negation:
        return Negate(Evaluate(expression.operands.at(0)));
    case Expression::Kind::Operation:
        break;
    }
    TypedValue result = Evaluate(expression.operands.at(0));
    for (size_t place = 0; place < expression.operations.size(); ++place) {
        result = Combine(result, expression.operations[place],
                         Evaluate(expression.operands.at(place + 1)));
    }
    return result;
}

TypedValue Evaluator::CallMethod(const Expression& expression) {
    const long number = host.language.FindMethod(expression.name);
    if (number == 0) {
        FailUnknown("method " + expression.name);
    }
    std::vector<TypedValue> arguments;
    for (const Expression& operand : expression.operands) {
        arguments.push_back(Evaluate(operand));
    }
    return CallMethod(number, std::move(arguments));
}

TypedValue Evaluator::CallMethod(long number, std::vector<TypedValue> arguments) {
    const HostMethod* method = host.language.Method(number);
    if (method == nullptr) {
        FailUnknown("method " + std::to_string(number));
    }
    if (depth == deepestMethod) {
        throw LanguageFailure(LanguageError::TooDeep, "methods call each other too deep");
    }
    SpendOn(method->source.size());
    Locals own;
    for (size_t place = 0; place < arguments.size(); ++place) {
        own[std::to_string(place + 1)] = std::move(arguments[place]);
    }
    const auto [parsed, isNew] = methods.try_emplace(number);
    if (isNew) {
        parsed->second = ParseStatements(TokensOfText(host, method->source));
    }
    Locals callers = std::exchange(locals, std::move(own));
    ++depth; // a failure ends the whole evaluation, whose callers are then of no more use
    Execute(parsed->second);
    --depth;
    return std::exchange(locals, std::move(callers))["0"];
}

TypedValue Evaluator::Read(const Expression& variable) {
    if (variable.scope == VariableScope::Local) {
        const auto found = locals.find(FoldCase(variable.name));
        return found != locals.end() ? found->second : EmptyValue(ValueKind::Undefined);
    }
    if (variable.scope == VariableScope::Process) {
        if (const long method = host.language.FindMethod(variable.name)) {
            return CallMethod(method, {});
        }
    }
    const long process = ProcessOf(host, variable);
    const ValueBlock* block = host.variables.Find(process, variable.name);
    if (block != nullptr && block->type == ValueType::Pointer) {
        return ReadPointer(*block);
    }
    return host.variables.Read(process, variable.name);
}

TypedValue Evaluator::ReadField(const Expression& field) {
    TypedValue value;
    const short error =
        host.database.ReadField(host.currentProcess, field.number, field.field, value);
    if (error != DatabaseError::None) {
        throw LanguageFailure(error, "a field cannot be read");
    }
    return value;
}

void Evaluator::Assign(const Expression& target, const TypedValue& value) {
    if (target.kind == Expression::Kind::Field) {
        const short error =
            host.database.WriteField(host.currentProcess, target.number, target.field, value);
        if (error != DatabaseError::None) {
            throw LanguageFailure(error, "a field cannot be written");
        }
        return;
    }
    if (value.kind == ValueKind::None || value.kind == ValueKind::Undefined) {
        throw LanguageFailure(LanguageError::TypeMismatch, "there is no value to assign");
    }
    const ValueBlock* block = target.scope == VariableScope::Local
                                  ? nullptr
                                  : host.variables.Find(ProcessOf(host, target), target.name);
    Replace(target, block != nullptr ? ConvertValue(value, BlockKind(block->type)) : value);
}

void Evaluator::Declare(const Expression& variable, const TypedValue& empty) {
    ExpectVariable(variable);
    if (Read(variable).kind != empty.kind) {
        Replace(variable, empty);
    }
}

void Evaluator::Replace(const Expression& variable, const TypedValue& value) {
    ExpectVariable(variable);
    if (variable.scope == VariableScope::Local) {
        locals[FoldCase(variable.name)] = value;
        return;
    }
    host.variables.Set(ProcessOf(host, variable), variable.name, MakeBlock(host, value));
}
