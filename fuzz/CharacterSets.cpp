// Texts between UTF-16, the code page and the Macintosh set: a whole text becomes what its
// characters become one by one, and itself on the way back.

#include "fuzz/Harness.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"

#include <algorithm>

namespace {
using Units = std::vector<unsigned short>;

std::string Converted(OSErr (*convert)(const char*, char*), const std::string& text) {
    std::vector<char> out(text.size() + 1);
    Require(convert(text.c_str(), out.data()) == 0, "a text is refused");
    return out.data();
}

std::string OneByOne(OSErr (*convert)(const char*, char*), const std::string& text) {
    std::string all;
    for (const char character : text) {
        all += Converted(convert, std::string(1, character));
    }
    return all;
}

Units ToUnits(const std::string& text) {
    Units units(text.size() + 1);
    Require(FourD::CopyCharsToUniChars(text.c_str(), units.data()) == 0, "a text is refused");
    return units;
}

void CheckText(const std::string& text) {
    const std::string ansi = Converted(FourD::MacToAnsiCString, text);
    Require(ansi == OneByOne(FourD::MacToAnsiCString, text), "another text in the code page");
    Require(Converted(FourD::AnsiToMacCString, ansi) == text, "another text on the way back");
    Str255 string;
    Require(FourD::AnsiToMacPString(Pascal(ansi), string) == 0, "a string is refused");
    Require(PascalText(string) == text.substr(0, 255), "another string");

    Units expected;
    for (const char character : ansi) {
        expected.push_back(ToUnits(std::string(1, character))[0]);
    }
    expected.push_back(0);
    const Units units = ToUnits(ansi);
    Require(units == expected, "other units");
    std::vector<char> back(ansi.size() + 1);
    Require(FourD::CopyUniCharsToChars(units.data(), back.data()) == 0, "units are refused");
    Require(back.data() == ansi, "another text of units");
    Require(FourD::CopyUniCharsToPStr(units.data(), string) == 0, "units are refused");
    Require(PascalText(string) == ansi.substr(0, 255), "another string of units");
    Units ofPascal(std::min<std::size_t>(ansi.size(), 255) + 1);
    Require(FourD::CopyPStrToUniChars(Pascal(ansi), ofPascal.data()) == 0, "a string is refused");
    Require(std::equal(ofPascal.begin(), ofPascal.end() - 1, units.begin()), "other units");
}

/// A string of the host's, read into any room.
void CheckHostString(const std::string& text, long room) {
    FDStringBlock string{};
    Require(FourD::CreateFDString(&string) == 0, "there is no string");
    Require(FourD::CopyCStringToFDString(text.c_str(), &string) == 0, "a text is refused");
    std::vector<char> out(static_cast<std::size_t>(room));
    const OSErr error = FourD::CopyFDStringToCString(&string, out.data(), room);
    const bool fits = static_cast<long>(text.size()) < room;
    Require(error == (fits ? 0 : ResultCode::BadParameter), "another error");
    Require(room == 0 || std::find(out.begin(), out.end(), '\0') != out.end(), "it has no end");
    Require(!fits || out.data() == text, "another text of the host's string");
    Str255 pascal;
    FourD::CopyFDStringToPStr(&string, pascal);
    Require(text.size() > 255 || PascalText(pascal) == text, "another string of the host's");
    FourD::DisposeFDStringBlock(&string);
}

/// Units that may be no characters of any set, nor halves that belong together.
void CheckUnits(Units units) {
    units.erase(std::remove(units.begin(), units.end(), 0), units.end());
    units.push_back(0);
    std::vector<char> text(3 * units.size());
    FourD::CopyUniCharsToChars(units.data(), text.data());
    Str255 string;
    FourD::CopyUniCharsToPStr(units.data(), string);
    const std::string whole = text.data();
    Require(PascalText(string) == whole.substr(0, 255), "another string of any units");
}
} // namespace

void Fuzz(Input& input) {
    FuzzHost host;
    for (int i = 0; i < 20 && !input.IsOver(); ++i) {
        const std::string text = input.Text(300).c_str();
        CheckText(text);
        CheckHostString(text, static_cast<long>(input.Choice(300)));
        Units units(input.Choice(300));
        for (unsigned short& unit : units) {
            unit = input.ConsumeIntegral<unsigned short>();
        }
        CheckUnits(units);
    }
}
