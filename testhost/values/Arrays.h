#pragma once

#include "testhost/values/Scalars.h"

#include <optional>

// How arrays lie in the host's storage. `kind` is always an array kind.

ArrayBlock StoreArray(const TypedValue& array, const ValueLayout& layout);
/// Elements that the storage does not hold are missing.
TypedValue FetchArray(ValueKind kind, const ArrayBlock& array, const ValueLayout& layout);
/// Adds the storage and what elements 0 to `count` own.
void AddArrayParts(ValueKind kind, const ArrayBlock& array, BlockParts& parts);
/// What is wrong with it, see ScalarFault: "in element 3 a text whose handle was disposed of".
std::optional<std::string> ArrayFault(ValueKind kind, const ArrayBlock& array,
                                      const ValueLayout& layout,
                                      Scrutiny scrutiny = Scrutiny::Contents);

/// Element `index`, from 0; nothing when the array does not have it.
std::optional<TypedValue> FetchElement(ValueKind kind, const ArrayBlock& array, long index,
                                       const ValueLayout& layout);
/// Replaces element `index` and frees what the former one owned; the array grows so that it has the
/// element. `element` is to be of the array's element kind. False without memory.
bool ReplaceElement(ValueKind kind, ArrayBlock& array, long index, const TypedValue& element,
                    const ValueLayout& layout);
/// Takes `count` elements out of an array, from `from` (1 or above) on, as far as there are any.
void RemoveElements(ValueKind kind, ArrayBlock& array, long from, long count,
                    const ValueLayout& layout);
