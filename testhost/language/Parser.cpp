#include "testhost/language/Parser.h"

#include "testhost/language/Failure.h"

namespace {
constexpr int deepestNesting = 50;

class Parser {
  public:
    explicit Parser(const std::vector<Token>& parsed) : tokens(parsed) {}

    bool AtEnd() const { return next == tokens.size(); }
    bool TakeLineEnd() { return !AtEnd() && tokens[next].kind == TokenKind::Line && ++next != 0; }

    LanguageStatement TakeStatement() {
        Expression first = TakeExpression();
        if (!TakeIf(Operator::Assign)) {
            return {.target = {}, .value = std::move(first)};
        }
        if (first.kind != Expression::Kind::Variable && first.kind != Expression::Kind::Field) {
            FailSyntax("only a variable or a field can be assigned to");
        }
        return {.target = {std::move(first)}, .value = TakeExpression()};
    }

    Expression TakeExpression() {
        const Nesting nesting(*this);
        Expression first = TakeOperand();
        Expression whole{.kind = Expression::Kind::Operation};
        while (IsBinaryOperator()) {
            whole.operations.push_back(static_cast<Operator>(tokens[next++].numbers[0]));
            whole.operands.push_back(TakeOperand());
        }
        if (whole.operations.empty()) {
            return first;
        }
        whole.operands.insert(whole.operands.begin(), std::move(first));
        return whole;
    }

    void ExpectEndOfLine() {
        if (!AtEnd() && tokens[next].kind != TokenKind::Line) {
            FailSyntax("there is more on the line than a statement");
        }
    }

  private:
    // Counts how deep the parser is in parentheses and minus signs.
    class Nesting {
      public:
        explicit Nesting(Parser& counted) : parser(counted) {
            if (++parser.depth > deepestNesting) {
                throw LanguageFailure(LanguageError::TooDeep, "an expression is nested too deep");
            }
        }
        ~Nesting() { --parser.depth; }
        Nesting(const Nesting&) = delete;
        Nesting& operator=(const Nesting&) = delete;

      private:
        Parser& parser;
    };

    bool IsNext(Operator operation) const { return !AtEnd() && tokens[next].Is(operation); }

    bool TakeIf(Operator operation) {
        const bool found = IsNext(operation);
        next += found ? 1 : 0;
        return found;
    }

    void Expect(Operator operation) {
        if (!TakeIf(operation)) {
            FailSyntax("'" + std::string(OperatorText(operation)) + "' is missing");
        }
    }

    bool IsBinaryOperator() const {
        return !AtEnd() && tokens[next].kind == TokenKind::Operator &&
               tokens[next].numbers[0] <= static_cast<unsigned long long>(Operator::GreaterOrEqual);
    }

    Expression TakeOperand() {
        if (AtEnd() || tokens[next].kind == TokenKind::Line) {
            FailSyntax("a value is missing");
        }
        const Token& token = tokens[next++];
        switch (token.kind) {
        case TokenKind::Operator:
            return TakeGrouped(token);
        case TokenKind::Long:
            return {.constant = LongValue(token.Long())};
        case TokenKind::Real:
            return {.constant = RealValue(token.Real())};
        case TokenKind::Text:
            return {.constant = TextValue(token.text)};
        case TokenKind::Date:
            return {.constant = DateValue(token.Short(2), token.Short(1), token.Short(0))};
        case TokenKind::Time:
            return {.constant = {.kind = ValueKind::Time, .numbers = {token.Long()}}};
        case TokenKind::Command:
            return {.kind = Expression::Kind::Command,
                    .number = token.Short(0),
                    .operands = TakeArguments()};
        case TokenKind::Name:
            if (IsNext(Operator::Open)) {
                return {.kind = Expression::Kind::Call,
                        .name = token.text,
                        .operands = TakeArguments()};
            }
            return Variable(VariableScope::Process, token);
        case TokenKind::Interprocess:
            return Variable(VariableScope::Interprocess, token);
        case TokenKind::Local:
            return Variable(VariableScope::Local, token);
        case TokenKind::Table:
            return {.kind = Expression::Kind::Table, .number = token.Short(0)};
        case TokenKind::Field:
            return {
                .kind = Expression::Kind::Field, .number = token.Short(0), .field = token.Short(1)};
        case TokenKind::Line:
            break;
        }
        FailSyntax("a value is missing");
    }

    static Expression Variable(VariableScope scope, const Token& token) {
        return {.kind = Expression::Kind::Variable, .scope = scope, .name = token.text};
    }

    // What begins with a parenthesis or a minus sign.
    Expression TakeGrouped(const Token& token) {
        const Nesting nesting(*this);
        if (token.Is(Operator::Subtract)) {
            Expression negation{.kind = Expression::Kind::Negation};
            negation.operands.push_back(TakeOperand());
            return negation;
        }
        if (!token.Is(Operator::Open)) {
            FailSyntax("'" + std::string(OperatorText(static_cast<Operator>(token.numbers[0]))) +
                       "' stands where a value belongs");
        }
        Expression inner = TakeExpression();
        Expect(Operator::Close);
        return inner;
    }

    // "(a;b;c)", or nothing at all.
    std::vector<Expression> TakeArguments() {
        std::vector<Expression> arguments;
        if (!TakeIf(Operator::Open) || TakeIf(Operator::Close)) {
            return arguments;
        }
        do {
            arguments.push_back(TakeExpression());
        } while (TakeIf(Operator::Separate));
        Expect(Operator::Close);
        return arguments;
    }

    const std::vector<Token>& tokens;
    size_t next = 0;
    int depth = 0;
};
} // namespace

std::vector<LanguageStatement> ParseStatements(const std::vector<Token>& tokens) {
    Parser parser(tokens);
    std::vector<LanguageStatement> statements;
    while (!parser.AtEnd()) {
        if (!parser.TakeLineEnd()) {
            statements.push_back(parser.TakeStatement());
            parser.ExpectEndOfLine();
        }
    }
    return statements;
}

Expression ParseExpression(const std::vector<Token>& tokens) {
    Parser parser(tokens);
    Expression expression = parser.TakeExpression();
    if (!parser.AtEnd()) {
        FailSyntax("there is more than an expression");
    }
    return expression;
}
