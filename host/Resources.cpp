#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "shell/base/TextServices.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <span>
#include <string_view>

namespace {

#pragma pack(push, 2)

/// Entry of a resource map, which begins with a 16-bit count of them.
struct MapEntry {
    unsigned long type;
    short localID;
    short number;
};

#pragma pack(pop)

static_assert(sizeof(MapEntry) == 8);

/// The entries that the map promises, as far as it reaches.
std::span<const MapEntry> EntriesOf(Handle map) {
    const Size size = GetHandleSize(map);
    short count = 0;
    if (size < static_cast<Size>(sizeof count)) {
        return {};
    }
    std::memcpy(&count, *map, sizeof count);
    const Size available = (size - static_cast<Size>(sizeof count)) / Size{sizeof(MapEntry)};
    return {reinterpret_cast<const MapEntry*>(*map + sizeof count),
            static_cast<std::size_t>(std::clamp<Size>(count, 0, available))};
}

/// What a reference stands for: itself when it consists of digits, else the variable of its name.
short ReferenceNumber(std::string_view reference) {
    Str255 text;
    text[0] = static_cast<unsigned char>(reference.size());
    std::memcpy(text + 1, reference.data(), reference.size());
    long number = 0;
    if (reference.find_first_not_of("0123456789") == std::string_view::npos) {
        StringToNum(text, &number);
    } else if (FourD::StripIPVarName(text) != 0) {
        FourD::GetLongIPVar(text, &number);
    } else {
        FourD::GetLongVar(text, &number);
    }
    return static_cast<short>(number);
}

} // namespace

short FourD::CurProcResID() {
    return gHost.pluginResID;
}

Handle FourD::GetPluginResource(unsigned long type, short id) {
    const SResFileSetter setter(gHost.pluginResFile);
    return GetResource(type, id);
}

Handle FourD::GetPluginResourceByName(unsigned long type, const unsigned char* name) {
    if (name == nullptr) {
        return nullptr;
    }
    const SResFileSetter setter(gHost.pluginResFile);
    return GetNamedResource(type, name);
}

short FourD::GetResNum(unsigned long mapType, unsigned long type, short localID) {
    const Handle map = GetPluginResource(mapType, CurProcResID());
    if (map == nullptr) {
        return 0;
    }
    const auto entries = EntriesOf(map);
    const auto found = std::find_if(entries.begin(), entries.end(), [=](const MapEntry& entry) {
        return entry.type == type && entry.localID == localID;
    });
    const short number = found != entries.end() ? found->number : short{0};
    ReleaseResource(map);
    return number;
}

void FourD::GetPluginIndString(unsigned char* out, short listID, short index) {
    if (out == nullptr) {
        return;
    }
    const SResFileSetter setter(gHost.pluginResFile);
    out[0] = 0;
    GetIndString(out, listID, index);
}

void FourD::GetPluginIndCString(char* out, short listID, short index) {
    if (out == nullptr) {
        return;
    }
    Str255 item;
    GetPluginIndString(item, listID, index);
    _CopyP2CStr(item, out);
}

void FourD::GetPluginSprIndString(unsigned char* out, short listID, short index, ...) {
    if (out == nullptr) {
        return;
    }
    char format[256];
    GetPluginIndCString(format, listID, index);
    std::va_list arguments; // NOLINT(cppcoreguidelines-init-variables): va_start does
    // The parameter is a short by the published signature; the compiler takes it as it was passed.
    va_start(arguments, index); // NOLINT(clang-diagnostic-varargs)
    _FormatPWithCStrV(out, format, arguments);
    va_end(arguments);
}

void FourD::EvalPluginStringWithResRefs(unsigned char* text) {
    if (text == nullptr) {
        return;
    }
    char buffer[256];
    _CopyP2CStr(text, buffer);
    const std::string_view whole = buffer;
    const std::size_t comma = whole.find(',');
    if (!whole.starts_with(':') || comma == std::string_view::npos) {
        return;
    }
    // Not substr, which brings the library's exceptions with it: some 90 KB.
    const std::string_view list(whole.data() + 1, comma - 1);
    const std::string_view index(whole.data() + comma + 1, whole.size() - comma - 1);
    if (list.empty() || index.empty()) {
        return;
    }
    const short listID = ReferenceNumber(list);
    GetPluginIndString(text, listID, ReferenceNumber(index));
}
