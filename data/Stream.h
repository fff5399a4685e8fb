#pragma once

#include "data/blocks/TextBlock.h"
#include "platform/Types.h"

/// A sink and source of bytes with a position, and the typed layout on top of it: integers
/// big-endian, everything aligned to even positions where `align` is not 0. Errors are 16-bit
/// codes: 0, -39 at the end of the data, -40 for a position before the start, -50 for a bad
/// argument, -108 when memory is full, -109 for a null handle, or the file system's own.
///
/// Typed values are read through ReadData alone, so that a stream need not know its size, nor, but
/// for alignment, its position. A stored length is not believed: a negative one is an error (-50),
/// and what is read into never has more than twice the bytes that have come, or those of the
/// longest text (32000). A target whose length cannot be read stays as it is.
class CStream {
  public:
    CStream() = default;
    CStream(const CStream&) = delete;
    CStream& operator=(const CStream&) = delete;

    /// Where the next byte is read or written, from 0.
    virtual long GetPosition() = 0;
    /// Sets that, to `position`.
    virtual OSErr SetPosition(long position) = 0;
    /// @family Where the data ends; sets that, to `size` bytes.
    virtual long GetSize() = 0;
    virtual OSErr SetSize(long size) = 0;
    /// Writes `count` bytes of `data` at the position, which moves on.
    virtual OSErr WriteData(void* data, long count) = 0;
    /// Reads `count` bytes into `buffer`. A short read gives the bytes that there are, and -39.
    virtual OSErr ReadData(void* buffer, long count) = 0;
    virtual ~CStream() = default;

    /// @family 4 or 2 bytes, big-endian: `value`.
    OSErr Write(long value);
    OSErr Read(long* value);
    OSErr Write(short value);
    OSErr Read(short* value);

    /// @family The 6 bytes of the record `date`, as they are in memory: deliberately not swapped,
    /// as stored dates have always been. After an error the date is empty, as a number is 0.
    OSErr Write(DateBlock* date) { return WriteData(date, sizeof *date); }
    OSErr Read(DateBlock* date);

    /// @family A Pascal string: the length byte and that many characters. `string` holds 256 bytes;
    /// after an error it has what was read, up to the last byte that is not 0.
    OSErr Write(unsigned char* string, unsigned char align);
    OSErr Read(unsigned char* string, unsigned char align);

    /// @family A 16-bit length and the `text`. After an error in the text it is empty.
    OSErr Write(CTextBlock* text, unsigned char align);
    OSErr Read(CTextBlock* text, unsigned char align);

    /// @family A 32-bit size and the bytes of a platform `handle`, which is written as empty when
    /// null, and resized, or made when null, to be read into. After an error in the bytes it is
    /// empty, or still null.
    OSErr Write(char** handle, unsigned char align);
    OSErr Read(char*** handle, unsigned char align);

    /// @family At an odd position, writes a zero byte or skips one. Always answers 0. A position
    /// below 0 is an error, and aligns nothing.
    OSErr WriteWordAlign();
    OSErr ReadWordAlign();

  private:
    bool IsAtOddPosition();
    OSErr WriteLocked(Handle source, long length);
    OSErr ReadLocked(Handle target, long offset, long length);
    OSErr ReadInSteps(Handle* handle, long size);
};

/// A stream over a platform handle, which stays the caller's and grows as it is written. At the end
/// the handle is cut to the position: what lies beyond is dropped.
class CHandleStream : public CStream {
  public:
    /// `growth`: bytes by which `handle` grows at least. A null one gives a stream that answers
    /// -109.
    CHandleStream(char** handle, long growth);
    ~CHandleStream() override;

    long GetPosition() override { return position; }
    OSErr SetPosition(long position) override;
    long GetSize() override { return dataSize; }
    OSErr SetSize(long size) override;
    OSErr WriteData(void* data, long count) override;
    OSErr ReadData(void* buffer, long count) override;

    /// Bytes to grow by when `need` more are needed.
    long GrowthSize(long need) const;

  private:
    void Settle();

    Handle handle;
    long position = 0;
    long dataSize = 0; ///< may be less than the handle's size
    long growthSize;
    char savedState = 0;
};

/// A stream over a file's data fork, made when it does not exist.
class CFileStream : public CStream {
  public:
    /// `path`: full path as a Pascal string. Every operation fails when the file cannot be opened.
    explicit CFileStream(unsigned char* path);
    ~CFileStream() override;

    /// Whether the file could be opened.
    bool IsOpen() const { return refNum != NotOpen; }

    long GetPosition() override;
    OSErr SetPosition(long position) override;
    long GetSize() override;
    OSErr SetSize(long size) override;
    OSErr WriteData(void* data, long count) override;
    OSErr ReadData(void* buffer, long count) override;

  private:
    static constexpr short NotOpen = 32767;

    short refNum = NotOpen;
};
