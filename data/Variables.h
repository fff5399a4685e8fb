#pragma once

#include "data/Array.h"
#include "data/blocks/TextBlock.h"
#include "host/Value.h"
#include "platform/Compiler.h"
#include "platform/ResultCodes.h"
#include "platform/Types.h"

// Handles on variables of the host, by name. An object keeps the name (at most 31 characters, the
// rest is cut), the type it expects and whether the variable is an interprocess one; it never keeps
// a value: every read and write goes to the host then and there.
//
// Constructors with a name alone find out from its "<>" whether it is an interprocess variable; the
// others take the bare name and are told.
//
// A `name` is zero-terminated, a `type` (ValueType) that of the variable or, `elementType`, of an
// array's elements; `isInterprocess` is 0 or not.
//
// A variable that is missing, of another type or cannot be read gives 0, an empty text or a null
// handle, and writing to it does nothing. Declare does nothing when the variable already has the
// type; declaring is silent about failures. A null name counts as an empty one; a null text to
// write, or place for an answer, reaches nobody: -50 where a result code is answered.

/// A variable of any type, without virtual operations. Results are the host's result codes, -1999
/// when the type does not allow the conversion, or -108.
class CFourDVar {
  public:
    /// The variable `name`, expected to be of `type`.
    CFourDVar(const char* name, short type);
    CFourDVar(const char* name, short type, unsigned char isInterprocess);

    /// Declares a real, text, boolean or long variable in an interpreted database, until that has
    /// worked once.
    void Init();

    /// Handles in a value that was read belong to the host.
    OSErr GetValue(ValueBlock* value);
    /// The host takes what the `value` owns.
    OSErr SetValue(ValueBlock* value);
    /// @family Writes a `value`, converted to the type that is expected.
    long SetValue(double value) { return Store(value, NativeReal2ValueBlock); }
    long SetValue(unsigned char value) { return Store(value, Boolean2ValueBlock); }
    /// A copy of the text, `value`, is sent.
    long SetValue(TextBlock* value) {
        return value != nullptr ? Store(value, Text2ValueBlock) : long{ResultCode::BadParameter};
    }
    /// Writes a `value`, converted to the type that is expected.
    long SetValue(long value) { return Store(value, Long2ValueBlock); }
    /// @family The variable's value, converted from whatever type it has, in `value`; 0 or empty on
    /// failure. A text goes into the caller's own.
    long GetValue(double* value) { return Fetch(value, Value2NativeReal); }
    long GetValue(unsigned char* value) { return Fetch(value, Value2Boolean); }
    long GetValue(TextBlock* value);
    long GetValue(long* value) { return Fetch(value, Value2Long); }
    /// The host's own array, with its storage: call CArray::Forget on it in the end. `array` must
    /// own nothing: what it held is forgotten, not disposed of. Answers the variable's type (a
    /// Unicode array is not read), or the host's result code.
    long GetOriginalArray(CArray* array);

  private:
    /// Writes a value that was converted with this result.
    long Send(ValueBlock& value, long conversion);
    template <typename Native>
    long Store(Native native, long (*convert)(Native, ValueBlock*)) {
        ValueBlock value = EmptyValueBlock(fType);
        return Send(value, convert(native, &value));
    }
    template <typename Number>
    long Fetch(Number* number, long (*convert)(ValueBlock*, Number*)) {
        if (number == nullptr) {
            return ResultCode::BadParameter;
        }
        *number = {};
        ValueBlock value{};
        const OSErr error = GetValue(&value);
        return error == ResultCode::NoError ? convert(&value, number) : error;
    }

    Str31 fName;
    short fType;
    unsigned char fIsInterprocess;
    unsigned char fIsDeclared = 0;
};

static_assert(sizeof(CFourDVar) == 36);

// The layout has no virtual destructor: objects are not deleted through a base class.
NIMBO_ALLOW_PLAIN_DESTRUCTORS

/// Base of the typed variables.
class CFourDBaseVar {
  public:
    /// The variable `name`, of `type`.
    CFourDBaseVar(const char* name, short type);
    CFourDBaseVar(const char* name, short type, unsigned char isInterprocess);

    /// Declares the variable in an interpreted database.
    virtual void Declare();
    /// The statement that declares it, at most 255 characters and a terminator, into `out`, 256
    /// bytes; empty when there is none.
    virtual void GetDeclaration(char* out);

    /// Handles in a value that was read belong to the host.
    OSErr GetValue(ValueBlock* value);
    /// The host takes what the value owns; `flag` is sent along.
    OSErr SetValue(ValueBlock* value, unsigned char flag);
    /// The type that the host's variable has now; 5 when there is none.
    short DefinedType();

