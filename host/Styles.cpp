#include "host/Styles.h"

#include "data/blocks/Handles.h"
#include "host/Call.h"
#include "host/FourD.h"
#include "platform/Compiler.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <span>
#include <type_traits>

namespace {

constexpr unsigned long StyleType = 0x5374796C;         // 'Styl'
constexpr unsigned long ExtendedStyleType = 0x53747958; // 'StyX'
/// Deliberate: one record of the shorter kind fits into less, and is refused all the same.
constexpr Size SmallestStyleList = 380;
/// Interface kind that stands for those that are not known.
constexpr unsigned long DefaultInterface = 2;
constexpr long White = 0xFFFFFF;

void SwapWords(FourDStyleX* style) {
    style->id = SwapBytes(style->id);
    style->reserved = SwapBytes(style->reserved);
    for (FourDPlatformStyle& platform : style->platforms) {
        platform.size = SwapBytes(platform.size);
    }
}

template <typename Style>
bool ComesBigEndian() {
    return std::is_same_v<Style, FourDStyleX> && gHost.BcdVersion() < 0x0680;
}

/// The records that a list promises, as far as it reaches.
template <typename Style>
std::span<const Style> RecordsOf(Handle list) {
    FourDStyleListHeader header;
    std::memcpy(&header, *list, sizeof header);
    const short count = ComesBigEndian<Style>() ? SwapBytes(header.count) : header.count;
    const Size available = (GetHandleSize(list) - Size{sizeof header}) / Size{sizeof(Style)};
    return {reinterpret_cast<const Style*>(*list + sizeof header),
            static_cast<std::size_t>(std::clamp<Size>(count, 0, available))};
}

/// Copies the first record of a list that is `wanted`, or zeros.
template <typename Style, typename Wanted>
OSErr FindStyle(Handle list, Style* style, Wanted wanted) {
    if (style == nullptr) {
        return ResultCode::BadParameter;
    }
    *style = {};
    if (list == nullptr || GetHandleSize(list) < SmallestStyleList) {
        return ResultCode::BadParameter;
    }
    const SHandleLocker locked(list);
    const auto records = RecordsOf<Style>(list);
    const auto found = std::find_if(records.begin(), records.end(), wanted);
    if (found == records.end()) {
        return ResultCode::NoError;
    }
    *style = *found;
    if constexpr (std::is_same_v<Style, FourDStyleX>) {
        if (ComesBigEndian<Style>()) {
            SwapWords(style);
        }
    }
    return ResultCode::NoError;
}

template <typename Style>
OSErr FindStyleByID(Handle list, short id, Style* style) {
    const short stored = ComesBigEndian<Style>() ? SwapBytes(id) : id;
    return FindStyle(list, style, [stored](const Style& record) { return record.id == stored; });
}

template <typename Style>
OSErr FindStyleByName(Handle list, const unsigned char* name, Style* style) {
    Str255 wanted;
    if (name == nullptr) {
        list = nullptr; // to find nothing in
    } else {
        _CopyPStr(name, wanted); // StringsEqual takes what may be written to
    }
    return FindStyle(list, style, [&wanted](const Style& record) {
        Str31 own;
        std::memcpy(own, record.name, sizeof own);
        own[0] = std::min<unsigned char>(own[0], sizeof own - 1);
        return FourD::StringsEqual(own, wanted) != 0;
    });
}

/// Takes the style out of the resource that `fetch` fetches, which is released.
template <typename Style, typename Fetch>
OSErr TakeStyle(Style* style, Fetch fetch) {
    if (style == nullptr) {
        return ResultCode::BadParameter;
    }
    *style = {};
    const Handle resource = fetch();
    if (resource == nullptr) {
        return ResultCode::ResourceNotFound;
    }
    const bool whole = GetHandleSize(resource) >= Size{sizeof *style};
    if (whole) {
        std::memcpy(style, *resource, sizeof *style);
    }
    ReleaseResource(resource);
    return whole ? ResultCode::NoError : ResultCode::BadParameter;
}

/// The entry of a style for the host's platform interface.
template <typename Style>
OSErr PlatformEntry(const Style* style, FourDPlatformStyle* spec) {
    if (style == nullptr || spec == nullptr) {
        return ResultCode::BadParameter;
    }
    *spec = {};
    long kind = 0;
    const auto error = static_cast<OSErr>(FourD::GetPlatformInterface(&kind));
    if (error == ResultCode::NoError) {
        *spec = EntryForPlatform(style->platforms, kind);
    }
    return error;
}

/// The same of the extended style that `find` fetches.
template <typename Find>
OSErr PlatformEntryOf(Find find, FourDPlatformStyle* spec) {
    if (spec == nullptr) {
        return ResultCode::BadParameter;
    }
    *spec = {};
    FourDStyleX style;
    const OSErr error = find(&style);
    return error != ResultCode::NoError ? error : PlatformEntry(&style, spec);
}

} // namespace

FourDPlatformStyle EntryForPlatform(std::span<const FourDPlatformStyle> entries, long kind) {
    const auto place = static_cast<unsigned long>(kind);
    FourDPlatformStyle entry = entries[place < entries.size() ? place : DefaultInterface];
    entry.font[0] = std::min<unsigned char>(entry.font[0], sizeof entry.font - 1);
    return entry;
}

