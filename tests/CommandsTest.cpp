// Parameters and results, each through a command that the host calls.

#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "shell/base/Strings.h"
#include "tests/Fixture.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace {

class CommandsTest : public DualHostTest {
  protected:
    /// Calls a one-command plug-in; the parameters can be looked at afterwards.
    TypedValue Call(CommandHandler handler, Arguments& arguments, ValueKind result) {
        TestPlug plug({{"command", "", handler}});
        session.Start();
        TypedValue answer = session.Call(1, arguments, result);
        session.Stop();
        return answer;
    }

    TypedValue Call(CommandHandler handler, const std::vector<TypedValue>& values,
                    ValueKind result = ValueKind::None) {
        Arguments arguments(values, host.options.callerCompiled);
        return Call(handler, arguments, result);
    }
};

INSTANTIATE_TEST_SUITE_P(Hosts, CommandsTest, ClassicAndEngine, HostName);

TEST_P(CommandsTest, ResultsTakeTheFormTheirKindHas) {
    struct Row {
        CommandHandler handler;
        TypedValue expected;
    };
    const std::string longString(255, 'x');
    const Row rows[] = {
        {[](CXParam*, CXResult* result) { result->SetShort(-1); }, ShortValue(-1)},
        {[](CXParam*, CXResult* result) { result->SetShort(-1); }, LongValue(-1)}, // whole cell
        {[](CXParam*, CXResult* result) { result->SetLong(-2147483647); }, LongValue(-2147483647)},
        {[](CXParam*, CXResult* result) { result->SetBoolean(2); }, LongValue(1)},
        {[](CXParam*, CXResult* result) { result->SetBoolean(0); }, BooleanValue(false)},
        {[](CXParam*, CXResult* result) { result->SetPicHandle(nullptr); },
         NullValue(ValueKind::Picture)},
        {[](CXParam*, CXResult* result) {
             const REAL_U real = {-2.5, {}};
             result->SetExtended(&real);
         },
         ExtendedValue(-2.5)},
        {[](CXParam*, CXResult* result) {
             const DateBlock date = {.day = 21, .month = 11, .year = 2026};
             result->SetDate4D(&date);
         },
         DateValue(2026, 11, 21)},
        {[](CXParam*, CXResult* result) {
             Str255 string;
             std::memset(string, 'x', sizeof string);
             string[0] = 255;
             result->SetString(string);
         },
         StringValue(longString)},
        {[](CXParam*, CXResult* result) { *result->GetStringPtr() = 0; }, StringValue("")},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Call(row.handler, {}, row.expected.kind), row.expected);
    }
}

