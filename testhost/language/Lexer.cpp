#include "testhost/language/Lexer.h"

#include "testhost/language/Failure.h"
#include "testhost/values/Encodings.h"
#include "testhost/values/Scalars.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <limits>
#include <utility>

#include <windows.h>

namespace {
struct Escape {
    char written;
    char meant;
};
constexpr Escape escapes[] = {{'"', '"'}, {'\\', '\\'}, {'r', '\r'}, {'n', '\n'}, {'t', '\t'}};

bool IsDigit(char character) {
    return character >= '0' && character <= '9';
}
bool BeginsName(char character) {
    return IsAnsiLetter(character) || character == '_';
}
bool ContinuesName(char character) {
    return BeginsName(character) || IsDigit(character);
}

// Length of the name that a text begins with: spaces belong to it when it goes on behind them.
size_t NameLength(std::string_view text) {
    size_t length = 0;
    for (size_t place = 0; place < text.size(); ++place) {
        if (ContinuesName(text[place])) {
            length = place + 1;
        } else if (text[place] != ' ') {
            break;
        }
    }
    return length;
}

class Lexer {
  public:
    Lexer(const Host& lexerHost, std::string_view text) : host(lexerHost), rest(text) {
        for (const auto& [number, name] : host.language.CommandNames()) {
            commands.emplace_back(number, FoldCase(name));
        }
    }

    std::vector<Token> TakeAll() {
        while (!rest.empty()) {
            TakeNext();
        }
        return std::move(tokens);
    }

  private:
    void TakeNext() {
        const char first = rest.front();
        const char second = rest.size() > 1 ? rest[1] : '\0';
        if (first == ' ' || first == '\t' || first == '\n') {
            rest.remove_prefix(1);
        } else if (first == '\r') {
            rest.remove_prefix(1);
            tokens.push_back({.kind = TokenKind::Line});
        } else if (IsDigit(first) || (first == '.' && IsDigit(second))) {
            TakeNumber();
        } else if (first == '"') {
            TakeText();
        } else if (first == '!') {
            TakeDate();
        } else if (first == '?') {
            TakeTime();
        } else if (first == '[') {
            TakeTable();
        } else if (rest.starts_with("<>") && rest.size() > 2 && BeginsName(rest[2])) {
            TakeVariable(TokenKind::Interprocess, 2);
        } else if (first == '$' && ContinuesName(second)) {
            TakeVariable(TokenKind::Local, 1);
        } else if (BeginsName(first)) {
            TakeName();
        } else {
            TakeOperator();
        }
    }

    void Add(TokenKind kind, unsigned long long number, unsigned long long second = 0,
             unsigned long long third = 0) {
        tokens.push_back({.kind = kind, .numbers = {number, second, third}});
    }

    void TakeNumber() {
        const char* end = rest.data() + rest.size();
        double real = 0;
        const auto realEnd = std::from_chars(rest.data(), end, real);
        long whole = 0;
        const auto wholeEnd = std::from_chars(rest.data(), end, whole);
        if (realEnd.ec != std::errc()) {
            FailSyntax("a number is too large or too small");
        }
        if (wholeEnd.ec == std::errc() && wholeEnd.ptr == realEnd.ptr) {
            Add(TokenKind::Long, static_cast<unsigned long>(whole));
        } else {
            Add(TokenKind::Real, std::bit_cast<unsigned long long>(real));
        }
        rest.remove_prefix(static_cast<size_t>(realEnd.ptr - rest.data()));
    }

    void TakeText() {
        std::string text;
        for (size_t place = 1; place < rest.size(); ++place) {
            const char character = rest[place];
            if (character == '"') {
                rest.remove_prefix(place + 1);
                tokens.push_back({.kind = TokenKind::Text, .text = std::move(text)});
                return;
            }
            const char next = place + 1 < rest.size() ? rest[place + 1] : '\0';
            const auto* escape = std::ranges::find(escapes, next, &Escape::written);
            // Any other backslash is just one.
            if (character == '\\' && escape != std::end(escapes)) {
                text += escape->meant;
                ++place;
            } else {
                text += character;
            }
        }
        FailSyntax("a string does not end");
    }

