#include "testhost/services/DisplayFormats.h"

#include "platform/Compiler.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <utility>

namespace {

/// Section `index`, from 0, of a format; empty when the format has fewer.
std::string_view Section(std::string_view format, int index) {
    for (; index > 0; --index) {
        const size_t end = format.find(';');
        if (end == std::string_view::npos) {
            return {};
        }
        format.remove_prefix(end + 1);
    }
    return format.substr(0, format.find(';'));
}

/// What printf would print, however long.
NIMBO_PRINTF_FORMAT(1, 2) std::string Print(const char* format, ...) {
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    va_start(arguments, format);
    std::va_list measured; // NOLINT(cppcoreguidelines-init-variables): va_copy does
    va_copy(measured, arguments);
    std::string text(static_cast<size_t>(std::vsnprintf(nullptr, 0, format, measured)), ' ');
    va_end(measured);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    va_end(arguments);
    return text;
}

bool IsPlaceholder(char character) {
    return character == '#' || character == '0';
}

/// The digits before the point in the places of `pattern`, from right to left.
std::string PlaceInteger(std::string digits, std::string_view pattern) {
    if (digits == "0") {
        digits.clear(); // only a 0 in the pattern shows it
    }
    const bool grouped = pattern.find(',') != std::string_view::npos;
    std::string reversed;
    size_t shown = 0;
    const auto put = [&](char digit) {
        if (grouped && shown > 0 && shown % 3 == 0) {
            reversed += ',';
        }
        reversed += digit;
        ++shown;
    };
    const auto take = [&digits] {
        const char last = digits.back();
        digits.pop_back();
        return last;
    };
    // A character between places is shown when a digit stands in front of it.
    std::string pending;
    for (size_t place = pattern.size(); place-- > 0;) {
        const char character = pattern[place];
        if (character == ',') {
            continue;
        }
        if (!IsPlaceholder(character)) {
            pending += character;
        } else if (!digits.empty() || character == '0') {
            reversed += std::exchange(pending, {});
            put(digits.empty() ? '0' : take());
        }
    }
    while (!digits.empty()) {
        put(take());
    }
    return {reversed.rbegin(), reversed.rend()};
}

/// The digits after the point in the places of `pattern`; trailing zeros only where it has a 0.
std::string PlaceFraction(std::string_view digits, std::string_view pattern) {
    std::string placed;
    size_t kept = 0;
    for (const char character : pattern) {
        if (!IsPlaceholder(character)) {
            placed += character == ',' ? std::string() : std::string(1, character);
            continue;
        }
        placed += digits.front();
        kept = character == '0' || digits.front() != '0' ? placed.size() : kept;
        digits.remove_prefix(1);
    }
    return placed.substr(0, kept);
}

/// A number that is not negative in one section of a format.
std::string PlaceNumber(double number, std::string_view section) {
    const size_t first = section.find_first_of("#0");
    if (first == std::string_view::npos) {
        return std::string(section);
    }
    // ".00" begins with its point.
    const size_t begin = first > 0 && section[first - 1] == '.' ? first - 1 : first;
    const size_t end = section.find_last_of("#0") + 1;
    const std::string_view pattern = section.substr(begin, end - begin);
    const size_t point = std::min(pattern.find('.'), pattern.size());
    const std::string_view fraction = pattern.substr(std::min(point + 1, pattern.size()));
    const auto decimals = static_cast<int>(std::ranges::count_if(fraction, IsPlaceholder));

    const std::string digits = Print("%.*f", decimals, number);
    const size_t digitsPoint = std::min(digits.find('.'), digits.size());
    std::string text(section.substr(0, begin));
    text += PlaceInteger(digits.substr(0, digitsPoint), pattern.substr(0, point));
    const std::string placed = PlaceFraction(
        decimals > 0 ? std::string_view(digits).substr(digitsPoint + 1) : "", fraction);
    if (!placed.empty()) {
        text += '.' + placed;
    }
    return text.append(section.substr(end));
}

constexpr std::array<const char*, 7> dayNames = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                 "Thursday", "Friday", "Saturday"};
constexpr std::array<const char*, 12> monthNames = {
    "January", "February", "March",     "April",   "May",      "June",
    "July",    "August",   "September", "October", "November", "December"};

