#include "examples/tour/Tour.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <limits>
#include <tuple>

namespace {

constexpr long long SecondsPerDay = 86400;
constexpr short LastYear = 9999; // of the host's dates
constexpr long long MostDays = LastYear * 366LL;
enum : short { Sunday = 1, Saturday = 7 };

bool IsEmpty(const DateBlock& date) {
    return date.day == 0 || date.month == 0 || date.year == 0;
}

long long Seconds(const DateBlock& date) {
    LongDateRec record = {};
    record.year = date.year;
    record.month = date.month;
    record.day = date.day;
    long long seconds = 0;
    LongDateToSeconds(&record, &seconds);
    return seconds;
}

LongDateRec DateOf(long long seconds) {
    LongDateRec record = {};
    LongSecondsToDate(&seconds, &record);
    return record;
}

auto InOrder(const DateBlock& date) {
    return std::tuple(date.year, date.month, date.day);
}

} // namespace

namespace Tour {

bool IsDate(const DateBlock& date) {
    const auto isWithin = [](short number, short last) { return number >= 1 && number <= last; };
    return isWithin(date.year, LastYear) && isWithin(date.month, 12) && isWithin(date.day, 31) &&
           DateOf(Seconds(date)).day == date.day; // not 30 February
}

void Weekday(CXParam* params, CXResult* result) {
    static constexpr const char* Names[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                            "Thursday", "Friday", "Saturday"};
    DateBlock date;
    params[0].GetDate4D(date);
    Str255 name = {};
    if (!IsEmpty(date)) {
        _CopyC2PStr(Names[DateOf(Seconds(date)).dayOfWeek - Sunday], name);
    }
    result->SetString(name);
}

void NextWorkday(CXParam* params, CXResult* result) {
    DateBlock date;
    params[0].GetDate4D(date);
    if (IsDate(date)) {
        const long days = params[1].GetLong();
        const long long step = days < 0 ? -SecondsPerDay : SecondsPerDay;
        // More days than there are lead out of the calendar all the same.
        long long left = std::min(days < 0 ? -static_cast<long long>(days) : days, MostDays);
        long long seconds = Seconds(date);
        // Five workdays are a week. The last one to five are walked, so that a count from a
        // weekend ends on a workday too.
        const long long weeks = left > 0 ? (left - 1) / 5 : 0;
        seconds += weeks * 7 * step;
        left -= weeks * 5;
        while (left > 0) {
            seconds += step;
            const short day = DateOf(seconds).dayOfWeek;
            left -= day != Sunday && day != Saturday ? 1 : 0;
        }
        const LongDateRec next = DateOf(seconds);
        date = {.day = next.day, .month = next.month, .year = next.year};
        if (next.era != 0 || !IsDate(date)) {
            date = {};
        }
    }
    result->SetDate4D(&date);
}

void OrderDates(CXParam* params, CXResult* result) {
    DateBlock first;
    DateBlock second;
    params[0].GetDate4D(first);
    params[1].GetDate4D(second);
    const bool swap = InOrder(second) < InOrder(first);
    if (swap) {
        params[0].SetDate4D(&second);
        params[1].SetDate4D(&first);
    }
    result->SetBoolean(swap ? 1 : 0);
}

} // namespace Tour
