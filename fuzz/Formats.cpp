// Numbers, dates and texts as they are shown, and the encodings between which they go.

#include "fuzz/Harness.h"
#include "platform/Toolbox.h"
#include "testhost/model/Options.h"
#include "testhost/services/DisplayFormats.h"
#include "testhost/toolbox/Control.h"
#include "testhost/toolbox/text/MacRoman.h"
#include "testhost/values/Encodings.h"
#include "testhost/values/Scalars.h"
#include "testhost/values/Strings.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace {
void FuzzEncodings(const std::string& text) {
    Require(NearestAnsi(FromAnsi(text)) == text, "ANSI comes back otherwise");
    const std::wstring wide = FromUtf8(text);
    Require(FromUtf8(Utf8(wide)) == wide, "a wide text comes back otherwise");
    const std::wstring either = FromEither(text);
    Require(Utf8(either) == text || either == FromAnsi(text), "a text is neither UTF-8 nor ANSI");
    try {
        Require(FromAnsi(Ansi(wide)) == wide, "a path comes back otherwise");
    } catch (const std::runtime_error& error) {
        Require(FromAnsi(NearestAnsi(wide)) != wide, "a path is refused");
        Require(wide[0] == L'\0' || error.what()[0] != '\0', "an error is not told");
    }
    Require(TextOfUnits(UnitsOfText(text)) == text, "units come back otherwise");

    std::string mac = text;
    ASI_AnsiToMacBuf(text.data(), mac.data(), static_cast<long>(text.size()));
    ASI_MacToAnsiBuf(mac.data(), mac.data(), static_cast<long>(mac.size()), 0);
    Require(mac == text, "the Macintosh set comes back otherwise");
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        Require(MacRoman::ToUpper(MacRoman::ToUpper(byte)) == MacRoman::ToUpper(byte) &&
                    MacRoman::WithoutMark(MacRoman::WithoutMark(byte)) ==
                        MacRoman::WithoutMark(byte),
                "folded twice is not folded once");
    }
    if (const auto version = ParseHostVersion(text)) {
        Require(ParseHostVersion(HostVersionText(*version)) == version,
                "a version comes back otherwise");
    }
}

void FuzzStrings(Input& input) {
    const std::string one = input.Text(300);
    const std::string other = input.ConsumeBool() ? one : input.Text(300);
    Str255 first;
    Str255 second;
    StorePascal(first, one);
    StorePascal(second, other);
    Require(FetchPascal(first) == one.substr(0, 255), "a Pascal string comes back otherwise");
    Require((EqualString(first, second, 1, 1) != 0) == (one.substr(0, 255) == other.substr(0, 255)),
            "strings are equal, or are not");
    Require(EqualString(first, second, 1, 1) == 0 || IUEqualString(first, second) == 0,
            "equal strings differ without marks");
    long number = 0;
    StringToNum(first, &number);

    Handle text = NewHandleWith(one);
    const Handle replacement = NewHandleWith(input.Text());
    const std::string inserted = HandleContents(replacement);
    StorePascal(second, input.Text(4));
    const std::string wanted = FetchPascal(second);
    std::string expected = one;
    short count = 0;
    for (std::size_t at = 0;
         !wanted.empty() && (at = expected.find(wanted, at)) != std::string::npos;
         at += inserted.size()) {
        expected.replace(at, wanted.size(), inserted);
        ++count;
    }
    const bool fails = input.Choice(4) == 0;
    if (fails) {
        input.FailAnAllocation();
    }
    const short done = ReplaceTex(text, replacement, second);
    ToolboxFailAllocation(0);
    Require(done == count || (fails && done < 0), "another number was replaced");
    Require(HandleContents(text) == (done < 0 ? one : expected), "another text was replaced");
    DisposeHandle(text);
    DisposeHandle(replacement);
}

void FuzzDates(Input& input) {
    auto seconds = input.ConsumeIntegral<long long>() >> input.Choice(40);
    LongDateRec date{};
    LongSecondsToDate(&seconds, &date);
    long long back = 0;
    LongDateToSeconds(&date, &back);
    LongDateRec again{};
    LongSecondsToDate(&back, &again);
    Require(std::memcmp(&date, &again, sizeof date) == 0, "a date comes back otherwise");
    Require(std::abs(seconds) > 900'000'000'000 || back == seconds, "seconds come back otherwise");
    Require(date.era < 0 || date.year > 9999 || IsDate(date.year, date.month, date.day),
            "no calendar has the date");
    input.Fill(date);
    LongDateToSeconds(&date, &back);

    DateBlock shown{};
    input.Fill(shown);
    const long format = input.Choice(10);
    Require(FormatDate(shown, format).has_value() == (format < 8), "a date is not shown");
    Require(FormatTime(input.Number(), format).has_value() == (format < 6), "a time is not shown");
}

void FuzzNumbers(Input& input) {
    const auto number = input.ConsumeBool()
                            ? std::bit_cast<double>(input.ConsumeIntegral<unsigned long long>())
                            : input.Number() / 100.0;
    const std::string format = input.Text(100);
    const std::string text = FormatNumber(number, format);
    if (format.empty() && std::isfinite(number)) {
        const double back = std::strtod(text.c_str(), nullptr);
        Require(std::fabs(back - number) <= std::fabs(number) * 1e-14 || !std::isfinite(back),
                "the default shows another number");
    }
    const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
    if (std::isfinite(number) && format.find_first_not_of("#0") == std::string::npos &&
        !format.empty()) {
        const double back = std::strtod(text.c_str(), nullptr);
        Require(back == std::nearbyint(number), "plain places show another number");
        Require(static_cast<std::size_t>(std::ranges::count_if(text, isDigit)) >=
                    static_cast<std::size_t>(std::ranges::count(format, '0')),
                "places are missing");
    }
    const std::string shown = FormatString(text, format);
    Require(shown.size() >= text.size(), "a character is lost");
    FormatBoolean(number > 0, format);
}
} // namespace

void Fuzz(Input& input) {
    switch (input.ConsumeIntegral<unsigned char>() % 4) {
    case 0:
        return FuzzEncodings(input.ConsumeRemainingBytesAsString());
    case 1:
        return FuzzStrings(input);
    case 2:
        return FuzzDates(input);
    default:
        return FuzzNumbers(input);
    }
}
