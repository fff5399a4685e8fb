#pragma once

#include "testhost/values/Scalars.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

class HostVariables;

/// Bytes that a plug-in may write to while a command is under way, with guard bytes on both sides.
/// Who keeps them for longer sees whether they were written to later.
class LentBytes {
  public:
    explicit LentBytes(size_t itsSize);

    unsigned char* Begin() { return &bytes[guardSize]; }
    const unsigned char* Begin() const { return &bytes[guardSize]; }
    size_t Size() const { return size; }
    /// What is wrong with the guard bytes; nothing when they are whole.
    std::optional<std::string> GuardProblem() const;
    /// The command is over: nobody writes to them any more.
    void TakeBack() { last = bytes; }
    /// The same, and what is in them is void: whoever still reads it finds nothing useful.
    void Void();
    /// Whether they were written to since they were taken back; says so once.
    bool WereWritten();

  private:
    static constexpr size_t guardSize = 16;

    size_t size;
    std::vector<unsigned char> bytes; ///< guard, value, guard
    std::vector<unsigned char> last;  ///< what they were when they were taken back; or empty
    bool writtenBefore = false;       ///< since then, and before they became void
};

/// Storage of one value in the host's layout, with guard bytes on both sides. Handles in it are
/// toolbox handles; whatever it holds at the end is freed with it, unless it was disowned.
class TypedStorage {
  public:
    /// `compiled` decides how a pointer is laid out: in a compiled database as a value block
    /// with a handle to the target, otherwise as the target itself.
    TypedStorage(const TypedValue& value, bool compiled);
    ~TypedStorage();
    TypedStorage(const TypedStorage&) = delete;
    TypedStorage& operator=(const TypedStorage&) = delete;

    void* Address();
    /// For keeping them longer than this, see LentBytes.
    const std::shared_ptr<LentBytes>& Bytes() const { return bytes; }
    /// The value that is in the storage now; and what it was at first.
    TypedValue Read() const;
    const TypedValue& First() const { return shape; }
    /// See LentBytes.
    std::optional<std::string> GuardProblem() const { return bytes->GuardProblem(); }
    /// What is wrong with the value that is in it now, and was not at first, see ScalarFault.
    std::optional<std::string> Fault() const;
    /// What it holds now; and of that, what it did not hold at first.
    BlockParts Parts() const;
    BlockParts NewParts() const { return PartsWithout(Parts(), firstParts); }
    /// Not to be freed with it: it is someone else's.
    void Disown(const BlockParts& parts) { disowned.Add(parts); }

  private:
    std::optional<std::string> FaultNow() const;

    TypedValue shape; ///< the value as first stored: gives kind and layout
    bool compiled;
    BlockParts firstParts;
    BlockParts disowned;
    std::optional<std::string> firstFault; ///< whoever chose the value may have chosen a wrong one
    std::shared_ptr<LentBytes> bytes;
};

/// The parameters of a command call: the host's array of pointers to their storage.
class Arguments {
  public:
    explicit Arguments(const std::vector<TypedValue>& values, bool compiled = false);

    /// Whether a command can have a parameter of this kind.
    static bool Accepts(ValueKind kind);

    size_t Count() const { return storage.size(); }
    /// The parameter array to hand to the plug-in (a CXParam per element).
    void* Array() { return pointers.data(); }
    /// The n-th parameter, from 1, as it is now. Throws std::out_of_range.
    TypedValue At(size_t number) const { return storage.at(number - 1)->Read(); }
    /// The n-th parameter's storage, from 1.
    TypedStorage& StorageAt(size_t number) { return *storage.at(number - 1); }

  private:
    std::vector<std::unique_ptr<TypedStorage>> storage;
    std::vector<void*> pointers;
};

/// The 32-bit result cell of a command call: the value itself, or for extended, date, string and
/// text a pointer to storage of that kind.
class ResultCell {
  public:
    /// Other kinds than none, short, long, boolean, picture, extended, date, string and text
    /// cannot be results; they throw std::invalid_argument.
    explicit ResultCell(ValueKind kind);
    ~ResultCell();
    ResultCell(const ResultCell&) = delete;
    ResultCell& operator=(const ResultCell&) = delete;

    /// Whether a command can have a result of this kind.
    static bool Accepts(ValueKind kind);
    /// Whether its cell holds an address of storage instead of the result itself.
    static bool NeedsStorage(ValueKind kind);

    unsigned long* Cell() { return reinterpret_cast<unsigned long*>(bytes->Begin()); }
    /// For keeping them longer than this: the cell, and its storage when it has one.
    std::vector<std::shared_ptr<LentBytes>> Bytes() const;
    /// The result as it is now. A cell without a type that was written to reads as a long.
    TypedValue Read() const;
    std::optional<std::string> GuardProblem() const;
    std::optional<std::string> Fault() const;
    BlockParts Parts() const;
    BlockParts NewParts() const { return Parts(); }
    void Disown(const BlockParts& parts);

  private:
    unsigned long Word() const { return *reinterpret_cast<const unsigned long*>(bytes->Begin()); }

    ValueKind kind;
    std::shared_ptr<LentBytes> bytes; ///< the cell
    unsigned long storageAddress = 0;
    std::unique_ptr<TypedStorage> storage; ///< of a picture none: the cell is it
    BlockParts disowned;
};

/// What a command has made of its parameters and result that cannot be, after it was called:
/// "parameter 2 was written behind its 4 bytes", "the result holds a text whose handle was disposed
/// of", and so on. What belongs to a variable is disowned; what was lent is taken over.
std::vector<std::string> CheckCall(Arguments& arguments, ResultCell& result,
                                   HostVariables& variables);
