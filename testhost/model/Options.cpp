#include "testhost/model/Options.h"

#include <cctype>

namespace {
bool TakeNumber(std::string_view& text, size_t maxDigits, unsigned& number) {
    size_t digits = 0;
    number = 0;
    while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits])) != 0) {
        number = number * 10 + static_cast<unsigned>(text[digits] - '0');
        if (++digits > maxDigits) {
            return false;
        }
    }
    text.remove_prefix(digits);
    return digits > 0;
}
} // namespace

std::optional<unsigned short> ParseHostVersion(std::string_view text) {
    unsigned major = 0;
    unsigned minor = 0;
    unsigned fix = 0;
    auto takePart = [&text](unsigned& part) {
        if (text.empty() || text.front() != '.') {
            return false;
        }
        text.remove_prefix(1);
        return TakeNumber(text, 1, part);
    };
    if (!TakeNumber(text, 2, major) || !takePart(minor) || (!text.empty() && !takePart(fix)) ||
        !text.empty() || major < 6 || major > 12) {
        return std::nullopt;
    }
    return static_cast<unsigned short>((major / 10) << 12 | (major % 10) << 8 | minor << 4 | fix);
}

std::string HostVersionText(unsigned short version) {
    unsigned major = (version >> 12) * 10U + (version >> 8 & 0xF);
    unsigned fix = version & 0xF;
    std::string text = std::to_string(major) + "." + std::to_string(version >> 4 & 0xF);
    return fix == 0 ? text : text + "." + std::to_string(fix);
}
