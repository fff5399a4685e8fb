#include "testhost/language/Tokens.h"

#include "testhost/language/Failure.h"

#include <algorithm>
#include <bit>
#include <iterator>

namespace {
constexpr std::string_view magic = "NTOK";
constexpr unsigned char version = 1;
constexpr size_t headerSize = 10;

struct Layout {
    TokenKind kind;
    std::array<unsigned char, 3> widths; ///< bytes of each number; 0 ends them
    bool hasText;
};

constexpr Layout layouts[] = {
    {TokenKind::Line, {}, false},      {TokenKind::Operator, {1}, false},
    {TokenKind::Long, {4}, false},     {TokenKind::Real, {8}, false},
    {TokenKind::Text, {}, true},       {TokenKind::Date, {2, 2, 2}, false},
    {TokenKind::Time, {4}, false},     {TokenKind::Command, {2}, false},
    {TokenKind::Name, {}, true},       {TokenKind::Interprocess, {}, true},
    {TokenKind::Local, {}, true},      {TokenKind::Table, {2}, false},
    {TokenKind::Field, {2, 2}, false},
};

// In the order of Operator.
constexpr std::string_view operatorTexts[] = {"+",  "-", "*",  "/", "=", "#", "<",
                                              "<=", ">", ">=", "(", ")", ";", ":="};
static_assert(std::size(operatorTexts) == static_cast<size_t>(Operator::Assign));

[[noreturn]] void FailMalformed(const std::string& reason) {
    throw LanguageFailure(LanguageError::MalformedTokens, "malformed tokens: " + reason);
}

const Layout& LayoutOf(unsigned char kind) {
    for (const Layout& layout : layouts) {
        if (static_cast<unsigned char>(layout.kind) == kind) {
            return layout;
        }
    }
    FailMalformed("there is no token of the kind " + std::to_string(kind));
}

void PutNumber(std::string& bytes, unsigned long long number, size_t width, ByteOrder order) {
    for (size_t place = 0; place < width; ++place) {
        const size_t shift = 8 * (order == ByteOrder::Little ? place : width - 1 - place);
        bytes += static_cast<char>(number >> shift & 0xFF);
    }
}

// Takes numbers and texts off the front of a stream.
class Reader {
  public:
    explicit Reader(std::string_view stream) : rest(stream) {}

    bool AtEnd() const { return rest.empty(); }
    void SetOrder(ByteOrder newOrder) { order = newOrder; }

    std::string_view TakeBytes(unsigned long long count) {
        if (count > rest.size()) {
            FailMalformed("they end too early");
        }
        const std::string_view taken = rest.substr(0, static_cast<size_t>(count));
        rest.remove_prefix(taken.size());
        return taken;
    }

    unsigned long long TakeNumber(size_t width) {
        const std::string_view bytes = TakeBytes(width);
        unsigned long long number = 0;
        for (size_t place = 0; place < width; ++place) {
            const size_t next = order == ByteOrder::Big ? place : width - 1 - place;
            number = number << 8 | static_cast<unsigned char>(bytes[next]);
        }
        return number;
    }

  private:
    std::string_view rest;
    ByteOrder order = ByteOrder::Little;
};

Token TakeToken(Reader& reader) {
    const Layout& layout = LayoutOf(static_cast<unsigned char>(reader.TakeNumber(1)));
    Token token{.kind = layout.kind};
    for (size_t place = 0; place < layout.widths.size() && layout.widths.at(place) != 0; ++place) {
        token.numbers.at(place) = reader.TakeNumber(layout.widths.at(place));
    }
    if (layout.hasText) {
        token.text = reader.TakeBytes(reader.TakeNumber(4));
    }
    if (token.kind == TokenKind::Operator &&
        (token.numbers[0] < 1 || token.numbers[0] > std::size(operatorTexts))) {
        FailMalformed("there is no operator " + std::to_string(token.numbers[0]));
    }
    return token;
}
} // namespace

std::string_view OperatorText(Operator operation) {
    return operatorTexts[static_cast<size_t>(operation) - 1];
}

double Token::Real() const {
    return std::bit_cast<double>(numbers[0]);
}

std::string EncodeTokens(const std::vector<Token>& tokens, ByteOrder order) {
    std::string body;
    for (const Token& token : tokens) {
        const Layout& layout = LayoutOf(static_cast<unsigned char>(token.kind));
        body += static_cast<char>(token.kind);
        for (size_t place = 0; place < layout.widths.size(); ++place) {
            PutNumber(body, token.numbers.at(place), layout.widths.at(place), order);
        }
        if (layout.hasText) {
            PutNumber(body, token.text.size(), 4, order);
            body += token.text;
        }
    }
    std::string stream(magic);
    stream += static_cast<char>(version);
    stream += static_cast<char>(order);
    PutNumber(stream, body.size(), 4, order);
    return stream + body;
}

std::vector<Token> DecodeTokens(std::string_view bytes, ByteOrder& order) {
    Reader reader(bytes);
    if (bytes.size() < headerSize || reader.TakeBytes(magic.size()) != magic) {
        FailMalformed("they do not begin as tokens do");
    }
    if (reader.TakeNumber(1) != version) {
        FailMalformed("they are of another version");
    }
    const unsigned long long orderByte = reader.TakeNumber(1);
    if (orderByte > static_cast<unsigned char>(ByteOrder::Big)) {
        FailMalformed("they have no byte order");
    }
    order = static_cast<ByteOrder>(orderByte);
    reader.SetOrder(order);
    if (reader.TakeNumber(4) != bytes.size() - headerSize) {
        FailMalformed("they are longer or shorter than they say");
    }
    std::vector<Token> tokens;
    while (!reader.AtEnd()) {
        tokens.push_back(TakeToken(reader));
    }
    return tokens;
}

std::vector<Token> DecodeTokens(std::string_view bytes) {
    ByteOrder order{};
    std::vector<Token> tokens = DecodeTokens(bytes, order);
    if (order != ByteOrder::Little) {
        FailMalformed("they are in the other byte order");
    }
    return tokens;
}

std::string SwapTokens(std::string_view bytes) {
    ByteOrder order{};
    const std::vector<Token> tokens = DecodeTokens(bytes, order);
    return EncodeTokens(tokens, order == ByteOrder::Little ? ByteOrder::Big : ByteOrder::Little);
}
