// Arrays and hierarchical lists in dialogs.

#include "data/blocks/Handles.h"
#include "data/Stream.h"
#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "ui/DialogCall.h"
#include "ui/FourDDialog.h"

#include <algorithm>
#include <climits>
#include <cstring>

namespace {

constexpr OSType StringListType = 0x53545223; // "STR#"
constexpr OSType PairListType = 0x544B504C;   // "TKPL"
constexpr unsigned char LongestPairString = 254;

bool IsGiven(const char* name) {
    return name != nullptr && *name != '\0';
}

/// An operation on an element of an array.
class ElementCall : public DialogCall {
  public:
    ElementCall(Selector operation, FourDDialog* dialog, const char* name, long index)
        : DialogCall(operation, dialog, name) {
        (*this)->param2 = index;
    }
};

/// An operation that takes a mask of field types: those of a list that is restricted, or all.
class FieldTypesCall : public DialogCall {
  public:
    FieldTypesCall(Selector operation, FourDDialog* dialog, const char* name,
                   unsigned char restrict)
        : DialogCall(operation, dialog, name) {
        (*this)->param2 = restrict != 0 ? 0x38F : 0;
    }
};

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

/// First element, a number, that equals a value.
template <typename Number>
long FindNumber(FourDDialog* dialog, const char* name, Number value) {
    return FindElement(dialog, name, [=](long index) {
        Number element = 0;
        FourDDialog::GetArrayElement(dialog, name, index, &element);
        return element == value;
    });
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
    DialogCall(Select("DialogNewArrayLong"), dialog, name).Send();
}

void FourDDialog::NewArrayReal(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogNewArrayReal"), dialog, name).Send();
}

void FourDDialog::NewArrayString(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogNewArrayString"), dialog, name).Send();
}

void FourDDialog::NewArrayText(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogNewArrayText"), dialog, name).Send();
}

void FourDDialog::NewArrayPicture(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogNewArrayPicture"), dialog, name).Send();
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index, long value) {
    ElementCall call(Select("DialogSetArrayElementLong"), dialog, name, index);
    call->value.number = value;
    call.Send();
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index, double value) {
    ElementCall call(Select("DialogSetArrayElementReal"), dialog, name, index);
    call.SetReal(value);
    call.Send();
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  const unsigned char* value) {
    ElementCall call(Select("DialogSetArrayElementString"), dialog, name, index);
    call.SetString(value);
    call.Send();
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  const char* value) {
    if (value == nullptr) {
        value = "";
    }
    const size_t length = std::strlen(value);
    if (length >= sizeof(Str255)) {
        const TemporaryHandle text(value, static_cast<long>(length));
        SetArrayElement(dialog, name, index, text.Get());
        return;
    }
    Str255 string = {};
    _CopyC2PStr(value, string);
    SetArrayElement(dialog, name, index, string);
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index, Handle text) {
    ElementCall call(Select("DialogSetArrayElementText"), dialog, name, index);
    call->handle = text;
    call.Send();
}

void FourDDialog::SetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  Picture** picture) {
    ElementCall call(Select("DialogSetArrayElementPicture"), dialog, name, index);
    call.PutAddressOrNull(picture);
    call.Send();
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index, long* value) {
    ElementCall call(Select("DialogGetArrayElementLong"), dialog, name, index);
    const long found = call.Answer().value.number;
    if (value != nullptr) {
        *value = found;
    }
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  double* value) {
    ElementCall call(Select("DialogGetArrayElementReal"), dialog, name, index);
    call.Send();
    if (value != nullptr) {
        *value = call.GetReal();
    }
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index,
                                  unsigned char* value) {
    ElementCall call(Select("DialogGetArrayElementString"), dialog, name, index);
    call.Send();
    call.GetString(value);
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index, char* value) {
    Str255 string = {};
    GetArrayElement(dialog, name, index, string);
    if (value != nullptr) {
        _CopyP2CStr(string, value);
    }
}

void FourDDialog::GetArrayElement(FourDDialog* dialog, const char* name, long index, Handle* text) {
    if (text != nullptr) { // else nobody would own it
        ElementCall call(Select("DialogGetArrayElementText"), dialog, name, index);
        *text = call.Answer().handle;
    }
}

void FourDDialog::GetArrayElement(FourDDialog*, const char*, long, Picture***) {}

