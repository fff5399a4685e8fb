// What the framework reads out of resources of any bytes, against plain loops.

#include "data/blocks/Handles.h"
#include "fuzz/Harness.h"
#include "host/FourD.h"
#include "host/State.h"
#include "platform/ResultCodes.h"
#include "testhost/toolbox/Control.h"
#include "ui/FormResource.h"
#include "ui/FourDDialog.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr short file = 77;
constexpr short number = 5;
constexpr OSType mapType = 0x4D617020;        // 'Map '
constexpr OSType stringListType = 0x53545223; // 'STR#'

template <typename Record>
bool Read(const std::string& bytes, std::size_t at, Record* record) {
    const bool isThere = at + sizeof *record <= bytes.size();
    if (isThere) {
        std::memcpy(record, bytes.data() + at, sizeof *record);
    }
    return isThere;
}

/// A list that counts as it likes, and is cut anywhere.
std::string AnyList(Input& input, unsigned most, const std::string& header,
                    std::string (*any)(Input&)) {
    std::string bytes = header;
    for (unsigned i = input.Choice(most); i > 0; --i) {
        bytes += any(input);
    }
    bytes.resize(bytes.size() - std::min<std::size_t>(bytes.size(), input.Choice(8)));
    return bytes;
}

short Swapped(short word) {
    return static_cast<short>(SwapBytes(static_cast<unsigned short>(word)));
}

template <typename Style>
std::string AnyStyle(Input& input) {
    Style style;
    std::memset(&style, input.ConsumeIntegral<char>(), sizeof style);
    const std::string name = input.Text(31);
    style.name[0] = static_cast<unsigned char>(input.Choice(40));
    std::copy(name.begin(), name.end(), style.name + 1);
    style.id = static_cast<short>(input.Choice(3) << (input.ConsumeBool() ? 8 : 0));
    std::string bytes;
    Append(bytes, style);
    return bytes;
}

// Of old hosts' lists only the extended ones are big-endian.
void SwapWords(FourDStyle&) {}
void SwapWords(FourDStyleX& style) {
    style.id = Swapped(style.id);
    style.reserved = Swapped(style.reserved);
    for (FourDPlatformStyle& platform : style.platforms) {
        platform.size = Swapped(platform.size);
    }
}

/// The first style of a list with this identifier, or zeros.
template <typename Style>
Style FirstStyle(const std::string& list, short id, bool isSwapped) {
    Style style;
    short count = 0;
    Read(list, 0, &count);
    count = isSwapped ? Swapped(count) : count;
    for (std::size_t at = 4; count > 0 && Read(list, at, &style); at += sizeof style, --count) {
        if (isSwapped) {
            SwapWords(style);
        }
        if (style.id == id) {
            return style;
        }
    }
    return {};
}

template <typename Style>
void CheckStyles(Input& input, OSErr (*byID)(char**, short, Style*),
                 OSErr (*byName)(char**, const unsigned char*, Style*)) {
    const auto count = static_cast<short>(input.ConsumeBool() ? input.Choice(6) : input.Number());
    const bool isSwapped = std::is_same_v<Style, FourDStyleX> && gHost.BcdVersion() < 0x0680;
    std::string header;
    Append(header, FourDStyleListHeader{isSwapped ? Swapped(count) : count, 0});
    const std::string list = AnyList(input, 5, header, AnyStyle<Style>);
    const bool isList = list.size() >= 380;
    const TemporaryHandle handle(list.data(), static_cast<long>(list.size()));
    const auto id = static_cast<short>(input.Choice(3));
    const auto expected = isList ? FirstStyle<Style>(list, id, isSwapped) : Style{};
    Style style;
    Require(byID(handle.Get(), id, &style) == (isList ? 0 : ResultCode::BadParameter),
            "another error");
    Require(std::memcmp(&style, &expected, sizeof style) == 0, "another style");
    byName(handle.Get(), Pascal(input.Text(31)), &style);
    FourDPlatformStyle platform;
    FourD::GetPlatformStyle(&style, &platform);
    Require(platform.font[0] < sizeof platform.font, "a font's name is too long");
}

#pragma pack(push, 2)
struct MapEntry {
    unsigned long type;
    short localID;
    short number;
};
#pragma pack(pop)

std::string AnyEntry(Input& input) {
    std::string bytes;
    Append(bytes, MapEntry{input.Choice(2), static_cast<short>(input.Choice(3)),
                           static_cast<short>(input.Number())});
    return bytes;
}