  protected:
    /// Reads the variable into `value`; false when that fails or it is of another type.
    bool Read(ValueBlock& value);
    /// Gives back a value that was changed in place. When the host refuses it, what was made for it
    /// where there was nothing `before` is released.
    void GiveBack(ValueBlock& value, const ValueBlock& before);
    /// Changes the value in place and gives it back, unless `change` fails.
    template <typename Change>
    void ChangeValue(Change change) {
        ValueBlock value{};
        if (!Read(value)) {
            return;
        }
        const ValueBlock before = value;
        if (change(value) == ResultCode::NoError) {
            GiveBack(value, before);
        }
    }
    /// The value as `convert` makes it a number; 0 when it cannot be read.
    template <typename Number>
    Number Fetch(long (*convert)(ValueBlock*, Number*)) {
        ValueBlock value{};
        Number number{};
        if (Read(value)) {
            convert(&value, &number);
        }
        return number;
    }
    /// Changes the value to a `number`, with `convert`.
    template <typename Number>
    void Store(Number number, long (*convert)(Number, ValueBlock*)) {
        ChangeValue([=](ValueBlock& value) { return convert(number, &value); });
    }
    /// Declares the variable unless it has the type already.
    void DeclareUnlessDefined();
    /// Writes a declaration into `out` from the number of the host's `command`, 0 being none, and
    /// what stands `before` and `after` the variable.
    void WriteDeclaration(char* out, short command, const char* before, const char* after) const;

    Str31 fName;
    short fType;
    unsigned char fIsInterprocess;
};

static_assert(sizeof(CFourDBaseVar) == 40);

/// A class of variables, or arrays, whose type, or that of the elements, is always the same.
template <typename Base, short type>
class OfFixedType : public Base {
  public:
    /// The variable of this `name`.
    explicit OfFixedType(const char* name) : Base(name, type) {}
    OfFixedType(const char* name, unsigned char isInterprocess)
        : Base(name, type, isInterprocess) {}
};

/// A long variable.
class CFourDLongVar : public OfFixedType<CFourDBaseVar, ValueType::Long> {
  public:
    using OfFixedType::OfFixedType;

    /// The variable's value; 0 when it cannot be read.
    long GetLongValue() { return Fetch(Value2Long); }
    /// Makes `number` the value.
    void SetLongValue(long number) { Store(number, Long2ValueBlock); }
};

/// A text variable.
class CFourDTextVar : public OfFixedType<CFourDBaseVar, ValueType::Text> {
  public:
    using OfFixedType::OfFixedType;

    /// Bytes of the text.
    long GetTextLength();
    /// @family Text as a handle, `text`: a new one that the caller owns; one that is copied, and
    /// stays the caller's.
    void GetTextValue(char*** text);
    void SetTextValue(char** text);
    /// @family Text with a terminator (`text` holds GetTextLength() + 1 bytes), or a text block.
    void GetTextValue(char* text);
    void SetTextValue(char* text);
    void GetTextValue(CTextBlock* text);
    void SetTextValue(CTextBlock* text);

  private:
    template <typename Target>
    void CopyText(Target* target);
    template <typename Source>
    void ReplaceText(Source source);
};

/// A BLOB variable.
class CFourDBlobVar : public OfFixedType<CFourDBaseVar, ValueType::Blob> {
  public:
    using OfFixedType::OfFixedType;

    /// How many bytes the variable has.
    long GetBlobSize();
    /// A new handle with the bytes, `data`, which the caller owns. Answers the host's result code
    /// or that of the copy.
    OSErr GetBlobValue(char*** data);
    /// The host gets a copy of `data`.
    void SetBlobValue(char** data);
};

/// A Boolean variable.
class CFourDBooleanVar : public OfFixedType<CFourDBaseVar, ValueType::Boolean> {
  public:
    using OfFixedType::OfFixedType;

    /// @family The variable's value, 0 when it cannot be read; makes `boolean` the value.
    unsigned char GetBooleanValue() { return Fetch(Value2Boolean); }
    void SetBooleanValue(unsigned char boolean) { Store(boolean, Boolean2ValueBlock); }
};

/// A real variable.
class CFourDRealVar : public OfFixedType<CFourDBaseVar, ValueType::Real> {
  public:
    using OfFixedType::OfFixedType;

    /// @family The variable's value, 0 when it cannot be read; makes `real` the value.
    double GetRealValue() { return Fetch(Value2NativeReal); }
    void SetRealValue(double real) { Store(real, NativeReal2ValueBlock); }
};

/// A string variable, always declared for 255 characters.
class CFourDStringVar : public OfFixedType<CFourDBaseVar, ValueType::String> {
  public:
    using OfFixedType::OfFixedType;

    void GetDeclaration(char* out) override;
    /// @family Whatever type the variable has, as a Pascal `string`, 256 bytes.
    OSErr GetStringValue(unsigned char* string);
    void SetStringValue(const unsigned char* string);
};

/// A pointer variable.
class CFourDPointerVar : public OfFixedType<CFourDBaseVar, ValueType::Pointer> {
  public:
    using OfFixedType::OfFixedType;

    /// The pointer as a value; zeroed when the variable is none. Answers the host's result code.
    OSErr GetPointerValue(ValueBlock* value);
    /// A value that is no pointer is not written.
    void SetPointerValue(ValueBlock* value);
    /// Has the host make a pointer to the variable of this name, and stores it.
    void SetPointerToVariable(const char* name);
    /// @family Whether the pointer leads nowhere; has it lead nowhere.
    bool IsNil();
    void SetNil();
};