// Each getter's value is handed straight back, so a wrong width or offset shows in the result.
TEST_P(CommandsTest, GettersReadTheWholeOfEachKindAndNoMore) {
    struct Row {
        TypedValue value;
        ValueKind result;
        CommandHandler handler;
        TypedValue expected;
    };
    const std::string full(255, 'y');
    const Row rows[] = {
        {ShortValue(-32768), ValueKind::Long,
         [](CXParam* p, CXResult* r) { r->SetLong(p[0].GetShort() + *p[0].GetShortPtr()); },
         LongValue(-65536)},
        {LongValue(0x7FFFFFFE), ValueKind::Long,
         [](CXParam* p, CXResult* r) { r->SetLong(p[0].GetLong() - 1); }, LongValue(0x7FFFFFFD)},
        {BooleanValue(true), ValueKind::Short,
         [](CXParam* p, CXResult* r) { r->SetShort(p[0].GetBoolean() + *p[0].GetBooleanPtr()); },
         ShortValue(2)},
        {RealValue(0.1), ValueKind::Extended,
         [](CXParam* p, CXResult* r) {
             const REAL_U real = {p[0].GetNativeReal() + *p[0].GetNativeRealPtr(), {}};
             r->SetExtended(&real);
         },
         ExtendedValue(0.2)},
        {ExtendedValue(1e300), ValueKind::Extended,
         [](CXParam* p, CXResult* r) {
             REAL_U real;
             p[0].GetREAL(&real);
             r->SetExtended(&real);
         },
         ExtendedValue(1e300)},
        {ExtendedValue(-0.75), ValueKind::Extended,
         [](CXParam* p, CXResult* r) { r->SetExtended(p[0].GetREALPtr()); }, ExtendedValue(-0.75)},
        {DateValue(1904, 2, 29), ValueKind::Date,
         [](CXParam* p, CXResult* r) {
             DateBlock date;
             p[0].GetDate4D(date);
             r->SetDate4D(&date);
         },
         DateValue(1904, 2, 29)},
        {RectValue(1, -2, 30, 40), ValueKind::Long,
         [](CXParam* p, CXResult* r) {
             Rect rect;
             p[0].GetRect(rect);
             r->SetLong(rect.top * 1000 + rect.left * 100 + rect.bottom * 10 + rect.right);
         },
         LongValue(1000 - 200 + 300 + 40)},
        {TypedValue{.kind = ValueKind::Event, .numbers = {3, 0x61, 600, 20, 10, 256}},
         ValueKind::Long,
         [](CXParam* p, CXResult* r) {
             EventRecord event;
             p[0].GetEvent(&event);
             r->SetLong(event.what * 100000 + static_cast<long>(event.message) * 100 +
                        event.where.h + event.modifiers + static_cast<long>(event.when) +
                        event.where.v);
         },
         LongValue(300000 + 9700 + 10 + 256 + 600 + 20)},
        {StringValue(full), ValueKind::String,
         [](CXParam* p, CXResult* r) {
             Str255 string;
             p[0].GetString(string);
             r->SetString(string);
         },
         StringValue(full)},
        {HandleValue("four"), ValueKind::Long,
         [](CXParam* p, CXResult* r) { r->SetLong(std::memcmp(*p[0].GetHandle(), "four", 4)); },
         LongValue(0)},
        {PictureValue(std::string("\x2A\0\0\0\0\0\0\0\0\0", 10)), ValueKind::Short,
         [](CXParam* p, CXResult* r) {
             Picture** const picture = *p[0].GetPicHandlePtr();
             r->SetShort(picture == p[0].GetPicHandle() ? (*picture)->picSize : short{-1});
         },
         ShortValue(42)},
        {Tagged(DateValue(2000, 1, 31)), ValueKind::Date,
         [](CXParam* p, CXResult* r) {
             ValueBlock value;
             p[0].GetVarRec(value);
             r->SetDate4D(value.type == ValueType::Date ? &value.date : nullptr);
         },
         DateValue(2000, 1, 31)},
        {TextValue("some text"), ValueKind::Long,
         [](CXParam* p, CXResult* r) {
             const TextBlock* text = p[0].GetTextBlockPtr();
             const bool same = static_cast<void*>(p[0].GetCTextBlockPtr()) == text;
             r->SetLong(same && std::memcmp(*text->text, "some text", 9) == 0 ? text->length : -1);
         },
         LongValue(9)},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Call(row.handler, {row.value}, row.result), row.expected) << row.value;
    }
}