void CheckMap(Input& input) {
    const auto count = static_cast<short>(input.ConsumeBool() ? input.Choice(9) : input.Number());
    std::string header;
    Append(header, count);
    const std::string map = AnyList(input, 8, header, AnyEntry);
    AddResource(file, mapType, FourD::CurProcResID(), map);
    const unsigned long type = input.Choice(2);
    const auto local = static_cast<short>(input.Choice(3));
    short expected = 0;
    MapEntry entry;
    for (std::size_t i = 0; i < static_cast<std::size_t>(std::max<short>(count, 0)) &&
                            Read(map, 2 + i * sizeof entry, &entry);
         ++i) {
        if (entry.type == type && entry.localID == local) {
            expected = entry.number;
            break;
        }
    }
    Require(FourD::GetResNum(mapType, type, local) == expected, "another number");
}

void CheckStrings(Input& input) {
    std::string list;
    std::vector<std::string> strings;
    for (unsigned i = input.Choice(5); i > 0; --i) {
        strings.push_back(input.Text(255));
        list += Pascal(strings.back()).Whole();
    }
    const bool isTrue = input.ConsumeBool();
    const unsigned count = isTrue ? strings.size() : input.Choice(0x10000);
    list.insert(0, {static_cast<char>(count >> 8), static_cast<char>(count)});
    list.resize(isTrue ? list.size() : input.Choice(list.size() + 1));
    AddResource(file, stringListType, number, list);
    const auto index =
        static_cast<short>(input.ConsumeBool() ? 1 + input.Choice(5) : input.Number());
    Str255 string;
    FourD::GetPluginIndString(string, number, index);
    if (isTrue) {
        const bool isThere = index >= 1 && index <= static_cast<long>(strings.size());
        Require(PascalText(string) ==
                    (isThere ? strings[static_cast<std::size_t>(index) - 1] : std::string()),
                "another string");
    }
    char text[256];
    FourD::GetPluginIndCString(text, number, index);
    Require(PascalText(string).c_str() == std::string(text), "another text");

    const std::string reference = input.ConsumeBool()
                                      ? ":" + std::to_string(number) + ',' + std::to_string(index)
                                      : input.Text(30);
    Str255 evaluated;
    std::copy_n(Pascal(reference).Whole().data(), reference.size() + 1,
                reinterpret_cast<char*>(evaluated));
    FourD::EvalPluginStringWithResRefs(evaluated);
    Require(!reference.starts_with(":5,") || index < 0 ||
                PascalText(evaluated) == PascalText(string),
            "the reference stands for another string");
}

/// A string of a resource as a format.
void CheckFormat(Input& input) {
    std::string text = input.Text(255);
    std::erase_if(text, [](char character) { return character == '%' || character == '\0'; });
    const long value = input.Number();
    AddResource(file, stringListType, number,
                std::string("\0\1", 2) + Pascal("%s|%ld" + text).Whole());
    Str255 string;
    FourD::GetPluginSprIndString(string, number, 1, "some", value);
    const std::string whole = "some|" + std::to_string(value) + text.substr(0, 249);
    Require(PascalText(string) == whole.substr(0, 255), "another formatted string");
}

struct Atom {
    unsigned long type;
    std::string data;
    bool operator==(const Atom&) const = default;
};

unsigned long LongAt(const std::string& bytes, std::size_t at) {
    unsigned long value = 0;
    Read(bytes, at, &value);
    return SwapBytes(value);
}

std::string Number(unsigned long value) {
    std::string bytes;
    Append(bytes, SwapBytes(value));
    return bytes;
}

/// Atoms as far as they lie within the form, whose length may count the eight bytes before it.
std::vector<Atom> AtomsOf(const std::string& form) {
    std::vector<Atom> atoms;
    const unsigned long long length = LongAt(form, 4);
    if (form.size() < 12 || !form.starts_with("FORM") || form.substr(8, 4) != "LAYO" ||
        length > form.size()) {
        return atoms;
    }
    const unsigned long long end = std::min<unsigned long long>(length + 8, form.size());
    for (unsigned long long at = 12; at + 8 < end;) {
        const unsigned long long size = LongAt(form, at + 4);
        if (at + 8 + size > end) {
            break;
        }
        atoms.push_back({LongAt(form, at), form.substr(at + 8, size)});
        at += 8 + size + size % 2;
    }
    return atoms;
}

