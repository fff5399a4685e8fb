#pragma once

#include "data/blocks/ValueBlock.h"
#include "testhost/values/TypedValue.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class Host;

// How typed values lie in the host's storage. Handles are toolbox handles.

/// What values are laid out by.
struct ValueLayout {
    bool compiled = false; ///< the layout of pointers, as TypedStorage tells
    /// Owner of Unicode texts and, from 11.0 on, of the pictures in value blocks. Without one there
    /// are no such texts, and pictures are those of older hosts.
    Host* host = nullptr;
};

/// Bytes that the value's storage takes.
size_t StoredSize(const TypedValue& value, const ValueLayout& layout);
/// Writes the value into zeroed storage of that size, making the handles it needs.
void Store(const TypedValue& value, const ValueLayout& layout, unsigned char* target);
/// Reads storage that once held `shape`.
TypedValue Fetch(const TypedValue& shape, const ValueLayout& layout, const unsigned char* source);
/// Frees what storage that once held `shape` owns now.
void Free(const TypedValue& shape, const ValueLayout& layout, const unsigned char* source);

/// The value as a value block, everything behind its contents zero.
ValueBlock StoreBlock(const TypedValue& value, const ValueLayout& layout);
/// What a block holds now, by its own type; `shape` tells what a pointer in it leads to.
TypedValue FetchBlock(const TypedValue& shape, const ValueBlock& block, const ValueLayout& layout);
/// Frees what it owns.
void FreeBlock(const TypedValue& shape, const ValueBlock& block, const ValueLayout& layout);

/// The type code of a kind that lies in a value block; undefined for any other kind.
unsigned char BlockType(ValueKind kind);
/// The kind of a type code; none when it is no type of a value.
ValueKind BlockKind(unsigned char type);

/// What a block owns, without the target of a pointer. Whatever the block says, only what its live
/// handles hold is looked at.
struct BlockParts {
    std::vector<Handle> handles;
    std::vector<FDStringBlock> strings;
    std::vector<FDPictureBlock*> pictures;
};
BlockParts PartsOf(const ValueBlock& block, const ValueLayout& layout);
/// Frees all of them; the strings and pictures are the host's of the layout.
void FreeParts(const BlockParts& parts, const ValueLayout& layout);

// --- Arrays, in ArrayStorage.cpp ----------------------------------------------------------

ArrayBlock StoreArray(const TypedValue& array, const ValueLayout& layout);
/// `kind` is an array kind. Elements that the storage does not hold are missing.
TypedValue FetchArray(ValueKind kind, const ArrayBlock& array, const ValueLayout& layout);
/// Adds the storage and what elements 0 to `count` own.
void AddArrayParts(ValueKind kind, const ArrayBlock& array, BlockParts& parts);
/// How many elements the storage holds besides element 0; -1 when not even that.
long ElementsHeld(ValueKind kind, Handle storage);

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

// --- Handles and host strings ----------------------------------------------------------------

/// A handle's bytes, copied out at once: any later memory call may move the block.
std::string HandleContents(Handle handle);
Handle NewHandleWith(std::string_view contents);
/// A host string of a text in UTF-8, which belongs to the host, and back. Throws
/// std::invalid_argument without a host.
FDStringBlock StoreUnicode(std::string_view utf8, const ValueLayout& layout);
std::string FetchUnicode(const FDStringBlock& string, const ValueLayout& layout);
