#include "testhost/plugins/Usage.h"

#include "testhost/plugins/Arguments.h"

#include <algorithm>
#include <iterator>

namespace {
constexpr std::string_view blanks = " \t";
constexpr std::string_view notInWord = " \t;()&";

class Reader {
  public:
    explicit Reader(std::string_view itsText) : text(itsText) {}

    bool AtEnd() {
        place = std::min(text.find_first_not_of(blanks, place), text.size());
        return place == text.size();
    }

    bool TakeIf(std::string_view sign) {
        if (AtEnd() || !text.substr(place).starts_with(sign)) {
            return false;
        }
        place += sign.size();
        return true;
    }

    /// "array long" is one kind.
    ValueKind TakeKind() {
        AtEnd();
        const size_t first = place;
        std::string name = TakeWord();
        if (name == "array") {
            name += " " + TakeWord();
        }
        ValueKind kind = ValueKind::None;
        if (!FindKind(name, kind)) {
            place = first;
            Fail("expected a kind");
        }
        return kind;
    }

    /// A parameter's words for people. A "&" or "->" among them stands where a sign was forgotten.
    std::string TakeWords() {
        AtEnd();
        const size_t end = std::min(text.find_first_of(";()&>", place), text.size());
        std::string words(text.substr(place, end - place));
        place = end;
        words.erase(words.find_last_not_of(blanks) + 1);
        return words;
    }

    std::string TakeWord() {
        AtEnd();
        const size_t end = std::min(text.find_first_of(notInWord, place), text.size());
        std::string word(text.substr(place, end - place));
        place = end;
        return word;
    }

    // Whether the next word is a kind's, or begins one's.
    bool HasKind() {
        const std::string word = TakeWord();
        ValueKind kind = ValueKind::None;
        return word == "array" || FindKind(word, kind);
    }

    [[noreturn]] void Fail(const std::string& what) {
        if (AtEnd()) {
            throw UsageError(what + " at the end");
        }
        const size_t first = place;
        std::string found = TakeWord().substr(0, 31);
        if (found.empty()) {
            found = text[first];
        }
        throw UsageError(what + " at '" + found + "' (character " + std::to_string(first + 1) +
                         ")");
    }

  private:
    std::string_view text;
    size_t place = 0;
};

Usage::Parameter TakeParameter(Reader& reader) {
    const bool changes = reader.TakeIf("&");
    Reader before = reader;
    const ValueKind kind = reader.TakeKind();
    if (!Arguments::Accepts(kind)) {
        before.Fail("expected a kind that a parameter can have");
    }
    ValueKind target = ValueKind::None;
    if (Reader ahead = reader; kind == ValueKind::Pointer && ahead.HasKind()) {
        target = reader.TakeKind();
    }
    return {kind, changes, reader.TakeWords(), target};
}

ValueKind TakeResult(Reader& reader) {
    Reader before = reader;
    const ValueKind kind = reader.TakeKind();
    if (!ResultCell::Accepts(kind)) {
        before.Fail("expected a kind that a result can have");
    }
    return kind;
}

Usage AreaUsage() {
    return {.parameters = {{ValueKind::Event, true, "event"},
                           {ValueKind::Rect, true, "rectangle"},
                           {ValueKind::String, false, "name"},
                           {ValueKind::Long, true, "kept"}},
            .isArea = true};
}
} // namespace

std::optional<Usage> Usage::Parse(std::string_view text) {
    const auto isControl = [](char character) {
        return character != '\t' && static_cast<unsigned char>(character) < ' ';
    };
    if (const auto place = std::ranges::find_if(text, isControl) - text.begin();
        place < std::ssize(text)) {
        throw UsageError("character " + std::to_string(place + 1) + " is a control character");
    }
    Reader reader(text);
    if (reader.AtEnd()) {
        return std::nullopt;
    }
    if (Reader word = reader; word.TakeWord() == "area") {
        return AreaUsage();
    }
    if (!reader.TakeIf("(")) {
        reader.Fail("expected '(' or 'area'");
    }
    Usage usage;
    if (!reader.TakeIf(")")) {
        do {
            usage.parameters.push_back(TakeParameter(reader));
        } while (reader.TakeIf(";"));
        if (!reader.TakeIf(")")) {
            reader.Fail("expected ';' or ')'");
        }
    }
    if (reader.TakeIf("->")) {
        usage.result = TakeResult(reader);
    } else if (!reader.AtEnd()) {
        reader.Fail("expected '->' or the end");
    }
    return usage;
}
