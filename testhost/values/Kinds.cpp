// Apart from the rest of Scalars.h and TypedValue.h: the recorder knows sizes and names, but no
// toolbox but the host's, and is not to bring all of the standard library into it.

#include "testhost/values/Scalars.h"

#include <cstdio>
#include <iterator>

namespace {
// In the order of ValueKind.
constexpr std::string_view kindNames[] = {
    "none",         "short",         "long",          "boolean",     "real",
    "extended",     "string",        "text",          "date",        "rect",
    "event",        "picture",       "handle",        "time",        "blob",
    "undefined",    "array long",    "array text",    "value",       "pointer",
    "unicode",      "array real",    "array integer", "array date",  "array picture",
    "array string", "array boolean", "array unicode", "array array",
};
static_assert(std::size(kindNames) == static_cast<size_t>(ValueKind::ArrayOfArrays) + 1);
} // namespace

size_t ScalarSize(ValueKind kind) {
    switch (kind) {
    case ValueKind::Short:
        return sizeof(short);
    case ValueKind::Long:
        return sizeof(long);
    case ValueKind::Boolean:
        return 1;
    case ValueKind::Real:
        return sizeof(double);
    case ValueKind::Extended:
        return sizeof(REAL_U);
    case ValueKind::String:
        return sizeof(Str255);
    case ValueKind::Text:
        return sizeof(TextBlock);
    case ValueKind::Date:
        return sizeof(DateBlock);
    case ValueKind::Rect:
        return sizeof(Rect);
    case ValueKind::Event:
        return sizeof(EventRecord);
    case ValueKind::Picture:
    case ValueKind::HandleBytes:
        return sizeof(Handle);
    default:
        return 0;
    }
}

std::string_view KindName(ValueKind kind) {
    return kindNames[static_cast<size_t>(kind)];
}

bool FindKind(std::string_view name, ValueKind& kind) {
    for (size_t place = 0; place < std::size(kindNames); ++place) {
        if (kindNames[place] == name) {
            kind = static_cast<ValueKind>(place);
            return true;
        }
    }
    return false;
}

std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (char character : text) {
        switch (character) {
        case '"':
        case '\\':
            quoted += '\\';
            quoted += character;
            break;
        case '\n':
            quoted += "\\n";
            break;
        case '\r':
            quoted += "\\r";
            break;
        case '\t':
            quoted += "\\t";
            break;
        default:
            if (character >= ' ' && character <= '~') {
                quoted += character;
            } else {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\x%02X",
                              static_cast<unsigned>(static_cast<unsigned char>(character)));
                quoted += escape;
            }
        }
    }
    return quoted + "\"";
}

ValueKind ElementKind(ValueKind arrayKind) {
    switch (arrayKind) {
    case ValueKind::RealArray:
        return ValueKind::Real;
    case ValueKind::IntegerArray:
        return ValueKind::Short;
    case ValueKind::LongArray:
        return ValueKind::Long;
    case ValueKind::DateArray:
        return ValueKind::Date;
    case ValueKind::TextArray:
        return ValueKind::Text;
    case ValueKind::PictureArray:
        return ValueKind::Picture;
    case ValueKind::StringArray:
        return ValueKind::String;
    case ValueKind::BooleanArray:
        return ValueKind::Boolean;
    case ValueKind::UnicodeTextArray:
        return ValueKind::UnicodeText;
    default:
        return ValueKind::None;
    }
}

bool IsArray(ValueKind kind) {
    return kind == ValueKind::ArrayOfArrays || ElementKind(kind) != ValueKind::None;
}
