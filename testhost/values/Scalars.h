#pragma once

#include "host/boundary/Values.h"
#include "testhost/values/TypedValue.h"

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class HostPictures;
class HostStrings;

// How single values lie in the host's storage, and what storage owns. Handles are toolbox handles.

/// What values are laid out by.
struct ValueLayout {
    bool compiled = false;            ///< a pointer is a value block with a handle to its target
    HostStrings* strings = nullptr;   ///< owner of Unicode texts; null: there are none
    HostPictures* pictures = nullptr; ///< of those in value blocks; null before 11.0

    /// Whether it is that of a host with the engine call-back. Then the host's handles, too, may
    /// lie in values.
    bool HasEngine() const { return pictures != nullptr; }
};

/// The type code of a kind that lies in a value block; undefined for any other kind.
unsigned char BlockType(ValueKind kind);
/// The kind of a type code; none when it is no type of a value.
ValueKind BlockKind(unsigned char type);

/// Handles, strings and pictures that a value owns.
struct BlockParts {
    std::vector<Handle> handles;
    std::vector<FDStringBlock> strings;
    std::vector<FDPictureBlock*> pictures;

    /// Null handles, and strings without units, own nothing.
    void Add(Handle handle);
    void Add(const FDStringBlock& string);
    void Add(const BlockParts& others);
};
/// The parts of `from` that are not in `kept`.
BlockParts PartsWithout(const BlockParts& from, const BlockParts& kept);
/// Frees all of them, each as its owner does; the strings and pictures are the host's of the
/// layout. What is none any more is left alone.
void FreeParts(const BlockParts& parts, const ValueLayout& layout);

/// Bytes that a value takes that is neither a tagged value, an array nor a pointer; 0 for those.
size_t ScalarSize(ValueKind kind);
/// Writes such a value into zeroed storage of that size, making the handle it needs.
void StoreScalar(const TypedValue& value, unsigned char* target);
TypedValue FetchScalar(ValueKind kind, const unsigned char* source);
/// Adds the handle that such a value owns.
void AddScalarParts(ValueKind kind, const unsigned char* source, BlockParts& parts);

/// How closely a value is looked at.
enum class Scrutiny {
    Storage,  ///< what it owns: whether handles are any, and hold what they are to hold
    Contents, ///< dates, booleans and strings that cannot be, too
};
/// What is wrong with such a value as it lies there, as what a sentence says that something holds:
/// "the boolean 7, which is neither 0 nor 1". Nothing when all is well. Looks at nothing that is
/// not there, and no fault of a value becomes a problem of the toolbox.
std::optional<std::string> ScalarFault(ValueKind kind, const unsigned char* source,
                                       const ValueLayout& layout);
/// The same for a handle, behind "whose handle": "was disposed of". Null is all right.
std::optional<std::string> HandleFault(Handle handle, const ValueLayout& layout);
/// The same for `what` ("a text") of so many bytes in a handle.
std::optional<std::string> LengthFault(const std::string& what, long length, Handle handle,
                                       const ValueLayout& layout);
std::optional<std::string> UnicodeFault(const FDStringBlock& string, const ValueLayout& layout);

/// A handle's bytes, copied out at once: any later memory call may move the block.
std::string HandleContents(Handle handle);
/// The same of a handle that may be anyone's, or none: then there are no bytes, and nobody
/// complains.
std::string LiveContents(Handle handle);
Handle NewHandleWith(std::string_view contents);
/// A handle with the value's bytes, null for none at all, and back.
Handle StoreHandle(const TypedValue& value);
TypedValue FetchHandle(ValueKind kind, Handle handle);
/// A text of length 0 has no handle.
TextBlock StoreText(std::string_view text);
std::string FetchText(const TextBlock& text);
/// Copies a text as a Pascal string, cut to what fits.
void StorePascal(std::span<unsigned char> target, std::string_view text);
std::string FetchPascal(const unsigned char* source);
/// Whether the calendar has this date, or it is the empty one: 0, 0, 0.
bool IsDate(long year, long month, long day);
/// The record of a date's numbers, and back.
DateBlock StoreDate(const TypedValue& value);
TypedValue FetchDate(const DateBlock& date);
/// A host string of a text in UTF-8, which belongs to the host, and back. Throws
/// std::invalid_argument without strings.
FDStringBlock StoreUnicode(std::string_view utf8, const ValueLayout& layout);
std::string FetchUnicode(const FDStringBlock& string, const ValueLayout& layout);
