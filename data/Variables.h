#pragma once

#include "data/Array.h"
#include "data/TextBlock.h"
#include "data/ValueBlock.h"
#include "platform/Types.h"

// Handles on variables of the host, by name. An object keeps the name (at most 31 characters, the
// rest is cut), the type it expects and whether the variable is an interprocess one; it never keeps
// a value: every read and write goes to the host then and there.
//
// Constructors with a name alone find out from its "<>" whether it is an interprocess variable; the
// others take the bare name and are told.
//
// A variable that is missing, of another type or cannot be read gives 0, an empty text or a null
// handle, and writing to it does nothing. Declaring does nothing when the variable already has the
// type, and is silent about failures.

/// A variable of any type, without virtual operations. Results are the host's result codes, or
/// -1999 when the type does not allow the conversion.
class CFourDVar {
  public:
    CFourDVar(const char* name, short type);
    CFourDVar(const char* name, short type, unsigned char isInterprocess);

    /// Declares a real, text, boolean or long variable in an interpreted database, until that has
    /// worked once.
    void Init();

    /// Handles in a value that was read belong to the host.
    OSErr GetValue(ValueBlock* value);
    /// The host takes what the value owns.
    OSErr SetValue(ValueBlock* value);
    long SetValue(double value);
    long SetValue(unsigned char value);
    /// A copy of the text is sent.
    long SetValue(TextBlock* value);
    long SetValue(long value);
    // Converted from whatever type the variable has; 0 or empty on failure.
    long GetValue(double* value);
    long GetValue(unsigned char* value);
    /// Into `value`, which the caller owns.
    long GetValue(TextBlock* value);
    long GetValue(long* value);
    /// The host's own array, with its storage: call CArray::Forget on it in the end. Answers the
    /// variable's type (a Unicode array is not read), or the host's result code.
    long GetOriginalArray(CArray* array);

  private:
    long Send(ValueBlock& value, long conversion);

    Str31 fName;
    short fType;
    unsigned char fIsInterprocess;
    unsigned char fIsDeclared = 0;
};

static_assert(sizeof(CFourDVar) == 36);

// The layout has no virtual destructor: objects are not deleted through a base class.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// Base of the typed variables.
class CFourDBaseVar {
  public:
    CFourDBaseVar(const char* name, short type);
    CFourDBaseVar(const char* name, short type, unsigned char isInterprocess);

    /// Declares the variable in an interpreted database.
    virtual void Declare();
    /// The statement that declares it, at most 255 characters; empty when there is none.
    virtual void GetDeclaration(char* out);

    /// Handles in a value that was read belong to the host.
    OSErr GetValue(ValueBlock* value);
    /// The host takes what the value owns; `flag` is sent along.
    OSErr SetValue(ValueBlock* value, unsigned char flag);
    /// The type that the host's variable has now; 5 when there is none.
    short DefinedType();

  protected:
    /// Reads the variable; false when that fails or it is not of this type.
    bool Read(ValueBlock& value, short type);
    void DeclareUnlessDefined();
    /// Writes a declaration from a format and the number of the host's command; 0 is none.
    void WriteDeclaration(char* out, const char* format, short command) const;

    Str31 fName;
    short fType;
    unsigned char fIsInterprocess;
};

class CFourDLongVar : public CFourDBaseVar {
  public:
    explicit CFourDLongVar(const char* name);
    CFourDLongVar(const char* name, unsigned char isInterprocess);

    long GetLongValue();
    void SetLongValue(long number);
};

class CFourDTextVar : public CFourDBaseVar {
  public:
    explicit CFourDTextVar(const char* name);
    CFourDTextVar(const char* name, unsigned char isInterprocess);

    long GetTextLength();
    /// A new handle with the text, which the caller owns.
    void GetTextValue(char*** text);
    void SetTextValue(char** text);
    /// With a terminator; `text` holds GetTextLength() + 1 bytes.
    void GetTextValue(char* text);
    void SetTextValue(char* text);
    void GetTextValue(CTextBlock* text);
    void SetTextValue(CTextBlock* text);

  private:
    template <typename Source>
    void SetText(Source source);
};

class CFourDBlobVar : public CFourDBaseVar {
  public:
    explicit CFourDBlobVar(const char* name);
    CFourDBlobVar(const char* name, unsigned char isInterprocess);

    long GetBlobSize();
    /// A new handle with the bytes, which the caller owns. Answers the host's result code or that
    /// of the copy.
    OSErr GetBlobValue(char*** data);
    /// The host gets a copy.
    void SetBlobValue(char** data);
};

class CFourDBooleanVar : public CFourDBaseVar {
  public:
    explicit CFourDBooleanVar(const char* name);
    CFourDBooleanVar(const char* name, unsigned char isInterprocess);

    unsigned char GetBooleanValue();
    void SetBooleanValue(unsigned char boolean);
};

