#include "testhost/app/Script.h"

#include <algorithm>

Script ParseScript(std::string_view text, std::string name) {
    Script script{.name = std::move(name), .statements = {}, .errors = {}};
    size_t line = 0;
    while (!text.empty()) {
        size_t end = std::min(text.find('\n'), text.size());
        std::string_view content = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        ++line;
        try {
            Words words(content);
            if (words.AtEnd()) {
                continue;
            }
            std::string first = words.TakeWord("a statement");
            const StatementKind* kind = FindStatementKind(first);
            if (kind == nullptr) {
                throw ScriptError("unknown statement '" + first + "'");
            }
            std::function<void(Player&)> play = kind->parse(words);
            words.ExpectEnd();
            script.statements.push_back({line, std::move(play)});
        } catch (const ScriptError& error) {
            script.errors.push_back(script.name + ":" + std::to_string(line) + ": " + error.what());
        }
    }
    return script;
}
