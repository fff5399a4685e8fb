// The stand-in host's display formats.

#include "testhost/services/DisplayFormats.h"

#include <gtest/gtest.h>
#include <limits>
#include <random>

namespace {

TEST(FormatsTest, Numbers) {
    struct Row {
        double number;
        const char* format;
        const char* text;
    };
    const Row rows[] = {
        {-1234567, "", "-1234567"},
        {0.1, "", "0.1"},
        {-0.0, "", "0"},
        {1234567.891, "#,##0.00", "1,234,567.89"},
        {5, "#,##0", "5"},
        {5, "0,000", "0,005"},
        {0, "###", ""},
        {0, "##0", "0"},
        {0.5, ".00", ".50"},
        {12.5, "$###.0## each", "$12.5 each"},
        {7, "0.##", "7"},
        {5551234, "(###) ###-####", "(555-1234"},
        {-3.26, "0.0", "-3.3"},
        {-0.001, "0.00", "0.00"},
        {-3, "0;(0);none", "(3)"},
        {0, "0;(0);none", "none"},
        {3, ";(0)", ""},
        {std::numeric_limits<double>::quiet_NaN(), "0", "NAN"},
        {-std::numeric_limits<double>::infinity(), "0", "-INF"},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(FormatNumber(row.number, row.format), row.text) << row.number;
    }
    EXPECT_EQ(FormatNumber(1e300, "0").size(), 301U);
}

TEST(FormatsTest, DatesAndTimes) {
    const char* const dates[] = {
        "07/04/05",   "07/04/05",     "Mon, Jul 4, 2005", "Monday, July 4, 2005",
        "07/04/2005", "July 4, 2005", "Jul 4, 2005",      "07/04/2005"};
    const char* const times[] = {
        "00:05:09",          "00:05:09", "00:05", "0 hours 5 minutes 9 seconds",
        "0 hours 5 minutes", "12:05 AM"};
    for (long number = 0; number < 8; ++number) {
        EXPECT_EQ(FormatDate({4, 7, 2005}, number), dates[number]);
    }
    for (long number = 0; number < 6; ++number) {
        EXPECT_EQ(FormatTime(309, number), times[number]);
    }
    EXPECT_EQ(FormatDate({4, 7, 2005}, 8), std::nullopt);
    EXPECT_EQ(FormatTime(309, -1), std::nullopt);
    EXPECT_EQ(FormatDate({}, 3), "00/00/0000"); // no day of any calendar
    EXPECT_EQ(FormatDate({1, 257, 2005}, 3), "257/01/2005");
    EXPECT_EQ(FormatTime(-90061, 1), "-25:01:01");
    EXPECT_EQ(FormatTime(3660, 3), "1 hour 1 minute 0 seconds");
    EXPECT_EQ(FormatTime(std::numeric_limits<long>::min(), 2), "-596523:14");
}

TEST(FormatsTest, BooleansAndStrings) {
    EXPECT_EQ(FormatBoolean(true, "") + FormatBoolean(false, ""), "TrueFalse");
    EXPECT_EQ(FormatBoolean(true, "on") + FormatBoolean(false, "on"), "on");
    EXPECT_EQ(FormatString("5551234", "##-@!"), "55-51234!");
    EXPECT_EQ(FormatString("1", "##."), "1 .");
    EXPECT_EQ(FormatString("123", "#."), "1.23"); // what no placeholder took is not lost
}

TEST(FormatsTest, AnythingIsAFormat) {
    std::mt19937 random(20261121);
    for (int round = 0; round < 3000; ++round) {
        std::string format(random() % 12, ' ');
        for (char& character : format) {
            character = "#0,.;@-x "[random() % 9];
        }
        EXPECT_LE(FormatNumber(-1e22 / (1 + round), format).size(), format.size() + 40) << format;
        EXPECT_GE(FormatString("abc", format).size(), 3U) << format;
    }
}

} // namespace