std::string Counted(long count, const char* unit) {
    return Print("%ld %s%s", count, unit, count == 1 ? "" : "s");
}

} // namespace

std::string FormatNumber(double number, std::string_view format) {
    if (!std::isfinite(number)) {
        return std::isnan(number) ? "NAN" : number < 0 ? "-INF" : "INF";
    }
    if (format.empty()) {
        return Print("%.15g", number == 0 ? 0 : number);
    }
    const auto count = std::ranges::count(format, ';');
    if (number < 0 && count >= 1) {
        return PlaceNumber(-number, Section(format, 1));
    }
    if (number == 0 && count >= 2) {
        return PlaceNumber(0, Section(format, 2));
    }
    const std::string text = PlaceNumber(std::fabs(number), Section(format, 0));
    const bool isSeen = text.find_first_of("123456789") != std::string::npos;
    return number < 0 && isSeen ? '-' + text : text; // no "-0.00"
}

std::string FormatBoolean(bool value, std::string_view format) {
    return std::string(Section(format.empty() ? "True;False" : format, value ? 0 : 1));
}

std::string FormatString(std::string_view text, std::string_view format) {
    std::string out;
    for (const char character : format) {
        if (character == '@') {
            out += std::exchange(text, {});
        } else if (character != '#') {
            out += character;
        } else if (text.empty()) {
            out += ' ';
        } else {
            out += text.front();
            text.remove_prefix(1);
        }
    }
    return out.append(text);
}

std::optional<std::string> FormatDate(const DateBlock& date, long number) {
    using namespace std::chrono;
    if (number < 0 || number > 7) {
        return std::nullopt;
    }
    const int day = date.day;
    const int month = date.month;
    const int year = date.year;
    const year_month_day calendar(std::chrono::year{year},
                                  std::chrono::month(static_cast<unsigned>(month)),
                                  std::chrono::day(static_cast<unsigned>(day)));
    const bool isDay = month >= 1 && month <= 12 && day >= 1 && day <= 31 && calendar.ok();
    if (number == 4 || number == 7 || (number > 1 && !isDay)) {
        return Print("%02d/%02d/%04d", month, day, year);
    }
    if (number < 2) {
        return Print("%02d/%02d/%02d", month, day, year % 100);
    }
    const bool isShort = number == 2 || number == 6;
    const std::string monthName(monthNames[month - 1], 0, isShort ? 3 : std::string::npos);
    const std::string text = Print("%s %d, %d", monthName.c_str(), day, year);
    if (number > 3) {
        return text;
    }
    const std::string dayName = dayNames[weekday(sys_days(calendar)).c_encoding()];
    return dayName.substr(0, isShort ? 3 : std::string::npos) + ", " + text;
}

std::optional<std::string> FormatTime(long seconds, long number) {
    const std::string sign = seconds < 0 ? "-" : "";
    const unsigned long span = seconds < 0 ? 0UL - seconds : seconds;
    const auto hours = static_cast<long>(span / 3600);
    const auto minutes = static_cast<long>(span / 60 % 60);
    const auto rest = static_cast<long>(span % 60);
    switch (number) {
    case 0:
    case 1:
        return sign + Print("%02ld:%02ld:%02ld", hours, minutes, rest);
    case 2:
        return sign + Print("%02ld:%02ld", hours, minutes);
    case 3:
        return sign + Counted(hours, "hour") + ' ' + Counted(minutes, "minute") + ' ' +
               Counted(rest, "second");
    case 4:
        return sign + Counted(hours, "hour") + ' ' + Counted(minutes, "minute");
    case 5:
        return sign +
               Print("%ld:%02ld %s", (hours + 11) % 12 + 1, minutes, hours % 24 < 12 ? "AM" : "PM");
    default:
        return std::nullopt;
    }
}
