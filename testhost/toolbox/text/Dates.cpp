#include "platform/Toolbox.h"

#include <algorithm>
#include <chrono>

// Dates of the Gregorian calendar, extended in both directions. Inside, years count through 0:
// year 0 is 1 BC. A date record has no year 0; it counts BC years with `era` -1.

namespace {

using namespace std::chrono;

constexpr long long secondsPerDay = 86400;
constexpr long long daysPerCycle = 146097; // 400 years, after which the calendar repeats
constexpr long long firstYear = -32766;    // 32767 BC: what the record's short years can express
constexpr long long lastYear = 32767;
constexpr sys_days epoch = 1904y / January / 1;

constexpr long long FloorDivide(long long value, long long divisor) {
    return value / divisor - (value % divisor < 0);
}

/// Days since the epoch. Month and day may be out of range: month 13 is the next January.
constexpr long long DaysFromDate(long long yearNumber, long long monthNumber, long long dayNumber) {
    const long long wholeYears = FloorDivide(monthNumber - 1, 12);
    const long long cycles = FloorDivide(yearNumber + wholeYears, 400);
    const year_month first{year(static_cast<int>(yearNumber + wholeYears - 400 * cycles)),
                           month(static_cast<unsigned>(monthNumber - 12 * wholeYears))};
    return (sys_days(first / 1) - epoch).count() + cycles * daysPerCycle + dayNumber - 1;
}

constexpr long long firstSecond = DaysFromDate(firstYear, 1, 1) * secondsPerDay;
constexpr long long lastSecond = DaysFromDate(lastYear + 1, 1, 1) * secondsPerDay - 1;

short Short(long long value) {
    return static_cast<short>(value);
}

} // namespace

void LongDateToSeconds(const LongDateRec* date, long long* seconds) {
    const long long yearNumber = date->era < 0 ? 1 - date->year : date->year;
    *seconds = DaysFromDate(yearNumber, date->month, date->day) * secondsPerDay +
               date->hour * 3600LL + date->minute * 60LL + date->second;
}

void LongSecondsToDate(const long long* seconds, LongDateRec* date) {
    // Seconds beyond the years that a record can hold become the first or last second of them.
    const long long moment = std::clamp(*seconds, firstSecond, lastSecond);
    const long long dayNumber = FloorDivide(moment, secondsPerDay);
    const long long time = moment - dayNumber * secondsPerDay;
    const sys_days today = epoch + days(static_cast<int>(dayNumber));
    const year_month_day calendar(today);
    const int yearNumber = static_cast<int>(calendar.year());
    const long long dayOfYear = dayNumber - DaysFromDate(yearNumber, 1, 1) + 1;

    *date = {};
    date->era = yearNumber > 0 ? 0 : -1;
    date->year = Short(yearNumber > 0 ? yearNumber : 1 - yearNumber);
    date->month = Short(static_cast<unsigned>(calendar.month()));
    date->day = Short(static_cast<unsigned>(calendar.day()));
    date->hour = Short(time / 3600);
    date->minute = Short(time / 60 % 60);
    date->second = Short(time % 60);
    date->dayOfWeek = Short(weekday(today).c_encoding() + 1);
    date->dayOfYear = Short(dayOfYear);
    date->weekOfYear = Short((dayOfYear - 1) / 7 + 1); // weeks are counted from 1 January
    date->pm = date->hour >= 12;
}