class CFourDRealVar : public CFourDBaseVar {
  public:
    explicit CFourDRealVar(const char* name);
    CFourDRealVar(const char* name, unsigned char isInterprocess);

    double GetRealValue();
    void SetRealValue(double real);
};

/// A string variable, always declared for 255 characters.
class CFourDStringVar : public CFourDBaseVar {
  public:
    explicit CFourDStringVar(const char* name);
    CFourDStringVar(const char* name, unsigned char isInterprocess);

    void GetDeclaration(char* out) override;
    /// Whatever type the variable has, as a Pascal string.
    OSErr GetStringValue(unsigned char* string);
    void SetStringValue(const unsigned char* string);
};

class CFourDPointerVar : public CFourDBaseVar {
  public:
    explicit CFourDPointerVar(const char* name);
    CFourDPointerVar(const char* name, unsigned char isInterprocess);

    /// The pointer as a value; zeroed when the variable is none. Answers the host's result code.
    OSErr GetPointerValue(ValueBlock* value);
    /// A value that is no pointer is not written.
    void SetPointerValue(ValueBlock* value);
    /// Has the host make a pointer to the variable of this name, and stores it.
    void SetPointerToVariable(const char* name);
    bool IsNil();
    void SetNil();
};

/// Base of the array variables. Arrays are declared with 0 elements, in compiled databases too.
class CFourDBaseArrayVar : public CFourDBaseVar {
  public:
    CFourDBaseArrayVar(const char* name, short elementType);
    CFourDBaseArrayVar(const char* name, short elementType, unsigned char isInterprocess);

    void Declare() override;
    void GetDeclaration(char* out) override;

    long GetNumElements();
    void SetNumElements(long count);
    long GetCurrentIndex();
    void SetCurrentIndex(long index);

    /// The array type that holds elements of a type; 5 when there is none.
    static short ElementTypeToVarType(short elementType);

  protected:
    /// Number of the host's command that declares such an array; 0 when there is none.
    short DeclaringCommand() const;
    /// Reads the variable as an array that lives in `value`; null when it is of another type.
    CArray* ReadArray(ValueBlock& value, bool (CArray::*isExpected)() const);
    /// An element by index, or row and column, of an array that passes the test; else 0.
    template <typename Element, typename... Index>
    Element ReadElement(bool (CArray::*isExpected)() const, Index... index);
    template <typename Element, typename... Index>
    void WriteElement(bool (CArray::*isExpected)() const, Element element, Index... index);

    short fElementType;
};

class CFourDLongArrayVar : public CFourDBaseArrayVar {
  public:
    explicit CFourDLongArrayVar(const char* name);
    CFourDLongArrayVar(const char* name, unsigned char isInterprocess);

    long GetLongElementValue(long index);
    void SetLongElementValue(long index, long element);
};

class CFourDTextArrayVar : public CFourDBaseArrayVar {
  public:
    explicit CFourDTextArrayVar(const char* name);
    CFourDTextArrayVar(const char* name, unsigned char isInterprocess);

    // As with CFourDTextVar.
    long GetTextElementLength(long index);
    void GetTextElementValue(long index, char*** out);
    void SetTextElementValue(long index, char** source);
    void GetTextElementValue(long index, char* out);
    void SetTextElementValue(long index, char* source);
};

class CFourDRealArrayVar : public CFourDBaseArrayVar {
  public:
    explicit CFourDRealArrayVar(const char* name);
    CFourDRealArrayVar(const char* name, unsigned char isInterprocess);

    double GetRealElementValue(long index);
    void SetRealElementValue(long index, double element);
};

/// Base of the two-dimensional array variables.
class CFourDBase2DArrayVar : public CFourDBaseArrayVar {
  public:
    CFourDBase2DArrayVar(const char* name, short elementType);
    CFourDBase2DArrayVar(const char* name, short elementType, unsigned char isInterprocess);

    void GetDeclaration(char* out) override;

    long GetNumRows();
    void SetNumRows(long count);
    long GetNumColumns(long row);
    void SetNumColumns(long row, long count);
};

class CFourDLong2DArrayVar : public CFourDBase2DArrayVar {
  public:
    explicit CFourDLong2DArrayVar(const char* name);
    CFourDLong2DArrayVar(const char* name, unsigned char isInterprocess);

    long GetLongElementValue(long row, long column);
    void SetLongElementValue(long row, long column, long element);
};

class CFourDText2DArrayVar : public CFourDBase2DArrayVar {
  public:
    explicit CFourDText2DArrayVar(const char* name);
    CFourDText2DArrayVar(const char* name, unsigned char isInterprocess);

    // As with CFourDTextVar.
    long GetTextElementLength(long row, long column);
    void GetTextElementValue(long row, long column, char*** out);
    void SetTextElementValue(long row, long column, char** source);
    void GetTextElementValue(long row, long column, char* out);
    void SetTextElementValue(long row, long column, char* source);
};

#pragma GCC diagnostic pop
