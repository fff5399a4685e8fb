#include "testhost/resources/Text.h"

#include "testhost/resources/Forms.h"
#include "testhost/session/Values.h"

#include <algorithm>
#include <iterator>

namespace {
using Number = ResourceBytes::Number;

constexpr Number nativeShort{2, false};
constexpr Number bigShort{2, true};
constexpr Number nativeLong{4, false};
constexpr long longestFill = 0xFFFFFF;

struct NumberKind {
    std::string_view name;
    Number form;
    long lowest;
    long highest;
};

constexpr NumberKind numberKinds[] = {
    {"byte", {1, false}, -0x80, 0xFF},
    {"short", nativeShort, -0x8000, 0xFFFF},
    {"long", nativeLong, -0x7FFFFFFF - 1, 0x7FFFFFFF},
    {"big-short", bigShort, -0x8000, 0xFFFF},
    {"big-long", {4, true}, -0x7FFFFFFF - 1, 0x7FFFFFFF},
};

const NumberKind* FindNumberKind(std::string_view name) {
    const auto* kind = std::find_if(std::begin(numberKinds), std::end(numberKinds),
                                    [&](const NumberKind& each) { return each.name == name; });
    return kind == std::end(numberKinds) ? nullptr : kind;
}

void TakeHex(Words& words, ResourceBytes& resource) {
    do {
        const std::string digits = words.TakeWord("hexadecimal digits");
        if (digits.size() % 2 != 0 ||
            digits.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
            throw ScriptError("hex is followed by pairs of hexadecimal digits, not '" + digits +
                              "'");
        }
        for (size_t place = 0; place < digits.size(); place += 2) {
            resource.bytes += static_cast<char>(std::stoul(digits.substr(place, 2), nullptr, 16));
        }
    } while (!words.AtEnd());
}

void TakeAlign(Words& words, ResourceBytes& resource) {
    const auto unit = static_cast<size_t>(words.TakeNumber("a number of bytes", 1, 0x7FFF));
    resource.AppendZeros((unit - resource.bytes.size() % unit) % unit);
}

constexpr ResourceRow fieldKinds[] = {
    {"text", "\"TEXT\"...", "the bytes of strings",
     [](Words& words, ResourceBytes& resource) { resource.bytes += words.TakeString("a text"); }},
    {"pstring", "\"TEXT\"...", "Pascal strings: a length byte, then at most 255 bytes",
     [](Words& words, ResourceBytes& resource) {
         resource.AppendPascal(words.TakeString("a text"));
     }},
    {"cstring", "\"TEXT\"...", "strings that end with a zero byte",
     [](Words& words, ResourceBytes& resource) {
         resource.bytes += words.TakeString("a text") + '\0';
     }},
    {"type", "\"TYPE\"...", "resource types in the byte order of long; as they stand: text",
     [](Words& words, ResourceBytes& resource) {
         resource.Append(TakeResourceType(words), nativeLong);
     }},
    {"zero", "N", "N zero bytes",
     [](Words& words, ResourceBytes& resource) {
         resource.AppendZeros(
             static_cast<size_t>(words.TakeNumber("a number of bytes", 0, longestFill)));
     }},
    {"align", "N", "zero bytes up to the next multiple of N", TakeAlign},
    {"hex", "DIGITS...", "bytes in hexadecimal digits, up to the end of the line", TakeHex},
};

// One field, or several of a kind: long 1 2 3.
void TakeField(Words& words, ResourceBytes& resource) {
    if (const auto* row = TakeRow<ResourceRow>(fieldKinds, words)) {
        const bool takesStrings = row->usage.starts_with('"'); // several, one behind the other
        do {
            row->read(words, resource);
        } while (takesStrings && words.IsString());
        return;
    }
    const std::string name = words.TakeWord("a kind of field");
    if (const NumberKind* kind = FindNumberKind(name)) {
        do {
            const long number = words.TakeNumber("a number", kind->lowest, kind->highest);
            resource.Append(static_cast<unsigned long>(number), kind->form);
        } while (words.IsNumber());
        return;
    }
    throw ScriptError("unknown kind of field or line '" + name + "'");
}

void TakeFields(Words& words, ResourceBytes& resource) {
    while (!words.AtEnd()) {
        TakeField(words, resource);
    }
}

constexpr size_t platformCount = 3;
constexpr size_t styleNameField = 32;
constexpr size_t fontNameField = 64;
// The bits of a face, the lowest first.
constexpr std::string_view fontStyles[] = {"bold", "italic", "underline", "outline", "shadow"};

bool TakeFontStyle(Words& words, unsigned long* face) {
    for (size_t bit = 0; bit < std::size(fontStyles); ++bit) {
        if (words.TakeIf(fontStyles[bit])) {
            *face |= 1UL << bit;
            return true;
        }
    }
    return false;
}

// FONT SIZE [bold] [italic] ... as a platform's entry: name, 16-bit size and face.
void TakeFont(Words& words, ResourceBytes& resource) {
    resource.AppendPascalField(words.TakeString("a font's name"), fontNameField);
    resource.Append(static_cast<unsigned long>(words.TakeNumber("a font size", 1, 0x7FFF)),
                    nativeShort);
    unsigned long face = 0;
    while (TakeFontStyle(words, &face)) {
    }
    resource.Append(face, nativeShort);
}

void TakeStyle(Words& words, ResourceBytes& resource) {
    if (resource.InList()) {
        resource.CountItem("style");
    }
    const long id = words.TakeNumber("a style's number", -0x8000, 0x7FFF);
    resource.AppendPascalField(words.TakeString("a style's name"), styleNameField);
    resource.Append(static_cast<unsigned long>(id), nativeShort);

    ResourceBytes fonts;
    size_t count = 0;
    while (words.TakeIf("font")) {
        TakeFont(words, fonts);
        ++count;
    }
    if (count != 1 && count != platformCount) {
        throw ScriptError("a style has one font, or three: one for each platform");
    }
    for (size_t platform = 0; platform < platformCount; platform += count) {
        resource.bytes += fonts.bytes;
    }
}

void TakeEntry(Words& words, ResourceBytes& resource) {
    resource.CountItem("entry");
    resource.Append(TakeResourceType(words), nativeLong);
    for (const char* what : {"a local number", "a resource number"}) {
        resource.Append(static_cast<unsigned long>(words.TakeNumber(what, -0x8000, 0x7FFF)),
                        nativeShort);
    }
}

void TakeCount(Words& words, ResourceBytes& resource) {
    const std::string name = words.TakeWord("a kind of number");
    const NumberKind* kind = FindNumberKind(name);
    if (kind == nullptr || kind->form.width == 1) {
        throw ScriptError("count is followed by short, long, big-short or big-long, not '" + name +
                          "'");
    }
    resource.BeginList("item", kind->form);
}

constexpr ResourceRow lineKinds[] = {
    {"string-list", "", "begins a string list, as 'STR#' is; a string on each line follows",
     [](Words&, ResourceBytes& resource) { resource.BeginList("\"TEXT\"", bigShort); }},
    {"style", R"(N "NAME" font "FONT" SIZE [bold] [italic] [underline] [outline] [shadow])",
     "a text style, as 'Styl' is; with one font for all platforms, or with three", TakeStyle},
    {"style-list", "", "begins a list of styles: style lines follow",
     [](Words&, ResourceBytes& resource) {
         resource.BeginList("style", nativeShort);
         resource.AppendZeros(2);
     }},
    {"map", "", "begins a resource map: entry lines follow",
     [](Words&, ResourceBytes& resource) { resource.BeginList("entry", nativeShort); }},
    {"entry", "\"TYPE\" LOCAL NUMBER", "the resource that a local number stands for", TakeEntry},
    {"count", "KIND", "a number of this kind: how many item lines follow", TakeCount},
    {"item", "FIELD...", "one of those counted; its fields",
     [](Words& words, ResourceBytes& resource) {
         resource.CountItem("item");
         TakeFields(words, resource);
     }},
};
} // namespace

