// The host's language: text becomes tokens and text again, tokens of any bytes are refused or come
// back, and whatever is executed ends within its limits.

#include "fuzz/Harness.h"
#include "testhost/language/Commands.h"
#include "testhost/language/Failure.h"
#include "testhost/language/Lexer.h"

#include <algorithm>

namespace {
// What a failure may answer: one of the language's errors, one of the database, no memory.
template <typename Work>
void Try(Work work) {
    try {
        work();
    } catch (const LanguageFailure& failure) {
        Require(failure.code < 0 && failure.what()[0] != '\0', "a failure is not told");
    }
}

void FuzzTokens(Host& host, const std::string& stream) {
    Try([&] {
        ByteOrder order{};
        const std::vector<Token> tokens = DecodeTokens(stream, order);
        Require(EncodeTokens(tokens, order) == stream, "tokens come back otherwise");
        Require(SwapTokens(SwapTokens(stream)) == stream, "swapped twice they are others");
        Try([&] { TextOfTokens(host, tokens); });
        Evaluator(host, RunCommand).Execute(ParseStatements(tokens));
    });
}

// Whether large arrays may be asked for, which are allowed and take their time.
bool HasLargeArray(std::string_view text) {
    int digits = 0;
    const bool hasNumber = std::ranges::any_of(text, [&](char character) {
        digits = character >= '0' && character <= '9' ? digits + 1 : 0;
        return digits > 4;
    });
    return hasNumber && text.find("ARRAY") != std::string_view::npos;
}

// What stands behind a form feed is a method: M1, M2 ...
void FuzzText(Host& host, std::string_view text) {
    const std::size_t end = std::min(text.find('\f'), text.size());
    std::string_view methods = text.substr(end);
    for (int number = 1; !methods.empty(); ++number) {
        methods.remove_prefix(1);
        const std::string source(methods.substr(0, methods.find('\f')));
        methods.remove_prefix(source.size());
        host.language.DefineMethod("M" + std::to_string(number), source);
    }
    Try([&] {
        const std::vector<Token> tokens = TokensOfText(host, text.substr(0, end));
        Require(DecodeTokens(EncodeTokens(tokens)) == tokens, "tokens come back otherwise");
        const std::vector<LanguageStatement> statements = ParseStatements(tokens);
        Require(TokensOfText(host, TextOfTokens(host, tokens)) == tokens,
                "the text of the tokens has others");
        Evaluator(host, RunCommand).Execute(statements);
    });
}
} // namespace

void Fuzz(Input& input) {
    const bool areTokens = input.ConsumeBool(); // the last byte
    Host host;
    const Host::Scope inside(host);
    host.database = SmallDatabase();
    host.database.AllRecords(host.currentProcess, 1);
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    if (areTokens) {
        FuzzTokens(host, bytes);
    } else if (!HasLargeArray(bytes)) {
        FuzzText(host, bytes);
    }
    for (const std::string& fault : host.variables.TakeFaults()) {
        Fail(fault);
    }
    if (!host.problems.empty()) {
        Fail(host.problems.front());
    }
}
