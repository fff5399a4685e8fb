#pragma once

#include "host/boundary/Values.h"

#include <optional>
#include <string>
#include <string_view>

// How the host shows values, in English wherever the machine stands. An empty format is the
// default; a format that makes no sense gives some text, never an error.

/// Formats have up to three sections, "positive;negative;zero". In each, `#` stands for a digit and
/// `0` for a digit that is always shown; a comma before the point groups the thousands. Digits in
/// front of the first placeholder are never lost. What stands around the placeholders is copied; a
/// number without a section of its own takes the first one, with a minus sign.
std::string FormatNumber(double number, std::string_view format);
/// "true text;false text".
std::string FormatBoolean(bool value, std::string_view format);
/// `#` stands for one character, `@` for all that are left; other characters are copied. Characters
/// that no placeholder took follow at the end, a `#` without one is a space.
std::string FormatString(std::string_view text, std::string_view format);

// Display formats by number, 0 for the default; nothing for a number that is none.

/// 1 "11/21/26", 2 "Sat, Nov 21, 2026", 3 "Saturday, November 21, 2026", 4 and 7 "11/21/2026",
/// 5 "November 21, 2026", 6 "Nov 21, 2026"; 0 is 1. What is no day of the calendar is shown in
/// digits.
std::optional<std::string> FormatDate(const DateBlock& date, long number);
/// 1 "13:05:09", 2 "13:05", 3 "13 hours 5 minutes 9 seconds", 4 "13 hours 5 minutes", 5 "1:05 PM";
/// 0 is 1. Hours may be more than a day's.
std::optional<std::string> FormatTime(long seconds, long number);