void CheckForm(Input& input) {
    std::string body = "LAYO";
    while (input.ConsumeBool() && body.size() < 500) {
        const std::string data = input.Text(30);
        body += input.PickValueInArray({"FONT", "FLAG", "OBJE"}) + Number(data.size()) + data +
                std::string(data.size() % 2, '\0');
    }
    std::string form = "FORM" + Number(body.size()) + body;
    for (unsigned i = input.Choice(3); i > 0; --i) {
        form[input.Choice(form.size())] = input.ConsumeIntegral<char>();
    }
    form.resize(form.size() - input.Choice(8));
    std::string styles;
    Append(styles, FourDStyleListHeader{2, 0});
    AddResource(file, StyleSetType, number,
                styles + AnyStyle<FourDStyleX>(input) + AnyStyle<FourDStyleX>(input));
    struct Seen {
        std::vector<Atom> atoms;
        FormStyles styles{number};
    } seen;
    const TemporaryHandle handle(form.data(), static_cast<long>(form.size()));
    ScanFormAtoms(
        handle.Get(),
        [](unsigned long type, char* data, long length, void* context) {
            auto& all = *static_cast<Seen*>(context);
            all.atoms.push_back({type, {data, static_cast<std::size_t>(length)}});
            short first = 0;
            short second = 0;
            PatchFontAtom(type, data, length, &all.styles);
            ReadFlagAtom(type, data, length, &first, &second);
            return 0L;
        },
        &seen);
    Require(seen.atoms == AtomsOf(form), "other atoms are visited");
}

/// Numbers and strings for two arrays of a dialog.
void CheckPairs(Input& input) {
    const auto count = static_cast<short>(input.ConsumeBool() ? input.Choice(5) : input.Number());
    std::vector<std::pair<long, std::string>> pairs;
    std::string bytes = Number(static_cast<unsigned long>(count)).substr(2);
    for (unsigned i = input.Choice(5); i > 0; --i) {
        pairs.emplace_back(input.Number(), input.Text(254));
        bytes += Number(static_cast<unsigned long>(pairs.back().first)) +
                 Pascal(pairs.back().second).Whole();
    }
    const unsigned cut = std::min<unsigned>(input.Choice(4), pairs.empty() ? 0 : 4);
    bytes.resize(bytes.size() - std::min<std::size_t>(cut, bytes.size()));
    AddResource(file, 0x544B504C, number, bytes); // 'TKPL'
    pairs.resize(
        std::min<std::size_t>(pairs.size() - (cut > 0 ? 1 : 0), std::max<short>(count, 0)));
    FourDDialog* const dialog = FourDDialog::CreateFourDDialogContext();
    FourDDialog::LoadLongAndStringArraysFromTKPLResource(dialog, "numbers", "strings", number);
    Require(FourDDialog::GetArraySize(dialog, "numbers") == static_cast<long>(pairs.size()),
            "another count of pairs");
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        const auto index = static_cast<long>(i) + 1;
        long value = 0;
        Str255 string;
        FourDDialog::GetArrayElement(dialog, "numbers", index, &value);
        FourDDialog::GetArrayElement(dialog, "strings", index, string);
        Require(value == pairs[i].first, "another number of a pair");
        // Calls carry strings up to a zero, and classic ones not all of a long one.
        const auto shown = [](const std::string& text) {
            return std::string(text.substr(0, 100).c_str());
        };
        Require(pairs[i].second.starts_with(':') ||
                    shown(PascalText(string)) == shown(pairs[i].second),
                "another string of a pair");
    }
    FourDDialog::Close(dialog);
}

void Operate(Input& input) {
    switch (input.Choice(7)) {
    case 0:
        return CheckStyles<FourDStyle>(input, FourD::GetStyleByID, FourD::GetStyleByName);
    case 1:
        return CheckStyles<FourDStyleX>(input, FourD::GetStyleXByID, FourD::GetStyleXByName);
    case 2:
        return CheckMap(input);
    case 3:
        return CheckStrings(input);
    case 4:
        return CheckPairs(input);
    case 5:
        return CheckFormat(input);
    default:
        return CheckForm(input);
    }
}
} // namespace

void Fuzz(Input& input) {
    constexpr unsigned short versions[] = {0x0640, 0x0680, 0x1130};
    HostOptions options{.version = input.PickValueInArray(versions), .pluginResFile = file};
    options.platformInterface = static_cast<long>(input.Choice(7)) - 2;
    ToolboxAddResFile(file);
    FuzzHost host(options);
    for (int i = 0; i < 20 && !input.IsOver(); ++i) {
        Operate(input);
    }
}
