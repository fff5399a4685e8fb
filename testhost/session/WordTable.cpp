#include "testhost/session/WordTable.h"

void PrintHelpLine(std::ostream& out, size_t indent, std::string text, std::string_view help) {
    constexpr size_t column = 50;
    text.insert(0, indent, ' ');
    if (!help.empty()) {
        text += text.size() + 2 > column ? "\n" + std::string(column, ' ')
                                         : std::string(column - text.size(), ' ');
    }
    out << text << help << "\n";
}