    // What stands between two marks: three numbers, of which `separators` hold what parts them.
    std::array<long, 3> TakeThreeNumbers(char mark, std::string_view separators) {
        const size_t end = rest.find(mark, 1);
        if (end == std::string_view::npos) {
            FailSyntax("a date or time does not end");
        }
        const char* place = rest.data() + 1;
        const char* const last = rest.data() + end;
        std::array<long, 3> numbers{};
        for (size_t index = 0; index < numbers.size(); ++index) {
            if (index > 0 && (place == last || separators.find(*place++) == std::string::npos)) {
                FailSyntax("a date or time has too few parts");
            }
            const auto parsed = std::from_chars(place, last, numbers.at(index));
            if (parsed.ec != std::errc() || numbers.at(index) < 0 || numbers.at(index) > 9999) {
                FailSyntax("a date or time has a part that is no number");
            }
            place = parsed.ptr;
        }
        if (place != last) {
            FailSyntax("a date or time has too many parts");
        }
        rest.remove_prefix(end + 1);
        return numbers;
    }

    // !month/day/year! or !year-month-day!
    void TakeDate() {
        const bool yearFirst = rest.substr(0, 6).find('-') == 5;
        const auto [a, b, c] = TakeThreeNumbers('!', "/-");
        const long day = yearFirst ? c : b;
        const long month = yearFirst ? b : a;
        const long year = yearFirst ? a : c;
        if (!IsDate(year, month, day)) {
            FailSyntax("there is no such date");
        }
        Add(TokenKind::Date, static_cast<unsigned long>(day), static_cast<unsigned long>(month),
            static_cast<unsigned long>(year));
    }

    void TakeTime() {
        const auto [hours, minutes, seconds] = TakeThreeNumbers('?', ":");
        if (minutes > 59 || seconds > 59) {
            FailSyntax("there is no such time");
        }
        Add(TokenKind::Time, static_cast<unsigned long>(hours * 3600 + minutes * 60 + seconds));
    }

    // [Table] or [Table]Field
    void TakeTable() {
        const size_t end = rest.find(']');
        if (end == std::string_view::npos) {
            FailSyntax("the name of a table does not end");
        }
        const std::string name(rest.substr(1, end - 1));
        rest.remove_prefix(end + 1);
        const short table = host.database.FindTable(name);
        if (table == 0) {
            FailUnknown("table [" + name + "]");
        }
        if (rest.empty() || !BeginsName(rest.front())) {
            return Add(TokenKind::Table, static_cast<unsigned short>(table));
        }
        const std::string fieldName(rest.substr(0, NameLength(rest)));
        rest.remove_prefix(fieldName.size());
        const short field = host.database.FindField(table, fieldName);
        if (field == 0) {
            FailUnknown("field [" + name + "]" + fieldName);
        }
        Add(TokenKind::Field, static_cast<unsigned short>(table),
            static_cast<unsigned short>(field));
    }

    void TakeVariable(TokenKind kind, size_t prefix) {
        rest.remove_prefix(prefix);
        const size_t length = NameLength(rest);
        if (length > longestLanguageName) {
            FailSyntax("a name is longer than 31 characters");
        }
        tokens.push_back({.kind = kind, .text = std::string(rest.substr(0, length))});
        rest.remove_prefix(length);
    }

    // A command when one has this name, else a variable or a method.
    void TakeName() {
        const std::string folded = FoldCase(rest.substr(0, longestLanguageName));
        long number = 0;
        size_t longest = 0;
        for (const auto& [candidate, name] : commands) {
            const bool matches = name.size() > longest && folded.starts_with(name) &&
                                 NameLength(rest.substr(name.size())) == 0;
            if (matches) {
                number = candidate;
                longest = name.size();
            }
        }
        if (longest == 0) {
            return TakeVariable(TokenKind::Name, 0);
        }
        Add(TokenKind::Command, static_cast<unsigned long>(number));
        rest.remove_prefix(longest);
    }

