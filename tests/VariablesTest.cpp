// Variables by name: declaring them, reading and writing each kind, and what becomes of the host's
// own handles, which are worked on in place.

#include "data/Variables.h"

#include "data/blocks/Handles.h"
#include "host/FourD.h"
#include "platform/ResultCodes.h"
#include "platform/Toolbox.h"
#include "tests/Fixture.h"

#include <gmock/gmock.h>

namespace {

class VariablesTest : public DualHostTest {
  protected:
    VariablesTest() {
        Start();
        ToolboxSetStrict(1);
        for (const auto& [number, name] : {std::pair{283, "ENTIER LONG"},
                                           {222, "TABLEAU TEXTE"},
                                           {293, "ALPHA"},
                                           {304, "Pointeur vers"}}) {
            host.RenameCommand(number, name);
        }
    }
    ~VariablesTest() override { ToolboxSetStrict(0); }

    void Set(std::string_view name, const TypedValue& value) { host.variables.Set(1, name, value); }
    TypedValue Value(std::string_view name) { return host.variables.Read(1, name); }
    static std::string Declaration(CFourDBaseVar&& variable) {
        char out[256] = "before";
        variable.GetDeclaration(out);
        return out;
    }

    TestPlug plug;
};

INSTANTIATE_TEST_SUITE_P(Hosts, VariablesTest, ClassicAndEngine, HostName);

TEST_P(VariablesTest, NewStorageThatTheHostRefusesIsReleased) {
    const struct {
        TypedValue empty; ///< without a handle
        void (*change)();
        TypedValue changed;
    } rows[] = {
        {TextValue(""),
         [] {
             char text[] = "text";
             CFourDTextVar("v").SetTextValue(text);
         },
         TextValue("text")},
        {NullValue(ValueKind::Blob),
         [] { CFourDBlobVar("v").SetBlobValue(OwnedHandle("bytes")); },
         {.kind = ValueKind::Blob, .texts = {"bytes"}}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(Describe(row.changed));
        Set("v", row.empty);
        const long before = ToolboxLiveHandles();
        host.FailNext("SetVariable", ResultCode::BadParameter);
        row.change();
        EXPECT_EQ(ToolboxLiveHandles(), before);
        row.change();
        EXPECT_EQ(ToolboxLiveHandles(), before + 1);
        EXPECT_EQ(Value("v"), row.changed);
    }
    Set("v", LongArrayValue({1})); // in the handle that the host has
    const long before = ToolboxLiveHandles();
    host.FailNext("SetVariable", ResultCode::BadParameter);
    CFourDLongArrayVar("v").SetCurrentIndex(1);
    EXPECT_EQ(ToolboxLiveHandles(), before);
    EXPECT_EQ(Value("v"), LongArrayValue({1}));
}

TEST_P(VariablesTest, DeclarationsAreBuiltFromTheHostsNames) {
    const char* const commands[] = {"C_REAL(v)",
                                    "C_TEXT(v)",
                                    "C_DATE(v)",
                                    "C_BOOLEAN(v)",
                                    "ENTIER LONG(v)",
                                    "C_PICTURE(v)",
                                    "C_TIME(v)",
                                    "C_POINTER(v)",
                                    "C_BLOB(v)",
                                    "",
                                    "",
                                    ""};
    size_t place = 0;
    for (const short type :
         std::initializer_list<short>{1, 2, 4, 6, 9, 10, 11, 23, 30, 24, 5, 33}) {
        EXPECT_EQ(Declaration(CFourDBaseVar("v", type)), commands[place++]) << type;
    }
    struct ArrayRow {
        short elementType;
        const char* command;
    };
    for (const ArrayRow& row : {ArrayRow{1, "ARRAY REAL"},
                                {2, "TABLEAU TEXTE"},
                                {4, "ARRAY DATE"},
                                {6, "ARRAY BOOLEAN"},
                                {9, "ARRAY LONGINT"},
                                {10, "ARRAY PICTURE"},
                                {24, ""},
                                {11, ""}}) {
        const std::string command = row.command;
        EXPECT_EQ(Declaration(CFourDBaseArrayVar("<>v", row.elementType)),
                  command.empty() ? "" : command + "(<>v;0)");
        EXPECT_EQ(Declaration(CFourDBase2DArrayVar("v", row.elementType, 1)),
                  command.empty() ? "" : command + "(<>v;0;0)");
    }
    CFourDLongVar("v").GetDeclaration(nullptr);
    EXPECT_EQ(Declaration(CFourDStringVar("\xD7v")), "ALPHA(255;<>v)");
    const std::string name(40, 'n'); // cut
    EXPECT_EQ(Declaration(CFourDLongVar(name.c_str())), "ENTIER LONG(" + name.substr(9) + ")");
    EXPECT_EQ(Declaration(CFourDLongVar("<>v", 0)), "ENTIER LONG(<>v)"); // kept as it is
}

TEST_P(VariablesTest, ArrayTypesFollowFromThoseOfTheElements) {
    const std::pair<short, short> rows[] = {{1, 14},  {2, 18}, {4, 17}, {6, 22}, {9, 16}, {10, 19},
                                            {24, 21}, {0, 5},  {3, 5},  {11, 5}, {16, 5}, {30, 5}};
    for (const auto& [element, array] : rows) {
        EXPECT_EQ(CFourDBaseArrayVar::ElementTypeToVarType(element), array) << element;
    }
}

/// Declares "v" and answers the type that it then has.
template <typename Variable, short... type>
short Declared(unsigned char isInterprocess) {
    Variable variable("v", type..., isInterprocess);
    variable.Declare();
    return variable.DefinedType();
}

TEST_P(VariablesTest, TheFlagTellsWhoseVariableIsMeant) {
    const std::pair<short (*)(unsigned char isInterprocess), short> rows[] = {
        {Declared<CFourDBaseVar, 4>, 4},
        {Declared<CFourDLongVar>, 9},
        {Declared<CFourDTextVar>, 2},
        {Declared<CFourDBlobVar>, 30},
        {Declared<CFourDBooleanVar>, 6},
        {Declared<CFourDRealVar>, 1},
        {Declared<CFourDStringVar>, 24},
        {Declared<CFourDPointerVar>, 23},
        {Declared<CFourDBaseArrayVar, 6>, 22},
        {Declared<CFourDLongArrayVar>, 16},
        {Declared<CFourDTextArrayVar>, 18},
        {Declared<CFourDRealArrayVar>, 14},
        {Declared<CFourDBase2DArrayVar, 1>, 13},
        {Declared<CFourDLong2DArrayVar>, 13},
        {Declared<CFourDText2DArrayVar>, 13}};
    for (const auto& [declared, type] : rows) {
        for (const unsigned char isInterprocess : std::initializer_list<unsigned char>{0, 1}) {
            EXPECT_EQ(declared(isInterprocess), type);
            const TypedValue none = NullValue(ValueKind::Undefined);
            EXPECT_EQ(Value("<>v") == none, isInterprocess == 0) << type;
            EXPECT_EQ(Value("v") == none, isInterprocess != 0) << type;
            host.variables.Clear();
        }
    }
    EXPECT_EQ(CFourDVar("v", 9, 1).SetValue(7L), 0);
    EXPECT_EQ(Value("<>v"), LongValue(7));
    EXPECT_TRUE(host.variables.Of(1).empty());
}

TEST_P(VariablesTest, DeclareGivesTheTypeUnlessItIsThere) {
    for (const bool compiled : {false, true}) {
        host.options.callerCompiled = compiled;
        CFourDLongVar("long").Declare();
        CFourDStringVar("<>string").Declare();
        CFourDTextArrayVar("texts").Declare();
        CFourDLong2DArrayVar("<>longs").Declare();
        EXPECT_EQ(CFourDLongVar("long").DefinedType(), compiled ? 5 : 9);
        EXPECT_EQ(CFourDStringVar("<>string").DefinedType(), compiled ? 5 : 24);
        EXPECT_EQ(CFourDTextArrayVar("texts").DefinedType(), 18);
        EXPECT_EQ(CFourDLong2DArrayVar("longs", 1).DefinedType(), 13);
        CFourDTextArrayVar("texts").SetNumElements(2);
        CFourDTextArrayVar("texts").Declare(); // does not begin anew
        EXPECT_EQ(CFourDTextArrayVar("texts").GetNumElements(), 2);
        host.variables.Clear();
    }
}

TEST_P(VariablesTest, InitDeclaresOnceItHasWorked) {
    CFourDVar number("<>n", 9);
    host.FailNext("ExecTokenizedProc", -1);
    number.Init();
    EXPECT_EQ(Value("<>n"), NullValue(ValueKind::Undefined));
    number.Init();
    EXPECT_EQ(Value("<>n"), LongValue(0));
    Set("<>n", NullValue(ValueKind::Undefined));
    number.Init();
    EXPECT_EQ(Value("<>n"), NullValue(ValueKind::Undefined));
    CFourDVar("date", 4).Init();
    host.options.callerCompiled = true;
    CFourDVar("real", 1).Init();
    EXPECT_TRUE(host.variables.Of(1).empty());
}

TEST_P(VariablesTest, PlainVariablesConvert) {
    CFourDVar variable("v", 9);
    EXPECT_EQ(variable.SetValue(42.25), 0);
    EXPECT_EQ(Value("v"), LongValue(42));
    TextBlock text{};
    EXPECT_EQ(variable.GetValue(&text), 0);
    EXPECT_EQ(text.length, 2);
    CFourDVar other("t", 2);
    EXPECT_EQ(other.SetValue(&text), 0);
    EXPECT_EQ(Value("t"), TextValue("42"));
    double real = 0;
    EXPECT_EQ(other.GetValue(&real), 0);
    EXPECT_EQ(real, 42);
    host.FailNext("SetVariable", -1234);
    EXPECT_EQ(other.SetValue(&text), -1234);
    host.FailNext("GetVariable", -1234);
    EXPECT_EQ(variable.GetValue(&text), -1234);
    EXPECT_EQ(Handle{text.text}, nullptr);
    EXPECT_EQ(CFourDVar("p", 23).SetValue(1L), ResultCode::UnsupportedConversion);
    unsigned char boolean = 9;
    EXPECT_EQ(CFourDVar("b", 6).SetValue(static_cast<unsigned char>(1)), 0);
    EXPECT_EQ(Value("b"), BooleanValue(true));
    for (const auto& [name, truth, whole, result] :
         {std::tuple{"b", 1, 1L, 0}, {"v", 1, 42L, 0}, {"t", 1, 42L, 0}, {"none", 0, 0L, -1999}}) {
        long number = -1;
        EXPECT_EQ(CFourDVar(name, 9).GetValue(&boolean), result) << name;
        EXPECT_EQ(boolean, truth) << name;
        EXPECT_EQ(CFourDVar(name, 9).GetValue(&number), result) << name;
        EXPECT_EQ(number, whole) << name;
    }

    Set("a", LongArrayValue({5, 6}));
    CArray array;
    EXPECT_EQ(CFourDVar("a", 16).GetOriginalArray(&array), 16);
    EXPECT_EQ(array.Find(6), 2);
    array.Forget();
    EXPECT_EQ(variable.GetOriginalArray(&array), 9);
    EXPECT_EQ(array.GetType(), 0);
    PascalString names[] = {PascalString("a"), PascalString("t")};
    EXPECT_EQ(FourD::GetArrayVar(names[1], &array), 0); // a text is no storage of an array
    EXPECT_EQ(array.GetType(), 2);
    EXPECT_EQ(FourD::GetArrayVar(names[0], &array), 0);
    EXPECT_EQ(array.GetArraySize(), 2);
    array.Forget();
}

TEST_P(VariablesTest, ArraysOfEachTypeAreHandedOutWhole) {
    const auto array = [](ValueKind kind, const TypedValue& element, long detail = 0) {
        return ArrayValue(kind, {element, element}, detail);
    };
    std::vector<std::pair<TypedValue, short>> rows = {
        {array(ValueKind::ArrayOfArrays, LongArrayValue({1, 2, 3}),
               static_cast<long>(ValueKind::LongArray)),
         13},
        {array(ValueKind::RealArray, RealValue(0.5)), 14},
        {array(ValueKind::IntegerArray, ShortValue(-2)), 15},
        {LongArrayValue({5, 6}), 16},
        {array(ValueKind::DateArray, DateValue(2026, 11, 21)), 17},
        {TextArrayValue({"one", "two"}), 18},
        {array(ValueKind::PictureArray, NullValue(ValueKind::Picture)), 19},
        {array(ValueKind::StringArray, StringValue("abcd"), 9), 21},
        {array(ValueKind::BooleanArray, BooleanValue(true)), 22}};
    if (host.HasEngine()) {
        rows.emplace_back(array(ValueKind::UnicodeTextArray, UnicodeValue("u")), 34);
    }
    for (const auto& [value, type] : rows) {
        Set("a", value);
        CArray original;
        EXPECT_EQ(CFourDVar("a", 5).GetOriginalArray(&original), type);
        EXPECT_EQ(original.GetType(), type == 34 ? 0 : type);
        EXPECT_EQ(original.ComputeAddress(2) != nullptr, type != 34);
        EXPECT_EQ(original.ComputeAddress(3), nullptr);
        original.Forget();
    }
    CArray untouched;
    host.FailNext("GetVariable", -1234);
    EXPECT_EQ(CFourDVar("a", 5).GetOriginalArray(&untouched), -1234);
    EXPECT_EQ(untouched.GetType(), 0);
}

TEST_P(VariablesTest, ScalarsAreOfTheirTypeOrLeftAlone) {
    Set("n", LongValue(1));
    Set("<>n", LongValue(2));
    Set("r", RealValue(0.5));
    Set("b", BooleanValue(true));
    CFourDLongVar("n").SetLongValue(CFourDLongVar("n").GetLongValue() + 10);
    CFourDLongVar("<>n").SetLongValue(CFourDLongVar("n", 1).GetLongValue() + 20);
    CFourDRealVar("r").SetRealValue(CFourDRealVar("r").GetRealValue() * 3);
    CFourDBooleanVar("b").SetBooleanValue(CFourDBooleanVar("b").GetBooleanValue() == 0 ? 1 : 0);
    EXPECT_EQ(Value("n"), LongValue(11));
    EXPECT_EQ(Value("<>n"), LongValue(22));
    EXPECT_EQ(Value("r"), RealValue(1.5));
    EXPECT_EQ(Value("b"), BooleanValue(false));
    for (const char* name : {"n", "missing"}) {
        const TypedValue before = Value(name);
        char text[] = "text";
        CFourDRealVar(name).SetRealValue(9);
        CFourDBooleanVar(name).SetBooleanValue(1);
        CFourDTextVar(name).SetTextValue(text);
        CFourDBlobVar(name).SetBlobValue(nullptr);
        CFourDPointerVar(name).SetNil();
        CFourDLongArrayVar(name).SetNumElements(5);
        CFourDLong2DArrayVar(name).SetLongElementValue(1, 1, 1);
        EXPECT_EQ(Value(name), before);
        Handle blob = nullptr;
        EXPECT_EQ(CFourDBlobVar(name).GetBlobValue(&blob), 0);
        EXPECT_EQ(CFourDRealVar(name).GetRealValue() + CFourDTextVar(name).GetTextLength() +
                      CFourDLongArrayVar(name).GetNumElements() +
                      CFourDBooleanVar(name).GetBooleanValue(),
                  0);
        EXPECT_FALSE(CFourDPointerVar(name).IsNil());
    }
    PascalString string("");
    EXPECT_EQ(CFourDStringVar("n").GetStringValue(string), 0);
    EXPECT_EQ(string.Text(), "11");
    CFourDStringVar("s").SetStringValue(PascalString("made"));
    EXPECT_EQ(Value("s"), StringValue("made"));
}

TEST_P(VariablesTest, TextsAndBlobsAreChangedInPlace) {
    Set("t", TextValue("some text"));
    CFourDTextVar variable("t");
    const long before = ToolboxLiveHandles();
    for (const std::string& text : {std::string(""), std::string("longer than before"),
                                    std::string("short"), std::string("")}) {
        const OwnedHandle handle(text);
        variable.SetTextValue(handle);
        EXPECT_EQ(Value("t"), TextValue(text));
        EXPECT_EQ(variable.GetTextLength(), static_cast<long>(text.size()));
        char read[32] = "before";
        variable.GetTextValue(read);
        EXPECT_EQ(read, text);
    }
    EXPECT_EQ(ToolboxLiveHandles(), before - 1);
    CTextBlock block("a block");
    variable.SetTextValue(&block);
    EXPECT_EQ(Value("t"), TextValue("a block"));
    block.SetTo("before");
    variable.GetTextValue(&block);
    EXPECT_EQ(OwnedHandle::BytesOf(block.GetHandle()), "a block");
    Handle text = nullptr;
    variable.GetTextValue(&text);
    EXPECT_EQ(OwnedHandle::BytesOf(text), "a block");
    EXPECT_NE(text, Handle{host.variables.Find(1, "t")->text.text});
    DisposeHandle(text);
    CFourDTextVar("missing").GetTextValue(&text);
    EXPECT_EQ(text, nullptr);
    CFourDTextVar("missing").GetTextValue(&block);
    EXPECT_EQ(block.GetLength(), 0);
    char kept[] = "kept";
    variable.SetTextValue(kept);
    const OwnedHandle tooLong(std::string(1000, 'x'));
    ToolboxFailAllocation(1);
    variable.SetTextValue(tooLong);
    EXPECT_EQ(Value("t"), TextValue("kept"));

    Set("b", {.kind = ValueKind::Blob, .texts = {"bytes"}});
    CFourDBlobVar blob("b");
    blob.SetBlobValue(tooLong);
    EXPECT_EQ(blob.GetBlobSize(), 1000);
    OwnedHandle copy("");
    DisposeHandle(copy);
    EXPECT_EQ(blob.GetBlobValue(&copy.handle), 0);
    EXPECT_EQ(copy.Bytes(), tooLong.Bytes());
    blob.SetBlobValue(nullptr);
    EXPECT_EQ(blob.GetBlobSize(), 0);
    ToolboxFailAllocation(1);
    blob.SetBlobValue(tooLong);
    EXPECT_EQ(blob.GetBlobSize(), 0);
}

TEST_P(VariablesTest, WhatIsDisposedOfWithoutAWordIsAMistake) {
    Set("t", TextValue("text"));
    DisposeHandle(host.variables.Find(1, "t")->text.text);
    Set("t", LongValue(1));
    session.ReportLeaks();
    EXPECT_THAT(TakeProblems(), testing::ElementsAre(testing::HasSubstr("already disposed")));
    ToolboxClearProblems(); // other tests count them
}

TEST_P(VariablesTest, ArraysAreChangedInPlace) {
    Set("n", LongArrayValue({1, 2, 3}));
    CFourDLongArrayVar longs("n");
    longs.SetCurrentIndex(3);
    longs.SetLongElementValue(2, 20);
    longs.SetLongElementValue(4, 99);
    EXPECT_EQ(longs.GetLongElementValue(2) + longs.GetLongElementValue(4), 20);
    EXPECT_EQ(longs.GetCurrentIndex(), 3);
    longs.SetNumElements(2);
    EXPECT_EQ(longs.GetCurrentIndex(), 0);
    longs.SetNumElements(-1);
    ToolboxFailAllocation(1);
    longs.SetNumElements(1000);
    EXPECT_EQ(Value("n"), LongArrayValue({1, 20}));
    Set("r", ArrayValue(ValueKind::RealArray, {RealValue(1)}));
    CFourDRealArrayVar("r").SetRealElementValue(1, 2.5);
    EXPECT_EQ(CFourDRealArrayVar("r").GetRealElementValue(1), 2.5);

    Set("t", TextArrayValue({"one", "two", ""}));
    CFourDTextArrayVar texts("t");
    char text[] = "a new text";
    texts.SetTextElementValue(3, text);
    char empty[] = "";
    texts.SetTextElementValue(1, empty);
    texts.SetTextElementValue(9, text);
    ToolboxFailAllocation(1);
    texts.SetTextElementValue(2, text);
    EXPECT_EQ(Value("t"), TextArrayValue({"", "two", "a new text"}));
    Handle storage = host.variables.Find(1, "t")->array.elements;
    HLock(storage);
    texts.SetTextElementValue(1, text);
    EXPECT_NE(HGetState(storage) & 0x80, 0);
    HUnlock(storage);
    OwnedHandle copy("");
    DisposeHandle(copy);
    texts.GetTextElementValue(3, &copy.handle);
    EXPECT_EQ(copy.Bytes(), text);
    EXPECT_EQ(HGetState(storage) & 0x80, 0);
    const OwnedHandle other("out of a handle");
    texts.SetTextElementValue(2, other);
    EXPECT_EQ(Value("t"), TextArrayValue({"a new text", "out of a handle", "a new text"}));
    for (const auto& [index, expected] :
         {std::pair{2L, "out of a handle"}, {3, "a new text"}, {4, ""}, {-1, ""}}) {
        char read[32] = "before";
        texts.GetTextElementValue(index, read);
        EXPECT_STREQ(read, expected);
        EXPECT_EQ(texts.GetTextElementLength(index), static_cast<long>(std::strlen(expected)));
    }
    const long before = ToolboxLiveHandles();
    texts.SetNumElements(1);
    EXPECT_EQ(ToolboxLiveHandles(), before - 2);

    if (host.HasEngine()) {
        Set("u", ArrayValue(ValueKind::UnicodeTextArray, {UnicodeValue("a"), UnicodeValue("b")}));
        CFourDTextArrayVar("u").SetNumElements(1);
        EXPECT_EQ(Value("u"), ArrayValue(ValueKind::UnicodeTextArray, {UnicodeValue("a")}));
        ValueBlock value{};
        CFourDLongVar("u").GetValue(&value);
        CArray::Of(value).AtPut(1, PascalString("c"));
        EXPECT_EQ(CFourDLongVar("u").SetValue(&value, 0), 0);
        EXPECT_EQ(Value("u"), ArrayValue(ValueKind::UnicodeTextArray, {UnicodeValue("c")}));
        EXPECT_EQ(host.strings.Live(), 0);
        EXPECT_EQ(host.strings.LiveOfHost(), 2); // element 0 too
    }
}

TEST_P(VariablesTest, TwoDimensionalArraysAreChangedInPlace) {
    CFourDText2DArrayVar texts("t");
    texts.Declare();
    texts.SetNumRows(2);
    texts.SetNumColumns(2, 3);
    texts.SetNumColumns(3, 3);
    char text[] = "cell";
    texts.SetTextElementValue(2, 3, text);
    texts.SetTextElementValue(1, 1, text);
    EXPECT_EQ(texts.GetNumRows() * 10 + texts.GetNumColumns(2), 23);
    EXPECT_EQ(texts.GetTextElementLength(2, 3) * 10 + texts.GetTextElementLength(1, 1), 40);
    const OwnedHandle other("out of a handle");
    texts.SetTextElementValue(2, 2, other);
    for (const auto& [row, column, expected] :
         {std::tuple{2L, 2L, "out of a handle"}, {2, 3, "cell"}, {2, 4, ""}, {1, 2, ""}}) {
        char read[32] = "before";
        texts.GetTextElementValue(row, column, read);
        EXPECT_STREQ(read, expected) << row << " " << column;
        TemporaryHandle copy;
        texts.GetTextElementValue(row, column, copy.Address());
        EXPECT_EQ(copy.Get() != nullptr ? OwnedHandle::BytesOf(copy.Get()) : "", expected);
    }
    char none[] = "";
    texts.SetTextElementValue(2, 2, none);
    Set("n", LongValue(1));
    CFourDLong2DArrayVar longs("n");
    longs.Declare();
    longs.SetNumRows(1);
    longs.SetNumColumns(1, 2);
    longs.SetLongElementValue(1, 2, 12);
    EXPECT_EQ(Value("n"), ArrayValue(ValueKind::ArrayOfArrays, {LongArrayValue({0, 12})},
                                     static_cast<long>(ValueKind::LongArray)));
    EXPECT_EQ(longs.GetLongElementValue(1, 2), 12);
    // What a row says about itself does not count, unless that is another type than row 0's.
    const Handle storage = host.variables.Find(1, "t")->array.elements;
    const auto setTypeOfRow2 = [&](unsigned char type) {
        reinterpret_cast<ArrayRow*>(*storage)[2].type = type;
    };
    for (const unsigned char type : {ValueType::LongArray, ValueType::Real}) {
        setTypeOfRow2(type);
        texts.SetTextElementValue(2, 2, text);
        texts.SetNumColumns(2, 2);
        EXPECT_EQ(texts.GetTextElementLength(2, 2) * 10 + texts.GetNumColumns(2), 42);
        texts.SetNumColumns(2, 3);
    }
    setTypeOfRow2(0);
    const long before = ToolboxLiveHandles();
    texts.SetNumRows(1); // a row's storage and its text
    EXPECT_EQ(ToolboxLiveHandles(), before - 2);
}

TEST_P(VariablesTest, PointersAreSetAndCleared) {
    CFourDPointerVar pointer("p");
    pointer.Declare();
    EXPECT_TRUE(pointer.IsNil());
    Set("n", LongValue(1));
    pointer.SetPointerToVariable("n");
    EXPECT_FALSE(pointer.IsNil());
    ValueBlock value{};
    pointer.GetPointerValue(&value);
    EXPECT_EQ(value.type, ValueType::Pointer);
    const auto point = [](Handle handle, const PointerRecord& record) {
        std::memcpy(*handle, &record, sizeof record);
    };
    const std::string cleared(sizeof(PointerRecord), '\0');
    struct Row {
        PointerRecord record;
        bool isNil;
    };
    for (const Row& row : {Row{{0, 1, 0}, false},
                           {{0, 0, 1}, true},
                           {{1, 0, 1}, false},
                           {{1, 1, 0}, true},
                           {{2, 1, 1}, true}}) {
        point(value.pointer, row.record);
        EXPECT_EQ(pointer.IsNil(), row.isNil) << row.record.kind;
    }
    point(value.pointer, {1, 2, 3});
    pointer.SetNil();
    EXPECT_EQ(OwnedHandle::BytesOf(value.pointer), cleared);
    // The handle may be the host's, of which the toolbox knows nothing, or lead nowhere.
    Handle& itsHandle = host.variables.Find(1, "p")->pointer;
    itsHandle = ToolboxNewHostHandle(sizeof(PointerRecord));
    point(itsHandle, {1, 2, 3});
    EXPECT_FALSE(pointer.IsNil());
    pointer.SetNil();
    EXPECT_EQ(std::string(*itsHandle, cleared.size()), cleared);
    ToolboxDisposeHostHandle(itsHandle);
    char* nothing = nullptr;
    itsHandle = &nothing;
    pointer.SetNil();
    EXPECT_TRUE(pointer.IsNil());
    itsHandle = value.pointer;
    point(itsHandle, {0, 1, 0});
    host.options.callerCompiled = true;
    EXPECT_FALSE(pointer.IsNil());
    pointer.SetNil();
    EXPECT_TRUE(pointer.IsNil());
    EXPECT_EQ(Handle{host.variables.Find(1, "p")->pointer}, nullptr);
    CFourDPointerVar copy("copy");
    host.options.callerCompiled = false;
    copy.Declare();
    value = {};
    value.type = ValueType::Pointer;
    OwnedHandle target(std::string_view("\1\0\2\0\0\0\3\0\4\0", 10)); // field 3 of table 4
    value.pointer = target;
    copy.SetPointerValue(&value);
    target.handle = nullptr; // it is the host's now
    EXPECT_EQ(host.log.Last("SetVariable")->before[398], 1);
    EXPECT_EQ(Handle{host.variables.Find(1, "copy")->pointer}, Handle{value.pointer});
    EXPECT_FALSE(copy.IsNil());
    ValueBlock read{};
    EXPECT_EQ(copy.GetPointerValue(&read), 0);
    EXPECT_EQ(long{reinterpret_cast<PointerRecord*>(*read.pointer)->field}, 0x40003);
    host.options.callerCompiled = true;
    value = {};
    pointer.SetPointerValue(&value); // no pointer
    pointer.SetPointerToVariable("\"");
    EXPECT_TRUE(pointer.IsNil());
}

} // namespace
