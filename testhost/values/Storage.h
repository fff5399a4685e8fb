#pragma once

#include "testhost/values/Scalars.h"

// How values of all kinds lie in the host's storage.

/// Bytes that the value's storage takes.
size_t StoredSize(const TypedValue& value, const ValueLayout& layout);
/// Writes the value into zeroed storage of that size, making the handles it needs.
void Store(const TypedValue& value, const ValueLayout& layout, unsigned char* target);
/// Reads storage that once held `shape`.
TypedValue Fetch(const TypedValue& shape, const ValueLayout& layout, const unsigned char* source);
/// What is wrong with it now, see ScalarFault.
std::optional<std::string> StorageFault(const TypedValue& shape, const ValueLayout& layout,
                                        const unsigned char* source);
/// What it owns now.
BlockParts StoredParts(const TypedValue& shape, const ValueLayout& layout,
                       const unsigned char* source);

/// The value as a value block, everything behind its contents zero.
ValueBlock StoreBlock(const TypedValue& value, const ValueLayout& layout);
/// What a block holds now, by its own type; `shape` tells what a pointer in it leads to.
TypedValue FetchBlock(const TypedValue& shape, const ValueBlock& block, const ValueLayout& layout);
/// What is wrong with it, see ScalarFault.
std::optional<std::string> BlockFault(const TypedValue& shape, const ValueBlock& block,
                                      const ValueLayout& layout,
                                      Scrutiny scrutiny = Scrutiny::Contents);
/// What a block owns. Whatever the block says, only what its live handles hold is looked at.
BlockParts PartsOf(const ValueBlock& block, const ValueLayout& layout);
/// The same with what the target of a pointer owns.
BlockParts PartsWithTarget(const TypedValue& shape, const ValueBlock& block,
                           const ValueLayout& layout);
