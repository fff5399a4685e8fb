#include "ui/DialogCall.h"

#include "host/FourD.h"
#include "shell/Strings.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr long LongestName = 255;
/// What the classic record's value area holds.
constexpr size_t LongestClassicString = sizeof(ParameterBlock::valueText) - 1;
/// Bytes that 255 units may become in any code page, with a terminator.
constexpr size_t WidestText = 1024;

/// 8-bit text of the record's UTF-16, whether the host has terminated it or not.
void CopyUnits(unsigned short (&units)[256], char (&text)[WidestText]) {
    units[255] = 0;
    text[0] = '\0';
    FourD::CopyUniCharsToChars(units, text);
}

} // namespace

DialogCall::DialogCall(const DialogOperation& itsOperation)
    : operation(&itsOperation),
      call(itsOperation.selector, gHost.BcdVersion() >= itsOperation.engineFrom) {}

void DialogCall::PlaceName(const char* name) {
    if (name == nullptr) {
        name = "";
    }
    EngineFields* const engine = call.EngineOnly();
    if (engine == nullptr) {
        _CopyCStrN(name, reinterpret_cast<char*>(call->name), LongestName);
        return;
    }
    const auto length = static_cast<long>(strnlen(name, LongestName));
    FourD::CopyCharsBuffToUniChars(name, length, engine->uniName);
}

void DialogCall::PlaceString(const unsigned char* string) {
    if (string == nullptr) {
        return;
    }
    if (EngineFields* const engine = call.EngineOnly()) {
        FourD::CopyPStrToUniChars(string, engine->uniText);
        return;
    }
    const size_t length = std::min<size_t>(string[0], LongestClassicString);
    call.ValueText()[0] = static_cast<unsigned char>(length);
    std::memcpy(call.ValueText() + 1, string + 1, length);
}

void DialogCall::PlaceReal(double real) {
    REAL_U value = {real, {}};
    if (!IsEngine()) {
        FourD::SwapReal64To80(&value);
    }
    call->value.real = value;
}

void DialogCall::Place(DialogField::Set fields, const DialogValues& values) {
    const auto has = [fields](DialogField::Set field) { return (fields & field) != 0; };
    auto* const address =
        static_cast<Handle>(const_cast<void*>(values.address)); // the record has one type for all
    if (has(DialogField::Dialog)) {
        call->param1 = reinterpret_cast<long>(values.dialog);
    }
    if (has(DialogField::Name)) {
        PlaceName(values.name);
    }
    if (has(DialogField::Real)) {
        PlaceReal(values.real);
    }
    if (has(DialogField::Date)) {
        call->value.date = values.date;
    }
    if (has(DialogField::Number)) {
        call->value.number = values.number;
    }
    if (has(DialogField::String)) {
        PlaceString(values.string);
    }
    if (has(DialogField::Text) && IsEngine()) {
        call.EngineOnly()->string = values.text;
    }
    if (has(DialogField::Address) ||
        ((has(DialogField::Text) || has(DialogField::Filter)) && !IsEngine())) {
        call->handle = address;
    }
    if (has(DialogField::Param2)) {
        call->param2 = values.param2;
    }
    if (has(DialogField::Param3)) {
        call->param3 = values.param3;
    }
    if (has(DialogField::Param4)) {
        call->param4 = values.param4;
    }
    if (has(DialogField::Flag1)) {
        call->flag1 = values.flag1;
    }
    if (has(DialogField::Table)) {
        call->table = values.table;
    }
    if (has(DialogField::Field)) {
        call->field = values.field;
    }
}

void DialogCall::CollectName(char* name) {
    if (name == nullptr) {
        return;
    }
    if (EngineFields* const engine = call.EngineOnly()) {
        char text[WidestText];
        CopyUnits(engine->uniName, text);
        _CopyCStrN(text, name, LongestName);
        return;
    }
    call->name[sizeof call->name - 1] = 0; // the host may have left no terminator
    _CopyCStrN(reinterpret_cast<const char*>(call->name), name, LongestName);
}

void DialogCall::CollectString(unsigned char* string) {
    if (string == nullptr) {
        return;
    }
    if (EngineFields* const engine = call.EngineOnly()) {
        char text[WidestText];
        CopyUnits(engine->uniText, text);
        _CopyC2PStr(text, string);
        return;
    }
    const size_t length = std::min<size_t>(call.ValueText()[0], LongestClassicString);
    string[0] = static_cast<unsigned char>(length);
    std::memcpy(string + 1, call.ValueText() + 1, length);
}

double DialogCall::CollectReal() {
    REAL_U value = call->value.real;
    if (!IsEngine()) {
        FourD::SwapReal80To64(&value);
    }
    return value.value;
}

void DialogCall::Collect(DialogValues* values) {
    const auto has = [this](DialogField::Set field) { return (operation->out & field) != 0; };
    values->error = call->error;
    values->dialog = reinterpret_cast<FourDDialog*>(call->param1);
    values->date = call->value.date;
    values->number = call->value.number;
    values->address = call->handle;
    values->param2 = call->param2;
    values->param3 = call->param3;
    values->param4 = call->param4;
    values->table = call->table;
    values->field = call->field;
    // What needs converting, only when it is there.
    if (has(DialogField::Name)) {
        CollectName(values->nameResult);
    }
    if (has(DialogField::Real)) {
        values->real = CollectReal();
    }
    if (has(DialogField::String)) {
        CollectString(values->stringResult);
    }
    if (has(DialogField::Text) && IsEngine()) {
        values->text = call.EngineOnly()->string;
    }
}

void DialogCall::GoOnWith(const DialogOperation& next) {
    operation = &next;
    call.GoOnWith(next.selector);
}

DialogValues Perform(const DialogOperation& operation, DialogValues values) {
    DialogCall call(operation);
    call.Place(operation.in, values);
    call.Send();
    call.Collect(&values);
    return values;
}
