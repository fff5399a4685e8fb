#include "data/blocks/Handles.h"
#include "host/boundary/Selectors.h"
#include "host/FourD.h"
#include "host/State.h"
#include "platform/Toolbox.h"
#include "testhost/crossings/RecordFields.h"
#include "tests/Fixture.h"
#include "ui/FourDDialog.h"

#include <cstring>
#include <optional>

// What dialog operations send and what they make of the answers. Most of them work on a dialog
// context alone, so that no form is needed.

namespace {

constexpr OSType StringListType = 0x53545223;
constexpr OSType PairListType = 0x544B504C;

/// What is to be in the record besides the dialog.
struct Sent {
    std::string name = "v";
    std::optional<double> real = {};
    short day = 0;
    long number = 0;
    std::string string = {};
    const void* address = nullptr;
    long param2 = 0;
    long param3 = 0;
    long param4 = 0;
    unsigned char flag1 = 0;
    short table = 0;
    short field = 0;
};

using D = FourDDialog;

class DialogOperationsTest : public HostTest, public testing::WithParamInterface<unsigned short> {
  protected:
    DialogOperationsTest() : HostTest({.version = GetParam(), .pluginResFile = 50}) {
        ToolboxAddResFile(50);
        Start();
        dialog = D::CreateFourDDialogContext();
        ToolboxSetStrict(1);
    }
    ~DialogOperationsTest() override {
        ToolboxSetStrict(0);
        D::Close(dialog);
        ToolboxRemoveResFile(50);
    }

    void ExpectSent(const char* selector, short classic, short engine, const Sent& sent = {});
    std::string TextElement(long index) {
        Handle text = nullptr;
        D::GetArrayElement(dialog, "a", index, &text);
        const TemporaryHandle owned(text);
        return OwnedHandle::BytesOf(text);
    }

