#pragma once

#include "host/boundary/Values.h"
#include "testhost/language/Tokens.h"
#include "testhost/values/TypedValue.h"

class Host;

// What the language's operators make of values. Everything throws LanguageFailure for values of the
// wrong types.

/// The value as one of another kind: longs, reals, times and booleans become one another (reals are
/// cut, a long that is too large is a type error), so do strings and texts.
TypedValue ConvertValue(const TypedValue& value, ValueKind kind);
/// `left operation right`, for an arithmetic operator or a comparison. Whole numbers stay longs
/// where the result is one that fits; / always gives a real. Texts compare without regard to case.
TypedValue Combine(const TypedValue& left, Operator operation, const TypedValue& right);
TypedValue Negate(const TypedValue& value);

// A pointer is a value of the kind pointer whose `numbers` are the fields of its PointerRecord;
// none for a pointer to nothing.

/// The value that points to a variable.
TypedValue PointerToVariable(Host& host, const std::string& name);
/// The value of a block of the type pointer.
TypedValue ReadPointer(const ValueBlock& block);
/// The value in the host's layout, texts cut to 32000 characters. The caller owns what the block
/// holds; -108 without memory.
ValueBlock MakeBlock(Host& host, const TypedValue& value);