// The stand-in host keeps guard bytes around each parameter.
TEST_P(CommandsTest, SettersWriteTheWholeOfEachKindAndNoMore) {
    struct Row {
        TypedValue before;
        CommandHandler handler;
        TypedValue after;
    };
    const Row rows[] = {
        {ShortValue(0), [](CXParam* p, CXResult*) { p[0].SetShort(-2); }, ShortValue(-2)},
        {LongValue(0), [](CXParam* p, CXResult*) { p[0].SetLong(-2); }, LongValue(-2)},
        {BooleanValue(false), [](CXParam* p, CXResult*) { p[0].SetBoolean(1); },
         BooleanValue(true)},
        {RealValue(0), [](CXParam* p, CXResult*) { p[0].SetNativeReal(-1e-9); }, RealValue(-1e-9)},
        {DateValue(1, 1, 1),
         [](CXParam* p, CXResult*) {
             const DateBlock date = {.day = 9, .month = 8, .year = 32767};
             p[0].SetDate4D(&date);
         },
         DateValue(32767, 8, 9)},
        {StringValue("before"),
         [](CXParam* p, CXResult*) {
             p[0].SetString(reinterpret_cast<const unsigned char*>("\3new"));
         },
         StringValue("new")},
        // A string that overlaps the parameter itself is moved, not smeared.
        {StringValue("\4abcdef"),
         [](CXParam* p, CXResult*) { p[0].SetString(p[0].GetStringPtr() + 1); },
         StringValue("abcd")},
    };
    for (const Row& row : rows) {
        Arguments arguments({row.before});
        Call(row.handler, arguments, ValueKind::None);
        EXPECT_EQ(arguments.At(1), row.after) << row.before;
    }
}

// Each is said once, by whoever looks at it, and what is there is released all the same.
TEST_P(CommandsTest, ValuesThatDoNotHoldTogetherAreProblems) {
    struct Row {
        std::vector<TypedValue> values;
        CommandHandler handler;
        const char* problem;
        ValueKind result = ValueKind::None;
    };
    const Row rows[] = {
        {{TextValue("four")},
         [](CXParam* p, CXResult*) { p[0].GetTextBlockPtr()->length = 40; },
         "Command 1: parameter 1 holds a text of the length 40 whose handle holds 4 bytes."},
        {{LongValue(1), TextValue("x")},
         [](CXParam* p, CXResult*) { DisposeHandle(p[1].GetTextBlockPtr()->text); },
         "Command 1: parameter 2 holds a text whose handle was disposed of."},
        {{TextValue("one"), TextValue("")},
         [](CXParam* p, CXResult*) { *p[1].GetTextBlockPtr() = *p[0].GetTextBlockPtr(); },
         "Command 1: parameter 2 holds a handle that parameter 1 holds."},
        {{BooleanValue(true)},
         [](CXParam* p, CXResult*) { p[0].SetBoolean(2); },
         "Command 1: parameter 1 holds the boolean 2, which is neither 0 nor 1."},
        {{LongArrayValue({1, 2})},
         [](CXParam* p, CXResult*) { p[0].GetVarRecPtr()->array.count = 3; },
         "Command 1: parameter 1 holds an array of 3 elements whose storage has room for 2 and "
         "element 0."},
        {{ArrayValue(ValueKind::DateArray, {DateValue(2026, 1, 1)})},
         [](CXParam* p, CXResult*) {
             reinterpret_cast<DateBlock*>(*p[0].GetVarRecPtr()->array.elements)[1].month = 13;
         },
         "Command 1: parameter 1 holds in element 1 the date 2026-13-01, which is none."},
        {{},
         [](CXParam*, CXResult* result) {
             TextBlock text{1, nullptr};
             std::memcpy(result->GetCTextBlockPtr(), &text, sizeof text);
         },
         "Command 1: the result holds a text of the length 1 without a handle.",
         ValueKind::Text},
        {{TextValue("")},
         [](CXParam* p, CXResult*) {
             Handle text = nullptr;
             FourD::GetTextVar(PascalString("x"), &text, 0);
             p[0].GetTextBlockPtr()->text = text;
         },
         "Command 1: parameter 1 holds what the variable \"x\" holds."},
        {{},
         [](CXParam*, CXResult*) {
             Handle text = nullptr;
             FourD::GetTextVar(PascalString("x"), &text, 0);
             SetHandleSize(text, 2);
         },
         "The variable \"x\" holds a text of the length 3 whose handle holds 2 bytes."},
    };
    host.variables.Set(1, "x", TextValue("xyz"));
    for (const Row& row : rows) {
        Call(row.handler, row.values, row.result);
        EXPECT_EQ(TakeProblems(), std::vector<std::string>{row.problem});
    }
    // What the caller chose is nobody's fault.
    const CommandHandler nothing = [](CXParam*, CXResult*) {};
    Call(nothing, {TypedValue{.kind = ValueKind::Boolean, .numbers = {7}}, DateValue(1, 2, 31)});
}

