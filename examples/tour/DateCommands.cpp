#include "examples/tour/Tour.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <tuple>

namespace {

constexpr long long SecondsPerDay = 86400;
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
    if (!IsEmpty(date)) {
        const long days = params[1].GetLong();
        const long long step = days < 0 ? -SecondsPerDay : SecondsPerDay;
        long long left = days < 0 ? -static_cast<long long>(days) : days;
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
