// Divides by the day of a date. The empty date is an ordinary value, in every record that is not
// filled in yet, and its day is 0.

#include "examples/broken/Plugin.h"

namespace {
// What has come together per day so far this month.
void PerDay(CXParam* parameters, CXResult* result) {
    const long amount = parameters[0].As<long>();
    const DateBlock& today = parameters[1].As<DateBlock>();
    if (!isBroken && today.day < 1) {
        return;
    }
    result->SetLong(amount / today.day);
}

constexpr CommandEntry Commands[] = {{"Per day", "(long amount; date) -> long", PerDay}};
} // namespace

const Plugin plugin = Describe("EmptyDate", Commands);
