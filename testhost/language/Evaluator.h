#pragma once

#include "testhost/language/Parser.h"
#include "testhost/model/Host.h"

#include <map>

/// Executes statements and evaluates expressions in the host's current process. Everything throws
/// LanguageFailure.
class Evaluator {
  public:
    /// Runs a command and answers its value.
    using CommandRunner = TypedValue (*)(Evaluator& evaluator, const Expression& expression);

    Evaluator(Host& evaluatorHost, CommandRunner commandRunner)
        : host(evaluatorHost), runCommand(commandRunner) {}
    Evaluator(const Evaluator&) = delete;
    Evaluator& operator=(const Evaluator&) = delete;

    void Execute(const std::vector<LanguageStatement>& statements);
    /// The value; of the kind Undefined for a command or a method that has none, and for a variable
    /// that there is not.
    TypedValue Evaluate(const Expression& expression);
    /// Runs a method. It finds its arguments in $1, $2 ... and leaves its value in $0.
    TypedValue CallMethod(long number, std::vector<TypedValue> arguments);
    /// Makes a variable one with this empty value, unless it is of that kind already.
    void Declare(const Expression& variable, const TypedValue& empty);
    /// Makes a variable one with this value, whatever it was.
    void Replace(const Expression& variable, const TypedValue& value);
    /// Counts a step of the evaluation, more for many bytes or elements; fails beyond the limit.
    void SpendOn(size_t amount);

    Host& host;

  private:
    using Locals = std::map<std::string, TypedValue>;

    TypedValue ValueOf(const Expression& expression);
    TypedValue CallMethod(const Expression& expression);
    TypedValue Read(const Expression& variable);
    TypedValue ReadField(const Expression& field);
    void Assign(const Expression& target, const TypedValue& value);

    CommandRunner runCommand;
    Locals locals;    ///< of the method that runs, by folded name
    int depth = 0;    ///< how many methods are running
    size_t spent = 0; ///< steps so far
    std::map<long, std::vector<LanguageStatement>> methods; ///< that have run, by number
};
