#pragma once

#include "testhost/session/Words.h"
#include "testhost/values/TypedValue.h"

/// Takes a kind: "long", "array text", "value". Throws ScriptError for an unknown one.
ValueKind TakeKind(Words& words);
/// Takes what follows a kind to make a value of it: `7` after "long", `1 2 3` after "array long".
TypedValue TakeValueOf(ValueKind kind, Words& words);
/// Takes a kind and its value: `long 7`.
TypedValue TakeValue(Words& words);
/// Takes a kind and a value of it that a variable can have: `time 60`, `array real 1 2.5`.
TypedValue TakeVariableValue(Words& words);
/// Whether a value holds Unicode texts, which only variables of a host from 11.0 on do.
bool IsUnicode(const TypedValue& value);
/// Takes a date: 2026-11-21.
TypedValue TakeDate(Words& words);
/// Takes four characters in quotation marks as a resource type.
unsigned long TakeResourceType(Words& words);
