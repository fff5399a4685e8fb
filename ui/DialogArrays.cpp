// Arrays and hierarchical lists in dialogs.

#include "data/Handles.h"
#include "data/Stream.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/Strings.h"
#include "ui/DialogCall.h"
#include "ui/FourDDialog.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

constexpr OSType StringListType = 0x53545223; // "STR#"
constexpr OSType PairListType = 0x544B504C;   // "TKPL"
constexpr size_t LongestString = 255;
constexpr unsigned char LongestPairString = 254;

long FieldTypes(unsigned char restrict) {
    return restrict != 0 ? RestrictedFieldTypes : 0;
}

bool IsGiven(const char* name) {
    return name != nullptr && *name != '\0';
}

Handle ElementHandle(FourDDialog* dialog, const char* name, long index) {
    const DialogValues answered =
        Perform(Operation("GetTextElement"), {.dialog = dialog, .name = name, .param2 = index});
    return static_cast<Handle>(const_cast<void*>(answered.address));
}

/// Whether a text begins with another one. What follows in it deliberately does not count.
bool BeginsWith(Handle text, Handle beginning) {
    const Size length = GetHandleSize(beginning);
    return length == 0 || (text != nullptr && GetHandleSize(text) >= length &&
                           std::memcmp(*text, *beginning, static_cast<size_t>(length)) == 0);
}

/// First element, from 0 to the last one, for which `matches` holds; -1 when there is none.
template <typename Matches>
long FindElement(FourDDialog* dialog, const char* name, Matches matches) {
    const long last = std::min(FourDDialog::GetArraySize(dialog, name), LONG_MAX - 1);
    for (long i = 0; i <= last; ++i) {
        if (matches(i)) {
            return i;
        }
    }
    return -1;
}

/// Number of strings in a string list of the plug-in; 0 when there is none.
short CountStrings(short id) {
    const Handle list = FourD::GetPluginResource(StringListType, id);
    if (list == nullptr) {
        return 0;
    }
    unsigned char count[2] = {}; // the high byte first
    if (GetHandleSize(list) >= static_cast<Size>(sizeof count)) {
        std::memcpy(count, *list, sizeof count);
    }
    ReleaseResource(list);
    return static_cast<short>(count[0] << 8 | count[1]);
}

/// Calls `set` with each number, from 1, and string of a string list of the plug-in.
template <typename Set>
void ForEachString(short id, Set set) {
    const short count = CountStrings(id);
    for (long i = 1; i <= count; ++i) {
        Str255 string = {};
        FourD::GetPluginIndString(string, id, static_cast<short>(i));
        set(i, string);
    }
}

/// The next value and string of a pair list; strings are cut to 254 characters.
bool ReadPair(CStream* pairs, long* value, unsigned char* string) {
    if (pairs->Read(value) != 0 || pairs->Read(string, 0) != 0) {
        return false;
    }
    if (string[0] > LongestPairString) {
        string[0] = LongestPairString;
    }
    return true;
}

} // namespace

// --- Arrays -------------------------------------------------------------------------------------

void FourDDialog::NewArrayLong(FourDDialog* dialog, const char* name) {
    Perform(Operation("NewArrayLong"), {.dialog = dialog, .name = name});
}

void FourDDialog::NewArrayReal(FourDDialog* dialog, const char* name) {
    Perform(Operation("NewArrayReal"), {.dialog = dialog, .name = name});
}

void FourDDialog::NewArrayString(FourDDialog* dialog, const char* name) {
    Perform(Operation("NewArrayString"), {.dialog = dialog, .name = name});
}

void FourDDialog::NewArrayText(FourDDialog* dialog, const char* name) {
    Perform(Operation("NewArrayText"), {.dialog = dialog, .name = name});
}