OSErr FourD::GetStyleRes(short id, FourDStyle* style) {
    return TakeStyle(style, [=] { return GetPluginResource(StyleType, id); });
}

OSErr FourD::GetStyleXResByID(short id, FourDStyleX* style) {
    return TakeStyle(style, [=] { return GetPluginResource(ExtendedStyleType, id); });
}

OSErr FourD::GetStyleXResByName(const unsigned char* name, FourDStyleX* style) {
    if (name == nullptr) {
        return ResultCode::BadParameter;
    }
    return TakeStyle(style, [=] { return GetPluginResourceByName(ExtendedStyleType, name); });
}

OSErr FourD::GetStyleByID(char** list, short id, FourDStyle* style) {
    return FindStyleByID(list, id, style);
}

OSErr FourD::GetStyleByName(char** list, const unsigned char* name, FourDStyle* style) {
    return FindStyleByName(list, name, style);
}

OSErr FourD::GetStyleXByID(char** list, short id, FourDStyleX* style) {
    return FindStyleByID(list, id, style);
}

OSErr FourD::GetStyleXByName(char** list, const unsigned char* name, FourDStyleX* style) {
    return FindStyleByName(list, name, style);
}

OSErr FourD::GetPlatformStyle(const FourDStyle* style, FourDPlatformStyle* spec) {
    return PlatformEntry(style, spec);
}

OSErr FourD::GetPlatformStyle(const FourDStyleX* style, FourDPlatformStyle* spec) {
    return PlatformEntry(style, spec);
}

OSErr FourD::GetPlatformStyleByID(char** list, short id, FourDPlatformStyle* spec) {
    return PlatformEntryOf([=](auto* style) { return GetStyleXByID(list, id, style); }, spec);
}

OSErr FourD::GetPlatformStyleSpecByID(short id, FourDPlatformStyle* spec) {
    return PlatformEntryOf([=](auto* style) { return GetStyleXResByID(id, style); }, spec);
}

OSErr FourD::GetPlatformStyleSpecByName(const unsigned char* name, FourDPlatformStyle* spec) {
    return PlatformEntryOf([=](auto* style) { return GetStyleXResByName(name, style); }, spec);
}

OSErr FourD::GetRGBColor(long color, RGBColor* rgb) {
    if (rgb == nullptr) {
        return ResultCode::BadParameter;
    }
    *rgb = {};
    if (color < -4) {
        return ResultCode::BadParameter;
    }
    const long value = color >= 0 ? color : Hack4DStdColor(color);
    const auto component = [value](int shift) {
        return static_cast<unsigned short>((value >> shift & 0xFF) * 257); // c in both bytes
    };
    *rgb = {component(16), component(8), component(0)};
    return ResultCode::NoError;
}

OSErr FourD::GetDrawingColor(short index, long* red, long* green, long* blue) {
    if (red == nullptr || green == nullptr || blue == nullptr) {
        return ResultCode::BadParameter;
    }
    *red = *green = *blue = 0;
    if (index < 0 || index > 3) {
        return ResultCode::BadParameter;
    }
    SysColors4D* table = nullptr;
    const OSErr error = GetColors(&table);
    if (error != ResultCode::NoError || table == nullptr) {
        return error;
    }
    const RGBColor& color = table->colors[index];
    *red = color.red;
    *green = color.green;
    *blue = color.blue;
    return ResultCode::NoError;
}

OSErr FourD::GetColors(SysColors4D** colors) {
    HostCall call(Select("SystemColors"));
    return call.SendThen(colors, static_cast<SysColors4D*>(nullptr),
                         [&] { *colors = reinterpret_cast<SysColors4D*>(call->handle); });
}

long Hack4DStdColor(long color) {
    // A row for each interface kind, in it the colours -1 to -4.
    static constexpr long Colors[4][4] = {
        {0x000000, 0xFFFFFF, 0x7F7F7F, 0xFFFFFF},
        {0x000000, 0xFFFFFF, 0x404040, 0xFFFFFF},
        {0x000000, 0xC0C0C0, 0x404040, 0xFFFFFF},
        {0x000000, 0xDDDDDD, 0x888888, 0xFFFFFF},
    };
    long kind = 0;
    if (FourD::GetPlatformInterface(&kind) != ResultCode::NoError || color < -4 || color > -1) {
        return White;
    }
    const auto row = static_cast<unsigned long>(kind);
    return Colors[row < std::size(Colors) ? row : DefaultInterface][-1 - color];
}

long MapDefaultColorToSysColors4DSelector(long color) {
    // A row for each interface kind from -1 on, in it the colours -1 to -4.
    static constexpr long Selectors[5][4] = {
        {3, 0, 2, 1}, {3, 0, 2, 1}, {3, 0, 2, 1}, {3, 0, 2, 1}, {3, 1, 2, 1},
    };
    long kind = 0;
    if (FourD::GetPlatformInterface(&kind) != ResultCode::NoError || kind < -1 || kind > 3 ||
        color < -4 || color > -1) {
        return -1;
    }
    return Selectors[kind + 1][-1 - color];
}
