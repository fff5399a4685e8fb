// Apart from the rest of Scalars.h: the recorder knows sizes, but no toolbox but the host's.

#include "testhost/values/Scalars.h"

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