// Only what a usage marks may be changed, in place or through a handle; what a pointer leads to is
// no parameter.
TEST_P(CommandsTest, ChangesThatTheUsageDoesNotSay) {
    Session described(host, EntryPoints{FourDPack, FourDPackex, FourDPlugInfo});
    const CommandHandler change = [](CXParam* p, CXResult*) {
        p[0].SetLong(1);
        p[1].SetLong(2);
        **p[2].GetTextBlockPtr()->text = 'X';
        (*reinterpret_cast<long**>(p[3].GetVarRecPtr()->array.elements))[1] = 4;
        *static_cast<long*>(p[4].GetPointerPtr()) = 5;
        *p[5].GetNativeRealPtr() *= 1;
    };
    TestPlug plug({{"Change", "(long; &long; text; array long; pointer; real)", change}});
    plug.info->recordVersion = 1;
    plug.info->recordSize = sizeof(PlugInfo);
    described.Start();
    for (const bool compiled : {false, true}) {
        host.options.callerCompiled = compiled;
        described.Call(1, {LongValue(0), LongValue(0), TextValue("x"), LongArrayValue({0}),
                           PointerTo(LongValue(0)), RealValue(std::nan(""))});
        std::vector<std::string> expected;
        for (const char* number : {"1", "3", "4"}) {
            expected.push_back(std::string("Command 1 (\"Change\") changed parameter ") + number +
                               ", which its usage (long; &long; text; array long; pointer; real) "
                               "does not say (&).");
        }
        EXPECT_EQ(TakeProblems(), expected);
    }
    described.Stop();
}

TEST_P(CommandsTest, PointersLeadToTheirTarget) {
    const CommandHandler target = [](CXParam* params, CXResult* result) {
        const auto* number = static_cast<const long*>(params[0].GetPointerPtr());
        result->SetLong(number != nullptr ? *number : -1);
    };
    EXPECT_EQ(Call(target, {PointerTo(LongValue(5))}, ValueKind::Long), LongValue(5));
    host.options.callerCompiled = true;
    EXPECT_EQ(Call(target, {PointerTo(LongValue(6))}, ValueKind::Long), LongValue(6));
    EXPECT_EQ(Call(target, {TypedValue{.kind = ValueKind::Pointer}}, ValueKind::Long),
              LongValue(-1));
    EXPECT_EQ(Call(target, {Tagged(LongValue(7))}, ValueKind::Long), LongValue(-1)); // no pointer
    const CommandHandler unaligned = [](CXParam* params, CXResult* result) {
        alignas(ValueBlock) char bytes[sizeof(ValueBlock) + 1];
        char* const place = bytes + 1;
        std::memcpy(place, params[0].GetVarRecPtr(), sizeof(ValueBlock));
        const auto copy = std::bit_cast<CXParam>(place);
        result->SetLong(*static_cast<const long*>(copy.GetPointerPtr()));
    };
    EXPECT_EQ(Call(unaligned, {PointerTo(LongValue(8))}, ValueKind::Long), LongValue(8));
    const CommandHandler nowhere = [](CXParam*, CXResult* result) {
        const CXParam none{};
        result->SetBoolean(none.GetPointerPtr() == nullptr ? 1 : 0);
    };
    for (const bool compiled : {true, false}) {
        host.options.callerCompiled = compiled;
        EXPECT_EQ(Call(nowhere, {}, ValueKind::Boolean), BooleanValue(true));
    }
}

} // namespace