void FourDDialog::NewArrayPicture(FourDDialog* dialog, const char* name) {
    Perform(Operation("NewArrayPicture"), {.dialog = dialog, .name = name});
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index, long value) {
    Perform(Operation("SetLongElement"),
            {.dialog = dialog, .name = name, .number = value, .param2 = index});
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index, double value) {
    Perform(Operation("SetRealElement"),
            {.dialog = dialog, .name = name, .real = value, .param2 = index});
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  const unsigned char* value) {
    Perform(Operation("SetStringElement"),
            {.dialog = dialog, .name = name, .string = value, .param2 = index});
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  const char* value) {
    const size_t length = value != nullptr ? std::strlen(value) : 0;
    if (length > LongestString) {
        const TemporaryHandle text(value, static_cast<long>(length));
        SetArrayElement(dialog, name, index, text.Get());
        return;
    }
    Str255 string = {};
    _CopyC2PStr(value != nullptr ? value : "", string);
    SetArrayElement(dialog, name, index, string);
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index, Handle text) {
    Perform(Operation("SetTextElement"),
            {.dialog = dialog, .name = name, .address = text, .param2 = index});
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  Picture** picture) {
    Perform(Operation("SetPictureElement"),
            {.dialog = dialog, .name = name, .address = picture, .param2 = index});
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index, long* value) {
    *value = Perform(Operation("GetLongElement"), {.dialog = dialog, .name = name, .param2 = index})
                 .number;
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  double* value) {
    *value = Perform(Operation("GetRealElement"), {.dialog = dialog, .name = name, .param2 = index})
                 .real;
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  unsigned char* value) {
    Perform(Operation("GetStringElement"),
            {.dialog = dialog, .name = name, .param2 = index, .stringResult = value});
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index, char* value) {
    Str255 string = {};
    GetArrayElement(dialog, name, index, string);
    _CopyP2CStr(string, value);
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index, Handle* text) {
    *text = ElementHandle(dialog, name, index);
}

void FourDDialog::GetArrayElement(FourDDialog*, const char*, long, Picture***) {}

long FourDDialog::GetArraySize(FourDDialog* dialog, const char* name) {
    return Perform(Operation("GetArraySize"), {.dialog = dialog, .name = name}).param2;
}

void FourDDialog::DeleteArrayElements(FourDDialog* dialog, const char* name, long from,
                                      long count) {
    Perform(Operation("DeleteArrayElements"),
            {.dialog = dialog, .name = name, .param2 = from, .param3 = count});
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, long value) {
    return FindElement(dialog, name, [=](long index) {
        long element = 0;
        GetArrayElement(dialog, name, index, &element);
        return element == value;
    });
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, double value) {
    return FindElement(dialog, name, [=](long index) {
        double element = 0;
        GetArrayElement(dialog, name, index, &element);
        return element == value;
    });
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, const unsigned char* value) {
    return FindElement(dialog, name, [=](long index) {
        Str255 element = {};
        GetArrayElement(dialog, name, index, element);
        return _PStringsEqual(element, value);
    });
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, Handle text) {
    return FindElement(dialog, name, [=](long index) {
        if (text == nullptr) {
            return true;
        }
        const TemporaryHandle element(ElementHandle(dialog, name, index));
        return BeginsWith(element.Get(), text);
    });
}

// --- Arrays from resources and structure
// ----------------------------------------------------------

void FourDDialog::LoadTextArrayFromResource(FourDDialog* dialog, const char* name, short id) {
    const SResFileSetter ours(gHost.pluginResFile);
    Perform(Operation("LoadTextArrayFromResource"),
            {.dialog = dialog, .name = name, .param2 = StringListType, .param3 = id});
}

void FourDDialog::LoadTextArrayFromTableNames(FourDDialog* dialog, const char* name,
                                              unsigned char restrict) {
    Perform(Operation("LoadTextArrayFromTableNames"),
            {.dialog = dialog, .name = name, .param2 = FieldTypes(restrict)});
}

void FourDDialog::LoadTextArrayFromFieldNames(FourDDialog* dialog, const char* name, short table,
                                              unsigned char restrict) {
    Perform(Operation("LoadTextArrayFromFieldNames"),
            {.dialog = dialog, .name = name, .param2 = FieldTypes(restrict), .table = table});
}

void FourDDialog::LoadTextArrayFromTTR(FourDDialog* dialog, const char* name, Handle text,
                                       short id) {
    Perform(Operation("LoadTextArrayFromTTR"),
            {.dialog = dialog, .name = name, .address = text, .param2 = id});
}

