#pragma once

#include "host/boundary/Values.h"
#include "platform/Types.h"

#include <cstring>

class CArray;
class CTextBlock;

/// One parameter of a command: a typed view of the storage that the host provides. The host
/// passes an array of these; parameter n (from 1) is element n - 1. Nothing is owned, allocated
/// or checked: use the accessor that matches the declared type of the parameter.
class CXParam {
  public:
    /// @family The parameter's storage, to be read or changed in place.
    short* GetShortPtr() const { return Storage<short>(); }
    long* GetLongPtr() const { return Storage<long>(); }
    unsigned char* GetBooleanPtr() const { return Storage<unsigned char>(); }
    REAL_U* GetREALPtr() const { return Storage<REAL_U>(); }
    double* GetNativeRealPtr() const { return Storage<double>(); }
    EventRecord* GetEventPtr() const { return Storage<EventRecord>(); }
    Rect* GetRectPtr() const { return Storage<Rect>(); }
    DateBlock* GetDate4DPtr() const { return Storage<DateBlock>(); }
    TextBlock* GetTextBlockPtr() const { return Storage<TextBlock>(); }
    CTextBlock* GetCTextBlockPtr() const { return Storage<CTextBlock>(); }
    Picture*** GetPicHandlePtr() const { return Storage<Picture**>(); }
    Handle* GetHandlePtr() const { return Storage<Handle>(); }
    ValueBlock* GetVarRecPtr() const { return Storage<ValueBlock>(); }
    unsigned char* GetStringPtr() const { return Storage<unsigned char>(); }
    CArray* GetArrayPtr() const { return Storage<CArray>(); }

    /// What a host "pointer" parameter designates. In an interpreted database that is the
    /// parameter's storage itself; in a compiled one the storage is a value block of kind
    /// pointer, and null is answered for any other kind and for a nil pointer. Asks the host
    /// whether the database is compiled.
    void* GetPointerPtr() const;

    /// @family The parameter's value, copied out; a record into `out`.
    short GetShort() const { return Read<short>(); }
    long GetLong() const { return Read<long>(); }
    unsigned char GetBoolean() const { return Read<unsigned char>(); }
    double GetNativeReal() const { return Read<double>(); }
    Picture** GetPicHandle() const { return Read<Picture**>(); }
    Handle GetHandle() const { return Read<Handle>(); }
    void GetREAL(REAL_U* out) const { std::memcpy(out, storage, sizeof *out); }
    void GetEvent(EventRecord* out) const { std::memcpy(out, storage, sizeof *out); }
    void GetRect(Rect& out) const { std::memcpy(&out, storage, sizeof out); }
    void GetDate4D(DateBlock& out) const { std::memcpy(&out, storage, sizeof out); }
    void GetVarRec(ValueBlock& out) const { std::memcpy(&out, storage, sizeof out); }
    /// Copies the length byte and that many characters into `out`, 256 bytes.
    void GetString(unsigned char* out) const;

    /// @family Stores a `value`, or a `date`, into the parameter.
    void SetShort(short value) { Write(value); }
    void SetLong(long value) { Write(value); }
    void SetBoolean(unsigned char value) { Write(value); }
    void SetNativeReal(double value) { Write(value); }
    void SetDate4D(const DateBlock* date) { std::memcpy(storage, date, sizeof *date); }
    /// Copies the length byte and that many characters of `string`, a Pascal string.
    void SetString(const unsigned char* string);

  private:
    template <typename T>
    T* Storage() const {
        return static_cast<T*>(storage);
    }

    // The host aligns nothing, so values are moved as bytes.
    template <typename T>
    T Read() const {
        T value;
        std::memcpy(&value, storage, sizeof value);
        return value;
    }

    template <typename T>
    void Write(T value) {
        std::memcpy(storage, &value, sizeof value);
    }

    void* storage;
};

static_assert(sizeof(CXParam) == 4);

/// The result cell of a command. Small results stand in the cell itself; for the others the host
/// has put the address of storage of the right type there, and the value is copied to it.
class CXResult {
  public:
    /// @family Stores a `value`.
    void SetShort(short value) { cell = value; }
    void SetLong(long value) { cell = value; }
    /// Stores 1 for any `value` but 0.
    void SetBoolean(unsigned char value) { cell = value != 0 ? 1 : 0; }
    /// The host takes the `picture` over.
    void SetPicHandle(Picture** picture) { cell = reinterpret_cast<long>(picture); }

    /// @family Copies a `real`, or a `date`, into the host's storage for the result.
    void SetExtended(const REAL_U* real) { std::memcpy(Target(), real, sizeof *real); }
    void SetDate4D(const DateBlock* date) { std::memcpy(Target(), date, sizeof *date); }
    /// Copies the length byte and that many characters of `string`, a Pascal string.
    void SetString(const unsigned char* string);

    /// @family The host's storage for the result.
    unsigned char* GetStringPtr() const { return static_cast<unsigned char*>(Target()); }
    TextBlock* GetTextBlockPtr() const { return static_cast<TextBlock*>(Target()); }
    CTextBlock* GetCTextBlockPtr() const { return static_cast<CTextBlock*>(Target()); }

  private:
    void* Target() const { return reinterpret_cast<void*>(cell); }

    long cell;
};

static_assert(sizeof(CXResult) == 4);
