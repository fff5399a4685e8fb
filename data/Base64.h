#pragma once

#include "platform/Compiler.h"
#include "platform/Types.h"

// Base64 with the standard alphabet, "=" for padding and no line breaks. All lengths are bytes.
// Nothing is validated but pointers and the length rule: a character outside the alphabet decodes
// to meaningless bits (those of '/') without any error. `dst` and `src` must not overlap, and no
// zero byte is written behind the result.
extern "C" {

/// Encoded size of `len` bytes.
unsigned long Base64EncodeGetLength(unsigned long len);
/// Writes Base64EncodeGetLength(len) characters for the bytes at `src` to `dst` and returns how
/// many they are: 0 when there is nothing to encode or a pointer is null.
NIMBO_REALIGN unsigned long Base64Encode(void* dst, const void* src, unsigned long len);

/// Bytes that a decode of `len` characters writes, those of the padding included: 0 when `len` is
/// not a multiple of 4.
unsigned long Base64DecodeGetLength(unsigned long len);
/// Writes Base64DecodeGetLength(len) bytes for the characters at `src` to `dst` and returns how
/// many count: each group of 4 characters that ends in "=" takes off 1, in "==" 2, wherever it
/// stands. Returns 0 and writes nothing when `len` is not a multiple of 4 or a pointer is null.
NIMBO_REALIGN unsigned long Base64Decode(void* dst, const void* src, unsigned long len);

/// Replaces the contents of a toolbox handle with their encoding. Does nothing when it is null or
/// empty, or when memory runs out.
NIMBO_REALIGN void Base64EncodeHandle(Handle handle);
/// Replaces the contents of a toolbox handle with their decoding. Does nothing when it is null or
/// empty, or when memory runs out; a length that is not a multiple of 4 empties it.
NIMBO_REALIGN void Base64DecodeHandle(Handle handle);
}
