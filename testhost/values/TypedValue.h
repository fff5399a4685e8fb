#pragma once

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// What a command's parameter or result can be.
enum class ValueKind {
    None,
    Short,
    Long,
    Boolean,
    Real,        ///< 64-bit
    Extended,    ///< the host's 10-byte real
    String,      ///< Pascal string
    Text,        ///< text block
    Date,        ///< day, month, year
    Rect,        ///< top, left, bottom, right
    Event,       ///< what, message, when, v, h, modifiers
    Picture,     ///< picture handle
    HandleBytes, ///< any other handle
    Time,        ///< seconds; only inside a value
    Blob,        ///< only inside a value
    Undefined,   ///< only inside a value
    LongArray,
    TextArray,
    Value,       ///< the host's tagged value of the kind `inner`
    Pointer,     ///< a pointer to a target of the kind `inner`
    UnicodeText, ///< a text that the host owns; in UTF-8 here
    RealArray,
    IntegerArray,
    DateArray,
    PictureArray,
    StringArray, ///< numbers: the slot size
    BooleanArray,
    UnicodeTextArray,
    ArrayOfArrays, ///< numbers: the rows' ValueKind
};

/// A value of one of those kinds, away from the storage that the host keeps it in.
struct TypedValue {
    ValueKind kind = ValueKind::None;
    std::vector<long> numbers = {}; ///< integers, dates, rectangles, events, array elements
    double real = 0;                ///< real and extended
    std::vector<std::string> texts =
        {}; ///< bytes of strings, texts and handles (none: null handle)
    /// Of a value or a pointer: one; none: a null pointer. Of arrays other than long and text: the
    /// elements from 1 on, each of the array's element kind.
    std::vector<TypedValue> inner = {};

    /// What is no number equals itself here.
    bool operator==(const TypedValue& other) const;
};

TypedValue NoValue();
TypedValue ShortValue(short number);
TypedValue LongValue(long number);
TypedValue BooleanValue(bool yes);
TypedValue RealValue(double number);
TypedValue ExtendedValue(double number);
TypedValue StringValue(std::string_view text);
/// Characters that a text holds at most.
inline constexpr size_t longestText = 32000;
TypedValue TextValue(std::string_view text);
TypedValue DateValue(short year, short month, short day);
TypedValue RectValue(short top, short left, short bottom, short right);
TypedValue PictureValue(std::string_view bytes);
TypedValue HandleValue(std::string_view bytes);
/// A handle, picture, ... that is null.
TypedValue NullValue(ValueKind kind);
TypedValue LongArrayValue(std::vector<long> elements);
TypedValue TextArrayValue(std::vector<std::string> elements);
TypedValue UnicodeValue(std::string_view utf8);
/// An array of any kind with these elements. `detail` is the slot size of a string array, the
/// rows' kind of an array of arrays.
TypedValue ArrayValue(ValueKind kind, std::vector<TypedValue> elements, long detail = 0);
/// The elements of an array, from 1 on.
std::vector<TypedValue> Elements(const TypedValue& array);
/// Kind of the elements of an array kind; none for any other kind and for arrays of arrays.
ValueKind ElementKind(ValueKind arrayKind);
/// Whether a kind is that of an array, arrays of arrays among them.
bool IsArray(ValueKind kind);
/// 0, an empty text, the empty date, a null handle, an array without elements.
TypedValue EmptyValue(ValueKind kind);
/// The host's tagged value holding `inner`.
TypedValue Tagged(TypedValue inner);
/// A pointer to a target holding `target`.
TypedValue PointerTo(TypedValue target);

/// The word that scripts use for the kind, e.g. "long"; `kind` back from that word.
std::string_view KindName(ValueKind kind);
/// Answers false when no kind has that name.
bool FindKind(std::string_view name, ValueKind& kind);

/// The value as scripts write it: `long 7`, `text "to be"`, `date 2026-11-21`.
std::string Describe(const TypedValue& value);
std::ostream& operator<<(std::ostream& out, const TypedValue& value);
/// Text in quotation marks, with escapes for what is not printable ASCII.
std::string Quoted(std::string_view text);