long FourDDialog::GetArraySize(FourDDialog* dialog, const char* name) {
    return DialogCall(Select("DialogGetArraySize"), dialog, name).Answer().param2;
}

void FourDDialog::DeleteArrayElements(FourDDialog* dialog, const char* name, long from,
                                      long count) {
    ElementCall call(Select("DialogDeleteArrayElements"), dialog, name, from);
    call->param3 = count;
    call.Send();
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, long value) {
    return FindNumber(dialog, name, value);
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, double value) {
    return FindNumber(dialog, name, value);
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, const unsigned char* value) {
    return FindElement(dialog, name, [=](long index) {
        Str255 element = {};
        GetArrayElement(dialog, name, index, element);
        return value != nullptr && _PStringsEqual(element, value);
    });
}

long FourDDialog::FindInArray(FourDDialog* dialog, const char* name, Handle text) {
    return FindElement(dialog, name, [=](long index) {
        if (text == nullptr) {
            return true;
        }
        TemporaryHandle element;
        GetArrayElement(dialog, name, index, element.Address());
        return BeginsWith(element.Get(), text);
    });
}

// --- Arrays from resources and structure --------------------------------------------------------

void FourDDialog::LoadTextArrayFromResource(FourDDialog* dialog, const char* name, short id) {
    const SResFileSetter ours(gHost.pluginResFile);
    DialogCall call(Select("DialogLoadTextArrayFromResource"), dialog, name);
    call->param2 = StringListType;
    call->param3 = id;
    call.Send();
}

void FourDDialog::LoadTextArrayFromTableNames(FourDDialog* dialog, const char* name,
                                              unsigned char restrict) {
    FieldTypesCall(Select("DialogLoadTextArrayFromTableNames"), dialog, name, restrict).Send();
}

void FourDDialog::LoadTextArrayFromFieldNames(FourDDialog* dialog, const char* name, short table,
                                              unsigned char restrict) {
    FieldTypesCall call(Select("DialogLoadTextArrayFromFieldNames"), dialog, name, restrict);
    call->table = table;
    call.Send();
}

void FourDDialog::LoadTextArrayFromTTR(FourDDialog* dialog, const char* name, Handle text,
                                       short id) {
    DialogCall call(Select("DialogLoadTextArrayFromTTR"), dialog, name);
    call->handle = text;
    call->param2 = id;
    call.Send();
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

// --- Hierarchical lists of tables and fields, and dragging --------------------------------------

void FourDDialog::NewTableFieldHList(FourDDialog* dialog, const char* name, short table,
                                     unsigned char a, unsigned char b, unsigned char restrict,
                                     unsigned char d, unsigned char e) {
    const unsigned char options[] = {a, b, d, e};
    FieldTypesCall call(Select("DialogNewTableFieldHList"), dialog, name, restrict);
    std::memcpy(&call->param3, options, sizeof options);
    call->table = table;
    call.Send();
}

void FourDDialog::ClearHList(FourDDialog* dialog, const char* name) {
    DialogCall(Select("DialogClearHList"), dialog, name).Send();
}

void FourDDialog::GetTableFieldFromHList(FourDDialog* dialog, const char* name, short* table,
                                         short* field, unsigned char restrict) {
    FieldTypesCall call(Select("DialogGetTableFieldFromHList"), dialog, name, restrict);
    call.Send();
    if (table != nullptr) {
        *table = call->table;
    }
    if (field != nullptr) {
        *field = call->field;
    }
}

void FourDDialog::SetTableFieldInHList(FourDDialog* dialog, const char* name, short table,
                                       short field, unsigned char restrict) {
    FieldTypesCall call(Select("DialogSetTableFieldInHList"), dialog, name, restrict);
    call->table = table;
    call->field = field;
    call.Send();
}

void FourDDialog::GetDragInfo(FourDDialog* dialog, char* sourceName, Point* sourcePoint,
                              char* targetName, Point* targetPoint) {
    DialogCall call(Select("DialogGetDragInfo"), dialog);
    call.Send();
    call.GetName(sourceName);
    if (sourcePoint != nullptr) {
        std::memcpy(sourcePoint, &call->param2, sizeof *sourcePoint);
    }
    if (targetName != nullptr) {
        Str255 target = {};
        call.GetString(target);
        _CopyP2CStr(target, targetName);
    }
    if (targetPoint != nullptr) {
        std::memcpy(targetPoint, &call->param3, sizeof *targetPoint);
    }
}
