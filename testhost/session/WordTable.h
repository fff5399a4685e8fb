#pragma once

#include "testhost/session/Words.h"

#include <algorithm>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

/// A row of a table of words: how the word goes on, what that does, and what reads the rest of the
/// line. To add a statement to a script, or a line to a resource text, is to add a row.
template <typename Reader>
struct WordRow {
    std::string_view word;
    std::string_view usage;
    std::string_view help;                 ///< of a word without one only its choices are explained
    Reader* read;                          ///< null: one of the choices comes next
    std::span<const WordRow> choices = {}; ///< explained beneath it
};

/// Takes the word of one of these rows; null, with nothing taken, when none comes next.
template <typename Row>
const Row* TakeRow(std::span<const Row> rows, Words& words) {
    const auto found =
        std::ranges::find_if(rows, [&](const Row& row) { return words.TakeIf(row.word); });
    return found != rows.end() ? &*found : nullptr;
}

/// Prints what is written, and in a second column what it does.
void PrintHelpLine(std::ostream& out, std::size_t indent, std::string text, std::string_view help);

/// Explains rows and their choices; `before` are the words in front of theirs.
template <typename Row>
void PrintRows(std::ostream& out, std::size_t indent, std::span<const Row> rows,
               const std::string& before = {}) {
    for (const Row& row : rows) {
        const std::string words = before + std::string(row.word) + " ";
        if (!row.help.empty()) {
            PrintHelpLine(out, indent, words + std::string(row.usage), row.help);
        }
        PrintRows<Row>(out, indent + (row.help.empty() ? 0 : 2), row.choices, words);
    }
}
