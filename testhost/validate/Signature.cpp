#include "testhost/validate/Signature.h"

#include <algorithm>
#include <cctype>

namespace {
bool IsDigit(char character) {
    return std::isxdigit(static_cast<unsigned char>(character)) != 0;
}

bool IsWord(char character) {
    return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

// Whether all of a word may be a number, decimal or hexadecimal, or a byte.
bool IsNumber(std::string_view word) {
    const bool isByte =
        word.size() == 2 && word.find_first_not_of("0123456789ABCDEF") == std::string_view::npos;
    if (isByte) {
        return true;
    }
    if (word.starts_with("0x")) {
        return true;
    }
    return !word.empty() && std::ranges::all_of(word, IsDigit) &&
           std::ranges::any_of(word, [](char character) {
               return std::isdigit(static_cast<unsigned char>(character)) != 0;
           });
}

// Where a text in quotation marks ends that begins at `at`; npos when it was cut off.
size_t EndOfText(std::string_view sentence, size_t at) {
    for (++at; at < sentence.size(); ++at) {
        if (sentence[at] == '"') {
            return at + 1;
        }
        at += sentence[at] == '\\' ? 1 : 0;
    }
    return std::string_view::npos;
}

// The same for a parenthesis, in which there may be texts and others.
size_t EndOfParenthesis(std::string_view sentence, size_t at) {
    size_t depth = 0;
    while (at < sentence.size()) {
        const char character = sentence[at];
        at = character == '"' ? EndOfText(sentence, at) : at + 1;
        depth += character == '(' ? 1 : 0;
        depth -= character == ')' ? 1 : 0;
        if (depth == 0) {
            return at;
        }
    }
    return std::string_view::npos;
}

// Where the values end that stand in a parenthesis or text: one session has them, the next others.
// What was cut off ends with dots.
size_t EndOfValues(std::string_view sentence, size_t at) {
    const size_t end =
        sentence[at] == '"' ? EndOfText(sentence, at) : EndOfParenthesis(sentence, at);
    if (end != std::string_view::npos) {
        return end;
    }
    constexpr std::string_view dots = "... ";
    const size_t cut = sentence.find(dots, at);
    return cut != std::string_view::npos ? cut + dots.size() - 1 : sentence.size();
}

// One of something and many of them are alike.
std::string_view Singular(std::string_view word, bool isCounted) {
    if (word == "are" || word == "were") {
        return word == "are" ? "is" : "was";
    }
    return isCounted && word.ends_with('s') ? word.substr(0, word.size() - 1) : word;
}
} // namespace

std::string SignatureOf(std::string_view sentence) {
    // Where it was stopped is a matter of chance.
    sentence = sentence.substr(0, sentence.find("; the plug-in was at "));
    std::string signature;
    for (size_t at = 0; at < sentence.size();) {
        if (sentence[at] == '"' || sentence[at] == '(') {
            signature += sentence[at];
            at = EndOfValues(sentence, at);
            continue;
        }
        size_t wordEnd = at;
        while (wordEnd < sentence.size() && IsWord(sentence[wordEnd])) {
            ++wordEnd;
        }
        const std::string_view word = sentence.substr(at, std::max<size_t>(wordEnd - at, 1));
        const bool isCommand = signature.ends_with("ommand ");
        if (!isCommand && IsNumber(word)) {
            const size_t end = signature.find_last_not_of(" -.");
            if (end == std::string::npos || signature[end] != '#') { // of many only one
                signature += '#';
            }
        } else if (word != "-") { // which may stand before a number
            signature += Singular(word, signature.ends_with("# "));
        }
        at += word.size();
    }
    return signature;
}
