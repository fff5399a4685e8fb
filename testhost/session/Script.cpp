#include "testhost/session/Script.h"

#include "testhost/session/Variables.h"

#include <algorithm>

namespace {
// The action of a line's words; nothing for an empty line.
std::function<void(Player&)> ParseLine(Words words) {
    if (words.AtEnd()) {
        return {};
    }
    std::string first = words.TakeWord("a statement");
    const StatementKind* kind = FindStatementKind(first);
    if (kind == nullptr) {
        throw ScriptError("unknown statement '" + first + "'");
    }
    std::function<void(Player&)> play = kind->parse(words);
    words.ExpectEnd();
    return play;
}
} // namespace

void Statement::Play(Player& player) const {
    Words words(text, [&](std::string_view name) { return FindVariable(name).value(player); });
    ParseLine(std::move(words))(player);
}

Script ParseScript(std::string_view text, std::string name) {
    Script script{.name = std::move(name), .statements = {}, .errors = {}};
    size_t line = 0;
    while (!text.empty()) {
        size_t end = std::min(text.find('\n'), text.size());
        std::string_view content = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        ++line;
        try {
            // Checked as if they stood for nothing: what they stand for may be too long only later.
            Words words(content, [](std::string_view variable) {
                FindVariable(variable);
                return std::wstring();
            });
            if (ParseLine(std::move(words))) {
                script.statements.push_back({line, std::string(content)});
            }
        } catch (const ScriptError& error) {
            script.errors.push_back(script.name + ":" + std::to_string(line) + ": " + error.what());
        }
    }
    return script;
}
