// Apart from the rest of Arguments.h: the recorder reads usages, but has no toolbox but the host's.

#include "testhost/plugins/Arguments.h"

bool Arguments::Accepts(ValueKind kind) {
    switch (kind) {
    case ValueKind::None:
    case ValueKind::Time:
    case ValueKind::Blob:
    case ValueKind::Undefined:
    case ValueKind::UnicodeText:
    case ValueKind::UnicodeTextArray:
        return false;
    default:
        return true;
    }
}

bool ResultCell::Accepts(ValueKind kind) {
    switch (kind) {
    case ValueKind::None:
    case ValueKind::Short:
    case ValueKind::Long:
    case ValueKind::Boolean:
    case ValueKind::Picture:
        return true;
    default:
        return NeedsStorage(kind);
    }
}

bool ResultCell::NeedsStorage(ValueKind kind) {
    return kind == ValueKind::Extended || kind == ValueKind::Date || kind == ValueKind::String ||
           kind == ValueKind::Text;
}