void FourDDialog::LoadLongArrayFromResource(FourDDialog* dialog, const char* name, short id) {
    NewArrayLong(dialog, name);
    ForEachString(id, [=](long index, const unsigned char* string) {
        long value = 0;
        StringToNum(string, &value);
        SetArrayElement(dialog, name, index, value);
    });
}

void FourDDialog::LoadStringArrayFromResource(FourDDialog* dialog, const char* name, short id) {
    NewArrayString(dialog, name);
    ForEachString(id, [=](long index, const unsigned char* string) {
        SetArrayElement(dialog, name, index, string);
    });
}

void FourDDialog::LoadLongAndStringArraysFromTKPLResource(FourDDialog* dialog, const char* longName,
                                                          const char* stringName, short id) {
    if (IsGiven(longName)) {
        NewArrayLong(dialog, longName);
    }
    if (IsGiven(stringName)) {
        NewArrayString(dialog, stringName);
    }
    const Handle resource = FourD::GetPluginResource(PairListType, id);
    if (resource == nullptr) {
        return;
    }
    {
        CHandleStream pairs(resource, 0);
        short count = 0;
        pairs.Read(&count);
        long value = 0;
        Str255 string = {};
        for (long i = 1; i <= count && ReadPair(&pairs, &value, string); ++i) {
            FourD::EvalPluginStringWithResRefs(string);
            if (IsGiven(longName)) {
                SetArrayElement(dialog, longName, i, value);
            }
            if (IsGiven(stringName)) {
                SetArrayElement(dialog, stringName, i, string);
            }
        }
        pairs.SetPosition(pairs.GetSize()); // a stream's handle ends where the stream stands
    }
    ReleaseResource(resource);
}

// --- Hierarchical lists of tables and fields, and dragging
// ----------------------------------------

void FourDDialog::NewTableFieldHList(FourDDialog* dialog, const char* name, short table,
                                     unsigned char a, unsigned char b, unsigned char restrict,
                                     unsigned char d, unsigned char e) {
    const unsigned char options[] = {a, b, d, e};
    long packed = 0;
    std::memcpy(&packed, options, sizeof packed);
    Perform(Operation("NewTableFieldHList"), {.dialog = dialog,
                                              .name = name,
                                              .param2 = FieldTypes(restrict),
                                              .param3 = packed,
                                              .table = table});
}

void FourDDialog::ClearHList(FourDDialog* dialog, const char* name) {
    Perform(Operation("ClearHList"), {.dialog = dialog, .name = name});
}

void FourDDialog::GetTableFieldFromHList(FourDDialog* dialog, const char* name, short* table,
                                         short* field, unsigned char restrict) {
    const DialogValues selected =
        Perform(Operation("GetTableFieldFromHList"),
                {.dialog = dialog, .name = name, .param2 = FieldTypes(restrict)});
    if (table != nullptr) {
        *table = selected.table;
    }
    if (field != nullptr) {
        *field = selected.field;
    }
}

void FourDDialog::SetTableFieldInHList(FourDDialog* dialog, const char* name, short table,
                                       short field, unsigned char restrict) {
    Perform(Operation("SetTableFieldInHList"), {.dialog = dialog,
                                                .name = name,
                                                .param2 = FieldTypes(restrict),
                                                .table = table,
                                                .field = field});
}

void FourDDialog::GetDragInfo(FourDDialog* dialog, char* sourceName, Point* sourcePoint,
                              char* targetName, Point* targetPoint) {
    Str255 target = {};
    const DialogValues drag =
        Perform(Operation("GetDragInfo"),
                {.dialog = dialog, .nameResult = sourceName, .stringResult = target});
    if (sourcePoint != nullptr) {
        std::memcpy(sourcePoint, &drag.param2, sizeof *sourcePoint);
    }
    if (targetName != nullptr) {
        _CopyP2CStr(target, targetName);
    }
    if (targetPoint != nullptr) {
        std::memcpy(targetPoint, &drag.param3, sizeof *targetPoint);
    }
}
