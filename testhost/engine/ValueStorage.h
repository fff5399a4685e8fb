#pragma once

#include "testhost/engine/TypedValue.h"

#include <cstddef>

// How typed values lie in the host's storage. `compiled` decides the layout of pointers, as
// TypedStorage tells. Handles are toolbox handles.

/// Bytes that the value's storage takes.
size_t StoredSize(const TypedValue& value, bool compiled);
/// Writes the value into zeroed storage of that size, making the handles it needs.
void Store(const TypedValue& value, bool compiled, unsigned char* target);
/// Reads storage that once held `shape`.
TypedValue Fetch(const TypedValue& shape, bool compiled, const unsigned char* source);
/// Frees what storage that once held `shape` owns now.
void Free(const TypedValue& shape, bool compiled, const unsigned char* source);
