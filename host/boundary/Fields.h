#pragma once

#include "host/boundary/Calls.h"

/// The host's type codes of fields: those of its typed values, and one for 16-bit integers,
/// which typed values do not have.
namespace FieldType {
enum : short {
    Real = ValueType::Real,
    Text = ValueType::Text,
    Date = ValueType::Date,
    Boolean = ValueType::Boolean,
    Integer = 8, ///< 16 bits
    Long = ValueType::Long,
    Picture = ValueType::Picture,
    Time = ValueType::Time,
    Alpha = ValueType::String, ///< text of a fixed greatest length
    Blob = ValueType::Blob,
};
}

/// Bits of a field's attributes.
namespace FieldAttribute {
enum : long { Indexed = 1, Unique = 2, Invisible = 4 };
}

/// What GetFieldInfo tells of a field.
struct FieldInfo {
    short type;         ///< FieldType
    short length;       ///< most characters of an alpha field; 0 for any other
    long attributes;    ///< FieldAttribute bits
    short relatedTable; ///< table and field that the field is related to; 0 without a relation
    short relatedField;
};

/// The part of a call record in which the value of a field travels.
enum class FieldCarrier {
    None,      ///< no type of a field
    Real,      ///< value.real
    Date,      ///< value.date
    Number,    ///< value.number
    Small,     ///< value.small
    ValueText, ///< the Pascal string that ends the value area
    Bytes,     ///< `handle`: a platform handle, null when the value is empty; bytes in param2
};

/// How values of each `fieldType` travel in the calls GetFieldData and SetFieldData; their type
/// itself is in param1. The one who asked owns a handle that the host answers; a handle that is
/// sent stays the sender's.
constexpr FieldCarrier CarrierOf(short fieldType) {
    switch (fieldType) {
    case FieldType::Real:
        return FieldCarrier::Real;
    case FieldType::Date:
        return FieldCarrier::Date;
    case FieldType::Long:
    case FieldType::Time:
        return FieldCarrier::Number;
    case FieldType::Integer:
    case FieldType::Boolean:
        return FieldCarrier::Small;
    case FieldType::Alpha:
        return FieldCarrier::ValueText;
    case FieldType::Text:
    case FieldType::Picture:
    case FieldType::Blob:
        return FieldCarrier::Bytes;
    default:
        return FieldCarrier::None;
    }
}

/// Most characters of an alpha field: what the value area takes.
inline constexpr short LongestAlpha = sizeof(ParameterBlock::valueText) - 1;

/// The value of a field, in the form in which it travels; the type says which member holds it.
/// Whoever has one filled by FourD::GetFieldData owns its handle: FourD::DisposeFieldData.
struct FieldData {
    short type; ///< FieldType
    ValueFields value;
    unsigned char text[sizeof(ParameterBlock::valueText)]; ///< Pascal string
    long size;     ///< bytes of a value that is in the handle
    Handle handle; ///< null when the value is empty
};
