#include "testhost/session/Words.h"

#include "testhost/values/Encodings.h"
#include "testhost/values/TypedValue.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace {
bool IsBlank(char character) {
    return character == ' ' || character == '\t' || character == '\r';
}

} // namespace

char TakeEscape(std::string_view line, size_t& place) {
    char kind = place < line.size() ? line[place++] : '\0';
    switch (kind) {
    case '"':
    case '\\':
        return kind;
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    case 'x': {
        unsigned value = 0;
        const char* digits = line.data() + place;
        const char* end = digits + std::min<size_t>(2, line.size() - place);
        if (std::from_chars(digits, end, value, 16).ptr == digits + 2) {
            place += 2;
            return static_cast<char>(value);
        }
        throw ScriptError("two hexadecimal digits must follow \\x");
    }
    default:
        throw ScriptError(R"(unknown escape in a string: use \" \\ \n \r \t or \xNN)");
    }
}

namespace {
// From behind "${" to behind the brace that closes it.
std::wstring TakeVariable(std::string_view line, size_t& place, const Words::Lookup& lookup) {
    size_t end = line.find('}', place);
    if (end == std::string_view::npos) {
        throw ScriptError("a variable in a string does not end: write it as ${name}");
    }
    std::string_view name = line.substr(place, end - place);
    place = end + 1;
    return lookup(name);
}

std::optional<long long> ParseNumber(std::string_view text) {
    bool negative = text.starts_with('-');
    std::string_view digits = text.substr(negative ? 1 : 0);
    int base = 10;
    if (digits.starts_with("0x") || digits.starts_with("0X")) {
        digits.remove_prefix(2);
        base = 16;
    }
    unsigned long value = 0;
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value, base);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
        return std::nullopt;
    }
    if (base == 16 && !negative) {
        return static_cast<long>(value); // 0xFFFFFFFF is -1: hexadecimal stands for 32 bits
    }
    auto number = static_cast<long long>(value);
    return negative ? -number : number;
}
} // namespace

Words::Words(std::string_view line, const Lookup& lookup) {
    size_t place = 0;
    while (place < line.size() && line[place] != '#') {
        if (IsBlank(line[place])) {
            ++place;
        } else if (line[place] == '"') {
            words.push_back(TakeQuoted(line, ++place, lookup));
        } else {
            size_t start = place;
            while (place < line.size() && !IsBlank(line[place]) && line[place] != '"' &&
                   line[place] != '#') {
                ++place;
            }
            words.push_back({.text = std::string(line.substr(start, place - start))});
        }
    }
}

// From behind the opening quotation mark to behind the closing one.
Words::Word Words::TakeQuoted(std::string_view line, size_t& place, const Lookup& lookup) {
    Word word{.text = {}, .quoted = true};
    std::string literal; // what was read since the last variable
    const auto endLiteral = [&] {
        word.text += literal;
        word.wide += FromEither(literal);
        literal.clear();
    };
    while (place < line.size()) {
        char character = line[place++];
        if (character == '"') {
            endLiteral();
            return word;
        }
        if (character == '$' && lookup && line.substr(place).starts_with('{')) {
            endLiteral();
            word.variables.push_back(TakeVariable(line, ++place, lookup));
            word.text += NearestAnsi(word.variables.back());
            word.wide += word.variables.back();
            continue;
        }
        literal += character == '\\' ? TakeEscape(line, place) : character;
    }
    throw ScriptError("a string does not end");
}

void Words::Missing(std::string_view what) const {
    std::string found = "the end of the line";
    if (!AtEnd()) {
        found = words[next].quoted ? Quoted(words[next].text) : "'" + words[next].text + "'";
    }
    throw ScriptError("expected " + std::string(what) + ", found " + found);
}

bool Words::IsNumber() const {
    return !AtEnd() && !words[next].quoted && ParseNumber(words[next].text).has_value();
}

std::string Words::TakeWord(std::string_view what) {
    if (AtEnd() || words[next].quoted) {
        Missing(what);
    }
    return words[next++].text;
}

const Words::Word& Words::TakeStringWord(std::string_view what) {
    if (!IsString()) {
        Missing(std::string(what) + " in quotation marks");
    }
    return words[next++];
}

std::string Words::TakeString(std::string_view what) {
    const Word& word = TakeStringWord(what);
    std::ranges::for_each(word.variables, Ansi); // throws for what its text cannot hold
    return word.text;
}

std::wstring Words::TakeWideString(std::string_view what) {
    return TakeStringWord(what).wide;
}

long Words::TakeNumber(std::string_view what, long lowest, long highest) {
    if (!IsNumber()) {
        Missing(what);
    }
    long long number = *ParseNumber(words[next].text);
    if (number < lowest || number > highest) {
        Missing(std::string(what) + " from " + std::to_string(lowest) + " to " +
                std::to_string(highest));
    }
    ++next;
    return static_cast<long>(number);
}

double Words::TakeReal(std::string_view what) {
    double number = 0;
    if (!AtEnd() && !words[next].quoted) {
        const std::string& text = words[next].text;
        const char* end = text.data() + text.size();
        auto parsed = std::from_chars(text.data(), end, number);
        if (parsed.ec == std::errc() && parsed.ptr == end) {
            ++next;
            return number;
        }
    }
    Missing(what);
}

bool Words::TakeOnOff() {
    if (TakeIf("on")) {
        return true;
    }
    if (!TakeIf("off")) {
        Missing("'on' or 'off'");
    }
    return false;
}

bool Words::TakeIf(std::string_view word) {
    if (AtEnd() || words[next].quoted || words[next].text != word) {
        return false;
    }
    ++next;
    return true;
}

void Words::Take(std::string_view word) {
    if (!TakeIf(word)) {
        Missing("'" + std::string(word) + "'");
    }
}

void Words::CountRepeated(size_t count, size_t size) {
    constexpr size_t mostBytes = 16 * 1024 * 1024;
    if (size != 0 && count > (mostBytes - repeated) / size) {
        throw ScriptError("what is repeated has more than 16 MB in the end");
    }
    repeated += count * size;
}

void Words::ExpectEnd() const {
    if (!AtEnd()) {
        Missing("the end of the line");
    }
}
