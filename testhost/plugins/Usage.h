#pragma once

#include "testhost/values/TypedValue.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// What is wrong with a usage, and where, as a phrase: "expected a kind at 'lnog' (character 2)".
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What a command takes and answers, as its plug-in declares it.
struct Usage {
    struct Parameter {
        ValueKind kind;
        bool changes;                       ///< the command may change it
        std::string words;                  ///< for people; may be empty
        ValueKind target = ValueKind::None; ///< of a pointer: none when the usage does not say
    };

    std::vector<Parameter> parameters;
    ValueKind result = ValueKind::None;
    bool isArea = false; ///< the handler of an external area

    /// Reads "(text; &long count) -> long": in parentheses the parameters, with semicolons between
    /// them, each a kind of the session language behind an & when the command may change it; then
    /// the kind of the result, if there is one. Behind each kind may stand words, behind "pointer"
    /// first the kind of what it leads to. "area" and words
    /// stands for "(&event; &rect; string; &long)". An empty text declares nothing. Throws
    /// UsageError.
    static std::optional<Usage> Parse(std::string_view text);
};