void AddResourceLine(Words& words, ResourceBytes& resource) {
    if (words.IsString()) {
        resource.CountItem("\"TEXT\"");
        resource.AppendPascal(words.TakeString("a string"));
        return;
    }
    if (const auto* row = TakeRow<ResourceRow>(lineKinds, words)) {
        return row->read(words, resource);
    }
    if (!TakeFormLine(words, resource)) {
        TakeFields(words, resource);
    }
}

void PrintResourceHelp(std::ostream& out) {
    out << "A resource text has one statement on a line; comments, strings and numbers are "
           "written\n"
           "as in a script. Strings are not converted: a character beyond ASCII is written \\xNN, "
           "in\n"
           "the host's Macintosh set. Lines:\n";
    PrintHelpLine(out, 2, R"(resource "TYPE" ID ["NAME"])",
                  "begins a resource; the lines up to the next one are what is in it");
    PrintRows<ResourceRow>(out, 2, lineKinds);
    PrintHelpLine(out, 2, "FIELD...", "fields, one behind the other");
    out << "\nKinds of fields:\n";
    PrintHelpLine(out, 2, "byte, short, long N...", "numbers in the platform's own byte order");
    PrintHelpLine(out, 2, "big-short, big-long N...", "numbers with the high byte first");
    PrintRows<ResourceRow>(out, 2, fieldKinds);
    PrintFormHelp(out);
}