    TestPlug plug;
    FourDDialog* dialog = nullptr;
};

/// The last call of this selector; `engineNumber` is 0 where it is classic on every host.
void DialogOperationsTest::ExpectSent(const char* selector, short classicNumber, short engineNumber,
                                      const Sent& sent) {
    SCOPED_TRACE(selector);
    const LoggedCall* call = host.log.Last(selector);
    ASSERT_NE(call, nullptr);
    const bool engine = engineNumber != 0 && host.HasEngine();
    ASSERT_EQ(call->IsEngine(), engine);
    EXPECT_EQ(call->selector, engine ? engineNumber : classicNumber);
    const CallFields& fields = call->Sent();
    EXPECT_EQ(long{fields.param1}, reinterpret_cast<long>(dialog));
    if (engine) {
        EXPECT_EQ(AnsiText(call->EngineSent().uniName), sent.name);
        EXPECT_EQ(AnsiText(call->EngineSent().uniText), sent.string);
    } else {
        EXPECT_STREQ(reinterpret_cast<const char*>(fields.name), sent.name.c_str());
        EXPECT_EQ(PascalString::TextOf(call->ValueTextSent()), sent.string);
    }
    REAL_U real = {};
    const long double extended = sent.real.value_or(0);
    if (sent.real && engine) {
        real.value = *sent.real;
    } else if (sent.real) {
        std::memcpy(&real, &extended, sizeof real);
    }
    EXPECT_EQ(std::memcmp(&fields.value.real, &real, sizeof real), 0);
    EXPECT_EQ(short{fields.value.date.day}, sent.day);
    EXPECT_EQ(long{fields.value.number}, sent.number);
    EXPECT_EQ(static_cast<const void*>(Handle{fields.handle}), sent.address);
    EXPECT_EQ((std::vector<long>{fields.param2, fields.param3, fields.param4, fields.flag1,
                                 fields.table, fields.field}),
              (std::vector<long>{sent.param2, sent.param3, sent.param4, sent.flag1, sent.table,
                                 sent.field}));
}

TEST_P(DialogOperationsTest, SendsEachOperationWithItsValues) {
    const OwnedHandle handle("text");
    ValueBlock value = {};
    value.type = ValueType::Long;
    PascalString text("Text");
    Str255 string;
    long number = 0;
    double real = 0;
    Handle element = nullptr;
    char read[256];
    Rect rect;
    DateBlock date;
    const auto* const picture = static_cast<void*>(handle.handle);
    FourDDialog* const d = dialog;
    D::SetVarEnabled(d, "v", 1);
    ExpectSent("DialogSetVarEnabled", 204, -204, {.param2 = 1});
    D::GetVar(d, "v", &value);
    ExpectSent("DialogGetVar", 205, -205, {.address = &value});
    D::SetVar(d, "v", &value);
    ExpectSent("DialogSetVar", 206, -206, {.address = &value});
    D::GetLongVar(d, "v");
    ExpectSent("DialogGetLongVar", -207, -207);
    D::SetLongVar(d, "v", 8);
    ExpectSent("DialogSetLongVar", 208, -208, {.number = 8});
    D::GetNativeRealVar(d, "v");
    ExpectSent("DialogGetNativeRealVar", 209, -209);
    D::SetNativeRealVar(d, "v", 2.5);
    ExpectSent("DialogSetNativeRealVar", 210, -210, {.real = 2.5});
    D::GetStringVar(d, "v", string);
    ExpectSent("DialogGetStringVar", 211, -211);
    D::SetStringVar(d, "v", "%d %%", 7);
    ExpectSent("DialogSetStringVar", 212, -212, {.string = "7 %"});
    D::SetPictureVar(d, "v", reinterpret_cast<Picture**>(handle.handle));
    ExpectSent("DialogSetPictureVar", 213, 0, {.address = picture});
    D::SwitchTo4DContext(d);
    ExpectSent("DialogSwitchTo4DContext", 215, -215, {.name = ""});
    D::SwitchToDlogContext(d, reinterpret_cast<long>(d));
    ExpectSent("DialogSwitchToDlogContext", -216, -216,
               {.name = "", .param2 = reinterpret_cast<long>(dialog)});
    D::GetRect(d, "v", &rect);
    ExpectSent("DialogGetRect", 222, -222);
    D::BeginUpdateVars(d);
    ExpectSent("DialogBeginUpdateVars", 226, -226, {.name = ""});
    D::EndUpdateVars(d);
    ExpectSent("DialogEndUpdateVars", 227, -227, {.name = ""});
    D::SetDateVar(d, "d", {21, 11, 2026});
    ExpectSent("DialogSetDateVar", 230, -230, {.name = "d", .day = 21});
    EXPECT_EQ(D::GetDateVar(d, "d", &date), 2026);
    ExpectSent("DialogGetDateVar", 231, -231, {.name = "d"});
    D::SetVarVisible(d, "v", 1);
    ExpectSent("DialogSetVarVisible", 232, -232, {.param2 = 1});
    D::GotoPage(d, 2);
    ExpectSent("DialogGotoPage", 233, -233, {.name = "", .param2 = 2});
    EXPECT_EQ(D::CurrentPage(d), 1);
    ExpectSent("DialogCurrentPage", 234, -234, {.name = ""});
    D::Redraw(d, "v");
    ExpectSent("DialogRedraw", 244, -244);
    D::SetEditable(d, "v", 1);
    ExpectSent("DialogSetEditable", 251, -251, {.param2 = 1});
    D::SetNumVarMinMax(d, "v", 1.5, 2.5);
    ExpectSent("DialogSetNumVarMin", 252, -252, {.real = 1.5, .param2 = 1});
    ExpectSent("DialogSetNumVarMax", 253, -253, {.real = 2.5, .param2 = 1});
    FourDDialog_SetUserData(d, &text);
    ExpectSent("DialogSetUserData", 258, -258, {.name = "", .address = &text});
    EXPECT_EQ(FourDDialog_GetUserData(d), &text);
    ExpectSent("DialogGetUserData", 259, -259, {.name = ""});
    D::SetThreeStateCheckBox(d, "v", 1);
    ExpectSent("DialogSetThreeStateCheckBox", 260, -260, {.param2 = 1});
    D::SetEntryFilter(d, "v", text);
    ExpectSent("DialogSetEntryFilter", 329, 0, {.string = "Text"});
    D::SetEntryFormat(d, "v", text);
    ExpectSent("DialogSetEntryFormat", 330, 0, {.string = "Text"});
    D::SetObjVisible(d, "v", 1);
    ExpectSent("DialogSetObjVisible", 337, -337, {.param2 = 1});
    D::SetTimeVar(d, "v", 61);
    ExpectSent("DialogSetTimeVar", 338, -338, {.number = 61});
    D::GetTimeVar(d, "v");
    ExpectSent("DialogGetTimeVar", 339, -339);
    D::SetVarTitle(d, "v", "t");
    ExpectSent("DialogSetTitle", 340, -340, {.string = "t", .param2 = 1});
    D::SetObjTitle(d, "v", "t");
    ExpectSent("DialogSetTitle", 340, 0, {.string = "t"});
    D::UpdateObjTitle(d, "v");
    ExpectSent("DialogUpdateObjTitle", 341, 0);
    D::GetLastObject(d, read);
    ExpectSent("DialogGetLastObject", -405, 0, {.name = ""});
    D::GotoVariable(d, "v");
    ExpectSent("DialogGotoVariable", -416, 0);
    D::Cancel(d);
    ExpectSent("DialogEnd", -425, -425, {.name = "", .param2 = 1});
    D::Validate(d);
    ExpectSent("DialogEnd", -425, -425, {.name = ""});
    D::NewArrayLong(d, "l");
    ExpectSent("DialogNewArrayLong", 239, -239, {.name = "l"});
    D::SetArrayElement(d, "l", 1, 8L);
    ExpectSent("DialogSetArrayElementLong", 240, -240, {.name = "l", .number = 8, .param2 = 1});
    D::GetArrayElement(d, "l", 1, &number);
    ExpectSent("DialogGetArrayElementLong", 219, -219, {.name = "l", .param2 = 1});
    D::NewArrayReal(d, "r");
    ExpectSent("DialogNewArrayReal", 327, -327, {.name = "r"});
    D::SetArrayElement(d, "r", 1, 0.5);
    ExpectSent("DialogSetArrayElementReal", 328, -328, {.name = "r", .real = 0.5, .param2 = 1});
    D::GetArrayElement(d, "r", 1, &real);
    ExpectSent("DialogGetArrayElementReal", 217, -217, {.name = "r", .param2 = 1});
    D::NewArrayString(d, "s");
    ExpectSent("DialogNewArrayString", 228, -228, {.name = "s"});
    D::SetArrayElement(d, "s", 1, "string");
    ExpectSent("DialogSetArrayElementString", 229, -229,
               {.name = "s", .string = "string", .param2 = 1});
    D::GetArrayElement(d, "s", 1, read);
    ExpectSent("DialogGetArrayElementString", 218, -218, {.name = "s", .param2 = 1});
    D::NewArrayText(d, "t");
    ExpectSent("DialogNewArrayText", 331, -331, {.name = "t"});
    D::SetArrayElement(d, "t", 1, handle.handle);
    ExpectSent("DialogSetArrayElementText", 332, 0, {.name = "t", .address = picture, .param2 = 1});
    D::GetArrayElement(d, "t", 1, &element);
    ExpectSent("DialogGetArrayElementText", 333, 0, {.name = "t", .param2 = 1});
    D::NewArrayPicture(d, "p");
    ExpectSent("DialogNewArrayPicture", 245, -245, {.name = "p"});
    D::SetArrayElement(d, "p", 1, reinterpret_cast<Picture**>(handle.handle));
    ExpectSent("DialogSetArrayElementPicture", 246, 0,
               {.name = "p", .address = picture, .param2 = 1});
    EXPECT_EQ(D::GetArraySize(d, "l"), 1);
    ExpectSent("DialogGetArraySize", 242, -242, {.name = "l"});
    D::DeleteArrayElements(d, "l", 1, 1);
    ExpectSent("DialogDeleteArrayElements", 243, -243, {.name = "l", .param2 = 1, .param3 = 1});
    D::LoadTextArrayFromResource(d, "a", 9);
    ExpectSent("DialogLoadTextArrayFromResource", 223, -223,
               {.name = "a", .param2 = StringListType, .param3 = 9});
    D::LoadTextArrayFromTableNames(d, "a", 1);
    ExpectSent("DialogLoadTextArrayFromTableNames", 224, -224, {.name = "a", .param2 = 911});
    D::LoadTextArrayFromFieldNames(d, "a", 3, 0);
    ExpectSent("DialogLoadTextArrayFromFieldNames", 225, -225, {.name = "a", .table = 3});
    D::LoadTextArrayFromTTR(d, "a", handle.handle, 9);
    ExpectSent("DialogLoadTextArrayFromTTR", 241, 0,
               {.name = "a", .address = picture, .param2 = 9});
    D::NewTableFieldHList(d, "h", 3, 1, 2, 1, 4, 5);
    ExpectSent("DialogNewTableFieldHList", -235, 0,
               {.name = "h", .param2 = 911, .param3 = 0x05040201, .table = 3});
    D::SetTableFieldInHList(d, "h", 3, 4, 1);
    ExpectSent("DialogSetTableFieldInHList", -263, 0,
               {.name = "h", .param2 = 911, .table = 3, .field = 4});
    D::GetTableFieldFromHList(d, "h", nullptr, nullptr, 0);
    ExpectSent("DialogGetTableFieldFromHList", -238, 0, {.name = "h"});
    D::ClearHList(d, "h");
    ExpectSent("DialogClearHList", -236, -236, {.name = "h"});
    D::GetDragInfo(d, nullptr, nullptr, nullptr, nullptr);
    ExpectSent("DialogGetDragInfo", -237, 0, {.name = ""});
    D::SetTextVar(d, "v", handle.handle);
    ExpectSent("DialogSetTextVar", 308, GetParam() >= 0x1200 ? -308 : 0,
               {.address = GetParam() >= 0x1200 ? nullptr : picture});
    const TemporaryHandle content(D::GetTextVar(d, "v"));
    ExpectSent("DialogGetTextVar", 309, -309);
    const TemporaryHandle owned(element);
    EXPECT_EQ(OwnedHandle::BytesOf(element), "text");
    EXPECT_EQ(OwnedHandle::BytesOf(content.Get()), "text");
    EXPECT_EQ(number, 8);
    EXPECT_EQ(real, 0.5);
    EXPECT_STREQ(read, "string");
    EXPECT_EQ(host.log.Named("CreateFourDDialogContext")[0]->selector,
              host.HasEngine() ? -200 : 200);
    // None is left out but those that need a dialog of their own.
    for (const SelectorPair& row : SelectorTable) {
        const std::string_view name = row.name;
        EXPECT_TRUE(name.find("Dialog") == std::string_view::npos || name == "DialogFromWindow" ||
                    name == "WindowFromDialog" || name == "CreateFourDDialog" ||
                    name == "ModalDialog" || name == "DialogClose" ||
                    name == "DialogSetAreaHandler" || host.log.Last(name) != nullptr)
            << name;
    }
}

TEST_P(DialogOperationsTest, ReadsWhatItWrote) {
    PascalString text("Gr\xFC\xDF"
                      "e");
    D::SetLongVar(dialog, "long", -5);
    D::SetNativeRealVar(dialog, "real", 0.1);
    D::SetStringVar(dialog, "string", text);
    D::SetTimeVar(dialog, "time", 3661);
    D::SetBooleanVar(dialog, "boolean", 1);
    Str255 string = {};
    D::GetStringVar(dialog, "string", string);
    EXPECT_EQ(D::GetLongVar(dialog, "long"), -5);
    EXPECT_EQ(D::GetNativeRealVar(dialog, "real"), 0.1);
    EXPECT_EQ(PascalString::TextOf(string), text.Text());
    EXPECT_EQ(D::GetTimeVar(dialog, "time"), 3661);
    EXPECT_EQ(D::GetBooleanVar(dialog, "boolean"), 1);
    EXPECT_EQ(D::GetBooleanVar(dialog, "nothing"), 0);
    EXPECT_EQ(D::GetPictureVar(dialog, "string"), nullptr);
}

TEST_P(DialogOperationsTest, SendsTextsAsHostStringsFrom12On) {
    const std::string long300(300, 'x');
    D::SetTextVar(dialog, "v", long300.c_str());
    EXPECT_EQ(host.log.Last("DialogSetTextVar")->IsEngine(), GetParam() >= 0x1200);
    EXPECT_EQ(host.log.Last("DialogSetTextVar")->selector, GetParam() >= 0x1200 ? -308 : 308);
    {
        const TemporaryHandle text(D::GetTextVar(dialog, "v"));
        EXPECT_EQ(OwnedHandle::BytesOf(text.Get()), long300);
    }
    D::SetTextVar(dialog, "v", PascalString("as a string"));
    {
        const TemporaryHandle text(D::GetTextVar(dialog, "v"));
        EXPECT_EQ(OwnedHandle::BytesOf(text.Get()), "as a string");
    }
    for (const char* empty : {"", static_cast<const char*>(nullptr)}) {
        D::SetTextVar(dialog, "v", "full");
        D::SetTextVar(dialog, "v", empty);
        const TemporaryHandle text(D::GetTextVar(dialog, "v"));
        EXPECT_EQ(OwnedHandle::BytesOf(text.Get()), "");
    }
    D::SetTextVar(dialog, "v", Handle{});
    if (GetParam() < 0x1200) { // an empty handle in its place
        EXPECT_NE(Handle{host.log.Last("DialogSetTextVar")->Sent().handle}, nullptr);
    }
}

TEST_P(DialogOperationsTest, TakesTheTextThatCameBackWithAnError) {
    D::SetTextVar(dialog, "v", "text");
    const auto read = [&] {
        const TemporaryHandle text(D::GetTextVar(dialog, "v"));
        return text.Get() == nullptr ? "none" : OwnedHandle::BytesOf(text.Get());
    };
    static EngineCallBack engine;
    static ClassicCallBack classic;
    engine = std::exchange(gHost.engineCallBack, [](long selector, FDEngineBlock* block) {
        const long answer = engine(selector, block);
        block->error = selector == Select("DialogGetTextVar").engine ? -50 : block->error;
        return answer;
    });
    classic = std::exchange(gHost.classicCallBack, [](long selector, ParameterBlock* block) {
        const long answer = classic(selector, block);
        block->error = selector == Select("DialogGetTextVar").classic ? -50 : block->error;
        return answer;
    });
    EXPECT_EQ(read(), "text");
    gHost.engineCallBack = engine;
    gHost.classicCallBack = classic;
    host.FailNext("DialogGetTextVar", -50); // with nothing
    EXPECT_EQ(read(), host.HasEngine() ? "" : "none");
}

TEST_P(DialogOperationsTest, MakesAnEmptyPicture) {
    D::SetPictureVar(dialog, "v", nullptr);
    ValueBlock value = {};
    ASSERT_EQ(D::GetVar(dialog, "v", &value), 0);
    EXPECT_EQ(value.type, ValueType::Picture);
    if (!host.HasEngine()) {
        EXPECT_EQ(OwnedHandle::BytesOf(value.blob.data).substr(10),
                  std::string("\x11\x01\xFF\0\0\0\0\0\0", 9));
    }
    // One that the plug-in records goes on.
    const Rect frame = {};
    const TemporaryHandle own(reinterpret_cast<Handle>(OpenPicture(&frame)));
    D::SetPictureVar(dialog, "v", nullptr);
    EXPECT_EQ(ToolboxProblemCount(), 1); // asked for another recording
    ToolboxClearProblems();
    EXPECT_EQ(Handle{host.log.Last("DialogSetPictureVar")->Sent().handle}, nullptr);
    EXPECT_EQ(GetHandleSize(own.Get()), 12);
    ClosePicture();
    EXPECT_EQ(GetHandleSize(own.Get()), 13);
}

TEST_P(DialogOperationsTest, CutsLongNamesAndStrings) {
    const std::string name(300, 'n');
    D::SetLongVar(dialog, name.c_str(), 3);
    EXPECT_EQ(D::GetLongVar(dialog, name.substr(0, 255).c_str()), 3);
    D::SetStringVar(dialog, "v", PascalString(std::string(200, 's')));
    Str255 string = {};
    D::GetStringVar(dialog, "v", string);
    EXPECT_EQ(string[0], host.HasEngine() ? 200 : 141);
}

TEST_P(DialogOperationsTest, MakesTextsOfLongElements) {
    D::NewArrayText(dialog, "a");
    D::SetArrayElement(dialog, "a", 1, std::string(255, 'x').c_str());
    EXPECT_EQ(host.log.Last("DialogSetArrayElementText"), nullptr);
    D::SetArrayElement(dialog, "a", 2, std::string(256, 'y').c_str());
    EXPECT_EQ(TextElement(2), std::string(256, 'y'));
    Picture** untouched = reinterpret_cast<Picture**>(&untouched);
    D::GetArrayElement(dialog, "a", 1, &untouched);
    EXPECT_EQ(untouched, reinterpret_cast<Picture**>(&untouched));
}

TEST_P(DialogOperationsTest, FindsElements) {
    D::NewArrayLong(dialog, "l");
    D::NewArrayReal(dialog, "r");
    D::NewArrayText(dialog, "a");
    for (long i = 0; i < 3; ++i) {
        D::SetArrayElement(dialog, "l", i, 10 * (i + 1));
        D::SetArrayElement(dialog, "r", i, 0.5 + static_cast<double>(i));
    }
    D::SetArrayElement(dialog, "a", 1, "able");
    D::SetArrayElement(dialog, "a", 2, "ab");
    EXPECT_EQ(D::FindInArray(dialog, "l", 10L), 0);
    EXPECT_EQ(D::FindInArray(dialog, "l", 30L), 2);
    EXPECT_EQ(D::FindInArray(dialog, "l", 31L), -1);
    EXPECT_EQ(D::FindInArray(dialog, "r", 1.5), 1);
    EXPECT_EQ(D::FindInArray(dialog, "a", PascalString("ab")), 2);
    EXPECT_EQ(D::FindInArray(dialog, "a", OwnedHandle("ab").handle), 1); // it begins with that
    EXPECT_EQ(D::FindInArray(dialog, "a", OwnedHandle("abc").handle), -1);
    EXPECT_EQ(D::FindInArray(dialog, "a", Handle{}), 0);
    EXPECT_EQ(D::FindInArray(dialog, "none", 10L), -1);
}

TEST_P(DialogOperationsTest, LoadsArraysFromResources) {
    const auto add = [](OSType type, short id, const std::string& bytes) {
        ToolboxAddResource(50, type, id, nullptr, bytes.data(), static_cast<long>(bytes.size()));
    };
    add(StringListType, 1, std::string("\0\2\0023x\00241", 8));
    add(StringListType, 2, std::string("\0\0", 2));
    // Says three pairs, has one, and another one that is cut.
    add(PairListType, 1, std::string("\0\3\0\0\0\7\4:1,2\0\0\0\x8\x9short", 22));
    const auto size = [&](const char* name) { return D::GetArraySize(dialog, name); };
    D::LoadLongArrayFromResource(dialog, "l", 1);
    D::LoadStringArrayFromResource(dialog, "s", 1);
    D::LoadLongArrayFromResource(dialog, "empty", 2);
    D::LoadStringArrayFromResource(dialog, "missing", 3);
    long number = 0;
    char text[256];
    D::GetArrayElement(dialog, "l", 2, &number);
    D::GetArrayElement(dialog, "s", 1, text);
    EXPECT_EQ(number, 41);
    EXPECT_STREQ(text, "3x");
    EXPECT_EQ((std::vector<long>{size("l"), size("s"), size("empty"), size("missing")}),
              (std::vector<long>{2, 2, 0, 0}));
    D::LoadLongAndStringArraysFromTKPLResource(dialog, "numbers", "texts", 1);
    D::LoadLongAndStringArraysFromTKPLResource(dialog, "", "alone", 1);
    D::LoadLongAndStringArraysFromTKPLResource(dialog, "none", nullptr, 2);
    D::GetArrayElement(dialog, "numbers", 1, &number);
    D::GetArrayElement(dialog, "alone", 1, text);
    EXPECT_EQ(number, 7);
    EXPECT_STREQ(text, "41"); // through its reference to the string list
    EXPECT_EQ((std::vector<long>{size("numbers"), size("texts"), size("alone"), size("none")}),
              (std::vector<long>{1, 1, 1, 0}));
    // Strings out of a list where one is expected.
    D::SetStringVar(dialog, "v", short{1}, short{2});
    ExpectSent("DialogSetStringVar", 212, -212, {.string = "41"});
    D::SetVarTitle(dialog, "v", 1, 1);
    ExpectSent("DialogSetTitle", 340, -340, {.string = "3x", .param2 = 1});
    D::SetObjTitle(dialog, "v", 1, 2);
    ExpectSent("DialogSetTitle", 340, 0, {.string = "41"});
    D::SetVarTitle(dialog, "v", 3, 1); // there is no such list
    ExpectSent("DialogSetTitle", 340, -340, {.param2 = 1});
}

TEST_P(DialogOperationsTest, CreatesDialogsWithThePlugInsResources) {
    ToolboxAddResFile(51);
    UseResFile(51);
    const Rect rect = {1, 2, 3, 4};
    FourDDialog* const context = D::CreateFourDDialogContext();
    EXPECT_EQ(
        D::CreateFourDDialog(PascalString("Form"), PascalString("Title"), 1, 5, 1, &rect, context),
        nullptr); // no such form
    EXPECT_EQ(CurResFile(), 51);
    FourDDialog* const other = std::exchange(dialog, context);
    ExpectSent("CreateFourDDialog", 201, -201,
               {.name = "Form",
                .string = "Title",
                .address = &rect,
                .param2 = 1,
                .param3 = 5,
                .param4 = 0x35363536,
                .flag1 = 1});
    dialog = other;
    D::Close(D::CreateFourDDialogContext());
    EXPECT_EQ(host.log.Last("DialogClose")->selector, host.HasEngine() ? -202 : 202);
    ToolboxRemoveResFile(51);
}

INSTANTIATE_TEST_SUITE_P(Hosts, DialogOperationsTest,
                         testing::Values<unsigned short>(0x0680, 0x1130, 0x1200),
                         [](const testing::TestParamInfo<unsigned short>& param) {
                             return "Host" + std::to_string(param.param >> 8U);
                         });

} // namespace
