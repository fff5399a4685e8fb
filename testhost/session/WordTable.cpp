#include "testhost/session/WordTable.h"

void PrintHelpLine(std::ostream& out, size_t indent, std::string text, std::string_view help) {
    constexpr size_t column = 50;
    text.insert(0, indent, ' ');
    if (!help.empty()) {
        text.resize(std::max(text.size() + 2, column), ' ');
    }
    out << text << help << "\n";
}
