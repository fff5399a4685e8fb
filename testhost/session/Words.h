#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// What is wrong with a line of a script or with the command line, as a phrase for its author.
class ScriptError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The character that an escape stands for: from behind the backslash to behind the escape.
/// Throws ScriptError for an unknown one.
char TakeEscape(std::string_view line, size_t& place);

/// The words and quoted strings of one line of a script, taken one after another. Everything
/// that takes throws ScriptError when something else stands there; `what` names what should.
class Words {
  public:
    /// Answers what a variable in a string stands for.
    using Lookup = std::function<std::wstring(std::string_view name)>;

    /// Splits a line: words, strings in quotation marks (escapes \" \\ \n \r \t \xNN, variables
    /// ${name}), and a comment from # on. Throws ScriptError for a string that is wrong or does not
    /// end. Without a lookup, ${ in a string is nothing special.
    explicit Words(std::string_view line, const Lookup& lookup = {});

    bool AtEnd() const { return next == words.size(); }
    /// Whether a quoted string, or a number, comes next.
    bool IsString() const { return !AtEnd() && words[next].quoted; }
    bool IsNumber() const;

    std::string TakeWord(std::string_view what);
    /// A string's bytes, as a plug-in gets them: its variables are in the ANSI code page. Throws
    /// std::runtime_error when that cannot hold what one stands for.
    std::string TakeString(std::string_view what);
    /// The same string as a text for Windows: a path, or what is printed. What stands between its
    /// variables is UTF-8, or else ANSI.
    std::wstring TakeWideString(std::string_view what);
    /// A decimal number, or a hexadecimal one with 0x (which may use all 32 bits).
    long TakeNumber(std::string_view what, long lowest = -0x7FFFFFFF - 1,
                    long highest = 0x7FFFFFFF);
    double TakeReal(std::string_view what);
    bool TakeOnOff();
    /// Takes the next word if it is this one.
    bool TakeIf(std::string_view word);
    /// Takes this word, which has to be there.
    void Take(std::string_view word);
    void ExpectEnd() const;

    /// Counts what a line stands for and does not have itself: so often so many bytes. Throws
    /// ScriptError when all of it together would take too much memory.
    void CountRepeated(size_t count, size_t size);

    /// Which word is next, and how many bytes were repeated before it.
    struct Place {
        size_t next;
        size_t repeated;
    };
    /// For going back to it.
    Place Here() const { return {next, repeated}; }
    void GoBackTo(Place place) {
        next = place.next;
        repeated = place.repeated;
    }

  private:
    struct Word {
        std::string text; ///< of a string: as far as the ANSI code page holds its variables
        bool quoted = false;
        // Of a string:
        std::wstring wide = {};                   ///< the same for Windows
        std::vector<std::wstring> variables = {}; ///< what each stands for
    };

    static Word TakeQuoted(std::string_view line, size_t& place, const Lookup& lookup);
    [[noreturn]] void Missing(std::string_view what) const;
    const Word& TakeStringWord(std::string_view what);

    std::vector<Word> words;
    size_t next = 0;
    size_t repeated = 0; ///< bytes
};
