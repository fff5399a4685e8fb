#include "ui/FormResource.h"

#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "host/Styles.h"
#include "platform/Compiler.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr unsigned long FormTag = 0x464F524D;   // 'FORM'
constexpr unsigned long LayoutTag = 0x4C41594F; // 'LAYO'
constexpr unsigned long FontAtom = 0x464F4E54;  // 'FONT'
constexpr unsigned long FlagAtom = 0x464C4147;  // 'FLAG'

constexpr long AtomHeaderSize = 8; // also that of the form, before the layout tag
constexpr long FirstAtom = 12;

constexpr long FontPlace = 0;
constexpr long FontSizePlace = 2;
constexpr long StyleIndexPlace = 8;
constexpr long FontAtomSize = 10;
// Deliberate: odd offsets.
constexpr long Flag1Place = 13;
constexpr long Flag2Place = 15;
constexpr long FlagAtomSize = 17;

unsigned long LongAt(const char* bytes) {
    unsigned long value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return SwapBytes(value);
}

short ShortAt(const char* bytes) {
    short value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return SwapBytes(value);
}

void StoreShort(short value, char* bytes) {
    const short swapped = SwapBytes(value);
    std::memcpy(bytes, &swapped, sizeof swapped);
}

} // namespace

FormStyles::~FormStyles() {
    if (list != nullptr) {
        ReleaseResource(list);
    }
}

bool FormStyles::Find(short index, FourDPlatformStyle* style) {
    if (!lookedUp) {
        lookedUp = true;
        list = FourD::GetPluginResource(StyleSetType, number);
        known = list != nullptr && FourD::GetPlatformInterface(&platform) == ResultCode::NoError;
    }
    FourDStyleX found;
    if (!known || FourD::GetStyleXByID(list, index, &found) != ResultCode::NoError) {
        return false;
    }
    *style = EntryForPlatform(found.platforms, platform);
    return style->font[0] != 0;
}

void ScanFormAtoms(Handle form, FO4DAtomProc callback, void* context) {
    if (form == nullptr) {
        return;
    }
    const SHandleLocker locked(form);
    const Size size = GetHandleSize(form);
    if (size < FirstAtom) {
        return;
    }
    char* bytes = *form;
    const auto length = static_cast<long>(LongAt(bytes + 4));
    if (LongAt(bytes) != FormTag || length < 0 || length > size ||
        LongAt(bytes + AtomHeaderSize) != LayoutTag) {
        return;
    }
    // The length may count up to eight bytes more than there are.
    const long end = std::min(length, size - AtomHeaderSize) + AtomHeaderSize;
    long data = FirstAtom + AtomHeaderSize;
    while (data < end) {
        char* atom = bytes + data - AtomHeaderSize;
        const auto atomLength = static_cast<long>(LongAt(atom + 4));
        if (atomLength < 0 || atomLength > end - data ||
            callback(LongAt(atom), bytes + data, atomLength, context) != 0) {
            return;
        }
        data += atomLength + (atomLength & 1) + AtomHeaderSize;
    }
}

void PatchFontAtom(unsigned long type, char* data, long length, FormStyles* styles) {
    if (type != FontAtom || length < FontAtomSize) {
        return;
    }
    const short index = ShortAt(data + StyleIndexPlace);
    if (index < 0) {
        return;
    }
    short font = ShortAt(data + FontPlace);
    short size = ShortAt(data + FontSizePlace);
    FourDPlatformStyle style;
    if (styles->Find(index, &style)) {
        GetFNum(style.font, &font);
        size = style.size;
    }
    StoreShort(font, data + FontPlace);
    StoreShort(size, data + FontSizePlace);
    StoreShort(-1, data + StyleIndexPlace); // so that it is not patched twice
}

void ReadFlagAtom(unsigned long type, const char* data, long length, short* flag1, short* flag2) {
    if (type != FlagAtom || length < FlagAtomSize) {
        return;
    }
    *flag1 = ShortAt(data + Flag1Place);
    *flag2 = ShortAt(data + Flag2Place);
}