/// Base of the array variables. Arrays are declared with 0 elements, in compiled databases too.
class CFourDBaseArrayVar : public CFourDBaseVar {
  public:
    /// The array `name`, with elements of `elementType`.
    CFourDBaseArrayVar(const char* name, short elementType);
    CFourDBaseArrayVar(const char* name, short elementType, unsigned char isInterprocess);

    void Declare() override;
    void GetDeclaration(char* out) override;

    /// @family Number of elements, without element 0; makes it `count`.
    long GetNumElements();
    void SetNumElements(long count);
    /// @family The selected element; makes it the one at `index`.
    long GetCurrentIndex();
    void SetCurrentIndex(long index);

    /// The array type that holds elements of `elementType`; 5 when there is none.
    static short ElementTypeToVarType(short elementType);

  protected:
    /// The question to an array whether it is of the class's type.
    using ArrayTest = bool (CArray::*)() const;

    /// Reads the variable as an array that lives in `value`; null when it is of another
    /// type than `isExpected` asks for.
    CArray* ReadArray(ValueBlock& value, ArrayTest isExpected);
    /// Has `change` work on the array, as ChangeValue does, when it is as `isExpected`.
    template <typename Change>
    void ChangeArray(ArrayTest isExpected, Change change);
    /// @family An `element`, or its text (into `out`, from `source`, or given to `work` in a
    /// `value`), by index, or row (`first`) and column; 0 or empty where there is none, or the
    /// array is not as `isExpected`.
    template <typename Element, typename... Index>
    Element ReadElement(ArrayTest isExpected, Index... index);
    template <typename Element, typename... Index>
    void WriteElement(ArrayTest isExpected, Element element, Index... index);
    template <typename Work, typename... Index>
    bool UseText(ValueBlock& value, Work work, long first, Index... column);
    template <typename... Index>
    long TextLength(Index... index);
    template <typename Target, typename... Index>
    void CopyText(Target* out, Index... index);
    template <typename Source, typename... Index>
    void ReplaceText(Source source, Index... index);

    short fElementType;
};

/// An array of longs.
class CFourDLongArrayVar : public OfFixedType<CFourDBaseArrayVar, ValueType::Long> {
  public:
    using OfFixedType::OfFixedType;

    /// @family The element at `index`, 0 when there is none; makes `element` of it.
    long GetLongElementValue(long index);
    void SetLongElementValue(long index, long element);
};

/// An array of texts.
class CFourDTextArrayVar : public OfFixedType<CFourDBaseArrayVar, ValueType::Text> {
  public:
    using OfFixedType::OfFixedType;

    /// @family Length, and text, of the element at `index`; handles and buffers (`out`, `source`)
    /// as with CFourDTextVar.
    long GetTextElementLength(long index);
    void GetTextElementValue(long index, char*** out);
    void SetTextElementValue(long index, char** source);
    void GetTextElementValue(long index, char* out);
    void SetTextElementValue(long index, char* source);
};

/// An array of reals.
class CFourDRealArrayVar : public OfFixedType<CFourDBaseArrayVar, ValueType::Real> {
  public:
    using OfFixedType::OfFixedType;

    /// @family The element at `index`, 0 when there is none; makes `element` of it.
    double GetRealElementValue(long index);
    void SetRealElementValue(long index, double element);
};

/// Base of the two-dimensional array variables.
class CFourDBase2DArrayVar : public CFourDBaseArrayVar {
  public:
    /// The array `name`, with elements of `elementType`.
    CFourDBase2DArrayVar(const char* name, short elementType);
    CFourDBase2DArrayVar(const char* name, short elementType, unsigned char isInterprocess);

    void GetDeclaration(char* out) override;

    /// @family Number of rows, without row 0; makes it `count`.
    long GetNumRows();
    void SetNumRows(long count);
    /// @family Number of elements of a `row`, without element 0; makes it `count`.
    long GetNumColumns(long row);
    void SetNumColumns(long row, long count);
};

/// A two-dimensional array of longs.
class CFourDLong2DArrayVar : public OfFixedType<CFourDBase2DArrayVar, ValueType::Long> {
  public:
    using OfFixedType::OfFixedType;

    /// @family The element at `column` of `row`, 0 when there is none; makes `element` of it.
    long GetLongElementValue(long row, long column);
    void SetLongElementValue(long row, long column, long element);
};

/// A two-dimensional array of texts.
class CFourDText2DArrayVar : public OfFixedType<CFourDBase2DArrayVar, ValueType::Text> {
  public:
    using OfFixedType::OfFixedType;

    /// @family Length, and text, of the element at `column` of `row`; handles and buffers (`out`,
    /// `source`) as with CFourDTextVar.
    long GetTextElementLength(long row, long column);
    void GetTextElementValue(long row, long column, char*** out);
    void SetTextElementValue(long row, long column, char** source);
    void GetTextElementValue(long row, long column, char* out);
    void SetTextElementValue(long row, long column, char* source);
};

NIMBO_ALLOWED
