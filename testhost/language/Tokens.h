#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

// Compiled text. A token stream is
//
//     4 bytes   "NTOK"
//     1 byte    version: 1
//     1 byte    byte order of all numbers: 0 little-endian, the host's own; 1 big-endian
//     4 bytes   how many bytes follow
//
// and then the tokens: one byte that tells the kind, the numbers and the text of that kind. A text
// is a 32-bit length and its bytes. Commands, tables and fields are kept by number, so that tokens
// outlive a change of names.

enum class TokenKind : unsigned char {
    Line = 1,     ///< a line ends
    Operator,     ///< 8-bit Operator
    Long,         ///< 32 bits
    Real,         ///< the 64 bits of a double
    Text,         ///< text
    Date,         ///< day, month, year: 16 bits each
    Time,         ///< 32-bit seconds
    Command,      ///< 16-bit number
    Name,         ///< text: a process variable or a method
    Interprocess, ///< text: an interprocess variable, without its prefix
    Local,        ///< text: a local variable of a method, without its prefix
    Table,        ///< 16-bit number
    Field,        ///< table and field: 16 bits each
};

enum class Operator : unsigned char {
    Add = 1,
    Subtract,
    Multiply,
    Divide,
    Equal,
    NotEqual,
    Less,
    LessOrEqual,
    Greater,
    GreaterOrEqual,
    Open,
    Close,
    Separate,
    Assign,
};

/// How an operator is written.
std::string_view OperatorText(Operator operation);

struct Token {
    TokenKind kind;
    std::array<unsigned long long, 3> numbers = {}; ///< as many as the kind has, else 0
    std::string text = {};

    bool Is(Operator operation) const {
        return kind == TokenKind::Operator &&
               numbers[0] == static_cast<unsigned long long>(operation);
    }
    /// A number of 32 or 16 bits with its sign; the number of a real.
    long Long() const { return static_cast<long>(numbers[0]); }
    short Short(size_t place) const { return static_cast<short>(numbers.at(place)); }
    double Real() const;
    bool operator==(const Token&) const = default;
};

enum class ByteOrder : unsigned char { Little, Big };

/// The token stream of these tokens.
std::string EncodeTokens(const std::vector<Token>& tokens, ByteOrder order = ByteOrder::Little);
/// The tokens of a stream in either order, which is stored. Reads nothing outside `bytes`; throws
/// LanguageFailure when anything about the stream is wrong.
std::vector<Token> DecodeTokens(std::string_view bytes, ByteOrder& order);
/// The same for a stream that is to be executed: in the host's own order.
std::vector<Token> DecodeTokens(std::string_view bytes);
/// The same stream, as long as before, in the other order.
std::string SwapTokens(std::string_view bytes);