    void TakeOperator() {
        auto longest = Operator{};
        size_t length = 0;
        for (auto code = static_cast<unsigned char>(Operator::Add);
             code <= static_cast<unsigned char>(Operator::Assign); ++code) {
            const auto operation = static_cast<Operator>(code);
            const std::string_view text = OperatorText(operation);
            if (text.size() > length && rest.starts_with(text)) {
                longest = operation;
                length = text.size();
            }
        }
        if (length == 0) {
            FailSyntax("the character " + std::to_string(static_cast<unsigned char>(rest[0])) +
                       " does not belong here");
        }
        Add(TokenKind::Operator, static_cast<unsigned char>(longest));
        rest.remove_prefix(length);
    }

    const Host& host;
    std::string_view rest;
    std::vector<Token> tokens;
    std::vector<std::pair<long, std::string>> commands; ///< by number, with their folded names
};

std::string QuotedText(std::string_view text) {
    std::string quoted = "\"";
    for (const char character : text) {
        const auto* escape = std::ranges::find(escapes, character, &Escape::meant);
        if (escape != std::end(escapes)) {
            quoted += '\\';
            quoted += escape->written;
        } else {
            quoted += character;
        }
    }
    return quoted + "\"";
}

std::string RealText(double number) {
    char text[64];
    char* const end = std::to_chars(text, text + sizeof text, number).ptr;
    const std::string written(text, end);
    // A whole number stays a real when it is read again.
    return written.find_first_not_of("0123456789-") == std::string::npos ? written + ".0" : written;
}

std::string DateText(const Token& date) {
    char text[32];
    std::snprintf(text, sizeof text, "!%02d/%02d/%04d!", date.Short(1), date.Short(0),
                  date.Short(2));
    return text;
}

std::string TimeText(long seconds) {
    char text[64];
    std::snprintf(text, sizeof text, "?%02ld:%02ld:%02ld?", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    return text;
}

std::string TableText(const Host& host, short number) {
    const DatabaseTable* table = host.database.Table(number);
    if (table == nullptr) {
        FailUnknown("table " + std::to_string(number));
    }
    return "[" + table->name + "]";
}

std::string FieldText(const Host& host, short table, short number) {
    const DatabaseField* field = host.database.Field(table, number);
    if (field == nullptr) {
        FailUnknown("field " + std::to_string(number) + " of table " + std::to_string(table));
    }
    return TableText(host, table) + field->name;
}

std::string CommandText(const Host& host, long number) {
    std::string name(host.language.CommandName(number));
    if (name.empty()) {
        FailUnknown("command " + std::to_string(number));
    }
    return name;
}

std::string TokenText(const Host& host, const Token& token) {
    switch (token.kind) {
    case TokenKind::Line:
        return "\r";
    case TokenKind::Operator:
        return std::string(OperatorText(static_cast<Operator>(token.numbers[0])));
    case TokenKind::Long:
        return std::to_string(token.Long());
    case TokenKind::Real:
        return RealText(token.Real());
    case TokenKind::Text:
        return QuotedText(token.text);
    case TokenKind::Date:
        return DateText(token);
    case TokenKind::Time:
        return TimeText(token.Long());
    case TokenKind::Command:
        return CommandText(host, token.Long());
    case TokenKind::Name:
        return token.text;
    case TokenKind::Interprocess:
        return "<>" + token.text;
    case TokenKind::Local:
        return "$" + token.text;
    case TokenKind::Table:
        return TableText(host, token.Short(0));
    case TokenKind::Field:
        return FieldText(host, token.Short(0), token.Short(1));
    }
    return {};
}
} // namespace

std::vector<Token> TokensOfText(const Host& host, std::string_view text) {
    return Lexer(host, text).TakeAll();
}

std::string TextOfTokens(const Host& host, const std::vector<Token>& tokens) {
    std::string text;
    for (const Token& token : tokens) {
        text += TokenText(host, token);
    }
    return text;
}
