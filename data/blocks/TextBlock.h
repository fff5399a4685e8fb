#pragma once

#include "host/boundary/Values.h"
#include "platform/Compiler.h"

#pragma pack(push, 2)

// It may alias: it is laid over the text records of the host.

/// Up to 32000 bytes of 8-bit text in one platform handle, without a terminator. It has the
/// layout of the host's TextBlock, so a text that the host hands over is used in place.
///
/// The handle is sized to exactly the length; a length of 0 means that there is none. There is no
/// destructor: whoever owns the text frees it with SetLength(0), and the handle of a text that
/// overlays the host's record stays the host's.
///
/// Sources that are too long are cut to what fits and are no error. Errors are 16-bit codes: 0,
/// -50 for a bad argument, -108 when memory is full. Positions count from 1. `Str255` sources are
/// Pascal strings.
class NIMBO_MAY_ALIAS CTextBlock {
  public:
    static constexpr short MaxLength = 32000;

    CTextBlock() = default;
    /// @family A copy of another text (`other`), of a Pascal string, or of a zero-terminated
    /// `text`.
    CTextBlock(CTextBlock& other) : CTextBlock(&other) {}
    explicit CTextBlock(CTextBlock* other);
    explicit CTextBlock(const unsigned char (&string)[256]);
    explicit CTextBlock(const char* text);
    /// `length` `bytes`; a negative number of them gives an empty text.
    CTextBlock(const char* bytes, short length);
    /// The whole contents of a `handle`, its size taken as 16-bit.
    explicit CTextBlock(char** handle);
    CTextBlock& operator=(const CTextBlock&) = delete; // SetTo tells of errors

    /// Resizes the text to `length` bytes; those that are new have no particular value. A negative
    /// length changes nothing. On -108 the length already is the new one, so look before touching
    /// the bytes.
    long SetLength(short length);
    /// Bytes in the text.
    short GetLength() const { return fSize; }
    /// The handle; null when the text is empty. It stays the text's.
    Handle GetHandle() const { return fHandle; }

    /// The byte at a `position`; 0 outside the text.
    char GetChar(short position) const;
    /// Stores `byte` at a `position`; does nothing outside the text.
    void SetChar(short position, char byte);

    /// @family Replaces the whole text by another (`other`), a Pascal string (`string`), a
    /// zero-terminated one (`text`), `length` `bytes`, or the contents of a `handle`. A
    /// zero-terminated source is measured in 16 bits: one of 32768 bytes and more may measure
    /// negative, and then changes nothing.
    long SetTo(CTextBlock& other) { return SetTo(&other); }
    long SetTo(CTextBlock* other);
    long SetTo(const unsigned char* string);
    long SetTo(const char* text);
    long SetTo(const char* bytes, short length);
    long SetTo(char** handle);

    /// @family Adds at the end, as much as fits: another text (`other`), a Pascal string
    /// (`string`), a zero-terminated one (`text`) as above, `length` `bytes`, or the contents of a
    /// `handle`.
    long Append(CTextBlock& other) { return Append(&other); }
    long Append(CTextBlock* other);
    long Append(const unsigned char (&string)[256]);
    long Append(const char* text);
    long Append(const char* bytes, short length);
    long Append(char** handle);

    /// As a Pascal string of at most 255 characters.
    void CopyTo(unsigned char* string) const;
    /// With a terminator; `text` holds the length + 1 bytes. Null is allowed, here and below.
    void CopyTo(char* text) const;
    /// At most `max` bytes and a terminator; `text` holds `max` + 1 bytes.
    void CopyTo(char* text, short max) const;
    /// Into a new platform handle, which the caller owns; null when memory is full.
    void CopyTo(char*** handle) const;
    /// The bytes alone.
    void CopyTo(void* bytes) const;

    /// @family Replaces every occurrence of `search`, a Pascal string, left to right, by a
    /// `replacement` or `length` `bytes`. Answers how many, or an error.
    long Replace(unsigned char* search, CTextBlock& replacement) {
        return Replace(search, replacement.fHandle);
    }
    long Replace(unsigned char* search, CTextBlock* replacement) {
        return Replace(search, replacement->fHandle);
    }
    long Replace(unsigned char* search, const unsigned char (&replacement)[256]);
    long Replace(unsigned char* search, const char* replacement);
    long Replace(unsigned char* search, const char* bytes, short length);
    long Replace(unsigned char* search, char** replacement);

  private:
    /// Bytes that are really there: fewer than the length after a failed allocation, or when the
    /// host's record says more than its handle holds.
    long Stored() const;

    // A source is a handle, whose bytes are looked up when they are copied, or plain bytes.
    void CopyBytes(void* target, long length) const;
    void Fill(Handle source, const char* bytes, long position, long length);
    long SetFrom(Handle source, const char* bytes, short length);
    long AppendFrom(Handle source, const char* bytes, long length);
    long ReplaceWithBytes(unsigned char* search, const char* bytes, long length);

    short fSize = 0;
    Handle fHandle = nullptr;
};

#pragma pack(pop)

static_assert(sizeof(CTextBlock) == sizeof(TextBlock) && sizeof(CTextBlock) == 6);
